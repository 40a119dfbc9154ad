/** @file
  Lengths of formatted texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_FORMATTED_LENGTH_H_
#define TVQ_PLATFORM_FORMATTED_LENGTH_H_

#include <TvqCpp.h>

namespace tvqplatform {

// EFIAPI is essential although nobody outside calls these: with link-time optimisation GCC takes
// the layout of a VA_LIST that VA_COPY copies from the calling convention of the function around
// it.

/// Length in characters, without the terminator. The caller's marker stays where it is.
inline UINTN EFIAPI FormattedLength(const CHAR16* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = SPrintLength(format, copy);
  VA_END(copy);
  return length;
}

inline UINTN EFIAPI FormattedLength(const CHAR8* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = SPrintLengthAsciiFormat(format, copy);
  VA_END(copy);
  return length;
}

}  // namespace tvqplatform

#endif
