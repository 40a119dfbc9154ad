/*
 * `tvq export` as a whole: from the command line to documents, messages and exit statuses.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/shared/entry_point.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;
using test::Bytes;
using test::EntryPointBytes;
using test::Table;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using CliExport = CliTest;

// Entry points of two versions; behind each of them, the table at 20h.
EntryPointBytes EntryPoint32(const Table& table) {
  return EntryPointBytes::Of32Bits(
      {.major = 2, .minor = 7, .length = table.Size(), .count = table.Count()});
}

EntryPointBytes EntryPoint64() {
  return EntryPointBytes::Of64Bits({.major = 3, .minor = 2, .length = 0x4000});
}

// --- Documents ---

TEST_F(CliExport, PrintsTheInventoryOfABareTable) {
  const Table table = test::MinimalServer();
  const Outcome outcome = RunTvq({"export", "--table", Write("table", table.Bytes())});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.diagnostics, IsEmpty());
  const ordered_json document = outcome.Json();
  EXPECT_EQ(document["smbios"].dump(), R"({"major":3,"minor":0,"structureCount":)" +
                                           std::to_string(table.Count()) + R"(,"sizeInBytes":)" +
                                           std::to_string(table.Size()) + "}");
  EXPECT_EQ(document["start"], "Success");
  ASSERT_EQ(document["records"].size(), 3u);
  EXPECT_EQ(document["records"][0]["name"], "CPU 1");
  EXPECT_EQ(document["records"][1]["fqdd"], "DIMM.Socket.A1");
  EXPECT_EQ(document["records"][2]["name"], "SYSTEM");
  EXPECT_EQ(document["records"][2]["deviceType"], 4);
  EXPECT_EQ(document["attributes"][0]["value"], "ABC1234");
  EXPECT_EQ(document["attributes"][2]["value"]["BiosVersion"], "2.4.6");
}

TEST_F(CliExport, ShowsRecordsAsBytes) {
  const ordered_json records =
      RunTvq({"export", "--table", Write("table", test::MinimalServer().Bytes())})
          .Json()["records"];
  for (const ordered_json& record : records) {
    EXPECT_EQ(record["devicePath"].get<std::string>().size(), 62u);
    EXPECT_EQ(record["identity"].get<std::string>().size(), 40u);
    EXPECT_THAT(record["inventoryBlob"], StartsWith("0100000003000000cf549b0f"));
    EXPECT_THAT(record["configurationBlob"], StartsWith("0100000005000000ecc4412c"));
    EXPECT_EQ(record["endBlob"].get<std::string>().size(), 2u * 148);
  }
}

TEST_F(CliExport, ShowsTheLogOfTheStartAlone) {
  const ordered_json log =
      RunTvq({"export", "--table", Write("table", test::MinimalServer().Bytes())}).Json()["log"];
  const auto has = [&](const std::string& function) {
    return std::any_of(log.begin(), log.end(),
                       [&](const ordered_json& line) { return line["function"] == function; });
  };
  EXPECT_TRUE(has("MakeSYSTEM"));
  EXPECT_FALSE(has("SMTVQGet"));
  EXPECT_EQ(log[0]["level"], 0x00800000);
}

TEST_F(CliExport, ShowsTheProcessorFamilyVariable) {
  const ordered_json variables =
      RunTvq({"export", "--table", Write("table", test::MinimalServer().Bytes())})
          .Json()["variables"];
  ASSERT_EQ(variables.size(), 1u);
  EXPECT_EQ(variables[0].dump(),
            R"({"name":"EFI_SMBIOS_PROCESSOR_FAMILY",)"
            R"("guid":"4F6B6541-ADD6-4B0F-A503-D78ABDA0851E","attributes":7,"data":"b3"})");
}

TEST_F(CliExport, TakesTheVersionOfABareTable) {
  const std::string file = Write("table", test::MinimalServer().Bytes());
  const ordered_json smbios =
      RunTvq({"export", "--table", file, "--smbios-version", "2.8"}).Json()["smbios"];
  EXPECT_EQ(smbios["major"], 2);
  EXPECT_EQ(smbios["minor"], 8);
}

TEST_F(CliExport, StatesTheCountOfA32BitEntryPointEvenWhenItLies) {
  const Table table = test::MinimalServer();
  const Bytes dump = EntryPoint32(table).Set(test::kStructureCount, 2, 99).FileWith(table);
  const Outcome outcome = RunTvq({"export", "--from-dump", Write("dump", dump)});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.Json()["smbios"]["structureCount"], 99);
  EXPECT_EQ(outcome.Json()["smbios"]["major"], 2);
  EXPECT_THAT(outcome.diagnostics, HasSubstr("tvq: warning: the entry point states 99 structures"));
}

TEST_F(CliExport, EndsTheTableOfA64BitEntryPointAndSaysWhatFirmwareWouldDo) {
  const Table table = Table::Of(test::MinimalServer(), test::Raw{Bytes(64, 0)});
  const size_t size = test::MinimalServer().Size();
  const Outcome outcome =
      RunTvq({"export", "--from-dump", Write("dump", EntryPoint64().FileWith(table))});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.Json()["smbios"]["sizeInBytes"], size);
  EXPECT_EQ(outcome.Json()["start"], "Success");
  EXPECT_THAT(outcome.diagnostics, HasSubstr("the driver would answer Not Found"));
}

TEST_F(CliExport, SaysWhereFirmwareWouldNotReturn) {
  Table table = test::MinimalServer();
  const auto structures = [&](size_t count) {
    while (table.Count() < count) {
      table.Add(test::OemStrings{});
    }
    return RunTvq({"export", "--table", Write("table", table.Bytes())}).diagnostics;
  };
  EXPECT_EQ(structures(255).find("would never return"), std::string::npos);
  EXPECT_THAT(structures(256), HasSubstr("would never return: the table states 256 structures"));
}

TEST_F(CliExport, TakesABareTableAsDump) {
  const std::string file = Write("table", test::MinimalServer().Bytes());
  EXPECT_EQ(RunTvq({"export", "--from-dump", file}).out, RunTvq({"export", "--table", file}).out);
}

TEST_F(CliExport, SaysWhenTheVersionIsNotNeeded) {
  const Table table = test::MinimalServer();
  const Outcome outcome =
      RunTvq({"export", "--table", Write("dump", EntryPoint32(table).FileWith(table)),
              "--smbios-version", "3.2"});
  EXPECT_EQ(outcome.Json()["smbios"]["minor"], 7);
  EXPECT_THAT(outcome.diagnostics, HasSubstr("--smbios-version is ignored"));
}

// --- Conforming ---

Table ClashingServer() {
  return Table::Of(test::System{}, test::Processor{.designation = "SOCKET 0"},
                   test::Processor{.designation = "SOCKET 1"}, test::End{});
}

TEST_F(CliExport, UsesTheTableAsItIsWhereThatIsWanted) {
  const Outcome outcome =
      RunTvq({"export", "--as-is", "--table", Write("table", ClashingServer().Bytes())});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.Json()["start"], "Not Found");
  EXPECT_EQ(outcome.Json()["records"].size(), 0u);
  EXPECT_EQ(outcome.Json()["attributes"][0]["status"], "Not Found");
  EXPECT_TRUE(outcome.Json()["attributes"][0]["value"].is_null());
  EXPECT_THAT(outcome.diagnostics,
              HasSubstr("'Not Found'; without --as-is, the table is made fit"));
}

TEST_F(CliExport, ConformsTheTable) {
  const std::string file = Write("table", ClashingServer().Bytes());
  const Outcome outcome = RunTvq({"export", "--table", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.Json()["start"], "Success");
  EXPECT_EQ(outcome.Json()["records"].size(), 3u);
  EXPECT_EQ(outcome.Json()["smbios"]["structureCount"], 5);
  EXPECT_EQ(outcome.diagnostics, "");
  EXPECT_EQ(RunTvq({"export", "--conform", "--table", file}).out, outcome.out)
      << "the word has no effect";
}

TEST_F(CliExport, SaysWhereANameIsMoreThanThatOfThePlace) {
  const Table table = Table::Of(test::System{}, test::Processor{.designation = "CPU 1"},
                                test::Processor{.designation = "SOCKET 1"},
                                test::FqddMap{.format = 3}, test::End{});
  const Outcome outcome = RunTvq({"export", "--table", Write("table", table.Bytes())});
  EXPECT_THAT(outcome.diagnostics,
              HasSubstr("tvq: conform: type 4, handle 0x8001: named otherwise than \"1\""));
  EXPECT_THAT(outcome.diagnostics, HasSubstr("made inactive (type 126)"));
}

TEST_F(CliExport, LeavesATableThatNeedsNothing) {
  const std::string file = Write("table", test::MinimalServer().Bytes());
  const Outcome outcome = RunTvq({"export", "--table", file, "--conform"});
  EXPECT_EQ(outcome.out, RunTvq({"export", "--as-is", "--table", file}).out);
  EXPECT_EQ(outcome.diagnostics, "");
}

TEST_F(CliExport, UsesTheTableAsItIsWhenItCannotBeConformed) {
  const std::string filler(65500 - ClashingServer().Size(), 'x');
  const Table table = Table::Of(ClashingServer(),
                                test::Structure{.type = 221, .handle = 0x900, .strings = {filler}});
  const Outcome outcome = RunTvq({"export", "--table", Write("table", table.Bytes()), "--conform"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.Json()["smbios"]["sizeInBytes"], table.Size());
  EXPECT_THAT(outcome.diagnostics, HasSubstr("tvq: error: the table cannot be conformed"));
}

// --- What cannot be used ---

TEST_F(CliExport, RefusesWhatIsNoTable) {
  for (const Bytes& bytes :
       {Bytes{}, Bytes(100, 0), Bytes{'t', 'e', 'x', 't', '\n'}, Bytes(200, 0xFF)}) {
    const Outcome outcome = RunTvq({"export", "--from-dump", Write("file", bytes)});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.diagnostics, HasSubstr(Path("file") + " is no SMBIOS table"));
    EXPECT_THAT(outcome.diagnostics, HasSubstr("tvq: hint: a table is captured with"));
  }
}

TEST_F(CliExport, RefusesAFileThatCannotBeRead) {
  const Outcome missing = RunTvq({"export", "--table", Path("missing")});
  EXPECT_EQ(missing.status, 2);
  EXPECT_THAT(missing.diagnostics,
              HasSubstr("cannot read " + Path("missing") + ": No such file or directory"));
  const Outcome folder = RunTvq({"export", "--table", Path("")});
  EXPECT_EQ(folder.status, 2);
  EXPECT_THAT(folder.diagnostics, HasSubstr("Is a directory"));
  const Outcome endless = RunTvq({"export", "--table", "/dev/zero"});
  EXPECT_EQ(endless.status, 2);
  EXPECT_THAT(endless.diagnostics, HasSubstr("larger than any SMBIOS table"));
}

TEST_F(CliExport, RefusesATableThatNoEntryPointCanState) {
  const Table table = Table::Of(test::MinimalServer(), test::Raw{Bytes(66000, 0)});
  const Outcome outcome = RunTvq({"export", "--table", Write("table", table.Bytes())});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.diagnostics, HasSubstr("65,535"));
}

TEST_F(CliExport, RefusesACommandLineThatIsWrong) {
  for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
           {},
           {"import"},
           {"export", "--unknown"},
           {"export", "--table"},
           {"export", "--table", "a", "--from-dump", "b"},
           {"export", "--smbios-version", "3.2"},
           {"export", "--table", "a", "--smbios-version", "3"},
           {"export", "--table", "a", "--smbios-version", "3.x"},
           {"export", "--table", "a", "--smbios-version", "3.256"}}) {
    const Outcome outcome = RunTvq(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, IsEmpty());
    EXPECT_THAT(outcome.diagnostics, Not(IsEmpty()));
  }
}

TEST_F(CliExport, Helps) {
  const Outcome general = RunTvq({"--help"});
  EXPECT_EQ(general.status, 0);
  EXPECT_THAT(general.out, HasSubstr("export"));
  const Outcome help = RunTvq({"export", "--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* word : {"--from-dump", "--table", "--smbios-version", "--conform",
                           "/sys/firmware/dmi/tables", "2"}) {
    EXPECT_THAT(help.out, HasSubstr(word));
  }
}

// --- Many tables ---

TEST_F(CliExport, PrintsALineForEachOfManyTables) {
  const std::string one = Write("one.bin", test::MinimalServer().Bytes());
  const std::string two = Write("two.bin", test::MinimalServer().Bytes());
  const auto filesIn = [](const Outcome& exported) {
    std::vector<std::string> files;
    std::istringstream lines(exported.out);
    for (std::string line; std::getline(lines, line);) {
      files.push_back(nlohmann::json::parse(line).value("file", "none"));
    }
    return files;
  };
  EXPECT_EQ(filesIn(RunTvq({"export", one, two})), (std::vector<std::string>{one, two}));
  EXPECT_EQ(filesIn(RunTvq({"export", "--ndjson", one})), std::vector<std::string>{one});
  EXPECT_EQ(filesIn(RunTvq({"export", "--rows", one, two})), std::vector<std::string>(6, "none"))
      << "rows say themselves which machine they are of";
  EXPECT_FALSE(RunTvq({"export", one}).Json().contains("file"));
}

// --- This machine's table ---

TEST_F(CliExport, ReadsTheTableOfThisMachine) {
  const Table table = test::MinimalServer();
  Write("smbios_entry_point", EntryPoint32(table).Bytes());
  Write("DMI", table.Bytes());
  const Outcome outcome = RunTvq({"export", "--sysfs", Path("")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.Json()["records"].size(), 3u);
  EXPECT_EQ(outcome.Json()["smbios"]["major"], 2);
}

// The kernel shows one entry point, whichever the firmware has besides.
TEST_F(CliExport, DoesNotWarnOfTheOnlyEntryPointThatALiveMachineShows) {
  const Table table = Table::Of(test::MinimalServer(), test::End{});
  Write("smbios_entry_point", EntryPoint64().Bytes());
  Write("DMI", table.Bytes());
  const Outcome outcome = RunTvq({"export", "--sysfs", Path("")});
  EXPECT_EQ(outcome.status, 0) << outcome.diagnostics;
  EXPECT_THAT(outcome.diagnostics, Not(HasSubstr("64-bit entry point")));
  EXPECT_THAT(RunTvq({"export", Write("dump", EntryPoint64().FileWith(table))}).diagnostics,
              HasSubstr("64-bit entry point"));
}

TEST_F(CliExport, HintsAtADumpWhereThisMachineShowsNoTable) {
  const Outcome outcome = RunTvq({"export", "--sysfs", Path("nowhere")});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.diagnostics, HasSubstr("tvq: hint: this machine shows no SMBIOS table here"));
}

TEST_F(CliExport, HintsAtRootRightsWhereTheyAreMissing) {
  if (geteuid() == 0) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const Outcome outcome = RunTvq({"export", "/proc/1/mem", "--sysfs", "it's"});
  if (getuid() == 0) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.diagnostics, HasSubstr(R"(`sudo tvq export /proc/1/mem --sysfs 'it'\''s'`)"));
}

}  // namespace
}  // namespace tvq::cli
