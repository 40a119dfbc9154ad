/*
 * Names of memory slots: what the rules make of texts that real firmware prints.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/names/slot_name.h"
#include "TvqPlatformPkg/src/smbios/names/slot_place.h"

namespace tvq::test {
namespace {

using SlotNames = AgentTest;

smbios::Text FirstOf(const std::string& bytes, size_t length) {
  return tvqplatform::WithoutOuterBlanks({reinterpret_cast<const uint8_t*>(bytes.data()), length});
}

smbios::Text TextOf(const std::string& text) {
  return FirstOf(text, text.size());
}

tvqplatform::SlotTexts TextsOf(const std::string& locator, const std::string& bank) {
  return {TextOf(locator), TextOf(bank)};
}

struct Example {
  const char* locator;
  const char* bank;
  const char* name;  // empty: no rule gives one
  const char* rule;
};

constexpr char kNone[] = "Not Specified";

constexpr Example kExamples[] = {
    // Processor, channel and slot
    {"P1-DIMMA1", "P0_Node0_Channel0_Dimm0", "1A1", "processor-letter-slot"},
    {"P1-DIMMA1", "NO DIMM", "1A1", "processor-letter-slot"},
    {"P2_DIMMH2", "NODE 3", "2H2", "processor-letter-slot"},
    {"P1-DimmA1", "P1-CH-A", "1A1", "processor-letter-slot"},
    {"CPU0_DIMM_A1", "NODE 0", "0A1", "processor-letter-slot"},
    {"CPU_1_DIMM_M_0", "M0_Node1_Channel5_Dimm0", "1M0", "processor-letter-slot"},
    {"CPU1 DIMM A0", "_Node0_Channel0_Dimm0", "1A0", "processor-letter-slot"},
    {"CPU0_A1", "NODE 1", "0A1", "processor-letter-slot"},
    {"CPU2_DDR4_B1", "", "2B1", "processor-letter-slot"},
    {"DIMM_P0_A0", "BANK 0", "0A0", "processor-letter-slot"},
    {"DIMM_P1_P1", "BANK 1", "1P1", "processor-letter-slot"},
    {"P0_D1_UMC0_CH_A0", "P0 CHANNEL A", "0A0", "processor-letter-slot"},
    {"P1_MC1_DIM_CH_F1", "NODE 2", "1F1", "processor-letter-slot"},
    {"CPU0_DIMM_C1", "", "0C1", "processor-letter-slot"},
    {"NODE0_P1_DIMM_A1", "", "1A1", "processor-letter-slot"},
    {"Controller1-ChannelA-DIMM0", "BANK 0", "1A0", "processor-letter-slot"},
    {"MEM1_DIMM-A1", "", "1A1", "processor-letter-slot"},
    {"P1-DIMM1A", "BANK0", "11A", "processor-slot-letter"},
    {"P1_1A", "0", "11A", "processor-slot-letter"},
    {"NODE0-1A", "BANK0", "01A", "processor-slot-letter"},
    {"PROC 1 DIMM 10D", kNone, "1AD", "processor-slot-letter"},
    {"CPU0_DIMM_A", "BANK 0", "0A", "processor-letter"},
    {"CPU3_C5D1", "NODE 13", "351", "processor-channel-slot"},
    {"S1C2D0", "", "120", "processor-channel-slot"},
    {"N1C2D0", "", "120", "processor-channel-slot"},
    {"MC1_S0C2D0", "", "020", "processor-channel-slot"},
    {"NODE1_CPU2_C0D1", "", "201", "processor-channel-slot"},
    {"CPU0_C1_DIMM2", "", "012", "processor-channel-slot"},
    {"SOCKET 0 CHANNEL 1 DIMM 0", "Bank0", "010", "processor-channel-slot"},
    {"NODE 1 CHANNEL 7 DIMM 1 (C1H1)", "NODE 7", "171", "processor-channel-slot"},
    {"PROC 1 DIMM 12", kNone, "11C", "processor-slot"},
    {"PROC  1 DIMM 12 ", kNone, "11C", "processor-slot"},
    {"PROC 11 DIMM 2", kNone, "B12", "processor-slot"},
    {"PROC 1 DIMM 4", "B", "114", "processor-slot"},
    {"PROC 2 DIMM 35", kNone, "21Z", "processor-slot"},
    {"PROC 2 DIMM 36", kNone, "220", "processor-slot"},
    {"PROC 2 DIMM 40", kNone, "224", "processor-slot"},
    {"PROC 35 DIMM 1259", kNone, "ZZZ", "processor-slot"},
    {"Node0_Dimm10", "Node0_Bank0", "01A", "processor-slot"},
    {"CPU0-DIMM1", "CPU0", "011", "processor-slot"},
    {"CPU0", "DIMM01", "011", "processor-slot"},
    // Channel and slot
    {"DIMM_B2", kNone, "B2", "given"},
    {"DIMM_B2", "NODE 1", "B2", "given"},
    {"DIMM_A10", kNone, "A10", "given"},
    {"A1", kNone, "A1", "given"},
    {"P1", kNone, "P1", "given"},
    {"DIMM_AB", kNone, "AB", "given"},
    {"DIMM_A1 ", kNone, "A1", "given"},
    {"DIMM A1", "BANK 0", "A1", "letter-slot"},
    {"DIMM A007", "", "A07", "letter-slot"},
    {"DIMM (A1)", "", "A1", "letter-slot"},
    {"!A1", "", "A1", "letter-slot"},
    {"A1!", "", "A1", "letter-slot"},
    {"DIMM P1", "", "P1", "letter-slot"},
    {"DIMM_P1_BLUE", "", "P1", "letter-slot"},
    {"DIMM J2", "", "J2", "letter-slot"},
    {"PORT3 J5", "", "J5", "letter-slot"},
    {"CHA_J5_DIMM2", "", "A2", "letter-slot"},
    {"dimm_a1", "", "A1", "letter-slot"},
    {"ChannelA-DIMM0", "BANK 0", "A0", "letter-slot"},
    {"ChannelH_Dimm2", "ChannelH", "H2", "letter-slot"},
    {"ONBOARD DIMM_A1", "Channel A", "A1", "letter-slot"},
    {"DIMM CHB4", "BANK 2", "B4", "letter-slot"},
    {"CHA_0", "A1_Node0_Channel0_Dimm0", "A0", "letter-slot"},
    {"CPU_A0", kNone, "A0", "letter-slot"},
    {"DDR4_A1", "", "A1", "letter-slot"},
    {"MEM A, J1", kNone, "A1", "letter-slot"},
    {"NVD #12", "NVD #12", "N12", "letter-slot"},
    {"XMM1", "", "X1", "letter-slot"},
    {"DIMM 1A", kNone, "1A", "slot-letter"},
    {"DIMM-1X", "NODE 24", "1X", "slot-letter"},
    {"DIMM3_B ", kNone, "3B", "slot-letter"},
    {"C0_DIMM3", "Bank 3", "C03", "letter-channel-slot"},
    {"Channel-0-DIMM-1", "", "C01", "channel-slot"},
    {"C0D1", "NODE 1", "C01", "channel-slot"},
    {"BANK4_C0D1", "", "C01", "channel-slot"},
    // The bank tells what a bare number leaves open
    {"DIMM 0", "P0 CHANNEL B", "0B0", "processor-letter-slot"},
    {"DIMM 1", "CHANNEL A", "A1", "letter-slot"},
    {"DIMM 12", "CPU 1", "11C", "processor-slot"},
    {"DIMM 1", "Node 1 Bank 13 MemCard 4", "141", "processor-channel-slot"},
    {"D0", "/SYS/MB/P1", "1D0", "processor-letter-slot"},
    {"DIMM A", "CPU 2", "2A", "processor-letter"},
    {"DIMM_A", "CPU 2", "2A", "processor-letter"},
    {"DIMM 12", kNone, "12", "slot"},
    {"DIMM01", "BANK01", "01", "slot"},
    {"RAM slot #5", "RAM slot #5", "5", "slot"},
    {"Bottom-Slot 1(left)", "", "1", "slot"},
    {"DIMM", "BANK 3", "3", "slot"},
    {"DIMM", "11", "11", "slot"},
    {"BANK 3", "", "3", "slot"},
    {"BANK 1 DIMM 2", "", "2", "slot"},
    {"MEMORY 3", "", "3", "slot"},
    {"DIMM 0012", "", "012", "slot"},
    {"1 J5", "", "1", "slot"},
    {"1(A)", "", "1", "slot"},
    {"DIMM151 J45", "_Node1_Channel5_Dimm1", "151", "slot"},
    {"DIMM000", "_Node0_Channel0_Dimm0", "000", "slot"},
    {"DIMM_000", "_Node1_Channel0_Dimm0", "000", "given"},
    // No rule
    {"NO DIMM", "NO DIMM", "", ""},
    {"BIOS", "ROM0", "", ""},
    {"", "", "", ""},
    {" ", " ", "", ""},
    {"PROC 36 DIMM 1", "", "", ""},
    {"PROC 1 DIMM 1260", "", "", ""},
    {"P0_A1_DIMM2", "", "", ""},
    {"DIMM 1000", "", "", ""},
    {"DIMM 1234", "", "", ""},
    {"DIMM A100", "", "", ""},
    {"N/A", "N/A", "", ""},
    {"ROM", "", "", ""},
    {"System Board Memory", "", "", ""},
    // Of a text of many words, the first twelve count.
    {"a-b-c-d-e-f-g-h-i-k-l-CPU7-DIMM3", "", "7L", "processor-letter"},
};

void ExpectName(const tvqplatform::SlotTexts& texts, const Example& example,
                const std::string& behind = "") {
  const tvqplatform::SlotName name = tvqplatform::NameByRule(texts);
  const std::string where = example.locator + behind + " in " + example.bank + behind;
  EXPECT_STREQ(name.Text, example.name) << where;
  EXPECT_STREQ(name.Rule == nullptr ? "" : name.Rule, example.rule) << where;
}

TEST_F(SlotNames, ComeFromTheSlotsOwnTexts) {
  for (const Example& example : kExamples) {
    ExpectName(TextsOf(example.locator, example.bank), example);
  }
}

TEST_F(SlotNames, DoNotDependOnWhatStandsBehindTheTexts) {
  for (const Example& example : kExamples) {
    for (const char* behind : {"7", "A", "_A1"}) {
      const std::string locator = example.locator;
      const std::string bank = example.bank;
      const std::string longLocator = locator + behind;
      const std::string longBank = bank + behind;
      ExpectName({FirstOf(longLocator, locator.size()), FirstOf(longBank, bank.size())}, example,
                 behind);
    }
  }
}

// What is written into a conformed table has to be read as the same name.
TEST_F(SlotNames, AreReadAsThemselves) {
  for (const Example& example : kExamples) {
    if (example.name[0] != '\0') {
      const std::string written = std::string("DIMM_") + example.name;
      EXPECT_STREQ(tvqplatform::NameByRule(TextsOf(written, example.bank)).Text, example.name)
          << written << " in " << example.bank;
    }
  }
}

TEST_F(SlotNames, ThatAreComputedBeginAsNoRulesNameDoes) {
  char name[tvqplatform::kSlotNameLength + 1] = {'?', '?', '?', '?'};
  tvqplatform::PrintComputedName(0, name);
  EXPECT_STREQ(name, "-00");
  tvqplatform::PrintComputedName(tvqplatform::kComputedNames / 2 - 1, name);
  EXPECT_STREQ(name, "-ZZ");
  tvqplatform::PrintComputedName(tvqplatform::kComputedNames - 1, name);
  EXPECT_STREQ(name, "_ZZ");
}

TEST_F(SlotNames, ThatAreComputedDependOnBothTexts) {
  const uint32_t name = tvqplatform::FirstComputedName(TextsOf("NO DIMM", "NO DIMM"));
  EXPECT_EQ(tvqplatform::FirstComputedName(TextsOf(" NO DIMM ", "NO DIMM")), name);
  EXPECT_NE(tvqplatform::FirstComputedName(TextsOf("NO DIMM", "BANK 1")), name);
  EXPECT_NE(tvqplatform::FirstComputedName(TextsOf("NO DIM", "MNO DIMM")), name);
}

// Machines are known by them from one release to the next.
TEST_F(SlotNames, ThatAreComputedAreTheSameEverywhere) {
  const auto printed = [](const std::string& locator, const std::string& bank) {
    char name[tvqplatform::kSlotNameLength + 1];
    tvqplatform::PrintComputedName(tvqplatform::FirstComputedName(TextsOf(locator, bank)), name);
    return std::string(name);
  };
  EXPECT_EQ(printed("NO DIMM", "NO DIMM"), "-IT");
  EXPECT_EQ(printed("BIOS", "ROM0"), "_XC");
  EXPECT_EQ(printed("", ""), "-I5");
}

TEST_F(SlotNames, ThatAreComputedStay) {
  for (const char* name : {"-00", "-3F", "_00", "_ZZ"}) {
    const std::string locator = std::string("DIMM_") + name;
    const std::string bank = "BANK 1";
    const tvqplatform::SlotTexts texts = TextsOf(locator, bank);
    EXPECT_TRUE(tvqplatform::HasComputedName(texts));
    EXPECT_STREQ(tvqplatform::NameByRule(texts).Text, "");
    char printed[tvqplatform::kSlotNameLength + 1];
    tvqplatform::PrintComputedName(tvqplatform::FirstComputedName(texts), printed);
    EXPECT_STREQ(printed, name);
  }
  EXPECT_FALSE(tvqplatform::HasComputedName(TextsOf("DIMM_-a0", "")));
  EXPECT_FALSE(tvqplatform::HasComputedName(TextsOf("DIMM_A-0", "")));
}

}  // namespace
}  // namespace tvq::test
