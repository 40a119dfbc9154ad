/** @file
  The machine of this boot as a snapshot.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "boot_snapshot.h"

extern "C" {
#include <IndustryStandard/SmBios.h>
}

#include <Library/TvqDeviceLib.h>
#include <TvqVersion.h>

#include "../states/machine_identity.h"
#include "../text.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using devices::Unserved;
using smbios::Structure;

namespace {

constexpr UINT8 kProgram[] = TVQ_VERSION;

bool IsSystem(const DeviceInventory& device) {
  return device.DeviceType == TVQ_DEVICE_TYPE_SYSTEM;
}

/// The handle of the first structure that describes the system.
UINT16 SystemHandle(Bytes table) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() == SMBIOS_TYPE_SYSTEM_INFORMATION) {
      return structure.Handle();
    }
  }
  return smbios::kNoHandle;
}

UINT16 HandleOf(const DeviceInventory& device, const StartedTable& table) {
  if (IsSystem(device)) {
    return SystemHandle(table.Published.Structures);
  }
  const DeviceLabel* label =
      device.HasDevicePath ? table.Labels.OfRecord(Bytes(device.DevicePath)) : nullptr;
  return label == nullptr ? smbios::kNoHandle : label->Handle;
}

UINTN SizeOfBlobs(const DeviceInventory& device) {
  UINTN size = 0;
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    size += BlobBytes(device, slot).Size();
  }
  return size;
}

WhyNoRecord ReasonOf(const Unserved& device) {
  switch (device.Why) {
    case Unserved::Reason::kClash:
      return WhyNoRecord::kClash;
    case Unserved::Reason::kBehind:
      return WhyNoRecord::kBehind;
    case Unserved::Reason::kBehindTable:
      return WhyNoRecord::kBehindTable;
    case Unserved::Reason::kRefused:
      break;
  }
  return WhyNoRecord::kRefused;
}

/// The name that the device would have had.
void CopyFqdd(const DeviceLabels& labels, UINT16 handle, CHAR16 (&fqdd)[kSnapshotFqddSize]) {
  for (const DeviceLabel& label : labels.All()) {
    if (label.Handle == handle) {
      for (UINTN i = 0; label.Fqdd[i] != '\0'; i++) {
        fqdd[i] = static_cast<UINT8>(label.Fqdd[i]);
      }
      return;
    }
  }
}

SnapshotDevice WithoutRecord(UINT32 componentClass, UINT16 handle, WhyNoRecord why,
                             const StartedTable& table) {
  SnapshotDevice device = {};
  device.ComponentClass = componentClass;
  device.Handle = handle;
  device.Why = table.IsStarted ? why : WhyNoRecord::kNotStarted;
  CopyFqdd(table.Labels, handle, device.Fqdd);
  return device;
}

/// Appends the devices of a kind that no record serves.
[[nodiscard]] bool AddOfKind(devices::Kind kind, UINT32 componentClass, const Inventory& inventory,
                             const StartedTable& table, Snapshot& snapshot) {
  OwnedArray<devices::Key> served;
  for (const DeviceInventory& device : inventory) {
    if (device.DeviceType == devices::RecordTypeOf(kind) &&
        !served.Append(devices::KeyOfPath(Bytes(device.DevicePath)))) {
      return false;
    }
  }
  devices::UnservedDevices unserved(table.Conformed, kind, {served.Data(), served.Size()});
  for (Unserved device; unserved.Next(device);) {
    if (!snapshot.Devices.Append(
            WithoutRecord(componentClass, device.Device.Handle(), ReasonOf(device), table))) {
      return false;
    }
  }
  return true;
}

bool HasSystem(const Inventory& inventory) {
  for (const DeviceInventory& device : inventory) {
    if (IsSystem(device)) {
      return true;
    }
  }
  return false;
}

}  // namespace

BootSnapshot::~BootSnapshot() {
  mBlobs.Free();
}

bool BootSnapshot::AddRecord(const DeviceInventory& device, const StartedTable& table) {
  SnapshotDevice taken = {};
  const CHAR16* fqdd = device.Fqdd == nullptr ? tvq::Ucs2(u"") : device.Fqdd;
  CopyMem(taken.Fqdd, fqdd, MIN(Length(fqdd), kSnapshotFqddSize - 1) * sizeof(CHAR16));
  taken.ComponentClass = device.Identity.ComponentClass;
  taken.Handle = HandleOf(device, table);
  const UINTN start = mBlobs.Size();
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    const Bytes blob = BlobBytes(device, slot);
    (void)mBlobs.Append(blob.Data(), blob.Size());  // There is room.
  }
  taken.Blobs = {mBlobs.Data() + start, mBlobs.Size() - start};
  return mSnapshot.Devices.Append(taken);
}

bool BootSnapshot::AddWithoutRecord(const Inventory& inventory, const StartedTable& table) {
  if (!AddOfKind(devices::Kind::kProcessor, TVQ_CLASS_CPU, inventory, table, mSnapshot) ||
      !AddOfKind(devices::Kind::kModule, TVQ_CLASS_DIMM, inventory, table, mSnapshot)) {
    return false;
  }
  return HasSystem(inventory) || mSnapshot.Devices.Append(WithoutRecord(
                                     TVQ_CLASS_SYSTEM, SystemHandle(table.Published.Structures),
                                     WhyNoRecord::kRefused, table));
}

bool BootSnapshot::Take(const Inventory& inventory, const StartedTable& table, UINT64 time) {
  mBlobs.Free();
  mSnapshot.Devices.Free();
  mSnapshot.Table = table.Published;
  mSnapshot.Options = table.Options;
  mSnapshot.NamingRules = kNamingRules;
  mSnapshot.Time = time;
  mSnapshot.Program = smbios::Text(kProgram, sizeof(kProgram) - 1);
  mSnapshot.Machine = (table.Options & kSnapshotRedacted) != 0
                          ? MachineIdentity()
                          : ReadMachineIdentity(table.Published.Structures);
  UINTN size = 0;
  for (const DeviceInventory& device : inventory) {
    size += SizeOfBlobs(device);
  }
  if (!mBlobs.Reserve(size)) {
    return false;
  }
  for (const DeviceInventory& device : inventory) {
    if (!AddRecord(device, table)) {
      return false;
    }
  }
  return AddWithoutRecord(inventory, table);
}

}  // namespace tvqplatform
