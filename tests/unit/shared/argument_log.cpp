/*
 * A debug log that looks at arguments as they are passed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/argument_log.h"

#include <utility>

#include "tests/unit/shared/text.h"

namespace tvq::test {
namespace {

// The protocol holds a plain function, which finds the log by itself.
const ArgumentLog* gLog = nullptr;

}  // namespace

ArgumentLog::ArgumentLog(PlatformDouble& platform, std::string format, size_t count, Reader reader)
    : mProtocol(platform.debugLog),
      mBefore(platform.debugLog),
      mFormat(std::move(format)),
      mCount(count),
      mReader(std::move(reader)) {
  mProtocol.Print = Print;
  gLog = this;
}

ArgumentLog::~ArgumentLog() {
  mProtocol = mBefore;
  gLog = nullptr;
}

VOID EFIAPI ArgumentLog::Print(UINT32, const CHAR8*, const CHAR16* format, ...) {
  if (Utf8(format) != gLog->mFormat) {
    return;
  }
  std::vector<UINT64> arguments;
  VA_LIST marker;
  VA_START(marker, format);
  while (arguments.size() < gLog->mCount) {
    arguments.push_back(VA_ARG(marker, UINT64));
  }
  VA_END(marker);
  gLog->mReader(arguments);
}

}  // namespace tvq::test
