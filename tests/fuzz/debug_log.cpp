/*
 * A debug log that formats every line and keeps none.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/debug_log.h"

#include <Protocol/DebugLog.h>

#include "tests/fuzz/operations.h"

// PrintLib as it is linked into the DXE core.
extern "C" UINTN EFIAPI CorePrintWide(CHAR16* buffer, UINTN bufferSize, const CHAR16* format,
                                      VA_LIST marker) __asm__("core.UnicodeVSPrint");

namespace tvq::fuzz {
namespace {

VOID EFIAPI PrintLine(UINT32, const CHAR8*, const CHAR16* format, ...) {
  static CHAR16 line[0x10000];
  VA_LIST marker;
  VA_START(marker, format);
  CorePrintWide(line, sizeof(line), format, marker);
  VA_END(marker);
}

DEBUG_LOG_PROTOCOL MakeLog() {
  DEBUG_LOG_PROTOCOL log = {};
  log.Print = PrintLine;
  return log;
}

}  // namespace

void ReplaceDebugLog(host::Firmware& firmware) {
  static DEBUG_LOG_PROTOCOL log = MakeLog();
  EFI_BOOT_SERVICES* const services = firmware.BootServices();
  VOID* former = nullptr;
  EFI_HANDLE handle = nullptr;
  UINTN size = sizeof(handle);
  services->LocateProtocol(&gDebugLogProtocolGuid, nullptr, &former);
  services->LocateHandle(ByProtocol, &gDebugLogProtocolGuid, nullptr, &size, &handle);
  Expect(services->ReinstallProtocolInterface(handle, &gDebugLogProtocolGuid, former, &log) ==
             EFI_SUCCESS,
         "the platform's debug log cannot be replaced");
}

}  // namespace tvq::fuzz
