/*
 * The configuration document of a memory module.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/driver/uefi/document_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;

class DimmDocument : public DocumentTest {
 protected:
  DimmDocument() : mRecord(NewRecord(TVQ_DEVICE_TYPE_DIMM)), mDimm(mRecord->device.dimm) {}

  // A module of which everything is known.
  void Fill();
  // The part number in the document, and the one that is left in the record: "document|record".
  std::string PartNumbers(const char* text) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.dimm.PartNumber = Ascii(text);
    return Values(record, "PartNumber").at(0) + "|" + record->device.dimm.PartNumber;
  }

  smTVQ* mRecord;
  TVQ_DIMM& mDimm;
};

void DimmDocument::Fill() {
  mRecord->device.generic.MarketingName = Wide(u"DDR4 DIMM");
  mRecord->device.generic.WWN = Wide(u"80CE0F23");
  mDimm.FQDD = Wide(u"not shown");
  mDimm.Handle = 0x1101;
  mDimm.DeviceLocator = Wide(u"A12");
  mDimm.Manufacturer = Wide(u"Memory Works");
  mDimm.BankLocator = Wide(u"Bank 1");
  mDimm.AssetTag = Wide(u"01221234");
  mDimm.Speed = 3200;
  mDimm.MemoryType = 26;
  mDimm.PartNumber = Ascii("MW16G3200");
  mDimm.Size = 16384;
  mDimm.TotalWidth = 72;
  mDimm.DataWidth = 64;
  mDimm.FormFactor = 9;
  mDimm.DeviceSet = 2;
  mDimm.ExtendedSize = 70000;
  mDimm.Attributes = 3;
  mDimm.ConfiguredMemClockSpeed = 2933;
  mDimm.TypeDetail = 0x2080;
  mDimm.FirmwareVersion = Wide(u"2.0.1");
  mDimm.ComponentID = 104225;
  mDimm.ProductID = 0xBEEF;
  mDimm.MemTechnology = 4;
  mDimm.MemOpModeCap = 8;
  mDimm.ModuleMID = 0x2C80;
  mDimm.ModulePID = 101;
  mDimm.MemSubMID = 102;
  mDimm.MemSubPID = 103;
  mDimm.NonVolatileSize = 0x100000001;
  mDimm.VolatileSize = 0x200000002;
  mDimm.CacheSize = 0x300000003;
  mDimm.LogicalSize = 0x400000004;
}

// "NonVolatizeSize" and "VolatizeSize" are the agent's words for a module, deliberately.
TEST_F(DimmDocument, HasAllOfAModule) {
  Fill();
  EXPECT_EQ(DocumentOf(mRecord), Document("<MarketingName>DDR4 DIMM</MarketingName>"
                                          "<WWN>80CE0F23</WWN>"
                                          "<ComponentID>104225</ComponentID>"
                                          "<FirmwareVersion>2.0.1</FirmwareVersion>"
                                          "<ProductID>0xBEEF</ProductID>"
                                          "<Identifier>"
                                          "<DIMMLocation>A12</DIMMLocation>"
                                          "</Identifier>",
                                          "<dimmData>"
                                          "<Speed>3200</Speed>"
                                          "<PartNumber>MW16G3200</PartNumber>"
                                          "<Manufacturer>Memory Works</Manufacturer>"
                                          "<BankLocator>Bank 1</BankLocator>"
                                          "<AssetTag>01221234</AssetTag>"
                                          "<Size>16384</Size>"
                                          "<MemoryType>26</MemoryType>"
                                          "<TypeDetail>8320</TypeDetail>"
                                          "<TotalWidth>72</TotalWidth>"
                                          "<DataWidth>64</DataWidth>"
                                          "<FormFactor>9</FormFactor>"
                                          "<DeviceSet>2</DeviceSet>"
                                          "<Handle>4353</Handle>"
                                          "<ExtendedSize>70000</ExtendedSize>"
                                          "<Attributes>3</Attributes>"
                                          "<ConfiguredMemClockSpeed>2933</ConfiguredMemClockSpeed>"
                                          "<MemTechnology>4</MemTechnology>"
                                          "<MemOpModeCap>8</MemOpModeCap>"
                                          "<ModuleMID>11392</ModuleMID>"
                                          "<ModulePID>101</ModulePID>"
                                          "<MemSubMID>102</MemSubMID>"
                                          "<MemSubPID>103</MemSubPID>"
                                          "<NonVolatizeSize>4294967297</NonVolatizeSize>"
                                          "<VolatizeSize>8589934594</VolatizeSize>"
                                          "<CacheSize>12884901891</CacheSize>"
                                          "<LogicalSize>17179869188</LogicalSize>"
                                          "</dimmData>"));
}

TEST_F(DimmDocument, HasEmptyElementsForWhatIsNotKnown) {
  EXPECT_EQ(DocumentOf(mRecord), Document("<MarketingName></MarketingName>"
                                          "<WWN></WWN>"
                                          "<ComponentID></ComponentID>"
                                          "<FirmwareVersion></FirmwareVersion>"
                                          "<ProductID></ProductID>"
                                          "<Identifier>"
                                          "<DIMMLocation></DIMMLocation>"
                                          "</Identifier>",
                                          "<dimmData>"
                                          "<Speed>0</Speed>"
                                          "<PartNumber></PartNumber>"
                                          "<Manufacturer></Manufacturer>"
                                          "<BankLocator></BankLocator>"
                                          "<AssetTag></AssetTag>"
                                          "<Size>0</Size>"
                                          "<MemoryType>0</MemoryType>"
                                          "<TypeDetail>0</TypeDetail>"
                                          "<TotalWidth>0</TotalWidth>"
                                          "<DataWidth>0</DataWidth>"
                                          "<FormFactor>0</FormFactor>"
                                          "<DeviceSet>0</DeviceSet>"
                                          "<Handle>0</Handle>"
                                          "<ExtendedSize>0</ExtendedSize>"
                                          "<Attributes>0</Attributes>"
                                          "<ConfiguredMemClockSpeed>0</ConfiguredMemClockSpeed>"
                                          "<MemTechnology>0</MemTechnology>"
                                          "<MemOpModeCap>0</MemOpModeCap>"
                                          "<ModuleMID>0</ModuleMID>"
                                          "<ModulePID>0</ModulePID>"
                                          "<MemSubMID>0</MemSubMID>"
                                          "<MemSubPID>0</MemSubPID>"
                                          "<NonVolatizeSize>0</NonVolatizeSize>"
                                          "<VolatizeSize>0</VolatizeSize>"
                                          "<CacheSize>0</CacheSize>"
                                          "<LogicalSize>0</LogicalSize>"
                                          "</dimmData>"));
}

// A 32-bit value is printed as a signed number; those of 8 and 16 bits do not reach the sign.
TEST_F(DimmDocument, PrintsTheLargestValues) {
  Fill();
  mDimm.ComponentID = mDimm.ExtendedSize = 0xFFFFFFFF;
  mDimm.ProductID = mDimm.Speed = mDimm.Size = mDimm.TypeDetail = 0xFFFF;
  mDimm.TotalWidth = mDimm.DataWidth = mDimm.Handle = mDimm.ConfiguredMemClockSpeed = 0xFFFF;
  mDimm.MemOpModeCap = mDimm.ModuleMID = mDimm.ModulePID = 0xFFFF;
  mDimm.MemSubMID = mDimm.MemSubPID = 0xFFFF;
  mDimm.MemoryType = mDimm.FormFactor = mDimm.DeviceSet = mDimm.Attributes = 0xFF;
  mDimm.MemTechnology = 0xFF;
  mDimm.NonVolatileSize = mDimm.VolatileSize = mDimm.CacheSize = MAX_UINT64;
  mDimm.LogicalSize = MAX_UINT64;
  for (const char* element : {"ComponentID", "ExtendedSize"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("-1")) << element;
  }
  EXPECT_THAT(Values(mRecord, "ProductID"), ElementsAre("0xFFFF"));
  for (const char* element : {"Speed", "Size", "TypeDetail", "TotalWidth", "DataWidth", "Handle",
                              "ConfiguredMemClockSpeed", "MemOpModeCap", "ModuleMID", "ModulePID",
                              "MemSubMID", "MemSubPID"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("65535")) << element;
  }
  for (const char* element :
       {"MemoryType", "FormFactor", "DeviceSet", "Attributes", "MemTechnology"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("255")) << element;
  }
  for (const char* element : {"NonVolatizeSize", "VolatizeSize", "CacheSize", "LogicalSize"}) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre("18446744073709551615")) << element;
  }
}

TEST_F(DimmDocument, PrintsTheSmallestComponentId) {
  mDimm.ComponentID = 0x80000000;
  EXPECT_THAT(Values(mRecord, "ComponentID"), ElementsAre("-2147483648"));
}

TEST_F(DimmDocument, PrintsAProductIdWithoutLeadingZeros) {
  mDimm.ProductID = 0x0A;
  EXPECT_THAT(Values(mRecord, "ProductID"), ElementsAre("0xA"));
}

TEST_F(DimmDocument, TrimsThePartNumberInTheRecordAndStopsAtTheFirstBlankInTheDocument) {
  EXPECT_EQ(PartNumbers("ABC123   "), "ABC123|ABC123");
  EXPECT_EQ(PartNumbers("  ABC123"), "ABC123|ABC123");
  EXPECT_EQ(PartNumbers(" ABC 123 X  "), "ABC|ABC 123 X");
  EXPECT_EQ(PartNumbers("ABC123"), "ABC123|ABC123");
  EXPECT_EQ(PartNumbers("ABC\t123 "), "ABC\t123|ABC\t123");
  EXPECT_EQ(PartNumbers("ABC\x01"
                        "23"),
            "ABC\x01"
            "23|ABC\x01"
            "23");
  EXPECT_EQ(PartNumbers("    "), "|");
  EXPECT_EQ(PartNumbers(""), "|");
}

TEST_F(DimmDocument, KeepsAPartNumberOfAnyLength) {
  const std::string number(300, 'P');
  EXPECT_EQ(PartNumbers(number.c_str()), number + "|" + number);
}

TEST_F(DimmDocument, KeepsAtMost14CharactersOfTheSerialNumber) {
  for (const auto& [serial, kept] : {std::pair(u"1234567890123", "1234567890123"),
                                     std::pair(u"12345678901234", "12345678901234"),
                                     std::pair(u"123456789012345", "12345678901234")}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.generic.WWN = Wide(serial);
    EXPECT_THAT(Values(record, "WWN"), ElementsAre(kept));
  }
}

TEST_F(DimmDocument, KeepsAtMost31CharactersOfTheFirmwareVersion) {
  for (size_t length : {30, 31, 32, 300}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    record->device.dimm.FirmwareVersion = Wide(std::u16string(length, u'f'));
    EXPECT_THAT(Values(record, "FirmwareVersion"),
                ElementsAre(std::string(std::min<size_t>(length, 31), 'f')));
  }
}

TEST_F(DimmDocument, KeepsAtMost127CharactersOfOtherTexts) {
  for (size_t length : {127, 128, 1000}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
    CHAR16* text = Wide(std::u16string(length, u't'));
    record->device.generic.MarketingName = text;
    record->device.dimm.DeviceLocator = text;
    record->device.dimm.Manufacturer = text;
    record->device.dimm.BankLocator = text;
    record->device.dimm.AssetTag = text;
    for (const char* element :
         {"MarketingName", "DIMMLocation", "Manufacturer", "BankLocator", "AssetTag"}) {
      EXPECT_THAT(Values(record, element), ElementsAre(std::string(127, 't'))) << element;
    }
  }
}

TEST_F(DimmDocument, NarrowsEachCharacterToItsLowByteAndEscapesNone) {
  mRecord->device.generic.WWN = Wide(u"\u0141&\uFFE9");
  mDimm.FirmwareVersion = Wide(u"\u0142<\uFFEA");
  mDimm.AssetTag = Wide(u"\u0143>\uFFEB");
  mDimm.PartNumber = Ascii("P\xEC&");
  EXPECT_THAT(Values(mRecord, "WWN"), ElementsAre("A&\xE9"));
  EXPECT_THAT(Values(mRecord, "FirmwareVersion"), ElementsAre("B<\xEA"));
  EXPECT_THAT(Values(mRecord, "AssetTag"), ElementsAre("C>\xEB"));
  EXPECT_THAT(Values(mRecord, "PartNumber"), ElementsAre("P\xEC&"));
}

TEST_F(DimmDocument, LogsNothingOfItsOwn) {
  Fill();
  const size_t length = DocumentOf(mRecord).size();
  EXPECT_THAT(TakeLog(),
              ElementsAre("getConfigBlob: Creating SMBIOS XML\n",                //
                          "getConfigBlob: GetInstance SMBIOS Current Values\n",  //
                          "getConfigBlob: xmlbuffer size = 8192 xmllength = " +
                              std::to_string(length) + "\n",
                          "getConfigBlob: Exiting \n"));
}

TEST_F(DimmDocument, FreesItsCopyOfThePartNumber) {
  Fill();
  DocumentOf(mRecord);
  // What is left is the document in the record and the blob.
  EXPECT_EQ(NewBlocks().size(), 2u);
}

TEST_F(DimmDocument, IsNotThereWithoutMemoryForThePartNumber) {
  Fill();
  mDimm.PartNumber = Ascii("MW16G3200   ");
  TVQ_BLOB_HEADER* blob = nullptr;
  FailAllocation(2);
  EXPECT_EQ(getConfigBlob(&blob, mRecord), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blob, nullptr);
  EXPECT_EQ(Memory().FailedAllocations(), 1u);
  EXPECT_THAT(NewBlocks(), testing::IsEmpty());
  EXPECT_EQ(mRecord->ConfigXml, nullptr);
  EXPECT_STREQ(mDimm.PartNumber, "MW16G3200");
  EXPECT_THAT(TakeLog(), ElementsAre("getConfigBlob: Creating SMBIOS XML\n"));
}

TEST_F(DimmDocument, NeedsNoMemoryForAMissingPartNumber) {
  FailAllocation(4);
  DocumentOf(mRecord);
  // Working buffer, the document in the record, blob.
  EXPECT_EQ(Memory().FailedAllocations(), 0u);
}

}  // namespace
}  // namespace tvq::test
