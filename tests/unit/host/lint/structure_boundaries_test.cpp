/*
 * Rules about structures of any kind, on both sides of their limits.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "tests/unit/host/lint/boundaries.h"

namespace tvq::lint {
namespace {

constexpr char kFirst[] = "version = 3.3\n[bios]\n";

// --- Bytes ---

TEST(LintStructureBoundaries, AStructureIsAsLongAsItsHeader) {
  const auto ofLength = [](int length) {
    return fmt::format("[raw]\nbytes 0x00 = 80 {:02X} 34 12 00 00\n", length);
  };
  ExpectBoundaries(
      "structure-length",
      {{ofLength(4), {}},
       {ofLength(3), {"the structure says that it has 3 bytes, and a header alone has 4: every"}},
       {ofLength(1), {"says that it has 1 byte, and"}},
       {ofLength(0), {"says that it has 0 bytes"}}});
}

TEST(LintStructureBoundaries, AFirstStringOfControlCharactersIsDoubtful) {
  const auto first = [](const std::string& text) {
    return "[oem-strings]\nstring = \"" + text + "\"\n";
  };
  ExpectBoundaries(
      "structure-length-small",
      {{first(" text"), {}},
       {first("\\x1Ftext"),
        {"the structure says that it has 05h bytes, and behind them there is a string of control"}},
       {first("\\xFFtext"), {}},
       {first("text\\x01"), {}},
       {"[oem-strings]\nstring = \"\"\nstring = \"text\"\n", {"there is an empty string"}},
       {"[oem-strings]\n", {}}});
}

TEST(LintStructureBoundaries, StructuresBehindTheEndAreNotSeenByAll) {
  const std::string one = "[oem-strings]\nstring = \"behind\"\n";
  ExpectBoundaries("behind-end-of-table",
                   {{one + "[end 0x0A00]\n", {}},
                    {"[end 0x0A00]\n" + one + one,
                     {"behind the end of the table, handle 0x0A00", "handle 0x0A00"}},
                    {"[end 0x0A00]\n[end 0x0A01]\n", {"handle 0x0A00"}}});
}

// --- Handles ---

TEST(LintStructureBoundaries, AHandleIsThatOfOneStructure) {
  ExpectBoundaries(
      "handle-repeated",
      {{"[oem-strings 0x0B00]\n[oem-strings 0x0B01]\n", {}},
       {"version = 3.3\n[oem-strings 0x0B00]\n[system 0x0B00]\n[bios 0x0B00]\n",
        {"type 1, handle 0x0B00: the structure at 0x20 has this handle already (type 11): look-ups",
         "type 0, handle 0x0B00: the structure at 0x20 has this handle already (type 11)"}},
       {"[oem-strings 0x0B00]\n[end 0x0B00]\n",
        {"type 127, handle 0x0B00: the structure at 0x287 has this handle already (type 11)"}}});
}

TEST(LintStructureBoundaries, HandlesAboveFEFFAreReserved) {
  const auto with = [](const std::string& handle) {
    return "[oem-strings " + handle + "]\n[end 0xFE00]\n";
  };
  ExpectBoundaries("handle-range", {{with("0xFEFF"), {}},
                                    {with("0xFF00"), {"handles above FEFFh are reserved"}},
                                    {with("0xFFFE"), {"handles above FEFFh are reserved"}},
                                    {with("0xFFFF"), {}}});  // has a rule of its own
}

TEST(LintStructureBoundaries, HandleFFFFEndsTheTableUnlessItIsTheFirst) {
  const std::string system = "[system 0xFFFF]\n";
  ExpectBoundaries(
      "handle-reserved",
      {{"version = 3.3\n[bios 0xFFFF]\n[system 1]\n",
        {"stands for no structure: nothing can refer to this one"}},
       {"version = 3.3\n[bios 0]\n" + system,
        {"the table ends here for the driver, which does not come to this one and 0 behind it"}},
       {"version = 3.3\n[bios 0]\n" + system + system + system,
        {"which does not come to this one and 2 behind it"}}});
}

// The fields that refer to other structures, by the standard: their types and names, what they refer to, and whether FFFEh
// says that nothing was recorded.
constexpr struct {
  const char* block;
  const char* field;
  int target;
  int otherTarget;
  bool hasFFFE;
} kReferences[] = {
    {"board", "chassis", 3, 3, false},
    {"processor", "l1-cache", 7, 7, false},
    {"processor", "l2-cache", 7, 7, false},
    {"processor", "l3-cache", 7, 7, false},
    {"memory-array", "error-handle", 18, 33, true},
    {"memory-device", "array", 16, 16, false},
    {"memory-device", "error-handle", 18, 33, true},
    {"memory-array-address", "array", 16, 16, false},
    {"memory-device-address", "device", 17, 17, false},
    {"memory-device-address", "array-address", 19, 19, false},
    {"power-supply", "voltage-probe", 26, 26, false},
    {"power-supply", "cooling-device", 27, 27, false},
    {"power-supply", "current-probe", 29, 29, false},
};

// A structure all of whose references are empty but for one, and one of a type at handle 0x0100.
std::string Referring(const std::string& block, const std::string& field, const std::string& handle,
                      int type) {
  std::string source = fmt::format(
      "version = 3.3\n[raw]\nbytes 0x00 = {:02X} 04 00 01 00 00\n[{} 0x0200]\n", type, block);
  for (const auto& reference : kReferences) {
    if (reference.block == block) {
      source +=
          fmt::format("{} = {}\n", reference.field, reference.field == field ? handle : "0xFFFF");
    }
  }
  return source;
}

TEST(LintStructureBoundaries, AReferenceLeadsToAStructure) {
  for (const auto& [block, field, target, otherTarget, hasFFFE] : kReferences) {
    const std::string advice =
        fmt::format("name a structure of type {}, or FFFFh for none", target);
    const std::vector<std::string> none;
    ExpectBoundaries(
        "reference-missing",
        {{Referring(block, field, "0xFFFF", 99), {}},
         {Referring(block, field, "0xFFFE", 99),
          hasFFFE ? none : std::vector<std::string>{"handle 0xFFFE"}},
         {Referring(block, field, "0xFFFD", 99),
          {fmt::format("{} is handle 0xFFFD, which no structure has; {}", field, advice)}},
         {Referring(block, field, "0x0100", 99), {}}});
    ExpectBoundaries(
        "reference-type",
        {{Referring(block, field, "0x0100", target), {}},
         {Referring(block, field, "0x0100", otherTarget), {}},
         {Referring(block, field, "0x0100", 99),
          {fmt::format("{} is handle 0x0100, and that is of type 99; {}", field, advice)}},
         {Referring(block, field, "0x7777", target), {}}});
  }
}

// --- What the standard asks for ---

TEST(LintStructureBoundaries, EveryTableHasTheTypesThatTheStandardRequires) {
  const std::vector<std::pair<std::string, std::string>> required = {
      {"chassis", "type 3 (chassis)"},
      {"processor", "type 4 (processor)"},
      {"cache", "type 7 (cache)"},
      {"memory-array", "type 16 (memory-array)"},
      {"memory-device", "type 17 (memory-device)"},
      {"memory-array-address", "type 19 (memory-array-address)"},
      {"boot-status", "type 32 (boot-status)"}};
  const auto without = [&required](const std::string& missing) {
    std::string source = "version = 3.3\n[raw]\nbytes 0x00 = 80 04 34 12 00 00\n";
    for (const auto& [block, title] : required) {
      source += block == missing ? "" : "[" + block + "]\n";
    }
    return source;
  };
  ExpectBoundaries("required-structure", {{without(""), {}}});
  for (const auto& [block, title] : required) {
    ExpectBoundaries("required-structure",
                     {{without(block), {"there is no structure of " + title + ", which every"}}});
  }
}

// The lengths that the first version of the standard gives structures.
TEST(LintStructureBoundaries, StructuresAreAsLongAsTheFirstVersionHasThem) {
  constexpr struct {
    int type;
    int length;
  } kLengths[] = {{0, 0x12},  {1, 0x08},  {2, 0x08},  {3, 0x09},  {4, 0x1A},
                  {7, 0x0F},  {8, 0x09},  {9, 0x0C},  {11, 0x05}, {12, 0x05},
                  {13, 0x16}, {14, 0x05}, {16, 0x0F}, {17, 0x15}, {19, 0x0F},
                  {20, 0x13}, {32, 0x0B}, {38, 0x10}, {39, 0x10}, {41, 0x0B}};
  const auto ofLength = [](int type, int length) {
    return fmt::format("version = 3.7\n[type {}]\nlength = {}\n", type, length);
  };
  for (const auto& [type, length] : kLengths) {
    const std::string said = fmt::format(
        "the structure has {:02X}h bytes, and the first version of the standard that "
        "has this type asks for {:02X}h",
        length - 1, length);
    ExpectBoundaries("structure-short",
                     {{ofLength(type, length), {}}, {ofLength(type, length - 1), {said}}});
  }
}

// What later versions added, where a structure says that it is there.
TEST(LintStructureBoundaries, ShorterStructuresLeaveSomethingOut) {
  const struct {
    std::string wanted;  // a block that has what the field says
    std::string other;   // one that has not; empty where every structure of the type has it
    int minor;           // of version 2, or of version 3 from 10 on
    int length;
    std::string missed;
  } kFields[] = {
      {"[bios]\nrom-size = 0xFF", "[bios]\nrom-size = 0xFE", 11, 0x1A, "the size of the ROM"},
      {"[system]", "", 1, 0x19, "the UUID"},
      {"[processor]\nstatus = 0x41", "[processor]\nstatus = 0", 5, 0x26,
       "the numbers of cores and threads"},
      {"[processor]\ncore-count = 255", "[processor]\ncore-count = 254", 10, 0x30,
       "the numbers of cores and threads"},
      {"[processor]\nthread-count = 255", "[processor]\nthread-count = 254", 10, 0x30,
       "the numbers of cores and threads"},
      {"[cache]\ninstalled-size = 0xFFFF", "[cache]\ninstalled-size = 0xFFFE", 11, 0x1B,
       "the size"},
      {"[slot]\nusage = 4", "[slot]\nusage = 3", 6, 0x11, "the PCI address"},
      {"[memory-array]\nmaximum-capacity = 0x80000000",
       "[memory-array]\nmaximum-capacity = 0x7FFFFFFF", 7, 0x17, "the capacity"},
      {"[memory-device]\nsize = 1", "[memory-device]\nsize = 0", 3, 0x1B,
       "speed, maker, serial and part number"},
      {"[memory-device]\nsize = 1", "[memory-device]\nsize = 0", 7, 0x22, "the configured speed"},
      {"[memory-device]\nsize = 0x7FFF", "[memory-device]\nsize = 0", 7, 0x20,
       "the size, the configured speed"},
      {"[memory-device]\nsize = 1\nspeed = 0xFFFF", "[memory-device]\nsize = 1\nspeed = 0xFFFE", 13,
       0x5C, "the speed"},
      {"[memory-array-address]\nstart = 0xFFFFFFFF", "[memory-array-address]\nstart = 0xFFFFFFFE",
       7, 0x1F, "the addresses"},
      {"[memory-device-address]\nstart = 0xFFFFFFFF", "[memory-device-address]\nstart = 0xFFFFFFFE",
       7, 0x23, "the addresses"},
  };
  const auto table = [](const std::string& block, int minor, int length) {
    return fmt::format("version = {}.{}\n{}\nlength = {}\n", minor < 10 ? 2 : 3,
                       minor < 10 ? minor : minor - 10, block, length);
  };
  for (const auto& [wanted, other, minor, length, missed] : kFields) {
    std::vector<Boundary> boundaries = {
        {table(wanted, minor, length - 1), {"readers miss " + missed + "; add"}},
        {table(wanted, minor == 10 ? 8 : minor - 1, length - 1), {}}};
    if (length != 0x20) {  // the fields behind are missing, too
      boundaries.push_back({table(wanted, minor, length), {}});
    }
    if (!other.empty()) {
      boundaries.push_back({table(other, minor, length - 1), {}});
    }
    ExpectBoundaries("structure-older", boundaries);
  }
}

TEST(LintStructureBoundaries, StringsAreAsManyAsTheStructureSays) {
  for (const std::string block : {"oem-strings", "configuration-options"}) {
    const auto stating = [&block](int count) {
      return fmt::format("[{}]\ncount = {}\nstring = \"one\"\nstring = \"two\"\n", block, count);
    };
    ExpectBoundaries("string-count",
                     {{stating(2), {}},
                      {stating(1), {"the structure says that it has 1 string, and has 2"}},
                      {stating(3), {"the structure says that it has 3 strings, and has 2"}}});
  }
  ExpectBoundaries("string-count", {{"[languages]\ncount = 3\nstring = \"one\"\n", {}}});
}

TEST(LintStructureBoundaries, AnArrayHasAsManyDevicesAsItSays) {
  const auto stating = [](int count) {
    return fmt::format(
        "version = 3.3\n[memory-array @a]\ndevice-count = {}\n[memory-array @b]\ndevice-count = 1\n"
        "[memory-device]\narray = @a\n[memory-device]\narray = @b\n[memory-device]\narray = @a\n",
        count);
  };
  ExpectBoundaries("array-device-count",
                   {{stating(2), {}},
                    {stating(1), {"the memory array says that it has 1 slot, and 2 of type 17"}},
                    {stating(3), {"the memory array says that it has 3 slots, and 2 of type 17"}}});
}

TEST(LintStructureBoundaries, ABoardHasRoomForWhatItContains) {
  const auto containing = [](int stated, const std::string& handles) {
    return fmt::format("[board]\nchassis = 0xFFFF\ncontained-count = {}\n{}", stated, handles);
  };
  ExpectBoundaries(
      "contained-count",
      {{containing(0, ""), {}},
       {containing(1, "contains = @cpu1\n"), {}},
       {containing(2, "contains = @cpu1\ncontains = @dimm1\n"), {}},
       {containing(3, "contains = @cpu1\ncontains = @dimm1\n"),
        {"the board says that it contains 3 structures, and has no room for their handles"}},
       {containing(1, ""), {"the board says that it contains 1 structure, and"}},
       {"[board]\nlength = 0x0E\n", {}}});
}

// --- Strings ---

TEST(LintStructureBoundaries, AStringNumberIsThatOfAString) {
  ExpectBoundaries(
      "string-number",
      {{"[slot]\ndesignation = 1\nstring = \"one\"\n", {}},
       {"[slot]\ndesignation = 2\nstring = \"one\"\n",
        {"designation is string 2, and the structure has 1 string;"}},
       {"[slot]\ndesignation = 0\n", {}},
       {"[system]\nproduct = 3\nserial = 4\nstring = \"one\"\nstring = \"two\"\n",
        {"product is string 3, and the structure has 2 strings;", "serial is string 4"}}});
}

TEST(LintStructureBoundaries, AMissingStringMixesTheRecordWithTheStructureBehind) {
  const auto mixing = [](const std::string& what) {
    return "the record mixes two structures, as what is read next (" + what +
           ") comes from the one behind";
  };
  const std::string cpu = "[processor like @cpu1]\nsocket = \"CPU2\"\n";
  const std::string module = "[memory-device like @dimm1]\nlocator = \"A2\"\n";
  ExpectBoundaries(
      "string-missing",
      {{std::string(kFirst) + "version = 9\n", {mixing("release-date")}},
       {std::string(kFirst) + "release-date = 9\n",
        {"and the structure has 0 strings: the text is missing"}},
       {"version = 3.3\n[system]\nproduct = 9\n", {"the system gets no record"}},
       {"version = 3.3\n[system]\nproduct = \"x\"\nmanufacturer = 9\n", {mixing("uuid, serial")}},
       {"version = 3.3\n[system]\nproduct = \"x\"\nserial = 9\n", {"the text is missing"}},
       {"[board]\nlocation = 9\n", {mixing("chassis")}},
       {"[chassis]\nmanufacturer = 9\n", {mixing("serial, asset-tag, the states and the height")}},
       {"[chassis]\nserial = 9\nasset-tag = 8\n", {mixing("asset-tag, the states and the height")}},
       {"[chassis]\nasset-tag = 9\n", {mixing("the states and the height")}},
       {cpu + "version = 9\n",
        {mixing("core-count, socket, handle, id, speeds, status, manufacturer, the caches")}},
       {"[processor like @cpu1]\nsocket = 9\n",
        {mixing("handle, id, speeds, status, manufacturer, the caches")}},
       {cpu + "manufacturer = 9\n", {mixing("the caches")}},
       {cpu + "manufacturer = 9\nstatus = 0\n", {}},
       {"[slot]\ndesignation = 9\n", {mixing("all its numbers")}},
       {module + "serial = 9\n",
        {mixing("locator, manufacturer, bank, asset-tag, size, speed, memory-type, part-number, "
                "handle, widths, form-factor and what follows")}},
       {module + "manufacturer = 9\n",
        {mixing("bank, asset-tag, size, speed, memory-type, part-number, handle, widths, "
                "form-factor and what follows")}},
       {module + "part-number = 9\n", {mixing("handle, widths, form-factor and what follows")}},
       {module + "part-number = 9\nsize = 0\n", {}},
       {"[power-supply]\nname = 9\n", {}}});
}

// --- The system ---

TEST(LintStructureBoundaries, ATableHasOneSystemAndOneBios) {
  ExpectBoundaries(
      "system-count",
      {{std::string(kFirst) + "[system]\n", {}},
       {kFirst, {"there is no structure of type 1: the system gets no record"}},
       {std::string(kFirst) + "[system 0x0100]\n[system]\n[system]\n",
        {"there is another structure of type 1, handle 0x0100: the system gets no record",
         "there is another structure of type 1, handle 0x0100"}}});
  ExpectBoundaries(
      "bios-count",
      {{kFirst, {}},
       {"version = 3.3\n[system]\n", {"there is no structure of type 0: the system's"}},
       {std::string(kFirst) + "[bios]\n", {"there is another structure of type 0"}}});
}

TEST(LintStructureBoundaries, TheSystemHasAProductName) {
  const std::string unnamed = "[system]\nserial = \"1\"\n";
  ExpectBoundaries("system-product", {{std::string(kFirst) + "[system]\nproduct = \"x\"\n", {}},
                                      {kFirst + unnamed, {"the system has no product name"}},
                                      {kFirst + unnamed + unnamed, {}},  // has a rule of its own
                                      {kFirst, {}}});
}

TEST(LintStructureBoundaries, TheSystemsNameComesFromNoOemString) {
  const auto oem = [](const std::string& first, const std::string& second) {
    return "[oem-strings]\nstring = \"" + first + "\"\nstring = \"" + second + "\"\n";
  };
  ExpectBoundaries("oem-system-name",
                   {{oem("8", "9"), {}},
                    {oem("91", "x"), {"string 1 begins with '9': \"91\". The attribute"}},
                    {oem("x", "x") + oem("9", "92"), {"string 2 begins with '9': \"92\""}},
                    {oem("x", "x") + oem("9", "8"), {}},
                    {oem("91", "x") + oem("x", "92"), {"string 1 begins with '9'"}},
                    {oem("x", "x") + oem("x", "x") + oem("9", "9"), {}}});
}

// --- PPINs ---

TEST(LintStructureBoundaries, APpinHas16CharactersBehindByte25) {
  const auto oem = [](const std::string& first, const std::string& ppin) {
    return "[oem-strings]\nstring = \"" + first + "\"\nstring = \"" + ppin + "\"\n";
  };
  const std::string whole = "17[0123456789ABCDEF]";
  const std::string reached(21, 'x');  // its NUL stands at byte 26
  ExpectBoundaries("ppin-length",
                   {{oem(reached, whole), {}},
                    {oem(reached, "17[0123456789ABCDE]"),
                     {"the PPIN has 15 characters, and the driver takes 16 bytes behind \"17[\" as "
                      "they stand: \"17[0123456789ABCDE]\""}},
                    {oem(reached, "17[0123456789ABCDEF0]"),
                     {"the PPIN has 17 characters, and the driver takes 16 bytes behind \"17[\" as "
                      "they stand: \"17[0123456789ABCDEF\";"}},
                    {oem(reached, "17[0123456789ABCDEF"), {}},
                    {oem("x", "no PPIN at all"), {}}});
  ExpectBoundaries(
      "ppin-unread",
      {{oem(reached, whole), {}},
       {oem(std::string(20, 'x'), whole), {"a string ends at byte 25, where the search begins"}},
       {oem(std::string(22, 'x'), whole), {}},
       // The tag of the second string begins at byte 24, 25 and 26.
       {oem(std::string(18, 'x'), whole),
        {"it begins at byte 24 of the structure, and the search at byte 25"}},
       {oem(std::string(19, 'x'), whole), {}},
       {oem("x", "y"), {}}});
}

// --- The FQDD map ---

std::string Map(const std::string& fields) {
  return "[fqdd-map 0x0E00]\n" + fields + "\n";
}

TEST(LintStructureBoundaries, ATableHasAMap) {
  ExpectBoundaries("fqdd-map-missing",
                   {{"", {}}, {kFirst, {"there is no structure of type 225: the driver's start"}}});
}

TEST(LintStructureBoundaries, AMapHasAFormatThatIs1) {
  const auto raw = [](const std::string& bytes) {
    return "version = 3.3\n[raw]\nbytes 0x00 = " + bytes + " 00 00\n";
  };
  ExpectBoundaries("fqdd-map-length", {{raw("E1 04 34 12"), {"is a header without a format byte"}},
                                       {raw("E1 05 34 12 01"), {}},
                                       {raw("E1 03 34"), {}}});
  ExpectBoundaries("fqdd-map-format", {{raw("E1 04 34 12"), {}},
                                       {raw("E1 05 34 12 01"), {}},
                                       {raw("E1 05 34 12 00"), {"the format byte is 0, not 1"}},
                                       {raw("E1 05 34 12 02"), {"the format byte is 2, not 1"}}});
  ExpectBoundaries(
      "fqdd-map-leftover",
      {{raw("E1 05 34 12 01"), {}},
       {raw("E1 06 34 12 01 00"), {"1 byte behind the last whole group is left out"}},
       {raw("E1 08 34 12 01 00 00 00"), {"3 bytes behind the last whole group are left out"}},
       {raw("E1 09 34 12 01 00 00 00 00"), {}},
       {raw("E1 06 34 12 02 00"), {}}});
}

TEST(LintStructureBoundaries, AGroupLeadsToADeviceAndAString) {
  ExpectBoundaries("fqdd-structure",
                   {{Map("format = 1\nfqdd = \"one\" @dimm1\nfqdd = \"two\" 0x7777"),
                     {"group 1 is for handle 0x7777, which no structure has: no device gets the "
                      "FQDD \"two\""}}});
  ExpectBoundaries(
      "fqdd-string",
      {{Map("format = 1\nfqdd = \"one\" @dimm1\nfqdd = 0 @cpu1"),
        {"group 1, for handle 0x0003, names no string: the device is named after its socket"}},
       {Map("format = 1\nfqdd = \"one\" @dimm1\nfqdd = 2 @cpu1"),
        {"group 1, for handle 0x0003, names string 2 of 1: from then on the driver reads"}},
       {Map("format = 1\nfqdd = \"one\" @dimm1\nfqdd = 1 @cpu1"), {}}});
  // Three bytes behind the last group are none.
  ExpectBoundaries("fqdd-structure",
                   {{Map("format = 1\nfqdd = \"one\" @dimm1\nbytes 0x09 = 01 77 77"), {}}});
  ExpectBoundaries("fqdd-repeated",
                   {{Map("format = 1\nfqdd = \"one\" 0x7776\nfqdd = \"two\" 0x7777"), {}},
                    {Map("format = 1\nfqdd = \"one\" 0x7777\nfqdd = \"two\" 0x7777"),
                     {"group 1 is for handle 0x7777, as group 0 is: the first one counts"}}});
}

TEST(LintStructureBoundaries, AnFqddHas15Characters) {
  ExpectBoundaries("fqdd-long",
                   {{Map("format = 1\nfqdd = \"ABCDEFGHIJKLMNO\" @dimm1"), {}},
                    {Map("format = 1\nfqdd = \"ABCDEFGHIJKLMNOP\" @dimm1"),
                     {"the FQDD \"ABCDEFGHIJKLMNOP\" has 16 characters: the entry of handle 0x0007 "
                      "hands out \"ABCDEFGHIJKLMNO\"; use up to 15 characters"}}});
  const std::string module =
      "[memory-device @d2 like @dimm1]\nlocator = \"A2\"\n"
      "[memory-device @d3 like @dimm1]\nlocator = \"A3\"\n";
  ExpectBoundaries(
      "fqdd-clash",
      {{module + Map("format = 1\nfqdd = \"ABCDEFGHIJKLMN1\" @d2\nfqdd = \"ABCDEFGHIJKLMN2\" @d3"),
        {}},
       {module +
            Map("format = 1\nfqdd = \"ABCDEFGHIJKLMNO1\" @d2\nfqdd = \"ABCDEFGHIJKLMNO2\" @d3"),
        {"its FQDD is \"ABCDEFGHIJKLMNO\", as that of type 17, handle 0x000B: an agent cannot "
         "tell the two apart; give each device an FQDD that differs in the first 15 "
         "characters"}}});
}

// --- The entry point ---

TEST(LintEntryPointBoundaries, StatesItsTableAsItIs) {
  const Bytes sound = Dump(SoundWith(""));
  const auto changed = [&sound](const std::vector<std::pair<std::size_t, int>>& bytes) {
    Bytes dump = sound;
    for (const auto& [at, difference] : bytes) {
      dump[at] = static_cast<std::uint8_t>(dump[at] + difference);
    }
    return dump;
  };
  using testing::ElementsAre;
  using testing::HasSubstr;
  using testing::IsEmpty;
  const std::string length = "entry-point-length";
  EXPECT_THAT(LinesOf(length, changed({})), IsEmpty());
  EXPECT_THAT(LinesOf(length, changed({{0x05, -1}})),
              ElementsAre(HasSubstr("entry:0x0005: warning: the entry point says that it has 1Eh "
                                    "bytes, not 1Fh")));
  EXPECT_THAT(LinesOf(length, changed({{0x05, +1}})), ElementsAre(HasSubstr("20h bytes, not 1Fh")));
  const std::string tableLength = "entry-point-table-length";
  EXPECT_THAT(
      LinesOf(tableLength, changed({{0x16, +1}})),
      ElementsAre(HasSubstr("entry:0x0016: error: the entry point says that the table has")));
  EXPECT_THAT(LinesOf(tableLength, changed({{0x16, -1}})), IsEmpty());
  const std::string count = "entry-point-count";
  EXPECT_THAT(LinesOf(count, changed({{0x1C, -1}})),
              ElementsAre(HasSubstr("entry:0x001C: warning: the entry point says that there are 11 "
                                    "structures, and there are 12: slot queries do not come")));
  EXPECT_THAT(LinesOf(count, changed({{0x1C, +1}})),
              ElementsAre(HasSubstr("13 structures, and there are 12: slot queries that find")));
  const std::string largest = "entry-point-largest";
  EXPECT_THAT(LinesOf(largest, changed({})), IsEmpty());
  EXPECT_THAT(LinesOf(largest, changed({{0x08, -1}})),
              ElementsAre(HasSubstr("entry:0x0008: warning: the entry point says that no structure "
                                    "has more than")));
  EXPECT_THAT(LinesOf(largest, changed({{0x09, +1}})), IsEmpty());
  const std::string revision = "entry-point-revision";
  EXPECT_THAT(LinesOf(revision, changed({})), IsEmpty());
  EXPECT_THAT(LinesOf(revision, changed({{0x1E, +1}})),
              ElementsAre(HasSubstr("entry:0x001E: note: the BCD revision is 34h, and the version "
                                    "3.3; write 33h, or 0")));
  EXPECT_THAT(LinesOf(revision, changed({{0x1E, -0x33}})), IsEmpty());
  const std::string anchor = "entry-point-anchor";
  EXPECT_THAT(LinesOf(anchor, changed({{0x14, +1}})),
              ElementsAre(HasSubstr("entry:0x0010: error: the intermediate anchor \"_DMI_\" is")));
  const std::string checksum = "entry-point-checksum";
  EXPECT_THAT(LinesOf(checksum, changed({})), IsEmpty());
  EXPECT_THAT(LinesOf(checksum, changed({{0x04, +1}})),
              ElementsAre(HasSubstr("entry:0x0004: error: the bytes of the entry point do not")));
  EXPECT_THAT(LinesOf(checksum, changed({{0x15, +1}})),
              ElementsAre(HasSubstr("entry:0x0015: error: the bytes of the intermediate entry")));
}

TEST(LintEntryPointBoundaries, ATableHas65535Bytes) {
  const std::string start = "version = 3.3\nentry-point = none\n[oem-strings]\nstring = \"";
  const auto ofSize = [&start](std::size_t size) {
    // Header, count, NUL and the second NUL.
    return Dump(start + std::string(size - 7, 'x') + "\"\n");
  };
  EXPECT_THAT(LinesOf("table-too-long", ofSize(0xFFFF)), testing::IsEmpty());
  EXPECT_THAT(
      LinesOf("table-too-long", ofSize(0x10000)),
      testing::ElementsAre(testing::HasSubstr(
          "the table has 65536 bytes, and a 32-bit entry point can state no more than 65535")));
}

}  // namespace
}  // namespace tvq::lint
