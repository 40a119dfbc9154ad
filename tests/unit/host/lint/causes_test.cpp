/*
 * One fault, one finding: what shows at several places, and what follows from something else.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/lint/lint_fixture.h"

namespace tvq::lint {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// "rule", or "rule(consequence consequence)".
std::string Shape(const Finding& finding) {
  std::string below;
  for (const Finding& consequence : finding.consequences) {
    below += (below.empty() ? "" : " ") + Shape(consequence);
  }
  return std::string(finding.rule->name) + (below.empty() ? "" : "(" + below + ")");
}

std::vector<std::string> Shapes(const std::vector<Finding>& findings) {
  std::vector<std::string> shapes;
  for (const Finding& finding : findings) {
    shapes.push_back(Shape(finding));
  }
  return shapes;
}

std::vector<Finding> About(const std::string& blocks, Profile profile) {
  Bytes dump = Dump(SoundWith(blocks));
  RepairEntryPoint(dump);
  return ExamineDump(dump, Selection(profile));
}

std::string Module(const std::string& locator, const std::string& serial,
                   const std::string& fields = "") {
  return "[memory-device like @dimm1]\nlocator = \"" + locator + "\"\nserial = \"" + serial +
         "\"\n" + fields;
}

TEST(LintCauses, OneFaultAtSeveralPlacesIsOneFinding) {
  const auto findings =
      About(Module("A2", "N/A") + Module("A3", "N/A") + Module("A4", "7A2C0004"), kDriver);
  ASSERT_THAT(Shapes(findings), ElementsAre("serial-placeholder"));
  EXPECT_EQ(findings[0].place.handle, 0x000B);
  ASSERT_EQ(findings[0].alike.size(), 1u);
  EXPECT_EQ(findings[0].alike[0].place.handle, 0x000C);
  EXPECT_EQ(findings[0].alike[0].message, findings[0].message);
  EXPECT_EQ(FormatAlike(findings[0], 8), "handle 0x000C");
}

TEST(LintCauses, OtherTypesAndOtherAdviceAreOtherFaults) {
  EXPECT_THAT(
      Shapes(About("[cache like @l1]\nsocket = 9\n[slot like @slot1]\ndesignation = 9\n", kTable)),
      ElementsAre("string-number", "string-number"));
}

TEST(LintCauses, HandlesAreNamedUpToALimit) {
  const auto findings =
      About(Module("A2", "N/A") + Module("A3", "N/A") + Module("A4", "N/A") + Module("A5", "N/A"),
            kDriver);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(FormatAlike(findings[0], 2), "handle 0x000C, handle 0x000D and 1 more");
  EXPECT_EQ(FormatAlike(findings[0], 3), "handle 0x000C, handle 0x000D, handle 0x000E");
}

TEST(LintCauses, PlacesInOneStructureAreCounted) {
  const auto findings = About(
      "[memory-device @d2 like @dimm1]\nlocator = \"A2\"\nserial = \"2\"\n"
      "[memory-device @d3 like @dimm1]\nlocator = \"A3\"\nserial = \"3\"\n"
      "[fqdd-map]\nformat = 1\nfqdd = \"DIMM.Socket.A2.Node1\" @d2\n"
      "fqdd = \"DIMM.Socket.A3.Node1\" @d3\n",
      kDriver);
  ASSERT_THAT(Shapes(findings), ElementsAre("fqdd-long"));
  EXPECT_EQ(FormatAlike(findings[0], 8), "1 more in this structure");
}

TEST(LintCauses, AClashFollowsFromTheLocatorThatLosesItsName) {
  EXPECT_THAT(Shapes(About(Module("CPU1_DIMM_A2", "2") + Module("CPU1_DIMM_B2", "3"), kDriver)),
              ElementsAre("locator-prefix(locator-clash)"));
}

TEST(LintCauses, AClashOfDevicesElsewhereStandsAlone) {
  EXPECT_THAT(Shapes(About(Module("CPU1_DIMM_A2", "2") + Module("A1", "3"), kDriver)),
              ElementsAre("locator-prefix", "locator-clash"));
}

TEST(LintCauses, WhatStandsBehindTheEndFollowsFromStandingThere) {
  EXPECT_THAT(
      Shapes(About("[end]\n[oem-strings 0xFF00]\nstring = \"one\"\n"
                   "[cache 0x0B00 like @l1]\nsocket = 9\n",
                   kTable)),
      ElementsAre("behind-end-of-table(handle-range)", "behind-end-of-table(string-number)"));
}

TEST(LintCauses, TextsOfAStructureWithAFalseLengthFollowFromIt) {
  EXPECT_THAT(Shapes(About("[cache like @l1]\nsocket = 9\nmaximum-size2 = 0x01010101\n"
                           "installed-size2 = 0x01010101\nbytes 0x01 = 13\n",
                           kTable)),
              ElementsAre("structure-length-small(string-number)"));
}

TEST(LintCauses, WhatTheDriverMakesOfAFaultHangsBelowIt) {
  const auto findings = About(Module("A2", "2", "array = 0xFFFF\nasset-tag = 9\n"), kBoth);
  ASSERT_THAT(Shapes(findings), ElementsAre("string-number(string-missing)"));
  EXPECT_TRUE(IsAboutStandard(*findings[0].rule));
  EXPECT_FALSE(IsAboutStandard(*findings[0].consequences[0].rule));
}

TEST(LintCauses, AFaultIsAsGraveAsItsConsequences) {
  const auto findings = About(Module("CPU1_DIMM_A2", "2") + Module("CPU1_DIMM_B2", "3"), kDriver);
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].rule->severity, Severity::kWarning);
  EXPECT_EQ(SeverityOf(findings[0]), Severity::kError);
  EXPECT_EQ(FormatCounts(findings), "1 error");
}

TEST(LintCauses, TheStandardComesBeforeTheDriver) {
  EXPECT_THAT(Shapes(About(Module("CPU1_DIMM_A2", "2", "array = 0xFFFF\n") +
                               "[cache like @l1]\nsocket = 9\n",
                           kBoth)),
              ElementsAre("string-number", "locator-prefix"));
}

// An early end hides what stands behind it, and has no part in what stands there twice.
TEST(LintCauses, WhatIsMissingFollowsFromAnEarlyEnd) {
  Selection selection(kDriver);
  selection.Disable("all");
  selection.Enable("handle-reserved");
  selection.Enable("system-count");
  const auto about = [&selection](const std::string& systems) {
    return Shapes(ExamineDump(Dump("version = 3.3\n[bios 0]\n" + systems +
                                   "[oem-strings 0xFFFF]\n[system 9]\nproduct = \"Node\"\n"),
                              selection));
  };
  EXPECT_THAT(about(""), ElementsAre("handle-reserved(system-count)"));
  EXPECT_THAT(about("[system 1]\n[system 2]\n"),
              testing::UnorderedElementsAre("handle-reserved", "system-count"));
}

TEST(LintCauses, NothingFollowsWithoutItsCause) {
  Selection selection(kDriver);
  selection.Disable("locator-prefix");
  const Bytes dump = Dump(SoundWith(Module("CPU1_DIMM_A2", "2") + Module("CPU1_DIMM_B2", "3")));
  EXPECT_THAT(Shapes(ExamineDump(dump, selection)), ElementsAre("locator-clash"));
  selection.Disable("all");
  EXPECT_THAT(ExamineDump(dump, selection), IsEmpty());
}

}  // namespace
}  // namespace tvq::lint
