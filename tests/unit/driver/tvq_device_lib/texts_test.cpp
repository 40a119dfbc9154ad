/*
 * Tests of the library of devices: texts that name nothing.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>

#include <Library/TvqDeviceLib.h>

namespace tvq::test {
namespace {

bool IsPlaceholder(const std::string& text) {
  return devices::IsPlaceholder({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}
bool IsDummy(const std::string& text) {
  return devices::IsDummy({reinterpret_cast<const uint8_t*>(text.data()), text.size()});
}

TEST(PlaceholderText, IsOneOfThoseThatFirmwareWrites) {
  for (const char* text : {"None",
                           "N/A",
                           "NA",
                           "NULL",
                           "Unknown",
                           "Undefined",
                           "Invalid",
                           "Empty",
                           "Not Specified",
                           "NOT AVAILABLE",
                           "Not Provided",
                           "Not Installed",
                           "Not Applicable",
                           "NO DIMM",
                           "No Module",
                           "Default",
                           "Default string",
                           "O.E.M.",
                           "To Be Filled By O.E.M.",
                           "0123456789",
                           "Serial",
                           "Serial Number",
                           "NoSerialNumber",
                           "System Serial Number",
                           "Chassis-Serial-Number",
                           "Base Board Serial Number",
                           "Asset Tag",
                           "No Asset Tag",
                           "No Asset Information"}) {
    EXPECT_TRUE(IsPlaceholder(text)) << text;
    EXPECT_TRUE(IsDummy(text)) << text;
  }
}

TEST(PlaceholderText, IsOneCharacterSeveralTimes) {
  for (const char* text : {"", " ", "  ", "00000000", "FFFFFFFF", "ffFF", "-", "--..", "0-0-0"}) {
    EXPECT_TRUE(IsPlaceholder(text)) << '"' << text << '"';
  }
}

TEST(PlaceholderText, IsNoneThatCouldNameAPart) {
  for (const char* text :
       {"7A2C0001", "0", "X", " 7 ", "01", "10", "None1", "1None", "Nonesuch", "NA12",
        "Serial 7A2C", "0123456780", "Not Specified 7", "S/N 12345", "\xE5\xE6", "\xE5 None"}) {
    EXPECT_FALSE(IsPlaceholder(text)) << text;
    EXPECT_FALSE(IsDummy(text)) << text;
  }
}

// The blob keeps 14 characters.
TEST(PlaceholderText, MayHaveBeenCut) {
  for (const std::string text :
       {"To Be Filled By O.E.M.", "System Serial Number", "Chassis Serial Number",
        "Base Board Serial Number", "No Asset Information", "NoSerialNumber ."}) {
    ASSERT_GT(text.size(), devices::kSerialLength);
    EXPECT_TRUE(IsPlaceholder(text.substr(0, devices::kSerialLength))) << text;
    // Others were not cut by anybody.
    EXPECT_FALSE(IsPlaceholder(text.substr(0, devices::kSerialLength - 2))) << text;
  }
}

TEST(PlaceholderText, ThatWasCutHasEightCharactersThatCount) {
  EXPECT_TRUE(IsPlaceholder("To Be  Fil -l "));
  EXPECT_FALSE(IsPlaceholder("To Be  Fil -  "));
}

TEST(PlaceholderText, IsNoShortOneThatBlanksFillUp) {
  EXPECT_FALSE(IsPlaceholder("01            "));
  EXPECT_FALSE(IsDummy("12            "));
  EXPECT_FALSE(IsPlaceholder("NOSE          "));
}

// They may hide a number: whoever masks numbers has to mask them.
TEST(DummyText, IsACountedNameOrDigitsInARow) {
  for (const char* text : {"SerNum0", "SERNUM12", "Array1_PartNumber2", "PartNum3", "Part Number",
                           "ModulePartNumber 1", "Serial Number 12345678", "SerialNumber-1",
                           "SerNum1-2", "12345678", "123456789", "1234567890"}) {
    EXPECT_TRUE(IsDummy(text)) << text;
    EXPECT_FALSE(IsPlaceholder(text)) << text;
  }
}

TEST(DummyText, IsNoNameWithSomethingElseBehind) {
  for (const char* text : {"SerNum0A", "PartNumber2B", "Num1", "ernum1", "1234567", "12345679"}) {
    EXPECT_FALSE(IsDummy(text)) << text;
  }
}

}  // namespace
}  // namespace tvq::test
