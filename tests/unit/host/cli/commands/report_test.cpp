/*
 * `tvq report`: what the page says, masked unless somebody asks for more.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>

#include "host/cli/redact/mask.h"
#include "tests/unit/host/cli/report/page_outline.h"
#include "tests/unit/host/cli/server.h"
#include "tests/unit/host/cli/state_bytes.h"
#include "tests/unit/host/lint/lint_fixture.h"

namespace tvq::cli {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class CliReport : public CliTest {
 protected:
  std::string TableFile(const std::string& name, const Server& server) {
    return Write(name, TableOf(server).Bytes());
  }
  // The page, on standard output.
  Outcome Report(const Server& server, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"report", TableFile("table.bin", server), "-o", "-"});
    return RunTvq(more);
  }
};

TEST_F(CliReport, ShowsTheMachineAndItsPartsByTheirLabels) {
  const Outcome page = Report({});
  EXPECT_THAT(page.out, AllOf(HasSubstr("<h1>Rack One</h1>"), HasSubstr("id=\"at-module-1\""),
                              HasSubstr("href=\"#module-1\">DIMM_A1</a>"), HasSubstr("16 GB"),
                              HasSubstr("DIMM.Socket.A2")));
}

TEST_F(CliReport, MasksSerialNumbersUnlessTheyAreAskedFor) {
  EXPECT_THAT(Report({}).out, AllOf(Not(HasSubstr("11223344")), Not(HasSubstr("ABC1234")),
                                    HasSubstr("are masked")));
  EXPECT_THAT(Report({}, {"--show-serials"}).out,
              AllOf(HasSubstr("11223344"), HasSubstr("ABC1234"), Not(HasSubstr("are masked"))));
}

TEST_F(CliReport, MarksWhatChangedWhereItSits) {
  Server before;
  before.modules[1].serial = "99AABBCC";
  const std::string earlier = TableFile("before.bin", before);
  const Outcome page = Report({}, {"--against", earlier});
  EXPECT_EQ(page.status, 1);
  EXPECT_THAT(
      page.out,
      AllOf(HasSubstr(">DIMM_A2</a>"), HasSubstr("<a class=\"badge changed\" href=\"#change-"),
            HasSubstr(">replaced</a>"),
            HasSubstr("accept it if it was exchanged on purpose, else find out by whom"),
            Not(HasSubstr("99AABBCC")), Not(HasSubstr("55667788"))));
  EXPECT_THAT(Report({}, {"--against", earlier, "--show-serials"}).out,
              AllOf(HasSubstr("<td>99AABBCC</td>"), HasSubstr("<td>55667788</td>")));
}

TEST_F(CliReport, ComparesWithASavedStateToo) {
  ASSERT_EQ(RunTvq({"save", Path("state"), "--from-dump", TableFile("before.bin", {})}).status, 0);
  Server after;
  after.modules.pop_back();
  EXPECT_THAT(Report(after, {"--against", Path("state")}).out, HasSubstr(">gone</"));
  Write("state/state-1.bin", WithoutTable(Read("state/state-1.bin")));
  EXPECT_THAT(Report(after, {"--against", Path("state")}).out,
              AllOf(HasSubstr(">gone</"), Not(HasSubstr("#structure-1"))));
}

TEST_F(CliReport, ComparesMasksWithARedactedState) {
  const std::vector<std::string> redact = {"--redact", "--redact-key", "a test's key"};
  const Masker masker("a test's key");
  ASSERT_EQ(RunTvq({"save", Path("state"), "--from-dump", TableFile("before.bin", {}), redact[0],
                    redact[1], redact[2]})
                .status,
            0);
  std::vector<std::string> against = redact;
  against.insert(against.end(), {"--against", Path("state")});
  EXPECT_THAT(Report({}, against).out, HasSubstr("<span class=\"badge fine\">unchanged</span>"));
  Server after;
  after.modules[1].serial = "99AABBCC";
  EXPECT_THAT(
      Report(after, against).out,
      AllOf(HasSubstr(">replaced</a>"), HasSubstr("<td>" + masker.Mask("55667788") + "</td>"),
            HasSubstr("<td>" + masker.Mask("99AABBCC") + "</td>")));
}

TEST_F(CliReport, EndsWithOneForWhatIsToBeLookedAt) {
  const std::string sound = Write("sound.bin", lint::Dump(lint::SoundWith("")));
  const std::string more =
      Write("more.bin", lint::Dump(lint::SoundWith("[oem-strings]\nstring = \"new\"\n")));
  EXPECT_EQ(RunTvq({"report", sound, "-o", "-"}).status, 0);
  EXPECT_EQ(RunTvq({"report", sound, "--against", sound, "-o", "-"}).status, 0);
  EXPECT_EQ(RunTvq({"report", more, "-o", "-"}).status, 0);
  EXPECT_EQ(RunTvq({"report", more, "--against", sound, "-o", "-"}).status, 1) << "it changed";
  EXPECT_EQ(Report({}).status, 1) << "the rules find something";
}

// Parts of which no document of the driver tells, or only that of the whole system.
struct Around {
  std::string assetTag = "BOARD-ASSET-1";
  uint8_t usage = 4;
  std::string moduleTag = "MODULE-TAG-1";
};

test::Table TableWith(const Around& around) {
  return test::Table::Of(
      test::Bios{}, test::System{}, test::BaseBoard{.handle = 0x200, .assetTag = around.assetTag},
      test::Processor{}, test::MemoryDevice{.handle = 0x1100, .assetTag = around.moduleTag},
      test::Slot{.handle = 0x900, .usage = around.usage}, test::End{});
}

class CliReportOfStructures : public CliReport {
 protected:
  CliReportOfStructures() { Write("before.bin", TableWith(Around{}).Bytes()); }
  Outcome ReportChange(const Around& after, std::vector<std::string> more = {"--show-serials"}) {
    Write("after.bin", TableWith(after).Bytes());
    more.insert(more.begin(),
                {"report", Path("after.bin"), "--against", Path("before.bin"), "-o", "-"});
    return RunTvq(more);
  }
  // What stands in the box of the slot.
  static std::string SlotBox(const Outcome& page) {
    const std::size_t start = page.out.find("<li id=\"at-slot-1\"");
    return page.out.substr(start, page.out.find("</li>", start) - start);
  }
};

TEST_F(CliReportOfStructures, MarksASlotThatIsInUseNoMore) {
  const Outcome page = ReportChange({.usage = 3});
  EXPECT_THAT(SlotBox(page),
              HasSubstr("<a class=\"badge changed\" href=\"#structure-1\">changed</a>"));
  EXPECT_THAT(page.out,
              HasSubstr("<th scope=\"row\">Usage</th>\n<td>In Use</td>\n<td>Available</td>"));
  EXPECT_THAT(SlotBox(ReportChange({})), Not(HasSubstr("changed")));
}

TEST_F(CliReportOfStructures, TellsOfATagThatNoDocumentHas) {
  const Outcome page = ReportChange({.assetTag = "BOARD-ASSET-2"});
  EXPECT_EQ(page.status, 1);
  EXPECT_THAT(page.out, AllOf(HasSubstr("href=\"#structure-1\">Main Tray: asset-tag</a>"),
                              HasSubstr("<td>BOARD-ASSET-1</td>\n<td>BOARD-ASSET-2</td>")));
  EXPECT_THAT(ReportChange({.assetTag = "BOARD-ASSET-2"}, {}).out,
              AllOf(HasSubstr("Main Tray: asset-tag"), Not(HasSubstr("BOARD-ASSET"))));
}

TEST_F(CliReportOfStructures, SaysThatNothingChanged) {
  EXPECT_THAT(ReportChange({}).out, HasSubstr("<span class=\"badge fine\">unchanged</span>"));
  EXPECT_THAT(ReportChange({.usage = 3}).out, Not(HasSubstr("unchanged")));
}

TEST_F(CliReport, TellsAPowerSupplyThatWasExchangedByItself) {
  const auto write = [this](const std::string& name, const std::string& serial) {
    const std::string source =
        "[bios]\n[system]\nproduct = \"Rack One\"\nserial = \"ABC1234\"\n"
        "[power-supply 0x2700]\nlocation = \"PSU Bay 1\"\nserial = \"" +
        serial +
        "\"\n[power-supply 0x2701]\nlocation = \"PSU Bay 2\"\nserial = \"PSU-OTHER\"\n[end]\n";
    EXPECT_EQ(RunTvq({"mktable", "-", "-o", Path(name)}, source).status, 0);
    return Path(name);
  };
  const std::string before = write("before.bin", "PSU-OLD-1");
  const std::string after = write("after.bin", "PSU-NEW-2");
  EXPECT_THAT(RunTvq({"report", after, "--against", before, "-o", "-"}).out,
              AllOf(HasSubstr("<span>PSU Bay 1</span>\n<a class=\"badge changed\" "
                              "href=\"#structure-1\">replaced</a>"),
                    HasSubstr("System.Embedded.1 (a power supply&#39;s serial number): ")));
}

TEST_F(CliReport, SaysThatTwoMachinesWereCompared) {
  const std::string other =
      Write("other.bin",
            test::Table::Of(test::Bios{},
                            test::System{.serial = "OTHER-77", .uuid = test::Bytes(16, 0x77)},
                            test::BaseBoard{.serial = "OTHER-78"}, test::Processor{}, test::End{})
                .Bytes());
  EXPECT_THAT(Report({}, {"--against", other}).out,
              AllOf(HasSubstr("<span>these are two machines.</span>"), Not(HasSubstr("OTHER-77"))));
}

TEST_F(CliReport, OfAFirmwareUpdateDoesNotSayThatNothingChanged) {
  const auto table = [](const char* version) {
    return test::Table::Of(test::Bios{.version = version}, test::System{}, test::Processor{},
                           test::End{})
        .Bytes();
  };
  const std::string before = Write("before.bin", table("1.0"));
  const std::string after = Write("after.bin", table("2.0"));
  EXPECT_THAT(RunTvq({"report", after, "--against", before, "-o", "-"}).out,
              AllOf(HasSubstr(">firmware update</span>"), Not(HasSubstr(">unchanged<")),
                    HasSubstr(">nothing to do</span>")));
}

TEST_F(CliReport, JoinsFindingsOfOneRuleAndSaysWhatEachIsAbout) {
  const test::Table table = test::Table::Of(
      test::Bios{}, test::System{.handle = 0x100},
      test::BaseBoard{.handle = 0x200, .chassisHandle = 0x100}, test::Processor{.handle = 0x400},
      test::MemoryDevice{.handle = 0x1100, .arrayHandle = 0x400}, test::End{});
  const Outcome page = RunTvq({"report", Write("table.bin", table.Bytes()), "-o", "-"});
  const std::string rule = "A field refers to a structure of another type than it should.";
  EXPECT_THAT(page.out,
              AllOf(HasSubstr(">" + rule + " (2 times)</a>"), Not(HasSubstr(">" + rule + "</a>")),
                    HasSubstr("<span>" + rule + "</span>\n<span class=\"part\">Main Tray</span>"),
                    HasSubstr("<span>" + rule + "</span>\n<span class=\"part\">DIMM_A1</span>")));
}

TEST_F(CliReport, SaysWhatBecomesOfTheTableAsItIs) {
  Server clash;
  clash.modules = {{"SLOT 1", "11223344"}, {"SLOT 1", "55667788"}};
  const Outcome page = Report(clash);
  EXPECT_THAT(page.out, AllOf(HasSubstr("This is of a copy of the table"),
                              HasSubstr("<p>The table as it is: Start: Not Found; 0 records")));
  EXPECT_THAT(Report(clash, {"--as-is"}).out, Not(HasSubstr("This is of a copy")));
}

TEST_F(CliReport, TellsPartsWithOneLabelApart) {
  Server twins;
  twins.modules = {{"SLOT 1", "11223344"}, {"SLOT 1", "55667788"}};
  const std::string page = Report(twins).out;
  EXPECT_THAT(page, AllOf(HasSubstr(">SLOT 1 (DIMM."), Not(HasSubstr(">SLOT 1</a>"))));
}

TEST_F(CliReport, TellsEmptySlotsWithOneLabelApartByTheirBanks) {
  const auto slot = [](uint16_t handle, const char* bank) {
    return test::MemoryDevice{
        .handle = handle, .size = 0, .locator = "SLOT 1", .bankLocator = bank, .serial = "NO DIMM"};
  };
  const test::Table table =
      test::Table::Of(test::Bios{}, test::System{}, slot(0x1100, "BANK 0"), slot(0x1101, "BANK 1"),
                      slot(0x1102, "BANK 2"), slot(0x1103, "BANK 2"), test::End{});
  EXPECT_THAT(RunTvq({"report", Write("table.bin", table.Bytes()), "-o", "-"}).out,
              AllOf(HasSubstr(">SLOT 1 (BANK 0)</a>"), HasSubstr(">SLOT 1 (BANK 1)</a>"),
                    HasSubstr(">SLOT 1 (0x1102)</a>"), HasSubstr(">SLOT 1 (0x1103)</a>")));
}

TEST_F(CliReport, CallsStandardInputByItsName) {
  const std::string table = TableFile("table.bin", {});
  const test::Bytes bytes = Read("table.bin");
  const Outcome page = RunTvq({"report", table, "--against", "-", "-o", "-"},
                              std::string(bytes.begin(), bytes.end()));
  EXPECT_THAT(page.out, HasSubstr("Since standard input: "));
  const Outcome now = RunTvq({"report", "-", "--against", table, "-o", "-"},
                             std::string(bytes.begin(), bytes.end()));
  EXPECT_THAT(now.out, HasSubstr("<span class=\"badge fine\">unchanged</span>"));
  const Outcome twice = RunTvq({"report", "-", "--against", "-", "-o", "-"});
  EXPECT_EQ(twice.status, 2);
  EXPECT_THAT(twice.diagnostics, HasSubstr("'-' is given twice"));
}

TEST_F(CliReport, SaysEachWarningOnce) {
  const std::string table = Write("table.bin", test::Table::Of(test::System{}).Bytes());
  const std::string said = RunTvq({"report", table, "-o", "-"}).diagnostics;
  std::istringstream lines(said);
  std::set<std::string> seen;
  for (std::string line; std::getline(lines, line);) {
    EXPECT_TRUE(seen.insert(line).second) << said;
  }
  EXPECT_THAT(said, HasSubstr("tvq: warning: "));
}

TEST_F(CliReport, OfARedactedStateSaysSoAlsoWithItsNumbers) {
  ASSERT_EQ(RunTvq({"save", Path("state"), "--from-dump", TableFile("table.bin", {}), "--redact",
                    "--redact-key", "key"})
                .status,
            0);
  const Outcome page = RunTvq({"report", Path("state"), "--show-serials", "-o", "-"});
  EXPECT_THAT(page.out, AllOf(HasSubstr("are masked"), HasSubstr("The state was saved so"),
                              Not(HasSubstr("as they are."))));
}

TEST_F(CliReport, WarnsOfNoOptionThatNobodyGave) {
  test::Bytes bytes = TableOf(Server{}).Bytes();
  bytes.insert(bytes.end(), 20, 0x41);
  const Outcome page = RunTvq({"report", Write("more.bin", bytes), "-o", "-"});
  EXPECT_THAT(page.diagnostics, AllOf(HasSubstr("is blanked"), Not(HasSubstr("--redact"))));
}

TEST_F(CliReport, SaysByWhichRulesItLooks) {
  EXPECT_THAT(RunTvq({"report", "--help"}).out, HasSubstr("--profile all"));
}

TEST_F(CliReport, WritesItsFileAndFollowsNoLink) {
  const std::string table = TableFile("table.bin", {});
  EXPECT_EQ(RunTvq({"report", table, "-o", Path("page.html")}).out, "");
  const test::Bytes page = Read("page.html");
  EXPECT_THAT(std::string(page.begin(), page.end()), HasSubstr("<h1>Rack One</h1>"));
  std::filesystem::create_directory_symlink(Path("."), Path("link"));
  const Outcome refused = RunTvq({"report", table, "-o", Path("link/page.html")});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("symbolic link"));
}

TEST_F(CliReport, IsNotForATerminal) {
  const Outcome refused = RunTvq({"report", TableFile("table.bin", {})});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("-o report.html"));
  EXPECT_THAT(RunTvq({"report", Path("table.bin")}, "", {80, false, false, true}).out,
              HasSubstr("<h1>Rack One</h1>"));
}

TEST_F(CliReport, HasALineOfJsonBesideThePage) {
  test::System system;
  system.product = "K\xE4st One";
  const std::string table = Write(
      "table.bin", test::Table::Of(test::Bios{}, system, test::Processor{}, test::End{}).Bytes());
  const Outcome alone = RunTvq({"report", table, "--ndjson", "-o", Path("page.html")});
  const auto json = alone.Json();
  EXPECT_EQ(json["file"], table);
  EXPECT_EQ(json["page"], Path("page.html"));
  EXPECT_EQ(json["changes"], nullptr);
  EXPECT_EQ(std::count(alone.out.begin(), alone.out.end(), '\n'), 1);
  EXPECT_THAT(alone.out, AllOf(HasSubstr("K\xC3\xA4st One"), EndsWith("}\n")));
  const auto compared =
      RunTvq({"report", table, "--against", table, "--ndjson", "-o", Path("page.html")}).Json();
  EXPECT_EQ(compared["changes"], 0);
}

// The working folder, as long as this lives.
class Within {
 public:
  explicit Within(const std::string& folder) : mBefore(std::filesystem::current_path()) {
    std::filesystem::current_path(folder);
  }
  Within(const Within&) = delete;
  Within& operator=(const Within&) = delete;
  ~Within() { std::filesystem::current_path(mBefore); }

 private:
  std::filesystem::path mBefore;
};

// What would be written beside the pages stays in the folder of the test.
class CliReports : public CliReport {
 protected:
  CliReports() : mWithin(Path("")) {}

  std::string Text(const std::string& name) const {
    const test::Bytes bytes = Read(name);
    return {bytes.begin(), bytes.end()};
  }
  Outcome ReportAll(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "report");
    arguments.insert(arguments.end(), {"-o", Path("pages")});
    return RunTvq(arguments);
  }

 private:
  Within mWithin;
};

TEST_F(CliReports, AreAPageForEachTableAndAnIndex) {
  const std::string one = TableFile("one.bin", {});
  const std::string two = TableFile("two.bin", {});
  const Outcome made = ReportAll({one, two});
  EXPECT_EQ(made.status, 1);
  EXPECT_EQ(made.out, "");
  EXPECT_THAT(Text("pages/one.html"), HasSubstr("<h1>Rack One</h1>"));
  EXPECT_THAT(Text("pages/index.html"),
              AllOf(HasSubstr("<a href=\"one.html\">"), HasSubstr("<a href=\"two.html\">"),
                    HasSubstr("Serial numbers are masked."), Not(HasSubstr(">Changes</th>"))));
  ReportAll({one, two, "--show-serials", "--against", one});
  EXPECT_THAT(Text("pages/index.html"),
              AllOf(HasSubstr("Serial numbers are as they are."), HasSubstr(">Changes</th>")));
}

TEST_F(CliReports, HaveNoNameThatGivesANumberAway) {
  ReportAll({TableFile("ABC1234.bin", {}), TableFile("rack.bin", {})});
  EXPECT_TRUE(std::filesystem::exists(Path("pages/machine.html")));
  EXPECT_TRUE(std::filesystem::exists(Path("pages/rack.html")));
  EXPECT_FALSE(std::filesystem::exists(Path("pages/ABC1234.html")));
  EXPECT_THAT(Text("pages/index.html"), Not(HasSubstr("ABC1234")));
}

TEST_F(CliReports, SayWhyThereIsNoPageWithoutTheNumbersOfFolders) {
  const std::string folder = "machine-A1-b_2.c+3";
  std::filesystem::create_directories(Path("rack/" + folder));
  std::filesystem::create_directories(Path(folder));
  Write(folder + "/bad.bin", {'x'});
  Write("rack/" + folder + "/bad.bin", {'x'});
  Write("my-machine-77.bin", {'x'});
  const std::vector<std::string> tables = {folder + "/bad.bin", "rack/" + folder + "/bad.bin",
                                           folder + "/gone.bin", "my-machine-77.bin"};
  ReportAll(tables);
  EXPECT_THAT(
      Text("pages/index.html"),
      AllOf(HasSubstr(">No page: machine/bad.bin is no SMBIOS table"),
            HasSubstr(">No page: rack/machine/bad.bin is no SMBIOS table"),
            HasSubstr(">No page: cannot read machine/gone.bin: No such file or directory</td>"),
            HasSubstr(">No page: my-machine-77.bin is no SMBIOS table"), Not(HasSubstr("b_2"))));
  std::vector<std::string> shown = tables;
  shown.emplace_back("--show-serials");
  ReportAll(shown);
  EXPECT_THAT(Text("pages/index.html"),
              HasSubstr(">No page: " + tables[0] + " is no SMBIOS table"));
}

class CliReportOfMany : public CliReport {
 protected:
  CliReportOfMany() {
    TableFile("a.bin", {});
    Write("b.bin", test::Table::Of(test::Bios{}, test::Processor{.coreCount = 0, .coreCount2 = 0},
                                   test::MemoryArray{.handle = 0x1000}, test::MemoryDevice{},
                                   test::MemoryDevice{.size = 0, .locator = "DIMM_A2"}, test::End{})
                       .Bytes());
    Write("machine-ABC1234.bin", {1, 2, 3});
  }
  // The rows of the index.
  std::string Index(std::vector<std::string> more = {"--show-serials"}) {
    more.insert(more.begin(), {"report", Path("a.bin"), Path("b.bin"), Path("machine-ABC1234.bin"),
                               "-o", Path("pages")});
    mOutcome = RunTvq(more);
    const test::Bytes page = Read("pages/index.html");
    const std::string body = PageOutline(std::string(page.begin(), page.end()), "<tbody").Text();
    return WithoutFolder(body);
  }
  std::string WithoutFolder(const std::string& text) const {
    return std::regex_replace(text, std::regex(Path("")), "");
  }
  const Outcome& Said() const { return mOutcome; }

 private:
  Outcome mOutcome;
};

TEST_F(CliReportOfMany, IndexesWhatEachPageSays) {
  EXPECT_EQ(Index(), R"(tbody
  tr |  a -> a.html: a.bin | .value: Server Works Rack One | .value: ABC1234 | .value: 1, 8 cores | .value (34359738368): 32 GB | .value: 2 of 2 | .value: 2.4.6 |  (7) span.badge.error: 7 |  (0) span: 0
  tr |  a -> b.html: b.bin | .none: – | .none: – | .value: 1 | .value (17179869184): 16 GB | .value: 1 of 2 | .value: 2.4.6 |  (6) span.badge.error: 6 |  (1) span.badge.warning: 1
  tr | machine-ABC1234.bin |  across 8: No page: machine-ABC1234.bin is no SMBIOS table that can be used: it has neither an SMBIOS entry point nor does it begin with an SMBIOS structure)");
  EXPECT_EQ(Said().status, 1);
  EXPECT_EQ(Said().out, "");
}

TEST_F(CliReportOfMany, MasksTheNumbersInTheIndexToo) {
  const std::string index = Index({});
  EXPECT_THAT(index, AllOf(HasSubstr("tr | machine |  across 8: No page: machine is no SMBIOS"),
                           Not(HasSubstr("ABC1234"))));
}

TEST_F(CliReportOfMany, CountsChangesWhereItCompared) {
  Server before;
  before.modules[1].serial = "99AABBCC";
  EXPECT_EQ(Index({"--show-serials", "--against", TableFile("before.bin", before)}), R"(tbody
  tr |  a -> a.html: a.bin | .value: Server Works Rack One | .value: ABC1234 | .value: 1, 8 cores | .value (34359738368): 32 GB | .value: 2 of 2 | .value: 2.4.6 |  (7) span.badge.error: 7 |  (0) span: 0 |  (1) span.badge.changed: 1
  tr |  a -> b.html: b.bin | .none: – | .none: – | .value: 1 | .value (17179869184): 16 GB | .value: 1 of 2 | .value: 2.4.6 |  (6) span.badge.error: 6 |  (1) span.badge.warning: 1 |  (10) span.badge.changed: 10
  tr | machine-ABC1234.bin |  across 9: No page: machine-ABC1234.bin is no SMBIOS table that can be used: it has neither an SMBIOS entry point nor does it begin with an SMBIOS structure)");
}

TEST_F(CliReportOfMany, PrintsALineForEachPageOnRequest) {
  Index({"--show-serials", "--ndjson"});
  EXPECT_EQ(
      WithoutFolder(Said().out),
      R"({"file":"a.bin","schema":"tvq-report","schemaVersion":1,"page":"a.html","name":"a.bin","machine":"Server Works Rack One","serial":"ABC1234","processors":"1, 8 cores","memoryInBytes":34359738368,"modules":"2 of 2","firmware":"2.4.6","errors":7,"warnings":0,"changes":null}
{"file":"b.bin","schema":"tvq-report","schemaVersion":1,"page":"b.html","name":"b.bin","machine":"","serial":"","processors":"1","memoryInBytes":17179869184,"modules":"1 of 2","firmware":"2.4.6","errors":6,"warnings":1,"changes":null}
{"file":"machine-ABC1234.bin","schema":"tvq-failure","schemaVersion":1,"error":"machine-ABC1234.bin is no SMBIOS table that can be used: it has neither an SMBIOS entry point nor does it begin with an SMBIOS structure","hint":"a table is captured with `dmidecode --dump-bin FILE`; a bare structure table will do as well"}
)");
}

TEST_F(CliReportOfMany, WantsAFolder) {
  const Within within(Path(""));
  for (const std::vector<std::string>& where : {std::vector<std::string>{}, {"-o", "-"}}) {
    std::vector<std::string> arguments = {"report", Path("a.bin"), Path("b.bin")};
    arguments.insert(arguments.end(), where.begin(), where.end());
    const Outcome refused = RunTvq(arguments, "", {80, false, false, true});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.diagnostics, HasSubstr("name it with -o FOLDER"));
  }
}

TEST_F(CliReport, PrintsALineBesideThePageOnlyWhereItGoesToAFile) {
  const std::string table = TableFile("table.bin", {});
  EXPECT_EQ(RunTvq({"report", table, "--ndjson", "-o", Path("page.html"), "--show-serials"})
                .Json()["serial"],
            "ABC1234");
  for (const std::vector<std::string>& where : {std::vector<std::string>{}, {"-o", "-"}}) {
    std::vector<std::string> arguments = {"report", table, "--ndjson"};
    arguments.insert(arguments.end(), where.begin(), where.end());
    const Outcome refused = RunTvq(arguments, "", {80, false, false, true});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.diagnostics, HasSubstr("name a file for the page with -o report.html"));
  }
}

TEST_F(CliReport, ReadsStandardInputForOneOfBothSidesAlone) {
  EXPECT_EQ(RunTvq({"report", "-", "--against", "-", "-o", "-"}).status, 2);
  const test::Bytes bytes = TableOf(Server{}).Bytes();
  EXPECT_THAT(RunTvq({"report", "-", "--against", TableFile("before.bin", {}), "-o", "-"},
                     std::string(bytes.begin(), bytes.end()))
                  .out,
              HasSubstr("<h1>Rack One</h1>"));
}

TEST_F(CliReport, LoadsNothingAndRunsNothing) {
  EXPECT_THAT(Report({}).out,
              AllOf(HasSubstr("content=\"default-src &#39;none&#39;"), Not(HasSubstr("<script")),
                    Not(HasSubstr("http://")), Not(HasSubstr("https://"))));
}

}  // namespace
}  // namespace tvq::cli
