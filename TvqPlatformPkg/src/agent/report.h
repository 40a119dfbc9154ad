/** @file
  The agent's report: lines on the console, kept as ASCII for a file.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_REPORT_H_
#define TVQ_PLATFORM_AGENT_REPORT_H_

#include "../growing_array.h"

namespace tvqplatform {

/// What a line is about, for those who show some lines only.
enum class Topic : UINT8 {
  kRest,
  kProblem,  ///< What went wrong, and what to do.
  kMedium,   ///< The volume, where it takes nothing.
  kState,    ///< The saved state, and what becomes of this boot's.
  kFinding,  ///< What became of the devices since.
};

/// Lines of printable ASCII, each with one "\n" at its end; whatever else a text has shows as '?'.
class Report {
 public:
  Report() = default;
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;
  ~Report();

  /// Adds a line; also shows it, unless the report has no console.
  void Add(const CHAR8* format, VA_LIST marker);

  void UseConsole(bool use) { mUsesConsole = use; }
  bool UsesConsole() const { return mUsesConsole; }
  /// All lines that it has.
  void ShowOnConsole() const;

  /// Of the lines that follow. Returns that of the lines before.
  Topic Begin(Topic topic) {
    const Topic before = mTopic;
    mTopic = topic;
    return before;
  }
  tvq::Span<const UINT8> Text() const { return {mText.Data(), mText.Size()}; }
  /// Lines that there was no memory for, or only for their beginning.
  UINTN LostLines() const { return mLost; }

  /// Calls visit(text, length, topic) for each line.
  template <typename Visit>
  void ForEachLine(Visit visit) const {
    const auto* text = reinterpret_cast<const CHAR8*>(mText.Data());
    for (UINTN i = 0; i < mLines.Size(); i++) {
      const UINTN end = i + 1 < mLines.Size() ? mLines[i + 1].Start : mText.Size();
      visit(text + mLines[i].Start, end - 1 - mLines[i].Start, mLines[i].About);
    }
  }

 protected:
  /// Takes the lines behind the first `count` back.
  void Keep(UINTN count);
  UINTN CountLines() const { return mLines.Size(); }

 private:
  struct Line {
    UINT32 Start;
    Topic About;
  };

  void AddText(CHAR8* line);

  GrowingArray<UINT8> mText;
  GrowingArray<Line> mLines;
  Topic mTopic = Topic::kRest;
  bool mUsesConsole = true;
  UINTN mLost = 0;
};

/// Adds a line with PrintLib's ASCII directives.
VOID EFIAPI AddLine(Report* report, const CHAR8* format, ...);

}  // namespace tvqplatform

#endif
