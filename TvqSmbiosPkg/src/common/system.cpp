/** @file
  Builds the record of the system.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "builders.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../log.h"
#include "../smbios/structure.h"
#include "../text.h"
#include "publish.h"
#include "record.h"
#include "system_sections.h"

namespace tvq {

namespace {

constexpr UINTN kMarketingNameSize = 32;

constexpr Logger kLog("MakeSYSTEM");

/// Frees what hangs on the system's record, newest first.
void FreeSystemContents(smTVQ* record) {
  const TVQ_SYSTEM& system = record->device.system;
  FreeSystemSections(system);
  FreeBlock(system.ServiceTag);
  FreeBlock(system.Manufacturer);
  FreeBlock(system.ProductName);
  FreeBlock(system.Generic.MarketingName);
}

/// Name, product name, instance, manufacturer, UUID and serial number.
Outcome FillIdentity(smTVQ* record, const Structure& structure, const CHAR8* productName,
                     UINT16 index) {
  TVQ_SYSTEM& system = record->device.system;
  auto name = PoolPtr<CHAR16>::Zeroed(kMarketingNameSize);
  if (!name) {
    return Outcome::NoMemory();
  }
  WidenInto(name.Get(), kMarketingNameSize, "System and Chassis Information");
  system.Generic.MarketingName = name.Release();

  TVQ_TRY_COPY(system.ProductName,
               CopyLogged(kLog, "Product Name in smTVQ struct: %s\n", productName));
  system.Socket = static_cast<UINT8>(index + 1);
  kLog("Socket in smTVQ struct: %d\n", system.Socket);

  TVQ_TRY_COPY(system.Manufacturer, CopyLogged(kLog, "Manufacturer in smTVQ struct: %s\n",
                                               structure.GetString(SMBIOS_FIELD(1, Manufacturer))));
  // Deliberate: byte by byte. Of a structure that ends inside the UUID the first bytes count.
  for (UINTN i = 0; i < sizeof(system.UUID); i++) {
    system.UUID[i] = structure.Byte(SMBIOS_FIELD(1, Uuid).Offset + i);
    kLog("UUID in smTVQ struct: %d\n", system.UUID[i]);
  }
  TVQ_TRY_COPY(system.ServiceTag, CopyLogged(kLog, "Serial Number in smTVQ struct: %s\n",
                                             structure.GetString(SMBIOS_FIELD(1, SerialNumber))));
  return Outcome::Done();
}

Outcome FillRecord(smTVQ* record, const Structure& structure, const CHAR8* productName,
                   UINT16 index) {
  TVQ_TRY_STEP(FillIdentity(record, structure, productName, index));
  TVQ_SYSTEM* system = &record->device.system;
  FillChassisSection(system);
  FillPmaSection(system);
  FillBiosSection(system);
  FillBaseBoardSection(system);
  FillPciSlotSection(system);
  FillOperations(record);
  const UINT8 instance[] = {system->Socket};
  return AttachDevicePath(record, instance);
}

[[nodiscard]] EFI_STATUS BuildRecord(const Structure& structure, UINT16 index) {
  const CHAR8* productName = structure.GetString(SMBIOS_FIELD(1, ProductName));
  if (productName == nullptr) {
    return EFI_SUCCESS;  // Deliberate: there is nothing to describe.
  }
  kLog("Product Name String exists\n");

  RecordOwner record(TVQ_DEVICE_TYPE_SYSTEM, FreeSystemContents);
  if (!record || FillRecord(record.Get(), structure, productName, index).Failed()) {
    return EFI_OUT_OF_RESOURCES;
  }
  // From here on a failure leaves the record, its device path and its entry in the pool.
  return PublishRecord(record.Leave());
}

}  // namespace

EFI_STATUS MakeSYSTEM() {
  kLog("Entry MakeSYSTEM\n");
  StructureList systems;
  const bool single =
      !EFI_ERROR(systems.Collect(SMBIOS_TYPE_SYSTEM_INFORMATION)) && systems.Count() == 1;
  if (!single) {
    kLog("Did not find or found too many SYSTEM SMBIOS structures\n");
  }
  kLog("Found %d SYSTEM SMBIOS structures\n", systems.Count());
  if (!single) {
    return EFI_NOT_FOUND;
  }
  for (UINT16 i = 0; i < systems.Count(); i++) {
    const EFI_STATUS status = BuildRecord(systems[i], i);
    if (EFI_ERROR(status)) {
      return status;
    }
  }
  systems.Free();
  kLog("Leaving MakeSYSTEM\n");
  return EFI_SUCCESS;
}

}  // namespace tvq
