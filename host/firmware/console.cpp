/*
 * A text console that remembers what was written to it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/console.h"

namespace tvq::host {
namespace {

using TextOutput = EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL;

EFI_STATUS EFIAPI Reset(TextOutput*, BOOLEAN) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI TestString(TextOutput*, CHAR16*) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI QueryMode(TextOutput*, UINTN mode, UINTN* columns, UINTN* rows) {
  if (mode != 0) {
    return EFI_UNSUPPORTED;
  }
  *columns = 80;
  *rows = 25;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetMode(TextOutput*, UINTN mode) {
  return mode == 0 ? EFI_SUCCESS : EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI SetAttribute(TextOutput*, UINTN) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ClearScreen(TextOutput*) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetCursorPosition(TextOutput*, UINTN, UINTN) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI EnableCursor(TextOutput*, BOOLEAN) {
  return EFI_SUCCESS;
}

}  // namespace

Console::Console() {
  mInterface.protocol = {Reset,        OutputString, TestString,        QueryMode,    SetMode,
                         SetAttribute, ClearScreen,  SetCursorPosition, EnableCursor, &mMode};
  mInterface.console = this;
}

EFI_STATUS EFIAPI Console::OutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, CHAR16* text) {
  Console& console = *reinterpret_cast<Interface*>(self)->console;
  for (; *text != 0; ++text) {
    console.mOutput.push_back(static_cast<char16_t>(*text));
  }
  return EFI_SUCCESS;
}

}  // namespace tvq::host
