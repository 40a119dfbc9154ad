/*
 * The system's document as text: chassis, boards, slots, memory arrays and firmware.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_SYSTEM_TEXT_H_
#define TVQ_HOST_CLI_DEVICE_SYSTEM_TEXT_H_

#include <string>

#include "host/cli/output/console.h"
#include "host/cli/device/document.h"

namespace tvq::cli {

std::string SystemText(const Element& document, const Terminal& terminal);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_SYSTEM_TEXT_H_
