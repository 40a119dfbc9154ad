/*
 * Whole runs of the agent on a volume in memory, with the reference platform and the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstring>

#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/agent/fake_record.h"

#include "TvqPlatformPkg/src/agent/start.h"

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

class AgentRun : public testing::Test, protected AgentHarness {
 protected:
  // A table of so many bytes that the driver reads without a change.
  static std::string TableOfSize(size_t size) {
    const std::string table = AsText(MinimalServer().Bytes());
    return table + std::string(size - table.size(), '\0');
  }
};

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

TEST_F(AgentRun, ShowsWhatIsOddInATableOnTheVolume) {
  LoadDriver();
  const Table table = MinimalServer();
  const EntryPointBytes entry = EntryPointBytes::Of32Bits(table);
  Files().Put("\\TVQ\\table.bin", AsText(EntryPointBytes(entry).FileWith(table)));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), Not(HasSubstr("  Note: ")));
  Files().Put("\\TVQ\\table.bin",
              AsText(EntryPointBytes(entry).Set(kStructureCount, 2, 999).FileWith(table)));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_THAT(Report(),
              HasSubstr("\n  Note: the entry point states 999 structures, the table has 9.\n"));
  Files().Put("\\TVQ\\table.bin", AsText(EntryPointBytes(entry)
                                             .Set(kTableLength, 2, 60000)
                                             .Set(kStructureCount, 2, 999)
                                             .FileWith(table)));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\n  Note: the entry point states a table of 60000 bytes"));
  EXPECT_THAT(Report(),
              HasSubstr("\n  Note: the entry point states 999 structures, the table has 9.\n"));
}

TEST_F(AgentRun, LooksForTheReasonOfAFailedStartInTheLog) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Firmware().Memory().FailFromAllocation(1, host::images::driver);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  Firmware().Memory().StopFailing();
  EXPECT_THAT(Report(), HasSubstr("What to do: look at the last lines of \\TVQ\\log.txt.\n"));
}

TEST_F(AgentRun, RefusesATableOnTheVolumeThatIsNone) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\table.bin", "this is no table");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("What to do: replace it"));
  EXPECT_THAT(Report(), Not(HasSubstr("\nStart:")));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\table.bin is no SMBIOS table\n"));
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
  EXPECT_THAT(Report(), Not(HasSubstr("\nStart:")));
  EXPECT_THAT(Report(), EndsWith(" bytes, and the driver reads at most 65,535\n"));
}

TEST_F(AgentRun, ReportsATableOnTheVolumeThatCannotBeRead) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\table.bin", AsText(MinimalServer().Bytes()));
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR, "\\TVQ\\table.bin");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("\nStart:")));
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: \\TVQ\\table.bin cannot be read: Device Error\n"));
}

TEST_F(AgentRun, ReportsThatThereIsNoRoomForATableBelow4GiB) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  Firmware().FailCall(host::images::agent, host::Service::AllocatePages, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("What to do: put TvqAgent first in the boot order"));
  EXPECT_THAT(Report(), Not(HasSubstr("\nStart:")));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the table cannot be published below 4 GiB: "
                                 "Out of Resources\n"));
}

TEST_F(AgentRun, ReportsFirmwareWithoutATable) {
  LoadDriver();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Records: none"));
  EXPECT_THAT(Report(), Not(HasSubstr("\nStart:")));
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
  EXPECT_THAT(Report(), Not(HasSubstr("TVQSMBIOS.efi is missing")));
  EXPECT_THAT(Report(), Not(HasSubstr("\nTable:")));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: \\TVQ\\TvqPlatform.efi is missing\n"));
  LoadPlatform();
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("installed no start request")));
  EXPECT_THAT(Report(), Not(HasSubstr("\nTable:")));
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
  EXPECT_THAT(Report(), Not(HasSubstr("installed no start request")));
  EXPECT_THAT(Report(), EndsWith("TVQSMBIOS.efi cannot be loaded: Security Violation\n"));
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_ACCESS_DENIED);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("Secure Boot"));
  Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, EFI_LOAD_ERROR);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr("Secure Boot")));
}

// What firmware does with the files of the volume: the machine and what was asked of it.
AgentHarness* gMachine;
std::string gLoadedFile;
EFI_HANDLE gUnloaded;
EFI_STATUS gStartStatus;
EFI_HANDLE gRefused = &gRefused;

EFI_STATUS EFIAPI LoadFile(BOOLEAN isBootManager, EFI_HANDLE parent, EFI_DEVICE_PATH_PROTOCOL* path,
                           VOID* source, UINTN size, EFI_HANDLE* image) {
  EXPECT_EQ(isBootManager, FALSE);
  EXPECT_EQ(parent, gMachine->Firmware().HandleOf(host::images::agent));
  EXPECT_EQ(source, nullptr);
  EXPECT_EQ(size, 0u);
  gLoadedFile = Utf8(reinterpret_cast<FILEPATH_DEVICE_PATH*>(path)->PathName);
  *image = gMachine->Firmware().LoadImage(
      gLoadedFile == "\\TVQ\\TvqPlatform.efi" ? host::images::platform : host::images::driver);
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI RefuseFile(BOOLEAN, EFI_HANDLE, EFI_DEVICE_PATH_PROTOCOL*, VOID*, UINTN,
                             EFI_HANDLE* image) {
  *image = gRefused;
  return EFI_SECURITY_VIOLATION;
}
EFI_STATUS EFIAPI StartFile(EFI_HANDLE image, UINTN* size, CHAR16** data) {
  EXPECT_EQ(size, nullptr);
  EXPECT_EQ(data, nullptr);
  return gStartStatus == EFI_SUCCESS ? gMachine->Firmware().StartImage(image) : gStartStatus;
}
EFI_STATUS EFIAPI UnloadFile(EFI_HANDLE image) {
  gUnloaded = image;
  return EFI_SUCCESS;
}

class AgentThatLoadsTheDriver : public AgentRun {
 protected:
  AgentThatLoadsTheDriver() {
    gMachine = this;
    gUnloaded = nullptr;
    gStartStatus = EFI_SUCCESS;
    PublishFirmwareTable(MinimalServer());
    Files().Put("\\TVQ\\TvqPlatform.efi", "MZ");
    Files().Put("\\TVQ\\TVQSMBIOS.efi", "MZ");
    Services().LoadImage = LoadFile;
    Services().StartImage = StartFile;
  }

  EFI_BOOT_SERVICES& Services() {
    return *Firmware().SystemTableOf(host::images::agent)->BootServices;
  }
};

TEST_F(AgentThatLoadsTheDriver, TakesThePlatformAndTheDriverFromTheVolume) {
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(),
              HasSubstr("\nLoaded \\TVQ\\TvqPlatform.efi\nLoaded \\TVQ\\TVQSMBIOS.efi\n"));
  EXPECT_THAT(Report(), HasSubstr("\nRecords: 3\n"));
  EXPECT_EQ(gLoadedFile, "\\TVQ\\TVQSMBIOS.efi");
}

TEST_F(AgentThatLoadsTheDriver, ReportsOneThatDoesNothing) {
  LoadPlatform();
  gStartStatus = EFI_ALREADY_STARTED;
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nLoaded \\TVQ\\TVQSMBIOS.efi\n"));
  EXPECT_THAT(Report(), Not(HasSubstr("\nTable:")));
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: the driver was loaded, but installed no start "
                       "request\n"));
}

TEST_F(AgentThatLoadsTheDriver, TakesWhatFirmwareRefusedToStartOutOfMemory) {
  LoadPlatform();
  Services().LoadImage = RefuseFile;
  Services().UnloadImage = UnloadFile;
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_EQ(gUnloaded, gRefused);
}

TEST_F(AgentThatLoadsTheDriver, ReportsThatThereIsNoMemoryForItsPath) {
  LoadPlatform();
  Services().LoadImage = RefuseFile;
  Services().UnloadImage = UnloadFile;
  bool isReported = false;
  for (uint64_t n = 1; n < 60 && !isReported; ++n) {
    Firmware().Memory().FailAllocation(n, host::images::agent);
    EXPECT_EQ(RunAgent(), EFI_ABORTED);
    Firmware().Memory().StopFailing();
    EXPECT_THAT(Report(), Not(HasSubstr("Loaded ")));
    isReported =
        Report().find("TVQSMBIOS.efi cannot be loaded: Out of Resources") != std::string::npos;
  }
  EXPECT_TRUE(isReported);
}

TEST_F(AgentRun, ShowsTheRecordsOfADriverThatWasStartedBefore) {
  LoadDriver();
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("was started before"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
  EXPECT_THAT(Report(), HasSubstr("  CPU.Socket.1       SOCKET 1  processor "));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

TEST_F(AgentRun, KnowsTheTableOfRecordsByTheSystemsSerialNumber) {
  const struct {
    Text started;
    Text found;
    bool isTheSame;
  } kCases[] = {{"ABC1234", "ABC1234", true},    {"  ABC1234  ", "ABC1234", true},
                {"ABC1234", " ABC1234", true},   {std::nullopt, std::nullopt, true},
                {"ABC1234", std::nullopt, true}, {"ABC1234", "ZBC1234", false},
                {"ABC1234", "ABC1235", false},   {"ABC12345", "ABC1234", false},
                {"ABC1234", "ABC12345", false},  {"!ABC1234", "ABC1234", false}};
  LoadDriver();
  for (const auto& [started, found, isTheSame] : kCases) {
    const std::string what = started.value_or("none") + " and " + found.value_or("none");
    Files().Remove("\\TVQ\\table.bin");
    PublishFirmwareTable(Table::Of(Bios{}, System{.serial = started}, Processor{}, End{}));
    ASSERT_EQ(RunAgent(u"TvqAgent.efi state=s accept other-machine"), EFI_SUCCESS) << what;
    Files().Put("\\TVQ\\table.bin",
                AsText(Table::Of(Bios{}, System{.serial = found}, Processor{}, End{}).Bytes()));
    EXPECT_EQ(RunAgent(u"TvqAgent.efi state=s other-machine"),
              isTheSame ? EFI_SUCCESS : EFI_ABORTED)
        << what;
    EXPECT_EQ(Report().find("the records are of another machine's table") == std::string::npos,
              isTheSame)
        << what;
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  }
}

TEST_F(AgentRun, ReadsTablesOfUpTo65535Bytes) {
  LoadDriver();
  Files().Put("\\TVQ\\table.bin", TableOfSize(65535));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(" 65535 bytes, from \\TVQ\\table.bin"));
  Files().Put("\\TVQ\\table.bin", TableOfSize(65536));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again as-is"), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("TvqAgent: failed: the table has 65,536 bytes, and the driver "
                                 "reads at most 65,535\n"));
}

TEST_F(AgentRun, LeavesTheLabelsOutWhereTheTableIsNone) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Files().Put("\\TVQ\\table.bin", "this is no table");
  RunAgent();
  EXPECT_THAT(Report(), HasSubstr("  CPU.Socket.1       -      processor "));
}

TEST_F(AgentRun, AsIsStaysSoWhereTheTableIsNone) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_SUCCESS);
  Files().Put("\\TVQ\\table.bin", "this is no table");
  RunAgent(u"TvqAgent.efi as-is");
  RunAgent();
  EXPECT_THAT(Report(), HasSubstr("the state was saved with the table as it is, and this boot is "
                                  "with the table made fit for the driver"));
}

TEST_F(AgentRun, MakesTheColumnOfLabelsAsWideAsTheWidest) {
  LoadDriver();
  for (const auto& [first, second] :
       {std::pair<const char*, const char*>{"A longer one", "DIMM_A2"},
        {"DIMM_A1", "A longer one"}}) {
    PublishFirmwareTable(Table::Of(Bios{}, System{}, MemoryDevice{.locator = first},
                                   MemoryDevice{.locator = second}, End{}));
    ASSERT_EQ(RunAgent(), EFI_SUCCESS);
    EXPECT_THAT(Report(), HasSubstr("  Label         Class          Serial"));
    EXPECT_THAT(Report(), HasSubstr("  A longer one  memory module  "));
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  }
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
  EXPECT_THAT(Report(),
              HasSubstr("\nBlobs: a device without a name gives none (Out of Resources)\n"));
}

TEST_F(AgentRun, NamesTheBlobThatARecordDoesNotGive) {
  LoadPlatform();
  PublishFirmwareTable(MinimalServer());
  const FakeRecord first(Firmware(), {.fqdd = u"A", .missingSlot = TVQ_SLOT_INVENTORY});
  const FakeRecord whole(Firmware(), {.fqdd = u"B"});
  const FakeRecord second(Firmware(), {.fqdd = u"", .missingSlot = TVQ_SLOT_CONFIGURATION});
  const FakeRecord third(Firmware(), {.fqdd = u"DIMM.1", .missingSlot = TVQ_SLOT_END});
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string advice =
      "  What to do: restart the machine and run TvqAgent before anything else; \\TVQ\\log.txt "
      "says "
      "what was missing.\n";
  EXPECT_THAT(Report(), HasSubstr("\nBlobs: A gives no inventory blob\n" + advice +
                                  "Blobs: a device without a name gives no configuration blob\n" +
                                  advice + "Blobs: DIMM.1 gives no end blob\n" + advice));
}

TEST_F(AgentRun, NamesAnUnknownOptionOfOneCharacter) {
  EXPECT_EQ(RunAgent(u"TvqAgent.efi x"), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nOptions: 'x' is not known and ignored ("));
}

TEST_F(AgentRun, SpellsOutWhatIsNotAsciiInWhatChanged) {
  LoadDriver();
  PublishFirmwareTable(Table::Of(Bios{}, System{}, MemoryDevice{.serial = "1A2B3C\xE9"}, End{}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(Table::Of(Bios{}, System{}, MemoryDevice{.serial = "1A2B3C4D"}, End{}));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("1A2B3C\\xE9 -> 1A2B3C4D"));
}

TEST_F(AgentRun, HasNothingToStartWithoutADriver) {
  Firmware().ConstructImage(Firmware().LoadImage(host::images::agent));
  EXPECT_EQ(tvqplatform::StartDriver(), EFI_NOT_READY);
}

// What was asked of the machine when it was to go off.
std::vector<std::pair<EFI_RESET_TYPE, EFI_STATUS>> gResets;
VOID EFIAPI NoteReset(EFI_RESET_TYPE type, EFI_STATUS status, UINTN size, VOID* data) {
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(data, nullptr);
  gResets.emplace_back(type, status);
}

TEST_F(AgentRun, AsksForAShutdownWhenTheMachineIsToGoOff) {
  LoadDriver();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  gResets.clear();
  Firmware().SystemTableOf(host::images::agent)->RuntimeServices->ResetSystem = NoteReset;
  EXPECT_EQ(RunAgent(u"TvqAgent.efi poweroff"), EFI_SUCCESS);
  EXPECT_THAT(gResets, ElementsAre(std::pair(EfiResetShutdown, EFI_SUCCESS)));
}

std::vector<std::string> ProblemsOf(const std::string& report) {
  std::vector<std::string> problems;
  const std::string tag = "Problem: ";
  for (size_t at = report.find(tag); at != std::string::npos; at = report.find(tag, at)) {
    at += tag.size();
    problems.push_back(report.substr(at, report.find_first_of("\r\n", at) - at));
  }
  return problems;
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
  for (const std::string& problem : ProblemsOf(machine.Console())) {
    EXPECT_THAT(problem,
                testing::AnyOf(EndsWith(": Out of Resources."), "the table cannot be conformed.",
                               "the driver's start failed: Not Found."))
        << n;
  }
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
