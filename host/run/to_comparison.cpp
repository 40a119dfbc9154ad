/*
 * From the agent's comparison to one in types of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/to_comparison.h"

#include <algorithm>

#include "host/run/convert.h"

#include "TvqPlatformPkg/src/compare/lines.h"

namespace tvq::run {
namespace {

using tvqplatform::Verdict;

std::optional<std::string> TextIfAny(const CHAR8* text) {
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

FieldChange ToChange(const tvqplatform::Comparison& result,
                     const tvqplatform::FieldChange& change) {
  return {result.TextAt(change.Path), TextIfAny(result.TextAt(change.Before)),
          TextIfAny(result.TextAt(change.After))};
}

// There is a target where there was a text.
void PutText(const std::optional<std::string>& text, CHAR8* target) {
  if (text) {
    std::copy(text->begin(), text->end(), target);
  }
}

// Masks keep the lengths of texts, so that they fit where the texts stand.
void Mask(tvqplatform::Comparison& result, const CompareOptions& options) {
  std::vector<FieldChange> changes;
  for (UINTN i = 0; i < result.ChangeCount(); ++i) {
    changes.push_back(ToChange(result, result.Change(i)));
  }
  options.mask(changes);
  for (UINTN i = 0; i < result.ChangeCount(); ++i) {
    PutText(changes[i].before, result.MutableTextAt(result.Change(i).Before));
    PutText(changes[i].after, result.MutableTextAt(result.Change(i).After));
  }
}

std::vector<std::string> WitnessesOf(const tvqplatform::Finding& found) {
  std::vector<std::string> witnesses;
  for (UINTN i = 0; i < tvqplatform::kWitnessCount; ++i) {
    if (found.IsSaidBy(static_cast<tvqplatform::Witness>(i))) {
      witnesses.emplace_back(tvqplatform::kWitnessWords[i]);
    }
  }
  return witnesses;
}

// All rows but the first, which is the verdict. A device that is the same has none at all.
std::vector<std::string> RowsBehind(const tvqplatform::Finding& found) {
  std::vector<std::string> rows;
  for (const tvqplatform::VerdictWords& words : tvqplatform::kVerdictWords) {
    const auto row = static_cast<Verdict>(&words - tvqplatform::kVerdictWords);
    if (row != found.What && found.Rows.Has(row)) {
      rows.emplace_back(words.Name);
    }
  }
  return rows;
}

// Nothing for a device that is gone.
std::optional<uint16_t> HandleOf(const tvqplatform::Comparison& result,
                                 const tvqplatform::Finding& found) {
  if (found.After == tvqplatform::kNone || !result.After()[found.After].Where) {
    return std::nullopt;
  }
  return result.After()[found.After].Where.Handle();
}

Finding ToFinding(const tvqplatform::Comparison& result, const tvqplatform::Finding& found) {
  Finding finding;
  finding.fqdd = WideText(tvqplatform::FqddOf(result, found));
  const smbios::Text label = tvqplatform::LabelOf(result, found);
  finding.label.assign(label.begin(), label.end());
  finding.kind = tvqplatform::NameOf(found.Kind);
  finding.handle = HandleOf(result, found);
  finding.verdict = tvqplatform::WordsOf(found.What).Name;
  finding.also = RowsBehind(found);
  if (found.MovedFrom != tvqplatform::kNone) {
    finding.movedFrom = WideText(result.Before()[found.MovedFrom].Name);
  }
  finding.witnesses = WitnessesOf(found);
  finding.isSamePart = found.IsSamePart;
  char reason[kSentence];
  tvqplatform::FormatObstacle(result, found, reason, sizeof(reason));
  finding.reason = reason;
  for (UINTN i = 0; i < found.ChangeCount; ++i) {
    finding.fields.push_back(ToChange(result, result.Change(found.FirstChange + i)));
  }
  finding.toDo = tvqplatform::ToDoOf(result, found);
  finding.status = static_cast<ComparisonStatus>(result.ExitOf(found));
  finding.isToLookAt = tvqplatform::IsFinding(result, found);
  return finding;
}

std::vector<std::string> LinesOf(const tvqplatform::Comparison& result,
                                 const CompareOptions& options) {
  std::vector<std::string> lines;
  const auto add = [](VOID* context, const CHAR8* line) {
    static_cast<std::vector<std::string>*>(context)->emplace_back(line);
  };
  tvqplatform::WriteComparison(
      result, options.isVerbose ? tvqplatform::Wanted::kEverything : tvqplatform::Wanted::kFindings,
      {add, &lines, options.isAscii});
  return lines;
}

}  // namespace

Comparison ComparisonOfNothing(const std::string& why) {
  Comparison comparison;
  for (const auto& words : tvqplatform::kVerdictWords) {
    comparison.counts.emplace_back(words.Name, 0);
  }
  comparison.notComparedWhy = why;
  comparison.lines = {"Nothing was compared: " + why};
  return comparison;
}

Comparison ToComparison(tvqplatform::Comparison& result, const CompareOptions& options) {
  if (options.mask) {
    Mask(result, options);
  }
  Comparison comparison;
  for (UINTN i = 0; i < result.Size(); ++i) {
    comparison.findings.push_back(ToFinding(result, result[i]));
  }
  for (UINTN i = 0; i < tvqplatform::kVerdictCount; ++i) {
    comparison.counts.emplace_back(tvqplatform::kVerdictWords[i].Name,
                                   result.Count(static_cast<Verdict>(i)));
  }
  if (result.HasOtherFirmware()) {
    comparison.firmware = {TextIfAny(result.FirmwareBefore()), TextIfAny(result.FirmwareAfter()),
                           tvqplatform::kAfterFirmwareUpdate};
  }
  comparison.hasOtherOptions = result.HasOtherOptions();
  if (comparison.hasOtherOptions) {
    char why[kSentence];
    tvqplatform::FormatOtherOptions(result, why, sizeof(why));
    comparison.notComparedWhy = why;
    comparison.notComparedToDo = tvqplatform::kToDoForOtherOptions;
  }
  comparison.hasOtherNames = result.HasOtherNames();
  comparison.status = static_cast<ComparisonStatus>(result.Exit());
  char summary[kSentence];
  tvqplatform::FormatSummary(result, summary, sizeof(summary));
  comparison.summary = summary;
  comparison.lines = LinesOf(result, options);
  return comparison;
}

}  // namespace tvq::run
