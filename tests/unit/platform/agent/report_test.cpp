/*
 * The agent's report: its lines, and the sections that show the inventory.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <memory>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/attributes.h"
#include "TvqPlatformPkg/src/agent/clock.h"
#include "TvqPlatformPkg/src/agent/report.h"
#include "TvqPlatformPkg/src/agent/show.h"

namespace tvq::test {
namespace {

using tvqplatform::AddLine;

class AgentReport : public AgentTest {
 protected:
  AgentReport() { mReport.UseConsole(false); }

  tvqplatform::Report& Lines() { return mReport; }
  std::string Text() const {
    const tvq::Span<const UINT8> text = mReport.Text();
    return std::string(text.begin(), text.end());
  }
  std::string Console() {
    return std::string(Firmware().ConsoleOutput().begin(), Firmware().ConsoleOutput().end());
  }

 private:
  tvqplatform::Report mReport;
};

// --- Lines ---

TEST_F(AgentReport, EndsEachLineWithALineFeed) {
  AddLine(&Lines(), "%a %d", "one", 1u);
  AddLine(&Lines(), "");
  AddLine(&Lines(), "two");
  EXPECT_EQ(Text(), "one 1\n\ntwo\n");
}

TEST_F(AgentReport, ShowsWhatIsNotPrintableAsAQuestionMark) {
  AddLine(&Lines(), "%a", " ~\x1F\x7F\x80\xFF\t");
  EXPECT_EQ(Text(), " ~?????\n");
}

TEST_F(AgentReport, HoldsLinesOfAnyLength) {
  for (const size_t length : {126u, 127u, 128u, 129u, 1000u, 70000u}) {
    tvqplatform::Report report;
    report.UseConsole(false);
    const std::string line(length, 'x');
    AddLine(&report, "%a", line.c_str());
    EXPECT_EQ(report.Text().Size(), length + 1);
    EXPECT_EQ(report.LostLines(), 0u);
  }
}

TEST_F(AgentReport, KeepsTheEndOfALineWhoseTextsAreWiderThanTheirColumns) {
  AddLine(&Lines(), "%-2a|%2a|%a", "wide", "wide", "end");
  AddLine(&Lines(), "%-2a|", std::string(1000, 'x').c_str());
  EXPECT_EQ(Text(), "wide|wide|end\n" + std::string(1000, 'x') + "|\n");
}

TEST_F(AgentReport, ShowsLinesOfAnyLengthOnTheConsole) {
  std::string expected;
  Lines().UseConsole(true);
  for (const size_t length : {0u, 1u, 126u, 127u, 128u, 254u, 255u, 1000u}) {
    std::string line;
    while (line.size() < length) {
      line.push_back(static_cast<char>('a' + line.size() % 26));
    }
    AddLine(&Lines(), "%a", line.c_str());
    expected += line + "\r\n";
  }
  EXPECT_EQ(Console(), expected);
}

TEST_F(AgentReport, ShowsNothingWithoutAConsole) {
  AddLine(&Lines(), "silent");
  EXPECT_EQ(Console(), "");
  Lines().UseConsole(true);
  EFI_SYSTEM_TABLE* system = Firmware().SystemTableOf(host::images::agent);
  auto* const console = system->ConOut;
  system->ConOut = nullptr;
  AddLine(&Lines(), "no console");
  system->ConOut = console;
  EXPECT_EQ(Console(), "");
  EXPECT_EQ(Text(), "silent\nno console\n");
}

TEST_F(AgentReport, CutsALineThatThereIsNoMemoryToFormat) {
  // Room for the report's own text.
  AddLine(&Lines(), "%a", std::string(1000, '-').c_str());
  const size_t before = Text().size();
  Firmware().Memory().FailAllocation(1, host::images::agent);
  AddLine(&Lines(), "%a", std::string(200, 'x').c_str());
  EXPECT_EQ(Text().substr(before), std::string(127, 'x') + "\n");
  EXPECT_EQ(Lines().LostLines(), 1u);
}

TEST_F(AgentReport, CountsALineThatThereIsNoMemoryToKeep) {
  Firmware().Memory().FailAllocation(2, host::images::agent);
  AddLine(&Lines(), "lost");
  EXPECT_EQ(Text(), "");
  EXPECT_EQ(Lines().LostLines(), 1u);
}

TEST_F(AgentReport, HasEachLineToItsEndOrCountsItForWantOfMemory) {
  bool hasFailed = true;
  uint64_t n = 0;
  while (hasFailed) {
    const uint64_t before = Firmware().Memory().FailedAllocations();
    tvqplatform::Report report;
    report.UseConsole(false);
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    for (const size_t length : {3u, 300u, 5u, 700u}) {
      AddLine(&report, "%a", std::string(length, 'x').c_str());
    }
    Firmware().Memory().StopFailing();
    hasFailed = Firmware().Memory().FailedAllocations() != before;
    EXPECT_EQ(report.LostLines(), hasFailed ? 1u : 0u) << n;
    std::string lines;
    report.ForEachLine([&](const CHAR8* text, UINTN length, tvqplatform::Topic) {
      lines += std::string(text, length) + "\n";
    });
    EXPECT_EQ(std::string(report.Text().begin(), report.Text().end()), lines) << n;
    EXPECT_EQ(lines.find_first_not_of("x\n"), std::string::npos) << n;
  }
  EXPECT_GT(n, 10u);
}

TEST_F(AgentReport, KeepsAllLinesWhereThereAreNoMore) {
  struct Shortened : tvqplatform::Report {
    using Report::Keep;
  };
  Shortened report;
  report.UseConsole(false);
  AddLine(&report, "one");
  AddLine(&report, "two");
  report.Keep(0);
  EXPECT_EQ(report.Text().Size(), 0u);
  AddLine(&report, "a longer line");
  report.Keep(1);
  EXPECT_EQ(std::string(report.Text().begin(), report.Text().end()), "a longer line\n");
}

TEST_F(AgentReport, LeavesNoMemoryBehind) {
  const size_t before = AgentBlocks();
  {
    tvqplatform::Report report;
    AddLine(&report, "line");
    EXPECT_EQ(AgentBlocks(), before + 2) << "its text, and where its lines are";
  }
  EXPECT_EQ(AgentBlocks(), before);
}

// --- The inventory ---

class AgentReportOfDevices : public AgentReport {
 protected:
  std::string TextOf(const std::vector<FakeDevice>& devices) {
    std::vector<std::unique_ptr<FakeRecord>> records;
    for (const FakeDevice& device : devices) {
      records.push_back(std::make_unique<FakeRecord>(Firmware(), device));
    }
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    tvqplatform::ShowInventory(Lines(), inventory, tvqplatform::DeviceLabels());
    return Text();
  }
};

TEST_F(AgentReportOfDevices, SaysThatThereIsNone) {
  EXPECT_EQ(TextOf({}), "Records: none\n");
}

TEST_F(AgentReportOfDevices, HasTheirTextsIdentitiesAndSizes) {
  const FakeDevice module = {.fqdd = u"DIMM.Socket.A1",
                             .serial = "11223344",
                             .document = "<a/>",
                             .name = u"DIMM A1",
                             .marketingName = "Sixteen"};
  const FakeDevice processor = {
      .fqdd = u"CPU.Socket.1", .componentClass = TVQ_CLASS_CPU, .name = u"CPU 1"};
  const FakeDevice system = {
      .fqdd = u"System.Embedded.1", .componentClass = TVQ_CLASS_SYSTEM, .name = u"System"};
  EXPECT_EQ(
      TextOf({module, processor, system}),
      "Records: 3\n"
      "  FQDD               Label  Class          Serial          Marketing name\n"
      "  DIMM.Socket.A1     -      memory module  11223344        Sixteen\n"
      "  CPU.Socket.1       -      processor      -               -\n"
      "  System.Embedded.1  -      system         -               -\n"
      "\n"
      "Identities, and the sizes of the inventory, configuration and end blobs:\n"
      "  DIMM.Socket.A1     00000002 00000006 000000DC EDCC0004 00000000     143     85    148\n"
      "  CPU.Socket.1       00000002 00000005 000000DC EDCC0004 00000000     128     97    148\n"
      "  System.Embedded.1  00000002 00000010 000000DC EDCC0004 00000000     128     97    148\n");
}

TEST_F(AgentReportOfDevices, HasDashesForWhatIsMissing) {
  const FakeDevice nameless = {.fqdd = u"", .componentClass = 7, .name = u""};
  const FakeDevice silent = {.identityStatus = EFI_UNSUPPORTED,
                             .getStatus = EFI_OUT_OF_RESOURCES,
                             .nameStatus = EFI_UNSUPPORTED};
  EXPECT_EQ(TextOf({nameless, silent}),
            "Records: 2\n"
            "  FQDD  Label  Class          Serial          Marketing name\n"
            "  -     -      not known      -               -\n"
            "  -     -      not known      -               -\n"
            "\n"
            "Identities, and the sizes of the inventory, configuration and end blobs:\n"
            "  -     00000002 00000007 000000DC EDCC0004 00000000     128     97    148\n"
            "  -     Unsupported\n");
}

TEST_F(AgentReportOfDevices, CutsSerialNumbersAndMarketingNames) {
  EXPECT_EQ(
      TextOf({{.serial = std::string(15, '1') + '2', .marketingName = std::string(63, 'x') + 'y'}}),
      "Records: 1\n"
      "  FQDD            Label  Class          Serial          Marketing name\n"
      "  DIMM.Socket.A1  -      memory module  111111111111111  " +
          std::string(63, 'x') +
          "\n\n"
          "Identities, and the sizes of the inventory, configuration and end blobs:\n"
          "  DIMM.Socket.A1  00000002 00000006 000000DC EDCC0004 00000000     208     97    148\n");
}

TEST_F(AgentReportOfDevices, ShowsWhatNoSerialNumberHasAsAQuestionMark) {
  EXPECT_THAT(TextOf({{.serial = "11\x01\x02"
                                 "22"}}),
              testing::HasSubstr("  11??22  "));
}

TEST_F(AgentReportOfDevices, HasOnesOfWhichTheProtocolIsMissing) {
  EFI_HANDLE handle = nullptr;
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  ASSERT_EQ(services->InstallProtocolInterface(&handle, &gTvqInventoryProtocolGuid,
                                               EFI_NATIVE_INTERFACE, nullptr),
            EFI_SUCCESS);
  EXPECT_THAT(TextOf({}), testing::EndsWith("  -     Not Found\n"));
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  EXPECT_EQ(inventory[0].GetStatus, EFI_NOT_FOUND);
}

TEST_F(AgentReportOfDevices, GivesBackWhatTheyAnswered) {
  const FakeRecord record(Firmware(), {});
  const size_t before = Firmware().Memory().LiveCount(host::Owner::Host());
  {
    tvqplatform::Inventory inventory;
    ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
    EXPECT_EQ(Firmware().Memory().LiveCount(host::Owner::Host()), before + 6)
        << "its name, its FQDD, three blobs and where these are";
  }
  EXPECT_EQ(Firmware().Memory().LiveCount(host::Owner::Host()), before);
}

TEST_F(AgentReportOfDevices, KeepsNothingOfAnIdentityThatWasRefused) {
  const FakeRecord record(Firmware(), {.identityStatus = EFI_UNSUPPORTED});
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  const auto* identity = reinterpret_cast<const UINT8*>(&inventory[0].Identity);
  EXPECT_EQ(Bytes(identity, identity + sizeof(TVQ_IDENTITY)), Bytes(sizeof(TVQ_IDENTITY)));
}

TEST_F(AgentReportOfDevices, ReportsThatThereIsNoMemoryToCollectThem) {
  const FakeRecord record(Firmware(), {});
  uint64_t n = 0;
  EFI_STATUS status = EFI_OUT_OF_RESOURCES;
  while (status != EFI_SUCCESS && n < 10) {
    tvqplatform::Inventory inventory;
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    status = inventory.Collect();
    Firmware().Memory().StopFailing();
    EXPECT_EQ(inventory.Size(), status == EFI_SUCCESS ? 1u : 0u) << n;
    EXPECT_THAT(status, testing::AnyOf(EFI_SUCCESS, EFI_OUT_OF_RESOURCES)) << n;
  }
  EXPECT_GT(n, 1u);
}

// The path of a record, but for what a test makes of it.
class AgentInventoryPaths : public AgentReport {
 protected:
  static constexpr UINT8 kNodeLength = OFFSET_OF(TVQ_DEVICE_PATH, End);

  // Whether a record with this node in front of its end counts as one of the driver's.
  bool IsTaken(UINT8 type, UINT8 subType, UINT8 low, UINT8 high, Bytes* path = nullptr) {
    std::vector<UINT8> bytes(sizeof(TVQ_DEVICE_PATH) + 0x120);
    for (size_t i = 4; i < kNodeLength; ++i) {
      bytes[i] = static_cast<UINT8>(i);
    }
    const Bytes node = {type, subType, low, high};
    std::copy(node.begin(), node.end(), bytes.begin());
    const Bytes end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, 4, 0};
    std::copy(end.begin(), end.end(), bytes.begin() + (low | high << 8));
    EFI_HANDLE handle = nullptr;
    TVQ_INVENTORY_PROTOCOL protocol = {RefuseIdentity, RefuseGet, nullptr, nullptr};
    EFI_BOOT_SERVICES* const services = Firmware().BootServices();
    EXPECT_EQ(services->InstallMultipleProtocolInterfaces(&handle, &gTvqInventoryProtocolGuid,
                                                          &protocol, &gEfiDevicePathProtocolGuid,
                                                          bytes.data(), nullptr),
              EFI_SUCCESS);
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    EXPECT_EQ(inventory.Size(), 1u);
    if (path != nullptr) {
      *path = Bytes(std::begin(inventory[0].DevicePath), std::end(inventory[0].DevicePath));
      EXPECT_EQ(*path, Bytes(bytes.begin(), bytes.begin() + sizeof(TVQ_DEVICE_PATH)));
    }
    EXPECT_EQ(services->UninstallMultipleProtocolInterfaces(handle, &gTvqInventoryProtocolGuid,
                                                            &protocol, &gEfiDevicePathProtocolGuid,
                                                            bytes.data(), nullptr),
              EFI_SUCCESS);
    return inventory[0].HasDevicePath;
  }

 private:
  static EFI_STATUS EFIAPI RefuseIdentity(TVQ_INVENTORY_PROTOCOL*, TVQ_IDENTITY*) {
    return EFI_UNSUPPORTED;
  }
  static EFI_STATUS EFIAPI RefuseGet(TVQ_INVENTORY_PROTOCOL*, TVQ_REQUEST*, TVQ_DATA*) {
    return EFI_UNSUPPORTED;
  }
};

TEST_F(AgentInventoryPaths, AreThoseOfTheDriverAlone) {
  Bytes path;
  EXPECT_TRUE(IsTaken(HARDWARE_DEVICE_PATH, HW_VENDOR_DP, kNodeLength, 0, &path));
  EXPECT_FALSE(IsTaken(MESSAGING_DEVICE_PATH, HW_VENDOR_DP, kNodeLength, 0));
  EXPECT_FALSE(IsTaken(HARDWARE_DEVICE_PATH, HW_MEMMAP_DP, kNodeLength, 0));
  EXPECT_FALSE(IsTaken(HARDWARE_DEVICE_PATH, HW_VENDOR_DP, kNodeLength + 1, 0));
  EXPECT_FALSE(IsTaken(HARDWARE_DEVICE_PATH, HW_VENDOR_DP, kNodeLength, 1));
}

// --- The log ---

// A platform whose log a test wrote.
struct FakeLog {
  TVQ_PLATFORM_PROTOCOL platform;
  std::vector<std::u16string> lines;
  UINTN lost;
};

class AgentLog : public AgentReport {
 protected:
  std::string TextOf(const std::vector<std::u16string>& lines, UINTN lost = 0) {
    FakeLog log = {};
    log.lines = lines;
    log.lost = lost;
    log.platform.GetLogLine = GetLine;
    log.platform.CountLostLines = CountLost;
    tvqplatform::WriteLog(Lines(), log.platform);
    return Text();
  }

 private:
  static EFI_STATUS EFIAPI GetLine(TVQ_PLATFORM_PROTOCOL* self, UINTN number, TVQ_LOG_LINE* line) {
    const FakeLog& log = *reinterpret_cast<FakeLog*>(self);
    if (number >= log.lines.size()) {
      return EFI_NOT_FOUND;
    }
    line->Level = 0x40;
    line->FunctionName = "Make";
    line->Text = Wide(log.lines[number].c_str());
    return EFI_SUCCESS;
  }
  static UINTN EFIAPI CountLost(TVQ_PLATFORM_PROTOCOL* self) {
    return reinterpret_cast<FakeLog*>(self)->lost;
  }
};

TEST_F(AgentLog, HasALineForEachWithoutItsLineFeed) {
  EXPECT_EQ(TextOf({u"ended\n", u"not ended", u"\n", u"", u"x", u"two\nlines\n"}),
            "0x00000040 Make                 ended\n"
            "0x00000040 Make                 not ended\n"
            "0x00000040 Make                 \n"
            "0x00000040 Make                 \n"
            "0x00000040 Make                 x\n"
            "0x00000040 Make                 two?lines\n");
}

TEST_F(AgentLog, SaysHowManyLinesWereLost) {
  EXPECT_EQ(TextOf({}, 1), "1 lines were lost, because there was no memory for them\n");
}

TEST_F(AgentReport, SaysOfEachAttributeThatNobodyAnswers) {
  tvqplatform::ShowAttributes(Lines(), tvqplatform::AttributeAnswers());
  EXPECT_EQ(Text(),
            "Attributes:\n"
            "  zorv.server       SMBIOSServiceTagString  (Not Found)\n"
            "  zorv.server       SMBIOSSystemNameString  (Not Found)\n"
            "  zorv.smbios.bios  SMBIOSBIOSInfo          (Not Found)\n");
}

// Answers every question with a block of its own.
EFI_STATUS EFIAPI AnswerWithABlock(TVQ_PLATFORM_PROTOCOL*, CHAR16*, CHAR16*, UINT64* value) {
  VOID* block = nullptr;
  EXPECT_EQ(gBS->AllocatePool(EfiBootServicesData, 64, &block), EFI_SUCCESS);
  *value = reinterpret_cast<UINTN>(block);
  return EFI_SUCCESS;
}

TEST_F(AgentReport, GivesBackWhatAttributesAreAnsweredWith) {
  gBS = Firmware().BootServices();
  TVQ_PLATFORM_PROTOCOL platform = {};
  platform.GetAttribute = AnswerWithABlock;
  EFI_HANDLE handle = nullptr;
  ASSERT_EQ(gBS->InstallProtocolInterface(&handle, &gTvqPlatformProtocolGuid, EFI_NATIVE_INTERFACE,
                                          &platform),
            EFI_SUCCESS);
  const size_t before = Firmware().Memory().LiveCount(host::Owner::Host());
  {
    const tvqplatform::AttributeAnswers answers;
    EXPECT_EQ(Firmware().Memory().LiveCount(host::Owner::Host()), before + 3);
  }
  EXPECT_EQ(Firmware().Memory().LiveCount(host::Owner::Host()), before);
}

// --- Time ---

TEST_F(AgentReport, TurnsTicksToMicroseconds) {
  const struct {
    UINT64 ticks;
    UINT64 ticksPerSecond;
    UINT64 microseconds;
  } kCases[] = {
      {0, 1000, 0},          {1, 1000, 1000}, {3000000000, 3000000000, 1000000},
      {2999, 1000000000, 2}, {7, 0, 0},       {0, 0, 0},
      {1, 1000000, 1},       {1, 1000001, 0}, {1, 1, 1000000},
  };
  for (const auto& [ticks, ticksPerSecond, microseconds] : kCases) {
    EXPECT_EQ(tvqplatform::TicksToMicroseconds(ticks, ticksPerSecond), microseconds)
        << ticks << " at " << ticksPerSecond;
  }
}

TEST_F(AgentReport, ShowsMicrosecondsAsMilliseconds) {
  const struct {
    UINT64 microseconds;
    const char* text;
  } kCases[] = {{0, "0.000"},          {7, "0.007"},
                {999, "0.999"},        {1000, "1.000"},
                {1001, "1.001"},       {998999, "998.999"},
                {1001000, "1001.000"}, {MAX_UINT64, "18446744073709551.615"}};
  for (const auto& [microseconds, expected] : kCases) {
    char text[tvqplatform::kMillisecondsSize];
    tvqplatform::FormatMilliseconds(microseconds, text);
    EXPECT_STREQ(text, expected);
  }
}

// How long was to be waited, and how many ticks that took.
UINTN gStalled;
UINT64 gTicksStalled;
EFI_STATUS EFIAPI StallByTicks(UINTN microseconds) {
  gStalled = microseconds;
  const UINT64 start = tvqplatform::ReadTicks();
  do {
    gTicksStalled = tvqplatform::ReadTicks() - start;
  } while (gTicksStalled < 20000000);
  return EFI_SUCCESS;
}

TEST_F(AgentReport, MeasuresTheProcessorsClockAgainstTheFirmwares) {
  Firmware().SystemTableOf(host::images::agent)->BootServices->Stall = StallByTicks;
  const UINT64 before = tvqplatform::ReadTicks();
  const UINT64 rate = tvqplatform::TicksPerSecond();
  EXPECT_EQ(gStalled, 10000u);
  EXPECT_GE(rate, 100 * gTicksStalled);
  EXPECT_LE(rate, 100 * (tvqplatform::ReadTicks() - before));
}

}  // namespace
}  // namespace tvq::test
