/*
 * Runs of the agent from a volume that takes nothing: a CD, a stick whose switch is set.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/agent_harness.h"

namespace tvq::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kRefused[] =
    "\r\nVolume: it cannot be written to; nothing is saved, and what lies there is compared "
    "with.\r\n";

enum class Known {
  kBefore,     // the file system says that it takes nothing
  kByRefusal,  // it only refuses
  kByDevicePath,  // it says nothing, and lies on a disc; whoever writes there all the same is found out
};

class AgentOnReadOnlyVolume : public testing::TestWithParam<Known>, protected AgentHarness {
 protected:
  AgentOnReadOnlyVolume() { LoadDriver(); }
  ~AgentOnReadOnlyVolume() override {
    if (mIsDisc) {
      Firmware().BootServices()->UninstallProtocolInterface(Files().Device(),
                                                            &gEfiDevicePathProtocolGuid, &mDisc);
    }
  }

  void Protect() {
    if (GetParam() != Known::kByDevicePath) {
      Files().Protect(GetParam() == Known::kBefore);
      return;
    }
    mDisc.cdrom.Header = {MEDIA_DEVICE_PATH, MEDIA_CDROM_DP, {sizeof(CDROM_DEVICE_PATH), 0}};
    mDisc.end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(mDisc.end), 0}};
    EFI_HANDLE device = Files().Device();
    ASSERT_EQ(Firmware().BootServices()->InstallProtocolInterface(
                  &device, &gEfiDevicePathProtocolGuid, EFI_NATIVE_INTERFACE, &mDisc),
              EFI_SUCCESS);
    mIsDisc = true;
  }

  // What the volume holds, but for its log of changes.
  std::vector<std::string> Contents() {
    std::vector<std::string> contents;
    for (const std::string& path : Files().Paths()) {
      contents.push_back(path + ": " + Files().Get(path));
    }
    return contents;
  }

 private:
  struct {
    CDROM_DEVICE_PATH cdrom;
    EFI_DEVICE_PATH_PROTOCOL end;
  } mDisc = {};
  bool mIsDisc = false;
};

INSTANTIATE_TEST_SUITE_P(Known, AgentOnReadOnlyVolume,
                         testing::Values(Known::kBefore, Known::kByRefusal, Known::kByDevicePath));

TEST_P(AgentOnReadOnlyVolume, ShowsTheInventoryAndSaysInOneLineThatNothingIsSaved) {
  PublishFirmwareTable(MinimalServer());
  Protect();
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Console(),
              AllOf(HasSubstr(kRefused), HasSubstr("\r\nRecords: 3\r\n"),
                    HasSubstr("\r\nState: not saved, because the volume cannot be written to\r\n"),
                    EndsWith("\r\nTvqAgent: success\r\n"), Not(HasSubstr("Problem")),
                    Not(HasSubstr("Saved in"))));
  EXPECT_EQ(Files().Paths(), std::vector<std::string>{});
}

TEST_P(AgentOnReadOnlyVolume, ComparesWithWhatLiesThere) {
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  const std::vector<std::string> before = Contents();
  Protect();
  const size_t shown = Console().size();
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Console().substr(shown), AllOf(HasSubstr(kRefused), HasSubstr("\r\nSummary: "),
                                             HasSubstr("\r\nState: left as it was saved"),
                                             EndsWith("TvqAgent: success\r\n")));
  EXPECT_EQ(Contents(), before);
}

TEST_P(AgentOnReadOnlyVolume, SaysThatItCannotAcceptWhereThatWasAskedFor) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Protect();
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_ABORTED);
  EXPECT_THAT(Console(),
              HasSubstr("\r\nProblem: the state cannot be accepted, because the volume cannot be "
                        "written to.\r\n  What to do: copy the medium's files to one that can be"));
}

TEST_P(AgentOnReadOnlyVolume, OffersNothingAtTheScreenThatItCannotDo) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Protect();
  FakeTerminal terminal(Firmware());
  UseTerminal(&terminal);
  terminal.Do([&] { EXPECT_EQ(terminal.AttributeOf("Volume: it cannot"), UINTN{EFI_YELLOW}); });
  terminal.Type("ayoysq");
  EXPECT_EQ(BootAgent(), EFI_ABORTED);
  EXPECT_THAT(terminal.Pictures().at(0), AllOf(HasSubstr("\nNothing to do: 3 devices"),
                                               HasSubstr("\nVolume: it cannot be written to;"),
                                               HasSubstr("D:Details P:Power off Q:Leave\n")));
  UseTerminal(nullptr);
}

TEST_P(AgentOnReadOnlyVolume, SaysThatThereIsNothingToCompareWith) {
  PublishFirmwareTable(MinimalServer());
  Protect();
  FakeTerminal terminal(Firmware());
  UseTerminal(&terminal);
  terminal.Type("q");
  BootAgent();
  EXPECT_THAT(terminal.Pictures().at(0),
              HasSubstr("\n3 devices. Nothing was saved before to compare with.\n"));
  UseTerminal(nullptr);
}

// --- What only looks like it ---

TEST(AgentOnAVolumeThatTakesFiles, ReportsOneThatIsRefused) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(MinimalServer());
  machine.Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED, "\\TVQ\\log.txt");
  EXPECT_EQ(machine.RunAgent(), EFI_ABORTED);
  EXPECT_THAT(machine.Console(), Not(HasSubstr("Volume: it cannot be written to")));
}

}  // namespace
}  // namespace tvq::test
