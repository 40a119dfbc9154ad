/*
 * What the parts of Firmware know of each other. For the host library only.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_FIRMWARE_STATE_H_
#define TVQ_HOST_FIRMWARE_FIRMWARE_STATE_H_

#include <memory>

#include "host/firmware/console.h"
#include "host/firmware/firmware.h"
#include "host/firmware/image_loader.h"
#include "host/firmware/memory.h"
#include "host/firmware/reports.h"
#include "host/firmware/service_tables.h"
#include "host/firmware/variable_store.h"

namespace tvq::host {

class FirmwareState {
 public:
  FirmwareState();
  ~FirmwareState();
  FirmwareState(const FirmwareState&) = delete;
  FirmwareState& operator=(const FirmwareState&) = delete;

  // The one machine that exists. Ends the process with a message when there is none.
  static FirmwareState& Current();
  static FirmwareState* CurrentOrNull();

  Memory& GetMemory() { return *mMemory; }
  ServiceTables& Services() { return *mServices; }

  Reports reports;
  VariableStore variables;
  Console console;
  // What stands behind every owner's tables: the core's services and this library's. A null entry
  // is a service that this machine does not have.
  EFI_SYSTEM_TABLE systemTable = {};
  EFI_BOOT_SERVICES bootServices = {};
  EFI_RUNTIME_SERVICES runtimeServices = {};
  // The core's services as the core implements them.
  EFI_BOOT_SERVICES coreServices = {};
  ImageLoader images;
  UINT64 monotonicCount = 0;
  EFI_TIME time = {};  // which stands still

 private:
  void RestoreImages();
  void MakeTables();

  std::unique_ptr<Memory> mMemory;
  std::unique_ptr<ServiceTables> mServices;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_FIRMWARE_STATE_H_
