/** @file
  Widening of ASCII texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_TEXT_H_
#define TVQ_TEXT_H_

#include <Library/TvqCpp.h>

namespace tvq {

/// Widens one byte of a text with sign extension, whatever the sign of the compiler's char: 80h to
/// FFh deliberately become FF80h to FFFFh.
inline CHAR16 WidenByte(CHAR8 byte) {
  return static_cast<CHAR16>(static_cast<INT16>(static_cast<INT8>(byte)));
}

/// Widens `length` characters; `wide` has room for them, and a terminator is the caller's matter.
void WidenCharacters(CHAR16* wide, const CHAR8* ascii, UINTN length);

/// A widened copy of `ascii` in new zeroed pool; empty when the pool is exhausted.
PoolPtr<CHAR16> NewWide(const CHAR8* ascii);

/// Narrows a text to the low byte of each unit; keeps at most `size` - 1 characters and always
/// terminates. A null text is empty. Returns the length.
UINTN NarrowInto(CHAR8* buffer, UINTN size, const CHAR16* text);

}  // namespace tvq

#endif
