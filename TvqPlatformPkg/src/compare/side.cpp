/** @file
  One of the two machines that are compared.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "side.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>
#include <Protocol/TvqInventory.h>

#include "../smbios/conform.h"
#include "structure_index.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;
using smbios::Text;

namespace {

DeviceKind KindOf(const SnapshotDevice& device) {
  switch (device.ComponentClass) {
    case TVQ_CLASS_CPU:
      return DeviceKind::kProcessor;
    case TVQ_CLASS_SYSTEM:
      return DeviceKind::kSystem;
    default:
      return DeviceKind::kModule;
  }
}

UINT8 StructureTypeOf(DeviceKind kind) {
  switch (kind) {
    case DeviceKind::kProcessor:
      return SMBIOS_TYPE_PROCESSOR_INFORMATION;
    case DeviceKind::kSystem:
      return SMBIOS_TYPE_SYSTEM_INFORMATION;
    default:
      return SMBIOS_TYPE_MEMORY_DEVICE;
  }
}

/// As much of the text as there is room for.
template <typename Character>
void CopyName(const Character* text, UINTN length, CHAR16 (&name)[kSnapshotFqddSize]) {
  const UINTN copied = MIN(length, kSnapshotFqddSize - 1);
  for (UINTN i = 0; i < copied; i++) {
    name[i] = static_cast<UINT8>(text[i]);
  }
  name[copied] = 0;
}

}  // namespace

Side::~Side() {
  mDevices.Free();
}

bool Side::Collect(const Snapshot& snapshot, bool hasBothTables) {
  mSnapshot = &snapshot;
  mHasTodaysNames = snapshot.NamingRules == kNamingRules;
  StructureIndex structures;
  if (!structures.Build(snapshot.Table.Structures)) {
    return false;
  }
  for (const SnapshotDevice& device : snapshot.Devices) {
    if (!mDevices.AppendZeroed(1)) {
      return false;
    }
    ComparedDevice& compared = mDevices[mDevices.Size() - 1];
    compared.Device = &device;
    compared.Kind = KindOf(device);
    compared.Where = structures.Find(StructureTypeOf(compared.Kind), device.Handle);
    compared.Own = hasBothTables && compared.Where ? NumbersInTable(compared.Where)
                                                   : NumbersInBlobs(device.Blobs);
    // There is one system, which has no name where it has no record.
    if (compared.Kind != DeviceKind::kSystem) {
      CopyMem(compared.Name, device.Fqdd, sizeof(compared.Name));
    }
  }
  return !hasBothTables || (GivePpins() && CollectStacks());
}

/// The PPINs follow one another as the populated sockets do in the table.
bool Side::GivePpins() {
  OwnedArray<UINT32> processors;
  for (UINT32 i = 0; i < mDevices.Size(); i++) {
    const bool takesOne = mDevices[i].Kind == DeviceKind::kProcessor && mDevices[i].Where;
    if (takesOne && !processors.Append(i)) {
      return false;
    }
  }
  const auto inTable = [this](UINT32 left, UINT32 right) -> INTN {
    return static_cast<INTN>(mDevices[left].Where.Offset()) -
           static_cast<INTN>(mDevices[right].Where.Offset());
  };
  if (!Sort(processors, inTable)) {
    return false;
  }
  Ppins ppins(mSnapshot->Table.Structures);
  for (const UINT32 i : processors) {
    mDevices[i].Own[NumberKind::kPpin] = ppins.Next();
  }
  return true;
}

bool Side::CollectStacks() {
  for (const Structure& structure : smbios::Walk(mSnapshot->Table.Structures)) {
    if (devices::KindOf(structure) != devices::Kind::kHbm) {
      continue;
    }
    if (!mDevices.AppendZeroed(1)) {
      return false;
    }
    ComparedDevice& stack = mDevices[mDevices.Size() - 1];
    stack.Kind = DeviceKind::kHbm;
    stack.Where = structure;
    stack.Own = NumbersInTable(structure);
    const Text locator = devices::NameOf(structure);
    CopyName(locator.Data(), locator.Length(), stack.Name);
  }
  return true;
}

bool Side::NameByTodaysRules() {
  if (mHasTodaysNames || mSnapshot->Table.Structures.Empty()) {
    return true;
  }
  ConformedTable conformed;
  const ConformResult result = conformed.Conform(mSnapshot->Table.Structures);
  if (IsRefused(result)) {
    return result != ConformResult::kOutOfMemory;
  }
  const GrowingArray<NamedDevice>& named = conformed.Devices();
  // Sockets and slots stand in the order of the table, so that they can be looked up.
  for (ComparedDevice& device : mDevices) {
    const UINTN offset = device.Where.Offset();
    const UINTN at = FirstNotBelow(
        named, [offset](const NamedDevice& one) { return one.Where.Offset() < offset; });
    if (device.Where && at < named.Size() && named[at].Where.Offset() == offset) {
      CopyName(named[at].Fqdd, AsciiStrLen(named[at].Fqdd), device.Name);
    }
  }
  mHasTodaysNames = true;
  return true;
}

Text Side::LabelOf(UINTN i) const {
  const ComparedDevice& device = mDevices[i];
  return device.Kind == DeviceKind::kSystem ? Text() : devices::NameOf(device.Where);
}

}  // namespace tvqplatform
