/*
 * Rules of the SMBIOS standard (DSP0134) about what a table has to have.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/families.h"
#include "host/lint/smbios.h"
#include "host/table/layout.h"

namespace tvq::lint {
namespace {

// Types that every table has to have (SMBIOS 6.2).
constexpr std::uint8_t kRequired[] = {kBios, kSystem,      kChassis,      kProcessor, kCache,
                                      kSlot, kMemoryArray, kMemoryDevice, 19,         32};

void CheckRequired(const Subject& subject, Report& report) {
  for (const std::uint8_t type : kRequired) {
    // Types of which there has to be exactly one have rules of their own.
    if (type != kBios && type != kSystem && subject.SeenOfType(type).empty()) {
      report.OnTable(fmt::format("there is no structure of type {} ({}), which every table has to "
                                 "have",
                                 type, table::TitleOf(type)),
                     "add one");
    }
  }
}

void CheckEnd(const Subject& subject, Report& report) {
  const auto& structures = subject.Structures();
  if (std::none_of(structures.begin(), structures.end(),
                   [](const Structure& structure) { return structure.Type() == kEndOfTable; })) {
    report.OnTable("there is no structure of type 127, which ends the table",
                   "add one, with a length of 4, as the last");
  }
}

// The length that a structure has at least, from a version of the standard on. The last line that
// applies counts.
struct MinimumLength {
  std::uint8_t type;
  table::Version since;
  std::uint8_t length;
};

constexpr MinimumLength kMinimumLengths[] = {
    {kBios, {2, 0}, 0x12},
    {kBios, {2, 4}, 0x18},
    {kBios, {3, 1}, 0x1A},
    {kSystem, {2, 0}, 0x08},
    {kSystem, {2, 1}, 0x19},
    {kSystem, {2, 4}, 0x1B},
    {kBoard, {2, 0}, 0x08},
    {kChassis, {2, 0}, 0x09},
    {kChassis, {2, 1}, 0x0D},
    {kProcessor, {2, 0}, 0x1A},
    {kProcessor, {2, 1}, 0x20},
    {kProcessor, {2, 3}, 0x23},
    {kProcessor, {2, 5}, 0x28},
    {kProcessor, {2, 6}, 0x2A},
    {kProcessor, {3, 0}, 0x30},
    {kCache, {2, 0}, 0x0F},
    {kCache, {2, 1}, 0x13},
    {kCache, {3, 1}, 0x1B},
    {8, {2, 0}, 0x09},
    {kSlot, {2, 0}, 0x0C},
    {kSlot, {2, 1}, 0x0D},
    {kSlot, {2, 6}, 0x11},
    {kSlot, {3, 2}, 0x13},
    {kOemStrings, {2, 0}, 0x05},
    {12, {2, 0}, 0x05},
    {13, {2, 0}, 0x16},
    {14, {2, 0}, 0x05},
    {kMemoryArray, {2, 1}, 0x0F},
    {kMemoryArray, {2, 7}, 0x17},
    {kMemoryDevice, {2, 1}, 0x15},
    {kMemoryDevice, {2, 3}, 0x1B},
    {kMemoryDevice, {2, 6}, 0x1C},
    {kMemoryDevice, {2, 7}, 0x22},
    {kMemoryDevice, {2, 8}, 0x28},
    {kMemoryDevice, {3, 2}, 0x54},
    {kMemoryDevice, {3, 3}, 0x5C},
    {kMemoryDevice, {3, 7}, 0x64},
    {19, {2, 1}, 0x0F},
    {19, {2, 7}, 0x1F},
    {20, {2, 1}, 0x13},
    {20, {2, 7}, 0x23},
    {32, {2, 3}, 0x0B},
    {38, {2, 3}, 0x10},
    {39, {2, 3}, 0x10},
    {41, {2, 6}, 0x0B},
    {kEndOfTable, {2, 2}, 0x04},
};

std::uint8_t MinimumOf(std::uint8_t type, table::Version version) {
  std::uint8_t length = 0;
  for (const MinimumLength& minimum : kMinimumLengths) {
    if (minimum.type == type && minimum.since <= version) {
      length = minimum.length;
    }
  }
  return length;
}

void CheckShort(const Subject& subject, Report& report) {
  const table::Version version = subject.Version();
  for (const Structure& structure : subject.Structures()) {
    const std::uint8_t minimum = MinimumOf(structure.Type(), version);
    if (structure.IsSound() && structure.Length() < minimum) {
      report.At(structure,
                fmt::format("the structure has {:02X}h bytes, and version {}.{} of the standard "
                            "asks for {:02X}h",
                            structure.Length(), version.majorNumber, version.minorNumber, minimum),
                "add the missing fields, or state the version that the table follows");
    }
  }
}

void CheckStringCount(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    const bool hasCount = structure.Type() == kOemStrings || structure.Type() == 12;
    if (hasCount && structure.IsSound() && structure.Byte(4) != structure.Strings().size()) {
      report.At(structure,
                fmt::format("the structure says that it has {}, and has {}",
                            Counted(structure.Byte(4), "string"), structure.Strings().size()),
                "state the number of strings");
    }
  }
}

void CheckDeviceCount(const Subject& subject, Report& report) {
  constexpr std::size_t kDeviceCount = 0x0D;
  const auto devices = subject.SeenOfType(kMemoryDevice);
  for (const Structure* array : subject.SeenOfType(kMemoryArray)) {
    const auto counted =
        std::count_if(devices.begin(), devices.end(), [&](const Structure* device) {
          return device->HandleAt(memory::kArray) == array->Handle();
        });
    const std::size_t stated = array->Word(kDeviceCount);
    if (stated != static_cast<std::size_t>(counted)) {
      report.At(*array,
                fmt::format("the memory array says that it has {}, and {} of type 17 name it",
                            Counted(stated, "slot"), counted),
                "state the number of memory devices, empty slots included");
    }
  }
}

void CheckGroups(const Subject& subject, Report& report) {
  constexpr std::size_t kCount = 0x0E;
  constexpr std::size_t kHandles = 0x0F;
  for (const Structure* board : subject.SeenOfType(kBoard)) {
    const std::size_t size = kHandles + std::size_t{2} * board->Byte(kCount);
    if (board->Byte(kCount) != 0 && size > board->FormattedSize()) {
      report.At(*board,
                fmt::format("the board says that it contains {}, and has no room for their handles",
                            Counted(board->Byte(kCount), "structure")),
                "state the number of handles that follow");
    }
  }
}

constexpr Rule kRules[] = {
    {"required-structure", Severity::kError, kTable,
     "A structure is missing that every table has to have.",
     "The standard requires types 0, 1, 3, 4, 7, 9, 16, 17, 19 and 32 (and 127 at the end).",
     "Add the structure.", "", CheckRequired},
    {"end-of-table-missing", Severity::kError, kTable, "The table has no end.",
     "Since version 2.2 of the standard the table ends with a structure of type 127. A 64-bit "
     "entry point only says how long the table may be at most: without the end, readers go on in "
     "what lies behind.",
     "Add a structure of type 127 as the last.", "", CheckEnd},
    {"structure-short", Severity::kWarning, kTable,
     "A structure is shorter than the version of the table has it.",
     "Readers take the version of the entry point for what all structures follow, and may look for "
     "fields that are not there.",
     "Add the missing fields, or state the version that the table follows.",
     "[cache like @l1]\nlength = 0x13\n", CheckShort},
    {"string-count", Severity::kWarning, kTable,
     "A structure states another number of strings than it has.",
     "OEM strings (type 11) and configuration options (type 12) say how many strings they have. "
     "Readers that believe a number that is too small miss the last ones.",
     "State the number of strings.", "[oem-strings]\ncount = 3\nstring = \"the only one\"\n",
     CheckStringCount},
    {"array-device-count", Severity::kWarning, kTable,
     "A memory array states another number of slots than there are memory devices.",
     "Every slot of a memory array has a structure of type 17, empty ones too.",
     "State the number of memory devices that name the array.",
     "[memory-array]\nuse          = 3\nerror-handle = 0xFFFE\ndevice-count = 4\n",
     CheckDeviceCount},
    {"contained-count", Severity::kError, kTable,
     "A board says that it contains more than it has room for.",
     "Handles of contained structures follow the number of them. Readers that believe the number "
     "take texts for handles.",
     "State the number of handles that follow.",
     "[board]\nchassis         = 0xFFFF\ncontained-count = 4\ncontains        = @cpu1\n",
     CheckGroups},
};

}  // namespace

Rules StandardRules() {
  return kRules;
}

}  // namespace tvq::lint
