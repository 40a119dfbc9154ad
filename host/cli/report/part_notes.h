/*
 * Which findings and changes concern which part of the machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_PART_NOTES_H_
#define TVQ_HOST_CLI_REPORT_PART_NOTES_H_

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/cli/report/report.h"

namespace tvq::cli {

class PartNotes {
 public:
  explicit PartNotes(const Report& report);

  // The changes that are told of, as indices of the comparison's findings.
  const std::vector<std::size_t>& Changes() const { return mChanges; }

  // Those about a part: indices of the comparison's findings, and of the report's.
  const std::vector<std::size_t>& ChangesOf(PartPlace place) const;
  const std::vector<std::size_t>& FindingsOf(PartPlace place) const;

  // Where a change sits, or a finding shows.
  std::optional<PartPlace> PlaceOf(const run::Finding& change) const;
  std::optional<PartPlace> PlaceOf(const lint::Place& place) const;

 private:
  using Key = std::pair<facts::Kind, std::size_t>;
  struct Notes {
    std::vector<std::size_t> changes;
    std::vector<std::size_t> findings;
  };

  void AddFinding(const lint::Finding& finding, std::size_t index);
  void AddFindingAt(const lint::Place& place, std::size_t index);
  std::optional<PartPlace> PlaceOfHandle(unsigned type, unsigned handle) const;

  const Report& mReport;
  std::map<Key, Notes> mNotes;
  std::vector<std::size_t> mChanges;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PART_NOTES_H_
