/*
 * `tvq save` and `tvq verify` as a whole: from the command line to findings and exit statuses.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <sstream>

#include "host/cli/compare/comparison_journal.h"
#include "tests/unit/host/cli/output/fake_journal.h"
#include "tests/unit/host/cli/server.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class CliState : public CliTest {
 protected:
  std::string State() const { return Path("state"); }
  std::string StateFile() const { return State() + "/state-1.bin"; }

  Outcome Run(const std::string& command, const Server& server,
              std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {command, State(), "--conform", "--table",
                                          Write("table.bin", TableOf(server).Bytes())};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTvq(arguments);
  }
  Outcome Save(const Server& server) { return Run("save", server); }
  Outcome Verify(const Server& server) { return Run("verify", server); }
};

TEST_F(CliState, AnUnchangedMachineIsTheSame) {
  EXPECT_EQ(Save({}).status, 0);
  const Outcome verified = Verify({});
  EXPECT_EQ(verified.status, 0) << verified.diagnostics;
  EXPECT_EQ(verified.out, "Summary: 3 same, 1 cannot tell\n");
  EXPECT_EQ(Run("verify", {}, {"-v"}).out,
            "  CPU.Socket.1 (CPU1): cannot tell\n"
            "      To do: nothing, or look at the part itself\n"
            "  DIMM.Socket.A1 (DIMM_A1): same\n"
            "  DIMM.Socket.A2 (DIMM_A2): same\n"
            "  System.Embedded.1: same\n"
            "Summary: 3 same, 1 cannot tell\n");
}

TEST_F(CliState, SaysAsJsonWhatWasSaved) {
  const Outcome saved = Run("save", {}, {"--json"});
  EXPECT_EQ(saved.status, 0) << saved.diagnostics;
  const auto json = nlohmann::json::parse(saved.out);
  EXPECT_EQ(json["state"], StateFile());
  EXPECT_EQ(json["isNew"], true);
  EXPECT_EQ(json["devices"], nlohmann::json({"CPU.Socket.1", "DIMM.Socket.A1", "DIMM.Socket.A2",
                                             "System.Embedded.1"}));
  EXPECT_THAT(json["missing"], IsEmpty());
  EXPECT_EQ(nlohmann::json::parse(Run("save", {}, {"--json"}).out)["isNew"], false);
}

TEST_F(CliState, AnotherSerialNumberIsAReplacement) {
  Save({});
  Server server;
  server.modules[1].serial = "99AABBCC";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A2 (DIMM_A2): replaced\n"));
  EXPECT_THAT(verified.out, HasSubstr("Summary: 2 same, 1 cannot tell, 1 replaced\n"));
}

TEST_F(CliState, SaveFirstSavesWhereThereIsNoStateAndComparesLaterOnes) {
  EXPECT_EQ(Run("verify", {}).status, 3);
  const Outcome first = Run("verify", {}, {"--save-first"});
  EXPECT_EQ(first.status, 0) << first.diagnostics;
  EXPECT_EQ(first.out, "Summary: 3 same, 1 cannot tell\n");
  EXPECT_TRUE(fs::exists(StateFile()));
  Server server;
  server.modules[1].serial = "99AABBCC";
  EXPECT_EQ(Run("verify", server, {"--save-first"}).status, 1);
  EXPECT_EQ(Run("verify", server, {"--save-first"}).status, 1) << "it is saved once";
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
}

TEST_F(CliState, SaveFirstPutsNothingInThePlaceOfADamagedState) {
  Save({});
  fs::resize_file(StateFile(), fs::file_size(StateFile()) / 2);
  const Outcome verified = Run("verify", {}, {"--save-first"});
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.diagnostics,
              HasSubstr("no state in " + State() + " is whole\ntvq: hint: `tvq save " + State() +
                        "` takes the machine as it is now\n"));
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
}

TEST_F(CliState, SaveFirstFailsAtAStateThatWasChanged) {
  Save({});
  test::Bytes bytes = Read("state/state-1.bin");
  bytes[40] ^= 1;
  Write("state/state-1.bin", bytes);
  const Outcome verified = Run("verify", {}, {"--save-first"});
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.diagnostics,
              HasSubstr("state-1.bin is damaged\ntvq: hint: move it away and save a new one\n"));
}

class CliStateWithJournal : public CliState {
 protected:
  CliStateWithJournal() : mSystem(Path("socket")) {}

  // The journal's entries of a run, by the fields.
  std::vector<JournalFields> Written(const std::string& table, const std::string& more) {
    const std::string state = State();
    const char* const arguments[] = {"tvq",         "verify",    state.c_str(), "--table",
                                     table.c_str(), "--journal", more.c_str()};
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream diagnostics;
    Console console{in, out, diagnostics};
    console.journal = mSystem.Path();
    RunCommandLine(static_cast<int>(std::size(arguments)), arguments, console);
    return mSystem.All();
  }
  std::string TableFile() { return Write("table.bin", TableOf({}).Bytes()); }

  FakeJournal mSystem;
};

TEST_F(CliStateWithJournal, TheFirstStateAndASummaryAreWritten) {
  const auto first = Written(TableFile(), "--save-first");
  ASSERT_THAT(first, SizeIs(2));
  EXPECT_THAT(first[0].at("MESSAGE_ID"), ElementsAre(kFirstStateId));
  EXPECT_THAT(first[1].at("MESSAGE"),
              ElementsAre("Nothing is to be looked at: 1 cannot tell, 3 same"));
}

TEST_F(CliStateWithJournal, AStateThatWasCutOffIsWritten) {
  Save({});
  Server other;
  other.cores = 16;
  Save(other);
  fs::resize_file(State() + "/state-2.bin", fs::file_size(State() + "/state-2.bin") / 2);
  const auto entries = Written(TableFile(), "--quiet");
  ASSERT_THAT(entries, SizeIs(2));
  EXPECT_THAT(entries[0].at("MESSAGE_ID"), ElementsAre(kPassedOverId));
  EXPECT_THAT(entries[1].at("MESSAGE_ID"), ElementsAre(kSummaryId));
}

TEST_F(CliStateWithJournal, ThatNothingWasComparedIsWritten) {
  const std::string empty = Write("empty.bin", test::Table::Of(test::Bios{}, test::End{}).Bytes());
  const auto entries = Written(empty, "--save-first");
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("Nothing was compared: the table describes no device"));
}

TEST_F(CliState, IfFoundPrintsNothingOfAQuietMachine) {
  Save({});
  for (const std::vector<std::string>& options :
       {std::vector<std::string>{"--if-found"}, {"--if-found", "--json"}}) {
    const Outcome quiet = Run("verify", {}, options);
    EXPECT_EQ(quiet.status, 0);
    EXPECT_EQ(quiet.out, "");
    Server server;
    server.modules.pop_back();
    const Outcome found = Run("verify", server, options);
    EXPECT_EQ(found.status, 1);
    EXPECT_THAT(found.out, HasSubstr("gone"));
  }
}

TEST_F(CliState, AnotherPartNumberIsAReplacement) {
  Save({});
  Server server;
  server.modules[0].part = "PART-2";
  EXPECT_THAT(Verify(server).out, HasSubstr("  DIMM.Socket.A1 (DIMM_A1): replaced\n"));
}

TEST_F(CliState, AnotherCoreCountIsAReplacement) {
  Save({});
  Server server;
  server.cores = 10;
  EXPECT_THAT(Verify(server).out, HasSubstr("  CPU.Socket.1 (CPU1): replaced\n"));
}

TEST_F(CliState, ALongSerialNumberIsNoReplacement) {
  Server server;
  server.modules[0].serial = "0123456789ABCDEFGHIJ";
  Save(server);
  EXPECT_EQ(Verify(server).status, 0);
}

TEST_F(CliState, ADeviceThatWasNotThereIsNew) {
  Save({});
  Server server;
  server.modules.push_back({"DIMM_A3", "DDEEFF00"});
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A3 (DIMM_A3): new\n"));
}

TEST_F(CliState, ADeviceThatIsNotThereAnyMoreIsGone) {
  Save({});
  Server server;
  server.modules.pop_back();
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A2 (DIMM_A2): gone\n"));
}

TEST_F(CliState, AModuleInAnotherSlotHasMoved) {
  Save({});
  Server server;
  server.modules[1].locator = "DIMM_B1";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out,
              HasSubstr("  DIMM.Socket.B1 (DIMM_B1): moved from DIMM.Socket.A2 (DIMM_A2)\n"));
  EXPECT_THAT(verified.out, Not(HasSubstr("gone")));
}

TEST_F(CliState, ModulesThatChangedPlacesHaveBothMoved) {
  Save({});
  Server server;
  std::swap(server.modules[0].serial, server.modules[1].serial);
  const Outcome verified = Verify(server);
  EXPECT_THAT(verified.out,
              HasSubstr("  DIMM.Socket.A1 (DIMM_A1): moved from DIMM.Socket.A2 (DIMM_A2)\n"));
  EXPECT_THAT(verified.out,
              HasSubstr("  DIMM.Socket.A2 (DIMM_A2): moved from DIMM.Socket.A1 (DIMM_A1)\n"));
  EXPECT_THAT(verified.out, Not(HasSubstr("gone")));
}

TEST_F(CliState, TheModuleThatMadeRoomForAnotherOneIsGone) {
  Save({});
  Server server;
  server.modules = {{"DIMM_A1", "55667788"}};
  const Outcome verified = Verify(server);
  EXPECT_THAT(verified.out,
              HasSubstr("  DIMM.Socket.A1 (DIMM_A1): moved from DIMM.Socket.A2 (DIMM_A2)\n"));
  EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A1 (DIMM_A1): gone\n"));
}

TEST_F(CliState, APlaceholderIsNoSerialNumberToFollow) {
  for (const std::string serial :
       {"Not Specified", "00000000", "Unknown", "To Be Filled By O.E.M."}) {
    Server before;
    before.modules = {{"DIMM_A1", serial}};
    Server after;
    after.modules = {{"DIMM_A2", serial}};
    Save(before);
    const Outcome verified = Verify(after);
    EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A2 (DIMM_A2): new\n")) << serial;
    EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A1 (DIMM_A1): gone\n")) << serial;
  }
}

TEST_F(CliState, ASerialNumberOfTwoModulesIsNotFollowed) {
  Server before;
  before.modules = {{"DIMM_A1", "11223344"}, {"DIMM_A2", "11223344"}};
  Save(before);
  Server after;
  after.modules = {{"DIMM_A1", "11223344"}, {"DIMM_B1", "11223344"}};
  EXPECT_THAT(Verify(after).out, HasSubstr("  DIMM.Socket.B1 (DIMM_B1): new\n"));
}

TEST_F(CliState, SaysWhyADocumentCannotBeCompared) {
  Server server;
  server.processor = "Core & Works";
  Save(server);
  EXPECT_EQ(Verify(server).status, 0) << "equal bytes need no parser";
  server.processor = "Core Works 9";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(
      verified.out,
      HasSubstr("  CPU.Socket.1 (CPU1): not verified\n"
                "      the saved document cannot be read: it is not well-formed: one of its texts\n"
                "          holds '&', '<' or a control character\n"
                "      To do: look at the part itself, then accept it or save anew\n"));
}

TEST_F(CliState, AFindingWinsOverADocumentThatCannotBeCompared) {
  Server server;
  server.processor = "Core & Works";
  Save(server);
  server.processor = "Core Works 9";
  server.modules[0].serial = "99AABBCC";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("Summary: 2 same, 1 replaced, 1 not verified\n"));
}

TEST_F(CliState, SaysTheFindingsAsJson) {
  Save({});
  Server server;
  server.modules[1] = {"DIMM_B1", "55667788"};
  const Outcome verified = Run("verify", server, {"--json"});
  EXPECT_EQ(verified.status, 1);
  const auto json = nlohmann::ordered_json::parse(verified.out);
  ASSERT_THAT(json["findings"], SizeIs(4));
  EXPECT_EQ(
      json["findings"][2].dump(),
      R"({"fqdd":"DIMM.Socket.B1","label":"DIMM_B1","kind":"memory module","verdict":"moved",)"
      R"("also":["changed"],"movedFrom":"DIMM.Socket.A2","replacedSays":[],"isSamePart":true,)"
      R"("reason":null,"fields":[{"field":"Inventory/Identifier/DIMMLocation","before":"A2",)"
      R"("after":"B1"}],"toDo":"accept it, or put it back where it was"})");
  EXPECT_EQ(json["summary"].dump(),
            R"({"no record":0,"not verified":0,"moved":1,"new":0,"gone":0,"replaced":0,)"
            R"("changed":0,"cannot tell":1,"same":2})");
}

// Board, chassis and power supplies are parts of the system; a processor is known by its serial number.
TEST_F(CliState, ANumberThatTheDriverDoesNotLookAtIsAReplacement) {
  const auto file = [this](const std::string& name, const char* board, const char* cpu) {
    return Write(name,
                 test::Table::Of(test::Bios{}, test::System{}, test::BaseBoard{.serial = board},
                                 test::Processor{.serial = cpu}, test::End{})
                     .Bytes());
  };
  EXPECT_EQ(RunTvq({"save", State(), "--table", file("before.bin", "B1A", "C1A")}).status, 0);
  const Outcome verified = RunTvq({"verify", State(), "--table", file("after.bin", "B2A", "C2A")});
  EXPECT_EQ(verified.status, 1);
  EXPECT_EQ(verified.out,
            "  CPU.Socket.1 (CPU1): replaced\n"
            "      another part than was here, says the serial number\n"
            "      SerialNumber: C1A -> C2A\n"
            "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
            "  System.Embedded.1: replaced\n"
            "      another part than was here, says the board's serial number\n"
            "      Board/SerialNumber: B1A -> B2A\n"
            "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
            "Summary: 2 replaced\n");
}

// Whatever a machine prints at its slots, and whatever the terminal can show.
TEST_F(CliState, LinesHaveNoMoreThan80Columns) {
  const auto file = [this](const std::string& name, const std::string& text) {
    return Write(name, test::Table::Of(
                           test::Bios{}, test::System{}, test::Processor{.serial = "C1A"},
                           test::MemoryDevice{.locator = "DIMM \xE9" + text, .bankLocator = text},
                           test::End{})
                           .Bytes());
  };
  EXPECT_EQ(RunTvq({"save", State(), "--table", file("before.bin", std::string(90, 'x'))}).status,
            0);
  for (const bool isAscii : {false, true}) {
    const Outcome verified =
        RunTvq({"verify", State(), "--table", file("after.bin", std::string(70, '\xE9'))}, "",
               {.isAscii = isAscii});
    EXPECT_EQ(verified.status, 1) << verified.diagnostics;
    std::istringstream lines(verified.out);
    for (std::string line; std::getline(lines, line);) {
      const auto isSecond = [](char byte) { return (byte & 0xC0) == 0x80; };
      EXPECT_LE(line.size() - std::count_if(line.begin(), line.end(), isSecond), 80u) << line;
      EXPECT_EQ(
          std::any_of(line.begin(), line.end(), [](char byte) { return byte < 0; }) && isAscii,
          false)
          << line;
    }
  }
}

TEST_F(CliState, AfterAFirmwareUpdateOtherValuesAreNoAlarm) {
  const auto file = [this](const std::string& name, const char* version, uint16_t speed) {
    return Write(name, test::Table::Of(test::Bios{.version = version}, test::System{},
                                       test::Processor{.serial = "C1A"},
                                       test::MemoryDevice{.speed = speed}, test::End{})
                           .Bytes());
  };
  EXPECT_EQ(RunTvq({"save", State(), "--table", file("before.bin", "1.0", 4800)}).status, 0);
  const Outcome updated = RunTvq({"verify", State(), "--table", file("after.bin", "2.0", 5600)});
  EXPECT_EQ(updated.status, 0);
  EXPECT_EQ(updated.out,
            "Firmware update: 1.0 -> 2.0; 2 fields of 2 devices changed\n"
            "  To do: save anew, so that what changes next stands out\n"
            "Summary: 1 same, 2 changed\n");
  const Outcome same = RunTvq({"verify", State(), "--table", file("after.bin", "1.0", 5600)});
  EXPECT_EQ(same.status, 1);
  EXPECT_THAT(same.out, HasSubstr("  DIMM.Socket.A1 (DIMM_A1): changed (the same part)\n"
                                  "      Configuration/dimmData/Speed: 4800 -> 5600\n"
                                  "      To do: accept it if that was intended, else reseat it"));
}

// The driver ends building modules at the second one of a name.
TEST_F(CliState, ADeviceWithoutARecordIsTroubleUnlessTheStateHasTheSameHole) {
  const auto file = [this](const std::string& name, const char* second) {
    return Write(
        name,
        test::Table::Of(test::Bios{}, test::System{}, test::Processor{.handle = 0x10},
                        test::MemoryDevice{.handle = 0x21, .serial = "11223344"},
                        test::MemoryDevice{.handle = 0x22, .locator = second, .serial = "55667788"},
                        test::FqddMap{.groups = {{"CPU.Socket.1", 0x10},
                                                 {"DIMM.Socket.A1", 0x21},
                                                 {"DIMM.Socket.A2", 0x22}}},
                        test::End{})
            .Bytes());
  };
  const std::string whole = file("whole.bin", "DIMM_A2");
  const std::string clash = file("clash.bin", "DIMM_A1");
  EXPECT_EQ(RunTvq({"save", State(), "--as-is", "--table", whole}).status, 0);
  const Outcome verified = RunTvq({"verify", State(), "--as-is", "--table", clash});
  EXPECT_EQ(verified.status, 2) << verified.diagnostics;
  EXPECT_THAT(verified.out, HasSubstr("  DIMM.Socket.A2 (DIMM_A1): no record\n"
                                      "      a device before it has the same name"));
  EXPECT_EQ(RunTvq({"save", State(), "--as-is", "--incomplete", "--table", clash}).status, 0);
  EXPECT_EQ(RunTvq({"verify", State(), "--as-is", "--table", clash}).status, 0);
}

TEST_F(CliState, TheStateIsForItsOwnerAlone) {
  Save({});
  struct stat status = {};
  ASSERT_EQ(stat(StateFile().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(State()), {}), SizeIs(1));
}

TEST_F(CliState, AStateOfAnotherVersionIsSaidToBeOne) {
  Save({});
  test::Bytes later = Read("state/state-1.bin");
  later[8] = 3;
  Write("state/state-1.bin", later);
  EXPECT_THAT(Verify({}).diagnostics, HasSubstr("was saved by another version of this program"));
}

TEST_F(CliState, NothingIsSavedWhereTheDriverMakesNoRecord) {
  const Outcome saved =
      RunTvq({"save", State(), "--as-is", "--table", Write("table.bin", TableOf({}).Bytes())});
  EXPECT_EQ(saved.status, 2);
  EXPECT_THAT(saved.diagnostics, HasSubstr("hint: without --as-is, the table is made fit for it"));
  EXPECT_FALSE(fs::exists(State()));
}

// --- What a save replaces ---

TEST_F(CliState, WhatWasSavedAlreadyIsNotWrittenAgain) {
  Save({});
  const Outcome saved = Save({});
  EXPECT_EQ(saved.status, 0);
  EXPECT_THAT(saved.diagnostics, HasSubstr(StateFile() + " says the same; nothing is written"));
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
  Server server;
  server.cores = 12;
  EXPECT_EQ(Save(server).out, "Saved in " + State() + "/state-2.bin\n");
}

TEST_F(CliState, ADamagedStateIsInNoSavesWay) {
  Save({});
  test::Bytes damaged = Read("state/state-1.bin");
  damaged[40] ^= 1;
  Write("state/state-1.bin", damaged);
  const Outcome saved = Save({});
  EXPECT_EQ(saved.status, 0);
  EXPECT_THAT(saved.diagnostics, HasSubstr(StateFile() + " is damaged"));
  EXPECT_EQ(Verify({}).status, 0);
}

TEST_F(CliState, BeforeADamagedOneIsTheOneThatASaveReplaces) {
  Save({});
  Server other;
  other.cores = 9;
  Save(other);
  test::Bytes damaged = Read("state/state-2.bin");
  damaged[40] ^= 1;
  Write("state/state-2.bin", damaged);
  Server unreadable;
  unreadable.processor = "Core & Works";
  const Outcome refused = Save(unreadable);
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("state-2.bin is damaged; the one before it counts"));
  EXPECT_THAT(refused.diagnostics, HasSubstr("does not replace the complete one"));
  EXPECT_EQ(Save({}).out, "Saved in " + State() + "/state-3.bin\n")
      << "also where nothing changed, so that the damaged one is not the newest any more";
  EXPECT_EQ(Verify({}).status, 0);
}

TEST_F(CliState, OfAnotherMachineIsRefusedWithBothUnlessToldOtherwise) {
  const auto run = [&](const char* command, const char* serial, std::vector<std::string> more) {
    test::System system;
    system.serial = serial;
    system.uuid = test::Bytes(16);
    more.insert(
        more.begin(),
        {command, State(), "--table",
         Write("other.bin",
               test::Table::Of(test::Bios{}, system, test::Processor{}, test::End{}).Bytes())});
    return RunTvq(more);
  };
  ASSERT_EQ(run("save", "AAA1234", {}).status, 0);
  for (const char* command : {"verify", "save"}) {
    const Outcome refused = run(command, "BBB1234", {});
    EXPECT_EQ(refused.status, 2) << command;
    EXPECT_THAT(refused.diagnostics, HasSubstr("is of another machine: this machine is system "
                                               "BBB1234; saved was system AAA1234\n"))
        << command;
    EXPECT_THAT(refused.diagnostics, HasSubstr("--other-machine")) << command;
  }
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
  EXPECT_NE(run("verify", "BBB1234", {"--other-machine"}).out, "");
  EXPECT_EQ(run("save", "BBB1234", {"--other-machine"}).status, 0);
  EXPECT_TRUE(fs::exists(State() + "/state-2.bin"));
}

TEST_F(CliState, OfOtherOptionsIsNamedAndNotCompared) {
  Save({});
  const Outcome verified = Run("verify", {}, {"--redact", "--redact-key", "a key"});
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.diagnostics, HasSubstr("was saved without --as-is and --redact, and this is "
                                              "a run with --redact: not compared"));
  const Outcome saved = Run("save", {}, {"--redact", "--redact-key", "a key"});
  EXPECT_EQ(saved.status, 2) << "a machine without a name could take the folder over";
  EXPECT_THAT(saved.diagnostics, HasSubstr("a run with --redact, and not replaced"));
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
}

TEST_F(CliState, ThatIsRedactedSaysNothingOfTheMachine) {
  ASSERT_EQ(Run("save", {}, {"--redact", "--redact-key", "a key"}).status, 0);
  const test::Bytes bytes = Read("state/state-1.bin");
  const std::string text(bytes.begin(), bytes.end());
  for (const char* secret : {"ABC1234", "11223344", "55667788"}) {
    EXPECT_EQ(text.find(secret), std::string::npos) << secret;
  }
  const Outcome verified = Run("verify", {}, {"--redact", "--redact-key", "a key"});
  EXPECT_EQ(verified.status, 0) << verified.diagnostics;
}

TEST_F(CliState, WithHolesIsSaidAndReplacesNoneWithoutUnlessToldTo) {
  ASSERT_EQ(Save({}).status, 0);
  Server unreadable;
  unreadable.processor = "Core & Works";
  const Outcome refused = Save(unreadable);
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics,
              HasSubstr("missing: CPU.Socket.1: a document that no parser reads"));
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
  const Outcome saved = Run("save", unreadable, {"--incomplete"});
  EXPECT_EQ(saved.status, 0);
  EXPECT_THAT(saved.diagnostics,
              HasSubstr("saved without CPU.Socket.1: a document that no parser reads"));
  EXPECT_THAT(Verify(unreadable).diagnostics,
              HasSubstr("is incomplete: CPU.Socket.1: a document that no parser reads"));
  EXPECT_EQ(
      nlohmann::json::parse(Run("save", unreadable, {"--json"}).out)["missing"],
      nlohmann::json({{{"fqdd", "CPU.Socket.1"}, {"why", "a document that no parser reads"}}}));
}

TEST_F(CliState, WithHolesIsSaidAsJsonToo) {
  Server unreadable;
  unreadable.processor = "Core & Works";
  ASSERT_EQ(Save(unreadable).status, 0);
  const Outcome verified = Run("verify", unreadable, {"--json", "--quiet"});
  EXPECT_EQ(
      nlohmann::json::parse(verified.out)["savedWithout"],
      nlohmann::json({{{"fqdd", "CPU.Socket.1"}, {"why", "a document that no parser reads"}}}));
}

TEST_F(CliState, AfterAFirmwareUpdateJsonSaysToDoWhatTheTextSays) {
  const auto run = [&](const char* command, const char* version) {
    const std::string table =
        Write("table.bin", test::Table::Of(test::Bios{.version = version}, test::System{},
                                           test::Processor{}, test::End{})
                               .Bytes());
    return RunTvq({command, State(), "--conform", "--json", "--table", table});
  };
  ASSERT_EQ(run("save", "1.0").status, 0);
  const auto json = nlohmann::json::parse(run("verify", "2.0").out);
  for (const auto& finding : json["findings"]) {
    if (finding["verdict"] == "changed") {
      EXPECT_EQ(finding["toDo"], "save anew, so that what changes next stands out");
    }
  }
}

TEST_F(CliState, AsManyAsAreWantedStay) {
  for (uint8_t cores = 1; cores <= 4; ++cores) {
    Server server;
    server.cores = cores;
    ASSERT_EQ(Run("save", server, {"--keep", "2"}).status, 0);
  }
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(State()), {}), SizeIs(2));
  EXPECT_EQ(Run("save", {}, {"--keep", "0"}).status, 2);
}

// --- accept ---

TEST_F(CliState, TakesOverOneDeviceAlone) {
  Save({});
  Server server;
  server.modules = {{"DIMM_A1", "99AABBCC"}, {"DIMM_A2", "DDEEFF00"}};
  const Outcome accepted = Run("accept", server, {"DIMM_A2"});
  EXPECT_EQ(accepted.status, 0) << accepted.diagnostics;
  EXPECT_EQ(accepted.out, "Saved in " + State() + "/state-2.bin\n");
  EXPECT_EQ(nlohmann::json::parse(Run("accept", server, {"DIMM_A2", "--json"}).out)["isNew"],
            false);
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("1 replaced"));
  EXPECT_EQ(Run("accept", server, {"DIMM.Socket.A1"}).status, 0);
  EXPECT_EQ(Verify(server).status, 0);
}

// As the service's unit does: a stack of memory has no name but what the board prints there.
TEST_F(CliState, TakesOverADeviceByTheNameOfAUnit) {
  const auto file = [this](const std::string& name, const char* serial) {
    const test::MemoryDevice stack = {.locator = "HBM 0", .memoryType = 0x20, .serial = serial};
    return Write(
        name, test::Table::Of(test::Bios{}, test::System{}, test::Processor{}, stack, test::End{})
                  .Bytes());
  };
  EXPECT_EQ(RunTvq({"save", State(), "--table", file("before.bin", "11223344")}).status, 0);
  const std::string later = file("after.bin", "99AABBCC");
  EXPECT_EQ(RunTvq({"verify", State(), "--table", later}).status, 1);
  EXPECT_EQ(RunTvq({"accept", "--table", later, "--", State(), "HBM\\x200"}).status, 2);
  const Outcome accepted =
      RunTvq({"accept", "--escaped", "--table", later, "--", State(), "HBM\\x200"});
  EXPECT_EQ(accepted.status, 0) << accepted.diagnostics;
  EXPECT_EQ(RunTvq({"verify", State(), "--table", later}).status, 0);
}

TEST_F(CliState, TakesOverNoDeviceThatIsNotThere) {
  EXPECT_EQ(Run("accept", {}, {"CPU.Socket.1"}).status, 3) << "no state was saved yet";
  Save({});
  const Outcome accepted = Run("accept", {}, {"CPU.Socket.1", "CPU9"});
  EXPECT_EQ(accepted.status, 2);
  EXPECT_THAT(accepted.diagnostics, HasSubstr("'CPU9' is neither the name nor the label"));
  EXPECT_FALSE(fs::exists(State() + "/state-2.bin"));
}

}  // namespace
}  // namespace tvq::cli
