/** @file
  The numbers that tell a part from all others of its make.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_NUMBERS_H_
#define TVQ_PLATFORM_COMPARE_NUMBERS_H_

#include <TvqCpp.h>
#include <Library/SmbiosTableLib.h>

namespace tvqplatform {

namespace smbios = tvq::smbios;

/// In the order in which they are asked.
enum class NumberKind : UINT8 {
  kPpin,  ///< Of a processor.
  kUuid,  ///< Of the system.
  kSerial,
  kPart,  ///< Tells models apart, not parts.
};
inline constexpr UINTN kNumberKinds = 4;

/// "PPIN", "UUID", "SerialNumber", "PartNumber": as the fields of a document are called.
const CHAR8* NameOf(NumberKind kind);

/// What a device says of itself, placeholders too, without blanks around it; no text where it says
/// nothing. The texts stand in the table or in the device's blobs; of a UUID, its 16 bytes do.
struct Numbers {
  smbios::Text Texts[kNumberKinds];

  smbios::Text operator[](NumberKind kind) const { return Texts[static_cast<UINTN>(kind)]; }
  smbios::Text& operator[](NumberKind kind) { return Texts[static_cast<UINTN>(kind)]; }
};

/// The text up to its NUL.
smbios::Text TextOf(const CHAR8* text);

/// Whether the number may tell one part from another: placeholders do not.
bool IsUsable(NumberKind kind, smbios::Text number);

/// A number below, equal to or above 0; a text that is missing comes first.
INTN CompareTexts(smbios::Text left, smbios::Text right);

/// Of a processor, a module or the system; all but a PPIN, which no structure of theirs holds.
Numbers NumbersInTable(const smbios::Structure& device);

/// Of a device whose table was not kept: the serial number alone, up to its 15th character.
Numbers NumbersInBlobs(tvq::Span<const UINT8> blobs);

/// The PPINs among a table's OEM strings. Each populated socket has the next one.
class Ppins {
 public:
  explicit Ppins(tvq::Span<const UINT8> table);

  /// No text when there is none any more.
  smbios::Text Next();

 private:
  smbios::Walk::Iterator mAt;
  UINTN mString = 0;  ///< Of the structure there, the last one that was looked at.
};

}  // namespace tvqplatform

#endif
