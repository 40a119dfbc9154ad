/** @file
  A saved state in which some devices are as they are now.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_ACCEPTED_DEVICES_H_
#define TVQ_PLATFORM_STATES_ACCEPTED_DEVICES_H_

#include "snapshot.h"

namespace tvqplatform {

enum class AcceptResult : UINT8 {
  kAccepted,
  kNoMemory,
  kNoSuchDevice,
  kSeveral,     ///< Several devices have this label; their FQDDs tell them apart.
  kOtherNames,  ///< The state was saved under other names.
  kNoTable,     ///< Of a state of version 1 only all devices can be accepted.
  kTooLarge,    ///< The table would be longer than a state takes.
};

/// The rest of a sentence about the name.
const CHAR8* AcceptResultText(AcceptResult result);

/// Takes devices over one by one, with their structures in the table: everything else stays as it
/// was saved. A device that is gone goes.
class AcceptedDevices {
 public:
  AcceptedDevices() = default;
  AcceptedDevices(const AcceptedDevices&) = delete;
  AcceptedDevices& operator=(const AcceptedDevices&) = delete;
  ~AcceptedDevices();

  /// Begins with what was saved. Both have to stay.
  [[nodiscard]] AcceptResult Begin(const Snapshot& saved, const Snapshot& now);

  /// `name` is an FQDD or a label of the saved state's table or of today's.
  [[nodiscard]] AcceptResult Accept(const CHAR8* name);

  const Snapshot& Get() const { return mMerged; }

 private:
  [[nodiscard]] AcceptResult Replace(const CHAR16* fqdd);
  /// Puts the structure of today's device in place of the saved one's; either may be missing.
  [[nodiscard]] AcceptResult TakeStructure(UINT16 before, UINT16& after);
  /// Puts what today's table says of the system as a whole in place of what the saved one did.
  [[nodiscard]] AcceptResult TakeSystem(UINT16& handle);
  [[nodiscard]] AcceptResult Insert(UINTN at, const smbios::Structure& structure, UINT16& handle);
  Bytes Table() const { return {mTable.Data(), mTable.Size()}; }

  const Snapshot* mSaved = nullptr;
  const Snapshot* mNow = nullptr;
  Snapshot mMerged;
  GrowingArray<UINT8> mTable;
};

}  // namespace tvqplatform

#endif
