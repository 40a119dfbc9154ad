/** @file
  The sections of the agent's report.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SHOW_H_
#define TVQ_PLATFORM_AGENT_SHOW_H_

#include "../smbios/capture.h"
#include "../smbios/conform.h"
#include "../smbios/names/device_labels.h"
#include "attributes.h"
#include "inventory.h"
#include "report.h"

namespace tvqplatform {

/// Version and size of a table; `origin` says where it comes from. Also what is odd about it.
void ShowTable(Report& report, const Capture& capture, const CHAR8* origin);

/// Every change that conforming made, or that it made none.
void ShowChanges(Report& report, ConformResult result, const ConformedTable& conformed);

/// One line for each record, in columns.
void ShowInventory(Report& report, const Inventory& inventory, const DeviceLabels& labels);

void ShowAttributes(Report& report, const AttributeAnswers& answers);

/// What the debug log has, as the text of a file: one line each with level, function and text.
void WriteLog(Report& log, TVQ_PLATFORM_PROTOCOL& platform);

}  // namespace tvqplatform

#endif
