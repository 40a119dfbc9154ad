/** @file
  What somebody looks at, what keys make of it, and how it is drawn. Nothing here knows a console.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_VIEW_H_
#define TVQ_PLATFORM_AGENT_SCREEN_VIEW_H_

#include "content.h"
#include "picture.h"

namespace tvqplatform {

/// Below these nothing useful can be shown; above, nothing more is.
inline constexpr ScreenSize kSmallestScreen = {40, 12};
inline constexpr ScreenSize kLargestScreen = {160, 60};

/// What is asked before it is done.
enum class Question : UINT8 {
  kNone,
  kAcceptAll,
  kAcceptOne,
  kPowerOff,
};

struct View {
  View() { Message[0] = '\0'; }

  bool HasDetails = false;  ///< One device is shown, in place of the list.
  UINTN Page = 0;           ///< Of the list or of the device.
  UINTN Chosen = 0;         ///< The device that keys act on.
  Question Asked = Question::kNone;
  UINT32 SecondsLeft = 0;  ///< Until it goes on by itself; 0 where it waits.
  CHAR8 Message[160];  ///< What became of the last command; empty where there is nothing to say.
  Style MessageStyle = Style::kPlain;
};

/// What has to be done, because of a key.
enum class Command : UINT8 {
  kNone,
  kShowDetails,  ///< Of the chosen device, which is there.
  kAcceptAll,
  kAcceptOne,  ///< The same device.
  kSave,
  kPowerOff,
  kLeave,
};

/// One row of the body.
struct PageRow {
  enum class Kind : UINT8 {
    kBlank,
    kSummary,
    kColumns,  ///< The heading of the inventory.
    kDevice,
    kReport,
    kDetail,
  };

  Kind What;
  UINT32 Line = 0;   ///< In the lines of its kind, or a device.
  UINT32 Start = 0;  ///< The piece of that line that the row shows.
  UINT32 Length = 0;
  UINT32 Indent = 0;
};

/// The rows of all pages, one behind the other.
class Pages {
 public:
  Pages() = default;
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;

  /// False: there is no memory for all rows; those that are there can be shown.
  [[nodiscard]] bool Arrange(const ScreenContent& content, bool hasDetails, const ScreenSize& size);

  /// At least one.
  UINTN Count() const;
  UINTN RowsPerPage() const { return mRowsPerPage; }
  const PageRow* Row(UINTN page, UINTN row) const;
  /// The page of a device's line.
  UINTN PageOf(UINTN device) const;

 private:
  [[nodiscard]] bool AddLines(PageRow::Kind kind, const StyledLines& lines, UINTN width);
  [[nodiscard]] bool AddText(PageRow::Kind kind, UINTN line, const CHAR8* text, UINTN width);
  [[nodiscard]] bool BeginPage();

  OwnedArray<PageRow> mRows;
  UINTN mRowsPerPage = 1;
};

/// A key as the console names it.
struct Key {
  UINT16 ScanCode;
  CHAR16 Character;
};

/// Takes one key: changes the view, and says what has to be done.
Command Press(const Key& key, const ScreenContent& content, const Pages& pages, View& view);

/// Draws the view. False: there is no memory.
[[nodiscard]] bool Draw(const ScreenContent& content, const Pages& pages, const View& view,
                        const ScreenSize& size, Picture& picture);

}  // namespace tvqplatform

#endif
