/*
 * A text screen with a keyboard, and somebody who presses keys.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_terminal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

namespace tvq::test {
namespace {

// Nobody waits so long in a test.
constexpr size_t kMostIdleSeconds = 2000;

FakeTerminal* gTerminal;

std::string WithoutBlanksBehind(const std::string& row) {
  return row.substr(0, row.find_last_not_of(' ') + 1);
}

char LetterOf(UINTN attribute) {
  switch (attribute) {
    case EFI_BLACK | EFI_BACKGROUND_LIGHTGRAY:
      return '=';
    case EFI_WHITE:
      return '#';
    case EFI_LIGHTGRAY:
      return '.';
    case EFI_LIGHTGREEN:
      return '+';
    case EFI_YELLOW:
      return '!';
    case EFI_LIGHTRED:
      return 'X';
    case EFI_WHITE | EFI_BACKGROUND_BLUE:
      return '>';
    default:
      return '?';
  }
}

}  // namespace

FakeTerminal::FakeTerminal(host::Firmware& machine, size_t columns, size_t rows)
    : mFirmware(machine) {
  gTerminal = this;
  OfferModes({{columns, rows}});
  mOutput.OutputString = OutputString;
  mOutput.QueryMode = QueryMode;
  mOutput.SetMode = SetMode;
  mOutput.SetAttribute = SetAttribute;
  mOutput.ClearScreen = ClearScreen;
  mOutput.SetCursorPosition = SetCursorPosition;
  mOutput.EnableCursor = EnableCursor;
  mOutput.Mode = &mMode;
  mInput.ReadKeyStroke = ReadKey;
  EXPECT_EQ(machine.BootServices()->CreateEvent(EVT_NOTIFY_WAIT, TPL_NOTIFY, LookForKey, this,
                                                &mInput.WaitForKey),
            EFI_SUCCESS);
}

FakeTerminal::~FakeTerminal() {
  mFirmware.BootServices()->CloseEvent(mInput.WaitForKey);
  gTerminal = nullptr;
}

FakeTerminal& FakeTerminal::Of(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL*) {
  return *gTerminal;
}

void FakeTerminal::OfferModes(const std::vector<std::pair<size_t, size_t>>& sizes) {
  mModes = sizes;
  SetMode(&mOutput, sizes.size() - 1);
}

void FakeTerminal::Type(const std::string& keys) {
  for (const char key : keys) {
    const bool isEscape = key == '\x1B';
    const CHAR16 character = static_cast<CHAR16>(isEscape ? 0 : key);
    mSteps.push_back({{static_cast<UINT16>(isEscape ? SCAN_ESC : SCAN_NULL), character}, 0, {}});
  }
}

void FakeTerminal::Press(UINT16 scanCode) {
  mSteps.push_back({{scanCode, 0}, 0, {}});
}

void FakeTerminal::Wait(unsigned seconds) {
  mSteps.push_back({{0, 0}, seconds, {}});
}

void FakeTerminal::Do(std::function<void()> action) {
  mSteps.push_back({{0, 0}, 0, std::move(action)});
}

void FakeTerminal::TypeAhead(char key) {
  mReady.push_back({SCAN_NULL, static_cast<CHAR16>(key)});
}

std::string FakeTerminal::Picture() const {
  std::string picture;
  for (const std::string& row : mCells) {
    picture += WithoutBlanksBehind(row) + "\n";
  }
  return picture;
}

std::string FakeTerminal::Styles() const {
  std::string styles;
  for (const UINTN attribute : mAttributes) {
    styles.push_back(LetterOf(attribute));
  }
  return styles;
}

UINTN FakeTerminal::AttributeOf(const std::string& text) const {
  for (size_t row = 0; row < mRows; ++row) {
    if (mCells[row].find(text) != std::string::npos) {
      return mAttributes[row];
    }
  }
  ADD_FAILURE() << "no row has '" << text << "':\n" << Picture();
  return 0;
}

EFI_STATUS EFIAPI FakeTerminal::OutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, CHAR16* text) {
  FakeTerminal& terminal = Of(self);
  if (!terminal.mIsScreen) {
    for (; *text != 0; ++text) {
      terminal.mLines.push_back(static_cast<char>(*text));
    }
    return EFI_SUCCESS;
  }
  const auto row = static_cast<size_t>(terminal.mMode.CursorRow);
  auto column = static_cast<size_t>(terminal.mMode.CursorColumn);
  for (; *text != 0; ++text, ++column) {
    if (*text < ' ' || *text > '~' || row >= terminal.mRows || column + 1 >= terminal.mColumns) {
      ADD_FAILURE() << "character " << *text << " at row " << row << ", column " << column;
      return EFI_SUCCESS;
    }
    terminal.mCells[row][column] = static_cast<char>(*text);
  }
  terminal.mMode.CursorColumn = static_cast<INT32>(column);
  terminal.mAttributes[row] = static_cast<UINTN>(terminal.mMode.Attribute);
  terminal.mDrawn.push_back(LetterOf(terminal.mAttributes[row]) +
                            WithoutBlanksBehind(terminal.mCells[row]));
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::QueryMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN mode,
                                          UINTN* columns, UINTN* rows) {
  if (Of(self).mSaid) {
    *columns = Of(self).mSaid->columns;
    *rows = Of(self).mSaid->rows;
    return Of(self).mSaid->status;
  }
  if (mode >= Of(self).mModes.size()) {
    return EFI_UNSUPPORTED;
  }
  std::tie(*columns, *rows) = Of(self).mModes[mode];
  return EFI_SUCCESS;
}

// Clears the screen, as firmware does.
EFI_STATUS EFIAPI FakeTerminal::SetMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN mode) {
  FakeTerminal& terminal = Of(self);
  if (mode >= terminal.mModes.size()) {
    return EFI_UNSUPPORTED;
  }
  std::tie(terminal.mColumns, terminal.mRows) = terminal.mModes[mode];
  terminal.mCells.assign(terminal.mRows, std::string(terminal.mColumns, ' '));
  terminal.mAttributes.assign(terminal.mRows, 0);
  terminal.mMode.MaxMode = static_cast<INT32>(terminal.mModes.size());
  terminal.mMode.Mode = static_cast<INT32>(mode);
  terminal.mIsScreen = false;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::SetAttribute(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self,
                                             UINTN attribute) {
  Of(self).mMode.Attribute = static_cast<INT32>(attribute);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::ClearScreen(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self) {
  FakeTerminal& terminal = Of(self);
  if (terminal.mIsScreen) {
    terminal.mPictures.push_back(terminal.Picture());
  } else {
    terminal.mClearedWith = static_cast<UINTN>(terminal.mMode.Attribute);
  }
  std::fill(terminal.mCells.begin(), terminal.mCells.end(), std::string(terminal.mColumns, ' '));
  terminal.mMode.CursorRow = 0;
  terminal.mMode.CursorColumn = 0;
  terminal.mIsScreen = false;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::SetCursorPosition(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self,
                                                  UINTN column, UINTN row) {
  FakeTerminal& terminal = Of(self);
  if (column >= terminal.mColumns || row >= terminal.mRows) {
    ADD_FAILURE() << "the cursor went to row " << row << ", column " << column;
    return EFI_UNSUPPORTED;
  }
  terminal.mMode.CursorColumn = static_cast<INT32>(column);
  terminal.mMode.CursorRow = static_cast<INT32>(row);
  terminal.mIsScreen = true;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::EnableCursor(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self,
                                             BOOLEAN visible) {
  Of(self).mMode.CursorVisible = visible;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeTerminal::ReadKey(EFI_SIMPLE_TEXT_INPUT_PROTOCOL*, EFI_INPUT_KEY* key) {
  FakeTerminal& terminal = *gTerminal;
  if (EFI_ERROR(terminal.mReadStatus)) {
    const EFI_STATUS status = terminal.mReadStatus;
    terminal.mReadStatus = EFI_SUCCESS;
    terminal.mReady.clear();
    return status;
  }
  if (terminal.mReady.empty()) {
    return EFI_NOT_READY;
  }
  *key = terminal.mReady.front();
  terminal.mReady.pop_front();
  return EFI_SUCCESS;
}

// Time passes only while somebody waits for a key.
VOID EFIAPI FakeTerminal::LookForKey(EFI_EVENT event, VOID* context) {
  FakeTerminal& terminal = *static_cast<FakeTerminal*>(context);
  if (!terminal.mReady.empty()) {
    terminal.mFirmware.BootServices()->SignalEvent(event);
    return;
  }
  while (!terminal.mSteps.empty() && terminal.mSteps.front().action) {
    terminal.mSteps.front().action();
    terminal.mSteps.pop_front();
  }
  if (!terminal.mSteps.empty() && terminal.mSteps.front().seconds == 0) {
    terminal.mPictures.push_back(terminal.Picture());
    terminal.mReady.push_back(terminal.mSteps.front().key);
    terminal.mSteps.pop_front();
    terminal.mFirmware.BootServices()->SignalEvent(event);
    return;
  }
  if (!terminal.mSteps.empty() && --terminal.mSteps.front().seconds == 0) {
    terminal.mSteps.pop_front();
  } else if (terminal.mSteps.empty() && ++terminal.mIdleSeconds > kMostIdleSeconds) {
    ADD_FAILURE() << "it waits for a key that nobody presses:\n" << terminal.Picture();
    terminal.Type("nqq");
  }
  ++terminal.mSecondsWaited;
  terminal.mFirmware.AdvanceTime(1000000);
}

}  // namespace tvq::test
