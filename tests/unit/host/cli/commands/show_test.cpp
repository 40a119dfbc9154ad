/*
 * `tvq show`: what a machine is, and what the driver makes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <filesystem>
#include <sstream>
#include <utility>

#include "tests/unit/host/cli/server.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::cli {
namespace {

using test::FqddMap;
using test::MemoryDevice;
using test::Processor;
using test::Table;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

// As text of the options' language: a machine whose table names its devices.
Table NamedMachine(const std::vector<std::string>& sockets,
                   const std::vector<std::string>& locators) {
  std::vector<Processor> processors;
  for (const std::string& socket : sockets) {
    processors.push_back({.designation = socket});
  }
  std::vector<MemoryDevice> modules;
  for (const std::string& locator : locators) {
    modules.push_back({.locator = locator});
  }
  return Table::Of(test::Bios{}, test::System{}, processors, modules,
                   FqddMap{.groups = {{"CPU.Socket.1", 0x8002}}}, test::End{});
}

class CliShow : public CliTest {
 protected:
  Outcome Show(const Table& table, std::vector<std::string> more = {}, Terminal terminal = {80}) {
    more.insert(more.begin(), {"show", Write("table.bin", table.Bytes())});
    return RunTvq(more, "", terminal);
  }
};

TEST_F(CliShow, ListsWhatIsInEverySocketByItsLabel) {
  const Outcome shown = Show(TableOf({}), {"--conform", "--wide"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(
      shown.out,
      HasSubstr("\nProcessors: 1\n"
                "  SOCKET  FQDD          PROCESSOR           CORES    THREADS     SPEED     "
                "MANUFACTURER  ENABLED  MAXIMUM\n"
                "  CPU1    CPU.Socket.1  Core Works Model 8  8 cores  16 threads  2400 MHz  "
                "Core Works    8        4000 MHz\n"));
  EXPECT_THAT(
      shown.out,
      HasSubstr(
          "\nMemory: 32 GB in 2 modules\n"
          "  LABEL    FQDD            SIZE   TYPE  SERIAL    PART    MANUFACTURER  SPEED      "
          "RATED      RANK  WIDTH    DATA     FORM  BANK    ASSET TAG  VOLTAGE  TECHNOLOGY\n"
          "  DIMM_A1  DIMM.Socket.A1  16 GB  DDR4  11223344  PART-1  Memory Works  2933 MT/s  "
          "3200 MT/s  2     72 bits  64 bits  DIMM  Bank 1  01221234   1200 mV  DRAM\n"));
}

TEST_F(CliShow, SaysOnceWhatIsTheSameInAllRows) {
  EXPECT_THAT(
      Show(TableOf({}), {"--conform"}).out,
      HasSubstr("  all: runs at 2933 MT/s, rated 3200 MT/s, rank 2, width 72 bits,\n"
                "    of data 64 bits, DIMM, bank Bank 1, asset tag 01221234, 1200 mV, DRAM\n"
                "  LABEL    FQDD            SIZE   TYPE  SERIAL    PART    MANUFACTURER\n"
                "  DIMM_A1  DIMM.Socket.A1  16 GB  DDR4  11223344  PART-1  Memory Works\n"));
}

TEST_F(CliShow, SaysWhatAMachineIsWhoseTableGivesNoRecord) {
  const Outcome shown = Show(TableOf({}), {"--as-is"});
  EXPECT_THAT(shown.out, StartsWith("System     Server Works Rack One, version 1.0, serial "
                                    "ABC1234, SKU SKU-1,\n"
                                    "           family Racks, "));
  EXPECT_THAT(shown.out, HasSubstr("  DIMM_A1  16 GB  DDR4  11223344  PART-1  Memory Works"));
  EXPECT_THAT(shown.out, HasSubstr("0 records\n"));
}

TEST_F(CliShow, SaysWhatAMachineIsWhoseTableTheDriverCannotTake) {
  // A 32-bit entry point states 16 bits of length.
  const Table large =
      Table::Of(TableOf({}), Copies(400, test::OemStrings{.texts = {std::string(200, 'x')}}));
  ASSERT_GT(large.Size(), 0xFFFFu);
  const Outcome shown = Show(large);
  EXPECT_EQ(shown.status, 1);
  EXPECT_THAT(shown.out, HasSubstr("DIMM_A1"));
  EXPECT_THAT(shown.out, HasSubstr("  the driver did not run: "));
}
TEST_F(CliShow, ShowsTheSystemAndTheAttributes) {
  const Outcome shown =
      Show(Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), test::Chassis{}, test::BaseBoard{},
                     test::Slot{.bus = 0x3B, .devFn = 0x0A}, test::MemoryArray{}),
           {"--wide"});
  for (const char* const line :
       {"System     Server Works Rack One, version 1.0, serial ABC1234, ",
        "Board      Board Works Board One, version A00, serial BRD0001, location Main Tray, "
        "Motherboard\n",
        "Chassis    Chassis Works Rack Mount Chassis, version C1, serial CHS0001, asset tag Asset "
        "7, 2 U\n",
        "Firmware   Firmware Works, version 2.4.6, 03/14/2021, release 2.4",
        "  Array      System memory, System board, error correction: Multi-bit ECC, up to 256 GB, "
        "devices: 16\n",
        "  PCIe Slot 1  PCI Express  x16    Available  0000:3b:01.2  1   Long\n",
        "  zorv.server SMBIOSServiceTagString  ABC1234\n"}) {
    EXPECT_THAT(shown.out, HasSubstr(line));
  }
}
TEST_F(CliShow, SaysWhyATableWithoutNamesGivesNoRecord) {
  const Outcome shown = Show(TableOf({}), {"-w", "--as-is"});
  EXPECT_EQ(shown.status, 1);
  EXPECT_THAT(shown.out,
              HasSubstr("Without a record\n"
                        "  the driver's start ended with \"Not Found\": there is no structure of "
                        "type 225, which names the devices:\n"
                        "    1 processor, handle 0x8002\n"
                        "    2 memory modules, handles 0x8003, 0x8004\n"
                        "    system\n"
                        "  Without --as-is, a copy of the table would be changed in 3 places:\n"));
}

TEST_F(CliShow, SaysThatAFormatOfTheNamesSpoilsThemAll) {
  EXPECT_THAT(Show(Table::Of(TableOf({}), FqddMap{.format = 2}), {"-w", "--as-is"}).out,
              HasSubstr("a structure of type 225, which names the devices, has "
                        "another format than 1:\n"));
}

TEST_F(CliShow, SaysThatTheNamesAreCutOff) {
  Table table = TableOf({});
  table.Add(FqddMap{.groups = {{"CPU.Socket.1", 1}, {"DIMM.Socket.A1", 2}}});
  // The strings, and the second group.
  table.Chop(sizeof("CPU.Socket.1") + sizeof("DIMM.Socket.A1") + 1 + 4);
  EXPECT_THAT(Show(table, {"-w", "--as-is"}).out,
              HasSubstr("a structure of type 225, which names the devices, is cut "
                        "off by the end of the table:\n"));
}

TEST_F(CliShow, SaysThatTheNamesAreBehindTheEndOfTheTable) {
  const Table table = Table::Of(TableOf({}), test::Structure{1, 0xFFFF}, FqddMap{});
  EXPECT_THAT(Show(table, {"-w", "--as-is"}).out,
              HasSubstr("the structure of type 225, which names the devices, is behind one with "
                        "handle 0xFFFF, which ends the table for the driver:\n"));
}

TEST_F(CliShow, SaysThatAHandleEndsTheTableForTheDriver) {
  const Table table = Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), test::Structure{1, 0xFFFF},
                                MemoryDevice{.handle = 0x0017, .locator = "DIMM_A2"});
  EXPECT_THAT(Show(table).out,
              HasSubstr("  behind handle 0xFFFF, which ends the table for the driver:\n"
                        "    1 memory module, handle 0x0017\n"));
}

TEST_F(CliShow, NamesTheProcessorsThatClash) {
  const Outcome shown = Show(NamedMachine({"CPU1", "CPU1", "CPU2"}, {}), {"-w", "--as-is"});
  EXPECT_EQ(shown.status, 1);
  EXPECT_THAT(shown.out, HasSubstr("  the same fourth character of the socket designation (\"1\") "
                                   "as for handle 0x8002: \"CPU1\" here, \"CPU1\" there;"));
  EXPECT_THAT(shown.out, HasSubstr("    1 processor, handle 0x8003\n"
                                   "  behind handle 0x8003, at which the driver stopped:\n"
                                   "    1 processor, handle 0x8004\n"));
}

TEST_F(CliShow, NamesTheModulesThatClash) {
  const Outcome shown = Show(NamedMachine({"CPU1"}, {"P1-DIMMA1", "P1-DIMMB1"}), {"-w", "--as-is"});
  EXPECT_THAT(shown.out, HasSubstr("  the same three characters of the locator (\"P1-\") as for "
                                   "handle 0x8003: \"P1-DIMMB1\" here, \"P1-DIMMA1\" there;"));
  EXPECT_THAT(shown.out, HasSubstr("device locator: \"P1-DIMMB1\" -> \"DIMM_1B1\"\n"));
}

// The driver reads three bytes: here with a NUL and the first character of the bank.
TEST_F(CliShow, NamesWhatClashesBehindAShortLocator) {
  EXPECT_THAT(Show(NamedMachine({"CPU1"}, {"A", "A"}), {"-w", "--as-is"}).out,
              HasSubstr("  the same three characters of the locator (\"AB\") as for handle 0x8003: "
                        "\"A\" here, \"A\" there;"));
}

TEST_F(CliShow, NamesTheFirstFourAndTheLastOfManyHandles) {
  // The driver stops at the second of them.
  const auto shown = [this](std::size_t modules) {
    const std::vector<std::string> locators(modules, "SLOT");
    return Show(NamedMachine({"CPU1"}, locators), {"-w", "--as-is"}).out;
  };
  EXPECT_THAT(shown(7),
              HasSubstr("    5 memory modules, handles 0x8005, 0x8006, 0x8007, 0x8008, 0x8009\n"));
  EXPECT_THAT(
      shown(8),
      HasSubstr("    6 memory modules, handles 0x8005, 0x8006, 0x8007, 0x8008 ... 0x800A\n"));
}

TEST_F(CliShow, ShowsTwentyOfManyChanges) {
  // Each of the processor and the modules gets a name.
  const auto changesOf = [this](std::size_t count) {
    Server server;
    server.modules.clear();
    for (std::size_t i = 1; i < count; ++i) {
      server.modules.push_back({fmt::format("DIMM_{}1", static_cast<char>('A' + i)), "11223344"});
    }
    const auto json = Show(TableOf(server), {"--json", "--as-is"}).Json();
    const std::vector<std::string> changes = json["conform"]["changes"];
    EXPECT_THAT(changes, SizeIs(count));
    const std::string heading = fmt::format("changed in {} places:\n", count);
    const std::string out = Show(TableOf(server), {"-w", "--as-is"}).out;
    return std::pair(changes, out.substr(out.find(heading) + heading.size()));
  };
  const auto linesOf = [](const std::vector<std::string>& changes, std::size_t count) {
    std::string lines;
    for (std::size_t i = 0; i < count; ++i) {
      lines += "    " + changes.at(i) + "\n";
    }
    return lines;
  };
  const auto [all, allShown] = changesOf(21);
  EXPECT_THAT(allShown, StartsWith(linesOf(all, 21) + "\n"));
  const auto [more, moreShown] = changesOf(22);
  EXPECT_THAT(moreShown, StartsWith(linesOf(more, 20) + "    and 2 more, which --json lists\n\n"));
}

TEST_F(CliShow, BreaksTheValuesOfAnAttributeBelowEachOther) {
  const Table table =
      Table::Of(test::Bios{.version = std::string(20, 'v')},
                test::System{.product = std::string(20, 'p'), .serial = std::string(20, 's')},
                test::Processor{}, test::End{});
  const std::string out = Show(table, {}, {80}).out;
  const std::size_t start = out.find("  zorv.server ", out.find("\nAttributes\n"));
  const std::size_t values = out.find("service tag ", start);
  ASSERT_NE(values, std::string::npos) << out;
  const std::string indent(values - out.rfind('\n', values) - 1, ' ');
  EXPECT_THAT(
      out.substr(values),
      StartsWith("service tag " + std::string(20, 's') + ",\n" + indent + "BIOS version " +
                 std::string(20, 'v') + ",\n" + indent + "product name " + std::string(20, 'p')));
}

TEST_F(CliShow, SaysThatTheDriverWantsOneSystem) {
  const Table table = Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), test::System{});
  EXPECT_THAT(Show(table).out, HasSubstr("  there are 2 structures of type 1, where the driver "
                                         "wants exactly one:\n    system\n"));
}

TEST_F(CliShow, SaysThatTheSystemHasNoProductName) {
  Table table =
      Table::Of(test::System{.product = std::nullopt}, FqddMap{.groups = {{"CPU.Socket.1", 1}}});
  EXPECT_THAT(Show(table).out, HasSubstr("  the structure of type 1 has no product name:\n"));
}

TEST_F(CliShow, ListsEmptySocketsAndSlotsByTheirLabels) {
  const auto empty = [](const char* locator) {
    return MemoryDevice{.size = 0,
                        .locator = locator,
                        .bankLocator = std::nullopt,
                        .manufacturer = std::nullopt,
                        .serial = std::nullopt,
                        .assetTag = std::nullopt,
                        .partNumber = std::nullopt};
  };
  const Outcome shown = Show(
      Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}),
                Processor{.designation = "CPU2", .manufacturer = {}, .version = {}, .status = 0},
                empty("DIMM_A2"), empty("DIMM_A3"), MemoryDevice{.memoryType = 0x1F}));
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.out, HasSubstr("\nEmpty sockets: 1\n  CPU2\n"));
  EXPECT_THAT(shown.out, HasSubstr("\nEmpty memory slots: 2\n  DIMM_A2, DIMM_A3\n"));
  EXPECT_THAT(shown.out, HasSubstr("without one of their own: 1 logical memory device\n"));
}
TEST_F(CliShow, ShowsOneDeviceWithItsDocumentIndented) {
  const Outcome shown = Show(TableOf({}), {"DIMM.Socket.A2", "--conform"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, StartsWith("kind                module\n"
                                    "FQDD                DIMM.Socket.A2\n"
                                    "label               DIMM_A2\n"
                                    "bank                Bank 1\n"
                                    "size                16 GB\n"));
  EXPECT_THAT(shown.out, HasSubstr("\n"
                                   "<tvqComponent>\n"
                                   "  <Inventory>\n"
                                   "    <MarketingName>DDR4DIMM</MarketingName>\n"
                                   "    <WWN>55667788</WWN>\n"));
  EXPECT_THAT(shown.out, EndsWith("</tvqComponent>\n"));
}
TEST_F(CliShow, FindsAPartByTheLabelInTheMachinesOwnTable) {
  Server server;
  server.modules = {{"P1-DIMMA1", "11223344"}, {"P1-DIMMB1", "55667788"}};
  const Outcome shown = Show(TableOf(server), {"P1-DIMMB1", "--conform"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, HasSubstr("serial              55667788\n"));
  EXPECT_THAT(shown.out, HasSubstr("<WWN>55667788</WWN>"));
}

TEST_F(CliShow, ShowsAPartWithoutARecord) {
  const Outcome shown = Show(TableOf({}), {"DIMM_A2", "--as-is"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, EndsWith("\nThe driver makes no record of it.\n"));
}

TEST_F(CliShow, ListsThePartsThatALabelMayMean) {
  Server server;
  server.modules = {{"DIMM 0", "11223344"}, {"DIMM 0", "55667788"}};
  const Outcome shown = Show(TableOf(server), {"DIMM 0", "--conform"});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, HasSubstr("tvq: error: 2 parts are named 'DIMM 0': DIMM.Socket."));
  EXPECT_EQ(shown.out, "");
}
TEST_F(CliShow, SaysThatThereIsNoSuchDevice) {
  const Outcome shown = Show(TableOf({}), {"DIMM.Socket.Z9", "--conform"});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics,
              HasSubstr("tvq: error: neither a part nor a file is named 'DIMM.Socket.Z9'\n"
                        "tvq: hint: `tvq show` lists the labels and FQDDs of all parts\n"));
}
TEST_F(CliShow, SaysThatAFileIsNotThereWhereThisMachineShowsNoTable) {
  const Outcome shown = RunTvq({"show", "dmp.bin", "--sysfs", Path("nowhere")});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, HasSubstr("tvq: error: no file is named 'dmp.bin', and to look "
                                           "for a part: cannot read "));
}

TEST_F(CliShow, SaysThatThisMachineShowsNoTable) {
  const Outcome shown = RunTvq({"show", "--sysfs", Path("nowhere")});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, StartsWith("tvq: error: cannot read "));
}

TEST_F(CliShow, SaysOfAFileAndANameThatTheFileCannotBeRead) {
  const Outcome shown = RunTvq({"show", Path("missing.bin"), "DIMM_A1"});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, StartsWith("tvq: error: cannot read " + Path("missing.bin")));
}

TEST_F(CliShow, TakesOneArgumentForANameWhereAnOptionNamesTheTable) {
  const std::string table = Write("table.bin", TableOf({}).Bytes());
  const Outcome shown = RunTvq({"show", "--table", table, "DIMM_A2"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, HasSubstr("label               DIMM_A2\n"));
  EXPECT_THAT(RunTvq({"show", "--table", table, "DIMM_A2", "more"}).diagnostics,
              HasSubstr("'more' is one argument too many"));
}

TEST_F(CliShow, RefusesAThirdArgument) {
  EXPECT_THAT(Show(TableOf({}), {"one", "two"}).diagnostics,
              HasSubstr("'two' is one argument too many"));
}

class CliShowMany : public CliShow {
 protected:
  CliShowMany() {
    std::filesystem::create_directory(Path("rack"));
    Write("rack/1.bin", NamedMachine({"CPU1"}, {"DIMM_A1"}).Bytes());
    Write("rack/2.bin", NamedMachine({"CPU1"}, {"DIMM_B1"}).Bytes());
  }
  // The tables that the lines are of.
  static std::vector<std::string> FilesIn(const std::string& lines) {
    std::vector<std::string> files;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
      files.push_back(nlohmann::json::parse(line)["file"]);
    }
    return files;
  }
  const std::vector<std::string> mFiles = {Path("rack/1.bin"), Path("rack/2.bin")};
};

TEST_F(CliShowMany, ShowsEachTableOfAFolderBelowItsName) {
  const Outcome shown = RunTvq({"show", Path("rack")});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out,
              AllOf(StartsWith(mFiles[0] + ":\nSystem "), HasSubstr("\n\n" + mFiles[1] + ":\n")));
}

TEST_F(CliShowMany, TwoFilesAreTwoTables) {
  const Outcome shown = RunTvq({"show", mFiles[0], mFiles[1]});
  EXPECT_EQ(shown.out, RunTvq({"show", Path("rack")}).out);
}

TEST_F(CliShowMany, AreLinesOfJsonWhereOneTableIsADocument) {
  EXPECT_EQ(FilesIn(RunTvq({"show", "--json", mFiles[0], mFiles[1]}).out), mFiles);
  EXPECT_EQ(FilesIn(RunTvq({"show", "--ndjson", Path("rack")}).out), mFiles);
  const Outcome one = RunTvq({"show", "--json", mFiles[0]});
  EXPECT_THAT(one.out, StartsWith("{\n"));
  EXPECT_FALSE(one.Json().contains("file"));
}
TEST_F(CliShow, ReadsATableFromStandardInput) {
  const test::Bytes bytes = NamedMachine({"CPU1"}, {"DIMM_A1"}).Bytes();
  const Outcome shown = RunTvq({"show", "-"}, std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, HasSubstr("3 records\n"));
}

TEST_F(CliShow, ReadsWhatDmidecodeSpellsOut) {
  const Outcome shown = RunTvq({"show", "-", "--json"},
                               "SMBIOS 2.7 present.\n\nHandle 0x0003, DMI type 127, 4 bytes\n"
                               "\tHeader and Data:\n\t\t7F 04 03 00\n");
  EXPECT_EQ(shown.status, 1);
  EXPECT_EQ(shown.Json()["smbios"]["structureCount"], 2);
}

TEST_F(CliShow, ShowsNoControlCharacterOfATable) {
  Server server;
  server.processor = "Core\x1B[31m\x07";
  const Outcome shown = Show(TableOf(server), {"--conform"});
  EXPECT_THAT(shown.out, HasSubstr("Core\\x1B[31m\\x07"));
  EXPECT_THAT(shown.out, Not(HasSubstr("\x1B")));
}

TEST_F(CliShow, ShowsADocumentThatIsNotWellFormed) {
  Server server;
  server.processor = "Core <& Works>";
  EXPECT_THAT(Show(TableOf(server), {"CPU.Socket.1", "--conform"}).out,
              HasSubstr("<MarketingName>Core <& Works></MarketingName>\n"));
}

TEST_F(CliShow, SaysWhichDocumentCannotBeRead) {
  Server server;
  server.processor = "Core</MarketingName>";
  const Outcome shown = Show(TableOf(server), {"--conform"});
  EXPECT_THAT(shown.out, HasSubstr("  CPU.Socket.1: the document cannot be read: an element of "
                                   "'Inventory' or its\n    end should stand here\n"));
  EXPECT_THAT(Show(TableOf(server), {"CPU.Socket.1", "--conform"}).out,
              EndsWith("\n\nThe document cannot be read: an element of 'Inventory' or its end "
                       "should stand\n  here\n"));
}

// The machine's own table ends in front of the second module, where the driver goes on.
TEST_F(CliShow, ShowsARecordOfADeviceBehindTheStatedEnd) {
  const Table table =
      Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), MemoryDevice{.locator = "DIMM_A2"});
  const test::Bytes dump =
      test::EntryPointBytes::Of32Bits({3, 3, table.Size(), table.Count() - 1}).FileWith(table);
  const Outcome shown = RunTvq({"show", "--json", "--as-is", Write("dump.bin", dump)});
  const auto json = shown.Json();
  EXPECT_THAT(json["machine"]["modules"], SizeIs(1));
  ASSERT_THAT(json["devices"], SizeIs(4)) << shown.out;
  EXPECT_EQ(json["devices"][1]["kind"], "module");
  EXPECT_EQ(json["devices"][2]["kind"], nullptr);
  EXPECT_EQ(json["devices"][2]["handle"], nullptr);
}

TEST_F(CliShow, HasNoLineOfMoreThanEightyCharactersAndCutsNothing) {
  Server server;
  server.processor = std::string(90, 'x') + " end";
  server.modules[0].serial = std::string(100, '7');
  const Table table = Table::Of(TableOf(server), test::Chassis{.serial = std::string(85, 'c')},
                                test::Slot{.designation = std::string(120, 's')});
  for (const std::vector<std::string>& more :
       {std::vector<std::string>{"--conform"}, {}, {"CPU.Socket.1", "--conform"}}) {
    const std::string out = Show(table, more).out;
    std::istringstream lines(out);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_LE(line.size(), 80u) << line;
    }
    std::string joined = out;
    joined.erase(std::remove_if(joined.begin(), joined.end(), isspace), joined.end());
    EXPECT_THAT(joined, HasSubstr(std::string(90, 'x') + "end"));
  }
}

TEST_F(CliShow, IsAsWideAsTheTerminalOrTheLinesAre) {
  Server server;
  server.processor = std::string(70, 'x');
  const auto longest = [](const std::string& text) {
    size_t most = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      most = std::max(most, line.size());
    }
    return most;
  };
  EXPECT_LE(longest(Show(TableOf(server), {"--conform"}, {50, false}).out), 50u);
  EXPECT_GT(longest(Show(TableOf(server), {"--conform"}, {200, false}).out), 80u);
  EXPECT_GT(longest(Show(TableOf(server), {"--conform", "-w"}, {50, false}).out), 160u);
}

TEST_F(CliShow, ShowsAsciiAloneWhereTheTerminalShowsNoMore) {
  Server server;
  server.processor = "Core\xAE 8";
  EXPECT_THAT(Show(TableOf(server), {"--conform"}, {80, false, true}).out,
              HasSubstr("Core\\xAE 8"));
  EXPECT_THAT(Show(TableOf(server), {"--conform"}, {80, false, false}).out,
              HasSubstr("Core\xC2\xAE 8"));
}

// The driver reads behind the end of such a structure.
TEST_F(CliShow, SaysWhereADocumentHasAnotherValueThanTheTable) {
  Table table =
      Table::Of(test::Bios{}, test::System{}, Processor{.coreCount = 0xFF, .coreCount2 = 288});
  table.Add(MemoryDevice{.locator = "DIMM_A1", .speed = 400}.Build().CutTo(0x1B));
  table.Add(test::End{});
  const Outcome shown = Show(table, {"--conform"});
  EXPECT_THAT(shown.out, HasSubstr("\nOther values in the driver's documents\n"
                                   "  CoreCount \"255\", the table 288:\n"
                                   "    CPU.Socket.1\n"
                                   "  ConfiguredMemClockSpeed \""));
  EXPECT_THAT(shown.out, HasSubstr("\", the table nothing:\n    DIMM.Socket.A1\n"));
  EXPECT_THAT(shown.out, HasSubstr("  DIMM_A1  DIMM.Socket.A1  16 GB  DDR4  "));
  EXPECT_THAT(shown.out, HasSubstr("400 MT/s"));
  const auto json = Show(table, {"--conform", "--json"}).Json();
  EXPECT_EQ(json["machine"]["modules"][0]["configuredSpeedInMTs"], nullptr);
  EXPECT_EQ(json["machine"]["modules"][0]["ratedSpeedInMTs"], 400);
  EXPECT_EQ(json["devices"][1]["differences"][0]["fact"], "configuredSpeedInMTs");
}

TEST_F(CliShow, SaysNothingOfDocumentsThatSayTheSame) {
  EXPECT_THAT(Show(TableOf({}), {"--conform"}).out, Not(HasSubstr("Other values")));
}

TEST_F(CliShow, CountsOneInTheSingular) {
  EXPECT_THAT(Show(Table::Of(test::Processor{.coreCount = 1, .threadCount = 1}, MemoryDevice{},
                             test::End{}),
                   {"-w"})
                  .out,
              AllOf(HasSubstr(" 1 core "), HasSubstr(" 1 thread "), HasSubstr("in 1 module\n")));
}
TEST_F(CliShow, UsesColourOnATerminalAlone) {
  EXPECT_THAT(Show(TableOf({}), {"--conform"}, {0, true}).out,
              HasSubstr("\x1B[1mProcessors: 1\x1B[0m"));
  EXPECT_THAT(Show(TableOf({}), {"--conform"}, {0, false}).out, Not(HasSubstr("\x1B")));
}

TEST_F(CliShow, SaysAllOfItAsJson) {
  const auto json = Show(TableOf({}), {"--conform", "--json"}).Json();
  EXPECT_EQ(json["schema"], "tvq-show");
  EXPECT_EQ(json["schemaVersion"], 1);
  EXPECT_EQ(json["start"], "Success");
  EXPECT_EQ(json["trouble"], nullptr);
  ASSERT_THAT(json["devices"], SizeIs(4));
  EXPECT_EQ(json["devices"][0]["kind"], "processor");
  EXPECT_EQ(json["devices"][1]["kind"], "module");
  EXPECT_EQ(json["devices"][1]["handle"], 0x8003);
  EXPECT_EQ(json["devices"][1]["trouble"], nullptr);
  EXPECT_EQ(json["devices"][1]["fqdd"], "DIMM.Socket.A1");
  EXPECT_EQ(json["devices"][1]["label"], "DIMM_A1");
  EXPECT_EQ(json["devices"][1]["nameRule"], "given");
  EXPECT_EQ(json["devices"][0]["nameRule"], "cpu");
  EXPECT_EQ(json["devices"][1]["document"]["Configuration"]["dimmData"]["Speed"], "3200");
  const auto& module = json["machine"]["modules"][0];
  EXPECT_EQ(module["fqdd"], "DIMM.Socket.A1");
  EXPECT_EQ(module["partNumber"], "PART-1");
  EXPECT_EQ(module["sizeInBytes"], uint64_t{16} << 30);
  EXPECT_EQ(module["firmwareVersion"], nullptr);
  EXPECT_THAT(json["withoutRecord"], IsEmpty());
  EXPECT_EQ(json["conform"], nullptr);
}

TEST_F(CliShow, SaysOfOnePartAsJson) {
  const auto json = Show(TableOf({}), {"DIMM_A2", "--conform", "--json"}).Json();
  EXPECT_EQ(json["schema"], "tvq-show-part");
  EXPECT_EQ(json["kind"], "module");
  EXPECT_EQ(json["part"]["serial"], "55667788");
  EXPECT_EQ(json["record"]["fqdd"], "DIMM.Socket.A2");
  EXPECT_EQ(Show(TableOf({}), {"DIMM_A2", "--json", "--as-is"}).Json()["record"], nullptr);
}
TEST_F(CliShow, SaysAsJsonWhatConformingWouldDo) {
  const auto json = Show(TableOf({}), {"--json", "--as-is"}).Json();
  EXPECT_EQ(json["withoutRecord"][1]["handles"].dump(), "[32771,32772]");
  EXPECT_EQ(json["conform"]["isRefused"], false);
  EXPECT_THAT(json["conform"]["changes"], SizeIs(3));
}

}  // namespace
}  // namespace tvq::cli
