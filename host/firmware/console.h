/*
 * A text console that remembers what was written to it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_CONSOLE_H_
#define TVQ_HOST_FIRMWARE_CONSOLE_H_

#include <string>

#include "host/firmware/edk2.h"

namespace tvq::host {

class Console {
 public:
  Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* Protocol() { return &mInterface.protocol; }
  const std::u16string& Output() const { return mOutput; }

 private:
  // The protocol comes first, so that an operation finds its console by the interface pointer.
  struct Interface {
    EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL protocol;
    Console* console;
  };
  static EFI_STATUS EFIAPI OutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, CHAR16* text);

  EFI_SIMPLE_TEXT_OUTPUT_MODE mMode = {1, 0, 7, 0, 0, FALSE};
  Interface mInterface = {};
  std::u16string mOutput;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_CONSOLE_H_
