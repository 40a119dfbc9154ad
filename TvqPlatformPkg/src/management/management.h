/** @file
  The TVQ management protocol.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_MANAGEMENT_H_
#define TVQ_PLATFORM_MANAGEMENT_H_

#include <TvqCpp.h>
#include <Protocol/TvqManagement.h>

namespace tvqplatform {

extern TVQ_MANAGEMENT_PROTOCOL gManagement;

}  // namespace tvqplatform

#endif
