/** @file
  What became of every device of a machine between two times.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "comparison.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../states/machine_identity.h"
#include "../text.h"
#include "parts_of_system.h"

namespace tvqplatform {

using smbios::Text;

namespace {

tvq::Span<const UINT8> BlobsOf(const ComparedDevice& device) {
  return device.Device == nullptr ? tvq::Span<const UINT8>() : device.Device->Blobs;
}

bool HasRecord(const ComparedDevice& device) {
  return device.Device == nullptr || device.Device->Why == WhyNoRecord::kHasRecord;
}

bool AreEqual(tvq::Span<const UINT8> left, tvq::Span<const UINT8> right) {
  return left.Size() == right.Size() && CompareMem(left.Data(), right.Data(), left.Size()) == 0;
}

/// The first that a structure states.
Text FirmwareVersion(const Snapshot& machine) {
  for (const smbios::Structure& structure : smbios::Walk(machine.Table.Structures)) {
    const bool isBios = structure.Type() == SMBIOS_TYPE_BIOS_INFORMATION;
    const Text version = isBios ? structure.GetString(SMBIOS_FIELD(0, BiosVersion)) : Text();
    if (version) {
      return version;
    }
  }
  return Text();
}

void AddWitness(Witness witness, Finding& finding) {
  finding.Witnesses |= 1u << static_cast<UINT32>(witness);
}

Witness WitnessOf(NumberKind kind) {
  constexpr Witness kWitnesses[kNumberKinds] = {Witness::kPpin, Witness::kUuid, Witness::kSerial,
                                                Witness::kPart};
  return kWitnesses[static_cast<UINTN>(kind)];
}

Verdict FirstOf(const Verdicts& rows) {
  for (UINTN i = 0; i < kVerdictCount; i++) {
    if (rows.Has(static_cast<Verdict>(i))) {
      return static_cast<Verdict>(i);
    }
  }
  return Verdict::kSame;
}

}  // namespace

Comparison::~Comparison() {
  mFindings.Free();
  mChanges.Free();
}

bool Comparison::Run(const Snapshot& before, const Snapshot& after, const DriverQuestion& driver) {
  // The first version of a state does not tell.
  const bool isTold = before.NamingRules != kNamingRulesUnknown;
  mOptionsAfter = after.Options;
  mOptionsBefore = isTold ? before.Options : after.Options;
  if (HasOtherOptions()) {
    return true;
  }
  mHasTables = !before.Table.Structures.Empty() && !after.Table.Structures.Empty();
  return mBefore.Collect(before, mHasTables) && mAfter.Collect(after, mHasTables) &&
         mMatching.Find(mBefore, mAfter) && FindAll(driver) && FindFirmwareUpdate();
}

bool Comparison::FindAll(const DriverQuestion& driver) {
  for (UINT32 i = 0; i < mAfter.Size(); i++) {
    if (!JudgeDevice(i, driver)) {
      return false;
    }
  }
  return JudgeGone();
}

bool Comparison::Add(Finding& finding) {
  finding.What = FirstOf(finding.Rows);
  mCounts[static_cast<UINTN>(finding.What)]++;
  return mFindings.Append(finding);
}

bool Comparison::JudgeDevice(UINT32 after, const DriverQuestion& driver) {
  const ComparedDevice& device = mAfter[after];
  Finding finding = {};
  finding.Kind = device.Kind;
  finding.Before = mMatching.Places().BeforeOf(after);
  finding.After = after;
  finding.MovedFrom = kNone;
  finding.FirstChange = static_cast<UINT32>(mChanges.Size());
  if (finding.Before != kNone && !CompareInPlace(finding, driver)) {
    return false;
  }
  if (!CompareMoved(finding)) {
    return false;
  }
  if (finding.Before == kNone && finding.MovedFrom == kNone) {
    finding.Rows.Add(Verdict::kNew);
  }
  if (!HasRecord(device)) {
    finding.Rows.Add(Verdict::kNoRecord);
    finding.WasSoBefore = finding.Before != kNone && !HasRecord(mBefore[finding.Before]);
  }
  if (finding.Rows.Empty() && !device.ShowsReplacement()) {
    finding.Rows.Add(Verdict::kCannotTell);
  }
  return Add(finding);
}

/// Compares the device with the one that was in its place.
bool Comparison::CompareInPlace(Finding& finding, const DriverQuestion& driver) {
  Verify(finding, driver);
  if (!CompareFields(finding.Before, finding.After, finding) ||
      !CompareNumbers(finding.Before, finding.After, finding) ||
      (finding.Kind == DeviceKind::kSystem && mHasTables && !CompareParts(finding))) {
    return false;
  }
  if (finding.Why != Obstacle::kNone) {
    DecideByNumbers(finding);
  }
  finding.IsSamePart = finding.IsSamePart && finding.Witnesses == 0;
  if (finding.Witnesses != 0) {
    finding.Rows.Add(Verdict::kReplaced);
  }
  NoteChanges(finding);
  return true;
}

/// Where the driver cannot compare, the numbers do that it would look at.
void Comparison::DecideByNumbers(Finding& finding) {
  const ComparedDevice& after = mAfter[finding.After];
  const Text then = mBefore[finding.Before].Own[NumberKind::kPart];
  const Text now = after.Own[NumberKind::kPart];
  const bool isUsable = IsUsableNumber(then) && IsUsableNumber(now);
  if (isUsable && CompareTexts(then, now) != 0) {
    AddWitness(Witness::kPart, finding);
  }
  finding.IsByNumbers = isUsable || finding.IsSamePart || finding.Witnesses != 0;
  if (!finding.IsByNumbers && HasRecord(after)) {
    finding.Rows.Add(Verdict::kNotVerified);
  }
}

/// Ends the list of the device's changes. Where the fields are not known, something is another one
/// all the same.
void Comparison::NoteChanges(Finding& finding) {
  finding.ChangeCount = static_cast<UINT32>(mChanges.Size()) - finding.FirstChange;
  const bool isUnknown =
      finding.FieldsWhy != Obstacle::kNone && !finding.Rows.Has(Verdict::kNotVerified);
  if (finding.ChangeCount != 0 || isUnknown) {
    finding.Rows.Add(Verdict::kChanged);
  }
}

/// Has the driver say whether the part was replaced, unless nothing at all is other than it was.
void Comparison::Verify(Finding& finding, const DriverQuestion& driver) {
  if (finding.Kind == DeviceKind::kHbm) {
    return;
  }
  const tvq::Span<const UINT8> saved = BlobsOf(mBefore[finding.Before]);
  const tvq::Span<const UINT8> now = BlobsOf(mAfter[finding.After]);
  if (saved.Empty() || now.Empty()) {
    finding.Why = now.Empty() ? Obstacle::kNoBlobs : Obstacle::kNotSaved;
    finding.WasSoBefore = saved.Empty() && now.Empty();
    return;
  }
  if (AreEqual(saved, now)) {
    return;
  }
  if (driver.Ask == nullptr) {
    finding.Why = Obstacle::kNoDriver;
    return;
  }
  bool isReplaced = false;
  finding.Status = driver.Ask(driver.Context, finding.After, saved, isReplaced);
  if (EFI_ERROR(finding.Status)) {
    Explain(saved, finding);
  } else if (isReplaced) {
    AddWitness(Witness::kDriver, finding);
  }
}

/// Why the driver could not compare.
void Comparison::Explain(tvq::Span<const UINT8> saved, Finding& finding) {
  Document document;
  Unreadable why = document.Read(saved);
  const bool isOfDocument = why == Unreadable::kNoDocument || why == Unreadable::kNotWellFormed;
  finding.WasSoBefore = isOfDocument && document.Read(BlobsOf(mAfter[finding.After])) == why;
  if (why == Unreadable::kNot && finding.Status == EFI_UNSUPPORTED) {
    why = Unreadable::kOtherLayout;
  }
  finding.WhyInWords = why;
  finding.Why = why == Unreadable::kNot ? Obstacle::kDriverError : Obstacle::kSaved;
}

/// The values of the two documents that differ. Where one of them cannot be read, that is all that
/// can be said.
bool Comparison::CompareFields(UINT32 before, UINT32 after, Finding& finding) {
  const tvq::Span<const UINT8> saved = BlobsOf(mBefore[before]);
  const tvq::Span<const UINT8> now = BlobsOf(mAfter[after]);
  if (saved.Empty() || now.Empty() || AreEqual(saved, now)) {
    return true;
  }
  OwnedArray<FieldValue> values[2];
  const struct {
    tvq::Span<const UINT8> Blobs;
    const Snapshot& Machine;
    Obstacle IfNot;
  } sides[] = {{saved, mBefore.Machine(), Obstacle::kSaved},
               {now, mAfter.Machine(), Obstacle::kCurrent}};
  for (UINTN i = 0; i < ARRAY_SIZE(sides); i++) {
    Document document;
    const Unreadable why = document.Read(sides[i].Blobs);
    if (why != Unreadable::kNot) {
      finding.FieldsWhy = sides[i].IfNot;
      finding.FieldsWhyInWords = why;
      return true;
    }
    if (!document.Collect(HasSwappedUuids(sides[i].Machine), mTexts, values[i])) {
      return false;
    }
  }
  return AppendChanges(values[0], values[1], mTexts, mChanges);
}

bool Comparison::CompareNumbers(UINT32 before, UINT32 after, Finding& finding) {
  constexpr NumberKind kKinds[] = {NumberKind::kPpin, NumberKind::kUuid, NumberKind::kSerial};
  for (const NumberKind kind : kKinds) {
    if (!CompareNumber(kind, mBefore[before], mAfter[after], finding)) {
      return false;
    }
  }
  return true;
}

bool Comparison::CompareNumber(NumberKind kind, const ComparedDevice& before,
                               const ComparedDevice& after, Finding& finding) {
  const Text then = before.Own[kind];
  const Text now = after.Own[kind];
  const bool isUsable = IsUsable(kind, then) && IsUsable(kind, now);
  if (CompareTexts(then, now) == 0) {
    finding.IsSamePart = finding.IsSamePart || (before.IsToldBy(kind) && after.IsToldBy(kind));
    return true;
  }
  if (isUsable) {
    AddWitness(WitnessOf(kind), finding);
  }
  if (kind != NumberKind::kUuid) {
    return AddNumberChange(NameOf(kind), then, now, finding);
  }
  CHAR8 thenText[kUuidText] = {};
  CHAR8 nowText[kUuidText] = {};
  if (then) {
    PrintUuid(then.Data(), HasSwappedUuids(mBefore.Machine()), thenText);
  }
  if (now) {
    PrintUuid(now.Data(), HasSwappedUuids(mAfter.Machine()), nowText);
  }
  return AddChange(NameOf(kind), then ? thenText : nullptr, now ? nowText : nullptr, finding);
}

/// Board, chassis and power supplies are parts of the system.
bool Comparison::CompareParts(Finding& finding) {
  PartsOfSystem parts;
  if (!parts.Compare(mBefore.Machine().Table.Structures, mAfter.Machine().Table.Structures)) {
    return false;
  }
  for (const PartChange& change : parts.Changes()) {
    if (change.IsReplaced) {
      AddWitness(change.Who, finding);
    }
    finding.HasOtherParts = finding.HasOtherParts || change.IsOneSided;
    if (!AddNumberChange(change.Path, change.Before, change.After, finding)) {
      return false;
    }
  }
  return true;
}

/// Whether the device was elsewhere. Then it is compared with itself, not with what it is in the
/// place of.
bool Comparison::CompareMoved(Finding& finding) {
  const UINT32 former = mMatching.Numbers().BeforeOf(finding.After);
  const bool wouldBeSame = finding.Before != kNone && !finding.Rows.Has(Verdict::kReplaced) &&
                           !finding.Rows.Has(Verdict::kNotVerified);
  if (mMatching.AreRulesOthers() || former == kNone || wouldBeSame ||
      tvqplatform::Compare(&mBefore[former].Name[0], &mAfter[finding.After].Name[0]) == 0) {
    return true;
  }
  finding.MovedFrom = former;
  finding.Rows.Add(Verdict::kMoved);
  finding.IsSamePart = true;
  finding.FieldsWhy = Obstacle::kNone;
  finding.Rows.Remove(Verdict::kChanged);
  mChanges.Shrink(finding.FirstChange);
  if (!CompareFields(former, finding.After, finding)) {
    return false;
  }
  NoteChanges(finding);
  return true;
}

/// What was in a place where nothing is now, or something that was elsewhere, and is not elsewhere
/// itself.
bool Comparison::JudgeGone() {
  OwnedArray<bool> isAccountedFor;
  if (!isAccountedFor.AppendZeroed(mBefore.Size())) {
    return false;
  }
  for (const Finding& finding : mFindings) {
    if (finding.MovedFrom != kNone) {
      isAccountedFor[finding.MovedFrom] = true;
    } else if (finding.Before != kNone) {
      isAccountedFor[finding.Before] = true;
    }
  }
  for (UINT32 i = 0; i < mBefore.Size(); i++) {
    if (isAccountedFor[i]) {
      continue;
    }
    Finding finding = {};
    finding.Kind = mBefore[i].Kind;
    finding.Before = i;
    finding.After = kNone;
    finding.MovedFrom = kNone;
    finding.Rows.Add(Verdict::kGone);
    if (!Add(finding)) {
      return false;
    }
  }
  return true;
}

bool Comparison::AddNumberChange(const CHAR8* path, Text before, Text after, Finding& finding) {
  const UINT32 texts[] = {before ? mTexts.Add(before) : kNone, after ? mTexts.Add(after) : kNone};
  if ((before && texts[0] == kNone) || (after && texts[1] == kNone)) {
    return false;
  }
  if (IsListed(finding, texts[0], texts[1])) {
    return true;
  }
  const UINT32 name = mTexts.Add(path);
  return name != kNone && mChanges.Append({name, texts[0], texts[1]});
}

bool Comparison::AddChange(const CHAR8* path, const CHAR8* before, const CHAR8* after,
                           Finding& finding) {
  return AddNumberChange(path, before == nullptr ? Text() : TextOf(before),
                         after == nullptr ? Text() : TextOf(after), finding);
}

/// Whether one of the document's values changed in the same way: then it is the same number. Among
/// more than a machine has, nobody looks for it.
bool Comparison::IsListed(const Finding& finding, UINT32 before, UINT32 after) const {
  constexpr UINTN kMostChanges = 1024;
  if (before == kNone || after == kNone || mChanges.Size() - finding.FirstChange > kMostChanges) {
    return false;
  }
  for (UINTN i = finding.FirstChange; i < mChanges.Size(); i++) {
    const FieldChange& change = mChanges[i];
    if (change.Before != kNone && change.After != kNone &&
        tvqplatform::Compare<CHAR8>(TextAt(change.Before), TextAt(before)) == 0 &&
        tvqplatform::Compare<CHAR8>(TextAt(change.After), TextAt(after)) == 0) {
      return true;
    }
  }
  return false;
}

/// From the tables; where one of them was not kept, from what the system's documents say.
bool Comparison::FindFirmwareUpdate() {
  if (mHasTables) {
    const Text before = FirmwareVersion(mBefore.Machine());
    const Text after = FirmwareVersion(mAfter.Machine());
    if (!before || !after || CompareTexts(before, after) == 0) {
      return true;
    }
    mFirmwareBefore = mTexts.Add(before);
    mFirmwareAfter = mTexts.Add(after);
    return mFirmwareBefore != kNone && mFirmwareAfter != kNone;
  }
  for (const FieldChange& change : mChanges) {
    if (tvqplatform::Compare<CHAR8>(TextAt(change.Path), "Configuration/BIOSData/BIOSVersion") ==
        0) {
      mFirmwareBefore = change.Before;
      mFirmwareAfter = change.After;
    }
  }
  return true;
}

bool Comparison::IsOfFirmwareUpdate(const Finding& finding) const {
  const bool isKnown = finding.IsSamePart || finding.Kind == DeviceKind::kSystem;
  return HasOtherFirmware() && isKnown && !finding.HasOtherParts &&
         finding.FieldsWhy == Obstacle::kNone;
}

ExitStatus Comparison::ExitOf(const Finding& finding) const {
  constexpr Verdict kFindings[] = {Verdict::kMoved, Verdict::kNew, Verdict::kGone,
                                   Verdict::kReplaced};
  for (const Verdict verdict : kFindings) {
    if (finding.Rows.Has(verdict)) {
      return ExitStatus::kFound;
    }
  }
  if (finding.Rows.Has(Verdict::kChanged) && !IsOfFirmwareUpdate(finding)) {
    return ExitStatus::kFound;
  }
  const bool isTrouble =
      finding.Rows.Has(Verdict::kNoRecord) || finding.Rows.Has(Verdict::kNotVerified);
  return isTrouble && !finding.WasSoBefore ? ExitStatus::kTrouble : ExitStatus::kNothingFound;
}

ExitStatus Comparison::Exit() const {
  ExitStatus exit = HasOtherOptions() ? ExitStatus::kTrouble : ExitStatus::kNothingFound;
  for (const Finding& finding : mFindings) {
    const ExitStatus status = ExitOf(finding);
    if (status == ExitStatus::kFound) {
      return status;
    }
    if (status == ExitStatus::kTrouble) {
      exit = status;
    }
  }
  return exit;
}

}  // namespace tvqplatform
