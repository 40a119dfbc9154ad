/** @file
  Expat's output for its own debugging goes nowhere.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_STDIO_H_
#define TVQ_CRT_STDIO_H_

#define fprintf(...) ((void)0)

#endif
