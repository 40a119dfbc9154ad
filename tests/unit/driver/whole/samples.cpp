/*
 * The project's sample tables.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/whole/samples.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "host/table/source.h"
#include "host/table/structure.h"

namespace tvq::test {

Table Sample(const std::string& name) {
  std::ifstream file(TVQ_SAMPLES "/" + name + ".smbios", std::ios::binary);
  const std::string source{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  const auto parsed = table::ParseSource(source);
  Table sample;
  if (!parsed || parsed->structures.empty()) {
    ADD_FAILURE() << "the sample '" << name << "' cannot be read";
    return sample;
  }
  sample.majorVersion = parsed->version.majorNumber;
  sample.minorVersion = parsed->version.minorNumber;
  sample.Add(Raw{parsed->structures});
  sample.statedCount = static_cast<uint16_t>(table::SplitTable(parsed->structures).size());
  return sample;
}

}  // namespace tvq::test
