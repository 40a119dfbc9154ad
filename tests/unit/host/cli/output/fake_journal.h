/*
 * A socket on which entries of the journal arrive.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_OUTPUT_FAKE_JOURNAL_H_
#define TVQ_TESTS_UNIT_HOST_CLI_OUTPUT_FAKE_JOURNAL_H_

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tvq::cli {

// The fields of an entry by their names, with all values of each.
using JournalFields = std::map<std::string, std::vector<std::string>>;

class FakeJournal {
 public:
  explicit FakeJournal(const std::string& path)
      : mPath(path), mSocket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    unlink(path.c_str());
    mIsBound = bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
  }
  FakeJournal(const FakeJournal&) = delete;
  FakeJournal& operator=(const FakeJournal&) = delete;
  ~FakeJournal() { close(mSocket); }

  const std::string& Path() const { return mPath; }
  bool IsBound() const { return mIsBound; }
  bool WasInFile() const { return mWasInFile; }
  bool WasSealed() const { return mWasSealed; }

  // The next entry that arrived.
  std::optional<JournalFields> Next() {
    const std::optional<std::string> bytes = Receive();
    return bytes ? std::optional(Parse(*bytes)) : std::nullopt;
  }
  std::vector<JournalFields> All() {
    std::vector<JournalFields> entries;
    while (const std::optional<JournalFields> entry = Next()) {
      entries.push_back(*entry);
    }
    return entries;
  }

 private:
  std::optional<std::string> Receive() {
    std::string bytes(1 << 20, '\0');
    iovec part = {bytes.data(), bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    const ssize_t size = recvmsg(mSocket, &message, 0);
    if (size < 0) {
      return std::nullopt;
    }
    bytes.resize(static_cast<size_t>(size));
    const cmsghdr* const header = CMSG_FIRSTHDR(&message);
    mWasInFile = header != nullptr;
    return mWasInFile ? FileOf(*reinterpret_cast<const int*>(CMSG_DATA(header))) : bytes;
  }
  std::string FileOf(int file) {
    constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    mWasSealed = (fcntl(file, F_GET_SEALS) & kSeals) == kSeals;
    std::string bytes(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    bytes.resize(static_cast<size_t>(pread(file, bytes.data(), bytes.size(), 0)));
    close(file);
    return bytes;
  }
  // "NAME=value" to the end of the line, or "NAME", a line feed, 64 bits of length, the value and a
  // line feed.
  static JournalFields Parse(const std::string& bytes) {
    JournalFields fields;
    size_t at = 0;
    while (at < bytes.size()) {
      const size_t end = bytes.find_first_of("=\n", at);
      const std::string name = bytes.substr(at, end - at);
      size_t start = end + 1;
      size_t length = 0;
      if (bytes[end] == '=') {
        length = bytes.find('\n', start) - start;
      } else {
        for (unsigned i = 0; i < 8; ++i) {
          length |= size_t{static_cast<unsigned char>(bytes[start + i])} << (8 * i);
        }
        start += 8;
      }
      fields[name].push_back(bytes.substr(start, length));
      at = start + length + 1;
    }
    return fields;
  }

  std::string mPath;
  int mSocket;
  bool mIsBound = false;
  bool mWasInFile = false;
  bool mWasSealed = false;
};

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_OUTPUT_FAKE_JOURNAL_H_
