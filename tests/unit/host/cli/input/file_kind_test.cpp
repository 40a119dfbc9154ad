/*
 * Hints for files that are no tables, with the next command to type.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <thread>

#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;

class FileKind : public CliTest {
 protected:
  // What `tvq show` says of a file with these bytes.
  std::string Said(const std::string& bytes) {
    const Outcome shown = RunTvq({"show", Write("file", test::Bytes(bytes.begin(), bytes.end()))});
    EXPECT_EQ(shown.status, 2);
    EXPECT_EQ(shown.out, "");
    return shown.diagnostics;
  }
};

TEST_F(FileKind, ThatIsCompressedIsToBeUnpackedOnTheWay) {
  EXPECT_EQ(Said("\x1F\x8B\x08 and more"),
            "tvq: error: " + Path("file") + " is compressed with gzip\n" +
                "tvq: hint: unpack it on the way: `gunzip -c " + Path("file") + " | tvq show -`\n");
  EXPECT_THAT(Said(std::string("\xFD"
                               "7zXZ\0\0",
                               7)),
              HasSubstr("`xz -dc "));
  EXPECT_THAT(Said("BZh91AY&SY"), HasSubstr("`bunzip2 -c "));
  EXPECT_THAT(Said("\x28\xB5\x2F\xFD more"), HasSubstr("`zstd -dc "));
}

TEST_F(FileKind, ThatDmidecodePrintedForPeopleHasNoBytes) {
  EXPECT_THAT(Said("# dmidecode 3.4\nGetting SMBIOS data from sysfs.\nSMBIOS 3.2 present.\n\n"
                   "Handle 0x0000, DMI type 0, 26 bytes\nBIOS Information\n\tVendor: Works\n"),
              HasSubstr(" is what dmidecode prints for people\n"
                        "tvq: hint: have it print the bytes, too: `sudo dmidecode -u | tvq show "
                        "-`\n"));
}

TEST_F(FileKind, ThatIsAStateHasTheTableThatItWasMadeOf) {
  const std::string table = Write("table", test::MinimalServer().Bytes());
  RunTvq({"save", Path("state"), "--table", table});
  const Outcome ofTable = RunTvq({"show", "--table", table});
  ASSERT_EQ(ofTable.status, 0);
  for (const char* state : {"state/state-1.bin", "state"}) {
    const Outcome ofState = RunTvq({"show", Path(state)});
    EXPECT_EQ(ofState.status, 0);
    EXPECT_EQ(ofState.out, ofTable.out);
  }
  EXPECT_EQ(RunTvq({"show", Path("state"), "--redact", "--redact-key", "k"}).out,
            RunTvq({"show", "--table", table, "--redact", "--redact-key", "k"}).out);
  EXPECT_EQ(RunTvq({"verify", Path("state"), "--from-dump", Path("state/state-1.bin")}).status, 0);
}

TEST_F(FileKind, ThatIsADamagedStateSaysSo) {
  EXPECT_THAT(Said("TVQSTATE and nothing more"), HasSubstr(" was cut off while it was saved\n"));
}

TEST_F(FileKind, OfAStateIsToBeComparedWhereTheBytesThemselvesMatter) {
  RunTvq({"save", Path("state"), "--conform", "--table", Write("table", TableOf({}).Bytes())});
  const Outcome linted = RunTvq({"lint", Path("state/state-1.bin")});
  EXPECT_EQ(linted.status, 2);
  EXPECT_THAT(linted.diagnostics,
              HasSubstr(" is a saved state, and no table\ntvq: hint: name the "
                        "state first, and a table to compare it with: `tvq diff "));
}

TEST_F(FileKind, OfAMachineWithoutATableIsToBeCapturedElsewhere) {
  EXPECT_THAT(RunTvq({"show", "--sysfs", Path("nowhere")}).diagnostics,
              HasSubstr("tvq: hint: this machine shows no SMBIOS table here, as in a container; "
                        "capture it on the machine itself with `sudo dmidecode --dump-bin FILE`"));
}

TEST_F(FileKind, ThatOnlyRootMayReadGetsTheSameCommandWithSudo) {
  const std::string path = Write("my table", {1});
  std::filesystem::permissions(path, std::filesystem::perms::none);
  constexpr uid_t kNobody = 65534;
  const uid_t user = geteuid();
  ASSERT_TRUE(user != 0 || seteuid(kNobody) == 0);
  const Outcome shown = RunTvq({"show", path, "--json"});
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_THAT(shown.diagnostics, HasSubstr("tvq: hint: only root may do that: `sudo tvq show '" +
                                           path + "' --json`\n"));
}

TEST_F(FileKind, ThatIsATableIsNoSourceAndHasNoBlobs) {
  const std::string table = Write("table.bin", {'_', 'S', 'M', '3', '_', 0x7D});
  EXPECT_EQ(RunTvq({"mktable", table, "-o", "-"}).diagnostics,
            "tvq: error: " + table + " is a table, and no source\n" +
                "tvq: hint: `tvq mktable --from-dump " + table + "` reads it\n");
  EXPECT_EQ(RunTvq({"decode", table}).diagnostics,
            "tvq: error: " + table + " is a table, and no stored blobs\n" +
                "tvq: hint: `tvq show " + table + "` reads it\n");
}

TEST_F(FileKind, ThatIsAPipeIsReadOnce) {
  const test::Bytes table = test::MinimalServer().Bytes();
  const std::string pipe = Path("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::thread writer([&] {
    std::ofstream(pipe, std::ios::binary)
        .write(reinterpret_cast<const char*>(table.data()),
               static_cast<std::streamsize>(table.size()));
  });
  const Outcome shown = RunTvq({"show", "--table", pipe});
  writer.join();
  EXPECT_EQ(shown.status, 0) << shown.diagnostics;
}

}  // namespace
}  // namespace tvq::cli
