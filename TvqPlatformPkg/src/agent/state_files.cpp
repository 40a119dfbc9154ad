/** @file
  The saved state on the boot volume.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state_files.h"

namespace tvqplatform {

namespace {

constexpr const char16_t* kPaths[] = {u"\\TVQ\\state-a.bin", u"\\TVQ\\state-b.bin"};

/// Far more than the largest machine needs.
constexpr UINTN kMaximumStateFile = SIZE_16MB;

}  // namespace

StateFiles::~StateFiles() {
  mBytes.Free();
}

/// Takes the file's state in place of the current one when it is newer.
EFI_STATUS StateFiles::LoadFile(UINTN file) {
  OwnedArray<UINT8> bytes;
  EFI_STATUS status = mVolume.Read(tvq::Ucs2(kPaths[file]), kMaximumStateFile, bytes);
  if (EFI_ERROR(status)) {
    return status;
  }
  SavedState candidate;
  status = candidate.Read({bytes.Data(), bytes.Size()});
  if (EFI_ERROR(status)) {
    return status;
  }
  if (mHasState && candidate.Generation() <= mState.Generation()) {
    return EFI_SUCCESS;
  }
  mBytes.Free();
  if (!mBytes.Append(bytes.Data(), bytes.Size())) {
    mHasState = false;
    return EFI_OUT_OF_RESOURCES;
  }
  mCurrentFile = file;
  mHasState = true;
  return mState.Read({mBytes.Data(), mBytes.Size()});
}

EFI_STATUS StateFiles::Load() {
  EFI_STATUS worst = EFI_NOT_FOUND;
  for (UINTN file = 0; file < ARRAY_SIZE(kPaths); file++) {
    const EFI_STATUS status = LoadFile(file);
    if (EFI_ERROR(status) && status != EFI_NOT_FOUND) {
      worst = status;
    }
  }
  return mHasState ? EFI_SUCCESS : worst;
}

EFI_STATUS StateFiles::Save(const Inventory& inventory) {
  StateBytes state;
  if (!state.Write(inventory, mHasState ? mState.Generation() + 1 : 1)) {
    return EFI_OUT_OF_RESOURCES;
  }
  const CHAR16* path = tvq::Ucs2(kPaths[mHasState ? 1 - mCurrentFile : 0]);
  EFI_STATUS status = mVolume.Write(path, state.Bytes());
  if (EFI_ERROR(status)) {
    return status;
  }
  OwnedArray<UINT8> written;
  status = mVolume.Read(path, kMaximumStateFile, written);
  if (EFI_ERROR(status)) {
    return status;
  }
  const bool isWhole = written.Size() == state.Bytes().Size() &&
                       CompareMem(written.Data(), state.Bytes().Data(), written.Size()) == 0;
  return isWhole ? EFI_SUCCESS : EFI_DEVICE_ERROR;
}

}  // namespace tvqplatform
