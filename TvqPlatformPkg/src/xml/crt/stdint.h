/** @file
  Integers of stated widths.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_STDINT_H_
#define TVQ_CRT_STDINT_H_

#include <Uefi.h>

typedef UINT8 uint8_t;
typedef UINT16 uint16_t;
typedef UINT32 uint32_t;
typedef UINT64 uint64_t;
typedef UINTN uintptr_t;

#define SIZE_MAX __SIZE_MAX__

#endif
