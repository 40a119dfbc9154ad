/*
 * Words for numbers: the ends of every list of the standard, and numbers without a word.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/words.h"

#include <gtest/gtest.h>

namespace tvq::facts {
namespace {

struct Ends {
  const Words& words;
  uint8_t first;
  const char* firstWord;
  uint8_t last;
  const char* lastWord;
};

TEST(Words, ReachFromTheFirstNumberOfAListToItsLast) {
  const Ends kLists[] = {
      {kBoardTypes, 0x01, "Unknown", 0x0D, "Interconnect Board"},
      {kChassisTypes, 0x01, "Other", 0x24, "Stick PC"},
      {kSlotTypes, 0x01, "Other", 0xC6, "EDSFF E3"},
      {kSlotWidths, 0x01, "Other", 0x0E, "x32"},
      {kSlotUsages, 0x01, "Other", 0x05, "Unavailable"},
      {kSlotLengths, 0x01, "Other", 0x06, "3.5\" drive"},
      {kMemoryArrayLocations, 0x01, "Other", 0xA4, "CXL add-on card"},
      {kMemoryArrayUses, 0x01, "Other", 0x07, "Cache memory"},
      {kMemoryErrorCorrections, 0x01, "Other", 0x07, "CRC"},
      {kMemoryFormFactors, 0x01, "Other", 0x11, "CAMM"},
      {kMemoryTypes, 0x01, "Other", 0x24, "HBM3"},
      {kMemoryTechnologies, 0x01, "Other", 0x07, "Intel Optane persistent memory"},
      {kOnboardDeviceTypes, 0x01, "Other", 0x10, "UFS Controller"},
  };
  for (const Ends& list : kLists) {
    EXPECT_EQ(list.words.Of(list.first), list.firstWord);
    EXPECT_EQ(list.words.Of(list.last), list.lastWord);
    EXPECT_EQ(list.words.Of(0x00), "0x00");
    EXPECT_EQ(list.words.Of(0xFE), "0xFE");
  }
}

TEST(Words, LeaveOutWhatTheStandardReserves) {
  EXPECT_EQ(kMemoryTypes.Of(0x15), "0x15");
  EXPECT_EQ(kSlotTypes.Of(0xB7), "0xB7");
}

}  // namespace
}  // namespace tvq::facts
