/*
 * A debug log that looks at arguments as they are passed. A formatted line cannot tell a 64-bit
 * value from its low half, nor what an address led to when the line was logged.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_ARGUMENT_LOG_H_
#define TVQ_TESTS_UNIT_SHARED_ARGUMENT_LOG_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/unit/shared/platform_double.h"

namespace tvq::test {

// Stands in for the platform's log as long as it exists: hands the first `count` arguments of each
// line of one format to a test, in the middle of the call, and drops all other lines.
class ArgumentLog {
 public:
  using Reader = std::function<void(const std::vector<UINT64>& arguments)>;

  ArgumentLog(PlatformDouble& platform, std::string format, size_t count, Reader reader);
  ~ArgumentLog();
  ArgumentLog(const ArgumentLog&) = delete;
  ArgumentLog& operator=(const ArgumentLog&) = delete;

 private:
  static VOID EFIAPI Print(UINT32 level, const CHAR8* function, const CHAR16* format, ...);

  DEBUG_LOG_PROTOCOL& mProtocol;
  const DEBUG_LOG_PROTOCOL mBefore;
  const std::string mFormat;
  const size_t mCount;
  const Reader mReader;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_ARGUMENT_LOG_H_
