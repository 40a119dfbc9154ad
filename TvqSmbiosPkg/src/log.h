/** @file
  Log lines. Deliberate: they are dropped until the platform has a debug log.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_LOG_H_
#define TVQ_LOG_H_

#include <TvqCpp.h>
#include <Protocol/DebugLog.h>

namespace tvq {

/// Room for the longest format and its terminator.
inline constexpr UINTN kLogFormatSize = 96;

/// The format of a line. The image holds it in ASCII, half the size of what the debug log takes.
struct LogFormat {
  constexpr LogFormat() = default;
  template <UINTN N>
  constexpr LogFormat(const char (&text)[N]) : Text(text) {
    static_assert(N <= kLogFormatSize, "the format would be cut");
  }

  const char* Text = nullptr;
};

/// ASCII text for a %s directive. It is widened only when there is a debug log, and cut to the
/// buffer.
class Widened {
 public:
  explicit Widened(const CHAR8* ascii);

  const CHAR16* Text() const { return mText; }

 private:
  CHAR16 mText[128];
};

/// Logs under the name of one routine. Values are integers and addresses of texts. Each takes a
/// 64-bit word in a call to the debug log, which looks only at as many as the format names: so few
/// routines serve all lines, and a call costs the image little.
class Logger {
 public:
  constexpr explicit Logger(const char* function) : mFunction(function) {}

  void operator()(LogFormat format) const { Log(format.Text); }

  template <typename Value>
  void operator()(LogFormat format, Value value) const {
    Log(format.Text, Word(value));
  }

  template <typename First, typename Second, typename Third = UINT64>
  void operator()(LogFormat format, First first, Second second, Third third = 0) const {
    Log(format.Text, Word(first), Word(second), Word(third));
  }

  /// Logs the line, if there is one.
  void IfAny(LogFormat format) const {
    if (format.Text != nullptr) {
      Log(format.Text);
    }
  }

  /// Logs that a step failed from which nothing else follows.
  void IfError(EFI_STATUS status, LogFormat format) const { LogIfError(status, format.Text); }

  template <typename Value = UINT64>
  void Error(LogFormat format, Value value = 0) const {
    LogError(format.Text, Word(value));
  }

 private:
  static UINT64 Word(UINT64 value) { return value; }
  static UINT64 Word(const VOID* address) { return reinterpret_cast<UINTN>(address); }

  void Log(const char* format) const;
  void Log(const char* format, UINT64 value) const;
  void Log(const char* format, UINT64 first, UINT64 second, UINT64 third) const;
  void LogIfError(EFI_STATUS status, const char* format) const;
  void LogError(const char* format, UINT64 value) const;

  const char* mFunction;
};

}  // namespace tvq

#endif
