/** @file
  Whether two snapshots are of one machine.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_MACHINE_MATCH_H_
#define TVQ_PLATFORM_STATES_MACHINE_MATCH_H_

#include "snapshot.h"

namespace tvqplatform {

/// What two snapshots say of one number. One that tells no machine from others counts as absent.
enum class Agreement : UINT8 {
  kAbsent = 1,  ///< On one side or on both.
  kAgrees = 2,
  kDiffers = 4,
};

struct MachineEvidence {
  Agreement Uuid = Agreement::kAbsent;
  Agreement System = Agreement::kAbsent;
  Agreement Board = Agreement::kAbsent;
  Agreement Chassis = Agreement::kAbsent;
  /// Serial numbers of the modules: more than half of the fewer ones on both sides, or not one.
  /// Anything between says nothing.
  Agreement Modules = Agreement::kAbsent;
};

enum class MachineMatch : UINT8 {
  kSame,
  kBoardReplaced,
  kAnother,
  kUnknown,
};

/// Which agreements a row of the table is for: any of these bits.
struct AgreementSet {
  UINT8 Bits;

  constexpr bool Has(Agreement agreement) const {
    return (Bits & static_cast<UINT8>(agreement)) != 0;
  }
};

struct MachineRow {
  AgreementSet Uuid;
  AgreementSet System;
  AgreementSet Board;
  AgreementSet Chassis;
  AgreementSet Modules;
  MachineMatch Match;
};

namespace machine_rows {

constexpr AgreementSet Only(Agreement agreement) {
  return {static_cast<UINT8>(agreement)};
}

constexpr AgreementSet operator|(Agreement left, Agreement right) {
  return {static_cast<UINT8>(static_cast<UINT8>(left) | static_cast<UINT8>(right))};
}

inline constexpr AgreementSet kAbsent = Only(Agreement::kAbsent);
inline constexpr AgreementSet kAgrees = Only(Agreement::kAgrees);
inline constexpr AgreementSet kDiffers = Only(Agreement::kDiffers);
inline constexpr AgreementSet kNotDiffers = Agreement::kAgrees | Agreement::kAbsent;
inline constexpr AgreementSet kNotAgrees = Agreement::kDiffers | Agreement::kAbsent;
inline constexpr AgreementSet kAny = {kNotDiffers.Bits | kDiffers.Bits};

/// The first row that applies decides; the last one always does. docs/agents.md shows the same
/// table.
inline constexpr MachineRow kRows[] = {
    // Numbers of the system that agree, and no number that says otherwise.
    {kAgrees, kNotDiffers, kNotDiffers, kAny, kAny, MachineMatch::kSame},
    {kAny, kAgrees, kAgrees, kAny, kAny, MachineMatch::kSame},
    {kAbsent, kAgrees, kAbsent, kAny, kAny, MachineMatch::kSame},
    // All machines in an enclosure may have the enclosure's serial number for the system's.
    {kDiffers, kAgrees, kNotAgrees, kAny, kDiffers, MachineMatch::kAnother},
    // UUIDs come with the board, and serial numbers of the system are put on the new one.
    {kAny, kAgrees, kDiffers, kAny, kAny, MachineMatch::kBoardReplaced},
    {kDiffers, kAgrees, kAbsent, kAny, kAny, MachineMatch::kBoardReplaced},
    {kAgrees, kAbsent, kDiffers, kAny, kAny, MachineMatch::kBoardReplaced},
    // A serial number that somebody wrote, or a UUID that was made anew.
    {kAgrees, kDiffers, kAgrees, kAny, kAny, MachineMatch::kSame},
    {kAgrees, kDiffers, kAbsent, kAgrees, kAny, MachineMatch::kSame},
    {kNotAgrees, kAbsent, kAgrees, kAny, kAny, MachineMatch::kSame},
    {kNotAgrees, kDiffers, kNotAgrees, kAny, kAny, MachineMatch::kAnother},
    // The chassis alone decides nothing, because several machines may share one. The modules do.
    {kAgrees, kDiffers, kDiffers, kAny, kAgrees, MachineMatch::kBoardReplaced},
    {kAgrees, kDiffers, kDiffers, kAny, kNotAgrees, MachineMatch::kAnother},
    {kNotAgrees, kAbsent, kDiffers, kAny, kAgrees, MachineMatch::kBoardReplaced},
    {kDiffers, kAbsent, kAbsent, kAny, kAgrees, MachineMatch::kBoardReplaced},
    {kAny, kAny, kAny, kAny, kAgrees, MachineMatch::kSame},
    {kAny, kAny, kAny, kAny, kDiffers, MachineMatch::kAnother},
    {kAny, kAny, kAny, kAny, kAny, MachineMatch::kUnknown},
};

}  // namespace machine_rows

constexpr bool Applies(const MachineRow& row, const MachineEvidence& evidence) {
  return row.Uuid.Has(evidence.Uuid) && row.System.Has(evidence.System) &&
         row.Board.Has(evidence.Board) && row.Chassis.Has(evidence.Chassis) &&
         row.Modules.Has(evidence.Modules);
}

constexpr MachineMatch DecideMachine(const MachineEvidence& evidence) {
  for (const MachineRow& row : machine_rows::kRows) {
    if (Applies(row, evidence)) {
      return row.Match;
    }
  }
  return MachineMatch::kUnknown;
}

/// A redacted snapshot has no number that could agree with another.
MachineEvidence CompareMachines(const Snapshot& now, const Snapshot& saved);

inline MachineMatch MatchMachines(const Snapshot& now, const Snapshot& saved) {
  return DecideMachine(CompareMachines(now, saved));
}

/// "the same machine", "the same machine with another board", ...
const CHAR8* MachineMatchText(MachineMatch match);

/// Room for a text of FormatMachine.
inline constexpr UINTN kMachineTextSize = 256;
/// What tells the machine from others: "system ABC1234, board BRD0001, UUID 00112233-...", or that
/// nothing does. Characters that a terminal may take for more than text show as '?'.
void FormatMachine(const Snapshot& machine, CHAR8 (&buffer)[kMachineTextSize]);

}  // namespace tvqplatform

#endif
