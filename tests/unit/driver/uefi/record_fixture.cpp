/*
 * Device records built by hand, and a driver to serve them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/record_fixture.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "TvqSmbiosPkg/src/common/publish.h"

namespace tvq::test {
namespace {

std::string LevelPrefix(UINT32 level) {
  if (level == DEBUG_LOG_LEVEL_INFO) {
    return "";
  }
  if (level == DEBUG_LOG_LEVEL_ERROR) {
    return "error: ";
  }
  char text[32];
  std::snprintf(text, sizeof(text), "level 0x%08X: ", static_cast<unsigned>(level));
  return text;
}

}  // namespace

RecordTest::RecordTest() {
  mHarness.Construct();
  mHarness.ConnectLog();
  const std::vector<host::Block> blocks = Memory().LiveBlocks();
  mFirstSerial = blocks.back().serial + 1;
}

smTVQ* RecordTest::NewRecord(UINT8 deviceType) {
  // 64-bit words, so that the record is aligned as a pool block is.
  mRecords.emplace_back((sizeof(smTVQ) + sizeof(UINT64) - 1) / sizeof(UINT64));
  auto* record = reinterpret_cast<smTVQ*>(mRecords.back().data());
  record->Signature = TVQ_RECORD_SIGNATURE;
  record->device.generic.DeviceType = deviceType;
  FillOperations(record);
  return record;
}

CHAR16* RecordTest::Wide(std::u16string_view text) {
  constexpr size_t kZeros = 4;
  mWideTexts.emplace_back(text.size() + kZeros);
  std::copy(text.begin(), text.end(), mWideTexts.back().begin());
  return mWideTexts.back().data();
}

CHAR8* RecordTest::Ascii(std::string_view text) {
  mAsciiTexts.emplace_back(text.size() + 1);
  std::copy(text.begin(), text.end(), mAsciiTexts.back().begin());
  return mAsciiTexts.back().data();
}

std::vector<std::string> RecordTest::TakeLog() {
  std::vector<std::string> lines;
  for (const LogLine& line : mHarness.TakeLog()) {
    lines.push_back(LevelPrefix(line.level) + line.function + ": " + line.text);
  }
  return lines;
}

void RecordTest::RemoveDebugLog() {
  gDebugLog = nullptr;
}

std::vector<host::Block> RecordTest::NewBlocks() {
  std::vector<host::Block> blocks = mHarness.Blocks();
  blocks.erase(
      std::remove_if(blocks.begin(), blocks.end(),
                     [this](const host::Block& block) { return block.serial < mFirstSerial; }),
      blocks.end());
  return blocks;
}

std::vector<size_t> RecordTest::NewBlockSizes() {
  std::vector<size_t> sizes;
  for (const host::Block& block : NewBlocks()) {
    sizes.push_back(block.size);
  }
  return sizes;
}

std::vector<UINT8> BytesAt(const void* address, size_t size) {
  const auto* bytes = static_cast<const UINT8*>(address);
  return std::vector<UINT8>(bytes, bytes + size);
}

ByteWriter& ByteWriter::Zeros(size_t count) {
  mBytes.resize(mBytes.size() + count);
  return *this;
}

ByteWriter& ByteWriter::Text(std::string_view text) {
  mBytes.insert(mBytes.end(), text.begin(), text.end());
  return Zeros(1);
}

ByteWriter& ByteWriter::Bytes(const std::vector<UINT8>& bytes) {
  mBytes.insert(mBytes.end(), bytes.begin(), bytes.end());
  return *this;
}

ByteWriter& ByteWriter::Number(UINT64 value, unsigned width) {
  for (unsigned i = 0; i < width; ++i) {
    mBytes.push_back(static_cast<UINT8>(value >> (8 * i)));
  }
  return *this;
}

testing::Matcher<const host::Assertion&> BadSignatureIn(const std::string& source, size_t line) {
  return testing::AllOf(
      testing::Field("image", &host::Assertion::image, "driver"),
      testing::Field("text", &host::Assertion::text, "CR has Bad Signature"),
      testing::Field("file", &host::Assertion::file, source),
      testing::Field("line", &host::Assertion::line,
                     line == 0 ? testing::A<size_t>() : testing::Matcher<size_t>(line)));
}

}  // namespace tvq::test
