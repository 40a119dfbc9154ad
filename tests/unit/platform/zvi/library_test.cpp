/*
 * The ZVI library service table: positions and semantics.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "tests/unit/platform/platform_fixture.h"

#include <Protocol/ZvLibrary.h>

namespace tvq::test {
namespace {

class PlatformZvi : public PlatformTest {
 protected:
  ZV_LIBRARY_PROTOCOL& Zvi() { return *Find<ZV_LIBRARY_PROTOCOL>(gZvLibraryProtocolGuid); }
  // An entry by its position alone.
  template <typename Function>
  Function Entry(size_t position) {
    return reinterpret_cast<Function>(reinterpret_cast<VOID**>(&Zvi())[position]);
  }
  std::string Trimmed(std::string text, char character = ' ') {
    Zvi().AsciiStrTrim(text.data(), character);
    text.erase(std::find(text.begin(), text.end(), '\0'), text.end());
    return text;
  }
};

TEST_F(PlatformZvi, HasTheDriversEntriesAtTheirPositions) {
  char copy[4] = "";
  Entry<VOID(EFIAPI*)(VOID*, const VOID*, UINTN)>(0)(copy, "abc", 4);
  EXPECT_STREQ(copy, "abc");
  EXPECT_EQ(Entry<UINTN(EFIAPI*)(const CHAR8*)>(17)("four"), 4u);
  EXPECT_EQ(Entry<INTN(EFIAPI*)(const CHAR8*, const CHAR8*)>(18)("a", "a"), 0);
  EXPECT_EQ(Entry<INTN(EFIAPI*)(const CHAR8*, const CHAR8*, UINTN)>(19)("ab", "ac", 1), 0);
  EXPECT_EQ(Entry<RETURN_STATUS(EFIAPI*)(CHAR8*, UINTN, const CHAR8*)>(20)(copy, 4, "xyz"),
            RETURN_SUCCESS);
  EXPECT_STREQ(copy, "xyz");
  EXPECT_EQ(
      Entry<RETURN_STATUS(EFIAPI*)(CHAR8*, UINTN, const CHAR8*, UINTN)>(21)(copy, 4, "12345", 2),
      RETURN_SUCCESS);
  EXPECT_STREQ(copy, "12");
  EXPECT_STREQ(Entry<CHAR8*(EFIAPI*)(const CHAR8*, const CHAR8*)>(24)("<Mode>Normal", "Normal"),
               "Normal");
  char padded[] = " x ";
  Entry<VOID(EFIAPI*)(CHAR8*, CHAR8)>(25)(padded, ' ');
  EXPECT_STREQ(padded, "x");
  EXPECT_EQ(Entry<UINTN(EFIAPI*)(const CHAR8*, UINT32)>(26)("1A", 16), 0x1Au);
  EXPECT_EQ(Entry<UINTN(EFIAPI*)(const CHAR16*)>(31)(Wide(u"wide")), 4u);
  EXPECT_EQ(Entry<INTN(EFIAPI*)(const CHAR16*, const CHAR16*)>(32)(Wide(u"w"), Wide(u"w")), 0);
  char16_t wide[] = u" w ";
  Entry<VOID(EFIAPI*)(CHAR16*, CHAR16)>(39)(Wide(wide), u' ');
  EXPECT_EQ(std::u16string(wide), u"w");
}

UINTN EFIAPI Print(ZV_LIBRARY_PROTOCOL* zvi, CHAR8* buffer, UINTN size, const CHAR8* format, ...) {
  VA_LIST marker;
  VA_START(marker, format);
  const UINTN printed = zvi->AsciiVSPrint(buffer, size, format, marker);
  VA_END(marker);
  return printed;
}

TEST_F(PlatformZvi, PrintsAsPrintLibDoes) {
  char text[32];
  EXPECT_EQ(Print(&Zvi(), text, sizeof(text), "CPU%d_HBMIO%d %x", 1, 2, 0xAB), 14u);
  EXPECT_STREQ(text, "CPU1_HBMIO2 AB");
}

TEST_F(PlatformZvi, PrintsNoMoreThanTheBufferHolds) {
  char text[8] = "#######";
  EXPECT_EQ(Print(&Zvi(), text, 4, "%a", "abcdef"), 3u);
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(text[4], '#');
}

TEST_F(PlatformZvi, TakesTextsOfAnyLength) {
  const std::string longText(2'000'000, 'x');
  EXPECT_EQ(Zvi().AsciiStrLen(longText.c_str()), longText.size());
  EXPECT_EQ(Zvi().AsciiStrCmp(longText.c_str(), longText.c_str()), 0);
  EXPECT_NE(Zvi().AsciiStrStr(longText.c_str(), "xxx"), nullptr);
  std::string copy(longText.size() + 1, '\0');
  EXPECT_EQ(Zvi().AsciiStrCpyS(copy.data(), copy.size(), longText.c_str()), RETURN_SUCCESS);
  EXPECT_EQ(Print(&Zvi(), copy.data(), copy.size(), "%a", longText.c_str()), longText.size());
  EXPECT_EQ(Trimmed(longText + " "), longText);
}

TEST_F(PlatformZvi, ComparesTexts) {
  EXPECT_EQ(Zvi().AsciiStrCmp("", ""), 0);
  EXPECT_LT(Zvi().AsciiStrCmp("abc", "abd"), 0);
  EXPECT_GT(Zvi().AsciiStrCmp("abc", "ab"), 0);
  EXPECT_LT(Zvi().StrCmp(Wide(u"ab"), Wide(u"abc")), 0);
}

TEST_F(PlatformZvi, ComparesNoMoreThanTheGivenLength) {
  EXPECT_EQ(Zvi().AsciiStrnCmp("abc", "xyz", 0), 0);
  EXPECT_EQ(Zvi().AsciiStrnCmp("abcX", "abcY", 3), 0);
  EXPECT_NE(Zvi().AsciiStrnCmp("abcX", "abcY", 4), 0);
  EXPECT_EQ(Zvi().AsciiStrnCmp("ab", "ab", 10), 0);
  EXPECT_NE(Zvi().AsciiStrnCmp("ab", "abc", 10), 0);
}

TEST_F(PlatformZvi, LooksBehindNoTerminator) {
  const char left[] = "ab\0X";
  const char right[] = "ab\0Y";
  EXPECT_EQ(Zvi().AsciiStrnCmp(left, right, 4), 0);
  const char empty[] = "\0XYZ";
  char text[6] = "12345";
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 5, empty), RETURN_SUCCESS);
  EXPECT_EQ(std::string(text, 5), std::string("\0"
                                              "2345",
                                              5));
  char trimmed[] = "  ab\0XYZ";
  Zvi().AsciiStrTrim(trimmed, ' ');
  EXPECT_STREQ(trimmed, "ab");
  EXPECT_STREQ(trimmed + 5, "XYZ");
}

TEST_F(PlatformZvi, TrimsNothingInFrontOfAText) {
  char text[] = "   \0#";
  Zvi().AsciiStrTrim(text + 3, ' ');
  EXPECT_EQ(std::string(text, sizeof(text)), std::string("   \0#", sizeof(text)));
}

TEST_F(PlatformZvi, BoundedCopiesRefuseATextThatTheyWouldOverwrite) {
  char text[] = "abc\0defg";
  EXPECT_EQ(Zvi().AsciiStrCpyS(text + 3, 5, text), RETURN_ACCESS_DENIED) << "its terminator";
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 5, text + 4), RETURN_ACCESS_DENIED) << "its first character";
  EXPECT_STREQ(text, "abc");
  EXPECT_STREQ(text + 4, "defg");
  EXPECT_EQ(Zvi().AsciiStrCpyS(text + 4, 4, text), RETURN_SUCCESS);
  EXPECT_STREQ(text + 4, "abc");
  std::copy_n("xyz", 4, text + 4);
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 4, text + 4), RETURN_SUCCESS);
  EXPECT_STREQ(text, "xyz");
}

TEST_F(PlatformZvi, BoundedCopiesRefuseWhatDoesNotFit) {
  char text[6] = "keep";
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 4, "1234"), RETURN_BUFFER_TOO_SMALL);
  EXPECT_EQ(Zvi().AsciiStrnCpyS(text, 4, "12345", 4), RETURN_BUFFER_TOO_SMALL);
  EXPECT_STREQ(text, "keep");
  EXPECT_EQ(Zvi().AsciiStrnCpyS(text, 6, "en-US", 6), RETURN_SUCCESS);
  EXPECT_STREQ(text, "en-US");
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 6, "12345"), RETURN_SUCCESS);
  EXPECT_STREQ(text, "12345");
}

TEST_F(PlatformZvi, BoundedCopiesRefuseBadArguments) {
  char text[6] = "keep";
  EXPECT_EQ(Zvi().AsciiStrCpyS(nullptr, 6, "a"), RETURN_INVALID_PARAMETER);
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 6, nullptr), RETURN_INVALID_PARAMETER);
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 0, "a"), RETURN_INVALID_PARAMETER);
  EXPECT_EQ(Zvi().AsciiStrnCpyS(nullptr, 6, "a", 1), RETURN_INVALID_PARAMETER);
  EXPECT_EQ(Zvi().AsciiStrnCpyS(text, 0, "a", 1), RETURN_INVALID_PARAMETER);
  EXPECT_EQ(Zvi().AsciiStrCpyS(text, 6, text + 1), RETURN_ACCESS_DENIED);
  EXPECT_STREQ(text, "keep");
}

TEST_F(PlatformZvi, FindsTheFirstOccurrence) {
  const char text[] = "aab aab";
  EXPECT_EQ(Zvi().AsciiStrStr(text, "ab"), text + 1);
  EXPECT_EQ(Zvi().AsciiStrStr(text, ""), text);
  EXPECT_EQ(Zvi().AsciiStrStr(text, "abc"), nullptr);
  EXPECT_EQ(Zvi().AsciiStrStr("", "a"), nullptr);
}

TEST_F(PlatformZvi, TrimsBothEndsAndKeepsInnerCharacters) {
  EXPECT_EQ(Trimmed("  MW16 G3200  "), "MW16 G3200");
  EXPECT_EQ(Trimmed("none"), "none");
  EXPECT_EQ(Trimmed("    "), "");
  EXPECT_EQ(Trimmed(""), "");
  EXPECT_EQ(Trimmed("\tx ", ' '), "\tx");
  EXPECT_EQ(Trimmed("xxaxx", 'x'), "a");
  char16_t wide[] = u"  Core  Works ";
  Zvi().StrTrim(Wide(wide), u' ');
  EXPECT_EQ(std::u16string(wide), u"Core  Works");
}

TEST_F(PlatformZvi, ReadsDecimalNumbers) {
  EXPECT_EQ(Zvi().AsciiStrToUint("42", 10), 42u);
  EXPECT_EQ(Zvi().AsciiStrToUint(" \t007x", 10), 7u);
  EXPECT_EQ(Zvi().AsciiStrToUint("x", 10), 0u);
  EXPECT_EQ(Zvi().AsciiStrToUint("1A", 10), 1u);
  EXPECT_EQ(Zvi().AsciiStrToUint("0123456789", 10), 123456789u);
  for (const char* const text : {"1/", "1:", "1@"}) {
    EXPECT_EQ(Zvi().AsciiStrToUint(text, 10), 1u) << text;
  }
  EXPECT_EQ(Zvi().AsciiStrToUint("18446744073709551614", 10), MAX_UINTN - 1);
  EXPECT_EQ(Zvi().AsciiStrToUint("18446744073709551615", 10), MAX_UINTN);
  EXPECT_EQ(Zvi().AsciiStrToUint("18446744073709551616", 10), MAX_UINTN);
}

TEST_F(PlatformZvi, ReadsHexadecimalNumbers) {
  EXPECT_EQ(Zvi().AsciiStrToUint("1a", 16), 0x1Au);
  EXPECT_EQ(Zvi().AsciiStrToUint("  0x1A", 16), 0x1Au);
  EXPECT_EQ(Zvi().AsciiStrToUint("00X1A", 16), 0x1Au);
  EXPECT_EQ(Zvi().AsciiStrToUint("x1A", 16), 0u);
  EXPECT_EQ(Zvi().AsciiStrToUint("B1_", 16), 0xB1u);
  EXPECT_EQ(Zvi().AsciiStrToUint("abcdef", 16), 0xABCDEFu);
  EXPECT_EQ(Zvi().AsciiStrToUint("ABCDEF", 16), 0xABCDEFu);
  // What stands beside the digits in ASCII.
  for (const char* const text : {"1/", "1:", "1;", "1@", "1G", "1`", "1g"}) {
    EXPECT_EQ(Zvi().AsciiStrToUint(text, 16), 1u) << text;
  }
  EXPECT_EQ(Zvi().AsciiStrToUint("FFFFFFFFFFFFFFFE", 16), MAX_UINTN - 1);
  EXPECT_EQ(Zvi().AsciiStrToUint("FFFFFFFFFFFFFFFFF", 16), MAX_UINTN);
  EXPECT_EQ(Zvi().AsciiStrToUint("", 16), 0u);
}

TEST_F(PlatformZvi, KnowsNoOtherBase) {
  EXPECT_EQ(Zvi().AsciiStrToUint("11", 2), 0u);
}

}  // namespace
}  // namespace tvq::test
