/** @file
  Widening and narrowing of texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "text.h"

#include <Library/ZorvLib.h>

namespace tvq {

void WidenCharacters(CHAR16* wide, const CHAR8* ascii, UINTN length) {
  for (UINTN i = 0; i < length; i++) {
    wide[i] = WidenByte(ascii[i]);
  }
}

void WideText::AppendCharacter(CHAR16 character) {
  if (mLeft != 0) {
    *mEnd++ = character;
    *mEnd = 0;
    mLeft--;
  }
}

void WideText::Append(const CHAR8* ascii) {
  while (*ascii != '\0') {
    AppendCharacter(WidenByte(*ascii++));
  }
}

void WideText::Append(const CHAR16* text) {
  while (*text != 0) {
    AppendCharacter(*text++);
  }
}

void WideText::AppendNumber(UINT8 number, UINT8 base) {
  if (number >= base) {
    AppendNumber(static_cast<UINT8>(number / base), base);
  }
  AppendCharacter(static_cast<CHAR16>("0123456789ABCDEF"[number % base]));
}

void WidenInto(CHAR16* wide, UINTN size, const CHAR8* ascii) {
  UINTN length = 0;
  while (length + 1 < size && ascii[length] != '\0') {
    wide[length] = WidenByte(ascii[length]);
    length++;
  }
  wide[length] = 0;
}

PoolPtr<CHAR16> NewWide(const CHAR8* ascii) {
  const UINTN length = ZvAsciiStrLen(ascii);
  auto wide = PoolPtr<CHAR16>::Zeroed(length + 1);
  if (wide) {
    WidenCharacters(wide.Get(), ascii, length);
  }
  return wide;
}

UINTN NarrowInto(CHAR8* buffer, UINTN size, const CHAR16* text) {
  UINTN length = 0;
  while (text != nullptr && text[length] != 0 && length + 1 < size) {
    buffer[length] = static_cast<CHAR8>(static_cast<UINT8>(text[length]));
    length++;
  }
  buffer[length] = '\0';
  return length;
}

}  // namespace tvq
