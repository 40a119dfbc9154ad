/*
 * Entries of the system's journal.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/journal.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

[[noreturn]] void Fail(const std::string& path) {
  throw InputError(fmt::format("the journal at {} takes no entry: {}", path, std::strerror(errno)),
                   "it is that of systemd; without --journal nothing is written to it");
}

// 64 bits, the lowest byte first.
std::string LengthOf(std::string_view value) {
  std::string length;
  for (unsigned shift = 0; shift < 64; shift += 8) {
    length.push_back(static_cast<char>(uint64_t{value.size()} >> shift));
  }
  return length;
}

}  // namespace

JournalEntry::JournalEntry(std::string_view message, Priority priority, std::string_view id) {
  Add("MESSAGE", message);
  Add("MESSAGE_ID", id);
  Add("PRIORITY", std::to_string(static_cast<int>(priority)));
  Add("SYSLOG_IDENTIFIER", "tvq");
}

void JournalEntry::Add(std::string_view name, std::string_view value) {
  mBytes += name;
  if (value.find('\n') == std::string_view::npos) {
    mBytes += '=';
  } else {
    mBytes += '\n' + LengthOf(value);
  }
  mBytes += value;
  mBytes += '\n';
}

Journal::Journal(const std::string& socket)
    : mPath(socket), mSocket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  if (socket.size() >= sizeof(address.sun_path)) {
    errno = ENAMETOOLONG;
    Fail(mPath);
  }
  socket.copy(address.sun_path, socket.size());
  if (!mSocket.IsOpen() || connect(mSocket.Number(), reinterpret_cast<const sockaddr*>(&address),
                                   sizeof(address)) != 0) {
    Fail(mPath);
  }
}

void Journal::Send(const JournalEntry& entry) const {
  const std::string& bytes = entry.Bytes();
  if (send(mSocket.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL) >= 0) {
    return;
  }
  const bool isTooLong = errno == EMSGSIZE || errno == ENOBUFS;
  if (!isTooLong || !SendInFile(entry)) {
    Fail(mPath);
  }
}

// What is too long for one datagram is passed on in a file that nobody can change any more.
bool Journal::SendInFile(const JournalEntry& entry) const {
  const std::string& bytes = entry.Bytes();
  const Descriptor file(memfd_create("tvq-journal", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
  if (!file.IsOpen() ||
      write(file.Number(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
      fcntl(file.Number(), F_ADD_SEALS, kSeals) != 0) {
    return false;
  }
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  msghdr message = {};
  message.msg_control = control;
  message.msg_controllen = sizeof(control);
  cmsghdr* const header = CMSG_FIRSTHDR(&message);
  header->cmsg_level = SOL_SOCKET;
  header->cmsg_type = SCM_RIGHTS;
  header->cmsg_len = CMSG_LEN(sizeof(int));
  new (CMSG_DATA(header)) int(file.Number());
  return sendmsg(mSocket.Number(), &message, MSG_NOSIGNAL) >= 0;
}

}  // namespace tvq::cli
