/*
 * What the rules of `tvq lint` examine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/commands/lint_subject.h"

#include <fmt/format.h>

#include <map>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

// What lies in front of a document in its blob, and its terminator.
constexpr std::size_t kBlobFrame = 81;
constexpr std::size_t kConfigurationBlob = 1;

std::uint8_t StructureTypeOf(unsigned deviceType) {
  constexpr std::uint8_t kTypes[] = {4, 17, 1};
  constexpr unsigned kFirstDeviceType = 2;
  return kTypes[deviceType - kFirstDeviceType];
}

std::vector<lint::Document> DocumentsOf(const run::Results& results) {
  std::vector<lint::Document> documents;
  std::map<unsigned, std::size_t> devices;
  for (const run::Record& record : results.records) {
    const auto& blob = record.blobs[kConfigurationBlob];
    documents.push_back({StructureTypeOf(record.deviceType), devices[record.deviceType]++,
                         blob && blob->size() > kBlobFrame ? blob->size() - kBlobFrame : 0});
  }
  return documents;
}

// The documents that the driver writes about the table; about a conformed one where it writes none,
// which hardly differ in size.
std::vector<lint::Document> WriteDocuments(const TableBytes& bytes, const TableOptions& options,
                                           const Console& console) {
  for (const bool isConformed : {false, true}) {
    run::DriverRun driver;
    run::Table table = TableOf(driver, bytes, options, console);
    if (isConformed) {
      table = driver.Conform(table).table;
    }
    try {
      const run::Results results = driver.Run(table);
      if (!results.records.empty()) {
        return DocumentsOf(results);
      }
    } catch (const run::TableError&) {
      return {};  // Too large to be published, which is a finding of its own.
    }
  }
  return {};
}

}  // namespace

lint::Subject ReadSubject(const TableBytes& bytes, const TableOptions& options,
                          const Console& console) {
  auto subject = bytes.entryPoint.empty() ? lint::Subject::Read(bytes.file)
                                          : lint::Subject::Read(bytes.entryPoint, bytes.file);
  if (!subject) {
    throw InputError(fmt::format("{} is no SMBIOS table that can be used: {}", NameOf(options),
                                 subject.Failure().message),
                     kTableHint);
  }
  subject->SetDocuments(WriteDocuments(bytes, options, console));
  return std::move(*subject);
}

}  // namespace tvq::cli
