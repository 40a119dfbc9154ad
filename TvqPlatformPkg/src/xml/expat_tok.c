/** @file
  Expat's tokeniser, compiled from its own source over the C library of crt/.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <xmltok.c>  // NOLINT(bugprone-suspicious-include): on purpose
