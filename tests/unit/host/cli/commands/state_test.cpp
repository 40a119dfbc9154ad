/*
 * `tvq save` and `tvq verify` as a whole: from the command line to findings and exit statuses.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/unit/host/cli/server.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class CliState : public CliTest {
 protected:
  std::string State() const { return Path("state"); }
  std::string StateFile() const { return State() + "/tvq-state.bin"; }

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
  EXPECT_EQ(verified.out,
            "CPU.Socket.1       CPU1     same\n"
            "DIMM.Socket.A1     DIMM_A1  same\n"
            "DIMM.Socket.A2     DIMM_A2  same\n"
            "System.Embedded.1  -        same\n"
            "Summary: 4 same\n");
}

TEST_F(CliState, SaysAsJsonWhatWasSaved) {
  const Outcome saved = Run("save", {}, {"--json"});
  EXPECT_EQ(saved.status, 0) << saved.diagnostics;
  const auto json = nlohmann::json::parse(saved.out);
  EXPECT_EQ(json["state"], StateFile());
  EXPECT_EQ(json["devices"], nlohmann::json({"CPU.Socket.1", "DIMM.Socket.A1", "DIMM.Socket.A2",
                                             "System.Embedded.1"}));
}

TEST_F(CliState, AnotherSerialNumberIsAReplacement) {
  Save({});
  Server server;
  server.modules[1].serial = "99AABBCC";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A2     DIMM_A2  replaced\n"));
  EXPECT_THAT(verified.out, HasSubstr("Summary: 3 same, 1 replaced\n"));
}

TEST_F(CliState, AnotherPartNumberIsAReplacement) {
  Save({});
  Server server;
  server.modules[0].part = "PART-2";
  EXPECT_THAT(Verify(server).out, HasSubstr("DIMM.Socket.A1     DIMM_A1  replaced\n"));
}

TEST_F(CliState, AnotherCoreCountIsAReplacement) {
  Save({});
  Server server;
  server.cores = 10;
  EXPECT_THAT(Verify(server).out, HasSubstr("CPU.Socket.1       CPU1     replaced\n"));
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
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A3     DIMM_A3  new\n"));
}

TEST_F(CliState, ADeviceThatIsNotThereAnyMoreIsGone) {
  Save({});
  Server server;
  server.modules.pop_back();
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A2     -        gone\n"));
}

TEST_F(CliState, AModuleInAnotherSlotHasMoved) {
  Save({});
  Server server;
  server.modules[1].locator = "DIMM_B1";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.B1     DIMM_B1  moved: was DIMM.Socket.A2\n"));
  EXPECT_THAT(verified.out, Not(HasSubstr("gone")));
}

TEST_F(CliState, ModulesThatChangedPlacesHaveBothMoved) {
  Save({});
  Server server;
  std::swap(server.modules[0].serial, server.modules[1].serial);
  const Outcome verified = Verify(server);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A1     DIMM_A1  moved: was DIMM.Socket.A2\n"));
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A2     DIMM_A2  moved: was DIMM.Socket.A1\n"));
  EXPECT_THAT(verified.out, Not(HasSubstr("gone")));
}

TEST_F(CliState, TheModuleThatMadeRoomForAnotherOneIsGone) {
  Save({});
  Server server;
  server.modules = {{"DIMM_A1", "55667788"}};
  const Outcome verified = Verify(server);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A1     DIMM_A1  moved: was DIMM.Socket.A2\n"));
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A1     DIMM_A1  gone\n"));
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
    EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A2     DIMM_A2  new\n")) << serial;
    EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A1     -        gone\n")) << serial;
  }
}

TEST_F(CliState, ASerialNumberOfTwoModulesIsNotFollowed) {
  Server before;
  before.modules = {{"DIMM_A1", "11223344"}, {"DIMM_A2", "11223344"}};
  Save(before);
  Server after;
  after.modules = {{"DIMM_A1", "11223344"}, {"DIMM_B1", "11223344"}};
  EXPECT_THAT(Verify(after).out, HasSubstr("DIMM.Socket.B1     DIMM_B1  new\n"));
}

TEST_F(CliState, SaysWhyADocumentCannotBeCompared) {
  Server server;
  server.processor = "Core & Works";
  Save(server);
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.out,
              HasSubstr("CPU.Socket.1       CPU1     not verified: the saved document is not "
                        "well-formed: one of its texts holds '&'"));
}

TEST_F(CliState, AFindingBesideADocumentThatCannotBeComparedIsTroubleToo) {
  Server server;
  server.processor = "Core & Works";
  Save(server);
  server.modules[0].serial = "99AABBCC";
  const Outcome verified = Verify(server);
  EXPECT_EQ(verified.status, 2);
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
      R"({"fqdd":"DIMM.Socket.B1","label":"DIMM_B1","verdict":"moved","movedFrom":"DIMM.Socket.A2",)"
      R"("status":"Not Found","detail":"was DIMM.Socket.A2"})");
  EXPECT_EQ(json["summary"].dump(),
            R"({"same":3,"replaced":0,"new":0,"moved":1,"gone":0,"not verified":0})");
}

TEST_F(CliState, TheStateIsForItsOwnerAlone) {
  Save({});
  struct stat status = {};
  ASSERT_EQ(stat(StateFile().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(State()), {}), SizeIs(1));
}

TEST_F(CliState, SavingReplacesALinkInsteadOfFollowingIt) {
  fs::create_directory(State());
  Write("victim", {1, 2, 3});
  fs::create_symlink(Path("victim"), StateFile());
  EXPECT_EQ(Save({}).status, 0);
  EXPECT_EQ(fs::file_size(Path("victim")), 3u);
  EXPECT_FALSE(fs::is_symlink(StateFile()));
}

TEST_F(CliState, AFolderThatIsALinkIsRefused) {
  fs::create_directory(Path("elsewhere"));
  fs::create_symlink(Path("elsewhere"), State());
  const Outcome saved = Save({});
  EXPECT_EQ(saved.status, 2);
  EXPECT_THAT(saved.diagnostics, HasSubstr("hint: links are not followed"));
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(Path("elsewhere")), {}), IsEmpty());
}

TEST_F(CliState, AFileInTheWayIsNotOverwrittenAndTheOldStateStays) {
  Save({});
  Write("state/.tvq-state.bin." + std::to_string(getpid()), {1});
  Server server;
  server.cores = 12;
  const Outcome saved = Save(server);
  EXPECT_EQ(saved.status, 2);
  EXPECT_THAT(saved.diagnostics, HasSubstr("what was saved there before is still there"));
  EXPECT_EQ(Verify({}).status, 0);
}

TEST_F(CliState, VerifyingWithoutAStateSaysToSaveFirst) {
  const Outcome verified = Verify({});
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.diagnostics, HasSubstr("hint: save a state first with `tvq save"));
}

TEST_F(CliState, ADamagedStateIsRefusedWhereverItIsDamaged) {
  Save({});
  const test::Bytes whole = Read("state/tvq-state.bin");
  for (size_t i = 0; i < whole.size(); i += 1 + whole.size() / 40) {
    test::Bytes damaged = whole;
    damaged[i] ^= 0x40;
    Write("state/tvq-state.bin", damaged);
    const Outcome verified = Verify({});
    EXPECT_EQ(verified.status, 2) << "byte " << i;
    EXPECT_THAT(verified.diagnostics, HasSubstr("tvq-state.bin")) << "byte " << i;
  }
}

TEST_F(CliState, ACutStateIsRefusedWhereverItIsCut) {
  Save({});
  const test::Bytes whole = Read("state/tvq-state.bin");
  for (size_t size = 0; size < whole.size(); size += 1 + whole.size() / 40) {
    Write("state/tvq-state.bin", test::Bytes(whole.begin(), whole.begin() + size));
    EXPECT_EQ(Verify({}).status, 2) << "cut to " << size;
  }
}

TEST_F(CliState, AStateOfAnotherVersionIsSaidToBeOne) {
  Save({});
  test::Bytes later = Read("state/tvq-state.bin");
  later[8] = 3;
  Write("state/tvq-state.bin", later);
  EXPECT_THAT(Verify({}).diagnostics, HasSubstr("was saved by another version of this program"));
}

TEST_F(CliState, NothingIsSavedWhereTheDriverMakesNoRecord) {
  const Outcome saved =
      RunTvq({"save", State(), "--as-is", "--table", Write("table.bin", TableOf({}).Bytes())});
  EXPECT_EQ(saved.status, 2);
  EXPECT_THAT(saved.diagnostics, HasSubstr("hint: without --as-is, the table is made fit for it"));
  EXPECT_FALSE(fs::exists(State()));
}

}  // namespace
}  // namespace tvq::cli
