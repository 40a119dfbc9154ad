/** @file
  Allocation for expat, under names of our own so that nothing hides a C library's.

  The environment is empty.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_STDLIB_H_
#define TVQ_CRT_STDLIB_H_

#include "../pool.h"

#define malloc TvqXmlAllocate
#define realloc TvqXmlReallocate
#define free TvqXmlFree

#define getenv(Name) ((char*)NULL)
#define strtoul(Text, Tail, Base) 0UL

#endif
