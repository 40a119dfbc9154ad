/*
 * `tvq save` and `tvq verify`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/state_commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/input.h"
#include "host/cli/state_file.h"
#include "host/cli/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

// Runs the driver, and insists on records.
void CollectRecords(session::Session& session, const StateOptions& options,
                    Diagnostics& diagnostics) {
  session::Table table = ReadTable(session, options.table, diagnostics);
  if (options.table.conform && !ConformTable(session, table, diagnostics)) {
    throw InputError("the table cannot be conformed", "run without --conform");
  }
  const session::Results results = RunDriver(session, table, options.table, diagnostics);
  if (results.records.empty()) {
    throw InputError("the driver made no record of this table",
                     options.table.conform ? "`tvq export` shows the driver's log"
                                           : "--conform makes a table fit for the driver");
  }
}

std::string FqddText(const session::Finding& finding) {
  return finding.fqdd.empty() ? "-" : Utf8OfWide(finding.fqdd);
}

void PrintFindings(const session::Comparison& comparison, std::ostream& out) {
  size_t width = 4;
  for (const session::Finding& finding : comparison.findings) {
    width = std::max(width, finding.fqdd.size());
  }
  for (const session::Finding& finding : comparison.findings) {
    out << fmt::format("{:<{}}  {}{}{}\n", FqddText(finding), width, finding.verdict,
                       finding.detail.empty() ? "" : ": ", finding.detail);
  }
  std::string summary;
  for (const auto& [verdict, count] : comparison.counts) {
    if (count != 0) {
      summary += fmt::format("{}{} {}", summary.empty() ? "" : ", ", count, verdict);
    }
  }
  out << "Summary: " << summary << '\n';
}

Json ToJson(const session::Comparison& comparison) {
  Json findings = Json::array();
  for (const session::Finding& finding : comparison.findings) {
    findings.push_back(
        {{"fqdd", Utf8OfWide(finding.fqdd)},
         {"verdict", finding.verdict},
         {"movedFrom", finding.movedFrom ? Json(Utf8OfWide(*finding.movedFrom)) : Json()},
         {"status", finding.status ? Json(*finding.status) : Json()},
         {"detail", finding.detail.empty() ? Json() : Json(finding.detail)}});
  }
  Json counts = Json::object();
  for (const auto& [verdict, count] : comparison.counts) {
    counts[verdict] = count;
  }
  return {{"findings", findings}, {"summary", counts}};
}

}  // namespace

ExitStatus Save(const StateOptions& options, std::ostream& out, std::ostream& diagnosticsStream) {
  Diagnostics diagnostics(diagnosticsStream);
  return WithTable(options.table, diagnostics, [&] {
    session::Session session;
    CollectRecords(session, options, diagnostics);
    SaveStateFile(options.folder, session.State());
    out << "Saved in " << StatePath(options.folder) << '\n';
    return kExitNothingFound;
  });
}

ExitStatus Verify(const StateOptions& options, std::ostream& out, std::ostream& diagnosticsStream) {
  Diagnostics diagnostics(diagnosticsStream);
  return WithTable(options.table, diagnostics, [&] {
    const session::Bytes state = LoadStateFile(options.folder);
    session::Session session;
    CollectRecords(session, options, diagnostics);
    session::Comparison comparison;
    try {
      comparison = session.Compare(state);
    } catch (const session::StateError& error) {
      throw InputError(fmt::format("{} {}", StatePath(options.folder), error.what()),
                       "save a new state with `tvq save " + options.folder + "`");
    }
    if (options.json) {
      out << ToJson(comparison).dump(1) << '\n';
    } else {
      PrintFindings(comparison, out);
    }
    return comparison.foundTrouble     ? kExitTrouble
           : comparison.foundSomething ? kExitFound
                                       : kExitNothingFound;
  });
}

}  // namespace tvq::cli
