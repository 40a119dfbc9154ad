/** @file
  Compares the devices of this boot with a saved state.

  The driver itself says whether a device was replaced. What its one bit cannot say, a device that
  is new, gone, or in another slot, is found here.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_COMPARISON_H_
#define TVQ_PLATFORM_AGENT_COMPARISON_H_

#include "state.h"

namespace tvqplatform {

enum class Verdict {
  kSame,
  kReplaced,
  kNew,          ///< No device had this FQDD.
  kMoved,        ///< A device with this serial number had another FQDD.
  kGone,         ///< No device has the saved one's FQDD or serial number any more.
  kNotVerified,  ///< The driver could not compare.
};

inline constexpr UINTN kVerdictCount = 6;

/// "same", "replaced", ...
const CHAR8* VerdictInWords(Verdict verdict);

/// What became of one device.
struct Finding {
  Verdict What;
  const DeviceInventory* Current;  ///< Null for a device that is gone.
  const SavedDevice* Saved;        ///< Of the same FQDD; null for a new device.
  const SavedDevice* MovedFrom;    ///< Where the device was; null unless it moved.
  EFI_STATUS Status;               ///< What Verify returned.
  const CHAR8* Reason;             ///< Why it was not verified; a literal, or null.
};

/// The devices of this boot in their order, then those that are gone.
class Comparison {
 public:
  Comparison() = default;
  Comparison(const Comparison&) = delete;
  Comparison& operator=(const Comparison&) = delete;
  ~Comparison();

  /// Verifies every device. The inventory and the state have to stay while the findings are used.
  /// EFI_OUT_OF_RESOURCES: not every finding could be kept.
  [[nodiscard]] EFI_STATUS Run(const Inventory& inventory, const SavedState& saved);

  UINTN Size() const { return mFindings.Size(); }
  const Finding& operator[](UINTN i) const { return mFindings[i]; }
  UINTN Count(Verdict verdict) const;

  /// Something is other than it was, as far as could be told.
  bool FoundSomething() const;
  /// Something could not be told.
  bool FoundTrouble() const { return Count(Verdict::kNotVerified) != 0; }

 private:
  GrowingArray<Finding> mFindings;
};

/// True for a serial number that tells two devices apart: it is not empty, has more than one kind
/// of character and is none of the usual placeholders.
bool IsUsableSerial(const CHAR8* serial);

}  // namespace tvqplatform

#endif
