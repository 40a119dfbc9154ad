/** @file
  Copies of texts.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "steps.h"

#include "../text.h"

namespace tvq {

TextCopy CopyText(const CHAR8* ascii) {
  if (ascii == nullptr) {
    return {nullptr, false};
  }
  CHAR16* text = NewWide(ascii).Release();
  return {text, text == nullptr};
}

TextCopy CopyLogged(const Logger& log, LogFormat format, const CHAR8* ascii) {
  const TextCopy copy = CopyText(ascii);
  if (copy.Text != nullptr) {
    log(format, copy.Text);
  }
  return copy;
}

}  // namespace tvq
