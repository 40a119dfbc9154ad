/*
 * Images are loaded, started and unloaded as in firmware, with state of their own that every
 * machine starts afresh.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "host/firmware/firmware.h"
#include "images/application.h"
#include "images/neighbour.h"
#include "images/probe.h"
#include "tests/unit/host/firmware/images/Neighbour.h"
#include "tests/unit/host/firmware/images/Probe.h"

namespace tvq::host {
namespace {

EFI_LOADED_IMAGE_PROTOCOL* LoadedImageOf(Firmware& firmware, EFI_HANDLE handle) {
  void* info = nullptr;
  EXPECT_EQ(firmware.BootServices()->HandleProtocol(handle, &gEfiLoadedImageProtocolGuid, &info),
            EFI_SUCCESS);
  return static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(info);
}

TEST(FirmwareImage, RunsTheLibraryConstructorsAndTheEntryPoint) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_NE(handle, nullptr);
  EXPECT_EQ(gProbeCounter, kProbeInitialCounter);
  EXPECT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  EXPECT_EQ(gProbeCounter, kProbeInitialCounter + 1);
  EXPECT_EQ(ProbeImageHandle(), handle);
  EXPECT_EQ(ProbeSystemTable(), firmware.SystemTableOf(images::probe));
  EXPECT_EQ(firmware.HandleOf(images::probe), handle);
}

TEST(FirmwareImage, CanConstructAnImageWithoutItsEntryPoint) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  firmware.ConstructImage(handle);
  EXPECT_EQ(gProbeCounter, kProbeInitialCounter);
  EXPECT_EQ(ProbeImageHandle(), handle);
  EXPECT_EQ(firmware.StartImage(handle), EFI_INVALID_PARAMETER);
}

TEST(FirmwareImage, TellsWhereTheCodeOfEachImageIs) {
  Firmware firmware;
  const auto* probe = LoadedImageOf(firmware, firmware.LoadImage(images::probe));
  const auto* neighbour = LoadedImageOf(firmware, firmware.LoadImage(images::neighbour));
  const auto isIn = [](const EFI_LOADED_IMAGE_PROTOCOL* image, auto* function) {
    const auto offset =
        reinterpret_cast<uintptr_t>(function) - reinterpret_cast<uintptr_t>(image->ImageBase);
    return offset < image->ImageSize;
  };
  EXPECT_TRUE(isIn(probe, &ProbeEntry));
  EXPECT_TRUE(isIn(probe, &ProbeFeature));
  EXPECT_FALSE(isIn(probe, &NeighbourBootServices));
  EXPECT_TRUE(isIn(neighbour, &NeighbourBootServices));
  EXPECT_FALSE(isIn(neighbour, &SetFailureHandler));
}

TEST(FirmwareImage, GivesEachImageServicesOfItsOwn) {
  Firmware firmware;
  firmware.ConstructImage(firmware.LoadImage(images::probe));
  firmware.ConstructImage(firmware.LoadImage(images::neighbour));
  EXPECT_NE(ProbeBootServices(), NeighbourBootServices());
  EXPECT_NE(ProbeBootServices(), firmware.BootServices());
}

TEST(FirmwareImage, StartsEveryMachineWithInitialGlobals) {
  for (int run = 0; run < 3; ++run) {
    Firmware firmware;
    EXPECT_EQ(gProbeCounter, kProbeInitialCounter);
    EXPECT_EQ(gProbeMark, 0u);
    EXPECT_EQ(ProbeImageHandle(), nullptr);
    EXPECT_EQ(firmware.StartImage(firmware.LoadImage(images::probe)), EFI_SUCCESS);
    gProbeMark = 99;
  }
}

TEST(FirmwareImage, StartsEveryMachineWithAnEmptyHandleDatabase) {
  UINTN handlesAtFirst = 0;
  for (int run = 0; run < 3; ++run) {
    Firmware firmware;
    firmware.LoadImage(images::probe);
    UINTN count = 0;
    EFI_HANDLE* handles = nullptr;
    ASSERT_EQ(
        firmware.BootServices()->LocateHandleBuffer(AllHandles, nullptr, nullptr, &count, &handles),
        EFI_SUCCESS);
    handlesAtFirst = run == 0 ? count : handlesAtFirst;
    EXPECT_EQ(count, handlesAtFirst);
  }
}

TEST(FirmwareImage, UnloadsAnImageThatAgrees) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  EXPECT_EQ(firmware.UnloadImage(handle), EFI_SUCCESS);
  EXPECT_EQ(firmware.HandleOf(images::probe), nullptr);
  void* info = nullptr;
  EXPECT_EQ(firmware.BootServices()->HandleProtocol(handle, &gEfiLoadedImageProtocolGuid, &info),
            EFI_INVALID_PARAMETER);
}

TEST(FirmwareImage, KeepsAnImageThatRefusesToBeUnloaded) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  gProbeUnloadStatus = EFI_ACCESS_DENIED;
  EXPECT_EQ(firmware.BootServices()->UnloadImage(handle), EFI_ACCESS_DENIED);
  EXPECT_EQ(firmware.HandleOf(images::probe), handle);
}

TEST(FirmwareImage, CannotUnloadAnImageWithoutAnUnloadHandler) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::neighbour);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  EXPECT_EQ(LoadedImageOf(firmware, handle)->Unload, nullptr);
  EXPECT_EQ(firmware.UnloadImage(handle), EFI_UNSUPPORTED);
}

TEST(FirmwareImage, UnloadsAnImageThatWasNeverStarted) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::neighbour);
  EXPECT_EQ(firmware.UnloadImage(handle), EFI_SUCCESS);
  EXPECT_EQ(firmware.UnloadImage(handle), EFI_INVALID_PARAMETER);
}

TEST(FirmwareImage, GivesAnImageInitialGlobalsWhenItIsLoadedAgain) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  ASSERT_EQ(firmware.UnloadImage(handle), EFI_SUCCESS);
  handle = firmware.LoadImage(images::probe);
  EXPECT_EQ(gProbeCounter, kProbeInitialCounter);
  EXPECT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
}

TEST(FirmwareImage, DropsAnImageWhoseEntryPointFails) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  gProbeEntryStatus = EFI_NOT_READY;
  EXPECT_EQ(firmware.StartImage(handle), EFI_NOT_READY);
  EXPECT_EQ(firmware.HandleOf(images::probe), nullptr);
}

TEST(FirmwareImage, ClosesWhatAnUnloadedImageHasOpened) {
  Firmware firmware;
  EFI_BOOT_SERVICES* const services = firmware.BootServices();
  EFI_HANDLE agent = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(agent), EFI_SUCCESS);
  EFI_GUID guid = {0x77, 0, 0, {}};
  EFI_HANDLE handle = nullptr;
  void* found = nullptr;
  ASSERT_EQ(services->InstallMultipleProtocolInterfaces(&handle, &guid, &guid, nullptr),
            EFI_SUCCESS);
  ASSERT_EQ(ProbeBootServices()->OpenProtocol(handle, &guid, &found, agent, handle,
                                              EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_SUCCESS);
  ASSERT_EQ(firmware.UnloadImage(agent), EFI_SUCCESS);
  EXPECT_EQ(services->UninstallProtocolInterface(handle, &guid, &guid), EFI_SUCCESS);
}

TEST(FirmwareImage, LeavesNoBlockBehindAfterLoadingAndUnloading) {
  Firmware firmware;
  // Entries of the protocol database stay for good once a GUID was seen.
  firmware.UnloadImage(firmware.LoadImage(images::probe));
  const size_t blocks = firmware.Memory().LiveCount();
  firmware.UnloadImage(firmware.LoadImage(images::probe));
  EXPECT_EQ(firmware.Memory().LiveCount(), blocks);
}

TEST(FirmwareImage, UnloadsAnApplicationWhenItReturns) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::application);
  EXPECT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  EXPECT_EQ(firmware.HandleOf(images::application), nullptr);
  EXPECT_EQ(firmware.ConsoleOutput(), u"hello from the application\r\n");
}

TEST(FirmwareImage, NamesAnImageByItsFirmwareFile) {
  Firmware firmware;
  const EFI_LOADED_IMAGE_PROTOCOL* const info =
      LoadedImageOf(firmware, firmware.LoadImage(images::probe));
  ASSERT_NE(info->FilePath, nullptr);
  EXPECT_EQ(info->FilePath->Type, MEDIA_DEVICE_PATH);
  EXPECT_EQ(info->FilePath->SubType, MEDIA_PIWG_FW_FILE_DP);
  EXPECT_EQ(info->Revision, static_cast<UINT32>(EFI_LOADED_IMAGE_PROTOCOL_REVISION));
}

TEST(FirmwareImage, ReportsAnEntryPointThatLeavesTheTaskPriorityRaised) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  gProbeLeavesTplRaised = TRUE;
  EXPECT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  EXPECT_EQ(firmware.CurrentTpl(), TPL_APPLICATION);
  EXPECT_EQ(firmware.TakeMisuses().size(), 1u);
}

TEST(FirmwareImage, ReportsACallFromAnImageThatIsGone) {
  Firmware firmware;
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  ASSERT_EQ(firmware.UnloadImage(handle), EFI_SUCCESS);
  ProbeFree(ProbeAllocate(8));
  const std::vector<Misuse> misuses = firmware.TakeMisuses();
  ASSERT_EQ(misuses.size(), 2u);
  EXPECT_NE(misuses[0].what.find("image 'probe', which is not loaded"), std::string::npos);
}

TEST(FirmwareImage, SetsAFeaturePcdOfOneImage) {
  {
    Firmware firmware;
    EXPECT_FALSE(ProbeFeature());
    firmware.SetPcd(images::probe, "PcdVerifyNodeInList", 1);
    firmware.LoadImage(images::probe);
    EXPECT_TRUE(ProbeFeature());
  }
  Firmware firmware;
  EXPECT_FALSE(ProbeFeature());
}

TEST(FirmwareImage, KeepsASetPcdWhenTheImageIsLoadedAgain) {
  Firmware firmware;
  firmware.SetPcd(images::probe, "PcdVerifyNodeInList", 1);
  firmware.UnloadImage(firmware.LoadImage(images::probe));
  firmware.LoadImage(images::probe);
  EXPECT_TRUE(ProbeFeature());
}

TEST(FirmwareImageDeathTest, RefusesASecondMachine) {
  Firmware firmware;
  EXPECT_DEATH(Firmware(), "a second Firmware was made while one exists");
}

TEST(FirmwareImageDeathTest, RefusesToLoadAnImageTwice) {
  Firmware firmware;
  firmware.LoadImage(images::probe);
  EXPECT_DEATH(firmware.LoadImage(images::probe), "'probe' is loaded already");
}

TEST(FirmwareImageDeathTest, RefusesAnUnknownPcd) {
  Firmware firmware;
  EXPECT_DEATH(firmware.SetPcd(images::probe, "PcdNoSuchThing", 1), "has no PCD 'PcdNoSuchThing'");
}

}  // namespace
}  // namespace tvq::host
