/*
 * The configuration blob: the wrapper of a record's document, and how the document is kept.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/document_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr size_t kWorkingBuffer = 8192;

class ConfigurationBlob : public DocumentTest {
 protected:
  ConfigurationBlob() : mRecord(NewRecord(TVQ_DEVICE_TYPE_CPU)) {
    mRecord->device.generic.MarketingName = Wide(u"Processor 8");
  }
  TVQ_BLOB_HEADER* Build(smTVQ* record) {
    TVQ_BLOB_HEADER* blob = nullptr;
    EXPECT_EQ(getConfigBlob(&blob, record), EFI_SUCCESS);
    return blob;
  }
  EFI_STATUS BuildWithout(uint64_t allocation, smTVQ* record) {
    FailAllocation(allocation);
    TVQ_BLOB_HEADER* blob = nullptr;
    const EFI_STATUS status = getConfigBlob(&blob, record);
    EXPECT_EQ(blob != nullptr, status == EFI_SUCCESS);
    Memory().StopFailing();
    return status;
  }
  static std::vector<UINT8> WholeBlob(const std::string& document) {
    const UINT32 size = static_cast<UINT32>(document.size() + 81);
    return ByteWriter().U32(1).U32(5).U32(0x2C41C4EC).U32(size).Zeros(64).Text(document).Written();
  }
  // A system whose document is longer than the working buffer: somewhat less than 180 characters for each of its slots.
  smTVQ* NewLongRecord(UINT8 slots) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
    mSlots.assign(slots, {Wide(u"A slot with a long designation: 3"), 1, 2, 3, 4, 5, 6, 7, 2});
    for (PCI_SLOT_INFO& slot : mSlots) {
      mSlotList.push_back(&slot);
    }
    record->device.system.NumPCISlots = slots;
    record->device.system.PCISlotInfo = mSlotList.data();
    return record;
  }

  smTVQ* mRecord;
  std::vector<PCI_SLOT_INFO> mSlots;
  std::vector<PCI_SLOT_INFO*> mSlotList;
};

TEST_F(ConfigurationBlob, IsAHeader64ZerosAndTheDocumentWithItsTerminator) {
  TVQ_BLOB_HEADER* blob = Build(mRecord);
  ASSERT_NE(blob, nullptr);
  const std::string document = reinterpret_cast<const char*>(blob) + 80;
  EXPECT_THAT(document, testing::StartsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>"));
  EXPECT_EQ(BytesAt(blob, document.size() + 81), WholeBlob(document));
}

TEST_F(ConfigurationBlob, OfAnUnknownDeviceTypeHasTheNameAlone) {
  for (int type : {0, 1, 5, 255}) {
    smTVQ* record = NewRecord(static_cast<UINT8>(type));
    record->device.generic.MarketingName = Wide(u"Thing");
    EXPECT_EQ(DocumentOf(record),
              Document("<MarketingName>Thing</MarketingName><Identifier></Identifier>", ""));
  }
}

TEST_F(ConfigurationBlob, LeavesTheBlobAndTheDocumentInTheRecord) {
  TVQ_BLOB_HEADER* blob = Build(mRecord);
  const std::string document = reinterpret_cast<const char*>(blob) + 80;
  EXPECT_EQ(std::string(mRecord->ConfigXml), document);
  ASSERT_THAT(NewBlockSizes(), ElementsAre(document.size() + 1, document.size() + 81));
  EXPECT_EQ(NewBlocks()[0].address, mRecord->ConfigXml);
  EXPECT_EQ(NewBlocks()[1].address, blob);
  EXPECT_EQ(NewBlocks()[0].type, EfiBootServicesData);
  EXPECT_EQ(NewBlocks()[1].type, EfiBootServicesData);
}

TEST_F(ConfigurationBlob, IsANewBlockEachTime) {
  EXPECT_NE(Build(mRecord), Build(mRecord));
}

TEST_F(ConfigurationBlob, ServesTheSecondGetFromTheRecord) {
  const TVQ_BLOB_HEADER* first = Build(mRecord);
  const std::vector<UINT8> bytes = BytesAt(first, first->sizeInBytes);
  TakeLog();
  mRecord->device.generic.MarketingName = Wide(u"Another name");
  const TVQ_BLOB_HEADER* second = Build(mRecord);
  EXPECT_EQ(BytesAt(second, second->sizeInBytes), bytes);
  EXPECT_THAT(TakeLog(), ElementsAre("getConfigBlob: GetInstance Cached SMBIOS Current Values\n"));
}

TEST_F(ConfigurationBlob, WrapsWhateverTheRecordHasCached) {
  mRecord->ConfigXml = Ascii("any text");
  EXPECT_EQ(BytesAt(Build(mRecord), 81 + 8), WholeBlob("any text"));
  mRecord->ConfigXml = Ascii("");
  EXPECT_EQ(BytesAt(Build(mRecord), 81), WholeBlob(""));
}

TEST_F(ConfigurationBlob, LogsTheFirstBuild) {
  smTVQ* record = NewRecord(9);
  const std::string length = std::to_string(DocumentOf(record).size());
  EXPECT_THAT(TakeLog(),
              ElementsAre("getConfigBlob: Creating SMBIOS XML\n",                               //
                          "getConfigBlob: GetInstance SMBIOS Current Values\n",                 //
                          "getConfigBlob: xmlbuffer size = 8192 xmllength = " + length + "\n",  //
                          "getConfigBlob: Exiting \n"));
}

TEST_F(ConfigurationBlob, NeedsItsArguments) {
  TVQ_BLOB_HEADER* blob = nullptr;
  EXPECT_EQ(getConfigBlob(nullptr, mRecord), EFI_INVALID_PARAMETER);
  EXPECT_EQ(getConfigBlob(&blob, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_THAT(NewBlocks(), IsEmpty());
  EXPECT_EQ(mRecord->ConfigXml, nullptr);
}

// --- Without memory ---

TEST_F(ConfigurationBlob, IsNotThereWithoutTheWorkingBuffer) {
  EXPECT_EQ(BuildWithout(1, mRecord), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(TakeLog(), ElementsAre("error: getConfigBlob: Failed to allocate memory for xml \n"));
  EXPECT_THAT(NewBlocks(), IsEmpty());
  EXPECT_EQ(mRecord->ConfigXml, nullptr);
}

TEST_F(ConfigurationBlob, IsThereWithoutTheCopyInTheRecord) {
  EXPECT_EQ(BuildWithout(2, mRecord), EFI_SUCCESS);
  EXPECT_EQ(mRecord->ConfigXml, nullptr);
  EXPECT_EQ(NewBlocks().size(), 1u);
  EXPECT_THAT(TakeLog().back(), "getConfigBlob: Exiting \n");
  // The next one is built anew, and then kept.
  mRecord->device.generic.MarketingName = Wide(u"Another name");
  EXPECT_THAT(DocumentOf(mRecord), HasSubstr("Another name"));
  EXPECT_NE(mRecord->ConfigXml, nullptr);
}

TEST_F(ConfigurationBlob, LeavesTheCopyInTheRecordWhenItCannotBeAllocatedItself) {
  EXPECT_EQ(BuildWithout(3, mRecord), EFI_OUT_OF_RESOURCES);
  const std::vector<std::string> log = TakeLog();
  EXPECT_EQ(log.back(), "getConfigBlob: Failed to allocate memory for tvqconfigBlob \n");
  EXPECT_THAT(log[log.size() - 2], HasSubstr("xmllength = "));
  ASSERT_EQ(NewBlocks().size(), 1u);
  EXPECT_EQ(NewBlocks()[0].address, mRecord->ConfigXml);
  EXPECT_EQ(DocumentOf(mRecord), std::string(mRecord->ConfigXml));
}

TEST_F(ConfigurationBlob, IsNotThereWhenACachedOneCannotBeAllocated) {
  mRecord->ConfigXml = Ascii("any text");
  EXPECT_EQ(BuildWithout(1, mRecord), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(TakeLog().back(), "getConfigBlob: Failed to allocate memory for tvqconfigBlob \n");
  EXPECT_THAT(NewBlocks(), IsEmpty());
  EXPECT_EQ(std::string(mRecord->ConfigXml), "any text");
}

TEST_F(ConfigurationBlob, FreesTheWorkingBufferWhenNothingElseCanBeAllocated) {
  FailAllocation(2);
  FailAllocation(3);
  const uint64_t frees = Memory().Frees();
  TVQ_BLOB_HEADER* blob = nullptr;
  EXPECT_EQ(getConfigBlob(&blob, mRecord), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Memory().Frees(), frees + 1);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

// --- Long documents ---

TEST_F(ConfigurationBlob, HoldsADocumentOfAnyLengthWhole) {
  for (UINT8 slots : std::initializer_list<UINT8>{40, 51, 52, 53, 54, 60, 110, 255}) {
    mSlotList.clear();
    const std::string document = DocumentOf(NewLongRecord(slots));
    std::string entries;
    for (int i = 0; i < slots; ++i) {
      entries +=
          "<PCISlotInfo><Desig>A slot with a long designation: "
          "3</Desig><Type>1</Type><Width>2</Width>"
          "<Usage>3</Usage><Len>4</Len><ID>5</ID><BDF>607</BDF><HotPlug>1</HotPlug></PCISlotInfo>";
    }
    EXPECT_EQ(document, Document("<MarketingName></MarketingName><Identifier><SystemInformation>"
                                 "<ProductName></ProductName><Manufacturer></Manufacturer>"
                                 "<ServiceTag></ServiceTag></SystemInformation>" +
                                     entries + "</Identifier>",
                                 ""));
  }
}

// Names of one character more each time carry the end of the document over the end of the working buffer byte by byte.
TEST_F(ConfigurationBlob, FillsTheWorkingBufferToTheLastByteBeforeItGrows) {
  const size_t base = DocumentOf(NewLongRecord(44)).size();
  ASSERT_LT(base, kWorkingBuffer - 3);
  ASSERT_GT(base, kWorkingBuffer - 120) << "a name of 127 characters has to reach the end";
  for (size_t length = kWorkingBuffer - base - 3; length <= kWorkingBuffer - base + 2; ++length) {
    mSlotList.clear();
    smTVQ* record = NewLongRecord(44);
    record->device.generic.MarketingName = Wide(std::u16string(length, u'n'));
    const uint64_t allocations = Memory().Allocations(host::images::driver);
    const std::string document = DocumentOf(record);
    EXPECT_EQ(document.size(), base + length);
    EXPECT_THAT(document, EndsWith("</Configuration></tvqComponent>"));
    // Working buffer, the document in the record, blob.
    const bool fits = document.size() + 1 <= kWorkingBuffer;
    EXPECT_EQ(Memory().Allocations(host::images::driver) - allocations == 3, fits)
        << document.size();
  }
}

TEST_F(ConfigurationBlob, LogsTheLengthOfALongDocument) {
  const std::string length = std::to_string(DocumentOf(NewLongRecord(255)).size());
  const std::vector<std::string> log = TakeLog();
  EXPECT_THAT(log[log.size() - 2], EndsWith(" xmllength = " + length + "\n"));
}

TEST_F(ConfigurationBlob, LeavesNothingWhenALongDocumentRunsOutOfMemory) {
  smTVQ* record = NewLongRecord(255);
  TVQ_BLOB_HEADER* blob = nullptr;
  FailAllocation(2);
  EXPECT_EQ(getConfigBlob(&blob, record), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blob, nullptr);
  EXPECT_EQ(record->ConfigXml, nullptr);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

}  // namespace
}  // namespace tvq::test
