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

TEST_F(AgentReport, SaysOfEachAttributeThatNobodyAnswers) {
  tvqplatform::ShowAttributes(Lines(), tvqplatform::AttributeAnswers());
  EXPECT_EQ(Text(),
            "Attributes:\n"
            "  zorv.server       SMBIOSServiceTagString  (Not Found)\n"
            "  zorv.server       SMBIOSSystemNameString  (Not Found)\n"
            "  zorv.smbios.bios  SMBIOSBIOSInfo          (Not Found)\n");
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

}  // namespace
}  // namespace tvq::test
