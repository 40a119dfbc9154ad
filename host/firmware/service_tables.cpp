/*
 * Copies of the machine's tables.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/service_tables.h"

#include <iterator>
#include <string>

#include "host/firmware/firmware_state.h"
#include "host/firmware/host_interface.h"

namespace tvq::host {
namespace {

constexpr const char* kNames[] = {
#define BOOT_SERVICE(name, parameters, arguments) #name,
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) #name,
#define BOOT_SERVICE_LIST(name, handle) #name,
#define RUNTIME_SERVICE(name, parameters, arguments) #name,
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) #name,
#include "host/firmware/services.def"
};
static_assert(std::size(kNames) == static_cast<size_t>(Service::kCount));

void UpdateChecksum(EFI_TABLE_HEADER& header) {
  header.CRC32 = 0;
  header.CRC32 = gTvqHostCore.Crc32(&header, header.HeaderSize);
}

}  // namespace

const char* ServiceName(Service service) {
  return kNames[static_cast<size_t>(service)];
}

EFI_STATUS Unsupported(Service service) {
  FirmwareState::Current().reports.AddMisuse(std::string(ServiceName(service)) +
                                             " was called, which this machine does not have");
  return EFI_UNSUPPORTED;
}

void OwnTables::Make(const FirmwareState& state, Fill fill) {
  boot = state.bootServices;
  runtime = state.runtimeServices;
  fill(boot, runtime);
  system = state.systemTable;
  system.BootServices = &boot;
  system.RuntimeServices = &runtime;
  UpdateChecksum(boot.Hdr);
  UpdateChecksum(runtime.Hdr);
  UpdateChecksum(system.Hdr);
}

void OwnTables::FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) {
  system.NumberOfTableEntries = table.NumberOfTableEntries;
  system.ConfigurationTable = table.ConfigurationTable;
  UpdateChecksum(system.Hdr);
}

}  // namespace tvq::host

VOID TvqHostSystemTableChanged(const EFI_SYSTEM_TABLE* SystemTable) {
  tvq::host::FirmwareState::Current().Services().FollowConfigurationTable(*SystemTable);
}
