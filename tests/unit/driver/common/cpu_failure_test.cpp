/*
 * Processor records when memory or a service fails.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::Not;

// Allocations of the builder for WholeServer(): two for each of types 4, 7, 11, 17 and 16, then
// those of the record.
constexpr uint64_t kRecordAllocation = 11;

struct FatalCase {
  const char* name;
  uint64_t allocation;
  Strings stays;
};

class CpuWithoutMemory : public Cpus, public testing::WithParamInterface<FatalCase> {};

TEST_P(CpuWithoutMemory, EndsAndGivesBackAllButWhatIsToStay) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blocks, GetParam().stays);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_NE(log.back(), "MakeCPUs: Leaving MakeCPUs\n");
}

TEST_P(CpuWithoutMemory, GivesBackTheNewestBlockFirst) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  RecordFrees();
  ASSERT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(FreesOf({"MakeCPUs", "GetCacheInfo"}), IsNewestFirst());
}

INSTANTIATE_TEST_SUITE_P(Blocks, CpuWithoutMemory,
                         testing::Values(
                             // Deliberate: the arrays of caches and OEM strings.
                             FatalCase{"Record", kRecordAllocation,
                                       Times(4, "SmbiosGetStructuresByType < MakeCPUs")},
                             FatalCase{"MarketingName", kRecordAllocation + 1, {}},
                             FatalCase{"Fqdd", kRecordAllocation + 2, {}},
                             FatalCase{"Manufacturer", kRecordAllocation + 3, {}},
                             FatalCase{"Version", kRecordAllocation + 4, {}},
                             FatalCase{"Ppin", kRecordAllocation + 8, {}},
                             FatalCase{"DevicePath", kRecordAllocation + 9, {}}),
                         [](const auto& info) { return info.param.name; });

TEST_F(Cpus, StacksAndCachesAreGivenBackTheNewestFirst) {
  ASSERT_EQ(Make(Table::Of(WholeServer(), StackAt("CPU0_HBMIO0"), StackAt("CPU0_HBMIO1"),
                           StackAt("CPU0_HBMIO2"), StackAt("CPU0_HBMIO3"))),
            EFI_SUCCESS);
  FailAllocation(allocations - 1);  // of the device path; the entry comes behind it
  RecordFrees();
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  const std::vector<uint64_t> frees = FreesOf({"MakeCPUs", "GetCacheInfo", "GetHbmInfo"});
  EXPECT_EQ(frees.size(), 13u);  // record, five texts, four stacks, three caches
  EXPECT_THAT(frees, IsNewestFirst());
  EXPECT_THAT(blocks, testing::IsEmpty());
}

TEST_F(Cpus, CachesForWhichThereIsNoMemoryAreLeftOut) {
  Prepare(WholeServer());
  FailAllocation(kRecordAllocation + 6);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_NE(Cpu().CacheInfo[0], std::nullopt);
  EXPECT_EQ(Cpu().CacheInfo[1], std::nullopt);
  EXPECT_NE(Cpu().CacheInfo[2], std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L2 Cache Information"));
}

TEST_F(Cpus, StacksForWhichThereIsNoMemoryAreLeftOut) {
  Prepare(HbmTable({StackAt("CPU0_HBMIO0"), StackAt("CPU0_HBMIO1")}));
  FailAllocation(kRecordAllocation + 4);  // record, name, manufacturer, version, first stack
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMInfo[0], std::nullopt);
  EXPECT_NE(Cpu().HBMInfo[1], std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get HBM0 Information for cpu0"));
}

TEST_F(Cpus, ARecordIsPublishedWithoutTheEntryForWhichThereIsNoMemory) {
  Prepare(WholeServer());
  FailAllocation(kRecordAllocation + 10);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(harness.Records()[0].entryInterface, nullptr);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("CPU Info"))));
  ExpectServes(0);
}

struct CollectionCase {
  const char* name;
  uint64_t allocation;  // the first of two
  EFI_STATUS status;
  Strings lines;
};

class CpuCollection : public Cpus, public testing::WithParamInterface<CollectionCase> {};

TEST_P(CpuCollection, ThatCannotBeHadIsAsIfNothingWereThere) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), GetParam().status);
  EXPECT_THAT(log, testing::IsSupersetOf(GetParam().lines));
  EXPECT_EQ(RecordCount(), GetParam().status == EFI_SUCCESS ? 1u : 0u);
  EXPECT_THAT(blocks, Not(Contains("SmbiosGetStructuresByType < MakeCPUs")));
}

INSTANTIATE_TEST_SUITE_P(
    Types, CpuCollection,
    testing::Values(
        CollectionCase{"Processors", 1, EFI_NOT_FOUND, {}},
        CollectionCase{"ProcessorSizes", 2, EFI_NOT_FOUND, {}},
        CollectionCase{"Caches", 3, EFI_SUCCESS,
                       LinesOf("MakeCPUs", {"Did not find any CACHE SMBIOS structures\n",
                                            "Found 3 CACHE SMBIOS structures\n"})},
        CollectionCase{"OemStrings", 5, EFI_SUCCESS,
                       LinesOf("MakeCPUs", {"Did not find any OEM SMBIOS structures\n"})},
        CollectionCase{"MemoryDevices",
                       7,
                       EFI_SUCCESS,
                       {"error: MakeCPUs: Did not find any DIMM SMBIOS structures\n",
                        "MakeCPUs: DIMM count = 0, HBM Presence = 0\n"}},
        CollectionCase{"MemoryArrays",
                       9,
                       EFI_SUCCESS,
                       {"error: MakeCPUs: Did not find any PMA SMBIOS structures\n"}}),
    [](const auto& info) { return info.param.name; });

// Both arrays of a type without structures are empty blocks.
TEST_F(Cpus, TheEmptyArraysOfMissingTypesStay) {
  ASSERT_EQ(Make(Table::Of(Processor{})), EFI_SUCCESS);
  EXPECT_THAT(blocks, Contains("SmbiosGetStructuresByType < MakeCPUs").Times(8));
}

TEST_F(Cpus, AllArraysAreGivenBackWhenAllTypesAreThere) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  EXPECT_EQ(
      blocks,
      Joined(
          {Times(5, "MakeCPUs"), Times(3, "GetCacheInfo"), Times(2, "MakeCPUs"), {"MakeCPUZVEP"}}));
}

TEST_F(Cpus, ARecordThatCannotBeInstalledStaysAndTheArraysGo) {
  Prepare(WholeServer());
  FailInstall(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_ACCESS_DENIED);
  EXPECT_EQ(
      blocks,
      Joined(
          {Times(5, "MakeCPUs"), Times(3, "GetCacheInfo"), Times(2, "MakeCPUs"), {"MakeCPUZVEP"}}));
  EXPECT_THAT(log.back(), testing::StartsWith("MakeCPUZVEP: "));
}

TEST_F(Cpus, ARecordThatCannotBeOpenedIsNoFailure) {
  Prepare(WholeServer());
  harness.Firmware().FailCall(host::images::driver, host::Service::OpenProtocol, 1,
                              EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
}

TEST_F(Cpus, TwoOfTheSameSocketEndTheBuilderAndTheFirstKeepsServing) {
  EXPECT_EQ(Make(Table::Of(Designated("CPU1"), Designated("CPU1"), Designated("CPU2"))),
            EFI_ALREADY_STARTED);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
  EXPECT_EQ(NameOf(), "CPU 1");
  EXPECT_THAT(log, Not(Contains("MakeCPUs: Leaving MakeCPUs\n")));
}

TEST_F(Cpus, RecordsBeforeTheOneThatFailsKeepServing) {
  Prepare(Table::Of(Designated("CPU1"), Designated("CPU2")));
  FailAllocation(kRecordAllocation + 6);  // six blocks of the first, the second's record
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
}

}  // namespace
}  // namespace tvq::test
