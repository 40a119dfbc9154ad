/*
 * What is examined: where the table begins and ends in files of every kind.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/subject.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "tests/unit/host/lint/lint_fixture.h"
#include "tests/unit/host/table/table_bytes.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::lint {
namespace {

using table::FromHex;
using test::EntryPointBytes;

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes joined;
  for (const Bytes& part : parts) {
    joined.insert(joined.end(), part.begin(), part.end());
  }
  return joined;
}

// A structure of six bytes, the end of the table, and a table of both.
const Bytes kOther = FromHex("80 04 01 00 00 00");
const Bytes kEndOfTable = FromHex("7F 04 02 00 00 00");
const Bytes kWhole = Join({kOther, kEndOfTable});

Bytes Of64Bits(std::size_t maximum) {
  return EntryPointBytes::Of64Bits({3, 3, maximum, 0}).Bytes();
}
Bytes Of32Bits(std::size_t length, std::uint64_t address = test::kTableInFile) {
  return EntryPointBytes::Of32Bits({3, 3, length, 2, address}).Bytes();
}

// The file of an entry point and what lies behind it at 20h.
Bytes File(Bytes entryPoint, const Bytes& behind) {
  entryPoint.resize(test::kTableInFile);
  return Join({entryPoint, behind});
}

std::string FailureOf(const table::Result<Subject>& subject) {
  return subject ? "none" : subject.Failure().message;
}

TEST(LintSubject, BeginsBehindWhatLeadsToTheTable) {
  const auto baseOf = [](const std::string& entryPoint) {
    const auto subject = Subject::Read(Dump(SoundWith("", "entry-point = " + entryPoint + "\n")));
    EXPECT_TRUE(subject);
    return subject ? subject->Base() : 0;
  };
  EXPECT_EQ(baseOf("32"), 0x20u);
  EXPECT_EQ(baseOf("64"), 0x20u);
  EXPECT_EQ(baseOf("windows"), 0x08u);
  EXPECT_EQ(baseOf("none"), 0x00u);
}

TEST(LintSubject, CountsTheBytesOfATextFromTheFirstStructure) {
  const std::string text =
      "Handle 0x0002, DMI type 127, 4 bytes\n\tHeader and Data:\n\t\t7F 04 02 00\n";
  const auto subject = Subject::Read(Bytes(text.begin(), text.end()));
  ASSERT_TRUE(subject) << FailureOf(subject);
  EXPECT_EQ(subject->Base(), 0u);
  EXPECT_EQ(subject->Table(), kEndOfTable);
}

TEST(LintSubject, CountsTheBytesOfATableApartFromItsEntryPoint) {
  const auto subject = Subject::Read(Of32Bits(12), kWhole);
  ASSERT_TRUE(subject) << FailureOf(subject);
  EXPECT_EQ(subject->Base(), 0u);
  EXPECT_EQ(subject->Table(), kWhole);
}

// Captured entry points name the address that the table had in memory.
TEST(LintSubject, LooksAt20hForATableAtNoPlaceInTheFile) {
  const std::size_t size = test::kTableInFile + 12;
  for (const std::uint64_t address : {std::uint64_t{0x000F0000}, std::uint64_t{size}}) {
    const auto subject = Subject::Read(File(Of32Bits(12, address), kWhole));
    ASSERT_TRUE(subject) << FailureOf(subject);
    EXPECT_EQ(subject->Base(), 0x20u) << address;
    EXPECT_EQ(subject->Table(), kWhole);
  }
  const auto inside = Subject::Read(File(Of32Bits(6, size - 6), kWhole));
  ASSERT_TRUE(inside) << FailureOf(inside);
  EXPECT_EQ(inside->Base(), size - 6);
  EXPECT_EQ(inside->Table(), kEndOfTable);
}

// The length that a 64-bit entry point states is a maximum.
TEST(LintSubject, EndsWithItsEndBehindA64BitEntryPoint) {
  const auto cut = Subject::Read(Of64Bits(64), Join({kWhole, kOther}));
  ASSERT_TRUE(cut) << FailureOf(cut);
  EXPECT_EQ(cut->Table(), kWhole);
  const auto endless = Subject::Read(Of64Bits(64), Join({kOther, kOther}));
  ASSERT_TRUE(endless) << FailureOf(endless);
  EXPECT_EQ(endless->Table(), Join({kOther, kOther}));
  const auto exact = Subject::Read(Of32Bits(18), Join({kWhole, kOther}));
  ASSERT_TRUE(exact) << FailureOf(exact);
  EXPECT_EQ(exact->Table(), Join({kWhole, kOther}));
}

TEST(LintSubject, HasAStructureAtLeast) {
  const Bytes header = FromHex("80 04 01 00");
  EXPECT_EQ(FailureOf(Subject::Read(Of32Bits(4), header)), "none");
  EXPECT_EQ(FailureOf(Subject::Read(Of32Bits(3), header)),
            "there is an entry point, and no table behind it");
  EXPECT_EQ(FailureOf(Subject::Read(header)), "none");
  EXPECT_EQ(FailureOf(Subject::Read(FromHex("80 04 01"))), "there is no structure in it");
  EXPECT_EQ(FailureOf(Subject::Read(header, header)), "there is no entry point");
}

TEST(LintSubject, ShowsTheBytesThatThereAre) {
  const auto subject = Subject::Read(File(Of32Bits(16), Join({kWhole, Bytes(4)})));
  ASSERT_TRUE(subject) << FailureOf(subject);
  EXPECT_EQ(subject->BytesAt(0x20, 6), kOther);
  EXPECT_EQ(subject->BytesAt(0x24, 3), FromHex("00 00 7F"));
  EXPECT_EQ(subject->BytesAt(0x26, 100), kEndOfTable) << "the zeros behind it are padding";
  EXPECT_EQ(subject->BytesAt(0x2C, 100), Bytes());
  EXPECT_EQ(subject->BytesAt(0x100, 100), Bytes());
}

}  // namespace
}  // namespace tvq::lint
