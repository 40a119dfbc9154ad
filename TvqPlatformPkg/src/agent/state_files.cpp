/** @file
  The saved states of one machine.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state_files.h"

#include "../text.h"
#include "messages.h"

namespace tvqplatform {

namespace {

constexpr CHAR8 kPrefix[] = "state-";
constexpr CHAR8 kSuffix[] = ".bin";
/// Numbers have at most nine digits.
constexpr UINT32 kNumberLimit = 1000000000;

constexpr const char16_t* kFirstVersionPaths[] = {TVQ_FILE(u"state-a.bin"),
                                                  TVQ_FILE(u"state-b.bin")};

/// Takes an ASCII text off the front, whatever its capitals.
[[nodiscard]] bool TakePrefix(const CHAR16*& name, const CHAR8* prefix) {
  const CHAR16* at = name;
  for (; *prefix != '\0'; prefix++, at++) {
    const CHAR16 lower = *at >= 'A' && *at <= 'Z' ? static_cast<CHAR16>(*at + ('a' - 'A')) : *at;
    if (lower != static_cast<CHAR16>(*prefix)) {
      return false;
    }
  }
  name = at;
  return true;
}

/// The number in the name of a state's file; 0 for other files.
UINT32 NumberInName(const CHAR16* name) {
  if (!TakePrefix(name, kPrefix)) {
    return 0;
  }
  UINT32 number = 0;
  for (; *name >= '0' && *name <= '9'; name++) {
    number = number * 10 + (*name - '0');
    if (number >= kNumberLimit) {
      return 0;
    }
  }
  return TakePrefix(name, kSuffix) && *name == 0 ? number : 0;
}

}  // namespace

StateFiles::StateFiles(const Volume& volume, const CHAR16* folder) : mVolume(volume) {
  UnicodeSPrint(mFolder, sizeof(mFolder), tvq::Ucs2(u"%s"), folder);
}

StateFiles::~StateFiles() {
  mNumbers.Free();
  mSkipped.Free();
  mBytes.Free();
}

void StateFiles::PathOf(UINT32 number, CHAR16 (&path)[kPathSize]) const {
  UnicodeSPrint(path, sizeof(path), tvq::Ucs2(u"%s\\%a%d%a"), mFolder, kPrefix, number, kSuffix);
}

void StateFiles::CurrentPath(CHAR16 (&path)[kPathSize]) const {
  if (mCurrent != 0) {
    PathOf(mCurrent, path);
  } else {
    CopyMem(path, mFirstVersionPath, sizeof(path));
  }
}

bool StateFiles::IsFirst() const {
  for (const SkippedState& skipped : mSkipped) {
    if (skipped.Defect != StateDefect::kCutOff) {
      return false;
    }
  }
  return !mHasState;
}

EFI_STATUS StateFiles::ReadNumbers() {
  OwnedArray<VolumeEntry> entries;
  const EFI_STATUS status = mVolume.List(mFolder, entries);
  if (EFI_ERROR(status)) {
    return status;
  }
  for (const VolumeEntry& entry : entries) {
    const UINT32 number = entry.IsFolder ? 0 : NumberInName(entry.Name);
    if (number != 0 && !mNumbers.Append(number)) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  return EFI_SUCCESS;
}

/// The highest number below the limit. False: there is none.
bool StateFiles::NextBelow(UINT32 limit, UINT32& number) const {
  number = 0;
  for (const UINT32 other : mNumbers) {
    number = other < limit && other > number ? other : number;
  }
  return number != 0;
}

EFI_STATUS StateFiles::Skip(UINT32 number, StateDefect defect, EFI_STATUS status) {
  mBytes.Free();
  return mSkipped.Append({number, defect, status}) ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES;
}

/// EFI_SUCCESS also where the file was skipped.
EFI_STATUS StateFiles::LoadNumber(UINT32 number) {
  CHAR16 path[kPathSize];
  PathOf(number, path);
  const EFI_STATUS status = mVolume.Read(path, kMaximumStateSize, mBytes);
  if (status == EFI_OUT_OF_RESOURCES) {
    return status;
  }
  if (EFI_ERROR(status)) {
    return Skip(number, StateDefect::kDamaged, status);
  }
  const Bytes file = {mBytes.Data(), mBytes.Size()};
  const StateDefect defect = ReadState(file, mState);
  if (defect == StateDefect::kNoMemory) {
    return EFI_OUT_OF_RESOURCES;
  }
  mHasState = defect == StateDefect::kNone && mState.Generation == number;
  if (mHasState) {
    mCurrent = number;
    return EFI_SUCCESS;
  }
  // Only the newest one can have been cut off. What is in front of its end may be anything then.
  UINT32 newest;
  const bool isNewest = NextBelow(kNumberLimit, newest) && newest == number;
  const bool isCutOff = isNewest && defect != StateDefect::kNewer && !EndsAsState(file, number);
  return Skip(number,
              isCutOff ? StateDefect::kCutOff
              : defect == StateDefect::kNone || defect == StateDefect::kCutOff
                  ? StateDefect::kDamaged
                  : defect,
              EFI_SUCCESS);
}

EFI_STATUS StateFiles::Load() {
  EFI_STATUS status = ReadNumbers();
  UINT32 number = kNumberLimit;
  while (!EFI_ERROR(status) && !mHasState && NextBelow(number, number)) {
    status = LoadNumber(number);
  }
  return EFI_ERROR(status) ? status : mHasState ? EFI_SUCCESS : EFI_NOT_FOUND;
}

/// Takes the file's state, unless the one that was taken before is as new.
EFI_STATUS StateFiles::LoadFirstVersion(const CHAR16* path) {
  OwnedArray<UINT8> bytes;
  const EFI_STATUS status = mVolume.Read(path, kMaximumStateSize, bytes);
  if (EFI_ERROR(status)) {
    return status;
  }
  StoredState candidate;
  const StateDefect defect = ReadState({bytes.Data(), bytes.Size()}, candidate);
  if (defect != StateDefect::kNone) {
    return defect == StateDefect::kNoMemory ? EFI_OUT_OF_RESOURCES : EFI_VOLUME_CORRUPTED;
  }
  if (mHasState && candidate.Generation <= mState.Generation) {
    return EFI_SUCCESS;
  }
  mBytes.Free();
  if (!mBytes.Append(bytes.Data(), bytes.Size()) ||
      ReadState({mBytes.Data(), mBytes.Size()}, mState) != StateDefect::kNone) {
    return EFI_OUT_OF_RESOURCES;
  }
  mHasState = true;
  UnicodeSPrint(mFirstVersionPath, sizeof(mFirstVersionPath), tvq::Ucs2(u"%s"), path);
  return EFI_SUCCESS;
}

EFI_STATUS StateFiles::LoadFirstVersion() {
  EFI_STATUS worst = EFI_NOT_FOUND;
  for (const char16_t* path : kFirstVersionPaths) {
    const EFI_STATUS status = LoadFirstVersion(tvq::Ucs2(path));
    if (status == EFI_OUT_OF_RESOURCES) {
      mHasState = false;  // The newer one may be what there was no memory for.
      return status;
    }
    worst = EFI_ERROR(status) && status != EFI_NOT_FOUND ? status : worst;
  }
  return mHasState ? EFI_SUCCESS : worst;
}

/// Whether it differs from the current state in nothing but when it was saved, which one of version 1
/// always does. In front of one that cannot be read another one is wanted.
bool StateFiles::IsUnchanged(const Snapshot& snapshot) const {
  EncodedState state;
  if (!mSkipped.Empty() || !state.Write(snapshot, mState.Generation, mState.Content.Time)) {
    return false;
  }
  return state.File().Size() == mBytes.Size() &&
         CompareMem(state.File().Data(), mBytes.Data(), mBytes.Size()) == 0;
}

EFI_STATUS StateFiles::WriteAndReadBack(const CHAR16* path, Bytes file) const {
  const UINTN size = file.Size() - kStateEndSize;
  EFI_STATUS status = mVolume.WriteNew(path, file.First(size), file.From(size));
  if (EFI_ERROR(status)) {
    return status;
  }
  OwnedArray<UINT8> written;
  status = mVolume.Read(path, file.Size(), written);
  if (EFI_ERROR(status)) {
    return status;
  }
  const bool isWhole =
      written.Size() == file.Size() && CompareMem(written.Data(), file.Data(), file.Size()) == 0;
  return isWhole ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

SaveResult StateFiles::Save(const Snapshot& snapshot, UINTN kept, EFI_STATUS& status) {
  status = EFI_SUCCESS;
  if (IsUnchanged(snapshot)) {
    return SaveResult::kUnchanged;
  }
  UINT32 newest;
  (void)NextBelow(kNumberLimit, newest);
  EncodedState state;
  CHAR16 path[kPathSize];
  PathOf(newest + 1, path);
  status = newest + 1 == kNumberLimit ? EFI_VOLUME_FULL : mVolume.MakeFolder(mFolder);
  if (!EFI_ERROR(status)) {
    status = state.Write(snapshot, newest + 1, snapshot.Time) && mNumbers.Reserve(1)
                 ? WriteAndReadBack(path, state.File())
                 : EFI_OUT_OF_RESOURCES;
  }
  if (EFI_ERROR(status)) {
    (void)mVolume.Remove(path);  // What is left of it says itself that it was cut off.
    return SaveResult::kFailed;
  }
  (void)mNumbers.Append(newest + 1);  // There is room.
  RemoveOld(kept);
  return SaveResult::kSaved;
}

/// What cannot be removed stays, and is in nobody's way.
void StateFiles::RemoveOld(UINTN kept) const {
  UINT32 number = kNumberLimit;
  for (UINTN i = 0; NextBelow(number, number); i++) {
    if (i >= kept) {
      CHAR16 path[kPathSize];
      PathOf(number, path);
      (void)mVolume.Remove(path);
    }
  }
}

}  // namespace tvqplatform
