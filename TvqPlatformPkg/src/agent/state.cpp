/** @file
  The saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state.h"

namespace tvqplatform {

namespace {

EFI_STATUS StatusOf(StateDefect defect) {
  switch (defect) {
    case StateDefect::kNone:
      return EFI_SUCCESS;
    case StateDefect::kNoMemory:
      return EFI_OUT_OF_RESOURCES;
    case StateDefect::kNewer:
      return EFI_INCOMPATIBLE_VERSION;
    default:
      return EFI_VOLUME_CORRUPTED;
  }
}

}  // namespace

SavedState::~SavedState() {
  mDevices.Free();
}

bool SavedState::Take(const Snapshot& snapshot) {
  mDevices.Free();
  for (const SnapshotDevice& device : snapshot.Devices) {
    if (device.Why != WhyNoRecord::kHasRecord) {
      continue;
    }
    SavedDevice saved = {{}, device.ComponentClass, device.Blobs};
    CopyMem(saved.Fqdd, device.Fqdd, sizeof(saved.Fqdd));
    if (!mDevices.Append(saved)) {
      return false;
    }
  }
  return true;
}

EFI_STATUS SavedState::Read(tvq::Span<const UINT8> file) {
  const StateDefect defect = ReadState(file, mState);
  return Take(mState.Content) ? StatusOf(defect) : EFI_OUT_OF_RESOURCES;
}

}  // namespace tvqplatform
