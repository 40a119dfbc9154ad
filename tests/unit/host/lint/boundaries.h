/*
 * Where a rule begins to apply: cases on both sides of each of its limits.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_LINT_BOUNDARIES_H_
#define TVQ_TESTS_UNIT_HOST_LINT_BOUNDARIES_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/host/lint/lint_fixture.h"

namespace tvq::lint {

struct Boundary {
  std::string
      source;  // blocks behind a sound table, or a table of its own that begins with its version
  std::vector<std::string> said;  // by the rule: a piece of each finding
};

// One finding for each place of a fault, in their order.
inline std::vector<Finding> EachPlace(const std::vector<Finding>& findings) {
  std::vector<Finding> places;
  for (const Finding& finding : findings) {
    places.push_back(finding);
    for (const Occurrence& occurrence : finding.alike) {
      places.push_back(finding);
      places.back().place = occurrence.place;
      places.back().message = occurrence.message;
    }
  }
  std::stable_sort(places.begin(), places.end(), [](const Finding& left, const Finding& right) {
    return left.place.offset < right.place.offset;
  });
  return places;
}

// What one rule has to say.
inline std::vector<std::string> LinesOf(std::string_view rule, const Subject& subject) {
  Selection alone(kDriver);
  alone.Disable("all");
  EXPECT_TRUE(alone.Enable(rule)) << rule;
  return Lines(EachPlace(Examine(subject, alone)));
}

inline std::vector<std::string> LinesOf(std::string_view rule, const Bytes& dump) {
  const auto subject = Subject::Read(dump);
  EXPECT_TRUE(subject);
  return subject ? LinesOf(rule, *subject) : std::vector<std::string>();
}

inline void ExpectBoundaries(std::string_view rule, const std::vector<Boundary>& boundaries) {
  for (const auto& [source, said] : boundaries) {
    const bool isWhole = source.substr(0, 7) == "version";
    const auto lines = LinesOf(rule, Dump(isWhole ? source : SoundWith(source)));
    std::vector<testing::Matcher<std::string>> expected;
    for (const std::string& piece : said) {
      expected.push_back(testing::HasSubstr(piece));
    }
    EXPECT_THAT(lines, testing::ElementsAreArray(expected)) << source;
  }
}

}  // namespace tvq::lint

#endif  // TVQ_TESTS_UNIT_HOST_LINT_BOUNDARIES_H_
