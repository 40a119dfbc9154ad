/** @file
  The version of TVQSMBIOS: of the driver and its headers, the reference platform, the agent and the
  command `tvq`. CHANGELOG.md tells what it promises.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_VERSION_H_
#define TVQ_VERSION_H_

#define TVQ_VERSION  "0.9.0"

#endif
