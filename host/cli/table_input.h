/*
 * The table that a command works on: the options that name it, and what is said about it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_TABLE_INPUT_H_
#define TVQ_HOST_CLI_TABLE_INPUT_H_

#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <utility>

#include "host/session/session.h"

namespace tvq::cli {

// The same for every command.
enum ExitStatus : int {
  kExitNothingFound = 0,
  kExitFound = 1,    // there is something to look at
  kExitTrouble = 2,  // something could not be done; also wrong usage
};

struct TableOptions {
  std::string file;                                      // empty: the table of this machine
  std::optional<std::pair<unsigned, unsigned>> version;  // of a table without an entry point
  bool conform = false;
  std::string systemFolder = "/sys/firmware/dmi/tables";
};

// Lines on standard error.
class Diagnostics {
 public:
  explicit Diagnostics(std::ostream& stream) : mStream(stream) {}

  void Line(const std::string& text) { mStream << "tvq: " << text << '\n'; }
  void Warning(const std::string& text) { Line("warning: " + text); }
  void Error(const std::string& text, const std::string& hint) {
    Line("error: " + text);
    Line("hint: " + hint);
  }

 private:
  std::ostream& mStream;
};

// Reads the table that the options name; what is odd about it is said.
session::Table ReadTable(session::Session& session, const TableOptions& options,
                         Diagnostics& diagnostics);

// Puts the conformed table in place of the table, and reports. False: it could not be conformed.
bool ConformTable(session::Session& session, session::Table& table, Diagnostics& diagnostics);

// Runs the driver on a table; what it complains about is said.
session::Results RunDriver(session::Session& session, const session::Table& table,
                           const TableOptions& options, Diagnostics& diagnostics);

// Runs a command. Input that cannot be used ends it with a message and kExitTrouble.
ExitStatus WithTable(const TableOptions& options, Diagnostics& diagnostics,
                     const std::function<ExitStatus()>& command);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_TABLE_INPUT_H_
