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
  OwnedArray<UINT8> bytes;
  const UINT64 generation = mHasState ? mState.Generation() + 1 : 1;
  if (!WriteState(inventory, generation, bytes)) {
    return EFI_OUT_OF_RESOURCES;
  }
  const UINTN file = mHasState ? 1 - mCurrentFile : 0;
  EFI_STATUS status = mVolume.Write(tvq::Ucs2(kPaths[file]), {bytes.Data(), bytes.Size()});
  if (EFI_ERROR(status)) {
    return status;
  }
  OwnedArray<UINT8> written;
  status = mVolume.Read(tvq::Ucs2(kPaths[file]), kMaximumStateFile, written);
  if (EFI_ERROR(status)) {
    return status;
  }
  return written.Size() == bytes.Size() &&
                 CompareMem(written.Data(), bytes.Data(), bytes.Size()) == 0
             ? EFI_SUCCESS
             : EFI_DEVICE_ERROR;
}

}  // namespace tvqplatform
