/*
 * The names of devices in those of systemd's units: there and back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/unit_name.h"

#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

TEST(UnitName, LeavesWhatAUnitsNameMayHave) {
  const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789:_.-";
  EXPECT_EQ(EscapedForUnit(plain), plain);
}

TEST(UnitName, SpellsOutAllElseAndComesBack) {
  std::string all;
  for (int character = 1; character < 256; ++character) {
    all += static_cast<char>(character);
  }
  const std::string escaped = EscapedForUnit(all);
  for (const char character : escaped) {
    EXPECT_TRUE(isalnum(static_cast<unsigned char>(character)) != 0 ||
                std::string(":_.-\\").find(character) != std::string::npos)
        << character;
  }
  EXPECT_EQ(UnescapedFromUnit(escaped), all);
}

TEST(UnitName, TakesWhatSystemdMakesOfAName) {
  EXPECT_EQ(UnescapedFromUnit("HBM\\x200"), "HBM 0");
  EXPECT_EQ(UnescapedFromUnit("DIMM\\x2dA\\xE9"), "DIMM-A\xE9");
}

TEST(UnitName, LeavesWhatIsNoCharacter) {
  for (const char* const text : {"a\\x00b", "a\\x2", "a\\x2g", "a\\xg0", "a\\", "\\y20", "a-b"}) {
    EXPECT_EQ(UnescapedFromUnit(text), text);
  }
  EXPECT_EQ(UnescapedFromUnit(std::string_view("\\x20").substr(0, 3)), "\\x2");
}

}  // namespace
}  // namespace tvq::cli
