/*
 * The list of what OEM structures of type 226 add to memory modules.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

#include "TvqSmbiosPkg/src/common/builders.h"
#include "TvqSmbiosPkg/src/common/dimm_extension.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

// The list that is made of a table, and its operations.
class DimmExtensions : public PreparedDriver {
 protected:
  void Collect(const Table& table) {
    Prepare(table);
    CollectAgain();
  }
  void CollectAgain() {
    const uint64_t serial = LastSerial(harness.Memory());
    mList = CollectE2List();
    harness.Memory().StopFailing();
    log = TakeLog();
    blocks = RoutinesSince(harness.Memory(), serial);
  }
  Strings TakeLog() { return Lines(harness.TakeLog()); }
  std::vector<const TYPE_E2_NODE*> Nodes() const {
    std::vector<const TYPE_E2_NODE*> nodes;
    for (const TYPE_E2_NODE* node = mList; node != nullptr; node = node->Next) {
      nodes.push_back(node);
    }
    return nodes;
  }
  std::vector<uint16_t> Handles() const {
    std::vector<uint16_t> handles;
    for (const TYPE_E2_NODE* node : Nodes()) {
      handles.push_back(node->E2Handle);
    }
    return handles;
  }

  TYPE_E2_NODE* mList = nullptr;
};

DimmExtension ExtensionOf(uint16_t handle, uint16_t deviceHandle) {
  DimmExtension extension;
  extension.handle = handle;
  extension.deviceHandle = deviceHandle;
  return extension;
}

const Strings kAddedFirst =
    LinesOf("AddTypeE2toList", {"Entry\n", "Adding First Entry to pE2ListRoot\n", "Exit\n"});
const Strings kAppended =
    LinesOf("AddTypeE2toList", {"Entry\n", "Traversing the pE2ListRoot\n", "Exit\n"});

// --- Collecting ---

TEST_F(DimmExtensions, AreCopiedFromTheTable) {
  Collect(Table::Of(DimmExtension{.handle = 0xE2AB,
                                  .deviceHandle = 0x110C,
                                  .firmwareVersion = "1.2.3",
                                  .componentId = 0x89ABCDEF,
                                  .productId = 0xFEDC}));
  ASSERT_EQ(Nodes().size(), 1u);
  EXPECT_EQ(Value(mList->E2Handle), 0xE2AB);
  EXPECT_EQ(Value(mList->Type17Handle), 0x110C);
  EXPECT_STREQ(Value(mList->FirmwareVersion), "1.2.3");
  EXPECT_EQ(Value(mList->ComponentID), 0x89ABCDEFu);
  EXPECT_EQ(Value(mList->ProductID), 0xFEDC);
}

TEST_F(DimmExtensions, KeepTheFirmwareVersionInACopyOfTheirOwn) {
  Collect(Table::Of(ExtensionOf(0xE200, 0x1100)));
  const std::optional<host::Block> copy = harness.Memory().Find(Value(mList->FirmwareVersion));
  ASSERT_TRUE(copy.has_value());
  EXPECT_EQ(copy->size, sizeof("1.2.3"));
}

TEST_F(DimmExtensions, LogEveryStep) {
  Collect(Table::Of(DimmExtension{.handle = 0xE200,
                                  .deviceHandle = 0x1100,
                                  .firmwareVersion = "1.2.3",
                                  .componentId = 7,
                                  .productId = 0xAB},
                    DimmExtension{.handle = 0xE201,
                                  .deviceHandle = 0x11AF,
                                  .firmwareVersion = "9",
                                  .componentId = 0xFFFFFFFF,
                                  .productId = 1}));
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeDIMMs", {"Found 2 E2\n", "Handle = 0xE200 17Handle 0x1100 \n",
                                         "CMPID = 7 PRID = 0xAB\n", "FirmwareVersion: 1.2.3\n"}),
                   kAddedFirst,
                   LinesOf("MakeDIMMs", {"Handle = 0xE201 17Handle 0x11AF \n",
                                         "CMPID = -1 PRID = 0x1\n", "FirmwareVersion: 9\n"}),
                   kAppended})));
}

TEST_F(DimmExtensions, StandInTableOrder) {
  Collect(
      Table::Of(ExtensionOf(0xE203, 1), ExtensionOf(0xE201, 2), Bios{}, ExtensionOf(0xE202, 3)));
  EXPECT_THAT(Handles(), testing::ElementsAre(0xE203, 0xE201, 0xE202));
}

TEST_F(DimmExtensions, OfOneModuleAreAllListed) {
  Collect(Table::Of(ExtensionOf(0xE200, 0x1100), ExtensionOf(0xE201, 0x1100)));
  EXPECT_THAT(Handles(), testing::ElementsAre(0xE200, 0xE201));
  for (const TYPE_E2_NODE* node : Nodes()) {
    EXPECT_EQ(Value(node->Type17Handle), 0x1100);
  }
}

TEST_F(DimmExtensions, AreAnEmptyListWhenThereAreNone) {
  Collect(Table::Of(Bios{}));
  EXPECT_EQ(mList, nullptr);
  EXPECT_EQ(log, LinesOf("MakeDIMMs", {"Could not Found 0xE2 (226)\n"}));
}

// Both arrays of a type without structures are empty blocks.
TEST_F(DimmExtensions, LeaveTheEmptyArraysInThePoolWhenThereAreNone) {
  Collect(Table::Of(Bios{}));
  EXPECT_EQ(blocks.size(), 2u);
}

TEST_F(DimmExtensions, GiveTheArraysBack) {
  Collect(Table::Of(ExtensionOf(0xE200, 0x1100)));
  EXPECT_EQ(blocks.size(), 2u);  // a node and its text
  EXPECT_THAT(blocks, Not(Contains(testing::HasSubstr("SmbiosGetStructuresByType"))));
}

TEST_F(DimmExtensions, GetNoNodeWithoutAFirmwareVersion) {
  Structure outOfRange = ExtensionOf(0xE201, 2).Build();
  outOfRange.SetByte(6, 5);
  Collect(Table::Of(DimmExtension{.handle = 0xE200, .firmwareVersion = std::nullopt}, outOfRange,
                    ExtensionOf(0xE202, 3)));
  EXPECT_THAT(Handles(), testing::ElementsAre(0xE202));
  EXPECT_THAT(log, Contains("MakeDIMMs: Found 3 E2\n"));
  EXPECT_THAT(log, Contains(testing::HasSubstr("17Handle")).Times(3));
  EXPECT_THAT(log, Contains(testing::HasSubstr("FirmwareVersion: ")).Times(1));
}

TEST_F(DimmExtensions, MayHaveAnEmptyFirmwareVersion) {
  Structure withoutStrings =
      DimmExtension{.handle = 0xE200, .firmwareVersion = std::nullopt}.Build();
  withoutStrings.SetByte(6, 1);
  Collect(Table::Of(withoutStrings));
  ASSERT_EQ(Nodes().size(), 1u);
  EXPECT_STREQ(Value(mList->FirmwareVersion), "");
}

// Nobody asks for the length of the formatted part.
TEST_F(DimmExtensions, OfAShortStructureAreReadAsTheyStand) {
  Collect(Table::Of(DimmExtension{.handle = 0xE200, .firmwareVersion = "xy"}.Build().CutTo(0x0B)));
  ASSERT_EQ(Nodes().size(), 1u);
  EXPECT_EQ(Value(mList->ComponentID), 0x0001A2B3u);
  EXPECT_EQ(Value(mList->ProductID), 'x' | 'y' << 8);
}

TEST_F(DimmExtensions, GetNoNodeWhenThereIsNoMemoryForOne) {
  Prepare(Table::Of(ExtensionOf(0xE200, 1), ExtensionOf(0xE201, 2)));
  FailAllocation(3);  // two arrays, the first node
  CollectAgain();
  EXPECT_THAT(Handles(), testing::ElementsAre(0xE201));
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeDIMMs",
                           {"Found 2 E2\n", "Handle = 0xE200 17Handle 0x1 \n",
                            "CMPID = 107187 PRID = 0x1234\n", "Handle = 0xE201 17Handle 0x2 \n",
                            "CMPID = 107187 PRID = 0x1234\n", "FirmwareVersion: 1.2.3\n"}),
                   kAddedFirst})));
}

TEST_F(DimmExtensions, AreListedWithoutTheFirmwareVersionForWhichThereIsNoMemory) {
  Prepare(Table::Of(ExtensionOf(0xE200, 1)));
  FailAllocation(4);
  CollectAgain();
  ASSERT_EQ(Nodes().size(), 1u);
  EXPECT_EQ(Value(mList->FirmwareVersion), nullptr);
  EXPECT_EQ(Value(mList->ComponentID), 0x0001A2B3u);
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeDIMMs", {"Found 1 E2\n", "Handle = 0xE200 17Handle 0x1 \n",
                                         "CMPID = 107187 PRID = 0x1234\n"}),
                   kAddedFirst})));
}

TEST_F(DimmExtensions, AreAnEmptyListWhenTheyCannotBeCollected) {
  Prepare(Table::Of(ExtensionOf(0xE200, 1)));
  FailAllocation(2);
  CollectAgain();
  EXPECT_EQ(mList, nullptr);
  EXPECT_EQ(log, LinesOf("MakeDIMMs", {"Could not Found 0xE2 (226)\n"}));
  EXPECT_THAT(blocks, IsEmpty());
}

// --- Appending ---

class E2List : public PreparedDriver {
 protected:
  E2List() { Prepare(MinimalServer()); }
  Strings TakeLog() { return Lines(harness.TakeLog()); }
};

TEST_F(E2List, TheFirstNodeBecomesTheHead) {
  TYPE_E2_NODE node = {};
  TYPE_E2_NODE* head = nullptr;
  EXPECT_EQ(AddTypeE2toList(&head, &node), EFI_SUCCESS);
  EXPECT_EQ(head, &node);
  EXPECT_EQ(TakeLog(), kAddedFirst);
}

TEST_F(E2List, LaterNodesGoToTheEnd) {
  TYPE_E2_NODE nodes[3] = {};
  TYPE_E2_NODE* head = nullptr;
  for (TYPE_E2_NODE& node : nodes) {
    EXPECT_EQ(AddTypeE2toList(&head, &node), EFI_SUCCESS);
  }
  EXPECT_EQ(head, &nodes[0]);
  EXPECT_EQ(Value(nodes[0].Next), &nodes[1]);
  EXPECT_EQ(Value(nodes[1].Next), &nodes[2]);
  EXPECT_EQ(Value(nodes[2].Next), nullptr);
  EXPECT_TRUE(SameLines(TakeLog(), Joined({kAddedFirst, kAppended, kAppended})));
}

// Deliberate: this status says that the node could not be allocated.
TEST_F(E2List, AMissingNodeIsALackOfMemory) {
  TYPE_E2_NODE node = {};
  TYPE_E2_NODE* head = &node;
  EXPECT_EQ(AddTypeE2toList(&head, nullptr), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(head, &node);
  EXPECT_EQ(Value(node.Next), nullptr);
  EXPECT_EQ(TakeLog(), LinesOf("AddTypeE2toList", {"Entry\n", "Invalid Entry Node\n"}));
}

// --- Looking up ---

TEST_F(E2List, AnEmptyListHasNothing) {
  EXPECT_EQ(GetTypeE2FromList(0x1100, nullptr), nullptr);
  EXPECT_EQ(TakeLog(), LinesOf("GetTypeE2FromList", {"Entry\n", "NULL List\n"}));
}

TEST_F(E2List, TheFirstNodeOfADeviceIsFoundAndEveryVisitLogged) {
  TYPE_E2_NODE nodes[3] = {};
  nodes[0].Type17Handle = 0x11A0;
  nodes[0].Next = &nodes[1];
  nodes[1].Type17Handle = 0x1101;
  nodes[1].Next = &nodes[2];
  nodes[2].Type17Handle = 0x1101;
  EXPECT_EQ(GetTypeE2FromList(0x1101, nodes), &nodes[1]);
  EXPECT_EQ(TakeLog(),
            LinesOf("GetTypeE2FromList",
                    {"Entry\n", "Type17TableHandle from List= 0x11A0\n\n",
                     "Type17TableHandle from List= 0x1101\n\n", "Found Match\n", "Exit\n"}));
}

TEST_F(E2List, ADeviceWithoutANodeIsNotFound) {
  TYPE_E2_NODE node = {};
  node.Type17Handle = 0x1100;
  EXPECT_EQ(GetTypeE2FromList(0x1101, &node), nullptr);
  EXPECT_EQ(TakeLog(), LinesOf("GetTypeE2FromList",
                               {"Entry\n", "Type17TableHandle from List= 0x1100\n\n", "Exit\n"}));
}

// --- Releasing ---

TEST_F(E2List, ReleasingNothingFreesNothing) {
  const uint64_t frees = harness.Memory().Frees();
  ReleaseE2List(nullptr);
  EXPECT_EQ(harness.Memory().Frees(), frees);
  EXPECT_EQ(TakeLog(), LinesOf("ReleaseE2List", {"Entry\n", "Exit\n"}));
}

TEST_F(DimmExtensions, AreReleasedWithTheirTexts) {
  Prepare(Table::Of(ExtensionOf(0xE200, 1), ExtensionOf(0xE201, 2)));
  const size_t before = harness.Blocks().size();
  FailAllocation(6);  // two arrays, a node, its text, a node: the second text
  CollectAgain();
  EXPECT_EQ(harness.Blocks().size(), before + 3);
  ReleaseE2List(mList);
  EXPECT_EQ(harness.Blocks().size(), before);
  EXPECT_EQ(TakeLog(), LinesOf("ReleaseE2List", {"Entry\n", "Free FirmwareVersion\n", "Free Node\n",
                                                 "Free Node\n", "Exit\n"}));
}

}  // namespace
}  // namespace tvq::test
