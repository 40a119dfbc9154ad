/** @file
  A saved state in which some devices are as they are now.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "accepted_devices.h"

#include <Library/TvqDeviceLib.h>
#include <Protocol/TvqInventory.h>

#include "../text.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

UINTN FindFqdd(const Snapshot& snapshot, const CHAR16* fqdd) {
  for (UINTN i = 0; i < snapshot.Devices.Size(); i++) {
    if (Compare<CHAR16>(snapshot.Devices[i].Fqdd, fqdd) == 0) {
      return i;
    }
  }
  return snapshot.Devices.Size();
}

/// None for kNoHandle.
Structure FindHandle(Bytes table, UINT16 handle) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Handle() == handle && handle != smbios::kNoHandle) {
      return structure;
    }
  }
  return Structure();
}

bool IsFqdd(const SnapshotDevice& device, const CHAR8* name) {
  const CHAR16* fqdd = device.Fqdd;
  while (*fqdd != 0 && *fqdd == static_cast<UINT8>(*name)) {
    fqdd++;
    name++;
  }
  return *fqdd == 0 && *name == '\0';
}

bool IsLabel(const SnapshotDevice& device, Bytes table, const CHAR8* name) {
  const smbios::Text label = devices::NameOf(FindHandle(table, device.Handle));
  UINTN start = 0;
  UINTN end = label.Length();
  while (start < end && label[start] == ' ') {
    start++;
  }
  while (start < end && label[end - 1] == ' ') {
    end--;
  }
  return end != start && Length(name) == end - start &&
         CompareMem(name, label.Data() + start, end - start) == 0;
}

/// Collects the FQDD that a name stands for.
class NameSearch {
 public:
  explicit NameSearch(const CHAR8* name) : mName(name) {}

  void LookAt(const Snapshot& snapshot) {
    for (const SnapshotDevice& device : snapshot.Devices) {
      if (IsFqdd(device, mName)) {
        mByFqdd = device.Fqdd;
      } else if (IsLabel(device, snapshot.Table.Structures, mName)) {
        mIsAmbiguous |= mByLabel != nullptr && Compare(mByLabel, device.Fqdd) != 0;
        mByLabel = device.Fqdd;
      }
    }
  }

  [[nodiscard]] AcceptResult Find(const CHAR16*& fqdd) const {
    fqdd = mByFqdd != nullptr ? mByFqdd : mByLabel;
    if (fqdd == nullptr || fqdd[0] == 0) {
      return AcceptResult::kNoSuchDevice;
    }
    return mByFqdd == nullptr && mIsAmbiguous ? AcceptResult::kSeveral : AcceptResult::kAccepted;
  }

 private:
  const CHAR8* mName;
  const CHAR16* mByFqdd = nullptr;
  const CHAR16* mByLabel = nullptr;
  bool mIsAmbiguous = false;
};

/// A handle that the table does not have; kNoHandle where it has all.
UINT16 UnusedHandle(Bytes table, UINT16 wanted) {
  for (UINT32 i = 0; i < smbios::kNoHandle; i++) {
    const UINT16 handle = static_cast<UINT16>((wanted + i) % smbios::kNoHandle);
    if (!FindHandle(table, handle)) {
      return handle;
    }
  }
  return smbios::kNoHandle;
}

/// Firmware, system, board, chassis and power supplies.
bool IsOfSystem(const Structure& structure) {
  return structure.Type() <= 3 || structure.Type() == 39;
}

void RemoveAt(GrowingArray<UINT8>& bytes, UINTN at, UINTN size) {
  const UINTN rest = bytes.Size() - at - size;
  if (rest != 0) {
    CopyMem(bytes.Data() + at, bytes.Data() + at + size, rest);
  }
  bytes.Shrink(at + rest);
}

/// Makes room in the middle. False: there is no memory, nothing has changed.
[[nodiscard]] bool OpenAt(GrowingArray<UINT8>& bytes, UINTN at, UINTN size) {
  const UINTN rest = bytes.Size() - at;
  if (!bytes.AppendZeroed(size)) {
    return false;
  }
  if (rest != 0) {
    CopyMem(bytes.Data() + at + size, bytes.Data() + at, rest);
  }
  return true;
}

/// Where a new structure goes: in front of the end-of-table structure.
UINTN EndOf(Bytes table) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() == smbios::kEndOfTable) {
      return structure.Offset();
    }
  }
  return smbios::Summarize(table).End;
}

}  // namespace

const CHAR8* AcceptResultText(AcceptResult result) {
  switch (result) {
    case AcceptResult::kNoMemory:
      return "cannot be accepted: there is no memory";
    case AcceptResult::kNoSuchDevice:
      return "is neither the name nor the label of a device, now or in the saved state";
    case AcceptResult::kSeveral:
      return "is the label of several devices: accept one by its name";
    case AcceptResult::kOtherNames:
      return "cannot be accepted alone: the state was saved under other names; accept all";
    case AcceptResult::kNoTable:
      return "cannot be accepted alone: the state was saved by an earlier version; accept all";
    case AcceptResult::kTooLarge:
      return "cannot be accepted alone: the state's table would be too long; accept all";
    case AcceptResult::kAccepted:
      break;
  }
  return "is accepted";
}

AcceptedDevices::~AcceptedDevices() {
  mTable.Free();
}

AcceptResult AcceptedDevices::Begin(const Snapshot& saved, const Snapshot& now) {
  if (saved.Table.Structures.Empty()) {
    return AcceptResult::kNoTable;
  }
  if (saved.NamingRules != now.NamingRules) {
    return AcceptResult::kOtherNames;
  }
  mSaved = &saved;
  mNow = &now;
  mMerged.Machine = saved.Machine;
  mMerged.Options = now.Options;
  mMerged.NamingRules = now.NamingRules;
  mMerged.Time = now.Time;
  mMerged.Program = now.Program;
  if (!mTable.Append(saved.Table.Structures.Data(), saved.Table.Structures.Size()) ||
      !mMerged.Devices.Append(saved.Devices.Data(), saved.Devices.Size())) {
    return AcceptResult::kNoMemory;
  }
  mMerged.Table = saved.Table;
  mMerged.Table.Structures = {mTable.Data(), mTable.Size()};
  return AcceptResult::kAccepted;
}

AcceptResult AcceptedDevices::Accept(const CHAR8* name) {
  NameSearch search(name);
  search.LookAt(*mSaved);
  search.LookAt(*mNow);
  const CHAR16* fqdd = nullptr;
  const AcceptResult found = search.Find(fqdd);
  return found == AcceptResult::kAccepted ? Replace(fqdd) : found;
}

AcceptResult AcceptedDevices::Replace(const CHAR16* fqdd) {
  GrowingArray<SnapshotDevice>& merged = mMerged.Devices;
  const UINTN before = FindFqdd(mMerged, fqdd);
  const UINTN now = FindFqdd(*mNow, fqdd);
  SnapshotDevice taken = {};
  taken.Handle = smbios::kNoHandle;
  if (now != mNow->Devices.Size()) {
    taken = mNow->Devices[now];
  }
  const UINT16 formerHandle = before == merged.Size() ? smbios::kNoHandle : merged[before].Handle;
  const AcceptResult result = taken.ComponentClass == TVQ_CLASS_SYSTEM
                                  ? TakeSystem(taken.Handle)
                                  : TakeStructure(formerHandle, taken.Handle);
  if (result != AcceptResult::kAccepted) {
    return result;
  }
  mMerged.Table.Structures = Table();
  mMerged.Table.StructureCount = static_cast<UINT16>(smbios::Summarize(Table()).Count);
  if (now == mNow->Devices.Size()) {
    for (UINTN i = before; i + 1 < merged.Size(); i++) {
      merged[i] = merged[i + 1];
    }
    merged.Shrink(merged.Size() - 1);
  } else if (before != merged.Size()) {
    merged[before] = taken;
  } else if (!merged.Append(taken)) {
    return AcceptResult::kNoMemory;
  }
  return AcceptResult::kAccepted;
}

AcceptResult AcceptedDevices::TakeStructure(UINT16 before, UINT16& after) {
  const Structure former = FindHandle(Table(), before);
  const UINTN at = former ? former.Offset() : EndOf(Table());
  if (former) {
    RemoveAt(mTable, at, former.Size());
  }
  const Structure current = FindHandle(mNow->Table.Structures, after);
  return current ? Insert(at, current, after) : AcceptResult::kAccepted;
}

AcceptResult AcceptedDevices::TakeSystem(UINT16& handle) {
  for (UINTN at = 0; Structure(Table(), at);) {
    const Structure structure(Table(), at);
    if (IsOfSystem(structure)) {
      RemoveAt(mTable, at, structure.Size());
    } else {
      at = structure.End();
    }
  }
  UINTN at = 0;
  for (const Structure& structure : smbios::Walk(mNow->Table.Structures)) {
    if (!IsOfSystem(structure)) {
      continue;
    }
    UINT16 own = structure.Handle();
    const AcceptResult result = Insert(at, structure, own);
    if (result != AcceptResult::kAccepted) {
      return result;
    }
    handle = structure.Handle() == handle ? own : handle;
    at += structure.Size();
  }
  mMerged.Machine = mNow->Machine;
  return AcceptResult::kAccepted;
}

/// Where the handle is taken, the structure gets another one.
AcceptResult AcceptedDevices::Insert(UINTN at, const Structure& structure, UINT16& handle) {
  const Bytes bytes = structure.Whole();
  handle = UnusedHandle(Table(), handle);
  if (handle == smbios::kNoHandle || mTable.Size() + bytes.Size() > kMaximumTableSize) {
    return AcceptResult::kTooLarge;
  }
  if (!OpenAt(mTable, at, bytes.Size())) {
    return AcceptResult::kNoMemory;
  }
  CopyMem(mTable.Data() + at, bytes.Data(), bytes.Size());
  CopyMem(mTable.Data() + at + smbios::kHandleOffset, &handle, sizeof(handle));
  return AcceptResult::kAccepted;
}

}  // namespace tvqplatform
