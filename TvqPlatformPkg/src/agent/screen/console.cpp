/** @file
  The firmware's text console.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "console.h"

namespace tvqplatform {

namespace {

constexpr ScreenSize kUsualSize = {80, 25};
/// In units of 100 ns.
constexpr UINT64 kSecond = 10000000;
/// Keys that somebody pressed before there was anything to see.
constexpr UINTN kMostStrayKeys = 64;

UINTN AttributeOf(Style style) {
  switch (style) {
    case Style::kPlain:
      break;
    case Style::kBar:
      return EFI_TEXT_ATTR(EFI_BLACK, EFI_LIGHTGRAY);
    case Style::kHeading:
      return EFI_TEXT_ATTR(EFI_WHITE, EFI_BLACK);
    case Style::kGood:
      return EFI_TEXT_ATTR(EFI_LIGHTGREEN, EFI_BLACK);
    case Style::kAttention:
      return EFI_TEXT_ATTR(EFI_YELLOW, EFI_BLACK);
    case Style::kTrouble:
      return EFI_TEXT_ATTR(EFI_LIGHTRED, EFI_BLACK);
    case Style::kChosen:
      return EFI_TEXT_ATTR(EFI_WHITE, EFI_BLUE);
  }
  return EFI_TEXT_ATTR(EFI_LIGHTGRAY, EFI_BLACK);
}

bool IsUsual(const ScreenSize& size) {
  return size.Columns == kUsualSize.Columns && size.Rows == kUsualSize.Rows;
}

/// What the console says of a mode; the usual size where it says nothing.
ScreenSize SizeOf(INT32 mode) {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const out = gST->ConOut;
  UINTN columns = 0;
  UINTN rows = 0;
  if (mode < 0 || EFI_ERROR(out->QueryMode(out, static_cast<UINTN>(mode), &columns, &rows)) ||
      columns == 0 || rows == 0) {
    return kUsualSize;
  }
  return {MIN(columns, kLargestScreen.Columns), MIN(rows, kLargestScreen.Rows)};
}

bool AreEqual(const Picture& left, const Picture& right, UINTN row) {
  return left.StyleOf(row) == right.StyleOf(row) &&
         CompareMem(left.Row(row), right.Row(row), left.Width()) == 0;
}

}  // namespace

bool Console::IsThere() {
  return gST->ConOut != nullptr && gST->ConIn != nullptr && gST->ConIn->WaitForKey != nullptr;
}

/// Firmware takes the largest mode that its consoles have in common, and believes every terminal at the
/// end of a serial line to be as large as that. Mode 0 is 80 by 25 by the standard (UEFI 12.4), which
/// firmware's own menus take too.
void Console::TakeUsualMode() {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const out = gST->ConOut;
  mFormerMode = out->Mode->Mode;
  mSize = SizeOf(mFormerMode);
  if (!IsUsual(mSize) && IsUsual(SizeOf(0)) && !EFI_ERROR(out->SetMode(out, 0))) {
    mSize = kUsualSize;
    mHasOtherMode = true;
  }
}

void Console::PutModeBack() {
  if (mHasOtherMode) {
    (void)gST->ConOut->SetMode(gST->ConOut, static_cast<UINTN>(mFormerMode));
  }
}

bool Console::Open() {
  TakeUsualMode();
  if (!StartSeconds()) {
    PutModeBack();
    return false;
  }
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const out = gST->ConOut;
  mFormerAttribute = static_cast<UINTN>(out->Mode->Attribute);
  mFormerCursor = out->Mode->CursorVisible != FALSE;
  (void)out->EnableCursor(out, FALSE);
  (void)out->SetAttribute(out, AttributeOf(Style::kPlain));
  (void)out->ClearScreen(out);
  EFI_INPUT_KEY stray;
  for (UINTN i = 0; i < kMostStrayKeys && !EFI_ERROR(gST->ConIn->ReadKeyStroke(gST->ConIn, &stray));
       i++) {
  }
  return true;
}

bool Console::StartSeconds() {
  if (mSize.Columns < kSmallestScreen.Columns || mSize.Rows < kSmallestScreen.Rows ||
      EFI_ERROR(gBS->CreateEvent(EVT_TIMER, TPL_CALLBACK, nullptr, nullptr, &mTimer))) {
    return false;
  }
  if (EFI_ERROR(gBS->SetTimer(mTimer, TimerPeriodic, kSecond))) {
    (void)gBS->CloseEvent(mTimer);
    mTimer = nullptr;
    return false;
  }
  return true;
}

Console::~Console() {
  if (mTimer == nullptr) {
    return;
  }
  (void)gBS->CloseEvent(mTimer);
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const out = gST->ConOut;
  (void)out->SetAttribute(out, mFormerAttribute);
  (void)out->ClearScreen(out);
  PutModeBack();
  (void)out->EnableCursor(out, mFormerCursor ? TRUE : FALSE);
}

void Console::ShowRow(const Picture& picture, UINTN row) {
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const out = gST->ConOut;
  CHAR16 text[kLargestScreen.Columns + 1];
  const CHAR8* const line = picture.Row(row);
  for (UINTN i = 0; i <= picture.Width(); i++) {
    text[i] = static_cast<UINT8>(line[i]);
  }
  (void)out->SetCursorPosition(out, 0, row);
  (void)out->SetAttribute(out, AttributeOf(picture.StyleOf(row)));
  (void)out->OutputString(out, text);
}

void Console::Show(const Picture& picture, const Picture* before) {
  for (UINTN row = 0; row < picture.Rows(); row++) {
    if (before == nullptr || !AreEqual(picture, *before, row)) {
      ShowRow(picture, row);
    }
  }
}

/// The second is looked at first, so that a keyboard that never falls silent does not stop the time.
Wakening Console::Wait(Key& key) {
  EFI_EVENT events[] = {mTimer, gST->ConIn->WaitForKey};
  for (;;) {
    UINTN which = 0;
    if (EFI_ERROR(gBS->WaitForEvent(ARRAY_SIZE(events), events, &which))) {
      return Wakening::kBroken;
    }
    if (which == 0) {
      return Wakening::kSecond;
    }
    EFI_INPUT_KEY pressed = {0, 0};
    if (!EFI_ERROR(gST->ConIn->ReadKeyStroke(gST->ConIn, &pressed))) {
      key = {pressed.ScanCode, pressed.UnicodeChar};
      return Wakening::kKey;
    }
  }
}

}  // namespace tvqplatform
