/** @file
  Adds the OEM structures of type 225 to a table that has none.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "fqdd_map.h"

#include <IndustryStandard/SmbiosTvq.h>
#include <Library/TvqDeviceLib.h>

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
    ZeroMem(mUsed, sizeof(mUsed));
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
  bool mUsed[kLastHandle - kFirstHandle + 1];
};

/// One FQDD and the structure that it names.
struct Group {
  CHAR8 Fqdd[16];
  UINT16 Handle;
};

Group GroupOfProcessor(const Structure& structure) {
  Group group;
  group.Handle = structure.Handle();
  AsciiSPrint(group.Fqdd, sizeof(group.Fqdd), "CPU.Socket.%x",
              static_cast<UINT32>(devices::SocketNumber(structure)));
  return group;
}

/// A NUL among the three characters ends the text. They may be any bytes, and are copied as such.
Group GroupOfModule(const Structure& structure) {
  constexpr CHAR8 kPrefix[] = "DIMM.Socket.";
  constexpr UINTN kPrefixLength = sizeof(kPrefix) - 1;
  const devices::LocatorKey key = devices::KeyOfLocator(structure);
  Group group;
  group.Handle = structure.Handle();
  CopyMem(group.Fqdd, kPrefix, kPrefixLength);
  CopyMem(group.Fqdd + kPrefixLength, key.Characters, sizeof(key.Characters));
  group.Fqdd[kPrefixLength + sizeof(key.Characters)] = '\0';
  return group;
}

/// All processors, then all modules. False: there is no memory.
[[nodiscard]] bool CollectGroups(Bytes table, GrowingArray<Group>& groups) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (devices::KindOf(structure) == devices::Kind::kProcessor &&
        !groups.Append(GroupOfProcessor(structure))) {
      return false;
    }
  }
  for (const Structure& structure : smbios::Walk(table)) {
    if (devices::KindOf(structure) == devices::Kind::kModule &&
        !groups.Append(GroupOfModule(structure))) {
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

  [[nodiscard]] bool Write(UINT16 handle, const Group* groups, UINTN count) {
    return WriteFormatted(handle, groups, count) && WriteStrings(groups, count) &&
           NoteChanges(handle, groups, count);
  }

 private:
  [[nodiscard]] bool WriteFormatted(UINT16 handle, const Group* groups, UINTN count) {
    SMBIOS_TABLE_TYPE225 start;
    start.Hdr.Type = SMBIOS_TYPE_TVQ_FQDD_MAP;
    start.Hdr.Length = static_cast<UINT8>(sizeof(start) + count * sizeof(SMBIOS_TVQ_FQDD_GROUP));
    start.Hdr.Handle = handle;
    start.Format = SMBIOS_TVQ_FQDD_MAP_FORMAT;
    if (!mBytes.Append(reinterpret_cast<const UINT8*>(&start), sizeof(start))) {
      return false;
    }
    for (UINTN i = 0; i < count; i++) {
      const SMBIOS_TVQ_FQDD_GROUP group = {static_cast<UINT8>(i + 1), groups[i].Handle, 0};
      if (!mBytes.Append(reinterpret_cast<const UINT8*>(&group), sizeof(group))) {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool WriteStrings(const Group* groups, UINTN count) {
    TableBuilder builder(mBytes);
    for (UINTN i = 0; i < count; i++) {
      if (!builder.AppendText(groups[i].Fqdd)) {
        return false;
      }
    }
    return mBytes.AppendZeroed(count == 0 ? 2 : 1);
  }

  [[nodiscard]] bool NoteChanges(UINT16 handle, const Group* groups, UINTN count) {
    TableChange change = {SMBIOS_TYPE_TVQ_FQDD_MAP, handle, ChangedField::kNewStructure, 0, {}, {}};
    if (count == 0) {
      return mChanges.Append(change);
    }
    for (UINTN i = 0; i < count; i++) {
      change.Field = ChangedField::kFqdd;
      change.About = groups[i].Handle;
      CopyMem(change.New, groups[i].Fqdd, sizeof(change.New));
      if (!mChanges.Append(change)) {
        return false;
      }
    }
    return true;
  }

  GrowingArray<UINT8>& mBytes;
  GrowingArray<TableChange>& mChanges;
};

[[nodiscard]] ConformResult WriteMap(Bytes table, GrowingArray<UINT8>& map,
                                     GrowingArray<TableChange>& changes) {
  OwnedArray<Group> groups;
  if (!CollectGroups(table, groups)) {
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

/// Ends the last structure when it was cut off: what is added after it would be taken for a part
/// of it.
[[nodiscard]] bool CloseTable(GrowingArray<UINT8>& table, const Structure& last,
                              GrowingArray<TableChange>& changes) {
  if (last.IsComplete()) {
    return true;
  }
  const TableChange change = {last.Type(), last.Handle(), ChangedField::kMissingEnd, 0, {}, {}};
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

}  // namespace

bool HasFqddMap(Bytes table) {
  return smbios::CountOfType(table, SMBIOS_TYPE_TVQ_FQDD_MAP) != 0;
}

ConformResult AddFqddMap(GrowingArray<UINT8>& table, GrowingArray<TableChange>& changes) {
  OwnedArray<UINT8> map;
  UINTN offset = 0;
  if (!FindPlace(table, changes, offset)) {
    return ConformResult::kOutOfMemory;
  }
  const ConformResult result = WriteMap({table.Data(), table.Size()}, map, changes);
  if (IsRefused(result)) {
    return result;
  }
  return TableBuilder(table).Insert(offset, {map.Data(), map.Size()}) ? result
                                                                      : ConformResult::kOutOfMemory;
}

}  // namespace tvqplatform
