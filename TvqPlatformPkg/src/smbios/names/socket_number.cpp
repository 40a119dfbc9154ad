/** @file
  The number of a processor's socket, from the text of its designation.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "socket_number.h"

#include "characters.h"

namespace tvqplatform {

using smbios::Text;

namespace {

struct Marker {
  CHAR8 Word[12];
  bool BeginsWord;  ///< It counts only at the start of a word.
  CHAR8 Rule[16];
};

/// In the order in which they are looked for.
constexpr Marker kMarkers[] = {
    {"CPU", false, "cpu"},
    {"PROC", false, "processor"},
    {"PROCESSOR", false, "processor"},
    {"SOCKET", false, "socket"},
    {"P", true, "p"},
};

/// What the marker SOCKET stands in front of may be the type of the socket.
constexpr CHAR8 kSocket[] = "SOCKET";
constexpr UINTN kDigitsOfType = 3;

constexpr CHAR8 kAlone[] = "only-number";

bool IsBetween(UINT8 character) {
  return character == ' ' || character == '#' || character == '_' || character == '-' ||
         character == ':';
}

bool IsLetterOrDigitAt(Text text, UINTN at) {
  return at < text.Length() && IsLetterOrDigit(text[at]);
}

/// Whether the word stands at `at`; its end goes there.
bool HasWordAt(Text text, UINTN at, const CHAR8* word, UINTN& end) {
  for (end = at; *word != '\0'; end++, word++) {
    if (end >= text.Length() || ToCapital(text[end]) != static_cast<UINT8>(*word)) {
      return false;
    }
  }
  return true;
}

/// Digits in a text.
struct Digits {
  UINTN Start;
  UINTN End;
  UINT32 Value;  ///< Above kHighestSocket, any number there.

  bool Empty() const { return Start == End; }
};

Digits DigitsAt(Text text, UINTN start) {
  Digits digits = {start, start, 0};
  for (; digits.End < text.Length() && IsDigit(text[digits.End]); digits.End++) {
    digits.Value = MIN(digits.Value * 10 + (text[digits.End] - '0'), kHighestSocket + 1);
  }
  return digits;
}

/// Whether digits behind "SOCKET" are a type of socket.
bool IsType(Text text, const Digits& digits) {
  return digits.End - digits.Start >= kDigitsOfType || IsLetterOrDigitAt(text, digits.End);
}

/// The number right behind the marker at `at`; false where there is none.
bool FindBehind(Text text, UINTN at, const Marker& marker, UINT32& number) {
  UINTN end;
  if ((marker.BeginsWord && at != 0 && IsLetterOrDigit(text[at - 1])) ||
      !HasWordAt(text, at, marker.Word, end)) {
    return false;
  }
  while (end < text.Length() && IsBetween(text[end])) {
    end++;
  }
  const Digits digits = DigitsAt(text, end);
  const bool mayBeType = AsciiStrCmp(marker.Word, kSocket) == 0;
  number = digits.Value;
  return !digits.Empty() && number <= kHighestSocket && !(mayBeType && IsType(text, digits));
}

bool StandsAlone(Text text, const Digits& digits) {
  const auto isEdge = [text](UINTN at) {
    return at >= text.Length() ||
           !(IsLetterOrDigit(text[at]) || text[at] == '/' || text[at] == '.');
  };
  return (digits.Start == 0 || isEdge(digits.Start - 1)) && isEdge(digits.End);
}

/// The only number that stands alone and is no type.
SocketNumber FindAlone(Text text) {
  SocketNumber found;
  bool isBehindSocket = false;
  UINTN numbers = 0;
  UINTN end;
  for (UINTN at = 0; at < text.Length();) {
    const Digits digits = DigitsAt(text, at);
    isBehindSocket |= HasWordAt(text, at, kSocket, end);
    at = digits.Empty() ? at + 1 : digits.End;
    if (digits.Empty() || !StandsAlone(text, digits) || (isBehindSocket && IsType(text, digits))) {
      continue;
    }
    numbers++;
    found = {digits.Value, kAlone};
  }
  return numbers == 1 && found.Value <= kHighestSocket ? found : SocketNumber();
}

}  // namespace

SocketNumber NumberOfSocket(Text designation) {
  for (const Marker& marker : kMarkers) {
    for (UINTN at = 0; at < designation.Length(); at++) {
      UINT32 number;
      if (FindBehind(designation, at, marker, number)) {
        return {number, marker.Rule};
      }
    }
  }
  return FindAlone(designation);
}

UINT8 SocketCharacter(UINT32 number) {
  constexpr UINT32 kLessThan = '<' - '0';
  constexpr UINT32 kBehindTilde = '~' - '0' + 1;
  constexpr UINT8 kPunctuation[] = {'!', '"', '#', '$', '%', '\'', '(',
                                    ')', '*', '+', ',', '-', '.',  '/'};
  if (number == kLessThan) {
    return kPunctuation[0];
  }
  if (number < kBehindTilde) {
    return static_cast<UINT8>('0' + number);
  }
  const UINT32 behind = number - kBehindTilde + 1;
  return behind < ARRAY_SIZE(kPunctuation)
             ? kPunctuation[behind]
             : static_cast<UINT8>(0x7F + behind - ARRAY_SIZE(kPunctuation));
}
static_assert('~' - '0' == 78, "'0'+n up to n = 78");

void PrintDesignation(UINT32 number, CHAR8 (&designation)[kDesignationSize]) {
  if (number < 10) {
    AsciiSPrint(designation, sizeof(designation), "CPU%d", number);
    return;
  }
  AsciiSPrint(designation, sizeof(designation), "CPU? %d", number);
  designation[3] = static_cast<CHAR8>(SocketCharacter(number));
}

}  // namespace tvqplatform
