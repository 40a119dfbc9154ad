/** @file
  Characters of names.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_CHARACTERS_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_CHARACTERS_H_

#include <TvqCpp.h>

namespace tvqplatform {

constexpr bool IsDigit(UINT8 character) {
  return character >= '0' && character <= '9';
}
constexpr UINT8 ToCapital(UINT8 character) {
  return character >= 'a' && character <= 'z' ? static_cast<UINT8>(character - 'a' + 'A')
                                              : character;
}
constexpr bool IsLetter(UINT8 character) {
  return ToCapital(character) >= 'A' && ToCapital(character) <= 'Z';
}
constexpr bool IsLetterOrDigit(UINT8 character) {
  return IsLetter(character) || IsDigit(character);
}

/// A number below 36 as one digit: 0 to 9, then A to Z.
inline constexpr UINT32 kDigits = 36;
constexpr CHAR8 ToDigit(UINT32 number) {
  return static_cast<CHAR8>(number < 10 ? '0' + number : 'A' + number - 10);
}
constexpr UINT32 FromDigit(UINT8 character) {
  return IsDigit(character) ? character - '0' : character - 'A' + 10;
}

}  // namespace tvqplatform

#endif
