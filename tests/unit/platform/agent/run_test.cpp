/*
 * Whole runs of the agent on a volume in memory, with the reference platform and the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstring>

#include "tests/unit/platform/agent/agent_harness.h"

#include <IndustryStandard/TvqBlob.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/ZvEntry.h>
#include <TvqVersion.h>

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class AgentRun : public testing::Test, protected AgentHarness {};

TEST_F(AgentRun, ShowsAndSavesTheInventory) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), EndsWith(kSuccess));
  EXPECT_THAT(Report(), HasSubstr("Table: SMBIOS 2.8, 7 structures"));
  EXPECT_THAT(Report(), HasSubstr("socket designation: \"SOCKET 1\" -> \"CPU1\""));
  EXPECT_THAT(Report(), HasSubstr("Start: Success"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_THAT(
      Report(),
      HasSubstr("CPU.Socket.1       SOCKET 1  processor      -               Core Works Model 8"));
  EXPECT_THAT(Report(), HasSubstr("DIMM.Socket.0      DIMM 0    memory module  0123ABCD"));
  EXPECT_THAT(Report(), HasSubstr("SMBIOSServiceTagString  ABC1234"));
  EXPECT_THAT(Report(), HasSubstr("BiosVersion  2.4.6"));
  for (const char* name : {"CPU.Socket.0.tvq", "CPU.Socket.1.tvq", "DIMM.Socket.0.tvq",
                           "DIMM.Socket.1.tvq", "System.Embedded.1.tvq", "log.txt", "report.txt"}) {
    EXPECT_TRUE(Files().Has(std::string("\\TVQ\\") + name)) << name;
  }
}

TEST_F(AgentRun, ShowsOnTheConsoleWhatItSaves) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  std::string console = Console();
  console.erase(std::remove(console.begin(), console.end(), '\r'), console.end());
  EXPECT_EQ(console, Report());
}

TEST_F(AgentRun, BeginsItsReportWithItsVersion) {
  RunAgent();
  EXPECT_THAT(Report(), StartsWith("TvqAgent " TVQ_VERSION ": "));
}

TEST_F(AgentRun, SavesTheThreeBlobsOneAfterAnother) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string saved = Files().Get("\\TVQ\\System.Embedded.1.tvq");
  std::vector<UINT32> types;
  size_t at = 0;
  while (at + sizeof(TVQ_BLOB_HEADER) <= saved.size()) {
    TVQ_BLOB_HEADER header;
    std::memcpy(&header, saved.data() + at, sizeof(header));
    types.push_back(header.type);
    at += header.sizeInBytes;
  }
  EXPECT_EQ(at, saved.size());
  EXPECT_THAT(types, ElementsAre(3u, 5u, 7u));
}

TEST_F(AgentRun, SavesTheLogALineEach) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Files().Get("\\TVQ\\log.txt"),
              HasSubstr("\n0x00800000 MakeSYSTEM           Entry MakeSYSTEM\n"));
}

TEST_F(AgentRun, SavesTheLogAfterTheComparison) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_LT(Report().find("\nState: left as it was saved"), Report().find("\\TVQ\\log.txt  "));
}

TEST_F(AgentRun, NamesInItsFirstLinesWhatDecidesWhatItReports) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\table.bin", AsText(MinimalServer().Bytes()));
  Files().Put("\\TVQ\\options.txt", "as-is");
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string first = Report().substr(Report().find('\n'));
  EXPECT_THAT(first, StartsWith("\nOptions: of \\TVQ\\options.txt\n"
                                "Table: of \\TVQ\\table.bin, not the firmware's own\n"));
  Files().Remove("\\TVQ\\table.bin");
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again as-is"), EFI_SUCCESS);
  EXPECT_THAT(Report(), Not(HasSubstr("Options: of")));
  EXPECT_THAT(Report(), Not(HasSubstr("Table: of")));
}

TEST_F(AgentRun, PutsBackTheFirmwaresTable) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Published: 8 structures"));
  EXPECT_TRUE(FirmwareTableIsInPlace());
}

TEST_F(AgentRun, FreesWhatItAllocatedButThePublishedTable) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  const size_t before = Firmware().Memory().LiveCount(host::images::agent);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Memory().LiveCount(host::images::agent), before + 1);
}

TEST_F(AgentRun, LeavesATableThatNeedsNothingInPlace) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Conforming: the table needs no change."));
  EXPECT_THAT(Report(), Not(HasSubstr("Published")));
}

TEST_F(AgentRun, UsesTheTableOfTheVolume) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  Files().Put("\\TVQ\\table.bin", AsText(MinimalServer().Bytes()));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("from \\TVQ\\table.bin"));
  EXPECT_THAT(Report(), HasSubstr("Published"));
  EXPECT_THAT(Report(), HasSubstr("Records: 3"));
  EXPECT_TRUE(FirmwareTableIsInPlace());
}

TEST_F(AgentRun, RefusesATableOnTheVolumeThatIsNone) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\table.bin", "this is no table");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("What to do: replace it"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\table.bin is no SMBIOS table\n"));
}

TEST_F(AgentRun, ReportsATableOnTheVolumeThatCannotBeRead) {
  LoadDriver();
  Files().Put("\\TVQ\\table.bin", "x");
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR, "\\TVQ\\table.bin");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: \\TVQ\\table.bin cannot be read: Device Error\n"));
}

TEST_F(AgentRun, ReadsTablesOnTheVolumeOfUpToAMegabyte) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\table.bin", std::string(SIZE_1MB, 'x'));
  RunAgent();
  EXPECT_THAT(Report(), EndsWith("\\TVQ\\table.bin is no SMBIOS table\n"));
  Files().Put("\\TVQ\\table.bin", std::string(SIZE_1MB + 1, 'x'));
  RunAgent();
  EXPECT_THAT(Report(), EndsWith("cannot be read: Bad Buffer Size\n"));
}

TEST_F(AgentRun, ReportsATableOnTheVolumeThatIsFarTooLarge) {
  LoadDriver();
  Files().Put("\\TVQ\\table.bin", std::string(2 << 20, 'x'));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("cannot be read: Bad Buffer Size\n"));
}

TEST_F(AgentRun, ReportsATableThatNoEntryPointCanState) {
  LoadDriver();
  const Table table = Table::Of(MinimalServer(), Raw{Bytes(70000, 0)});
  Files().Put("\\TVQ\\table.bin", AsText(table.Bytes()));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(),
              HasSubstr("What to do: remove \\TVQ\\table.bin to see this machine's own table"));
  EXPECT_THAT(Report(), EndsWith(" bytes, and the driver reads at most 65,535\n"));
}

TEST_F(AgentRun, ReportsFirmwareWithoutATable) {
  LoadDriver();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Records: none"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: this firmware has no SMBIOS table\n"));
}

// --- Options ---

TEST_F(AgentRun, LeavesTheTableAloneWhenAsked) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("Conforming")));
  EXPECT_THAT(Report(), HasSubstr("run TvqAgent without as-is"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the driver's start failed: Not Found\n"));
}

TEST_F(AgentRun, ReadsItsOptionsFromAFile) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  Files().Put("\\TVQ\\options.txt", "as-is\r\n");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("Conforming")));
}

TEST_F(AgentRun, PrefersTheCommandLineToTheFile) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  Files().Put("\\TVQ\\options.txt", "as-is\r\n");
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-ls"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("'as-ls' is not known and ignored"));
}

TEST_F(AgentRun, SwitchesTheMachineOffWhenAsked) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi"), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::ResetSystem), 0u);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi poweroff"), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::ResetSystem), 1u);
  Firmware().TakeMisuses();
}

TEST_F(AgentRun, ReadsOptionFilesOfUpTo4096Bytes) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  const std::string options = "as-is";
  Files().Put("\\TVQ\\options.txt", options + std::string(4096 - options.size(), ' '));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("Conforming")));
  Files().Put("\\TVQ\\options.txt", options + std::string(4097 - options.size(), ' '));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\\TVQ\\options.txt cannot be read: Bad Buffer Size"));
}

// --- The driver ---

TEST_F(AgentRun, SaysWhichFileOfTheDriverIsMissing) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("What to do: copy TvqPlatform.efi and TVQSMBIOS.efi"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\TvqPlatform.efi is missing\n"));
  LoadPlatform();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\TVQSMBIOS.efi is missing\n"));
}

TEST_F(AgentRun, TakesTheImagesOfItsArchitectureWhereAVolumeServesSeveral) {
  LoadPlatform();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\TVQSMBIOS.efi", "MZ");
  Files().Put("\\TVQ\\X64\\TVQSMBIOS.efi", "MZ");
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_SECURITY_VIOLATION);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(),
              EndsWith("\\TVQ\\X64\\TVQSMBIOS.efi cannot be loaded: Security Violation\n"));
}

TEST_F(AgentRun, ReportsADriverThatCannotBeLoaded) {
  LoadPlatform();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\TVQSMBIOS.efi", "MZ");
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_SECURITY_VIOLATION);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Secure Boot"));
  EXPECT_THAT(Report(), EndsWith("TVQSMBIOS.efi cannot be loaded: Security Violation\n"));
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_ACCESS_DENIED);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Secure Boot"));
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_LOAD_ERROR);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("Secure Boot")));
}

TEST_F(AgentRun, ShowsTheRecordsOfADriverThatWasStartedBefore) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("was started before"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

// --- Files that cannot be written ---

TEST_F(AgentRun, ReplacesALongerFile) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\LOG.TXT", std::string(1 << 20, '#'));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Files().Get("\\TVQ\\log.txt"), Not(HasSubstr("#")));
  EXPECT_FALSE(Files().Has("\\TVQ\\LOG.TXT"));
}

TEST_F(AgentRun, ReportsAFileThatCannotBeWritten) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED, "\\TVQ\\log.txt");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Records: 3"));
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: \\TVQ\\log.txt cannot be written: Write Protected\n"));
}

TEST_F(AgentRun, ReportsAVolumeWithoutRoom) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().LimitWrites(100);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Console(), HasSubstr("cannot be written: Volume Full"));
}

TEST_F(AgentRun, TellsOnTheConsoleWhenTheReportItselfCannotBeWritten) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED, "\\TVQ\\report.txt");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Console(), Not(HasSubstr("TvqAgent: success")));
  EXPECT_THAT(
      Console(),
      EndsWith("TvqAgent: failed: \\TVQ\\report.txt cannot be written: Write Protected\r\n"));
}

TEST_F(AgentRun, ShowsTheInventoryWithoutAVolume) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  RemoveVolume();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Console(), HasSubstr("Records: 3"));
  EXPECT_THAT(Console(), HasSubstr("TvqAgent: failed: the volume that TvqAgent was started from"));
}

// --- Records of somebody else, or damaged ones ---

EFI_STATUS EFIAPI RefuseName(ZVEP_PROTOCOL*, EFI_DEVICE_PATH_PROTOCOL*, CHAR8*, CHAR16**,
                             CHAR16**) {
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI RefuseIdentity(TVQ_INVENTORY_PROTOCOL*, TVQ_IDENTITY* identity) {
  identity->Version = 2;
  return EFI_UNSUPPORTED;
}
EFI_STATUS EFIAPI RefuseGet(TVQ_INVENTORY_PROTOCOL*, TVQ_REQUEST*, TVQ_DATA*) {
  return EFI_OUT_OF_RESOURCES;
}

TEST_F(AgentRun, ShowsARecordThatAnswersNothing) {
  LoadPlatform();
  ZVEP_PROTOCOL entry = {RefuseName, nullptr, nullptr};
  TVQ_INVENTORY_PROTOCOL inventory = {RefuseIdentity, RefuseGet, nullptr, nullptr};
  EFI_HANDLE first = nullptr;
  EFI_HANDLE second = nullptr;
  ASSERT_EQ(
      Firmware().BootServices()->InstallMultipleProtocolInterfaces(
          &first, &gTvqInventoryProtocolGuid, &inventory, &gZvEntryProtocolGuid, &entry, nullptr),
      EFI_SUCCESS);
  ASSERT_EQ(Firmware().BootServices()->InstallMultipleProtocolInterfaces(
                &second, &gTvqInventoryProtocolGuid, &inventory, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Records: 2"));
  EXPECT_THAT(Report(), HasSubstr("not known"));
  EXPECT_THAT(Report(), HasSubstr("Unsupported"));
  EXPECT_THAT(Files().Paths(), Contains("\\TVQ\\record.tvq"));
  EXPECT_THAT(Files().Paths(), Contains("\\TVQ\\record-2.tvq"));
}

// Runs on a machine of its own; the n-th allocation of the agent fails. False: it made fewer.
bool RunsShortOfMemory(uint64_t n) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(ClashingServer());
  machine.Firmware().Memory().FailAllocation(n, host::images::agent);
  machine.RunAgent();
  const bool failed = machine.Firmware().Memory().FailedAllocations() != 0;
  machine.Firmware().Memory().StopFailing();
  // The published table stays, and nothing else.
  EXPECT_LE(machine.Firmware().Memory().LiveCount(host::images::agent), 1u) << n;
  EXPECT_TRUE(machine.FirmwareTableIsInPlace()) << n;
  EXPECT_THAT(machine.Console(), HasSubstr("TvqAgent: ")) << n;
  return failed;
}

TEST(AgentWithoutMemory, SurvivesEveryFailedAllocation) {
  uint64_t n = 1;
  // The many allocations at the end are lines of the log, which are alike.
  while (n < 5000 && RunsShortOfMemory(n)) {
    n += n < 100 ? 1 : 37;
  }
  EXPECT_GT(n, 100u);
  EXPECT_LT(n, 5000u);
}

}  // namespace
}  // namespace tvq::test
