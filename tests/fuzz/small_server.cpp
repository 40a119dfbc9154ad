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

#include "host/table/source.h"

namespace tvq::fuzz {

Table SmallServer() {
  std::ifstream file(TVQ_FUZZ_SEEDS "/table/small.smbios");
  const std::string source{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto parsed = table::ParseSource(source);
  if (!parsed || parsed->structures.empty()) {
    throw std::runtime_error("the seed table/small.smbios cannot be read");
  }
  return {parsed->version.majorNumber, parsed->version.minorNumber, 1, parsed->structures};
}

}  // namespace tvq::fuzz
