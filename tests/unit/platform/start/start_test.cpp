/*
 * The platform in a firmware volume: it starts the driver once, when the firmware is ready to boot, and the operating system
 * gets the firmware's own table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <set>

#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/start/boot_option.h"

extern "C" {
#include <Protocol/Smbios.h>
}

#include <Library/TvqStartLib.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqStartRequest.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// What a start saw of the machine.
struct SeenStart {
  VOID* entryPoint = nullptr;
  Bytes table;
  std::set<std::string> handlers;  // of ready-to-boot that had run
};

class StartAtReadyToBoot : public testing::Test, protected AgentHarness {
 protected:
  StartAtReadyToBoot() { gTest = this; }
  ~StartAtReadyToBoot() override { gTest = nullptr; }

  EFI_BOOT_SERVICES& Services() { return *Firmware().BootServices(); }

  void TryBootOption() { test::TryBootOption(Firmware()); }

  // A driver whose start notes what it sees.
  void LoadSpy(EFI_STATUS result = EFI_SUCCESS) {
    mResult = result;
    mSpy = Firmware().LoadImage(host::images::agent);
    Firmware().ConstructImage(mSpy);  // For Conform().
    mRequest.StartCode = TVQ_START_CODE;
    mRequest.Start = SpyStart;
    ASSERT_EQ(Services().InstallProtocolInterface(&mSpy, &gTvqStartRequestProtocolGuid,
                                                  EFI_NATIVE_INTERFACE, &mRequest),
              EFI_SUCCESS);
  }
  const std::vector<SeenStart>& Starts() { return mStarts; }

  // A handler of ready-to-boot, as other drivers have.
  void AddHandler(std::string& name) {
    EFI_EVENT event = nullptr;
    ASSERT_EQ(Services().CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnReadyToBoot, &name,
                                       &gEfiEventReadyToBootGuid, &event),
              EFI_SUCCESS);
  }

  // The firmware's own table behind a 64-bit entry point alone.
  void PublishOnly64Bit(const Table& table) {
    mLow = host::MapBelow4G(table.Size());
    std::copy(table.Bytes().begin(), table.Bytes().end(), mLow.Data());
    mEntry64 = EntryPointBytes::Of64Bits(table, mLow.Address32()).Bytes();
    ASSERT_EQ(Services().InstallConfigurationTable(&gEfiSmbios3TableGuid, mEntry64.data()),
              EFI_SUCCESS);
  }

  // The firmware's SMBIOS protocol, which notes what is added.
  void InstallSmbiosProtocol() {
    mSmbios.Add = AddStructure;
    EFI_HANDLE handle = nullptr;
    ASSERT_EQ(Services().InstallProtocolInterface(&handle, &gEfiSmbiosProtocolGuid,
                                                  EFI_NATIVE_INTERFACE, &mSmbios),
              EFI_SUCCESS);
  }
  const std::vector<uint16_t>& Added() { return mAdded; }
  void RefuseHandle(uint16_t handle) { mTaken.insert(handle); }

  TVQ_PLATFORM_PROTOCOL* Platform() {
    VOID* found = nullptr;
    EXPECT_EQ(Services().LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &found), EFI_SUCCESS);
    return static_cast<TVQ_PLATFORM_PROTOCOL*>(found);
  }
  size_t RecordCount() {
    UINTN count = 0;
    EFI_HANDLE* handles = nullptr;
    if (EFI_ERROR(Services().LocateHandleBuffer(ByProtocol, &gTvqInventoryProtocolGuid, nullptr,
                                                &count, &handles))) {
      return 0;
    }
    Services().FreePool(handles);
    return count;
  }

 private:
  static EFI_STATUS EFIAPI SpyStart(VOID*) {
    gTest->NoteStart();
    return gTest->mResult;
  }
  static VOID EFIAPI OnReadyToBoot(EFI_EVENT, VOID* name) {
    gTest->mHandlers.insert(*static_cast<std::string*>(name));
  }
  static EFI_STATUS EFIAPI AddStructure(const EFI_SMBIOS_PROTOCOL*, EFI_HANDLE,
                                        EFI_SMBIOS_HANDLE* handle,
                                        EFI_SMBIOS_TABLE_HEADER* record) {
    return gTest->NoteAdded(*handle, *record);
  }

  void NoteStart() {
    SeenStart seen;
    seen.entryPoint = ConfigurationTable(Firmware(), gEfiSmbiosTableGuid);
    if (seen.entryPoint != nullptr) {
      const auto* entry = static_cast<const SMBIOS_TABLE_ENTRY_POINT*>(seen.entryPoint);
      const auto* table = reinterpret_cast<const UINT8*>(uintptr_t{entry->TableAddress});
      seen.table.assign(table, table + entry->TableLength);
    }
    seen.handlers = mHandlers;
    mStarts.push_back(seen);
  }
  EFI_STATUS NoteAdded(uint16_t handle, const EFI_SMBIOS_TABLE_HEADER& record) {
    EXPECT_EQ(record.Handle, handle);
    EXPECT_EQ(record.Type, 225);
    EXPECT_TRUE(FirmwareTableIsInPlace()) << "adding makes the firmware install its own table";
    if (mTaken.count(handle) != 0) {
      return EFI_ALREADY_STARTED;
    }
    mAdded.push_back(handle);
    return EFI_SUCCESS;
  }

  static StartAtReadyToBoot* gTest;

  EFI_HANDLE mSpy = nullptr;
  TVQ_START_REQUEST mRequest = {};
  EFI_STATUS mResult = EFI_SUCCESS;
  std::vector<SeenStart> mStarts;
  std::set<std::string> mHandlers;
  host::LowMapping mLow;
  Bytes mEntry64;
  EFI_SMBIOS_PROTOCOL mSmbios = {};
  std::vector<uint16_t> mAdded;
  std::set<uint16_t> mTaken;
};

StartAtReadyToBoot* StartAtReadyToBoot::gTest = nullptr;

TEST_F(StartAtReadyToBoot, MakesTheRecordsThatAnAgentWouldMake) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RecordCount(), 0u);
  TryBootOption();
  EXPECT_EQ(RecordCount(), 5u);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("was started before"));
  // With the label that the machine itself prints.
  EXPECT_THAT(Report(), HasSubstr("CPU.Socket.1       SOCKET 1  processor"));
  EXPECT_THAT(Report(), HasSubstr("DIMM.Socket.0      DIMM 0    memory module  0123ABCD"));
}

TEST_F(StartAtReadyToBoot, StartsOnceHoweverManyBootOptionsAreTried) {
  LoadPlatform();
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  for (int option = 0; option < 3; ++option) {
    TryBootOption();
  }
  EXPECT_EQ(Starts().size(), 1u);
}

TEST_F(StartAtReadyToBoot, DoesNotTryAgainWhatFailed) {
  LoadPlatform();
  LoadSpy(EFI_NOT_FOUND);
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  TryBootOption();
  EXPECT_EQ(Starts().size(), 1u);
}

TEST_F(StartAtReadyToBoot, ComesAfterEveryOtherHandler) {
  std::string earlier = "earlier";
  std::string later = "later";
  AddHandler(earlier);
  LoadPlatform();
  AddHandler(later);
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  ASSERT_EQ(Starts().size(), 1u);
  EXPECT_THAT(Starts()[0].handlers, ElementsAre("earlier", "later"));
}

TEST_F(StartAtReadyToBoot, RunsOnAConformedCopyAndPutsTheFirmwaresTableBack) {
  LoadPlatform();
  LoadSpy();
  const Table table = ClashingServer();
  PublishFirmwareTable(table);
  TryBootOption();
  ASSERT_EQ(Starts().size(), 1u);
  EXPECT_EQ(Starts()[0].table, Conform(table.Bytes()).table);
  EXPECT_TRUE(FirmwareTableIsInPlace());
}

TEST_F(StartAtReadyToBoot, RunsOnACopyOfATableThatNeedsNothing) {
  LoadPlatform();
  LoadSpy();
  const Table table = MinimalServer();
  PublishFirmwareTable(table);
  TryBootOption();
  ASSERT_EQ(Starts().size(), 1u);
  EXPECT_EQ(Starts()[0].table, table.Bytes());
  EXPECT_NE(Starts()[0].entryPoint, ConfigurationTable(Firmware(), gEfiSmbiosTableGuid));
  EXPECT_TRUE(FirmwareTableIsInPlace());
}

TEST_F(StartAtReadyToBoot, BringsA32BitEntryPointForTheStartAlone) {
  LoadPlatform();
  LoadSpy();
  PublishOnly64Bit(ClashingServer());
  TryBootOption();
  ASSERT_EQ(Starts().size(), 1u);
  EXPECT_EQ(Starts()[0].table, Conform(ClashingServer().Bytes()).table);
  EXPECT_EQ(ConfigurationTable(Firmware(), gEfiSmbiosTableGuid), nullptr);
}

TEST_F(StartAtReadyToBoot, AddsTheFqddsToTheFirmwaresTable) {
  LoadPlatform();
  LoadSpy();
  InstallSmbiosProtocol();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_THAT(Added(), ElementsAre(0xE100));
}

TEST_F(StartAtReadyToBoot, AddsNoFqddsThatAreThere) {
  LoadPlatform();
  LoadSpy();
  InstallSmbiosProtocol();
  RefuseHandle(OfType(Parse(MinimalServer().Bytes()), 225).front().handle);
  PublishFirmwareTable(MinimalServer());
  TryBootOption();
  EXPECT_EQ(Starts().size(), 1u);
  EXPECT_THAT(Added(), IsEmpty());
}

TEST_F(StartAtReadyToBoot, LeavesTheRecordsOfAnotherStarterAlone) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  Firmware().KeepDebugOutput();
  TryBootOption();
  EXPECT_THAT(Firmware().DebugOutput(), HasSubstr("TVQ: start: Already started"));
  EXPECT_THAT(Firmware().DebugOutput(), Not(HasSubstr("MakeSYSTEM")));
}

TEST_F(StartAtReadyToBoot, IsLeftToTheAgentWhereThePlatformIsBuiltSo) {
  const EFI_HANDLE platform = Firmware().LoadImage(host::images::platform);
  Firmware().SetPcd(host::images::platform, "PcdTvqStartAtReadyToBoot", 0);
  ASSERT_EQ(Firmware().StartImage(platform), EFI_SUCCESS);
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(StartAtReadyToBoot, IsDueWithoutDriverOrTableTooAndThenOver) {
  LoadPlatform();
  Firmware().KeepDebugOutput();
  TryBootOption();
  EXPECT_THAT(Firmware().DebugOutput(), HasSubstr("TVQ: start: Not Ready"));
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(StartAtReadyToBoot, IsNotDueWhenBootServicesEnd) {
  LoadPlatform();
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  Signal(Firmware(), gEfiEventExitBootServicesGuid);
  EXPECT_THAT(Starts(), IsEmpty());
}

TEST_F(StartAtReadyToBoot, IsAskedForOnce) {
  LoadPlatform();
  EXPECT_EQ(TvqStartAtReadyToBoot(), EFI_ALREADY_STARTED) << "the platform has asked";
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_EQ(TvqStartAtReadyToBoot(), EFI_ALREADY_STARTED) << "it was started";
  TryBootOption();
  EXPECT_EQ(Starts().size(), 1u);
}

VOID EFIAPI AskForTheStart(EFI_EVENT, VOID* status) {
  *static_cast<EFI_STATUS*>(status) = TvqStartAtReadyToBoot();
}

// It comes behind the handlers of ready-to-boot, which may be before the platform's or after it.
TEST_F(StartAtReadyToBoot, IsAskedForOnceWhileItIsDue) {
  EFI_STATUS statuses[] = {EFI_SUCCESS, EFI_SUCCESS};
  const auto addHandler = [this](EFI_STATUS& status) {
    EFI_EVENT event = nullptr;
    ASSERT_EQ(Services().CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, AskForTheStart, &status,
                                       &gEfiEventReadyToBootGuid, &event),
              EFI_SUCCESS);
  };
  addHandler(statuses[0]);
  LoadPlatform();
  addHandler(statuses[1]);
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_THAT(statuses, ElementsAre(EFI_ALREADY_STARTED, EFI_ALREADY_STARTED));
  EXPECT_EQ(Starts().size(), 1u);
}

TEST_F(StartAtReadyToBoot, MayBeAskedForAgainWhenItWasTakenBack) {
  LoadPlatform();
  TvqCancelStart();
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  EXPECT_THAT(Starts(), IsEmpty());
  EXPECT_EQ(TvqStartAtReadyToBoot(), EFI_SUCCESS);
  TryBootOption();
  EXPECT_EQ(Starts().size(), 1u);
}

TEST_F(StartAtReadyToBoot, SaysThatTheFirmwareHasNoTable) {
  LoadPlatform();
  LoadSpy();
  Firmware().KeepDebugOutput();
  TryBootOption();
  EXPECT_THAT(Starts(), IsEmpty());
  EXPECT_THAT(Firmware().DebugOutput(), HasSubstr("TVQ: start: Not Found"));
}

TEST_F(StartAtReadyToBoot, IsTakenBackWhenThePlatformIsUnloaded) {
  LoadPlatform();
  ASSERT_EQ(Firmware().UnloadImage(Firmware().HandleOf(host::images::platform)), EFI_SUCCESS);
  // A handler in the code of an unloaded image is a misuse, which fails the test.
  TryBootOption();
}

TEST_F(StartAtReadyToBoot, LeavesNoEventBehindWhereOneCannotBeHad) {
  for (const host::Service service : {host::Service::CreateEvent, host::Service::CreateEventEx}) {
    Firmware().FailCall(host::images::platform, service, 1, EFI_OUT_OF_RESOURCES);
    const EFI_HANDLE platform = Firmware().LoadImage(host::images::platform);
    // What the platform installs serves an agent all the same.
    ASSERT_EQ(Firmware().StartImage(platform), EFI_SUCCESS);
    EXPECT_NE(Platform(), nullptr);
    EXPECT_EQ(Firmware().Calls(host::images::platform, host::Service::CloseEvent),
              service == host::Service::CreateEventEx ? 1u : 0u);
    ASSERT_EQ(Firmware().UnloadImage(platform), EFI_SUCCESS);
    TryBootOption();
  }
}

TEST_F(StartAtReadyToBoot, GoesOnWithoutMemoryBelow4GiB) {
  LoadPlatform();
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  Firmware().FailCall(host::images::platform, host::Service::AllocatePages, 1,
                      EFI_OUT_OF_RESOURCES);
  TryBootOption();
  EXPECT_THAT(Starts(), IsEmpty());
  EXPECT_TRUE(FirmwareTableIsInPlace());
}

TEST_F(StartAtReadyToBoot, HandsOutTheTableOfTheRecords) {
  LoadPlatform();
  LoadSpy();
  PublishFirmwareTable(ClashingServer());
  TVQ_STARTED_TABLE table = {};
  EXPECT_EQ(Platform()->GetStartedTable(Platform(), &table), EFI_NOT_FOUND);
  TryBootOption();
  ASSERT_EQ(Platform()->GetStartedTable(Platform(), &table), EFI_SUCCESS);
  ASSERT_EQ(Starts().size(), 1u);
  EXPECT_EQ(table.EntryPoint, Starts()[0].entryPoint);
  const auto* structures = static_cast<const UINT8*>(table.Structures);
  EXPECT_EQ(Bytes(structures, structures + table.Length), Starts()[0].table);
  EXPECT_EQ(Platform()->GetStartedTable(nullptr, &table), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->GetStartedTable(Platform(), nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(StartAtReadyToBoot, IsToldToTheDebugLibrary) {
  Firmware().KeepDebugOutput();
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  TryBootOption();
  const std::string& output = Firmware().DebugOutput();
  EXPECT_THAT(output, HasSubstr("MakeSYSTEM: Entry MakeSYSTEM"));
  EXPECT_THAT(output, HasSubstr("TVQ: record: CPU.Socket.1 (CPU 1)"));
  EXPECT_THAT(output, HasSubstr("TVQ: start: Success"));
}

}  // namespace
}  // namespace tvq::test
