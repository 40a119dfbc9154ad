/** @file
  What stands on two sides, two by two.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_PAIRS_H_
#define TVQ_PLATFORM_COMPARE_PAIRS_H_

#include "groups.h"

namespace tvqplatform {

/// An element before and one after that belong together, both ways; kNone where there is none.
class Pairs {
 public:
  /// False: there is no memory.
  [[nodiscard]] bool Prepare(UINTN befores, UINTN afters) {
    return FillWithNone(mBefores, afters) && FillWithNone(mAfters, befores);
  }

  /// Unless one of the two has another one already.
  void Join(UINT32 before, UINT32 after) {
    if (mAfters[before] == kNone && mBefores[after] == kNone) {
      mAfters[before] = after;
      mBefores[after] = before;
    }
  }

  /// Of equal elements, the n-th with the n-th.
  void JoinInOrder(Elements befores, Elements afters) {
    for (UINTN i = 0; i < befores.Size() && i < afters.Size(); i++) {
      Join(befores[i].Index, afters[i].Index);
    }
  }

  UINT32 BeforeOf(UINTN after) const { return mBefores[after]; }
  UINT32 AfterOf(UINTN before) const { return mAfters[before]; }

 private:
  [[nodiscard]] static bool FillWithNone(GrowingArray<UINT32>& array, UINTN size) {
    if (!array.AppendZeroed(size)) {
      return false;
    }
    for (UINT32& element : array) {
      element = kNone;
    }
    return true;
  }

  OwnedArray<UINT32> mBefores;
  OwnedArray<UINT32> mAfters;
};

}  // namespace tvqplatform

#endif
