/** @file
  An array in boot-services pool that grows.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_GROWING_ARRAY_H_
#define TVQ_PLATFORM_GROWING_ARRAY_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Elements are plain data and move when the array grows. Nothing is freed but by Free(), so that
/// an array can be a global without code at load and unload; OwnedArray is the one for locals.
template <typename T>
class GrowingArray {
 public:
  UINTN Size() const { return mSize; }
  bool Empty() const { return mSize == 0; }
  T* Data() const { return mData; }
  T& operator[](UINTN i) const { return mData[i]; }
  T* begin() const { return mData; }
  T* end() const { return mData + mSize; }

  /// Makes room for `count` further elements. False: there is no memory, nothing has changed.
  [[nodiscard]] bool Reserve(UINTN count) {
    if (count <= mCapacity - mSize) {
      return true;
    }
    const UINTN capacity = MAX(mSize + count, mCapacity * 2);
    T* data = static_cast<T*>(AllocatePool(capacity * sizeof(T)));
    if (data == nullptr) {
      return false;
    }
    if (mSize != 0) {
      CopyMem(data, mData, mSize * sizeof(T));
    }
    FreeBlock();
    mData = data;
    mCapacity = capacity;
    return true;
  }

  /// False: there is no memory, nothing has changed.
  [[nodiscard]] bool Append(const T* elements, UINTN count) {
    if (!Reserve(count)) {
      return false;
    }
    if (count != 0) {
      CopyMem(mData + mSize, elements, count * sizeof(T));
    }
    mSize += count;
    return true;
  }
  [[nodiscard]] bool Append(const T& element) { return Append(&element, 1); }

  /// `count` elements of zero bytes.
  [[nodiscard]] bool AppendZeroed(UINTN count) {
    if (!Reserve(count)) {
      return false;
    }
    if (count != 0) {
      ZeroMem(mData + mSize, count * sizeof(T));
    }
    mSize += count;
    return true;
  }

  /// Forgets the elements from `size` on.
  void Shrink(UINTN size) { mSize = MIN(mSize, size); }

  void Free() {
    FreeBlock();
    mData = nullptr;
    mSize = 0;
    mCapacity = 0;
  }

 private:
  void FreeBlock() {
    if (mData != nullptr) {
      (void)gBS->FreePool(mData);
    }
  }

  T* mData = nullptr;
  UINTN mSize = 0;
  UINTN mCapacity = 0;
};

template <typename T>
class OwnedArray : public GrowingArray<T> {
 public:
  OwnedArray() = default;
  OwnedArray(const OwnedArray&) = delete;
  OwnedArray& operator=(const OwnedArray&) = delete;
  ~OwnedArray() { this->Free(); }
};

}  // namespace tvqplatform

#endif
