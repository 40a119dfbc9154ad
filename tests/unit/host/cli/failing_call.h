/*
 * Calls to the system that fail when a test wants them to: the test program has functions in place of the C library's.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_FAILING_CALL_H_
#define TVQ_TESTS_UNIT_HOST_CLI_FAILING_CALL_H_

#include <cstddef>

namespace tvq::cli {

enum class Call {
  kAffinity,    // sched_getaffinity()
  kChangeMode,  // fchmod()
  kCreate,      // openat() of a new file
  kLock,        // flock()
  kPoll,
  kRead,
  kReceive,  // recv()
  kRename,   // renameat2()
  kSend,
  kSync,  // fsync()
  kWait,  // waitpid()
  kWrite,
};
inline constexpr std::size_t kCalls = 12;

// In place of an error: all bytes but the last one are read or written.
inline constexpr int kShort = 0;
// In place of an error: nothing is read or written, as at the end of a file.
inline constexpr int kNoBytes = -1;

// One of the next calls fails with this error, as long as this lives: the first of them, where nothing else is said. A
// process that is forked meanwhile has one such call of its own.
class FailingCall {
 public:
  FailingCall(Call call, int error, unsigned which = 1);
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;
  ~FailingCall();

  // Whether so many calls were made in this process that it has failed.
  bool HasFailed() const;

 private:
  Call mCall;
};

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_FAILING_CALL_H_
