/*
 * Everything that the table states, and what the driver makes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <optional>

#include "tests/unit/host/cli/report/page_fixture.h"

namespace tvq::cli {
namespace {

using test::Bios;
using test::End;
using test::MemoryArray;
using test::MemoryDevice;
using test::OnboardDevice;
using test::Processor;
using test::Slot;
using test::System;
using test::Table;

class ReportDetails : public PageTest {};

TEST_F(ReportDetails, AreAListOfASinglePart) {
  EXPECT_EQ(
      Section(Page(Table::Of(Slot{.usage = 4}, System{}, End{}), {"--show-serials"}), "details"),
      R"(section#details
  h2#details-heading: Everything that the table states
  article#system-1.kind
    h3
      span: System
    dl.facts
        dt: FQDD = System.Embedded.1
        dt: Manufacturer = Server Works
        dt: Product = Rack One
        dt: Version = 1.0
        dt: Serial = ABC1234
        dt: SKU = SKU-1
        dt: Family = Racks
        dt: UUID = 00112233-4455-6677-8899-aabbccddeeff
        dt: Handle = 0x8001
  article#slot-1.kind
    h3
      span: Expansion slots
    dl.facts
        dt: Label = PCIe Slot 1
        dt: Type = PCI Express
        dt: Width = x16
        dt: Usage = In Use
        dt: Length = Long
        dt: ID = 1
        dt: Address = 0000:00:00.0
        dt: Is hot plug = no
        dt: Handle = 0x8000)");
}

TEST_F(ReportDetails, AreATableOfPartsWithWhatTheyShareAbove) {
  EXPECT_EQ(
      Section(
          Page(Table::Of(
                   OnboardDevice{.handle = 0x2900},
                   OnboardDevice{.handle = 0x2901, .designation = "Video", .deviceType = 0x83},
                   OnboardDevice{.handle = 0x2902, .designation = std::nullopt, .deviceType = 0x85},
                   End{}),
               {"--show-serials"}),
          "details"),
      R"(section#details
  h2#details-heading: Everything that the table states
  article.kind
    h3: Onboard devices: 3
    h4: All of them
    dl.facts
        dt: Is enabled = yes
        dt: Address = 0000:00:00.0
    table.parts
      caption.unseen: Onboard devices
      thead
        tr | Label | Type | Handle
      tbody
        tr#onboardDevice-1 |  span: Embedded NIC 1 | .value: Ethernet | .value: 0x2900
        tr#onboardDevice-2 |  span: Video | .value: Video | .value: 0x2901
        tr#onboardDevice-3 |  span: onboardDevice[3] | .value: Ethernet | .value: 0x2902)");
}

TEST_F(ReportDetails, OfEmptySocketsAndSlotsStandApart) {
  EXPECT_EQ(Section(Page(Table::Of(Processor{}, Processor{.designation = "CPU2", .status = 0},
                                   Slot{.designation = "A", .usage = 4},
                                   Slot{.designation = "B", .bus = 0x3B}, End{}),
                         {"--show-serials"}),
                    "details"),
            R"(section#details
  h2#details-heading: Everything that the table states
  article#processor-1.kind
    h3
      span: Processor sockets
    dl.facts
        dt: Label = CPU1
        dt: FQDD = CPU.Socket.1
        dt: Is populated = yes
        dt: Version = Core Works Model 8 @ 2.40GHz
        dt: Manufacturer = Core Works
        dt: Core count = 8 cores
        dt: Enabled core count = 8
        dt: Thread count = 16 threads
        dt: Current speed = 2400 MHz
        dt: Maximum speed = 4000 MHz
        dt: Handle = 0x8000
  article#processor-2.kind
    h3
      span: Processor sockets, empty
    dl.facts
        dt: Label = CPU2
        dt: Is populated = no
        dt: Version = Core Works Model 8 @ 2.40GHz
        dt: Manufacturer = Core Works
        dt: Core count = 8 cores
        dt: Enabled core count = 8
        dt: Thread count = 16 threads
        dt: Current speed = 2400 MHz
        dt: Maximum speed = 4000 MHz
        dt: Handle = 0x8001
  article.kind
    h3: Expansion slots: 2
    h4: All of them
    dl.facts
        dt: Type = PCI Express
        dt: Width = x16
        dt: Length = Long
        dt: ID = 1
        dt: Is hot plug = no
    table.parts
      caption.unseen: Expansion slots
      thead
        tr | Label | Usage | Address | Handle
      tbody
        tr#slot-1 |  a -> #at-slot-1: A | .value: In Use | .value: 0000:00:00.0 | .value: 0x8002
        tr#slot-2 |  a -> #at-slot-2: B | .value: Available | .value: 0000:3b:00.0 | .value: 0x8003)");
}

TEST_F(ReportDetails, OfManyKindsAreCards) {
  // Ten differ in the first table, eleven in the second.
  const MemoryDevice first = {.handle = 0x1100, .arrayHandle = 0x1000};
  MemoryDevice second = {.handle = 0x1101,
                         .arrayHandle = 0x1000,
                         .locator = "DIMM_A2",
                         .bankLocator = "Bank 2",
                         .serial = "0123ABCE",
                         .assetTag = "01221235",
                         .partNumber = "MW32G3200"};
  second.size = 0x2000;
  second.speed = 2933;
  second.attributes = 1;
  second.configuredSpeed = 2666;
  EXPECT_EQ(Section(Page(Table::Of(first, second, End{}), {"--show-serials"}), "details"),
            R"(section#details
  h2#details-heading: Everything that the table states
  article.kind
    h3: Memory slots: 2
    h4: All of them
    dl.facts
        dt: Type = DDR4
        dt: Form factor = DIMM
        dt: Technology = DRAM
        dt: Manufacturer = Memory Works
        dt: Total width = 72 bits
        dt: Data width = 64 bits
        dt: Configured voltage = 1200 mV
    table.parts
      caption.unseen: Memory slots
      thead
        tr | Label | FQDD | Bank | Size | Part number | Serial | Asset tag | Rated speed | Configured speed | Rank | Handle
      tbody
        tr#module-1 |  a -> #at-module-1: DIMM_A1 | .value: DIMM.Socket.A1 | .value: Bank 1 | .value: 16 GB | .value: MW16G3200 | .value: 0123ABCD | .value: 01221234 | .value: 3200 MT/s | .value: 2933 MT/s | .value: 2 | .value: 0x1100
        tr#module-2 |  a -> #at-module-2: DIMM_A2 | .value: DIMM.Socket.A2 | .value: Bank 2 | .value: 8 GB | .value: MW32G3200 | .value: 0123ABCE | .value: 01221235 | .value: 2933 MT/s | .value: 2666 MT/s | .value: 1 | .value: 0x1101)");
  second.manufacturer = "Module Works";
  EXPECT_EQ(Section(Page(Table::Of(first, second, End{}), {"--show-serials"}), "details"),
            R"(section#details
  h2#details-heading: Everything that the table states
  article.kind
    h3: Memory slots: 2
    h4: All of them
    dl.facts
        dt: Type = DDR4
        dt: Form factor = DIMM
        dt: Technology = DRAM
        dt: Total width = 72 bits
        dt: Data width = 64 bits
        dt: Configured voltage = 1200 mV
    table.parts.stacked
      caption.unseen: Memory slots
      thead
        tr | Label | FQDD | Bank | Size | Manufacturer | Part number | Serial | Asset tag | Rated speed | Configured speed | Rank | Handle
      tbody
        tr#module-1 |  a -> #at-module-1: DIMM_A1 | .value: DIMM.Socket.A1 | .value: Bank 1 | .value: 16 GB | .value: Memory Works | .value: MW16G3200 | .value: 0123ABCD | .value: 01221234 | .value: 3200 MT/s | .value: 2933 MT/s | .value: 2 | .value: 0x1100
        tr#module-2 |  a -> #at-module-2: DIMM_A2 | .value: DIMM.Socket.A2 | .value: Bank 2 | .value: 8 GB | .value: Module Works | .value: MW32G3200 | .value: 0123ABCE | .value: 01221235 | .value: 2933 MT/s | .value: 2666 MT/s | .value: 1 | .value: 0x1101)");
}

class ReportDriver : public PageTest {};

TEST_F(ReportDriver, SaysHowManyRecordsThereAre) {
  EXPECT_EQ(
      Section(Page(Table::Of(Bios{}, System{}, Processor{}, MemoryArray{.handle = 0x1000},
                             MemoryDevice{}, MemoryDevice{.size = 0, .locator = "DIMM_A2"}, End{})),
              "driver"),
      R"(section#driver
  h2#driver-heading: What the driver makes of it
  p: Start: Success; 3 records.
  p: This is of a copy of the table in which every device has a name that stays with its slot; the findings are about the table as it is.
  p: The table as it is: Start: Not Found; 0 records.
  h3: Without a record, of the table as it is
  ul
    li: processor: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: memory module: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: system: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices)");
}

TEST_F(ReportDriver, ListsDevicesWithoutARecordAlsoOfTheTableAsItIs) {
  const MemoryDevice module = {.locator = "SLOT 1"};
  EXPECT_EQ(Section(Page(Table::Of(Bios{}, System{}, Processor{.handle = 0x400},
                                   Processor{.handle = 0x400}, MemoryArray{.handle = 0x1000},
                                   module, module, module, End{})),
                    "driver"),
            R"(section#driver
  h2#driver-heading: What the driver makes of it
  p: Start: Success; 6 records.
  p: This is of a copy of the table in which every device has a name that stays with its slot; the findings are about the table as it is.
  p: The table as it is: Start: Not Found; 0 records.
  h3: Without a record, of the table as it is
  ul
    li: 2 processors: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: 3 memory modules: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: system: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices)");
}

TEST_F(ReportDriver, ListsDevicesOfTheTableAsItIsWithoutARecord) {
  EXPECT_EQ(Section(Page(Table::Of(System{}, Processor{}, End{}), {"--as-is"}), "driver"),
            R"(section#driver
  h2#driver-heading: What the driver makes of it
  p: Start: Not Found; 0 records.
  h3: Without a record
  ul
    li: processor: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: system: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices)");
}

TEST_F(ReportDriver, ListsValuesThatTheDocumentsHaveOtherwise) {
  EXPECT_EQ(
      Section(Page(Table::Of(Bios{}, System{},
                             Processor{.version = "A  B", .coreCount = 0xFF, .coreCount2 = 300},
                             MemoryArray{.handle = 0x1000},
                             MemoryDevice{.manufacturer = "  Memory  Works "}, End{})),
              "driver"),
      R"(section#driver
  h2#driver-heading: What the driver makes of it
  p: Start: Success; 3 records.
  p: This is of a copy of the table in which every device has a name that stays with its slot; the findings are about the table as it is.
  p: The table as it is: Start: Not Found; 0 records.
  h3: Without a record, of the table as it is
  ul
    li: processor: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: memory module: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
    li: system: the driver's start ended with "Not Found": there is no structure of type 225, which names the devices
  h3: Other values in the driver's documents than in the table
  ul
    li: CPU.Socket.1: CoreCount "255")");
}

}  // namespace
}  // namespace tvq::cli
