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

// In a worker: the command on one table, with what it prints as texts.
WorkResult RunOne(const std::string& table, const ManyOptions& options, const Console& parent,
                  const OneTable& one) {
  std::ostringstream out;
  std::ostringstream diagnostics;
  Console console{parent.in, out, diagnostics, parent.terminal, parent.isQuiet, options.areLines};
  WorkResult result;
  const auto fail = [&](const char* what, const std::string& hint) {
    console.Error(what, hint);
    out.str(options.areLines ? FailureLine(what, hint) : "");
    result.status = kExitTrouble;
  };
  try {
    result.status = static_cast<std::uint32_t>(one(table, console));
  } catch (const InputError& error) {
    fail(error.what(), error.Hint());
  } catch (const std::exception& error) {
    fail(error.what(), "");
  }
  result.out = out.str();
  result.diagnostics = diagnostics.str();
  return result;
}

// The worst: something found, then trouble.
ExitStatus Worse(ExitStatus left, ExitStatus right) {
  const auto rank = [](ExitStatus status) {
    return status == kExitFound ? 2 : status == kExitNothingFound ? 0 : 1;
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

ExitStatus RunMany(const ManyOptions& options, Console& console, const OneTable& one,
                   const TakeOutput& take) {
  const std::vector<std::string> tables = ListTables(options.arguments);
  if (tables.empty()) {
    throw InputError("there is no file in " + options.arguments.front(),
                     "name tables, or folders with tables in them");
  }
  const Progress progress(tables.size(), console);
  ExitStatus worst = kExitNothingFound;
  const auto work = [&](std::size_t item) { return RunOne(tables[item], options, console, one); };
  WorkInOrder(tables.size(), options.workers == 0 ? ProcessorCount() : options.workers, work,
              [&](std::size_t item, WorkResult&& result) {
                progress.Hide();
                if (!result.crash.empty()) {
                  const std::string what = fmt::format("the worker ended with {}", result.crash);
                  result.status = kExitTrouble;
                  result.out = options.areLines ? FailureLine(what, "") : "";
                  console.Error(fmt::format("{}: {}", tables[item], what),
                                "this is a fault of tvq; please report it");
                }
                if (!result.diagnostics.empty()) {
                  console.diagnostics << fmt::format("tvq: {}:\n", tables[item])
                                      << result.diagnostics;
                }
                const auto status = static_cast<ExitStatus>(result.status);
                worst = Worse(worst, status);
                take(tables[item], status, std::move(result.out));
                progress.Show(item + 1);
              });
  return worst;
}

ExitStatus PrintMany(const ManyOptions& options, Console& console, const OneTable& one) {
  bool isFirst = true;
  return RunMany(options, console, one,
                 [&](const std::string& table, ExitStatus, std::string&& out) {
                   if (options.areRows) {
                     console.out << out;
                   } else if (options.areLines && !out.empty()) {
                     console.out << LineOf(table, out);
                   } else if (!out.empty()) {
                     console.Page(fmt::format("{}{}\n", isFirst ? "" : "\n",
                                              Painted(console.terminal, Ink::kBold, table + ":")));
                     console.out << out;
                     isFirst = false;
                   }
                 });
}

ExitStatus RunOnTables(TableOptions table, const ManyOptions& many, Console& console,
                       const std::function<ExitStatus(const TableOptions&, Console&)>& one) {
  if (AreMany(many.arguments) || (many.areLines && !many.arguments.empty())) {
    return PrintMany(many, console, [&](const std::string& file, Console& own) {
      TableOptions options = table;
      options.file = file;
      return one(options, own);
    });
  }
  if (!many.arguments.empty()) {
    table.file = many.arguments.front();
  }
  console.isOneLine = many.areLines;
  return one(table, console);
}

}  // namespace tvq::cli
