/*
 * What became of all devices, for the system's journal.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_
#define TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_

#include <string>

#include "host/cli/output/journal.h"
#include "host/run/comparison.h"

namespace tvq::cli {

// The kinds of entries; packaging/tvq.catalog explains each.
inline constexpr char kFindingId[] = "edef79b1c8b64660a0c66c447c075827";
inline constexpr char kSummaryId[] = "0c1cb05c1c804737a6d9abb97f9506df";
inline constexpr char kFirstStateId[] = "cbe38cb1ea13476ea1051d70731eb22c";

// An entry for each device that is to be looked at, then one that sums up.
void WriteToJournal(const run::Comparison& comparison, const Journal& journal);

// An entry that the first state of a machine was saved, so that later ones can be compared with it.
void WriteFirstState(const std::string& path, const Journal& journal);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_
