/*
 * A ZVI table over the C library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "host/firmware/edk2.h"
#include "tests/unit/shared/library_double.h"
#include "tests/unit/shared/text.h"

// PrintLib as it is linked into the DXE core.
extern "C" UINTN EFIAPI CorePrintWide(CHAR16* buffer, UINTN bufferSize, const CHAR16* format,
                                      VA_LIST marker) __asm__("core.UnicodeVSPrint");
extern "C" UINTN EFIAPI CorePrintNarrow(CHAR8* buffer, UINTN bufferSize, const CHAR8* format,
                                        VA_LIST marker) __asm__("core.AsciiVSPrint");

namespace tvq::test {
namespace {

VOID EFIAPI Unused() {
  ADD_FAILURE() << "an entry was called that the driver has no business with";
}

VOID EFIAPI CopyBytes(VOID* destination, const VOID* source, UINTN length) {
  std::memmove(destination, source, length);
}

UINTN EFIAPI Print(CHAR8* buffer, UINTN bufferSize, const CHAR8* format, VA_LIST marker) {
  return CorePrintNarrow(buffer, bufferSize, format, marker);
}

UINTN EFIAPI Length(const CHAR8* text) {
  return std::strlen(text);
}

INTN EFIAPI Compare(const CHAR8* first, const CHAR8* second) {
  return std::strcmp(first, second);
}

INTN EFIAPI CompareStart(const CHAR8* first, const CHAR8* second, UINTN length) {
  return std::strncmp(first, second, length);
}

RETURN_STATUS EFIAPI CopyStart(CHAR8* destination, UINTN room, const CHAR8* source, UINTN length) {
  const size_t copied = strnlen(source, length);
  if (copied >= room) {
    return RETURN_BUFFER_TOO_SMALL;
  }
  std::memcpy(destination, source, copied);
  destination[copied] = '\0';
  return RETURN_SUCCESS;
}

RETURN_STATUS EFIAPI Copy(CHAR8* destination, UINTN room, const CHAR8* source) {
  return CopyStart(destination, room, source, std::strlen(source));
}

CHAR8* EFIAPI Find(const CHAR8* text, const CHAR8* wanted) {
  return const_cast<CHAR8*>(std::strstr(text, wanted));
}

UINTN DigitValue(CHAR8 character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  const int letter = character | 0x20;
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : 16;
}

UINTN EFIAPI ToNumber(const CHAR8* text, UINT32 base) {
  while (*text == ' ' || *text == '\t') {
    ++text;
  }
  if (base == 16 && text[0] == '0' && (text[1] | 0x20) == 'x') {
    text += 2;
  }
  UINTN number = 0;
  for (; DigitValue(*text) < base; ++text) {
    number = number * base + DigitValue(*text);
  }
  return number;
}

template <typename Character>
UINTN WideLength(const Character* text) {
  UINTN length = 0;
  while (text[length] != 0) {
    ++length;
  }
  return length;
}

template <typename Character>
VOID Trim(Character* text, Character removed) {
  Character* last = text + WideLength(text);
  while (last != text && last[-1] == removed) {
    --last;
  }
  *last = 0;
  const Character* first = text;
  while (*first == removed) {
    ++first;
  }
  std::copy(first, static_cast<const Character*>(last) + 1, text);
}

VOID EFIAPI TrimNarrow(CHAR8* text, CHAR8 removed) {
  Trim(text, removed);
}

VOID EFIAPI TrimWide(CHAR16* text, CHAR16 removed) {
  Trim(text, removed);
}

UINTN EFIAPI LengthWide(const CHAR16* text) {
  return WideLength(text);
}

INTN EFIAPI CompareWide(const CHAR16* first, const CHAR16* second) {
  while (*first != 0 && *first == *second) {
    ++first;
    ++second;
  }
  return static_cast<INTN>(*first) - *second;
}

}  // namespace

void FillUnused(VOID** slots, size_t count) {
  std::fill_n(slots, count, reinterpret_cast<VOID*>(Unused));
}

std::string FormatLine(const CHAR16* format, VA_LIST marker) {
  // Clearing it anew would take half of the time of tests that run a start thousands of times.
  static CHAR16 line[16 * 1024];
  CorePrintWide(line, sizeof(line), format, marker);
  std::string text = Utf8(line);
  // PrintLib writes a carriage return before each line feed.
  for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
    text.erase(at, 1);
  }
  return text;
}

ZV_LIBRARY_PROTOCOL MakeLibraryDouble() {
  ZV_LIBRARY_PROTOCOL table;
  FillUnused(reinterpret_cast<VOID**>(&table), sizeof(table) / sizeof(VOID*));
  table.CopyMem = CopyBytes;
  table.AsciiVSPrint = Print;
  table.AsciiStrLen = Length;
  table.AsciiStrCmp = Compare;
  table.AsciiStrnCmp = CompareStart;
  table.AsciiStrCpyS = Copy;
  table.AsciiStrnCpyS = CopyStart;
  table.AsciiStrStr = Find;
  table.AsciiStrTrim = TrimNarrow;
  table.AsciiStrToUint = ToNumber;
  table.StrLen = LengthWide;
  table.StrCmp = CompareWide;
  table.StrTrim = TrimWide;
  return table;
}

}  // namespace tvq::test
