/*
 * `tvq get`: one value of a table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/cli/server.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::cli {
namespace {

using test::Table;
using testing::HasSubstr;
using testing::Not;

constexpr Terminal kPipe = {80, false, false, true};

class CliGet : public CliTest {
 protected:
  Outcome Get(const Table& table, std::vector<std::string> more, Terminal terminal = {}) {
    more.insert(more.begin(), {"get", Write("table.bin", table.Bytes())});
    return RunTvq(more, "", terminal);
  }
  static Table TwoBoards() {
    return Table::Of(TableOf({}), test::BaseBoard{}, test::BaseBoard{.serial = "BRD0002"});
  }
};

TEST_F(CliGet, PrintsAValueOfAPartThatIsTheOnlyOne) {
  const Outcome got = Get(TableOf({}), {"system.serial"});
  EXPECT_EQ(got.status, 0) << got.diagnostics;
  EXPECT_EQ(got.out, "ABC1234\n");
  EXPECT_EQ(got.diagnostics, "");
  EXPECT_EQ(Get(TableOf({}), {"system.uuid"}).out, "00112233-4455-6677-8899-aabbccddeeff\n");
}

TEST_F(CliGet, TakesASingleArgumentForAPathOfThisMachine) {
  const Table table = TableOf({});
  Write("smbios_entry_point", test::EntryPointBytes::Of32Bits(table).Bytes());
  Write("DMI", table.Bytes());
  EXPECT_EQ(RunTvq({"get", "system.serial", "--sysfs", Path("")}).out, "ABC1234\n");
  EXPECT_THAT(RunTvq({"get", "--list", "--sysfs", Path("")}).out,
              HasSubstr("system.serial  ABC1234\n"));
  const std::string file = Write("table.bin", table.Bytes());
  EXPECT_EQ(RunTvq({"get", "system.serial", "--table", file}).out, "ABC1234\n");
}

TEST_F(CliGet, SaysNothingOfWhatTheDriverMakesOfTheTable) {
  const Table table = Table::Of(test::System{});
  EXPECT_THAT(RunTvq({"show", Write("table.bin", table.Bytes())}).diagnostics,
              HasSubstr("tvq: warning: "));
  const Outcome got = Get(table, {"system.serial"});
  EXPECT_EQ(got.out, "ABC1234\n");
  EXPECT_EQ(got.diagnostics, "");
}

TEST_F(CliGet, PrintsAValueOfTheNthPart) {
  EXPECT_EQ(Get(TwoBoards(), {"board.serial"}).out, "BRD0001\n");
  EXPECT_EQ(Get(TwoBoards(), {"board[1].serial"}).out, "BRD0001\n");
  EXPECT_EQ(Get(TwoBoards(), {"board[2].serial"}).out, "BRD0002\n");
  EXPECT_EQ(Get(TwoBoards(), {"board[3].serial"}).status, 1);
}

TEST_F(CliGet, FindsADeviceByItsLabelAndByItsFqdd) {
  EXPECT_EQ(Get(TableOf({}), {"DIMM_A2.serial"}).out, "55667788\n");
  EXPECT_EQ(Get(TableOf({}), {"DIMM.Socket.A2.serial", "--conform"}).out, "55667788\n");
  EXPECT_EQ(Get(TableOf({}), {"DIMM.Socket.A2.label", "--conform"}).out, "DIMM_A2\n");
  EXPECT_EQ(Get(TableOf({}), {"DIMM_A2.fqdd", "--conform"}).out, "DIMM.Socket.A2\n");
}

TEST_F(CliGet, PrintsNumbersWithoutAUnitAndFlagsAsWords) {
  EXPECT_EQ(Get(TableOf({}), {"module[1].sizeInBytes"}).out, "17179869184\n");
  EXPECT_EQ(Get(TableOf({}), {"processor.isPopulated"}).out, "true\n");
}

TEST_F(CliGet, EndsWithOneWhereThereIsNoValue) {
  for (const char* const path : {"board.serial", "system.nothing", "nothing.serial", "serial", "",
                                 ".", "module[1].firmwareVersion", "module[0].serial"}) {
    const Outcome got = Get(TableOf({}), {path});
    EXPECT_EQ(got.status, 1) << path;
    EXPECT_EQ(got.out, "") << path;
    EXPECT_EQ(got.diagnostics, "tvq: warning: the table has no '" + std::string(path) + "'\n");
  }
  EXPECT_EQ(Get(TableOf({}), {"board.serial", "--quiet"}).diagnostics, "");
}

TEST_F(CliGet, ListsThePartsThatALabelMayMean) {
  Server server;
  server.modules = {{"DIMM 0", "11223344"}, {"DIMM 0", "55667788"}};
  const Outcome got = Get(TableOf(server), {"DIMM 0.serial"});
  EXPECT_EQ(got.status, 2);
  EXPECT_THAT(got.diagnostics, HasSubstr("may be of any of 2 parts: DIMM.Socket.0, DIMM.Socket."));
}

TEST_F(CliGet, ListsEveryPathThatItTakes) {
  const Outcome listed = Get(TwoBoards(), {"--list", "--conform"}, kPipe);
  EXPECT_EQ(listed.status, 0);
  EXPECT_THAT(listed.out, HasSubstr("system.serial\tABC1234\n"));
  EXPECT_THAT(listed.out, HasSubstr("board[2].serial\tBRD0002\n"));
  EXPECT_THAT(listed.out, HasSubstr("DIMM.Socket.A1.serial\t11223344\n"));
  EXPECT_THAT(listed.out, Not(HasSubstr("\t\n")));
  std::istringstream lines(listed.out);
  size_t count = 0;
  for (std::string line; std::getline(lines, line); ++count) {
    const size_t tab = line.find('\t');
    EXPECT_EQ(Get(TwoBoards(), {line.substr(0, tab), "--conform"}).out,
              line.substr(tab + 1) + '\n');
  }
  EXPECT_GT(count, 50u);
}

TEST_F(CliGet, KeepsItsLinesWholeForProgramsAlone) {
  Server server;
  server.processor = std::string(30, 'x') + ' ' + std::string(40, 'y');
  EXPECT_THAT(Get(TableOf(server), {"--list"}, kPipe).out,
              HasSubstr("CPU.Socket.1.version\t" + server.processor + "\n"));
  EXPECT_THAT(Get(TableOf(server), {"--list"}, {80}).out,
              HasSubstr("CPU.Socket.1.version  " + std::string(30, 'x') + "\n  " +
                        std::string(40, 'y') + "\n"));
  EXPECT_EQ(Get(TableOf(server), {"CPU.Socket.1.version"}, kPipe).out, server.processor + "\n");
}

TEST_F(CliGet, SpellsOutWhatIsNoAsciiWhereTheTerminalShowsNoMore) {
  Server server;
  server.processor = "Core\xAE 8";
  EXPECT_EQ(Get(TableOf(server), {"CPU.Socket.1.version"}, {80, false, true}).out, "Core\\xAE 8\n");
}

TEST_F(CliGet, WantsOnePath) {
  EXPECT_THAT(Get(TableOf({}), {}).diagnostics, HasSubstr("tvq: hint: `tvq get TABLE --list`"));
  EXPECT_THAT(Get(TableOf({}), {"system.serial", "more"}).diagnostics,
              HasSubstr("one argument too many"));
}

TEST_F(CliGet, MasksWhatIsToBeRedacted) {
  const Outcome got = Get(TableOf({}), {"DIMM_A2.serial", "--redact", "--redact-key", "key"});
  EXPECT_EQ(got.status, 0) << got.diagnostics;
  EXPECT_NE(got.out, "55667788\n");
  EXPECT_EQ(got.out.size(), 9u);
}

}  // namespace
}  // namespace tvq::cli
