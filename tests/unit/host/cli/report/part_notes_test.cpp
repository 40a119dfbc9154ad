/*
 * Findings and changes are told of with the part that they concern.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/part_notes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/cli/machine/machine_view.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using test::MemoryDevice;
using test::Processor;
using test::Table;
using testing::ElementsAre;
using testing::IsEmpty;

Report ReportOf(const Table& table) {
  Report report;
  report.overview.machine = facts::ReadMachine(table.Bytes(), {3, 3}, table.Count());
  return report;
}

Report ReportOf(const Table& table, std::vector<run::Finding> changes) {
  Report report = ReportOf(table);
  report.earlier.emplace();
  report.earlier->comparison.findings = std::move(changes);
  return report;
}

// A change of a device that somebody has to look at.
run::Finding ChangeOf(const std::u16string& fqdd, const std::string& label) {
  run::Finding change;
  change.fqdd = fqdd;
  change.label = label;
  change.kind = "memory module";
  change.isToLookAt = true;
  return change;
}

run::DeviceLabel Named(std::uint16_t handle, const std::u16string& fqdd) {
  run::DeviceLabel label;
  label.fqdd = fqdd;
  label.handle = handle;
  return label;
}

// "module[2]"; empty where it sits nowhere.
std::string PlaceIn(const Report& report, const run::Finding& change) {
  const auto place = PartNotes(report).PlaceOf(change);
  return place ? std::string(NameOf(place->kind).one) + "[" + std::to_string(place->index + 1) + "]"
               : "";
}

TEST(PartNotes, HaveTheFindingsAboutAPart) {
  Report report =
      ReportOf(Table::Of(MemoryDevice{.handle = 0x1100}, MemoryDevice{.handle = 0x1101}));
  lint::Finding first = {};
  first.place.type = 17;
  first.place.handle = 0x1101;
  lint::Finding second = first;
  second.alike.push_back({first.place, ""});
  const lint::Finding ofTheTable = {};
  report.findings = {first, ofTheTable, second};
  const PartNotes notes(report);
  EXPECT_THAT(notes.FindingsOf({Kind::kModule, 1}), ElementsAre(0, 2));
  EXPECT_THAT(notes.FindingsOf({Kind::kModule, 0}), IsEmpty());
}

TEST(PartNotes, HaveTheChangesOfAPart) {
  const Report report =
      ReportOf(Table::Of(MemoryDevice{.locator = "A1"}, MemoryDevice{.locator = "A2"}),
               {ChangeOf(u"", "A2"), ChangeOf(u"", "A1"), ChangeOf(u"", "A2")});
  const PartNotes notes(report);
  EXPECT_THAT(notes.Changes(), ElementsAre(0, 1, 2));
  EXPECT_THAT(notes.ChangesOf({Kind::kModule, 1}), ElementsAre(0, 2));
}

TEST(PartNotes, FindADeviceByItsNameAlsoWhereLabelsAreEqual) {
  Report report =
      ReportOf(Table::Of(MemoryDevice{.handle = 0x1100}, MemoryDevice{.handle = 0x1101}));
  report.overview.results.labels = {Named(0x1100, u"DIMM.Socket.A1"),
                                    Named(0x1101, u"DIMM.Socket._N4")};
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"DIMM.Socket._N4", "DIMM_A1")), "module[2]");
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"DIMM.Socket.B1", "DIMM_A1")), "")
      << "two slots have the label";
}

TEST(PartNotes, FindADeviceWithoutANameByWhatIsPrintedThere) {
  Report report = ReportOf(Table::Of(Processor{.designation = "CPU1"},
                                     Processor{.handle = 0x401, .designation = "CPU2"},
                                     MemoryDevice{.locator = "A1"}, MemoryDevice{.locator = "A2"}));
  report.overview.results.labels = {Named(0x401, u"")};
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"", " CPU1 ")), "processor[1]");
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"", "A2")), "module[2]");
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"", "A3")), "");
}

TEST(PartNotes, FindNoDeviceWhereNothingIsPrinted) {
  const Report report =
      ReportOf(Table::Of(MemoryDevice{.locator = "A1"}, MemoryDevice{.locator = std::nullopt}));
  EXPECT_EQ(PlaceIn(report, ChangeOf(u"", "")), "");
}

}  // namespace
}  // namespace tvq::cli
