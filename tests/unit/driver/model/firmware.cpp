/*
 * What the parts of the model of a start stand on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/model/firmware.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>

namespace tvq::test::model {
namespace {

constexpr size_t kHeaderSize = 4;
constexpr uint8_t kFqddMapType = 225;

std::string Format(const char* format, va_list arguments) {
  char text[1024];
  std::vsnprintf(text, sizeof(text), format, arguments);
  return text;
}

}  // namespace

uint64_t View::Stored(size_t field, size_t width) const {
  uint64_t number = 0;
  for (size_t i = 0; i < width && mOffset + field + i < mTable->size(); ++i) {
    number |= static_cast<uint64_t>((*mTable)[mOffset + field + i]) << (8 * i);
  }
  return number;
}

uint64_t View::Number(size_t field, size_t width) const {
  return field + width <= Length() ? Stored(field, width) : 0;
}

Text View::StringNumber(uint8_t number) const {
  size_t position = mOffset + Length();
  for (uint8_t n = 1; n <= number && (*mTable)[position] != 0; ++n) {
    const char* const text = reinterpret_cast<const char*>(mTable->data() + position);
    if (n == number) {
      return text;
    }
    position += std::string(text).size() + 1;
  }
  EXPECT_EQ(number, 0) << "the model knows no tables with string numbers out of range";
  return std::nullopt;
}

size_t View::End() const {
  size_t position = mOffset + Length();
  while ((*mTable)[position] != 0 || (*mTable)[position + 1] != 0) {
    ++position;
  }
  return position + 2;
}

Firmware::Firmware(const Table& table, const StartFailures& failures)
    : mTable(table.Bytes()),
      mVersion(static_cast<uint16_t>(table.majorVersion << 8 | table.minorVersion)),
      mFailures(failures) {}

std::vector<View> Firmware::Structures(uint8_t type) const {
  std::vector<View> found;
  for (size_t offset = 0; offset + kHeaderSize <= mTable.size();) {
    const View view(mTable, offset);
    if (view.Stored(0, 1) == type) {
      found.push_back(view);
    }
    offset = view.End();
  }
  return found;
}

Collection Firmware::Collect(uint8_t type, const std::string& routine) {
  const std::string site = "SmbiosGetStructuresByType < " + routine;
  Collection collection;
  const std::vector<View> structures = Structures(type);
  collection.count = structures.size();
  collection.records = Take(site);
  if (collection.records == 0) {
    return collection;
  }
  collection.sizes = Take(site);
  if (collection.sizes == 0) {
    Free(collection.records);
    collection.records = 0;
    return collection;
  }
  collection.structures = structures;
  return collection;
}

void Firmware::Free(const Collection& collection) {
  Free(collection.sizes);
  Free(collection.records);
}

BlockId Firmware::Take(const std::string& routine) {
  const BlockId block = ++mOutcome.allocations;
  if (mFailures.allocations.Fails(block)) {
    return 0;
  }
  mBlocks[block] = routine;
  return block;
}

void Firmware::Free(BlockId block) {
  if (block != 0) {
    EXPECT_EQ(mBlocks.erase(block), 1u) << "the model frees block " << block << " twice";
  }
}

void Firmware::Free(const std::vector<BlockId>& blocks) {
  for (const BlockId block : blocks) {
    Free(block);
  }
}

void Firmware::Log(const std::string& routine, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  mOutcome.log.push_back({DEBUG_LOG_LEVEL_INFO, routine, Format(format, arguments)});
  va_end(arguments);
}

void Firmware::LogError(const std::string& routine, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  mOutcome.log.push_back({DEBUG_LOG_LEVEL_ERROR, routine, Format(format, arguments)});
  va_end(arguments);
}

EFI_STATUS Firmware::Install(const Bytes& devicePath) {
  mOutcome.allocationsBeforeInstall.push_back(mOutcome.allocations);
  if (mFailures.installs.Fails(++mOutcome.installs)) {
    return mFailures.installStatus;
  }
  if (!mPaths.insert(devicePath).second) {
    return EFI_ALREADY_STARTED;
  }
  mOutcome.records.push_back(devicePath);
  return EFI_SUCCESS;
}

// The collection's second array is dropped on the floor on every way out, and an error keeps the
// first one too.
EFI_STATUS Firmware::BuildFqddMap() {
  const Collection maps = Collect(kFqddMapType, "BuildFqddMap");
  if (!maps.Any()) {
    return EFI_NOT_FOUND;
  }
  for (const View& map : maps.structures) {
    const size_t groups = (map.Stored(1, 1) - 5) / 4;
    for (size_t group = 0; group < groups; ++group) {
      const size_t field = 5 + 4 * group;
      mFqddMap.push_back({map.Word(field + 1), map.String(field)});
    }
  }
  return Take("BuildFqddMap") == 0 ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

bool Firmware::FindFqdd(uint16_t handle, Text* fqdd) {
  for (const FqddEntry& entry : mFqddMap) {
    if (entry.handle == handle) {
      *fqdd = entry.text;
      return true;
    }
  }
  Log("FindFqdd", "Handle 0x%X not found\n", handle);
  return false;
}

StartOutcome Firmware::Outcome(EFI_STATUS status) const {
  StartOutcome outcome = mOutcome;
  outcome.status = status;
  for (const auto& [block, routine] : mBlocks) {
    outcome.blocks.push_back(routine);
  }
  return outcome;
}

std::string StatusText(EFI_STATUS status) {
  switch (status) {
    case EFI_OUT_OF_RESOURCES:
      return "Out of Resources";
    case EFI_ALREADY_STARTED:
      return "Already started";
    case EFI_ACCESS_DENIED:
      return "Access Denied";
    default:
      ADD_FAILURE() << "a status without a text: " << status;
      return "";
  }
}

}  // namespace tvq::test::model
