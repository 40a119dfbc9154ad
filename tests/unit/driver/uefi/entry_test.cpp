/*
 * The entry point: what loading the driver leaves behind, and what it needs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/shared/driver_harness.h"

#include "TvqSmbiosPkg/src/uefi/entry.h"

namespace tvq::test {
namespace {

using host::Service;
using host::images::driver;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(DriverEntry, InstallsTheStartRequestOnItsImageHandle) {
  DriverHarness harness;
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  const TVQ_START_REQUEST* const request = harness.StartRequest();
  ASSERT_NE(request, nullptr);
  UINT64 words[2];
  static_assert(sizeof(words) == sizeof(*request));
  std::memcpy(words, request, sizeof(words));
  EXPECT_EQ(words[0], 0x2000u);
  EXPECT_EQ(words[1], reinterpret_cast<UINTN>(&SMBIOSInit));
}

TEST(DriverEntry, TakesTheStartRequestFromBootServicesData) {
  DriverHarness harness;
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  const auto block = harness.Memory().Find(harness.StartRequest());
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 16u);
  EXPECT_EQ(block->type, EfiBootServicesData);
  EXPECT_EQ(block->owner, driver);
}

TEST(DriverEntry, BuildsNothing) {
  DriverHarness harness;
  harness.Publish(MinimalServer());
  ASSERT_EQ(harness.Load(), EFI_SUCCESS);
  EXPECT_THAT(harness.Records(), IsEmpty());
  EXPECT_THAT(harness.platform.registrations, IsEmpty());
  EXPECT_THAT(harness.platform.storedValues, IsEmpty());
  EXPECT_THAT(harness.TakeLog(), IsEmpty());
  EXPECT_EQ(harness.LoadedImage()->Unload, nullptr);
  EXPECT_THAT(harness.Sites(), ElementsAre("ZorvLibInitialize", "DriverEntry"));
}

EFI_STATUS LoadOnRevision(DriverHarness& harness, UINT32 revision) {
  const EFI_HANDLE image = harness.Firmware().LoadImage(driver);
  harness.Firmware().SystemTableOf(driver)->Hdr.Revision = revision;
  return harness.Firmware().StartImage(image);
}

TEST(DriverEntry, RefusesFirmwareThatIsOlderThanUefi) {
  DriverHarness harness;
  EXPECT_EQ(LoadOnRevision(harness, EFI_1_10_SYSTEM_TABLE_REVISION), EFI_INCOMPATIBLE_VERSION);
  EXPECT_THAT(harness.Blocks(), IsEmpty());
}

TEST(DriverEntry, TakesTheOldestUefi) {
  DriverHarness harness;
  EXPECT_EQ(LoadOnRevision(harness, EFI_2_00_SYSTEM_TABLE_REVISION), EFI_SUCCESS);
}

TEST(DriverEntry, NeedsNoSmbiosTable) {
  DriverHarness harness;
  EXPECT_EQ(harness.Load(), EFI_SUCCESS);
}

TEST(DriverEntry, NeedsNeitherDebugLogNorPrerequisite) {
  DriverHarness harness({Part::kDebugLog, Part::kPrerequisite});
  EXPECT_EQ(harness.Load(), EFI_SUCCESS);
}

class DriverEntryWithout : public testing::TestWithParam<Part> {};

TEST_P(DriverEntryWithout, ReportsWhatThePlatformLacks) {
  DriverHarness harness({GetParam()});
  EXPECT_EQ(harness.Load(), EFI_NOT_FOUND);
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
}

INSTANTIATE_TEST_SUITE_P(Platform, DriverEntryWithout,
                         testing::Values(Part::kServices, Part::kAux, Part::kLibrary));

TEST(DriverEntry, ReturnsTheStatusOfTheLibraryUnchanged) {
  for (const UINTN lookup : {1, 2}) {
    DriverHarness harness;
    harness.Firmware().FailCall(driver, Service::LocateProtocol, lookup, EFI_ACCESS_DENIED);
    EXPECT_EQ(harness.Load(), EFI_ACCESS_DENIED) << "look-up " << lookup;
    EXPECT_EQ(harness.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
  }
}

TEST(DriverEntry, NeedsMemoryForTheLibraryAndTheStartRequest) {
  for (const UINTN allocation : {1, 2}) {
    DriverHarness harness;
    harness.FailAllocation(allocation);
    EXPECT_EQ(harness.Load(), EFI_OUT_OF_RESOURCES) << "allocation " << allocation;
    EXPECT_EQ(harness.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
  }
}

TEST(DriverEntry, UndoesNothingWhenTheStartRequestCannotBeInstalled) {
  DriverHarness harness;
  harness.Firmware().FailCall(driver, Service::InstallMultipleProtocolInterfaces, 1,
                              EFI_INVALID_PARAMETER);
  EXPECT_EQ(harness.Load(), EFI_INVALID_PARAMETER);
  EXPECT_THAT(harness.Sites(), ElementsAre("ZorvLibInitialize", "DriverEntry"));
}

}  // namespace
}  // namespace tvq::test
