/*
 * The table that options name: its version, its file, and the entry point of one that a state keeps.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/table_input.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;

class TableInput : public CliTest {
 protected:
  std::string BareTable() { return Write("table.bin", TableOf({}).Bytes()); }
};

TEST_F(TableInput, IsOfTheVersionThatIsStated) {
  for (const auto& [text, major, minor] :
       {std::tuple("3.2", 3, 2), std::tuple("2.0", 2, 0), std::tuple("255.255", 255, 255),
        std::tuple("0.0", 0, 0)}) {
    const Outcome exported = RunTvq({"export", "--table", BareTable(), "--smbios-version", text});
    EXPECT_EQ(exported.Json()["smbios"]["major"], major);
    EXPECT_EQ(exported.Json()["smbios"]["minor"], minor);
  }
}

TEST_F(TableInput, IsOfNoVersionThatCannotBe) {
  for (const std::string text : {"x", "3", "3.", ".3", "3,2", "3.x", "3.2x", "3.2.1", "256.0",
                                 "3.256", "99999999999.0", "3.99999999999", "-3.2"}) {
    const Outcome refused = RunTvq({"export", "--table", BareTable(), "--smbios-version=" + text});
    EXPECT_EQ(refused.status, 2) << text;
    EXPECT_THAT(refused.diagnostics, HasSubstr("'" + text + "' is no version such as 3.2"));
  }
}

TEST_F(TableInput, ThatIsSpelledOutNamesTheLineThatIsWrong) {
  const Outcome wrong = RunTvq({"export", "-"},
                               "SMBIOS 2.7 present.\n\nHandle 0x0003, DMI type 127, 4 bytes\n"
                               "\tHeader and Data:\n\t\t7F 04 03 0G\n");
  EXPECT_EQ(wrong.status, 2);
  EXPECT_THAT(wrong.diagnostics, HasSubstr("tvq: error: standard input:5: "));
  EXPECT_THAT(RunTvq({"export", "-"}, "Handle 0x0003\n\tHeader and Data:\n").diagnostics,
              HasSubstr("tvq: error: standard input:1: the structure has no bytes\n"));
}

TEST_F(TableInput, ThatIsNoTextIsWrongInNoLine) {
  const std::string cut = Write("cut.bin", {'_', 'S', 'M', '3', '_'});
  EXPECT_THAT(RunTvq({"export", cut, "--redact", "--redact-key", "key"}).diagnostics,
              HasSubstr("tvq: error: " + cut + ": the file ends inside the entry point\n"));
}

// A table of that size, with a name for its processor, in which a text takes what is left.
test::Table TableOfSize(size_t size) {
  const auto with = [](size_t length) {
    return test::Table::Of(test::Bios{}, test::System{}, test::Processor{},
                           test::FqddMap{.groups = {{"CPU.Socket.1", 0x8002}}},
                           test::OemStrings{.texts = {std::string(length, 'x')}}, test::End{});
  };
  return with(size - with(1).Size() + 1);
}

TEST_F(TableInput, OfAStateHasAnEntryPointOf32BitsWhateverItsLength) {
  for (const size_t size : {size_t{0x1000}, size_t{0xFFFF}}) {
    const test::Table table = TableOfSize(size);
    ASSERT_EQ(table.Size(), size);
    TableOptions options;
    options.file = Path("state-of-" + std::to_string(size));
    const Outcome saved =
        RunTvq({"save", options.file, "--as-is", "--table", Write("table.bin", table.Bytes())});
    ASSERT_EQ(saved.status, 0) << saved.diagnostics;
    std::istringstream in;
    std::ostringstream out;
    const TableOrState read = ReadTableOrState(options, Console{in, out, out});
    EXPECT_EQ(std::string(read.bytes.file.begin(), read.bytes.file.begin() + 4), "_SM_") << size;
  }
}

}  // namespace
}  // namespace tvq::cli
