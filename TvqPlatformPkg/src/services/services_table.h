/** @file
  The platform services table, as it stands in the configuration table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SERVICES_TABLE_H_
#define TVQ_PLATFORM_SERVICES_TABLE_H_

#include <Library/TvqServicesLib.h>

#include "attribute_store.h"

namespace tvqplatform {

extern AttributeStore gAttributeStore;

}  // namespace tvqplatform

#endif
