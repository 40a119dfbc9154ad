/** @file
  Entry point of TvqFaults: reads the command line.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "faults.h"

extern "C" {
#include <Library/UefiLib.h>
#include <Protocol/LoadedImage.h>
}

namespace tvqplatform {

namespace {

constexpr UINTN kMaximumWords = 3;
constexpr UINTN kMaximumWord = 16;

/// The words of a command line; the first one is the program's name.
struct CommandLine {
  CHAR8 Words[kMaximumWords][kMaximumWord];
};

CommandLine ReadCommandLine(EFI_HANDLE image) {
  CommandLine line = {};
  VOID* loaded = nullptr;
  if (EFI_ERROR(gBS->HandleProtocol(image, &gEfiLoadedImageProtocolGuid, &loaded))) {
    return line;
  }
  const auto* options = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded);
  const auto* text = static_cast<const CHAR16*>(options->LoadOptions);
  UINTN word = 0;
  UINTN length = 0;
  for (UINTN i = 0; i < options->LoadOptionsSize / sizeof(CHAR16) && text[i] != 0; i++) {
    if (text[i] == ' ') {
      word += length == 0 ? 0 : 1;
      length = 0;
    } else if (word < kMaximumWords && length + 1 < kMaximumWord) {
      line.Words[word][length++] = static_cast<CHAR8>(text[i]);
    }
  }
  return line;
}

[[nodiscard]] EFI_STATUS Obey(const CHAR8* command, const CHAR8* argument) {
  if (AsciiStrCmp(command, "without") == 0) {
    return TakeAway(argument);
  }
  if (AsciiStrCmp(command, "with") == 0) {
    return PutBack(argument);
  }
  if (AsciiStrCmp(command, "names") == 0) {
    return AddNames();
  }
  if (AsciiStrCmp(command, "move") == 0) {
    return MoveTable();
  }
  if (AsciiStrCmp(command, "assert") == 0) {
    return FailAssertion();
  }
  if (AsciiStrCmp(command, "outside") == 0) {
    return ReadOutside();
  }
  AsciiPrint(
      "usage: TvqFaults without PART    takes a part of the platform away\n"
      "       TvqFaults with PART       puts it back\n"
      "       TvqFaults names           adds an SMBIOS structure of type 225\n"
      "       TvqFaults move            adds SMBIOS structures until the table moves\n"
      "       TvqFaults assert          makes an assertion of the driver fail\n"
      "       TvqFaults outside         reads bytes outside a block of pool\n"
      "parts:");
  ShowParts();
  AsciiPrint("\n");
  return EFI_INVALID_PARAMETER;
}

}  // namespace

/**
  Does what the command line says.

  @retval EFI_SUCCESS            It is done.
  @retval EFI_INVALID_PARAMETER  There is no such command or part.
  @retval Others                 It cannot be done.
**/
extern "C" EFI_STATUS EFIAPI TvqFaultsEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE*) {
  const CommandLine line = ReadCommandLine(ImageHandle);
  const CHAR8* command = line.Words[1];
  const CHAR8* argument = line.Words[2];
  const EFI_STATUS status = Obey(command, argument);
  AsciiPrint("TvqFaults: %a %a: %r\n", command, argument, status);
  return status;
}

}  // namespace tvqplatform
