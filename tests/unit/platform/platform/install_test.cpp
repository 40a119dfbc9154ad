/*
 * What the reference platform installs, in which order, and that it takes everything off again.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include <Guid/ZvServices.h>
#include <Protocol/DebugLog.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/XmlParser.h>
#include <Protocol/ZvLibrary.h>

namespace tvq::test {
namespace {

EFI_GUID* const kProtocols[] = {&gTvqPlatformProtocolGuid,     &gDebugLogProtocolGuid,
                                &gTvqPrerequisiteProtocolGuid, &gTvqManagementProtocolGuid,
                                &gXmlParserProtocolGuid,       &gZvAuxProtocolGuid,
                                &gZvLibraryProtocolGuid};

class PlatformInstall : public testing::Test {
 protected:
  host::Firmware& Firmware() { return mFirmware; }
  EFI_STATUS Start() { return mFirmware.StartImage(mFirmware.LoadImage(host::images::platform)); }
  EFI_STATUS Unload() { return mFirmware.UnloadImage(mFirmware.HandleOf(host::images::platform)); }
  size_t ProtocolCount() {
    size_t count = 0;
    for (EFI_GUID* guid : kProtocols) {
      VOID* found = nullptr;
      count += EFI_ERROR(mFirmware.BootServices()->LocateProtocol(guid, nullptr, &found)) ? 0 : 1;
    }
    return count;
  }
  bool HasTable() { return ConfigurationTable(mFirmware, gZvServicesTableGuid) != nullptr; }

 private:
  host::Firmware mFirmware;
};

TEST_F(PlatformInstall, BringsEverythingThatTheDriverLocates) {
  ASSERT_EQ(Start(), EFI_SUCCESS);
  EXPECT_TRUE(HasTable());
  EXPECT_EQ(ProtocolCount(), std::size(kProtocols));
}

// Whether the table was there when a protocol appeared.
struct Watch {
  host::Firmware* machine = nullptr;
  bool sawTable = false;
  unsigned calls = 0;
};

VOID EFIAPI OnProtocol(EFI_EVENT, VOID* context) {
  Watch& watch = *static_cast<Watch*>(context);
  ++watch.calls;
  watch.sawTable = ConfigurationTable(*watch.machine, gZvServicesTableGuid) != nullptr;
}

TEST_F(PlatformInstall, BringsTheTableBeforeTheProtocolsOfTheDependencyExpression) {
  for (EFI_GUID* guid : {&gZvAuxProtocolGuid, &gZvLibraryProtocolGuid}) {
    host::Firmware& machine = Firmware();
    Watch watch;
    watch.machine = &machine;
    EFI_EVENT event = nullptr;
    VOID* registration = nullptr;
    ASSERT_EQ(machine.BootServices()->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnProtocol,
                                                  &watch, &event),
              EFI_SUCCESS);
    ASSERT_EQ(machine.BootServices()->RegisterProtocolNotify(guid, event, &registration),
              EFI_SUCCESS);
    ASSERT_EQ(Start(), EFI_SUCCESS);
    EXPECT_EQ(watch.calls, 1u);
    EXPECT_TRUE(watch.sawTable);
    ASSERT_EQ(Unload(), EFI_SUCCESS);
    machine.BootServices()->CloseEvent(event);
  }
}

TEST_F(PlatformInstall, LeavesTheServicesOfAnotherPlatformAlone) {
  UINT64 other = 0;
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  ASSERT_EQ(services->InstallConfigurationTable(&gZvServicesTableGuid, &other), EFI_SUCCESS);
  EXPECT_EQ(Start(), EFI_ALREADY_STARTED);
  EXPECT_EQ(ConfigurationTable(Firmware(), gZvServicesTableGuid), &other);
  EXPECT_EQ(ProtocolCount(), 0u);
}

TEST_F(PlatformInstall, FindsTheServicesOfAnotherPlatformBehindOtherTables) {
  UINT64 other = 0;
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  ASSERT_EQ(services->InstallConfigurationTable(&gTvqPlatformProtocolGuid, &other), EFI_SUCCESS);
  ASSERT_EQ(services->InstallConfigurationTable(&gZvServicesTableGuid, &other), EFI_SUCCESS);
  EXPECT_EQ(Start(), EFI_ALREADY_STARTED);
  EXPECT_EQ(ConfigurationTable(Firmware(), gZvServicesTableGuid), &other);
}

TEST_F(PlatformInstall, LeavesNothingBehindWhenTheTableIsRefused) {
  Firmware().FailCall(host::images::platform, host::Service::InstallConfigurationTable, 1,
                      EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Start(), EFI_OUT_OF_RESOURCES);
  EXPECT_FALSE(HasTable());
  EXPECT_EQ(ProtocolCount(), 0u);
}

TEST_F(PlatformInstall, LeavesNothingBehindWhenTheProtocolsAreRefused) {
  Firmware().FailCall(host::images::platform, host::Service::InstallMultipleProtocolInterfaces, 1,
                      EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Start(), EFI_OUT_OF_RESOURCES);
  EXPECT_FALSE(HasTable());
  EXPECT_EQ(ProtocolCount(), 0u);
}

TEST_F(PlatformInstall, TakesEverythingOffAgain) {
  ASSERT_EQ(Start(), EFI_SUCCESS);
  VOID* found = nullptr;
  ASSERT_EQ(Firmware().BootServices()->LocateProtocol(&gDebugLogProtocolGuid, nullptr, &found),
            EFI_SUCCESS);
  static_cast<DEBUG_LOG_PROTOCOL*>(found)->Print(DEBUG_LOG_LEVEL_INFO, "Routine", Wide(u"line\n"));
  auto* services =
      static_cast<ZV_SERVICES_TABLE*>(ConfigurationTable(Firmware(), gZvServicesTableGuid));
  ASSERT_EQ(services->RegisterAttribute(nullptr, Wide(u"a"), nullptr, nullptr), EFI_SUCCESS);
  ASSERT_EQ(services->SetAttributeValue(Wide(u"a"), Wide(u"n"), 1), EFI_SUCCESS);

  EXPECT_EQ(Unload(), EFI_SUCCESS);
  EXPECT_FALSE(HasTable());
  EXPECT_EQ(ProtocolCount(), 0u);
  EXPECT_EQ(Firmware().Memory().LiveCount(host::images::platform), 0u);
}

TEST_F(PlatformInstall, CanBeLoadedAgain) {
  ASSERT_EQ(Start(), EFI_SUCCESS);
  ASSERT_EQ(Unload(), EFI_SUCCESS);
  EXPECT_EQ(Start(), EFI_SUCCESS);
  EXPECT_EQ(ProtocolCount(), std::size(kProtocols));
}

TEST_F(PlatformInstall, StaysWhileTheDriverIsLoaded) {
  ASSERT_EQ(Start(), EFI_SUCCESS);
  EFI_HANDLE driver = Firmware().LoadImage(host::images::agent);
  TVQ_START_REQUEST request = {};
  ASSERT_EQ(Firmware().BootServices()->InstallProtocolInterface(
                &driver, &gTvqStartRequestProtocolGuid, EFI_NATIVE_INTERFACE, &request),
            EFI_SUCCESS);
  EXPECT_EQ(Unload(), EFI_ACCESS_DENIED);
  EXPECT_TRUE(HasTable());
  EXPECT_EQ(ProtocolCount(), std::size(kProtocols));
  // What an unloaded driver leaves on its handle keeps nobody from going.
  ASSERT_EQ(Firmware().UnloadImage(driver), EFI_SUCCESS);
  EXPECT_EQ(Unload(), EFI_SUCCESS);
}

}  // namespace
}  // namespace tvq::test
