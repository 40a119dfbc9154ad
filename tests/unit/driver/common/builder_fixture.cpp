/*
 * A driver that is loaded and knows its table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/builder_fixture.h"

#include <cstring>

#include "TvqSmbiosPkg/src/smbios/access.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

host::Owner Driver() {
  return host::images::driver;
}

// Notes what is freed before the service frees it.
struct FreeRecorder {
  DriverHarness* harness = nullptr;
  EFI_FREE_POOL service = nullptr;
  std::vector<host::Block> freed;
  size_t linesBeforeLast = 0;
};
FreeRecorder gRecorder;

EFI_STATUS EFIAPI FreeAndNote(VOID* buffer) {
  if (const std::optional<host::Block> block = gRecorder.harness->Memory().Find(buffer)) {
    gRecorder.freed.push_back(*block);
    gRecorder.linesBeforeLast = gRecorder.harness->platform.log.size();
  }
  return gRecorder.service(buffer);
}

std::string TakeText(EFI_BOOT_SERVICES* services, CHAR16* text) {
  std::string result = Utf8(text);
  services->FreePool(text);
  return result;
}

}  // namespace

std::u16string Units(const CHAR16* text, size_t count) {
  return text == nullptr ? u"(null)" : std::u16string(text, text + count);
}

Strings LinesOf(const char* routine, std::initializer_list<const char*> texts) {
  Strings lines;
  for (const char* text : texts) {
    lines.push_back(std::string(routine) + ": " + text);
  }
  return lines;
}

Strings Joined(std::initializer_list<Strings> parts) {
  Strings whole;
  for (const Strings& part : parts) {
    whole.insert(whole.end(), part.begin(), part.end());
  }
  return whole;
}

Strings Times(size_t count, const std::string& text) {
  return Strings(count, text);
}

void PreparedDriver::Prepare(const Table& table) {
  harness.Publish(table);
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  harness.ConnectLog();
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  (void)BuildFqddMap();  // Not every table has one.
  harness.TakeLog();
}

EFI_STATUS PreparedDriver::Run(EFI_STATUS (*builder)()) {
  const uint64_t serial = LastSerial(harness.Memory());
  const uint64_t before = harness.Memory().Allocations(Driver());
  const EFI_STATUS status = builder();
  harness.Memory().StopFailing();
  harness.Firmware().StopFailingCalls();
  allocations = harness.Memory().Allocations(Driver()) - before;
  log = Lines(WithoutAddresses(harness.TakeLog()));
  blocks = RoutinesSince(harness.Memory(), serial);
  return status;
}

Bytes PreparedDriver::PathData(size_t n) {
  const auto* const path =
      reinterpret_cast<const TVQ_DEVICE_PATH*>(harness.Records().at(n).devicePath);
  return Bytes(path->Data, path->Data + sizeof(path->Data));
}

EFI_STATUS PreparedDriver::AskNames(size_t n, CHAR16** name, CHAR16** fqdd) {
  const RecordHandle record = harness.Records().at(n);
  CHAR8 language[] = "en-US";
  return record.entryInterface->GetDeviceName(record.entryInterface, record.devicePath, language,
                                              name, fqdd);
}

std::string PreparedDriver::NameOf(size_t n) {
  CHAR16* name = nullptr;
  EXPECT_EQ(AskNames(n, &name, nullptr), EFI_SUCCESS);
  return TakeText(harness.BootServices(), name);
}

std::string PreparedDriver::FqddOf(size_t n) {
  CHAR16* name = nullptr;
  CHAR16* fqdd = nullptr;
  EXPECT_EQ(AskNames(n, &name, &fqdd), EFI_SUCCESS);
  TakeText(harness.BootServices(), name);
  return TakeText(harness.BootServices(), fqdd);
}

std::string PreparedDriver::DocumentOf(size_t n) {
  constexpr ptrdiff_t kTextOffset = 80;
  const Served served = harness.Get(harness.Records().at(n));
  EXPECT_EQ(served.status, EFI_SUCCESS);
  EXPECT_TRUE(served.IsWhole());
  const Bytes& blob = served.blobs.at(TVQ_SLOT_CONFIGURATION);
  return std::string(reinterpret_cast<const char*>(blob.data()) + kTextOffset);
}

void PreparedDriver::ExpectNothingBesides(size_t size) {
  smTVQ expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.Signature = SIGNATURE_32('S', 'T', 'V', 'Q');
  std::memcpy(&expected.device, &Record()->device, size);
  expected.DevicePath = Record()->DevicePath;
  expected.Protocol = {SMTVQIdentify, SMTVQGet, SMTVQSet, SMTVQVerify};
  expected.Valid = 1;
  EXPECT_EQ(BytesOf(*Record()), BytesOf(expected));
}

void PreparedDriver::ExpectPublishedWhole(size_t n) {
  const RecordHandle published = harness.Records().at(n);
  smTVQ* const record = published.record;
  EXPECT_EQ(published.protocol, reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(
                                    reinterpret_cast<UINT8*>(record) + OFFSET_OF(smTVQ, Protocol)));
  EXPECT_EQ(published.devicePath, Value(record->DevicePath));
  ASSERT_NE(published.entryInterface, nullptr);
  EXPECT_EQ(BytesOf(published.Entry()->Device), BytesOf(record->device));

  UINTN count = 0;
  EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* opens = nullptr;
  ASSERT_EQ(harness.BootServices()->OpenProtocolInformation(published.handle, &gTvqRecordGuid,
                                                            &opens, &count),
            EFI_SUCCESS);
  bool isOpenByDriver = false;
  for (UINTN i = 0; i < count; ++i) {
    isOpenByDriver = isOpenByDriver || (opens[i].AgentHandle == harness.ImageHandle() &&
                                        opens[i].ControllerHandle == published.handle &&
                                        opens[i].Attributes == EFI_OPEN_PROTOCOL_BY_DRIVER);
  }
  EXPECT_TRUE(isOpenByDriver);
  harness.BootServices()->FreePool(opens);
}

void PreparedDriver::FailInstall(uint64_t n, EFI_STATUS status) {
  harness.Firmware().FailCall(Driver(), host::Service::InstallMultipleProtocolInterfaces, n,
                              status);
}

void PreparedDriver::RecordFrees() {
  EFI_BOOT_SERVICES* const services =
      harness.Firmware().SystemTableOf(host::images::driver)->BootServices;
  gRecorder = {&harness, services->FreePool, {}, 0};
  services->FreePool = FreeAndNote;
}

std::vector<uint64_t> PreparedDriver::FreesOf(const Strings& routines) {
  std::vector<uint64_t> serials;
  for (const host::Block& block : gRecorder.freed) {
    if (std::find(routines.begin(), routines.end(), RoutineOf(block)) != routines.end()) {
      serials.push_back(block.serial);
    }
  }
  return serials;
}

size_t PreparedDriver::LinesBeforeLastFree() {
  return gRecorder.linesBeforeLast;
}

}  // namespace tvq::test
