/*
 * What the tests of the rules share: a sound table, and tables that differ from it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_LINT_LINT_FIXTURE_H_
#define TVQ_TESTS_UNIT_HOST_LINT_LINT_FIXTURE_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/lint/lint.h"
#include "host/lint/text.h"
#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::lint {

// A small server about which nobody has anything to say. Its end is left out.
constexpr std::string_view kSoundTable = R"(version = 3.3

[bios]
vendor       = "TVQ Reference Systems"
version      = "2.4.1"
release-date = "03/18/2024"

[system]
manufacturer = "TVQ Reference Systems"
product      = "One-Socket Reference Server"
serial       = "TVQ1S01"

[chassis]
manufacturer = "TVQ Reference Systems"
serial       = "TVQ1S01"

[processor @cpu1]
socket        = "CPU1"
manufacturer  = "TVQ Reference Silicon"
version       = "TVQ Reference Processor 8432"
status        = 0x41
l1-cache      = @l1
l2-cache      = 0xFFFF
l3-cache      = 0xFFFF
core-count    = 32

[cache @l1]
socket = "L1"

[slot @slot1]
designation     = "Slot 1"
id              = 1
segment         = 0xFFFF
bus             = 0xFF
device-function = 0xFF

[memory-array @array]
use          = 3
error-handle = 0xFFFE
device-count = 1

[memory-device @dimm1]
array        = @array
error-handle = 0xFFFE
size         = 16384
locator      = "A1"
bank         = "Bank 1"
memory-type  = 0x22
manufacturer = "TVQ Memory"
serial       = "7A2C0001"
part-number  = "TVQ-D5-16G"

[memory-array-address]
array = @array

[boot-status]

[fqdd-map]
format = 1
fqdd   = "CPU.Socket.1" @cpu1
fqdd   = "DIMM.Socket.A1" @dimm1

)";
constexpr std::string_view kEnd = "[end]\n";

// Makes the entry point fit the structures, where a source changes one without the other.
inline void RepairEntryPoint(Bytes& dump) {
  const auto subject = Subject::Read(dump);
  if (!subject || subject->EntryPoint().kind != table::EntryPoint::k32Bit) {
    return;
  }
  test::PutNumber(dump, test::kStructureCount, 2, subject->Structures().size());
  test::FitChecksums(dump.data());
}

inline Bytes Dump(const std::string& source) {
  const auto table = table::ParseSource(source);
  if (!table) {
    ADD_FAILURE() << "line " << table.Failure().line << ": " << table.Failure().message << "\n"
                  << source;
    return {};
  }
  const auto dump = table::WriteDump(*table);
  EXPECT_TRUE(dump);
  return dump ? *dump : Bytes();
}

// The source of a sound table with something added: settings in front of it, blocks behind it.
inline std::string SoundWith(std::string_view blocks, std::string_view settings = "") {
  const bool hasEnd = blocks.find("[end") != std::string_view::npos;
  return std::string(settings) + std::string(kSoundTable) + std::string(blocks) +
         std::string(hasEnd ? "" : kEnd);
}

// The source of the example of a rule.
inline std::string ExampleOf(const Rule& rule) {
  if (rule.example.substr(0, 7) == "version") {
    return std::string(rule.example);
  }
  const bool isSetting = rule.example.substr(0, 1) != "[";
  return isSetting ? SoundWith("", rule.example) : SoundWith(rule.example);
}

inline std::vector<Finding> ExamineDump(const Bytes& dump, const Selection& selection) {
  const auto subject = Subject::Read(dump);
  if (!subject) {
    ADD_FAILURE() << subject.Failure().message;
    return {};
  }
  return Examine(*subject, selection);
}

inline std::vector<std::string> Lines(const std::vector<Finding>& findings) {
  std::vector<std::string> lines;
  lines.reserve(findings.size());
  for (const Finding& finding : findings) {
    lines.push_back(FormatFinding({"table", "entry"}, finding, NameOf(finding.rule->severity)));
  }
  return lines;
}

// The findings of a profile about a source, as lines.
inline std::vector<std::string> LinesAbout(const std::string& source, Profile profile = kDriver) {
  return Lines(ExamineDump(Dump(source), Selection(profile)));
}

}  // namespace tvq::lint

#endif  // TVQ_TESTS_UNIT_HOST_LINT_LINT_FIXTURE_H_
