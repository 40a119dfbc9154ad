/*
 * `tvq diff`: what became of the devices between two tables or two saved states.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "host/cli/compare/comparison_summary.h"
#include "host/cli/compare/diff_fields.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/cli/compare/state_table.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kText = {
    "diff", "Compares two tables, or two saved states, device by device",
    "BEFORE and AFTER are captured tables, '-', states (the folder that `tvq save` was given, or "
    "the\n"
    "file in it), or one of each. The driver itself says which devices were replaced; below each\n"
    "device stand the fields of its document that changed, and, for two tables, below that the\n"
    "structures that changed. Devices in which nothing changed are only counted.",
    "  tvq diff before.bin after.bin\n"
    "  tvq diff /var/lib/tvq dump.bin\n"
    "  tvq diff --json state-1 state-2\n",
    "0 nothing differs; 1 something does; 2 something could not be compared or read."};
constexpr std::string_view kStateMagic = "TVQSTATE";

struct DiffOptions {
  std::string before;
  std::string after;
  bool conform = true;
  bool json = false;
  RedactOptions redact;
};

// One of the two.
struct Side {
  std::string name;
  bool isState = false;
  run::Bytes state;  // of a table: after it ran
  run::Table table;  // as it was read; of a state: one with its devices
  std::vector<Device> devices;
};

struct DeviceChange {
  run::Finding finding;
  std::vector<FieldChange> fields;
};

struct Difference {
  run::Comparison comparison;
  std::vector<DeviceChange> devices;
  std::vector<StructureChange> structures;
};

bool IsFolder(const std::string& path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool IsState(const run::Bytes& file) {
  return file.size() >= kStateMagic.size() &&
         std::equal(kStateMagic.begin(), kStateMagic.end(), file.begin());
}

// The state in a folder or a file; nothing where the path names a table.
std::optional<run::Bytes> StateIn(run::DriverRun& driver, const std::string& path,
                                  const Console& console) {
  if (path == "-") {
    return std::nullopt;
  }
  if (IsFolder(path)) {
    return LoadState(driver, path, console).bytes;
  }
  run::Bytes file = ReadFile(path, kTableHint);
  return IsState(file) ? std::optional(std::move(file)) : std::nullopt;
}

// Runs the driver on the side's table.
void Run(run::DriverRun& driver, Side& side, const DiffOptions& options, const Console& console) {
  TableOptions table;
  table.file = side.name;
  table.conform = options.conform;
  run::Table ran = side.table;
  if (options.conform && !side.isState) {
    run::Conformed conformed = driver.Conform(ran);
    if (conformed.isRefused) {
      throw InputError(fmt::format("{} cannot be conformed: {}", side.name, conformed.summary),
                       "run with --as-is");
    }
    ran = std::move(conformed.table);
  }
  const run::Results results = RunDriver(driver, ran, table, console);
  if (results.records.empty()) {
    throw InputError(
        fmt::format("the driver made no record of {}", side.name),
        options.conform ? "`tvq show` tells why" : "without --as-is, the table is made fit for it");
  }
  if (!side.isState) {
    side.state = driver.State();
    side.devices = ToDevices(driver.ReadState(side.state));
  }
}

Side Load(run::DriverRun& driver, const std::string& path, const Console& console) {
  Side side;
  side.name = path;
  if (std::optional<run::Bytes> state = StateIn(driver, path, console)) {
    side.isState = true;
    side.state = std::move(*state);
    try {
      side.devices = ToDevices(driver.ReadState(side.state));
    } catch (const run::StateError& error) {
      throw InputError(fmt::format("{} {}", path, error.what()),
                       "look whether a state before it is whole");
    }
    side.table = TableOf(side.devices);
  } else {
    TableOptions options;
    options.file = path;
    side.table = ReadTable(driver, options, console);
  }
  return side;
}

// The n-th device of that name; null when there is none.
const Device* FindDevice(const std::vector<Device>& devices, const std::string& fqdd, size_t n) {
  for (const Device& device : devices) {
    if (device.fqdd == fqdd && n-- == 0) {
      return &device;
    }
  }
  return nullptr;
}

std::vector<DeviceChange> DiffDevices(const Side& before, const Side& after,
                                      const run::Comparison& comparison) {
  std::vector<DeviceChange> changes;
  for (const run::Finding& finding : comparison.findings) {
    DeviceChange change = {finding, {}};
    const std::string fqdd = Printable(finding.fqdd);
    const auto n = static_cast<size_t>(std::count_if(
        changes.begin(), changes.end(),
        [&finding](const DeviceChange& one) { return one.finding.fqdd == finding.fqdd; }));
    const Device* const now = FindDevice(after.devices, fqdd, n);
    if (finding.verdict != "gone" && finding.saved && now != nullptr && now->document) {
      const std::optional<Element>& old = before.devices[*finding.saved].document;
      change.fields = old ? DiffDocuments(*old, *now->document) : std::vector<FieldChange>();
    }
    changes.push_back(std::move(change));
  }
  return changes;
}

// Once the driver has compared them.
void Redact(Side& before, Side& after, const Masker& masker) {
  std::vector<Element*> documents;
  for (Side* const side : {&before, &after}) {
    for (Device& device : side->devices) {
      if (device.document) {
        documents.push_back(&*device.document);
      }
    }
  }
  RedactTogether({&before.table.structures, &after.table.structures}, documents, masker);
}

Difference Compare(const DiffOptions& options, const Console& console) {
  const std::optional<Masker> masker = MakeMasker(options.redact);
  Side before;
  {
    run::DriverRun driver;
    before = Load(driver, options.before, console);
    if (!before.isState) {
      Run(driver, before, options, console);
    }
  }
  run::DriverRun driver;
  Side after = Load(driver, options.after, console);
  Run(driver, after, options, console);
  Difference difference;
  difference.comparison = driver.Compare(before.state);
  if (after.isState) {
    // The table that stands in for a state has the names, and not what a machine prints.
    for (run::Finding& finding : difference.comparison.findings) {
      finding.label.clear();
    }
  }
  if (masker) {
    Redact(before, after, *masker);
  }
  difference.devices = DiffDevices(before, after, difference.comparison);
  if (!before.isState && !after.isState) {
    difference.structures = DiffTables(before.table, after.table);
  }
  return difference;
}

std::string FieldText(const FieldChange& change, const Terminal& terminal) {
  const auto side = [&terminal](const std::optional<std::string>& text, Ink ink) {
    return text ? Painted(terminal, ink, text->empty() ? "(empty)" : *text) : "(none)";
  };
  return fmt::format("    {}: {} -> {}\n", change.field, side(change.before, Ink::kRed),
                     side(change.after, Ink::kGreen));
}

std::string FieldsText(const std::vector<FieldChange>& fields, const Terminal& terminal) {
  std::string text;
  for (const FieldChange& change : fields) {
    text += FieldText(change, terminal);
  }
  return text;
}

std::string ToText(const Difference& difference, const Terminal& terminal) {
  std::string text;
  for (const auto& [finding, fields] : difference.devices) {
    if (finding.verdict == "same" && fields.empty()) {
      continue;
    }
    const std::string fqdd = finding.fqdd.empty() ? "-" : Printable(finding.fqdd);
    const std::string label =
        finding.label.empty() ? "" : fmt::format(" ({})", LabelText(finding.label));
    text += fmt::format("{}{}  {}{}{}\n", Painted(terminal, Ink::kBold, fqdd), label,
                        finding.verdict == "same" ? "same part, other values" : finding.verdict,
                        finding.detail.empty() ? "" : ": ", finding.detail);
    text += FieldsText(fields, terminal);
  }
  text += "Summary: " + SummaryInWords(difference.comparison) + '\n';
  if (!difference.structures.empty()) {
    text += "\n" + Painted(terminal, Ink::kBold, "Structures") + "\n";
  }
  for (const StructureChange& change : difference.structures) {
    text += fmt::format("  {}{}\n", change.structure,
                        change.isAdded     ? ": added"
                        : change.isRemoved ? ": gone"
                                           : "");
    text += FieldsText(change.fields, terminal);
  }
  return text;
}

Json ToJson(const std::vector<FieldChange>& fields) {
  const auto side = [](const std::optional<std::string>& text) {
    return text ? Json(*text) : Json();
  };
  Json list = Json::array();
  for (const FieldChange& change : fields) {
    list.push_back(
        {{"field", change.field}, {"before", side(change.before)}, {"after", side(change.after)}});
  }
  return list;
}

Json ToJson(const Difference& difference) {
  Json devices = Json::array();
  for (const auto& [finding, fields] : difference.devices) {
    devices.push_back(
        {{"fqdd", Utf8OfWide(finding.fqdd)},
         {"label", finding.label.empty() ? Json() : Json(Utf8OfBytes(finding.label))},
         {"verdict", finding.verdict},
         {"movedFrom", finding.movedFrom ? Json(Utf8OfWide(*finding.movedFrom)) : Json()},
         {"detail", finding.detail.empty() ? Json() : Json(finding.detail)},
         {"fields", ToJson(fields)}});
  }
  Json structures = Json::array();
  for (const StructureChange& change : difference.structures) {
    structures.push_back({{"structure", change.structure},
                          {"change", change.isAdded     ? "added"
                                     : change.isRemoved ? "gone"
                                                        : "changed"},
                          {"fields", ToJson(change.fields)}});
  }
  Json json = SchemaJson("tvq-diff");
  json["devices"] = devices;
  json["summary"] = SummaryJson(difference.comparison);
  json["structures"] = structures;
  return json;
}

ExitStatus Diff(const DiffOptions& options, Console& console) {
  const Difference difference = Compare(options, console);
  console.out << (options.json ? ToJson(difference).dump(1) + '\n'
                               : ToText(difference, console.terminal));
  const ExitStatus status = StatusOf(difference.comparison);
  const bool hasFields =
      std::any_of(difference.devices.begin(), difference.devices.end(),
                  [](const DeviceChange& change) { return !change.fields.empty(); });
  const bool differs = hasFields || !difference.structures.empty();
  return status == kExitNothingFound && differs ? kExitFound : status;
}

}  // namespace

void AddDiff(Commands& commands) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Diff(*options, console); });
  app.add_option("BEFORE", options->before, "A table or a state")->type_name("")->required();
  app.add_option("AFTER", options->after, "A table or a state")->type_name("")->required();
  AddConform(app, options->conform);
  app.add_flag("--json", options->json, "Print one JSON document");
  AddRedact(app, options->redact);
}

}  // namespace tvq::cli
