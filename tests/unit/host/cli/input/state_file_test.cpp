/*
 * The files of saved states: which of them counts, what they may be, who may write them, and that a failure leaves what was there
 * before.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>

#include "host/cli/input/folder.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "tests/unit/host/cli/failing_call.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class StateFile : public CliTest {
 protected:
  StateFile() : mMask(umask(022)) {}
  ~StateFile() override { umask(mMask); }

  std::string Folder() const { return Path("state"); }
  std::string File(int number) const {
    return Folder() + "/state-" + std::to_string(number) + ".bin";
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Folder())) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  static unsigned ModeOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
  }
  static size_t OpenFiles() {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
  }

  // Saves bytes that are no state, where that does not matter.
  std::string Save(const Bytes& bytes = {1, 2, 3}, unsigned kept = 10) const {
    return SaveState(Folder(), kept, [&](uint64_t) { return bytes; });
  }
  // Saves a state of this machine.
  std::string SaveOf(const Server& server) {
    const Outcome saved = RunTvq({"save", Folder(), "--table", TableFile(server)});
    EXPECT_EQ(saved.status, 0) << saved.diagnostics;
    return saved.out;
  }
  Outcome Verify(const Server& server) {
    return RunTvq({"verify", Folder(), "--table", TableFile(server)});
  }
  // The error that is thrown, with its hint.
  static std::string ErrorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const InputError& error) {
      return error.what() + std::string("; ") + error.Hint();
    }
    return "(none)";
  }
  std::string LoadError() {
    const Outcome verified = Verify({});
    EXPECT_NE(verified.status, 0);
    return verified.diagnostics;
  }
  std::string SaveError() const {
    return ErrorOf([this] { Save(); });
  }

 private:
  std::string TableFile(const Server& server) {
    return Write("table.bin", TableOf(server).Bytes());
  }

  mode_t mMask;
};

// --- Which file counts ---

TEST_F(StateFile, IsOneMoreWithEachSave) {
  EXPECT_EQ(Save({1}), File(1));
  EXPECT_EQ(Save({2}), File(2));
  EXPECT_EQ(Read("state/state-1.bin"), Bytes({1}));
  EXPECT_EQ(Read("state/state-2.bin"), Bytes({2}));
}

TEST_F(StateFile, IsKnownByItsNumber) {
  Save();
  for (const char* name : {"state-9.bin", "STATE-10.BIN", "state-x.bin", "state-1000000000.bin",
                           "state-11.bin.old", "state-.bin", "state-+12.bin"}) {
    Write(std::string("state/") + name, {});
  }
  EXPECT_EQ(Save(), File(11));
}

TEST_F(StateFile, HasANameOfFewForms) {
  for (const char* const name :
       {"state-1.bin", "state-999999999.bin", "STATE-7.BIN", "tvq-state.bin"}) {
    EXPECT_TRUE(NamesState(name)) << name;
  }
  for (const char* const name :
       {"", "state-", "state-1", ".bin", "state-.bin", "state-0.bin", "state-1.bin.old",
        "state_1.bin", "state-1000000000.bin", "state-99999999999999999999.bin"}) {
    EXPECT_FALSE(NamesState(name)) << name;
  }
}

TEST_F(StateFile, HasANumberOfAtMostNineDigits) {
  Save();
  Write("state/state-999999998.bin", {});
  EXPECT_EQ(Save(), File(999999999));
  EXPECT_EQ(SaveError(),
            "cannot write " + File(1000000000) +
                ": states have at most nine digits; save in another folder, or move the "
                "states away");
}

TEST_F(StateFile, IsNamedByAPathThatLeadsThere) {
  EXPECT_EQ(SaveState(Folder() + "/", 10, [](uint64_t) { return Bytes{1}; }), File(1));
  const fs::path before = fs::current_path();
  fs::current_path(Folder());
  const std::string path = SaveState("", 10, [](uint64_t) { return Bytes{2}; });
  EXPECT_TRUE(fs::exists(path)) << path;
  fs::current_path(before);
  EXPECT_EQ(path, "state-2.bin");
}

TEST_F(StateFile, StaysUpToHowManyAreWanted) {
  for (uint8_t i = 1; i <= 12; ++i) {
    Save({i});
  }
  EXPECT_EQ(Names().size(), 10u);
  EXPECT_FALSE(fs::exists(File(2)));
  Save({13}, 2);
  EXPECT_THAT(Names(), UnorderedElementsAre("state-12.bin", "state-13.bin"));
}

TEST_F(StateFile, KnowsWhichNewerOnesWerePassedOver) {
  SaveOf({});
  Write("state/state-2.bin", {});
  run::DriverRun driver;
  std::istringstream in;
  std::ostringstream said;
  const LoadedState state = LoadState(driver, Folder(), Console{in, said, said});
  EXPECT_EQ(state.path, File(1));
  EXPECT_THAT(state.passedOver, ElementsAre(StartsWith(File(2) + " was cut off ")));
}

TEST_F(StateFile, ThatWasCutOffIsSaidAndTheOneBeforeCounts) {
  SaveOf({});
  Server server;
  server.cores = 12;
  SaveOf(server);
  const Bytes whole = Read("state/state-2.bin");
  for (size_t size = 0; size < whole.size(); size += 1 + whole.size() / 20) {
    Write("state/state-2.bin", Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)));
    const Outcome verified = Verify({});
    EXPECT_EQ(verified.status, 0) << size;
    EXPECT_THAT(verified.diagnostics,
                HasSubstr(File(2) + " was cut off while it was saved; the one before it counts"));
  }
  fs::remove(File(1));
  const Outcome verified = Verify({});
  EXPECT_EQ(verified.status, 3);
  EXPECT_THAT(verified.diagnostics, HasSubstr("there is none before it"));
}

TEST_F(StateFile, ThatIsDamagedIsReported) {
  SaveOf({});
  Server server;
  server.cores = 12;
  SaveOf(server);
  const Bytes whole = Read("state/state-2.bin");
  for (size_t i = 0; i + 16 < whole.size(); i += 1 + whole.size() / 20) {
    Bytes damaged = whole;
    damaged[i] ^= 0x40;
    Write("state/state-2.bin", damaged);
    const Outcome verified = Verify({});
    EXPECT_EQ(verified.status, 2) << i;
    EXPECT_THAT(verified.diagnostics, HasSubstr(File(2))) << i;
    EXPECT_THAT(verified.diagnostics, HasSubstr("hint: move it away to use the state before it"));
  }
  Write("state/state-2.bin", Read("state/state-1.bin"));
  fs::copy_file(File(2), File(3));
  EXPECT_EQ(Verify({}).status, 2) << "a state with the name of another";
}

TEST_F(StateFile, WithoutANumberInItsNameMayHaveAny) {
  SaveOf({});
  Server server;
  server.cores = 12;
  SaveOf(server);
  fs::remove(File(1));
  fs::rename(File(2), Folder() + "/tvq-state.bin");
  EXPECT_EQ(Verify(server).status, 0);
}

TEST_F(StateFile, OfVersionsBeforeIsReadWhereThereIsNoOther) {
  SaveOf({});
  fs::rename(File(1), Folder() + "/tvq-state.bin");
  EXPECT_EQ(Verify({}).status, 0);
  Server server;
  server.cores = 12;
  SaveOf(server);
  EXPECT_EQ(Verify(server).status, 0);
}

// What `tvq save` of version 1 wrote for that table.
TEST_F(StateFile, OfVersionsBeforeThatIsDamagedIsInNoSavesWay) {
  fs::create_directory(Folder());
  Write("state/tvq-state.bin", {1, 2, 3});
  SaveOf({});
  EXPECT_EQ(Verify({}).status, 0);
}

TEST_F(StateFile, OfAnEarlierAgentIsNamed) {
  fs::create_directory(Folder());
  Write("state/state-a.bin", {1, 2, 3});
  const Outcome verified = Verify({});
  EXPECT_EQ(verified.status, 3);
  EXPECT_THAT(verified.diagnostics,
              HasSubstr("state-a.bin and state-b.bin are of an earlier agent"));
}

TEST_F(StateFile, OfVersionOneIsCompared) {
  const std::string source = TVQ_SOURCE_DIR;
  ASSERT_EQ(RunTvq({"mktable", source + "/tests/e2e/names.smbios", "-o", Path("dump.bin")}).status,
            0);
  fs::create_directory(Folder());
  fs::copy_file(source + "/tests/unit/shared/states/version-1.bin", Folder() + "/tvq-state.bin");
  const Outcome verified = RunTvq({"verify", Folder(), "--from-dump", Path("dump.bin")});
  EXPECT_EQ(verified.status, 0) << verified.out << verified.diagnostics;
  EXPECT_EQ(verified.out, "Summary: 4 same, 3 cannot tell\n");
  EXPECT_THAT(verified.diagnostics, Not(HasSubstr("may be of another machine")))
      << "no state of that version says which one it is of";
  EXPECT_EQ(RunTvq({"save", Folder(), "--from-dump", Path("dump.bin")}).status, 0);
  EXPECT_TRUE(fs::exists(File(1)));
}

TEST_F(StateFile, OfVersionOneIsNotToBlameWhereNothingTellsMachinesApart) {
  fs::create_directory(Folder());
  fs::copy_file(std::string(TVQ_SOURCE_DIR) + "/tests/unit/shared/states/version-1.bin",
                Folder() + "/tvq-state.bin");
  Server withoutModules;
  withoutModules.modules.clear();
  const Outcome verified = Verify(withoutModules);
  EXPECT_THAT(verified.out, HasSubstr("gone"));
  EXPECT_EQ(verified.diagnostics, "");
}

// It does not say whether the table had been conformed.
TEST_F(StateFile, OfVersionOneIsComparedWithATableAsItIsToo) {
  const std::string source = TVQ_SOURCE_DIR;
  fs::create_directory(Folder());
  fs::copy_file(source + "/tests/unit/shared/states/version-1.bin", Folder() + "/tvq-state.bin");
  ASSERT_EQ(RunTvq({"mktable", source + "/tests/e2e/clash.smbios", "-o", Path("dump.bin")}).status,
            0);
  EXPECT_THAT(RunTvq({"verify", Folder(), "--from-dump", Path("dump.bin"), "--as-is"}).out,
              HasSubstr("Summary: "));
}

TEST_F(StateFile, ThatIsRedactedIsComparedAsAConformedOne) {
  // Without conforming it, the driver would make no record of the table.
  const std::string table = Write("table.bin", TableOf(Server{}).Bytes());
  for (const char* const state : {"first", "second"}) {
    ASSERT_EQ(RunTvq({"save", Path(state), "--from-dump", table, "--redact", "--redact-key", "key"})
                  .status,
              0);
  }
  EXPECT_EQ(RunTvq({"diff", Path("first"), Path("second")}).status, 0);
}

TEST_F(StateFile, OfVersionOneIsComparedWithAnotherState) {
  const std::string source = TVQ_SOURCE_DIR;
  std::ifstream file(source + "/tests/e2e/names.smbios");
  std::string server(std::istreambuf_iterator<char>(file), {});
  server.replace(server.find("SN-0000"), 7, "SN-9999");
  ASSERT_EQ(RunTvq({"mktable", "-", "-o", Path("other.bin")}, server).status, 0);
  ASSERT_EQ(RunTvq({"save", Folder(), "--from-dump", Path("other.bin")}).status, 0);
  const Outcome diff =
      RunTvq({"diff", Folder(), source + "/tests/unit/shared/states/version-1.bin", "--json"});
  EXPECT_EQ(diff.status, 1);
  const auto json = diff.Json();
  EXPECT_EQ(json["summary"]["replaced"], 1);
  EXPECT_EQ(json["summary"]["same"], 3);
  EXPECT_EQ(json["devices"][2]["fields"],
            nlohmann::ordered_json::parse(
                R"([{"field": "Inventory/WWN", "before": "SN-9999", "after": "SN-0000"}])"));
}

TEST_F(StateFile, NamesDevicesWithoutARecordInCharactersThatEveryTerminalShows) {
  // No two devices can have one name.
  const char* const name = "A\x1F ~\x7F.Socket.A1";
  const test::Table table = test::Table::Of(
      test::Bios{}, test::System{}, test::Processor{.handle = 0x400},
      test::MemoryDevice{.handle = 0x1100}, test::MemoryDevice{.handle = 0x1101},
      test::FqddMap{.groups = {{"CPU.Socket.1", 0x400}, {name, 0x1100}, {name, 0x1101}}},
      test::End{});
  const Outcome saved =
      RunTvq({"save", Folder(), "--from-dump", Write("table.bin", table.Bytes()), "--as-is"});
  EXPECT_THAT(saved.diagnostics, HasSubstr("saved without A? ~?.Socket.A1: no record: "));
}

TEST_F(StateFile, LeavesNoFileOpen) {
  SaveOf({});
  const size_t before = OpenFiles();
  SaveOf({});
  Verify({});
  fs::remove(File(1));
  LoadError();
  EXPECT_EQ(OpenFiles(), before);
}

// --- Who may read and write it ---

TEST_F(StateFile, AndItsFolderAreForTheirOwnerAlone) {
  umask(0);
  Save();
  EXPECT_EQ(ModeOf(Folder()), 0700u);
  EXPECT_EQ(ModeOf(File(1)), 0600u);
}

TEST_F(StateFile, ThatOthersMayWriteIsNotRead) {
  SaveOf({});
  for (const unsigned mode : {0620u, 0602u, 0666u}) {
    ASSERT_EQ(chmod(File(1).c_str(), mode), 0);
    EXPECT_THAT(LoadError(), HasSubstr(File(1) + " is not read: others may write it"));
  }
  ASSERT_EQ(chmod(File(1).c_str(), 0644), 0);
  EXPECT_EQ(Verify({}).status, 0);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(File(1).c_str(), 65534, 65534), 0);
    EXPECT_THAT(LoadError(), HasSubstr("others may write it"));
  }
}

TEST_F(StateFile, InAFolderThatOthersMayWriteIsNotReadByRoot) {
  SaveOf({});
  ASSERT_EQ(chmod(Folder().c_str(), 0770), 0);
  if (geteuid() == 0) {
    EXPECT_THAT(LoadError(),
                HasSubstr(Folder() +
                          " is not read: others may write there, so that nobody knows whose "
                          "states these are\ntvq: hint: where you trust it: `chown root " +
                          Folder() + "` and `chmod go-w " + Folder() + "`\n"));
  } else {
    EXPECT_EQ(Verify({}).status, 0);
  }
}

TEST_F(StateFile, ThatIsNoPlainFileOrTooLargeIsNotRead) {
  fs::create_directories(File(1));
  EXPECT_THAT(LoadError(), HasSubstr(File(1) + " is not read: it is no plain file"));
  fs::remove(File(1));
  ASSERT_EQ(mkfifo(File(1).c_str(), 0600), 0);
  EXPECT_THAT(LoadError(), HasSubstr("it is no plain file")) << "and nothing waits for a writer";
  fs::remove(File(1));
  Write("state/state-1.bin", {});
  fs::resize_file(File(1), (16 << 20) + 1);
  EXPECT_THAT(LoadError(), HasSubstr("it has 16777217 bytes, more than any state"));
}

TEST_F(StateFile, MayHaveSixteenMegabytes) {
  Save();
  fs::resize_file(File(1), 16 << 20);
  EXPECT_THAT(LoadError(), HasSubstr(File(1) + " was cut off"));
}

TEST_F(StateFile, OfRootIsReadByEverybodyWhoMay) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can be somebody else";
  }
  SaveOf({});
  fs::permissions(Folder(), fs::perms(0755));
  fs::permissions(File(1), fs::perms(0644));
  Write("table.bin", TableOf(Server{}).Bytes());
  const auto verifyAsNobody = [this] {
    return AsNobody([] { return RunTvq({"verify", "state", "--table", "table.bin"}); });
  };
  EXPECT_EQ(verifyAsNobody().status, 0);
  ASSERT_EQ(chown(File(1).c_str(), 65534, 65534), 0);
  EXPECT_EQ(verifyAsNobody().status, 0) << "and so is one's own";
  ASSERT_EQ(chown(File(1).c_str(), 1, 1), 0);
  EXPECT_THAT(verifyAsNobody().diagnostics, HasSubstr("others may write it"));
}

TEST_F(StateFile, ThatOnlyRootMayReadIsToBeReadByRoot) {
  SaveOf({});
  fs::permissions(File(1), fs::perms::none);
  fs::permissions(Folder(), fs::perms(0755));
  Write("table.bin", TableOf(Server{}).Bytes());
  const Outcome verified = AsNobody([] {
    return RunTvq({"verify", "state", "--table", "table.bin"});
  });
  EXPECT_THAT(verified.diagnostics, HasSubstr("cannot open state/state-1.bin: Permission denied\n"
                                              "tvq: hint: only root may do that: `sudo tvq "
                                              "verify"));
}

// --- Links ---

TEST_F(StateFile, ThatIsALinkIsNotRead) {
  SaveOf({});
  fs::rename(File(1), Path("elsewhere"));
  fs::create_symlink(Path("elsewhere"), File(1));
  EXPECT_THAT(LoadError(), HasSubstr("cannot open " + File(1) + ": it is a symbolic link"));
}

TEST_F(StateFile, IsNotReachedThroughALinkAnywhereInItsPath) {
  fs::create_directories(Path("elsewhere/inner"));
  fs::create_directory_symlink(Path("elsewhere"), Path("link"));
  for (const std::string& folder : {Path("link"), Path("link/"), Path("link/."), Path("link/inner"),
                                    Path("link/inner/"), Path("elsewhere/../link/new")}) {
    const std::string error =
        ErrorOf([&] { SaveState(folder, 10, [](uint64_t) { return Bytes{1}; }); });
    EXPECT_THAT(error, StartsWith("cannot open " + folder + ": ")) << folder;
    EXPECT_THAT(error, HasSubstr("symbolic link; links are not followed; name what it leads to, "
                                 "which `realpath " +
                                 folder + "` prints"))
        << folder;
    const Outcome verified = RunTvq({"verify", folder});
    EXPECT_EQ(verified.status, 2) << folder;
    EXPECT_THAT(verified.diagnostics, HasSubstr("is a symbolic link")) << folder;
  }
  EXPECT_THAT(std::vector<fs::path>(fs::directory_iterator(Path("elsewhere/inner")), {}),
              IsEmpty());
}

TEST_F(StateFile, MayHaveAnyPathWithoutALink) {
  fs::create_directory(Path("a"));
  for (const std::string& folder :
       {Path("a/state"), Path("a//state/"), Path("a/./state/."), Path("a/../a/state")}) {
    EXPECT_EQ(ErrorOf([&] { SaveState(folder, 10, [](uint64_t) { return Bytes{1}; }); }), "(none)")
        << folder;
  }
  EXPECT_TRUE(fs::exists(Path("a/state/state-4.bin")));
}

// --- What cannot be loaded or saved ---

TEST_F(StateFile, ThatIsMissingIsToBeSavedFirst) {
  for (int i = 0; i < 2; ++i) {
    const Outcome verified = Verify({});
    EXPECT_EQ(verified.status, 3);
    EXPECT_THAT(verified.diagnostics,
                HasSubstr("tvq: error: there is no saved state in " + Folder() +
                          "\ntvq: hint: save a state first with `tvq save " + Folder() + "`\n"));
    EXPECT_EQ(fs::exists(Folder()), i != 0) << "looking for a state makes no folder";
    fs::create_directory(Folder());
  }
}

TEST_F(StateFile, OfOneOfTheMachinesOnAStickIsToBeNamed) {
  fs::create_directories(Path("state/machine-B"));
  fs::create_directories(Path("state/machine-A"));
  const Outcome verified = Verify({});
  EXPECT_EQ(verified.status, 3);
  EXPECT_THAT(verified.diagnostics, HasSubstr("tvq: hint: name the folder of one machine: " +
                                              Folder() + "/machine-A, " + Folder() + "/machine-B"));
}

TEST_F(StateFile, InAFileInPlaceOfTheFolderCannotBeOpened) {
  Write("state", {1});
  EXPECT_THAT(LoadError(), HasSubstr("cannot open " + Folder() + ": Not a directory"));
  EXPECT_THAT(SaveError(), StartsWith("cannot open " + Folder() + ": Not a directory"));
}

TEST_F(StateFile, ThatHasNoRoomSaysHowMuchThereIs) {
  EXPECT_EQ(SaveHint(ENOSPC, "dir"),
            "what was saved there before is still there; `df -h dir` shows how much room is left");
}

TEST_F(StateFile, IsSavedWhateverAnInterruptedSaveLeft) {
  fs::create_directory(Folder());
  Write("state/.state-1.bin.0123456789abcdef", {7});
  Write("state/.other", {7});
  Save();
  EXPECT_THAT(Names(), UnorderedElementsAre("state-1.bin", ".other"));
}

TEST_F(StateFile, LeavesWhatItDidNotWriteItself) {
  fs::create_directory(Folder());
  for (const char* name :
       {".state-mine", ".state-1.bin.mine", ".state-x.bin.0123456789abcdef",
        ".state-1.bin.x123456789abcdef", ".state-1.bin.0123456789abcdefa", ".0123456789abcdef"}) {
    Write(std::string("state/") + name, {1});
  }
  Save();
  EXPECT_EQ(Names().size(), 7u);
}

TEST_F(StateFile, IsSavedAlsoWhileSomebodyElseHoldsTheFoldersLock) {
  fs::create_directory(Folder());
  Write("state/.state-1.bin.0123456789abcdef", {7});
  const int other = open(Folder().c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(flock(other, LOCK_SH), 0);
  EXPECT_EQ(Save(), File(1));
  EXPECT_TRUE(fs::exists(Folder() + "/.state-1.bin.0123456789abcdef")) << "which may be that one's";
  close(other);
}

TEST_F(StateFile, TakesNoNameThatSomebodyElseTookMeanwhile) {
  const auto takeName = [this](uint64_t) {
    Write("state/state-1.bin", {1});
    return Bytes{2};
  };
  EXPECT_EQ(
      ErrorOf([&] { SaveState(Folder(), 10, takeName); }),
      "cannot write " + File(1) + ": File exists; what was saved there before is still there");
  EXPECT_EQ(Read("state/state-1.bin"), Bytes({1}));
}

TEST_F(StateFile, LeavesTheFoldersLockToTheNext) {
  Save();
  const int next = open(Folder().c_str(), O_RDONLY | O_DIRECTORY);
  EXPECT_EQ(flock(next, LOCK_EX | LOCK_NB), 0);
  close(next);
}

TEST_F(StateFile, IsSavedWhenItsFoldersLockIsFree) {
  fs::create_directory(Folder());
  for (const int error : {EWOULDBLOCK, EINTR}) {
    Write("state/.state-1.bin.0123456789abcdef", {7});
    const FailingCall held(Call::kLock, error);
    Save();
    EXPECT_FALSE(fs::exists(Folder() + "/.state-1.bin.0123456789abcdef")) << error;
  }
}

TEST_F(StateFile, IsSavedAtOnceWhereAFolderCannotBeLocked) {
  fs::create_directory(Folder());
  Write("state/.state-1.bin.0123456789abcdef", {7});
  const FailingCall unsupported(Call::kLock, ENOLCK);
  Save();
  EXPECT_TRUE(fs::exists(Folder() + "/.state-1.bin.0123456789abcdef"))
      << "which may be somebody's who is saving";
}

TEST_F(StateFile, IsReadOnWhereLessIsReadOrASignalInterrupts) {
  SaveOf({});
  const Bytes whole = Read("state/state-1.bin");
  for (const int error : {kShort, EINTR}) {
    const FailingCall partly(Call::kRead, error);
    EXPECT_TRUE(LoadStateFile(File(1)) == whole) << error;
  }
}

TEST_F(StateFile, ThatEndsWhileItIsReadHasWhatWasRead) {
  SaveOf({});
  const FailingCall truncated(Call::kRead, kNoBytes);
  EXPECT_TRUE(LoadStateFile(File(1)) == Bytes());
}

TEST_F(StateFile, ThatCannotBeReadIsAnError) {
  SaveOf({});
  const FailingCall broken(Call::kRead, EIO);
  EXPECT_EQ(ErrorOf([this] { LoadStateFile(File(1)); }),
            "cannot read " + File(1) + ": Input/output error; look at the disk's health");
}

TEST_F(StateFile, IsNotSavedWhereItsFolderCannotBeMade) {
  EXPECT_EQ(
      ErrorOf([this] { SaveState(Path("missing/state"), 10, [](uint64_t) { return Bytes{1}; }); }),
      "cannot open " + Path("missing/state") +
          ": No such file or directory; name a folder that you may write to and that is no "
          "link");
}

TEST_F(StateFile, StaysWhenTheNewOneDoesNotFit) {
  Save({1, 2, 3});
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small = {100000, before.rlim_max};
  const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string error = ErrorOf([this] { Save(Bytes(200000), 1); });
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, ignored);
  EXPECT_EQ(error, "cannot write " + File(2) +
                       ": File too large; what was saved there before is still there");
  EXPECT_THAT(Names(), ElementsAre("state-1.bin"));
}

TEST_F(StateFile, ThatDidNotReachTheDiskIsNotThere) {
  Save({1}, 1);
  const FailingCall sync(Call::kSync, EIO);
  EXPECT_EQ(ErrorOf([this] { Save({2}, 1); }),
            "cannot write " + File(2) +
                ": Input/output error; what was saved there before is still there");
  EXPECT_THAT(Names(), ElementsAre("state-1.bin"));
}

TEST_F(StateFile, WhoseNameMayNotHaveReachedTheDiskIsSaidToBeSaved) {
  Save({1}, 1);
  const FailingCall sync(Call::kSync, EIO, 2);
  EXPECT_EQ(ErrorOf([this] { Save({2}, 1); }),
            File(2) +
                " is saved, but may be gone after a power cut: Input/output error; look at the "
                "disk's health");
  EXPECT_THAT(Names(), UnorderedElementsAre("state-1.bin", "state-2.bin"))
      << "the one before it stays, because it may be the one that is there";
}

// --- Folders and their names ---

TEST_F(StateFile, OfAnyKindMakesAFolderOneOfStates) {
  for (const char* const name : {"tvq-state.bin", "state-1.bin", "state-a.bin", "machine-A"}) {
    fs::create_directories(Path("holder"));
    EXPECT_FALSE(HoldsStates(Path("holder")));
    Write(std::string("holder/x") + name, {});
    EXPECT_FALSE(HoldsStates(Path("holder"))) << "x" << name;
    Write(std::string("holder/") + name, {});
    EXPECT_TRUE(HoldsStates(Path("holder"))) << name;
    fs::remove_all(Path("holder"));
  }
  EXPECT_FALSE(HoldsStates(Path("missing")));
  EXPECT_FALSE(fs::exists(Path("missing")));
}

TEST_F(StateFile, InTheFolderOfAMachineDoesNotNameItWithoutItsNumber) {
  EXPECT_EQ(WithoutMachineNumbers("/stick/TVQ/machine-ABC1/state-1.bin"),
            "/stick/TVQ/machine/state-1.bin");
  EXPECT_EQ(WithoutMachineNumbers("machine-ABC1"), "machine");
  EXPECT_EQ(WithoutMachineNumbers("a//machine-1/machine-2/"), "a//machine/machine/");
  EXPECT_EQ(WithoutMachineNumbers("my-machine-1/table.bin"), "my-machine-1/table.bin");
  EXPECT_EQ(WithoutMachineNumbers(""), "");
}

TEST_F(StateFile, OfTheServiceIsKnownByItsFolder) {
  for (const char* const path : {"/var/lib/tvq", "/var/lib/tvq/", "/var/lib/tvq//"}) {
    EXPECT_TRUE(IsServiceFolder(path)) << path;
  }
  for (const char* const path : {"", "/", "/var/lib/tv", "/var/lib/tvq/x", "/var/lib/tvq2"}) {
    EXPECT_FALSE(IsServiceFolder(path)) << path;
  }
}

// --- Other files ---

TEST_F(StateFile, OfAnyOtherCommandIsWrittenAsAWholeToo) {
  const std::string source = Path("source.smbios");
  const std::string text = "version = 3.3\n[bios]\n[end]\n";
  Write("source.smbios", Bytes(text.begin(), text.end()));
  umask(0);
  EXPECT_EQ(RunTvq({"mktable", source, "-o", Path("out.bin")}).status, 0);
  EXPECT_EQ(ModeOf(Path("out.bin")), 0600u);
  const Bytes before = Read("out.bin");
  const FailingCall sync(Call::kSync, EIO);
  EXPECT_EQ(RunTvq({"mktable", source, "-o", Path("out.bin")}).status, 2);
  EXPECT_EQ(Read("out.bin"), before);
  Write("victim", {1, 2, 3});
  fs::create_symlink(Path("victim"), Path("link"));
  EXPECT_EQ(RunTvq({"mktable", source, "-o", Path("link")}).status, 2);
  EXPECT_TRUE(fs::is_symlink(Path("link")));
  EXPECT_EQ(Read("victim"), Bytes({1, 2, 3}));
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const Outcome refused = RunTvq({"mktable", source, "-o", Path("pipe")});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("it is no plain file\ntvq: hint: `-o -` writes to"));
}

}  // namespace
}  // namespace tvq::cli
