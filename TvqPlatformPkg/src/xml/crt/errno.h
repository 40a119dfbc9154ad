/** @file
  Nobody sets an error number.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_ERRNO_H_
#define TVQ_CRT_ERRNO_H_

static int errno;

#endif
