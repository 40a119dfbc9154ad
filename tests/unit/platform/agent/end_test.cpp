/*
 * The agent takes records off and unloads the driver, and nobody calls what an unloaded driver left
 * behind.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/agent_harness.h"

#include "TvqPlatformPkg/src/agent/clock.h"
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqRecord.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/ZvEntry.h>

namespace tvq::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

size_t Occurrences(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

class AgentEnd : public testing::Test, protected AgentHarness {
 protected:
  AgentEnd() {
    LoadDriver();
    PublishFirmwareTable(ClashingServer());
  }

  size_t Count(EFI_GUID& guid) {
    UINTN count = 0;
    EFI_HANDLE* handles = nullptr;
    const EFI_STATUS status =
        Firmware().BootServices()->LocateHandleBuffer(ByProtocol, &guid, nullptr, &count, &handles);
    if (EFI_ERROR(status)) {
      return 0;
    }
    mFirst = handles[0];
    Firmware().BootServices()->FreePool(handles);
    return count;
  }
  EFI_HANDLE FirstRecord() {
    EXPECT_NE(Count(gTvqRecordGuid), 0u);
    return mFirst;
  }
  bool DriverIsLoaded() { return Firmware().HandleOf(host::images::driver) != nullptr; }
  void UnloadDriver() {
    ASSERT_EQ(Firmware().UnloadImage(Firmware().HandleOf(host::images::driver)), EFI_SUCCESS);
  }
  EFI_STATUS AskServiceTag(UINT64& value) {
    VOID* found = nullptr;
    EXPECT_EQ(Firmware().BootServices()->LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &found),
              EFI_SUCCESS);
    auto* platform = static_cast<TVQ_PLATFORM_PROTOCOL*>(found);
    return platform->GetAttribute(platform, Wide(u"zorv.server"), Wide(u"SMBIOSServiceTagString"),
                                  &value);
  }

 private:
  EFI_HANDLE mFirst = nullptr;
};

// --- stop ---

TEST_F(AgentEnd, StopTakesOffWhatOthersSeeOfTheRecords) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(Count(gTvqInventoryProtocolGuid), 5u);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nStop: 5 records taken off\n"));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
  EXPECT_EQ(Count(gTvqInventoryProtocolGuid), 0u);
  EXPECT_EQ(Count(gZvEntryProtocolGuid), 0u);
  EXPECT_EQ(Count(gTvqRecordGuid), 5u) << "the driver's unload handler looks for them";
}

TEST_F(AgentEnd, StopStartsNothing) {
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nStop: 0 records taken off\n"));
  EXPECT_EQ(Count(gTvqRecordGuid), 0u);
}

TEST_F(AgentEnd, StopWorksWhereTheAgentsFolderIsMissing) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Files().RemoveFolder("\\TVQ");
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nStop: 5 records taken off\n"));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

TEST_F(AgentEnd, AStartAfterAStopPublishesTheDevicesAnew) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string before = Files().Get("\\TVQ\\CPU.Socket.2.tvq");
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  Files().Remove("\\TVQ\\CPU.Socket.2.tvq");
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Start: Success"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_EQ(Files().Get("\\TVQ\\CPU.Socket.2.tvq"), before);
}

TEST_F(AgentEnd, StopTellsOfARecordThatSomebodyHolds) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const EFI_HANDLE record = FirstRecord();
  VOID* held = nullptr;
  ASSERT_EQ(Firmware().BootServices()->OpenProtocol(record, &gZvEntryProtocolGuid, &held,
                                                    Firmware().HandleOf(host::images::platform),
                                                    record, EFI_OPEN_PROTOCOL_EXCLUSIVE),
            EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop unload"), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nStop: 4 records taken off\n"));
  EXPECT_THAT(Report(), HasSubstr("\nStop: 1 records kept, because somebody uses them\n"));
  EXPECT_THAT(Report(), HasSubstr("TvqAgent: failed: not all records can be taken off: "));
  EXPECT_EQ(Count(gTvqInventoryProtocolGuid), 1u) << "all protocols of a record or none";
  EXPECT_TRUE(DriverIsLoaded()) << "it is not unloaded under somebody who uses a record";
}

// --- unload ---

TEST_F(AgentEnd, ADriverThatWasNotStartedCannotBeUnloaded) {
  EXPECT_EQ(RunAgent(u"TvqAgent.efi unload"), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nUnload: Unsupported\n"));
  EXPECT_THAT(Report(), EndsWith("TvqAgent: failed: the driver cannot be unloaded: Unsupported\n"));
  EXPECT_TRUE(DriverIsLoaded());
}

TEST_F(AgentEnd, ADriverThatIsNotLoadedCannotBeUnloaded) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop unload"), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi unload"), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nUnload: Not Found\n"));
}

TEST_F(AgentEnd, StopUnloadLoadAndStartGiveTheWholeInventoryAgain) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string before = Files().Get("\\TVQ\\DIMM.Socket.A2.tvq");
  ASSERT_NE(before, "");
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(RunAgent(u"TvqAgent.efi stop unload"), EFI_SUCCESS);
    EXPECT_THAT(Report(), HasSubstr("\nUnload: Success\n"));
    EXPECT_FALSE(DriverIsLoaded());
    LoadDriverAgain();
    Files().Remove("\\TVQ\\DIMM.Socket.A2.tvq");
    EXPECT_EQ(RunAgent(), EFI_SUCCESS);
    EXPECT_THAT(Report(), HasSubstr("Records: 5"));
    EXPECT_THAT(Report(), HasSubstr("SMBIOSServiceTagString  ABC1234"));
    EXPECT_THAT(Report(), Not(HasSubstr("Left behind")));
    EXPECT_EQ(Files().Get("\\TVQ\\DIMM.Socket.A2.tvq"), before);
  }
}

// --- What an unloaded driver leaves behind ---

TEST_F(AgentEnd, RecordsOfAnUnloadedDriverAreNotAsked) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  UnloadDriver();
  ASSERT_EQ(Count(gTvqInventoryProtocolGuid), 5u);
  LoadDriverAgain();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Start: Success"));
  EXPECT_THAT(Report(), HasSubstr("Records: none"));
  EXPECT_THAT(Report(), HasSubstr("\nLeft behind: 5 records of a driver that was unloaded"));
  EXPECT_THAT(Report(), HasSubstr("What to do: run TvqAgent stop"));
  EXPECT_THAT(Report(), EndsWith("TvqAgent: failed: the driver made no record\n"));
}

TEST_F(AgentEnd, OneRecordOfAnUnloadedDriverIsNotAskedEither) {
  PublishFirmwareTable(Table::Of(Bios{}, System{}, End{}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  UnloadDriver();
  LoadDriverAgain();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nLeft behind: 1 records of a driver that was unloaded"));
  EXPECT_THAT(Report(), HasSubstr("Problem: the driver made no record.\n"
                                  "  What to do: run TvqAgent stop"));
}

TEST_F(AgentEnd, RecordsThatOthersLookAtAreTheDriversAllTheSame) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  // Somebody opens a record for a look, before the driver opens it again.
  const EFI_HANDLE record = FirstRecord();
  const EFI_HANDLE driver = Firmware().HandleOf(host::images::driver);
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  VOID* opened = nullptr;
  ASSERT_EQ(services->CloseProtocol(record, &gTvqRecordGuid, driver, record), EFI_SUCCESS);
  ASSERT_EQ(services->OpenProtocol(record, &gTvqRecordGuid, &opened,
                                   Firmware().HandleOf(host::images::platform), record,
                                   EFI_OPEN_PROTOCOL_GET_PROTOCOL),
            EFI_SUCCESS);
  ASSERT_EQ(services->OpenProtocol(record, &gTvqRecordGuid, &opened, driver, record,
                                   EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_THAT(Report(), Not(HasSubstr("Left behind")));
}

TEST_F(AgentEnd, StopClearsTheWayForALaterDriver) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  UnloadDriver();
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nStop: 5 records taken off\n"));
  EXPECT_EQ(Count(gTvqRecordGuid), 0u) << "no unload handler looks for them any more";
  LoadDriverAgain();
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
}

TEST_F(AgentEnd, TheStartRequestOfAnUnloadedDriverIsNotTaken) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop unload"), EFI_SUCCESS);
  ASSERT_EQ(Count(gTvqStartRequestProtocolGuid), 1u);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\TVQSMBIOS.efi is missing\n"));
}

TEST_F(AgentEnd, ThePlatformForgetsTheGettersOfAnUnloadedDriver) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  UINT64 value = 7;
  UnloadDriver();
  EXPECT_EQ(AskServiceTag(value), EFI_NOT_FOUND);
  EXPECT_EQ(value, 7u);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  LoadDriverAgain();
  EXPECT_EQ(AskServiceTag(value), EFI_NOT_FOUND) << "the new driver was not started yet";
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(AskServiceTag(value), EFI_SUCCESS);
  Firmware().BootServices()->FreePool(reinterpret_cast<VOID*>(static_cast<UINTN>(value)));
}

TEST_F(AgentEnd, ThePlatformCanGoWhenTheDriverIsGone) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const EFI_HANDLE platform = Firmware().HandleOf(host::images::platform);
  EXPECT_EQ(Firmware().UnloadImage(platform), EFI_ACCESS_DENIED);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop unload"), EFI_SUCCESS);
  EXPECT_EQ(Firmware().UnloadImage(platform), EFI_SUCCESS);
}

TEST_F(AgentEnd, ThePlatformStaysWhenItCannotTellWhetherTheDriverIsLoaded) {
  Firmware().FailCall(host::images::platform, host::Service::LocateHandleBuffer, 1,
                      EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Firmware().UnloadImage(Firmware().HandleOf(host::images::platform)), EFI_ACCESS_DENIED);
}

// --- A second start ---

TEST_F(AgentEnd, ASecondStartAddsNoRecord) {
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Start: Success"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_EQ(Count(gTvqRecordGuid), 5u);
  const std::string log = Files().Get("\\TVQ\\log.txt");
  for (const std::string builder : {"MakeCPUs", "MakeDIMMs", "MakeSYSTEM"}) {
    EXPECT_EQ(Occurrences(log, " Entry " + builder + "\n"), 2u);
    EXPECT_EQ(Occurrences(log, " Leaving " + builder + "\n"), 1u) << "it ends at its first record";
  }
}

// --- Time ---

TEST_F(AgentEnd, TheReportSaysHowLongTheStartTook) {
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), testing::ContainsRegex(
                            "\nStart: Success, in [0-9]+\\.[0-9]{3} ms \\([0-9,]+ ticks of"));
}

TEST_F(AgentEnd, TheStartTookNoMoreTicksThanTheRun) {
  const UINT64 before = tvqplatform::ReadTicks();
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  const UINT64 run = tvqplatform::ReadTicks() - before;
  const std::string report = Report();
  std::string ticks = report.substr(report.find(" ms (") + 5);
  ticks.resize(ticks.find(' '));
  ticks.erase(std::remove(ticks.begin(), ticks.end(), ','), ticks.end());
  EXPECT_GT(std::stoull(ticks), 0u);
  EXPECT_LE(std::stoull(ticks), run);
}

}  // namespace
}  // namespace tvq::test
