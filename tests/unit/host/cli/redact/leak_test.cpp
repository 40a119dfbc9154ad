/*
 * --redact leaves no secret in any command's output, whatever structure it stands in.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/redact/redact_fixture.h"
#include "tests/unit/host/cli/secrets.h"

namespace tvq::cli {
namespace {

using test::Bytes;
using testing::HasSubstr;
using testing::IsEmpty;

// Each test runs on a server whose strings begin with a text, and on one where they begin with an
// empty one.
class RedactLeak : public CliTest, public testing::WithParamInterface<bool> {
 protected:
  table::Table MakeServer() {
    test::Table server;
    for (test::Structure structure : SecretStructures(mSecrets)) {
      if (GetParam() && !structure.strings.empty()) {
        PutEmptyStringFirst(structure);
      }
      server.Add(structure);
    }
    return {{3, 3}, table::EntryPoint::k32Bit, {}, server.Bytes()};
  }
  std::string DumpFile(const std::string& name) {
    return Write(name, *table::WriteDump(MakeServer()));
  }
  std::string FileText(const std::string& name) const {
    const Bytes bytes = Read(name);
    return {bytes.begin(), bytes.end()};
  }

  // Runs a command that has to say something, and nothing that is a secret.
  Outcome RunSafely(const Arguments& arguments) {
    Outcome outcome = RunTvq(arguments + kRedact);
    EXPECT_THAT(mSecrets.In(outcome.out), IsEmpty()) << arguments[0] << '\n' << outcome.out;
    EXPECT_THAT(mSecrets.In(outcome.diagnostics), IsEmpty()) << outcome.diagnostics;
    EXPECT_NE(outcome.out + outcome.diagnostics, "");
    return outcome;
  }

  Secrets mSecrets;
};

TEST_P(RedactLeak, TheSecretsAreFoundWithoutIt) {
  const std::string dump = DumpFile("dump.bin");
  const auto found = mSecrets.In(RunTvq({"mktable", "--from-dump", dump}).out);
  EXPECT_EQ(found, mSecrets.All()) << "every secret stands in the source form";
}

TEST_P(RedactLeak, NotInTheSourceForm) {
  EXPECT_EQ(RunSafely({"mktable", "--from-dump", DumpFile("dump.bin")}).status, 0);
}

TEST_P(RedactLeak, NotInATableMadeOfItsSource) {
  const std::string source = table::FormatSource(MakeServer());
  const std::string file = Write("server.smbios", Bytes(source.begin(), source.end()));
  EXPECT_EQ(RunTvq(Arguments{"mktable", file, "-o", Path("out.bin")} + kRedact).status, 0);
  EXPECT_THAT(mSecrets.In(FileText("out.bin")), IsEmpty());
}

TEST_P(RedactLeak, NotInAnExport) {
  const Outcome exported = RunSafely({"export", "--conform", DumpFile("dump.bin")});
  EXPECT_EQ(exported.status, 0) << exported.diagnostics;
  EXPECT_EQ(exported.Json()["records"].size(), 5u) << exported.diagnostics;
  RunSafely({"export", Path("dump.bin")});
}

TEST_P(RedactLeak, NotInWhatIsShown) {
  const Arguments show = {"show", "--conform", DumpFile("dump.bin")};
  EXPECT_THAT(RunSafely(show).out, HasSubstr(" 5 records"));
  RunSafely(show + Arguments{"--json"});
  for (const char* const device : {"CPU.Socket.1", "DIMM.Socket.A1", "System.Embedded.1"}) {
    RunSafely(show + Arguments{device});
    RunSafely(show + Arguments{device, "--json"});
  }
  RunSafely({"show", Path("dump.bin")});
}

TEST_P(RedactLeak, NotInASavedState) {
  const std::string dump = DumpFile("dump.bin");
  EXPECT_EQ(RunSafely({"save", Path("state"), "--conform", "--from-dump", dump}).status, 0);
  EXPECT_THAT(mSecrets.In(FileText("state/state-1.bin")), IsEmpty());
  EXPECT_EQ(RunSafely({"verify", Path("state"), "--conform", "--from-dump", dump}).status, 0);
}

TEST_P(RedactLeak, NotInWhatBecameOfAStateThatWasSavedInClear) {
  const std::string before = DumpFile("before.bin");
  RunTvq({"save", Path("state"), "--conform", "--from-dump", before});
  const std::string after = DumpFile("after.bin");
  for (const Arguments& json : {Arguments{}, Arguments{"--json"}}) {
    RunSafely(Arguments{"verify", Path("state"), "--conform", "--from-dump", after} + json);
    EXPECT_EQ(RunSafely(Arguments{"diff", Path("state"), after, "--conform"} + json).status, 1);
  }
}

TEST_P(RedactLeak, NotInTheDifferenceOfTwoTables) {
  const Arguments diff = {"diff", DumpFile("before.bin"), DumpFile("after.bin"), "--conform"};
  const Outcome outcome = RunSafely(diff);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("Inventory/WWN"));
  EXPECT_THAT(outcome.out, HasSubstr("Structures\n"));
  RunSafely(diff + Arguments{"--json"});
}

TEST_P(RedactLeak, NotInFindings) {
  const Arguments lint = {"lint", DumpFile("dump.bin"), "--max", "0", "--enable", "all"};
  EXPECT_EQ(RunSafely(lint).status, 1);
  RunSafely(lint + Arguments{"--json"});
  RunSafely(lint + Arguments{"--format", "sarif"});
  RunSafely(lint + Arguments{"--profile", "table", "--hex"});
}

TEST_P(RedactLeak, NotInAListOfAllValues) {
  const Outcome list = RunSafely({"get", "--list", "--conform", DumpFile("dump.bin")});
  EXPECT_THAT(list.out, HasSubstr("CPU.Socket.1"));
}

TEST_P(RedactLeak, NotOnAPage) {
  const std::string dump = DumpFile("dump.bin");
  RunTvq({"save", Path("state"), "--conform", "--from-dump", dump});
  const Arguments report = {"report", "--conform", dump, "--against", Path("state"), "-o"};
  EXPECT_NE(RunTvq(report + Arguments{Path("page.html")} + kRedact).status, 2);
  EXPECT_THAT(FileText("page.html"), HasSubstr("CPU.Socket.1"));
  EXPECT_THAT(mSecrets.In(FileText("page.html")), IsEmpty());
  RunTvq(report + Arguments{Path("usual.html")});
  EXPECT_THAT(mSecrets.In(FileText("usual.html")), IsEmpty()) << "unless somebody asks for numbers";
}

TEST_P(RedactLeak, NotInRowsAndMetrics) {
  const std::string dump = DumpFile("dump.bin");
  RunTvq(Arguments{"save", Path("state"), "--conform", "--from-dump", dump} + kRedact);
  RunSafely({"verify", Path("state"), "--conform", "--from-dump", dump, "--metrics",
             Path("metrics"), "--metrics-serials", "--rows", Path("rows")});
  for (const char* const file : {"metrics", "rows"}) {
    EXPECT_THAT(FileText(file), HasSubstr("CPU.Socket.1")) << file;
    EXPECT_THAT(mSecrets.In(FileText(file)), IsEmpty()) << file;
  }
  RunSafely({"export", "--rows", "--conform", dump, "--against", Path("state")});
}

TEST_P(RedactLeak, NotInAnAnswerAboutASlot) {
  RunSafely({"slot", "0:0.0", "--conform", "--from-dump", DumpFile("dump.bin")});
}

TEST_P(RedactLeak, NotInWhatIsReadOfThisMachine) {
  const Bytes dump = *table::WriteDump(MakeServer());
  Write("smbios_entry_point", Bytes(dump.begin(), dump.begin() + 0x1F));
  Write("DMI", Bytes(dump.begin() + 0x20, dump.end()));
  const std::string folder = Path("");
  EXPECT_EQ(RunSafely({"export", "--conform", "--sysfs", folder}).status, 0);
  RunSafely({"lint", "--sysfs", folder});
}

// A text that seems to end it: nobody can tell what its other texts are.
TEST_P(RedactLeak, NotInADocumentOfAClearStateThatCannotBeRead) {
  const auto make = [&](const std::string& name) {
    const test::Table server = test::Table::Of(
        test::Bios{}, test::System{.serial = mSecrets.Text() + "</ServiceTag>" + mSecrets.Text()},
        test::MemoryDevice{.serial = mSecrets.Text() + "</WWN>" + mSecrets.Text()}, test::End{});
    return Write(name, server.Bytes());
  };
  const std::string before = make("before.bin");
  const std::string after = make("after.bin");
  RunTvq({"save", Path("state"), "--conform", "--table", before});
  RunSafely({"show", Path("state")});
  RunSafely({"show", Path("state"), "--json"});
  for (const Arguments& json : {Arguments{}, Arguments{"--json"}}) {
    RunSafely(Arguments{"verify", Path("state"), "--conform", "--table", after} + json);
    RunSafely(Arguments{"diff", Path("state"), after, "--conform"} + json);
  }
  RunTvq(Arguments{"report", "--conform", after, "--against", Path("state"), "-o", Path("page")});
  EXPECT_THAT(mSecrets.In(FileText("page")), IsEmpty());
}

// The tag of the machine that it once was, and a number that no document has as a secret.
TEST_P(RedactLeak, NotWhereOneSideRepeatsWhatIsASecretOnTheOther) {
  const std::string old = mSecrets.Text();
  const std::string board = mSecrets.Text();
  const auto make = [&](const std::string& name, const std::string& product,
                        const std::string& tag) {
    test::Table server = test::Table::Of(
        test::Bios{}, test::System{.product = product, .serial = tag, .sku = product},
        test::BaseBoard{.serial = board}, test::MemoryDevice{.assetTag = "Spare"}, test::End{});
    return Write(name, server.Bytes());
  };
  const std::string before = make("before.bin", "Rack " + old + ' ' + board, old);
  const std::string after = make("after.bin", "Tower " + old + ' ' + board, mSecrets.Text());
  for (const Arguments& json : {Arguments{}, Arguments{"--json"}}) {
    const Outcome outcome = RunSafely(Arguments{"diff", before, after, "--conform"} + json);
    EXPECT_THAT(outcome.out, HasSubstr("ProductName"));
    EXPECT_THAT(outcome.out, HasSubstr("sku"));
  }
}

INSTANTIATE_TEST_SUITE_P(FirstString, RedactLeak, testing::Bool(), [](const auto& info) {
  return std::string(info.param ? "Empty" : "Text");
});

}  // namespace
}  // namespace tvq::cli
