/*
 * What is said of a state before it is compared: when it was saved, and what it lacks.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/state_run.h"

#include <gtest/gtest.h>

#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

class StateRun : public CliTest {
 protected:
  // What is said of a state that lacks the processor and was saved at that time.
  std::string SaidOfStateFrom(uint64_t time) {
    Server unreadable;
    unreadable.processor = "Core & Works";
    StateOptions options;
    options.table.file = Write("table.bin", TableOf(unreadable).Bytes());
    std::istringstream in;
    std::ostringstream ignored;
    std::ostringstream said;
    run::DriverRun driver;
    CollectRecords(driver, options, Console{in, ignored, ignored});
    run::Origin origin;
    origin.time = time;
    CheckFit(driver, {"the file", driver.State(origin)}, options, Console{in, said, said});
    return said.str();
  }
};

TEST_F(StateRun, SaysWhenAStateWasSavedThatLacksADevice) {
  const std::pair<uint64_t, std::string> kTimes[] = {{0, "at an unknown time"},
                                                     {1, "1970-01-01 00:00 UTC"},
                                                     {1600000000, "2020-09-13 12:26 UTC"},
                                                     {253402300799, "9999-12-31 23:59 UTC"},
                                                     {253402300800, "at an unknown time"},
                                                     {UINT64_MAX, "at an unknown time"}};
  for (const auto& [time, text] : kTimes) {
    EXPECT_EQ(SaidOfStateFrom(time), "tvq: warning: the state, saved " + text +
                                         ", is incomplete: CPU.Socket.1: a document that no "
                                         "parser reads\n");
  }
}

TEST_F(StateRun, WarnsWhereNothingTellsMachinesApartUnlessThatIsMasked) {
  const test::Table nameless =
      test::Table::Of(test::Bios{}, test::System{.serial = "", .uuid = test::Bytes(16, 0)},
                      test::Processor{}, test::End{});
  const std::string table = Write("table.bin", nameless.Bytes());
  const auto verify = [&](const std::string& folder, const std::vector<std::string>& more) {
    std::vector<std::string> save = {"save", Path(folder), "--table", table};
    save.insert(save.end(), more.begin(), more.end());
    EXPECT_EQ(RunTvq(save).status, 0);
    save[0] = "verify";
    return RunTvq(save).diagnostics;
  };
  EXPECT_EQ(verify("plain", {}), "tvq: warning: " + Path("plain/state-1.bin") +
                                     " may be of another machine: nothing in the table tells this "
                                     "one from others\n");
  EXPECT_EQ(verify("redacted", {"--redact", "--redact-key", "a key"}).find("another machine"),
            std::string::npos);
}

}  // namespace
}  // namespace tvq::cli
