/*
 * The file of a saved state: what it may be, who may read it, and that a failure leaves what was there before.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kName[] = "tvq-state.bin";

class StateFile : public CliTest {
 protected:
  StateFile() : mMask(umask(0)) {}
  ~StateFile() override { umask(mMask); }

  std::string Folder() const { return Path("state"); }
  std::string File() const { return Folder() + "/" + kName; }
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
  // The error that is thrown, with its hint.
  static std::string ErrorOf(const std::function<void()>& action) {
    try {
      action();
    } catch (const InputError& error) {
      return error.what() + std::string("; ") + error.Hint();
    }
    return "(none)";
  }
  std::string LoadError() const {
    return ErrorOf([this] { LoadStateFile(Folder()); });
  }
  std::string SaveError() const {
    return ErrorOf([this] { SaveStateFile(Folder(), {1, 2, 3}); });
  }

 private:
  mode_t mMask;
};

TEST_F(StateFile, HoldsWhatWasSaved) {
  for (const size_t size : {0u, 1u, 0xFFFFu, 0x10000u, 0x10001u, 200000u}) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i) {
      bytes[i] = static_cast<uint8_t>(i * 7 + i / 256);
    }
    SaveStateFile(Folder(), bytes);
    EXPECT_EQ(LoadStateFile(Folder()), bytes) << size;
  }
}

TEST_F(StateFile, AndItsFolderAreForTheirOwnerAlone) {
  SaveStateFile(Folder(), {1});
  EXPECT_EQ(ModeOf(Folder()), 0700u);
  EXPECT_EQ(ModeOf(File()), 0600u);
}

TEST_F(StateFile, StandsAloneInItsFolder) {
  SaveStateFile(Folder(), {1});
  SaveStateFile(Folder(), {2});
  EXPECT_THAT(Names(), ElementsAre(kName));
}

TEST_F(StateFile, LeavesNoFileOpen) {
  const size_t before = OpenFiles();
  SaveStateFile(Folder(), {1});
  LoadStateFile(Folder());
  fs::remove(File());
  LoadError();
  EXPECT_EQ(OpenFiles(), before);
}

// --- Links ---

TEST_F(StateFile, ThatIsALinkIsNotLoaded) {
  SaveStateFile(Folder(), {1, 2, 3});
  fs::rename(File(), Path("elsewhere"));
  fs::create_symlink(Path("elsewhere"), File());
  EXPECT_THAT(LoadError(), StartsWith("cannot open " + File()));
}

TEST_F(StateFile, InAFolderThatIsALinkIsNeitherLoadedNorSaved) {
  SaveStateFile(Path("elsewhere"), {1, 2, 3});
  fs::create_directory_symlink(Path("elsewhere"), Folder());
  EXPECT_THAT(LoadError(), StartsWith("cannot open " + Folder()));
  EXPECT_THAT(SaveError(), StartsWith("cannot open " + Folder()));
  EXPECT_EQ(LoadStateFile(Path("elsewhere")), Bytes({1, 2, 3}));
}

// --- What cannot be loaded ---

TEST_F(StateFile, ThatIsMissingIsToBeSavedFirst) {
  EXPECT_EQ(LoadError(), "cannot open " + Folder() +
                             ": No such file or directory; save a state first with `tvq save " +
                             Folder() + "`");
  fs::create_directory(Folder());
  EXPECT_THAT(LoadError(), StartsWith("cannot open " + File() + ": No such file"));
}

TEST_F(StateFile, ThatIsAFolderCannotBeRead) {
  fs::create_directories(File());
  EXPECT_THAT(LoadError(), StartsWith("cannot read " + File() + ": Is a directory"));
}

TEST_F(StateFile, InAFileInPlaceOfTheFolderCannotBeOpened) {
  Write("state", {1});
  EXPECT_THAT(LoadError(), StartsWith("cannot open " + Folder() + ": Not a directory"));
  EXPECT_THAT(SaveError(), StartsWith("cannot open " + Folder() + ": Not a directory"));
}

TEST_F(StateFile, IsReadOnAfterASignal) {
  fs::create_directory(Folder());
  ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
  std::fstream writer(File(), std::ios::in | std::ios::out | std::ios::binary);
  struct sigaction handler = {};  // which ends calls that wait
  handler.sa_handler = [](int) {};
  struct sigaction before = {};
  ASSERT_EQ(sigaction(SIGUSR1, &handler, &before), 0);
  const pthread_t reader = pthread_self();
  std::thread feeder([&writer, reader] {
    for (int i = 0; i < 10; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      pthread_kill(reader, SIGUSR1);
    }
    writer.write("abc", 3).flush();
    writer.close();
  });
  EXPECT_EQ(LoadStateFile(Folder()), Bytes({'a', 'b', 'c'}));
  feeder.join();
  sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(StateFile, ThatIsALinkSaysSoAndHowToFindWhatItLeadsTo) {
  SaveStateFile(Path("elsewhere"), {1});
  fs::create_directory_symlink(Path("elsewhere"), Folder());
  const std::string wanted = "cannot open " + Folder() +
                             ": it is a symbolic link; links are not followed; name what it leads "
                             "to, which `realpath " +
                             Folder() + "` prints";
  EXPECT_EQ(LoadError(), wanted);
  EXPECT_EQ(SaveError(), wanted);
}

TEST_F(StateFile, ThatOnlyRootMayReadIsToBeReadByRoot) {
  SaveStateFile(Folder(), {1});
  fs::permissions(File(), fs::perms::none);
  constexpr uid_t kNobody = 65534;
  const uid_t user = geteuid();
  fs::permissions(Folder(), fs::perms::all);
  ASSERT_TRUE(user != 0 || seteuid(kNobody) == 0);
  const std::string error = LoadError();
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(error, "cannot open " + File() +
                       ": Permission denied; only root may do that: `sudo {command}`");
}

// --- What cannot be saved ---

TEST_F(StateFile, ThatHasNoRoomSaysHowMuchThereIs) {
  EXPECT_EQ(SaveHint(ENOSPC, "dir", ".new"),
            "what was saved there before is still there; `df -h dir` shows how much room is left");
}

TEST_F(StateFile, NamesWhatAnInterruptedSaveLeft) {
  fs::create_directory(Folder());
  Write(std::string("state/.") + kName + "." + std::to_string(getpid()), {7});
  EXPECT_THAT(SaveError(),
              HasSubstr("a save that was interrupted left " + Folder() + "/." + kName));
}

TEST_F(StateFile, IsNotSavedWhereItsFolderCannotBeMade) {
  EXPECT_EQ(
      ErrorOf([this] { SaveStateFile(Path("missing/state"), {1}); }),
      "cannot make " + Path("missing/state") +
          ": No such file or directory; name a folder that you may write to and that is no link");
}

TEST_F(StateFile, StaysWhenTheNewOneDoesNotFit) {
  SaveStateFile(Folder(), {1, 2, 3});
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit small = {100000, before.rlim_max};
  const auto ignored = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
  const std::string error = ErrorOf([this] { SaveStateFile(Folder(), Bytes(200000)); });
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, ignored);
  EXPECT_EQ(error, "cannot write " + File() +
                       ": File too large; what was saved there before is still there");
  EXPECT_EQ(LoadStateFile(Folder()), Bytes({1, 2, 3}));
  EXPECT_THAT(Names(), ElementsAre(kName));
}

TEST_F(StateFile, DoesNotReplaceAFolder) {
  fs::create_directories(File());
  EXPECT_THAT(SaveError(), StartsWith("cannot write " + File() + ": Is a directory"));
  EXPECT_THAT(Names(), ElementsAre(kName));
}

TEST_F(StateFile, IsWrittenToNoFileThatIsThere) {
  fs::create_directory(Folder());
  const std::string name = std::string("state/.") + kName + "." + std::to_string(getpid());
  Write(name, {7});
  EXPECT_THAT(SaveError(), HasSubstr("File exists"));
  EXPECT_EQ(Read(name), Bytes({7})) << "it is somebody else's";
}

}  // namespace
}  // namespace tvq::cli
