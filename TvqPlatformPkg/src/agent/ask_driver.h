/** @file
  Asks the driver whether a part was replaced since its blobs were saved.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_ASK_DRIVER_H_
#define TVQ_PLATFORM_AGENT_ASK_DRIVER_H_

#include "../compare/comparison.h"
#include "inventory.h"

namespace tvqplatform {

/// The question for a comparison whose later devices are those of the inventory, in their order. It
/// has to stay.
DriverQuestion QuestionFor(const Inventory& inventory);

}  // namespace tvqplatform

#endif
