/** @file
  The saved state: what the agent keeps of every device from one boot to the next.

  One file holds all devices, with a checksum over everything, so that it is either whole or not
  there. The same format is used in firmware and on Linux. All fields are little-endian.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_STATE_H_
#define TVQ_PLATFORM_AGENT_STATE_H_

#include <TvqCpp.h>

#include "../growing_array.h"
#include "../states/state_format.h"
#include "inventory.h"

namespace tvqplatform {

/// Longest FQDD that a device-list entry returns, and a terminator.
inline constexpr UINTN kStateFqddSize = kSnapshotFqddSize;

/// One device of a saved state. Data stands in the file's bytes.
struct SavedDevice {
  CHAR16 Fqdd[kStateFqddSize];  ///< Empty for a device that had none.
  UINT32 ComponentClass;
  tvq::Span<const UINT8> Data;
};

/// A state that was read. It refers to the file's bytes, which have to stay.
class SavedState {
 public:
  SavedState() = default;
  SavedState(const SavedState&) = delete;
  SavedState& operator=(const SavedState&) = delete;
  ~SavedState();

  /**
    Reads a file.

    @retval EFI_SUCCESS               All devices are there.
    @retval EFI_VOLUME_CORRUPTED      The file is cut, damaged or something else.
    @retval EFI_INCOMPATIBLE_VERSION  Another version of the agent wrote it.
    @retval EFI_OUT_OF_RESOURCES      There is no memory.
  **/
  [[nodiscard]] EFI_STATUS Read(tvq::Span<const UINT8> file);
  /// The devices of a snapshot, which has to stay. False: there is no memory.
  [[nodiscard]] bool Take(const Snapshot& snapshot);

  UINT64 Generation() const { return mState.Generation; }
  UINTN Size() const { return mDevices.Size(); }
  const SavedDevice& operator[](UINTN i) const { return mDevices[i]; }

 private:
  StoredState mState;
  GrowingArray<SavedDevice> mDevices;
};

}  // namespace tvqplatform

#endif
