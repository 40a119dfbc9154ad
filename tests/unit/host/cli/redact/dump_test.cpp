/*
 * --redact of captured tables and of sources: the entry point, what lies behind the structures, and
 * what is said of mistakes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/table/dump.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/redact/redact_fixture.h"
#include "tests/unit/host/cli/secrets.h"

namespace tvq::cli {
namespace {

using test::Bytes;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RedactFile : public CliTest {
 protected:
  table::Table OneSystem() {
    test::Table server = test::Table::Of(
        test::System{.serial = mSecrets.Text(), .uuid = mSecrets.Number(16)}, test::End{});
    return {{3, 3}, table::EntryPoint::k32Bit, {}, server.Bytes()};
  }
  void ExpectSafeSource(const Bytes& dump) {
    const Outcome source =
        RunTvq(Arguments{"mktable", "--from-dump", Write("dump.bin", dump)} + kRedact);
    EXPECT_EQ(source.status, 0) << source.diagnostics;
    EXPECT_THAT(mSecrets.In(source.out), IsEmpty()) << source.out;
  }

  Secrets mSecrets;
};

TEST_F(RedactFile, ReservedBytesOfTheEntryPointAreBlanked) {
  for (const table::EntryPoint kind : {table::EntryPoint::k32Bit, table::EntryPoint::k64Bit}) {
    table::Table table = OneSystem();
    table.entryPoint = kind;
    const bool is32Bit = kind == table::EntryPoint::k32Bit;
    table.entryPointPatches = {{is32Bit ? 0x0Bu : 0x18u, mSecrets.Number(is32Bit ? 5 : 8)}};
    ExpectSafeSource(*table::WriteDump(table));
  }
}

TEST_F(RedactFile, WhatStandsBetweenTheEntryPointAndTheTableIsBlanked) {
  for (const table::EntryPoint kind : {table::EntryPoint::k32Bit, table::EntryPoint::k64Bit}) {
    table::Table table = OneSystem();
    table.entryPoint = kind;
    Bytes dump = *table::WriteDump(table);
    const Bytes before = dump;
    const size_t end = kind == table::EntryPoint::k32Bit ? 0x1F : 0x18;
    std::fill(dump.begin() + static_cast<std::ptrdiff_t>(end), dump.begin() + 0x20, 0x41);
    RedactEntryPoint(dump, kind);
    EXPECT_EQ(Bytes(dump.begin(), dump.begin() + 0x20),
              Bytes(before.begin(), before.begin() + 0x20));
  }
}

TEST(SayBlanked, SaysHowManyBytesAreBlanked) {
  const auto said = [](std::size_t size) {
    std::istringstream in;
    std::ostringstream out;
    SayBlanked(size, Console{in, out, out});
    return out.str();
  };
  EXPECT_EQ(said(0), "");
  EXPECT_THAT(said(1), HasSubstr("(1 byte)"));
  EXPECT_THAT(said(2), HasSubstr("(2 bytes)"));
}

TEST_F(RedactFile, ARightChecksumOverThemStaysRight) {
  const struct {
    table::EntryPoint kind;
    size_t reserved;
    size_t checksum;
  } kKinds[] = {{table::EntryPoint::k32Bit, 0x0D, 0x04}, {table::EntryPoint::k64Bit, 0x0B, 0x05}};
  for (const auto& kind : kKinds) {
    table::Table table = OneSystem();
    table.entryPoint = kind.kind;
    Bytes dump = *table::WriteDump(table);
    const Bytes expected = dump;
    dump[kind.reserved] = 0x5A;
    dump[kind.checksum] = static_cast<uint8_t>(dump[kind.checksum] - 0x5A);
    ASSERT_TRUE(RedactDump(dump, TestMasker()));
    EXPECT_EQ(Bytes(dump.begin(), dump.begin() + 0x20),
              Bytes(expected.begin(), expected.begin() + 0x20));
  }
}

TEST_F(RedactFile, SoAreThoseThatASourceGives) {
  const std::string secret = mSecrets.Text();
  const std::string source = "[entry-point]\nbytes 0x0B = \"" + secret.substr(0, 5) + "\"\n[end]\n";
  const std::string file = Write("server.smbios", Bytes(source.begin(), source.end()));
  EXPECT_EQ(RunTvq(Arguments{"mktable", file, "-o", Path("out.bin")} + kRedact).status, 0);
  const Bytes dump = Read("out.bin");
  EXPECT_THAT(mSecrets.In({dump.begin(), dump.end()}), IsEmpty());
}

// Their checksum stays as right or wrong as it was.
TEST_F(RedactFile, TheEntryPointStaysAsItIs) {
  table::Table table = OneSystem();
  const Bytes honest = *table::WriteDump(table);
  table.entryPointPatches = {{0x1C, {7, 0}}};
  const Bytes lying = *table::WriteDump(table);
  for (const Bytes& dump : {honest, lying}) {
    const Outcome clear = RunTvq({"mktable", "--from-dump", Write("dump.bin", dump)});
    const Outcome masked = RunTvq(Arguments{"mktable", "--from-dump", Path("dump.bin")} + kRedact);
    const auto head = [](const std::string& text) { return text.substr(0, text.find("[system")); };
    EXPECT_EQ(head(masked.out), head(clear.out));
  }
}

// Fewer bytes than there are, so that the last structure is cut.
TEST_F(RedactFile, ATableThatIsLongerThanTheEntryPointSaysIsMaskedAsAWhole) {
  const Bytes whole = *table::WriteDump(OneSystem());
  for (size_t stated = 4; stated < whole.size() - 0x20; ++stated) {
    Bytes dump = whole;
    dump[0x16] = static_cast<uint8_t>(stated);
    ExpectSafeSource(dump);
  }
}

TEST_F(RedactFile, WhatLiesBehindTheStructuresIsBlankedAndSaid) {
  table::Table table = OneSystem();
  const Bytes junk = mSecrets.Number(20);
  table.structures.insert(table.structures.end(), junk.begin(), junk.end());
  const Bytes dump = *table::WriteDump(table);
  ExpectSafeSource(dump);
  const Outcome exported = RunTvq(Arguments{"export", Write("dump.bin", dump)} + kRedact);
  EXPECT_THAT(mSecrets.In(exported.out + exported.diagnostics), IsEmpty());
  EXPECT_THAT(
      exported.diagnostics,
      HasSubstr(
          "what follows the last whole structure is blanked, not to give it away (20 bytes)"));
  EXPECT_THAT(RunTvq({"export", Path("dump.bin")}).diagnostics, Not(HasSubstr("blanked")));
}

TEST_F(RedactFile, WindowsTablesAndTheTextOfDmidecodeAreMasked) {
  table::Table table = OneSystem();
  table.entryPoint = table::EntryPoint::kWindows;
  ExpectSafeSource(*table::WriteDump(table));
  const std::string serial = mSecrets.Text();
  std::string text =
      "SMBIOS 3.3.0 present.\n\nHandle 0x0001, DMI type 2, 8 bytes\n\tHeader and Data:\n"
      "\t\t02 08 01 00 00 00 00 01\n\tStrings:\n\t\t";
  for (const char one : serial) {
    text += "0123456789ABCDEF"[one >> 4];
    text += "0123456789ABCDEF"[one & 0x0F];
    text += ' ';
  }
  text += "00\n\t\t" + serial + "\n";
  ExpectSafeSource(Bytes(text.begin(), text.end()));
}

TEST_F(RedactFile, AMistakeInASourceIsNotQuoted) {
  const std::string secret = mSecrets.Text();
  for (const std::string& line :
       {"serial = " + secret, "serial = \"" + secret + "\" \"more\"", secret + " = 1",
        "serial \"" + secret + "\"", "uuid = " + secret}) {
    const std::string source = "[system]\n" + line + "\n";
    const std::string file = Write("bad.smbios", Bytes(source.begin(), source.end()));
    const Outcome outcome = RunTvq(Arguments{"mktable", file, "-o", Path("out.bin")} + kRedact);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.diagnostics, HasSubstr("bad.smbios:2: "));
    EXPECT_THAT(mSecrets.In(outcome.diagnostics), IsEmpty()) << outcome.diagnostics;
  }
}

}  // namespace
}  // namespace tvq::cli
