/** @file
  Texts of any length and of both character widths. MdePkg's own routines assert above a limit that
  is set at build time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_TEXT_H_
#define TVQ_PLATFORM_TEXT_H_

#include <TvqCpp.h>

namespace tvqplatform {

template <typename Character>
UINTN Length(const Character* text) {
  UINTN length = 0;
  while (text[length] != 0) {
    length++;
  }
  return length;
}

/// 0 when the texts are equal, else the difference of the first characters that differ.
template <typename Character>
INTN Compare(const Character* first, const Character* second) {
  while (*first != 0 && *first == *second) {
    first++;
    second++;
  }
  return static_cast<INTN>(*first) - static_cast<INTN>(*second);
}

/// Size in bytes, the terminator included.
template <typename Character>
UINTN Size(const Character* text) {
  return (Length(text) + 1) * sizeof(Character);
}

}  // namespace tvqplatform

#endif
