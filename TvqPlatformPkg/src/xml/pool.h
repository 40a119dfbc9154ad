/** @file
  Memory for expat, from boot-services pool.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_XML_POOL_H_
#define TVQ_PLATFORM_XML_POOL_H_

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// As malloc, realloc and free of a C library.
void* TvqXmlAllocate(size_t Size);
void* TvqXmlReallocate(void* Buffer, size_t Size);
void TvqXmlFree(void* Buffer);

#ifdef __cplusplus
}
#endif

#endif
