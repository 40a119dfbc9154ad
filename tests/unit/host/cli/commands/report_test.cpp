/*
 * `tvq report`: what the page says, masked unless somebody asks for more.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class CliReport : public CliTest {
 protected:
  std::string TableFile(const std::string& name, const Server& server) {
    return Write(name, TableOf(server).Bytes());
  }
  // The page, on standard output.
  Outcome Report(const Server& server, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"report", TableFile("table.bin", server), "-o", "-"});
    return RunTvq(more);
  }
};

TEST_F(CliReport, ShowsTheMachineAndItsPartsByTheirLabels) {
  const Outcome page = Report({});
  EXPECT_THAT(page.out, AllOf(HasSubstr("<h1>Rack One</h1>"), HasSubstr("id=\"at-module-1\""),
                              HasSubstr("href=\"#module-1\">DIMM_A1</a>"), HasSubstr("16 GB"),
                              HasSubstr("DIMM.Socket.A2")));
}

TEST_F(CliReport, MasksSerialNumbersUnlessTheyAreAskedFor) {
  EXPECT_THAT(Report({}).out, AllOf(Not(HasSubstr("11223344")), Not(HasSubstr("ABC1234")),
                                    HasSubstr("are masked")));
  EXPECT_THAT(Report({}, {"--show-serials"}).out,
              AllOf(HasSubstr("11223344"), HasSubstr("ABC1234"), Not(HasSubstr("are masked"))));
}

TEST_F(CliReport, MarksWhatChangedWhereItSits) {
  Server before;
  before.modules[1].serial = "99AABBCC";
  const std::string earlier = TableFile("before.bin", before);
  const Outcome page = Report({}, {"--against", earlier});
  EXPECT_EQ(page.status, 1);
  EXPECT_THAT(
      page.out,
      AllOf(HasSubstr(">DIMM_A2</a>"), HasSubstr("<a class=\"badge changed\" href=\"#change-"),
            HasSubstr(">replaced</a>"),
            HasSubstr("accept it if it was exchanged on purpose, else find out by whom"),
            Not(HasSubstr("99AABBCC")), Not(HasSubstr("55667788"))));
  EXPECT_THAT(Report({}, {"--against", earlier, "--show-serials"}).out,
              AllOf(HasSubstr("<td>99AABBCC</td>"), HasSubstr("<td>55667788</td>")));
}

TEST_F(CliReport, ComparesWithASavedStateToo) {
  ASSERT_EQ(RunTvq({"save", Path("state"), "--from-dump", TableFile("before.bin", {})}).status, 0);
  Server after;
  after.modules.pop_back();
  EXPECT_THAT(Report(after, {"--against", Path("state")}).out, HasSubstr(">gone</"));
}

TEST_F(CliReport, WritesItsFileAndFollowsNoLink) {
  const std::string table = TableFile("table.bin", {});
  EXPECT_EQ(RunTvq({"report", table, "-o", Path("page.html")}).out, "");
  const test::Bytes page = Read("page.html");
  EXPECT_THAT(std::string(page.begin(), page.end()), HasSubstr("<h1>Rack One</h1>"));
  std::filesystem::create_directory_symlink(Path("."), Path("link"));
  const Outcome refused = RunTvq({"report", table, "-o", Path("link/page.html")});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("symbolic link"));
}

TEST_F(CliReport, IsNotForATerminal) {
  const Outcome refused = RunTvq({"report", TableFile("table.bin", {})});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.diagnostics, HasSubstr("-o report.html"));
  EXPECT_THAT(RunTvq({"report", Path("table.bin")}, "", {80, false, false, true}).out,
              HasSubstr("<h1>Rack One</h1>"));
}

TEST_F(CliReport, LoadsNothingAndRunsNothing) {
  EXPECT_THAT(Report({}).out,
              AllOf(HasSubstr("content=\"default-src &#39;none&#39;"), Not(HasSubstr("<script")),
                    Not(HasSubstr("http://")), Not(HasSubstr("https://"))));
}

}  // namespace
}  // namespace tvq::cli
