/*
 * What is examined: a table and the entry point that leads to it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/subject.h"

#include <algorithm>

#include "host/lint/smbios.h"
#include "host/table/dump.h"

namespace tvq::lint {
namespace {

using table::EntryPoint;
using table::Error;
using table::Result;

// Where the table stands in a file of `dmidecode --dump-bin`.
constexpr std::size_t kUsualBase = 0x20;

std::size_t Number(const Bytes& bytes, std::size_t at, std::size_t width) {
  std::size_t value = 0;
  for (std::size_t i = width; i-- > 0;) {
    value = value << 8 | bytes[at + i];
  }
  return value;
}

bool StartsWith(const Bytes& bytes, std::string_view anchor) {
  return bytes.size() >= anchor.size() && std::equal(anchor.begin(), anchor.end(), bytes.begin());
}

// What an entry point of each kind has where (SMBIOS 5.2).
struct EntryLayout {
  std::string_view anchor;
  EntryPoint kind;
  std::size_t size;
  std::size_t version;
  std::size_t length;
  std::size_t lengthWidth;
  std::size_t address;
  std::size_t addressWidth;
};

constexpr EntryLayout kEntryLayouts[] = {
    {"_SM3_", EntryPoint::k64Bit, 0x18, 0x07, 0x0C, 4, 0x10, 8},
    {"_SM_", EntryPoint::k32Bit, 0x1F, 0x06, 0x16, 2, 0x18, 4},
};
constexpr std::size_t kStructureCount = 0x1C;

const EntryLayout* LayoutOf(const Bytes& bytes) {
  for (const EntryLayout& layout : kEntryLayouts) {
    if (StartsWith(bytes, layout.anchor) && bytes.size() >= layout.size) {
      return &layout;
    }
  }
  return nullptr;
}

EntryPointFacts FactsOf(const EntryLayout& layout, const Bytes& bytes) {
  EntryPointFacts facts;
  facts.kind = layout.kind;
  facts.bytes.assign(bytes.begin(), bytes.begin() + layout.size);
  facts.statedLength = Number(bytes, layout.length, layout.lengthWidth);
  if (layout.kind == EntryPoint::k32Bit) {
    facts.statedCount = Number(bytes, kStructureCount, 2);
  }
  return facts;
}

// The length that a 64-bit entry point states is a maximum.
void CutBehindEndOfTable(Bytes& table) {
  for (const Structure& structure : WalkTable(table)) {
    if (structure.Type() == kEndOfTable) {
      table.resize(structure.End());
      return;
    }
  }
}

Result<Subject> Behind(const EntryLayout& layout, const Bytes& entryPoint, Bytes available,
                       std::size_t base) {
  EntryPointFacts facts = FactsOf(layout, entryPoint);
  available.resize(std::min(available.size(), facts.statedLength));
  if (layout.kind == EntryPoint::k64Bit) {
    CutBehindEndOfTable(available);
  }
  if (available.size() < table::kHeaderSize) {
    return Error{"there is an entry point, and no table behind it", ""};
  }
  const table::Version version = {entryPoint[layout.version], entryPoint[layout.version + 1]};
  return Subject(std::move(facts), version, std::move(available), base);
}

bool IsModule(const Structure& device) {
  const std::uint8_t type = device.Byte(memory::kType);
  return type != memory::kLogical && type != memory::kHbm && type != memory::kHbm2 &&
         device.Word(memory::kSize) != 0;
}

}  // namespace

Result<Subject> Subject::Read(const Bytes& file) {
  if (const EntryLayout* layout = LayoutOf(file)) {
    const std::size_t stated = Number(file, layout->address, layout->addressWidth);
    const std::size_t base = stated < file.size() ? stated : std::min(kUsualBase, file.size());
    return Behind(*layout, file, Bytes(file.begin() + base, file.end()), base);
  }
  const bool isText = table::IsHexText(file);
  auto table = isText
                   ? table::ReadHexText({reinterpret_cast<const char*>(file.data()), file.size()})
                   : table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  if (table->structures.size() < table::kHeaderSize) {
    return Error{"there is no structure in it", ""};
  }
  const std::size_t base = isText ? 0 : table::EntryPointArea(table->entryPoint);
  return Subject({}, table->version, std::move(table->structures), base);
}

Result<Subject> Subject::Read(const Bytes& entryPoint, const Bytes& structures) {
  if (const EntryLayout* layout = LayoutOf(entryPoint)) {
    return Behind(*layout, entryPoint, structures, 0);
  }
  return Error{"there is no entry point", ""};
}

Subject::Subject(EntryPointFacts entryPoint, table::Version version, Bytes structures,
                 std::size_t base)
    : mEntryPoint(std::move(entryPoint)),
      mVersion(version),
      mTable(std::move(structures)),
      mBase(base),
      mStructures(WalkTable(mTable)) {
  Survey();
}

void Subject::Survey() {
  for (const Structure& structure : mStructures) {
    mHandles.emplace(structure.Handle(), &structure);
  }
  for (const Structure& structure : mStructures) {
    if (structure.Handle() == kNoHandle && structure.Offset() != 0) {
      break;
    }
    mSeen.push_back(&structure);
    if (structure.Type() == kProcessor &&
        (structure.Byte(processor::kStatus) & processor::kPopulated) != 0) {
      mProcessors.push_back(&structure);
    } else if (structure.Type() == kMemoryDevice && IsModule(structure)) {
      mModules.push_back(&structure);
    }
  }
}

std::vector<const Structure*> Subject::SeenOfType(std::uint8_t type) const {
  std::vector<const Structure*> found;
  std::copy_if(mSeen.begin(), mSeen.end(), std::back_inserter(found),
               [&](const Structure* structure) { return structure->Type() == type; });
  return found;
}

const Structure* Subject::FindHandle(std::uint16_t handle) const {
  const auto found = mHandles.find(handle);
  return found == mHandles.end() ? nullptr : found->second;
}

}  // namespace tvq::lint
