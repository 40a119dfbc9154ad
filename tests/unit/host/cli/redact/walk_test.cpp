/*
 * --redact masks the structures and strings that every other reader of a table sees.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/cli/redact/mask.h"
#include "host/cli/redact/redact.h"
#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/structure.h"
#include "host/table/text.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/redact/redact_fixture.h"
#include "tests/unit/host/cli/secrets.h"
#include "tests/unit/driver/model/random_table.h"

namespace tvq::cli {
namespace {

using table::Structure;
using test::Bytes;
using test::Table;
using testing::IsEmpty;

std::string AsText(const Bytes& bytes) {
  return {bytes.begin(), bytes.end()};
}

std::string SourceOf(const Bytes& structures) {
  return table::FormatSource({{3, 3}, table::EntryPoint::kNone, {}, structures});
}

// --- Empty strings ---

// A structure with a serial number, twice: the second one comes where the first one ends.
struct Kind {
  std::string name;
  std::function<test::Structure(Secrets&)> make;
};
void PrintTo(const Kind& kind, std::ostream* out) {
  *out << kind.name;
}

const Kind kKinds[] = {
    {"System",
     [](Secrets& secrets) {
       return test::System{.serial = secrets.Text(), .uuid = secrets.Number(16)}.Build();
     }},
    {"Board",
     [](Secrets& secrets) {
       return test::BaseBoard{.serial = secrets.Text(), .assetTag = secrets.Text()}.Build();
     }},
    {"Chassis",
     [](Secrets& secrets) {
       return test::Chassis{.serial = secrets.Text(), .assetTag = secrets.Text()}.Build();
     }},
    {"Processor",
     [](Secrets& secrets) {
       return test::Processor{.serial = secrets.Text(), .assetTag = secrets.Text()}.Build();
     }},
    {"OemStrings",
     [](Secrets& secrets) {
       return test::OemStrings{.texts = {"17[" + secrets.Text() + "1234]", secrets.Text()}}.Build();
     }},
    {"MemoryDevice",
     [](Secrets& secrets) {
       return test::MemoryDevice{.serial = secrets.Text(), .assetTag = secrets.Text()}.Build();
     }},
    {"PowerSupply", [](Secrets& secrets) {
       return AnyStructure(39, {0, 1, 0, 0, 2, 3}, {"Bay", secrets.Text(), secrets.Text()});
     }}};

class RedactWalk : public testing::TestWithParam<Kind> {
 protected:
  Secrets mSecrets;
};

TEST_P(RedactWalk, AnEmptyFirstStringHidesNoOther) {
  Table table;
  for (int i = 0; i < 2; ++i) {
    test::Structure structure = GetParam().make(mSecrets);
    PutEmptyStringFirst(structure);
    table.Add(structure);
  }
  const Bytes masked = Redacted(table.Bytes());
  EXPECT_THAT(mSecrets.In(AsText(masked)), IsEmpty());
  EXPECT_THAT(mSecrets.In(SourceOf(masked)), IsEmpty());
}

// It ends the structure, for everybody: what was meant as the next string is read as a header. All
// readers come to themselves behind that string at the latest.
TEST_P(RedactWalk, WhatStandsBehindAnEmptyMiddleStringIsMaskedAsItIsRead) {
  const size_t strings = GetParam().make(mSecrets).strings.size();
  for (size_t at = 1; at < strings; ++at) {
    Secrets secrets;
    Table table;
    for (int i = 0; i < 2; ++i) {
      test::Structure structure = GetParam().make(secrets);
      structure.strings.insert(structure.strings.begin() + static_cast<std::ptrdiff_t>(at), "");
      table.Add(structure);
    }
    table.Add(GetParam().make(secrets));
    const Bytes masked = Redacted(table.Bytes());
    EXPECT_THAT(secrets.In(AsText(masked)), IsEmpty()) << at;
    EXPECT_THAT(secrets.In(SourceOf(masked)), IsEmpty()) << at;
  }
}

INSTANTIATE_TEST_SUITE_P(Kinds, RedactWalk, testing::ValuesIn(kKinds),
                         [](const auto& info) { return info.param.name; });

// --- The same structures and strings as everybody ---

bool IsBlank(const Bytes& bytes, size_t at, size_t size) {
  return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                     bytes.begin() + static_cast<std::ptrdiff_t>(at + size),
                     [](uint8_t byte) { return byte == 0xFF; });
}

// Every structure is where it was, with strings of the lengths that they had.
void ExpectTheSameStructures(const Bytes& original, const Bytes& masked) {
  ASSERT_EQ(original.size(), masked.size());
  const std::vector<Structure> before = table::SplitTable(original);
  const std::vector<Structure> after = table::SplitTable(masked);
  ASSERT_EQ(before.size(), after.size());
  for (size_t i = 0; i < before.size(); ++i) {
    EXPECT_EQ(before[i].Offset(), after[i].Offset());
    EXPECT_EQ(before[i].Formatted().Size(), after[i].Formatted().Size());
    EXPECT_EQ(before[i].Size(), after[i].Size());
    ASSERT_EQ(before[i].Strings().size(), after[i].Strings().size());
    for (size_t n = 0; n < before[i].Strings().size(); ++n) {
      EXPECT_EQ(before[i].Strings()[n].size(), after[i].Strings()[n].size());
    }
  }
}

// What the driver reads, which goes on where other readers stop, is masked or blank.
void ExpectMaskedAsTheDriverReads(const Bytes& original, const Bytes& masked) {
  for (const Structure& structure : table::SplitTable(original, smbios::Reading::kLenient)) {
    for (const table::Field& field : table::LayoutOf(structure.Type()).fields) {
      if (!IsSecretField(field.name)) {
        continue;
      }
      const auto text = structure.String(structure.Byte(field.offset));
      if (field.kind != table::FieldKind::kString || !text) {
        continue;
      }
      const size_t at = structure.Offset() + structure.PositionOf(*text);
      const std::string now(masked.begin() + static_cast<std::ptrdiff_t>(at),
                            masked.begin() + static_cast<std::ptrdiff_t>(at + text->size()));
      EXPECT_TRUE(now == TestMasker().Mask(*text) || IsBlank(masked, at, text->size()))
          << field.name << " of type " << int{structure.Type()} << " at " << structure.Offset()
          << ": " << table::Quote(*text) << " became " << table::Quote(now);
    }
  }
}

void ExpectRedactedAsRead(const Bytes& original) {
  const Bytes masked = Redacted(original);
  ExpectTheSameStructures(original, masked);
  ExpectMaskedAsTheDriverReads(original, masked);
}

// A generated table, some of whose structures have an empty first string.
Bytes AnyTable(test::RandomTables& tables) {
  const Bytes bytes = tables.Next().Bytes();
  Bytes changed;
  for (const Structure& structure : table::SplitTable(bytes)) {
    const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(structure.Offset());
    const auto strings = start + static_cast<std::ptrdiff_t>(structure.Formatted().Size());
    changed.insert(changed.end(), start, strings);
    if (!structure.Strings().empty() && tables.Once(4)) {
      changed.push_back(0);
    }
    changed.insert(changed.end(), strings, start + static_cast<std::ptrdiff_t>(structure.Size()));
  }
  return changed;
}

TEST(RedactWalkOf, GeneratedTablesIsThatOfTheOtherReaders) {
  test::RandomTables tables(20240301);
  for (int i = 0; i < 40; ++i) {
    ExpectRedactedAsRead(AnyTable(tables));
  }
}

TEST(RedactWalkOf, DamagedTablesIsThatOfTheOtherReaders) {
  test::RandomTables tables(20240302);
  for (int i = 0; i < 60; ++i) {
    Bytes bytes = AnyTable(tables);
    const auto any = [&tables](size_t size) {
      return tables.Number(0, static_cast<unsigned>(size) - 1);
    };
    if (tables.Once(2)) {
      bytes.resize(1 + any(bytes.size()));
    }
    for (unsigned changes = tables.Number(0, 3); changes != 0; --changes) {
      bytes[any(bytes.size())] = static_cast<uint8_t>(tables.Once(2) ? 0 : tables.Number(0, 0xFF));
    }
    ExpectRedactedAsRead(bytes);
  }
}

TEST(RedactWalkOf, SamplesIsThatOfTheOtherReaders) {
  for (const auto& file : std::filesystem::directory_iterator(TVQ_SOURCE_DIR "/samples")) {
    if (file.path().extension() == ".smbios") {
      std::ifstream stream(file.path());
      const auto table =
          table::ParseSource(std::string(std::istreambuf_iterator<char>(stream), {}));
      ASSERT_TRUE(table) << file.path();
      ExpectRedactedAsRead(table->structures);
    }
  }
}

// --- Where no structure can be read ---

// A table of two modules; the second one ends it.
Bytes TwoModules(Secrets& secrets) {
  Table table;
  for (const char* const locator : {"DIMM_A1", "DIMM_A2"}) {
    table.Add(test::MemoryDevice{
        .locator = locator, .serial = secrets.Text(), .assetTag = secrets.Text()});
  }
  return table.Bytes();
}

TEST(RedactDamage, NoCutLeavesASecret) {
  Secrets secrets;
  const Bytes whole = TwoModules(secrets);
  for (size_t size = 0; size <= whole.size(); ++size) {
    const Bytes masked =
        Redacted(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
    EXPECT_EQ(masked.size(), size);
    EXPECT_THAT(secrets.In(AsText(masked)), IsEmpty()) << size;
    EXPECT_THAT(secrets.In(SourceOf(masked)), IsEmpty()) << size;
  }
}

TEST(RedactDamage, ALengthThatIsThatOfNoHeaderLeavesNoSecret) {
  Secrets secrets;
  for (uint8_t length = 0; length < 4; ++length) {
    Bytes bytes = TwoModules(secrets);
    bytes[1] = length;
    EXPECT_THAT(secrets.In(AsText(Redacted(bytes))), IsEmpty()) << int{length};
  }
}

// Strings get into formatted parts, and formatted parts among strings.
TEST(RedactDamage, NoLengthThatLiesLaysASecretOpen) {
  Secrets secrets;
  Table table;
  for (const Kind& kind : kKinds) {
    table.Add(kind.make(secrets));
  }
  table.Add(test::End{});
  for (size_t n = 0; n < std::size(kKinds); ++n) {
    for (int length = 5; length <= 0xFF; length += 25) {
      Bytes bytes = table.Bytes();
      bytes[table.OffsetOf(n) + 1] = static_cast<uint8_t>(length);
      EXPECT_THAT(secrets.In(AsText(Redacted(bytes))), IsEmpty())
          << kKinds[n].name << ", length " << length;
    }
  }
}

TEST(RedactDamage, WhatFollowsTheEndOfTheTableIsMasked) {
  Secrets secrets;
  Table table = Table::Of(test::End{});
  Bytes bytes = table.Bytes();
  const Bytes more = TwoModules(secrets);
  bytes.insert(bytes.end(), more.begin(), more.end());
  const std::string junk = secrets.Text();
  bytes.insert(bytes.end(), junk.begin(), junk.end());
  EXPECT_THAT(secrets.In(AsText(Redacted(bytes))), IsEmpty());
}

// So that no reader finds a structure or a text in it: two NULs would end strings, and a NUL a text.
TEST(RedactDamage, WhatIsNoStructureBecomesOneThatNobodyReads) {
  Bytes bytes = {127, 4, 1, 0, 0, 0, 1, 2, 3, 4, 0, 0, 'a', 0, 0};
  bytes = Redacted(bytes);
  EXPECT_THAT(Bytes(bytes.begin(), bytes.begin() + 6), testing::ElementsAre(127, 4, 1, 0, 0, 0));
  EXPECT_TRUE(IsBlank(bytes, 6, bytes.size() - 6));
}

TEST(RedactDamage, APieceThatIsAllOneCharacterIsBlanked) {
  const Bytes bytes = Redacted({127, 4, 1, 0, 0, 0, '7', '7', '7', '7', '7'});
  EXPECT_TRUE(IsBlank(bytes, 6, 5));
}

TEST(RedactDamage, ZerosBehindTheTableStay) {
  const Bytes bytes = {127, 4, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  EXPECT_EQ(Redacted(bytes), bytes);
}

}  // namespace
}  // namespace tvq::cli
