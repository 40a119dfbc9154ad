/*
 * The build's own `tvq mktable`: SOURCE to DUMP.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/build_sample.h"

#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include "host/table/dump.h"
#include "host/table/source.h"

namespace tvq::table {
namespace {

constexpr int kWritten = 0;
constexpr int kNotWritten = 2;

Result<Bytes> BuildDump(const std::string& source) {
  auto table = ParseSource(source);
  if (!table) {
    return std::move(table.Failure());
  }
  return WriteDump(*table);
}

}  // namespace

int BuildSample(int argc, const char* const* argv, std::ostream& diagnostics) {
  if (argc != 3) {
    diagnostics << "usage: tvq_build_sample SOURCE DUMP\n";
    return kNotWritten;
  }
  std::ifstream input(argv[1], std::ios::binary);
  const std::string source{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
  if (!input) {
    diagnostics << argv[1] << ": error: cannot be read\n";
    return kNotWritten;
  }
  const auto dump = BuildDump(source);
  if (!dump) {
    const Error& error = dump.Failure();
    diagnostics << argv[1] << ":" << error.line << ": error: " << error.message << "\n";
    return kNotWritten;
  }
  std::ofstream output(argv[2], std::ios::binary);
  output.write(reinterpret_cast<const char*>(dump->data()),
               static_cast<std::streamsize>(dump->size()));
  if (!output.flush()) {
    diagnostics << argv[2] << ": error: cannot be written\n";
    return kNotWritten;
  }
  return kWritten;
}

}  // namespace tvq::table
