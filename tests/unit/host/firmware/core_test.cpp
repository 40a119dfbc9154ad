/*
 * The handle database, events, task priorities and the configuration table behave as firmware's:
 * they are the DXE core's own code, and these tests pin that the host leaves it intact.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <vector>

#include "host/firmware/firmware.h"
#include "images/probe.h"
#include "tests/unit/host/firmware/images/Probe.h"

namespace tvq::host {
namespace {

EFI_GUID gFirstGuid = {0x1, 0, 0, {1}};
EFI_GUID gSecondGuid = {0x2, 0, 0, {2}};
EFI_GUID gTableGuid = {0x3, 0, 0, {3}};

struct VendorPath {
  VENDOR_DEVICE_PATH node;
  EFI_DEVICE_PATH_PROTOCOL end;
};

VendorPath MakePath(UINT32 id) {
  VendorPath path = {};
  path.node.Header = {HARDWARE_DEVICE_PATH, HW_VENDOR_DP, {sizeof(VENDOR_DEVICE_PATH), 0}};
  path.node.Guid.Data1 = id;
  path.end = {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(path.end), 0}};
  return path;
}

class FirmwareCore : public testing::Test {
 protected:
  EFI_HANDLE Install(EFI_GUID& guid, void* interface) {
    EFI_HANDLE handle = nullptr;
    EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &guid, interface, nullptr),
              EFI_SUCCESS);
    return handle;
  }

  Firmware mFirmware;
  EFI_BOOT_SERVICES* mServices = mFirmware.BootServices();
  int mFirst = 0;
  int mSecond = 0;
};

TEST_F(FirmwareCore, FindsAnInstalledProtocol) {
  EFI_HANDLE handle = Install(gFirstGuid, &mFirst);
  void* found = nullptr;
  EXPECT_EQ(mServices->LocateProtocol(&gFirstGuid, nullptr, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &mFirst);
  EXPECT_EQ(mServices->HandleProtocol(handle, &gFirstGuid, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &mFirst);
  EXPECT_EQ(mServices->LocateProtocol(&gSecondGuid, nullptr, &found), EFI_NOT_FOUND);
}

TEST_F(FirmwareCore, InstallsSeveralInterfacesOrNone) {
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &gFirstGuid, &mFirst,
                                                         &gSecondGuid, &mSecond, nullptr),
            EFI_SUCCESS);
  // The second pair is on the handle already, so the third is taken off again.
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &gTableGuid, &mFirst,
                                                         &gSecondGuid, &mSecond, nullptr),
            EFI_INVALID_PARAMETER);
  void* found = nullptr;
  EXPECT_EQ(mServices->HandleProtocol(handle, &gTableGuid, &found), EFI_UNSUPPORTED);
}

TEST_F(FirmwareCore, PassesOnManyInterfacesInOneCall) {
  std::vector<EFI_GUID> guids(15);
  for (size_t index = 0; index < guids.size(); ++index) {
    guids[index] = {static_cast<UINT32>(0x100 + index), 0, 0, {}};
  }
  EFI_HANDLE handle = nullptr;
  EFI_GUID* const g = guids.data();
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(
                &handle, &g[0], &g[0], &g[1], &g[1], &g[2], &g[2], &g[3], &g[3], &g[4], &g[4],
                &g[5], &g[5], &g[6], &g[6], &g[7], &g[7], &g[8], &g[8], &g[9], &g[9], &g[10],
                &g[10], &g[11], &g[11], &g[12], &g[12], &g[13], &g[13], &g[14], &g[14], nullptr),
            EFI_SUCCESS);
  for (EFI_GUID& guid : guids) {
    void* found = nullptr;
    EXPECT_EQ(mServices->HandleProtocol(handle, &guid, &found), EFI_SUCCESS);
    EXPECT_EQ(found, &guid);
  }
}

TEST_F(FirmwareCore, RejectsAnUninstallWithOneWrongInterfaceAsAWhole) {
  EFI_HANDLE handle = nullptr;
  ASSERT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &gFirstGuid, &mFirst,
                                                         &gSecondGuid, &mSecond, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(mServices->UninstallMultipleProtocolInterfaces(handle, &gFirstGuid, &mFirst,
                                                           &gSecondGuid, &mFirst, nullptr),
            EFI_INVALID_PARAMETER);
  void* found = nullptr;
  EXPECT_EQ(mServices->HandleProtocol(handle, &gFirstGuid, &found), EFI_SUCCESS);
  EXPECT_EQ(mServices->HandleProtocol(handle, &gSecondGuid, &found), EFI_SUCCESS);
}

TEST_F(FirmwareCore, RefusesASecondHandleWithAnEqualDevicePath) {
  VendorPath path = MakePath(1);
  VendorPath equal = MakePath(1);
  VendorPath other = MakePath(2);
  Install(gEfiDevicePathProtocolGuid, &path);
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &gEfiDevicePathProtocolGuid,
                                                         &equal, nullptr),
            EFI_ALREADY_STARTED);
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &gEfiDevicePathProtocolGuid,
                                                         &other, nullptr),
            EFI_SUCCESS);
}

TEST_F(FirmwareCore, ProtectsAnInterfaceThatIsOpenByDriver) {
  EFI_HANDLE handle = Install(gFirstGuid, &mFirst);
  EFI_HANDLE agent = mFirmware.LoadImage(images::probe);
  void* found = nullptr;
  const UINT32 attributes = EFI_OPEN_PROTOCOL_BY_DRIVER;
  EXPECT_EQ(mServices->OpenProtocol(handle, &gFirstGuid, &found, agent, handle, attributes),
            EFI_SUCCESS);
  EXPECT_EQ(mServices->OpenProtocol(handle, &gFirstGuid, &found, agent, handle, attributes),
            EFI_ALREADY_STARTED);
  EXPECT_EQ(mServices->UninstallProtocolInterface(handle, &gFirstGuid, &mFirst), EFI_ACCESS_DENIED);
  EXPECT_EQ(mServices->CloseProtocol(handle, &gFirstGuid, agent, handle), EFI_SUCCESS);
  EXPECT_EQ(mServices->UninstallProtocolInterface(handle, &gFirstGuid, &mFirst), EFI_SUCCESS);
}

TEST_F(FirmwareCore, ClosesByHandleAndNotByInterface) {
  EFI_HANDLE handle = Install(gFirstGuid, &mFirst);
  EFI_HANDLE agent = mFirmware.LoadImage(images::probe);
  void* found = nullptr;
  ASSERT_EQ(mServices->OpenProtocol(handle, &gFirstGuid, &found, agent, handle,
                                    EFI_OPEN_PROTOCOL_BY_DRIVER),
            EFI_SUCCESS);
  EXPECT_EQ(mServices->CloseProtocol(found, &gFirstGuid, agent, handle), EFI_INVALID_PARAMETER);
}

// Counts how often an event was notified.
VOID EFIAPI CountNotify(EFI_EVENT, VOID* context) {
  ++*static_cast<int*>(context);
}

TEST_F(FirmwareCore, NotifiesWhenAProtocolIsInstalled) {
  int notified = 0;
  EFI_EVENT event = nullptr;
  void* registration = nullptr;
  ASSERT_EQ(mServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, &notified, &event),
            EFI_SUCCESS);
  ASSERT_EQ(mServices->RegisterProtocolNotify(&gFirstGuid, event, &registration), EFI_SUCCESS);
  Install(gSecondGuid, &mSecond);
  EXPECT_EQ(notified, 0);
  Install(gFirstGuid, &mFirst);
  EXPECT_EQ(notified, 1);
  void* found = nullptr;
  EXPECT_EQ(mServices->LocateProtocol(&gFirstGuid, registration, &found), EFI_SUCCESS);
  EXPECT_EQ(found, &mFirst);
}

TEST_F(FirmwareCore, DefersANotifyWhileTheTaskPriorityIsHigh) {
  int notified = 0;
  EFI_EVENT event = nullptr;
  void* registration = nullptr;
  ASSERT_EQ(mServices->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify, &notified, &event),
            EFI_SUCCESS);
  ASSERT_EQ(mServices->RegisterProtocolNotify(&gFirstGuid, event, &registration), EFI_SUCCESS);
  const EFI_TPL old = mServices->RaiseTPL(TPL_CALLBACK);
  EXPECT_EQ(old, TPL_APPLICATION);
  EXPECT_EQ(mFirmware.CurrentTpl(), TPL_CALLBACK);
  Install(gFirstGuid, &mFirst);
  EXPECT_EQ(notified, 0);
  mServices->RestoreTPL(old);
  EXPECT_EQ(notified, 1);
}

TEST_F(FirmwareCore, AddsReplacesAndRemovesConfigurationTables) {
  const EFI_SYSTEM_TABLE* const table = mFirmware.SystemTable();
  EXPECT_EQ(table->NumberOfTableEntries, 0u);
  EXPECT_EQ(mServices->InstallConfigurationTable(&gTableGuid, &mFirst), EFI_SUCCESS);
  ASSERT_EQ(table->NumberOfTableEntries, 1u);
  EXPECT_EQ(table->ConfigurationTable[0].VendorTable, &mFirst);
  EXPECT_EQ(mServices->InstallConfigurationTable(&gTableGuid, &mSecond), EFI_SUCCESS);
  ASSERT_EQ(table->NumberOfTableEntries, 1u);
  EXPECT_EQ(table->ConfigurationTable[0].VendorTable, &mSecond);
  EXPECT_EQ(mServices->InstallConfigurationTable(&gTableGuid, nullptr), EFI_SUCCESS);
  EXPECT_EQ(table->NumberOfTableEntries, 0u);
  EXPECT_EQ(mServices->InstallConfigurationTable(&gTableGuid, nullptr), EFI_NOT_FOUND);
}

TEST_F(FirmwareCore, ShowsEveryImageTheConfigurationTableAlsoAfterItMoved) {
  mFirmware.LoadImage(images::probe);
  const EFI_SYSTEM_TABLE* const table = mFirmware.SystemTableOf(images::probe);
  // More entries than the core allocates at once.
  for (UINT32 index = 0; index < 40; ++index) {
    EFI_GUID guid = {0x1000 + index, 0, 0, {}};
    ASSERT_EQ(mServices->InstallConfigurationTable(&guid, &mFirst), EFI_SUCCESS);
  }
  EXPECT_EQ(table->NumberOfTableEntries, 40u);
  EXPECT_EQ(table->ConfigurationTable, mFirmware.SystemTable()->ConfigurationTable);
  EXPECT_EQ(table->ConfigurationTable[39].VendorGuid.Data1, 0x1000u + 39);
}

// What a listener to a change of the configuration table sees in its own system table.
struct TableListener {
  const EFI_SYSTEM_TABLE* table;
  UINTN entriesSeen;
};

VOID EFIAPI LookAtTable(EFI_EVENT, VOID* context) {
  TableListener& listener = *static_cast<TableListener*>(context);
  listener.entriesSeen = listener.table->NumberOfTableEntries;
}

TEST_F(FirmwareCore, ShowsTheNewConfigurationTableToTheListenersOfTheChange) {
  mFirmware.LoadImage(images::probe);
  TableListener listener = {mFirmware.SystemTableOf(images::probe), 0};
  EFI_EVENT event = nullptr;
  ASSERT_EQ(mServices->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, LookAtTable, &listener,
                                     &gTableGuid, &event),
            EFI_SUCCESS);
  ASSERT_EQ(mServices->InstallConfigurationTable(&gTableGuid, &mFirst), EFI_SUCCESS);
  EXPECT_EQ(listener.entriesSeen, 1u);
}

TEST_F(FirmwareCore, KeepsTheChecksumOfTheSystemTableRight) {
  ASSERT_EQ(mServices->InstallConfigurationTable(&gTableGuid, &mFirst), EFI_SUCCESS);
  EFI_SYSTEM_TABLE copy = *mFirmware.SystemTable();
  copy.Hdr.CRC32 = 0;
  UINT32 crc = 0;
  ASSERT_EQ(mServices->CalculateCrc32(&copy, sizeof(copy), &crc), EFI_SUCCESS);
  EXPECT_EQ(crc, mFirmware.SystemTable()->Hdr.CRC32);
}

TEST_F(FirmwareCore, SignalsATimerWhenItsTimeHasPassed) {
  int notified = 0;
  EFI_EVENT event = nullptr;
  ASSERT_EQ(mServices->CreateEvent(EVT_TIMER | EVT_NOTIFY_SIGNAL, TPL_CALLBACK, CountNotify,
                                   &notified, &event),
            EFI_SUCCESS);
  ASSERT_EQ(mServices->SetTimer(event, TimerRelative, 10000), EFI_SUCCESS);
  mFirmware.AdvanceTime(999);
  EXPECT_EQ(notified, 0);
  mServices->Stall(1);
  EXPECT_EQ(notified, 1);
}

TEST_F(FirmwareCore, CountsMonotonically) {
  UINT64 first = 0;
  UINT64 second = 0;
  EXPECT_EQ(mServices->GetNextMonotonicCount(&first), EFI_SUCCESS);
  EXPECT_EQ(mServices->GetNextMonotonicCount(&second), EFI_SUCCESS);
  EXPECT_GT(second, first);
}

}  // namespace
}  // namespace tvq::host
