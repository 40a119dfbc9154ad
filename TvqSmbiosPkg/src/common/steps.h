/** @file
  The steps of a builder and the one way to go on only when a step succeeded; texts that are copied,
  and blocks that are given back.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_STEPS_H_
#define TVQ_STEPS_H_

#include <TvqCpp.h>
#include <Library/ZorvLib.h>

#include "../log.h"

namespace tvq {

/// What came of a step. Nothing makes one fail but a lack of memory.
class [[nodiscard]] Outcome {
 public:
  static constexpr Outcome Done() { return Outcome(false, {}); }
  /// The message, if there is one, is to be logged once everything is given back.
  static constexpr Outcome NoMemory(LogFormat message = {}) { return Outcome(true, message); }

  constexpr bool Failed() const { return mFailed; }
  constexpr LogFormat Message() const { return mMessage; }

 private:
  constexpr Outcome(bool failed, LogFormat message) : mFailed(failed), mMessage(message) {}

  bool mFailed;
  LogFormat mMessage;
};

/// An optional text, copied: a missing one is no failure.
struct [[nodiscard]] TextCopy {
  CHAR16* Text;
  bool Failed;
};

/// A widened copy of `ascii` in new pool; null for null.
TextCopy CopyText(const CHAR8* ascii);

/// The same; a text that was copied is logged.
TextCopy CopyLogged(const Logger& log, LogFormat format, const CHAR8* ascii);

/// Frees a block of the driver's pool; null is nothing.
template <typename Block>
void FreeBlock(Block* block) {
  if (block != nullptr) {
    ZvFreePool(block);
  }
}

}  // namespace tvq

/// Ends the function with the outcome of `step` when that failed.
#define TVQ_TRY_STEP(step)                                     \
  do {                                                         \
    if (const tvq::Outcome tried_ = (step); tried_.Failed()) { \
      return tried_;                                           \
    }                                                          \
  } while (false)

/// Stores the text of `copy` in `target`, or ends the function when it could not be copied: with a
/// message for Outcome::NoMemory, if one is given.
#define TVQ_TRY_COPY(target, copy, ...)           \
  do {                                            \
    const tvq::TextCopy tried_ = (copy);          \
    if (tried_.Failed) {                          \
      return tvq::Outcome::NoMemory(__VA_ARGS__); \
    }                                             \
    (target) = tried_.Text;                       \
  } while (false)

#endif
