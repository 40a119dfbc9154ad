/*
 * Memory below 4 GiB, with an inaccessible page at one end if wanted.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include "host/firmware/firmware.h"
#include "host/firmware/reports.h"

namespace tvq::host {
namespace {

size_t PageSize() {
  return static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

size_t RoundUpToPages(size_t size) {
  return (size + PageSize() - 1) / PageSize() * PageSize();
}

[[noreturn]] void DieOf(const char* what) {
  Die(std::string("MapBelow4G: ") + what + ": " + std::strerror(errno));
}

}  // namespace

LowMapping MapBelow4G(size_t size, Guard guard) {
  const size_t page = PageSize();
  const size_t usable = RoundUpToPages(size == 0 ? 1 : size);
  LowMapping mapping;
  mapping.mSize = size;
  mapping.mMappingSize = usable + (guard == Guard::kNone ? 0 : page);
  void* const mapped = mmap(nullptr, mapping.mMappingSize, PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
  if (mapped == MAP_FAILED) {
    DieOf("mmap");
  }
  mapping.mMapping = static_cast<UINT8*>(mapped);
  UINT8* guardPage = nullptr;
  switch (guard) {
    case Guard::kNone:
      mapping.mData = mapping.mMapping;
      return mapping;
    case Guard::kBehind:
      guardPage = mapping.mMapping + usable;
      mapping.mData = guardPage - size;
      break;
    case Guard::kBefore:
      guardPage = mapping.mMapping;
      mapping.mData = guardPage + page;
      break;
  }
  if (mprotect(guardPage, page, PROT_NONE) != 0) {
    DieOf("mprotect");
  }
  return mapping;
}

LowMapping::LowMapping(LowMapping&& other) noexcept
    : mData(std::exchange(other.mData, nullptr)),
      mSize(std::exchange(other.mSize, 0)),
      mMapping(std::exchange(other.mMapping, nullptr)),
      mMappingSize(std::exchange(other.mMappingSize, 0)) {}

LowMapping& LowMapping::operator=(LowMapping&& other) noexcept {
  if (this != &other) {
    Unmap();
    mData = std::exchange(other.mData, nullptr);
    mSize = std::exchange(other.mSize, 0);
    mMapping = std::exchange(other.mMapping, nullptr);
    mMappingSize = std::exchange(other.mMappingSize, 0);
  }
  return *this;
}

LowMapping::~LowMapping() {
  Unmap();
}

void LowMapping::Unmap() {
  if (mMapping != nullptr) {
    munmap(mMapping, mMappingSize);
  }
}

void LowMapping::MakeReadOnly() {
  if (mData == nullptr || mSize == 0) {
    return;
  }
  UINT8* const first = mData - reinterpret_cast<uintptr_t>(mData) % PageSize();
  if (mprotect(first, static_cast<size_t>(mData + mSize - first), PROT_READ) != 0) {
    DieOf("mprotect");
  }
}

}  // namespace tvq::host
