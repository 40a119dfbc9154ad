/** @file
  File names for devices.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "file_names.h"

namespace tvqplatform {

namespace {

/// Longer than any FQDD; the rest of a name has room for a number.
constexpr UINTN kMaximumStem = 48;

bool IsIn(CHAR16 character, CHAR16 first, CHAR16 last) {
  return character >= first && character <= last;
}

CHAR8 Allowed(CHAR16 character) {
  const bool keep = IsIn(character, 'a', 'z') || IsIn(character, 'A', 'Z') ||
                    IsIn(character, '0', '9') || character == '.' || character == '_' ||
                    character == '-';
  return keep ? static_cast<CHAR8>(character) : '_';
}

void MakeStem(const CHAR16* fqdd, CHAR8 (&stem)[kMaximumStem + 1]) {
  UINTN length = 0;
  while (fqdd != nullptr && fqdd[length] != 0 && length < kMaximumStem) {
    stem[length] = Allowed(fqdd[length]);
    length++;
  }
  stem[length] = '\0';
  if (length == 0) {
    AsciiSPrint(stem, sizeof(stem), "record");
  }
}

}  // namespace

FileNames::~FileNames() {
  mTaken.Free();
}

bool FileNames::IsTaken(const Name& name) const {
  for (const Name& taken : mTaken) {
    if (AsciiStriCmp(taken.Text, name.Text) == 0) {
      return true;
    }
  }
  return false;
}

bool FileNames::Take(const CHAR16* fqdd, Name& name) {
  CHAR8 stem[kMaximumStem + 1];
  MakeStem(fqdd, stem);
  AsciiSPrint(name.Text, sizeof(name.Text), "%a", stem);
  for (UINT32 number = 2; IsTaken(name); number++) {
    AsciiSPrint(name.Text, sizeof(name.Text), "%a-%d", stem, number);
  }
  return mTaken.Append(name);
}

}  // namespace tvqplatform
