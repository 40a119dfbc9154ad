/** @file
  The debug log: keeps every line that is printed.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "debug_log.h"

#include "../formatted_text.h"
#include "../text.h"

namespace tvqplatform {

namespace {

// PrintLib makes "\r\n" of a format's "\n". The Unicode symbols for both characters stand for them
// while a line is formatted, so that the text comes out as it was written. No text that is logged
// has them: what comes from SMBIOS strings lies in 00h to 7Fh and FF80h to FFFFh.
constexpr CHAR16 kLineFeed = 0x240A;
constexpr CHAR16 kCarriageReturn = 0x240D;

/// DebugLib cuts what one call prints after 255 characters.
constexpr UINTN kPiece = 200;

/// Hands a line on to DEBUG (), where that prints.
void PrintToDebugLib(const TVQ_LOG_LINE& line) {
  if (!DebugPrintEnabled()) {
    return;
  }
  [[maybe_unused]] const UINTN level =
      line.Level == DEBUG_LOG_LEVEL_ERROR ? DEBUG_ERROR : DEBUG_INFO;
  DEBUG((level, "%a: ", line.FunctionName));
  const UINTN length = Length(line.Text);
  for (UINTN at = 0; at < length; at += kPiece) {
    DEBUG((level, "%.*s", MIN(length - at, kPiece), line.Text + at));
  }
}

void Exchange(CHAR16* text, CHAR16 from, CHAR16 to) {
  for (; *text != 0; text++) {
    if (*text == from) {
      *text = to;
    }
  }
}

tvq::PoolPtr<CHAR16> ProtectedFormat(const CHAR16* format) {
  tvq::PoolPtr<CHAR16> copy(static_cast<CHAR16*>(AllocateCopyPool(Size(format), format)));
  if (copy) {
    Exchange(copy.Get(), '\n', kLineFeed);
    Exchange(copy.Get(), '\r', kCarriageReturn);
  }
  return copy;
}

/// The line's two texts lie in one block; Text is its address.
void FreeLine(const TVQ_LOG_LINE& line) {
  (void)gBS->FreePool(const_cast<CHAR16*>(line.Text));
}

VOID EFIAPI PrintLine(UINT32 Level, const CHAR8* FunctionName, const CHAR16* Format, ...) {
  VA_LIST marker;
  VA_START(marker, Format);
  gDebugLogStore.Print(Level, FunctionName, Format, marker);
  VA_END(marker);
}

constexpr DEBUG_LOG_PROTOCOL MakeProtocol() {
  DEBUG_LOG_PROTOCOL protocol = {};
  protocol.Print = PrintLine;
  return protocol;
}

constexpr DEBUG_LOG_PROTOCOL kProtocol = MakeProtocol();

}  // namespace

void DebugLog::Print(UINT32 level, const CHAR8* function, const CHAR16* format, VA_LIST marker) {
  if (!Keep(level, function == nullptr ? "" : function, format == nullptr ? tvq::Ucs2(u"") : format,
            marker)) {
    mLost++;
  }
}

bool DebugLog::Keep(UINT32 level, const CHAR8* function, const CHAR16* format, VA_LIST marker) {
  const tvq::PoolPtr<CHAR16> guarded = ProtectedFormat(format);
  if (!guarded || !mLines.Reserve(1)) {
    return false;
  }
  FormattedText<CHAR16> formatted = Format<CHAR16>(guarded.Get(), marker, Size(function));
  if (!formatted.Text) {
    return false;
  }
  CHAR16* text = formatted.Text.Release();
  Exchange(text, kLineFeed, '\n');
  Exchange(text, kCarriageReturn, '\r');
  CHAR8* name = reinterpret_cast<CHAR8*>(text + formatted.Length + 1);
  CopyMem(name, function, Size(function));
  const TVQ_LOG_LINE line = {level, name, text};
  PrintToDebugLib(line);
  return mLines.Append(line);
}

void DebugLog::Free() {
  for (const TVQ_LOG_LINE& line : mLines) {
    FreeLine(line);
  }
  mLines.Free();
  mLost = 0;
}

DebugLog gDebugLogStore;

}  // namespace tvqplatform

DEBUG_LOG_PROTOCOL gTvqDebugLog = tvqplatform::kProtocol;
