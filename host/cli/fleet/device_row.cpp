/*
 * The devices of one machine, each in one flat row.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/fleet/device_row.h"

#include <Library/TvqDeviceLib.h>

#include <algorithm>

#include "host/cli/device/inventory.h"
#include "host/cli/machine/links.h"
#include "host/cli/machine/machine_view.h"
#include "host/cli/output/text.h"
#include "host/facts/identity.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

constexpr std::uint8_t kSystemType = 1;
constexpr std::uint8_t kProcessorType = 4;
constexpr char kSystem[] = "system";

// The table as the machine published it.
run::Table OwnTable(const run::Table& table) {
  run::Table own;
  own.major = table.major;
  own.minor = table.minor;
  own.structureCount = table.original ? table.original->structureCount : table.structureCount;
  own.structures = table.original ? table.original->structures : table.structures;
  return own;
}

smbios::Bytes ViewOf(const run::Table& table) {
  return {table.structures.data(), table.structures.size()};
}

smbios::Text ViewOf(std::string_view text) {
  return smbios::Text(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

// Empty for a placeholder.
std::string NameIn(std::string_view text) {
  return devices::IsPlaceholder(ViewOf(text)) ? "" : Utf8OfBytes(text);
}

// Empty for a text that tells no part from another.
std::string NumberIn(std::string_view text) {
  return devices::IsDummy(ViewOf(text)) ? "" : Utf8OfBytes(text);
}

const char* KindIn(const smbios::Structure& structure) {
  if (structure.Type() == kSystemType) {
    return kSystem;
  }
  switch (devices::KindOf(structure)) {
    case devices::Kind::kProcessor:
      return "processor";
    case devices::Kind::kModule:
      return "memory module";
    case devices::Kind::kHbm:
      return "HBM stack";
    default:
      return nullptr;
  }
}

Kind PartKindOf(const smbios::Structure& structure) {
  return structure.Type() == kSystemType      ? Kind::kSystem
         : structure.Type() == kProcessorType ? Kind::kProcessor
                                              : Kind::kModule;
}

void FillSystem(const facts::Machine& machine, const Part& part, DeviceRow& row) {
  row.maker = NameIn(part.TextOf("manufacturer"));
  row.part = NameIn(part.TextOf("product"));
  const std::vector<Part>& firmware = machine.Of(Kind::kFirmware);
  row.firmware = firmware.empty() ? "" : NameIn(firmware.front().TextOf("version"));
}

void FillProcessor(const Part& part, DeviceRow& row) {
  row.maker = NameIn(part.TextOf("manufacturer"));
  row.part = NumberIn(part.TextOf("partNumber"));
  if (row.part.empty()) {
    row.part = NameIn(part.TextOf("version"));
  }
  if (row.serial.empty()) {
    row.serial = NumberIn(part.TextOf("ppin"));
  }
  row.speed = part.NumberOf("currentSpeedInMHz");
  row.ratedSpeed = part.NumberOf("maximumSpeedInMHz");
}

void FillModule(const Part& part, DeviceRow& row) {
  row.maker = NameIn(part.TextOf("manufacturer"));
  row.part = NumberIn(part.TextOf("partNumber"));
  row.sizeInBytes = part.NumberOf("sizeInBytes");
  row.speed = part.NumberOf("configuredSpeedInMTs");
  row.ratedSpeed = part.NumberOf("ratedSpeedInMTs");
  row.firmware = NameIn(part.TextOf("firmwareVersion"));
}

DeviceRow MakeRow(const MachineView& view, PartPlace place, const char* kind) {
  const Part& part = view.At(place);
  DeviceRow row;
  row.kind = kind;
  row.handle = part.handle;
  row.fqdd = view.FqddOf(place);
  row.label = LabelOf(part);
  row.serial = NumberIn(part.TextOf("serial"));
  switch (place.kind) {
    case Kind::kSystem:
      FillSystem(view.machine, part, row);
      break;
    case Kind::kProcessor:
      FillProcessor(part, row);
      break;
    default:
      FillModule(part, row);
      break;
  }
  return row;
}

std::vector<Device> DevicesOf(const run::Table& table, const run::Results& results) {
  std::vector<Device> devices;
  const auto places = LinkRecords(table, results.records);
  for (std::size_t i = 0; i < results.records.size(); ++i) {
    devices.push_back(ToDevice(results.records[i]));
    devices.back().place = places[i];
  }
  return devices;
}

bool IsOf(const run::Finding& finding, const DeviceRow& row) {
  return row.verdict.empty() && row.kind == finding.kind && finding.handle &&
         *finding.handle == row.handle;
}

}  // namespace

std::vector<DeviceRow> MakeRows(const run::Table& table, const run::Results& results) {
  const run::Table own = OwnTable(table);
  const facts::Machine machine = ReadMachine(own);
  const std::vector<Device> devices = DevicesOf(table, results);
  const MachineView view = {machine, devices};
  std::vector<DeviceRow> rows;
  std::size_t counts[facts::kKindCount] = {};
  for (const smbios::Structure& structure : smbios::Walk(ViewOf(own))) {
    const bool isPart =
        structure.Type() == kSystemType || devices::KindOf(structure) != devices::Kind::kNone;
    if (!isPart) {
      continue;
    }
    const Kind kind = PartKindOf(structure);
    const std::size_t index = counts[static_cast<std::size_t>(kind)]++;
    const char* const words = KindIn(structure);
    // There is one system, whatever follows.
    const bool isWanted = words != nullptr && (kind != Kind::kSystem || index == 0);
    if (isWanted && index < machine.Of(kind).size()) {
      rows.push_back(MakeRow(view, {kind, index}, words));
    }
  }
  return rows;
}

void AddVerdicts(const run::Comparison& comparison, std::vector<DeviceRow>& rows) {
  for (const run::Finding& finding : comparison.findings) {
    auto row = std::find_if(rows.begin(), rows.end(),
                            [&](const DeviceRow& one) { return IsOf(finding, one); });
    if (row == rows.end()) {
      row = rows.insert(rows.end(), DeviceRow());
      row->kind = finding.kind;
    }
    // Without a record the table alone does not name it.
    row->fqdd = row->fqdd.empty() ? Utf8OfWide(finding.fqdd) : row->fqdd;
    row->label = row->label.empty() ? Utf8OfBytes(finding.label) : row->label;
    row->verdict = finding.verdict;
    row->isFinding = finding.status != run::ComparisonStatus::kNothingFound;
  }
}

std::string MachineIdentityOf(const run::Table& table) {
  const run::Table own = OwnTable(table);
  return Utf8OfBytes(facts::IdentityOf(ReadMachine(own), own.structures));
}

}  // namespace tvq::cli
