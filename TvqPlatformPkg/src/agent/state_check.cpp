/** @file
  The section of the agent's report about saved states.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state_check.h"

#include "../compare/accepted_devices.h"
#include "../states/holes.h"
#include "calendar.h"
#include "machine_folder.h"
#include "messages.h"

namespace tvqplatform {

namespace {

constexpr CHAR8 kSaved[] = "State: saved; later boots are compared with it";
constexpr CHAR8 kAccepted[] = "State: accepted; this boot's is saved";
constexpr CHAR8 kNotSaved[] = "State: not saved, because the volume cannot be written to";
constexpr CHAR8 kLeft[] = "State: left as it was saved; the option accept saves this boot's";

bool HasRecord(const Snapshot& snapshot) {
  for (const SnapshotDevice& device : snapshot.Devices) {
    if (device.Why == WhyNoRecord::kHasRecord) {
      return true;
    }
  }
  return false;
}

const CHAR8* OptionsText(UINT32 options) {
  switch (options) {
    case 0:
      return "with the table made fit for the driver";
    case kSnapshotAsIs:
      return "with the table as it is";
    case kSnapshotRedacted:
      return "with what names the machine masked";
    default:
      return "with the table as it is and what names the machine masked";
  }
}

}  // namespace

void StateCheck::Run(const Snapshot& now, const StateComparer& comparer) {
  if (!HasRecord(now)) {
    AddLine(&mReport, "State: not compared and not saved, because there is no record");
    return;
  }
  CHAR16 folder[kPathSize];
  const EFI_STATUS status = ChooseFolder(now, folder);
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the saved states in \\TVQ cannot be read", status, kCheckVolume);
    return;
  }
  StateFiles files(mVolume, folder);
  if (!Load(now, files)) {
    return;
  }
  const bool isComparable = files.HasState() && ShowState(now, files);
  if (isComparable) {
    mOutcome.IsCompared = true;
    mOutcome.SavedTime = files.Current().Content.Time;
    comparer.Compare(comparer.Context, files.Current().Content);
  }
  // Single devices are taken over only into a state that was compared.
  if (isComparable || !files.HasState() || mOptions.NameCount == 0) {
    SaveUnlessReadOnly(now, files);
  }
}

void StateCheck::SaveUnlessReadOnly(const Snapshot& now, StateFiles& files) {
  const bool wantsSave = mOptions.Accept || !files.HasState();
  if (mVolume.IsReadOnly() && mOptions.Accept) {
    mReport.Fail("the state cannot be accepted, because the volume cannot be written to",
                 kOtherMedium);
  } else if (mVolume.IsReadOnly() && wantsSave) {
    AddLine(&mReport, kNotSaved);
  } else if (mOptions.NameCount != 0) {
    AcceptNames(now, files);
  } else if (wantsSave) {
    Save(now, files, files.IsFirst() ? kSaved : kAccepted);
  } else {
    AddLine(&mReport, kLeft);
  }
}

EFI_STATUS StateCheck::ChooseFolder(const Snapshot& now, CHAR16 (&path)[kPathSize]) const {
  if (mOptions.State[0] == '\0') {
    return FindMachineFolder(mVolume, now, path);
  }
  UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(u"%a")), mOptions.State);
  return EFI_SUCCESS;
}

/// False: there is a state, and it cannot be read.
bool StateCheck::Load(const Snapshot& now, StateFiles& files) {
  EFI_STATUS status = files.Load();
  if (status == EFI_NOT_FOUND && files.Skipped().Empty() && mOptions.State[0] == '\0') {
    StateFiles first(mVolume, tvq::Ucs2(TVQ_FOLDER));
    status = first.LoadFirstVersion();
    if (!EFI_ERROR(status) &&
        MatchMachines(now, first.Current().Content) == MachineMatch::kAnother) {
      AddLine(&mReport, "State: what an earlier version saved in \\TVQ is of another machine");
      status = EFI_NOT_FOUND;
    } else if (!EFI_ERROR(status)) {
      status = files.LoadFirstVersion();
    }
  }
  ShowSkipped(files);
  if (!EFI_ERROR(status) || (status == EFI_NOT_FOUND && files.IsFirst())) {
    return true;
  }
  if (mOptions.Accept && mOptions.NameCount == 0 && status != EFI_OUT_OF_RESOURCES) {
    return true;
  }
  mReport.FailWithStatus("the saved state in \\TVQ cannot be read",
                         status == EFI_NOT_FOUND ? EFI_VOLUME_CORRUPTED : status,
                         "run TvqAgent with the option accept to save a new one beside it.");
  return false;
}

void StateCheck::ShowSkipped(const StateFiles& files) {
  for (const SkippedState& skipped : files.Skipped()) {
    CHAR16 path[kPathSize];
    files.PathOf(skipped.Number, path);
    if (skipped.Defect == StateDefect::kCutOff) {
      AddLine(&mReport, "State: %s was cut off while it was saved; %a", path,
              files.HasState() ? "the one before it counts" : "there is none before it");
      AddLine(&mReport,
              "  What to do: nothing, but leave the medium in the machine until it is done.");
      continue;
    }
    CHAR8 what[160];
    if (EFI_ERROR(skipped.Status)) {
      AsciiSPrint(what, sizeof(what), "%s cannot be read: %r", path, skipped.Status);
    } else {
      AsciiSPrint(what, sizeof(what), "%s %a", path, StateDefectText(skipped.Defect));
    }
    if (files.HasState()) {
      mReport.Fail(what, "the state before it counts; the option accept saves a new one.");
    } else {
      AddLine(&mReport, "State: %a", what);
    }
  }
}

bool StateCheck::ShowState(const Snapshot& now, const StateFiles& files) {
  const StoredState& state = files.Current();
  CHAR16 path[kPathSize];
  CHAR8 time[kTimeTextSize];
  files.CurrentPath(path);
  FormatTime(state.Content.Time, time);
  AddLine(
      &mReport, "State: %s, saved %a%a%a", path, time,
      state.Content.Program ? " by version " : " by an earlier version",
      state.Content.Program ? reinterpret_cast<const CHAR8*>(state.Content.Program.Data()) : "");
  if (!ShowMachine(now, state)) {
    return false;
  }
  if (state.Version > 1 && state.Content.Options != now.Options) {
    CHAR8 what[160];
    AsciiSPrint(what, sizeof(what), "the state was saved %a, and this boot is %a: not compared",
                OptionsText(state.Content.Options), OptionsText(now.Options));
    mReport.Fail(what, "run TvqAgent with the options that the state was saved with.");
    return false;
  }
  ShowHoles(state.Content, "Saved without");
  return true;
}

bool StateCheck::ShowMachine(const Snapshot& now, const StoredState& state) {
  const MachineMatch match = MatchMachines(now, state.Content);
  if (match == MachineMatch::kSame) {
    return true;
  }
  if (match == MachineMatch::kUnknown && state.Version > 1) {
    AddLine(&mReport, "State: nothing in the table tells this machine from others of its model.");
    AddLine(&mReport,
            "  What to do: where a stick serves several of them, give each a folder with "
            "the option state=FOLDER.");
    return true;
  }
  if (match == MachineMatch::kUnknown) {
    return true;
  }
  CHAR8 machine[kMachineTextSize];
  FormatMachine(now, machine);
  AddLine(&mReport, "  This machine: %a", machine);
  FormatMachine(state.Content, machine);
  AddLine(&mReport, "  Saved of:     %a", machine);
  if (match == MachineMatch::kBoardReplaced) {
    AddLine(&mReport, "State: of %a", MachineMatchText(match));
    return true;
  }
  if (mOptions.OtherMachine) {
    AddLine(&mReport, "State: of %a, which is compared because of the option other-machine",
            MachineMatchText(match));
    return true;
  }
  mReport.Fail("the saved state is of another machine",
               "run TvqAgent without state=FOLDER, or with other-machine to compare all the same.");
  return false;
}

void StateCheck::ShowHoles(const Snapshot& snapshot, const CHAR8* whose) {
  for (const SnapshotDevice& device : snapshot.Devices) {
    const Hole hole = FindHole(device);
    if (hole != Hole::kNone) {
      AddLine(&mReport, "%a: %s, %a", whose,
              device.Fqdd[0] == 0 ? tvq::Ucs2(u"a device without a name") : device.Fqdd,
              HoleText(hole, device.Why));
    }
  }
}

void StateCheck::Save(const Snapshot& snapshot, StateFiles& files, const CHAR8* what) {
  if (files.HasState()) {
    const Snapshot& saved = files.Current().Content;
    if (MatchMachines(snapshot, saved) == MachineMatch::kAnother && !mOptions.OtherMachine) {
      return;  // Which the report says already.
    }
    if (CountHoles(snapshot) != 0 && CountHoles(saved) == 0 && !mOptions.Incomplete) {
      ShowHoles(snapshot, "Missing");
      mReport.Fail("this boot's state is incomplete and does not replace the complete one",
                   "find out why devices are missing, or run TvqAgent accept incomplete.");
      return;
    }
  }
  ShowHoles(snapshot, "Saved without");
  if (CountHoles(snapshot) != 0) {
    AddLine(&mReport,
            "  What to do: mend what is missing, then accept, so that it is compared too.");
  }
  Write(snapshot, files, what);
}

void StateCheck::AcceptNames(const Snapshot& now, StateFiles& files) {
  if (!files.HasState()) {
    mReport.Fail("there is no saved state that a device could be accepted into",
                 "run TvqAgent first without accept, or with accept alone.");
    return;
  }
  AcceptedDevices accepted;
  AcceptResult result = accepted.Begin(files.Current().Content, now);
  const CHAR8* name = mOptions.Names[0];
  for (UINTN i = 0; result == AcceptResult::kAccepted && i < mOptions.NameCount; i++) {
    name = mOptions.Names[i];
    result = accepted.Accept(name);
  }
  if (result != AcceptResult::kAccepted) {
    CHAR8 what[160];
    AsciiSPrint(what, sizeof(what), "'%a' %a", name, AcceptResultText(result));
    mReport.Fail(what, "the table above has the names and labels; nothing was saved.");
    return;
  }
  Save(accepted.Get(), files, "State: accepted; of other devices it says what it said before");
}

void StateCheck::Write(const Snapshot& snapshot, StateFiles& files, const CHAR8* what) {
  const StateEnd saved = files.IsFirst() ? StateEnd::kFirst : StateEnd::kAccepted;
  EFI_STATUS status;
  switch (files.Save(snapshot, mOptions.Keep, status)) {
    case SaveResult::kSaved:
      AddLine(&mReport, "%a", what);
      mOutcome.End = saved;
      break;
    case SaveResult::kUnchanged:
      AddLine(&mReport, "State: accepted; it is what was saved already");
      mOutcome.End = StateEnd::kAccepted;
      break;
    case SaveResult::kFailed:
      mReport.FailWithStatus("the state cannot be saved", status, kCheckVolume);
      break;
  }
}

}  // namespace tvqplatform
