/*
 * What a machine is, read from its SMBIOS table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/machine.h"

#include <Library/TvqDeviceLib.h>

#include "host/facts/kinds.h"

namespace tvq::facts {
namespace {

constexpr std::uint8_t kOemStrings = 11;
constexpr char kPpin[] = "ppin";

Part ReadPart(const Source& source, const KindFields& kind) {
  Part part;
  part.handle = source.structure.Handle();
  part.facts.reserve(kind.count + 1);  // a processor gets its PPIN
  for (std::size_t i = 0; i < kind.count; ++i) {
    part.facts.push_back({kind.fields[i].name, kind.fields[i].Read(source)});
  }
  return part;
}

// The text between "17[" and "]", which may be missing behind as many characters as a number has;
// empty where there is none.
std::string_view PpinIn(std::string_view text) {
  const std::size_t tag = text.find(devices::kPpinTag);
  if (tag == std::string_view::npos) {
    return {};
  }
  text.remove_prefix(tag + sizeof(devices::kPpinTag) - 1);
  const std::size_t end = text.find(']');
  if (end != std::string_view::npos) {
    return text.substr(0, end);
  }
  return text.substr(0, text.size() < devices::kPpinLength ? 0 : devices::kPpinLength);
}

// Each processor takes the next number among the OEM strings.
void AssignPpins(const std::vector<std::string>& ppins, std::vector<Part>& processors) {
  std::size_t next = 0;
  for (Part& processor : processors) {
    const bool takes = IsPopulated(processor) && next < ppins.size();
    processor.facts.push_back({kPpin, takes ? TextValue(ppins[next]) : Value()});
    next += takes ? 1 : 0;
  }
}

}  // namespace

const std::array<KindName, kKindCount> kKindNames = {{
    {Kind::kFirmware, "firmware", "firmware"},
    {Kind::kSystem, "system", "systems"},
    {Kind::kBoard, "board", "boards"},
    {Kind::kChassis, "chassis", "chassis"},
    {Kind::kProcessor, "processor", "processors"},
    {Kind::kMemoryArray, "memoryArray", "memoryArrays"},
    {Kind::kModule, "module", "modules"},
    {Kind::kSlot, "slot", "slots"},
    {Kind::kOnboardDevice, "onboardDevice", "onboardDevices"},
    {Kind::kPowerSupply, "powerSupply", "powerSupplies"},
}};

Machine ReadMachine(const table::Bytes& structures, table::Version version, std::size_t count) {
  Machine machine;
  std::vector<std::string> ppins;
  std::size_t number = 0;
  for (const smbios::Structure& found : smbios::Walk(table::ViewOf(structures))) {
    const bool isShort = found.Length() < smbios::kHeaderSize;
    if ((count != 0 && number++ == count) || (isShort && found.Offset() != 0)) {
      break;
    }
    const table::Structure structure(found);
    if (structure.Type() == kOemStrings) {
      for (const std::string_view text : structure.Strings()) {
        if (const std::string_view ppin = PpinIn(text); !ppin.empty()) {
          ppins.emplace_back(ppin);
        }
      }
    }
    if (const KindFields* const kind = FindKind(structure.Type()); kind != nullptr && !isShort) {
      machine.Of(kind->kind).push_back(ReadPart({structure, version}, *kind));
    }
  }
  AssignPpins(ppins, machine.Of(Kind::kProcessor));
  return machine;
}

bool IsPopulated(const Part& processorOrModule) {
  const Value& size = processorOrModule.Find("sizeInBytes");
  const auto* const bytes = std::get_if<std::uint64_t>(&size);
  if (bytes != nullptr) {
    return *bytes != 0;
  }
  // A processor says so itself, unless its structure is too short; a size may be unknown.
  const Value& flag = processorOrModule.Find("isPopulated");
  return !IsKnown(flag) || std::get<bool>(flag);
}

}  // namespace tvq::facts
