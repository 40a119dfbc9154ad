/** @file
  A clock that stands still: it would only make a salt, and expat is given one.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CRT_SYS_TIME_H_
#define TVQ_CRT_SYS_TIME_H_

struct timeval {
  long tv_sec;
  long tv_usec;
};

#define gettimeofday(Time, Zone) ((Time)->tv_usec = 0)

#endif
