/*
 * A fresh machine with a platform around the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/driver_harness.h"

#include "tests/unit/shared/entry_point.h"

#include <algorithm>
#include <cstring>
#include <utility>

// Inline helpers of the driver's headers that tests use free through this pointer, as they do
// inside the image.
EFI_BOOT_SERVICES* gBS = nullptr;

namespace tvq::test {
namespace {

const host::Image& gDriver = host::images::driver;

constexpr std::pair<Part, const EFI_GUID*> kProtocols[] = {
    {Part::kAux, &gZvAuxProtocolGuid},
    {Part::kLibrary, &gZvLibraryProtocolGuid},
    {Part::kPrerequisite, &gTvqPrerequisiteProtocolGuid},
    {Part::kDebugLog, &gDebugLogProtocolGuid},
};

void* InterfaceOf(PlatformDouble& platform, Part part) {
  switch (part) {
    case Part::kServices:
      return &platform.services;
    case Part::kAux:
      return &platform.aux;
    case Part::kLibrary:
      return &platform.library;
    case Part::kPrerequisite:
      return &platform.prerequisite;
    case Part::kDebugLog:
      return &platform.debugLog;
  }
  return nullptr;
}

bool IsAllocationHelper(const std::string& function) {
  static const char* const kHelpers[] = {"AllocateZeroPool",
                                         "InternalAllocateZeroPool",
                                         "AllocateCopyPool",
                                         "InternalAllocateCopyPool",
                                         "InternalAllocatePool",
                                         "AllocatePool",
                                         "ZvAllocateZero",
                                         "UnicodeToNewAscii",
                                         "NewWide",
                                         "Zeroed"};
  return std::find(std::begin(kHelpers), std::end(kHelpers), function) != std::end(kHelpers);
}

}  // namespace

DriverHarness::DriverHarness(std::initializer_list<Part> leftOut) {
  const auto wanted = [&](Part part) {
    return std::find(leftOut.begin(), leftOut.end(), part) == leftOut.end();
  };
  gBS = BootServices();
  if (wanted(Part::kServices)) {
    Provide(Part::kServices);
  }
  for (const auto& [part, guid] : kProtocols) {
    if (wanted(part)) {
      Provide(part);
    }
  }
}

void DriverHarness::Provide(Part part) {
  if (part == Part::kServices) {
    InstallTable(gZvServicesTableGuid, &platform.services);
    return;
  }
  for (const auto& [known, guid] : kProtocols) {
    if (known == part) {
      Install(*guid, InterfaceOf(platform, part));
    }
  }
}

std::vector<LogLine> DriverHarness::TakeLog() {
  return std::exchange(platform.log, {});
}

void DriverHarness::ConnectLog() {
  gDebugLog = &platform.debugLog;
}

EFI_STATUS DriverHarness::Ask(const std::string& space, const char16_t* name, UINT64* value) {
  for (const Registration& registration : platform.registrations) {
    if (registration.space == space) {
      const std::u16string wide(space.begin(), space.end());
      return registration.getter(Ucs2(wide.c_str()), Ucs2(name), value);
    }
  }
  return EFI_NOT_FOUND;
}

void DriverHarness::PlaceTable(const Table& table, host::Guard guard) {
  mTables.push_back(host::MapBelow4G(table.Size(), guard));
  std::copy(table.Bytes().begin(), table.Bytes().end(), TableData());
  mTables.back().MakeReadOnly();
}

void DriverHarness::Publish(const Table& table, host::Guard guard) {
  PlaceTable(table, guard);
  EntryPointBytes::Of32Bits(table, mTables.back().Address32()).PlaceAt(&mEntryPoint);
  InstallTable(gEfiSmbiosTableGuid, &mEntryPoint);
}

void DriverHarness::PublishWith64BitEntryPoint(const Table& table) {
  PlaceTable(table, host::Guard::kBehind);
  EntryPointBytes::Of64Bits(table, mTables.back().Address32()).PlaceAt(&mEntryPoint64);
  InstallTable(gEfiSmbios3TableGuid, &mEntryPoint64);
}

void DriverHarness::UnmapEarlierTables() {
  mTables.erase(mTables.begin(), mTables.end() - 1);
}

EFI_STATUS DriverHarness::Load() {
  return mFirmware.StartImage(mFirmware.LoadImage(gDriver));
}

void DriverHarness::Construct() {
  const EFI_HANDLE handle = mFirmware.LoadImage(gDriver);
  mFirmware.ConstructImage(handle);
  EXPECT_EQ(ZorvLibInitialize(handle, mFirmware.SystemTableOf(gDriver)), EFI_SUCCESS);
}

EFI_LOADED_IMAGE_PROTOCOL* DriverHarness::LoadedImage() {
  return On<EFI_LOADED_IMAGE_PROTOCOL>(ImageHandle(), gEfiLoadedImageProtocolGuid);
}

TVQ_START_REQUEST* DriverHarness::StartRequest() {
  return On<TVQ_START_REQUEST>(ImageHandle(), gTvqStartRequestProtocolGuid);
}

EFI_STATUS DriverHarness::Start(VOID* context) {
  TVQ_START_REQUEST* const request = StartRequest();
  if (request == nullptr) {
    ADD_FAILURE() << "there is no start request on the image handle";
    return EFI_NOT_READY;
  }
  return request->Start(context);
}

std::vector<RecordHandle> DriverHarness::Records() {
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (EFI_ERROR(BootServices()->LocateHandleBuffer(ByProtocol, &gTvqRecordGuid, nullptr, &count,
                                                   &handles))) {
    return {};
  }
  std::vector<RecordHandle> records;
  for (UINTN i = 0; i < count; ++i) {
    records.push_back({handles[i], On<smTVQ>(handles[i], gTvqRecordGuid),
                       On<TVQ_INVENTORY_PROTOCOL>(handles[i], gTvqInventoryProtocolGuid),
                       On<ZVEP_PROTOCOL>(handles[i], gZvEntryProtocolGuid),
                       On<EFI_DEVICE_PATH_PROTOCOL>(handles[i], gEfiDevicePathProtocolGuid)});
  }
  BootServices()->FreePool(handles);
  return records;
}

Served DriverHarness::Get(const RecordHandle& record) {
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  TVQ_DATA result = {};
  Served served;
  served.status = record.protocol->SMTVQGet(record.protocol, &request, &result);
  if (EFI_ERROR(served.status)) {
    EXPECT_EQ(result.Buffer, nullptr);
    return served;
  }
  auto* const slots = static_cast<TVQ_DATA*>(result.Buffer);
  for (size_t slot = 0; slot < TVQ_SLOT_TERMINATOR; ++slot) {
    const auto* const bytes = static_cast<const uint8_t*>(slots[slot].Buffer);
    EXPECT_EQ(bytes == nullptr, slots[slot].Length == 0) << "slot " << slot;
    served.blobs.emplace_back(bytes, bytes + slots[slot].Length);
    if (bytes != nullptr) {
      EXPECT_EQ(slots[slot].Revision, UINT32{TVQ_DATA_REVISION}) << "slot " << slot;
      BootServices()->FreePool(slots[slot].Buffer);
    }
  }
  BootServices()->FreePool(slots);
  return served;
}

std::vector<host::Block> DriverHarness::BlocksFrom(const std::string& function) {
  std::vector<host::Block> blocks = Blocks();
  blocks.erase(
      std::remove_if(blocks.begin(), blocks.end(),
                     [&](const host::Block& block) { return !block.callSite.Has(function); }),
      blocks.end());
  return blocks;
}

std::string DriverHarness::SiteOf(const host::Block& block) {
  for (const std::string& function : block.callSite.Functions()) {
    if (!IsAllocationHelper(function)) {
      return function;
    }
  }
  return "";
}

std::vector<std::string> DriverHarness::Sites() {
  std::vector<std::string> sites;
  for (const host::Block& block : Blocks()) {
    sites.push_back(SiteOf(block));
  }
  return sites;
}

void* DriverHarness::InterfaceOn(EFI_HANDLE handle, const EFI_GUID& guid) {
  void* interface = nullptr;
  BootServices()->HandleProtocol(handle, const_cast<EFI_GUID*>(&guid), &interface);
  return interface;
}

void DriverHarness::InstallTable(const EFI_GUID& guid, void* table) {
  EXPECT_EQ(BootServices()->InstallConfigurationTable(const_cast<EFI_GUID*>(&guid), table),
            EFI_SUCCESS);
}

void DriverHarness::Install(const EFI_GUID& guid, void* interface) {
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(BootServices()->InstallMultipleProtocolInterfaces(&handle, const_cast<EFI_GUID*>(&guid),
                                                              interface, nullptr),
            EFI_SUCCESS);
}

}  // namespace tvq::test
