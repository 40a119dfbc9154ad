/** @file
  SMBIOS structure tables and entry points, read inside their bounds.

    for (const smbios::Structure& structure : smbios::Walk(table)) {
      if (structure.Type() == 11) {
        for (const smbios::Text text : structure.Strings()) { ... }
      }
    }

  Nothing is read outside the bytes that are handed over, whatever they say. A well-formed table has
  one reading; what is made of any other is said where it matters.

  The library has no state and allocates nothing. This header needs nothing of EDK II and no C++
  library, so that the same code serves the driver, UEFI applications and programs on Linux.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef SMBIOS_TABLE_LIB_H_
#define SMBIOS_TABLE_LIB_H_

#include <TvqSpan.h>

namespace tvq::smbios {

// Up to 32 bits these are the very types that EDK II has; for 64 bits a platform may have two.
using U8 = __UINT8_TYPE__;
using U16 = __UINT16_TYPE__;
using U32 = __UINT32_TYPE__;
using U64 = __UINT64_TYPE__;

using Bytes = Span<const U8>;
using SizeType = Bytes::SizeType;

/// Bytes of a structure's header: type, length of the formatted part, handle (SMBIOS 6.1.2).
inline constexpr SizeType kHeaderSize = 4;
/// Where they stand in it.
inline constexpr SizeType kTypeOffset = 0;
inline constexpr SizeType kLengthOffset = 1;
inline constexpr SizeType kHandleOffset = 2;

/// Stands for "no structure" in a field that refers to one.
inline constexpr U16 kNoHandle = 0xFFFF;

/// The type of the structure that ends a table (SMBIOS 7.46).
inline constexpr U8 kEndOfTable = 127;

// -------------------------------------------------------------------------------------------------
// Numbers and fields
// -------------------------------------------------------------------------------------------------

// Little-endian at any alignment, in the form that compilers turn into one load.
constexpr U16 Read16(const U8* bytes) {
  return static_cast<U16>(bytes[0] | (bytes[1] << 8));
}
constexpr U32 Read32(const U8* bytes) {
  return static_cast<U32>(Read16(bytes)) | (static_cast<U32>(Read16(bytes + 2)) << 16);
}
constexpr U64 Read64(const U8* bytes) {
  return static_cast<U64>(Read32(bytes)) | (static_cast<U64>(Read32(bytes + 4)) << 32);
}

/// The number at `bytes`, as wide as its type.
template <typename Number>
constexpr Number Read(const U8* bytes) {
  constexpr SizeType kWidth = sizeof(Number);
  static_assert(kWidth == 1 || kWidth == 2 || kWidth == 4 || kWidth == 8, "1, 2, 4 or 8 bytes");
  if constexpr (kWidth == 1) {
    return static_cast<Number>(bytes[0]);
  } else if constexpr (kWidth == 2) {
    return static_cast<Number>(Read16(bytes));
  } else if constexpr (kWidth == 4) {
    return static_cast<Number>(Read32(bytes));
  } else {
    return static_cast<Number>(Read64(bytes));
  }
}

/// The number of `width` bytes at `bytes`: 1, 2, 4 or 8.
constexpr U64 ReadNumber(const U8* bytes, SizeType width) {
  switch (width) {
    case 1:
      return bytes[0];
    case 2:
      return Read16(bytes);
    case 4:
      return Read32(bytes);
    default:
      return Read64(bytes);
  }
}

/// A field of the structures of one type: where it is, and of what type its value.
/// IndustryStandard/SmbiosFields.h makes one of a member's name.
template <typename Value>
struct Field {
  U8 Type;
  SizeType Offset;

  static constexpr SizeType Width() { return sizeof(Value); }
  constexpr SizeType End() const { return Offset + Width(); }

  /// The same bytes as a value of another type: for members that are structures or unions.
  template <typename Other>
  constexpr Field<Other> As() const {
    static_assert(sizeof(Other) == sizeof(Value), "as wide as the field");
    return {Type, Offset};
  }
  /// The same field of the group that begins at `start`.
  constexpr Field In(SizeType start) const { return {Type, start + Offset}; }
};

// -------------------------------------------------------------------------------------------------
// Strings
// -------------------------------------------------------------------------------------------------

/// A text where it stands, without its terminator, which follows it.
class Text {
 public:
  constexpr Text() = default;  ///< There is none: that is not the same as an empty one.
  constexpr Text(const U8* data, SizeType length) : mData(data), mLength(length) {}

  constexpr explicit operator bool() const { return mData != nullptr; }

  constexpr const U8* Data() const { return mData; }
  constexpr SizeType Length() const { return mLength; }
  constexpr U8 operator[](SizeType i) const { return mData[i]; }
  constexpr const U8* begin() const { return mData; }
  constexpr const U8* end() const { return mData + mLength; }

 private:
  const U8* mData = nullptr;
  SizeType mLength = 0;
};

/// The text at the start of `bytes`; none where no terminator is among them.
Text TextAt(Bytes bytes);

/// Steps through the strings of one structure, and so finds its end.
///
/// The first string may be empty; a NUL where a further one would begin ends them all. The end of
/// the table ends them too, and what begins there without a terminator is no string.
class StringCursor {
 public:
  /// `bytes` begin with the first string and end with the table.
  constexpr explicit StringCursor(Bytes bytes)
      : mBegin(bytes.begin()), mEnd(bytes.end()), mCurrent(mBegin), mNext(mBegin) {}

  /// Steps to the next string; the first call to the first one. False: there is none.
  [[nodiscard]] bool Next();

  /// The string stepped to.
  constexpr Text Current() const {
    return Text(mCurrent, static_cast<SizeType>(mNext - mCurrent) - 1);
  }

  // When there is none any more:

  /// Bytes up to the end of the strings, the NUL behind the last one included.
  constexpr SizeType End() const {
    return static_cast<SizeType>((IsEnded() ? mNext : mEnd) - mBegin);
  }
  /// Whether that NUL is there, and not the end of the table in its place.
  constexpr bool IsEnded() const { return mState == State::kEnded; }
  /// What the end of the table left of a string without a terminator.
  constexpr Bytes CutOff() const { return {mNext, static_cast<SizeType>(mEnd - mNext)}; }

 private:
  enum class State : U8 {
    kBegin,
    kBehindString,
    kEnded,
    kOutOfBytes,
  };

  const U8* mBegin;
  const U8* mEnd;
  const U8* mCurrent;
  const U8* mNext;  ///< Behind the terminator of the current string.
  State mState = State::kBegin;
};

/// The end of every range of this library.
struct RangeEnd {};

/// The strings of a structure, for a range-based for loop.
class StringRange {
 public:
  class Iterator {
   public:
    explicit Iterator(Bytes bytes) : mCursor(bytes) { ++*this; }
    Text operator*() const { return mCursor.Current(); }
    Iterator& operator++() {
      mIsAtString = mCursor.Next();
      return *this;
    }
    bool operator!=(RangeEnd) const { return mIsAtString; }

   private:
    StringCursor mCursor;
    bool mIsAtString = false;
  };

  explicit StringRange(Bytes bytes) : mBytes(bytes) {}
  Iterator begin() const { return Iterator(mBytes); }
  RangeEnd end() const { return {}; }

 private:
  Bytes mBytes;
};

// -------------------------------------------------------------------------------------------------
// Structures
// -------------------------------------------------------------------------------------------------

/// Why a structure is not well formed.
enum class Defect : U8 {
  kNone,
  kShortLength,   ///< It states a length below that of a header.
  kCutFormatted,  ///< The table ends in its formatted part.
  kCutStrings,    ///< The table ends before its strings do.
};

/// A structure at the start of bytes that reach up to the end of its table.
///
/// Of one that is not well formed, the formatted part is as long as it states, at most up to the
/// end of the table, and the strings begin there: with a length below that of a header they begin
/// inside it. Whatever is behind the formatted part counts as missing.
class BareStructure {
 public:
  constexpr BareStructure() = default;  ///< None: it has type 0, no handle and no bytes.
  /// None where there are fewer bytes than a header has.
  constexpr explicit BareStructure(Bytes bytes)
      : mBytes(bytes.Size() >= kHeaderSize ? bytes : Bytes()) {}

  constexpr explicit operator bool() const { return !mBytes.Empty(); }

  constexpr U8 Type() const { return PeekByte(kTypeOffset); }
  /// Length of the formatted part, as stated.
  constexpr U8 Length() const { return PeekByte(kLengthOffset); }
  constexpr U16 Handle() const {
    return *this ? Read16(mBytes.Data() + kHandleOffset) : kNoHandle;
  }

  /// Bytes in all, strings and the NUL behind them included.
  SizeType Size() const {
    SizeType size = 0;
    (void)StringOrSize(0, size);
    return size;
  }
  Bytes Whole() const { return mBytes.First(Size()); }
  /// The formatted part, the header included.
  constexpr Bytes Formatted() const { return mBytes.First(Length()); }
  /// The structure, and all that stands behind it in the table.
  constexpr Bytes ToEndOfTable() const { return mBytes; }

  Defect FindDefect() const;
  bool IsWellFormed() const { return FindDefect() == Defect::kNone; }
  /// Whether it ends as its strings do, and not because the table does.
  bool IsComplete() const;

  // Numbers, by their offset. What is not inside the formatted part as a whole is missing.

  constexpr bool Has(SizeType offset, SizeType width = 1) const {
    const SizeType size = Formatted().Size();
    return width <= size && offset <= size - width;
  }
  /// The number; `missing` where the structure is too short for it.
  template <typename Number>
  constexpr Number Get(SizeType offset, Number missing = 0) const {
    return Has(offset, sizeof(Number)) ? Read<Number>(mBytes.Data() + offset) : missing;
  }
  /// The number of 1, 2, 4 or 8 bytes; `missing` where the structure is too short for it.
  constexpr U64 GetNumber(SizeType offset, SizeType width, U64 missing) const {
    return Has(offset, width) ? ReadNumber(mBytes.Data() + offset, width) : missing;
  }
  constexpr U8 Byte(SizeType offset) const { return Get<U8>(offset); }
  constexpr U16 Word(SizeType offset) const { return Get<U16>(offset); }
  constexpr U32 Dword(SizeType offset) const { return Get<U32>(offset); }
  constexpr U64 Qword(SizeType offset) const { return Get<U64>(offset); }

  // Fields. The value has the type that the field has.

  template <typename Value>
  constexpr bool Has(Field<Value> field) const {
    return Has(field.Offset, sizeof(Value));
  }
  /// The field's number; 0 where the structure is too short for it.
  template <typename Value>
  constexpr Value Get(Field<Value> field) const {
    return Get<Value>(field.Offset);
  }
  /// The handle that the field holds; kNoHandle where the structure is too short for it.
  constexpr U16 GetHandle(Field<U16> field) const { return Get<U16>(field.Offset, kNoHandle); }
  /// The string whose number the field holds.
  Text GetString(Field<U8> field) const { return String(Get(field)); }
  /// Whether the field holds the number of a string that is not there.
  bool IsStringMissing(Field<U8> field) const { return Get(field) != 0 && !GetString(field); }

  // What stands in the table, behind the formatted part too. Bytes behind the table are 0.

  constexpr U8 PeekByte(SizeType offset) const {
    return offset < mBytes.Size() ? mBytes[offset] : U8{0};
  }
  /// Up to eight bytes as one number.
  constexpr U64 PeekNumber(SizeType offset, SizeType width) const {
    U64 value = 0;
    for (SizeType i = width; i-- != 0;) {
      value = value << 8 | PeekByte(offset + i);
    }
    return value;
  }
  template <typename Value>
  constexpr Value Peek(Field<Value> field) const {
    return static_cast<Value>(PeekNumber(field.Offset, sizeof(Value)));
  }

  // Strings.

  /// All strings. A structure without strings has two NULs in their place, and none of them is one.
  StringRange Strings() const { return StringRange(HasStrings() ? StringBytes() : Bytes()); }
  SizeType StringCount() const;
  /// The string with this number, from 1. Deliberate: number 1 of a structure without strings is an
  /// empty one. 0 and numbers behind the last string are none.
  Text String(SizeType number) const {
    SizeType size = 0;
    return number == 0 ? Text() : StringOrSize(number, size);
  }
  /// The same; where there is no such string, `size` becomes that of the structure.
  Text StringOrSize(SizeType number, SizeType& size) const;
  /// What the end of the table left of a string without a terminator; no bytes where it cut none.
  Bytes CutOffString() const;

  /// From the first string up to the end of the table.
  constexpr Bytes StringBytes() const { return mBytes.From(Length()); }

 private:
  bool HasStrings() const {
    const Bytes bytes = StringBytes();
    return !bytes.Empty() && (bytes[0] != 0 || (bytes.Size() > 1 && bytes[1] != 0));
  }

  Bytes mBytes;
};

/// A structure and its place in its table.
class Structure : public BareStructure {
 public:
  constexpr Structure() = default;
  /// The structure at `offset`; none where fewer bytes are left than a header has.
  constexpr Structure(Bytes table, SizeType offset)
      : BareStructure(table.From(offset)), mOffset(offset) {}

  /// Where it begins in its table, and where the next one does.
  constexpr SizeType Offset() const { return mOffset; }
  SizeType End() const { return mOffset + Size(); }

 private:
  SizeType mOffset = 0;
};

/// What a walk does when it comes to a structure that is not well formed.
enum class Reading : U8 {
  kLenient,  ///< Visits it, and goes on behind it as long as there is a whole header.
  kStrict,   ///< Ends in front of it.
};

/// All structures of a table by their position, whatever their handles, for a range-based for loop.
/// An end-of-table structure is one of them, and those behind it follow.
class Walk {
 public:
  class Iterator {
   public:
    Iterator(Bytes table, Reading reading) : mTable(table), mReading(reading) { StepTo(0); }
    const Structure& operator*() const { return mCurrent; }
    const Structure* operator->() const { return &mCurrent; }
    Iterator& operator++() {
      StepTo(mCurrent.End());
      return *this;
    }
    bool operator!=(RangeEnd) const { return static_cast<bool>(mCurrent); }
    /// Where the structure begins; at the end of the walk, where it ended.
    SizeType Offset() const { return mCurrent.Offset(); }

   private:
    void StepTo(SizeType offset);

    Bytes mTable;
    Structure mCurrent;
    Reading mReading;
  };

  explicit Walk(Bytes table, Reading reading = Reading::kLenient)
      : mTable(table), mReading(reading) {}
  Iterator begin() const { return Iterator(mTable, mReading); }
  RangeEnd end() const { return {}; }

 private:
  Bytes mTable;
  Reading mReading;
};

/// A table in numbers.
struct Summary {
  SizeType Count = 0;
  SizeType LargestSize = 0;
  SizeType End = 0;            ///< Of the last structure. What is behind it was not visited.
  SizeType EndOfTableEnd = 0;  ///< Of the first end-of-table structure; 0 when there is none.
  bool IsLastComplete = true;
};
Summary Summarize(Bytes table, Reading reading = Reading::kLenient);

/// How many structures of a type there are.
SizeType CountOfType(Bytes table, U8 type);

// -------------------------------------------------------------------------------------------------
// Entry points
// -------------------------------------------------------------------------------------------------

enum class EntryPointKind : U8 {
  kNone,
  k32Bit,
  k64Bit,
};

/// What is wrong with an entry point that has its anchor. Readers go by each as they see fit.
enum class EntryPointDefect : U8 {
  kLength = 1,                ///< It states another length than its kind has.
  kChecksum = 2,              ///< Its bytes do not add up to 0.
  kIntermediateAnchor = 4,    ///< Only a 32-bit one has this.
  kIntermediateChecksum = 8,  ///< The bytes from the intermediate anchor on do not add up to 0.
};

/// An entry point as values (SMBIOS 5.2).
struct EntryPoint {
  EntryPointKind Kind = EntryPointKind::kNone;
  U8 Defects = 0;
  U8 Length = 0;  ///< Of the entry point, as it states.
  U8 Major = 0;
  U8 Minor = 0;
  U8 Revision = 0;  ///< Of the structures as BCD; of a 64-bit entry point itself.
  U16 MaximumStructureSize = 0;  ///< 0 in a 64-bit one, which does not state it.
  U16 StructureCount = 0;        ///< 0 in a 64-bit one, which does not state it.
  U32 TableLength = 0;           ///< At most that much, in a 64-bit one.
  U64 TableAddress = 0;

  constexpr explicit operator bool() const { return Kind != EntryPointKind::kNone; }
  constexpr bool Has(EntryPointDefect defect) const {
    return (Defects & static_cast<U8>(defect)) != 0;
  }
  /// Whether it is all that the standard asks of one.
  constexpr bool IsAcceptable() const { return *this && Defects == 0; }
};

/// Where the fields of an entry point are; 0 for those that its kind does not have.
struct EntryPointLayout {
  U8 Size;
  U8 Checksum;
  U8 Length;
  U8 Major;
  U8 Minor;
  U8 MaximumStructureSize;
  U8 IntermediateAnchor;
  U8 IntermediateChecksum;
  U8 TableLength;
  U8 TableAddress;
  U8 StructureCount;
  U8 Revision;
  U8 Reserved;  ///< Bytes that mean nothing, and how many there are.
  U8 ReservedSize;
};
inline constexpr EntryPointLayout kEntryPoint32 = {0x1F, 0x04, 0x05, 0x06, 0x07, 0x08, 0x10,
                                                   0x15, 0x16, 0x18, 0x1C, 0x1E, 0x0B, 5};
inline constexpr EntryPointLayout kEntryPoint64 = {0x18, 0x05, 0x06, 0x07, 0x08, 0,    0,
                                                   0,    0x0C, 0x10, 0,    0x0A, 0x0B, 1};

/// The layout of the 64-bit entry point, or else of the 32-bit one.
constexpr EntryPointLayout LayoutOf(EntryPointKind kind) {
  return kind == EntryPointKind::k64Bit ? kEntryPoint64 : kEntryPoint32;
}

/// Where `dmidecode --dump-bin` puts the table, behind the entry point at the start of the file.
inline constexpr SizeType kDumpedTableOffset = 0x20;

/// The kind of entry point whose anchor `bytes` begin with, however few they are.
EntryPointKind FindAnchor(Bytes bytes);

/// Reads the entry point at the start of `bytes`. There is one where they begin with its anchor and
/// are as many as its kind has. The checksum is that of the length which it states, or of the usual
/// one where it states less, or more than there are bytes.
EntryPoint ReadEntryPoint(Bytes bytes);

/// Writes an entry point; its own length, its revision and its checksums as they have to be, whatever
/// `entry` says: the revision of the structures is made of Major and Minor. Returns how many bytes it
/// has: 0 where there is no room for it, or `entry` is none.
[[nodiscard]] SizeType WriteEntryPoint(const EntryPoint& entry, Span<U8> bytes);

}  // namespace tvq::smbios

#endif
