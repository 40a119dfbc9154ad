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
    {"accept", &Options::Accept},
    {"again", &Options::Again},
    {"as-is", &Options::AsIs},
    {"incomplete", &Options::Incomplete},
    {"keep-variable", &Options::KeepVariable},
    {"other-machine", &Options::OtherMachine},
    {"poweroff", &Options::PowerOff},
    {"screen", &Options::Screen},
    {"stop", &Options::Stop},
    {"unattended", &Options::Unattended},
    {"unload", &Options::Unload},
};

constexpr CHAR8 kCountdown[] = "countdown=";
constexpr CHAR8 kKeep[] = "keep=";
constexpr CHAR8 kState[] = "state=";
/// As many states or seconds as anybody wants.
constexpr UINTN kMost = 1000;

/// The option of a word, or null.
const Option* FindOption(tvq::Span<const CHAR8> word) {
  for (const Option& option : kOptions) {
    if (Is(word, option.Word)) {
      return &option;
    }
  }
  return nullptr;
}

/// Takes a prefix off the front.
[[nodiscard]] bool TakePrefix(tvq::Span<const CHAR8>& word, const CHAR8* prefix) {
  const UINTN length = AsciiStrLen(prefix);
  if (word.Size() < length || CompareMem(word.Data(), prefix, length) != 0) {
    return false;
  }
  word = word.From(length);
  return true;
}

/// False: it is no number from 1 to kMost.
[[nodiscard]] bool TakeNumber(tvq::Span<const CHAR8> word, UINTN& number) {
  UINTN value = 0;
  for (const CHAR8 digit : word) {
    if (digit < '0' || digit > '9' || value > kMost) {
      return false;
    }
    value = value * 10 + (digit - '0');
  }
  if (value < 1 || value > kMost) {
    return false;
  }
  number = value;
  return true;
}

/// False: it is empty, or there is no room for it.
[[nodiscard]] bool TakeName(tvq::Span<const CHAR8> word, CHAR8 (&name)[kNameSize]) {
  if (word.Empty() || word.Size() >= kNameSize) {
    return false;
  }
  ZeroMem(name, sizeof(name));
  CopyMem(name, word.Data(), word.Size());
  return true;
}

/// A folder's name leads nowhere else.
[[nodiscard]] bool TakeFolder(tvq::Span<const CHAR8> word, Options& options) {
  for (const CHAR8 character : word) {
    if (character == '\\' || character == '/' || character == ':') {
      return false;
    }
  }
  return TakeName(word, options.State);
}

/// A word that is no flag. False: it is not known.
[[nodiscard]] bool TakeOther(tvq::Span<const CHAR8> word, Options& options) {
  if (TakePrefix(word, kKeep)) {
    return TakeNumber(word, options.Keep);
  }
  if (TakePrefix(word, kCountdown)) {
    return TakeNumber(word, options.Countdown);
  }
  if (TakePrefix(word, kState)) {
    return TakeFolder(word, options);
  }
  if (!options.Accept || options.NameCount == kMaximumNames ||
      !TakeName(word, options.Names[options.NameCount])) {
    return false;
  }
  options.NameCount++;
  return true;
}

void Take(tvq::Span<const CHAR8> word, Options& options) {
  const Option* option = FindOption(word);
  if (option != nullptr) {
    options.*option->Flag = true;
  } else if (!TakeOther(word, options) && options.Unknown[0] == '\0') {
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
  const bool isQuoted = start < text.Size() && text[start] == '"';
  start += isQuoted ? 1 : 0;
  UINTN end = start;
  while (end < text.Size() && (isQuoted ? text[end] != '"' : !IsBlank(text[end]))) {
    end++;
  }
  const tvq::Span<const CHAR8> word(text.Data() + start, end - start);
  text = text.From(end + (isQuoted ? 1 : 0));
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
