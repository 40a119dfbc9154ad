/** @file
  The screen: shows the content, takes keys, and has done what they ask for.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_SCREEN_H_
#define TVQ_PLATFORM_AGENT_SCREEN_SCREEN_H_

#include "console.h"

namespace tvqplatform {

enum class ScreenEnd : UINT8 {
  kLeft,  ///< Somebody asked for it, or nobody was there.
  kPowerOff,
};

/// Does what a command asks for: changes the content, and says in the view's message what became of
/// it.
struct ScreenCommands {
  void (*Do)(VOID* context, Command command, View& view);
  VOID* Context;
};

class Screen {
 public:
  Screen(Console& console, ScreenContent& content, const ScreenCommands& commands)
      : mConsole(console), mContent(content), mCommands(commands) {}

  /// `seconds` without a key end it; 0 is for ever.
  [[nodiscard]] ScreenEnd Run(UINT32 seconds);

 private:
  void Arrange();
  [[nodiscard]] bool Refresh();
  [[nodiscard]] bool Take(const Key& key, ScreenEnd& end);
  void CarryOut(Command command);

  Console& mConsole;
  ScreenContent& mContent;
  const ScreenCommands& mCommands;
  View mView;
  Pages mPages;
  Picture mPictures[2];  ///< What is shown, and what comes next.
  UINTN mShown = 0;
  bool mHasShown = false;
};

}  // namespace tvqplatform

#endif
