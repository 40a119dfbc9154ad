/*
 * Which findings follow from others, and which are the same fault.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/causes.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace tvq::lint {
namespace {

// Where a fault has consequences.
enum class Reach {
  kStructure,  // in the structure that has it
  kTable,      // anywhere
  kAbsence,    // in what is said of the table as a whole: that something is not there
};

struct Cause {
  std::string_view cause;
  std::string_view effect;
  Reach reach;
};

constexpr std::string_view kAnyRule;

// The first line that applies counts. A rule has consequences only among rules whose own lines come
// later, so that nothing is its own cause.
constexpr Cause kCauses[] = {
    {"behind-end-of-table", kAnyRule, Reach::kStructure},

    // The rest of the table is not there.
    {"entry-point-table-length", "structure-cut", Reach::kTable},
    {"entry-point-table-length", "structure-unterminated", Reach::kTable},
    {"entry-point-table-length", "entry-point-count", Reach::kTable},
    {"entry-point-table-length", "end-of-table-missing", Reach::kTable},
    {"entry-point-table-length", "required-structure", Reach::kTable},
    {"entry-point-table-length", "reference-missing", Reach::kTable},
    {"entry-point-table-length", "cache-missing", Reach::kTable},
    {"entry-point-table-length", "fqdd-structure", Reach::kTable},
    {"entry-point-table-length", "extension-device", Reach::kTable},
    {"entry-point-table-length", "array-device-count", Reach::kTable},
    {"entry-point-table-length", "system-count", Reach::kAbsence},
    {"entry-point-table-length", "bios-count", Reach::kAbsence},
    {"zero-padding", "entry-point-count", Reach::kTable},
    {"zero-padding", "end-of-table-missing", Reach::kTable},
    {"zero-padding", "required-structure", Reach::kTable},
    {"zero-padding", "reference-missing", Reach::kTable},
    {"zero-padding", "cache-missing", Reach::kTable},
    {"zero-padding", "fqdd-structure", Reach::kTable},
    {"zero-padding", "extension-device", Reach::kTable},
    {"zero-padding", "array-device-count", Reach::kTable},
    {"zero-padding", "system-count", Reach::kAbsence},
    {"zero-padding", "bios-count", Reach::kAbsence},
    {"structure-cut", kAnyRule, Reach::kStructure},
    {"structure-cut", "entry-point-count", Reach::kTable},
    {"structure-cut", "end-of-table-missing", Reach::kTable},
    {"structure-cut", "required-structure", Reach::kTable},
    {"structure-cut", "reference-missing", Reach::kTable},
    {"structure-cut", "cache-missing", Reach::kTable},
    {"structure-cut", "fqdd-structure", Reach::kTable},
    {"structure-cut", "extension-device", Reach::kTable},
    {"structure-cut", "array-device-count", Reach::kTable},
    {"structure-cut", "system-count", Reach::kAbsence},
    {"structure-cut", "bios-count", Reach::kAbsence},
    {"structure-unterminated", kAnyRule, Reach::kStructure},
    {"structure-unterminated", "end-of-table-missing", Reach::kTable},

    // A structure is another one than was meant.
    {"structure-length", kAnyRule, Reach::kStructure},
    {"structure-length-small", kAnyRule, Reach::kStructure},
    {"handle-reserved", "fqdd-map-missing", Reach::kAbsence},
    {"handle-reserved", "system-count", Reach::kAbsence},
    {"handle-reserved", "bios-count", Reach::kAbsence},
    {"handle-reserved", "required-structure", Reach::kAbsence},
    {"handle-reserved", "array-device-count", Reach::kTable},
    {"handle-reserved", "cache-missing", Reach::kTable},
    {"handle-repeated", "fqdd-clash", Reach::kStructure},
    {"entry-point-length", "entry-point-checksum", Reach::kTable},
    {"entry-point-anchor", "entry-point-checksum", Reach::kTable},

    // One field, and what is made of it.
    {"string-number", "string-missing", Reach::kStructure},
    {"reference-missing", "array-device-count", Reach::kTable},
    {"reference-type", "array-device-count", Reach::kTable},
    {"reference-missing", "cache-missing", Reach::kStructure},
    {"reference-type", "cache-missing", Reach::kStructure},
    {"structure-short", "structure-older", Reach::kStructure},
    {"structure-short", "memory-short", Reach::kStructure},
    {"structure-older", "memory-short", Reach::kStructure},
    {"socket-digit", "socket-clash", Reach::kStructure},
    {"socket-digit", "fqdd-clash", Reach::kStructure},
    {"locator-prefix", "locator-clash", Reach::kStructure},
    {"locator-prefix", "fqdd-clash", Reach::kStructure},
    {"locator-short", "locator-clash", Reach::kStructure},
    {"locator-short", "fqdd-clash", Reach::kStructure},
    {"serial-long", "serial-alike", Reach::kStructure},
};

std::size_t RankOf(std::string_view rule) {
  return static_cast<std::size_t>(
      std::find_if(std::begin(kCauses), std::end(kCauses),
                   [&](const Cause& line) { return line.cause == rule; }) -
      std::begin(kCauses));
}

bool IsSameStructure(const Place& left, const Place& right) {
  return left.type && left.offset == right.offset && left.isInEntryPoint == right.isInEntryPoint;
}

bool Reaches(const Cause& line, const Finding& cause, const Finding& effect) {
  switch (line.reach) {
    case Reach::kStructure:
      return IsSameStructure(cause.place, effect.place);
    case Reach::kAbsence:
      return !effect.place.offset;
    case Reach::kTable:
      break;
  }
  return true;
}

// The position of what causes the finding.
std::optional<std::size_t> FindCause(const std::vector<Finding>& findings, const Finding& effect) {
  const std::size_t rank = RankOf(effect.rule->name);
  for (const Cause& line : kCauses) {
    if ((line.effect != effect.rule->name && line.effect != kAnyRule) ||
        RankOf(line.cause) >= rank) {
      continue;
    }
    const auto found =
        std::find_if(findings.begin(), findings.end(), [&](const Finding& candidate) {
          return candidate.rule->name == line.cause && Reaches(line, candidate, effect);
        });
    if (found != findings.end()) {
      return static_cast<std::size_t>(found - findings.begin());
    }
  }
  return std::nullopt;
}

// What stands at the positions, each with its consequences below it.
std::vector<Finding> Gather(const std::vector<std::size_t>& positions,
                            const std::vector<std::vector<std::size_t>>& effects,
                            std::vector<Finding>& findings) {
  std::vector<Finding> gathered;
  for (const std::size_t position : positions) {
    gathered.push_back(std::move(findings[position]));
    gathered.back().consequences = Gather(effects[position], effects, findings);
  }
  return gathered;
}

std::vector<Finding> HangBelowCauses(std::vector<Finding> findings) {
  std::vector<std::size_t> roots;
  std::vector<std::vector<std::size_t>> effects(findings.size());
  for (std::size_t i = 0; i < findings.size(); ++i) {
    const std::optional<std::size_t> cause = FindCause(findings, findings[i]);
    (cause ? effects[*cause] : roots).push_back(i);
  }
  return Gather(roots, effects, findings);
}

// Whether one change to how structures of a type are made mends both.
bool IsSameFault(const Finding& left, const Finding& right) {
  return left.place.type && left.rule == right.rule && left.place.type == right.place.type &&
         left.advice == right.advice;
}

std::vector<Finding> JoinAlike(std::vector<Finding> findings) {
  std::vector<Finding> joined;
  for (Finding& finding : findings) {
    const auto first = std::find_if(joined.begin(), joined.end(), [&](const Finding& candidate) {
      return IsSameFault(candidate, finding);
    });
    if (first == joined.end()) {
      joined.push_back(std::move(finding));
      continue;
    }
    first->alike.push_back({finding.place, std::move(finding.message)});
    std::move(finding.consequences.begin(), finding.consequences.end(),
              std::back_inserter(first->consequences));
  }
  for (Finding& finding : joined) {
    finding.consequences = JoinAlike(std::move(finding.consequences));
  }
  return joined;
}

}  // namespace

std::vector<Finding> ArrangeByFault(std::vector<Finding> findings) {
  return JoinAlike(HangBelowCauses(std::move(findings)));
}

}  // namespace tvq::lint
