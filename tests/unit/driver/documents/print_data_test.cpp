/*
 * The dump of a blob set in the debug log.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class PrintData : public RecordTest {
 protected:
  // An inventory blob with a string area of `area`, and no string reference yet.
  TVQ_INVENTORY_BLOB& NewInventory(const std::string& area) {
    mInventory.assign(sizeof(TVQ_INVENTORY_BLOB) + area.size() + 1, 0);
    std::copy(area.begin(), area.end(), mInventory.begin() + sizeof(TVQ_INVENTORY_BLOB));
    auto& blob = *reinterpret_cast<TVQ_INVENTORY_BLOB*>(mInventory.data());
    blob.header = {1, 3, 0x0F9B54CF, static_cast<UINT32>(mInventory.size())};
    mSlots[0] = {1, blob.header.sizeInBytes, &blob};
    return blob;
  }
  std::vector<std::string> Print(UINT8 deviceType = TVQ_DEVICE_TYPE_DIMM) {
    TakeLog();
    printData(mSlots, NewRecord(deviceType));
    return TakeLog();
  }
  // What is printed of the inventory blob behind its two header lines.
  std::vector<std::string> PrintStrings() {
    std::vector<std::string> lines = Print();
    lines.erase(lines.begin(), lines.begin() + 2);
    return lines;
  }

  std::vector<UINT8> mInventory;
  TVQ_DATA mSlots[4] = {{}, {}, {}, {1, 0, nullptr}};
};

TEST_F(PrintData, ShowsAllOfAFullSet) {
  TVQ_INVENTORY_BLOB& inventory = NewInventory(std::string("80CE\0Module\0002.0\00077", 18) + '\0');
  inventory.flags = 0x21;
  inventory.ProductID = 0xBEF;
  inventory.SlotNumber = 0xA1;
  inventory.wwnOffset = 1;
  inventory.MktnameOffset = TVQ_STRING_REFERENCE(5);
  inventory.FwVerOffset = TVQ_STRING_REFERENCE(12);
  inventory.CompIDOffset = TVQ_STRING_REFERENCE(16);
  TVQ_BLOB_HEADER configuration = {1, 5, 0x2C41C4EC, 1234};
  TVQ_BLOB_HEADER end = {1, 7, 0x36912F26, 148};
  mSlots[1] = {1, 1234, &configuration};
  mSlots[2] = {1, 148, &end};
  EXPECT_THAT(Print(), ElementsAre("printData: [DIMM] BLOB type: 0x00000003\n",
                                   "printData: BLOB revision: 1 cookie: 0x0F9B54CF "
                                   "sizeInBytes:146\n",
                                   "printData: wwnOffset = 0 wwn = 80CE\n",  //
                                   "printData: MktnameOffset = 5 MktName = Module\n",
                                   "printData: FwVerOffset = 12 FWVer = 2.0\n",   //
                                   "printData: CompIDOffset = 16 CompID = 77\n",  //
                                   "printData: Product ID = 0BEF \n",             //
                                   "printData: Slot Number = A1 \n",              //
                                   "printData: [DIMM] BLOB type: 0x00000005\n",
                                   "printData: BLOB revision: 1 cookie: 0x2C41C4EC "
                                   "sizeInBytes:1234\n",
                                   "printData: [DIMM] BLOB type: 0x00000007\n",
                                   "printData: BLOB revision: 1 cookie: 0x36912F26 "
                                   "sizeInBytes:148\n"));
}

TEST_F(PrintData, LabelsTheSetByDeviceType) {
  NewInventory("");
  const std::pair<int, std::string> labels[] = {{2, "CPU"},    {3, "DIMM"},   {4, "SYSTEM"},
                                                {0, "SYSTEM"}, {5, "SYSTEM"}, {255, "SYSTEM"}};
  for (const auto& [type, label] : labels) {
    EXPECT_THAT(Print(static_cast<UINT8>(type)),
                Contains("printData: [" + label + "] BLOB type: 0x00000003\n"));
  }
}

TEST_F(PrintData, ShowsTheHeaderAsItIs) {
  NewInventory("").header = {12, 0xABCDEF01, 0xFEDCBA98, 0x7FFFFFFF};
  EXPECT_THAT(Print(), ElementsAre("printData: [DIMM] BLOB type: 0xABCDEF01\n",
                                   "printData: BLOB revision: 12 cookie: 0xFEDCBA98 "
                                   "sizeInBytes:2147483647\n"));
}

TEST_F(PrintData, ShowsOnlyStringsWhoseReferenceSaysThatTheyAreThere) {
  TVQ_INVENTORY_BLOB& blob = NewInventory("text");
  EXPECT_THAT(PrintStrings(), IsEmpty());
  // An offset without the present bit refers to nothing.
  blob.wwnOffset = blob.MktnameOffset = blob.FwVerOffset = blob.CompIDOffset = 4;
  EXPECT_THAT(PrintStrings(), IsEmpty());
  blob.wwnOffset = 1;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: wwnOffset = 0 wwn = text\n"));
  blob.wwnOffset = 0;
  blob.MktnameOffset = 1;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: MktnameOffset = 0 MktName = text\n"));
  blob.MktnameOffset = 0;
  blob.FwVerOffset = 1;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: FwVerOffset = 0 FWVer = text\n"));
  blob.FwVerOffset = 0;
  blob.CompIDOffset = 1;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: CompIDOffset = 0 CompID = text\n"));
}

// The identity always is the first string, whatever its reference says.
TEST_F(PrintData, ShowsTheIdentityFromTheStartOfTheStringArea) {
  NewInventory(std::string("first\0second", 12)).wwnOffset = TVQ_STRING_REFERENCE(6);
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: wwnOffset = 6 wwn = first\n"));
}

TEST_F(PrintData, ReadsAnOffsetFromAllFourBytesOfItsReference) {
  constexpr UINT32 kOffset = 0x812345;
  std::string area(kOffset, '.');
  TVQ_INVENTORY_BLOB& blob = NewInventory(area + "far");
  blob.MktnameOffset = TVQ_STRING_REFERENCE(kOffset);
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: MktnameOffset = 8463173 MktName = far\n"));
}

TEST_F(PrintData, ShowsProductIdAndSlotNumberByTheirFlags) {
  TVQ_INVENTORY_BLOB& blob = NewInventory("");
  blob.ProductID = 0xABCD;
  blob.SlotNumber = 0x0C;
  blob.flags = 0x00000001;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: Product ID = ABCD \n"));
  blob.flags = 0x00000020;
  EXPECT_THAT(PrintStrings(), ElementsAre("printData: Slot Number = C \n"));
  blob.flags = 0xFFFFFFDE;
  EXPECT_THAT(PrintStrings(), IsEmpty());
}

TEST_F(PrintData, ShowsNothingOfAnEmptySlot) {
  EXPECT_THAT(Print(), IsEmpty());
  TVQ_BLOB_HEADER end = {1, 7, 0x36912F26, 148};
  mSlots[2] = {1, 148, &end};
  EXPECT_THAT(Print(), ElementsAre(StartsWith("printData: [DIMM] BLOB type: 0x00000007"),
                                   StartsWith("printData: BLOB revision: 1")));
}

TEST_F(PrintData, ReadsNoBlobWithoutADebugLog) {
  for (TVQ_DATA& slot : mSlots) {
    slot = {1, 16, reinterpret_cast<VOID*>(16)};
  }
  RemoveDebugLog();
  EXPECT_THAT(Print(), IsEmpty());
}

}  // namespace
}  // namespace tvq::test
