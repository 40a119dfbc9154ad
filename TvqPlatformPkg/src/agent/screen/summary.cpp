/** @file
  What matters first: how the visit went, what was found, and what to do.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "summary.h"

#include "../calendar.h"

namespace tvqplatform {

namespace {

constexpr UINTN kSentence = 200;

void Add(Style style, const CHAR8* text, ScreenContent& content) {
  content.Expect(content.Summary.Add(style, text));
}

void AddComparison(const StateOutcome& outcome, ScreenContent& content) {
  CHAR8 time[kTimeTextSize];
  CHAR8 text[kSentence];
  FormatTime(outcome.SavedTime, time);
  const UINT32 found = static_cast<UINT32>(content.CountFindings());
  const UINT32 all = static_cast<UINT32>(content.PresentCount);
  if (found != 0) {
    AsciiSPrint(text, sizeof(text), "%d of %d devices %a not what was saved %a. What to do:", found,
                MAX(all, found), found == 1 ? "is" : "are", time);
    Add(Style::kAttention, text, content);
  } else if (content.IsQuiet) {
    AsciiSPrint(text, sizeof(text), "Nothing to do: %d %a saved %a.", all,
                all == 1 ? "device, as it was" : "devices, as they were", time);
    Add(Style::kGood, text, content);
  } else {
    AsciiSPrint(text, sizeof(text),
                "No part was exchanged since what was saved %a. What to do:", time);
    Add(Style::kGood, text, content);
  }
}

void AddHeadlines(const VisitFacts& facts, ScreenContent& content) {
  CHAR8 text[kSentence];
  const UINT32 all = static_cast<UINT32>(content.PresentCount);
  if (facts.Report.HasFailed()) {
    Add(Style::kTrouble, "Something went wrong. What to do:", content);
  }
  if (facts.Outcome.IsCompared) {
    AddComparison(facts.Outcome, content);
  } else if (facts.Outcome.End == StateEnd::kFirst) {
    AsciiSPrint(text, sizeof(text), "First visit: %d %a saved. Nothing to do.", all,
                all == 1 ? "device is" : "devices are");
    Add(Style::kGood, text, content);
  } else if (facts.IsReadOnly && !facts.Report.HasFailed()) {
    AsciiSPrint(text, sizeof(text), "%d %a. Nothing was saved before to compare with.", all,
                all == 1 ? "device" : "devices");
    Add(Style::kAttention, text, content);
  }
}

/// A line of the comparison that names a device; what is said of it is set in deeper.
bool NamesDevice(const CHAR8* line, UINTN length) {
  return length > 2 && line[0] == ' ' && line[1] == ' ' && line[2] != ' ';
}

Style StyleOf(Topic topic, const CHAR8* line, UINTN length) {
  switch (topic) {
    case Topic::kProblem:
      return Style::kTrouble;
    case Topic::kMedium:
      return Style::kAttention;
    case Topic::kFinding:
      return NamesDevice(line, length) ? Style::kAttention : Style::kPlain;
    default:
      return Style::kPlain;
  }
}

void AddTopic(const Report& report, Topic topic, ScreenContent& content) {
  report.ForEachLine([topic, &content](const CHAR8* line, UINTN length, Topic about) {
    if (about == topic) {
      content.Expect(content.Summary.Add(StyleOf(topic, line, length), line, length));
    }
  });
}

void AddReport(const Report& report, ScreenContent& content) {
  content.Expect(content.Report.Add(Style::kHeading, "The whole report:"));
  report.ForEachLine([&content](const CHAR8* line, UINTN length, Topic about) {
    content.Expect(content.Report.Add(StyleOf(about, line, length), line, length));
  });
}

}  // namespace

void Summarize(const VisitFacts& facts, ScreenContent& content) {
  content.Summary.Clear();
  content.Report.Clear();
  AddHeadlines(facts, content);
  AddTopic(facts.Report, Topic::kProblem, content);
  AddTopic(facts.Report, Topic::kMedium, content);
  AddTopic(facts.State, Topic::kFinding, content);
  AddTopic(facts.State, Topic::kState, content);
  AddReport(facts.Report, content);
  if (content.IsCut) {
    Add(Style::kTrouble, "There is no memory to show everything; \\TVQ\\report.txt has it.",
        content);
  }
}

}  // namespace tvqplatform
