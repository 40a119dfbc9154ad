/** @file
  A saved state in which some devices are as they are now.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "accepted_devices.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>

#include "../smbios/names/slot_place.h"
#include "../text.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

/// None for kNoHandle.
Structure FindHandle(Bytes table, UINT16 handle) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Handle() == handle && handle != smbios::kNoHandle) {
      return structure;
    }
  }
  return Structure();
}

bool IsEqual(const CHAR16* fqdd, const CHAR8* name) {
  while (*fqdd != 0 && *fqdd == static_cast<UINT8>(*name)) {
    fqdd++;
    name++;
  }
  return *fqdd == 0 && *name == '\0';
}

bool IsEqual(smbios::Text label, const CHAR8* name) {
  return label.Length() != 0 && Length(name) == label.Length() &&
         CompareMem(name, label.Data(), label.Length()) == 0;
}

/// Whether both structures are of one slot or socket, by what is printed there.
bool AreOfOneSlot(const Structure& one, const Structure& other) {
  const auto bankOf = [](const Structure& structure) {
    return structure.Type() == SMBIOS_TYPE_MEMORY_DEVICE
               ? structure.GetString(SMBIOS_FIELD(17, BankLocator))
               : smbios::Text();
  };
  return one.Type() == other.Type() && devices::NameOf(one) &&
         CompareTexts(devices::NameOf(one), devices::NameOf(other)) == 0 &&
         CompareTexts(bankOf(one), bankOf(other)) == 0;
}

bool HasDevice(const GrowingArray<SnapshotDevice>& list, UINT16 handle) {
  for (const SnapshotDevice& device : list) {
    if (device.Handle == handle) {
      return true;
    }
  }
  return false;
}

/// The structure of the slot in a table in which no device is in it; none where there is none.
Structure FindEmptySlot(Bytes table, const GrowingArray<SnapshotDevice>& devices,
                        const Structure& slot) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (AreOfOneSlot(structure, slot) && !HasDevice(devices, structure.Handle())) {
      return structure;
    }
  }
  return Structure();
}

/// Firmware, system, board, chassis and power supplies.
bool IsOfSystem(const Structure& structure) {
  return structure.Type() <= 3 || structure.Type() == 39;
}

void RemoveAt(GrowingArray<UINT8>& bytes, UINTN at, UINTN size) {
  const UINTN rest = bytes.Size() - at - size;
  CopyMem(bytes.Data() + at, bytes.Data() + at + size, rest);
  bytes.Shrink(at + rest);
}

/// Makes room in the middle. False: there is no memory, nothing has changed.
[[nodiscard]] bool OpenAt(GrowingArray<UINT8>& bytes, UINTN at, UINTN size) {
  const UINTN rest = bytes.Size() - at;
  if (!bytes.AppendZeroed(size)) {
    return false;
  }
  CopyMem(bytes.Data() + at + size, bytes.Data() + at, rest);
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
    case AcceptResult::kOtherOptions:
      return "cannot be accepted alone: the state was saved with other options; accept all";
    case AcceptResult::kNoTable:
      return "cannot be accepted alone: the state was saved by an earlier version; accept all";
    case AcceptResult::kTooLarge:
      return "cannot be accepted alone: the state's table would be too long; accept all";
    case AcceptResult::kAccepted:
      break;
  }
  return "is accepted";
}

/// Collects the place that a name stands for.
class AcceptedDevices::NameSearch {
 public:
  NameSearch(const AcceptedDevices& devices, const CHAR8* name) : mDevices(devices), mName(name) {}

  void LookAt(const Side& side, bool isAfter) {
    for (UINT32 i = 0; i < side.Size(); i++) {
      const SnapshotDevice* const device = side[i].Device;
      if (device != nullptr && device->Fqdd[0] != 0 && IsEqual(device->Fqdd, mName)) {
        mByFqdd = mDevices.PlaceOf(i, isAfter);
        mHasFqdd = true;
      } else if (IsEqual(WithoutOuterBlanks(side.LabelOf(i)), mName)) {
        const Place place = mDevices.PlaceOf(i, isAfter);
        mIsAmbiguous =
            mIsAmbiguous ||
            (mHasLabel && (place.Before != mByLabel.Before || place.After != mByLabel.After));
        mByLabel = place;
        mHasLabel = true;
      }
    }
  }

  [[nodiscard]] AcceptResult Find(Place& place) const {
    if (!mHasFqdd && !mHasLabel) {
      return AcceptResult::kNoSuchDevice;
    }
    place = mHasFqdd ? mByFqdd : mByLabel;
    return !mHasFqdd && mIsAmbiguous ? AcceptResult::kSeveral : AcceptResult::kAccepted;
  }

 private:
  const AcceptedDevices& mDevices;
  const CHAR8* mName;
  Place mByFqdd = {};
  Place mByLabel = {};
  bool mHasFqdd = false;
  bool mHasLabel = false;
  bool mIsAmbiguous = false;
};

/// The handles of a table that a state takes: too short for as many structures as there are handles.
class AcceptedDevices::Handles {
 public:
  explicit Handles(Bytes table) {
    ZeroMem(mBits, sizeof(mBits));
    Add(smbios::kNoHandle);
    for (const Structure& structure : smbios::Walk(table)) {
      Add(structure.Handle());
    }
  }

  void Add(UINT16 handle) { mBits[handle / 8] |= static_cast<UINT8>(1u << (handle % 8)); }

  /// This one, or the next one that is free. However often it is asked, each handle is looked at once.
  UINT16 Free(UINT16 wanted) {
    if (!Has(wanted)) {
      return wanted;
    }
    mNext = mNext == smbios::kNoHandle ? wanted : mNext;
    while (Has(mNext)) {
      mNext++;
    }
    return mNext;
  }

 private:
  bool Has(UINT16 handle) const { return (mBits[handle / 8] & (1u << (handle % 8))) != 0; }

  UINT8 mBits[(MAX_UINT16 + 1) / 8];
  UINT16 mNext = smbios::kNoHandle;  ///< Before the first search.
};

AcceptedDevices::AcceptedDevices() = default;

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
  if (saved.Options != now.Options) {
    return AcceptResult::kOtherOptions;
  }
  mNow = &now;
  mMerged.Machine = saved.Machine;
  mMerged.Options = now.Options;
  mMerged.NamingRules = now.NamingRules;
  mMerged.Time = now.Time;
  mMerged.Program = now.Program;
  if (!mBefore.Collect(saved, true) || !mAfter.Collect(now, true) ||
      !mMatching.Find(mBefore, mAfter) ||
      !mTable.Append(saved.Table.Structures.Data(), saved.Table.Structures.Size()) ||
      !mMerged.Devices.Append(saved.Devices.Data(), saved.Devices.Size()) ||
      !mIsTaken.AppendZeroed(mAfter.Size() + mBefore.Size())) {
    return AcceptResult::kNoMemory;
  }
  for (UINT32 i = 0; i < saved.Devices.Size(); i++) {
    if (!mMergedOf.Append(i)) {
      return AcceptResult::kNoMemory;
    }
  }
  mMerged.Table = saved.Table;
  mMerged.Table.Structures = Table();
  return AcceptResult::kAccepted;
}

AcceptedDevices::Place AcceptedDevices::PlaceOf(UINT32 device, bool isAfter) const {
  return isAfter ? Place{mMatching.Places().BeforeOf(device), device}
                 : Place{device, mMatching.Places().AfterOf(device)};
}

AcceptResult AcceptedDevices::Accept(const CHAR8* name) {
  NameSearch search(*this, name);
  search.LookAt(mBefore, false);
  search.LookAt(mAfter, true);
  Place place;
  AcceptResult result = search.Find(place);
  OwnedArray<Place> places;
  if (result == AcceptResult::kAccepted && !places.Append(place)) {
    result = AcceptResult::kNoMemory;
  }
  for (UINTN i = 0; result == AcceptResult::kAccepted && i < places.Size(); i++) {
    place = places[i];
    bool& isTaken = mIsTaken[place.After == kNone ? mAfter.Size() + place.Before : place.After];
    if (isTaken) {
      continue;
    }
    isTaken = true;
    result = AppendOtherEnds(place, places) ? TakeOver(place) : AcceptResult::kNoMemory;
  }
  return result;
}

bool AcceptedDevices::AppendOtherEnds(const Place& place, GrowingArray<Place>& places) const {
  const Pairs& numbers = mMatching.Numbers();
  const UINT32 from = place.After == kNone ? kNone : numbers.BeforeOf(place.After);
  const UINT32 to = place.Before == kNone ? kNone : numbers.AfterOf(place.Before);
  return (from == kNone || from == place.Before || places.Append(PlaceOf(from, false))) &&
         (to == kNone || to == place.After || places.Append(PlaceOf(to, true)));
}

AcceptResult AcceptedDevices::TakeOver(const Place& place) {
  const ComparedDevice& device = place.After == kNone ? mBefore[place.Before] : mAfter[place.After];
  UINT16 handle = smbios::kNoHandle;
  const bool isSystem = device.Kind == DeviceKind::kSystem && place.After != kNone;
  const AcceptResult result =
      isSystem ? TakeSystem(device.Where, handle) : TakeStructure(place, handle);
  if (result != AcceptResult::kAccepted) {
    return result;
  }
  mMerged.Table.Structures = Table();
  mMerged.Table.StructureCount = static_cast<UINT16>(smbios::Summarize(Table()).Count);
  return device.Kind == DeviceKind::kHbm ? AcceptResult::kAccepted : TakeDevice(place, handle);
}

/// In the list, which has no stacks of memory.
AcceptResult AcceptedDevices::TakeDevice(const Place& place, UINT16 handle) {
  GrowingArray<SnapshotDevice>& merged = mMerged.Devices;
  const UINT32 former = place.Before == kNone ? kNone : mMergedOf[place.Before];
  if (place.After == kNone) {
    for (UINTN i = former; i + 1 < merged.Size(); i++) {
      merged[i] = merged[i + 1];
    }
    merged.Shrink(merged.Size() - 1);
    // Those behind it move up. Nobody asks for its own place again.
    for (UINTN i = place.Before; i < mMergedOf.Size(); i++) {
      mMergedOf[i]--;
    }
    return AcceptResult::kAccepted;
  }
  SnapshotDevice taken = *mAfter[place.After].Device;
  taken.Handle = handle;
  if (former != kNone) {
    merged[former] = taken;
    return AcceptResult::kAccepted;
  }
  return merged.Append(taken) ? AcceptResult::kAccepted : AcceptResult::kNoMemory;
}

AcceptResult AcceptedDevices::TakeStructure(const Place& place, UINT16& handle) {
  const Structure saved = place.Before == kNone ? Structure() : mBefore[place.Before].Where;
  Structure current = place.After == kNone ? Structure() : mAfter[place.After].Where;
  Structure former = saved ? FindHandle(Table(), saved.Handle()) : Structure();
  if (!former && current) {
    former = FindEmptySlot(Table(), mMerged.Devices, current);
  } else if (!current && former) {
    current = FindEmptySlot(mNow->Table.Structures, mNow->Devices, former);
  }
  const UINTN at = former ? former.Offset() : EndOf(Table());
  if (former) {
    RemoveAt(mTable, at, former.Size());
  }
  if (!current) {
    return AcceptResult::kAccepted;
  }
  Handles taken(Table());
  handle = current.Handle();
  return Insert(at, current, taken, handle);
}

AcceptResult AcceptedDevices::TakeSystem(const Structure& system, UINT16& handle) {
  for (UINTN at = 0; Structure(Table(), at);) {
    const Structure structure(Table(), at);
    if (IsOfSystem(structure)) {
      RemoveAt(mTable, at, structure.Size());
    } else {
      at = structure.End();
    }
  }
  Handles taken(Table());
  UINTN at = 0;
  for (const Structure& structure : smbios::Walk(mNow->Table.Structures)) {
    if (!IsOfSystem(structure)) {
      continue;
    }
    UINT16 own = structure.Handle();
    const AcceptResult result = Insert(at, structure, taken, own);
    if (result != AcceptResult::kAccepted) {
      return result;
    }
    handle = system && structure.Offset() == system.Offset() ? own : handle;
    at += structure.Size();
  }
  mMerged.Machine = mNow->Machine;
  return AcceptResult::kAccepted;
}

/// Where the handle is taken, the structure gets another one.
AcceptResult AcceptedDevices::Insert(UINTN at, const Structure& structure, Handles& taken,
                                     UINT16& handle) {
  const Bytes bytes = structure.Whole();
  if (mTable.Size() + bytes.Size() > kMaximumTableSize) {
    return AcceptResult::kTooLarge;
  }
  if (!OpenAt(mTable, at, bytes.Size())) {
    return AcceptResult::kNoMemory;
  }
  handle = taken.Free(handle);
  taken.Add(handle);
  CopyMem(mTable.Data() + at, bytes.Data(), bytes.Size());
  CopyMem(mTable.Data() + at + smbios::kHandleOffset, &handle, sizeof(handle));
  return AcceptResult::kAccepted;
}

}  // namespace tvqplatform
