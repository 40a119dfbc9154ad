/** @file
  The agent's report: lines on the console, kept as ASCII for a file.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "report.h"

#include "../formatted_text.h"

namespace tvqplatform {

namespace {

/// Serves when there is no memory for a longer line.
constexpr UINTN kShortLine = 128;

void MakePrintable(CHAR8* line) {
  for (; *line != '\0'; line++) {
    const UINT8 character = static_cast<UINT8>(*line);
    if (character < ' ' || character > '~') {
      *line = '?';
    }
  }
}

/// The console takes CHAR16; pieces of a line do.
void ShowText(const CHAR8* text, UINTN size) {
  if (gST->ConOut == nullptr) {
    return;
  }
  CHAR16 piece[kShortLine];
  for (UINTN start = 0; start < size;) {
    UINTN length = 0;
    while (start < size && length + 1 < ARRAY_SIZE(piece)) {
      piece[length++] = static_cast<UINT8>(text[start++]);
    }
    piece[length] = 0;
    gST->ConOut->OutputString(gST->ConOut, piece);
  }
}

void ShowLine(const CHAR8* text, UINTN length) {
  ShowText(text, length);
  ShowText("\r\n", 2);
}

}  // namespace

Report::~Report() {
  mText.Free();
  mLines.Free();
}

void Report::Keep(UINTN count) {
  if (count < mLines.Size()) {
    mText.Shrink(mLines[count].Start);
    mLines.Shrink(count);
  }
}

void Report::Add(const CHAR8* format, VA_LIST marker) {
  const FormattedText<CHAR8> line = Format(format, marker);
  if (line.Text) {
    AddText(line.Text.Get());
  } else {
    CHAR8 shortLine[kShortLine];
    AsciiVSPrint(shortLine, sizeof(shortLine), format, marker);
    AddText(shortLine);
    mLost++;
  }
}

void Report::ShowOnConsole() const {
  ForEachLine([](const CHAR8* line, UINTN length, Topic) { ShowLine(line, length); });
}

void Report::AddText(CHAR8* line) {
  MakePrintable(line);
  const UINTN length = AsciiStrLen(line);
  if (mUsesConsole) {
    ShowLine(line, length);
  }
  const UINTN start = mText.Size();
  line[length] = '\n';  // In the place of its terminator.
  if (!mText.Append(reinterpret_cast<const UINT8*>(line), length + 1) ||
      !mLines.Append({static_cast<UINT32>(start), mTopic})) {
    mText.Shrink(start);
    mLost++;
  }
}

VOID EFIAPI AddLine(Report* report, const CHAR8* format, ...) {
  VA_LIST marker;
  VA_START(marker, format);
  report->Add(format, marker);
  VA_END(marker);
}

}  // namespace tvqplatform
