/*
 * Fuzz target `load`: files as `tvq` reads them, with what becomes of their tables before the driver sees them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <string>
#include <vector>

#include "host/session/session.h"
#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/fuzz/operations.h"
#include "tests/fuzz/target.h"

namespace {

using tvq::fuzz::Expect;
using tvq::session::Session;
using tvq::table::Bytes;

// Where an entry point ends in a dump; the files of a Linux system have it apart.
constexpr size_t kEntryPointArea = 0x20;

Session& CurrentSession() {
  return tvq::fuzz::Renewed([] { return std::make_unique<Session>(); });
}

// What a 32-bit entry point can state.
constexpr size_t kMaxTableSize = 0xFFFF;

// What was conformed conforms, and fits an entry point.
void Conform(Session& session, const tvq::session::Table& table) {
  const tvq::session::Conformed conformed = session.Conform(table);
  if (conformed.isRefused || conformed.changes.empty()) {
    return;
  }
  Expect(conformed.table.structures.size() <= kMaxTableSize,
         "a conformed table is larger than an entry point can state");
  const tvq::session::Conformed again = session.Conform(conformed.table);
  Expect(!again.isRefused && again.changes.empty(), "a conformed table is conformed once more");
}

template <typename Read>
void ReadAndConform(Session& session, Read read) {
  try {
    Conform(session, read());
  } catch (const tvq::session::TableError&) {
    // The bytes are no table.
  }
}

void ReadAsTheDriversInput(const Bytes& file) {
  Session& session = CurrentSession();
  ReadAndConform(session, [&] { return session.ReadCapturedFile(file); });
  const auto middle =
      file.begin() + static_cast<std::ptrdiff_t>(std::min(kEntryPointArea, file.size()));
  ReadAndConform(session, [&] {
    return session.ReadSeparateTable({file.begin(), middle}, {middle, file.end()});
  });
}

// A table keeps its bytes on the way to its source form and back.
void ExpectSameFromSource(const tvq::table::Table& table, const Bytes& dump) {
  const auto again = tvq::table::ParseSource(tvq::table::FormatSource(table));
  Expect(static_cast<bool>(again), "the source form of a table cannot be read");
  const auto rewritten = tvq::table::WriteDump(*again);
  Expect(rewritten && *rewritten == dump, "the source form of a table stands for another one");
}

void ReadAsASource(const Bytes& file) {
  const std::string text(file.begin(), file.end());
  if (tvq::table::IsHexText(file)) {
    (void)tvq::table::ReadHexText(text);
  }
  if (const auto table = tvq::table::ParseSource(text)) {
    const auto dump = tvq::table::WriteDump(*table);
    if (dump) {
      ExpectSameFromSource(*table, *dump);
    }
  }
}

void ReadAsADump(const Bytes& file) {
  const auto table = tvq::table::ReadDump(file);
  if (!table) {
    return;
  }
  const auto dump = tvq::table::WriteDump(*table);
  if (dump) {
    ExpectSameFromSource(*table, *dump);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes file(data, data + size);
  ReadAsTheDriversInput(file);
  ReadAsADump(file);
  ReadAsASource(file);
  return 0;
}
