/** @file
  A view of elements that somebody else owns.

  This header needs nothing of EDK II and no C++ library.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SPAN_H_
#define TVQ_SPAN_H_

namespace tvq {

/// `Size()` elements from `Data()` on.
template <typename T>
class Span {
 public:
  using SizeType = decltype(sizeof(0));

  constexpr Span() = default;
  constexpr Span(T* data, SizeType size) : mData(data), mSize(size) {}
  template <SizeType N>
  constexpr Span(T (&array)[N]) : mData(array), mSize(N) {}
  /// A view of what may be changed is one of what is only read, too.
  template <typename U>
  constexpr Span(const Span<U>& other) : mData(other.Data()), mSize(other.Size()) {}

  constexpr T* Data() const { return mData; }
  constexpr SizeType Size() const { return mSize; }
  constexpr bool Empty() const { return mSize == 0; }
  constexpr T& operator[](SizeType i) const { return mData[i]; }
  constexpr T* begin() const { return mData; }
  constexpr T* end() const { return mData + mSize; }

  /// The first `size` elements, or all where there are fewer.
  constexpr Span First(SizeType size) const { return {mData, size < mSize ? size : mSize}; }
  /// All behind the first `size` elements; none where there are no more than these.
  constexpr Span From(SizeType size) const {
    return size < mSize ? Span(mData + size, mSize - size) : Span(mData + mSize, 0);
  }

 private:
  T* mData = nullptr;
  SizeType mSize = 0;
};

}  // namespace tvq

#endif
