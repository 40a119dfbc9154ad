/*
 * `tvq diff`: two tables, two saved states, and one of each.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/unit/host/cli/server.h"
#include "tests/unit/host/cli/state_bytes.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::cli {
namespace {

using test::Table;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

Server WithAnotherModule() {
  Server server;
  server.modules[1].serial = "99AABBCC";
  return server;
}

class CliDiff : public CliTest {
 protected:
  std::string TableFile(const std::string& name, const Server& server) {
    return Write(name, TableOf(server).Bytes());
  }
  std::string State(const std::string& name, const Server& server) {
    EXPECT_EQ(
        RunTvq({"save", Path(name), "--conform", "--from-dump", TableFile(name + ".bin", server)})
            .status,
        0);
    return Path(name);
  }
  Outcome DiffTables(const Server& before, const Server& after,
                     std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"diff", TableFile("before.bin", before),
                               TableFile("after.bin", after), "--conform"});
    return RunTvq(more);
  }
};

TEST_F(CliDiff, EqualTablesDoNotDiffer) {
  const Outcome diff = DiffTables({}, {});
  EXPECT_EQ(diff.status, 0) << diff.diagnostics;
  EXPECT_EQ(diff.out, "Summary: 3 same, 1 cannot tell\n");
}

TEST_F(CliDiff, AUuidStandsAsTheKernelPrintsIt) {
  const auto dump = [this](const std::string& name, uint8_t minor, uint8_t last) {
    test::System system;
    system.uuid.back() = last;
    const test::Table table = test::Table::Of(test::Bios{}, system, test::Processor{}, test::End{});
    return Write(name, test::EntryPointBytes::Of32Bits(
                           {2, minor, table.Size(), table.Count(), test::kTableInFile})
                           .FileWith(table));
  };
  EXPECT_THAT(RunTvq({"diff", dump("a", 5, 0xAB), dump("b", 5, 0xCD), "--conform"}).out,
              HasSubstr("    uuid: 33221100-5544-7766-8899-aabbccddeeab -> "
                        "33221100-5544-7766-8899-aabbccddeecd\n"));
  EXPECT_THAT(RunTvq({"diff", dump("a", 6, 0xAB), dump("b", 6, 0xCD), "--conform"}).out,
              HasSubstr("    uuid: 00112233-4455-6677-8899-aabbccddeeab -> "
                        "00112233-4455-6677-8899-aabbccddeecd\n"));
}

TEST_F(CliDiff, AReplacedModuleIsNamedWithItsFields) {
  const Outcome diff = DiffTables({}, WithAnotherModule());
  EXPECT_EQ(diff.status, 1);
  EXPECT_EQ(diff.out,
            "  DIMM.Socket.A2 (DIMM_A2): replaced\n"
            "      another part than was here, says the driver, the serial number\n"
            "      Inventory/WWN: 55667788 -> 99AABBCC\n"
            "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
            "Summary: 2 same, 1 cannot tell, 1 replaced\n"
            "\n"
            "Structures\n"
            "  type 17, handle 0x8004 (memory-device)\n"
            "    serial: \"55667788\" -> \"99AABBCC\"\n");
}

TEST_F(CliDiff, SaysWhichDevicesAreNewGoneAndMoved) {
  Server before;
  before.modules = {{"DIMM_A1", "11111112"}, {"DIMM_A2", "22222223"}};
  Server after;
  after.modules = {{"DIMM_A1", "33333334"}, {"DIMM_A3", "22222223"}, {"DIMM_A4", "44444445"}};
  const Outcome diff = DiffTables(before, after);
  EXPECT_THAT(diff.out, HasSubstr("  DIMM.Socket.A1 (DIMM_A1): replaced\n"));
  EXPECT_THAT(diff.out,
              HasSubstr("  DIMM.Socket.A3 (DIMM_A3): moved from DIMM.Socket.A2 (DIMM_A2)\n"
                        "      Inventory/Identifier/DIMMLocation: A2 -> A3\n"));
  EXPECT_THAT(diff.out, HasSubstr("  DIMM.Socket.A4 (DIMM_A4): new\n"));
  EXPECT_THAT(diff.out, HasSubstr("  type 17, handle 0x8005 (memory-device): added\n"));
  const Outcome back = DiffTables(after, before);
  EXPECT_THAT(back.out, HasSubstr("  type 17, handle 0x8005 (memory-device): gone\n"));
}

TEST_F(CliDiff, LinesOfOneNameAreNumberedFromTheSecondOn) {
  const auto table = [](const std::vector<std::string>& texts) {
    return Table::Of(TableOf({}), test::OemStrings{.handle = 0x900, .texts = texts}).Bytes();
  };
  const Outcome diff = RunTvq({"diff", Write("before.bin", table({"one", "two", "three"})),
                               Write("after.bin", table({"one", "2", "3"}))});
  EXPECT_THAT(diff.out, HasSubstr("  type 11, handle 0x0900 (oem-strings)\n"
                                  "    string[2]: \"two\" -> \"2\"\n"
                                  "    string[3]: \"three\" -> \"3\"\n"));
}

TEST_F(CliDiff, StructuresOfOneTypeAndHandleAreComparedInTheirOrder) {
  const auto table = [](const char* third) {
    Table all = TableOf({});
    for (const char* const text : {"one", "two", third}) {
      all.Add(test::OemStrings{.handle = 0x900, .texts = {text}});
    }
    return all.Bytes();
  };
  const Outcome diff =
      RunTvq({"diff", Write("before.bin", table("three")), Write("after.bin", table("3"))});
  EXPECT_THAT(diff.out, EndsWith("\nStructures\n"
                                 "  type 11, handle 0x0900 (oem-strings)\n"
                                 "    string: \"three\" -> \"3\"\n"));
}

TEST_F(CliDiff, TheVersionOfATableIsNoFieldOfItsStructures) {
  const auto dump = [this](const std::string& name, uint8_t minor, const char* text) {
    const Table table = Table::Of(TableOf({}), test::OemStrings{.handle = 0x900, .texts = {text}});
    return Write(name, test::EntryPointBytes::Of32Bits(
                           {3, minor, table.Size(), table.Count(), test::kTableInFile})
                           .FileWith(table));
  };
  EXPECT_THAT(RunTvq({"diff", dump("a", 2, "one"), dump("b", 3, "two")}).out,
              EndsWith("  type 11, handle 0x0900 (oem-strings)\n"
                       "    string: \"one\" -> \"two\"\n"));
}

TEST_F(CliDiff, ShowsItsHeadingsInBoldOnATerminal) {
  const Terminal coloured = {80, true};
  const Outcome diff = RunTvq({"diff", TableFile("before.bin", {}),
                               TableFile("after.bin", WithAnotherModule()), "--conform"},
                              "", coloured);
  EXPECT_THAT(diff.out, HasSubstr("\n" + Painted(coloured, Ink::kBold, "Structures") + "\n"));
}

TEST_F(CliDiff, AValueThatTheDriverDoesNotCompareIsADifferenceOfTheSamePart) {
  const Table after = Table::Of(TableOf({}), test::BaseBoard{});
  const Outcome diff =
      RunTvq({"diff", TableFile("before.bin", {}), Write("after.bin", after.Bytes()), "--conform"});
  EXPECT_EQ(diff.status, 1);
  EXPECT_THAT(diff.out, HasSubstr("  System.Embedded.1: changed (the same part)\n"
                                  "      Inventory/Identifier/BaseBoardInformation/"
                                  "LocationInChassis: (none) ->\n"
                                  "          Main Tray\n"
                                  "      Board/SerialNumber: (none) -> BRD0001\n"));
}

TEST_F(CliDiff, AStructureOfNoDeviceIsADifferenceUnlessTheFirmwareWasUpdated) {
  const auto dump = [this](const char* version, uint16_t speed) {
    return Write(std::string(version) + std::to_string(speed) + ".bin",
                 Table::Of(test::Bios{.version = version}, test::System{}, test::Processor{},
                           test::Cache{.maximumSize = speed}, test::End{})
                     .Bytes());
  };
  const auto diff = [&](const char* version, uint16_t size) {
    return RunTvq({"diff", dump("1.0", 0x100), dump(version, size), "--conform"});
  };
  const Outcome changed = diff("1.0", 0x200);
  EXPECT_EQ(changed.status, 1);
  EXPECT_THAT(changed.out, HasSubstr("\nStructures\n"));
  const Outcome updated = diff("2.0", 0x200);
  EXPECT_EQ(updated.status, 0);
  EXPECT_THAT(updated.out, HasSubstr("Firmware update: 1.0 -> 2.0"));
  EXPECT_THAT(updated.out, HasSubstr("\nStructures\n"));
}

TEST_F(CliDiff, SavedStatesDifferAsTheirTablesDo) {
  const std::string before = State("before", {});
  const Outcome diff = RunTvq({"diff", before, State("after", WithAnotherModule())});
  EXPECT_EQ(diff.status, 1);
  EXPECT_EQ(diff.out, DiffTables({}, WithAnotherModule()).out);
  EXPECT_EQ(RunTvq({"diff", before, before}).out, "Summary: 3 same, 1 cannot tell\n");
}

TEST_F(CliDiff, AStateIsReadUnderTheRulesOfEveryState) {
  const std::string state = State("before", {});
  const std::string after = TableFile("after.bin", {});
  std::filesystem::create_symlink(state, Path("link"));
  const Outcome linked = RunTvq({"diff", Path("link") + "/state-1.bin", after, "--conform"});
  EXPECT_EQ(linked.status, 2);
  EXPECT_THAT(linked.diagnostics, HasSubstr("is a symbolic link"));
  std::filesystem::permissions(state + "/state-1.bin", std::filesystem::perms::all);
  const Outcome open = RunTvq({"diff", state + "/state-1.bin", after, "--conform"});
  EXPECT_EQ(open.status, 2);
  EXPECT_THAT(open.diagnostics, HasSubstr("others may write it"));
}

TEST_F(CliDiff, TwoMachinesAreNamedAsThat) {
  const auto dump = [this](const std::string& name, const char* serial, uint8_t last) {
    test::System system{.serial = serial};
    system.uuid.back() = last;
    return Write(name, Table::Of(test::Bios{}, system, test::Processor{}, test::End{}).Bytes());
  };
  const std::string one = dump("one", "AAA1234", 1);
  const std::string other = dump("other", "BBB1234", 2);
  EXPECT_THAT(RunTvq({"diff", one, other, "--conform"}).diagnostics,
              HasSubstr("these are two machines: " + one + " is system AAA1234"));
  const Outcome redacted = RunTvq({"diff", one, other, "--conform", "--redact"});
  EXPECT_THAT(redacted.diagnostics, HasSubstr("these are two machines\n"));
  EXPECT_THAT(redacted.diagnostics, Not(HasSubstr("AAA1234")));
}

TEST_F(CliDiff, DevicesThatNothingCanBeComparedWithAreNamed) {
  Server unreadable;
  unreadable.processor = "Core & Works";
  const Outcome diff = DiffTables({}, unreadable);
  EXPECT_THAT(diff.diagnostics,
              HasSubstr("after.bin lacks CPU.Socket.1: a document that no parser reads"));
  EXPECT_THAT(diff.diagnostics, Not(HasSubstr("before.bin lacks")));
}

TEST_F(CliDiff, AStateAndATableCanBeCompared) {
  const std::string state = State("before", {});
  EXPECT_EQ(RunTvq({"diff", state + "/state-1.bin", TableFile("after.bin", {}), "--conform"}).out,
            "Summary: 3 same, 1 cannot tell\n");
  const Server server = WithAnotherModule();
  EXPECT_EQ(RunTvq({"diff", TableFile("after.bin", server), state, "--conform"}).status, 1);
}

TEST_F(CliDiff, OfAStateWithoutItsTableTheDevicesAloneAreCompared) {
  State("before", {});
  Write("before/state-1.bin", WithoutTable(Read("before/state-1.bin")));
  const std::string devices =
      "  DIMM.Socket.A2 (DIMM_A2): replaced\n"
      "      another part than was here, says the driver, the serial number\n"
      "      Inventory/WWN: 55667788 -> 99AABBCC\n"
      "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
      "Summary: 1 same, 2 cannot tell, 1 replaced\n";
  const std::string after = State("after", WithAnotherModule());
  EXPECT_EQ(RunTvq({"diff", Path("before"), after}).out, devices);
  EXPECT_EQ(RunTvq({"diff", Path("before"), Path("after.bin")}).out, devices);
  EXPECT_EQ(RunTvq({"diff", after, Path("before")}).status, 1);
}

TEST_F(CliDiff, AStateMadeWithOtherOptionsIsNotCompared) {
  const std::string table = Write("table.bin", test::MinimalServer().Bytes());
  EXPECT_EQ(RunTvq({"save", Path("as-is"), "--as-is", "--table", table}).status, 0);
  const Outcome diff = RunTvq({"diff", Path("as-is"), table});
  EXPECT_EQ(diff.status, 2);
  EXPECT_EQ(diff.out,
            "Not compared: saved of the table as it is, and now of the conformed table.\n"
            "  To do: use the same options, or save anew\n");
  const Table more = Table::Of(test::MinimalServer(), test::OemStrings{});
  EXPECT_EQ(RunTvq({"diff", Path("as-is"), Write("more.bin", more.Bytes())}).out, diff.out);
}

TEST_F(CliDiff, ADocumentThatCannotBeComparedIsTrouble) {
  Server server;
  server.processor = "Core & Works";
  const Outcome diff = DiffTables(server, {});
  EXPECT_THAT(diff.out, HasSubstr("  CPU.Socket.1 (CPU1): not verified\n"
                                  "      the saved document cannot be read: it is not"));
  EXPECT_EQ(DiffTables(server, server).status, 0) << "equal bytes need no parser";
}

TEST_F(CliDiff, AFindingWinsOverADocumentThatCannotBeCompared) {
  Server after = WithAnotherModule();
  after.processor = "Core Works 9";
  Server before;
  before.processor = "Core & Works";
  const Outcome diff = DiffTables(before, after);
  EXPECT_EQ(diff.status, 1);
  EXPECT_THAT(diff.out, HasSubstr("Summary: 2 same, 1 replaced, 1 not verified\n"));
}

// One structure of the FQDD map has room for 62 names.
TEST_F(CliDiff, StatesOfManyDevicesAreComparedWhole) {
  Server server;
  server.modules.clear();
  for (char channel = 'A'; channel <= 'N'; ++channel) {
    for (char slot = '1'; slot <= '9'; ++slot) {
      server.modules.push_back({std::string("DIMM_") + channel + slot,
                                std::string("0000") + channel + channel + slot + slot});
    }
  }
  const std::string before = State("before", server);
  server.modules[100].serial = "99AABBCC";
  EXPECT_EQ(RunTvq({"diff", before, State("after", server)}).out,
            "  DIMM.Socket.L2 (DIMM_L2): replaced\n"
            "      another part than was here, says the driver, the serial number\n"
            "      Inventory/WWN: 0000LL22 -> 99AABBCC\n"
            "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
            "Summary: 126 same, 1 cannot tell, 1 replaced\n"
            "\n"
            "Structures\n"
            "  type 17, handle 0x8067 (memory-device)\n"
            "    serial: \"0000LL22\" -> \"99AABBCC\"\n");
}

TEST_F(CliDiff, ComparesAModuleThatMovedWithItselfWhereTwoHadOneName) {
  const auto named = [](const char* second) {
    return Table::Of(
        test::Bios{}, test::System{}, test::Processor{.handle = 0x10},
        test::MemoryDevice{.handle = 0x21, .locator = "DIMM_A1", .serial = "11223344"},
        test::MemoryDevice{.handle = 0x22, .locator = "DIMM_A2", .serial = "55667788"},
        test::FqddMap{.groups = {{"CPU.Socket.1", 0x10}, {"DIMM.Socket.A1", 0x21}, {second, 0x22}}},
        test::End{});
  };
  const Outcome diff = RunTvq({"diff", Write("before.bin", named("DIMM.Socket.A1").Bytes()),
                               Write("after.bin", named("DIMM.Socket.A2").Bytes()), "--as-is"});
  EXPECT_THAT(diff.out,
              HasSubstr("  DIMM.Socket.A2 (DIMM_A2): moved from DIMM.Socket.A1 (DIMM_A2)\n"));
}

TEST_F(CliDiff, SaysItAllAsJson) {
  const auto json = DiffTables({}, WithAnotherModule(), {"--json"}).Json();
  ASSERT_THAT(json["devices"], SizeIs(4));
  EXPECT_EQ(
      json["devices"][2].dump(),
      R"({"fqdd":"DIMM.Socket.A2","label":"DIMM_A2","kind":"memory module","verdict":"replaced",)"
      R"("also":["changed"],"movedFrom":null,"replacedSays":["the driver","the serial number"],)"
      R"("isSamePart":false,"reason":null,)"
      R"("fields":[{"field":"Inventory/WWN","before":"55667788","after":"99AABBCC"}],)"
      R"("toDo":"accept it if it was exchanged on purpose, else find out by whom"})");
  EXPECT_EQ(json["structures"][0]["change"], "changed");
}

TEST_F(CliDiff, MasksWhatItPrintsAndNotWhatItCompares) {
  const Outcome diff =
      DiffTables({}, WithAnotherModule(), {"--redact", "--redact-key", "a test's key"});
  EXPECT_EQ(diff.status, 1);
  EXPECT_THAT(diff.out, HasSubstr("Summary: 2 same, 1 cannot tell, 1 replaced\n"));
  EXPECT_THAT(diff.out, HasSubstr("      Inventory/WWN: "));
  EXPECT_THAT(diff.out, Not(HasSubstr("55667788")));
  EXPECT_THAT(diff.out, Not(HasSubstr("99AABBCC")));
}

TEST_F(CliDiff, ATableWithoutRecordsIsTrouble) {
  const Outcome diff =
      RunTvq({"diff", TableFile("before.bin", {}), TableFile("after.bin", {}), "--as-is"});
  EXPECT_EQ(diff.status, 2);
  EXPECT_THAT(diff.diagnostics, HasSubstr("tvq: hint: without --as-is, the table is made fit"));
}

TEST_F(CliDiff, ADamagedStateIsTrouble) {
  State("before", {});
  test::Bytes bytes = Read("before/state-1.bin");
  bytes[40] ^= 1;
  Write("before/state-1.bin", bytes);
  const Outcome diff = RunTvq({"diff", Path("before"), Path("before")});
  EXPECT_EQ(diff.status, 2);
  EXPECT_THAT(diff.diagnostics, HasSubstr("state-1.bin is damaged"));
}

}  // namespace
}  // namespace tvq::cli
