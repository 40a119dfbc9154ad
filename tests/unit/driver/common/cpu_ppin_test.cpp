/*
 * The protected processor inventory number (PPIN) of a processor, which stands in the OEM strings.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::Not;

// Processors CPU1, CPU2, ...
std::vector<Processor> Sockets(size_t count) {
  std::vector<Processor> processors;
  for (size_t n = 1; n <= count; ++n) {
    processors.push_back(Designated("CPU" + std::to_string(n)));
  }
  return processors;
}

TEST_F(Cpus, EachSocketTakesTheNextPpinInOrder) {
  ASSERT_EQ(
      Make(Table::Of(Sockets(2), OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"}))),
      EFI_SUCCESS);
  EXPECT_EQ(Cpu(0).PPIN, "AAAAAAAAAAAAAAAA");
  EXPECT_EQ(Cpu(1).PPIN, "BBBBBBBBBBBBBBBB");
}

TEST_F(Cpus, AnEmptySocketTakesNoPpin) {
  ASSERT_EQ(Make(Table::Of(Processor{.designation = "CPU1", .status = 0},
                           Processor{.designation = "CPU2"},
                           OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"}))),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, "AAAAAAAAAAAAAAAA");
}

TEST_F(Cpus, AStringWithoutTheTagStopsThePpinsForAllLaterSockets) {
  ASSERT_EQ(Make(Table::Of(Sockets(3), OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "no tag",
                                                       "17[BBBBBBBBBBBBBBBB]"}))),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu(0).PPIN, "AAAAAAAAAAAAAAAA");
  EXPECT_EQ(Cpu(1).PPIN, std::nullopt);
  EXPECT_EQ(Cpu(2).PPIN, std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Couldnot find PPIN in Type11 SMBIOS structure\n").Times(2));
}

TEST_F(Cpus, BehindTheLastOemStringThereIsNoPpinAndNoLine) {
  ASSERT_EQ(Make(Table::Of(Sockets(2), OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}), Bios{})),
            EFI_SUCCESS);
  EXPECT_NE(Cpu(0).PPIN, std::nullopt);
  EXPECT_EQ(Cpu(1).PPIN, std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: tag17=17").Times(1));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Couldnot find PPIN"))));
}

TEST_F(Cpus, ThePpinMayFollowOtherTextInItsString) {
  ASSERT_EQ(
      Make(Table::Of(Sockets(1), OemStringsWith({"one", "two", "x17[AAAAAAAAAAAAAAAA]17[B"}))),
      EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, "AAAAAAAAAAAAAAAA");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: one\n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =x17[AAAAAAAAAAAAAAAA]17[B\n"));
}

TEST_F(Cpus, StringsWithoutATagGiveNoPpin) {
  ASSERT_EQ(Make(Table::Of(Sockets(1), OemStringsWith({"one", "17(AAAA"}))), EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =\n"));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Couldnot find PPIN"))));
}

TEST_F(Cpus, AShortPpinTakesItsSixteenCharactersAsTheyStand) {
  ASSERT_EQ(Make(Table::Of(Sockets(1), OemStringsWith({"17[ABC",
                                                       "D\x80"
                                                       "FGHIJKLMNOPQR"}))),
            EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.cpu.PPIN, 17), std::u16string(u"ABC\0D\xFF80"
                                                                 u"FGHIJKLMNO\0",
                                                                 17));
  EXPECT_THAT(log, Contains("MakeCPUs: PPIN=ABC"));
}

TEST_F(Cpus, APpinPastTheTableReadsAsZero) {
  ASSERT_EQ(Make(Table::Of(Sockets(1), OemStringsWith({"17[ABC"}))), EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.cpu.PPIN, 17),
            std::u16string(u"ABC") + std::u16string(14, u'\0'));
}

TEST_F(Cpus, OemStringsAreReadFromByte25NotFromTheFirstString) {
  OemStrings
      strings;  // 14 characters end at byte 5 + 15; byte 25 is the sixth of the second string
  strings.texts = {"17[AAAAAAAAAAA", "-----17[BBBBBBBBBBBBBBBB]"};
  ASSERT_EQ(Make(Table::Of(Sockets(1), strings)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, "BBBBBBBBBBBBBBBB");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: 17[BBBBBBBBBBBBBBBB]\n"));
}

TEST_F(Cpus, ByteTwentyFiveMayLieInTheStructureBehind) {
  OemStrings strings;
  strings.texts = {"OEM"};  // 10 bytes
  OemStrings next;          // its strings begin at byte 15
  next.texts = {"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"};
  ASSERT_EQ(Make(Table::Of(Sockets(1), strings, next)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, "BBBBBBBBBBBBBBBB");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: AAAAAAAAA]\n"));
}

TEST_F(Cpus, ByteTwentyFivePastTheTableIsNoString) {
  OemStrings strings;
  strings.texts = {"17[AAAA"};
  ASSERT_EQ(Make(Table::Of(Sockets(1), strings)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: \n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =\n"));
}

TEST_F(Cpus, AnOemStringThatDoesNotEndInsideTheTableIsNoString) {
  Table table = Table::Of(Sockets(1), OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}));
  table.Chop(2);
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Cpu().PPIN, std::nullopt);
}

TEST_F(Cpus, OnlyTheFirstStructureOfOemStringsIsLookedAt) {
  Table table =
      Table::Of(Sockets(1), OemStringsWith({"none"}), OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: Found 2 OEM SMBIOS structures of len = *\n"));
  EXPECT_EQ(Cpu().PPIN, std::nullopt);
}

TEST_F(Cpus, ALongOemStringIsCutInTheLogAlone) {
  const std::string text = "17[0123456789ABCDEF]" + std::string(200, 'x');
  ASSERT_EQ(Make(Table::Of(Sockets(1), OemStringsWith({text}))), EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: " + text.substr(0, 127) + "\n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =" + text.substr(0, 127) + "\n"));
  EXPECT_EQ(Cpu().PPIN, "0123456789ABCDEF");
}

}  // namespace
}  // namespace tvq::test
