/** @file
  The firmware's text console: what is shown, and which keys are pressed.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_CONSOLE_H_
#define TVQ_PLATFORM_AGENT_SCREEN_CONSOLE_H_

#include "view.h"

namespace tvqplatform {

/// What ended a wait.
enum class Wakening : UINT8 {
  kKey,
  kSecond,  ///< One has passed.
  kBroken,  ///< The firmware cannot wait.
};

/// Takes the whole screen while it lives. Then the screen is blank, with its size, colours and cursor as
/// they were.
class Console {
 public:
  Console() = default;
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console();

  /// Whether the machine has a screen and a keyboard.
  static bool IsThere();

  /// False: the screen is too small, or nothing can be waited for. Nothing has changed then.
  [[nodiscard]] bool Open();

  const ScreenSize& Size() const { return mSize; }

  /// Draws the rows in which it differs from what it drew before; null where nothing was.
  void Show(const Picture& picture, const Picture* before);

  Wakening Wait(Key& key);

 private:
  void TakeUsualMode();
  void PutModeBack();
  [[nodiscard]] bool StartSeconds();
  void ShowRow(const Picture& picture, UINTN row);

  ScreenSize mSize = {};
  EFI_EVENT mTimer = nullptr;
  INT32 mFormerMode = 0;
  bool mHasOtherMode = false;
  UINTN mFormerAttribute = 0;
  bool mFormerCursor = false;
};

}  // namespace tvqplatform

#endif
