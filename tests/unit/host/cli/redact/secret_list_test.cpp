/*
 * Secrets that other texts repeat.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/secret_list.h"

#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

TEST(SecretList, HasTheMaskOfASecretWhereverATextRepeatsIt) {
  SecretList secrets;
  secrets.Add("ABC12", "XYZ98");
  EXPECT_EQ(secrets.WithMasks("ABC12, abc12 and xABC12ABC12"), "XYZ98, xyz98 and xXYZ98XYZ98");
  EXPECT_EQ(secrets.WithMasks("ABC1"), "ABC1");
}

TEST(SecretList, TakesNoBlanksAroundASecret) {
  SecretList secrets;
  secrets.Add("  ABC12 ", "  XYZ98 ");
  EXPECT_EQ(secrets.WithMasks("<ABC12>"), "<XYZ98>");
  secrets.Add("!DEF\x1F", "!UVW\x1F");
  EXPECT_EQ(secrets.WithMasks("DEF !DEF\x1F"), "DEF !UVW\x1F");
}

TEST(SecretList, LeavesWhatTextsRepeatByChance) {
  SecretList secrets;
  secrets.Add("ABCD", "WXYZ");
  secrets.Add("      ", "xxxxxx");
  secrets.Add("", "");
  EXPECT_EQ(secrets.WithMasks("ABCD      "), "ABCD      ");
}

TEST(SecretList, MasksThePartsOfATextThatIsItsOwnMask) {
  SecretList secrets;
  secrets.Add("NO MODULE", "NO MODULE");
  secrets.Add("MODULE", "QRSTUV");
  EXPECT_EQ(secrets.WithMasks("NO MODULE"), "NO QRSTUV");
}

TEST(SecretList, PutsTheLongestOfSecretsFirst) {
  SecretList secrets;
  secrets.Add("ABCDE", "11111");
  secrets.Add("ABCDEFGH", "22222222");
  secrets.Add("ABCDEF", "333333");
  EXPECT_EQ(secrets.WithMasks("ABCDEFGH ABCDEFG ABCDE"), "22222222 333333G 11111");
}

TEST(SecretList, PutsTheFirstOfEquallyLongSecretsFirst) {
  SecretList secrets;
  secrets.Add("ABCDE", "11111");
  secrets.Add("abcde", "22222");
  secrets.Add("DEFGH", "33333");
  EXPECT_EQ(secrets.WithMasks("ABCDE ABCDEFGH"), "11111 11111333");
}

TEST(SecretList, HasAUuidInAllItsSpellings) {
  SecretList secrets;
  secrets.AddUuid({0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99, 0xAA, 0xBB, 0xCC,
                   0xDD, 0xEE, 0xFF},
                  {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xAB, 0xAC,
                   0xAD, 0xAE, 0xAF});
  EXPECT_EQ(secrets.WithMasks("00112233-4455-6677-8899-aabbccddeeff"),
            "a0a1a2a3-a4a5-a6a7-a8a9-aaabacadaeaf");
  EXPECT_EQ(secrets.WithMasks("33221100-5544-7766-8899-aabbccddeeff"),
            "a3a2a1a0-a5a4-a7a6-a8a9-aaabacadaeaf");
  EXPECT_EQ(secrets.WithMasks("00112233445566778899aabbccddeeff"),
            "a0a1a2a3a4a5a6a7a8a9aaabacadaeaf");
  EXPECT_EQ(secrets.WithMasks("33221100554477668899aabbccddeeff"),
            "a3a2a1a0a5a4a7a6a8a9aaabacadaeaf");
}

}  // namespace
}  // namespace tvq::cli
