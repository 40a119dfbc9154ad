/** @file
  The screen: shows the content, takes keys, and has done what they ask for.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "screen.h"

namespace tvqplatform {

ScreenEnd Screen::Run(UINT32 seconds) {
  mView.SecondsLeft = seconds;
  mView.Chosen = mContent.FirstFinding();
  Arrange();
  ScreenEnd end = ScreenEnd::kLeft;
  for (;;) {
    if (!Refresh()) {
      return end;  // Nobody sees what they do.
    }
    Key key;
    switch (mConsole.Wait(key)) {
      case Wakening::kBroken:
        return end;
      case Wakening::kSecond:
        if (mView.SecondsLeft != 0 && --mView.SecondsLeft == 0) {
          return end;
        }
        break;
      case Wakening::kKey:
        if (Take(key, end)) {
          return end;
        }
        break;
    }
  }
}

/// What there is no memory for is missing from the last page.
void Screen::Arrange() {
  (void)mPages.Arrange(mContent, mView.HasDetails, mConsole.Size());
  mView.Page = MIN(mView.Page, mPages.Count() - 1);
}

bool Screen::Refresh() {
  Picture& next = mPictures[1 - mShown];
  if (!Draw(mContent, mPages, mView, mConsole.Size(), next)) {
    return false;
  }
  mConsole.Show(next, mHasShown ? &mPictures[mShown] : nullptr);
  mHasShown = true;
  mShown = 1 - mShown;
  return true;
}

/// True: that was the end.
bool Screen::Take(const Key& key, ScreenEnd& end) {
  const bool hadDetails = mView.HasDetails;
  const Command command = Press(key, mContent, mPages, mView);
  switch (command) {
    case Command::kLeave:
      return true;
    case Command::kPowerOff:
      end = ScreenEnd::kPowerOff;
      return true;
    case Command::kNone:
      break;
    default:
      CarryOut(command);
      break;
  }
  Arrange();
  if (hadDetails && !mView.HasDetails) {
    mView.Page = mPages.PageOf(mView.Chosen);
  }
  return false;
}

void Screen::CarryOut(Command command) {
  const bool takesTime = command != Command::kShowDetails;
  if (takesTime) {
    AsciiSPrint(mView.Message, sizeof(mView.Message), "Saving...");
    mView.MessageStyle = Style::kPlain;
    (void)Refresh();
  }
  mCommands.Do(mCommands.Context, command, mView);
  mView.Chosen = mView.Chosen < mContent.Devices.Size() ? mView.Chosen : 0;
}

}  // namespace tvqplatform
