/** @file
  The rows of all pages.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "view.h"

namespace tvqplatform {

namespace {

/// The title above, the message and the keys below. Keys take two rows where one is too short.
constexpr UINTN kRowsAround = 3;
constexpr UINTN kColumnsForAllKeys = 80;
/// Lines that go on are set in by so much more.
constexpr UINTN kFurtherIndent = 4;

UINTN BlanksBefore(const CHAR8* text) {
  UINTN blanks = 0;
  while (text[blanks] == ' ') {
    blanks++;
  }
  return blanks;
}

/// How much of the text goes into one row: up to a blank, where it has one that is not at its begin.
UINTN PieceOf(const CHAR8* text, UINTN length, UINTN room) {
  if (length <= room) {
    return length;
  }
  const UINTN first = BlanksBefore(text);
  for (UINTN end = room; end > first; end--) {
    if (text[end] == ' ') {
      return end;
    }
  }
  return room;
}

}  // namespace

bool Pages::AddText(PageRow::Kind kind, UINTN line, const CHAR8* text, UINTN width) {
  const UINTN length = Length(text);
  const UINTN further = MIN(BlanksBefore(text) + kFurtherIndent, width / 2);
  UINTN indent = 0;
  UINTN start = 0;
  do {
    const UINTN piece = PieceOf(text + start, length - start, width - indent);
    if (!mRows.Append({kind, static_cast<UINT32>(line), static_cast<UINT32>(start),
                       static_cast<UINT32>(piece), static_cast<UINT32>(indent)})) {
      return false;
    }
    start += piece;
    start += BlanksBefore(text + start);
    indent = further;
  } while (start < length);
  return true;
}

bool Pages::AddLines(PageRow::Kind kind, const StyledLines& lines, UINTN width) {
  for (UINTN i = 0; i < lines.Size(); i++) {
    if (!AddText(kind, i, lines[i].Text, width)) {
      return false;
    }
  }
  return true;
}

/// Fills the page that was begun.
bool Pages::BeginPage() {
  while (mRows.Size() % mRowsPerPage != 0) {
    if (!mRows.Append({PageRow::Kind::kBlank})) {
      return false;
    }
  }
  return true;
}

bool Pages::Arrange(const ScreenContent& content, bool hasDetails, const ScreenSize& size) {
  mRows.Shrink(0);
  mRowsPerPage = size.Rows - kRowsAround - (size.Columns < kColumnsForAllKeys ? 1 : 0);
  const UINTN width = size.Columns - 1;
  if (hasDetails) {
    return AddLines(PageRow::Kind::kDetail, content.Details, width);
  }
  if (!AddLines(PageRow::Kind::kSummary, content.Summary, width)) {
    return false;
  }
  if (!content.Devices.Empty()) {
    // The heading stands on the page of the first device.
    if (mRows.Size() % mRowsPerPage + 3 > mRowsPerPage && !BeginPage()) {
      return false;
    }
    const bool isAtTop = mRows.Size() % mRowsPerPage == 0;
    if ((!isAtTop && !mRows.Append({PageRow::Kind::kBlank})) ||
        !mRows.Append({PageRow::Kind::kColumns})) {
      return false;
    }
  }
  for (UINT32 i = 0; i < content.Devices.Size(); i++) {
    if (!mRows.Append({PageRow::Kind::kDevice, i})) {
      return false;
    }
  }
  return BeginPage() && AddLines(PageRow::Kind::kReport, content.Report, width);
}

UINTN Pages::Count() const {
  return MAX((mRows.Size() + mRowsPerPage - 1) / mRowsPerPage, UINTN{1});
}

const PageRow* Pages::Row(UINTN page, UINTN row) const {
  const UINTN place = page * mRowsPerPage + row;
  return row < mRowsPerPage && place < mRows.Size() ? &mRows[place] : nullptr;
}

UINTN Pages::PageOf(UINTN device) const {
  for (UINTN i = 0; i < mRows.Size(); i++) {
    if (mRows[i].What == PageRow::Kind::kDevice && mRows[i].Line == device) {
      return i / mRowsPerPage;
    }
  }
  return 0;
}

}  // namespace tvqplatform
