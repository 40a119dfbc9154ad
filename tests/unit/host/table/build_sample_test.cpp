/*
 * The program with which the build makes the samples.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/build_sample.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

class BuildSampleProgram : public cli::CliTest {
 protected:
  std::string Source(const std::string& text) {
    return Write("a.smbios", test::Bytes(text.begin(), text.end()));
  }

  int Run(std::initializer_list<std::string> arguments) {
    std::vector<const char*> argv = {"tvq_build_sample"};
    for (const std::string& argument : arguments) {
      argv.push_back(argument.c_str());
    }
    return BuildSample(static_cast<int>(argv.size()), argv.data(), mDiagnostics);
  }

  std::string Said() const { return mDiagnostics.str(); }

 private:
  std::ostringstream mDiagnostics;
};

TEST_F(BuildSampleProgram, WritesTheDumpOfASource) {
  EXPECT_EQ(Run({Source("entry-point = none\n[end 1]\n"), Path("a.bin")}), 0);
  EXPECT_EQ(ReadBytes(Path("a.bin")), FromHex("7F 04 01 00 00 00"));
  EXPECT_EQ(Said(), "");
}

TEST_F(BuildSampleProgram, TakesASourceAndADump) {
  const std::string source = Source("[end 1]\n");
  EXPECT_EQ(Run({source}), 2);
  EXPECT_EQ(Run({source, Path("a.bin"), Path("b.bin")}), 2);
  EXPECT_EQ(Said(), "usage: tvq_build_sample SOURCE DUMP\nusage: tvq_build_sample SOURCE DUMP\n");
  EXPECT_FALSE(std::filesystem::exists(Path("a.bin")));
}

TEST_F(BuildSampleProgram, NamesASourceThatCannotBeRead) {
  EXPECT_EQ(Run({Path("missing.smbios"), Path("a.bin")}), 2);
  EXPECT_EQ(Said(), Path("missing.smbios") + ": error: cannot be read\n");
}

TEST_F(BuildSampleProgram, NamesTheLineOfAMistake) {
  const std::string source = Source("[system]\nserail = 1\n");
  EXPECT_EQ(Run({source, Path("a.bin")}), 2);
  EXPECT_EQ(Said(), source + ":2: error: 'serail' is no field of system\n");
  EXPECT_FALSE(std::filesystem::exists(Path("a.bin")));
}

TEST_F(BuildSampleProgram, NamesADumpThatCannotBeWritten) {
  EXPECT_EQ(Run({Source("[end 1]\n"), Path("missing/a.bin")}), 2);
  EXPECT_EQ(Said(), Path("missing/a.bin") + ": error: cannot be written\n");
}

}  // namespace
}  // namespace tvq::table
