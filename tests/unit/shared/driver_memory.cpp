/*
 * The driver's blocks and log lines in a form that tests compare.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/driver_memory.h"

#include <algorithm>
#include <iterator>

#include "images/driver.h"

namespace tvq::test {
namespace {

const std::string kCollector = "SmbiosGetStructuresByType";

bool IsRoutine(const std::string& function) {
  static const char* const kRoutines[] = {
      "BiosAttributeGet",  "BuildFqddMap",   "DriverEntry",       "GetCacheInfo", "GetHbmInfo",
      "LocateSmbiosTable", "MakeCPUZVEP",    "MakeCPUs",          "MakeDIMMZVEP", "MakeDIMMs",
      "MakeSYSTEM",        "MakeSYSTEMZVEP", "ServerAttributeGet"};
  return std::find(std::begin(kRoutines), std::end(kRoutines), function) != std::end(kRoutines);
}

}  // namespace

std::string RoutineOf(const host::Block& block) {
  std::string routine;
  for (const std::string& function : block.callSite.Functions()) {
    if (function == kCollector) {
      routine = kCollector + " < ";
    }
    if (IsRoutine(function)) {
      return routine + function;
    }
  }
  return "unknown: " + block.callSite.ToString();
}

std::vector<std::string> RoutinesSince(const host::Pool& memory, uint64_t serial) {
  std::vector<std::string> routines;
  for (const host::Block& block : memory.LiveBlocks(host::images::driver)) {
    if (block.serial > serial) {
      routines.push_back(RoutineOf(block));
    }
  }
  return routines;
}

uint64_t LastSerial(const host::Pool& memory) {
  const std::vector<host::Block> blocks = memory.LiveBlocks();
  return blocks.empty() ? 0 : blocks.back().serial;
}

std::vector<LogLine> WithoutAddresses(std::vector<LogLine> log) {
  const std::string before = "OEM SMBIOS structures of len = ";
  for (LogLine& line : log) {
    if (const size_t found = line.text.find(before); found != std::string::npos) {
      line.text.replace(found + before.size(), std::string::npos, "*\n");
    }
  }
  return log;
}

std::vector<std::string> Lines(const std::vector<LogLine>& log) {
  std::vector<std::string> lines;
  for (const LogLine& line : log) {
    const bool isError = line.level == DEBUG_LOG_LEVEL_ERROR;
    EXPECT_TRUE(isError || line.level == DEBUG_LOG_LEVEL_INFO) << testing::PrintToString(line);
    lines.push_back((isError ? "error: " : "") + line.function + ": " + line.text);
  }
  return lines;
}

testing::AssertionResult SameLines(const std::vector<std::string>& actual,
                                   const std::vector<std::string>& expected) {
  if (actual == expected) {
    return testing::AssertionSuccess();
  }
  const size_t common = std::min(actual.size(), expected.size());
  const size_t first = static_cast<size_t>(
      std::mismatch(actual.begin(), actual.begin() + common, expected.begin()).first -
      actual.begin());
  const auto line = [](const std::vector<std::string>& lines, size_t number) {
    return number < lines.size() ? testing::PrintToString(lines[number]) : "(the end)";
  };
  testing::AssertionResult result = testing::AssertionFailure();
  result << "they part at line " << first << " of " << actual.size() << " and " << expected.size();
  for (size_t i = first < 2 ? 0 : first - 2; i <= first + 2; ++i) {
    result << "\n"
           << i << "  actual   " << line(actual, i) << "\n"
           << i << "  expected " << line(expected, i);
  }
  return result;
}

}  // namespace tvq::test
