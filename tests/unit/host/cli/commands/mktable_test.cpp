/*
 * `tvq mktable` as its users call it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::cli {
namespace {

using table::FromHex;
using table::ReadBytes;
using testing::HasSubstr;
using testing::StartsWith;

class MktableCommand : public CliTest {
 protected:
  using CliTest::Write;
  std::string Write(const std::string& name, const std::string& text) {
    return Write(name, test::Bytes(text.begin(), text.end()));
  }

  int Run(std::vector<std::string> arguments, const std::string& input = "") {
    arguments.insert(arguments.begin(), "mktable");
    mOutcome = RunTvq(arguments, input);
    return mOutcome.status;
  }

  Outcome mOutcome;
};

TEST_F(MktableCommand, BuildsATable) {
  const std::string source = Write("a.smbios", "entry-point = none\n[end 1]\n");
  EXPECT_EQ(Run({source, "-o", Path("a.bin")}), 0) << mOutcome.diagnostics;
  EXPECT_EQ(ReadBytes(Path("a.bin")), FromHex("7F 04 01 00 00 00"));
  EXPECT_EQ(mOutcome.out, "");
}

TEST_F(MktableCommand, WritesTheTableToStandardOutputWhenAsked) {
  const std::string source = Write("a.smbios", "entry-point = none\n[end 1]\n");
  EXPECT_EQ(Run({source, "-o", "-"}), 0) << mOutcome.diagnostics;
  EXPECT_EQ(mOutcome.out, std::string("\x7F\x04\x01\x00\x00\x00", 6));
}

TEST_F(MktableCommand, TurnsADumpIntoASource) {
  const std::string source = Write("a.smbios", "[system 1]\nserial = \"X\"\n");
  ASSERT_EQ(Run({source, "-o", Path("a.bin")}), 0) << mOutcome.diagnostics;
  EXPECT_EQ(Run({"--from-dump", Path("a.bin")}), 0) << mOutcome.diagnostics;
  const std::string shown = mOutcome.out;
  EXPECT_THAT(shown, HasSubstr("\nserial       = \"X\"\n"));
  EXPECT_EQ(Run({"--from-dump", Path("a.bin"), "--output", Path("b.smbios")}), 0);
  EXPECT_EQ(table::ReadText(Path("b.smbios")), shown);
}

TEST_F(MktableCommand, TurnsTheTextOfDmidecodeIntoASource) {
  const std::string text = Write("a.txt",
                                 "SMBIOS 2.7 present.\n\nHandle 0x0003, DMI type 127, 4 bytes\n"
                                 "\tHeader and Data:\n\t\t7F 04 03 00\n");
  EXPECT_EQ(Run({"--from-dump", text}), 0) << mOutcome.diagnostics;
  EXPECT_THAT(mOutcome.out, HasSubstr("version = 2.7\n\n[end 0x0003]\n"));
}

TEST_F(MktableCommand, NamesFileAndLineOfAMistake) {
  const std::string source = Write("a.smbios", "[system]\nserail = 1\n");
  EXPECT_EQ(Run({source, "-o", Path("a.bin")}), 2);
  EXPECT_EQ(mOutcome.diagnostics, "tvq: error: " + source +
                                      ":2: 'serail' is no field of system\n"
                                      "tvq: hint: did you mean 'serial'?\n");
  EXPECT_FALSE(std::filesystem::exists(Path("a.bin")));
  EXPECT_EQ(Run({Write("b.smbios", "serail = 1\n"), "-o", Path("a.bin")}), 2);
  EXPECT_THAT(mOutcome.diagnostics, StartsWith("tvq: error: " + Path("b.smbios") + ":1: "));
  EXPECT_EQ(Run({"--from-dump", Write("bad.bin", "_SM3_")}), 2);
  EXPECT_THAT(mOutcome.diagnostics, StartsWith("tvq: error: " + Path("bad.bin") + ": "));
}

TEST_F(MktableCommand, NamesAFileThatCannotBeRead) {
  EXPECT_EQ(Run({"--from-dump", Path("missing.bin")}), 2);
  EXPECT_THAT(mOutcome.diagnostics, StartsWith("tvq: error: cannot read " + Path("missing.bin")));
}

TEST_F(MktableCommand, NamesAFileThatCannotBeWritten) {
  const std::string source = Write("a.smbios", "[end]\n");
  EXPECT_EQ(Run({source, "-o", Path("missing/a.bin")}), 2);
  EXPECT_THAT(mOutcome.diagnostics,
              StartsWith("tvq: error: cannot write " + Path("missing/a.bin")));
}

TEST_F(MktableCommand, AsksForAnOutputOfATable) {
  EXPECT_EQ(Run({Write("a.smbios", "[end]\n")}), 2);
  EXPECT_THAT(mOutcome.diagnostics, HasSubstr("-o FILE"));
}

TEST_F(MktableCommand, TakesOneTaskAtATime) {
  EXPECT_EQ(Run({}), 2);
  EXPECT_EQ(Run({"a.smbios", "--from-dump", "a.bin"}), 2);
  EXPECT_THAT(mOutcome.diagnostics, HasSubstr("one of SOURCE, --from-dump and --fields"));
}

TEST_F(MktableCommand, BreaksItsListsAtTheEdgeOfATerminalAndNoTable) {
  const Terminal narrow = {30};
  const auto longest = [](const std::string& text) {
    std::size_t most = 0;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
      most = std::max(most, line.size());
    }
    return most;
  };
  EXPECT_LE(longest(RunTvq({"mktable", "--fields", "processor"}, "", narrow).out), 30u);
  const std::string source =
      Write("a.smbios", "[system 1]\nserial = \"one two three four five six\"\n");
  ASSERT_EQ(Run({source, "-o", Path("a.bin")}), 0) << mOutcome.diagnostics;
  EXPECT_THAT(RunTvq({"mktable", "--from-dump", Path("a.bin")}, "", narrow).out,
              HasSubstr(" = \"one two three four five six\"\n"));
}

TEST_F(MktableCommand, ListsTypesAndFields) {
  EXPECT_EQ(Run({"--fields", "all"}), 0);
  EXPECT_THAT(mOutcome.out, HasSubstr("225  fqdd-map\n"));
  EXPECT_EQ(Run({"--fields", "fqdd-map"}), 0);
  EXPECT_THAT(mOutcome.out, HasSubstr("type 225\n  04h  format "));
  EXPECT_THAT(mOutcome.out, HasSubstr(" string handle byte; repeats\n"));
  const std::string listed = mOutcome.out;
  EXPECT_EQ(Run({"--fields", "fqdd-map", "-o", Path("fields.txt")}), 0);
  EXPECT_EQ(mOutcome.out, "");
  EXPECT_EQ(table::ReadText(Path("fields.txt")), listed);
  EXPECT_EQ(Run({"--fields", "processors"}), 2);
  EXPECT_THAT(mOutcome.diagnostics, HasSubstr("there is no type of structure named 'processors'"));
}

}  // namespace
}  // namespace tvq::cli
