/** @file
  Little-endian values at any alignment.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_BYTES_H_
#define TVQ_BYTES_H_

#include <Library/TvqCpp.h>

namespace tvq {

inline UINT16 Read16(const UINT8* bytes) {
  return static_cast<UINT16>(bytes[0] | (bytes[1] << 8));
}

inline UINT32 Read32(const UINT8* bytes) {
  return static_cast<UINT32>(Read16(bytes)) | (static_cast<UINT32>(Read16(bytes + 2)) << 16);
}

inline UINT64 Read64(const UINT8* bytes) {
  return static_cast<UINT64>(Read32(bytes)) | (static_cast<UINT64>(Read32(bytes + 4)) << 32);
}

}  // namespace tvq

#endif
