/*
 * The build's own `tvq mktable`: SOURCE to DUMP. It stands on the table library alone, so that the
 * samples do not wait for the driver to be built.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

#include "host/table/dump.h"
#include "host/table/source.h"

namespace {

using tvq::table::Bytes;
using tvq::table::Result;

Result<Bytes> BuildDump(const std::string& source) {
  auto table = tvq::table::ParseSource(source);
  if (!table) {
    return std::move(table.Failure());
  }
  return tvq::table::WriteDump(*table);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: tvq_build_sample SOURCE DUMP\n";
    return 2;
  }
  std::ifstream input(argv[1], std::ios::binary);
  const std::string source{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
  const auto dump = BuildDump(source);
  if (!input || !dump) {
    std::cerr << argv[1] << ':' << (dump ? 0 : dump.Failure().line)
              << ": error: " << (dump ? "cannot be read" : dump.Failure().message) << '\n';
    return 2;
  }
  std::ofstream output(argv[2], std::ios::binary);
  output.write(reinterpret_cast<const char*>(dump->data()),
               static_cast<std::streamsize>(dump->size()));
  if (!output.flush()) {
    std::cerr << argv[2] << ": error: cannot be written\n";
    return 2;
  }
  return 0;
}
