/*
 * A debug log that formats every line, which reads all the texts that it prints, and keeps none.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_DEBUG_LOG_H_
#define TVQ_TESTS_FUZZ_DEBUG_LOG_H_

#include "host/firmware/firmware.h"

namespace tvq::fuzz {

// Puts it in the place of the platform's, which takes as long as everything else.
void ReplaceDebugLog(host::Firmware& firmware);

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_DEBUG_LOG_H_
