/*
 * The device record: its layout, and how it is published.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <iterator>

#include "tests/unit/driver/uefi/document_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"
#include "TvqSmbiosPkg/src/common/publish.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"
#include "TvqSmbiosPkg/src/uefi/zvep.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;

// --- Layout ---

// The fields of a packed structure in their order: each begins where the one before it ends.
struct Field {
  const char* name;
  size_t offset;
  size_t size;
  size_t expectedSize;
};

#define FIELD(structure, name, expectedSize)                                 \
  Field {                                                                    \
#name, OFFSET_OF(structure, name), sizeof(structure::name), expectedSize \
  }

void ExpectPacked(const std::vector<Field>& fields, size_t start, size_t end) {
  size_t offset = start;
  for (const Field& field : fields) {
    EXPECT_EQ(field.offset, offset) << field.name;
    EXPECT_EQ(field.size, field.expectedSize) << field.name;
    offset += field.expectedSize;
  }
  EXPECT_EQ(offset, end);
}

constexpr size_t kGenericSize = 17;

TEST(RecordLayout, BeginsWithTheSignatureAndEndsWithTheSameTailForAllTypes) {
  ExpectPacked({FIELD(smTVQ, Signature, 8), FIELD(smTVQ, device, 144), FIELD(smTVQ, DevicePath, 8),
                FIELD(smTVQ, ConfigXml, 8), FIELD(smTVQ, Reserved1, 8), FIELD(smTVQ, Protocol, 32),
                FIELD(smTVQ, Reserved2, 8), FIELD(smTVQ, Valid, 4)},
               0, sizeof(smTVQ));
  ExpectPacked(
      {FIELD(TVQ_INVENTORY_PROTOCOL, SMTVQIdentify, 8), FIELD(TVQ_INVENTORY_PROTOCOL, SMTVQGet, 8),
       FIELD(TVQ_INVENTORY_PROTOCOL, SMTVQSet, 8), FIELD(TVQ_INVENTORY_PROTOCOL, SMTVQVerify, 8)},
      0, sizeof(TVQ_INVENTORY_PROTOCOL));
}

TEST(RecordLayout, HasTheGenericPartInFrontOfEachTypesOwn) {
  ExpectPacked({FIELD(TVQ_GENERIC, MarketingName, 8), FIELD(TVQ_GENERIC, WWN, 8),
                FIELD(TVQ_GENERIC, DeviceType, 1)},
               0, kGenericSize);
}

TEST(RecordLayout, OfAProcessor) {
  ExpectPacked({FIELD(TVQ_CPU, FQDD, 8),
                FIELD(TVQ_CPU, Socket, 1),
                FIELD(TVQ_CPU, CoreCount, 1),
                FIELD(TVQ_CPU, ProcessorFamily, 1),
                FIELD(TVQ_CPU, CurrentSpeed, 2),
                FIELD(TVQ_CPU, MaxSpeed, 2),
                FIELD(TVQ_CPU, ExternalClock, 2),
                FIELD(TVQ_CPU, Status, 1),
                FIELD(TVQ_CPU, ThreadCount, 1),
                FIELD(TVQ_CPU, EnabledCoreCount, 1),
                FIELD(TVQ_CPU, Voltage, 1),
                FIELD(TVQ_CPU, ProcessorCharacteristics, 2),
                FIELD(TVQ_CPU, ProcessorManufacturer, 8),
                FIELD(TVQ_CPU, ProcessorVersion, 8),
                FIELD(TVQ_CPU, ProcessorID, 8),
                FIELD(TVQ_CPU, CacheInfo, 24),
                FIELD(TVQ_CPU, PPIN, 8),
                FIELD(TVQ_CPU, HBMMaxCapacity, 4),
                FIELD(TVQ_CPU, HBMPresence, 1),
                FIELD(TVQ_CPU, HBMOnlyMode, 1),
                FIELD(TVQ_CPU, HBMLocation, 1),
                FIELD(TVQ_CPU, HBMErrorCorrectionType, 1),
                FIELD(TVQ_CPU, HBMInfo, 32)},
               kGenericSize, sizeof(TVQ_CPU));
}

TEST(RecordLayout, OfAModule) {
  ExpectPacked({FIELD(TVQ_DIMM, FQDD, 8),
                FIELD(TVQ_DIMM, Handle, 2),
                FIELD(TVQ_DIMM, DeviceLocator, 8),
                FIELD(TVQ_DIMM, Manufacturer, 8),
                FIELD(TVQ_DIMM, BankLocator, 8),
                FIELD(TVQ_DIMM, AssetTag, 8),
                FIELD(TVQ_DIMM, Speed, 2),
                FIELD(TVQ_DIMM, MemoryType, 1),
                FIELD(TVQ_DIMM, PartNumber, 8),
                FIELD(TVQ_DIMM, Size, 2),
                FIELD(TVQ_DIMM, TotalWidth, 2),
                FIELD(TVQ_DIMM, DataWidth, 2),
                FIELD(TVQ_DIMM, FormFactor, 1),
                FIELD(TVQ_DIMM, DeviceSet, 1),
                FIELD(TVQ_DIMM, ExtendedSize, 4),
                FIELD(TVQ_DIMM, Attributes, 1),
                FIELD(TVQ_DIMM, ConfiguredMemClockSpeed, 2),
                FIELD(TVQ_DIMM, TypeDetail, 2),
                FIELD(TVQ_DIMM, FirmwareVersion, 8),
                FIELD(TVQ_DIMM, ComponentID, 4),
                FIELD(TVQ_DIMM, ProductID, 2),
                FIELD(TVQ_DIMM, MemTechnology, 1),
                FIELD(TVQ_DIMM, MemOpModeCap, 2),
                FIELD(TVQ_DIMM, ModuleMID, 2),
                FIELD(TVQ_DIMM, ModulePID, 2),
                FIELD(TVQ_DIMM, MemSubMID, 2),
                FIELD(TVQ_DIMM, MemSubPID, 2),
                FIELD(TVQ_DIMM, NonVolatileSize, 8),
                FIELD(TVQ_DIMM, VolatileSize, 8),
                FIELD(TVQ_DIMM, CacheSize, 8),
                FIELD(TVQ_DIMM, LogicalSize, 8)},
               kGenericSize, sizeof(TVQ_DIMM));
}

TEST(RecordLayout, OfTheSystem) {
  ExpectPacked({FIELD(TVQ_SYSTEM, Socket, 1), FIELD(TVQ_SYSTEM, NumChassis, 1),
                FIELD(TVQ_SYSTEM, NumPMA, 1), FIELD(TVQ_SYSTEM, NumBaseBoards, 1),
                FIELD(TVQ_SYSTEM, NumPCISlots, 1), FIELD(TVQ_SYSTEM, ProductName, 8),
                FIELD(TVQ_SYSTEM, Manufacturer, 8), FIELD(TVQ_SYSTEM, ServiceTag, 8),
                FIELD(TVQ_SYSTEM, ChassisInfo, 8), FIELD(TVQ_SYSTEM, PMAInfo, 8),
                FIELD(TVQ_SYSTEM, BIOSInfo, 8), FIELD(TVQ_SYSTEM, BaseBoardInfo, 8),
                FIELD(TVQ_SYSTEM, PCISlotInfo, 8), FIELD(TVQ_SYSTEM, UUID, 16)},
               kGenericSize, sizeof(TVQ_SYSTEM));
}

TEST(RecordLayout, OfTheSystemsEntries) {
  ExpectPacked({FIELD(CHASSIS_INFO, Manufacturer, 8), FIELD(CHASSIS_INFO, ServiceTag, 8),
                FIELD(CHASSIS_INFO, AssetTag, 8), FIELD(CHASSIS_INFO, BootUpState, 1),
                FIELD(CHASSIS_INFO, PowerSupplyState, 1), FIELD(CHASSIS_INFO, ThermalState, 1),
                FIELD(CHASSIS_INFO, SecurityStatus, 1), FIELD(CHASSIS_INFO, Height, 1)},
               0, sizeof(CHASSIS_INFO));
  ExpectPacked(
      {FIELD(PMA_INFO, Name, 8), FIELD(PMA_INFO, Location, 1), FIELD(PMA_INFO, Use, 1),
       FIELD(PMA_INFO, MemoryErrorCorrection, 1), FIELD(PMA_INFO, MaximumCapacity, 4),
       FIELD(PMA_INFO, MemoryErrorInfoHandle, 2), FIELD(PMA_INFO, NumberOfMemoryDevices, 2),
       FIELD(PMA_INFO, ExtendedMaximumCapacity, 8)},
      0, sizeof(PMA_INFO));
  ExpectPacked({FIELD(BIOS_INFO, BIOSVersion, 8), FIELD(BIOS_INFO, BIOSReleaseDate, 8)}, 0,
               sizeof(BIOS_INFO));
  ExpectPacked(
      {FIELD(BASE_BOARD_INFO, LocationInChassis, 8), FIELD(BASE_BOARD_INFO, ChassisHandle, 2)}, 0,
      sizeof(BASE_BOARD_INFO));
  ExpectPacked(
      {FIELD(PCI_SLOT_INFO, Desig, 8), FIELD(PCI_SLOT_INFO, Type, 1),
       FIELD(PCI_SLOT_INFO, Width, 1), FIELD(PCI_SLOT_INFO, Usage, 1), FIELD(PCI_SLOT_INFO, Len, 1),
       FIELD(PCI_SLOT_INFO, ID, 2), FIELD(PCI_SLOT_INFO, Bus, 1), FIELD(PCI_SLOT_INFO, DevFn, 1),
       FIELD(PCI_SLOT_INFO, HotPlug, 1)},
      0, sizeof(PCI_SLOT_INFO));
}

#undef FIELD

// --- Texts that are not known or too long ---

class Record : public DocumentTest {};

TEST_F(Record, WithoutAMarketingNameStillYieldsBlobsAndDocument) {
  for (UINT8 type : std::initializer_list<UINT8>{TVQ_DEVICE_TYPE_CPU, TVQ_DEVICE_TYPE_DIMM,
                                                 TVQ_DEVICE_TYPE_SYSTEM}) {
    smTVQ* record = NewRecord(type);
    TVQ_REQUEST request = {2, 0};
    TVQ_DATA result = {};
    ASSERT_EQ(SMTVQGet(InventoryOf(record), &request, &result), EFI_SUCCESS);
    const TVQ_DATA* slots = static_cast<const TVQ_DATA*>(result.Buffer);
    for (int slot = 0; slot < 3; ++slot) {
      EXPECT_NE(slots[slot].Buffer, nullptr);
    }
    EXPECT_THAT(Values(record, "MarketingName"), ElementsAre(""));
  }
}

TEST_F(Record, ShowsTheSameFourteenCharactersOfASerialNumberEverywhere) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  record->device.generic.WWN = Wide(u"SN-0123456789ABCDEF");
  TVQ_BLOB_HEADER* blob = nullptr;
  ASSERT_EQ(getInvBlob(&blob, record), EFI_SUCCESS);
  EXPECT_STREQ(reinterpret_cast<const char*>(blob) + 126, "SN-0123456789A");
  EXPECT_THAT(Values(record, "WWN"), ElementsAre("SN-0123456789A"));
}

// --- Operations ---

TEST_F(Record, HasItsFourOperationsAndIsValid) {
  const std::vector<UINT8> untouched(sizeof(smTVQ), 0xEE);
  std::vector<UINT64> words((sizeof(smTVQ) + 7) / 8);
  smTVQ* record = reinterpret_cast<smTVQ*>(words.data());
  std::memcpy(record, untouched.data(), untouched.size());
  FillOperations(record);
  EXPECT_EQ(InventoryOf(record)->SMTVQIdentify, &SMTVQIdentify);
  EXPECT_EQ(InventoryOf(record)->SMTVQGet, &SMTVQGet);
  EXPECT_EQ(InventoryOf(record)->SMTVQSet, &SMTVQSet);
  EXPECT_EQ(InventoryOf(record)->SMTVQVerify, &SMTVQVerify);
  EXPECT_EQ(UINT32{record->Valid}, 1u);
  EXPECT_EQ(BytesAt(record, 176), std::vector<UINT8>(untouched.begin(), untouched.begin() + 176));
}

TEST_F(Record, ChangesByItsFirstGetInTheCachedDocumentAlone) {
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_DIMM);
  record->device.generic.MarketingName = Wide(u"DDR4 DIMM");
  record->device.dimm.PartNumber = Ascii("ABC  ");
  std::vector<UINT8> expected = BytesAt(record, sizeof(*record));
  TVQ_REQUEST request = {2, 0};
  TVQ_DATA result = {};
  ASSERT_EQ(SMTVQGet(InventoryOf(record), &request, &result), EFI_SUCCESS);
  ASSERT_NE(record->ConfigXml, nullptr);
  std::memcpy(expected.data() + OFFSET_OF(smTVQ, ConfigXml),
              reinterpret_cast<const UINT8*>(record) + OFFSET_OF(smTVQ, ConfigXml), 8);
  EXPECT_EQ(BytesAt(record, sizeof(*record)), expected);
}

// --- Published by the driver ---

class PublishedRecords : public testing::Test {
 protected:
  PublishedRecords() {
    mHarness.Publish(MinimalServer());
    EXPECT_EQ(mHarness.Load(), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Start(), EFI_SUCCESS);
    mRecords = mHarness.Records();
    EXPECT_EQ(mRecords.size(), 3u);
  }

  DriverHarness mHarness;
  std::vector<RecordHandle> mRecords;
};

TEST_F(PublishedRecords, StandOnAHandleWithTheirFourInterfacesInOrder) {
  for (const RecordHandle& published : mRecords) {
    ASSERT_NE(published.record, nullptr);
    EXPECT_EQ(published.protocol, InventoryOf(published.record));
    EXPECT_EQ(published.devicePath, published.record->DevicePath);
    ASSERT_NE(published.entryInterface, nullptr);
    EFI_GUID** guids = nullptr;
    UINTN count = 0;
    EXPECT_EQ(mHarness.BootServices()->ProtocolsPerHandle(published.handle, &guids, &count),
              EFI_SUCCESS);
    // The firmware lists the newest first.
    const EFI_GUID* const expected[] = {&gEfiDevicePathProtocolGuid, &gZvEntryProtocolGuid,
                                        &gTvqInventoryProtocolGuid, &gTvqRecordGuid};
    ASSERT_EQ(count, std::size(expected));
    for (UINTN i = 0; i < count; ++i) {
      EXPECT_EQ(BytesAt(guids[i], sizeof(EFI_GUID)), BytesAt(expected[i], sizeof(EFI_GUID))) << i;
    }
    mHarness.BootServices()->FreePool(guids);
  }
}

TEST_F(PublishedRecords, AreInstalledWithOneCallEach) {
  const host::Owner driver = host::images::driver;
  EXPECT_EQ(mHarness.Firmware().Calls(driver, host::Service::InstallMultipleProtocolInterfaces),
            1u + mRecords.size())
      << "one is the start request";
}

TEST_F(PublishedRecords, AreSignedAndValid) {
  const UINT8 deviceTypes[] = {2, 3, 4};
  for (size_t i = 0; i < mRecords.size(); ++i) {
    const smTVQ* record = mRecords[i].record;
    EXPECT_EQ(BytesAt(record, 8), (std::vector<UINT8>{'S', 'T', 'V', 'Q', 0, 0, 0, 0}));
    EXPECT_EQ(record->device.generic.DeviceType, deviceTypes[i]);
    EXPECT_EQ(UINT32{record->Valid}, 1u);
    EXPECT_EQ(record->ConfigXml, nullptr) << "no document before the first Get";
    EXPECT_EQ(record->Reserved1, nullptr);
    EXPECT_EQ(record->Reserved2, nullptr);
  }
}

TEST_F(PublishedRecords, ShareTheDevicePartWithTheirEntry) {
  for (const RecordHandle& published : mRecords) {
    EXPECT_EQ(BytesAt(&published.Entry()->Device, sizeof(TVQ_DEVICE)),
              BytesAt(&published.record->device, sizeof(TVQ_DEVICE)));
  }
}

TEST_F(PublishedRecords, HaveADevicePathOfTheirDeviceType) {
  for (const RecordHandle& published : mRecords) {
    const std::vector<UINT8> path = BytesAt(published.devicePath, 31);
    EXPECT_EQ(std::vector<UINT8>(path.begin(), path.begin() + 20),
              (std::vector<UINT8>{0x01, 0x04, 0x1B, 0x00, 0x96, 0x2E, 0x08, 0xEA, 0x4B, 0xB6,
                                  0xB3, 0x48, 0xA1, 0x53, 0x0A, 0x0F, 0xE8, 0xBF, 0x90, 0x5E}));
    EXPECT_EQ(path[20], published.record->device.generic.DeviceType);
    EXPECT_EQ(std::vector<UINT8>(path.begin() + 27, path.end()),
              (std::vector<UINT8>{0x7F, 0xFF, 0x04, 0x00}));
  }
}

TEST_F(PublishedRecords, AnswerForTheirOwnDevicePath) {
  const char* const names[] = {"CPU 1|CPU.Socket.1", "DIMM A1|DIMM.Socket.A1",
                               "SYSTEM|System.Embedded.1"};
  for (size_t i = 0; i < mRecords.size(); ++i) {
    CHAR8 language[] = "en-US";
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    ZVEP_PROTOCOL* entry = mRecords[i].entryInterface;
    ASSERT_EQ(entry->GetDeviceName(entry, mRecords[i].devicePath, language, &name, &fqdd),
              EFI_SUCCESS);
    EXPECT_EQ(Utf8(name) + "|" + Utf8(fqdd), names[i]);
  }
}

TEST_F(PublishedRecords, ServeIdentifyAndGetThroughTheInstalledProtocol) {
  const UINT32 classes[] = {5, 6, 0x10};
  for (size_t i = 0; i < mRecords.size(); ++i) {
    TVQ_IDENTITY identity = {};
    EXPECT_EQ(mRecords[i].protocol->SMTVQIdentify(mRecords[i].protocol, &identity), EFI_SUCCESS);
    EXPECT_EQ(identity.ComponentClass, classes[i]);
    EXPECT_EQ(mHarness.Get(mRecords[i]).status, EFI_SUCCESS);
  }
}

// Nothing is read from the SMBIOS table again after the build.
TEST_F(PublishedRecords, KeepTheirTextsWhenTheTableIsGone) {
  mHarness.Publish(Table());
  mHarness.UnmapEarlierTables();
  for (const RecordHandle& published : mRecords) {
    EXPECT_EQ(mHarness.Get(published).status, EFI_SUCCESS);
  }
}

TEST_F(Record, IsPublishedWithoutAnEntryWhenThereIsNoMemoryForIt) {
  std::vector<UINT8> path = ByteWriter().U8(0x7F).U8(0xFF).U16(4).Written();
  smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_SYSTEM);
  record->DevicePath = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path.data());
  FailAllocation(1);
  EXPECT_EQ(PublishRecord(record), EFI_SUCCESS);
  const std::vector<RecordHandle> published = mHarness.Records();
  ASSERT_EQ(published.size(), 1u);
  EXPECT_EQ(published[0].record, record);
  EXPECT_EQ(published[0].protocol, InventoryOf(record));
  EXPECT_EQ(published[0].entryInterface, nullptr);
}

}  // namespace
}  // namespace tvq::test
