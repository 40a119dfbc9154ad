/*
 * Findings as faults: what shows at several places once, and what follows from another below it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_CAUSES_H_
#define TVQ_HOST_LINT_CAUSES_H_

#include <vector>

#include "host/lint/rule.h"

namespace tvq::lint {

// Hangs each finding below what causes it, then joins those of one rule that one change mends.
std::vector<Finding> ArrangeByFault(std::vector<Finding> findings);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_CAUSES_H_
