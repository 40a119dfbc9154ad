/*
 * The index of many pages.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/index_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/cli/report/page_outline.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;

std::vector<IndexRow> Rows() {
  ReportSummary sound;
  sound.machine = "Server Works Rack One";
  sound.serial = "ABC1234";
  sound.processors = "2, 16 cores";
  sound.memoryInBytes = 64ull << 30;
  sound.modules = "4 of 16";
  sound.firmware = "2.4.6";
  sound.changes = 0;
  ReportSummary bare;
  bare.errors = 1;
  bare.warnings = 2;
  ReportSummary changed;
  changed.changes = 3;
  return {{"a.bin", "a.html", sound, ""},
          {"b.bin", "b.html", bare, ""},
          {"c.bin", "c.html", changed, ""},
          {"d.bin", "", {}, "it ends within a structure"}};
}

std::string TableOf(const std::string& page) {
  return PageOutline(page, "<table").Text();
}

TEST(IndexPage, HasARowForEachMachine) {
  EXPECT_EQ(TableOf(IndexPage(Rows(), true, false)), R"(table#machines.parts
  caption.unseen: Machines, with the pages about them
  thead
    tr | Table | Machine | Serial | Processors | Memory | Modules | Firmware | Errors | Warnings
  tbody
    tr |  a -> a.html: a.bin | .value: Server Works Rack One | .value: ABC1234 | .value: 2, 16 cores | .value (68719476736): 64 GB | .value: 4 of 16 | .value: 2.4.6 |  (0) span: 0 |  (0) span: 0
    tr |  a -> b.html: b.bin | .none: – | .none: – | .none: – | .value (0): 0 bytes | .none: – | .none: – |  (1) span.badge.error: 1 |  (2) span.badge.warning: 2
    tr |  a -> c.html: c.bin | .none: – | .none: – | .none: – | .value (0): 0 bytes | .none: – | .none: – |  (0) span: 0 |  (0) span: 0
    tr | d.bin |  across 8: No page: it ends within a structure)");
}

TEST(IndexPage, CountsWhatChangedWhereItWasCompared) {
  EXPECT_EQ(TableOf(IndexPage(Rows(), true, true)), R"(table#machines.parts
  caption.unseen: Machines, with the pages about them
  thead
    tr | Table | Machine | Serial | Processors | Memory | Modules | Firmware | Errors | Warnings | Changes
  tbody
    tr |  a -> a.html: a.bin | .value: Server Works Rack One | .value: ABC1234 | .value: 2, 16 cores | .value (68719476736): 64 GB | .value: 4 of 16 | .value: 2.4.6 |  (0) span: 0 |  (0) span: 0 |  (0) span: 0
    tr |  a -> b.html: b.bin | .none: – | .none: – | .none: – | .value (0): 0 bytes | .none: – | .none: – |  (1) span.badge.error: 1 |  (2) span.badge.warning: 2 | .none (-1): –
    tr |  a -> c.html: c.bin | .none: – | .none: – | .none: – | .value (0): 0 bytes | .none: – | .none: – |  (0) span: 0 |  (0) span: 0 |  (3) span.badge.changed: 3
    tr | d.bin |  across 9: No page: it ends within a structure)");
}

TEST(IndexPage, SaysHowManyTablesHaveNoPage) {
  const auto head = [](const std::vector<IndexRow>& rows) {
    return PageOutline(IndexPage(rows, true, false), "<header").Text();
  };
  EXPECT_EQ(head(Rows()), R"(header.top
  p.kicker: Machine reports
  h1: 3 machines
  p.maker: 1 table without a page)");
  EXPECT_EQ(head({Rows()[0]}), R"(header.top
  p.kicker: Machine reports
  h1: 1 machine)");
}

TEST(IndexPage, SaysWhetherSerialNumbersAreMasked) {
  const auto footer = [](bool isRedacted) {
    return PageOutline(IndexPage({}, isRedacted, false), "<footer").Text();
  };
  EXPECT_THAT(footer(true), HasSubstr("p: Serial numbers are masked."));
  EXPECT_THAT(footer(false), HasSubstr("p: Serial numbers are as they are."));
}

}  // namespace
}  // namespace tvq::cli
