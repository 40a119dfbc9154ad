/*
 * Calls to the system that fail when a test wants them to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/host/cli/failing_call.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace tvq::cli {
namespace {

struct Plan {
  unsigned left = 0;  // calls until the one that fails; 0 where none does
  int error = 0;
};
Plan gPlans[kCalls];

Plan& PlanOf(Call call) {
  return gPlans[static_cast<std::size_t>(call)];
}

enum class Turn {
  kUsual,
  kShort,
  kNoBytes,
  kFails,  // errno says why
};

Turn TurnOf(Call call) {
  Plan& plan = PlanOf(call);
  if (plan.left == 0 || --plan.left != 0) {
    return Turn::kUsual;
  }
  if (plan.error == kShort) {
    return Turn::kShort;
  }
  if (plan.error == kNoBytes) {
    return Turn::kNoBytes;
  }
  errno = plan.error;
  return Turn::kFails;
}

bool Fails(Call call) {
  return TurnOf(call) == Turn::kFails;
}

// The function that stands in this program's place elsewhere. The sanitizers look at what it is given.
template <typename Function>
Function* Next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// A call that reads or writes so many bytes.
template <typename Function>
ssize_t Transfer(Call call, std::size_t size, const Function& transfer) {
  switch (TurnOf(call)) {
    case Turn::kFails:
      return -1;
    case Turn::kShort:
      return transfer(size - 1);
    case Turn::kNoBytes:
      return 0;
    case Turn::kUsual:
      break;
  }
  return transfer(size);
}

}  // namespace

FailingCall::FailingCall(Call call, int error, unsigned which) : mCall(call) {
  PlanOf(call) = {which, error};
}

FailingCall::~FailingCall() {
  PlanOf(mCall) = {};
}

bool FailingCall::HasFailed() const {
  return PlanOf(mCall).left == 0;
}

}  // namespace tvq::cli

using tvq::cli::Call;
using tvq::cli::Fails;
using tvq::cli::Next;
using tvq::cli::Transfer;

extern "C" {

int fsync(int file) {
  return Fails(Call::kSync) ? -1 : Next(fsync, "fsync")(file);
}

int fchmod(int file, mode_t mode) noexcept {
  return Fails(Call::kChangeMode) ? -1 : Next(fchmod, "fchmod")(file, mode);
}

int flock(int file, int operation) noexcept {
  return Fails(Call::kLock) ? -1 : Next(flock, "flock")(file, operation);
}

int openat(int folder, const char* name, int flags, ...) {
  mode_t mode = 0;
  if ((flags & O_CREAT) != 0) {
    va_list more;
    va_start(more, flags);
    mode = va_arg(more, mode_t);
    va_end(more);
    if (Fails(Call::kCreate)) {
      return -1;
    }
  }
  return Next(openat, "openat")(folder, name, flags, mode);
}

int renameat2(int from, const char* old, int to, const char* fresh, unsigned flags) noexcept {
  return Fails(Call::kRename) ? -1 : Next(renameat2, "renameat2")(from, old, to, fresh, flags);
}

ssize_t read(int file, void* bytes, size_t size) {
  return Transfer(Call::kRead, size,
                  [&](size_t most) { return Next(read, "read")(file, bytes, most); });
}

ssize_t write(int file, const void* bytes, size_t size) {
  return Transfer(Call::kWrite, size,
                  [&](size_t most) { return Next(write, "write")(file, bytes, most); });
}

ssize_t recv(int socket, void* bytes, size_t size, int flags) {
  return Transfer(Call::kReceive, size,
                  [&](size_t most) { return Next(recv, "recv")(socket, bytes, most, flags); });
}

ssize_t send(int socket, const void* bytes, size_t size, int flags) {
  return Transfer(Call::kSend, size,
                  [&](size_t most) { return Next(send, "send")(socket, bytes, most, flags); });
}

int poll(pollfd* files, nfds_t count, int timeout) {
  return Fails(Call::kPoll) ? -1 : Next(poll, "poll")(files, count, timeout);
}

pid_t waitpid(pid_t process, int* status, int options) {
  return Fails(Call::kWait) ? -1 : Next(waitpid, "waitpid")(process, status, options);
}

int sched_getaffinity(pid_t process, size_t size, cpu_set_t* processors) noexcept {
  return Fails(Call::kAffinity)
             ? -1
             : Next(sched_getaffinity, "sched_getaffinity")(process, size, processors);
}

}  // extern "C"
