/** @file
  Formatted texts of any length.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_FORMATTED_TEXT_H_
#define TVQ_PLATFORM_FORMATTED_TEXT_H_

#include <TvqCpp.h>

namespace tvqplatform {

// EFIAPI is essential although nobody outside calls these: with link-time optimisation GCC takes
// the layout of a VA_LIST that VA_COPY copies from the calling convention of the function around
// it.

/// A length in characters, which is too small where a text is wider than the field that it is
/// padded to.
inline UINTN EFIAPI LengthByPrintLib(const CHAR16* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = SPrintLength(format, copy);
  VA_END(copy);
  return length;
}

inline UINTN EFIAPI LengthByPrintLib(const CHAR8* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = SPrintLengthAsciiFormat(format, copy);
  VA_END(copy);
  return length;
}

/// Prints what fits into `size` bytes, and returns its length in characters.
inline UINTN EFIAPI PrintInto(CHAR16* text, UINTN size, const CHAR16* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = UnicodeVSPrint(text, size, format, copy);
  VA_END(copy);
  return length;
}

inline UINTN EFIAPI PrintInto(CHAR8* text, UINTN size, const CHAR8* format, VA_LIST marker) {
  VA_LIST copy;
  VA_COPY(copy, marker);
  const UINTN length = AsciiVSPrint(text, size, format, copy);
  VA_END(copy);
  return length;
}

/// A text in a block of pool, which is empty when the pool is exhausted.
template <typename Character>
struct FormattedText {
  tvq::PoolPtr<Character> Text;
  UINTN Length = 0;  ///< in characters, without the terminator
};

/// Most texts are shorter, and are formatted once.
inline constexpr UINTN kUsualLength = 200;

/// A text in a block of its size, with room for `more` bytes behind the terminator.
template <typename Character>
FormattedText<Character> CopyOf(const Character* text, UINTN length, UINTN more) {
  FormattedText<Character> copy;
  const UINTN size = (length + 1) * sizeof(Character);
  copy.Text.Reset(static_cast<Character*>(AllocatePool(size + more)));
  if (copy.Text) {
    CopyMem(copy.Text.Get(), text, size);
    copy.Length = length;
  }
  return copy;
}

/// Formats in a block that has room for `more` bytes behind the terminator. The caller's marker stays
/// where it is.
template <typename Character>
FormattedText<Character> Format(const Character* format, VA_LIST marker, UINTN more = 0) {
  Character usual[kUsualLength];
  const UINTN length = PrintInto(usual, sizeof(usual), format, marker);
  if (length + 1 < kUsualLength) {
    return CopyOf(usual, length, more);
  }
  // A text that leaves a character free is whole.
  for (UINTN room = LengthByPrintLib(format, marker) + 2;; room *= 2) {
    const UINTN size = room * sizeof(Character);
    FormattedText<Character> formatted;
    formatted.Text.Reset(static_cast<Character*>(AllocatePool(size + more)));
    if (!formatted.Text) {
      return formatted;
    }
    formatted.Length = PrintInto(formatted.Text.Get(), size, format, marker);
    if (formatted.Length + 1 < room) {
      return formatted;
    }
  }
}

}  // namespace tvqplatform

#endif
