/*
 * What code that tools/mutation changed reads and writes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/mutation/switch.h"

unsigned gTvqHostMutant = 0;
alignas(4096) unsigned char gTvqHostReached[kTvqHostPoints];
