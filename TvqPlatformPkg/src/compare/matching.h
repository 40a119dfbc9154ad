/** @file
  Which device of one machine is which of another.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_MATCHING_H_
#define TVQ_PLATFORM_COMPARE_MATCHING_H_

#include "pairs.h"
#include "side.h"

namespace tvqplatform {

class Matching {
 public:
  /// Names the devices of both sides alike where that is needed. False: there is no memory.
  [[nodiscard]] bool Find(Side& before, Side& after);

  /// What was in the device's place, and is there now.
  const Pairs& Places() const { return mPlaces; }
  /// The device with the same usable number. Deliberate: a number that a second device of the kind has
  /// on either side is not followed.
  const Pairs& Numbers() const { return mNumbers; }

  /// The names are of other rules, so that a number in another place is no move.
  bool AreRulesOthers() const { return mAreRulesOthers; }
  /// ... and at least one device has another name for it.
  bool AreNamesOthers() const { return mAreNamesOthers; }

 private:
  [[nodiscard]] bool PairByNumber(Side& before, Side& after, NumberKind kind);
  [[nodiscard]] bool PairByName(const Side& before, const Side& after);
  [[nodiscard]] bool PairInOrder(const Side& before, const Side& after);
  [[nodiscard]] bool PairUnderOtherRules(Side& before, Side& after);

  Pairs mPlaces;
  Pairs mNumbers;
  bool mAreRulesOthers = false;
  bool mAreNamesOthers = false;
};

}  // namespace tvqplatform

#endif
