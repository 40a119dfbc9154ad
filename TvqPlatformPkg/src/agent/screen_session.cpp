/** @file
  Somebody at the screen: what was found, and what they want done about it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "screen_session.h"

#include <TvqVersion.h>

#include "../states/machine_identity.h"
#include "../states/machine_match.h"
#include "screen/summary.h"

namespace tvqplatform {

namespace {

/// What a title has room for, beside the machine's serial number.
constexpr UINTN kShownModel = 24;

constexpr CHAR8 kRootOfDocument[] = "Configuration/";

VOID EFIAPI AddDetail(ScreenContent* content, Style style, const CHAR8* format, ...) {
  CHAR8 line[200];
  VA_LIST marker;
  VA_START(marker, format);
  AsciiVSPrint(line, sizeof(line), format, marker);
  VA_END(marker);
  content->Expect(content->Details.Add(style, line));
}

void Tell(Style style, const CHAR8* text, View& view) {
  AsciiSPrint(view.Message, sizeof(view.Message), "%a", text);
  view.MessageStyle = style;
}

/// The path below the root, which is the same in all documents.
const CHAR8* WithoutRoot(const CHAR8* path) {
  const UINTN length = sizeof(kRootOfDocument) - 1;
  return AsciiStrnCmp(path, kRootOfDocument, length) == 0 ? path + length : path;
}

}  // namespace

bool ScreenSession::Run(ScreenEnd& end) {
  Console console;
  if (!console.Open()) {
    return false;
  }
  FormatTitle();
  Describe(mReport);
  const ScreenCommands commands = {Do, this};
  end = Screen(console, mContent, commands).Run(static_cast<UINT32>(mOptions.Countdown));
  return true;
}

/// The model, and what tells the machine from others of it.
void ScreenSession::FormatTitle() {
  CHAR8 machine[kMachineTextSize];
  FormatMachine(mResults.Now(), machine);
  const smbios::Text text = ReadModel(mResults.Now().Table.Structures);
  CHAR8 model[kShownModel + 1];
  ZeroMem(model, sizeof(model));
  if (text) {
    CopyMem(model, text.Data(), MIN(text.Length(), kShownModel));
  }
  AsciiSPrint(mContent.Title, sizeof(mContent.Title), "TvqAgent " TVQ_VERSION "  %a%a%a", model,
              model[0] == '\0' ? "" : ", ", machine);
}

void ScreenSession::Do(VOID* context, Command command, View& view) {
  ScreenSession& self = *static_cast<ScreenSession*>(context);
  switch (command) {
    case Command::kShowDetails:
      self.ShowDetails(self.mContent.Devices[view.Chosen]);
      break;
    case Command::kAcceptOne:
      self.AcceptOne(self.mContent.Devices[view.Chosen], view);
      break;
    case Command::kAcceptAll:
      AddLine(&self.mReport, "");
      AddLine(&self.mReport, "At the screen: accept");
      self.Accept(view);
      break;
    default:
      self.Save(view);
      break;
  }
}

void ScreenSession::Describe(const RunReport& state) {
  mContent.CanSave = !mVolume.IsReadOnly();
  mContent.CanAccept = mContent.CanSave && mResults.Outcome().IsCompared;
  Summarize({mReport, state, mResults.Outcome(), mVolume.IsReadOnly()}, mContent);
}

void ScreenSession::LookAgain() {
  RunReport state;
  state.UseConsole(false);
  ForgetVerdicts(mContent);
  mResults.CheckState(state);
  (void)mReport.Finish(mVolume);  // The report knows by itself whether something went wrong.
  Describe(state);
}

void ScreenSession::AcceptOne(const ShownDevice& device, View& view) {
  const CHAR8* const name = device.Fqdd[0] != '\0' ? device.Fqdd : device.Label;
  AddLine(&mReport, "");
  AddLine(&mReport, "At the screen: accept %a", name);
  AsciiSPrint(mOptions.Names[0], sizeof(mOptions.Names[0]), "%a", name);
  mOptions.NameCount = 1;
  Accept(view);
}

void ScreenSession::Accept(View& view) {
  mOptions.Accept = true;
  mResults.CheckState();
  const bool isDone = mResults.Outcome().End == StateEnd::kAccepted;
  mOptions.Accept = false;
  mOptions.NameCount = 0;
  LookAgain();
  view.HasDetails = false;
  view.Page = 0;
  Tell(isDone ? Style::kGood : Style::kTrouble,
       isDone ? "Accepted, and saved beside what was saved before."
              : "Not accepted; the first page says why.",
       view);
}

void ScreenSession::Save(View& view) {
  const UINTN before = mReport.Failures();
  AddLine(&mReport, "");
  AddLine(&mReport, "At the screen: save");
  mResults.Save();
  if (!mResults.Outcome().IsCompared) {
    mResults.CheckState();  // The first state may have found no room.
  }
  LookAgain();
  const bool isDone = mReport.Failures() == before;
  Tell(isDone ? Style::kGood : Style::kTrouble,
       isDone ? "Saved in \\TVQ: inventory, log and report."
              : "Not everything is saved; the first page says why.",
       view);
}

void ScreenSession::ShowDetails(const ShownDevice& device) {
  mContent.Details.Clear();
  AddDetail(&mContent, Style::kHeading, "%a  %a",
            device.Label[0] == '\0' ? "(no label)" : device.Label, device.Fqdd);
  AddDetail(&mContent, Style::kPlain, "Class:   %a", device.Class);
  AddDetail(&mContent, Style::kPlain, "Serial:  %a", device.Serial);
  AddDetail(&mContent, Style::kPlain, "Name:    %a", device.Name);
  for (UINTN i = 0; i < device.LineCount; i++) {
    const StyledLine line = mContent.Verdicts[device.FirstLine + i];
    mContent.Expect(mContent.Details.Add(line.How, line.Text));
  }
  if (device.Record != kNone) {
    ShowValues(mResults.Devices()[device.Record]);
  }
}

void ScreenSession::ShowValues(const DeviceInventory& device) {
  AddDetail(&mContent, Style::kPlain, "");
  const tvq::Span<const UINT8> blob = BlobBytes(device, TVQ_SLOT_CONFIGURATION);
  Document document;
  TextPool pool;
  OwnedArray<FieldValue> values;
  if (document.Read(blob) != Unreadable::kNot ||
      !document.Collect(HasSwappedUuids(mResults.Now()), pool, values)) {
    AddDetail(&mContent, Style::kAttention, "Its configuration document cannot be read.");
    return;
  }
  AddDetail(&mContent, Style::kHeading, "Values:");
  for (const FieldValue& value : values) {
    AddDetail(&mContent, Style::kPlain, "%a: %a", WithoutRoot(pool.At(value.Path)),
              pool.At(value.Text));
  }
}

}  // namespace tvqplatform
