/*
 * An agent's stick as the state to compare with: the commands find the machine's own folder on it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

constexpr char kReplaced[] = "replaced";

// A machine with numbers of its own; of its two modules one can be another one.
test::Table NumberedMachine(const std::string& number, const std::string& second = "22") {
  test::System system{.serial = number, .uuid = test::Bytes(16, 0x5A)};
  system.uuid[0] = static_cast<uint8_t>(number.back());
  return test::Table::Of(test::Bios{}, system, test::BaseBoard{.serial = number + "-B"},
                         test::MemoryDevice{.locator = "DIMM_A1", .serial = number + "-11"},
                         test::MemoryDevice{.locator = "DIMM_A2", .serial = number + "-" + second},
                         test::End{});
}

// The machine BBB2 after a repair.
test::Table WithAnotherBoard() {
  test::System system{.serial = "BBB2", .uuid = test::Bytes(16, 0x77)};
  return test::Table::Of(test::Bios{}, system, test::BaseBoard{.serial = "CCC3-B"},
                         test::MemoryDevice{.locator = "DIMM_A1", .serial = "BBB2-11"},
                         test::MemoryDevice{.locator = "DIMM_A2", .serial = "BBB2-22"},
                         test::End{});
}

test::Table Nameless() {
  return test::Table::Of(test::Bios{}, test::System{.serial = "", .uuid = test::Bytes(16, 0)},
                         test::MemoryDevice{.locator = "DIMM_A1", .serial = ""}, test::End{});
}

class CliStick : public CliTest {
 protected:
  CliStick() { std::filesystem::create_directories(Path("stick/TVQ")); }

  std::string TableFile(const test::Table& table) { return Write("table.bin", table.Bytes()); }
  std::string Folder(const std::string& name) const { return Path("stick/TVQ/machine-" + name); }
  void SaveOnStick(const std::string& name, const test::Table& table) {
    ASSERT_EQ(RunTvq({"save", Folder(name), "--from-dump", TableFile(table)}).status, 0);
  }
  // What the agent leaves on a stick beside the states.
  void AddAgentsOwnFiles() {
    std::filesystem::create_directories(Path("stick/EFI/BOOT"));
    for (const char* const name : {"TVQ/report.txt", "TVQ/log.txt", "EFI/BOOT/BOOTX64.EFI"}) {
      Write(std::string("stick/") + name, {'t', 'e', 'x', 't'});
    }
  }
  void SaveTwoMachines() {
    SaveOnStick("AAA1", NumberedMachine("AAA1"));
    SaveOnStick("BBB2", NumberedMachine("BBB2"));
  }
  Outcome Verify(const test::Table& table, const std::string& stick = "stick") {
    return RunTvq({"verify", Path(stick), "--from-dump", TableFile(table)});
  }
};

TEST_F(CliStick, IsComparedWithByWhatItsStatesSay) {
  SaveTwoMachines();
  EXPECT_EQ(Verify(NumberedMachine("AAA1")).status, 0);
  EXPECT_EQ(Verify(NumberedMachine("BBB2")).status, 0);
  const Outcome changed = Verify(NumberedMachine("BBB2", "33"));
  EXPECT_EQ(changed.status, 1);
  EXPECT_THAT(changed.out, AllOf(HasSubstr("(DIMM_A2): replaced"), HasSubstr("BBB2-22"),
                                 Not(HasSubstr("AAA1"))));
}

TEST_F(CliStick, MayBeNamedByItsFolder) {
  SaveTwoMachines();
  EXPECT_EQ(Verify(NumberedMachine("BBB2"), "stick/TVQ").status, 0);
}

TEST_F(CliStick, KnowsAMachineWithAnotherBoardByItsOtherNumbers) {
  SaveTwoMachines();
  EXPECT_THAT(Verify(WithAnotherBoard()).diagnostics,
              HasSubstr("machine-BBB2/state-1.bin is of this machine"));
}

TEST_F(CliStick, WithoutTheMachineSaysWhichItHas) {
  SaveTwoMachines();
  const Outcome unknown = Verify(NumberedMachine("CCC3"));
  EXPECT_EQ(unknown.status, 3);
  EXPECT_THAT(unknown.diagnostics, HasSubstr("tvq: error: " + Path("stick") +
                                             " has no state of this machine\n"
                                             "tvq: hint: name the folder of one machine: " +
                                             Folder("AAA1") + ", " + Folder("BBB2")));
}

TEST_F(CliStick, TakesTheOnlyStateThatMayBeOfAMachineWithoutNumbers) {
  SaveOnStick("AAA1", NumberedMachine("AAA1"));
  SaveOnStick("without-number", Nameless());
  EXPECT_EQ(Verify(Nameless()).status, 0);
  SaveOnStick("without-number-2", Nameless());
  const Outcome unclear = Verify(Nameless());
  EXPECT_EQ(unclear.status, 3);
  EXPECT_THAT(unclear.diagnostics,
              AllOf(HasSubstr("has several states that may be of this machine"),
                    HasSubstr(Folder("without-number") + ", " + Folder("without-number-2")),
                    Not(HasSubstr("AAA1"))));
}

TEST_F(CliStick, PassesOverAFolderWhoseStateIsDamaged) {
  SaveTwoMachines();
  const test::Bytes whole = Read("stick/TVQ/machine-AAA1/state-1.bin");
  test::Bytes damaged = whole;
  damaged[whole.size() / 2] ^= 0x40;
  for (const test::Bytes& bytes : {test::Bytes{'T', 'V', 'Q'}, damaged}) {
    Write("stick/TVQ/machine-AAA1/state-1.bin", bytes);
    const Outcome verified = Verify(NumberedMachine("BBB2"));
    EXPECT_EQ(verified.status, 0);
    EXPECT_THAT(verified.diagnostics, Not(HasSubstr("AAA1")));
    EXPECT_THAT(Verify(NumberedMachine("AAA1")).diagnostics,
                HasSubstr("has no state of this machine"));
  }
}

TEST_F(CliStick, HasNoStateOfAMachineWhereItsOnlyOneIsDamaged) {
  SaveOnStick("without-number", Nameless());
  Write("stick/TVQ/machine-without-number/state-1.bin", {'T', 'V', 'Q'});
  EXPECT_THAT(Verify(Nameless()).diagnostics, HasSubstr("has no state of this machine"));
}

TEST_F(CliStick, TakesAStateThatMayBeOfTheMachineWhateverItsFolderIsCalled) {
  SaveOnStick("AAA1", Nameless());
  const Outcome verified = Verify(Nameless());
  EXPECT_EQ(verified.status, 0);
  EXPECT_THAT(verified.diagnostics,
              HasSubstr("machine-AAA1/state-1.bin may be of another machine: nothing in the table "
                        "tells this one from others"));
}

TEST_F(CliStick, PrefersTheStateOfTheSameBoardToThatOfAnotherOne) {
  SaveTwoMachines();
  SaveOnStick("BBB2-repaired", WithAnotherBoard());
  EXPECT_EQ(Verify(NumberedMachine("BBB2")).status, 0);
  EXPECT_EQ(Verify(NumberedMachine("BBB2")).diagnostics, "");
}

TEST_F(CliStick, PrefersAStateWithTheMachinesNumbersToOneWithoutAny) {
  SaveTwoMachines();
  SaveOnStick("without-number", Nameless());
  EXPECT_THAT(Verify(WithAnotherBoard()).diagnostics,
              HasSubstr("machine-BBB2/state-1.bin is of this machine"));
}

TEST_F(CliStick, IsEitherSideOfADifference) {
  SaveTwoMachines();
  const std::string changed = TableFile(NumberedMachine("AAA1", "33"));
  EXPECT_THAT(RunTvq({"diff", Path("stick"), changed}).out, HasSubstr(kReplaced));
  EXPECT_THAT(RunTvq({"diff", changed, Path("stick")}).out, HasSubstr(kReplaced));
}

TEST_F(CliStick, GivesNoSerialNumberAwayByTheNameOfAFolder) {
  SaveTwoMachines();
  const std::string changed = TableFile(NumberedMachine("AAA1", "33"));
  const Outcome diff = RunTvq({"diff", Path("stick"), changed, "--redact"});
  EXPECT_THAT(diff.out + diff.diagnostics, Not(HasSubstr("AAA1")));
}

TEST_F(CliStick, AcceptsADeviceOfItsMachine) {
  SaveTwoMachines();
  const std::string changed = TableFile(NumberedMachine("AAA1", "33"));
  EXPECT_EQ(RunTvq({"accept", Path("stick"), "DIMM_A2", "--from-dump", changed}).status, 0);
  EXPECT_TRUE(std::filesystem::exists(Folder("AAA1") + "/state-2.bin"));
  EXPECT_EQ(Verify(NumberedMachine("AAA1", "33")).status, 0);
}

TEST_F(CliStick, GivesRowsTheirVerdicts) {
  SaveTwoMachines();
  const std::string changed = TableFile(NumberedMachine("AAA1", "33"));
  EXPECT_THAT(RunTvq({"export", changed, "--rows", "--against", Path("stick")}).out,
              HasSubstr("\"verdict\":\"replaced\""));
}

TEST_F(CliStick, GivesAPageItsChangesAndNotItsMachinesNumber) {
  SaveTwoMachines();
  const std::string changed = TableFile(NumberedMachine("AAA1", "33"));
  const Outcome page = RunTvq({"report", changed, "--against", Path("stick"), "-o", "-"});
  EXPECT_EQ(page.status, 1);
  EXPECT_THAT(page.out, AllOf(HasSubstr(">replaced</a>"), Not(HasSubstr("AAA1"))));
}

TEST_F(CliStick, GivesAPageAboutAMachineWithoutItsTable) {
  SaveTwoMachines();
  const Outcome page = RunTvq({"report", Folder("AAA1"), "-o", "-", "--show-serials"});
  EXPECT_THAT(page.out, AllOf(HasSubstr("<h1>Rack One</h1>"), HasSubstr("AAA1-22")));
  EXPECT_THAT(RunTvq({"report", Folder("AAA1") + "/state-1.bin", "-o", "-"}).out,
              AllOf(HasSubstr("<h1>Rack One</h1>"), Not(HasSubstr("AAA1"))));
}

TEST_F(CliStick, GivesAPageToEachOfItsMachines) {
  SaveTwoMachines();
  AddAgentsOwnFiles();
  const auto names = [this](const std::vector<std::string>& more) {
    std::vector<std::string> arguments = {"report", Path("stick"), "-o", Path("pages")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = RunTvq(arguments);
    EXPECT_LT(outcome.status, 2);
    EXPECT_EQ(outcome.diagnostics, "");
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Path("pages"))) {
      names.push_back(entry.path().filename());
    }
    return names;
  };
  EXPECT_THAT(names({}), UnorderedElementsAre("index.html", "machine.html", "machine-2.html"));
  const test::Bytes index = Read("pages/index.html");
  EXPECT_THAT(std::string(index.begin(), index.end()),
              AllOf(HasSubstr("machine-2.html"), Not(HasSubstr("AAA1"))));
  std::filesystem::remove_all(Path("pages"));
  EXPECT_THAT(names({"--show-serials"}),
              UnorderedElementsAre("index.html", "machine-AAA1.html", "machine-BBB2.html"));
}

}  // namespace
}  // namespace tvq::cli
