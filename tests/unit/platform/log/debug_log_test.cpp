/*
 * The debug log: formatting, line feeds, lines of any length, and lines that there is no memory for.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include <Protocol/DebugLog.h>

namespace tvq::test {
namespace {

class PlatformLog : public PlatformTest {
 protected:
  DEBUG_LOG_PROTOCOL& Log() { return *Find<DEBUG_LOG_PROTOCOL>(gDebugLogProtocolGuid); }
  template <typename... Values>
  void Print(const char16_t* format, Values... values) {
    Log().Print(DEBUG_LOG_LEVEL_INFO, "Routine", Wide(format), values...);
  }
  size_t LineCount() {
    size_t count = 0;
    TVQ_LOG_LINE line;
    while (Platform()->GetLogLine(Platform(), count, &line) == EFI_SUCCESS) {
      ++count;
    }
    return count;
  }
  TVQ_LOG_LINE Line(size_t index) {
    TVQ_LOG_LINE line = {};
    EXPECT_EQ(Platform()->GetLogLine(Platform(), index, &line), EFI_SUCCESS);
    return line;
  }
  std::string Text(size_t index) { return Utf8(Line(index).Text); }
};

TEST_F(PlatformLog, KeepsLevelFunctionAndText) {
  Log().Print(DEBUG_LOG_LEVEL_ERROR, "MakeCPUs", Wide(u"Entry MakeCPUs\n"));
  Print(u"Count %d\n", 2);
  ASSERT_EQ(LineCount(), 2u);
  EXPECT_EQ(Line(0).Level, 0x80000000u);
  EXPECT_STREQ(Line(0).FunctionName, "MakeCPUs");
  EXPECT_EQ(Text(0), "Entry MakeCPUs\n");
  EXPECT_EQ(Line(1).Level, 0x00800000u);
  EXPECT_STREQ(Line(1).FunctionName, "Routine");
  EXPECT_EQ(Text(1), "Count 2\n");
}

TEST_F(PlatformLog, StandsAtTheSixthEntry) {
  VOID** entries = reinterpret_cast<VOID**>(&Log());
  EXPECT_EQ(entries[5], reinterpret_cast<VOID*>(Log().Print));
}

TEST_F(PlatformLog, FormatsAsPrintLibDoes) {
  Print(u"%r|%a|%s|%d|%x|%08X|%llu", EFI_NOT_FOUND, "ascii", Wide(u"wide"), -3, 0xAB, 0x1F,
        UINT64{18446744073709551615u});
  EXPECT_EQ(Text(0), "Not Found|ascii|wide|-3|AB|0000001F|18446744073709551615");
}

TEST_F(PlatformLog, KeepsALineFeedAsItIs) {
  Print(u"one\ntwo\r\nthree\r\n");
  EXPECT_EQ(Text(0), "one\ntwo\r\nthree\r\n");
}

TEST_F(PlatformLog, KeepsOtherControlCharactersAsTheyAre) {
  Print(
      u"one\rtwo\fthree\x0E"
      u"four\ttab");
  EXPECT_EQ(Text(0),
            "one\rtwo\fthree\x0E"
            "four\ttab");
}

TEST_F(PlatformLog, KeepsALineFeedInsideAValue) {
  Print(u"[%s]\n", Wide(u"a\nb"));
  EXPECT_EQ(Text(0), "[a\nb]\n");
}

TEST_F(PlatformLog, KeepsAnEmptyLine) {
  Print(u"");
  ASSERT_EQ(LineCount(), 1u);
  EXPECT_EQ(Text(0), "");
}

TEST_F(PlatformLog, KeepsLinesOfAnyLength) {
  const std::u16string longText(1'500'000, u'x');
  Print(u"<%s>", Wide(longText.c_str()));
  EXPECT_EQ(Text(0), "<" + std::string(longText.size(), 'x') + ">");
  for (size_t length = 0; length < 420; ++length) {
    Print(u"%s", Wide(longText.substr(0, length).c_str()));
    EXPECT_EQ(Text(1 + length), std::string(length, 'x'));
  }
}

TEST_F(PlatformLog, KeepsTheEndOfALineWhoseTextsAreWiderThanTheirColumns) {
  Print(u"%-2a|%2a|%a", "wide", "wide", "end");
  Print(u"%-2s|", Wide(std::u16string(1000, u'x').c_str()));
  EXPECT_EQ(Text(0), "wide|wide|end");
  EXPECT_EQ(Text(1), std::string(1000, 'x') + "|");
  for (const char16_t* const format : {u"%1s", u"%2s", u"%3s"}) {
    Print(format, Wide(std::u16string(1000, u'x').c_str()));
    EXPECT_EQ(Text(LineCount() - 1), std::string(1000, 'x'));
  }
}

TEST_F(PlatformLog, KeepsAnyNumberOfLines) {
  for (int i = 0; i < 5000; ++i) {
    Print(u"line %d\n", i);
  }
  ASSERT_EQ(LineCount(), 5000u);
  EXPECT_EQ(Text(0), "line 0\n");
  EXPECT_EQ(Text(4999), "line 4999\n");
}

TEST_F(PlatformLog, CopiesWhatItIsGiven) {
  char function[] = "Routine";
  std::u16string format = u"text\n";
  Log().Print(DEBUG_LOG_LEVEL_INFO, function, Wide(format.c_str()));
  function[0] = '#';
  format[0] = u'#';
  EXPECT_STREQ(Line(0).FunctionName, "Routine");
  EXPECT_EQ(Text(0), "text\n");
}

TEST_F(PlatformLog, TakesMissingTexts) {
  Log().Print(DEBUG_LOG_LEVEL_INFO, nullptr, nullptr);
  EXPECT_STREQ(Line(0).FunctionName, "");
  EXPECT_EQ(Text(0), "");
}

TEST_F(PlatformLog, CountsLinesThatThereIsNoMemoryFor) {
  const size_t before = Firmware().Memory().LiveCount(host::images::platform);
  // A line takes the guarded format, room in the list (the first line only) and the line itself.
  for (uint64_t n = 1; n <= 3; ++n) {
    Firmware().Memory().FailAllocation(n, host::images::platform);
    Print(u"lost\n");
    Firmware().Memory().StopFailing();
    EXPECT_EQ(Platform()->CountLostLines(Platform()), n);
    EXPECT_EQ(LineCount(), 0u);
  }
  Print(u"kept\n");
  EXPECT_EQ(Platform()->CountLostLines(Platform()), 3u);
  EXPECT_EQ(Text(0), "kept\n");
  // The list and the line.
  EXPECT_EQ(Firmware().Memory().LiveCount(host::images::platform), before + 2);
}

TEST_F(PlatformLog, HoldsOneBlockForEachLine) {
  Print(u"first\n");
  const size_t before = Firmware().Memory().LiveCount(host::images::platform);
  Print(u"second %d\n", 2);
  EXPECT_LE(Firmware().Memory().LiveCount(host::images::platform), before + 1);
}

TEST_F(PlatformLog, RefusesMissingArguments) {
  TVQ_LOG_LINE line;
  EXPECT_EQ(Platform()->GetLogLine(nullptr, 0, &line), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->GetLogLine(Platform(), 0, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->GetLogLine(Platform(), 0, &line), EFI_NOT_FOUND);
  EXPECT_EQ(Platform()->CountLostLines(nullptr), 0u);
}

TEST_F(PlatformLog, GoesToTheDebugLibraryWholeHoweverLongALineIs) {
  Firmware().KeepDebugOutput();
  const std::u16string digits = u"0123456789";
  std::u16string text;
  for (int i = 0; i < 100; ++i) {
    text += digits;
  }
  Print(u"%s\n", text.c_str());
  EXPECT_EQ(Firmware().DebugOutput(), "Routine: " + Utf8(Wide(text.c_str())) + "\n");
}

TEST_F(PlatformLog, GoesToTheDebugLibraryAtItsLevel) {
  const auto printed = [&](UINTN levels) {
    const size_t before = Firmware().DebugOutput().size();
    Firmware().KeepDebugOutput(levels);
    Log().Print(DEBUG_LOG_LEVEL_ERROR, "Routine", Wide(u"error "));
    Log().Print(DEBUG_LOG_LEVEL_INFO, "Routine", Wide(u"information "));
    return Firmware().DebugOutput().substr(before);
  };
  EXPECT_EQ(printed(DEBUG_ERROR), "Routine: error ");
  EXPECT_EQ(printed(DEBUG_INFO), "Routine: information ");
  EXPECT_EQ(printed(~UINTN{DEBUG_ERROR | DEBUG_INFO}), "");
  EXPECT_EQ(printed(MAX_UINTN), "Routine: error Routine: information ");
}

TEST_F(PlatformLog, IsKeptWithoutADebugLibrary) {
  Print(u"Count %d\n", 2);
  EXPECT_EQ(LineCount(), 1u);
  EXPECT_EQ(Firmware().DebugOutput(), "");
}

}  // namespace
}  // namespace tvq::test
