/** @file
  The devices of an SMBIOS table as TVQSMBIOS sees them: which structures are processors and memory
  modules, what tells devices of one kind apart, and which devices no record serves.

  The library has no state and allocates nothing, and like SmbiosTableLib.h this header serves
  programs outside of EDK II too.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_DEVICE_LIB_H_
#define TVQ_DEVICE_LIB_H_

#include <Library/SmbiosTableLib.h>

namespace tvq::devices {

using smbios::Bytes;
using smbios::Structure;
using smbios::Text;
using smbios::U16;
using smbios::U8;

// -------------------------------------------------------------------------------------------------
// What a structure is
// -------------------------------------------------------------------------------------------------

/// Status of a processor whose socket has one in it (SMBIOS 7.5).
constexpr bool IsSocketPopulated(U8 status) {
  return (status & 0x40) != 0;
}
/// Memory type of high-bandwidth memory, HBM and HBM2 (SMBIOS 7.18.2): a part of a processor.
constexpr bool IsHbm(U8 memoryType) {
  return memoryType == 0x20 || memoryType == 0x21;
}
/// Memory type of a logical non-volatile device (SMBIOS 7.18.2), which is a part of modules.
constexpr bool IsLogical(U8 memoryType) {
  return memoryType == 0x1F;
}

enum class Kind : U8 {
  kNone,  ///< A structure of another type than 4 and 17.
  // These get a record:
  kProcessor,
  kModule,
  // These do not:
  kEmptySocket,
  kEmptySlot,
  kHbm,
  kLogical,
};
Kind KindOf(const Structure& structure);

/// The device type in the record of a device of this kind; 0 for those that get none.
U8 RecordTypeOf(Kind kind);

/// The socket designation of a processor, or the locator of a memory device.
Text NameOf(const Structure& device);
/// Whether it is the string with this number.
bool IsName(const Structure& structure, smbios::SizeType number);

/// A structure with handle FFFFh that is not the first ends the table before it, for the driver.
constexpr bool EndsTable(const Structure& structure) {
  return structure.Handle() == smbios::kNoHandle && structure.Offset() != 0;
}

// -------------------------------------------------------------------------------------------------
// What tells devices apart
// -------------------------------------------------------------------------------------------------

/// Of a socket designation this character alone counts, less the code of '0': in 8 bits, whatever
/// the character is.
inline constexpr smbios::SizeType kSocketDigit = 3;

/// The number of a processor's socket; 0 without a designation. Of one that is too short, the byte
/// behind it in the table counts.
U8 SocketNumber(const Structure& processor);

/// A locator with this text anywhere loses as many characters, from its start.
inline constexpr char kLocatorPrefix[] = "DIMM_";
inline constexpr smbios::SizeType kLocatorPrefixLength = sizeof(kLocatorPrefix) - 1;
/// As many characters of it count.
inline constexpr smbios::SizeType kLocatorLength = 3;

/// What counts of the locator of a module: three bytes as they stand in the table, behind a short
/// locator too; zeros without a locator.
struct LocatorKey {
  U8 Characters[kLocatorLength] = {};

  /// Characters up to the first NUL.
  constexpr smbios::SizeType Length() const {
    return Characters[0] == 0 ? 0 : Characters[1] == 0 ? 1 : Characters[2] == 0 ? 2 : 3;
  }
};
LocatorKey KeyOfLocator(const Structure& module);

/// What stands in the device path of a device's record behind the vendor's GUID. The firmware
/// refuses a second record with the same, and there the driver ends building that kind.
struct Key {
  U8 Data[7] = {};
};
constexpr bool operator==(const Key& left, const Key& right) {
  for (smbios::SizeType i = 0; i < sizeof(Key::Data); i++) {
    if (left.Data[i] != right.Data[i]) {
      return false;
    }
  }
  return true;
}
constexpr bool operator!=(const Key& left, const Key& right) {
  return !(left == right);
}
Key KeyOf(const Structure& device);
/// The key in the device path of a record; all zeros where it is the path of something else.
Key KeyOfPath(Bytes devicePath);

// -------------------------------------------------------------------------------------------------
// Serial numbers, part numbers and tags
// -------------------------------------------------------------------------------------------------

/// Characters of a serial number that blobs and documents keep.
inline constexpr smbios::SizeType kSerialLength = 14;
/// Characters of other texts that documents keep.
inline constexpr smbios::SizeType kTextLength = 127;

// What firmware writes where it knows nothing. Letters and digits count, small and capital ones
// alike, and so do bytes beyond ASCII. A text as long as what is kept of a serial number may be the
// beginning of a longer one.

/// Whether the text certainly names no part: it is empty, one character several times, or one of the
/// texts that stand for none ("Not Specified").
bool IsPlaceholder(Text text);

/// Whether the text tells no part from another. What looks like a counted name ("SerNum0") or like
/// digits in a row does not, although it might hide a number.
bool IsDummy(Text text);

// -------------------------------------------------------------------------------------------------
// UUIDs
// -------------------------------------------------------------------------------------------------

inline constexpr smbios::SizeType kUuidSize = 16;
/// A UUID as it stands in the table.
using Uuid = const U8 (&)[kUuidSize];

/// Zeros, and FFh in all bytes, say that there is none (SMBIOS 7.2.1).
bool SaysNone(Uuid uuid);
/// Whether it is a pattern that firmware has which was given none: bytes that are all the same or
/// count up. All machines of the model have it.
bool IsMadeUp(Uuid uuid);

// -------------------------------------------------------------------------------------------------
// Processor inventory numbers (PPIN) among the OEM strings
// -------------------------------------------------------------------------------------------------

/// Deliberate: the search begins at this byte of the first structure of OEM strings, not at its
/// first string.
inline constexpr smbios::SizeType kPpinSearchStart = 25;
inline constexpr char kPpinTag[] = "17[";
/// Bytes behind the tag that are taken as they stand.
inline constexpr smbios::SizeType kPpinLength = 16;

// -------------------------------------------------------------------------------------------------
// What the driver makes of a table
// -------------------------------------------------------------------------------------------------

/// Whether the driver starts: it wants structures of type 225, all of the one format that it knows,
/// and with the groups that their lengths promise. Those behind the end of the table, as EndsTable
/// tells it, do not count.
enum class FqddMap : U8 {
  kUsable,
  kMissing,
  kOtherFormat,
  kCutOff,  ///< A group would begin behind the end of the table.
};
/// The same of one structure of type 225.
FqddMap CheckFqddMap(const Structure& map);
FqddMap FindFqddMap(Bytes table);

/// Where the groups of a structure of type 225 begin, behind its format.
inline constexpr smbios::SizeType kFqddGroups = 5;

/// A device that should have a record, and has none.
struct Unserved {
  enum class Reason : U8 {
    kClash,        ///< `Other`, before it, has the same key.
    kRefused,      ///< Nothing in the table tells why.
    kBehind,       ///< The driver ended building this kind at `Other`.
    kBehindTable,  ///< The table ends at `Other` for the driver.
  };

  Structure Device;
  Reason Why = Reason::kRefused;
  Structure Other;
};

/// Finds the devices of a kind without a record, after a start that succeeded.
///
///     devices::UnservedDevices devices(table, devices::Kind::kModule, keys);
///     for (devices::Unserved device; devices.Next(device);) { ... }
class UnservedDevices {
 public:
  /// `served` are the keys of the records of this kind.
  UnservedDevices(Bytes table, Kind kind, Span<const Key> served);

  [[nodiscard]] bool Next(Unserved& device);

 private:
  bool IsServed(const Structure& device) const;
  Structure FirstWith(const Key& key) const;
  Unserved Explain(const Structure& device);

  Bytes mTable;
  Kind mKind;
  Span<const Key> mServed;
  smbios::Walk::Iterator mAt;
  Structure mTableEnd;  ///< The structure that ended the table, once it was met.
  Structure mStop;      ///< The first device without a record.
};

}  // namespace tvq::devices

#endif
