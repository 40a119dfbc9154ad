/*
 * The deferred start: the order of its steps, and how each of them can end it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "tests/unit/shared/driver_harness.h"

#include "TvqSmbiosPkg/src/smbios/attributes.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/uefi/entry.h"

namespace tvq::test {
namespace {

using host::Service;
using host::images::driver;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Not;

std::vector<UINT8> DeviceTypes(DriverHarness& harness) {
  std::vector<UINT8> types;
  for (const RecordHandle& record : harness.Records()) {
    types.push_back(record.record->device.generic.DeviceType);
  }
  return types;
}

std::vector<std::string> Spaces(const DriverHarness& harness) {
  std::vector<std::string> spaces;
  for (const Registration& registration : harness.platform.registrations) {
    spaces.push_back(registration.space);
  }
  return spaces;
}

// A loaded driver on the smallest server.
class Start : public testing::Test {
 protected:
  void Load(DriverHarness& harness) {
    harness.Publish(MinimalServer());
    ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  }

  // Nothing came of the start beyond the registrations.
  void ExpectNothingBuilt(DriverHarness& harness) {
    EXPECT_THAT(harness.Records(), IsEmpty());
    EXPECT_THAT(harness.platform.storedValues, IsEmpty());
    EXPECT_EQ(harness.LoadedImage()->Unload, nullptr);
    EXPECT_NE(harness.StartRequest(), nullptr);
  }
};

TEST_F(Start, BuildsARecordOfEachKindAndMakesTheImageUnloadable) {
  DriverHarness harness;
  Load(harness);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_THAT(DeviceTypes(harness),
              ElementsAre(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM, TVQ_DEVICE_TYPE_SYSTEM));
  EXPECT_EQ(harness.LoadedImage()->Unload, &DriverUnload);
}

TEST_F(Start, BuildsItsRecordsWhereThePoolHasNoBlockForZeroBytes) {
  Table table = Table::Of(Bios{}, System{}, Processor{}, MemoryDevice{}, FqddMap{.groups = {}});
  DriverHarness harness;
  harness.Memory().GiveNullForZeroBytes(true);
  harness.Publish(table);
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_THAT(DeviceTypes(harness),
              ElementsAre(TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM, TVQ_DEVICE_TYPE_SYSTEM));
}

TEST_F(Start, IgnoresItsArgument) {
  DriverHarness harness;
  Load(harness);
  EXPECT_EQ(harness.Start(reinterpret_cast<VOID*>(1)), EFI_SUCCESS);
}

TEST_F(Start, NeverReadsTheStartCode) {
  DriverHarness harness;
  Load(harness);
  harness.StartRequest()->StartCode = 0;
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
}

TEST_F(Start, EndsWithoutATable) {
  DriverHarness harness;
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_THAT(harness.platform.registrations, IsEmpty());
  ExpectNothingBuilt(harness);
}

TEST_F(Start, EndsWhenThereIsOnlyThe64BitEntryPoint) {
  DriverHarness harness;
  harness.PublishWith64BitEntryPoint(MinimalServer());
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_THAT(harness.platform.registrations, IsEmpty());
  ExpectNothingBuilt(harness);
}

TEST_F(Start, EndsWithoutAnFqddMap) {
  DriverHarness harness;
  harness.Publish(Table::Of(System{}, Processor{}));
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_THAT(harness.platform.registrations, IsEmpty());
  ExpectNothingBuilt(harness);
}

TEST_F(Start, EndsWhenTheFqddMapCannotBeAllocated) {
  // The map is the third block of the start; an index of the structures may come before, and is
  // dispensable.
  std::vector<EFI_STATUS> statuses;
  for (UINTN allocation = 1; allocation <= 4; ++allocation) {
    DriverHarness harness;
    Load(harness);
    harness.FailAllocation(allocation);
    statuses.push_back(harness.Start());
    if (EFI_ERROR(statuses.back())) {
      EXPECT_THAT(harness.platform.registrations, IsEmpty());
      ExpectNothingBuilt(harness);
    }
  }
  const auto first = std::find_if(statuses.begin(), statuses.end(),
                                  [](EFI_STATUS status) { return EFI_ERROR(status); });
  ASSERT_LE(first + 3, statuses.end());
  EXPECT_THAT(std::vector<EFI_STATUS>(first, first + 3),
              ElementsAre(EFI_NOT_FOUND, EFI_NOT_FOUND, EFI_OUT_OF_RESOURCES));
}

// --- The attributes ---

TEST_F(Start, RegistersThreeNamespacesWithTheirCallbacks) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  const std::vector<Registration>& registrations = harness.platform.registrations;
  ASSERT_THAT(Spaces(harness), ElementsAre("zorv.server", "zorv.smbios.pci", "zorv.smbios.bios"));
  EXPECT_EQ(registrations[0].getter, &ServerAttributeGet);
  EXPECT_EQ(registrations[0].setter, &ServerAttributeSet);
  EXPECT_EQ(registrations[1].getter, &PciAttributeGet);
  EXPECT_EQ(registrations[1].setter, &PciAttributeSet);
  EXPECT_EQ(registrations[2].getter, &BiosAttributeGet);
  EXPECT_EQ(registrations[2].setter, &BiosAttributeSet);
}

TEST_F(Start, ReceivesAllThreeTokensInOneVariable) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  const std::vector<Registration>& registrations = harness.platform.registrations;
  ASSERT_EQ(registrations.size(), 3u);
  EXPECT_NE(registrations[0].token, nullptr);
  EXPECT_THAT(registrations, Each(Field(&Registration::token, registrations[0].token)));
}

TEST_F(Start, GoesOnWhenTheServerNamespaceCannotBeRegistered) {
  DriverHarness harness;
  Load(harness);
  harness.platform.registerStatus["zorv.server"] = EFI_OUT_OF_RESOURCES;
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_THAT(Spaces(harness), ElementsAre("zorv.server", "zorv.smbios.pci", "zorv.smbios.bios"));
  EXPECT_EQ(harness.Records().size(), 3u);
}

TEST_F(Start, EndsWhenThePciNamespaceCannotBeRegistered) {
  DriverHarness harness;
  Load(harness);
  harness.platform.registerStatus["zorv.smbios.pci"] = EFI_ACCESS_DENIED;
  EXPECT_EQ(harness.Start(), EFI_ACCESS_DENIED);
  EXPECT_THAT(Spaces(harness), ElementsAre("zorv.server", "zorv.smbios.pci"));
  EXPECT_EQ(gDebugLog, nullptr);
  ExpectNothingBuilt(harness);
}

TEST_F(Start, EndsWhenTheBiosNamespaceCannotBeRegistered) {
  DriverHarness harness;
  Load(harness);
  harness.platform.registerStatus["zorv.smbios.bios"] = EFI_DEVICE_ERROR;
  EXPECT_EQ(harness.Start(), EFI_DEVICE_ERROR);
  EXPECT_THAT(Spaces(harness), ElementsAre("zorv.server", "zorv.smbios.pci", "zorv.smbios.bios"));
  EXPECT_EQ(gDebugLog, nullptr);
  ExpectNothingBuilt(harness);
}

// --- The debug log ---

TEST_F(Start, FindsTheDebugLog) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(gDebugLog, &harness.platform.debugLog);
  EXPECT_THAT(harness.TakeLog(), Not(IsEmpty()));
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::CreateEvent), 0u);
}

TEST_F(Start, LogsNothingUnderItsOwnNameWhenAllGoesWell) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_THAT(harness.TakeLog(), Each(Field(&LogLine::function, Not("SMBIOSInit"))));
}

TEST_F(Start, GoesOnWithoutADebugLog) {
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(gDebugLog, nullptr);
  EXPECT_EQ(harness.Records().size(), 3u);
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::RegisterProtocolNotify), 1u);
}

// An event of another type could belong to a group, and be signalled without a log.
TEST_F(Start, AwaitsTheDebugLogWithAnEventOfItsOwn) {
  static EFI_CREATE_EVENT createEvent;
  static std::vector<UINT32> types;
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  EFI_BOOT_SERVICES* const services = harness.Firmware().SystemTableOf(driver)->BootServices;
  createEvent = services->CreateEvent;
  types.clear();
  services->CreateEvent = [](UINT32 type, EFI_TPL priority, EFI_EVENT_NOTIFY notify, VOID* context,
                             EFI_EVENT* event) EFIAPI {
    types.push_back(type);
    return createEvent(type, priority, notify, context, event);
  };
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_THAT(types, ElementsAre(UINT32{EVT_NOTIFY_SIGNAL}));
}

TEST_F(Start, LogsFromTheMomentTheDebugLogAppears) {
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  harness.Provide(Part::kDebugLog);
  EXPECT_EQ(gDebugLog, &harness.platform.debugLog);
  EXPECT_THAT(harness.TakeLog(), IsEmpty()) << "lines from before are not kept back";
  EXPECT_EQ(FindFqdd(0x5555), nullptr);
  EXPECT_THAT(harness.TakeLog(), ElementsAre(LogIs("FindFqdd", "Handle 0x5555 not found\n")));
}

TEST_F(Start, NoticesTheDebugLogAtCallbackPriority) {
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  const EFI_TPL before = harness.BootServices()->RaiseTPL(TPL_CALLBACK);
  harness.Provide(Part::kDebugLog);
  EXPECT_EQ(gDebugLog, nullptr);
  harness.BootServices()->RestoreTPL(before);
  EXPECT_EQ(gDebugLog, &harness.platform.debugLog);
}

TEST_F(Start, LooksTheDebugLogUpAgainEachTimeOneIsInstalled) {
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  for (UINTN installed = 0; installed < 3; ++installed) {
    gDebugLog = nullptr;
    harness.Provide(Part::kDebugLog);
    EXPECT_EQ(gDebugLog, &harness.platform.debugLog) << "installation " << installed;
  }
}

TEST_F(Start, RunsTheNotificationOnceWhenItIsArmed) {
  // Without the prerequisite the look-ups are: debug log, debug log again by the notification,
  // prerequisite.
  DriverHarness harness({Part::kDebugLog, Part::kPrerequisite});
  Load(harness);
  const uint64_t before = harness.Firmware().Calls(driver, Service::LocateProtocol);
  ASSERT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::LocateProtocol) - before, 3u);
}

TEST_F(Start, GoesOnWhenTheNotificationCannotBeArmed) {
  for (const Service service : {Service::CreateEvent, Service::RegisterProtocolNotify}) {
    DriverHarness harness({Part::kDebugLog});
    Load(harness);
    harness.Firmware().FailCall(driver, service, 1, EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(harness.Start(), EFI_SUCCESS) << ServiceName(service);
    EXPECT_EQ(harness.Records().size(), 3u);
  }
}

TEST_F(Start, DropsTheLogWhoseLookUpFailed) {
  DriverHarness harness;
  Load(harness);
  gDebugLog = &harness.platform.debugLog;
  harness.Firmware().FailCall(driver, Service::LocateProtocol, 1, EFI_ACCESS_DENIED);
  // The notification looks again; it must not find the log either.
  harness.Firmware().FailCall(driver, Service::CreateEvent, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(gDebugLog, nullptr);
}

// --- The prerequisite ---

TEST_F(Start, RegistersButBuildsNothingWithoutThePrerequisite) {
  DriverHarness harness({Part::kPrerequisite});
  Load(harness);
  EXPECT_EQ(harness.Start(), EFI_NOT_FOUND);
  EXPECT_EQ(harness.platform.registrations.size(), 3u);
  EXPECT_EQ(gDebugLog, &harness.platform.debugLog);
  EXPECT_THAT(harness.TakeLog(), IsEmpty());
  ExpectNothingBuilt(harness);
}

TEST_F(Start, ReturnsTheStatusOfThePrerequisitesLookUp) {
  DriverHarness harness;
  Load(harness);
  harness.Firmware().FailCall(driver, Service::LocateProtocol, 2, EFI_UNSUPPORTED);
  EXPECT_EQ(harness.Start(), EFI_UNSUPPORTED);
  ExpectNothingBuilt(harness);
}

TEST_F(Start, CanBeCalledAgainOnceThePrerequisiteIsThere) {
  DriverHarness harness({Part::kPrerequisite});
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_NOT_FOUND);
  harness.Provide(Part::kPrerequisite);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(harness.platform.registrations.size(), 6u);
  EXPECT_EQ(harness.Records().size(), 3u);
}

TEST_F(Start, HasNoGuardAgainstASecondCall) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(harness.platform.registrations.size(), 6u);
  EXPECT_EQ(harness.platform.storedValues.size(), 2u);
  // The firmware refuses the device paths of the second set.
  EXPECT_EQ(harness.Records().size(), 3u);
}

// --- The build sequence ---

TEST_F(Start, BuildsProcessorsThenModulesThenTheSystem) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  const std::vector<LogLine> log = harness.TakeLog();
  const auto firstOf = [&](const std::string& function) {
    return std::find_if(log.begin(), log.end(),
                        [&](const LogLine& line) { return line.function == function; });
  };
  ASSERT_NE(firstOf("MakeSYSTEM"), log.end());
  EXPECT_LT(firstOf("MakeCPUs"), firstOf("MakeDIMMs"));
  EXPECT_LT(firstOf("MakeDIMMs"), firstOf("MakeSYSTEM"));
}

TEST_F(Start, GoesOnAfterABuilderThatFails) {
  const std::vector<UINT8> all = {TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                  TVQ_DEVICE_TYPE_SYSTEM};
  for (size_t failing = 0; failing < all.size(); ++failing) {
    DriverHarness harness;
    Load(harness);
    harness.Firmware().FailCall(driver, Service::InstallMultipleProtocolInterfaces, failing + 1,
                                EFI_OUT_OF_RESOURCES);
    EXPECT_EQ(harness.Start(), EFI_SUCCESS);
    std::vector<UINT8> others = all;
    others.erase(others.begin() + static_cast<std::ptrdiff_t>(failing));
    EXPECT_EQ(DeviceTypes(harness), others);
    EXPECT_EQ(harness.platform.storedValues.size(), 1u);
  }
}

TEST_F(Start, StoresTheFirmwareAttributeAfterTheRecords) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  ASSERT_EQ(harness.platform.storedValues.size(), 1u);
  const StoredValue& stored = harness.platform.storedValues[0];
  EXPECT_EQ(stored.space, "zorv.smbios.bios");
  EXPECT_EQ(stored.name, "SMBIOSBIOSInfo");
  const auto* const info = reinterpret_cast<const SMBIOS_BIOS_INFO*>(stored.value);
  EXPECT_STREQ(info->ServiceTag, "ABC1234");
  EXPECT_STREQ(info->BiosVersion, "2.4.6");
  EXPECT_STREQ(info->ProductName, "Rack One");
  const auto block = harness.Memory().Find(info);
  ASSERT_TRUE(block) << "the value stays for the boot";
  EXPECT_GT(block->serial, harness.Memory().Find(harness.Records().back().record)->serial);
}

TEST_F(Start, StoresZeroWhenTheFirmwareAttributeCannotBeBuilt) {
  uint64_t allocations = 0;
  {
    DriverHarness harness;
    Load(harness);
    const uint64_t before = harness.Memory().Allocations(driver);
    ASSERT_EQ(harness.Start(), EFI_SUCCESS);
    allocations = harness.Memory().Allocations(driver) - before;
  }
  DriverHarness harness;
  Load(harness);
  // The value and two arrays for each of two structure types are the last five blocks of a start.
  harness.FailAllocation(allocations - 4);
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(harness.Records().size(), 3u);
  ASSERT_EQ(harness.platform.storedValues.size(), 1u);
  EXPECT_EQ(harness.platform.storedValues[0].value, 0u);
}

TEST_F(Start, IgnoresThatTheFirmwareAttributeCannotBeStored) {
  DriverHarness harness;
  Load(harness);
  harness.platform.setValueStatus["zorv.smbios.bios"] = EFI_ACCESS_DENIED;
  EXPECT_EQ(harness.Start(), EFI_SUCCESS);
  EXPECT_EQ(harness.LoadedImage()->Unload, &DriverUnload);
}

TEST_F(Start, AnswersItsAttributesThroughThePlatform) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  UINT64 value = 0;
  ASSERT_EQ(harness.Ask("zorv.server", u"SMBIOSServiceTagString", &value), EFI_SUCCESS);
  EXPECT_EQ(Utf8(reinterpret_cast<CHAR16*>(value)), "ABC1234");
}

// --- The unload handler ---

TEST_F(Start, OpensTheLoadedImageToGetTheProtocolOnly) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(harness.Start(), EFI_SUCCESS);
  EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* opens = nullptr;
  UINTN count = 0;
  ASSERT_EQ(harness.BootServices()->OpenProtocolInformation(
                harness.ImageHandle(), &gEfiLoadedImageProtocolGuid, &opens, &count),
            EFI_SUCCESS);
  const auto* const open =
      std::find_if(opens, opens + count, [&](const EFI_OPEN_PROTOCOL_INFORMATION_ENTRY& entry) {
        return entry.AgentHandle == harness.ImageHandle();
      });
  ASSERT_NE(open, opens + count);
  EXPECT_EQ(open->ControllerHandle, harness.ImageHandle());
  EXPECT_EQ(open->Attributes, static_cast<UINT32>(EFI_OPEN_PROTOCOL_GET_PROTOCOL));
  harness.BootServices()->FreePool(opens);
}

class StartWithoutLoadedImage : public Start {
 protected:
  // Three opens belong to the records.
  void FailTheOpen(DriverHarness& harness) {
    harness.Firmware().FailCall(driver, Service::OpenProtocol, 4, EFI_ACCESS_DENIED);
  }
};

TEST_F(StartWithoutLoadedImage, LogsTheStatusAndKeepsTheRecords) {
  DriverHarness harness;
  Load(harness);
  FailTheOpen(harness);
  EXPECT_EQ(harness.Start(), EFI_ACCESS_DENIED);
  EXPECT_EQ(harness.Records().size(), 3u);
  EXPECT_EQ(harness.platform.storedValues.size(), 1u);
  EXPECT_EQ(harness.LoadedImage()->Unload, nullptr);
  const std::vector<LogLine> log = harness.TakeLog();
  ASSERT_FALSE(log.empty());
  EXPECT_THAT(
      log.back(),
      LogIs("SMBIOSInit", " before UninstallMultipleProtocolInterfaces, status Access Denied \n"));
}

TEST_F(StartWithoutLoadedImage, IsSilentWithoutADebugLog) {
  DriverHarness harness({Part::kDebugLog});
  Load(harness);
  FailTheOpen(harness);
  EXPECT_EQ(harness.Start(), EFI_ACCESS_DENIED);
  EXPECT_THAT(harness.TakeLog(), IsEmpty());
}

TEST(DebugLogNotify, IgnoresThatThereIsNoLogYet) {
  DriverHarness harness({Part::kDebugLog});
  harness.Construct();
  DebugLogNotify(nullptr, nullptr);
  EXPECT_EQ(gDebugLog, nullptr);
  harness.Provide(Part::kDebugLog);
  DebugLogNotify(nullptr, nullptr);
  EXPECT_EQ(gDebugLog, &harness.platform.debugLog);
}

}  // namespace
}  // namespace tvq::test
