/*
 * The agent's words: file names and options.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/file_names.h"
#include "TvqPlatformPkg/src/agent/options.h"

namespace tvq::test {
namespace {

using tvqplatform::FileNames;
using tvqplatform::Options;

class AgentFileNames : public AgentTest {
 protected:
  std::string Take(const char16_t* fqdd) {
    FileNames::Name name;
    EXPECT_TRUE(mNames.Take(fqdd == nullptr ? nullptr : Wide(fqdd), name));
    return name.Text;
  }
  FileNames mNames;
};

TEST_F(AgentFileNames, KeepLettersDigitsDotsUnderscoresAndDashes) {
  EXPECT_EQ(Take(u"DIMM.Socket.A1"), "DIMM.Socket.A1");
  EXPECT_EQ(Take(u"azAZ09._-"), "azAZ09._-");
}

TEST_F(AgentFileNames, ReplaceEverythingElse) {
  EXPECT_EQ(Take(u"a b/c\\d:e*f\"g\n"), "a_b_c_d_e_f_g_");
  EXPECT_EQ(Take(u"\u00C4\u0141\uFF81"), "___");
  EXPECT_EQ(Take(u"`{@[/:^,"), "________");
}

TEST_F(AgentFileNames, CallADeviceWithoutTextARecord) {
  EXPECT_EQ(Take(nullptr), "record");
  EXPECT_EQ(Take(u""), "record-2");
  EXPECT_EQ(Take(u"record"), "record-3");
}

TEST_F(AgentFileNames, NumberNamesThatAreTaken) {
  EXPECT_EQ(Take(u"CPU.1"), "CPU.1");
  EXPECT_EQ(Take(u"cpu.1"), "cpu.1-2");
  EXPECT_EQ(Take(u"CPU.1-2"), "CPU.1-2-2");
  EXPECT_EQ(Take(u"CPU.1"), "CPU.1-3");
}

TEST_F(AgentFileNames, CutLongTexts) {
  const std::u16string longText(200, u'x');
  EXPECT_EQ(Take(longText.c_str()), std::string(48, 'x'));
  EXPECT_EQ(Take(longText.c_str()), std::string(48, 'x') + "-2");
}

TEST_F(AgentFileNames, ReportExhaustedMemory) {
  Firmware().Memory().FailAllocation(1, host::images::agent);
  FileNames::Name name;
  EXPECT_FALSE(mNames.Take(Wide(u"x"), name));
}

class AgentOptions : public AgentTest {
 protected:
  static Options Parse(const std::string& text) {
    Options options;
    tvqplatform::ParseOptions({text.data(), text.size()}, options);
    return options;
  }
  // The command line as a shell hands it over, terminator included.
  static bool ParseLine(const std::u16string& line, Options& options) {
    return ParseBytes(line, (line.size() + 1) * sizeof(char16_t), options);
  }
  // So many bytes of the command line.
  static bool ParseBytes(const std::u16string& line, size_t size, Options& options) {
    return tvqplatform::ParseLoadOptions(line.c_str(), size, options);
  }
};

TEST_F(AgentOptions, AreWordsBetweenBlanksAndLineEnds) {
  const Options options = Parse("  as-is\r\n\tpoweroff\r\n");
  EXPECT_TRUE(options.AsIs);
  EXPECT_TRUE(options.PowerOff);
  EXPECT_STREQ(options.Unknown, "");
  EXPECT_TRUE(Parse(std::string("as-is\0poweroff", 14)).PowerOff);
}

TEST_F(AgentOptions, AreOffWhenNothingIsSaid) {
  const Options options = Parse("");
  EXPECT_FALSE(options.AsIs);
  EXPECT_FALSE(options.PowerOff);
}

TEST_F(AgentOptions, NameTheFirstUnknownWord) {
  const Options options = Parse("as-it-is poweroff please");
  EXPECT_FALSE(options.AsIs);
  EXPECT_TRUE(options.PowerOff);
  EXPECT_STREQ(options.Unknown, "as-it-is");
  EXPECT_STREQ(Parse("x please").Unknown, "x");
  EXPECT_EQ(std::string(Parse(std::string(100, 'x')).Unknown), std::string(31, 'x'));
}

TEST_F(AgentOptions, AreNamesBehindAccept) {
  const Options options = Parse("accept DIMM.Socket.A1 \"DIMM A2\" poweroff CPU1");
  EXPECT_TRUE(options.Accept);
  EXPECT_TRUE(options.PowerOff);
  ASSERT_EQ(options.NameCount, 3u);
  EXPECT_STREQ(options.Names[0], "DIMM.Socket.A1");
  EXPECT_STREQ(options.Names[1], "DIMM A2");
  EXPECT_STREQ(options.Names[2], "CPU1");
  EXPECT_STREQ(options.Unknown, "");
  EXPECT_STREQ(Parse("CPU1 accept").Unknown, "CPU1");
  EXPECT_STREQ(Parse("accept \"CPU 1").Names[0], "CPU 1") << "a quotation mark is missing";
  const Options together = Parse("accept \"DIMM A2\"CPU1");
  ASSERT_EQ(together.NameCount, 2u);
  EXPECT_STREQ(together.Names[1], "CPU1") << "a quotation mark ends a word";
}

TEST_F(AgentOptions, HaveRoomForSixteenNames) {
  std::string text = "accept";
  for (int i = 0; i < 16; ++i) {
    text += " D" + std::to_string(i);
  }
  EXPECT_STREQ(Parse(text).Unknown, "");
  EXPECT_STREQ(Parse(text + " more").Unknown, "more");
  EXPECT_STREQ(Parse("accept " + std::string(47, 'x')).Unknown, "");
  EXPECT_EQ(std::string(Parse("accept " + std::string(48, 'x')).Unknown), std::string(31, 'x'));
}

TEST_F(AgentOptions, SayHowManyStatesStayAndWhere) {
  EXPECT_EQ(Parse("").Keep, 10u);
  EXPECT_EQ(Parse("keep=1").Keep, 1u);
  EXPECT_EQ(Parse("keep=1000").Keep, 1000u);
  EXPECT_EQ(Parse("keep=987").Keep, 987u);
  EXPECT_STREQ(Parse("keep=1").Unknown, "");
  for (const char* text : {"keep=", "keep=0", "keep=1001", "keep=x", "keep=-1", "keep=1/",
                           "keep=1:", "keep=99999999999999999999"}) {
    EXPECT_STREQ(Parse(text).Unknown, text) << text;
    EXPECT_EQ(Parse(text).Keep, 10u) << text;
  }
  EXPECT_EQ(Parse("accept keep=").NameCount, 0u) << "it is no device's name";
  EXPECT_STREQ(Parse("state=golden").State, "golden");
  for (const char* text : {"state=", "state=a\\b", "state=/a", "state=fs0:"}) {
    EXPECT_STREQ(Parse(text).State, "") << text;
    EXPECT_STREQ(Parse(text).Unknown, text);
  }
  EXPECT_TRUE(Parse("incomplete").Incomplete);
  EXPECT_TRUE(Parse("other-machine").OtherMachine);
}

TEST_F(AgentOptions, FollowTheProgramsNameOnACommandLine) {
  Options options;
  EXPECT_TRUE(ParseLine(u"FS0:\\TvqAgent.efi as-is", options));
  EXPECT_TRUE(options.AsIs);
  EXPECT_STREQ(options.Unknown, "");
}

TEST_F(AgentOptions, MayStandAloneOnACommandLine) {
  Options options;
  EXPECT_TRUE(ParseLine(u"poweroff as-is", options));
  EXPECT_TRUE(options.AsIs);
  EXPECT_TRUE(options.PowerOff);
}

TEST_F(AgentOptions, AreNotOnACommandLineWithTheNameAlone) {
  Options options;
  EXPECT_FALSE(ParseLine(u"TvqAgent.efi", options));
  EXPECT_FALSE(ParseLine(u"", options));
  EXPECT_FALSE(tvqplatform::ParseLoadOptions(nullptr, 0, options));
}

TEST_F(AgentOptions, NeedNoTerminatorOnACommandLine) {
  Options options;
  const std::u16string line = u"as-is stop";
  EXPECT_TRUE(ParseBytes(line, 2 * line.size(), options));
  EXPECT_TRUE(options.Stop);
}

TEST_F(AgentOptions, EndWithTheLastWholeCharacterOfACommandLine) {
  Options options;
  const std::u16string line = u"as-is stop";
  EXPECT_TRUE(ParseBytes(line, 2 * line.size() - 1, options));
  EXPECT_FALSE(options.Stop);
  EXPECT_STREQ(options.Unknown, "sto");
}

TEST_F(AgentOptions, AreReadFromCommandLinesOfUpTo512Characters) {
  Options options;
  const std::u16string line = std::u16string(506, u'x') + u" as-is";
  EXPECT_TRUE(ParseBytes(line, 1024, options));
  EXPECT_TRUE(options.AsIs);
  EXPECT_FALSE(ParseBytes(line + u' ', 1025, options));
}

TEST_F(AgentOptions, AreReadFromPrintableCharactersAlone) {
  for (const char16_t other : {u'\x1F', u'\x7F', u'\u0161', u'\u8000'}) {
    Options options;
    EXPECT_FALSE(ParseLine(std::u16string(u"TvqAgent.efi as-is ") + other, options)) << int{other};
  }
  Options options;
  EXPECT_TRUE(ParseLine(u"~ as-is", options));
}

TEST_F(AgentOptions, AreNotReadFromWhatIsNoText) {
  Options options;
  EXPECT_FALSE(ParseLine(u"\u8000\u1234 as-is", options));
  const UINT8 odd[] = {'a'};
  EXPECT_FALSE(tvqplatform::ParseLoadOptions(odd, sizeof(odd), options));
  EXPECT_FALSE(ParseLine(std::u16string(2000, u'x') + u" as-is", options));
  EXPECT_FALSE(options.AsIs);
}

}  // namespace
}  // namespace tvq::test
