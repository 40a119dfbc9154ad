/*
 * Findings and rules as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/text.h"

#include <fmt/format.h>

#include <algorithm>

#include "host/lint/lint.h"

namespace tvq::lint {
namespace {

constexpr std::size_t kPageWidth = 80;
constexpr std::size_t kManualWidth = 96;

std::string ProfilesOf(const Rule& rule) {
  std::string names;
  for (const Profile profile : {kDriver, kTable}) {
    if ((rule.profiles & profile) != 0) {
      names += (names.empty() ? "" : ", ") + std::string(NameOf(profile));
    }
  }
  return names;
}

// The text in lines of that width, each with `indent` in front.
std::string Wrap(std::string_view text, std::string_view indent, std::size_t lineWidth) {
  std::string wrapped;
  std::size_t width = 0;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find(' '), text.size());
    if (width != 0 && width + 1 + length > lineWidth) {
      wrapped += '\n';
      width = 0;
    }
    wrapped += width == 0 ? indent : " ";
    wrapped += text.substr(0, length);
    width += (width == 0 ? indent.size() : 1) + length;
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return wrapped + '\n';
}

std::string Indent(std::string_view text, std::string_view indent) {
  std::string indented;
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\n') + 1, text.size());
    indented += std::string(indent) + std::string(text.substr(0, length));
    text.remove_prefix(length);
  }
  return indented;
}

// "dump.bin:0x0314"
std::string Where(const FileNames& files, const Place& place) {
  const std::string& file = place.isInEntryPoint ? files.entryPoint : files.table;
  return place.offset ? fmt::format("{}:0x{:04X}", file, *place.offset) : file;
}

// "type 17, handle 0x000C: "; empty for what is no structure's.
std::string Whose(const Place& place) {
  const std::string name = StructureName(place);
  return name.empty() ? "" : name + ": ";
}

}  // namespace

std::string_view NameOf(Severity severity) {
  switch (severity) {
    case Severity::kNote:
      return "note";
    case Severity::kWarning:
      return "warning";
    case Severity::kError:
      break;
  }
  return "error";
}

std::string_view NameOf(Profile profile) {
  return profile == kBoth ? "all" : profile == kTable ? "table" : "driver";
}

Profile LeftOut(Profile profile) {
  return profile == kTable ? kDriver : kTable;
}

std::string FormatFinding(const FileNames& files, const Finding& finding,
                          std::string_view severity) {
  return fmt::format("{}: {}: {}{}; {} [{}]", Where(files, finding.place), severity,
                     Whose(finding.place), finding.message, finding.advice, finding.rule->name);
}

std::string FormatConsequence(const FileNames& files, const Finding& finding,
                              std::string_view severity) {
  return fmt::format("{}: {}: {}{} [{}]", Where(files, finding.place), severity,
                     Whose(finding.place), finding.message, finding.rule->name);
}

std::string FormatOccurrence(const FileNames& files, const Occurrence& occurrence) {
  return fmt::format("{}: {}{}", Where(files, occurrence.place), Whose(occurrence.place),
                     occurrence.message);
}

std::string FormatAlike(const Finding& finding, std::size_t limit) {
  std::vector<std::uint16_t> handles;
  std::size_t here = 0;
  for (const Occurrence& occurrence : finding.alike) {
    if (occurrence.place.offset == finding.place.offset) {
      ++here;
    } else if (handles.empty() || handles.back() != occurrence.place.handle) {
      handles.push_back(*occurrence.place.handle);
    }
  }
  std::string text = here == 0 ? "" : fmt::format("{} more in this structure", here);
  for (std::size_t i = 0; i < std::min(limit, handles.size()); ++i) {
    text += (text.empty() ? "" : ", ") + HandleName(handles[i]);
  }
  return handles.size() <= limit ? text
                                 : text + fmt::format(" and {} more", handles.size() - limit);
}

std::string FormatCounts(const std::vector<Finding>& findings) {
  std::string counts;
  for (const Severity severity : kSeverities) {
    const auto count = std::count_if(findings.begin(), findings.end(), [&](const Finding& finding) {
      return SeverityOf(finding) == severity;
    });
    if (count != 0) {
      counts +=
          (counts.empty() ? "" : ", ") + Counted(static_cast<std::size_t>(count), NameOf(severity));
    }
  }
  return counts;
}

std::string ListRules() {
  std::string list;
  for (const Rule* rule : AllRules()) {
    list += fmt::format("{:24}  {:7}  {:13}  {}\n", rule->name, NameOf(rule->severity),
                        ProfilesOf(*rule), rule->summary);
  }
  return list;
}

std::string ExplainRule(const Rule& rule) {
  std::string text =
      fmt::format("{} ({}; profile {})\n", rule.name, NameOf(rule.severity), ProfilesOf(rule));
  const auto wrap = [](std::string_view prose) { return Wrap(prose, "  ", kPageWidth); };
  text += wrap(rule.summary) + '\n' + wrap(rule.why) + "\nWhat to change:\n" + wrap(rule.fix);
  if (!rule.example.empty()) {
    text += "\nExample, in the form that `tvq mktable` reads:\n" + Indent(rule.example, "  ");
  }
  return text;
}

std::string RulesInMarkdown() {
  std::string text = "| rule | severity | profile | |\n|---|---|---|---|\n";
  for (const Rule* rule : AllRules()) {
    text += fmt::format("| [{0}](#{0}) | {1} | {2} | {3} |\n", rule->name, NameOf(rule->severity),
                        ProfilesOf(*rule), rule->summary);
  }
  for (const Rule* rule : AllRules()) {
    const auto wrap = [](std::string_view prose) { return Wrap(prose, "", kManualWidth); };
    text += fmt::format("\n## {}\n\n{}\n{}\n{}\n", rule->name, wrap(rule->summary), wrap(rule->why),
                        wrap("To change: " + std::string(rule->fix)));
    if (!rule->example.empty()) {
      text += "    " + Indent(rule->example, "    ").substr(4);
    } else {
      text.pop_back();
    }
  }
  return text;
}

}  // namespace tvq::lint
