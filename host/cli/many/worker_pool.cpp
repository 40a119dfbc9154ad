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
constexpr std::size_t kStep = std::size_t{1} << 16;

// What a worker sends in front of its texts.
struct Header {
  std::uint32_t status;
  std::uint32_t outSize;
  std::uint32_t diagnosticsSize;
};

bool SendAll(int socket, const void* data, std::size_t size) {
  const auto* bytes = static_cast<const char*>(data);
  while (size != 0) {
    const ssize_t sent = send(socket, bytes, size, MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) {
      return false;
    }
    const std::size_t done = sent < 0 ? 0 : static_cast<std::size_t>(sent);
    bytes += done;
    size -= done;
  }
  return true;
}

bool ReceiveAll(int socket, void* data, std::size_t size) {
  auto* bytes = static_cast<char*>(data);
  while (size != 0) {
    const ssize_t received = recv(socket, bytes, size, 0);
    if (received == 0 || (received < 0 && errno != EINTR)) {
      return false;
    }
    const std::size_t done = received < 0 ? 0 : static_cast<std::size_t>(received);
    bytes += done;
    size -= done;
  }
  return true;
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

std::string HowItEnded(int status) {
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

  // A worker that is no more is found so when it is read from.
  void Give(std::size_t item) {
    const std::uint64_t number = item;
    mItem = item;
    SendAll(Socket(), &number, sizeof(number));
  }

  // Takes what is there. Nothing until a result is complete; a crash is one, too.
  std::optional<WorkResult> Receive() {
    const std::size_t before = mReceived.size();
    mReceived.resize(before + kStep);
    const ssize_t received = recv(Socket(), mReceived.data() + before, kStep, 0);
    mReceived.resize(before + (received > 0 ? static_cast<std::size_t>(received) : 0));
    if (received == 0 || (received < 0 && errno != EINTR)) {
      WorkResult result;
      result.crash = HowItEnded(Finish());
      return result;
    }
    return TakeComplete();
  }
  bool HasEnded() const { return mProcess < 0; }

 private:
  std::optional<WorkResult> TakeComplete() {
    Header header;
    if (mReceived.size() < sizeof(header)) {
      return std::nullopt;
    }
    std::memcpy(&header, mReceived.data(), sizeof(header));
    const std::size_t size = sizeof(header) + header.outSize + header.diagnosticsSize;
    if (mReceived.size() < size) {
      return std::nullopt;
    }
    WorkResult result;
    result.status = header.status;
    result.out = mReceived.substr(sizeof(header), header.outSize);
    result.diagnostics = mReceived.substr(sizeof(header) + header.outSize, header.diagnosticsSize);
    mReceived.clear();
    mItem.reset();
    return result;
  }

  int Finish() {
    mSocket = Descriptor();
    int status = 0;
    while (waitpid(mProcess, &status, 0) < 0 && errno == EINTR) {
    }
    mProcess = -1;
    return status;
  }

  Descriptor mSocket;
  pid_t mProcess = -1;
  std::optional<std::size_t> mItem;
  std::string mReceived;
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
  void HandOut() {
    for (std::optional<Worker>& worker : mWorkers) {
      const bool isIdle = !worker || !worker->IsBusy();
      if (isIdle && mNext < std::min(mCount, mTaken + kAhead * mWorkers.size())) {
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
      if (mWorkers[i] && mWorkers[i]->IsBusy()) {
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
    std::optional<WorkResult> result = worker->Receive();
    if (result) {
      mDone.emplace(item, std::move(*result));
    }
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
