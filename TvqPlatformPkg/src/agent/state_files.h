/** @file
  The saved state on the boot volume.

  Two files take turns: a new state is written to the one that does not hold the current state, and
  read back. So a power cut at any moment leaves one state whole.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_STATE_FILES_H_
#define TVQ_PLATFORM_AGENT_STATE_FILES_H_

#include "state.h"
#include "volume.h"

namespace tvqplatform {

class StateFiles {
 public:
  explicit StateFiles(const Volume& volume) : mVolume(volume) {}
  StateFiles(const StateFiles&) = delete;
  StateFiles& operator=(const StateFiles&) = delete;
  ~StateFiles();

  /**
    Reads the newest state that is whole.

    @retval EFI_SUCCESS     Current() is it.
    @retval EFI_NOT_FOUND   No state was ever saved.
    @retval Others          What is wrong with the files that are there.
  **/
  [[nodiscard]] EFI_STATUS Load();

  const SavedState& Current() const { return mState; }

  /// Saves the state of all devices beside the current one, and reads it back.
  [[nodiscard]] EFI_STATUS Save(const Inventory& inventory);

 private:
  [[nodiscard]] EFI_STATUS LoadFile(UINTN file);

  const Volume& mVolume;
  GrowingArray<UINT8> mBytes;  ///< What mState refers to.
  SavedState mState;
  UINTN mCurrentFile = 0;
  bool mHasState = false;
};

}  // namespace tvqplatform

#endif
