/*
 * A text screen with a keyboard, and somebody who presses keys.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_TERMINAL_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_TERMINAL_H_

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"

extern "C" {
#include <Protocol/SimpleTextIn.h>
#include <Protocol/SimpleTextOut.h>
}

namespace tvq::test {

// Fails the test when somebody scrolls it, writes into its last cell or sends it anything but printable characters. What is written while
// no cell was ever addressed is a log line, and has a place of its own.
class FakeTerminal {
 public:
  explicit FakeTerminal(host::Firmware& machine, size_t columns = 80, size_t rows = 25);
  ~FakeTerminal();
  FakeTerminal(const FakeTerminal&) = delete;
  FakeTerminal& operator=(const FakeTerminal&) = delete;

  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* Output() { return &mOutput; }
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL* Input() { return &mInput; }

  // Keys that are pressed one after another, each when the one before it was taken. '\x1B' is the escape key.
  void Type(const std::string& keys);
  void Press(UINT16 scanCode);
  // So many seconds pass before the next key.
  void Wait(unsigned seconds);
  // Calls that in place of a key, while the agent waits for one.
  void Do(std::function<void()> action);
  // Was typed before anybody looked.
  void TypeAhead(char key);
  // The next read of a key fails.
  void FailReads(EFI_STATUS status) { mReadStatus = status; }

  // What stood there whenever a key was taken, and last. Rows without blanks at their ends.
  const std::vector<std::string>& Pictures() const { return mPictures; }
  std::string Picture() const;
  // The attribute of the first row that has the text, in the last picture.
  UINTN AttributeOf(const std::string& text) const;
  // Of every row, what its colours are for, as a letter: '=' a bar, '#' a heading, '.' plain, '+' good, '!' what somebody has to look at,
  // 'X' trouble, '>' chosen.
  std::string Styles() const;
  // Of rows that were drawn.
  size_t RowsDrawn() const { return mDrawn.size(); }
  // Every row that was ever drawn, with the letter of its style in front.
  const std::vector<std::string>& Drawn() const { return mDrawn; }
  // The colours that the screen was cleared with when it was begun.
  UINTN ClearedWith() const { return mClearedWith; }
  size_t SecondsWaited() const { return mSecondsWaited; }

  // Has these modes, and is in the last one of them.
  void OfferModes(const std::vector<std::pair<size_t, size_t>>& sizes);
  EFI_SIMPLE_TEXT_OUTPUT_MODE& Mode() { return mMode; }
  // What it says of all modes from now on, whatever they are.
  void SayOfModes(EFI_STATUS status, size_t columns, size_t rows) {
    mSaid = {status, columns, rows};
  }
  // Text outside of the screen, in front of it and behind.
  const std::string& Lines() const { return mLines; }

 private:
  struct Step {
    EFI_INPUT_KEY key;
    unsigned seconds;  // Pass in place of a key; 0 for a key.
    std::function<void()> action;
  };

  static FakeTerminal& Of(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* output);
  static EFI_STATUS EFIAPI OutputString(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, CHAR16* text);
  static EFI_STATUS EFIAPI QueryMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN mode,
                                     UINTN* columns, UINTN* rows);
  static EFI_STATUS EFIAPI SetMode(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN mode);
  static EFI_STATUS EFIAPI SetAttribute(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN attribute);
  static EFI_STATUS EFIAPI ClearScreen(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self);
  static EFI_STATUS EFIAPI SetCursorPosition(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, UINTN column,
                                             UINTN row);
  static EFI_STATUS EFIAPI EnableCursor(EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* self, BOOLEAN visible);
  static EFI_STATUS EFIAPI ReadKey(EFI_SIMPLE_TEXT_INPUT_PROTOCOL* self, EFI_INPUT_KEY* key);
  static VOID EFIAPI LookForKey(EFI_EVENT event, VOID* context);

  host::Firmware& mFirmware;
  EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL mOutput = {};
  EFI_SIMPLE_TEXT_OUTPUT_MODE mMode = {1, 0, EFI_LIGHTGRAY, 0, 0, TRUE};
  EFI_SIMPLE_TEXT_INPUT_PROTOCOL mInput = {};
  std::vector<std::pair<size_t, size_t>> mModes;
  size_t mColumns = 0;
  size_t mRows = 0;
  std::vector<std::string> mCells;
  std::vector<UINTN> mAttributes;
  bool mIsScreen = false;  // Somebody has addressed a cell since it was cleared.
  std::string mLines;
  std::deque<Step> mSteps;
  std::deque<EFI_INPUT_KEY> mReady;
  EFI_STATUS mReadStatus = EFI_SUCCESS;
  std::vector<std::string> mPictures;
  std::vector<std::string> mDrawn;
  UINTN mClearedWith = 0;
  struct Said {
    EFI_STATUS status;
    size_t columns;
    size_t rows;
  };
  std::optional<Said> mSaid;
  size_t mSecondsWaited = 0;
  size_t mIdleSeconds = 0;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_TERMINAL_H_
