/*
 * What became of all devices, for the system's journal.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/comparison_journal.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/cli/device/unit_name.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using run::ComparisonStatus;

// How many values a message names; all of them stand in the entry's fields.
constexpr size_t kShownValues = 3;

std::string NameOf(const run::Finding& finding) {
  std::string name = finding.fqdd.empty() ? finding.kind : Printable(finding.fqdd);
  return finding.label.empty() ? name : fmt::format("{} ({})", name, Printable(finding.label));
}

std::string ValueText(const std::optional<std::string>& value) {
  return !value ? "(none)" : value->empty() ? "(empty)" : Printable(*value);
}

std::string MessageOf(const run::Finding& finding) {
  std::string message = fmt::format("{}: {}", NameOf(finding), finding.verdict);
  if (finding.movedFrom) {
    message += " from " + Printable(*finding.movedFrom);
  }
  if (!finding.reason.empty()) {
    message += "; " + Printable(finding.reason);
  }
  const size_t shown = std::min(finding.fields.size(), kShownValues);
  for (size_t i = 0; i < shown; ++i) {
    const run::FieldChange& change = finding.fields[i];
    message += fmt::format("; {}: {} -> {}", Printable(change.field), ValueText(change.before),
                           ValueText(change.after));
  }
  if (shown != finding.fields.size()) {
    message += fmt::format("; and {} more", finding.fields.size() - shown);
  }
  return message;
}

// A part that is missing is missed now; the others do their work.
Priority PriorityOf(const run::Finding& finding) {
  return finding.verdict == "gone" ? Priority::kError : Priority::kWarning;
}

// Line n of the three fields belongs together: the journal does not keep the order of its fields.
void AddFields(const run::Finding& finding, JournalEntry& entry) {
  std::string names;
  std::string before;
  std::string after;
  for (const run::FieldChange& change : finding.fields) {
    const char* const separator = &change == &finding.fields.front() ? "" : "\n";
    names += separator + Printable(change.field);
    before += separator + Printable(change.before.value_or(""));
    after += separator + Printable(change.after.value_or(""));
  }
  if (!finding.fields.empty()) {
    entry.Add("TVQ_FIELD", names);
    entry.Add("TVQ_BEFORE", before);
    entry.Add("TVQ_AFTER", after);
  }
}

void AddStatus(ExitStatus status, JournalEntry& entry) {
  entry.Add("TVQ_EXIT_STATUS", std::to_string(static_cast<int>(status)));
}

void AddIfAny(std::string_view name, const std::string& value, JournalEntry& entry) {
  if (!value.empty()) {
    entry.Add(name, value);
  }
}

JournalEntry EntryOf(const run::Finding& finding) {
  JournalEntry entry(MessageOf(finding), PriorityOf(finding), kFindingId);
  entry.Add("TVQ_VERDICT", finding.verdict);
  // A field may be there several times: each of its values finds the entry.
  for (const std::string& verdict : finding.also) {
    entry.Add("TVQ_ALSO", verdict);
  }
  AddIfAny("TVQ_FQDD", Printable(finding.fqdd), entry);
  AddIfAny("TVQ_LABEL", Printable(finding.label), entry);
  entry.Add("TVQ_KIND", finding.kind);
  if (finding.movedFrom) {
    AddIfAny("TVQ_MOVED_FROM", Printable(*finding.movedFrom), entry);
  }
  AddIfAny("TVQ_REASON", Printable(finding.reason), entry);
  AddFields(finding, entry);
  entry.Add("TVQ_TO_DO", finding.toDo);
  AddIfAny("TVQ_UNIT", AcceptUnitOf(finding), entry);
  return entry;
}

JournalEntry SummaryOf(const run::Comparison& comparison, ExitStatus status) {
  std::string summary;
  for (const auto& [verdict, count] : comparison.counts) {
    if (count != 0) {
      summary += fmt::format("{}{} {}", summary.empty() ? "" : ", ", count, verdict);
    }
  }
  std::string message = comparison.status == ComparisonStatus::kNothingFound
                            ? "Nothing is to be looked at: " + summary
                            : "Devices are to be looked at: " + summary;
  if (comparison.firmware) {
    message += fmt::format("; firmware update: {} -> {}", ValueText(comparison.firmware->before),
                           ValueText(comparison.firmware->after));
  }
  const bool isQuiet = comparison.status == ComparisonStatus::kNothingFound && !comparison.firmware;
  JournalEntry entry(message, isQuiet ? Priority::kInformation : Priority::kNotice, kSummaryId);
  AddStatus(status, entry);
  return entry;
}

}  // namespace

void WriteToJournal(const run::Comparison& comparison, ExitStatus status, const Journal& journal) {
  for (const run::Finding& finding : comparison.findings) {
    if (finding.status != ComparisonStatus::kNothingFound) {
      journal.Send(EntryOf(finding));
    }
  }
  journal.Send(SummaryOf(comparison, status));
}

void WriteNotCompared(const std::string& why, ExitStatus status, const Journal& journal) {
  JournalEntry entry("Nothing was compared: " + Harmless(why),
                     status == kExitNothingFound ? Priority::kInformation : Priority::kError,
                     kSummaryId);
  AddStatus(status, entry);
  journal.Send(entry);
}

void WriteFirstState(const std::string& path, const Journal& journal) {
  journal.Send(JournalEntry(fmt::format("The first state of this machine is saved in {}", path),
                            Priority::kNotice, kFirstStateId));
}

void WritePassedOver(const std::string& what, const Journal& journal) {
  journal.Send(JournalEntry(Harmless(what), Priority::kWarning, kPassedOverId));
}

void WriteFailure(const std::string& why, ExitStatus status, const Journal& journal) {
  const std::string reason = Harmless(why);
  JournalEntry entry("tvq verify failed: " + reason, Priority::kError, kFailureId);
  entry.Add("TVQ_REASON", reason);
  AddStatus(status, entry);
  journal.Send(entry);
}

std::string AcceptUnitOf(const run::Finding& finding) {
  constexpr char16_t kLastByte = 0xFF;
  std::string name = finding.label;
  if (!finding.fqdd.empty()) {
    const bool isOfBytes = std::all_of(finding.fqdd.begin(), finding.fqdd.end(),
                                       [](char16_t character) { return character <= kLastByte; });
    name = isOfBytes ? std::string(finding.fqdd.begin(), finding.fqdd.end()) : finding.label;
  }
  return name.empty() ? "" : fmt::format("tvq-accept@{}.service", EscapedForUnit(name));
}

}  // namespace tvq::cli
