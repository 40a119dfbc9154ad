/*
 * Rules about the texts of documents, on both sides of their limits.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "tests/unit/host/lint/boundaries.h"

namespace tvq::lint {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// A second module, with a text in its bank locator, which the document has whole.
std::string WithText(const std::string& text) {
  return "[memory-device like @dimm1]\nlocator = \"A2\"\nserial = \"7A2C0002\"\nbank = \"" + text +
         "\"\n";
}

std::string Escaped(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) {
    text += fmt::format("\\x{:02X}", byte);
  }
  return text;
}

TEST(LintDocumentBoundaries, MarkupIsWhatXmlReadsAsSuch) {
  const std::string verify = "so that Verify fails for the device";
  ExpectBoundaries("xml-markup",
                   {{WithText("a>b]]"), {}},
                    {WithText("a&b"),
                     {"\"a&b\" in BankLocator has '&', which is written as it is: no XML parser "
                      "reads the document, " +
                      verify}},
                    {WithText("a<b"), {"has '<'"}},
                    {WithText("]]>"), {"has ']]>'"}},
                    {WithText("]]>&"), {"has ']]>'"}},
                    {WithText("&]]>"), {"has '&'"}},
                    {"[slot like @slot1]\nid = 2\ndesignation = \"a&b\"\n",
                     {"no XML parser reads the document;"}},
                    {"[processor like @cpu1]\nsocket = \"CPU2\"\nversion = \"a&b\"\n", {verify}},
                    {"[dimm-extension]\ndevice = @dimm1\nfirmware-version = \"a&b\"\n", {verify}}});
}

TEST(LintDocumentBoundaries, OnlyDevicesWithARecordHaveADocument) {
  const std::string cpu = "[processor like @cpu1]\nsocket = \"CPU2\"\nversion = \"a&b\"\n";
  const std::string module = WithText("a&b");
  ExpectBoundaries("xml-markup", {{cpu, {"in MarketingName"}},
                                  {cpu + "status = 0\n", {}},
                                  {module, {"in BankLocator"}},
                                  {module + "size = 0\n", {}}});
}

TEST(LintDocumentBoundaries, OnlyASingleSystemAndASingleBiosAreWritten) {
  const std::string bios = "[bios]\nversion = \"a&b\"\n";
  const std::string system = "[system]\nproduct = \"a&b\"\n";
  const std::string start = "version = 3.3\n";
  ExpectBoundaries("xml-markup",
                   {{start + bios, {"in BIOSVersion"}},
                    {start + bios + bios, {}},
                    {start + system, {"in ProductName"}},
                    {start + system + system, {}},
                    {start + "[chassis]\nserial = \"a&b\"\n[chassis]\nserial = \"<\"\n",
                     {"in ServiceTag", "in ServiceTag"}}});
}

TEST(LintDocumentBoundaries, ControlCharactersAreThoseThatXmlHasNot) {
  ExpectBoundaries(
      "xml-control",
      {{WithText("a b\\x09\\x0Ac"), {}},
       {WithText("\\x7F"), {}},
       {WithText("a\\x1F"), {"has the control character 1Fh: no XML parser reads the document"}},
       {WithText("a\\x01"), {"has the control character 01h"}},
       {WithText("a\\x08"), {"has the control character 08h"}},
       {WithText("a\\x0B"), {"has the control character 0Bh"}},
       {WithText("a\\x0D"),
        {"has the control character 0Dh: XML readers make a line feed of it"}}});
}

// Each limit of UTF-8 (RFC 3629, section 4), from both sides.
TEST(LintDocumentBoundaries, CharactersAreThoseOfUtf8) {
  const std::vector<std::vector<int>> valid = {
      {0x7F},
      {0xC2, 0x80},
      {0xDF, 0xBF},
      {0xE0, 0xA0, 0x80},
      {0xE0, 0xBF, 0xBF},
      {0xE1, 0x80, 0x80},
      {0xED, 0x80, 0x80},
      {0xED, 0x9F, 0xBF},
      {0xEE, 0x80, 0x80},
      {0xEF, 0xBF, 0xBF},
      {0xF0, 0x90, 0x80, 0x80},
      {0xF1, 0x80, 0x80, 0x80},
      {0xF3, 0xBF, 0xBF, 0xBF},
      {0xF4, 0x80, 0x80, 0x80},
      {0xF4, 0x8F, 0xBF, 0xBF},
      {0xC3, 0xA9, 'x', 0xE2, 0x82, 0xAC},
  };
  const std::vector<std::vector<int>> invalid = {
      {0x80},
      {0xBF},
      {0xC0, 0x80},
      {0xC1, 0xBF},
      {0xC2},
      {0xC2, 0x7F},
      {0xC2, 0xC0},
      {0xC2, 'x'},
      {0xE0, 0x9F, 0xBF},
      {0xE1, 0x80},
      {0xE1, 0x80, 0x7F},
      {0xE1, 0x80, 0xC0},
      {0xED, 0xA0, 0x80},
      {0xED, 0xBF, 0xBF},
      {0xF0, 0x8F, 0xBF, 0xBF},
      {0xF1, 0x80, 0x80},
      {0xF1, 0x80, 0x80, 0x7F},
      {0xF4, 0x90, 0x80, 0x80},
      {0xF5, 0x80, 0x80, 0x80},
      {0xFF},
      {0xC3, 0xA9, 0x80},
  };
  const auto text = [](const std::vector<int>& bytes) {
    std::string escaped;
    for (const int byte : bytes) {
      escaped += Escaped({byte});
    }
    return WithText(escaped);
  };
  for (const auto& bytes : valid) {
    ExpectBoundaries("xml-encoding", {{text(bytes), {}}});
  }
  for (const auto& bytes : invalid) {
    ExpectBoundaries("xml-encoding", {{text(bytes), {"is not UTF-8: XML parsers that take"}}});
    ExpectBoundaries("text-not-ascii", {{text(bytes), {}}});
  }
}

TEST(LintDocumentBoundaries, BytesAbove7FhReadOtherwiseInTheRecord) {
  ExpectBoundaries(
      "text-not-ascii",
      {{WithText("\\x7F"), {}}, {WithText("\\xC2\\x80"), {"in BankLocator has bytes above 7Fh"}}});
}

TEST(LintDocumentBoundaries, ACharacterThatTheLimitCutsIsNoCharacterAnyMore) {
  const std::string accent = "\\xC3\\xA9";
  ExpectBoundaries("xml-encoding",
                   {{WithText(std::string(125, 'x') + accent), {}},
                    {WithText(std::string(126, 'x') + accent),
                     {"is not UTF-8 any more, as a character is cut in two: XML parsers"}},
                    {WithText(std::string(127, 'x') + accent), {}}});
}

TEST(LintDocumentBoundaries, TextsAreKeptUpToTheirLimits) {
  const auto text = [](std::size_t size) { return std::string(size, 'x'); };
  const auto cpu = [&text](std::size_t size) {
    return "[processor like @cpu1]\nsocket = \"CPU2\"\nversion = \"" + text(size) + "\"\n";
  };
  const auto firmware = [&text](std::size_t size) {
    return "[dimm-extension]\ndevice = @dimm1\nfirmware-version = \"" + text(size) + "\"\n";
  };
  ExpectBoundaries(
      "text-cut",
      {{WithText(text(127)), {}},
       {WithText(text(128)),
        {"the text for BankLocator has 128 characters: the document keeps the first 127"}},
       {cpu(63), {}},
       {cpu(64),
        {"the text for MarketingName has 64 characters: the inventory blob keeps the first 63"}},
       {cpu(128),
        {"the text for MarketingName has 128 characters: the inventory blob keeps the first 63"}},
       {"[processor like @cpu1]\nsocket = \"CPU2\"\nmanufacturer = \"" + text(64) + "\"\n", {}},
       {firmware(31), {}},
       {firmware(32),
        {"the text for FirmwareVersion has 32 characters: the document keeps the first 31"}},
       {"[slot like @slot1]\nid = 2\ndesignation = \"" + text(64) + "\"\n", {}}});
}

TEST(LintDocumentBoundaries, ADocumentHas8192Bytes) {
  const auto linesFor = [](std::uint8_t type, std::size_t device, std::size_t size) {
    const Bytes dump =
        Dump(SoundWith("[memory-device like @dimm1]\nsize = 0\n"
                       "[memory-device like @dimm1]\nlocator = \"A2\"\n"
                       "[processor like @cpu1]\nstatus = 0\n"
                       "[processor like @cpu1]\nsocket = \"CPU2\"\n"));
    auto subject = Subject::Read(dump);
    EXPECT_TRUE(subject);
    subject->SetDocuments({{type, device, size}});
    return LinesOf("document-size", *subject);
  };
  EXPECT_THAT(linesFor(17, 0, 8192), IsEmpty());
  EXPECT_THAT(linesFor(17, 0, 8193),
              ElementsAre(HasSubstr("type 17, handle 0x0007: its document has 8193 bytes, 1 more "
                                    "than the buffer of 8192 bytes that it is planned for; shorten "
                                    "the texts of the device")));
  // The devices without a record do not count.
  EXPECT_THAT(linesFor(17, 1, 9000), ElementsAre(HasSubstr("type 17, handle 0x000C")));
  EXPECT_THAT(linesFor(17, 2, 9000), IsEmpty()) << "there is no such device";
  EXPECT_THAT(linesFor(4, 1, 9000), ElementsAre(HasSubstr("type 4, handle 0x000E")));
  EXPECT_THAT(
      linesFor(1, 0, 9000),
      ElementsAre(HasSubstr("list fewer slots, boards or chassis, or shorten their names")));
}

}  // namespace
}  // namespace tvq::lint
