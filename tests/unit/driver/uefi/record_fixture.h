/*
 * Device records built by hand, and a driver to serve them: its library is set up and the debug log is there, but it was not
 * started, so it has published nothing of its own.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_UEFI_RECORD_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_UEFI_RECORD_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {

class RecordTest : public testing::Test {
 protected:
  RecordTest();

  host::Firmware& Firmware() { return mHarness.Firmware(); }
  host::Pool& Memory() { return Firmware().Memory(); }

  // A record that knows nothing but its type, with its operations. It lives as long as the test.
  smTVQ* NewRecord(UINT8 deviceType);
  // Texts for records. Behind the terminator of a wide text stand three more zeros.
  CHAR16* Wide(std::u16string_view text);
  CHAR8* Ascii(std::string_view text);

  // The lines logged since the last call, as "function: text". A line of another level than the informational one has "error: " or
  // the level before it.
  std::vector<std::string> TakeLog();
  void RemoveDebugLog();

  // The driver's blocks that were allocated since the test began and are still there, oldest first.
  std::vector<host::Block> NewBlocks();
  // Their sizes.
  std::vector<size_t> NewBlockSizes();
  // Makes one allocation of the driver fail: 1 is the next one.
  void FailAllocation(uint64_t n) { Memory().FailAllocation(n, host::images::driver); }
  void EnableAssertions(bool enabled) {
    Firmware().EnableAssertions(host::images::driver, enabled);
  }

  DriverHarness mHarness;

 private:
  uint64_t mFirstSerial = 0;
  std::deque<std::vector<UINT64>> mRecords;
  std::deque<std::vector<CHAR16>> mWideTexts;
  std::deque<std::vector<CHAR8>> mAsciiTexts;
};

// `size` bytes as they lie in memory.
std::vector<UINT8> BytesAt(const void* address, size_t size);

// Puts bytes one behind the other, little-endian.
class ByteWriter {
 public:
  ByteWriter& U8(UINT8 value) { return Number(value, 1); }
  ByteWriter& U16(UINT16 value) { return Number(value, 2); }
  ByteWriter& U32(UINT32 value) { return Number(value, 4); }
  ByteWriter& U64(UINT64 value) { return Number(value, 8); }
  ByteWriter& Zeros(size_t count);
  // The text and its terminator.
  ByteWriter& Text(std::string_view text);
  ByteWriter& Bytes(const std::vector<UINT8>& bytes);

  const std::vector<UINT8>& Written() const { return mBytes; }

 private:
  ByteWriter& Number(UINT64 value, unsigned width);

  std::vector<UINT8> mBytes;
};

// Matches an assertion of the driver that found an object with a wrong signature; `line` 0 is any line.
testing::Matcher<const host::Assertion&> BadSignatureIn(const std::string& source, size_t line = 0);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_UEFI_RECORD_FIXTURE_H_
