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
  // The changes of structures that are told of by themselves, as indices of the earlier table's.
  const std::vector<std::size_t>& Structures() const { return mStructures; }

  // Those about a part: indices of the comparison's findings, of the structures, and of the report's findings.
  const std::vector<std::size_t>& ChangesOf(PartPlace place) const;
  const std::vector<std::size_t>& StructuresOf(PartPlace place) const;
  const std::vector<std::size_t>& FindingsOf(PartPlace place) const;

  // The change of the structure that a change is about as well.
  const StructureChange* StructureOf(const run::Finding& change) const;

  // How many changes somebody has to look at. Other firmware describes the same parts in other structures.
  std::size_t CountToLookAt() const;

  // Where a change sits, or a finding shows.
  std::optional<PartPlace> PlaceOf(const run::Finding& change) const;
  std::optional<PartPlace> PlaceOf(const lint::Place& place) const;
  std::optional<PartPlace> PlaceOf(const StructureChange& change) const;

 private:
  using Key = std::pair<facts::Kind, std::size_t>;
  struct Notes {
    std::vector<std::size_t> changes;
    std::vector<std::size_t> structures;
    std::vector<std::size_t> findings;
  };

  void AddChanges();
  void AddStructures();
  const Notes& NotesOf(PartPlace place) const;
  void AddFinding(const lint::Finding& finding, std::size_t index);
  void AddFindingAt(const lint::Place& place, std::size_t index);
  std::optional<PartPlace> PlaceOfHandle(unsigned type, unsigned handle) const;

  const Report& mReport;
  std::map<Key, Notes> mNotes;
  std::vector<std::size_t> mChanges;
  std::vector<std::size_t> mStructures;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PART_NOTES_H_
