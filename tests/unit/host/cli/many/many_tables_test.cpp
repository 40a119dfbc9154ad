/*
 * A command on many tables: what is printed of each, what is said of those that give nothing, and the status over all.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/many_tables.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <set>
#include <stdexcept>

#include "host/cli/input/input.h"
#include "host/cli/many/worker_pool.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;

class ManyTables : public CliTest {
 protected:
  // What the command prints of its tables, which has the table's name as its text.
  struct Taken {
    ExitStatus status = kExitNothingFound;
    std::vector<std::string> tables;
    std::vector<ExitStatus> statuses;
    std::vector<std::string> outs;
    std::string diagnostics;
  };
  static Taken Run(const std::vector<TableFile>& tables, const OneTable& one,
                   const ManyOptions& options = {}, bool hasProgress = false,
                   bool isQuiet = false) {
    std::istringstream in;
    std::ostringstream out;
    std::ostringstream diagnostics;
    Console console{in, out, diagnostics, {}, isQuiet, false, hasProgress, "tvq do a b"};
    Taken taken;
    taken.status = RunMany(tables, options, console, one,
                           [&](const std::string& table, ExitStatus status, std::string&& text) {
                             taken.tables.push_back(table);
                             taken.statuses.push_back(status);
                             taken.outs.push_back(std::move(text));
                           });
    EXPECT_EQ(out.str(), "");
    taken.diagnostics = diagnostics.str();
    return taken;
  }
  static ExitStatus PrintName(const std::string& table, Console& console) {
    console.out << table << '\n';
    return kExitNothingFound;
  }
  // Ends with the status that the table's name is.
  static ExitStatus EndAsNamed(const std::string& table, Console&) {
    return static_cast<ExitStatus>(std::stoi(table));
  }
  std::string TableFileOf(const std::string& name) { return Write(name, TableOf({}).Bytes()); }
};

TEST_F(ManyTables, HandOverWhatTheCommandPrintsOfEach) {
  const Taken taken = Run({{"a"}, {"b"}, {"c"}}, PrintName);
  EXPECT_EQ(taken.status, kExitNothingFound);
  EXPECT_EQ(taken.tables, std::vector<std::string>({"a", "b", "c"}));
  EXPECT_EQ(taken.outs, std::vector<std::string>({"a\n", "b\n", "c\n"}));
  EXPECT_EQ(taken.diagnostics, "");
}

TEST_F(ManyTables, AreWorkedOnInSoManyProcessesOrInOneForEachProcessor) {
  const auto processes = [](unsigned wanted) {
    ManyOptions options;
    options.workers = wanted;
    const OneTable printProcess = [](const std::string&, Console& console) {
      console.out << getpid();
      return kExitNothingFound;
    };
    const Taken taken = Run({{"a"}, {"b"}, {"c"}}, printProcess, options);
    return std::set<std::string>(taken.outs.begin(), taken.outs.end()).size();
  };
  EXPECT_EQ(processes(1), 1u);
  EXPECT_EQ(processes(2), 2u);
  EXPECT_EQ(processes(0), std::min(3u, ProcessorCount()));
}

TEST_F(ManyTables, EndWithTheWorstStatusOfAll) {
  const std::pair<std::vector<TableFile>, ExitStatus> kRuns[] = {
      {{{"0"}, {"0"}}, kExitNothingFound}, {{{"0"}, {"3"}}, kExitNoState},
      {{{"3"}, {"0"}}, kExitNoState},      {{{"3"}, {"2"}}, kExitTrouble},
      {{{"2"}, {"3"}}, kExitTrouble},      {{{"2"}, {"1"}, {"3"}}, kExitFound},
      {{{"1"}, {"2"}, {"0"}}, kExitFound}};
  for (const auto& [tables, status] : kRuns) {
    const Taken taken = Run(tables, EndAsNamed);
    EXPECT_EQ(taken.status, status);
    for (size_t i = 0; i < tables.size(); ++i) {
      EXPECT_EQ(std::to_string(taken.statuses[i]), tables[i].path);
    }
  }
}

// Each way in which a table can give nothing, by its name.
ExitStatus FailAsNamed(const std::string& table, Console& console) {
  console.out << "half of it";
  if (table == "state") {
    throw NoStateError("there is none", "save one");
  }
  if (table == "input") {
    throw InputError("it is no table", "try `{command}`");
  }
  if (table == "other") {
    throw std::runtime_error("that failed");
  }
  if (table == "crash") {
    kill(getpid(), SIGKILL);
  }
  return kExitNothingFound;
}

TEST_F(ManyTables, SayWhichOfThemGiveNothingAndWhy) {
  const Taken taken =
      Run({{"state"}, {"input"}, {"other"}, {"crash"}, {"link", "it is lost"}}, FailAsNamed);
  EXPECT_EQ(taken.diagnostics,
            "tvq: state:\ntvq: error: there is none\ntvq: hint: save one\n"
            "tvq: input:\ntvq: error: it is no table\ntvq: hint: try `tvq do a b`\n"
            "tvq: other:\ntvq: error: that failed\n"
            "tvq: error: crash: the worker ended with signal 9 (Killed)\n"
            "tvq: hint: this is a fault of tvq; please report it\n"
            "tvq: link:\ntvq: error: it is lost\n");
  EXPECT_EQ(taken.statuses, std::vector<ExitStatus>({kExitNoState, kExitTrouble, kExitTrouble,
                                                     kExitTrouble, kExitTrouble}));
  EXPECT_EQ(taken.outs, std::vector<std::string>(5));
}

TEST_F(ManyTables, HaveALineForAFailureToo) {
  ManyOptions lines;
  lines.areLines = true;
  const Taken taken = Run({{"input"}, {"other"}, {"crash"}}, FailAsNamed, lines);
  const std::string start = "{\"schema\":\"tvq-failure\",\"schemaVersion\":1,\"error\":";
  EXPECT_EQ(taken.outs,
            std::vector<std::string>(
                {start + "\"it is no table\",\"hint\":\"try `tvq do a b`\"}\n",
                 start + "\"that failed\",\"hint\":null}\n",
                 start + "\"the worker ended with signal 9 (Killed)\",\"hint\":null}\n"}));
}

TEST_F(ManyTables, HaveFailuresInUtf8WhateverTheirNamesAre) {
  ManyOptions lines;
  lines.areLines = true;
  const Taken taken = Run(
      {{"x"}},
      [](const std::string&, Console&) -> ExitStatus {
        throw InputError("\xFF is none, caf\xC3\xA9 neither", "");
      },
      lines);
  EXPECT_EQ(taken.outs[0],
            "{\"schema\":\"tvq-failure\",\"schemaVersion\":1,\"error\":\"\xEF\xBF\xBD is none, "
            "caf\xC3\xA9 neither\",\"hint\":null}\n");
}

TEST_F(ManyTables, CommandNoTerminalByTheirNamesOrTexts) {
  const Taken taken = Run({{"a\x1B[31m"}}, [](const std::string&, Console& console) {
    console.Line("one\x1B[2J");
    console.Line("two");
    return kExitNothingFound;
  });
  EXPECT_EQ(taken.diagnostics, "tvq: a\\x1B[31m:\ntvq: one\\x1B[2J\ntvq: two\n");
  const Taken crashed = Run({{"crash"}}, FailAsNamed);
  EXPECT_THAT(crashed.diagnostics, HasSubstr("tvq: error: crash: "));
}

TEST_F(ManyTables, SayTheirErrorsAloneWhereTheRunIsQuiet) {
  const OneTable talk = [](const std::string& table, Console& console) {
    console.Line("a line");
    return FailAsNamed(table, console);
  };
  EXPECT_EQ(Run({{"a"}, {"other"}}, talk, {}, true, true).diagnostics,
            "tvq: other:\ntvq: error: that failed\n");
}

TEST_F(ManyTables, ShowOnATerminalHowFarTheyAre) {
  EXPECT_EQ(Run({{"a"}, {"b"}}, PrintName, {}, true).diagnostics,
            "\r\x1B[K\r1 of 2 tables\r\x1B[K\r2 of 2 tables\r\x1B[K");
}

TEST_F(ManyTables, HaveTheNameOfTheirFileInTheirLines) {
  EXPECT_EQ(LineOf("a.bin", "{\"schema\":\"x\"}\n"), "{\"file\":\"a.bin\",\"schema\":\"x\"}\n");
  EXPECT_EQ(LineOf("\xFF\xC3\xA9", "{\"a\":1}"), "{\"file\":\"\xEF\xBF\xBD\xC3\xA9\",\"a\":1}");
}

// --- By a command ---

TEST_F(ManyTables, StandBelowTheirNames) {
  const std::string first = TableFileOf("first.bin");
  const std::string second = TableFileOf("second.bin");
  const std::string none = Write("none.bin", {'x'});
  Terminal coloured;
  coloured.hasColour = true;
  const Outcome alone = RunTvq({"show", first, "--conform"});
  EXPECT_EQ(alone.status, 0);
  const Outcome many = RunTvq({"show", first, none, second, "--conform"});
  EXPECT_EQ(many.status, 2);
  EXPECT_EQ(many.out, first + ":\n" + alone.out + "\n" + second + ":\n" + alone.out);
  EXPECT_THAT(many.diagnostics, HasSubstr("tvq: " + none + ":\ntvq: error: " + none));
  EXPECT_THAT(RunTvq({"show", first, second}, "", coloured).out,
              HasSubstr("\x1B[1m" + first + ":\x1B[0m\n"));
}

TEST_F(ManyTables, AreLinesWithTheirNames) {
  const std::string first = TableFileOf("first.bin");
  const std::string none = Write("none.bin", {'x'});
  const Outcome alone = RunTvq({"export", "--ndjson", first});
  EXPECT_EQ(alone.status, 0) << alone.diagnostics;
  EXPECT_EQ(alone.Json()["file"], first);
  EXPECT_EQ(alone.out.find('\n'), alone.out.size() - 1);
  const Outcome many = RunTvq({"export", "--ndjson", first, none, "--jobs", "1"});
  EXPECT_EQ(many.status, 2);
  ASSERT_EQ(many.out.substr(0, alone.out.size()), alone.out);
  const auto failure = nlohmann::ordered_json::parse(many.out.substr(alone.out.size()));
  EXPECT_EQ(failure["file"], none);
  EXPECT_EQ(failure["schema"], "tvq-failure");
}

TEST_F(ManyTables, AreAlsoTheOneThatAnOptionNames) {
  const std::string dump = TableFileOf("dump.bin");
  EXPECT_EQ(RunTvq({"export", "--ndjson", "--table", dump}).Json()["file"], dump);
  EXPECT_EQ(RunTvq({"export", "--ndjson", "--sysfs", Path("nowhere")}).Json()["file"],
            Path("nowhere"));
  EXPECT_EQ(RunTvq({"export", dump}).out, RunTvq({"export", "--table", dump}).out);
}

TEST_F(ManyTables, AreRowsWithoutNamesAboveThem) {
  const std::string first = TableFileOf("first.bin");
  const std::string second = TableFileOf("second.bin");
  const auto rows = [](const std::vector<std::string>& files) {
    std::vector<std::string> arguments = {"export", "--rows", "--time", "1600000000"};
    arguments.insert(arguments.end(), files.begin(), files.end());
    return RunTvq(arguments).out;
  };
  EXPECT_EQ(rows({first, second}), rows({first}) + rows({second}));
}

TEST_F(ManyTables, InAnEmptyFolderAreMissed) {
  std::filesystem::create_directory(Path("empty"));
  const Outcome shown = RunTvq({"show", Path("empty")});
  EXPECT_EQ(shown.status, 2);
  EXPECT_EQ(shown.diagnostics, "tvq: error: there is no file in " + Path("empty") +
                                   "\ntvq: hint: name tables, or folders with tables in them\n");
}

}  // namespace
}  // namespace tvq::cli
