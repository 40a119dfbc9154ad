/** @file
  FQDD map: which string of an OEM structure of type 225 names the device of an SMBIOS handle.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_FQDD_H_
#define TVQ_SMBIOS_FQDD_H_

#include <TvqCpp.h>

namespace tvq {

#pragma pack(1)

struct FQDD_MAP_ENTRY {
  UINT8 StringNumber;
  UINT16 Handle;
  UINT8 Opaque;          ///< Fourth byte of the group, carried along.
  UINT8 StructureIndex;  ///< Position of the structure in gType225Records, deliberately in 8 bits.
};

#pragma pack()

static_assert(sizeof(FQDD_MAP_ENTRY) == 5, "the entry is packed");

/// The structures of type 225. A string number past a structure's last string moves its slot for
/// good: later look-ups of other devices read from the structure that follows.
extern UINT8** gType225Records;
extern UINT16 gType225Count;
extern FQDD_MAP_ENTRY* gFqddMap;
extern UINT16 gFqddMapCount;
/// 1 after a build that succeeded. Freeing the map leaves it and the counts as they are.
extern UINT8 gFqddMapValid;

/**
  Builds the map. Deliberate: what an earlier build allocated is not given back, and is lost once
  this one has blocks of its own.

  @retval EFI_SUCCESS             The map is valid; it may be empty.
  @retval EFI_NOT_FOUND           There is no structure of type 225, or no memory to collect them;
                                  one has another format, or a group lies beyond its formatted part.
                                  Deliberate: one such structure spoils the whole map.
  @retval EFI_OUT_OF_RESOURCES    The map could not be allocated.
**/
[[nodiscard]] EFI_STATUS BuildFqddMap();

/// The first entry of the map with the handle, or null and a log line.
FQDD_MAP_ENTRY* FindFqdd(UINT16 Handle);

/// The text that an entry names, or null.
CHAR8* FqddText(const FQDD_MAP_ENTRY& entry);

/**
  Forgets the entry point and frees the map.

  @retval EFI_SUCCESS   Always.
**/
[[nodiscard]] EFI_STATUS ReleaseSmbiosState();

}  // namespace tvq

#endif
