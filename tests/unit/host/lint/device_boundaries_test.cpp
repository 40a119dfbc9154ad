/*
 * Rules about processors and modules, on both sides of their limits.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/host/lint/boundaries.h"

namespace tvq::lint {
namespace {

// A second module, with these fields.
std::string Module(const std::string& fields) {
  return "[memory-device like @dimm1]\nlocator = \"A2\"\n" + fields + "\n";
}
std::string ModuleWithSerial(const std::string& serial) {
  return Module("serial = \"" + serial + "\"");
}
std::string ModuleWithPart(const std::string& part) {
  return Module("serial = \"7A2C0002\"\npart-number = \"" + part + "\"");
}
std::string ModuleAt(const std::string& locator) {
  return "[memory-device like @dimm1]\nserial = \"2\"\nlocator = \"" + locator + "\"\n";
}
std::string Socket(const std::string& designation) {
  return "[processor like @cpu1]\nsocket = \"" + designation + "\"\n";
}

// --- Sockets ---

TEST(LintDeviceBoundaries, TheFourthCharacterOfASocketIsADigit) {
  ExpectBoundaries(
      "socket-digit",
      {{Socket("CPU0"), {}},
       {Socket("CPU9"), {}},
       {Socket("CPU2 of two"), {}},
       {Socket("CPU/"),
        {"socket designation \"CPU/\" has no digit as its fourth character: the driver takes it "
         "for socket 255 and names it \"CPU 25\""}},
       {Socket("CPU:"), {"takes it for socket 10 and names it \"CPU 10\""}},
       {Socket("CPU"), {"\"CPU\" is shorter than four characters, so that the byte behind counts"}},
       {"[processor like @cpu1]\nsocket = 0\n",
        {"the processor has no socket designation: the driver takes it for socket 0 and names it "
         "\"CPU 0\""}}});
}

TEST(LintDeviceBoundaries, SocketsThatGiveOneNumberClash) {
  const std::string again = "the same device path again";
  ExpectBoundaries(
      "socket-clash",
      {{Socket("CPU2"), {}},
       {Socket("SKT1"),
        {"socket designation \"SKT1\" gives socket 1, as handle 0x0003 does: the driver builds no "
         "more processors: this one gets no record;"}},
       {Socket("SKT1") + Socket("CPU2"), {"this one gets no record, nor does the one behind it;"}},
       {Socket("SKT1") + Socket("CPU2") + Socket("CPU3"),
        {"this one gets no record, nor do the 2 behind it;"}},
       {Socket("CPU2") + Socket("SKT1") + Socket("SKT2") + Socket("SKU1"),
        {"this one gets no record, nor do the 2 behind it;", again, again}}});
}

TEST(LintDeviceBoundaries, ACoreCountOf255IsNone) {
  const std::string cpu = Socket("CPU2") + "core-count = ";
  ExpectBoundaries("core-count",
                   {{cpu + "254\n", {}}, {cpu + "255\n", {"the inventory says 255 cores"}}});
}

TEST(LintDeviceBoundaries, EachCacheHandleIsThatOfACache) {
  ExpectBoundaries(
      "cache-missing",
      {{Socket("CPU2") + "l1-cache = 0xFFFF\n", {}},
       {Socket("CPU2") + "l1-cache = 0x7777\n", {"handle 0x7777 of the level 1 cache"}},
       {Socket("CPU2") + "l2-cache = 0x7777\n", {"handle 0x7777 of the level 2 cache"}},
       {Socket("CPU2") + "l3-cache = @dimm1\n", {"of the level 3 cache is that of no cache"}},
       {Socket("CPU2") + "l1-cache = 1\nl2-cache = 2\nl3-cache = 3\n",
        {"level 1 cache", "level 2 cache", "level 3 cache"}},
       {Socket("CPU2") + "status = 0\nl2-cache = 0x7777\n", {}}});
}

TEST(LintDeviceBoundaries, TheFirstTenProcessorsFindTheirStacks) {
  const std::string stack = ModuleAt("CPU0_HBMIO1") + "memory-type = 0x20\n";
  const auto processors = [](int count) {
    std::string blocks;
    for (int i = 0; i < count; ++i) {
      blocks += Socket("CPU" + std::to_string(i % 10));
    }
    return blocks;
  };
  // One stands in the sound table.
  ExpectBoundaries(
      "hbm-sockets",
      {{processors(20), {}},
       {stack + processors(9), {}},
       {stack + processors(10),
        {"it is processor 10 of a table with HBM, counted from 0: the driver looks for "
         "\"CPU10_HBMIO\" without the number of the stack"}},
       {stack + processors(11), {"it is processor 10 ", "it is processor 11 "}},
       {stack + processors(10) + "status = 0\n", {}}});
  const auto lines = LinesOf("hbm-sockets", Dump(SoundWith(stack + processors(100))));
  ASSERT_EQ(lines.size(), 91u);
  EXPECT_THAT(lines.back(), testing::HasSubstr("looks for \"CPU100_HBMI\" without"));
}

// --- Serial and part numbers ---

TEST(LintDeviceBoundaries, SerialNumbersHave14Characters) {
  ExpectBoundaries("serial-long",
                   {{ModuleWithSerial("ABCDEFGHIJKLMN"), {}},
                    {ModuleWithSerial("ABCDEFGHIJKLMNO"),
                     {"serial number \"ABCDEFGHIJKLMNO\" has 15 characters: blob and document keep "
                      "the first 14, "
                      "\"ABCDEFGHIJKLMN\"; write serial numbers of up to 14 characters"}},
                    {ModuleWithSerial("To Be Filled By O.E.M."), {}}});
}

TEST(LintDeviceBoundaries, SerialNumbersDifferInTheirFirst14Characters) {
  const std::string first = "[memory-device like @dimm1]\nserial = \"AAAABBBBCCCCDD1\"\n";
  ExpectBoundaries(
      "serial-alike",
      {{first + ModuleWithSerial("AAAABBBBCCCCDD2"),
        {"serial number \"AAAABBBBCCCCDD2\" and that of handle 0x000B are alike in their first 14 "
         "characters"}},
       {first + ModuleWithSerial("AAAABBBBCCCCDE1"), {}},
       {first + ModuleWithSerial("AAAABBBBCCCCD"), {}},
       {first + ModuleWithSerial("AAAABBBBCCCCDD") + ModuleWithSerial("AAAABBBBCCCCDD3"),
        {"that of handle 0x000B", "that of handle 0x000B"}},
       {ModuleWithSerial("Unknown") + ModuleWithSerial("Unknown"), {}}});
}

TEST(LintDeviceBoundaries, APlaceholderIsNoSerialNumber) {
  const std::vector<std::string> found = {"[serial-placeholder]"};
  ExpectBoundaries("serial-placeholder",
                   {{ModuleWithSerial("  "), {"the serial number is missing or blank: "}},
                    {Module("serial = 0"), {"the serial number is missing or blank: "}},
                    {ModuleWithSerial("n/a"), {"the serial number is \"n/a\": "}},
                    {ModuleWithSerial("0"), {}},
                    {ModuleWithSerial("00"), found},
                    {ModuleWithSerial("0-0-0"), found},
                    {ModuleWithSerial("01"), {}},
                    {ModuleWithSerial("@[`{"), found},  // no letter and no digit
                    {ModuleWithSerial("A1Z9"), {}},
                    {ModuleWithSerial("SerNum"), found},
                    {ModuleWithSerial("SerNum19"), found},
                    {ModuleWithSerial("P1 SerNum0"), found},
                    {ModuleWithSerial("SerNum1A"), {}},
                    {ModuleWithSerial("SerNu1"), {}},
                    {Module("serial = 9"), {}}});  // has a rule of its own
}

TEST(LintDeviceBoundaries, APlaceholderIsNoPartNumber) {
  ExpectBoundaries("part-placeholder",
                   {{ModuleWithPart("Not Specified"), {"the part number is \"Not Specified\": "}},
                    {ModuleWithPart(" "), {"the part number is missing or blank: "}},
                    {ModuleWithPart("PartNum0"), {"[part-placeholder]"}},
                    {ModuleWithPart("TVQ-1"), {}}});
}

TEST(LintDeviceBoundaries, OfAPartNumberTheFirstWordIsKept) {
  ExpectBoundaries("part-blank",
                   {{ModuleWithPart("AB CD EF"),
                     {"part number \"AB CD EF\" has a blank inside: the document keeps \"AB\""}},
                    {ModuleWithPart("  AB CD "), {"part number \"AB CD\" has a blank inside"}},
                    {ModuleWithPart("ABCD  "), {}},
                    {ModuleWithPart("  ABCD"), {}},
                    {ModuleWithPart("Not Specified"), {}},
                    {ModuleWithPart("   "), {}}});
}

TEST(LintDeviceBoundaries, APartNumberDoesNotBeginWithABlank) {
  ExpectBoundaries("part-leading-blank",
                   {{ModuleWithPart(" ABCD"), {"part number \" ABCD\" begins with a blank"}},
                    {ModuleWithPart("ABCD "), {}},
                    {ModuleWithPart("   "), {}}});
}

TEST(LintDeviceBoundaries, AModuleIsLongEnoughForWhatIsReadOfIt) {
  const auto ofLength = [](const std::string& length) {
    return ModuleWithSerial("7A2C0002") + "length = " + length + "\n";
  };
  const std::string early =
      "the driver reads the configured speed at 20h, out of its texts; make the structure 22h "
      "bytes long at least";
  const std::string late =
      "the driver reads fields up to 54h, out of its texts; make the structure 54h bytes long, or "
      "28h";
  ExpectBoundaries("memory-short",
                   {{ofLength("0x1B"), {"the structure has 1Bh bytes, and " + early}},
                    {ofLength("0x21"), {"the structure has 21h bytes, and " + early}},
                    {ofLength("0x22"), {}},
                    {ofLength("0x33"), {}},
                    {ofLength("0x34"), {"the structure has 34h bytes, and " + late}},
                    {ofLength("0x53"), {"the structure has 53h bytes, and " + late}},
                    {ofLength("0x54"), {}}});
}

// --- Inventory numbers ---

TEST(LintDeviceBoundaries, EachProcessorTakesTheNextInventoryNumber) {
  const std::string cpu = Socket("CPU2");
  const std::string first = "[oem-strings]\nstring = \"TVQ reference platform\"\n";
  const std::string one = "string = \"PPIN 17[0123456789ABCDEF]\"\n";
  const std::string two = "string = \"PPIN 17[FEDCBA9876543210]\"\n";
  const std::string tooShort = "string = \"PPIN 17[0123]\"\n";
  const std::string other = "string = \"other\"\n";
  ExpectBoundaries(
      "ppin-unread",
      {{cpu + first + one + two, {}},
       {cpu + first + other + one + two, {}},
       {cpu + first + one, {}},
       {cpu + first + one + other + two, {"the PPIN in \"PPIN 17[FEDCBA9876543210]\" is not read"}},
       {cpu + first + one + "[oem-strings]\n" + two,
        {"only the first structure of OEM strings is searched"}},
       {"[oem-strings]\n" + one,
        {"it begins at byte 10 of the structure, and the search at byte 25"}}});
  ExpectBoundaries("ppin-length",
                   {{cpu + first + one + two, {}},
                    {cpu + first + one + tooShort,
                     {"the PPIN has 4 characters, and the driver takes 16 bytes behind \"17[\" as "
                      "they stand: \"17[0123]\""}},
                    // There is no second processor that would take it.
                    {first + one + tooShort, {}}});
}

// --- Locators ---

TEST(LintDeviceBoundaries, LocatorsThatGiveOnePathClash) {
  ExpectBoundaries(
      "locator-clash",
      {{ModuleAt("A2"), {}},
       {ModuleAt("DIMM_A1"),
        {"locator \"DIMM_A1\" gives \"A1\", as \"A1\" of handle 0x0007 does: the driver builds no "
         "more modules: this one gets no record;"}},
       {ModuleAt("B10x") + ModuleAt("B10y") + ModuleAt("B2") + ModuleAt("B10z"),
        {"locator \"B10y\" gives \"B10\", as \"B10x\" of handle 0x000B does: the driver builds no "
         "more modules: this one gets no record, nor do the 2 behind it;",
         "the same device path again"}},
       {ModuleAt("B10x") + ModuleAt("B11x"), {}}});
}

TEST(LintDeviceBoundaries, APrefixThatIsSkippedStandsInFront) {
  ExpectBoundaries("locator-prefix",
                   {{ModuleAt("DIMM_B1"), {}},
                    {ModuleAt("DIMMB1"), {}},
                    {ModuleAt("P_DIMM_B1"),
                     {"locator \"P_DIMM_B1\" has \"DIMM_\" behind its start, and loses its first "
                      "five characters all the same: \"M_B\" is left"}}});
}

TEST(LintDeviceBoundaries, ALocatorNamesItsSlotInTwoCharacters) {
  ExpectBoundaries("locator-short", {{ModuleAt("B1"), {}},
                                     {ModuleAt("B"), {"locator \"B\" leaves \"B\" to name"}},
                                     {ModuleAt("DIMM_B"), {"leaves \"B\" to name the module"}},
                                     {ModuleAt("DIMM_"), {"leaves nothing to name the module"}},
                                     {"[memory-device like @dimm1]\nlocator = 0\n",
                                      {"the module has no locator: its name is \"DIMM \""}}});
}

// --- Extensions ---

std::string Extension(const std::string& fields) {
  return "[dimm-extension]\n" + fields + "\n";
}

TEST(LintDeviceBoundaries, AnExtensionHas13Bytes) {
  const std::string fields = "device = @dimm1\nfirmware-version = \"1.0\"\nlength = ";
  ExpectBoundaries(
      "extension-layout",
      {{Extension(fields + "13"), {}},
       {Extension(fields + "12"), {"the structure has 12 bytes, and the driver reads 13"}},
       {Extension(fields + "14"), {}},
       {"[raw]\nbytes 0x00 = E2 04 34 12 00 00\n", {"the structure has 4 bytes"}},
       {"[raw]\nbytes 0x00 = E2 03 34 12 00 00\n", {}}});
}

TEST(LintDeviceBoundaries, AnExtensionNamesAFirmwareVersion) {
  ExpectBoundaries("extension-firmware",
                   {{Extension("device = @dimm1\nfirmware-version = \"1.0\""), {}},
                    {Extension("device = @dimm1\nfirmware-version = 0"),
                     {"string 0 for the firmware version is not there"}},
                    {Extension("device = @dimm1\nfirmware-version = 2\nstring = \"one\""),
                     {"string 2 for the firmware version is not there"}},
                    {Extension("device = @dimm1\nfirmware-version = 0\nlength = 12"), {}}});
}

TEST(LintDeviceBoundaries, AnExtensionNamesAModule) {
  const std::string version = "\nfirmware-version = \"1.0\"";
  ExpectBoundaries("extension-device",
                   {{Extension("device = @dimm1" + version), {}},
                    {Extension("device = 0x7777" + version),
                     {"handle 0x7777 is that of no structure: no record takes anything"}},
                    {Extension("device = @cpu1" + version), {"is of type 4, no memory device"}},
                    {Extension("device = 0x7777\nfirmware-version = 0"), {}}});
}

TEST(LintDeviceBoundaries, AModuleHasOneExtension) {
  const std::string extension = Extension("device = @dimm1\nfirmware-version = \"1.0\"");
  ExpectBoundaries(
      "extension-repeated",
      {{extension, {}},
       {extension + Extension("device = @dimm1\nfirmware-version = 0"), {}},
       {extension + extension + extension,
        {"the memory device with handle 0x0007 has an extension already, handle 0x000B",
         "has an extension already, handle 0x000B"}}});
}

}  // namespace
}  // namespace tvq::lint
