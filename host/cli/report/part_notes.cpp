/*
 * Which findings and changes concern which part of the machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/part_notes.h"

#include <algorithm>

#include "host/cli/output/text.h"
#include "host/facts/kinds.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

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
  if (!report.earlier) {
    return;
  }
  const std::vector<run::Finding>& changes = report.earlier->comparison.findings;
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

const std::vector<std::size_t>& PartNotes::ChangesOf(PartPlace place) const {
  static const Notes kNone;
  const auto found = mNotes.find({place.kind, place.index});
  return found == mNotes.end() ? kNone.changes : found->second.changes;
}

const std::vector<std::size_t>& PartNotes::FindingsOf(PartPlace place) const {
  static const Notes kNone;
  const auto found = mNotes.find({place.kind, place.index});
  return found == mNotes.end() ? kNone.findings : found->second.findings;
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

// By its name, which the slot of a part that is gone has as well, or by what is printed there.
std::optional<PartPlace> PartNotes::PlaceOf(const run::Finding& change) const {
  constexpr Kind kSlots[] = {Kind::kProcessor, Kind::kModule};
  const facts::Machine& machine = mReport.overview.machine;
  if (change.kind == "system") {
    return machine.Of(Kind::kSystem).empty() ? std::nullopt
                                             : std::optional(PartPlace{Kind::kSystem, 0});
  }
  for (const run::DeviceLabel& label : mReport.overview.results.labels) {
    if (!change.fqdd.empty() && label.fqdd == change.fqdd) {
      return FindOne(machine, {kSlots[0], kSlots[1]},
                     [&](const Part& part) { return part.handle == label.handle; });
    }
  }
  const std::string printed = LabelText(change.label);
  return FindOne(machine, {kSlots[0], kSlots[1]}, [&](const Part& part) {
    return printed != "-" && LabelText(part.TextOf("label")) == printed;
  });
}

}  // namespace tvq::cli
