/*
 * Rules about the FQDD map, type 225.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <map>

#include "host/lint/families.h"
#include "host/lint/fqdd_map.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

constexpr char kNoStart[] = "the driver's start ends with Not Found, and no device gets a record";

void CheckMissing(const Subject& subject, Report& report) {
  if (subject.SeenOfType(kFqddMap).empty()) {
    report.OnTable(fmt::format("there is no structure of type 225: {}", kNoStart),
                   "add the FQDD map, if need be one without groups");
  }
}

void CheckLength(const Subject& subject, Report& report) {
  for (const Structure* map : subject.SeenOfType(kFqddMap)) {
    if (map->Length() == smbios::kHeaderSize) {
      report.At(*map, fmt::format("the structure is a header without a format byte: {}", kNoStart),
                "make the structure 5 bytes long, and 4 for each group");
    }
  }
}

void CheckFormat(const Subject& subject, Report& report) {
  for (const Structure* map : subject.SeenOfType(kFqddMap)) {
    if (map->Has(SMBIOS_FIELD(225, Format)) && map->Get(SMBIOS_FIELD(225, Format)) != 1) {
      report.At(*map,
                fmt::format("the format byte is {}, not 1: {}", map->Get(SMBIOS_FIELD(225, Format)),
                            kNoStart),
                "write 1 at 04h; use another type for another format");
    }
  }
}

void CheckLeftover(const Subject& subject, Report& report) {
  for (const Structure* map : subject.SeenOfType(kFqddMap)) {
    const std::size_t left = (map->Length() - kFirstGroup) % kGroupSize;
    if (IsUsableMap(*map) && left != 0) {
      report.At(*map,
                fmt::format("{} behind the last whole group {} left out", Counted(left, "byte"),
                            left == 1 ? "is" : "are"),
                "make the structure 5 bytes long, and 4 for each group");
    }
  }
}

void CheckStructure(const Subject& subject, Report& report) {
  for (const FqddGroup& group : FqddGroups(subject)) {
    if (subject.FindHandle(group.handle) == nullptr) {
      report.At(*group.map,
                fmt::format("group {} is for {}, which no structure has: no device gets the FQDD "
                            "{}",
                            group.position, HandleName(group.handle),
                            Quote(group.map->String(group.stringNumber).value_or(""))),
                "name the handle of a processor or a memory device");
    }
  }
}

void CheckString(const Subject& subject, Report& report) {
  for (const FqddGroup& group : FqddGroups(subject)) {
    if (group.map->String(group.stringNumber)) {
      continue;
    }
    report.At(*group.map,
              group.stringNumber == 0
                  ? fmt::format("group {}, for {}, names no string: the device is named after its "
                                "socket or locator",
                                group.position, HandleName(group.handle))
                  : fmt::format("group {}, for {}, names string {} of {}: from then on the driver "
                                "reads the FQDDs of this structure from the one behind it",
                                group.position, HandleName(group.handle), group.stringNumber,
                                group.map->Strings().size()),
              "name one of the structure's strings");
  }
}

void CheckLong(const Subject& subject, Report& report) {
  for (const FqddGroup& group : FqddGroups(subject)) {
    const std::string_view fqdd = group.map->String(group.stringNumber).value_or("");
    if (fqdd.size() > kFqddLength) {
      report.At(
          *group.map,
          fmt::format("the FQDD {} has {} characters: the entry of {} hands out {}", Quote(fqdd),
                      fqdd.size(), HandleName(group.handle), Quote(fqdd.substr(0, kFqddLength))),
          fmt::format("use up to {} characters", kFqddLength));
    }
  }
}

void CheckClash(const Subject& subject, Report& report) {
  if (!HasFqddMap(subject)) {
    return;
  }
  std::map<std::string, const Structure*> owners;
  for (const NamedDevice& named : NameDevices(subject)) {
    const auto [owner, isNew] = owners.emplace(named.fqdd, named.device);
    if (!isNew) {
      report.At(*named.device,
                fmt::format("its FQDD is {}, as that of {}: an agent cannot tell the two apart",
                            Quote(named.fqdd), StructureName(*owner->second)),
                fmt::format("give each device an FQDD that differs in the first {} characters",
                            kFqddLength));
    }
  }
}

void CheckRepeated(const Subject& subject, Report& report) {
  std::map<std::uint16_t, std::size_t> owners;
  for (const FqddGroup& group : FqddGroups(subject)) {
    const auto [owner, isNew] = owners.emplace(group.handle, group.position);
    if (!isNew) {
      report.At(*group.map,
                fmt::format("group {} is for {}, as group {} is: the first one counts",
                            group.position, HandleName(group.handle), owner->second),
                "let each handle have one group");
    }
  }
}

constexpr Rule kRules[] = {
    {"fqdd-map-missing", Severity::kError, kDriver, "There is no structure of type 225.",
     "The driver builds its FQDD map before anything else, and its start ends with Not Found "
     "where the table has no structure of type 225: no device gets a record, no attribute is "
     "registered.",
     "Add the map: format byte 1, then a group for each processor and memory device. A structure "
     "without groups will do, devices are then named after their sockets and locators. Commands "
     "add the map in a copy of the table, unless `--as-is` is given.",
     "version = 3.3\n[bios]\n[system]\nproduct = \"Node\"\n[end]\n", CheckMissing},
    {"fqdd-map-length", Severity::kError, kDriver, "A structure of type 225 has no format byte.",
     "Without the byte at 04h the structure is of no format that the driver knows, and one such "
     "structure spoils the whole map: the start ends with Not Found.",
     "Make the structure 5 bytes long, and 4 for each group.", "[fqdd-map]\nlength = 4\n",
     CheckLength},
    {"fqdd-map-format", Severity::kError, kDriver,
     "The format byte of a structure of type 225 is not 1.",
     "The driver knows format 1 only. One structure of another format spoils the whole map: the "
     "start ends with Not Found.",
     "Write 1 at 04h; use another type for another format.", "[fqdd-map]\nformat = 2\n",
     CheckFormat},
    {"fqdd-map-leftover", Severity::kWarning, kDriver,
     "A structure of type 225 ends inside a group.",
     "The driver takes whole groups of 4 bytes and leaves the rest out.",
     "Make the structure 5 bytes long, and 4 for each group.",
     "[fqdd-map]\nformat = 1\nlength = 7\n", CheckLeftover},
    {"fqdd-structure", Severity::kWarning, kDriver,
     "A group of the FQDD map is for a handle that no structure has.",
     "FQDDs are looked up by the handle of the processor or memory device. Nobody asks for a "
     "handle that is not there, and the device that was meant is named after its socket or "
     "locator.",
     "Write the handle of the device.",
     "[fqdd-map]\nformat = 1\nfqdd = \"DIMM.Socket.A9\" 0x0DEA\n", CheckStructure},
    {"fqdd-string", Severity::kError, kDriver,
     "A group of the FQDD map names a string that is not there.",
     "Number 0 leaves the device without an FQDD of its own. A number past the last string does "
     "more: the driver's place in the list of maps moves on to the structure behind, for the rest "
     "of the boot, and devices that are looked up later get strings of that one.",
     "Name one of the structure's strings.",
     "[memory-device @dimm9 like @dimm1]\nlocator = \"A9\"\nserial  = \"7A2C0009\"\n"
     "[fqdd-map]\nformat = 1\nfqdd = 3 @dimm9\n",
     CheckString},
    {"fqdd-long", Severity::kWarning, kDriver, "An FQDD has more than 15 characters.",
     "The device-list entry hands out the first 15 characters.", "Use up to 15 characters.",
     "[memory-device @dimm9 like @dimm1]\nlocator = \"A9\"\nserial  = \"7A2C0009\"\n"
     "[fqdd-map]\nformat = 1\nfqdd = \"DIMM.Socket.A9.Node1\" @dimm9\n",
     CheckLong},
    {"fqdd-clash", Severity::kError, kDriver, "Two devices have the same FQDD.",
     "FQDDs count with their first 15 characters, and devices without one of their own are named "
     "after their socket or locator. An agent that finds devices by their FQDD mixes the two up: "
     "it stores one state for both, and compares one device with the other.",
     "Give each device an FQDD that differs in the first 15 characters.",
     "[memory-device @dimm9 like @dimm1]\nlocator = \"A9\"\nserial  = \"7A2C0009\"\n"
     "[fqdd-map]\nformat = 1\nfqdd = \"DIMM.Socket.A1\" @dimm9\n",
     CheckClash},
    {"fqdd-repeated", Severity::kNote, kDriver, "Two groups of the FQDD map are for one handle.",
     "The first group with the handle counts.", "Let each handle have one group.",
     "[fqdd-map]\nformat = 1\nfqdd = \"DIMM.Socket.B1\" @dimm1\n", CheckRepeated},
};

}  // namespace

Rules FqddRules() {
  return kRules;
}

}  // namespace tvq::lint
