/** @file
  Texts: widening, narrowing, and putting them together.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_TEXT_H_
#define TVQ_TEXT_H_

#include <TvqCpp.h>

namespace tvq {

/// Widens one byte of a text with sign extension, whatever the sign of the compiler's char: 80h to
/// FFh deliberately become FF80h to FFFFh.
inline CHAR16 WidenByte(CHAR8 byte) {
  return static_cast<CHAR16>(static_cast<INT16>(static_cast<INT8>(byte)));
}

/// Widens `length` characters; `wide` has room for them, and a terminator is the caller's matter.
void WidenCharacters(CHAR16* wide, const CHAR8* ascii, UINTN length);

/// Puts a text of CHAR16 together in a buffer. What does not fit is cut, and the text is always
/// terminated. PrintLib, which prints into such buffers too, would be a tenth of the driver.
class WideText {
 public:
  /// `size` characters, the terminator included; at least one.
  WideText(CHAR16* buffer, UINTN size) : mEnd(buffer), mLeft(size - 1) { *mEnd = 0; }

  void Append(const CHAR8* ascii);
  void Append(const CHAR16* text);
  /// A number with the base 10 or 16, in capital letters and without leading zeros.
  void AppendNumber(UINT8 number, UINT8 base);

 private:
  void AppendCharacter(CHAR16 character);

  CHAR16* mEnd;
  UINTN mLeft;
};

/// A widened copy of `ascii` in a buffer of `size` characters; what does not fit is cut.
void WidenInto(CHAR16* wide, UINTN size, const CHAR8* ascii);

/// A widened copy of `ascii` in new zeroed pool; empty when the pool is exhausted.
[[nodiscard]] PoolPtr<CHAR16> NewWide(const CHAR8* ascii);

/// Narrows a text to the low byte of each unit; keeps at most `size` - 1 characters and always
/// terminates. A null text is empty. Returns the length.
UINTN NarrowInto(CHAR8* buffer, UINTN size, const CHAR16* text);

}  // namespace tvq

#endif
