/** @file
  Blobs, read inside their bounds: what kinds there are, what makes one sound, how one is found, and
  what an inventory blob and a configuration blob hold. IndustryStandard/TvqBlob.h has the layouts.

  The library has no state and allocates nothing, and like SmbiosTableLib.h this header serves
  programs outside of EDK II too.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_BLOB_LIB_H_
#define TVQ_BLOB_LIB_H_

#include <Library/SmbiosTableLib.h>

namespace tvq::blobs {

using smbios::Bytes;
using smbios::SizeType;
using smbios::Text;
using smbios::U16;
using smbios::U32;
using smbios::U8;

/// The types of blobs.
inline constexpr U32 kInventory = 3;
inline constexpr U32 kConfiguration = 5;
inline constexpr U32 kEnd = 7;

inline constexpr U32 kRevision = 1;

/// Where the parts of a blob's header are.
inline constexpr SizeType kTypeOffset = 4;
inline constexpr SizeType kCookieOffset = 8;
inline constexpr SizeType kSizeOffset = 12;
inline constexpr SizeType kHeaderSize = 16;

/// Where the string area of an inventory blob begins, and the document of a configuration blob.
inline constexpr SizeType kStringArea = 126;
inline constexpr SizeType kDocument = 80;

/// What tells a kind of blob from others.
struct Kind {
  U32 Type;
  U32 Cookie;
  SizeType SmallestSize;
};
/// Null when there is no blob of this type.
const Kind* FindKind(U32 type);

/// Why bytes are no sound blob. The first that applies counts.
enum class Defect : U8 {
  kNone,
  kHeader,    ///< There are fewer bytes than a header has.
  kRevision,  ///< The layout is another one.
  kType,      ///< There is no such blob.
  kCookie,    ///< It is not that of the type.
  kTooSmall,  ///< It states fewer bytes than its kind has at least.
  kTooLarge,  ///< It states more bytes than there are.
};

/// The header of a blob, and its bytes when it is sound.
struct Blob {
  Defect Why = Defect::kHeader;
  U32 Revision = 0;
  U32 Type = 0;
  U32 Cookie = 0;
  U32 Size = 0;  ///< As stated, the header included.
  Bytes Whole;   ///< None unless the blob is sound.

  constexpr explicit operator bool() const { return Why == Defect::kNone; }
};

/// The blob at the start of `data`, at any alignment.
Blob ReadBlob(Bytes data);

/// What a search in stored data came to.
enum class Search : U8 {
  kFound,
  kNotFound,
  kDamaged,  ///< A blob is not sound, or a document has no end.
};

/// Finds the blob of a type with this index, from 0, among blobs that stand one behind the other, up
/// to the end blob or the end of the data. All of them have to be sound.
Search FindBlob(Bytes data, U32 type, SizeType index, Bytes& blob);

/// The document of a configuration blob; none where its terminator is missing.
Text DocumentOf(Bytes configuration);

/// A text of an inventory blob.
struct Reference {
  U8 Where = 0;  ///< Of the reference in the blob.
  bool IsPresent = false;
  U32 Start = 0;  ///< In the string area.
};

/// What an inventory blob states.
struct Inventory {
  U32 Flags = 0;
  bool HasProductId = false;
  bool HasSlotNumber = false;
  U16 ProductId = 0;
  U8 SlotNumber = 0;
  Reference Wwn;
  Reference MarketingName;
  Reference FirmwareVersion;
  Reference ComponentId;
};
/// Nothing for bytes that are fewer than those up to the string area.
Inventory ReadInventory(Bytes blob);

/// From where the text begins up to the end of the blob, which may come before its terminator: the
/// driver places texts behind the size that it states when others are missing.
Bytes BytesOf(Bytes inventory, Reference reference);

}  // namespace tvq::blobs

#endif
