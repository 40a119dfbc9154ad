/*
 * Calls of services are counted per image and can be made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>

#include "host/firmware/firmware.h"
#include "images/neighbour.h"
#include "images/probe.h"
#include "tests/unit/host/firmware/images/Neighbour.h"
#include "tests/unit/host/firmware/images/Probe.h"

namespace tvq::host {
namespace {

EFI_GUID gGuid = {0x42, 0, 0, {}};

class FirmwareService : public testing::Test {
 protected:
  FirmwareService() {
    mFirmware.ConstructImage(mFirmware.LoadImage(images::probe));
    mFirmware.ConstructImage(mFirmware.LoadImage(images::neighbour));
  }

  EFI_STATUS Install(EFI_BOOT_SERVICES* services) {
    EFI_HANDLE handle = nullptr;
    return services->InstallMultipleProtocolInterfaces(&handle, &gGuid, &gGuid, nullptr);
  }

  Firmware mFirmware;
};

TEST_F(FirmwareService, CountsTheCallsOfEachImage) {
  Install(ProbeBootServices());
  Install(ProbeBootServices());
  Install(NeighbourBootServices());
  const Service service = Service::InstallMultipleProtocolInterfaces;
  EXPECT_EQ(mFirmware.Calls(images::probe, service), 2u);
  EXPECT_EQ(mFirmware.Calls(images::neighbour, service), 1u);
  EXPECT_EQ(mFirmware.Calls(Owner::Host(), service), 0u);
}

TEST_F(FirmwareService, FailsTheNthCallAlone) {
  mFirmware.FailCall(images::probe, Service::InstallMultipleProtocolInterfaces, 2,
                     EFI_ALREADY_STARTED);
  EXPECT_EQ(Install(ProbeBootServices()), EFI_SUCCESS);
  EXPECT_EQ(Install(ProbeBootServices()), EFI_ALREADY_STARTED);
  EXPECT_EQ(Install(ProbeBootServices()), EFI_SUCCESS);
}

TEST_F(FirmwareService, FailsAllCallsFromTheNthOn) {
  mFirmware.FailCallsFrom(images::probe, Service::SetVariable, 2, EFI_DEVICE_ERROR);
  const CHAR16 name[] = {'x', 0};
  EXPECT_EQ(ProbeSetVariable(name, 1), EFI_SUCCESS);
  EXPECT_EQ(ProbeSetVariable(name, 2), EFI_DEVICE_ERROR);
  EXPECT_EQ(ProbeSetVariable(name, 3), EFI_DEVICE_ERROR);
  EXPECT_EQ(mFirmware.Variables().at(0).data.at(0), 1);
  mFirmware.StopFailingCalls();
  EXPECT_EQ(ProbeSetVariable(name, 4), EFI_SUCCESS);
}

TEST_F(FirmwareService, FailsOneImagesCallsOnly) {
  mFirmware.FailCallsFrom(images::probe, Service::InstallMultipleProtocolInterfaces, 1,
                          EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Install(NeighbourBootServices()), EFI_SUCCESS);
  EXPECT_EQ(Install(mFirmware.BootServices()), EFI_SUCCESS);
  EXPECT_EQ(Install(ProbeBootServices()), EFI_OUT_OF_RESOURCES);
}

TEST_F(FirmwareService, DoesNotCarryOutACallThatFails) {
  mFirmware.FailCall(images::probe, Service::LocateProtocol, 1, EFI_NOT_FOUND);
  ASSERT_EQ(Install(ProbeBootServices()), EFI_SUCCESS);
  void* found = &gGuid;
  EXPECT_EQ(ProbeBootServices()->LocateProtocol(&gGuid, nullptr, &found), EFI_NOT_FOUND);
  EXPECT_EQ(found, &gGuid);
}

TEST_F(FirmwareService, CanFailEveryServiceThatAnImageUses) {
  EFI_BOOT_SERVICES* const services = ProbeBootServices();
  mFirmware.FailCall(images::probe, Service::CreateEvent, 1, EFI_OUT_OF_RESOURCES);
  EFI_EVENT event = nullptr;
  EXPECT_EQ(services->CreateEvent(0, 0, nullptr, nullptr, &event), EFI_OUT_OF_RESOURCES);
  mFirmware.FailCall(images::probe, Service::OpenProtocol, 1, EFI_ACCESS_DENIED);
  void* found = nullptr;
  EXPECT_EQ(services->OpenProtocol(nullptr, &gGuid, &found, nullptr, nullptr, 0),
            EFI_ACCESS_DENIED);
}

TEST_F(FirmwareService, KnowsItsServicesByName) {
  EXPECT_STREQ(ServiceName(Service::RaiseTPL), "RaiseTPL");
  EXPECT_STREQ(ServiceName(Service::InstallMultipleProtocolInterfaces),
               "InstallMultipleProtocolInterfaces");
  EXPECT_STREQ(ServiceName(Service::QueryVariableInfo), "QueryVariableInfo");
}

TEST(FirmwareServiceDeathTest, RefusesToFailAServiceThatReturnsNoStatus) {
  Firmware firmware;
  EXPECT_DEATH(firmware.FailCall(images::probe, Service::RaiseTPL, 1, EFI_DEVICE_ERROR),
               "RaiseTPL returns no status");
}

}  // namespace
}  // namespace tvq::host
