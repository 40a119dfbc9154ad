/** @file
  The memory functions that expat calls.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_STRING_H_
#define TVQ_CRT_STRING_H_

#include <Library/BaseMemoryLib.h>
#include <stddef.h>

#define memcmp(First, Second, Size) CompareMem((First), (Second), (Size))
#define memcpy(Destination, Source, Size) CopyMem((Destination), (Source), (Size))
#define memmove(Destination, Source, Size) CopyMem((Destination), (Source), (Size))
#define memset(Buffer, Value, Size) SetMem((Buffer), (Size), (UINT8)(Value))

#endif
