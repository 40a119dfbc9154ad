/** @file
  The OEM structures of type 225, which name devices by their handles.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "fqdd_map.h"

#include <IndustryStandard/SmbiosTvq.h>
#include <Library/TvqDeviceLib.h>

#include "../text.h"
#include "names/characters.h"
#include "table_builder.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

/// As many as fit into a formatted part, whose length is one byte.
constexpr UINTN kGroupsPerStructure =
    (MAX_UINT8 - sizeof(SMBIOS_TABLE_TYPE225)) / sizeof(SMBIOS_TVQ_FQDD_GROUP);
static_assert(kGroupsPerStructure == 62, "62 groups");

constexpr UINT16 kFirstHandle = 0xE100;
/// FFFFh stands for "no structure".
constexpr UINT16 kLastHandle = 0xFFFE;

/// Hands out the handles that no structure has, lowest first.
class UnusedHandles {
 public:
  explicit UnusedHandles(Bytes table) {
    for (const Structure& structure : smbios::Walk(table)) {
      if (structure.Handle() >= kFirstHandle && structure.Handle() <= kLastHandle) {
        mUsed[structure.Handle() - kFirstHandle] = true;
      }
    }
  }

  [[nodiscard]] bool Take(UINT16& handle) {
    for (UINTN i = 0; i < ARRAY_SIZE(mUsed); i++) {
      if (!mUsed[i]) {
        mUsed[i] = true;
        handle = static_cast<UINT16>(kFirstHandle + i);
        return true;
      }
    }
    return false;
  }

 private:
  bool mUsed[kLastHandle - kFirstHandle + 1] = {};
};

struct FqddGroup {
  const NamedDevice* Device;  // that it gives its FQDD to
};

[[nodiscard]] bool AppendGroups(const GrowingArray<NamedDevice>& devices, bool areProcessors,
                                GrowingArray<FqddGroup>& groups) {
  for (const NamedDevice& device : devices) {
    const bool lacksGroup = device.HasRecord && device.Group == 0;
    if (lacksGroup && device.IsProcessor == areProcessors && !groups.Append({&device})) {
      return false;
    }
  }
  return true;
}

/// Writes structures one after another.
class MapWriter {
 public:
  MapWriter(GrowingArray<UINT8>& bytes, GrowingArray<TableChange>& changes)
      : mBytes(bytes), mChanges(changes) {}

  [[nodiscard]] bool Write(UINT16 handle, const FqddGroup* groups, UINTN count) {
    return WriteFormatted(handle, groups, count) && WriteStrings(groups, count) &&
           NoteChanges(handle, groups, count);
  }

 private:
  [[nodiscard]] bool WriteFormatted(UINT16 handle, const FqddGroup* groups, UINTN count) {
    SMBIOS_TABLE_TYPE225 start;
    start.Hdr.Type = SMBIOS_TYPE_TVQ_FQDD_MAP;
    start.Hdr.Length = static_cast<UINT8>(sizeof(start) + count * sizeof(SMBIOS_TVQ_FQDD_GROUP));
    start.Hdr.Handle = handle;
    start.Format = SMBIOS_TVQ_FQDD_MAP_FORMAT;
    if (!mBytes.Append(reinterpret_cast<const UINT8*>(&start), sizeof(start))) {
      return false;
    }
    for (UINTN i = 0; i < count; i++) {
      const UINT16 device = groups[i].Device->Where.Handle();
      const SMBIOS_TVQ_FQDD_GROUP group = {static_cast<UINT8>(i + 1), device, 0};
      if (!mBytes.Append(reinterpret_cast<const UINT8*>(&group), sizeof(group))) {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool WriteStrings(const FqddGroup* groups, UINTN count) {
    TableBuilder builder(mBytes);
    for (UINTN i = 0; i < count; i++) {
      if (!builder.AppendText(groups[i].Device->Fqdd)) {
        return false;
      }
    }
    return mBytes.AppendZeroed(count == 0 ? 2 : 1);
  }

  [[nodiscard]] bool NoteChanges(UINT16 handle, const FqddGroup* groups, UINTN count) {
    TableChange change = {SMBIOS_TYPE_TVQ_FQDD_MAP, handle, ChangedField::kNewStructure};
    if (count == 0) {
      return mChanges.Append(change);
    }
    for (UINTN i = 0; i < count; i++) {
      change.Field = ChangedField::kFqdd;
      change.About = groups[i].Device->Where.Handle();
      CopyMem(change.New, groups[i].Device->Fqdd, sizeof(change.New));
      if (!mChanges.Append(change)) {
        return false;
      }
    }
    return true;
  }

  GrowingArray<UINT8>& mBytes;
  GrowingArray<TableChange>& mChanges;
};

/// All processors, then all modules.
[[nodiscard]] ConformResult WriteMap(const GrowingArray<NamedDevice>& devices, Bytes table,
                                     GrowingArray<UINT8>& map, GrowingArray<TableChange>& changes) {
  OwnedArray<FqddGroup> groups;
  if (!AppendGroups(devices, true, groups) || !AppendGroups(devices, false, groups)) {
    return ConformResult::kOutOfMemory;
  }
  UnusedHandles handles(table);
  MapWriter writer(map, changes);
  UINTN done = 0;
  do {
    UINT16 handle;
    if (!handles.Take(handle)) {
      return ConformResult::kNoUnusedHandle;
    }
    const UINTN count = MIN(groups.Size() - done, kGroupsPerStructure);
    if (!writer.Write(handle, groups.Data() + done, count)) {
      return ConformResult::kOutOfMemory;
    }
    done += count;
  } while (done < groups.Size());
  return ConformResult::kChanged;
}

/// Ends the last structure, which was cut off: what is added after it would be taken for a part of
/// it.
[[nodiscard]] bool CloseTable(GrowingArray<UINT8>& table, const Structure& last,
                              GrowingArray<TableChange>& changes) {
  const TableChange change = {last.Type(), last.Handle(), ChangedField::kMissingEnd};
  return changes.Append(change) && TableBuilder(table).CloseLast(last);
}

/// Finds where the map goes, and makes that a place between two structures.
[[nodiscard]] bool FindPlace(GrowingArray<UINT8>& table, GrowingArray<TableChange>& changes,
                             UINTN& offset) {
  Structure last;
  for (const Structure& structure : smbios::Walk({table.Data(), table.Size()})) {
    if (structure.Type() == smbios::kEndOfTable) {
      offset = structure.Offset();
      return true;
    }
    last = structure;
  }
  const bool isCutOff = last && !last.IsComplete();
  const UINTN end = last.End();
  if (isCutOff && !CloseTable(table, last, changes)) {
    return false;
  }
  offset = isCutOff ? table.Size() : end;
  return true;
}

/// The groups of a structure of type 225 by their offsets in it.
UINTN EndOfGroups(const Structure& map) {
  constexpr UINTN kGroupSize = sizeof(SMBIOS_TVQ_FQDD_GROUP);
  const UINTN groups = (map.Length() - devices::kFqddGroups) / kGroupSize;
  return devices::kFqddGroups + groups * kGroupSize;
}

UINT16 HandleOfGroup(const Structure& map, UINTN group) {
  return map.Word(group + OFFSET_OF(SMBIOS_TVQ_FQDD_GROUP, Handle));
}
smbios::Text FqddOfGroup(const Structure& map, UINTN group) {
  return map.String(map.Byte(group + OFFSET_OF(SMBIOS_TVQ_FQDD_GROUP, StringNumber)));
}

/// Whether the driver returns the FQDD whole, and it may name a file.
bool MayBeKept(smbios::Text fqdd) {
  for (const UINT8 character : fqdd) {
    if (!IsLetterOrDigit(character) && character != '.' && character != '-' && character != '_') {
      return false;
    }
  }
  return fqdd.Length() != 0 && fqdd.Length() < kFqddSize;
}

/// Without regard to case.
template <typename Left, typename Right>
bool AreAlike(const Left* left, const Right* right, UINTN length) {
  for (UINTN i = 0; i < length; i++) {
    if (ToCapital(static_cast<UINT8>(left[i])) != ToCapital(static_cast<UINT8>(right[i]))) {
      return false;
    }
  }
  return true;
}

/// Sees to it that no two devices have one FQDD. Those of names are unique among themselves, so
/// that those which the table has give way.
class FqddChoice {
 public:
  explicit FqddChoice(GrowingArray<NamedDevice>& devices) : mDevices(devices) {}

  /// All devices have the FQDDs of their names.
  void Choose() {
    for (NamedDevice& device : mDevices) {
      device.IsFqddKept = MayBeKept(device.TablesFqdd);
      device.RightfulOwner = device.IsFqddKept ? FindOwner(device) : nullptr;
    }
    for (NamedDevice& device : mDevices) {
      if (device.IsFqddKept) {
        ZeroMem(device.Fqdd, sizeof(device.Fqdd));
        CopyMem(device.Fqdd, device.TablesFqdd.Data(), device.TablesFqdd.Length());
      }
    }
    for (UINTN i = 0; i < mDevices.Size(); i++) {
      GiveUpTwins(i);
    }
    while (MakeWay()) {
    }
  }

 private:
  /// The other device whose name's FQDD it is.
  NamedDevice* FindOwner(const NamedDevice& device) const {
    for (NamedDevice& other : mDevices) {
      if (other.Where.Handle() != device.Where.Handle() &&
          Length(other.Fqdd) == device.TablesFqdd.Length() &&
          AreAlike(other.Fqdd, device.TablesFqdd.Data(), device.TablesFqdd.Length())) {
        return &other;
      }
    }
    return nullptr;
  }

  /// Two that the table names alike give way both.
  void GiveUpTwins(UINTN at) {
    NamedDevice& device = mDevices[at];
    bool hasTwin = false;
    for (UINTN i = at + 1; device.IsFqddKept && i < mDevices.Size(); i++) {
      NamedDevice& other = mDevices[i];
      if (other.IsFqddKept && other.Where.Handle() != device.Where.Handle() &&
          AreAlike(other.Fqdd, device.Fqdd, sizeof(device.Fqdd))) {
        TakeFqddOfName(other);
        hasTwin = true;
      }
    }
    if (hasTwin) {
      TakeFqddOfName(device);
    }
  }

  /// Devices give way to those that have the FQDDs of their names. True: others may have to, now.
  bool MakeWay() {
    bool gaveWay = false;
    for (NamedDevice& device : mDevices) {
      if (device.IsFqddKept && device.RightfulOwner != nullptr &&
          !device.RightfulOwner->IsFqddKept) {
        TakeFqddOfName(device);
        gaveWay = true;
      }
    }
    return gaveWay;
  }

  GrowingArray<NamedDevice>& mDevices;
};

void NoteGroups(const Structure& map, GrowingArray<NamedDevice>& named) {
  for (UINTN group = devices::kFqddGroups; group < EndOfGroups(map);
       group += sizeof(SMBIOS_TVQ_FQDD_GROUP)) {
    for (NamedDevice& device : named) {
      // The driver takes the first that it finds.
      if (device.Group == 0 && device.Where.Handle() == HandleOfGroup(map, group)) {
        device.Group = map.Offset() + group;
        device.TablesFqdd = FqddOfGroup(map, group);
      }
    }
  }
}

}  // namespace

bool FqddMap::CollectHandles(Bytes table) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (devices::KindOf(structure) != devices::Kind::kNone &&
        !mHandles.Append(structure.Handle())) {
      return false;
    }
  }
  return true;
}

bool FqddMap::IsDevice(UINT16 handle) const {
  for (const UINT16 known : mHandles) {
    if (known == handle) {
      return true;
    }
  }
  return false;
}

bool FqddMap::IsUsable(const Structure& map) const {
  if (devices::CheckFqddMap(map) != devices::FqddMap::kUsable) {
    return false;
  }
  for (UINTN group = devices::kFqddGroups; group < EndOfGroups(map);
       group += sizeof(SMBIOS_TVQ_FQDD_GROUP)) {
    if (FqddOfGroup(map, group).Length() == 0 || !IsDevice(HandleOfGroup(map, group))) {
      return false;
    }
  }
  return true;
}

bool FqddMap::Read(Bytes table, GrowingArray<NamedDevice>& devices) {
  if (!CollectHandles(table)) {
    return false;
  }
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() != SMBIOS_TYPE_TVQ_FQDD_MAP) {
      continue;
    }
    if (IsUsable(structure)) {
      mHasUsable = true;
      NoteGroups(structure, devices);
    } else {
      mHasUnusable = true;
    }
  }
  if (mHasUsable) {
    FqddChoice(devices).Choose();
  }
  return true;
}

smbios::Text FqddInTable(Bytes table, UINT16 handle) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() != SMBIOS_TYPE_TVQ_FQDD_MAP ||
        devices::CheckFqddMap(structure) != devices::FqddMap::kUsable) {
      continue;
    }
    for (UINTN group = devices::kFqddGroups; group < EndOfGroups(structure);
         group += sizeof(SMBIOS_TVQ_FQDD_GROUP)) {
      if (HandleOfGroup(structure, group) == handle) {
        return FqddOfGroup(structure, group);
      }
    }
  }
  return smbios::Text();
}

ConformResult AddFqddMap(const GrowingArray<NamedDevice>& devices, GrowingArray<UINT8>& table,
                         GrowingArray<TableChange>& changes) {
  OwnedArray<UINT8> map;
  UINTN offset = 0;
  if (!FindPlace(table, changes, offset)) {
    return ConformResult::kOutOfMemory;
  }
  const ConformResult result = WriteMap(devices, {table.Data(), table.Size()}, map, changes);
  if (IsRefused(result)) {
    return result;
  }
  return TableBuilder(table).Insert(offset, {map.Data(), map.Size()}) ? result
                                                                      : ConformResult::kOutOfMemory;
}

}  // namespace tvqplatform
