/*
 * --redact: what is masked, and how.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <regex>
#include <set>

#include "host/cli/input/input.h"
#include "host/cli/redact/mask.h"
#include "host/cli/redact/redact.h"
#include "host/cli/output/text.h"
#include "host/table/layout.h"
#include "tests/unit/host/cli/failing_call.h"
#include "tests/unit/host/cli/redact/redact_fixture.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using test::Bytes;
using test::Table;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

// --- Masks ---

TEST(Mask, KeepsLengthAndKindsOfCharacters) {
  EXPECT_THAT(Mask("7A2C-0003 xyZ"), MatchesRegex("[0-9][A-F][0-9][A-F]-[0-9]{4} [g-z]{2}[G-Z]"));
}

TEST(Mask, IsTheSameForTheSameTextAndKey) {
  EXPECT_EQ(Mask("7A2C0003"), Masker("a test's key").Mask("7A2C0003"));
  EXPECT_NE(Mask("7A2C0003"), Masker("another key").Mask("7A2C0003"));
}

TEST(Mask, IsAnotherOneForEveryOtherText) {
  std::set<std::string> masks;
  for (int i = 0; i < 1000; ++i) {
    masks.insert(Mask(std::to_string(1000 + i).substr(1) + "A"));
  }
  EXPECT_EQ(masks.size(), 1000u);
}

// A state that was saved with masks is compared with tables that later versions mask.
TEST(Mask, IsTheSameInEveryVersion) {
  const std::pair<std::string, std::string> kMasks[] = {
      {"ABC1234", "BCB0408"},
      {"7A2C-0003 xyZ", "2E3B-6083 vtR"},
      {"a long text, which is masked in 4 pieces: ABC",
       "e lgxq sdii, glndu mq jbrseb ys 8 mtfafu: EBE"},
      {"/19:@AFGZ[`afgz{ ~", "/44:@DBTX[`dalw{ ~"},
      {"\x01\x1F\x7F\x80\xA0\xA1\xFF", "\x02\x1D\x85\x8B\x91\xDD\xF3"}};
  for (const auto& [text, mask] : kMasks) {
    EXPECT_EQ(Mask(text), mask) << text;
  }
  EXPECT_EQ(Hex(TestMasker().MaskUuid({0x00, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0x99,
                                       0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF})),
            "72478403211642167292ccabbfdbaaee");
}

TEST(Mask, OfAnOemStringIsTheSameInEveryVersion) {
  const std::pair<std::string, std::string> kMasks[] = {
      {"22[ABC1234]", "22[DCA5837]"},
      {"123[ABC1234", "123[BCB0408"},
      {"1234[ABC123", "1070[CEA750"},
      {"ABC1234", "ADB3466"},
      {"[ABC1234", "[BCB0408"},
      {"22", "22"},
      {"TAG7 17[A1B2C3D4E5F60718] 4711", "TAP5 17[D5C6A7B9F1D98972] 4242"},
      {"17[A1B2C3D4E5F60718", "17[D5C6A7B9F1D98972"}};
  for (const auto& [text, mask] : kMasks) {
    EXPECT_EQ(TestMasker().MaskOemString(text), mask) << text;
  }
  EXPECT_EQ(PpinOf("TAG7 17[A1B2C3D4E5F60718] 4711"), "A1B2C3D4E5F60718");
}

TEST(Mask, KeepsTheEqualityOfTheFirstFourteenCharacters) {
  const std::string one = Mask("0123456789ABCDEFGH");
  const std::string other = Mask("0123456789ABCDXYZW");
  EXPECT_EQ(one.substr(0, 14), other.substr(0, 14));
  EXPECT_EQ(one.substr(0, 14), Mask("0123456789ABCD"));
  EXPECT_NE(one.substr(14), other.substr(14));
}

TEST(Mask, BlanksWhatNoNumberIsLongEnoughFor) {
  const std::string masked = Mask(std::string(300, 'a') + "bc");
  EXPECT_EQ(masked.size(), 302u);
  EXPECT_EQ(masked.substr(256), std::string(46, 'x'));
}

TEST(Mask, ReplacesControlCharactersByOthers) {
  EXPECT_THAT(Mask("\x02\x03\x1E\x80\x9F\x7F"), MatchesRegex("[\x01-\x1F]{3}[\x7F-\xA0]{3}"));
  EXPECT_NE(Mask("\x02\x03\x1E\x80\x9F\x7F"), "\x02\x03\x1E\x80\x9F\x7F");
}

TEST(Mask, LeavesTextsThatNameNothing) {
  for (const std::string text :
       {"", "Not Specified", "To Be Filled By O.E.M.", "00000000", "    ", "NO DIMM", "Unknown"}) {
    EXPECT_EQ(Mask(text), text);
  }
}

TEST(Mask, LeavesTheTagOfAnOemString) {
  const std::string ppin = "A1B2C3D4E5F60718";
  EXPECT_EQ(TestMasker().MaskOemString("17[" + ppin + "]"), "17[" + Mask(ppin) + "]");
  EXPECT_THAT(TestMasker().MaskOemString("22[2.10.0]"), StartsWith("22["));
  EXPECT_THAT(TestMasker().MaskOemString("9ABCDEF"), StartsWith("9"));
}

TEST(Mask, MasksAnOemStringBeforeItsTagToo) {
  const std::string masked = TestMasker().MaskOemString("SN ABC1234, 17[A1B2C3D4E5F60718");
  EXPECT_THAT(masked, HasSubstr("17[" + Mask("A1B2C3D4E5F60718")));
  EXPECT_THAT(masked, Not(HasSubstr("ABC1234")));
  EXPECT_THAT(TestMasker().MaskOemString("ABC1234[x"), Not(HasSubstr("BC1234")));
}

TEST(Mask, ASecretOemStringDoesNotBecomeATag) {
  for (int i = 0; i < 300; ++i) {
    EXPECT_THAT(
        TestMasker().MaskOemString("x[" + std::to_string(20 + i % 80) + "[" + std::to_string(i)),
        Not(HasSubstr("17[")));
  }
}

TEST(Mask, MasksAUuidAsADocumentSpellsIt) {
  const Bytes uuid = {0x10, 0x2A, 0x3F, 0x7D, 0x64, 0x5B, 0x8E, 0x4C,
                      0x9A, 0x21, 0x0C, 0x5E, 0x1F, 0x2B, 0x3A, 0x41};
  std::string digits;
  for (const uint8_t byte : TestMasker().MaskUuid(uuid)) {
    digits += "0123456789abcdef"[byte >> 4];
    digits += "0123456789abcdef"[byte & 0x0F];
  }
  EXPECT_EQ(digits, Mask("102a3f7d645b8e4c9a210c5e1f2b3a41"));
}

// --- Tables ---

bool Contains(const Bytes& bytes, const std::string& text) {
  return std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) != bytes.end();
}

TEST(RedactTable, MasksNumbersAndTagsOfEveryType) {
  Table table =
      Table::Of(test::System{.serial = "SYS4711"},
                test::BaseBoard{.serial = "BRD4711", .assetTag = "BTAG4711"},
                test::Chassis{.serial = "CHS4711", .assetTag = "CTAG4711"},
                test::Processor{.serial = "CPU4711", .assetTag = "PTAG4711"},
                test::MemoryDevice{.serial = "MEM4711", .assetTag = "MTAG4711"},
                test::OemStrings{.texts = {"17[PPIN471147114711]", "Something 4711"}},
                test::Structure{39, 0x2700, {0, 0, 0, 0, 1, 2}, {"PSU4711", "STAG4711"}},
                test::Structure{22, 0x1600, {0, 0, 0, 1}, {"BAT4711"}},
                test::Structure{200, 0xC800, {'R', 'A', 'W', '4', '7', '1', '1'}, {"OWN4711"}});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_EQ(masked.size(), table.Bytes().size());
  EXPECT_FALSE(Contains(masked, "4711"));
  EXPECT_TRUE(Contains(masked, "17["));
  EXPECT_TRUE(Contains(masked, "Server Works"));
}

TEST(RedactTable, MasksAnotherTextThatRepeatsANumber) {
  Table table = Table::Of(test::System{.serial = "SYS4711", .sku = "Tag SYS4711, sold"});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_FALSE(Contains(masked, "SYS4711"));
  EXPECT_TRUE(Contains(masked, "Tag " + Mask("SYS4711") + ", sold"));
}

TEST(RedactTable, MasksARepeatedNumberThatAnotherIsPartOf) {
  const Table table = Table::Of(test::BaseBoard{.serial = "AB471"},
                                test::System{.serial = "AB4711XY", .sku = "Tag AB4711XY"},
                                test::BaseBoard{.serial = "AB471"});
  EXPECT_TRUE(Contains(Redacted(table.Bytes()), "Tag " + Mask("AB4711XY")));
}

TEST(RedactTable, MasksANumberThatTheFirstTextRepeats) {
  const Table table = Table::Of(test::System{.manufacturer = "Maker of ABC1234"});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_TRUE(Contains(masked, "Maker of " + Mask("ABC1234")));
}

TEST(RedactTable, BlanksWhatIsNoStructureAndSaysHowMuch) {
  const auto blanked = [](const Bytes& bytes, const Bytes& expected) {
    Bytes masked = bytes;
    const std::size_t size = RedactTable(masked, TestMasker());
    EXPECT_EQ(masked, expected);
    return size;
  };
  EXPECT_EQ(blanked({1, 2, 3}, {0xFF, 0xFF, 0xFF}), 3u);
  EXPECT_EQ(blanked({0xFE, 0xFE}, {0xFF, 0xFF}), 2u);
  EXPECT_EQ(blanked({0xFF, 0xFF}, {0xFF, 0xFF}), 0u) << "padding stays";
  EXPECT_EQ(blanked({0, 0}, {0, 0}), 0u);
}

TEST(RedactTable, LeavesTheNamesThatBelongToDevicesOfTheTable) {
  const auto isLeft = [](uint16_t handle) {
    const Table table =
        Table::Of(test::Bios{.handle = 0x100}, test::System{.handle = 0x101},
                  test::Structure{2, 0x102, Bytes(4), {}}, test::Processor{.handle = 0x103},
                  test::FqddMap{.groups = {{"System.Embedded.1", handle}}});
    return Contains(Redacted(table.Bytes()), "System.Embedded.1");
  };
  EXPECT_FALSE(isLeft(0x100));
  EXPECT_TRUE(isLeft(0x101));
  EXPECT_FALSE(isLeft(0x102));
  EXPECT_TRUE(isLeft(0x103));
  EXPECT_FALSE(isLeft(0x999));
}

TEST(RedactTable, LeavesTheNamesOfDevices) {
  Table table = Table::Of(test::Processor{.handle = 1, .designation = "CPU17", .serial = "CPU17"},
                          test::FqddMap{.groups = {{"CPU.Socket.1", 1}}});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_TRUE(Contains(masked, "CPU.Socket.1"));
}

// Also where one is made of a word that is somebody's number.
TEST(RedactTable, LeavesFqddsThatRepeatANumber) {
  Table table = Table::Of(test::Processor{.handle = 1, .serial = "Socket"},
                          test::FqddMap{.groups = {{"CPU.Socket.1", 1}}});
  EXPECT_TRUE(Contains(Redacted(table.Bytes()), "CPU.Socket.1"));
}

Bytes SmallTable() {
  Table table = Table::Of(test::System{.serial = "AB1"}, test::OemStrings{.texts = {"17[AB", "CD"}},
                          test::Structure{200, 0xC800, {1, 2, 3}, {"EF2"}});
  return table.Bytes();
}

TEST(RedactTable, EveryCutOfATableIsMaskedInItsBounds) {
  const Bytes whole = SmallTable();
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(Redacted(cut).size(), size);
  }
}

TEST(RedactTable, StructuresWithLengthsThatLieAreMaskedInTheirBounds) {
  const Bytes whole = SmallTable();
  for (size_t i = 0; i < whole.size(); ++i) {
    for (const uint8_t value : {uint8_t{0}, uint8_t{3}, uint8_t{0xFF}}) {
      Bytes changed = whole;
      changed[i] = value;
      EXPECT_EQ(Redacted(changed).size(), whole.size());
    }
  }
}

TEST(RedactTable, LeavesNoValueWithoutAName) {
  Table table;
  test::Structure system = test::System{}.Build();
  system.body.insert(system.body.end(), {0x07, 'T', 'A', 'G'});
  table.Add(system);
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_FALSE(Contains(masked, "TAG"));
  EXPECT_TRUE(Contains(masked, "Rack One"));
  const auto end = masked.begin() + static_cast<std::ptrdiff_t>(4 + system.body.size());
  EXPECT_EQ(Bytes(end - 4, end), Bytes(4));
}

// A length that lies has taken strings in, here or before.
TEST(RedactTable, LeavesNothingOfAStructureWhoseValuesSpellAText) {
  Table table;
  test::Structure system = test::System{}.Build();
  system.body.insert(system.body.end(), {'T', 'A', 'G', '1', 0});
  table.Add(system);
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_FALSE(Contains(masked, "TAG1"));
  EXPECT_FALSE(Contains(masked, "Rack One"));
}

// A text that an empty string has cut off: its second character is the length for every reader.
TEST(RedactTable, MasksAHeaderThatIsAText) {
  Bytes bytes = {'S', ' ', 'R', 'V'};
  bytes.resize(' ', 'x');
  bytes.insert(bytes.end(), {0, 0});
  const Bytes masked = Redacted(bytes);
  EXPECT_EQ((std::string{static_cast<char>(masked[0]), static_cast<char>(masked[2]),
                         static_cast<char>(masked[3])}),
            Mask("SRV"));
  EXPECT_EQ(masked[1], ' ');
  EXPECT_EQ(Bytes(masked.begin() + 4, masked.end()), Bytes(' ' - 4 + 2));
}

// The handle of a structure with such a header: masked where it is of a text, and no type that readers know.
TEST(RedactTable, MasksTheHandleOfATextAlone) {
  const auto isMasked = [](const Bytes& header) {
    Bytes bytes = header;
    bytes.resize(header[1], 'x');
    bytes.insert(bytes.end(), {0, 0});
    const Bytes masked = Redacted(bytes);
    return Bytes(masked.begin() + 2, masked.begin() + 4) !=
           Bytes(header.begin() + 2, header.begin() + 4);
  };
  EXPECT_TRUE(isMasked({47, ' ', 'R', 'V'}));
  EXPECT_TRUE(isMasked({125, ' ', 'R', 'V'}));
  EXPECT_FALSE(isMasked({46, ' ', 'R', 'V'}));
  EXPECT_FALSE(isMasked({126, ' ', 'R', 'V'}));
  EXPECT_TRUE(isMasked({'S', '~', 'R', '~'}));
  EXPECT_FALSE(isMasked({'S', 0x1F, 'R', 'V'}));
  EXPECT_FALSE(isMasked({'S', ' ', 0x7F, 'V'}));
  EXPECT_FALSE(isMasked({'S', ' ', 'R', 0x7F}));
}

// Also where the first character is the number of a type that has fields.
TEST(RedactTable, LeavesNoValueBehindAHeaderThatIsAText) {
  Bytes bytes = {39, ' ', 'R', 'V'};
  bytes.resize(' ', 0x81);
  bytes.insert(bytes.end(), {0, 0});
  const Bytes masked = Redacted(bytes);
  EXPECT_EQ(Bytes(masked.begin() + 4, masked.end()), Bytes(' ' - 4 + 2));
}

TEST(RedactTable, MasksAllStringsWhereOneIsNoText) {
  for (const std::string text : {"\x02\x1A", "\x1F\x1F"}) {
    const Table table = Table::Of(test::System{.manufacturer = text});
    const Bytes masked = Redacted(table.Bytes());
    EXPECT_FALSE(Contains(masked, "Rack One"));
    const size_t strings = 4 + test::System{}.Build().body.size();
    EXPECT_EQ(Bytes(masked.begin() + strings, masked.begin() + strings + 3), Bytes({'x', 'x', 0}));
  }
}

TEST(RedactTable, MasksAllStringsWhereOneIsNotWhatATextConsistsOf) {
  const auto isLeft = [](const std::string& manufacturer, const std::string& product) {
    const Table table = Table::Of(test::System{.manufacturer = manufacturer, .product = product});
    return Contains(Redacted(table.Bytes()), "Racks");
  };
  EXPECT_TRUE(isLeft("Server Works", "Rack One"));
  EXPECT_TRUE(isLeft("Server \xD6rks", "Rack One"));
  EXPECT_TRUE(isLeft("", "Rack One"));
  EXPECT_FALSE(isLeft("\xB3Server", "Rack One")) << "the first one may begin in the fields";
  EXPECT_TRUE(isLeft("Server Works", "\xB3Rack"));
  EXPECT_FALSE(isLeft("Server Works", "Rack\x01One"));
}

TEST(RedactTable, TakesFourCharactersAmongTheValuesForAText) {
  const auto isLeft = [](uint16_t handle, size_t at, const std::string& text) {
    test::Structure array = test::MemoryArray{.handle = handle}.Build();
    std::copy(text.begin(), text.end(), array.body.begin() + static_cast<std::ptrdiff_t>(at));
    const Table table = Table::Of(array);
    return Redacted(table.Bytes()) == table.Bytes();
  };
  const size_t behindHeader = 0;
  const size_t atEnd = test::MemoryArray{}.Build().body.size() - 4;
  EXPECT_TRUE(isLeft(0x1000, behindHeader, "ABC"));
  EXPECT_TRUE(isLeft(0x4142, behindHeader, "ABC")) << "a handle is no text";
  EXPECT_FALSE(isLeft(0x1000, behindHeader, "ABCD"));
  EXPECT_TRUE(isLeft(0x1000, atEnd, "ABC"));
  EXPECT_FALSE(isLeft(0x1000, atEnd, "ABCD"));
}

TEST(RedactTable, TakesNoCharactersOfAUuidForAText) {
  const auto isLeft = [](const Bytes& behindUuid) {
    test::Structure system = test::System{.uuid = Bytes(16, 'A')}.Build();
    system.body.resize(0x18 - 4);
    system.body.insert(system.body.end(), behindUuid.begin(), behindUuid.end());
    return Redacted(Table::Of(system).Bytes())[0x18] == behindUuid[0];
  };
  EXPECT_TRUE(isLeft({'B'}));
  EXPECT_TRUE(isLeft({'B', 'C', 'D'}));
  EXPECT_FALSE(isLeft({'B', 'C', 'D', 'E'}));
}

// Of more than 32 devices, the numbers of strings are those of characters, too.
TEST(RedactTable, LeavesTheNamesOfManyDevicesWhoseNumbersSpellAText) {
  const Table table = Table::Of(test::Processor{.handle = 0x4142},
                                test::FqddMap{.groups = std::vector<test::FqddMap::Group>(
                                                  40, {"CPU.Socket.1", 0x4142, 'C'})});
  EXPECT_TRUE(Contains(table.Bytes(), "!BAC\"BAC#"));
  EXPECT_EQ(Redacted(table.Bytes()), table.Bytes());
}

TEST(RedactTable, BlanksReservedBytesOfAKnownType) {
  const Table table = Table::Of(test::Structure{32, 0x2000, {1, 2, 3, 4, 5, 6, 7}, {}});
  EXPECT_EQ(Redacted(table.Bytes()), (Bytes{32, 11, 0x00, 0x20, 0, 0, 0, 0, 0, 0, 7, 0, 0}));
}

// Strings of control characters are none: the length before them is too small, and what comes next
// may be anything.
test::Structure Misread() {
  test::Structure misread = test::Cache{}.Build();
  misread.strings = {"\x01\x02"};
  return misread;
}

// Longer than the standard has it in any version.
test::Structure TooLongArray() {
  return test::MemoryArray{}.Build().Byte(0);
}

// Whether the values of the last structure stay.
bool IsLastLeft(const std::vector<test::Structure>& structures) {
  const Table table = Table::Of(structures);
  const Bytes masked = Redacted(table.Bytes());
  const auto start = static_cast<std::ptrdiff_t>(table.OffsetOf(structures.size() - 1));
  const auto size = static_cast<std::ptrdiff_t>(4 + structures.back().body.size());
  return std::equal(masked.begin() + start, masked.begin() + start + size,
                    table.Bytes().begin() + start);
}

TEST(RedactTable, LeavesOnlyWhatIsSoundBehindAStructureThatWasMisread) {
  const test::Structure board = test::BaseBoard{}.Build();
  test::Structure withoutStrings = board;
  withoutStrings.strings.clear();
  test::Structure withoutNumbers = withoutStrings;
  for (const size_t number : {0x04, 0x05, 0x06, 0x07, 0x0A}) {
    withoutNumbers.SetByte(number, 0);
  }
  test::Structure withAWrongNumber = board;
  withAWrongNumber.SetByte(0x08, 9);
  EXPECT_TRUE(IsLastLeft({Misread(), test::MemoryArray{}.Build()}));
  EXPECT_FALSE(IsLastLeft({Misread(), TooLongArray()}));
  EXPECT_TRUE(IsLastLeft({Misread(), board}));
  EXPECT_FALSE(IsLastLeft({Misread(), withoutStrings}));
  EXPECT_FALSE(IsLastLeft({Misread(), withoutNumbers}));
  EXPECT_FALSE(IsLastLeft({Misread(), withAWrongNumber}));
}

TEST(RedactTable, DoubtsWhatFollowsAMisreadStructureUpToOneThatIsSound) {
  const test::Structure unknown{200, 0xC800, {1, 2, 3}, {"OWN4711"}};
  EXPECT_TRUE(IsLastLeft({TooLongArray()}));
  EXPECT_TRUE(IsLastLeft({unknown, TooLongArray()}));
  EXPECT_FALSE(IsLastLeft({Misread(), unknown, TooLongArray()}));
  EXPECT_FALSE(IsLastLeft({Misread(), TooLongArray(), TooLongArray()}));
  EXPECT_TRUE(IsLastLeft({Misread(), test::MemoryArray{}.Build(), TooLongArray()}));
}

TEST(RedactTable, LeavesNothingOfStringsThatAreNoTexts) {
  Table table = Table::Of(test::Structure{200, 0xC800, {}, {"\x01!\"#$%&"}});
  EXPECT_FALSE(Contains(Redacted(table.Bytes()), "!\"#"));
}

TEST(RedactTable, MasksAllStringsButNamesWhereNotAllNumbersFitThem) {
  for (const std::vector<std::string>& more : {std::vector<std::string>{}, {"TXT4711"}}) {
    Table table;
    test::Structure module = test::MemoryDevice{.locator = "DIMM_A1"}.Build();
    module.strings.insert(module.strings.end(), more.begin(), more.end());
    if (more.empty()) {
      module.strings.pop_back();
    }
    table.Add(module);
    const Bytes masked = Redacted(table.Bytes());
    EXPECT_TRUE(Contains(masked, "DIMM_A1"));
    EXPECT_FALSE(Contains(masked, "Memory Works"));
    EXPECT_FALSE(Contains(masked, "4711"));
  }
}

TEST(RedactTable, LeavesNothingOfATypeWhoseFieldsHaveNoNames) {
  for (const uint8_t type : Bytes{22, 42, 43, 44, 45, 46, 99, 126, 128, 255}) {
    Table table = Table::Of(test::Structure{type, 0x7000, {0xB3, 0xD7, 0x5A}, {"TXT4711"}});
    const Bytes masked = Redacted(table.Bytes());
    EXPECT_EQ(Bytes(masked.begin() + 4, masked.begin() + 7), (Bytes{0, 0, 0})) << int{type};
    EXPECT_FALSE(Contains(masked, "4711")) << int{type};
  }
}

// Other makers have these types too.
TEST(RedactTable, LeavesNamesAndExtensionsOfDevicesOfTheTableOnly) {
  for (const uint16_t handle : {uint16_t{0x1100}, uint16_t{0x1101}}) {
    Table table =
        Table::Of(test::MemoryDevice{.handle = uint16_t{0x1100}},
                  test::FqddMap{.groups = {{"DIMM.Socket.A1", handle}}},
                  test::DimmExtension{.deviceHandle = handle, .firmwareVersion = "FW4711"});
    const Bytes masked = Redacted(table.Bytes());
    const bool isOfTable = handle == 0x1100;
    EXPECT_EQ(Contains(masked, "DIMM.Socket.A1"), isOfTable);
    EXPECT_EQ(Contains(masked, "FW4711"), isOfTable);
    EXPECT_EQ(masked[table.OffsetOf(2) + 7], isOfTable ? 0xB3 : 0) << "the component's number";
    EXPECT_EQ(masked[table.OffsetOf(1) + 4], 1) << "the format";
  }
}

// The driver starts by it. Of another maker's, the first byte may be anything.
TEST(RedactTable, LeavesTheFormatOfUnknownNamesWhereTheDriverKnowsIt) {
  const auto formatOf = [](uint8_t type, uint8_t format) {
    const Table table =
        Table::Of(test::Structure{type, 0xE100, {format, 1, 0x99, 0x99, 7}, {"X1"}});
    return Redacted(table.Bytes())[4];
  };
  EXPECT_EQ(formatOf(225, 1), 1);
  EXPECT_EQ(formatOf(225, 2), 0);
  EXPECT_EQ(formatOf(200, 1), 0);
}

TEST(RedactTable, MasksAllStringsWhereTheirNumbersAreShifted) {
  Table table;
  test::Structure board = test::BaseBoard{.serial = "BRD4711", .assetTag = "BTAG4711"}.Build();
  board.SetByte(0x08, 4);  // the asset tag's number leads to the serial, which now is none of both
  board.SetByte(0x07, 3);
  board.SetByte(0x06, 2);
  board.SetByte(0x0A, 5);
  board.strings.insert(board.strings.begin(), "");
  table.Add(board);
  EXPECT_FALSE(Contains(Redacted(table.Bytes()), "4711"));
}

// The list of contained elements moves the number of the last string to where no field has a name.
TEST(RedactTable, LeavesTheMakerOfAChassisWithContainedElements) {
  Table table;
  test::Structure chassis = test::Chassis{.sku = "SKU-2"}.Build();
  chassis.SetByte(0x13, 1).SetByte(0x14, 3);
  chassis.body.insert(chassis.body.end() - 1, {0x91, 1, 2});
  table.Add(chassis);
  EXPECT_TRUE(Contains(Redacted(table.Bytes()), "Chassis Works"));
}

TEST(RedactTable, MasksEveryTextThatSpellsTheUuid) {
  Table table = Table::Of(test::System{.sku = "00112233-4455-6677-8899-AABBCCDDEEFF",
                                       .family = "32 33221100554477668899aabbccddeeff"});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_FALSE(Contains(masked, "AABBCCDDEEFF"));
  EXPECT_FALSE(Contains(masked, "33221100"));
}

TEST(RedactTable, MasksAPpinThatAnotherTextRepeats) {
  Table table = Table::Of(test::OemStrings{.texts = {"17[A1B2C3D4E5F60718]"}},
                          test::Processor{.partNumber = "P a1b2c3d4e5f60718"});
  EXPECT_FALSE(Contains(Redacted(table.Bytes()), "a1b2c3d4e5f60718"));
}

// Whoever names a field so has to make it one that is masked.
TEST(RedactTable, EveryFieldThatIsNamedForANumberOrTagIsSecret) {
  const std::regex secret("serial|(^|-)tag|uuid|guid|mac-|ppin|oem");
  for (const table::Layout& layout : table::Layouts()) {
    for (const table::Field& field : layout.fields) {
      EXPECT_EQ(IsSecretField(field.name), std::regex_search(std::string(field.name), secret))
          << field.name;
    }
  }
}

TEST(RedactTable, MasksARepeatedNumberInTheOtherCaseAndWithoutItsBlanks) {
  Table table = Table::Of(test::System{.serial = "SYS4711AB   ", .sku = "Tag sys4711ab, sold"});
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_FALSE(Contains(masked, "4711ab"));
  EXPECT_TRUE(Contains(masked, ", sold"));
}

TEST(RedactTable, LeavesTheValuesThatAreNoSecret) {
  Table table = Table::Of(test::Bios{}, test::Processor{.handle = 0x400}, test::Cache{},
                          test::Slot{}, test::MemoryArray{}, test::OnboardDevice{},
                          test::Structure{12, 0x0C00, {1}, {"JP1: 1-2 clear"}},
                          test::FqddMap{.groups = {{"CPU.Socket.1", 0x400, 7}}}, test::End{});
  EXPECT_EQ(Redacted(table.Bytes()), table.Bytes());
}

// --- Commands ---

class CliRedact : public CliTest {
 protected:
  std::vector<std::string> With(std::vector<std::string> arguments, const Server& server) {
    arguments.insert(arguments.end(),
                     {"--conform", "--from-dump", Write("table.bin", TableOf(server).Bytes()),
                      "--redact", "--redact-key", "a test's key"});
    return arguments;
  }
};

TEST_F(CliRedact, NoNumberIsLeftInAnExport) {
  const Outcome exported = RunTvq(With({"export"}, {}));
  EXPECT_EQ(exported.status, 0) << exported.diagnostics;
  for (const char* const secret : {"11223344", "55667788", "ABC1234", "01221234",
                                   "3131323233333434", "33221100554477668899aabbccddeeff"}) {
    EXPECT_THAT(exported.out, Not(HasSubstr(secret)));
  }
  EXPECT_THAT(exported.out, HasSubstr("Serial Number in smTVQ struct: " + Mask("ABC1234")))
      << "the log is masked";
}

TEST_F(CliRedact, ShowsTheSameMaskEverywhere) {
  const Outcome shown = RunTvq(With({"show"}, {}));
  EXPECT_THAT(shown.out, HasSubstr(Mask("11223344")));
  EXPECT_THAT(shown.out, HasSubstr("SMBIOSServiceTagString  " + Mask("ABC1234")));
  EXPECT_THAT(shown.out, HasSubstr("DIMM.Socket.A1"));
}

TEST_F(CliRedact, VerifyingWorksOnMaskedStates) {
  RunTvq(With({"save", Path("state")}, {}));
  EXPECT_EQ(RunTvq(With({"verify", Path("state")}, {})).status, 0);
  Server server;
  server.modules[1].serial = "99AABBCC";
  EXPECT_THAT(RunTvq(With({"verify", Path("state")}, server)).out,
              HasSubstr("  DIMM.Socket.A2 (DIMM_A2): replaced\n"));
}

TEST_F(CliRedact, BlobsAreMaskedAsTheTableTheyCameFrom) {
  const auto blobs = [this](const std::string& state) {
    const Bytes bytes = Read(state + "/state-1.bin");
    return std::string(bytes.begin(), bytes.end());
  };
  RunTvq(
      {"save", Path("plain"), "--conform", "--from-dump", Write("table.bin", TableOf({}).Bytes())});
  RunTvq(With({"save", Path("masked")}, {}));
  EXPECT_THAT(blobs("plain"), HasSubstr("<WWN>11223344</WWN>"));
  EXPECT_THAT(blobs("masked"), HasSubstr("<WWN>" + Mask("11223344") + "</WWN>"));
}

TEST_F(CliRedact, ADumpIsMaskedOnItsWayIntoSourceForm) {
  const Outcome source = RunTvq({"mktable", "--from-dump", Write("table.bin", TableOf({}).Bytes()),
                                 "--redact", "--redact-key", "a test's key"});
  EXPECT_THAT(source.out, HasSubstr("= \"" + Mask("55667788") + "\""));
  EXPECT_THAT(source.out, Not(HasSubstr("55667788")));
}

// Arguments are for everybody to see, a file is not.
TEST_F(CliRedact, TheFirstLineOfAFileIsAsGoodAsAKey) {
  const std::string table = Write("table.bin", test::Table::Of(test::System{}).Bytes());
  const auto write = [this](const std::string& text) {
    std::string file = Write("key", test::Bytes(text.begin(), text.end()));
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
    return file;
  };
  const auto show = [&](const Arguments& key) {
    return RunTvq(Arguments{"show", "--table", table, "--redact"} + key);
  };
  const std::string wanted = show({"--redact-key", "a secret"}).out;
  EXPECT_EQ(show({"--redact-key-file", write("a secret\nand more")}).out, wanted);
  EXPECT_EQ(show({"--redact-key-file", write("a secret")}).out, wanted);
  EXPECT_NE(show({"--redact-key-file", write("another")}).out, wanted);
  EXPECT_EQ(show({"--redact-key-file", write("\na secret")}).status, 2);
  EXPECT_EQ(show({"--redact-key-file", Path("missing")}).status, 2);
  EXPECT_EQ(show({"--redact-key-file", write("a secret"), "--redact-key", "x"}).status, 2);
  EXPECT_EQ(RunTvq({"show", "--redact-key-file", write("x"), "--table", table}).status, 2);
}

TEST_F(CliRedact, AKeyThatOthersMayReadIsRefused) {
  const std::string table = Write("table.bin", test::Table::Of(test::System{}).Bytes());
  const std::string file = Write("key", {'k'});
  std::filesystem::permissions(file, static_cast<std::filesystem::perms>(0644));
  const Outcome refused = RunTvq({"show", "--table", table, "--redact", "--redact-key-file", file});
  EXPECT_EQ(refused.status, 2);
  EXPECT_TRUE(refused.out.empty());
  EXPECT_NE(refused.diagnostics.find(file + " is not read: others may read it, too"),
            std::string::npos);
}

TEST_F(CliRedact, AKeyThatOthersMayNotReadIsTaken) {
  const std::string table = Write("table.bin", test::Table::Of(test::System{}).Bytes());
  const std::string file = Write("key", {'k'});
  for (const int mode : {0600, 0640, 0711}) {
    std::filesystem::permissions(file, static_cast<std::filesystem::perms>(mode));
    const Outcome taken = RunTvq({"show", "--table", table, "--redact", "--redact-key-file", file});
    EXPECT_EQ(taken.status, 0) << mode << taken.diagnostics;
  }
}

// Whoever has the key finds the texts: a machine without an identity must not have one that everybody knows.
TEST(RedactKey, OfAMachineWithoutAnIdentityIsNone) {
  const FailingCall noIdentity(Call::kRead, EIO);
  RedactOptions options;
  EXPECT_FALSE(MakeMasker(options));
  options.isWanted = true;
  EXPECT_THROW(MakeMasker(options), InputError);
}

TEST(RedactKey, OfAPageIsAnotherOneEachTimeOnAMachineWithoutAnIdentity) {
  const auto mask = [](const RedactOptions& options) {
    const FailingCall noIdentity(Call::kRead, EIO);
    return MakePageMasker(options).Mask("7A2C0003XYZ4711");
  };
  EXPECT_NE(mask({}), mask({}));
  RedactOptions options;
  options.key = "a key";
  EXPECT_EQ(mask(options), Masker("a key").Mask("7A2C0003XYZ4711"));
}

TEST_F(CliRedact, AKeyWithoutRedactIsAMistake) {
  EXPECT_EQ(RunTvq({"show", "--redact-key", "x"}).status, 2);
}

}  // namespace
}  // namespace tvq::cli
