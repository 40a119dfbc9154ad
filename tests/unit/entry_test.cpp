/*
 * The entry point: what loading the driver leaves behind, and what it needs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/support/rig.h"

#include "TvqSmbiosPkg/src/uefi/entry.h"

namespace tvq::test {
namespace {

using host::Service;
using host::images::driver;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(DriverEntry, InstallsTheStartRequestOnItsImageHandle) {
  Rig rig;
  ASSERT_EQ(rig.Load(), EFI_SUCCESS);
  const TVQ_START_REQUEST* const request = rig.StartRequest();
  ASSERT_NE(request, nullptr);
  UINT64 words[2];
  static_assert(sizeof(words) == sizeof(*request));
  std::memcpy(words, request, sizeof(words));
  EXPECT_EQ(words[0], 0x2000u);
  EXPECT_EQ(words[1], reinterpret_cast<UINTN>(&SMBIOSInit));
}

TEST(DriverEntry, TakesTheStartRequestFromBootServicesData) {
  Rig rig;
  ASSERT_EQ(rig.Load(), EFI_SUCCESS);
  const auto block = rig.Memory().Find(rig.StartRequest());
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 16u);
  EXPECT_EQ(block->type, EfiBootServicesData);
  EXPECT_EQ(block->owner, driver);
}

TEST(DriverEntry, BuildsNothing) {
  Rig rig;
  rig.Publish(MinimalServer());
  ASSERT_EQ(rig.Load(), EFI_SUCCESS);
  EXPECT_THAT(rig.Records(), IsEmpty());
  EXPECT_THAT(rig.platform.registrations, IsEmpty());
  EXPECT_THAT(rig.platform.storedValues, IsEmpty());
  EXPECT_THAT(rig.TakeLog(), IsEmpty());
  EXPECT_EQ(rig.LoadedImage()->Unload, nullptr);
  EXPECT_THAT(rig.Sites(), ElementsAre("ZorvLibInitialize", "DriverEntry"));
}

EFI_STATUS LoadOnRevision(Rig& rig, UINT32 revision) {
  const EFI_HANDLE image = rig.Firmware().LoadImage(driver);
  rig.Firmware().SystemTableOf(driver)->Hdr.Revision = revision;
  return rig.Firmware().StartImage(image);
}

TEST(DriverEntry, RefusesFirmwareThatIsOlderThanUefi) {
  Rig rig;
  EXPECT_EQ(LoadOnRevision(rig, EFI_1_10_SYSTEM_TABLE_REVISION), EFI_INCOMPATIBLE_VERSION);
  EXPECT_THAT(rig.Blocks(), IsEmpty());
}

TEST(DriverEntry, TakesTheOldestUefi) {
  Rig rig;
  EXPECT_EQ(LoadOnRevision(rig, EFI_2_00_SYSTEM_TABLE_REVISION), EFI_SUCCESS);
}

TEST(DriverEntry, NeedsNoSmbiosTable) {
  Rig rig;
  EXPECT_EQ(rig.Load(), EFI_SUCCESS);
}

TEST(DriverEntry, NeedsNeitherDebugLogNorPrerequisite) {
  Rig rig({Part::kDebugLog, Part::kPrerequisite});
  EXPECT_EQ(rig.Load(), EFI_SUCCESS);
}

class DriverEntryWithout : public testing::TestWithParam<Part> {};

TEST_P(DriverEntryWithout, ReportsWhatThePlatformLacks) {
  Rig rig({GetParam()});
  EXPECT_EQ(rig.Load(), EFI_NOT_FOUND);
  EXPECT_EQ(rig.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
}

INSTANTIATE_TEST_SUITE_P(Platform, DriverEntryWithout,
                         testing::Values(Part::kServices, Part::kAux, Part::kLibrary));

TEST(DriverEntry, ReturnsTheStatusOfTheLibraryUnchanged) {
  for (const UINTN lookup : {1, 2}) {
    Rig rig;
    rig.Firmware().FailCall(driver, Service::LocateProtocol, lookup, EFI_ACCESS_DENIED);
    EXPECT_EQ(rig.Load(), EFI_ACCESS_DENIED) << "look-up " << lookup;
    EXPECT_EQ(rig.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
  }
}

TEST(DriverEntry, NeedsMemoryForTheLibraryAndTheStartRequest) {
  for (const UINTN allocation : {1, 2}) {
    Rig rig;
    rig.FailAllocation(allocation);
    EXPECT_EQ(rig.Load(), EFI_OUT_OF_RESOURCES) << "allocation " << allocation;
    EXPECT_EQ(rig.Firmware().Calls(driver, Service::InstallMultipleProtocolInterfaces), 0u);
  }
}

TEST(DriverEntry, UndoesNothingWhenTheStartRequestCannotBeInstalled) {
  Rig rig;
  rig.Firmware().FailCall(driver, Service::InstallMultipleProtocolInterfaces, 1,
                          EFI_INVALID_PARAMETER);
  EXPECT_EQ(rig.Load(), EFI_INVALID_PARAMETER);
  EXPECT_THAT(rig.Sites(), ElementsAre("ZorvLibInitialize", "DriverEntry"));
}

}  // namespace
}  // namespace tvq::test
