/*
 * Saved states beside the machine of a run.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/saved_states.h"

#include <algorithm>
#include <iterator>
#include <new>

#include "host/run/convert.h"

#include "TvqPlatformPkg/src/states/holes.h"
#include "TvqPlatformPkg/src/states/machine_match.h"

namespace tvq::run {
namespace {

using tvqplatform::MachineMatch;
using tvqplatform::StateDefect;

std::string TextOf(const tvqplatform::Snapshot& machine) {
  char text[tvqplatform::kMachineTextSize];
  tvqplatform::FormatMachine(machine, text);
  return text;
}

StateOptions OptionsOf(UINT32 options) {
  return {(options & tvqplatform::kSnapshotAsIs) != 0,
          (options & tvqplatform::kSnapshotRedacted) != 0};
}

StateFit::Machine MachineOf(MachineMatch match) {
  switch (match) {
    case MachineMatch::kSame:
      return StateFit::Machine::kSame;
    case MachineMatch::kBoardReplaced:
      return StateFit::Machine::kBoardReplaced;
    case MachineMatch::kAnother:
      return StateFit::Machine::kAnother;
    case MachineMatch::kUnknown:
      break;
  }
  return StateFit::Machine::kUnknown;
}

std::string PlainText(const CHAR16* text) {
  const std::u16string wide = WideText(text);
  std::string plain;
  std::transform(wide.begin(), wide.end(), std::back_inserter(plain), [](char16_t character) {
    return character < ' ' || character > '~' ? '?' : static_cast<char>(character);
  });
  return plain;
}

std::vector<StateHole> HolesOf(const tvqplatform::Snapshot& snapshot) {
  std::vector<StateHole> holes;
  for (const tvqplatform::SnapshotDevice& device : snapshot.Devices) {
    const tvqplatform::Hole hole = tvqplatform::FindHole(device);
    if (hole != tvqplatform::Hole::kNone) {
      holes.push_back({PlainText(device.Fqdd), tvqplatform::HoleText(hole, device.Why)});
    }
  }
  return holes;
}

}  // namespace

void ReadInto(const Bytes& file, tvqplatform::StoredState& state) {
  const StateDefect defect = tvqplatform::ReadState(ViewOf(file), state);
  if (defect == StateDefect::kNoMemory) {
    throw std::bad_alloc();
  }
  if (defect != StateDefect::kNone) {
    throw StateError(tvqplatform::StateDefectText(defect));
  }
}

StateFile CheckStateFile(const Bytes& file, uint64_t number) {
  tvqplatform::StoredState state;
  StateDefect defect = tvqplatform::ReadState(ViewOf(file), state);
  if (defect == StateDefect::kNone && state.Generation != number) {
    defect = StateDefect::kDamaged;  // it has the name of another
  }
  if (defect == StateDefect::kNone) {
    return {StateFile::Kind::kWhole, ""};
  }
  if (defect != StateDefect::kNewer && !tvqplatform::EndsAsState(ViewOf(file), number)) {
    return {StateFile::Kind::kCutOff, tvqplatform::StateDefectText(StateDefect::kCutOff)};
  }
  return {StateFile::Kind::kUnusable, tvqplatform::StateDefectText(defect)};
}

StateFit FitOf(const tvqplatform::Snapshot& now, const tvqplatform::StoredState& saved) {
  StateFit fit;
  fit.machine = MachineOf(tvqplatform::MatchMachines(now, saved.Content));
  fit.thisMachine = TextOf(now);
  fit.savedMachine = TextOf(saved.Content);
  fit.version = saved.Version;
  fit.generation = saved.Generation;
  fit.time = saved.Content.Time;
  fit.program.assign(saved.Content.Program.begin(), saved.Content.Program.end());
  fit.options = OptionsOf(saved.Content.Options);
  // The first version did not keep them; it masked nothing.
  fit.hasOtherOptions = saved.Version > 1 ? saved.Content.Options != now.Options
                                          : (now.Options & tvqplatform::kSnapshotRedacted) != 0;
  fit.holes = HolesOf(saved.Content);
  return fit;
}

Bytes FileOf(const tvqplatform::Snapshot& snapshot, uint64_t generation, uint64_t time) {
  tvqplatform::EncodedState state;
  if (!state.Write(snapshot, generation, time)) {
    throw std::bad_alloc();
  }
  return CopyOf(state.File());
}

}  // namespace tvq::run
