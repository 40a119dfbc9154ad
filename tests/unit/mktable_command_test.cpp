/*
 * `tvq mktable` as its users call it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <CLI/CLI.hpp>

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "host/cli/mktable_command.h"
#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/table_bytes.h"

namespace tvq::cli {
namespace {

using table::FromHex;
using table::ReadBytes;
using testing::HasSubstr;
using testing::StartsWith;

constexpr int kWrongUsage = -1;

class MktableCommand : public testing::Test {
 protected:
  MktableCommand() {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    mFolder = std::filesystem::path(testing::TempDir()) / (std::string("mktable-") + test->name());
    std::filesystem::create_directories(mFolder);
  }
  ~MktableCommand() override { std::filesystem::remove_all(mFolder); }

  std::string Path(const std::string& name) const { return mFolder / name; }

  std::string Write(const std::string& name, const std::string& text) {
    std::ofstream(Path(name), std::ios::binary) << text;
    return Path(name);
  }

  int Run(std::vector<std::string> arguments) {
    CLI::App app;
    int status = kWrongUsage;
    AddMktableCommand(app, mOut, mDiagnostics, status);
    // CLI11 takes them last first.
    arguments.insert(arguments.begin(), "mktable");
    std::reverse(arguments.begin(), arguments.end());
    try {
      app.parse(arguments);
    } catch (const CLI::ParseError& error) {
      mDiagnostics << error.what();
    }
    return status;
  }

  std::filesystem::path mFolder;
  std::ostringstream mOut;
  std::ostringstream mDiagnostics;
};

TEST_F(MktableCommand, BuildsATable) {
  const std::string source = Write("a.smbios", "entry-point = none\n[end 1]\n");
  EXPECT_EQ(Run({source, "-o", Path("a.bin")}), 0) << mDiagnostics.str();
  EXPECT_EQ(ReadBytes(Path("a.bin")), FromHex("7F 04 01 00 00 00"));
  EXPECT_EQ(mOut.str(), "");
}

TEST_F(MktableCommand, WritesTheTableToStandardOutputWhenAsked) {
  const std::string source = Write("a.smbios", "entry-point = none\n[end 1]\n");
  EXPECT_EQ(Run({source, "-o", "-"}), 0) << mDiagnostics.str();
  EXPECT_EQ(mOut.str(), std::string("\x7F\x04\x01\x00\x00\x00", 6));
}

TEST_F(MktableCommand, TurnsADumpIntoASource) {
  const std::string source = Write("a.smbios", "[system 1]\nserial = \"X\"\n");
  ASSERT_EQ(Run({source, "-o", Path("a.bin")}), 0) << mDiagnostics.str();
  EXPECT_EQ(Run({"--from-dump", Path("a.bin")}), 0) << mDiagnostics.str();
  EXPECT_THAT(mOut.str(), HasSubstr("\nserial       = \"X\"\n"));
  EXPECT_EQ(Run({"--from-dump", Path("a.bin"), "--output", Path("b.smbios")}), 0);
  EXPECT_EQ(table::ReadText(Path("b.smbios")), mOut.str());
}

TEST_F(MktableCommand, TurnsTheTextOfDmidecodeIntoASource) {
  const std::string text = Write("a.txt",
                                 "SMBIOS 2.7 present.\n\nHandle 0x0003, DMI type 127, 4 bytes\n"
                                 "\tHeader and Data:\n\t\t7F 04 03 00\n");
  EXPECT_EQ(Run({"--from-dump", text}), 0) << mDiagnostics.str();
  EXPECT_THAT(mOut.str(), HasSubstr("version = 2.7\n\n[end 0x0003]\n"));
}

TEST_F(MktableCommand, NamesFileAndLineOfAMistake) {
  const std::string source = Write("a.smbios", "[system]\nserail = 1\n");
  EXPECT_EQ(Run({source, "-o", Path("a.bin")}), 2);
  EXPECT_EQ(mDiagnostics.str(), "tvq: error: " + source +
                                    ":2: 'serail' is no field of system\n"
                                    "tvq: hint: did you mean 'serial'?\n");
  EXPECT_FALSE(std::filesystem::exists(Path("a.bin")));
}

TEST_F(MktableCommand, NamesAFileThatCannotBeRead) {
  EXPECT_EQ(Run({"--from-dump", Path("missing.bin")}), 2);
  EXPECT_THAT(mDiagnostics.str(), StartsWith("tvq: error: cannot read " + Path("missing.bin")));
}

TEST_F(MktableCommand, NamesAFileThatCannotBeWritten) {
  const std::string source = Write("a.smbios", "[end]\n");
  EXPECT_EQ(Run({source, "-o", Path("missing/a.bin")}), 2);
  EXPECT_THAT(mDiagnostics.str(), StartsWith("tvq: error: cannot write " + Path("missing/a.bin")));
}

TEST_F(MktableCommand, AsksForAnOutputOfATable) {
  EXPECT_EQ(Run({Write("a.smbios", "[end]\n")}), kWrongUsage);
  EXPECT_THAT(mDiagnostics.str(), HasSubstr("-o FILE"));
}

TEST_F(MktableCommand, TakesOneTaskAtATime) {
  EXPECT_EQ(Run({}), kWrongUsage);
  EXPECT_EQ(Run({"a.smbios", "--from-dump", "a.bin"}), kWrongUsage);
  EXPECT_THAT(mDiagnostics.str(), HasSubstr("one of SOURCE, --from-dump and --fields"));
}

TEST_F(MktableCommand, ListsTypesAndFields) {
  EXPECT_EQ(Run({"--fields", "all"}), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("225  fqdd-map\n"));
  EXPECT_EQ(Run({"--fields", "fqdd-map"}), 0);
  EXPECT_THAT(mOut.str(), HasSubstr("type 225\n  04h  format "));
  EXPECT_THAT(mOut.str(), HasSubstr(" string handle byte; repeats\n"));
  EXPECT_EQ(Run({"--fields", "processors"}), 2);
  EXPECT_THAT(mDiagnostics.str(), HasSubstr("there is no type of structure named 'processors'"));
}

}  // namespace
}  // namespace tvq::cli
