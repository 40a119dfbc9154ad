/*
 * What became of all devices, for the system's journal.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_
#define TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_

#include <string>

#include "host/cli/command.h"
#include "host/cli/output/journal.h"
#include "host/run/comparison.h"

namespace tvq::cli {

// The kinds of entries; packaging/tvq.catalog explains each.
inline constexpr char kFindingId[] = "edef79b1c8b64660a0c66c447c075827";
inline constexpr char kSummaryId[] = "0c1cb05c1c804737a6d9abb97f9506df";
inline constexpr char kFirstStateId[] = "cbe38cb1ea13476ea1051d70731eb22c";

inline constexpr char kFailureId[] = "c2b80d83223e451da745daea5a356ef0";
inline constexpr char kPassedOverId[] = "3a2cb511277449549d4b32bb9b1b2936";

// An entry for each device that is to be looked at, then one that sums up, with what the run ends with.
void WriteToJournal(const run::Comparison& comparison, ExitStatus status, const Journal& journal);

// An entry that nothing was compared, and why.
void WriteNotCompared(const std::string& why, ExitStatus status, const Journal& journal);

// An entry that the first state of a machine was saved, so that later ones can be compared with it.
void WriteFirstState(const std::string& path, const Journal& journal);

// An entry that a state newer than the one that counts is damaged; `what` is UTF-8.
void WritePassedOver(const std::string& what, const Journal& journal);

// An entry that a run could not do all that it was asked for, with what it ends with; `why` is UTF-8.
void WriteFailure(const std::string& why, ExitStatus status, const Journal& journal);

// The unit of the service that accepts the device; empty where it has no name that a unit could have.
std::string AcceptUnitOf(const run::Finding& finding);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_COMPARISON_JOURNAL_H_
