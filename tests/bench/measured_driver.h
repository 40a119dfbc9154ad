/*
 * A machine with the reference platform and the driver on it, for measurements: each operation of
 * the driver can be run alone, with something done directly before and after it.
 *
 *     MeasuredDriver driver(DebugLog::kAbsent);
 *     driver.Publish(file);
 *     driver.Start();
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_BENCH_MEASURED_DRIVER_H_
#define TVQ_TESTS_BENCH_MEASURED_DRIVER_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::bench {

using Bytes = std::vector<uint8_t>;

enum class DebugLog {
  kAbsent,
  kPresent,
};

// What stands around the one call that is measured.
struct Meter {
  std::function<void()> begin;
  std::function<void()> end;
};

class MeasuredDriver {
 public:
  explicit MeasuredDriver(DebugLog log);
  ~MeasuredDriver();
  MeasuredDriver(const MeasuredDriver&) = delete;
  MeasuredDriver& operator=(const MeasuredDriver&) = delete;

  // Publishes the table of a file that dmidecode could read, conformed. Throws std::runtime_error.
  void Publish(const Bytes& file);
  // The table as it was published.
  const Bytes& Structures() const { return mStructures; }
  unsigned StructureCount() const { return mStructureCount; }
  uint8_t MajorVersion() const { return mMajorVersion; }
  uint8_t MinorVersion() const { return mMinorVersion; }

  // Starts the driver, once. Throws std::runtime_error when it does not succeed.
  void Start(const Meter& meter);
  size_t RecordCount() const;
  // Calls Get on every record and returns how many bytes of blobs came; keeps the blobs as what
  // was stored on an earlier boot.
  uint64_t GetAll(const Meter& meter);
  // Compares every record with the blobs of the last GetAll() and returns how many could be
  // compared: a document that is not well-formed cannot. Throws std::runtime_error when one is not
  // what it was.
  size_t VerifyAll(const Meter& meter);

  host::Firmware& Firmware();

 private:
  struct Impl;
  std::unique_ptr<Impl> mImpl;
  Bytes mStructures;
  unsigned mStructureCount = 0;
  uint8_t mMajorVersion = 0;
  uint8_t mMinorVersion = 0;
};

}  // namespace tvq::bench

#endif  // TVQ_TESTS_BENCH_MEASURED_DRIVER_H_
