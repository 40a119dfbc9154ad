/** @file
  There is one process.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_UNISTD_H_
#define TVQ_CRT_UNISTD_H_

#define getpid() 0

#endif
