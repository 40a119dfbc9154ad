/** @file
  What keys make of the view.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "view.h"

extern "C" {
#include <Protocol/SimpleTextIn.h>
}

namespace tvqplatform {

namespace {

CHAR16 InLowerCase(CHAR16 character) {
  return character >= 'A' && character <= 'Z' ? static_cast<CHAR16>(character + ('a' - 'A'))
                                              : character;
}

bool IsNext(const Key& key) {
  return key.ScanCode == SCAN_PAGE_DOWN || key.ScanCode == SCAN_RIGHT || key.Character == ' ' ||
         InLowerCase(key.Character) == 'n';
}

bool IsBack(const Key& key) {
  return key.ScanCode == SCAN_PAGE_UP || key.ScanCode == SCAN_LEFT ||
         InLowerCase(key.Character) == 'b';
}

/// The next page after the last one is the first.
void TurnPage(const Pages& pages, View& view, bool isForward) {
  const UINTN count = pages.Count();
  view.Page = (view.Page + (isForward ? 1 : count - 1)) % count;
}

Command ShowDetails(View& view) {
  view.HasDetails = true;
  view.Page = 0;
  return Command::kShowDetails;
}

Command Choose(UINTN device, const Pages& pages, View& view) {
  view.Chosen = device;
  if (view.HasDetails) {
    return ShowDetails(view);
  }
  view.Page = pages.PageOf(device);
  return Command::kNone;
}

Command Ask(Question question, View& view) {
  view.Asked = question;
  return Command::kNone;
}

Command Answer(const Key& key, View& view) {
  const Question asked = view.Asked;
  view.Asked = Question::kNone;
  if (InLowerCase(key.Character) != 'y') {
    return Command::kNone;
  }
  switch (asked) {
    case Question::kAcceptAll:
      return Command::kAcceptAll;
    case Question::kAcceptOne:
      return Command::kAcceptOne;
    default:
      return Command::kPowerOff;
  }
}

Command GoBack(View& view) {
  if (!view.HasDetails) {
    return Command::kLeave;
  }
  view.HasDetails = false;
  return Command::kNone;
}

/// Keys that act on the chosen device, or on all of them.
Command PressLetter(const Key& key, const ScreenContent& content, View& view) {
  const bool hasDevice = view.Chosen < content.Devices.Size();
  switch (InLowerCase(key.Character)) {
    case CHAR_CARRIAGE_RETURN:
    case 'd':
      return hasDevice && !view.HasDetails ? ShowDetails(view) : Command::kNone;
    case 'a':
      return content.CanAccept ? Ask(Question::kAcceptAll, view) : Command::kNone;
    case 'o':
      return content.CanAccept && hasDevice ? Ask(Question::kAcceptOne, view) : Command::kNone;
    case 's':
      return content.CanSave ? Command::kSave : Command::kNone;
    case 'p':
      return Ask(Question::kPowerOff, view);
    case 'q':
      return GoBack(view);
    default:
      return key.ScanCode == SCAN_ESC ? GoBack(view) : Command::kNone;
  }
}

}  // namespace

Command Press(const Key& key, const ScreenContent& content, const Pages& pages, View& view) {
  view.SecondsLeft = 0;
  view.Message[0] = '\0';
  if (view.Asked != Question::kNone) {
    return Answer(key, view);
  }
  if (IsNext(key) || IsBack(key)) {
    TurnPage(pages, view, IsNext(key));
    return Command::kNone;
  }
  if (key.ScanCode == SCAN_DOWN && view.Chosen + 1 < content.Devices.Size()) {
    return Choose(view.Chosen + 1, pages, view);
  }
  if (key.ScanCode == SCAN_UP && view.Chosen != 0) {
    return Choose(view.Chosen - 1, pages, view);
  }
  return PressLetter(key, content, view);
}

}  // namespace tvqplatform
