/*
 * What the page says of changes, and of everything else that is to be looked at: in short, and at length.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/host/cli/report/page_fixture.h"

namespace tvq::cli {
namespace {

using test::BaseBoard;
using test::Bios;
using test::Chassis;
using test::End;
using test::MemoryArray;
using test::MemoryDevice;
using test::OnboardDevice;
using test::Processor;
using test::Slot;
using test::System;
using test::Table;
using testing::HasSubstr;

class ReportChanges : public PageTest {
 protected:
  // A server with two modules, and more.
  template <typename... Parts>
  static Table ServerWith(const Parts&... parts) {
    return Table::Of(System{.handle = 0x100}, Processor{.handle = 0x400},
                     MemoryArray{.handle = 0x1000}, parts..., End{});
  }
  static MemoryDevice Module(std::uint16_t handle, const std::string& locator,
                             const std::string& serial) {
    return {.handle = handle, .locator = locator, .serial = serial, .configuredSpeed = 3200};
  }
  // What the list at the head says before it comes to findings in the table.
  static std::string ChangesInShort(const std::string& page) {
    const std::string brief = Section(page, "brief");
    return brief.substr(0, brief.find("\n    li\n      span.badge.error"));
  }
  const MemoryDevice mA1 = Module(0x1100, "DIMM_A1", "1A2B3C01");
  const MemoryDevice mA2 = Module(0x1101, "DIMM_A2", "1A2B3C02");
};

TEST_F(ReportChanges, TellOfAReplacedModuleAndOfOneThatMoved) {
  MemoryDevice moved = mA1;
  moved.handle = 0x1102;
  moved.locator = "DIMM_A3";
  MemoryDevice replaced = mA2;
  replaced.serial = "1A2B3C99";
  const std::string page =
      PageSince(ServerWith(Bios{}, mA1, mA2), ServerWith(Bios{}, replaced, moved));
  EXPECT_EQ(ChangesInShort(page), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: replaced
      a -> #change-2: DIMM_A2: accept it if it was exchanged on purpose, else find out by whom
    li
      span.badge.changed: moved
      a -> #change-3: DIMM_A3: accept it, or put it back where it was
    li
      span.badge.changed: gone
      a -> #structure-1: type 17, handle 0x1100 (memory-device))");
  EXPECT_EQ(Section(page, "changes"), R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 same, 1 cannot tell, 1 replaced, 1 moved.
  article#change-2.note
    h3
      a.part -> #at-module-1: DIMM_A2
      span.code: DIMM.Socket.A2
      span.badge.changed: replaced
    p: Another part than was here, says the driver, the serial number.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Inventory/WWN | 1A2B3C02 | 1A2B3C99
    p.todo
      strong: What to do:
      span: accept it if it was exchanged on purpose, else find out by whom
  article#change-3.note
    h3
      a.part -> #at-module-2: DIMM_A3
      span.code: DIMM.Socket.A3
      span.badge.changed: moved
    p: Moved from DIMM.Socket.A1.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Inventory/Identifier/DIMMLocation | A1 | A3
        tr | Configuration/dimmData/Handle | 4352 | 4354
    p.todo
      strong: What to do:
      span: accept it, or put it back where it was
  article#structure-1.note
    h3
      span.part: type 17, handle 0x1100 (memory-device)
      span.badge.changed: gone
    p: The table does not have it any more.)");
}

TEST_F(ReportChanges, TellOfAModuleThatSaysSomethingElse) {
  MemoryDevice after = mA1;
  after.partNumber = "MW16G3201";
  after.configuredSpeed = 2933;
  EXPECT_EQ(Section(PageSince(ServerWith(Bios{}, mA1), ServerWith(Bios{}, after)), "changes"),
            R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 same, 1 cannot tell, 1 replaced.
  article#change-2.note
    h3
      a.part -> #at-module-1: DIMM_A1
      span.code: DIMM.Socket.A1
      span.badge.changed: replaced
    p: Another part than was here, says the driver.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Configuration/dimmData/PartNumber | MW16G3200 | MW16G3201
        tr | Configuration/dimmData/ConfiguredMemClockSpeed | 3200 | 2933
    p: In the table, type 17, handle 0x1100 (memory-device):
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Configured speed | 3200 MT/s | 2933 MT/s
    p.todo
      strong: What to do:
      span: accept it if it was exchanged on purpose, else find out by whom)");
}

TEST_F(ReportChanges, TellOfWhatTheTableSaysBesideTheDocuments) {
  EXPECT_EQ(Section(PageSince(ServerWith(Bios{}, BaseBoard{.handle = 0x200, .assetTag = "TAG-1"},
                                         Slot{.handle = 0x900}),
                              ServerWith(Bios{}, BaseBoard{.handle = 0x200, .assetTag = "TAG-2"},
                                         Slot{.handle = 0x900, .usage = 4},
                                         OnboardDevice{.handle = 0x2900})),
                    "changes"),
            R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 cannot tell, 1 changed.
  article#change-2.note
    h3
      a.part -> #system-1: System.Embedded.1
      span.badge.changed: changed
    p: The same part.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Inventory/Identifier/PCISlotInfo/Usage | 3 | 4
    p.todo
      strong: What to do:
      span: accept it if that was intended, else reseat it or order a part
  article#structure-1.note
    h3
      a.part -> #board-1: Main Tray
      span.code: type 2, handle 0x0200 (board)
      span.badge.changed: changed
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Asset tag | TAG-1 | TAG-2
  article#structure-2.note
    h3
      a.part -> #at-slot-1: PCIe Slot 1
      span.code: type 9, handle 0x0900 (slot)
      span.badge.changed: changed
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Usage | Available | In Use
  article#structure-3.note
    h3
      a.part -> #onboardDevice-1: Embedded NIC 1
      span.code: type 41, handle 0x2900 (onboard-device)
      span.badge.changed: added
    p: The table did not have it before.)");
  EXPECT_EQ(
      Section(PageSince(ServerWith(Bios{}, Slot{.handle = 0x900}), ServerWith(Bios{})), "changes"),
      R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 cannot tell, 1 changed.
  article#change-2.note
    h3
      a.part -> #system-1: System.Embedded.1
      span.badge.changed: changed
    p: The same part.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Inventory/Identifier/PCISlotInfo/Desig | PCIe Slot 1 | (none)
        tr | Inventory/Identifier/PCISlotInfo/Type | A5 | (none)
        tr | Inventory/Identifier/PCISlotInfo/Width | D | (none)
        tr | Inventory/Identifier/PCISlotInfo/Usage | 3 | (none)
        tr | Inventory/Identifier/PCISlotInfo/Len | 4 | (none)
        tr | Inventory/Identifier/PCISlotInfo/ID | 1 | (none)
        tr | Inventory/Identifier/PCISlotInfo/BDF | 0 | (none)
        tr | Inventory/Identifier/PCISlotInfo/HotPlug | 0 | (none)
    p.todo
      strong: What to do:
      span: accept it if that was intended, else reseat it or order a part
  article#structure-1.note
    h3
      span.part: type 9, handle 0x0900 (slot)
      span.badge.changed: gone
    p: The table does not have it any more.)");
}

TEST_F(ReportChanges, OfTheTableAreLeftOutOnlyWhereTheDocumentHasBothValues) {
  const auto server = [](const char* product, const char* family) {
    return Table::Of(Bios{}, System{.handle = 0x100, .product = product, .family = family}, End{});
  };
  EXPECT_THAT(Section(PageSince(server("X1", "X1"), server("X2", "X3")), "changes"), HasSubstr(R"(
        tr | Inventory/Identifier/SystemInformation/ProductName | X1 | X2
    p: In the table, type 1, handle 0x0100 (system):
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Family | X1 | X3
)"));
}

TEST_F(ReportChanges, NameADeviceThatIsGoneByWhatWasPrintedThere) {
  const auto gone = [this](const test::Text& designation) {
    const std::string brief = ChangesInShort(
        PageSince(ServerWith(Bios{}, Processor{.designation = designation}), ServerWith(Bios{})));
    return brief.substr(0, brief.find("\n    li\n", brief.find("    li\n") + 1));
  };
  EXPECT_EQ(gone("CPU2"), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: gone
      a -> #change-3: CPU2: reseat it; if it stays away, order a part; if it was taken out, accept)");
  EXPECT_EQ(gone(std::nullopt), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: gone
      a -> #change-3: processor: reseat it; if it stays away, order a part; if it was taken out, accept)");
}

TEST_F(ReportChanges, AreMarkedAmongTheDetailsOfAPartThatHasNoBox) {
  const std::string details =
      Section(PageSince(ServerWith(Bios{}, BaseBoard{.handle = 0x200}, Slot{.handle = 0x900}),
                        ServerWith(Bios{}, BaseBoard{.handle = 0x200, .assetTag = "TAG-2"},
                                   Slot{.handle = 0x900, .usage = 4})),
              "details");
  EXPECT_THAT(details, HasSubstr(R"(
  article#board-1.kind
    h3
      span: Boards
      a.badge.changed -> #structure-1: changed
    dl.facts)"));
  EXPECT_THAT(details, HasSubstr(R"(
  article#slot-1.kind
    h3
      span: Expansion slots
    dl.facts)"));
}

TEST_F(ReportChanges, OfManyStructuresAreCountedInShort) {
  std::vector<Slot> before;
  std::vector<Slot> after;
  for (std::uint16_t i = 0; i < 9; ++i) {
    before.push_back({.handle = static_cast<std::uint16_t>(0x900 + i),
                      .designation = "SLOT " + std::to_string(i)});
    after.push_back(before.back());
    after.back().usage = 4;
  }
  EXPECT_EQ(ChangesInShort(PageSince(ServerWith(Bios{}, before), ServerWith(Bios{}, after))),
            R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: changed
      a -> #change-2: System.Embedded.1: accept it if that was intended, else reseat it or order a part
    li
      span.badge.changed: changed
      a -> #structure-1: SLOT 0: usage
    li
      span.badge.changed: changed
      a -> #structure-2: SLOT 1: usage
    li
      span.badge.changed: changed
      a -> #structure-3: SLOT 2: usage
    li
      span.badge.changed: changed
      a -> #structure-4: SLOT 3: usage
    li
      span.badge.changed: changed
      a -> #structure-5: SLOT 4: usage
    li
      span.badge.changed: changed
      a -> #structure-6: SLOT 5: usage
    li
      span.badge.changed: changed
      a -> #structure-7: SLOT 6: usage
    li
      span.badge.changed: changed
      a -> #structure-8: SLOT 7: usage
    li
      span.badge.changed: changed
      a -> #structure-9: 1 structure of the table, too)");
  const std::string page = PageSince(ServerWith(Bios{}, before), ServerWith(Bios{}, after));
  before.pop_back();
  after.pop_back();
  EXPECT_EQ(ChangesInShort(PageSince(ServerWith(Bios{}, before), ServerWith(Bios{}, after))),
            ChangesInShort(page).substr(0, ChangesInShort(page).rfind("\n    li\n")));
  before.push_back({.handle = std::uint16_t{0x920}, .designation = "SLOT 10"});
  EXPECT_EQ(ChangesInShort(
                PageSince(ServerWith(Bios{.version = "1.0"}, before), ServerWith(Bios{}, after))),
            R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: firmware update
      a -> #changes: save anew, so that what changes next stands out
    li
      span.badge.quiet: changed
      a -> #structure-1: 10 structures of the table, which may come of the firmware
    li
      span.badge.fine: nothing to do
      a -> #changes: 1 cannot tell, 1 changed)");
}

TEST_F(ReportChanges, OfAFirmwareUpdateStandBesideIt) {
  MemoryDevice replaced = mA1;
  replaced.serial = "1A2B3C99";
  const std::string page = PageSince(ServerWith(Bios{.version = "1.0"}, mA1),
                                     ServerWith(Bios{.version = "2.0"}, replaced));
  EXPECT_EQ(Section(page, "changes"), R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 cannot tell, 1 changed, 1 replaced.
  article.note
    h3
      span.part: Firmware
      span.badge.changed: update
    p: 1.0 → 2.0
    p.todo
      strong: What to do:
      span: save anew, so that what changes next stands out
  article#change-2.note
    h3
      a.part -> #at-module-1: DIMM_A1
      span.code: DIMM.Socket.A1
      span.badge.changed: replaced
    p: Another part than was here, says the driver, the serial number.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Inventory/WWN | 1A2B3C01 | 1A2B3C99
    p.todo
      strong: What to do:
      span: accept it if it was exchanged on purpose, else find out by whom
  article#change-3.note
    h3
      a.part -> #system-1: System.Embedded.1
      span.badge.changed: changed
    p: The same part.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Configuration/BIOSData/BIOSVersion | 1.0 | 2.0
    p.todo
      strong: What to do:
      span: save anew, so that what changes next stands out
  article#structure-1.note
    h3
      a.part -> #firmware-1: firmware[1]
      span.code: type 0, handle 0x8000 (bios)
      span.badge.changed: changed
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Version | 1.0 | 2.0)");
  EXPECT_EQ(ChangesInShort(page), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: firmware update
      a -> #changes: save anew, so that what changes next stands out
    li
      span.badge.changed: replaced
      a -> #change-2: DIMM_A1: accept it if it was exchanged on purpose, else find out by whom
    li
      span.badge.quiet: changed
      a -> #structure-1: 1 structure of the table, which may come of the firmware)");
}

TEST_F(ReportChanges, OfTheWholeSystemNameWhatIsAnotherPart) {
  const std::string page =
      PageSince(ServerWith(Bios{}, BaseBoard{.handle = 0x200}, Chassis{.handle = 0x300}),
                ServerWith(Bios{}, BaseBoard{.handle = 0x200, .serial = "BRD0002"},
                           Chassis{.handle = 0x300}));
  EXPECT_EQ(ChangesInShort(page), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.changed: replaced
      a -> #change-2: System.Embedded.1 (the board's serial number): accept it if it was exchanged on purpose, else find out by whom
    li
      span.badge.changed: replaced
      a -> #structure-1: Main Tray: serial)");
  EXPECT_EQ(Section(page, "changes"), R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 1 cannot tell, 1 replaced.
  article#change-2.note
    h3
      a.part -> #system-1: System.Embedded.1
      span.badge.changed: replaced
    p: Another part than was here, says the board's serial number.
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Board/SerialNumber | BRD0001 | BRD0002
    p.todo
      strong: What to do:
      span: accept it if it was exchanged on purpose, else find out by whom
  article#structure-1.note
    h3
      a.part -> #board-1: Main Tray
      span.code: type 2, handle 0x0200 (board)
      span.badge.changed: replaced
    table.values
      caption.unseen: Values before and after
      thead
        tr | Field | Before | After
      tbody
        tr | Serial | BRD0001 | BRD0002)");
}

TEST_F(ReportChanges, AreNoneWhereNothingChanged) {
  const std::string page = PageSince(ServerWith(Bios{}, mA1), ServerWith(Bios{}, mA1));
  EXPECT_EQ(ChangesInShort(page), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.fine: unchanged
      a -> #changes: 2 same, 1 cannot tell)");
  EXPECT_EQ(Section(page, "changes"), R"(section#changes
  h2#changes-heading: What changed
  p: Since before.bin: 2 same, 1 cannot tell.)");
}

TEST_F(ReportChanges, WithOtherOptionsAreNotLookedFor) {
  Write("table.bin", test::MinimalServer().Bytes());
  ASSERT_EQ(RunTvq({"save", Path("state"), "--from-dump", Path("table.bin"), "--as-is"}).status, 0);
  const std::string page = Page(test::MinimalServer(), {"--against", Path("state")});
  EXPECT_EQ(ChangesInShort(page), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.warning: not compared
      a -> #changes: Made with other options: state)");
  EXPECT_EQ(Section(page, "changes"), R"(section#changes
  h2#changes-heading: What changed
  p: Not compared: saved of the table as it is, and now of the conformed table.
  p:   To do: use the same options, or save anew)");
}

class ReportInShort : public ReportChanges {};

TEST_F(ReportInShort, SumsUpWhatIsOddOfTheMemory) {
  MemoryDevice slow = mA1;
  slow.configuredSpeed = 2933;
  MemoryDevice other = mA2;
  other.size = 0x2000;
  other.configuredSpeed = 2933;
  const auto odd = [](const std::string& page) {
    const std::string brief = Section(page, "brief");
    return brief.substr(
        std::min(brief.size(), brief.find("\n    li\n      span.badge.warning: memory")));
  };
  EXPECT_EQ(odd(Page(ServerWith(Bios{}, slow, other))), R"(
    li
      span.badge.warning: memory
      a -> #picture: Modules of different kinds stand side by side: 1 of 16 GB DDR4, rank 2, 3200 MT/s; 1 of 8 GB DDR4, rank 2, 3200 MT/s
    li
      span.badge.warning: memory
      a -> #picture: 2 modules run below the rated speed)");
  EXPECT_EQ(odd(Page(ServerWith(Bios{}, mA2, slow))), R"(
    li
      span.badge.warning: memory
      a -> #picture: 1 module runs below the rated speed)");
  EXPECT_EQ(odd(Page(ServerWith(Bios{}, mA1, mA2))), "");
}

class ReportFindings : public ReportChanges {};

TEST_F(ReportFindings, OfAStructureThatIsNoPartNameItsTypeAndHandle) {
  const auto addresses = test::Structure{.type = 19, .handle = 0x1300}
                             .Dword(0)
                             .Dword(0xFFFFF)
                             .Word(0x400)  // a processor's
                             .Byte(1);
  const std::string page = Page(ServerWith(Bios{}, addresses));
  const std::size_t finding = page.find("<span>A field refers to a structure of another type");
  ASSERT_NE(finding, std::string::npos);
  EXPECT_EQ(PageOutline(std::string_view(page).substr(finding), "<span class=\"part\"").Text(),
            "span.part: type 19, handle 0x1300");
}

TEST_F(ReportFindings, AreCountedByTheirRuleInShort) {
  MemoryDevice twin = mA2;
  twin.locator = "DIMM_A1";
  const std::string page = Page(ServerWith(Bios{}, mA1, twin), {"--as-is"});
  EXPECT_EQ(Section(page, "brief"), R"(section#brief
  h2#brief-heading: In short
  ul.brief
    li
      span.badge.error: error
      a -> #finding-1: A structure is missing that every table has to have. (4 times)
    li
      span.badge.warning: warning
      a -> #finding-5: A memory array states another number of slots than there are memory devices.
    li
      span.badge.error: error
      a -> #finding-6: There is no structure of type 225. (matters to the driver alone)
    li
      span.badge.error: error
      a -> #finding-7: The locators of two modules give the same three characters. (matters to the driver alone)
    li
      span.badge.warning: driver
      a -> #driver: 4 devices without a record)");
  EXPECT_EQ(Section(page, "findings"), R"(section#findings
  h2#findings-heading: Findings in the table
  article#finding-1.note
    h3
      span.badge.error: error
      span: A structure is missing that every table has to have.
    p: there is no structure of type 3 (chassis), which every table has to have
    p.todo
      strong: What to do:
      span: add one
    p.rule: Rule required-structure: against the standard
  article#finding-2.note
    h3
      span.badge.error: error
      span: A structure is missing that every table has to have.
    p: there is no structure of type 7 (cache), which every table has to have
    p.todo
      strong: What to do:
      span: add one
    p.rule: Rule required-structure: against the standard
  article#finding-3.note
    h3
      span.badge.error: error
      span: A structure is missing that every table has to have.
    p: there is no structure of type 19 (memory-array-address), which every table has to have
    p.todo
      strong: What to do:
      span: add one
    p.rule: Rule required-structure: against the standard
  article#finding-4.note
    h3
      span.badge.error: error
      span: A structure is missing that every table has to have.
    p: there is no structure of type 32 (boot-status), which every table has to have
    p.todo
      strong: What to do:
      span: add one
    p.rule: Rule required-structure: against the standard
  article#finding-5.note
    h3
      span.badge.warning: warning
      span: A memory array states another number of slots than there are memory devices.
      span.part: System board
    p: the memory array says that it has 16 slots, and 2 of type 17 name it
    p.places
      span: At
      a.part -> #memoryArray-1: System board
    p.todo
      strong: What to do:
      span: state the number of memory devices, empty slots included
    p.rule: Rule array-device-count: against the standard
  article#finding-6.note
    h3
      span.badge.error: error
      span: There is no structure of type 225.
    p: there is no structure of type 225: the driver's start ends with Not Found, and no device gets a record
    p.todo
      strong: What to do:
      span: add the FQDD map, if need be one without groups
    p.rule: Rule fqdd-map-missing: matters to the driver alone
  article#finding-7.note
    h3
      span.badge.error: error
      span: The locators of two modules give the same three characters.
      span.part: DIMM_A1 (0x1101)
    p: locator "DIMM_A1" gives "A1", as "DIMM_A1" of handle 0x1100 does: the driver builds no more modules: this one gets no record
    p.places
      span: At
      a.part -> #at-module-2: DIMM_A1 (0x1101)
    p.todo
      strong: What to do:
      span: make the three characters differ: "A1", or "DIMM_A1", whose "DIMM_" is skipped
    p.rule: Rule locator-clash: matters to the driver alone)");
}

TEST_F(ReportFindings, AtManyPlacesNameADozen) {
  // The first slot has the address by right.
  const auto places = [this](std::size_t count) {
    std::vector<Slot> slots;
    for (std::size_t i = 0; i <= count; ++i) {
      slots.push_back({.designation = "SLOT " + std::to_string(i)});
    }
    const std::string page = Page(ServerWith(Bios{}, slots));
    const std::size_t finding = page.rfind("Two slots have the same PCI address.");
    return PageOutline(std::string_view(page).substr(finding), "<p class=\"places\"").Text();
  };
  EXPECT_EQ(places(2), R"(p.places
  span: At
  a.part -> #at-slot-2: SLOT 1
  a.part -> #at-slot-3: SLOT 2)");
  EXPECT_EQ(places(12).substr(places(11).size()), R"(
  a.part -> #at-slot-13: SLOT 12)");
  EXPECT_EQ(places(13).substr(places(11).size()), R"(
  a.part -> #at-slot-13: SLOT 12
  span: and 1 more)");
}

}  // namespace
}  // namespace tvq::cli
