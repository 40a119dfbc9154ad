/*
 * Rules of the SMBIOS standard (DSP0134) about what a table has to have.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/families.h"
#include "host/table/layout.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Types that every table has to have (SMBIOS 6.2).
constexpr std::uint8_t kRequired[] = {kBios,
                                      kSystem,
                                      kChassis,
                                      kProcessor,
                                      kCache,
                                      kSlot,
                                      kMemoryArray,
                                      kMemoryDevice,
                                      SMBIOS_TYPE_MEMORY_ARRAY_MAPPED_ADDRESS,
                                      SMBIOS_TYPE_SYSTEM_BOOT_INFORMATION};

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
  if (std::none_of(structures.begin(), structures.end(), [](const Structure& structure) {
        return structure.Type() == smbios::kEndOfTable;
      })) {
    report.OnTable("there is no structure of type 127, which ends the table",
                   "add one, with a length of 4, as the last");
  }
}

// The field that a structure goes up to at least, from a version of the standard on. The last line
// that applies counts.
struct MinimumLength {
  table::Version since;
  std::uint8_t type;
  std::size_t length;

  template <typename Value>
  constexpr MinimumLength(table::Version version, smbios::Field<Value> lastField)
      : since(version), type(lastField.Type), length(lastField.End()) {}
};

constexpr MinimumLength kMinimumLengths[] = {
    {{2, 0}, SMBIOS_FIELD(0, BiosCharacteristics)},
    {{2, 4}, SMBIOS_FIELD(0, EmbeddedControllerFirmwareMinorRelease)},
    {{3, 1}, SMBIOS_FIELD(0, ExtendedBiosSize)},
    {{2, 0}, SMBIOS_FIELD(1, SerialNumber)},
    {{2, 1}, SMBIOS_FIELD(1, WakeUpType)},
    {{2, 4}, SMBIOS_FIELD(1, Family)},
    {{2, 0}, SMBIOS_FIELD(2, SerialNumber)},
    {{2, 0}, SMBIOS_FIELD(3, AssetTag)},
    {{2, 1}, SMBIOS_FIELD(3, SecurityStatus)},
    {{2, 0}, SMBIOS_FIELD(4, ProcessorUpgrade)},
    {{2, 1}, SMBIOS_FIELD(4, L3CacheHandle)},
    {{2, 3}, SMBIOS_FIELD(4, PartNumber)},
    {{2, 5}, SMBIOS_FIELD(4, ProcessorCharacteristics)},
    {{2, 6}, SMBIOS_FIELD(4, ProcessorFamily2)},
    {{3, 0}, SMBIOS_FIELD(4, ThreadCount2)},
    {{2, 0}, SMBIOS_FIELD(7, CurrentSRAMType)},
    {{2, 1}, SMBIOS_FIELD(7, Associativity)},
    {{3, 1}, SMBIOS_FIELD(7, InstalledSize2)},
    {{2, 0}, SMBIOS_FIELD(8, PortType)},
    {{2, 0}, SMBIOS_FIELD(9, SlotCharacteristics1)},
    {{2, 1}, SMBIOS_FIELD(9, SlotCharacteristics2)},
    {{2, 6}, SMBIOS_FIELD(9, DevFuncNum)},
    {{3, 2}, SMBIOS_FIELD(9, PeerGroupingCount)},
    {{2, 0}, SMBIOS_FIELD(11, StringCount)},
    {{2, 0}, SMBIOS_FIELD(12, StringCount)},
    {{2, 0}, SMBIOS_FIELD(13, CurrentLanguages)},
    {{2, 0}, SMBIOS_FIELD(14, GroupName)},
    {{2, 1}, SMBIOS_FIELD(16, NumberOfMemoryDevices)},
    {{2, 7}, SMBIOS_FIELD(16, ExtendedMaximumCapacity)},
    {{2, 1}, SMBIOS_FIELD(17, TypeDetail)},
    {{2, 3}, SMBIOS_FIELD(17, PartNumber)},
    {{2, 6}, SMBIOS_FIELD(17, Attributes)},
    {{2, 7}, SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed)},
    {{2, 8}, SMBIOS_FIELD(17, ConfiguredVoltage)},
    {{3, 2}, SMBIOS_FIELD(17, LogicalSize)},
    {{3, 3}, SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed)},
    {{3, 7}, smbios::kRcdRevisionNumber},
    {{2, 1}, SMBIOS_FIELD(19, PartitionWidth)},
    {{2, 7}, SMBIOS_FIELD(19, ExtendedEndingAddress)},
    {{2, 1}, SMBIOS_FIELD(20, InterleavedDataDepth)},
    {{2, 7}, SMBIOS_FIELD(20, ExtendedEndingAddress)},
    {{2, 3}, SMBIOS_FIELD(32, BootStatus)},
    {{2, 3}, SMBIOS_FIELD(38, BaseAddress)},
    {{2, 3}, SMBIOS_FIELD(39, PowerSupplyCharacteristics)},
    {{2, 6}, SMBIOS_FIELD(41, DevFuncNum)},
    {{2, 2}, SMBIOS_FIELD(127, Hdr)},
};

std::size_t MinimumOf(std::uint8_t type, table::Version version) {
  std::size_t length = 0;
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
    const std::size_t minimum = MinimumOf(structure.Type(), version);
    if (structure.IsWellFormed() && structure.Length() < minimum) {
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
    const bool hasCount = structure.Type() == kOemStrings ||
                          structure.Type() == SMBIOS_TYPE_SYSTEM_CONFIGURATION_OPTIONS;
    // Both types have it in the same place.
    const std::size_t stated = structure.Get(SMBIOS_FIELD(11, StringCount));
    if (hasCount && structure.IsWellFormed() && stated != structure.Strings().size()) {
      report.At(structure,
                fmt::format("the structure says that it has {}, and has {}",
                            Counted(stated, "string"), structure.Strings().size()),
                "state the number of strings");
    }
  }
}

void CheckDeviceCount(const Subject& subject, Report& report) {
  const auto devices = subject.SeenOfType(kMemoryDevice);
  for (const Structure* array : subject.SeenOfType(kMemoryArray)) {
    const auto counted =
        std::count_if(devices.begin(), devices.end(), [&](const Structure* device) {
          return device->GetHandle(SMBIOS_FIELD(17, MemoryArrayHandle)) == array->Handle();
        });
    const std::size_t stated = array->Get(SMBIOS_FIELD(16, NumberOfMemoryDevices));
    if (stated != static_cast<std::size_t>(counted)) {
      report.At(*array,
                fmt::format("the memory array says that it has {}, and {} of type 17 name it",
                            Counted(stated, "slot"), counted),
                "state the number of memory devices, empty slots included");
    }
  }
}

void CheckGroups(const Subject& subject, Report& report) {
  constexpr auto kCount = SMBIOS_FIELD(2, NumberOfContainedObjectHandles);
  constexpr auto kHandles = SMBIOS_FIELD(2, ContainedObjectHandles[0]);
  for (const Structure* board : subject.SeenOfType(kBoard)) {
    const std::size_t size = kHandles.Offset + kHandles.Width() * board->Get(kCount);
    if (board->Get(kCount) != 0 && size > board->Formatted().Size()) {
      report.At(*board,
                fmt::format("the board says that it contains {}, and has no room for their handles",
                            Counted(board->Get(kCount), "structure")),
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
