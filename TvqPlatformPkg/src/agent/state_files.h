/** @file
  The saved states of one machine: files in a folder of their own, the newest of which counts.

  A new state is a file of its own, with the next number, and is read back. Its end is written when all
  in front of it is on the volume, so that a save that was cut off shows, and the state before it
  counts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_STATE_FILES_H_
#define TVQ_PLATFORM_AGENT_STATE_FILES_H_

#include "../states/state_format.h"
#include "volume.h"

namespace tvqplatform {

/// Room for a path of the agent's.
/// Room for a state in any folder that a volume lists.
inline constexpr UINTN kPathSize = 96;

/// How many states stay where nobody says otherwise.
inline constexpr UINTN kKeptStates = 10;

/// A newer file than the state that counts, which is none.
struct SkippedState {
  UINT32 Number;
  StateDefect Defect;
  EFI_STATUS Status;  ///< Where it could not be read at all.
};

enum class SaveResult : UINT8 {
  kSaved,
  kUnchanged,  ///< The state that is there says the same.
  kFailed,
};

class StateFiles {
 public:
  /// `folder` need not be there.
  StateFiles(const Volume& volume, const CHAR16* folder);
  StateFiles(const StateFiles&) = delete;
  StateFiles& operator=(const StateFiles&) = delete;
  ~StateFiles();

  /**
    Reads the newest state that is whole.

    @retval EFI_SUCCESS     Current() is it.
    @retval EFI_NOT_FOUND   There is none; Skipped() says whether there are files that are none.
    @retval Others          The folder cannot be read, or there is no memory.
  **/
  [[nodiscard]] EFI_STATUS Load();
  /// The same of the two files that version 1 had.
  [[nodiscard]] EFI_STATUS LoadFirstVersion();

  bool HasState() const { return mHasState; }
  const StoredState& Current() const { return mState; }
  const GrowingArray<SkippedState>& Skipped() const { return mSkipped; }
  /// Whether no state was ever saved, or the first one was cut off.
  bool IsFirst() const;

  /// The path of the file with this number, or of the current state.
  void PathOf(UINT32 number, CHAR16 (&path)[kPathSize]) const;
  void CurrentPath(CHAR16 (&path)[kPathSize]) const;

  /// Saves a state beside those that are there, reads it back, and removes all but the newest
  /// `kept`. `status` says why it failed.
  [[nodiscard]] SaveResult Save(const Snapshot& snapshot, UINTN kept, EFI_STATUS& status);

 private:
  [[nodiscard]] EFI_STATUS ReadNumbers();
  [[nodiscard]] bool NextBelow(UINT32 limit, UINT32& number) const;
  [[nodiscard]] EFI_STATUS LoadNumber(UINT32 number);
  [[nodiscard]] EFI_STATUS LoadFirstVersion(const CHAR16* path);
  [[nodiscard]] EFI_STATUS Skip(UINT32 number, StateDefect defect, EFI_STATUS status);
  [[nodiscard]] bool IsUnchanged(const Snapshot& snapshot) const;
  [[nodiscard]] EFI_STATUS WriteAndReadBack(const CHAR16* path, Bytes file) const;
  void RemoveOld(UINTN kept) const;

  const Volume& mVolume;
  CHAR16 mFolder[kPathSize];
  GrowingArray<UINT32> mNumbers;
  GrowingArray<SkippedState> mSkipped;
  GrowingArray<UINT8> mBytes;  ///< What mState refers to.
  StoredState mState;
  UINT32 mCurrent = 0;  ///< 0 for a state of version 1.
  CHAR16 mFirstVersionPath[kPathSize] = {};
  bool mHasState = false;
};

}  // namespace tvqplatform

#endif
