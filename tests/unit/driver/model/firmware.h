/*
 * What the parts of the model of a start stand on: a table that is taken at its word, a pool of
 * named blocks, a log, handles.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_MODEL_FIRMWARE_H_
#define TVQ_TESTS_UNIT_DRIVER_MODEL_FIRMWARE_H_

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tests/unit/driver/model/start_model.h"
#include "tests/unit/shared/table.h"

namespace tvq::test::model {

// A structure in the table. A field past the formatted part reads as 0.
class View {
 public:
  View(const Bytes& table, size_t offset) : mTable(&table), mOffset(offset) {}

  uint8_t Byte(size_t field) const { return static_cast<uint8_t>(Number(field, 1)); }
  uint16_t Word(size_t field) const { return static_cast<uint16_t>(Number(field, 2)); }
  uint64_t Number(size_t field, size_t width) const;
  // The same, whatever the length of the formatted part.
  uint64_t Stored(size_t field, size_t width) const;
  Text String(size_t field) const { return StringNumber(Byte(field)); }
  Text StringNumber(uint8_t number) const;
  size_t Offset() const { return mOffset; }
  // Where the structure behind begins.
  size_t End() const;

 private:
  size_t Length() const { return (*mTable)[mOffset + 1]; }

  const Bytes* mTable;
  size_t mOffset;
};

// A block; 0 is none.
using BlockId = uint64_t;

// The structures of a type and the two arrays that hold them.
struct Collection {
  std::vector<View> structures;
  size_t count = 0;  // known also where there was no memory for the arrays
  BlockId records = 0;
  BlockId sizes = 0;

  bool Any() const { return !structures.empty(); }
};

class Firmware {
 public:
  Firmware(const Table& table, const StartFailures& failures);

  // --- Table ---
  const Bytes& Data() const { return mTable; }
  uint16_t Version() const { return mVersion; }
  std::vector<View> Structures(uint8_t type) const;
  // Collects structures for a routine.
  Collection Collect(uint8_t type, const std::string& routine);
  void Free(const Collection& collection);

  // --- Pool ---
  BlockId Take(const std::string& routine);
  void Free(BlockId block);
  void Free(const std::vector<BlockId>& blocks);

  // --- Log ---
  void Log(const std::string& routine, const char* format, ...)
      __attribute__((format(printf, 3, 4)));
  void LogError(const std::string& routine, const char* format, ...)
      __attribute__((format(printf, 3, 4)));

  // --- Handles --- Installs a record with this device-path data on a handle of its own. The
  // firmware takes no path twice.
  EFI_STATUS Install(const Bytes& devicePath);

  // --- FQDD map ---
  EFI_STATUS BuildFqddMap();
  // Logs when there is no entry.
  bool FindFqdd(uint16_t handle, Text* fqdd);

  const StartFailures& Failures() const { return mFailures; }
  StartOutcome Outcome(EFI_STATUS status) const;

 private:
  struct FqddEntry {
    uint16_t handle;
    Text text;
  };

  const Bytes& mTable;
  uint16_t mVersion;
  StartFailures mFailures;
  std::map<BlockId, std::string> mBlocks;
  std::vector<FqddEntry> mFqddMap;
  std::set<Bytes> mPaths;
  StartOutcome mOutcome;
};

// As %r prints it.
std::string StatusText(EFI_STATUS status);

// The three builders and the firmware attribute. Each returns what the driver's function of that
// name does.
EFI_STATUS MakeCpus(Firmware& firmware);
EFI_STATUS MakeDimms(Firmware& firmware);
EFI_STATUS MakeSystem(Firmware& firmware);

}  // namespace tvq::test::model

#endif  // TVQ_TESTS_UNIT_DRIVER_MODEL_FIRMWARE_H_
