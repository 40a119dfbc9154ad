/*
 * The picture of the machine: what stands in each box, where the boxes stand, and where they lead.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "tests/unit/host/cli/report/page_fixture.h"

namespace tvq::cli {
namespace {

using test::End;
using test::MemoryArray;
using test::MemoryDevice;
using test::Processor;
using test::Slot;
using test::System;
using test::Table;
using testing::StartsWith;

class ReportPicture : public PageTest {
 protected:
  // Without the heading and the legend.
  static std::string FromSockets(const std::string& page) {
    const std::string section = Section(page, "picture");
    return section.substr(section.find("  div.sockets"));
  }
  template <typename... Parts>
  std::string Picture(const Parts&... parts) {
    return FromSockets(
        Page(Table::Of(test::Bios{}, System{}, MemoryArray{.handle = 0x1000}, parts..., End{})));
  }
};

TEST_F(ReportPicture, PutsEachModuleAtItsChannelAndProcessor) {
  EXPECT_EQ(
      Picture(Processor{},
              Processor{.designation = "CPU2",
                        .version = std::nullopt,
                        .coreCount = 0,
                        .threadCount = 0,
                        .coreCount2 = 0,
                        .threadCount2 = 0},
              MemoryDevice{.locator = "P1-DIMMA1"}, MemoryDevice{.size = 0, .locator = "P1-DIMMA2"},
              MemoryDevice{.locator = "P1-DIMMB1", .configuredSpeed = 3200},
              MemoryDevice{.size = 0x2000, .locator = "P2-DIMMA1", .configuredSpeed = 0}),
      R"(  div.sockets
    article.socket
      h3#at-processor-1
        a.name -> #processor-1: CPU1
        span.what: Core Works Model 8 @ 2.40GHz
        span.kind: 8 cores, 16 threads, 2400 MHz
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-1.box.module
              a.name -> #module-1: P1-DIMMA1
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 2933 of 3200 MT/s
              span.bar
                span {width:100%}
              span.badge.slow: slow
            li#at-module-2.box.module.empty
              a.name -> #module-2: P1-DIMMA2
              span.size: empty
        div.channel
          h4: B
          ul.stack
            li#at-module-3.box.module
              a.name -> #module-3: P1-DIMMB1
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 3200 MT/s
              span.bar
                span {width:100%}
              a.badge.warning -> #finding-6: 1 finding
              a.badge.quiet -> #finding-8: driver: 1 finding
    article.socket
      h3#at-processor-2
        a.name -> #processor-2: CPU2
        span.kind: 2400 MHz
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-4.box.module
              a.name -> #module-4: P2-DIMMA1
              span.size: 8 GB
              span.kind: DDR4
              span.kind: 3200 MT/s
              span.bar
                span {width:50%}
              a.badge.warning -> #finding-6: 1 finding)");
}

TEST_F(ReportPicture, MarksModulesThatRunSlowlyAndThoseOfAnotherKind) {
  EXPECT_EQ(Picture(Processor{}, MemoryDevice{.locator = "P1-DIMMA1", .configuredSpeed = 3200},
                    MemoryDevice{.locator = "P1-DIMMB1", .configuredSpeed = 3200},
                    MemoryDevice{.size = 0x2000,
                                 .locator = "P1-DIMMC1",
                                 .speed = 2666,
                                 .configuredSpeed = 2400,
                                 .volatileSize = 0x200000000},
                    MemoryDevice{.size = 0xFFFF,
                                 .locator = "P1-DIMMD1",
                                 .memoryType = 2,
                                 .speed = 0,
                                 .configuredSpeed = 2400}),
            R"(  div.sockets
    article.socket
      h3#at-processor-1
        a.name -> #processor-1: CPU1
        span.what: Core Works Model 8 @ 2.40GHz
        span.kind: 8 cores, 16 threads, 2400 MHz
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-1.box.module
              a.name -> #module-1: P1-DIMMA1
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 3200 MT/s
              span.bar
                span {width:100%}
        div.channel
          h4: B
          ul.stack
            li#at-module-2.box.module
              a.name -> #module-2: P1-DIMMB1
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 3200 MT/s
              span.bar
                span {width:100%}
              a.badge.warning -> #finding-6: 1 finding
              a.badge.quiet -> #finding-8: driver: 1 finding
        div.channel
          h4: C
          ul.stack
            li#at-module-3.box.module
              a.name -> #module-3: P1-DIMMC1
              span.size: 8 GB
              span.kind: DDR4
              span.kind: 2400 of 2666 MT/s
              span.bar
                span {width:50%}
              span.badge.slow: slow
              span.badge.mixed: mixed
              span.why: most here: 16 GB DDR4, rank 2, 3200 MT/s
              a.badge.warning -> #finding-6: 1 finding
              a.badge.quiet -> #finding-8: driver: 1 finding
        div.channel
          h4: D
          ul.stack
            li#at-module-4.box.module
              a.name -> #module-4: P1-DIMMD1
              span.size: size unknown
              span.kind: Unknown
              span.kind: 2400 MT/s
              span.bar
                span {width:0%}
              span.badge.mixed: mixed
              span.why: most here: 16 GB DDR4, rank 2, 3200 MT/s
              a.badge.warning -> #finding-6: 1 finding
              a.badge.quiet -> #finding-8: driver: 1 finding)");
}

TEST_F(ReportPicture, HasNoBarsWhereNoSizeIsKnown) {
  EXPECT_EQ(Picture(MemoryDevice{.size = 0xFFFF}), R"(  div.sockets
    article.socket
      h3: Memory
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-1.box.module
              a.name -> #module-1: DIMM_A1
              span.size: size unknown
              span.kind: DDR4
              span.kind: 2933 of 3200 MT/s
              span.badge.slow: slow)");
}

TEST_F(ReportPicture, ShowsAChannelAsAColumnUnlessItHasMoreThanFourSlots) {
  std::vector<MemoryDevice> modules;
  for (int i = 1; i <= 4; ++i) {
    modules.push_back({.size = 0, .locator = "DIMM_A" + std::to_string(i)});
  }
  const std::string start = "  div.sockets\n    article.socket\n      h3: Memory\n";
  EXPECT_THAT(Picture(modules), StartsWith(start + "      div.channels\n        div.channel\n"
                                                   "          h4: A\n          ul.stack\n"));
  modules.push_back({.size = 0, .locator = "DIMM_A5"});
  EXPECT_THAT(Picture(modules), StartsWith(start + "      div.rows\n        div.channel\n"
                                                   "          h4: A\n          ul.boxes\n"));
}

TEST_F(ReportPicture, ListsProcessorsWithoutMemoryOfTheirOwn) {
  EXPECT_EQ(Picture(Processor{}, Processor{.designation = "CPU2", .status = 0}), R"(  div.sockets
    article.socket
      h3: Processors
      ul.boxes.wide
        li#at-processor-1.box
          a.name -> #processor-1: CPU1
          span.what: Core Works Model 8 @ 2.40GHz
          span.kind: 8 cores, 16 threads, 2400 MHz
        li#at-processor-2.box.empty
          a.name -> #processor-2: CPU2
          span.size: empty)");
}

TEST_F(ReportPicture, ListsTheOtherProcessorsBesideThoseWithMemory) {
  EXPECT_EQ(Picture(Processor{}, Processor{.designation = "CPU2", .status = 0},
                    MemoryDevice{.size = 0, .locator = "P1-DIMMA1"}),
            R"(  div.sockets
    article.socket
      h3#at-processor-1
        a.name -> #processor-1: CPU1
        span.what: Core Works Model 8 @ 2.40GHz
        span.kind: 8 cores, 16 threads, 2400 MHz
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-1.box.module.empty
              a.name -> #module-1: P1-DIMMA1
              span.size: empty
    article.socket
      h3: Other processors
      ul.boxes.wide
        li#at-processor-2.box.empty
          a.name -> #processor-2: CPU2
          span.size: empty)");
}

TEST_F(ReportPicture, SaysOfEachExpansionSlotWhatIsKnown) {
  EXPECT_EQ(Picture(Slot{.designation = "FREE", .slotType = 0xB6, .width = 0x0D, .usage = 3},
                    Slot{.designation = "USED",
                         .slotType = 0xA5,
                         .width = 0x0B,
                         .usage = 4,
                         .bus = 0x3B,
                         .devFn = 0x08},
                    Slot{.designation = "WIDE", .slotType = 0xA5, .width = 0x0E, .usage = 1},
                    Slot{.designation = "OLD", .slotType = 0x06, .width = 0x05, .usage = 2},
                    Slot{.designation = "NONE", .slotType = 0x02, .width = 0x02, .usage = 5}),
            R"(  div.sockets
  article.socket
    h3: Expansion slots
    ul.boxes.wide
      li#at-slot-1.box.slot.empty
        a.name -> #slot-1: FREE
        span.size: empty
        span.kind: PCI Express 3 x16
        span.lanes
          span {width:100.00%}
        span.kind: 0000:00:00.0
      li#at-slot-2.box.slot
        a.name -> #slot-2: USED
        span.size: in use
        span.kind: PCI Express, x8
        span.lanes
          span {width:50.00%}
        span.kind: 0000:3b:01.0
      li#at-slot-3.box.slot
        a.name -> #slot-3: WIDE
        span.size: use: Other
        span.kind: PCI Express, x32
        span.lanes
          span {width:100.00%}
        span.kind: 0000:00:00.0
        a.badge.warning -> #finding-8: 1 finding
      li#at-slot-4.box.slot
        a.name -> #slot-4: OLD
        span.size: use: Unknown
        span.kind: PCI, 32-bit
        span.kind: 0000:00:00.0
        a.badge.warning -> #finding-8: 1 finding
      li#at-slot-5.box.slot
        a.name -> #slot-5: NONE
        span.size: use: Unavailable
        span.kind: Unknown
        span.kind: 0000:00:00.0
        a.badge.warning -> #finding-8: 1 finding)");
}

TEST_F(ReportPicture, ShowsOfFindingsHowGraveTheyAre) {
  // The length of version 2.3, which leaves out the number of cores.
  EXPECT_EQ(Picture(Processor{.handle = 0x400}.Build().CutTo(0x23)), R"(  div.sockets
    article.socket
      h3: Processors
      ul.boxes.wide
        li#at-processor-1.box
          a.name -> #processor-1: CPU1
          span.what: Core Works Model 8 @ 2.40GHz
          span.kind: 2400 MHz
          a.badge.note -> #finding-7: 1 finding)");
}

TEST_F(ReportPicture, LeadsToTheFindingsAboutAPart) {
  // No memory array has that handle, and two modules have one number.
  const MemoryDevice module = {.arrayHandle = 0x400, .serial = "1A2B3C01"};
  EXPECT_EQ(FromSockets(Page(Table::Of(test::Bios{}, System{}, Processor{.handle = 0x400}, module,
                                       module, End{}))),
            R"(  div.sockets
    article.socket
      h3: Processors
      ul.boxes.wide
        li#at-processor-1.box
          a.name -> #processor-1: CPU1
          span.what: Core Works Model 8 @ 2.40GHz
          span.kind: 8 cores, 16 threads, 2400 MHz
    article.socket
      h3: Memory
      div.channels
        div.channel
          h4: A
          ul.stack
            li#at-module-1.box.module
              a.name -> #module-1: DIMM_A1 (DIMM.Socket.A1)
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 2933 of 3200 MT/s
              span.bar
                span {width:100%}
              span.badge.slow: slow
              a.badge.error -> #finding-6: 1 finding
            li#at-module-2.box.module
              a.name -> #module-2: DIMM_A1 (DIMM.Socket._N4)
              span.size: 16 GB
              span.kind: DDR4
              span.kind: 2933 of 3200 MT/s
              span.bar
                span {width:100%}
              span.badge.slow: slow
              a.badge.error -> #finding-6: 2 findings
              a.badge.quiet -> #finding-9: driver: 1 finding)");
}

}  // namespace
}  // namespace tvq::cli
