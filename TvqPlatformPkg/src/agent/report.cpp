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
void ShowText(const CHAR8* text) {
  if (gST->ConOut == nullptr) {
    return;
  }
  CHAR16 piece[kShortLine];
  while (*text != '\0') {
    UINTN length = 0;
    while (*text != '\0' && length + 1 < ARRAY_SIZE(piece)) {
      piece[length++] = static_cast<UINT8>(*text++);
    }
    piece[length] = 0;
    gST->ConOut->OutputString(gST->ConOut, piece);
  }
}

}  // namespace

Report::~Report() {
  mText.Free();
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

void Report::AddText(CHAR8* line) {
  MakePrintable(line);
  if (mUsesConsole) {
    ShowText(line);
    ShowText("\r\n");
  }
  const UINTN length = AsciiStrLen(line);
  if (!mText.Reserve(length + 1)) {
    mLost++;
    return;
  }
  const UINT8 lineFeed = '\n';
  (void)mText.Append(reinterpret_cast<const UINT8*>(line), length);  // There is room.
  (void)mText.Append(lineFeed);
}

VOID EFIAPI AddLine(Report* report, const CHAR8* format, ...) {
  VA_LIST marker;
  VA_START(marker, format);
  report->Add(format, marker);
  VA_END(marker);
}

}  // namespace tvqplatform
