/*
 * Rules about string numbers past the last string.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "host/lint/families.h"
#include "host/table/layout.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// A string that the driver reads, and the numbers that it reads before the next one.
struct Read {
  smbios::Field<std::uint8_t> string;
  std::string_view numbers{};
};

// The strings of a type in the order in which the driver reads them.
struct ReadOrder {
  std::uint8_t type;
  std::vector<Read> reads;
};

const std::vector<ReadOrder>& ReadOrders() {
  static const std::vector<ReadOrder> kOrders = {
      {kBios, {{SMBIOS_FIELD(0, BiosVersion)}, {SMBIOS_FIELD(0, BiosReleaseDate)}}},
      {kSystem,
       {{SMBIOS_FIELD(1, ProductName)},
        {SMBIOS_FIELD(1, Manufacturer), "uuid"},
        {SMBIOS_FIELD(1, SerialNumber)}}},
      {kBoard, {{SMBIOS_FIELD(2, LocationInChassis), "chassis"}}},
      {kChassis,
       {{SMBIOS_FIELD(3, Manufacturer)},
        {SMBIOS_FIELD(3, SerialNumber)},
        {SMBIOS_FIELD(3, AssetTag), "the states and the height"}}},
      {kProcessor,
       {{SMBIOS_FIELD(4, ProcessorVersion), "core-count"},
        {SMBIOS_FIELD(4, Socket), "handle, id, speeds, status"},
        {SMBIOS_FIELD(4, ProcessorManufacturer), "the caches"}}},
      {kSlot, {{SMBIOS_FIELD(9, SlotDesignation), "all its numbers"}}},
      {kMemoryDevice,
       {{SMBIOS_FIELD(17, SerialNumber)},
        {SMBIOS_FIELD(17, DeviceLocator)},
        {SMBIOS_FIELD(17, Manufacturer)},
        {SMBIOS_FIELD(17, BankLocator)},
        {SMBIOS_FIELD(17, AssetTag), "size, speed, memory-type"},
        {SMBIOS_FIELD(17, PartNumber), "handle, widths, form-factor and what follows"}}},
  };
  return kOrders;
}

// Whether the driver makes something of this structure.
bool IsRead(const Subject& subject, const Structure& structure) {
  const auto contains = [&](const std::vector<const Structure*>& devices) {
    return std::find(devices.begin(), devices.end(), &structure) != devices.end();
  };
  switch (structure.Type()) {
    case kProcessor:
      return contains(subject.Processors());
    case kMemoryDevice:
      return contains(subject.Modules());
    default:
      return true;
  }
}

void Append(std::string& list, std::string_view item) {
  list += (list.empty() || item.empty() ? "" : ", ") + std::string(item);
}

// What is read behind a string.
std::string ReadBehind(const ReadOrder& order, std::size_t position) {
  std::string names(order.reads[position].numbers);
  for (std::size_t i = position + 1; i < order.reads.size(); ++i) {
    Append(names, FieldName(order.reads[i].string));
    Append(names, order.reads[i].numbers);
  }
  return names;
}

std::string Consequence(const Structure& structure, const ReadOrder& order, std::size_t missing) {
  if (structure.Type() == kSystem && missing == 0) {
    return "the system gets no record";
  }
  const std::string affected = ReadBehind(order, missing);
  return affected.empty() ? "the text is missing"
                          : fmt::format(
                                "the record mixes two structures, as what is read next ({}) "
                                "comes from the one behind",
                                affected);
}

void CheckMissing(const Subject& subject, Report& report) {
  for (const Structure* structure : subject.Seen()) {
    for (const ReadOrder& order : ReadOrders()) {
      if (order.type != structure->Type() || !structure->IsWellFormed() ||
          !IsRead(subject, *structure)) {
        continue;
      }
      // What stands behind the first one that is missing is not read.
      const auto missing = std::find_if(
          order.reads.begin(), order.reads.end(),
          [structure](const Read& read) { return structure->IsStringMissing(read.string); });
      if (missing != order.reads.end()) {
        const auto position = static_cast<std::size_t>(missing - order.reads.begin());
        report.At(*structure,
                  fmt::format("{} is string {}, and the structure has {}: {}",
                              FieldName(missing->string), structure->Get(missing->string),
                              Counted(structure->Strings().size(), "string"),
                              Consequence(*structure, order, position)),
                  "name one of the structure's strings, or 0 for none");
      }
    }
  }
}

void CheckNumbers(const Subject& subject, Report& report) {
  for (const Structure& structure : subject.Structures()) {
    const table::Layout& layout = table::LayoutOf(structure.Type());
    for (const table::Field& field : layout.fields) {
      const std::size_t number = structure.Byte(field.offset);
      if (field.kind == table::FieldKind::kString && structure.IsWellFormed() &&
          number > structure.Strings().size() && !layout.IsMoved(field, structure.Formatted())) {
        report.At(structure,
                  fmt::format("{} is string {}, and the structure has {}", field.name, number,
                              Counted(structure.Strings().size(), "string")),
                  "name one of the structure's strings, or 0 for none");
      }
    }
  }
}

constexpr Rule kRules[] = {
    {"string-missing", Severity::kError, kDriver,
     "A string number is past the last string of its structure.",
     "Looking for such a string moves the driver on to the structure behind, and everything that "
     "it reads next for the record comes from there: a record of two structures, with another's "
     "sizes and texts. For the product name of the system there is no record at all. Number 1 in a "
     "structure without strings is an empty text, and harmless.",
     "Name one of the structure's strings, or 0 for none.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"7A2C0002\"\nasset-tag = 9\n",
     CheckMissing},
    {"string-number", Severity::kError, kTable,
     "A string number is past the last string of its structure.",
     "The standard numbers the strings of a structure from 1 to their last, and 0 stands for none. "
     "Readers show a bad index, or read on in the next structure.",
     "Name one of the structure's strings, or 0 for none.", "[cache like @l1]\nsocket = 9\n",
     CheckNumbers},
};

}  // namespace

Rules StringRules() {
  return kRules;
}

}  // namespace tvq::lint
