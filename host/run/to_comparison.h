/*
 * From the agent's comparison to one in types of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_TO_COMPARISON_H_
#define TVQ_HOST_RUN_TO_COMPARISON_H_

#include "host/run/comparison.h"

#include "host/firmware/firmware.h"

#include "TvqPlatformPkg/src/compare/comparison.h"

namespace tvq::run {

// Masks what the comparison shows, where the options say how.
Comparison ToComparison(tvqplatform::Comparison& result, const CompareOptions& options);

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_TO_COMPARISON_H_
