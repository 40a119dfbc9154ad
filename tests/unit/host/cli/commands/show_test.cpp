/*
 * `tvq show`: what a machine looks like to the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/cli/server.h"

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
  Outcome Show(const Table& table, std::vector<std::string> more = {}, Terminal terminal = {}) {
    more.insert(more.begin(), {"show", Write("table.bin", table.Bytes())});
    return RunTvq(more, "", terminal);
  }
};

TEST_F(CliShow, ListsEveryDeviceInAlignedColumns) {
  const Outcome shown = Show(TableOf({}), {"--conform"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(
      shown.out,
      HasSubstr("Devices: 4\n"
                "  NAME     FQDD               MODEL               IDENTITY  PART OR CORES        "
                "SIZE   SPEED      SLOT\n"
                "  CPU 1    CPU.Socket.1       Core Works Model 8  -         8 cores, 16 threads  "
                "-      2400 MHz   CPU1\n"));
  EXPECT_THAT(shown.out, HasSubstr("  DIMM A1  DIMM.Socket.A1     DDR4DIMM            11223344  "
                                   "PART-1               16 GB  2933 MT/s  A1\n"));
}

TEST_F(CliShow, ShowsTheSystemAndTheAttributes) {
  const Outcome shown =
      Show(Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), test::Chassis{}, test::BaseBoard{},
                     test::Slot{.bus = 0x3B, .devFn = 0x0A}, test::MemoryArray{}));
  for (const char* const line :
       {"  Product       Rack One\n", "  Service tag   ABC1234\n", "  BIOS          2.4.6\n",
        "  Board         Main Tray\n", "  Chassis Works  CHS0001      Asset 7    2U\n",
        "  System Memory  256 GB    16       multi-bit ECC\n",
        "  PCIe Slot 1  0xA5  x16    available  0x1  3b:01.2\n",
        "  zorv.server       SMBIOSServiceTagString  ABC1234\n"}) {
    EXPECT_THAT(shown.out, HasSubstr(line));
  }
}

TEST_F(CliShow, SaysWhyATableWithoutNamesGivesNoRecord) {
  const Outcome shown = Show(TableOf({}));
  EXPECT_EQ(shown.status, 1);
  EXPECT_THAT(shown.out,
              HasSubstr("Without a record\n"
                        "  the driver's start ended with \"Not Found\": there is no structure of "
                        "type 225, which names the devices:\n"
                        "    1 processor, handle 0x8002\n"
                        "    2 memory modules, handles 0x8003, 0x8004\n"
                        "    system\n"
                        "  --conform would change a copy of the table in 3 places:\n"));
}

TEST_F(CliShow, SaysThatAFormatOfTheNamesSpoilsThemAll) {
  EXPECT_THAT(Show(Table::Of(TableOf({}), FqddMap{.format = 2})).out,
              HasSubstr("a structure of type 225, which names the devices, has "
                        "another format than 1:\n"));
}

TEST_F(CliShow, SaysThatTheNamesAreCutOff) {
  Table table = TableOf({});
  table.Add(FqddMap{.groups = {{"CPU.Socket.1", 1}, {"DIMM.Socket.A1", 2}}});
  // The strings, and the second group.
  table.Chop(sizeof("CPU.Socket.1") + sizeof("DIMM.Socket.A1") + 1 + 4);
  EXPECT_THAT(Show(table).out, HasSubstr("a structure of type 225, which names the devices, is cut "
                                         "off by the end of the table:\n"));
}

TEST_F(CliShow, SaysThatAHandleEndsTheTableForTheDriver) {
  const Table table = Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), test::Structure{1, 0xFFFF},
                                MemoryDevice{.handle = 0x0017, .locator = "DIMM_A2"});
  EXPECT_THAT(Show(table).out,
              HasSubstr("  behind handle 0xFFFF, which ends the table for the driver:\n"
                        "    1 memory module, handle 0x0017\n"));
}

TEST_F(CliShow, NamesTheProcessorsThatClash) {
  const Outcome shown = Show(NamedMachine({"CPU1", "CPU1", "CPU2"}, {}));
  EXPECT_EQ(shown.status, 1);
  EXPECT_THAT(shown.out, HasSubstr("  the same fourth character of the socket designation (\"1\") "
                                   "as for handle 0x8002: \"CPU1\" here, \"CPU1\" there;"));
  EXPECT_THAT(shown.out, HasSubstr("    1 processor, handle 0x8003\n"
                                   "  behind handle 0x8003, at which the driver stopped:\n"
                                   "    1 processor, handle 0x8004\n"));
}

TEST_F(CliShow, NamesTheModulesThatClash) {
  const Outcome shown = Show(NamedMachine({"CPU1"}, {"P1-DIMMA1", "P1-DIMMB1"}));
  EXPECT_THAT(shown.out, HasSubstr("  the same three characters of the locator (\"P1-\") as for "
                                   "handle 0x8003: \"P1-DIMMB1\" here, \"P1-DIMMA1\" there;"));
  EXPECT_THAT(shown.out, HasSubstr("device locator: \"P1-DIMMB1\" -> \"DIMM_A2\"\n"));
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

TEST_F(CliShow, CountsWhatIsNoDevice) {
  const Outcome shown = Show(
      Table::Of(NamedMachine({"CPU1"}, {"DIMM_A1"}), Processor{.designation = "CPU2", .status = 0},
                MemoryDevice{.size = 0, .locator = "DIMM_A2"},
                MemoryDevice{.size = 0, .locator = "DIMM_A3"}, MemoryDevice{.memoryType = 0x1F}));
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.out, HasSubstr("  Besides: 1 empty processor sockets; 2 empty memory slots; "
                                   "1 logical memory devices.\n"));
}

TEST_F(CliShow, ShowsOneDeviceWithItsDocumentIndented) {
  const Outcome shown = Show(TableOf({}), {"DIMM.Socket.A2", "--conform"});
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, StartsWith("Name      DIMM A2\n"
                                    "FQDD      DIMM.Socket.A2\n"
                                    "Model     DDR4DIMM\n"
                                    "Identity  55667788\n"
                                    "Part      PART-1\n"));
  EXPECT_THAT(shown.out, HasSubstr("\n"
                                   "<tvqComponent>\n"
                                   "  <Inventory>\n"
                                   "    <MarketingName>DDR4DIMM</MarketingName>\n"
                                   "    <WWN>55667788</WWN>\n"));
  EXPECT_THAT(shown.out, EndsWith("</tvqComponent>\n"));
}

TEST_F(CliShow, FindsADeviceByItsName) {
  EXPECT_THAT(Show(TableOf({}), {"CPU 1", "--conform"}).out, StartsWith("Name      CPU 1\n"));
}

TEST_F(CliShow, SaysThatThereIsNoSuchDevice) {
  const Outcome shown = Show(TableOf({}), {"DIMM.Socket.Z9", "--conform"});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, HasSubstr("tvq: error: there is neither a device nor a file named "
                                           "'DIMM.Socket.Z9'\ntvq: hint: the first device is "
                                           "'CPU.Socket.1'"));
}

TEST_F(CliShow, SaysThatAFileIsNotThereWhereThisMachineShowsNoTable) {
  const Outcome shown = RunTvq({"show", "dmp.bin", "--sysfs", Path("nowhere")});
  EXPECT_EQ(shown.status, 2);
  EXPECT_THAT(shown.diagnostics, HasSubstr("tvq: error: no file is named 'dmp.bin', and to look "
                                           "for a device: cannot read "));
}

TEST_F(CliShow, RefusesASecondTable) {
  const std::string other = Write("other.bin", TableOf({}).Bytes());
  EXPECT_THAT(Show(TableOf({}), {other}).diagnostics, HasSubstr("is one table too many"));
}

TEST_F(CliShow, ReadsATableFromStandardInput) {
  const test::Bytes bytes = NamedMachine({"CPU1"}, {"DIMM_A1"}).Bytes();
  const Outcome shown = RunTvq({"show", "-"}, std::string(bytes.begin(), bytes.end()));
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
  EXPECT_THAT(shown.out, HasSubstr("Devices: 3\n"));
}

TEST_F(CliShow, ReadsWhatDmidecodeSpellsOut) {
  const Outcome shown = RunTvq({"show", "-", "--json"},
                               "SMBIOS 2.7 present.\n\nHandle 0x0003, DMI type 127, 4 bytes\n"
                               "\tHeader and Data:\n\t\t7F 04 03 00\n");
  EXPECT_EQ(shown.status, 1);
  EXPECT_EQ(shown.Json()["smbios"]["structureCount"], 1);
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
                                   "'Inventory' or its end should stand here\n"));
}

TEST_F(CliShow, FitsIntoANarrowTerminal) {
  Server server;
  server.processor = std::string(70, 'x');
  const Outcome shown = Show(TableOf(server), {"--conform"}, {80, false});
  EXPECT_THAT(shown.out, AllOf(HasSubstr("xx…  "), Not(HasSubstr(std::string(70, 'x')))));
  std::istringstream lines(shown.out);
  for (std::string line; std::getline(lines, line);) {
    EXPECT_LE(std::count_if(line.begin(), line.end(), [](char c) { return (c & 0xC0) != 0x80; }),
              80)
        << line;
  }
}

TEST_F(CliShow, UsesColourOnATerminalAlone) {
  EXPECT_THAT(Show(TableOf({}), {"--conform"}, {0, true}).out,
              HasSubstr("\x1B[1mDevices: 4\x1B[0m"));
  EXPECT_THAT(Show(TableOf({}), {"--conform"}, {0, false}).out, Not(HasSubstr("\x1B")));
}

TEST_F(CliShow, SaysAllOfItAsJson) {
  const auto json = Show(TableOf({}), {"--conform", "--json"}).Json();
  EXPECT_EQ(json["start"], "Success");
  ASSERT_THAT(json["devices"], SizeIs(4));
  const auto& module = json["devices"][1];
  EXPECT_EQ(module["fqdd"], "DIMM.Socket.A1");
  EXPECT_EQ(module["partNumber"], "PART-1");
  EXPECT_EQ(module["cores"], nullptr);
  EXPECT_EQ(module["document"]["Configuration"]["dimmData"]["Speed"], "3200");
  EXPECT_THAT(json["withoutRecord"], IsEmpty());
  EXPECT_EQ(json["conform"], nullptr);
}

TEST_F(CliShow, SaysAsJsonWhatConformingWouldDo) {
  const auto json = Show(TableOf({}), {"--json"}).Json();
  EXPECT_EQ(json["withoutRecord"][1]["handles"].dump(), "[32771,32772]");
  EXPECT_EQ(json["conform"]["isRefused"], false);
  EXPECT_THAT(json["conform"]["changes"], SizeIs(3));
}

}  // namespace
}  // namespace tvq::cli
