/*
 * Rules of the SMBIOS standard (DSP0134) about what a table has to have.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"
#include "host/table/layout.h"

namespace tvq::lint {
namespace {

// Types that every table has to have (SMBIOS 6.2). The standard lists slots (type 9) among them, of
// which there are as many as the machine has: none, in many.
constexpr std::uint8_t kRequired[] = {kBios,
                                      kSystem,
                                      kChassis,
                                      kProcessor,
                                      kCache,
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

// The field that structures of a type go up to at least, in the first version of the standard that
// has the type.
struct MinimumLength {
  std::uint8_t type;
  std::size_t length;

  template <typename Value>
  constexpr MinimumLength(smbios::Field<Value> lastField)
      : type(lastField.Type), length(lastField.End()) {}
};

constexpr MinimumLength kMinimumLengths[] = {
    SMBIOS_FIELD(0, BiosCharacteristics),
    SMBIOS_FIELD(1, SerialNumber),
    SMBIOS_FIELD(2, SerialNumber),
    SMBIOS_FIELD(3, AssetTag),
    SMBIOS_FIELD(4, ProcessorUpgrade),
    SMBIOS_FIELD(7, CurrentSRAMType),
    SMBIOS_FIELD(8, PortType),
    SMBIOS_FIELD(9, SlotCharacteristics1),
    SMBIOS_FIELD(11, StringCount),
    SMBIOS_FIELD(12, StringCount),
    SMBIOS_FIELD(13, CurrentLanguages),
    SMBIOS_FIELD(14, GroupName),
    SMBIOS_FIELD(16, NumberOfMemoryDevices),
    SMBIOS_FIELD(17, TypeDetail),
    SMBIOS_FIELD(19, PartitionWidth),
    SMBIOS_FIELD(20, InterleavedDataDepth),
    SMBIOS_FIELD(32, BootStatus),
    SMBIOS_FIELD(38, BaseAddress),
    SMBIOS_FIELD(39, PowerSupplyCharacteristics),
    SMBIOS_FIELD(41, DevFuncNum),
    SMBIOS_FIELD(127, Hdr),
};

void CheckShort(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    for (const MinimumLength& minimum : kMinimumLengths) {
      if (minimum.type == structure.Type() && structure.IsWellFormed() &&
          structure.Length() < minimum.length) {
        report.At(structure,
                  fmt::format("the structure has {:02X}h bytes, and the first version of the "
                              "standard that has this type asks for {:02X}h",
                              structure.Length(), minimum.length),
                  "add the missing fields");
      }
    }
  }
}

// What a later version of the standard added to a type, for those machines that have it.
struct Addition {
  table::Version since;
  std::uint8_t type;
  std::size_t end;
  std::string_view subject;
  bool (*isWanted)(const Structure& structure);

  template <typename Value>
  constexpr Addition(table::Version version, smbios::Field<Value> lastField,
                     std::string_view whatItSays, bool (*condition)(const Structure&))
      : since(version),
        type(lastField.Type),
        end(lastField.End()),
        subject(whatItSays),
        isWanted(condition) {}
};

// Where the older field says that the newer one has the value.
template <typename Value>
bool Says(const Structure& structure, smbios::Field<Value> field, Value value) {
  return structure.Has(field) && structure.Get(field) == value;
}

bool HasLargeRom(const Structure& bios) {
  return Says(bios, SMBIOS_FIELD(0, BiosSize), UINT8{0xFF});
}
bool IsPopulated(const Structure& processor) {
  return devices::IsSocketPopulated(processor.Get(SMBIOS_FIELD(4, Status)));
}
bool HasManyCores(const Structure& processor) {
  return Says(processor, SMBIOS_FIELD(4, CoreCount), UINT8{0xFF}) ||
         Says(processor, SMBIOS_FIELD(4, ThreadCount), UINT8{0xFF});
}
bool HasLargeCache(const Structure& cache) {
  return Says(cache, SMBIOS_FIELD(7, InstalledSize), UINT16{0xFFFF});
}
bool IsInUse(const Structure& slot) {
  return Says(slot, SMBIOS_FIELD(9, CurrentUsage), UINT8{0x04});
}
bool HasLargeArray(const Structure& array) {
  return Says(array, SMBIOS_FIELD(16, MaximumCapacity), UINT32{0x80000000});
}
bool IsModule(const Structure& device) {
  return devices::KindOf(device) == devices::Kind::kModule;
}
bool IsLargeModule(const Structure& device) {
  return Says(device, SMBIOS_FIELD(17, Size), UINT16{0x7FFF});
}
bool IsFastModule(const Structure& device) {
  return IsModule(device) && Says(device, SMBIOS_FIELD(17, Speed), UINT16{0xFFFF});
}
bool IsHighArray(const Structure& address) {
  return Says(address, SMBIOS_FIELD(19, StartingAddress), UINT32{0xFFFFFFFF});
}
bool IsHighDevice(const Structure& address) {
  return Says(address, SMBIOS_FIELD(20, StartingAddress), UINT32{0xFFFFFFFF});
}
bool Always(const Structure& structure) {
  return static_cast<bool>(structure);
}

constexpr Addition kAdditions[] = {
    {{3, 1}, SMBIOS_FIELD(0, ExtendedBiosSize), "the size of the ROM", HasLargeRom},
    {{2, 1}, SMBIOS_FIELD(1, WakeUpType), "the UUID", Always},
    {{2, 5}, SMBIOS_FIELD(4, ThreadCount), "the numbers of cores and threads", IsPopulated},
    {{3, 0}, SMBIOS_FIELD(4, ThreadCount2), "the numbers of cores and threads", HasManyCores},
    {{3, 1}, SMBIOS_FIELD(7, InstalledSize2), "the size", HasLargeCache},
    {{2, 6}, SMBIOS_FIELD(9, DevFuncNum), "the PCI address", IsInUse},
    {{2, 7}, SMBIOS_FIELD(16, ExtendedMaximumCapacity), "the capacity", HasLargeArray},
    {{2, 3}, SMBIOS_FIELD(17, PartNumber), "speed, maker, serial and part number", IsModule},
    {{2, 7}, SMBIOS_FIELD(17, ExtendedSize), "the size", IsLargeModule},
    {{2, 7}, SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed), "the configured speed", IsModule},
    {{3, 3}, SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed), "the speed", IsFastModule},
    {{2, 7}, SMBIOS_FIELD(19, ExtendedEndingAddress), "the addresses", IsHighArray},
    {{2, 7}, SMBIOS_FIELD(20, ExtendedEndingAddress), "the addresses", IsHighDevice},
};

void CheckOlder(const Subject& subject, Report& report) {
  const table::Version version = subject.Version();
  for (const Structure& structure : subject.Structures()) {
    std::string missed;
    std::size_t end = 0;
    for (const Addition& addition : kAdditions) {
      if (addition.type == structure.Type() && addition.since <= version &&
          structure.Length() < addition.end && addition.isWanted(structure)) {
        missed += (missed.empty() ? "" : ", ") + std::string(addition.subject);
        end = addition.end;
      }
    }
    if (!missed.empty() && structure.IsWellFormed()) {
      report.At(structure,
                fmt::format("the structure has {:02X}h bytes, fewer than version {}.{} of the "
                            "standard has: readers miss {}",
                            structure.Length(), version.majorNumber, version.minorNumber, missed),
                fmt::format("add the fields up to {:02X}h", end));
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
     "The standard requires types 0, 1, 3, 4, 7, 16, 17, 19 and 32 (and 127 at the end), and type "
     "9 of machines that have slots.",
     "Add the structure.", "", CheckRequired},
    {"end-of-table-missing", Severity::kError, kTable, "The table has no end.",
     "Since version 2.2 of the standard the table ends with a structure of type 127. A 64-bit "
     "entry point only says how long the table may be at most: without the end, readers go on in "
     "what lies behind.",
     "Add a structure of type 127 as the last.", "", CheckEnd},
    {"structure-short", Severity::kWarning, kTable,
     "A structure is shorter than any version of the standard has it.",
     "Readers look for fields that are not there, some without a look at the length: they take "
     "texts for numbers.",
     "Add the missing fields.", "[cache like @l1]\nlength = 0x0D\n", CheckShort},
    {"structure-older", Severity::kNote, kTable,
     "A structure has the length of an earlier version, and readers miss something.",
     "A structure may be shorter than the version of the table has it: readers go by its length. "
     "This one leaves out what people look for, such as the configured speed of a module, or a "
     "size "
     "that its older field is too small for.",
     "Add the fields.", "[processor like @cpu1]\nsocket = \"CPU2\"\nlength = 0x24\n", CheckOlder},
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
