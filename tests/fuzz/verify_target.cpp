/*
 * Fuzz target `verify`: what an agent stored, against the records of a started driver.
 *
 * The low bits of the input's first byte say which record is asked (1, 2: which one), whether what follows is a
 * document, which is then wrapped as stored data is, or stored data as such (4), and whether a mode text stands before
 * it, up to its NUL (8).
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "images/driver.h"
#include "images/platform.h"
#include "tests/fuzz/small_server.h"
#include "tests/fuzz/started_driver.h"
#include "tests/fuzz/target.h"

#include <IndustryStandard/TvqBlob.h>

namespace {

using tvq::fuzz::Bytes;
using tvq::fuzz::Expect;
using tvq::fuzz::StartedDriver;

constexpr uint8_t kWhichRecord = 3;
constexpr uint8_t kIsStoredData = 4;
constexpr uint8_t kHasMode = 8;

std::unique_ptr<StartedDriver> StartNew() {
  auto driver = std::make_unique<StartedDriver>(tvq::fuzz::SmallServer());
  Expect(driver->Records().size() == kWhichRecord, "the small server has three records");
  // Get trims part numbers, and the platform keeps room for what is announced.
  for (const tvq::fuzz::Record& record : driver->Records()) {
    driver->Asking().AskRecord(record);
  }
  return driver;
}

StartedDriver& Driver() {
  return tvq::fuzz::Renewed(StartNew);
}

// Stored data that is a configuration blob with this document.
Bytes Wrap(const Bytes& document) {
  Bytes stored(sizeof(TVQ_CONFIGURATION_BLOB) + document.size() + 1);
  TVQ_CONFIGURATION_BLOB blob = {};
  blob.header = {TVQ_BLOB_REVISION, TVQ_BLOB_TYPE_CONFIGURATION, TVQ_BLOB_COOKIE_CONFIGURATION,
                 static_cast<UINT32>(stored.size())};
  std::memcpy(stored.data(), &blob, sizeof(blob));
  std::copy(document.begin(), document.end(), stored.begin() + sizeof(blob));
  return stored;
}

std::string TakeMode(Bytes& input) {
  const auto end = std::find(input.begin(), input.end(), uint8_t{0});
  std::string mode(input.begin(), end);
  input.erase(input.begin(), end == input.end() ? end : end + 1);
  return mode;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  const uint8_t choice = data[0];
  Bytes input(data + 1, data + size);
  const std::string mode = (choice & kHasMode) != 0 ? TakeMode(input) : tvq::fuzz::kNormalMode;
  const Bytes stored = (choice & kIsStoredData) != 0 ? input : Wrap(input);

  StartedDriver& driver = Driver();
  const size_t blocks = driver.Firmware().Memory().LiveCount();
  const auto& records = driver.Records();
  driver.Asking().Verify(records[(choice & kWhichRecord) % records.size()], stored, mode);
  Expect(driver.Firmware().Memory().LiveCount() == blocks, "Verify leaves blocks behind");
  driver.ExpectNoComplaints();
  return 0;
}
