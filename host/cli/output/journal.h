/*
 * Entries of the system's journal.
 *
 * Sent by systemd's native journal protocol, which is documented and stable. With its library
 * `tvq --version` would take half again as long, and no static one is there for the program that runs
 * anywhere.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_JOURNAL_H_
#define TVQ_HOST_CLI_OUTPUT_JOURNAL_H_

#include <string>
#include <string_view>

#include "host/cli/input/folder.h"

namespace tvq::cli {

// Of syslog.
enum class Priority {
  kError = 3,
  kWarning = 4,
  kNotice = 5,
  kInformation = 6,
};

class JournalEntry {
 public:
  // `id` is the MESSAGE_ID: 32 hexadecimal digits.
  JournalEntry(std::string_view message, Priority priority, std::string_view id);

  // The name has capitals, digits and underscores; the value is UTF-8, of any number of lines.
  void Add(std::string_view name, std::string_view value);

  const std::string& Bytes() const { return mBytes; }

 private:
  std::string mBytes;
};

class Journal {
 public:
  // Throws an InputError where no journal listens there.
  explicit Journal(const std::string& socket);

  // Throws an InputError.
  void Send(const JournalEntry& entry) const;

 private:
  bool SendInFile(const JournalEntry& entry) const;

  std::string mPath;
  Descriptor mSocket;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_JOURNAL_H_
