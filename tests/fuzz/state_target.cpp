/*
 * Fuzz target `state`: saved states as the agent and `tvq` read them, beside the machine of a run.
 *
 * The low bits of the input's first byte say what follows: a file as such (1), or the content of one, to which the sizes and
 * checksums are put that a reader asks for, so that what lies behind them is reached. Content of version 2 is a list of
 * sections, each its type in one byte, its size in two, and its bytes; the end section is added. Of version 1 (2) it is all
 * devices as they stand in the file, behind their number in one byte.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <array>
#include <memory>
#include <string>

#include "host/run/driver_run.h"
#include "tests/fuzz/operations.h"
#include "tests/fuzz/small_server.h"
#include "tests/fuzz/target.h"

namespace {

using tvq::fuzz::Expect;
using tvq::run::Bytes;
using tvq::run::DriverRun;

constexpr uint8_t kIsFile = 1;
constexpr uint8_t kIsVersionOne = 2;
constexpr uint64_t kGeneration = 1;
constexpr uint8_t kEnd = 5;

void Append(Bytes& bytes, uint64_t number, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
  }
}

constexpr std::array<uint32_t, 256> MakeCrcTable() {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < table.size(); ++byte) {
    uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
    table[byte] = crc;
  }
  return table;
}

// The CRC-32 of IEEE 802.3.
uint32_t Crc32(const Bytes& bytes) {
  constexpr auto kTable = MakeCrcTable();
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : bytes) {
    crc = (crc >> 8) ^ kTable[(crc ^ byte) & 0xFF];
  }
  return ~crc;
}

Bytes Header(uint32_t version, uint32_t count, size_t bodySize, uint32_t crc) {
  const std::string magic = "TVQSTATE";
  Bytes header(magic.begin(), magic.end());
  Append(header, version, 4);
  Append(header, count, 4);
  Append(header, kGeneration, 8);
  Append(header, bodySize, 4);
  Append(header, crc, 4);
  return header;
}

Bytes File(uint32_t version, uint32_t count, const Bytes& body) {
  Bytes sums;
  Append(sums, Crc32(Header(version, count, body.size(), 0)), 4);
  Append(sums, body.empty() ? 0 : Crc32(body), 4);
  Bytes file = Header(version, count, body.size(), Crc32(sums));
  file.insert(file.end(), body.begin(), body.end());
  return file;
}

void AppendSection(Bytes& body, uint32_t type, const Bytes& content) {
  Append(body, type, 4);
  Append(body, content.size(), 4);
  body.insert(body.end(), content.begin(), content.end());
}

Bytes FileOfSections(const Bytes& input) {
  constexpr size_t kHead = 3;
  constexpr uint8_t kOptional = 0x80;
  Bytes body;
  uint32_t count = 0;
  for (size_t at = 0; at + kHead <= input.size(); ++count) {
    const uint32_t type = (input[at] & ~kOptional) | ((input[at] & kOptional) != 0 ? 1u << 31 : 0);
    const size_t wanted = input[at + 1] | input[at + 2] << 8;
    at += kHead;
    const size_t size = std::min(wanted, input.size() - at);
    const auto begin = input.begin() + static_cast<std::ptrdiff_t>(at);
    AppendSection(body, type, {begin, begin + static_cast<std::ptrdiff_t>(size)});
    at += size;
  }
  Bytes generation;
  Append(generation, kGeneration, 8);
  AppendSection(body, kEnd, generation);
  return File(2, count + 1, body);
}

Bytes FileOf(const uint8_t* data, size_t size) {
  Bytes input(data + 1, data + size);
  if ((data[0] & kIsFile) != 0) {
    return input;
  }
  if ((data[0] & kIsVersionOne) == 0) {
    return FileOfSections(input);
  }
  return input.empty() ? input : File(1, input[0], {input.begin() + 1, input.end()});
}

// The machine of the run, and what it was saved as.
struct Machine {
  Machine() {
    const tvq::run::Table table = driver.ReadCapturedFile(tvq::fuzz::SmallServerDump());
    const tvq::run::Conformed conformed = driver.Conform(table);
    Expect(!driver.Run(conformed.table).records.empty(), "the small server has records");
    state = driver.State({}, kGeneration);
  }
  DriverRun driver;
  Bytes state;
};

void Accept(Machine& machine, const Bytes& file) {
  for (const char* name : {"CPU.Socket.1", "DIMM.Socket.A1", "System.Embedded.1"}) {
    try {
      const Bytes merged = machine.driver.Accept(file, {name}, {}, kGeneration);
      Expect(machine.driver.CheckStateFile(merged, kGeneration).kind ==
                 tvq::run::StateFile::Kind::kWhole,
             "a state that was written cannot be read");
    } catch (const tvq::run::StateError&) {
      // The device cannot be taken over.
    }
  }
}

void Use(Machine& machine, const Bytes& file) {
  DriverRun& driver = machine.driver;
  tvq::run::CompareOptions everything;
  everything.isVerbose = true;
  (void)driver.FitOf(file, tvq::run::Origin());
  (void)driver.FitOf(file, machine.state);
  (void)driver.ReadStateTable(file);
  (void)driver.Compare(file, {}, everything);
  (void)driver.CompareStates(file, machine.state, everything);
  (void)driver.CompareStates(machine.state, file, everything);
  Expect(driver.AreEqual(file, file), "a state differs from itself");
  const tvq::run::Comparison same = driver.CompareStates(file, file, everything);
  Expect(same.status != tvq::run::ComparisonStatus::kFound,
         "a state was found to differ from itself");
  Accept(machine, file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) {
    return 0;
  }
  Machine& machine = tvq::fuzz::Renewed([] { return std::make_unique<Machine>(); });
  const Bytes file = FileOf(data, size);
  (void)machine.driver.CheckStateFile(file, kGeneration);
  try {
    Use(machine, file);
  } catch (const tvq::run::StateError&) {
    // The bytes are no state.
  }
  return 0;
}
