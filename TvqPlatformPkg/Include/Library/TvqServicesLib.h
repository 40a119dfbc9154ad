/** @file
  The platform services table over an attribute store of its own, which copies every text and drops
  the callbacks of an image that is unloaded.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SERVICES_LIB_H_
#define TVQ_SERVICES_LIB_H_

#include <Guid/ZvServices.h>

#ifdef __cplusplus
extern "C" {
#endif

///
/// For the configuration table, under gZvServicesTableGuid, before any protocol that TVQSMBIOS waits
/// for is installed.
///
extern ZV_SERVICES_TABLE  gTvqServicesTable;

#ifdef __cplusplus
}
#endif

#endif
