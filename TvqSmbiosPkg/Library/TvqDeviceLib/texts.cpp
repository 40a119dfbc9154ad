/** @file
  Texts that firmware writes where it knows nothing.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Library/TvqDeviceLib.h>

namespace tvq::devices {

namespace {

/// Room for the longest; a table of pointers would be one of relocations.
using Word = char[24];

constexpr Word kPlaceholders[] = {"none",
                                  "na",
                                  "null",
                                  "unknown",
                                  "undefined",
                                  "invalid",
                                  "empty",
                                  "notspecified",
                                  "notavailable",
                                  "notprovided",
                                  "notinstalled",
                                  "notapplicable",
                                  "nodimm",
                                  "nomodule",
                                  "default",
                                  "defaultstring",
                                  "oem",
                                  "tobefilledbyoem",
                                  "0123456789",
                                  "serial",
                                  "serialnumber",
                                  "noserialnumber",
                                  "systemserialnumber",
                                  "chassisserialnumber",
                                  "baseboardserialnumber",
                                  "assettag",
                                  "noassettag",
                                  "noassetinformation"};

constexpr Word kDigitsInARow[] = {"12345678", "123456789", "1234567890"};

/// A number may follow, and anything may stand in front.
constexpr Word kCountedNames[] = {"sernum", "serialnumber", "partnum", "partnumber"};

constexpr bool IsDigit(U8 character) {
  return character >= '0' && character <= '9';
}

/// The character as it counts; 0 for one that does not.
constexpr U8 Plain(U8 character) {
  if (character >= 'A' && character <= 'Z') {
    return static_cast<U8>(character - 'A' + 'a');
  }
  const bool counts =
      IsDigit(character) || (character >= 'a' && character <= 'z') || character >= 0x80;
  return counts ? character : U8{0};
}

/// Whether nothing in it counts, or one character several times.
bool IsMonotonous(Text text) {
  U8 first = 0;
  smbios::SizeType count = 0;
  for (const U8 character : text) {
    const U8 plain = Plain(character);
    first = first == 0 ? plain : first;
    if (plain != 0 && plain != first) {
      return false;
    }
    count += plain != 0 ? 1 : 0;
  }
  return count != 1;
}

/// Whether the text is the word, or enough of its beginning where it may have been cut.
bool Is(Text text, const char* word) {
  constexpr smbios::SizeType kEnough = 8;
  const char* const start = word;
  for (const U8 character : text) {
    const U8 plain = Plain(character);
    if (plain == 0) {
      continue;
    }
    if (*word == '\0' || plain != static_cast<U8>(*word)) {
      return false;
    }
    word++;
  }
  const bool isEnough = static_cast<smbios::SizeType>(word - start) >= kEnough;
  return *word == '\0' || (isEnough && text.Length() == kSerialLength);
}

template <smbios::SizeType N>
bool IsOneOf(Text text, const Word (&words)[N]) {
  for (const Word& word : words) {
    if (Is(text, word)) {
      return true;
    }
  }
  return false;
}

/// Whether the character can stand in a number, or between a name and its number.
bool MayFollowAName(U8 character) {
  return IsDigit(character) || Plain(character) == 0;
}

/// The text without a number at its end.
Text WithoutNumber(Text text) {
  smbios::SizeType length = text.Length();
  while (length != 0 && MayFollowAName(text[length - 1])) {
    length--;
  }
  return Text(text.Data(), length);
}

bool EndsWith(Text text, const char* word) {
  smbios::SizeType left = 0;
  while (word[left] != '\0') {
    left++;
  }
  for (smbios::SizeType i = text.Length(); left != 0 && i-- != 0;) {
    const U8 plain = Plain(text[i]);
    if (plain == 0) {
      continue;
    }
    if (plain != static_cast<U8>(word[--left])) {
      return false;
    }
  }
  return left == 0;
}

bool IsCountedName(Text text) {
  const Text name = WithoutNumber(text);
  for (const Word& word : kCountedNames) {
    if (EndsWith(name, word)) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool IsPlaceholder(Text text) {
  return IsMonotonous(text) || IsOneOf(text, kPlaceholders);
}

bool IsDummy(Text text) {
  return IsPlaceholder(text) || IsOneOf(text, kDigitsInARow) || IsCountedName(text);
}

}  // namespace tvq::devices
