/*
 * The configuration document of the system.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/driver/uefi/document_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;

class SystemDocument : public DocumentTest {
 protected:
  SystemDocument() : mRecord(NewRecord(TVQ_DEVICE_TYPE_SYSTEM)), mSystem(mRecord->device.system) {}

  // The system's own texts and two of everything that it has several of.
  void Fill();
  void FillChassis();
  void FillArrays();
  void FillSlots();

  // A record with one slot and nothing else.
  smTVQ* WithSlot(const PCI_SLOT_INFO& slot) {
    mSlots[0] = slot;
    mSlotList[0] = &mSlots[0];
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
    record->device.system.NumPCISlots = 1;
    record->device.system.PCISlotInfo = mSlotList;
    return record;
  }

  smTVQ* mRecord;
  TVQ_SYSTEM& mSystem;
  CHASSIS_INFO mChassis[2] = {};
  CHASSIS_INFO* mChassisList[2] = {&mChassis[0], &mChassis[1]};
  BASE_BOARD_INFO mBoards[2] = {};
  BASE_BOARD_INFO* mBoardList[2] = {&mBoards[0], &mBoards[1]};
  PCI_SLOT_INFO mSlots[2] = {};
  PCI_SLOT_INFO* mSlotList[2] = {&mSlots[0], &mSlots[1]};
  PMA_INFO mArrays[2] = {};
  PMA_INFO* mArrayList[2] = {&mArrays[0], &mArrays[1]};
  BIOS_INFO mBios = {};
};

void SystemDocument::FillChassis() {
  mChassis[0] = {Wide(u"Chassis Works"), Wide(u"CHS0001"), Wide(u"Asset 7"), 3, 4, 5, 6, 2};
  mChassis[1] = {Wide(u"Sled Works"), Wide(u"SLD0002"), Wide(u"Asset 8"), 7, 8, 9, 10, 1};
  mSystem.NumChassis = 2;
  mSystem.ChassisInfo = mChassisList;
  mBoards[0] = {Wide(u"Main Tray"), 0x300};
  mBoards[1] = {Wide(u"Riser"), 0x301};
  mSystem.NumBaseBoards = 2;
  mSystem.BaseBoardInfo = mBoardList;
}

void SystemDocument::FillSlots() {
  mSlots[0] = {Wide(u"PCIe Slot 1"), 0xA5, 0x0D, 3, 4, 0x0A0B, 0x3B, 0x08, 0x06};
  mSlots[1] = {Wide(u"PCIe Slot 2"), 0xAF, 0x0E, 5, 6, 2, 0, 0x1F, 0x04};
  mSystem.NumPCISlots = 2;
  mSystem.PCISlotInfo = mSlotList;
}

void SystemDocument::FillArrays() {
  mArrays[0] = {Wide(u"System memory"), 3, 3, 6, 0x10000000, 0xFFFE, 16, 0};
  mArrays[1] = {Wide(u"Flash memory"), 4, 5, 7, 0x20000000, 0x1001, 2, 0x100000000};
  mSystem.NumPMA = 2;
  mSystem.PMAInfo = mArrayList;
  for (UINT8 i = 0; i < 16; ++i) {
    mSystem.UUID[i] = static_cast<UINT8>(i * 0x11);
  }
}

void SystemDocument::Fill() {
  mRecord->device.generic.MarketingName = Wide(u"Rack One");
  mSystem.Socket = 1;
  mSystem.ProductName = Wide(u"Rack One R1");
  mSystem.Manufacturer = Wide(u"Server Works");
  mSystem.ServiceTag = Wide(u"ABC1234");
  FillChassis();
  FillSlots();
  FillArrays();
  mBios = {Wide(u"2.4.6"), Wide(u"03/14/2021")};
  mSystem.BIOSInfo = &mBios;
}

TEST_F(SystemDocument, HasAllOfTheSystem) {
  Fill();
  EXPECT_EQ(DocumentOf(mRecord),
            Document("<MarketingName>Rack One</MarketingName>"
                     "<Identifier>"
                     "<SystemInformation>"
                     "<ProductName>Rack One R1</ProductName>"
                     "<Manufacturer>Server Works</Manufacturer>"
                     "<ServiceTag>ABC1234</ServiceTag>"
                     "</SystemInformation>"
                     "<ChassisInformation>"
                     "<Manufacturer>Chassis Works</Manufacturer>"
                     "<ServiceTag>CHS0001</ServiceTag>"
                     "<AssetTag>Asset 7</AssetTag>"
                     "<BootUpState>3</BootUpState>"
                     "<PowerSupplyState>4</PowerSupplyState>"
                     "<ThermalState>5</ThermalState>"
                     "<SecurityStatus>6</SecurityStatus>"
                     "<Height>2</Height>"
                     "</ChassisInformation>"
                     "<ChassisInformation>"
                     "<Manufacturer>Sled Works</Manufacturer>"
                     "<ServiceTag>SLD0002</ServiceTag>"
                     "<AssetTag>Asset 8</AssetTag>"
                     "<BootUpState>7</BootUpState>"
                     "<PowerSupplyState>8</PowerSupplyState>"
                     "<ThermalState>9</ThermalState>"
                     "<SecurityStatus>10</SecurityStatus>"
                     "<Height>1</Height>"
                     "</ChassisInformation>"
                     "<BaseBoardInformation>"
                     "<LocationInChassis>Main Tray</LocationInChassis>"
                     "</BaseBoardInformation>"
                     "<BaseBoardInformation>"
                     "<LocationInChassis>Riser</LocationInChassis>"
                     "</BaseBoardInformation>"
                     "<PCISlotInfo>"
                     "<Desig>PCIe Slot 1</Desig>"
                     "<Type>A5</Type>"
                     "<Width>D</Width>"
                     "<Usage>3</Usage>"
                     "<Len>4</Len>"
                     "<ID>A0B</ID>"
                     "<BDF>3B08</BDF>"
                     "<HotPlug>1</HotPlug>"
                     "</PCISlotInfo>"
                     "<PCISlotInfo>"
                     "<Desig>PCIe Slot 2</Desig>"
                     "<Type>AF</Type>"
                     "<Width>E</Width>"
                     "<Usage>5</Usage>"
                     "<Len>6</Len>"
                     "<ID>2</ID>"
                     "<BDF>1F</BDF>"
                     "<HotPlug>0</HotPlug>"
                     "</PCISlotInfo>"
                     "</Identifier>",
                     "<PMAData>"
                     "<Name>System memory</Name>"
                     "<Location>3</Location>"
                     "<Use>3</Use>"
                     "<UUID>00112233445566778899aabbccddeeff</UUID>"
                     "<MemoryErrorCorrection>6</MemoryErrorCorrection>"
                     "<MaximumCapacity>268435456</MaximumCapacity>"
                     "<MemoryErrorInfoHandle>65534</MemoryErrorInfoHandle>"
                     "<NumberOfMemoryDevices>16</NumberOfMemoryDevices>"
                     "<ExtendedMaximumCapacity>0</ExtendedMaximumCapacity>"
                     "</PMAData>"
                     "<PMAData>"
                     "<Name>Flash memory</Name>"
                     "<Location>4</Location>"
                     "<Use>5</Use>"
                     "<UUID>00112233445566778899aabbccddeeff</UUID>"
                     "<MemoryErrorCorrection>7</MemoryErrorCorrection>"
                     "<MaximumCapacity>536870912</MaximumCapacity>"
                     "<MemoryErrorInfoHandle>4097</MemoryErrorInfoHandle>"
                     "<NumberOfMemoryDevices>2</NumberOfMemoryDevices>"
                     "<ExtendedMaximumCapacity>4294967296</ExtendedMaximumCapacity>"
                     "</PMAData>"
                     "<BIOSData>"
                     "<BIOSVersion>2.4.6</BIOSVersion>"
                     "<BIOSReleaseDate>03/14/2021</BIOSReleaseDate>"
                     "</BIOSData>"));
}

constexpr char kNothingKnown[] =
    "<MarketingName></MarketingName>"
    "<Identifier>"
    "<SystemInformation>"
    "<ProductName></ProductName><Manufacturer></Manufacturer><ServiceTag></ServiceTag>"
    "</SystemInformation>"
    "</Identifier>";

TEST_F(SystemDocument, HasTheSystemsOwnElementsWhenNothingIsKnown) {
  EXPECT_EQ(DocumentOf(mRecord), Document(kNothingKnown, ""));
}

TEST_F(SystemDocument, SkipsArraysThatAreNotThereWhateverTheirCount) {
  mSystem.NumChassis = mSystem.NumPMA = mSystem.NumBaseBoards = mSystem.NumPCISlots = 2;
  EXPECT_EQ(DocumentOf(mRecord), Document(kNothingKnown, ""));
}

TEST_F(SystemDocument, SkipsEntriesThatAreNotThere) {
  FillChassis();
  FillSlots();
  FillArrays();
  mChassisList[0] = nullptr;
  mBoardList[1] = nullptr;
  mSlotList[0] = nullptr;
  mArrayList[1] = nullptr;
  EXPECT_THAT(Values(mRecord, "Height"), ElementsAre("1"));
  EXPECT_THAT(Values(mRecord, "LocationInChassis"), ElementsAre("Main Tray"));
  EXPECT_THAT(Values(mRecord, "Desig"), ElementsAre("PCIe Slot 2"));
  EXPECT_THAT(Values(mRecord, "Name"), ElementsAre("System memory"));
  EXPECT_EQ(mSystem.NumChassis, 2);
}

TEST_F(SystemDocument, HasAsManyEntriesAsAreCounted) {
  FillChassis();
  FillSlots();
  FillArrays();
  mSystem.NumChassis = mSystem.NumPMA = mSystem.NumBaseBoards = mSystem.NumPCISlots = 1;
  EXPECT_THAT(Values(mRecord, "Height"), ElementsAre("2"));
  EXPECT_THAT(Values(mRecord, "LocationInChassis"), ElementsAre("Main Tray"));
  EXPECT_THAT(Values(mRecord, "Desig"), ElementsAre("PCIe Slot 1"));
  EXPECT_THAT(Values(mRecord, "Name"), ElementsAre("System memory"));
}

TEST_F(SystemDocument, HasEmptyElementsForTheMissingTextsOfAnEntry) {
  FillChassis();
  FillSlots();
  FillArrays();
  mChassis[0].Manufacturer = mChassis[0].ServiceTag = mChassis[0].AssetTag = nullptr;
  mBoards[0].LocationInChassis = nullptr;
  mSlots[0].Desig = nullptr;
  mArrays[0].Name = nullptr;
  mSystem.BIOSInfo = &mBios;
  EXPECT_THAT(Values(mRecord, "Manufacturer"), ElementsAre("", "", "Sled Works"));
  EXPECT_THAT(Values(mRecord, "ServiceTag"), ElementsAre("", "", "SLD0002"));
  EXPECT_THAT(Values(mRecord, "AssetTag"), ElementsAre("", "Asset 8"));
  EXPECT_THAT(Values(mRecord, "LocationInChassis"), ElementsAre("", "Riser"));
  EXPECT_THAT(Values(mRecord, "Desig"), ElementsAre("", "PCIe Slot 2"));
  EXPECT_THAT(Values(mRecord, "Name"), ElementsAre("", "Flash memory"));
  EXPECT_THAT(Values(mRecord, "BIOSData"),
              ElementsAre("<BIOSVersion></BIOSVersion><BIOSReleaseDate></BIOSReleaseDate>"));
}

TEST_F(SystemDocument, PrintsTheLargestValuesOfAChassis) {
  FillChassis();
  mSystem.NumChassis = 1;
  std::memset(&mChassis[0].BootUpState, 0xFF, 5);
  for (const char* element :
       {"BootUpState", "PowerSupplyState", "ThermalState", "SecurityStatus", "Height"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("255")) << element;
  }
}

TEST_F(SystemDocument, PrintsTheLargestValuesOfASlotInHexadecimal) {
  smTVQ* record = WithSlot({nullptr, 0xFF, 0xFF, 0xFF, 0xFF, 0xFFFF, 0xFF, 0xFF, 0xFF});
  for (const char* element : {"Type", "Width", "Usage", "Len"}) {
    EXPECT_THAT(Values(record, element), ElementsAre("FF")) << element;
  }
  EXPECT_THAT(Values(record, "ID"), ElementsAre("FFFF"));
  EXPECT_THAT(Values(record, "BDF"), ElementsAre("FFFF"));
}

TEST_F(SystemDocument, JoinsBusDeviceAndFunctionWithoutLeadingZeros) {
  const std::tuple<UINT8, UINT8, const char*> cases[] = {
      {0, 0, "0"}, {0, 0x08, "8"}, {2, 0x18, "218"}, {0x10, 0, "1000"}, {0xAB, 0xCD, "ABCD"}};
  for (const auto& [bus, devFn, text] : cases) {
    EXPECT_THAT(Values(WithSlot({nullptr, 0, 0, 0, 0, 0, bus, devFn, 0}), "BDF"),
                ElementsAre(text));
  }
}

TEST_F(SystemDocument, TurnsTheHotPlugByteIntoZeroOrOneInTheRecordToo) {
  const std::tuple<UINT8, const char*, int> cases[] = {
      {0x00, "0", 0}, {0x01, "0", 0}, {0x02, "1", 1}, {0x03, "1", 1},
      {0x04, "0", 0}, {0x06, "1", 1}, {0xFD, "0", 0}, {0xFF, "1", 1}};
  for (const auto& [characteristics, text, left] : cases) {
    smTVQ* record = WithSlot({nullptr, 0, 0, 0, 0, 0, 0, 0, characteristics});
    EXPECT_THAT(Values(record, "HotPlug"), ElementsAre(text));
    EXPECT_EQ(mSlots[0].HotPlug, left);
  }
}

TEST_F(SystemDocument, LeavesTheHotPlugByteAloneOnceTheDocumentIsCached) {
  smTVQ* record = WithSlot({nullptr, 0, 0, 0, 0, 0, 0, 0, 0x06});
  DocumentOf(record);
  // What the first build made of it would be 0 in a second one.
  EXPECT_EQ(mSlots[0].HotPlug, 1);
  EXPECT_THAT(Values(record, "HotPlug"), ElementsAre("1"));
  EXPECT_EQ(mSlots[0].HotPlug, 1);
}

// The characteristics would read as 0 in a second build, had the first one rewritten them.
TEST_F(SystemDocument, IsTheSameAgainWhenTheRecordCouldNotKeepTheFirst) {
  smTVQ* record = WithSlot({nullptr, 0, 0, 0, 0, 0, 0, 0, 0x06});
  FailAllocation(2);  // The writer's buffer is the first.
  const std::string first = DocumentOf(record);
  ASSERT_EQ(record->ConfigXml, nullptr);
  EXPECT_EQ(mSlots[0].HotPlug, 0x06);
  EXPECT_EQ(DocumentOf(record), first);
  EXPECT_STREQ(record->ConfigXml, first.c_str());
  EXPECT_EQ(mSlots[0].HotPlug, 1);
}

TEST_F(SystemDocument, LeavesTheRecordAsItIsWhenThereIsNoMemoryForIt) {
  smTVQ* record = WithSlot({nullptr, 0, 0, 0, 0, 0, 0, 0, 0x06});
  FailAllocation(1);
  TVQ_BLOB_HEADER* blob = nullptr;
  EXPECT_EQ(getConfigBlob(&blob, record), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mSlots[0].HotPlug, 0x06);
}

// A capacity of 32 bits has no sign, one of 64 bits has.
TEST_F(SystemDocument, PrintsTheLargestValuesOfAMemoryArray) {
  mArrays[0] = {nullptr, 0xFF, 0xFF, 0xFF, 0xFFFFFFFF, 0xFFFF, 0xFFFF, MAX_UINT64};
  mSystem.NumPMA = 1;
  mSystem.PMAInfo = mArrayList;
  for (const char* element : {"Location", "Use", "MemoryErrorCorrection"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("255")) << element;
  }
  for (const char* element : {"MemoryErrorInfoHandle", "NumberOfMemoryDevices"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("65535")) << element;
  }
  EXPECT_THAT(Values(mRecord, "MaximumCapacity"), ElementsAre("4294967295"));
  EXPECT_THAT(Values(mRecord, "ExtendedMaximumCapacity"), ElementsAre("-1"));
}

TEST_F(SystemDocument, PrintsTheLowestNumberThatHasASign) {
  mArrays[0].ExtendedMaximumCapacity = static_cast<UINT64>(MAX_INT64) + 1;
  mSystem.NumPMA = 1;
  mSystem.PMAInfo = mArrayList;
  EXPECT_THAT(Values(mRecord, "ExtendedMaximumCapacity"), ElementsAre("-9223372036854775808"));
}

TEST_F(SystemDocument, PrintsACapacityOfTwoTerabytesWithoutASign) {
  FillArrays();
  mArrays[0].MaximumCapacity = 0x80000000;
  EXPECT_THAT(Values(mRecord, "MaximumCapacity"), ElementsAre("2147483648", "536870912"));
}

TEST_F(SystemDocument, KeepsAtMost127CharactersOfAText) {
  for (size_t length : {127, 128, 1000}) {
    CHAR16* text = Wide(std::u16string(length, u't'));
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
    record->device.generic.MarketingName = text;
    TVQ_SYSTEM& system = record->device.system;
    system.ProductName = system.ServiceTag = text;
    mChassis[0].AssetTag = mBoards[0].LocationInChassis = mSlots[0].Desig = text;
    mArrays[0].Name = mBios.BIOSVersion = mBios.BIOSReleaseDate = text;
    system.NumChassis = system.NumBaseBoards = system.NumPCISlots = system.NumPMA = 1;
    system.ChassisInfo = mChassisList;
    system.BaseBoardInfo = mBoardList;
    system.PCISlotInfo = mSlotList;
    system.PMAInfo = mArrayList;
    system.BIOSInfo = &mBios;
    for (const char* element : {"MarketingName", "ProductName", "AssetTag", "LocationInChassis",
                                "Desig", "Name", "BIOSVersion", "BIOSReleaseDate"}) {
      EXPECT_THAT(Values(record, element), ElementsAre(std::string(127, 't'))) << element;
    }
  }
}

TEST_F(SystemDocument, LogsTheNumberOfSlots) {
  mSystem.NumPCISlots = 3;
  const size_t length = DocumentOf(mRecord).size();
  EXPECT_THAT(TakeLog(), ElementsAre("getConfigBlob: Creating SMBIOS XML\n",  //
                                     "getConfigBlob: tvq->device.system.NumPCISlots : 3\n",
                                     "getConfigBlob: GetInstance SMBIOS Current Values\n",  //
                                     "getConfigBlob: xmlbuffer size = 8192 xmllength = " +
                                         std::to_string(length) + "\n",
                                     "getConfigBlob: Exiting \n"));
}

TEST_F(SystemDocument, IsCompleteWithEveryArrayFull) {
  Fill();
  std::vector<CHASSIS_INFO*> chassis(255, &mChassis[0]);
  std::vector<BASE_BOARD_INFO*> boards(255, &mBoards[0]);
  std::vector<PCI_SLOT_INFO*> slots(255, &mSlots[0]);
  std::vector<PMA_INFO*> arrays(255, &mArrays[0]);
  mSystem.NumChassis = mSystem.NumBaseBoards = mSystem.NumPCISlots = mSystem.NumPMA = 255;
  mSystem.ChassisInfo = chassis.data();
  mSystem.BaseBoardInfo = boards.data();
  mSystem.PCISlotInfo = slots.data();
  mSystem.PMAInfo = arrays.data();
  EXPECT_EQ(Values(mRecord, "Height").size(), 255u);
  EXPECT_EQ(Values(mRecord, "LocationInChassis").size(), 255u);
  EXPECT_EQ(Values(mRecord, "BDF").size(), 255u);
  EXPECT_EQ(Values(mRecord, "UUID").size(), 255u);
  EXPECT_THAT(Values(mRecord, "BIOSVersion"), ElementsAre("2.4.6"));
  EXPECT_THAT(DocumentOf(mRecord), EndsWith("</BIOSData></Configuration></tvqComponent>"));
}

}  // namespace
}  // namespace tvq::test
