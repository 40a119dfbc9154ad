/** @file
  Caches and high-bandwidth memory of a processor.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CPU_MEMORY_H_
#define TVQ_CPU_MEMORY_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

namespace tvq {

/**
  Describes one cache level of a processor in device.cpu.CacheInfo.

  @param[in, out]  Record        The processor's record.
  @param[in]       Type7Array    All cache structures of the table, as collected.
  @param[in]       Type7Count    Their number.
  @param[in]       CacheHandle   Handle of the level's cache structure; FFFFh for none.
  @param[in]       LevelIndex    0 to 2.

  @retval EFI_SUCCESS             The slot points to a new description, the record's own.
  @retval EFI_INVALID_PARAMETER   Record or Type7Array is null, LevelIndex is out of range, or there
                                  is no cache at this level. A slot there is becomes null.
  @retval EFI_NOT_FOUND           No structure has the handle; the slot is null.
  @retval EFI_OUT_OF_RESOURCES    The description could not be allocated; the slot is null.
**/
[[nodiscard]] EFI_STATUS GetCacheInfo(smTVQ* Record, UINT8** Type7Array, UINT16 Type7Count,
                                      UINT16 CacheHandle, UINT8 LevelIndex);

/**
  Describes one high-bandwidth-memory stack of a processor in device.cpu.HBMInfo.

  @param[in, out]  Record         The processor's record.
  @param[in]       Type17Array    The memory-device structures.
  @param[in]       Type17Count    Their number.
  @param[in]       CpuIndex       Position of the processor's structure among those of type 4.
  @param[in]       HbmIndex       0 to 3.

  @retval EFI_SUCCESS             The slot points to a new description, the record's own.
  @retval EFI_INVALID_PARAMETER   Record or Type17Array is null, or HbmIndex is out of range.
  @retval EFI_NOT_FOUND           No memory device has such a locator; the slot is null.
  @retval EFI_OUT_OF_RESOURCES    The description could not be allocated; the slot is null.
**/
[[nodiscard]] EFI_STATUS GetHbmInfo(smTVQ* Record, UINT8** Type17Array, UINT16 Type17Count,
                                    UINT8 CpuIndex, UINT8 HbmIndex);

}  // namespace tvq

#endif
