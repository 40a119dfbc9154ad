/** @file
  Expat's reader of declarations, compiled from its own source over the C library of crt/.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <xmlrole.c>  // NOLINT(bugprone-suspicious-include): on purpose
