/*
 * Records of memory modules when memory or a service fails.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// Allocations of the builder for WholeMemory(): two arrays, a node and a text for the extension,
// two arrays of devices, then those of the record.
constexpr uint64_t kRecordAllocation = 7;
// The node and the text stay in the pool whenever the builder ends early.
constexpr size_t kExtensionBlocks = 2;

struct FatalCase {
  const char* name;
  uint64_t allocation;
  const char* message;
  size_t stays;  // blocks of the record
};

class DimmWithoutMemory : public Dimms, public testing::WithParamInterface<FatalCase> {};

TEST_P(DimmWithoutMemory, EndsAndGivesBackAllButWhatIsToStay) {
  Prepare(WholeMemory());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(log.back(), std::string("MakeDIMMs: ") + GetParam().message);
  EXPECT_EQ(blocks, Times(kExtensionBlocks + GetParam().stays, "MakeDIMMs"));
  EXPECT_EQ(RecordCount(), 0u);
}

TEST_P(DimmWithoutMemory, GivesBackTheNewestBlockFirst) {
  Prepare(WholeMemory());
  FailAllocation(GetParam().allocation);
  RecordFrees();
  ASSERT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(FreesOf({"MakeDIMMs"}), IsNewestFirst());
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, DimmWithoutMemory,
    testing::Values(
        FatalCase{"Record", kRecordAllocation, "Memory allocation failed for smTVQ\n", 0},
        FatalCase{"GenericName", kRecordAllocation + 1,
                  "Memory allocation failed for DIMM Gerneric Name\n", 0},
        FatalCase{"Fqdd", kRecordAllocation + 2, "Memory allocation failed for DIMM FQDDD\n", 0},
        // Deliberate: from here on the FQDD stays.
        FatalCase{"Wwn", kRecordAllocation + 3, "Memory allocation failed for DIMM WWN\n", 1},
        FatalCase{"Locator", kRecordAllocation + 4, "Memory allocation failed for DIMM Socket\n",
                  1},
        FatalCase{"Manufacturer", kRecordAllocation + 5,
                  "Memory allocation for Manufacturer in smTVQ failed, Clearing and exiting\n", 1},
        FatalCase{"BankLocator", kRecordAllocation + 6,
                  "Memory allocation failed for DIMM BankLocator\n", 1},
        FatalCase{"AssetTag", kRecordAllocation + 7,
                  "Memory allocation failed for DIMM Asset Tag\n", 1},
        FatalCase{"PartNumber", kRecordAllocation + 8,
                  "Memory allocation failed for DIMM PartNumber\n", 1},
        // Deliberate: the record with its nine texts.
        FatalCase{"DevicePath", kRecordAllocation + 10,
                  "Memory allocation failed for DIMM VendorDevicePath\n", 10}),
    [](const auto& info) { return info.param.name; });

TEST_P(DimmWithoutMemory, LogsBehindTheFreesButForTheManufacturer) {
  Prepare(WholeMemory());
  FailAllocation(GetParam().allocation);
  RecordFrees();
  ASSERT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  const bool isFirst = std::string(GetParam().name) == "Manufacturer";
  EXPECT_EQ(LinesBeforeLastFree(), log.size() - (isFirst ? 0 : 1));
}

TEST_F(Dimms, TheFirmwareVersionForWhichThereIsNoMemoryIsLeftOut) {
  Prepare(WholeMemory());
  FailAllocation(kRecordAllocation + 9);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Dimm().FirmwareVersion, std::nullopt);
  EXPECT_EQ(Dimm().ComponentID, 107187u);
  EXPECT_THAT(log, Contains("MakeDIMMs: FWVerLen = 5 \n"));
  EXPECT_EQ(log.back(), "MakeDIMMs: Leaving MakeDIMMs\n");
}

TEST_F(Dimms, AnExtensionThatLostItsFirmwareVersionCountsAsOneWithAnEmptyOne) {
  Prepare(WholeMemory());
  FailAllocation(4);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Dimm().ComponentID, 107187u);
  EXPECT_EQ(Units(Record()->device.dimm.FirmwareVersion, 1), std::u16string(1, u'\0'));
  EXPECT_THAT(log, Contains("MakeDIMMs: CID = 107187 PRID = 0x12AB FW=\n"));
  EXPECT_THAT(log, Contains("MakeDIMMs: FWVerLen = 0 \n"));
}

TEST_F(Dimms, ARecordIsPublishedWithoutTheEntryForWhichThereIsNoMemory) {
  Prepare(WholeMemory());
  FailAllocation(kRecordAllocation + 11);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(harness.Records()[0].entryInterface, nullptr);
  ExpectServes(0);
}

TEST_F(Dimms, WithoutTheExtensionsTheRecordsAreBuiltAllTheSame) {
  Prepare(WholeMemory());
  FailAllocation(1);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Dimm().ComponentID, 0u);
  EXPECT_EQ(log[1], "MakeDIMMs: Could not Found 0xE2 (226)\n");
}

TEST_F(Dimms, AreNotFoundWhenTheyCannotBeCollectedAndTheExtensionsStay) {
  Prepare(WholeMemory());
  FailAllocation(6);
  EXPECT_EQ(Make(), EFI_NOT_FOUND);
  EXPECT_EQ(log.back(), "MakeDIMMs: Did not find any DIMM SMBIOS structures\n");
  EXPECT_EQ(blocks, Times(kExtensionBlocks, "MakeDIMMs"));
}

TEST_F(Dimms, WithoutADeviceTheExtensionsStay) {
  ASSERT_EQ(Make(Table::Of(DimmExtension{})), EFI_NOT_FOUND);
  EXPECT_THAT(blocks, Contains("MakeDIMMs").Times(kExtensionBlocks));
  EXPECT_THAT(log, Not(Contains(HasSubstr("ReleaseE2List"))));
}

TEST_F(Dimms, AllArraysAndExtensionsAreGivenBackInTheEnd) {
  ASSERT_EQ(Make(WholeMemory()), EFI_SUCCESS);
  EXPECT_EQ(blocks, Joined({Times(11, "MakeDIMMs"), {"MakeDIMMZVEP"}}));
}

TEST_F(Dimms, ARecordThatCannotBeInstalledStays) {
  Prepare(WholeMemory());
  FailInstall(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_ACCESS_DENIED);
  EXPECT_EQ(log.back(),
            "MakeDIMMs: InstallMultipleProtocolInterfaces failed with status = Access Denied\n");
  EXPECT_EQ(blocks, Joined({Times(kExtensionBlocks + 11, "MakeDIMMs"), {"MakeDIMMZVEP"}}));
}

TEST_F(Dimms, ARecordThatCannotBeOpenedIsNoFailure) {
  Prepare(WholeMemory());
  harness.Firmware().FailCall(host::images::driver, host::Service::OpenProtocol, 1,
                              EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
}

TEST_F(Dimms, TwoWithTheSameThreeCharactersEndTheBuilderAndTheFirstKeepsServing) {
  EXPECT_EQ(Make(Table::Of(LocatedAt("DIMM_A1"), LocatedAt("A1"), LocatedAt("DIMM_B1"))),
            EFI_ALREADY_STARTED);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
  EXPECT_EQ(NameOf(), "DIMM A1");
  EXPECT_EQ(log.back(),
            "MakeDIMMs: InstallMultipleProtocolInterfaces failed with status = Already started\n");
}

TEST_F(Dimms, RecordsBeforeTheOneThatFailsKeepServing) {
  Prepare(Table::Of(LocatedAt("DIMM_A1"), LocatedAt("DIMM_A2"), LocatedAt("DIMM_A3")));
  FailAllocation(15);  // four arrays, ten blocks of the first
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
}

}  // namespace
}  // namespace tvq::test
