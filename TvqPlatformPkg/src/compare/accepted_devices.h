/** @file
  A saved state in which some devices are as they are now.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_ACCEPTED_DEVICES_H_
#define TVQ_PLATFORM_COMPARE_ACCEPTED_DEVICES_H_

#include "matching.h"

namespace tvqplatform {

enum class AcceptResult : UINT8 {
  kAccepted,
  kNoMemory,
  kNoSuchDevice,
  kSeveral,       ///< Several devices have this label; their FQDDs tell them apart.
  kOtherNames,    ///< The state was saved under other names.
  kOtherOptions,  ///< ... or with other options.
  kNoTable,       ///< Of a state of version 1 only all devices can be accepted.
  kTooLarge,      ///< The table would be longer than a state takes.
};

/// The rest of a sentence about the name.
const CHAR8* AcceptResultText(AcceptResult result);

/// Takes devices over one by one, with their structures in the table: everything else stays as it
/// was saved. A device that is gone goes. One that moved is taken over where it was as well, with
/// what is there now.
class AcceptedDevices {
 public:
  AcceptedDevices();
  AcceptedDevices(const AcceptedDevices&) = delete;
  AcceptedDevices& operator=(const AcceptedDevices&) = delete;
  ~AcceptedDevices();

  /// Begins with what was saved. Both have to stay.
  [[nodiscard]] AcceptResult Begin(const Snapshot& saved, const Snapshot& now);

  /// `name` is an FQDD or a label of the saved state's table or of today's.
  [[nodiscard]] AcceptResult Accept(const CHAR8* name);

  const Snapshot& Get() const { return mMerged; }

 private:
  /// What was in a place, and what is there now; kNone where there is nothing.
  struct Place {
    UINT32 Before;
    UINT32 After;
  };
  class NameSearch;
  class Handles;

  Place PlaceOf(UINT32 device, bool isAfter) const;
  [[nodiscard]] AcceptResult TakeOver(const Place& place);
  /// The places of what was here and of what is here now, where those are others.
  [[nodiscard]] bool AppendOtherEnds(const Place& place, GrowingArray<Place>& places) const;
  [[nodiscard]] AcceptResult TakeDevice(const Place& place, UINT16 handle);
  /// Puts today's structure of the place in the room of the saved one. Either may be missing: then
  /// the structure of the empty slot takes its part.
  [[nodiscard]] AcceptResult TakeStructure(const Place& place, UINT16& handle);
  /// Puts what today's table says of the system as a whole in place of what the saved one did. `system`
  /// is its own structure there, and `handle` becomes the one that it has then.
  [[nodiscard]] AcceptResult TakeSystem(const smbios::Structure& system, UINT16& handle);
  [[nodiscard]] AcceptResult Insert(UINTN at, const smbios::Structure& structure, Handles& taken,
                                    UINT16& handle);
  Bytes Table() const { return {mTable.Data(), mTable.Size()}; }

  const Snapshot* mNow = nullptr;
  Side mBefore;
  Side mAfter;
  Matching mMatching;
  Snapshot mMerged;
  GrowingArray<UINT8> mTable;
  OwnedArray<UINT32>
      mMergedOf;  ///< Of each saved device that is left, where it is in the merged list.
  OwnedArray<bool> mIsTaken;  ///< The places by what is there now, then by what was there.
};

}  // namespace tvqplatform

#endif
