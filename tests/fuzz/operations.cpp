/*
 * What an agent and the platform can ask of a driver that was started.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/operations.h"

#include <cstring>

#include "host/firmware/reports.h"
#include "images/driver.h"

#include <Guid/TvqAttributes.h>
#include <IndustryStandard/TvqBlob.h>
#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

namespace tvq::fuzz {
namespace {

// Reads a text to its end.
size_t LengthOf(const CHAR8* text) {
  return text == nullptr ? 0 : std::strlen(text);
}

size_t LengthOf(const CHAR16* text) {
  size_t length = 0;
  while (text != nullptr && text[length] != 0) {
    ++length;
  }
  return length;
}

CHAR16* Writable(const wchar_t* text) {
  return const_cast<CHAR16*>(Ucs2(text));
}

// A device path that belongs to no record: the end of one.
EFI_DEVICE_PATH_PROTOCOL* NoPath() {
  static EFI_DEVICE_PATH_PROTOCOL path = {
      END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(path), 0}};
  return &path;
}

CHAR8* Language() {
  static CHAR8 language[] = "en-US";
  return language;
}

}  // namespace

const char kNormalMode[] = "<Mode>Normal</Mode>";

void Expect(bool condition, const std::string& complaint) {
  if (!condition) {
    host::ReportFailure(complaint);
  }
}

Operations::Operations(host::Firmware& firmware, DeviceSet* verified)
    : mFirmware(firmware), mVerified(verified), mServices(*firmware.BootServices()) {
  VOID* platform = nullptr;
  mServices.LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &platform);
  mPlatform = static_cast<TVQ_PLATFORM_PROTOCOL*>(platform);
}

template <typename Interface>
Interface* Operations::On(EFI_HANDLE handle, EFI_GUID& guid) {
  VOID* found = nullptr;
  const EFI_STATUS status = mServices.HandleProtocol(handle, &guid, &found);
  return EFI_ERROR(status) ? nullptr : static_cast<Interface*>(found);
}

std::vector<Record> Operations::FindRecords() {
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  if (EFI_ERROR(mServices.LocateHandleBuffer(ByProtocol, &gTvqInventoryProtocolGuid, nullptr,
                                             &count, &handles))) {
    return {};
  }
  std::vector<Record> records;
  for (UINTN i = 0; i < count; ++i) {
    records.push_back({On<TVQ_INVENTORY_PROTOCOL>(handles[i], gTvqInventoryProtocolGuid),
                       On<ZVEP_PROTOCOL>(handles[i], gZvEntryProtocolGuid),
                       On<EFI_DEVICE_PATH_PROTOCOL>(handles[i], gEfiDevicePathProtocolGuid)});
  }
  mServices.FreePool(handles);
  return records;
}

void Operations::Free(void* block) {
  if (block != nullptr) {
    mServices.FreePool(block);
  }
}

void Operations::ExpectBlocks(size_t before, const char* operation) {
  Expect(mFirmware.Memory().LiveCount(host::images::driver) == before,
         std::string(operation) + " leaves another number of the driver's blocks than it found");
}

void Operations::AskRecord(const Record& record) {
  Identify(record);
  // The first Get caches the document; from then on nothing stays.
  const std::vector<uint8_t> blobs = Get(record);
  const size_t blocks = mFirmware.Memory().LiveCount(host::images::driver);
  Expect(Get(record) == blobs, "a second Get returns something else than the first");
  RefuseToSet(record);
  AskNames(record);
  if (mVerified == nullptr || mVerified->insert(blobs).second) {
    Verify(record, blobs);
    RefuseToVerify(record, blobs);
  }
  ExpectBlocks(blocks, "serving");
}

void Operations::Identify(const Record& record) {
  TVQ_IDENTITY identity = {};
  Expect(record.inventory->SMTVQIdentify(record.inventory, &identity) == EFI_SUCCESS,
         "Identify fails");
}

std::vector<uint8_t> Operations::Get(const Record& record) {
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  TVQ_DATA result = {};
  if (record.inventory->SMTVQGet(record.inventory, &request, &result) != EFI_SUCCESS) {
    Expect(false, "Get fails");
    return {};
  }
  std::vector<uint8_t> blobs;
  auto* slots = static_cast<TVQ_DATA*>(result.Buffer);
  for (size_t slot = 0; slot < TVQ_SLOT_TERMINATOR; ++slot) {
    const auto* bytes = static_cast<const uint8_t*>(slots[slot].Buffer);
    Expect(bytes != nullptr, "Get returns no blob in slot " + std::to_string(slot));
    blobs.insert(blobs.end(), bytes, bytes + slots[slot].Length);
    Free(slots[slot].Buffer);
  }
  Free(slots);
  return blobs;
}

void Operations::RefuseToSet(const Record& record) {
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  TVQ_DATA data = {};
  Expect(record.inventory->SMTVQSet(record.inventory, &request, &data) == EFI_UNSUPPORTED,
         "Set does not refuse");
}

EFI_STATUS Operations::Verify(const Record& record, const std::vector<uint8_t>& stored,
                              const std::string& mode) {
  // Blocks of exactly these sizes, so that a read past their end shows.
  std::vector<uint8_t> data(stored);
  std::vector<char> modeText(mode.begin(), mode.end());
  modeText.push_back('\0');
  const bool isAnnounced =
      !EFI_ERROR(mPlatform->AnnounceStoredData(mPlatform, data.data(), data.size()));
  TVQ_DATA slots[2] = {{TVQ_DATA_REVISION, static_cast<UINT32>(data.size()), data.data()},
                       {TVQ_DATA_REVISION, static_cast<UINT32>(modeText.size()), modeText.data()}};
  TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  UINT32 result = 0;
  const EFI_STATUS status =
      record.inventory->SMTVQVerify(record.inventory, &request, &oldData, nullptr, &result);
  if (isAnnounced) {
    mPlatform->ForgetStoredData(mPlatform, data.data());
  }
  Expect((result & ~UINT32{TVQ_RESULT_PART_REPLACED}) == 0,
         "Verify sets a bit that does not exist");
  Expect(data == stored, "Verify changes the stored data");
  return status;
}

void Operations::RefuseToVerify(const Record& record, const std::vector<uint8_t>& stored) {
  std::vector<uint8_t> data(stored);
  char mode[] = "<Mode>Normal</Mode>";
  TVQ_DATA slots[2] = {{TVQ_DATA_REVISION, static_cast<UINT32>(data.size()), data.data()},
                       {TVQ_DATA_REVISION, sizeof(mode), mode}};
  TVQ_DATA oldData = {TVQ_DATA_REVISION, sizeof(slots), slots};
  TVQ_DATA text = {};
  TVQ_DATA response = {TVQ_DATA_REVISION, sizeof(text), &text};
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  UINT32 result = 0;
  const EFI_STATUS status =
      record.inventory->SMTVQVerify(record.inventory, &request, &oldData, &response, &result);
  Expect(status == EFI_UNSUPPORTED, "Verify does not refuse a response with a buffer");
  Expect(LengthOf(static_cast<const CHAR8*>(text.Buffer)) == text.Length,
         "the text of Verify's refusal has another length than stated");
  Free(text.Buffer);
}

void Operations::AskNames(const Record& record) {
  ZVEP_PROTOCOL* const entry = record.entry;
  CHAR16* name = nullptr;
  CHAR16* fqdd = nullptr;
  Expect(entry->GetDeviceName(entry, record.path, Language(), &name, &fqdd) == EFI_SUCCESS,
         "GetDeviceName fails");
  Expect(LengthOf(name) <= 9, "a device's name has more than nine characters");
  Expect(LengthOf(fqdd) <= 30, "a device's FQDD has more than 30 characters");
  Free(name);
  Free(fqdd);
  Expect(entry->GetDeviceName(entry, record.path, Language(), &name, nullptr) == EFI_SUCCESS,
         "GetDeviceName fails when nobody asks for the FQDD");
  Free(name);
  Expect(entry->GetDeviceName(entry, NoPath(), Language(), &name, &fqdd) == EFI_UNSUPPORTED,
         "GetDeviceName takes a path that is not the device's");
  Expect(entry->GetDeviceData(entry) == EFI_UNSUPPORTED, "GetDeviceData does not refuse");
}

EFI_STATUS Operations::GetAttribute(const wchar_t* nameSpace, const wchar_t* name, UINT64* value) {
  return mPlatform->GetAttribute(mPlatform, Writable(nameSpace), Writable(name), value);
}

void Operations::AskText(const wchar_t* nameSpace, const wchar_t* name) {
  UINT64 value = 0;
  if (!EFI_ERROR(GetAttribute(nameSpace, name, &value))) {
    auto* text = reinterpret_cast<CHAR16*>(static_cast<UINTN>(value));
    Expect(LengthOf(text) <= 0xFFFF, "an attribute's text is longer than any table");
    Free(text);
  }
}

void Operations::AskBiosInfo() {
  UINT64 value = 0;
  if (!EFI_ERROR(GetAttribute(TVQ_NAMESPACE_BIOS, TVQ_ATTRIBUTE_BIOS_INFO, &value))) {
    auto* info = reinterpret_cast<SMBIOS_BIOS_INFO*>(static_cast<UINTN>(value));
    for (const CHAR8* text : {info->ServiceTag, info->BiosVersion, info->ProductName}) {
      Expect(LengthOf(text) <= 0xFFFF, "a text of the firmware attribute is longer than any table");
    }
    Free(info);
  }
}

void Operations::AskForSlots() {
  constexpr UINT64 kNoBus = 0x100;  // A bus number in a table has eight bits.
  for (const wchar_t* name : {TVQ_ATTRIBUTE_PCI_SLOT_INFO, TVQ_ATTRIBUTE_SLOT_ID}) {
    for (const UINT64 bus : {UINT64{0}, kNoBus}) {
      SMBIOS_SLOT_QUERY query = {};
      query.Bus = bus;
      UINT64 value = reinterpret_cast<UINTN>(&query);
      Expect(EFI_ERROR(GetAttribute(TVQ_NAMESPACE_PCI, name, &value)) ||
                 query.SlotId != SMBIOS_SLOT_ID_NONE,
             "a slot query succeeds without a slot");
    }
  }
}

void Operations::AskAttributes() {
  AskText(TVQ_NAMESPACE_SERVER, TVQ_ATTRIBUTE_SERVICE_TAG);
  AskText(TVQ_NAMESPACE_SERVER, TVQ_ATTRIBUTE_SYSTEM_NAME);
  AskBiosInfo();
  AskForSlots();
  for (const wchar_t* nameSpace : {TVQ_NAMESPACE_SERVER, TVQ_NAMESPACE_PCI, TVQ_NAMESPACE_BIOS}) {
    const EFI_STATUS status = mPlatform->SetAttribute(mPlatform, Writable(nameSpace),
                                                      Writable(TVQ_ATTRIBUTE_SERVICE_TAG), 1);
    Expect(status == EFI_UNSUPPORTED || status == EFI_NOT_FOUND, "an attribute can be set");
  }
}

}  // namespace tvq::fuzz
