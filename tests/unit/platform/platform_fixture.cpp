/*
 * What the tests of the reference platform and the agent share.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include <cstring>

namespace tvq::test {

VOID* ConfigurationTable(host::Firmware& machine, const EFI_GUID& guid) {
  EFI_SYSTEM_TABLE* system = machine.SystemTable();
  for (UINTN i = 0; i < system->NumberOfTableEntries; ++i) {
    if (std::memcmp(&system->ConfigurationTable[i].VendorGuid, &guid, sizeof(guid)) == 0) {
      return system->ConfigurationTable[i].VendorTable;
    }
  }
  return nullptr;
}

CHAR16* Wide(const char16_t* text) {
  return reinterpret_cast<CHAR16*>(const_cast<char16_t*>(text));
}

std::string FoundStructure::StringAt(size_t offset) const {
  const size_t number = offset < formatted.size() ? formatted[offset] : 0;
  return number == 0 || number > strings.size() ? "" : strings[number - 1];
}

namespace {

// Takes a string off the front of `bytes` at `at`.
std::string TakeString(const Bytes& bytes, size_t& at) {
  std::string text;
  while (at < bytes.size() && bytes[at] != 0) {
    text.push_back(static_cast<char>(bytes[at++]));
  }
  ++at;
  return text;
}

FoundStructure TakeStructure(const Bytes& table, size_t& at) {
  FoundStructure found;
  found.type = table[at];
  found.handle = static_cast<uint16_t>(table[at + 2] | (table[at + 3] << 8));
  const size_t length = table[at + 1];
  found.formatted.assign(table.begin() + at, table.begin() + at + length);
  at += length;
  if (at < table.size() && table[at] == 0) {
    at += 2;
    return found;
  }
  while (at < table.size() && table[at] != 0) {
    found.strings.push_back(TakeString(table, at));
  }
  ++at;
  return found;
}

}  // namespace

std::vector<FoundStructure> Parse(const Bytes& table) {
  std::vector<FoundStructure> structures;
  size_t at = 0;
  while (at + 4 <= table.size() && at + table[at + 1] + 2u <= table.size()) {
    structures.push_back(TakeStructure(table, at));
  }
  EXPECT_EQ(at, table.size()) << "the last structure ends elsewhere than the table";
  return structures;
}

std::vector<FoundStructure> OfType(const std::vector<FoundStructure>& structures, uint8_t type) {
  std::vector<FoundStructure> found;
  for (const FoundStructure& structure : structures) {
    if (structure.type == type) {
      found.push_back(structure);
    }
  }
  return found;
}

Conformed Conform(const Bytes& table) {
  // A block of exactly the table's size, so that the sanitizer sees a read past its end.
  const Bytes exact(table.begin(), table.end());
  tvqplatform::ConformedTable conformed;
  Conformed outcome;
  outcome.result = conformed.Conform(View(exact));
  outcome.table = Copy(conformed.Structures());
  for (const tvqplatform::TableChange& change : conformed.Changes()) {
    char sentence[256];
    tvqplatform::FormatChange(change, sentence, sizeof(sentence));
    outcome.changes.emplace_back(sentence);
    if (tvqplatform::IsRemarkable(change)) {
      outcome.remarkable.emplace_back(sentence);
    }
  }
  return outcome;
}

std::vector<std::string> NamesOf(const Bytes& table, uint8_t type, size_t offset) {
  std::vector<std::string> names;
  for (const FoundStructure& structure : OfType(Parse(table), type)) {
    names.push_back(structure.StringAt(offset));
  }
  return names;
}

}  // namespace tvq::test
