/*
 * What is examined: a table, the entry point that leads to it, and what the driver made of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_SUBJECT_H_
#define TVQ_HOST_LINT_SUBJECT_H_

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/table/structure.h"
#include "host/table/result.h"

namespace tvq::lint {

using smbios::kNoHandle;
using table::Bytes;
using table::Structure;

// What the entry point states; nothing for a bare table.
struct EntryPointFacts {
  table::EntryPoint kind = table::EntryPoint::kNone;
  smbios::EntryPoint values;
  std::optional<std::size_t> statedCount;  // of structures; a 32-bit entry point states it
};

// A document that the driver wrote.
struct Document {
  std::uint8_t type = 0;   // of the structure that the device has
  std::size_t device = 0;  // which of the devices of that type that get records, from 0
  std::size_t size = 0;
};

class Subject {
 public:
  // The table of a file: a dump, the text of one, or a bare table.
  static table::Result<Subject> Read(const Bytes& file);
  // A table that lies apart from its entry point.
  static table::Result<Subject> Read(const Bytes& entryPoint, const Bytes& structures);

  Subject(EntryPointFacts entryPoint, table::Version version, Bytes structures, std::size_t base);
  Subject(Subject&&) = default;
  Subject& operator=(Subject&&) = default;
  Subject(const Subject&) = delete;
  Subject& operator=(const Subject&) = delete;

  const EntryPointFacts& EntryPoint() const { return mEntryPoint; }
  table::Version Version() const { return mVersion; }
  const Bytes& Table() const { return mTable; }
  // Where zeros begin that fill the rest of the table, which are no structures; the size of the table
  // where there are none.
  std::size_t End() const { return mEnd; }
  // What to add to an offset in the table to have it in the file.
  std::size_t Base() const { return mBase; }

  // What is examined, zeros at the end left out: bytes of the file from `offset` on.
  Bytes BytesAt(std::size_t offset, std::size_t size) const;

  // All structures.
  const std::vector<Structure>& Structures() const { return mStructures; }
  // Those that the driver comes to: up to one with handle FFFFh that is not the first.
  const std::vector<const Structure*>& Seen() const { return mSeen; }
  std::vector<const Structure*> SeenOfType(std::uint8_t type) const;
  // The first structure with the handle, null when there is none.
  const Structure* FindHandle(std::uint16_t handle) const;

  // Processors and modules that the driver would make a record of, if nothing stood in its way.
  const std::vector<const Structure*>& Processors() const { return mProcessors; }
  const std::vector<const Structure*>& Modules() const { return mModules; }

  void SetDocuments(std::vector<Document> documents) { mDocuments = std::move(documents); }
  const std::vector<Document>& Documents() const { return mDocuments; }

 private:
  void LeavePaddingOut();
  void Survey();

  EntryPointFacts mEntryPoint;
  table::Version mVersion;
  Bytes mTable;
  std::size_t mBase;
  std::size_t mEnd;
  std::vector<Structure> mStructures;
  std::vector<const Structure*> mSeen;
  std::vector<const Structure*> mProcessors;
  std::vector<const Structure*> mModules;
  std::map<std::uint16_t, const Structure*> mHandles;
  std::vector<Document> mDocuments;
};

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_SUBJECT_H_
