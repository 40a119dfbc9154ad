/*
 * A command on many tables.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/many_tables.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <nlohmann/json.hpp>
#include <ostream>
#include <sstream>

#include "host/cli/input/input.h"
#include "host/cli/many/table_list.h"
#include "host/cli/many/worker_pool.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr unsigned kMostWorkers = 1024;

// How far the work is, on a terminal that standard error goes to.
class Progress {
 public:
  Progress(std::size_t count, const Console& console)
      : mCount(count), mConsole(console), mIsShown(console.hasProgress && !console.isQuiet) {}
  ~Progress() { Hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(std::size_t done) const {
    if (mIsShown) {
      mConsole.diagnostics << fmt::format("\r{} of {} tables", done, mCount) << std::flush;
    }
  }
  // Makes room for lines.
  void Hide() const {
    if (mIsShown) {
      mConsole.diagnostics << "\r\x1B[K" << std::flush;
    }
  }

 private:
  std::size_t mCount;
  const Console& mConsole;
  bool mIsShown;
};

std::string FailureLine(const std::string& error, const std::string& hint) {
  nlohmann::ordered_json json = SchemaJson("tvq-failure");
  json["error"] = error;
  json["hint"] = hint.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(hint);
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

// Lines in which no name or text of a file can command a terminal.
std::string HarmlessLines(const std::string& lines) {
  std::string harmless;
  for (std::size_t at = 0; at < lines.size();) {
    const std::size_t end = std::min(lines.find('\n', at), lines.size());
    harmless += Harmless(std::string_view(lines).substr(at, end - at)) + '\n';
    at = end + 1;
  }
  return harmless;
}

// In a worker: the command on one table, with what it prints as texts.
WorkResult RunOne(const TableFile& table, const ManyOptions& options, const Console& parent,
                  const OneTable& one) {
  std::ostringstream out;
  std::ostringstream diagnostics;
  Console console{parent.in, out, diagnostics, parent.terminal, parent.isQuiet, options.areLines};
  console.commandLine = parent.commandLine;
  WorkResult result;
  const auto fail = [&](const char* what, const std::string& hint, ExitStatus status) {
    console.Error(what, hint);
    out.str(options.areLines ? FailureLine(what, hint) : "");
    result.status = status;
  };
  try {
    if (!table.trouble.empty()) {
      throw InputError(table.trouble, "");
    }
    result.status = static_cast<std::uint32_t>(one(table.path, console));
  } catch (const NoStateError& error) {
    fail(error.what(), WithCommand(error.Hint(), parent.commandLine), kExitNoState);
  } catch (const InputError& error) {
    fail(error.what(), WithCommand(error.Hint(), parent.commandLine), kExitTrouble);
  } catch (const std::exception& error) {
    fail(error.what(), "", kExitTrouble);
  }
  result.out = out.str();
  result.diagnostics = HarmlessLines(diagnostics.str());
  return result;
}

constexpr ExitStatus kRising[] = {kExitNothingFound, kExitNoState, kExitTrouble, kExitFound};

// The worst: something found, then trouble, then no state.
ExitStatus Worse(ExitStatus left, ExitStatus right) {
  const auto rank = [](ExitStatus status) {
    return std::find(std::begin(kRising), std::end(kRising), status);
  };
  return rank(left) < rank(right) ? right : left;
}

}  // namespace

std::string LineOf(const std::string& table, const std::string& json) {
  const std::string name =
      nlohmann::json(table).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
  return fmt::format("{{\"file\":{},{}", name, json.substr(json.find('{') + 1));
}

void AddMany(Parameters parameters, ManyOptions& options) {
  parameters.Flag("--ndjson", options.areLines, "Print one line of JSON for each table");
  parameters.Value("--jobs", options.workers, "Work in so many processes (one for each processor)")
      .Named("N")
      .Between(1, kMostWorkers);
}

void AddTableFiles(Parameters parameters, ManyOptions& options) {
  parameters
      .Values("FILE", options.arguments,
              "The same as --from-dump FILE; also several, and folders of them")
      .Named("")
      .Excludes(parameters.Get("--from-dump"))
      .Excludes(parameters.Get("--table"));
}

std::vector<TableFile> TablesOf(const ManyOptions& options) {
  std::vector<TableFile> tables = ListTables(options.arguments);
  if (tables.empty()) {
    throw InputError("there is no file in " + options.arguments.front(),
                     "name tables, or folders with tables in them");
  }
  return tables;
}

ExitStatus RunMany(const std::vector<TableFile>& tables, const ManyOptions& options,
                   Console& console, const OneTable& one, const TakeOutput& take) {
  const Progress progress(tables.size(), console);
  ExitStatus worst = kExitNothingFound;
  const auto work = [&](std::size_t item) { return RunOne(tables[item], options, console, one); };
  WorkInOrder(tables.size(), options.workers == 0 ? ProcessorCount() : options.workers, work,
              [&](std::size_t item, WorkResult&& result) {
                const std::string& table = tables[item].path;
                progress.Hide();
                if (!result.crash.empty()) {
                  const std::string what = fmt::format("the worker ended with {}", result.crash);
                  result.status = kExitTrouble;
                  result.out = options.areLines ? FailureLine(what, "") : "";
                  console.Error(fmt::format("{}: {}", Harmless(table), what),
                                "this is a fault of tvq; please report it");
                }
                if (!result.diagnostics.empty()) {
                  console.diagnostics << fmt::format("tvq: {}:\n", Harmless(table))
                                      << result.diagnostics;
                }
                const auto status = static_cast<ExitStatus>(result.status);
                worst = Worse(worst, status);
                take(table, status, std::move(result.out));
                progress.Show(item + 1);
              });
  return worst;
}

namespace {

// Prints what each table gave: below its name, or as a line that has it.
class Printer {
 public:
  Printer(const ManyOptions& options, const Console& console)
      : mOptions(options), mConsole(console) {}

  void Take(const std::string& table, std::string&& out) {
    if (out.empty()) {
      return;
    }
    if (!mOptions.areRows && mOptions.areLines) {
      out = LineOf(table, out);
    } else if (!mOptions.areRows) {
      const std::string name = Painted(mConsole.terminal, Ink::kBold, Harmless(table) + ":");
      mConsole.Page(fmt::format("{}{}\n", mIsFirst ? "" : "\n", name));
      mIsFirst = false;
    }
    mConsole.out << out;
  }

 private:
  const ManyOptions& mOptions;
  const Console& mConsole;
  bool mIsFirst = true;
};

}  // namespace

ExitStatus RunOnTables(TableOptions table, const ManyOptions& many, Console& console,
                       const std::function<ExitStatus(const TableOptions&, Console&)>& one) {
  if (many.arguments.size() == 1 && !AreMany(many.arguments)) {
    table.file = many.arguments.front();
  }
  if (!many.areLines && !AreMany(many.arguments)) {
    return one(table, console);
  }
  const bool isOne = !AreMany(many.arguments);
  const std::vector<TableFile> tables =
      isOne ? std::vector<TableFile>{{table.file.empty() ? table.systemFolder : table.file}}
            : TablesOf(many);
  Printer printer(many, console);
  return RunMany(
      tables, many, console,
      [&](const std::string& file, Console& own) {
        TableOptions options = table;
        if (!isOne) {
          options.file = file;
        }
        return one(options, own);
      },
      [&](const std::string& file, ExitStatus, std::string&& out) {
        printer.Take(file, std::move(out));
      });
}

}  // namespace tvq::cli
