/** @file
  Expat's parser, compiled from its own source over the C library of crt/.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <xmlparse.c>  // NOLINT(bugprone-suspicious-include): on purpose
