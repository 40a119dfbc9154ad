/*
 * Which findings and changes concern which part of the machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/part_notes.h"

#include <algorithm>
#include <initializer_list>

#include "host/cli/output/text.h"
#include "host/facts/kinds.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

// The kinds of parts that the driver names one by one.
constexpr std::initializer_list<Kind> kSlots = {Kind::kProcessor, Kind::kModule};

// The only part of these kinds for which a condition holds.
template <typename Condition>
std::optional<PartPlace> FindOne(const facts::Machine& machine, std::initializer_list<Kind> kinds,
                                 Condition holds) {
  std::optional<PartPlace> found;
  for (const Kind kind : kinds) {
    const std::vector<Part>& parts = machine.Of(kind);
    for (std::size_t i = 0; i < parts.size(); ++i) {
      if (holds(parts[i])) {
        if (found) {
          return std::nullopt;
        }
        found = PartPlace{kind, i};
      }
    }
  }
  return found;
}

}  // namespace

PartNotes::PartNotes(const Report& report) : mReport(report) {
  for (std::size_t i = 0; i < report.findings.size(); ++i) {
    AddFinding(report.findings[i], i);
  }
  if (report.earlier) {
    AddChanges();
    AddStructures();
  }
}

void PartNotes::AddChanges() {
  const std::vector<run::Finding>& changes = mReport.earlier->comparison.findings;
  for (std::size_t i = 0; i < changes.size(); ++i) {
    if (!changes[i].isToLookAt && changes[i].fields.empty()) {
      continue;
    }
    mChanges.push_back(i);
    if (const auto place = PlaceOf(changes[i])) {
      mNotes[{place->kind, place->index}].changes.push_back(i);
    }
  }
}

// The system's change tells of boards, chassis and power supplies too, which have changes of their own.
void PartNotes::AddStructures() {
  const std::vector<StructureChange>& structures = mReport.earlier->structures;
  for (std::size_t i = 0; i < structures.size(); ++i) {
    const auto place = PlaceOf(structures[i]);
    if (place) {
      mNotes[{place->kind, place->index}].structures.push_back(i);
    }
    if (!place || ChangesOf(*place).empty()) {  // else it stands with the change of the device
      mStructures.push_back(i);
    }
  }
}

const StructureChange* PartNotes::StructureOf(const run::Finding& change) const {
  const auto place = PlaceOf(change);
  return place && !StructuresOf(*place).empty()
             ? &mReport.earlier->structures[StructuresOf(*place).front()]
             : nullptr;
}

std::size_t PartNotes::CountToLookAt() const {
  const run::Comparison& comparison = mReport.earlier->comparison;
  const auto changes = std::count_if(mChanges.begin(), mChanges.end(), [&](std::size_t i) {
    return comparison.findings[i].isToLookAt;
  });
  return static_cast<std::size_t>(changes) + (comparison.firmware ? 0 : mStructures.size());
}

void PartNotes::AddFinding(const lint::Finding& finding, std::size_t index) {
  AddFindingAt(finding.place, index);
  for (const lint::Occurrence& occurrence : finding.alike) {
    AddFindingAt(occurrence.place, index);
  }
  for (const lint::Finding& consequence : finding.consequences) {
    AddFinding(consequence, index);
  }
}

void PartNotes::AddFindingAt(const lint::Place& at, std::size_t index) {
  const auto place = PlaceOf(at);
  if (!place) {
    return;
  }
  std::vector<std::size_t>& findings = mNotes[{place->kind, place->index}].findings;
  if (findings.empty() || findings.back() != index) {
    findings.push_back(index);
  }
}

const PartNotes::Notes& PartNotes::NotesOf(PartPlace place) const {
  static const Notes kNone;
  const auto found = mNotes.find({place.kind, place.index});
  return found == mNotes.end() ? kNone : found->second;
}

const std::vector<std::size_t>& PartNotes::ChangesOf(PartPlace place) const {
  return NotesOf(place).changes;
}

const std::vector<std::size_t>& PartNotes::StructuresOf(PartPlace place) const {
  return NotesOf(place).structures;
}

const std::vector<std::size_t>& PartNotes::FindingsOf(PartPlace place) const {
  return NotesOf(place).findings;
}

std::optional<PartPlace> PartNotes::PlaceOfHandle(unsigned type, unsigned handle) const {
  const facts::KindFields* const kind = facts::FindKind(static_cast<std::uint8_t>(type));
  return kind == nullptr ? std::nullopt
                         : FindOne(mReport.overview.machine, {kind->kind},
                                   [handle](const Part& part) { return part.handle == handle; });
}

std::optional<PartPlace> PartNotes::PlaceOf(const lint::Place& place) const {
  return place.type && place.handle ? PlaceOfHandle(*place.type, *place.handle) : std::nullopt;
}

std::optional<PartPlace> PartNotes::PlaceOf(const StructureChange& change) const {
  return change.isRemoved ? std::nullopt : PlaceOfHandle(change.type, change.handle);
}

// By its name, which the slot of a part that is gone has as well, or by what is printed there.
std::optional<PartPlace> PartNotes::PlaceOf(const run::Finding& change) const {
  const facts::Machine& machine = mReport.overview.machine;
  if (change.kind == "system") {
    return machine.Of(Kind::kSystem).empty() ? std::nullopt
                                             : std::optional(PartPlace{Kind::kSystem, 0});
  }
  for (const run::DeviceLabel& label : mReport.overview.results.labels) {
    if (!change.fqdd.empty() && label.fqdd == change.fqdd) {
      return FindOne(machine, kSlots,
                     [&](const Part& part) { return part.handle == label.handle; });
    }
  }
  const std::string printed = LabelText(change.label);
  return FindOne(machine, kSlots, [&](const Part& part) {
    return printed != "-" && LabelText(part.TextOf("label")) == printed;
  });
}

}  // namespace tvq::cli
