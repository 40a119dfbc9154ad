/*
 * The end: what the unload handler takes back, and what it deliberately leaves.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstring>
#include <set>
#include <utility>
#include <vector>

#include "tests/unit/shared/driver_harness.h"

#include "TvqSmbiosPkg/src/smbios/access.h"
#include "TvqSmbiosPkg/src/smbios/attributes.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/uefi/entry.h"

namespace tvq::test {
namespace {

using host::Service;
using host::images::driver;
using testing::Contains;
using testing::Each;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

std::set<const void*> AddressesOf(const std::vector<host::Block>& blocks) {
  std::set<const void*> addresses;
  for (const host::Block& block : blocks) {
    addresses.insert(block.address);
  }
  return addresses;
}

// A driver that was started on the smallest server.
class Unload : public testing::Test {
 protected:
  Unload() {
    mHarness.Publish(MinimalServer());
    EXPECT_EQ(mHarness.Load(), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Start(), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Records().size(), 3u);
  }

  // Calls the handler as the firmware would; the image itself stays, so that its state can be
  // looked at.
  EFI_STATUS CallHandler() { return mHarness.LoadedImage()->Unload(mHarness.ImageHandle()); }

  // The by-driver opens of a record, as {agent, controller}.
  std::vector<std::pair<EFI_HANDLE, EFI_HANDLE>> DriverOpens(EFI_HANDLE handle) {
    EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* opens = nullptr;
    UINTN count = 0;
    EXPECT_EQ(
        mHarness.BootServices()->OpenProtocolInformation(handle, &gTvqRecordGuid, &opens, &count),
        EFI_SUCCESS);
    std::vector<std::pair<EFI_HANDLE, EFI_HANDLE>> found;
    for (UINTN i = 0; i < count; ++i) {
      if (opens[i].Attributes == EFI_OPEN_PROTOCOL_BY_DRIVER) {
        found.emplace_back(opens[i].AgentHandle, opens[i].ControllerHandle);
      }
    }
    if (opens != nullptr) {
      mHarness.BootServices()->FreePool(opens);
    }
    return found;
  }

  DriverHarness mHarness;
};

TEST_F(Unload, ClosesEachRecordsOpenByTheDriver) {
  for (const RecordHandle& record : mHarness.Records()) {
    EXPECT_THAT(DriverOpens(record.handle),
                testing::ElementsAre(testing::Pair(mHarness.ImageHandle(), record.handle)));
  }
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  for (const RecordHandle& record : mHarness.Records()) {
    EXPECT_THAT(DriverOpens(record.handle), IsEmpty());
  }
}

TEST_F(Unload, LeavesEveryProtocolOfTheRecordsInstalled) {
  const std::vector<RecordHandle> before = mHarness.Records();
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  const std::vector<RecordHandle> after = mHarness.Records();
  ASSERT_EQ(after.size(), before.size());
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(after[i].handle, before[i].handle);
    EXPECT_EQ(after[i].record, before[i].record);
    EXPECT_NE(after[i].protocol, nullptr);
    EXPECT_EQ(after[i].protocol, before[i].protocol);
    EXPECT_NE(after[i].entryInterface, nullptr);
    EXPECT_EQ(after[i].entryInterface, before[i].entryInterface);
    EXPECT_NE(after[i].devicePath, nullptr);
    EXPECT_EQ(after[i].devicePath, before[i].devicePath);
  }
}

TEST_F(Unload, AsksForEachRecordsInterfacesInOneRefusedCall) {
  EFI_EVENT event = nullptr;
  VOID* registration = nullptr;
  static UINTN notified;
  notified = 0;
  const auto count = [](EFI_EVENT, VOID*) EFIAPI { ++notified; };
  ASSERT_EQ(
      mHarness.BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, count, nullptr, &event),
      EFI_SUCCESS);
  ASSERT_EQ(mHarness.BootServices()->RegisterProtocolNotify(&gTvqInventoryProtocolGuid, event,
                                                            &registration),
            EFI_SUCCESS);
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(mHarness.Firmware().Calls(driver, Service::UninstallMultipleProtocolInterfaces), 3u);
  // The inventory protocol comes first in the call: the firmware takes it off, refuses the entry,
  // and puts it back.
  EXPECT_EQ(notified, 3u);
}

bool Same(const EFI_GUID& left, const EFI_GUID& right) {
  return std::memcmp(&left, &right, sizeof(EFI_GUID)) == 0;
}

// What a call names, in its order.
struct UninstallCall {
  struct Pair {
    EFI_GUID guid;
    const VOID* interface;
    // What the interface of the entry leads to, read while the caller's variable still stands.
    const VOID* pointee;
  };
  EFI_HANDLE handle;
  std::vector<Pair> pairs;
};
std::vector<UninstallCall> gUninstallCalls;

EFI_STATUS EFIAPI NoteUninstall(EFI_HANDLE handle, ...) {
  UninstallCall call = {handle, {}};
  VA_LIST marker;
  VA_START(marker, handle);
  while (const EFI_GUID* guid = VA_ARG(marker, EFI_GUID*)) {
    const VOID* const interface = VA_ARG(marker, VOID*);
    const VOID* pointee = nullptr;
    if (Same(*guid, gZvEntryProtocolGuid)) {
      pointee = *static_cast<const VOID* const*>(interface);
    }
    call.pairs.push_back({*guid, interface, pointee});
  }
  VA_END(marker);
  gUninstallCalls.push_back(call);
  return EFI_INVALID_PARAMETER;
}

TEST_F(Unload, PassesTheAddressOfAVariableInPlaceOfTheEntry) {
  gUninstallCalls.clear();
  mHarness.Firmware().SystemTableOf(driver)->BootServices->UninstallMultipleProtocolInterfaces =
      NoteUninstall;
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  const std::vector<RecordHandle> records = mHarness.Records();
  ASSERT_THAT(gUninstallCalls, SizeIs(records.size()));
  for (size_t i = 0; i < records.size(); ++i) {
    const UninstallCall& call = gUninstallCalls[i];
    EXPECT_EQ(call.handle, records[i].handle);
    ASSERT_THAT(call.pairs, SizeIs(3));
    EXPECT_TRUE(Same(call.pairs[0].guid, gTvqInventoryProtocolGuid));
    EXPECT_EQ(call.pairs[0].interface, records[i].protocol);
    EXPECT_TRUE(Same(call.pairs[1].guid, gZvEntryProtocolGuid));
    EXPECT_EQ(call.pairs[1].pointee, records[i].entryInterface);
    EXPECT_TRUE(Same(call.pairs[2].guid, gEfiDevicePathProtocolGuid));
    EXPECT_EQ(call.pairs[2].interface, records[i].devicePath);
  }
}

TEST_F(Unload, FreesTheFqddMapAndForgetsTheTable) {
  const void* const records = gType225Records;
  const void* const map = gFqddMap;
  ASSERT_TRUE(mHarness.Memory().Find(records));
  ASSERT_TRUE(mHarness.Memory().Find(map));
  const std::set<const void*> before = AddressesOf(mHarness.Blocks());
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  const std::set<const void*> after = AddressesOf(mHarness.Blocks());
  EXPECT_THAT(after, Each(testing::Truly([&](const void* block) { return before.count(block); })))
      << "the buffer with the handles is freed";
  EXPECT_THAT(after, Not(Contains(records)));
  EXPECT_THAT(after, Not(Contains(map)));
  EXPECT_EQ(gType225Records, nullptr);
  EXPECT_EQ(gFqddMap, nullptr);
  EXPECT_EQ(gSmbiosEntryPoint, nullptr);
}

TEST_F(Unload, LeavesCountsAndFlagOfTheFqddMap) {
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(gType225Count, 1u);
  EXPECT_EQ(gFqddMapCount, 2u);
  EXPECT_EQ(gFqddMapValid, 1u);
}

TEST_F(Unload, FreesNeitherRecordsNorDevicePathsNorEntries) {
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  for (const RecordHandle& record : mHarness.Records()) {
    EXPECT_TRUE(mHarness.Memory().Find(record.record));
    EXPECT_TRUE(mHarness.Memory().Find(record.devicePath));
    EXPECT_TRUE(mHarness.Memory().Find(record.Entry()));
  }
}

TEST_F(Unload, LeavesStartRequestAndLibrary) {
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  ASSERT_NE(mHarness.StartRequest(), nullptr);
  EXPECT_EQ(mHarness.StartRequest()->Start, &SMBIOSInit);
  EXPECT_TRUE(mHarness.Memory().Find(gZV));
}

TEST_F(Unload, IgnoresItsArgument) {
  EXPECT_EQ(DriverUnload(nullptr), EFI_SUCCESS);
  EXPECT_EQ(gFqddMap, nullptr);
}

TEST_F(Unload, CanBeCalledTwice) {
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_THAT(mHarness.Records(), SizeIs(3));
}

TEST_F(Unload, LetsTheFirmwareDropTheImage) {
  EXPECT_EQ(mHarness.Unload(), EFI_SUCCESS);
  EXPECT_EQ(mHarness.ImageHandle(), nullptr);
  EXPECT_THAT(mHarness.Records(), SizeIs(3));
}

TEST_F(Unload, GoesOnWhateverEachStepAnswers) {
  mHarness.Firmware().FailCallsFrom(driver, Service::CloseProtocol, 1, EFI_NOT_FOUND);
  mHarness.Firmware().FailCallsFrom(driver, Service::UninstallMultipleProtocolInterfaces, 1,
                                    EFI_DEVICE_ERROR);
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(mHarness.Firmware().Calls(driver, Service::CloseProtocol), 3u);
  EXPECT_EQ(mHarness.Firmware().Calls(driver, Service::UninstallMultipleProtocolInterfaces), 3u);
  EXPECT_EQ(gFqddMap, nullptr);
}

TEST_F(Unload, SurvivesRecordsThatCannotBeFetched) {
  mHarness.Firmware().FailCallsFrom(driver, Service::HandleProtocol, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(gFqddMap, nullptr);
}

TEST_F(Unload, DoesNothingWhenTheRecordsCannotBeLocated) {
  mHarness.Firmware().FailCall(driver, Service::LocateHandleBuffer, 1, EFI_OUT_OF_RESOURCES);
  const std::set<const void*> before = AddressesOf(mHarness.Blocks());
  EXPECT_EQ(mHarness.Unload(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(AddressesOf(mHarness.Blocks()), before);
  EXPECT_NE(gFqddMap, nullptr);
  EXPECT_NE(gSmbiosEntryPoint, nullptr);
  for (const RecordHandle& record : mHarness.Records()) {
    EXPECT_THAT(DriverOpens(record.handle), SizeIs(1));
  }
}

TEST_F(Unload, TakesNoHandlesForNone) {
  mHarness.Firmware().SystemTableOf(driver)->BootServices->LocateHandleBuffer =
      [](EFI_LOCATE_SEARCH_TYPE, EFI_GUID*, VOID*, UINTN* count, EFI_HANDLE** handles)
          EFIAPI -> EFI_STATUS {
    *count = 0;
    *handles = nullptr;
    return EFI_SUCCESS;
  };
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  EXPECT_EQ(gFqddMap, nullptr);
}

TEST_F(Unload, EndsTheAnswersOfTheAttributes) {
  EXPECT_EQ(CallHandler(), EFI_SUCCESS);
  UINT64 value = 7;
  EXPECT_EQ(mHarness.Ask("zorv.server", u"SMBIOSServiceTagString", &value), EFI_NOT_FOUND);
  EXPECT_EQ(mHarness.Ask("zorv.server", u"SMBIOSSystemNameString", &value), EFI_NOT_FOUND);
  EXPECT_EQ(mHarness.Ask("zorv.smbios.bios", u"SMBIOSBIOSInfo", &value), EFI_NOT_FOUND);
  EXPECT_EQ(value, 7u);
}

TEST(UnloadWithoutRecords, KeepsTheImageAndTheFqddMap) {
  DriverHarness harness;
  harness.Publish(MinimalServer());
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  harness.Firmware().FailCallsFrom(driver, Service::InstallMultipleProtocolInterfaces, 1,
                                   EFI_OUT_OF_RESOURCES);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  ASSERT_THAT(harness.Records(), IsEmpty());
  EXPECT_EQ(harness.Unload(), EFI_NOT_FOUND);
  EXPECT_NE(harness.ImageHandle(), nullptr);
  EXPECT_TRUE(harness.Memory().Find(gFqddMap));
  EXPECT_TRUE(harness.Memory().Find(gType225Records));
  EXPECT_NE(gSmbiosEntryPoint, nullptr);
}

TEST(UnloadBeforeTheStart, IsUnsupported) {
  DriverHarness harness;
  harness.Publish(MinimalServer());
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_EQ(harness.Unload(), EFI_UNSUPPORTED);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS) << "the driver is as it was";
}

TEST(UnloadAfterAStartThatEndedEarly, IsUnsupported) {
  DriverHarness harness({Part::kPrerequisite});
  harness.Publish(MinimalServer());
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  ASSERT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_EQ(harness.Unload(), EFI_UNSUPPORTED);
  EXPECT_NE(gFqddMap, nullptr);
}

}  // namespace
}  // namespace tvq::test
