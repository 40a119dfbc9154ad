/** @file
  What the C++ code of the packages shares: EDK II headers with C linkage, UCS-2 literals, owning
  pointers for pool memory, and a span.

  Everything here is freestanding: no exceptions, no run-time type information, no objects that
  need construction at load.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CPP_H_
#define TVQ_CPP_H_

extern "C" {
#include <Uefi.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PrintLib.h>
#include <Library/UefiBootServicesTableLib.h>
}

#include <TvqSpan.h>

namespace tvq {

/// The address of a UCS-2 literal. EDK II's CHAR16 is neither char16_t nor wchar_t, and its
/// interfaces take texts that they do not change through pointers that are not const.
inline CHAR16* Ucs2(const char16_t* literal) {
  return reinterpret_cast<CHAR16*>(const_cast<char16_t*>(literal));
}
inline CHAR16* Ucs2(const wchar_t* literal) {
  static_assert(sizeof(wchar_t) == sizeof(CHAR16), "built with -fshort-wchar");
  return reinterpret_cast<CHAR16*>(const_cast<wchar_t*>(literal));
}

/// Whether assertions were compiled in, and are enabled.
inline bool AssertionsEnabled() {
#ifdef MDEPKG_NDEBUG
  return false;
#else
  return DebugAssertEnabled();
#endif
}

/// Raises an assertion where assertions are enabled. Text, source and line are given by hand: what
/// the compiler makes of __FILE__ and of a null pointer in a text differs between tool chains.
inline void RaiseAssertion(const char* source, UINTN line, const char* text) {
  if (AssertionsEnabled()) {
    DebugAssert(source, line, text);
  }
}

/// Owns one block of boot-services pool and frees it, unless it is released to somebody else.
template <typename T>
class PoolPtr {
 public:
  constexpr PoolPtr() = default;
  constexpr explicit PoolPtr(T* block) : mBlock(block) {}
  PoolPtr(PoolPtr&& other) noexcept : mBlock(other.Release()) {}
  PoolPtr& operator=(PoolPtr&& other) noexcept {
    Reset(other.Release());
    return *this;
  }
  PoolPtr(const PoolPtr&) = delete;
  PoolPtr& operator=(const PoolPtr&) = delete;
  ~PoolPtr() { Reset(); }

  /// `count` zeroed elements; empty when the pool is exhausted.
  [[nodiscard]] static PoolPtr Zeroed(UINTN count = 1) {
    return PoolPtr(static_cast<T*>(AllocateZeroPool(count * sizeof(T))));
  }

  T* Get() const { return mBlock; }
  T* operator->() const { return mBlock; }
  T& operator[](UINTN i) const { return mBlock[i]; }
  explicit operator bool() const { return mBlock != nullptr; }

  /// Hands the block over; this pointer is empty afterwards.
  [[nodiscard]] T* Release() {
    T* block = mBlock;
    mBlock = nullptr;
    return block;
  }

  /// Frees the block and owns `block` instead.
  void Reset(T* block = nullptr) {
    if (mBlock != nullptr) {
      (void)gBS->FreePool(mBlock);
    }
    mBlock = block;
  }

 private:
  T* mBlock = nullptr;
};

}  // namespace tvq

#endif
