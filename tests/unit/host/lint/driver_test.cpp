/*
 * What the rules say that the driver does, it does: predictions against runs of the driver itself.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include <algorithm>
#include <string>

#include "host/cli/output/text.h"
#include "host/lint/devices.h"
#include "host/lint/document_texts.h"
#include "host/lint/fqdd_map.h"
#include "host/run/driver_run.h"
#include "tests/unit/host/lint/lint_fixture.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::lint {
namespace {

using run::Record;
using testing::HasSubstr;

constexpr unsigned kProcessorRecord = 2;
constexpr unsigned kModuleRecord = 3;

std::vector<Record> OfKind(const run::Results& results, unsigned deviceType) {
  std::vector<Record> records;
  std::copy_if(results.records.begin(), results.records.end(), std::back_inserter(records),
               [&](const Record& record) { return record.deviceType == deviceType; });
  return records;
}

std::string DocumentOf(const Record& record) {
  const run::Bytes blob = record.blobs[1].value_or(run::Bytes(81));
  return {blob.begin() + 80, blob.end() - 1};
}

// The documents of all records, one behind the other.
std::string AllDocuments(const run::Results& results) {
  std::string documents;
  for (const Record& record : results.records) {
    documents += DocumentOf(record);
  }
  return documents;
}

// The bytes of an FQDD, which the driver widened with their sign.
std::string NarrowOf(const std::optional<std::u16string>& wide) {
  std::string narrow;
  for (const char16_t unit : wide.value_or(u"")) {
    narrow.push_back(static_cast<char>(unit));
  }
  return narrow;
}

void ExpectNames(const std::vector<Record>& records, const std::vector<const Structure*>& devices,
                 const std::vector<NamedDevice>& named) {
  ASSERT_EQ(records.size(), devices.size());
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const auto name = std::find_if(named.begin(), named.end(), [&](const NamedDevice& candidate) {
      return candidate.device == devices[i];
    });
    ASSERT_NE(name, named.end());
    EXPECT_EQ(NarrowOf(records[i].fqdd), name->fqdd);
  }
}

// Whether a string number moves the driver on to another structure, so that texts come from there.
bool MixesStructures(const Subject& subject) {
  Selection selection(kDriver);
  selection.Disable("all");
  selection.Enable("string-missing");
  return !Examine(subject, selection).empty();
}

void ExpectDriverToAgree(const Bytes& dump, bool isConformed) {
  run::DriverRun driver;
  run::Table table = driver.ReadCapturedFile(dump);
  if (isConformed) {
    table = driver.Conform(table).table;
  }
  const run::Results results = driver.Run(table);
  const auto subject = Subject::Read(table.structures);
  ASSERT_TRUE(subject);

  EXPECT_EQ(results.start == "Success", HasFqddMap(*subject)) << results.start;
  if (results.start != "Success" || MixesStructures(*subject)) {
    return;
  }
  const auto named = NameDevices(*subject);
  ExpectNames(OfKind(results, kProcessorRecord), RecordedProcessors(*subject), named);
  ExpectNames(OfKind(results, kModuleRecord), RecordedModules(*subject), named);

  std::vector<const Structure*> recorded = RecordedProcessors(*subject);
  for (const Structure* module : RecordedModules(*subject)) {
    recorded.push_back(module);
  }
  const std::string documents = AllDocuments(results);
  for (const DocumentText& text : DocumentTexts(*subject)) {
    if (std::find(recorded.begin(), recorded.end(), text.structure) != recorded.end()) {
      EXPECT_THAT(documents, HasSubstr(fmt::format("<{0}>{1}</{0}>", text.element, text.kept)));
    }
  }
}

class DriverAgrees : public testing::TestWithParam<const Rule*> {};

TEST_P(DriverAgrees, AboutTheExample) {
  ExpectDriverToAgree(Dump(ExampleOf(*GetParam())), false);
}

std::vector<const Rule*> DriverRules() {
  std::vector<const Rule*> rules;
  std::copy_if(
      AllRules().begin(), AllRules().end(), std::back_inserter(rules),
      [](const Rule* rule) { return !rule->example.empty() && (rule->profiles & kDriver) != 0; });
  return rules;
}

INSTANTIATE_TEST_SUITE_P(Rules, DriverAgrees, testing::ValuesIn(DriverRules()),
                         [](const testing::TestParamInfo<const Rule*>& info) {
                           std::string name(info.param->name);
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

class DriverAgreesAboutMachine : public testing::TestWithParam<std::string> {};

TEST_P(DriverAgreesAboutMachine, AsItIsAndConformed) {
  const Bytes dump = table::ReadBytes(GetParam());
  ExpectDriverToAgree(dump, false);
  ExpectDriverToAgree(dump, true);
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DriverAgreesAboutMachine);
INSTANTIATE_TEST_SUITE_P(Dumps, DriverAgreesAboutMachine, testing::ValuesIn(table::DumpFiles()),
                         [](const testing::TestParamInfo<std::string>& info) {
                           return table::NameOfFile(info.param);
                         });

// A map that the driver can use, and devices that clash.
TEST(LintDriver, RecordsEndAtTheFirstClash) {
  const std::string source = SoundWith(
      "[processor like @cpu1]\nsocket = \"CPU1 again\"\n"
      "[processor like @cpu1]\nsocket = \"CPU3\"\n"
      "[memory-device like @dimm1]\nlocator = \"P1-DIMMA1\"\n"
      "[memory-device like @dimm1]\nlocator = \"P1-DIMMB1\"\n"
      "[memory-device like @dimm1]\nlocator = \"C1\"\n");
  ExpectDriverToAgree(Dump(source), false);
  const auto subject = Subject::Read(Dump(source));
  ASSERT_TRUE(subject);
  EXPECT_EQ(RecordedProcessors(*subject).size(), 1u);
  EXPECT_EQ(RecordedModules(*subject).size(), 2u);
}

TEST(LintDriver, ReadsFqddsFromTheStructureBehindAfterANumberPastTheLastString) {
  ExpectDriverToAgree(
      Dump(SoundWith("[memory-device @d2 like @dimm1]\nlocator = \"A2\"\n"
                     "[memory-device @d3 like @dimm1]\nlocator = \"A3\"\n"
                     "[fqdd-map]\nformat = 1\nfqdd = 9 @d2\nfqdd = \"DIMM.Slot.3\" @d3\n"
                     "[oem-strings]\nstring = \"first of the one behind\"\n")),
      false);
}

TEST(LintDriver, KeepsWhatItSaysOfEachText) {
  const std::string longText(140, 'x');
  ExpectDriverToAgree(
      Dump(SoundWith(
          "[memory-device @d2 like @dimm1]\nlocator = \"DIMM_A2\"\n"
          "serial = \"0123456789ABCDEFGH\"\npart-number = \"  AB CD \"\n"
          "bank = \"" +
          longText +
          "\"\n"
          "[dimm-extension]\ndevice = @d2\nfirmware-version = \"" +
          longText +
          "\"\n"
          "[processor like @cpu1]\nsocket = \"CPUx\"\nversion = \"  blanks around  \"\n")),
      false);
}

}  // namespace
}  // namespace tvq::lint
