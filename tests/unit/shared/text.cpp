/*
 * Texts of the firmware as texts of the tests.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/text.h"

namespace tvq::test {
namespace {

void AppendUtf8(std::string& text, CHAR16 unit) {
  if (unit < 0x80) {
    text += static_cast<char>(unit);
    return;
  }
  if (unit < 0x800) {
    text += static_cast<char>(0xC0 | (unit >> 6));
  } else {
    text += static_cast<char>(0xE0 | (unit >> 12));
    text += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
  }
  text += static_cast<char>(0x80 | (unit & 0x3F));
}

}  // namespace

std::string Utf8(const CHAR16* text) {
  if (text == nullptr) {
    return "(null)";
  }
  std::string result;
  for (; *text != 0; ++text) {
    AppendUtf8(result, *text);
  }
  return result;
}

}  // namespace tvq::test
