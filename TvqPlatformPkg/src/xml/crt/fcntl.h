/** @file
  Expat includes it and uses nothing of it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/
