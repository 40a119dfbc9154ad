/*
 * `tvq diff`: what became of the devices between two tables or two saved states.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/compare/comparison_output.h"
#include "host/cli/compare/diff_fields.h"
#include "host/cli/compare/sides.h"
#include "host/cli/input/input.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kText = {
    "diff", "Compares two tables, or two saved states, device by device",
    "BEFORE and AFTER are captured tables, '-', states (the folder that `tvq save` was given, or "
    "the\n"
    "file in it), or one of each; of an agent's stick it is the machine that the other side is "
    "of.\n"
    "Every device gets its verdict as from `tvq verify`, with the "
    "fields\n"
    "of its document that changed; below stand the structures that changed, where both sides have "
    "a\n"
    "table; after a firmware update they are no difference by themselves. Devices on which nothing "
    "is\n"
    "to be looked at are only counted.",
    "  tvq diff before.bin after.bin\n"
    "  tvq diff /var/lib/parts dump.bin\n"
    "  tvq diff --json state-1 state-2\n",
    "0 nothing differs; 1 something does; 2 something could not be compared or read; 3 a folder "
    "has\n"
    "no state yet. 1 wins over 2."};

struct DiffOptions {
  std::string before;
  std::string after;
  bool conform = true;
  bool json = false;
  bool isVerbose = false;
  RedactOptions redact;
};

struct Difference {
  run::Comparison comparison;
  std::vector<StructureChange> structures;
};

// A path on a stick has the machine's serial number in it, and is not what was typed.
Side LoadNamed(run::DriverRun& driver, const std::string& name, const std::string& path,
               bool conform, const Console& console) {
  Side side = LoadSide(driver, path, conform, console);
  side.name = name;
  return side;
}

Difference Compare(const DiffOptions& options, const Console& console) {
  const bool conform = options.conform;
  const std::string beforePath = SideOnStick(options.before, options.after, conform, console);
  const std::string afterPath = SideOnStick(options.after, options.before, conform, console);
  const std::optional<Masker> masker = MakeMasker(options.redact);
  Side before;
  {
    run::DriverRun driver;
    before = LoadNamed(driver, options.before, beforePath, conform, console);
    MakeState(driver, before, console);
  }
  run::DriverRun driver;
  Side after = LoadNamed(driver, options.after, afterPath, conform, console);
  SecretList secrets;
  run::CompareOptions how;
  how.isVerbose = options.isVerbose;
  how.isAscii = console.terminal.isAscii;
  if (masker) {
    how.mask = [&](std::vector<run::FieldChange>& changes) {
      MaskSides(before, after, *masker, secrets, changes);
    };
  }
  Difference difference;
  difference.comparison = CompareSides(driver, before, after, how, console);
  if (before.table && after.table && !difference.comparison.hasOtherOptions) {
    difference.structures = DiffTables(*before.table, *after.table);
  }
  return difference;
}

std::string FieldText(const run::FieldChange& change, const Terminal& terminal) {
  const auto side = [&terminal](const std::optional<std::string>& text, Ink ink) {
    return text ? Painted(terminal, ink, text->empty() ? "(empty)" : *text) : "(none)";
  };
  return fmt::format("    {}: {} -> {}\n", change.field, side(change.before, Ink::kRed),
                     side(change.after, Ink::kGreen));
}

void PrintStructures(const Difference& difference, const Console& console) {
  if (!difference.structures.empty()) {
    console.Page("\n" + Painted(console.terminal, Ink::kBold, "Structures") + "\n");
  }
  for (const StructureChange& change : difference.structures) {
    console.Page(fmt::format("  {}{}\n", change.structure,
                             change.isAdded     ? ": added"
                             : change.isRemoved ? ": gone"
                                                : ""));
    for (const run::FieldChange& field : change.fields) {
      console.Page(FieldText(field, console.terminal));
    }
  }
}

Json ToJson(const Difference& difference) {
  Json json = SchemaJson("tvq-diff");
  AddComparison(difference.comparison, "devices", json);
  Json& structures = json["structures"] = Json::array();
  for (const StructureChange& change : difference.structures) {
    structures.push_back({{"structure", change.structure},
                          {"change", change.isAdded     ? "added"
                                     : change.isRemoved ? "gone"
                                                        : "changed"},
                          {"fields", FieldsJson(change.fields)}});
  }
  return json;
}

ExitStatus Diff(const DiffOptions& options, Console& console) {
  const Difference difference = Compare(options, console);
  if (options.json) {
    PrintJson(ToJson(difference), console);
  } else {
    PrintComparison(difference.comparison, console);
    PrintStructures(difference, console);
  }
  return StatusOf(difference.comparison, difference.structures);
}

}  // namespace

void AddDiff(Commands& commands) {
  const auto options = std::make_shared<DiffOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Diff(*options, console); });
  parameters.Value("BEFORE", options->before, "A table or a state").Named("").Required();
  parameters.Value("AFTER", options->after, "A table or a state").Named("").Required();
  AddConform(parameters, options->conform);
  parameters.Flag("-v,--verbose", options->isVerbose,
                  "Every device, also where nothing is to be looked at");
  commands.AddWide(parameters);
  parameters.Flag("--json", options->json, "Print one JSON document");
  AddRedact(parameters, options->redact);
}

}  // namespace tvq::cli
