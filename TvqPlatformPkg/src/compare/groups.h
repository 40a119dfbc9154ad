/** @file
  What stands on two sides, put together where it is equal.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_GROUPS_H_
#define TVQ_PLATFORM_COMPARE_GROUPS_H_

#include "../growing_array.h"

namespace tvqplatform {

inline constexpr UINT32 kNone = MAX_UINT32;

/// The i-th element of one side.
struct Element {
  UINT32 Index;
  bool IsAfter;
};

using Elements = tvq::Span<const Element>;

/// Sorts in n log n steps, whatever the order was; equal elements keep theirs. `compare` gives a
/// number below, equal to or above 0. False: there is no memory.
template <typename T, typename Compare>
[[nodiscard]] bool Sort(GrowingArray<T>& elements, Compare compare) {
  OwnedArray<T> spare;
  const UINTN size = elements.Size();
  if (!spare.AppendZeroed(size)) {
    return false;
  }
  T* from = elements.Data();
  T* to = spare.Data();
  for (UINTN width = 1; width < size; width *= 2) {
    for (UINTN begin = 0; begin < size; begin += 2 * width) {
      const UINTN middle = MIN(begin + width, size);
      const UINTN end = MIN(begin + 2 * width, size);
      UINTN left = begin;
      UINTN right = middle;
      for (UINTN i = begin; i < end; i++) {
        const bool takesLeft =
            right == end || (left < middle && compare(from[left], from[right]) <= 0);
        to[i] = from[takesLeft ? left++ : right++];
      }
    }
    T* const sorted = to;
    to = from;
    from = sorted;
  }
  if (from != elements.Data()) {
    CopyMem(elements.Data(), from, size * sizeof(T));
  }
  return true;
}

/// The first element that is not below what is looked for; the size where all are. The elements are
/// sorted, and `isBelow` is true of those in front.
template <typename T, typename IsBelow>
UINTN FirstNotBelow(const GrowingArray<T>& elements, IsBelow isBelow) {
  UINTN begin = 0;
  UINTN end = elements.Size();
  while (begin < end) {
    const UINTN middle = begin + (end - begin) / 2;
    if (isBelow(elements[middle])) {
      begin = middle + 1;
    } else {
      end = middle;
    }
  }
  return begin;
}

/// The elements of two sides, to be visited in groups of equal ones.
class TwoSides {
 public:
  [[nodiscard]] bool Add(UINTN index, bool isAfter) {
    return mElements.Append({static_cast<UINT32>(index), isAfter});
  }

  /// Calls visit(befores, afters) for each group of equal elements; one of the two may be empty.
  /// Either list is in the order in which its elements were added. False: there is no memory.
  template <typename Compare, typename Visit>
  [[nodiscard]] bool VisitGroups(Compare compare, Visit visit) {
    const auto sidesApart = [&compare](const Element& left, const Element& right) -> INTN {
      const INTN order = compare(left, right);
      return order != 0 ? order
                        : static_cast<INTN>(left.IsAfter) - static_cast<INTN>(right.IsAfter);
    };
    if (!Sort(mElements, sidesApart)) {
      return false;
    }
    for (UINTN begin = 0; begin < mElements.Size();) {
      UINTN end = begin;
      UINTN befores = 0;
      while (end < mElements.Size() && compare(mElements[begin], mElements[end]) == 0) {
        befores += mElements[end++].IsAfter ? 0 : 1;
      }
      visit(Elements(mElements.Data() + begin, befores),
            Elements(mElements.Data() + begin + befores, end - begin - befores));
      begin = end;
    }
    return true;
  }

 private:
  OwnedArray<Element> mElements;
};

}  // namespace tvqplatform

#endif
