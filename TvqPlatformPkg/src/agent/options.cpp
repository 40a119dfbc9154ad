/** @file
  The agent's options.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "options.h"

namespace tvqplatform {

namespace {

/// A command line longer than this is none of the agent's.
constexpr UINTN kMaximumCommandLine = 512;

bool IsBlank(CHAR8 character) {
  return character == ' ' || character == '\t' || character == '\r' || character == '\n' ||
         character == '\0';
}

bool Is(tvq::Span<const CHAR8> word, const CHAR8* option) {
  return AsciiStrLen(option) == word.Size() && CompareMem(word.Data(), option, word.Size()) == 0;
}

struct Option {
  const CHAR8* Word;
  bool Options::*Flag;
};

constexpr Option kOptions[] = {
    {"accept", &Options::Accept},     {"again", &Options::Again}, {"as-is", &Options::AsIs},
    {"poweroff", &Options::PowerOff}, {"stop", &Options::Stop},   {"unload", &Options::Unload},
};

/// The option of a word, or null.
const Option* FindOption(tvq::Span<const CHAR8> word) {
  for (const Option& option : kOptions) {
    if (Is(word, option.Word)) {
      return &option;
    }
  }
  return nullptr;
}

void Take(tvq::Span<const CHAR8> word, Options& options) {
  const Option* option = FindOption(word);
  if (option != nullptr) {
    options.*option->Flag = true;
  } else if (options.Unknown[0] == '\0') {
    const UINTN length = MIN(word.Size(), sizeof(options.Unknown) - 1);
    CopyMem(options.Unknown, word.Data(), length);
  }
}

/// Takes the first word off the front of `text`. Empty: there is none.
tvq::Span<const CHAR8> NextWord(tvq::Span<const CHAR8>& text) {
  UINTN start = 0;
  while (start < text.Size() && IsBlank(text[start])) {
    start++;
  }
  UINTN end = start;
  while (end < text.Size() && !IsBlank(text[end])) {
    end++;
  }
  const tvq::Span<const CHAR8> word(text.Data() + start, end - start);
  text = {text.Data() + end, text.Size() - end};
  return word;
}

/// Shells put the program's name first; boot managers may not.
bool IsProgramName(tvq::Span<const CHAR8> word) {
  return FindOption(word) == nullptr;
}

/// Narrows a text up to its NUL. Boot managers may hand over data that is none: false.
[[nodiscard]] bool Narrow(const VOID* loadOptions, UINTN size, CHAR8* buffer, UINTN& length) {
  const UINT8* bytes = static_cast<const UINT8*>(loadOptions);
  length = 0;
  for (UINTN i = 0; i + 1 < size; i += sizeof(CHAR16)) {
    const CHAR16 character = static_cast<CHAR16>(bytes[i] | (bytes[i + 1] << 8));
    if (character == 0) {
      break;
    }
    if (character < ' ' || character > '~') {
      return false;
    }
    buffer[length++] = static_cast<CHAR8>(character);
  }
  return true;
}

}  // namespace

void ParseOptions(tvq::Span<const CHAR8> text, Options& options) {
  for (tvq::Span<const CHAR8> word = NextWord(text); !word.Empty(); word = NextWord(text)) {
    Take(word, options);
  }
}

bool ParseLoadOptions(const VOID* loadOptions, UINTN size, Options& options) {
  CHAR8 line[kMaximumCommandLine];
  UINTN length;
  if (loadOptions == nullptr || size > kMaximumCommandLine * sizeof(CHAR16) ||
      !Narrow(loadOptions, size, line, length)) {
    return false;
  }
  tvq::Span<const CHAR8> text(line, length);
  tvq::Span<const CHAR8> rest = text;
  if (IsProgramName(NextWord(rest))) {
    text = rest;
  }
  rest = text;
  if (NextWord(rest).Empty()) {
    return false;
  }
  ParseOptions(text, options);
  return true;
}

}  // namespace tvqplatform
