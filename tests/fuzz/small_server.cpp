/*
 * A table that gives one record of each kind.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/small_server.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/table/source.h"

namespace tvq::fuzz {

namespace {

table::Table ReadSmallServer() {
  std::ifstream file(TVQ_FUZZ_SEEDS "/table/small.smbios");
  const std::string source{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  auto parsed = table::ParseSource(source);
  if (!parsed || parsed->structures.empty()) {
    throw std::runtime_error("the seed table/small.smbios cannot be read");
  }
  return std::move(*parsed);
}

}  // namespace

Table SmallServer() {
  const table::Table server = ReadSmallServer();
  return {server.version.majorNumber, server.version.minorNumber, 1, server.structures};
}

Bytes SmallServerDump() {
  const auto dump = table::WriteDump(ReadSmallServer());
  if (!dump) {
    throw std::runtime_error("the seed table/small.smbios is too large for a dump");
  }
  return *dump;
}

}  // namespace tvq::fuzz
