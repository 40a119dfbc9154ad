/** @file
  Which device of one machine is which of another.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "matching.h"

#include "../text.h"

namespace tvqplatform {

namespace {

INTN CompareKinds(const ComparedDevice& left, const ComparedDevice& right) {
  return static_cast<INTN>(left.Kind) - static_cast<INTN>(right.Kind);
}

/// Devices of both sides.
class DevicesOfBoth : public TwoSides {
 public:
  DevicesOfBoth(const Side& before, const Side& after) : mBefore(before), mAfter(after) {}

  /// Those of which isWanted(device) is true. False: there is no memory.
  template <typename IsWanted>
  [[nodiscard]] bool AddAll(IsWanted isWanted) {
    for (UINTN i = 0; i < mBefore.Size(); i++) {
      if (isWanted(mBefore[i]) && !Add(i, false)) {
        return false;
      }
    }
    for (UINTN i = 0; i < mAfter.Size(); i++) {
      if (isWanted(mAfter[i]) && !Add(i, true)) {
        return false;
      }
    }
    return true;
  }

  /// Those that have no pair yet. False: there is no memory.
  [[nodiscard]] bool AddUnpaired(const Pairs& pairs) {
    for (UINTN i = 0; i < mBefore.Size(); i++) {
      if (pairs.AfterOf(i) == kNone && !Add(i, false)) {
        return false;
      }
    }
    for (UINTN i = 0; i < mAfter.Size(); i++) {
      if (pairs.BeforeOf(i) == kNone && !Add(i, true)) {
        return false;
      }
    }
    return true;
  }

  const ComparedDevice& operator[](const Element& element) const {
    return (element.IsAfter ? mAfter : mBefore)[element.Index];
  }

 private:
  const Side& mBefore;
  const Side& mAfter;
};

/// Equal numbers of one side tell none of its devices from the others.
void NoteRepeated(Side& side, Elements equal, NumberKind kind) {
  for (UINTN i = 0; equal.Size() > 1 && i < equal.Size(); i++) {
    side.NoteRepeated(equal[i].Index, kind);
  }
}

}  // namespace

bool Matching::Find(Side& before, Side& after) {
  if (!mPlaces.Prepare(before.Size(), after.Size()) ||
      !mNumbers.Prepare(before.Size(), after.Size()) ||
      !PairByNumber(before, after, NumberKind::kPpin) ||
      !PairByNumber(before, after, NumberKind::kSerial)) {
    return false;
  }
  const UINT32 rules = before.Machine().NamingRules;
  mAreRulesOthers = rules != after.Machine().NamingRules || rules == kNamingRulesUnknown;
  return mAreRulesOthers ? PairUnderOtherRules(before, after) : PairByName(before, after);
}

bool Matching::PairByNumber(Side& before, Side& after, NumberKind kind) {
  DevicesOfBoth devices(before, after);
  const auto hasNumber = [kind](const ComparedDevice& device) {
    return device.Kind != DeviceKind::kSystem && IsUsable(kind, device.Own[kind]);
  };
  const auto byNumber = [&](const Element& left, const Element& right) {
    const INTN order = CompareKinds(devices[left], devices[right]);
    return order != 0 ? order : CompareTexts(devices[left].Own[kind], devices[right].Own[kind]);
  };
  // Also those that another number has paired: they have this one all the same.
  return devices.AddAll(hasNumber) &&
         devices.VisitGroups(byNumber, [&](Elements befores, Elements afters) {
           NoteRepeated(before, befores, kind);
           NoteRepeated(after, afters, kind);
           if (befores.Size() == 1 && afters.Size() == 1) {
             mNumbers.Join(befores[0].Index, afters[0].Index);
           }
         });
}

bool Matching::PairByName(const Side& before, const Side& after) {
  DevicesOfBoth devices(before, after);
  const auto byName = [&devices](const Element& left, const Element& right) {
    const INTN order = CompareKinds(devices[left], devices[right]);
    return order != 0 ? order : Compare(&devices[left].Name[0], &devices[right].Name[0]);
  };
  return devices.AddUnpaired(mPlaces) &&
         devices.VisitGroups(byName, [this](Elements befores, Elements afters) {
           mPlaces.JoinInOrder(befores, afters);
         });
}

bool Matching::PairInOrder(const Side& before, const Side& after) {
  DevicesOfBoth devices(before, after);
  const auto byKind = [&devices](const Element& left, const Element& right) {
    return CompareKinds(devices[left], devices[right]);
  };
  return devices.AddUnpaired(mPlaces) &&
         devices.VisitGroups(byKind, [this](Elements befores, Elements afters) {
           mPlaces.JoinInOrder(befores, afters);
         });
}

/// The same number is the same device, wherever it is called what; the others are where the table
/// says, and where there is none, follow one another as they did.
bool Matching::PairUnderOtherRules(Side& before, Side& after) {
  for (UINT32 i = 0; i < after.Size(); i++) {
    if (mNumbers.BeforeOf(i) != kNone) {
      mPlaces.Join(mNumbers.BeforeOf(i), i);
    }
  }
  if (!before.NameByTodaysRules() || !after.NameByTodaysRules()) {
    return false;
  }
  const bool isNamedAlike = before.HasTodaysNames() && after.HasTodaysNames();
  if (!(isNamedAlike ? PairByName(before, after) : PairInOrder(before, after))) {
    return false;
  }
  for (UINTN i = 0; i < after.Size(); i++) {
    const SnapshotDevice* const now = after[i].Device;
    const UINT32 then = mPlaces.BeforeOf(i);
    mAreNamesOthers =
        mAreNamesOthers || (then != kNone && now != nullptr && now->Fqdd[0] != 0 &&
                            before[then].Device->Fqdd[0] != 0 &&
                            Compare(&now->Fqdd[0], &before[then].Device->Fqdd[0]) != 0);
  }
  return true;
}

}  // namespace tvqplatform
