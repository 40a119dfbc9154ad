/*
 * Rules, and the findings that their checks report.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_RULE_H_
#define TVQ_HOST_LINT_RULE_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/lint/subject.h"

namespace tvq::lint {

enum class Severity {
  kNote,
  kWarning,
  kError,
};

// Who reads the table.
enum Profile : unsigned {
  kDriver = 1,  // the driver, and the agent behind it
  kTable = 2,   // anybody who goes by the SMBIOS standard
  kBoth = kDriver | kTable,
};

class Report;

struct Rule {
  std::string_view name;
  Severity severity;
  unsigned profiles;
  std::string_view summary;  // what is wrong, in one line
  std::string_view why;      // what it leads to
  std::string_view fix;
  // What triggers it, in the source form of tables. It goes behind a sound table, in front of its
  // end, unless it begins with "version".
  std::string_view example;
  void (*check)(const Subject& subject, Report& report);
};

// Where a finding is.
struct Place {
  std::optional<std::size_t> offset;  // in the file
  bool isInEntryPoint = false;
  std::optional<std::uint8_t> type;  // of the structure
  std::optional<std::uint16_t> handle;
  std::size_t size = 0;  // of the structure in bytes, its strings included
};

// The same fault at another place.
struct Occurrence {
  Place place;
  std::string message;
};

// One fault, however often it shows.
struct Finding {
  const Rule* rule;
  Place place;
  std::string message;  // what is the case, and what will happen
  std::string advice;   // what to change
  std::vector<Occurrence> alike = {};
  std::vector<Finding> consequences = {};  // what would not be there without it
};

// As grave as the gravest of its consequences.
Severity SeverityOf(const Finding& finding);
// Whether any table with this fault goes against the standard; otherwise it matters to the driver
// alone.
bool IsAboutStandard(const Rule& rule);

// Takes the findings of one rule after the other.
class Report {
 public:
  explicit Report(const Subject& subject) : mBase(subject.Base()) {}

  void Begin(const Rule& rule) { mRule = &rule; }

  void At(const Structure& structure, std::string message, std::string advice);
  // At a byte of the entry point.
  void AtEntryPoint(std::size_t offset, std::string message, std::string advice);
  // At a byte of the table that belongs to no structure.
  void AtByte(std::size_t offset, std::string message, std::string advice);
  // About the whole table.
  void OnTable(std::string message, std::string advice);

  std::vector<Finding> Take() { return std::move(mFindings); }

 private:
  void Add(Place place, std::string message, std::string advice);

  std::size_t mBase;
  const Rule* mRule = nullptr;
  std::vector<Finding> mFindings;
};

// A text of the table as messages repeat it.
std::string Quote(std::string_view text);
// "handle 0x0012"
std::string HandleName(std::uint16_t handle);
// "type 4, handle 0x0012"
std::string StructureName(const Structure& structure);
// The same; empty for what is no structure's.
std::string StructureName(const Place& place);
// "1 module", "3 modules"
std::string Counted(std::size_t count, std::string_view noun);
// The name of the field at `offset` of structures of this type; its offset when it has none.
std::string FieldName(std::uint8_t type, std::size_t offset);
template <typename Value>
std::string FieldName(smbios::Field<Value> field) {
  return FieldName(field.Type, field.Offset);
}

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_RULE_H_
