/** @file
  What matters first: how the visit went, what was found, and what to do.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_SUMMARY_H_
#define TVQ_PLATFORM_AGENT_SCREEN_SUMMARY_H_

#include "../run_report.h"
#include "../state_check.h"
#include "content.h"

namespace tvqplatform {

struct VisitFacts {
  const RunReport& Report;  ///< Of the whole visit.
  const RunReport& State;   ///< Of the last comparison.
  StateOutcome Outcome;     ///< Of the same.
  bool IsReadOnly;
};

/// Fills in the summary and the report.
void Summarize(const VisitFacts& facts, ScreenContent& content);

}  // namespace tvqplatform

#endif
