/** @file
  Memory for expat, from boot-services pool.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "pool.h"

#include <TvqCpp.h>

namespace {

/// Stands in front of every buffer: the pool does not tell the size of a block.
struct Header {
  UINTN Size;
  UINTN Reserved;  ///< Keeps the buffer aligned to 16 bytes where the pool's blocks are.
};

Header* HeaderOf(void* buffer) {
  return static_cast<Header*>(buffer) - 1;
}

}  // namespace

void* TvqXmlAllocate(size_t Size) {
  if (Size > MAX_UINTN - sizeof(Header)) {
    return nullptr;
  }
  auto* header = static_cast<Header*>(AllocatePool(sizeof(Header) + Size));
  if (header == nullptr) {
    return nullptr;
  }
  header->Size = Size;
  return header + 1;
}

void* TvqXmlReallocate(void* Buffer, size_t Size) {
  void* moved = TvqXmlAllocate(Size);
  if (moved != nullptr && Buffer != nullptr) {
    CopyMem(moved, Buffer, MIN(HeaderOf(Buffer)->Size, Size));
    TvqXmlFree(Buffer);
  }
  return moved;
}

void TvqXmlFree(void* Buffer) {
  if (Buffer != nullptr) {
    (void)gBS->FreePool(HeaderOf(Buffer));
  }
}
