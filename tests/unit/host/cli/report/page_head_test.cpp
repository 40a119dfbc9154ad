/*
 * The head of the page: what the machine is, in figures.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/unit/host/cli/report/page_fixture.h"

namespace tvq::cli {
namespace {

using test::Bios;
using test::Chassis;
using test::End;
using test::MemoryDevice;
using test::Processor;
using test::Slot;
using test::System;
using test::Table;
using testing::HasSubstr;

class ReportHead : public PageTest {
 protected:
  static std::string Head(const std::string& page) { return PageOutline(page, "<header").Text(); }
};

TEST_F(ReportHead, SaysWhatTheMachineIsInFigures) {
  EXPECT_EQ(Head(Page(Table::Of(Bios{}, System{}, Chassis{}, Processor{},
                                Processor{.designation = "CPU2"},
                                Processor{.designation = "CPU3", .status = 0}, MemoryDevice{},
                                MemoryDevice{.size = 0, .locator = "DIMM_A2"}, Slot{.usage = 4},
                                Slot{.designation = "PCIe Slot 2"},
                                Slot{.designation = "PCIe Slot 3", .usage = 4}, End{}),
                      {"--show-serials"})),
            R"(header.top
  p.kicker: Machine report
  h1: Rack One
  p.maker: Server Works · 2 U Rack Mount Chassis
  p.numbers
    span.code: Serial ABC1234 · UUID 00112233-4455-6677-8899-aabbccddeeff
  dl.figures
      dt: processor sockets in use =
        strong: 2 of 3
        span: 16 cores
      dt: memory =
        strong: 16 GB
        span: 1 of 2 slots in use
      dt: expansion slots in use =
        strong: 2 of 3
      dt: firmware =
        strong: 2.4.6
        span: Firmware Works, 03/14/2021
      dt: SMBIOS =
        strong: 3.0
        span: 13 structures)");
}

TEST_F(ReportHead, LeavesOutWhatIsNotKnown) {
  EXPECT_EQ(Head(Page(Table::Of(End{}))), R"(header.top
  p.kicker: Machine report
  h1: A machine without a name
  dl.figures
      dt: SMBIOS =
        strong: 3.0
        span: 2 structures)");
  EXPECT_EQ(Head(Page(Table::Of(Bios{.vendor = std::nullopt, .releaseDate = std::nullopt},
                                System{.manufacturer = std::nullopt,
                                       .product = std::nullopt,
                                       .uuid = test::Bytes(16, 0xFF)},
                                Processor{.coreCount = 0, .coreCount2 = 0}, End{}),
                      {"--show-serials"})),
            R"(header.top
  p.kicker: Machine report
  h1: A machine without a name
  p.numbers
    span.code: Serial ABC1234
  dl.figures
      dt: processor sockets in use =
        strong: 1 of 1
      dt: firmware =
        strong: 2.4.6
      dt: SMBIOS =
        strong: 3.0
        span: 5 structures)");
}

TEST_F(ReportHead, SaysBesideANumberThatItIsMasked) {
  EXPECT_THAT(Head(Page(Table::Of(System{}, End{}))),
              HasSubstr("\n    span.badge.quiet: masked\n"));
}

TEST_F(ReportHead, NamesThePageAfterTheMachineAndItsTable) {
  const auto title = [](const std::string& page) { return PageOutline(page, "<title").Text(); };
  EXPECT_EQ(title(Page(Table::Of(System{}, End{}))), "title: Rack One - table.bin");
  EXPECT_EQ(title(Page(Table::Of(System{.product = std::nullopt}, End{}))), "title: table.bin");
}

TEST_F(ReportHead, ListsTheSectionsThatThereAre) {
  const auto contents = [](const std::string& page) { return PageOutline(page, "<nav").Text(); };
  const Table sound = Table::Of(Bios{}, System{}, End{});
  EXPECT_EQ(contents(Page(sound)), R"(nav
  ul
    li
      a -> #brief: In short
    li
      a -> #picture: Picture
    li
      a -> #findings: Findings
    li
      a -> #driver: Driver
    li
      a -> #details: Details)");
  EXPECT_EQ(contents(PageSince(sound, Table::Of(Bios{}, Processor{}))), R"(nav
  ul
    li
      a -> #brief: In short
    li
      a -> #changes: Changes
    li
      a -> #picture: Picture
    li
      a -> #findings: Findings
    li
      a -> #driver: Driver
    li
      a -> #details: Details)");
}

TEST_F(ReportHead, SaysAtTheEndWhetherNumbersAreMasked) {
  const auto footer = [](const std::string& page) { return PageOutline(page, "<footer").Text(); };
  const Table table = Table::Of(Bios{}, System{}, End{});
  EXPECT_THAT(footer(Page(table)), HasSubstr("With --show-serials the page has them as they are."));
  EXPECT_THAT(
      footer(Page(table, {"--show-serials"})),
      HasSubstr("p: This page has the serial numbers of the machine and its parts as they are."));
}

}  // namespace
}  // namespace tvq::cli
