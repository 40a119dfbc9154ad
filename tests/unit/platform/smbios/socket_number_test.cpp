/*
 * Numbers of processor sockets: what designations that real firmware prints say.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <set>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/names/socket_number.h"
#include <Library/TvqDeviceLib.h>

namespace tvq::test {
namespace {

using SocketNumbers = AgentTest;

constexpr int kNoNumber = -1;

int NumberOf(const std::string& text) {
  const tvqplatform::SocketNumber number =
      tvqplatform::NumberOfSocket({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  return number ? static_cast<int>(number.Value) : kNoNumber;
}

TEST_F(SocketNumbers, ComeFromTheTextOfTheDesignation) {
  const std::pair<const char*, int> kExamples[] = {
      // Behind a marker, without regard to case and with little in between
      {"CPU1", 1},
      {"CPU 2", 2},
      {"CPU01", 1},
      {"CPU #012", 12},
      {"CPU#1", 1},
      {"CPU_0", 0},
      {"cpu-3", 3},
      {"CPU: 10", 10},
      {"CPU 1   ", 1},
      {"CPU0-Socket 940", 0},
      {"CPU1-Socket F (1207)", 1},
      {"Proc 2", 2},
      {"PROC_1", 1},
      {"Processor 2", 2},
      {"Processor Socket 4", 4},
      {"SOCKET 0", 0},
      {"Socket 12", 12},
      {"Node 1 Socket 2", 2},
      {"P0", 0},
      {"/SYS/MB/P1", 1},
      // The markers' order counts, not that in the text
      {"Socket 3 CPU 1", 1},
      {"P3 Proc 2", 2},
      {"P3 Socket 2", 2},
      // The only number that stands alone
      {"CPU Node 1", 1},
      {"XGene 1", 1},
      {"CPU! 12", 12},
      {"Node 1 of 2", kNoNumber},
      // Types of sockets, and texts without a number
      {"Socket 940", kNoNumber},
      {"SOCKET 115", kNoNumber},
      {"Socket-R 2011", kNoNumber},
      {"Socket-B2 1356", kNoNumber},
      {"Socket M2", kNoNumber},
      {"Socket 1A", kNoNumber},
      {"LGA1155", kNoNumber},
      {"LGA 1155", kNoNumber},
      {"AM4", kNoNumber},
      {"SP3", kNoNumber},
      {"Phytium FT2000/4", kNoNumber},
      {"U3E1", kNoNumber},
      {"CPU Socket - U3E1", kNoNumber},
      {"CPUSocket", kNoNumber},
      {"CPU", kNoNumber},
      {"CPU 999", kNoNumber},
      {"..U.", kNoNumber},
      {"", kNoNumber},
  };
  for (const auto& [text, number] : kExamples) {
    EXPECT_EQ(NumberOf(text), number) << text;
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
  const std::pair<uint32_t, unsigned> kExamples[] = {
      {0, '0'},  {9, '9'},   {10, ':'}, {11, ';'}, {12, '!'},  {13, '='},  {78, '~'},
      {79, '"'}, {83, '\''}, {90, '.'}, {91, '/'}, {92, 0x7F}, {93, 0x80}, {220, 0xFF}};
  for (const auto& [number, character] : kExamples) {
    EXPECT_EQ(tvqplatform::SocketCharacter(number), character) << number;
  }
}

TEST_F(SocketNumbers, AreReadFromDesignationsThatWereWritten) {
  for (uint32_t number = 0; number <= tvqplatform::kHighestSocket; ++number) {
    char designation[tvqplatform::kDesignationSize];
    tvqplatform::PrintDesignation(number, designation);
    EXPECT_EQ(NumberOf(designation), static_cast<int>(number)) << designation;
    EXPECT_EQ(static_cast<uint8_t>(designation[devices::kSocketDigit]),
              tvqplatform::SocketCharacter(number));
  }
}

}  // namespace
}  // namespace tvq::test
