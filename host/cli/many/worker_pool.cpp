/*
 * Work on many items in several processes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/worker_pool.h"

#include <fmt/format.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <optional>
#include <system_error>
#include <vector>

#include "host/cli/input/folder.h"

namespace tvq::cli {
namespace {

// As many items are begun for each worker before the first of them is done.
constexpr std::size_t kAhead = 4;

// What a worker sends in front of its texts.
struct Header {
  std::uint32_t status;
  std::uint32_t outSize;
  std::uint32_t diagnosticsSize;
};

// Moves all bytes, by calls that move some of them. False: a call failed, or nobody is at the other
// end any more.
template <typename Byte, typename Move>
bool MoveAll(Byte* bytes, std::size_t size, const Move& move) {
  while (size != 0) {
    const ssize_t moved = move(bytes, size);
    if (moved > 0) {
      bytes += moved;
      size -= static_cast<std::size_t>(moved);
    } else if (moved == 0 || errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool SendAll(int socket, const void* data, std::size_t size) {
  return MoveAll(static_cast<const char*>(data), size,
                 [socket](const char* bytes, std::size_t left) {
                   return send(socket, bytes, left, MSG_NOSIGNAL);
                 });
}

bool ReceiveAll(int socket, void* data, std::size_t size) {
  return MoveAll(static_cast<char*>(data), size,
                 [socket](char* bytes, std::size_t left) { return recv(socket, bytes, left, 0); });
}

bool ReceiveText(int socket, std::size_t size, std::string& text) {
  text.resize(size);
  return ReceiveAll(socket, text.data(), size);
}

// The life of a worker: it ends when nobody has an item for it any more.
[[noreturn]] void Serve(int socket, const Work& work) {
  std::uint64_t item = 0;
  while (ReceiveAll(socket, &item, sizeof(item))) {
    const WorkResult result = work(item);
    const Header header = {result.status, static_cast<std::uint32_t>(result.out.size()),
                           static_cast<std::uint32_t>(result.diagnostics.size())};
    if (!SendAll(socket, &header, sizeof(header)) ||
        !SendAll(socket, result.out.data(), result.out.size()) ||
        !SendAll(socket, result.diagnostics.data(), result.diagnostics.size())) {
      break;
    }
  }
  // What this process has of its parent's is not its own to finish.
  _exit(0);
}

// Waits until the process has ended, and says how.
std::string EndOf(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) != process) {
    if (errno != EINTR) {
      return "an unknown status";
    }
  }
  return WIFSIGNALED(status)
             ? fmt::format("signal {} ({})", WTERMSIG(status), strsignal(WTERMSIG(status)))
             : fmt::format("exit status {}", WEXITSTATUS(status));
}

// A process, seen from the one that has the items.
class Worker {
 public:
  // Neither end of another worker's socket may stay open in it, or that one would never end.
  Worker(const Work& work, const std::vector<std::optional<Worker>>& others) {
    std::array<int, 2> ends = {};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::system_error(errno, std::generic_category(), "no worker can be started");
    }
    mSocket = Descriptor(ends[0]);
    Descriptor theirs(ends[1]);
    mProcess = fork();
    if (mProcess < 0) {
      throw std::system_error(errno, std::generic_category(), "no worker can be started");
    }
    if (mProcess == 0) {
      for (const std::optional<Worker>& other : others) {
        if (other) {
          close(other->Socket());
        }
      }
      close(ends[0]);
      Serve(ends[1], work);
    }
  }
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  ~Worker() {
    if (mProcess > 0) {
      Finish();
    }
  }

  int Socket() const { return mSocket.Number(); }
  bool IsBusy() const { return mItem.has_value(); }
  std::size_t Item() const { return *mItem; }

  // A worker that cannot be given anything ends, and is found so when its result is received.
  void Give(std::size_t item) {
    const std::uint64_t number = item;
    mItem = item;
    if (!SendAll(Socket(), &number, sizeof(number))) {
      shutdown(Socket(), SHUT_WR);
    }
  }

  // Once there is something to receive: a worker sends all of its result at once. A crash is one, too.
  WorkResult Receive() {
    WorkResult result;
    Header header = {};
    mItem.reset();
    if (ReceiveAll(Socket(), &header, sizeof(header)) &&
        ReceiveText(Socket(), header.outSize, result.out) &&
        ReceiveText(Socket(), header.diagnosticsSize, result.diagnostics)) {
      result.status = header.status;
      return result;
    }
    WorkResult crashed;
    crashed.crash = Finish();
    return crashed;
  }
  bool HasEnded() const { return mProcess < 0; }

 private:
  std::string Finish() {
    mSocket = Descriptor();
    std::string end = EndOf(mProcess);
    mProcess = -1;
    return end;
  }

  Descriptor mSocket;
  pid_t mProcess = -1;
  std::optional<std::size_t> mItem;
};

class Pool {
 public:
  Pool(std::size_t count, unsigned workers, const Work& work, const TakeResult& take)
      : mCount(count), mWork(work), mTake(take), mWorkers(workers) {}

  void Run() {
    while (mTaken < mCount) {
      HandOut();
      Wait();
      TakeInOrder();
    }
  }

 private:
  static bool IsBusy(const std::optional<Worker>& worker) { return worker && worker->IsBusy(); }

  void HandOut() {
    for (std::optional<Worker>& worker : mWorkers) {
      if (!IsBusy(worker) && mNext < std::min(mCount, mTaken + kAhead * mWorkers.size())) {
        if (worker || Start(worker)) {
          worker->Give(mNext++);
        }
      }
    }
  }

  // Where no more workers can be started, those that are there do all of the work.
  bool Start(std::optional<Worker>& worker) {
    try {
      worker.emplace(mWork, mWorkers);
      return true;
    } catch (const std::system_error&) {
      const auto isThere = [](const std::optional<Worker>& other) { return other.has_value(); };
      if (std::none_of(mWorkers.begin(), mWorkers.end(), isThere)) {
        throw;
      }
      return false;
    }
  }

  void Wait() {
    std::vector<pollfd> waited;
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < mWorkers.size(); ++i) {
      if (IsBusy(mWorkers[i])) {
        waited.push_back({mWorkers[i]->Socket(), POLLIN, 0});
        numbers.push_back(i);
      }
    }
    if (poll(waited.data(), waited.size(), -1) < 0) {
      return;
    }
    for (std::size_t i = 0; i < waited.size(); ++i) {
      if (waited[i].revents != 0) {
        Receive(mWorkers[numbers[i]]);
      }
    }
  }

  void Receive(std::optional<Worker>& worker) {
    const std::size_t item = worker->Item();
    mDone.emplace(item, worker->Receive());
    if (worker->HasEnded()) {
      worker.reset();
    }
  }

  void TakeInOrder() {
    for (auto first = mDone.begin(); first != mDone.end() && first->first == mTaken;
         first = mDone.begin()) {
      mTake(mTaken++, std::move(first->second));
      mDone.erase(first);
    }
  }

  std::size_t mCount;
  const Work& mWork;
  const TakeResult& mTake;
  std::vector<std::optional<Worker>> mWorkers;
  std::size_t mNext = 0;   // to hand out
  std::size_t mTaken = 0;  // results so far
  std::map<std::size_t, WorkResult> mDone;
};

}  // namespace

unsigned ProcessorCount() {
  cpu_set_t processors;
  if (sched_getaffinity(0, sizeof(processors), &processors) != 0) {
    return 1;
  }
  return static_cast<unsigned>(std::max(1, CPU_COUNT(&processors)));
}

void WorkInOrder(std::size_t count, unsigned workers, const Work& work, const TakeResult& take) {
  const std::size_t most = std::min<std::size_t>(count, std::max(1U, workers));
  Pool(count, static_cast<unsigned>(most), work, take).Run();
}

}  // namespace tvq::cli
