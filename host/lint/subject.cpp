/*
 * What is examined: a table and the entry point that leads to it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/subject.h"

#include <algorithm>

#include <Library/TvqDeviceLib.h>

#include "host/table/dump.h"

namespace tvq::lint {
namespace {

using table::EntryPoint;
using table::Error;
using table::Result;

EntryPoint KindOf(const smbios::EntryPoint& entry) {
  return entry.Kind == smbios::EntryPointKind::k64Bit ? EntryPoint::k64Bit : EntryPoint::k32Bit;
}

// Of the entry point at the start of the file; what lies behind it is no part of it.
EntryPointFacts FactsOf(const Bytes& file) {
  const smbios::Bytes bytes = table::ViewOf(file);
  EntryPointFacts facts;
  facts.values =
      smbios::ReadEntryPoint(bytes.First(smbios::LayoutOf(smbios::FindAnchor(bytes)).Size));
  facts.kind = KindOf(facts.values);
  if (facts.kind == EntryPoint::k32Bit) {
    facts.statedCount = facts.values.StructureCount;
  }
  return facts;
}

// The length that a 64-bit entry point states is a maximum.
void CutBehindEndOfTable(Bytes& table) {
  const std::size_t end = smbios::Summarize(table::ViewOf(table)).EndOfTableEnd;
  if (end != 0) {
    table.resize(end);
  }
}

Result<Subject> Behind(const EntryPointFacts& facts, Bytes available, std::size_t base) {
  available.resize(std::min<std::size_t>(available.size(), facts.values.TableLength));
  if (facts.kind == EntryPoint::k64Bit) {
    CutBehindEndOfTable(available);
  }
  if (available.size() < smbios::kHeaderSize) {
    return Error{"there is an entry point, and no table behind it", ""};
  }
  const table::Version version = {facts.values.Major, facts.values.Minor};
  return Subject(facts, version, std::move(available), base);
}

}  // namespace

Result<Subject> Subject::Read(const Bytes& file) {
  if (smbios::ReadEntryPoint(table::ViewOf(file))) {
    const EntryPointFacts facts = FactsOf(file);
    const std::size_t stated = facts.values.TableAddress;
    const std::size_t base =
        stated < file.size() ? stated : std::min(smbios::kDumpedTableOffset, file.size());
    return Behind(facts, Bytes(file.begin() + base, file.end()), base);
  }
  const bool isText = table::IsHexText(file);
  auto table = isText
                   ? table::ReadHexText({reinterpret_cast<const char*>(file.data()), file.size()})
                   : table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  if (table->structures.size() < smbios::kHeaderSize) {
    return Error{"there is no structure in it", ""};
  }
  const std::size_t base = isText ? 0 : table::EntryPointArea(table->entryPoint);
  return Subject({}, table->version, std::move(table->structures), base);
}

Result<Subject> Subject::Read(const Bytes& entryPoint, const Bytes& structures) {
  if (smbios::ReadEntryPoint(table::ViewOf(entryPoint))) {
    return Behind(FactsOf(entryPoint), structures, 0);
  }
  return Error{"there is no entry point", ""};
}

Subject::Subject(EntryPointFacts entryPoint, table::Version version, Bytes structures,
                 std::size_t base)
    : mEntryPoint(entryPoint),
      mVersion(version),
      mTable(std::move(structures)),
      mBase(base),
      mEnd(mTable.size()),
      mStructures(table::SplitTable(mTable, smbios::Reading::kLenient)) {
  LeavePaddingOut();
  Survey();
}

void Subject::LeavePaddingOut() {
  const auto lastByte =
      std::find_if(mTable.rbegin(), mTable.rend(), [](std::uint8_t byte) { return byte != 0; });
  const auto zeros = static_cast<std::size_t>(mTable.rend() - lastByte);
  const auto padding =
      std::find_if(mStructures.begin(), mStructures.end(),
                   [&](const Structure& structure) { return structure.Offset() >= zeros; });
  mStructures.erase(padding, mStructures.end());
  const std::size_t end = mStructures.empty() ? 0 : mStructures.back().End();
  mEnd = end >= zeros ? end : mTable.size();
}

void Subject::Survey() {
  for (const Structure& structure : mStructures) {
    mHandles.emplace(structure.Handle(), &structure);
  }
  for (const Structure& structure : mStructures) {
    if (devices::EndsTable(structure)) {
      break;
    }
    mSeen.push_back(&structure);
    const devices::Kind kind = devices::KindOf(structure);
    if (kind == devices::Kind::kProcessor) {
      mProcessors.push_back(&structure);
    } else if (kind == devices::Kind::kModule) {
      mModules.push_back(&structure);
    }
  }
}

Bytes Subject::BytesAt(std::size_t offset, std::size_t size) const {
  const std::size_t at = std::min(offset - std::min(offset, mBase), mEnd);
  const auto begin = mTable.begin() + static_cast<std::ptrdiff_t>(at);
  return {begin, begin + static_cast<std::ptrdiff_t>(std::min(size, mEnd - at))};
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
