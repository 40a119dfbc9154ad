/*
 * What a start of the driver logs, installs and leaves in the pool.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/model/start_model.h"

#include "tests/unit/driver/model/firmware.h"

namespace tvq::test {
namespace {

using model::BlockId;
using model::Firmware;

// What was collected for the firmware attribute stays, like the attribute itself.
void StoreFirmwareAttribute(Firmware& firmware) {
  const std::string routine = "BiosAttributeGet";
  const BlockId info = firmware.Take(routine);
  if (info == 0) {
    return;
  }
  for (const uint8_t type : std::initializer_list<uint8_t>{0, 1}) {
    if (firmware.Collect(type, routine).records == 0) {
      firmware.Free(info);
      return;
    }
  }
}

EFI_STATUS Build(Firmware& firmware) {
  if (const EFI_STATUS status = firmware.BuildFqddMap(); EFI_ERROR(status)) {
    return status;
  }
  model::MakeCpus(firmware);
  model::MakeDimms(firmware);
  model::MakeSystem(firmware);
  StoreFirmwareAttribute(firmware);
  const EFI_STATUS status = firmware.Failures().loadedImageStatus;
  if (EFI_ERROR(status)) {
    firmware.Log("SMBIOSInit", " before UninstallMultipleProtocolInterfaces, status %s \n",
                 model::StatusText(status).c_str());
  }
  return status;
}

// The index over the table lasts as long as the start, and nobody misses it.
EFI_STATUS Start(Firmware& firmware) {
  const BlockId index = firmware.Take("TableIndex");
  const EFI_STATUS status = Build(firmware);
  firmware.Free(index);
  return status;
}

}  // namespace

StartFailures StartFailures::OneAllocation(uint64_t number) {
  StartFailures failures;
  failures.allocations.Fail(number);
  return failures;
}

StartFailures StartFailures::AllocationsFrom(uint64_t number) {
  StartFailures failures;
  failures.allocations.FailFrom(number);
  return failures;
}

StartFailures StartFailures::OneInstall(uint64_t number, EFI_STATUS status) {
  StartFailures failures;
  failures.installs.Fail(number);
  failures.installStatus = status;
  return failures;
}

StartFailures StartFailures::LoadedImage(EFI_STATUS status) {
  StartFailures failures;
  failures.loadedImageStatus = status;
  return failures;
}

StartFailures StartFailures::NoMemoryFrom(uint64_t allocation, uint64_t install) {
  StartFailures failures = AllocationsFrom(allocation);
  failures.installs.FailFrom(install);
  failures.loadedImageStatus = EFI_OUT_OF_RESOURCES;
  return failures;
}

bool StartOutcome::LooksLike(const StartOutcome& other) const {
  return status == other.status && log == other.log && records == other.records &&
         blocks == other.blocks;
}

StartOutcome ModelStart(const Table& table, const StartFailures& failures) {
  Firmware firmware(table, failures);
  const EFI_STATUS status = Start(firmware);
  return firmware.Outcome(status);
}

}  // namespace tvq::test
