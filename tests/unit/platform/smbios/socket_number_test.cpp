/*
 * Numbers of processor sockets: what designations that real firmware prints say.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <set>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/names/socket_number.h"
#include <Library/TvqDeviceLib.h>

namespace tvq::test {
namespace {

using SocketNumbers = AgentTest;

constexpr int kNoNumber = -1;

// The first `length` bytes as the text of a designation.
tvqplatform::SocketNumber ReadNumber(const std::string& bytes, size_t length) {
  return tvqplatform::NumberOfSocket({reinterpret_cast<const uint8_t*>(bytes.data()), length});
}

struct Example {
  const char* text;
  int number;
  const char* rule;  // empty: none gives a number
};

constexpr Example kExamples[] = {
    // Behind a marker, without regard to case and with little in between
    {"CPU1", 1, "cpu"},
    {"CPU 2", 2, "cpu"},
    {"CPU01", 1, "cpu"},
    {"CPU #012", 12, "cpu"},
    {"CPU#1", 1, "cpu"},
    {"CPU_0", 0, "cpu"},
    {"cpu-3", 3, "cpu"},
    {"CPU: 10", 10, "cpu"},
    {"CPU 1   ", 1, "cpu"},
    {"CPU 220", 220, "cpu"},
    {"VCPU1", 1, "cpu"},
    {"CPU0-Socket 940", 0, "cpu"},
    {"CPU1-Socket F (1207)", 1, "cpu"},
    {"Proc 2", 2, "processor"},
    {"PROC_1", 1, "processor"},
    {"Processor 2", 2, "processor"},
    {"Processor Socket 4", 4, "socket"},
    {"SOCKET 0", 0, "socket"},
    {"Socket 12", 12, "socket"},
    {"Socket 1 of 2", 1, "socket"},
    {"Node 1 Socket 2", 2, "socket"},
    {"P0", 0, "p"},
    {"/SYS/MB/P1", 1, "p"},
    // The markers' order counts, not that in the text
    {"Socket 3 CPU 1", 1, "cpu"},
    {"P3 Proc 2", 2, "processor"},
    {"P3 Socket 2", 2, "socket"},
    // The only number that stands alone
    {"CPU Node 1", 1, "only-number"},
    {"XGene 1", 1, "only-number"},
    {"CPU! 12", 12, "only-number"},
    {"Node 1 of 2", kNoNumber, ""},
    {"Rev.2", kNoNumber, ""},
    {"A1", kNoNumber, ""},
    // Types of sockets, and texts without a number
    {"Socket 940", kNoNumber, ""},
    {"SOCKET 115", kNoNumber, ""},
    {"Socket-R 2011", kNoNumber, ""},
    {"Socket-B2 1356", kNoNumber, ""},
    {"Socket M2", kNoNumber, ""},
    {"Socket 1A", kNoNumber, ""},
    {"LGA1155", kNoNumber, ""},
    {"LGA 1155", kNoNumber, ""},
    {"AM4", kNoNumber, ""},
    {"SP3", kNoNumber, ""},
    {"Phytium FT2000/4", kNoNumber, ""},
    {"U3E1", kNoNumber, ""},
    {"CPU Socket - U3E1", kNoNumber, ""},
    {"CPUSocket", kNoNumber, ""},
    {"CPU", kNoNumber, ""},
    {"CPU 221", kNoNumber, ""},
    {"CPU 999", kNoNumber, ""},
    {"..U.", kNoNumber, ""},
    {"", kNoNumber, ""},
};

TEST_F(SocketNumbers, ComeFromTheTextOfTheDesignationWhateverStandsBehindIt) {
  for (const Example& example : kExamples) {
    for (const char* behind : {"", "5", "A"}) {
      const std::string text = example.text;
      const tvqplatform::SocketNumber number = ReadNumber(text + behind, text.size());
      EXPECT_EQ(number ? static_cast<int>(number.Value) : kNoNumber, example.number)
          << text << behind;
      EXPECT_STREQ(number ? number.Rule : "", example.rule) << text << behind;
    }
  }
}

TEST_F(SocketNumbers, HaveCharactersOfTheirOwn) {
  std::set<unsigned> characters;
  for (uint32_t number = 0; number <= tvqplatform::kHighestSocket; ++number) {
    const unsigned character = tvqplatform::SocketCharacter(number);
    EXPECT_TRUE(characters.insert(character).second) << number;
    EXPECT_GT(character, 0x20u) << number;
    EXPECT_NE(character, unsigned{'&'}) << number;
    EXPECT_NE(character, unsigned{'<'}) << number;
  }
  const std::pair<uint32_t, unsigned> kCharacters[] = {
      {0, '0'},  {9, '9'},   {10, ':'}, {11, ';'}, {12, '!'},  {13, '='},  {78, '~'},
      {79, '"'}, {83, '\''}, {90, '.'}, {91, '/'}, {92, 0x7F}, {93, 0x80}, {220, 0xFF}};
  for (const auto& [number, character] : kCharacters) {
    EXPECT_EQ(tvqplatform::SocketCharacter(number), character) << number;
  }
}

TEST_F(SocketNumbers, AreReadFromDesignationsThatWereWritten) {
  for (uint32_t number = 0; number <= tvqplatform::kHighestSocket; ++number) {
    char designation[tvqplatform::kDesignationSize];
    tvqplatform::PrintDesignation(number, designation);
    const tvqplatform::SocketNumber read = ReadNumber(designation, std::strlen(designation));
    EXPECT_TRUE(read) << designation;
    EXPECT_EQ(read.Value, number) << designation;
    EXPECT_EQ(static_cast<uint8_t>(designation[devices::kSocketDigit]),
              tvqplatform::SocketCharacter(number));
  }
}

}  // namespace
}  // namespace tvq::test
