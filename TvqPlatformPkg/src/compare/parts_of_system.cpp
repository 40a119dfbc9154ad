/** @file
  Board, chassis and power supplies.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "parts_of_system.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../smbios/names/slot_place.h"
#include "../states/machine_identity.h"
#include "numbers.h"

namespace tvqplatform {

using smbios::Structure;
using smbios::Text;

namespace {

struct PartKind {
  smbios::Field<UINT8> Serial;
  const CHAR8* Name;
  Witness Who;
};
constexpr PartKind kKinds[] = {
    {SMBIOS_FIELD(2, SerialNumber), "Board", Witness::kBoard},
    {SMBIOS_FIELD(3, SerialNumber), "Chassis", Witness::kChassis},
    {SMBIOS_FIELD(39, SerialNumber), "PowerSupply", Witness::kPowerSupply},
};

Text SerialOf(const Structure& structure, smbios::Field<UINT8> field) {
  const Text serial = WithoutOuterBlanks(structure.GetString(field));
  return serial.Length() == 0 ? Text() : serial;
}

/// What stands for a part that has no number.
constexpr CHAR8 kPresent[] = "present";

}  // namespace

bool PartsOfSystem::Collect(Bytes table, GrowingArray<Part>& parts) {
  UINT32 counts[ARRAY_SIZE(kKinds)] = {};
  for (const Structure& structure : smbios::Walk(table)) {
    for (UINTN kind = 0; kind < ARRAY_SIZE(kKinds); kind++) {
      if (structure.Type() != kKinds[kind].Serial.Type) {
        continue;
      }
      const Text serial = SerialOf(structure, kKinds[kind].Serial);
      if (!parts.Append(
              {static_cast<UINT8>(kind), ++counts[kind], serial, IsUsableNumber(serial)})) {
        return false;
      }
    }
  }
  return true;
}

/// Pairs the parts of a kind that have none yet: those with equal serial numbers, or in their order.
bool PartsOfSystem::Pair(bool bySerial) {
  TwoSides parts;
  for (UINTN i = 0; i < mBefore.Size(); i++) {
    if (mPairs.AfterOf(i) == kNone && (!bySerial || mBefore[i].IsToldBySerial) &&
        !parts.Add(i, false)) {
      return false;
    }
  }
  for (UINTN i = 0; i < mAfter.Size(); i++) {
    if (mPairs.BeforeOf(i) == kNone && (!bySerial || mAfter[i].IsToldBySerial) &&
        !parts.Add(i, true)) {
      return false;
    }
  }
  const auto byKind = [this, bySerial](const Element& left, const Element& right) -> INTN {
    const Part& one = (left.IsAfter ? mAfter : mBefore)[left.Index];
    const Part& other = (right.IsAfter ? mAfter : mBefore)[right.Index];
    const INTN order = static_cast<INTN>(one.Kind) - static_cast<INTN>(other.Kind);
    return order != 0 || !bySerial ? order : CompareTexts(one.Serial, other.Serial);
  };
  return parts.VisitGroups(
      byKind, [this](Elements befores, Elements afters) { mPairs.JoinInOrder(befores, afters); });
}

bool PartsOfSystem::AppendChange(UINT32 before, UINT32 after) {
  const Part& part = after == kNone ? mBefore[before] : mAfter[after];
  const bool isOneSided = before == kNone || after == kNone;
  const Text then = before == kNone ? Text() : mBefore[before].Serial;
  const Text now = after == kNone ? Text() : mAfter[after].Serial;
  if (!isOneSided && CompareTexts(then, now) == 0) {
    return true;
  }
  if (!mChanges.AppendZeroed(1)) {
    return false;
  }
  PartChange& change = mChanges[mChanges.Size() - 1];
  const PartKind& kind = kKinds[part.Kind];
  const CHAR8* const field = isOneSided && !part.Serial ? "" : "/SerialNumber";
  if (part.Number == 1) {
    AsciiSPrint(change.Path, sizeof(change.Path), "%a%a", kind.Name, field);
  } else {
    AsciiSPrint(change.Path, sizeof(change.Path), "%a[%d]%a", kind.Name, part.Number, field);
  }
  change.Who = kind.Who;
  change.IsOneSided = isOneSided;
  change.IsReplaced = !isOneSided && mBefore[before].IsToldBySerial && mAfter[after].IsToldBySerial;
  const Text alone = part.Serial ? part.Serial : TextOf(kPresent);
  change.Before = !isOneSided ? then : before == kNone ? Text() : alone;
  change.After = !isOneSided ? now : after == kNone ? Text() : alone;
  return true;
}

bool PartsOfSystem::Compare(Bytes before, Bytes after) {
  if (!Collect(before, mBefore) || !Collect(after, mAfter) ||
      !mPairs.Prepare(mBefore.Size(), mAfter.Size()) || !Pair(true) || !Pair(false)) {
    return false;
  }
  for (UINT32 i = 0; i < mAfter.Size(); i++) {
    if (!AppendChange(mPairs.BeforeOf(i), i)) {
      return false;
    }
  }
  for (UINT32 i = 0; i < mBefore.Size(); i++) {
    if (mPairs.AfterOf(i) == kNone && !AppendChange(i, kNone)) {
      return false;
    }
  }
  return true;
}

}  // namespace tvqplatform
