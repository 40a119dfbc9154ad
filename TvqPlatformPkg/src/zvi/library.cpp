/** @file
  The ZVI library service table.

  The text operations do what BaseLib's do, in code of our own: BaseLib asserts on texts above a
  limit that the platform sets at build time, and a stored document may be longer.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>
#include <Library/TvqZviLib.h>

#include "../text.h"

namespace tvqplatform {

namespace {

/// Length of a text, but no more than `limit`; nothing is read behind that.
UINTN LengthUpTo(const CHAR8* text, UINTN limit) {
  UINTN length = 0;
  while (length < limit && text[length] != 0) {
    length++;
  }
  return length;
}

/// Removes the character at both ends; inner ones stay.
template <typename Character>
void Trim(Character* text, Character character) {
  UINTN end = Length(text);
  while (end != 0 && text[end - 1] == character) {
    end--;
  }
  UINTN start = 0;
  while (start < end && text[start] == character) {
    start++;
  }
  CopyMem(text, text + start, (end - start) * sizeof(Character));
  text[end - start] = 0;
}

bool Overlap(const CHAR8* first, UINTN firstSize, const CHAR8* second, UINTN secondSize) {
  return first < second + secondSize && second < first + firstSize;
}

/// Copies `length` characters of a text and a terminator.
RETURN_STATUS CopyText(CHAR8* destination, UINTN destMax, const CHAR8* source, UINTN length) {
  if (length >= destMax) {
    return RETURN_BUFFER_TOO_SMALL;
  }
  if (Overlap(destination, destMax, source, length + 1)) {
    return RETURN_ACCESS_DENIED;
  }
  CopyMem(destination, source, length);
  destination[length] = '\0';
  return RETURN_SUCCESS;
}

/// Value of a digit, or 16 for what is none.
UINTN DigitValue(CHAR8 character) {
  if (character >= '0' && character <= '9') {
    return static_cast<UINTN>(character - '0');
  }
  if (character >= 'a' && character <= 'f') {
    return static_cast<UINTN>(character - 'a') + 10;
  }
  if (character >= 'A' && character <= 'F') {
    return static_cast<UINTN>(character - 'A') + 10;
  }
  return 16;
}

/// Skips zeros, and an x behind them; one without a zero stays.
void SkipHexPrefix(const CHAR8** text) {
  const CHAR8* start = *text;
  while (**text == '0') {
    (*text)++;
  }
  if (*text != start && (**text == 'x' || **text == 'X')) {
    (*text)++;
  }
}

VOID EFIAPI ZviCopyMem(VOID* Destination, const VOID* Source, UINTN Length) {
  CopyMem(Destination, Source, Length);
}

UINTN EFIAPI ZviAsciiVSPrint(CHAR8* Buffer, UINTN BufferSize, const CHAR8* Format, VA_LIST Marker) {
  return AsciiVSPrint(Buffer, BufferSize, Format, Marker);
}

UINTN EFIAPI ZviAsciiStrLen(const CHAR8* String) {
  return Length(String);
}

INTN EFIAPI ZviAsciiStrCmp(const CHAR8* First, const CHAR8* Second) {
  return Compare(First, Second);
}

INTN EFIAPI ZviAsciiStrnCmp(const CHAR8* First, const CHAR8* Second, UINTN Length) {
  if (Length == 0) {
    return 0;
  }
  while (Length > 1 && *First != '\0' && *First == *Second) {
    First++;
    Second++;
    Length--;
  }
  return static_cast<INTN>(*First) - static_cast<INTN>(*Second);
}

RETURN_STATUS EFIAPI ZviAsciiStrCpyS(CHAR8* Destination, UINTN DestMax, const CHAR8* Source) {
  if (Destination == nullptr || Source == nullptr || DestMax == 0) {
    return RETURN_INVALID_PARAMETER;
  }
  return CopyText(Destination, DestMax, Source, LengthUpTo(Source, DestMax));
}

RETURN_STATUS EFIAPI ZviAsciiStrnCpyS(CHAR8* Destination, UINTN DestMax, const CHAR8* Source,
                                      UINTN Length) {
  if (Destination == nullptr || Source == nullptr || DestMax == 0) {
    return RETURN_INVALID_PARAMETER;
  }
  return CopyText(Destination, DestMax, Source, LengthUpTo(Source, MIN(DestMax, Length)));
}

CHAR8* EFIAPI ZviAsciiStrStr(const CHAR8* String, const CHAR8* SearchString) {
  const UINTN length = Length(SearchString);
  if (length == 0) {
    return const_cast<CHAR8*>(String);
  }
  for (; *String != '\0'; String++) {
    if (ZviAsciiStrnCmp(String, SearchString, length) == 0) {
      return const_cast<CHAR8*>(String);
    }
  }
  return nullptr;
}

VOID EFIAPI ZviAsciiStrTrim(CHAR8* String, CHAR8 Character) {
  Trim(String, Character);
}

UINTN EFIAPI ZviAsciiStrToUint(const CHAR8* String, UINT32 Base) {
  if (Base != 10 && Base != 16) {
    return 0;
  }
  while (*String == ' ' || *String == '\t') {
    String++;
  }
  if (Base == 16) {
    SkipHexPrefix(&String);
  }
  UINTN value = 0;
  for (UINTN digit = DigitValue(*String); digit < Base; digit = DigitValue(*++String)) {
    if (value > (MAX_UINTN - digit) / Base) {
      return MAX_UINTN;
    }
    value = value * Base + digit;
  }
  return value;
}

UINTN EFIAPI ZviStrLen(const CHAR16* String) {
  return Length(String);
}

INTN EFIAPI ZviStrCmp(const CHAR16* First, const CHAR16* Second) {
  return Compare(First, Second);
}

VOID EFIAPI ZviStrTrim(CHAR16* String, CHAR16 Character) {
  Trim(String, Character);
}

constexpr ZV_LIBRARY_PROTOCOL MakeTable() {
  ZV_LIBRARY_PROTOCOL table = {};
  table.CopyMem = ZviCopyMem;
  table.AsciiVSPrint = ZviAsciiVSPrint;
  table.AsciiStrLen = ZviAsciiStrLen;
  table.AsciiStrCmp = ZviAsciiStrCmp;
  table.AsciiStrnCmp = ZviAsciiStrnCmp;
  table.AsciiStrCpyS = ZviAsciiStrCpyS;
  table.AsciiStrnCpyS = ZviAsciiStrnCpyS;
  table.AsciiStrStr = ZviAsciiStrStr;
  table.AsciiStrTrim = ZviAsciiStrTrim;
  table.AsciiStrToUint = ZviAsciiStrToUint;
  table.StrLen = ZviStrLen;
  table.StrCmp = ZviStrCmp;
  table.StrTrim = ZviStrTrim;
  return table;
}

constexpr ZV_LIBRARY_PROTOCOL kTable = MakeTable();

}  // namespace

}  // namespace tvqplatform

ZV_LIBRARY_PROTOCOL gTvqZviTable = tvqplatform::kTable;
