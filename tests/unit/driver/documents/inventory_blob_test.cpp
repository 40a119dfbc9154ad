/*
 * The inventory blob: a device's identity as strings that fixed words refer to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/dirty_stack.h"
#include "tests/unit/driver/uefi/record_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr size_t kStringArea = 126;
constexpr UINT32 kProductIdValid = 0x01;
constexpr UINT32 kSlotNumberValid = 0x20;

// What is expected of a blob; its bytes end with the string area.
struct Expected {
  UINT32 size = 127;
  UINT32 flags = 0;
  UINT16 productId = 0;
  UINT8 slotNumber = 0;
  UINT32 wwn = 0;
  UINT32 marketingName = 0;
  UINT32 firmwareVersion = 0;
  UINT32 componentId = 0;

  std::vector<UINT8> With(const ByteWriter& stringArea) const {
    ByteWriter bytes;
    bytes.U32(1).U32(3).U32(0x0F9B54CF).U32(size);
    bytes.U32(flags).U16(productId).Zeros(16).U8(slotNumber).Zeros(7);
    bytes.U32(wwn).U32(marketingName).U32(firmwareVersion).U32(componentId).Zeros(64);
    return bytes.Bytes(stringArea.Written()).Written();
  }
};

// A string reference: the offset in the string area, and the bit that tells that the string is there.
constexpr UINT32 At(size_t offset) {
  return static_cast<UINT32>(offset) * 2 + 1;
}

class InventoryBlob : public RecordTest {
 protected:
  TVQ_BLOB_HEADER* Build(smTVQ* record) {
    TVQ_BLOB_HEADER* blob = nullptr;
    EXPECT_EQ(getInvBlob(&blob, record), EFI_SUCCESS);
    return blob;
  }
  const TVQ_INVENTORY_BLOB& Inventory(smTVQ* record) {
    return *reinterpret_cast<const TVQ_INVENTORY_BLOB*>(Build(record));
  }
  // Builds the blob and returns as many bytes as it says it has.
  std::vector<UINT8> BuildBytes(smTVQ* record) {
    const TVQ_BLOB_HEADER* blob = Build(record);
    return blob == nullptr ? std::vector<UINT8>{} : BytesAt(blob, blob->sizeInBytes);
  }
  // The string that a reference word refers to.
  std::string StringAt(const TVQ_INVENTORY_BLOB& blob, UINT32 reference) {
    EXPECT_EQ(reference & 1, 1u) << "the string is not there";
    return reinterpret_cast<const char*>(&blob) + kStringArea + reference / 2;
  }
  smTVQ* FullDimm();
};

smTVQ* InventoryBlob::FullDimm() {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  record->device.generic.MarketingName = Wide(u"DDR5 RDIMM");
  record->device.generic.WWN = Wide(u"80CE0F23");
  record->device.dimm.DeviceLocator = Wide(u"A12");
  record->device.dimm.FirmwareVersion = Wide(u"2.0.1");
  record->device.dimm.ComponentID = 104225;
  record->device.dimm.ProductID = 0xBEEF;
  return record;
}

TEST_F(InventoryBlob, OfAModuleHasIdentityNameFirmwareAndComponentOneBehindTheOther) {
  Expected expected;
  expected.size = 127 + 9 + 11 + 6 + 7;
  expected.flags = kProductIdValid | kSlotNumberValid;
  expected.productId = 0xBEEF;
  expected.slotNumber = 0x12;
  expected.wwn = At(0);
  expected.marketingName = At(9);
  expected.firmwareVersion = At(9 + 11);
  expected.componentId = At(9 + 11 + 6);
  const ByteWriter area =
      ByteWriter().Text("80CE0F23").Text("DDR5 RDIMM").Text("2.0.1").Text("104225").Zeros(1);
  EXPECT_EQ(BuildBytes(FullDimm()), expected.With(area));
}

TEST_F(InventoryBlob, OfAModulePlacesTheNameBehindTheIdentity) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  record->device.generic.WWN = Wide(u"ABC");
  record->device.generic.MarketingName = Wide(u"DDR4 UDIMM");
  Expected expected;
  expected.size = 142;
  expected.wwn = 1;
  expected.marketingName = 9;
  EXPECT_EQ(BuildBytes(record),
            expected.With(ByteWriter().Text("ABC").Text("DDR4 UDIMM").Zeros(1)));
}

TEST_F(InventoryBlob, OfAProcessorHasItsNameAlone) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
  record->device.generic.MarketingName = Wide(u"Processor 8");
  record->device.generic.WWN = Wide(u"not for processors");
  Expected expected;
  expected.size = 127 + 12;
  expected.marketingName = 1;
  EXPECT_EQ(BuildBytes(record), expected.With(ByteWriter().Text("Processor 8").Zeros(1)));
}

TEST_F(InventoryBlob, OfAProcessorWithoutANameHasNoString) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
  for (CHAR16* name : {static_cast<CHAR16*>(nullptr), Wide(u"")}) {
    record->device.generic.MarketingName = name;
    EXPECT_EQ(BuildBytes(record), Expected().With(ByteWriter().Zeros(1)));
  }
}

// The identity's length reserves room ahead of the name, but the identity itself is deliberately never copied.
TEST_F(InventoryBlob, OfTheSystemKeepsRoomForTheServiceTagAndLeavesItEmpty) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.generic.MarketingName = Wide(u"Server 9");
  record->device.system.ServiceTag = Wide(u"TAG1234");
  Expected expected;
  expected.size = 127 + 8 + 9;
  expected.marketingName = At(8);
  EXPECT_EQ(BuildBytes(record), expected.With(ByteWriter().Zeros(8).Text("Server 9").Zeros(1)));
}

TEST_F(InventoryBlob, OfTheSystemWithoutAServiceTagHasItsNameBehindOneZero) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.generic.MarketingName = Wide(u"Server 9");
  for (CHAR16* tag : {static_cast<CHAR16*>(nullptr), Wide(u"")}) {
    record->device.system.ServiceTag = tag;
    Expected expected;
    expected.size = 127 + 9;
    expected.marketingName = At(1);
    EXPECT_EQ(BuildBytes(record), expected.With(ByteWriter().Zeros(1).Text("Server 9")));
  }
}

TEST_F(InventoryBlob, OfTheSystemWithoutANameStillKeepsRoomForTheServiceTag) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.system.ServiceTag = Wide(u"TAG1234");
  Expected expected;
  expected.size = 127 + 8;
  EXPECT_EQ(BuildBytes(record), expected.With(ByteWriter().Zeros(9)));
}

TEST_F(InventoryBlob, OfTheSystemCarriesAnOffsetOverTheBytesOfItsReference) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.generic.MarketingName = Wide(u"N");
  // 127 characters give offset 128: bit 7 of the offset is bit 0 of the second byte.
  record->device.system.ServiceTag = Wide(std::u16string(127, u'T'));
  EXPECT_EQ(BytesAt(reinterpret_cast<UINT8*>(Build(record)) + 50, 4),
            (std::vector<UINT8>{0x01, 0x01, 0x00, 0x00}));
}

TEST_F(InventoryBlob, OfTheSystemCountsAtMost127CharactersOfTheServiceTag) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.generic.MarketingName = Wide(u"N");
  record->device.system.ServiceTag = Wide(std::u16string(200, u'T'));
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(UINT32{blob.MktnameOffset}, At(128));
  EXPECT_EQ(UINT32{blob.header.sizeInBytes}, 127u + 128 + 2);
}

TEST_F(InventoryBlob, KeepsAtMost63CharactersOfTheMarketingName) {
  for (UINT8 type : std::initializer_list<UINT8>{TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                                 TVQ_DEVICE_TYPE_SYSTEM}) {
    for (size_t length : {62, 63, 64, 500}) {
      smTVQ* record = NewRecord(type);
      record->device.generic.MarketingName = Wide(std::u16string(length, u'm'));
      const TVQ_INVENTORY_BLOB& blob = Inventory(record);
      const size_t kept = std::min<size_t>(length, 63);
      EXPECT_EQ(StringAt(blob, blob.MktnameOffset), std::string(kept, 'm'));
      EXPECT_EQ(UINT32{blob.header.sizeInBytes}, 127 + kept + 1) << "type " << int{type};
    }
  }
}

TEST_F(InventoryBlob, KeepsAtMost14CharactersOfAModulesSerialNumber) {
  for (const auto& [serial, kept] : {std::pair(u"1234567890123", "1234567890123"),
                                     std::pair(u"12345678901234", "12345678901234"),
                                     std::pair(u"123456789012345", "12345678901234")}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.generic.WWN = Wide(serial);
    record->device.generic.MarketingName = Wide(u"N");
    const TVQ_INVENTORY_BLOB& blob = Inventory(record);
    EXPECT_EQ(StringAt(blob, blob.wwnOffset), kept);
    EXPECT_EQ(UINT32{blob.MktnameOffset}, At(std::string(kept).size() + 1));
  }
}

TEST_F(InventoryBlob, KeepsAtMost31CharactersOfAModulesFirmwareVersion) {
  for (size_t length : {30, 31, 32, 300}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.dimm.FirmwareVersion = Wide(std::u16string(length, u'f'));
    const TVQ_INVENTORY_BLOB& blob = Inventory(record);
    EXPECT_EQ(StringAt(blob, blob.FwVerOffset), std::string(std::min<size_t>(length, 31), 'f'));
  }
}

TEST_F(InventoryBlob, NarrowsEachCharacterToItsLowByte) {
  smTVQ* record = FullDimm();
  record->device.generic.WWN = Wide(u"\u0141\uFFE9");
  record->device.generic.MarketingName = Wide(u"\u0142\uFFEA");
  record->device.dimm.FirmwareVersion = Wide(u"\u0143\uFFEB");
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(StringAt(blob, blob.wwnOffset), "A\xE9");
  EXPECT_EQ(StringAt(blob, blob.MktnameOffset), "B\xEA");
  EXPECT_EQ(StringAt(blob, blob.FwVerOffset), "C\xEB");
}

TEST_F(InventoryBlob, ShowsAComponentIdAsASignedNumber) {
  const std::pair<UINT32, const char*> cases[] = {
      {1, "1"}, {0x7FFFFFFF, "2147483647"}, {0x80000000, "-2147483648"}, {0xFFFFFFFF, "-1"}};
  for (const auto& [id, text] : cases) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.dimm.ComponentID = id;
    const TVQ_INVENTORY_BLOB& blob = Inventory(record);
    EXPECT_EQ(StringAt(blob, blob.CompIDOffset), text);
  }
}

TEST_F(InventoryBlob, HasNoComponentIdWhenThePlatformCannotPrintIt) {
  mHarness.platform.library.AsciiVSPrint = [](CHAR8*, UINTN, const CHAR8*, VA_LIST)
                                               EFIAPI { return UINTN{0}; };
  smTVQ* const record = FullDimm();
  DirtyTheStack();
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(UINT32{blob.CompIDOffset}, 0u);
  EXPECT_THAT(TakeLog(), testing::Contains("getInvBlob: DIMM CompID =  len = 0\n"));
}

TEST_F(InventoryBlob, HasNoComponentIdWhenItIsZero) {
  smTVQ* record = FullDimm();
  record->device.dimm.ComponentID = 0;
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(UINT32{blob.CompIDOffset}, 0u);
  EXPECT_EQ(UINT32{blob.header.sizeInBytes}, 127u + 9 + 11 + 6);
}

TEST_F(InventoryBlob, HasNoProductIdWhenItIsZero) {
  smTVQ* record = FullDimm();
  record->device.dimm.ProductID = 0;
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(UINT32{blob.flags}, kSlotNumberValid);
  EXPECT_EQ(UINT16{blob.ProductID}, 0);
}

TEST_F(InventoryBlob, ReadsTheSlotNumberFromTheLocatorAsHexadecimalDigits) {
  const std::pair<const char16_t*, UINT8> cases[] = {
      {u"1A", 0x1A},  {u"A1", 0xA1},  {u"c3", 0xC3},  {u"7", 0x07}, {u"123", 0x23},
      {u"FFE", 0xFE}, {u"B2_", 0xB2}, {u"XYZ", 0x00}, {u"", 0x00},  {u"_A1", 0x00}};
  for (const auto& [locator, slot] : cases) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.dimm.DeviceLocator = Wide(locator);
    const TVQ_INVENTORY_BLOB& blob = Inventory(record);
    EXPECT_EQ(blob.SlotNumber, slot) << std::u16string(locator).size();
    EXPECT_EQ(UINT32{blob.flags}, kSlotNumberValid);
  }
}

TEST_F(InventoryBlob, HasNoSlotNumberWithoutALocator) {
  smTVQ* record = FullDimm();
  record->device.dimm.DeviceLocator = nullptr;
  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  EXPECT_EQ(UINT32{blob.flags}, kProductIdValid);
  EXPECT_EQ(blob.SlotNumber, 0);
}

TEST_F(InventoryBlob, FreesTheCopyOfTheLocator) {
  TVQ_BLOB_HEADER* blob = Build(FullDimm());
  ASSERT_EQ(NewBlocks().size(), 1u);
  EXPECT_EQ(NewBlocks()[0].address, blob);
}

TEST_F(InventoryBlob, SetsNoFlagForAProcessorOrTheSystem) {
  for (UINT8 type : std::initializer_list<UINT8>{TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_SYSTEM}) {
    smTVQ* record = NewRecord(type);
    record->device.generic.MarketingName = Wide(u"N");
    EXPECT_EQ(UINT32{Inventory(record).flags}, 0u);
  }
}

// Which of a module's four texts are there; the name of a case lists them.
class InventoryBlobTexts : public InventoryBlob, public testing::WithParamInterface<unsigned> {
 protected:
  bool Has(unsigned text) const { return ((GetParam() >> text) & 1) != 0; }
};

// Each offset counts a terminator for every text before it, also for one that is not there. So a text can stand behind the
// size that the header states; the block has room for it.
TEST_P(InventoryBlobTexts, CountATerminatorForEveryEarlierTextThereOrNot) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  const std::string texts[] = {Has(0) ? "80CE" : "", Has(1) ? "Module" : "", Has(2) ? "1.2.3" : "",
                               Has(3) ? "99" : ""};
  record->device.generic.WWN = Has(0) ? Wide(u"80CE") : nullptr;
  record->device.generic.MarketingName = Has(1) ? Wide(u"Module") : nullptr;
  record->device.dimm.FirmwareVersion = Has(2) ? Wide(u"1.2.3") : nullptr;
  record->device.dimm.ComponentID = Has(3) ? 99 : 0;

  const TVQ_INVENTORY_BLOB& blob = Inventory(record);
  const UINT32 references[] = {blob.wwnOffset, blob.MktnameOffset, blob.FwVerOffset,
                               blob.CompIDOffset};
  size_t size = 127;
  size_t offset = 0;
  size_t end = kStringArea + 1;
  for (unsigned i = 0; i < 4; ++i) {
    if (Has(i)) {
      EXPECT_EQ(references[i], At(offset)) << "text " << i;
      EXPECT_EQ(StringAt(blob, references[i]), texts[i]);
      size += texts[i].size() + 1;
      end = kStringArea + offset + texts[i].size() + 1;
    } else {
      EXPECT_EQ(references[i], 0u) << "text " << i;
    }
    offset += texts[i].size() + 1;
  }
  EXPECT_EQ(UINT32{blob.header.sizeInBytes}, size);
  EXPECT_GE(Memory().Find(&blob)->size, std::max(size, end));
}

std::string NamesOfTexts(const testing::TestParamInfo<unsigned>& info) {
  static const char* const kNames[] = {"Identity", "Name", "Firmware", "Component"};
  std::string names;
  for (unsigned i = 0; i < 4; ++i) {
    names += ((info.param >> i) & 1) != 0 ? kNames[i] : "";
  }
  return names.empty() ? "None" : names;
}

INSTANTIATE_TEST_SUITE_P(EverySet, InventoryBlobTexts, testing::Range(0u, 16u), NamesOfTexts);

TEST_F(InventoryBlob, OfAnUnknownDeviceTypeIsNotThere) {
  for (int type : {0, 1, 5, 255}) {
    smTVQ* record = NewRecord(static_cast<UINT8>(type));
    record->device.generic.MarketingName = Wide(u"Nameless");
    EXPECT_EQ(Build(record), nullptr);
  }
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(InventoryBlob, NeedsItsArguments) {
  smTVQ* record = FullDimm();
  TVQ_BLOB_HEADER* blob = nullptr;
  EXPECT_EQ(getInvBlob(nullptr, record), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n", "getInvBlob: Invalid Parameter\n"));
  EXPECT_EQ(getInvBlob(&blob, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n", "getInvBlob: Invalid Parameter\n"));
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(InventoryBlob, LogsAModulesTexts) {
  Build(FullDimm());
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                      //
                                     "getInvBlob: MarketingName = [DDR5 RDIMM] \n",  //
                                     "getInvBlob: DIMM WWN = 80CE0F23 len = 8\n",    //
                                     "getInvBlob: DIMM FW = 2.0.1 len = 5\n",        //
                                     "getInvBlob: DIMM CompID = 104225 len = 6\n",   //
                                     "getInvBlob: Exiting \n"));
}

TEST_F(InventoryBlob, LogsTheTextsAsTheyAreCut) {
  smTVQ* record = FullDimm();
  record->device.generic.MarketingName = Wide(std::u16string(70, u'm'));
  record->device.generic.WWN = Wide(u"12345678901234567");
  record->device.dimm.FirmwareVersion = Wide(std::u16string(40, u'f'));
  Build(record);
  EXPECT_THAT(TakeLog(),
              ElementsAre("getInvBlob: Entering \n",                                        //
                          "getInvBlob: MarketingName = [" + std::string(63, 'm') + "] \n",  //
                          "getInvBlob: DIMM WWN = 12345678901234 len = 14\n",               //
                          "getInvBlob: DIMM FW = " + std::string(31, 'f') + " len = 31\n",  //
                          "getInvBlob: DIMM CompID = 104225 len = 6\n", "getInvBlob: Exiting \n"));
}

TEST_F(InventoryBlob, LogsTextsThatAreNotKnownAsEmpty) {
  Build(NewRecord(TVQ_DEVICE_TYPE_DIMM));
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",            //
                                     "getInvBlob: MarketingName = [] \n",  //
                                     "getInvBlob: DIMM WWN =  len = 0\n",  //
                                     "getInvBlob: DIMM FW =  len = 0\n",   //
                                     "getInvBlob: Exiting \n"));
  Build(NewRecord(TVQ_DEVICE_TYPE_SYSTEM));
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                       //
                                     "getInvBlob: MarketingName = [] \n",             //
                                     "getInvBlob: Populating INVBLOB for SYSTEM \n",  //
                                     "getInvBlob: SYSTEM WWN = [] \n",                //
                                     "getInvBlob: Exiting \n"));
  Build(NewRecord(TVQ_DEVICE_TYPE_CPU));
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                    //
                                     "getInvBlob: MarketingName = [] \n",          //
                                     "getInvBlob: Populating INVBLOB for CPU \n",  //
                                     "getInvBlob: Exiting \n"));
}

TEST_F(InventoryBlob, LogsAProcessor) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
  record->device.generic.MarketingName = Wide(u"Processor 8");
  Build(record);
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                       //
                                     "getInvBlob: MarketingName = [Processor 8] \n",  //
                                     "getInvBlob: Populating INVBLOB for CPU \n",     //
                                     "getInvBlob: Exiting \n"));
}

TEST_F(InventoryBlob, LogsTheSystemAndItsServiceTag) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->device.generic.MarketingName = Wide(u"Server 9");
  record->device.system.ServiceTag = Wide(u"TAG1234");
  Build(record);
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                       //
                                     "getInvBlob: MarketingName = [Server 9] \n",     //
                                     "getInvBlob: Populating INVBLOB for SYSTEM \n",  //
                                     "getInvBlob: SYSTEM WWN = [TAG1234] \n",         //
                                     "getInvBlob: Exiting \n"));
}

TEST_F(InventoryBlob, NeedsMemory) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
  record->device.generic.MarketingName = Wide(u"Processor 8");
  TVQ_BLOB_HEADER* blob = nullptr;
  FailAllocation(1);
  EXPECT_EQ(getInvBlob(&blob, record), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blob, nullptr);
  EXPECT_THAT(TakeLog(), ElementsAre("getInvBlob: Entering \n",                       //
                                     "getInvBlob: MarketingName = [Processor 8] \n",  //
                                     "getInvBlob: Populating INVBLOB for CPU \n",     //
                                     "getInvBlob: Failed to allocate memory for tvqInvBlob \n"));
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(InventoryBlob, HasNoSlotNumberWhenTheLocatorCannotBeCopied) {
  FailAllocation(2);
  const TVQ_INVENTORY_BLOB& blob = Inventory(FullDimm());
  EXPECT_EQ(Memory().FailedAllocations(), 1u);
  EXPECT_EQ(UINT32{blob.flags}, kProductIdValid);
  EXPECT_EQ(blob.SlotNumber, 0);
  EXPECT_EQ(StringAt(blob, blob.wwnOffset), "80CE0F23");
  EXPECT_EQ(NewBlocks().size(), 1u);
}

TEST_F(InventoryBlob, IsANewBlockOfBootServicesPoolEachTime) {
  smTVQ* record = FullDimm();
  EXPECT_NE(Build(record), Build(record));
  ASSERT_EQ(NewBlocks().size(), 2u);
  EXPECT_EQ(NewBlocks()[0].type, EfiBootServicesData);
}

TEST_F(InventoryBlob, LeavesTheRecordAsItWas) {
  smTVQ* record = FullDimm();
  const std::vector<UINT8> before = BytesAt(record, sizeof(*record));
  Build(record);
  EXPECT_EQ(BytesAt(record, sizeof(*record)), before);
}

}  // namespace
}  // namespace tvq::test
