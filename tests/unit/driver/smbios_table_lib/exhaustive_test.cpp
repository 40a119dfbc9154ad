/*
 * Every small table, read by the library of SMBIOS tables and by a walk that is written down
 * independently of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/driver/smbios_table_lib/table_bytes.h"
#include "tests/unit/driver/model/reference_walk.h"

namespace tvq::smbios {
namespace {

// What makes a difference: a NUL, lengths below, at and above that of a header, a character, and a
// length that no small table has.
constexpr uint8_t kAlphabet[] = {0, 3, 4, 5, 'A'};
constexpr size_t kLongest = 8;

std::string Digits(const ByteVector& table) {
  std::string digits;
  for (const uint8_t byte : table) {
    digits += std::to_string(byte) + ' ';
  }
  return digits;
}

// Calls check(table) for each table of up to kLongest bytes of the alphabet.
template <typename Check>
void ForEachTable(Check check) {
  for (size_t size = 0; size <= kLongest; ++size) {
    std::vector<size_t> digits(size, 0);
    for (bool isLast = false; !isLast;) {
      ByteVector table;
      table.reserve(size);
      for (const size_t digit : digits) {
        table.push_back(kAlphabet[digit]);
      }
      table.shrink_to_fit();
      check(table);
      isLast = true;
      for (size_t& digit : digits) {
        digit = (digit + 1) % std::size(kAlphabet);
        if (digit != 0) {
          isLast = false;
          break;
        }
      }
    }
  }
}

// A structure of the table, and where the reference says that the next one begins.
void CheckStructure(const ByteVector& table, const test::ReferenceWalk& reference, size_t offset,
                    const Structure& structure) {
  for (const unsigned number : {1u, 2u, 3u, 4u, 5u, 0xFFFFu}) {
    size_t cursor = offset;
    const std::optional<size_t> expected = reference.GetString(cursor, number);
    const Text text = structure.String(static_cast<U16>(number));
    ASSERT_EQ(static_cast<bool>(text), expected.has_value())
        << Digits(table) << "number " << number;
    if (expected) {
      ASSERT_EQ(text.Data(), table.data() + *expected) << Digits(table);
      ASSERT_EQ(text.end() - table.data(),
                static_cast<std::ptrdiff_t>(
                    std::find(table.begin() + static_cast<std::ptrdiff_t>(*expected), table.end(),
                              uint8_t{0}) -
                    table.begin()))
          << Digits(table);
    } else {
      ASSERT_EQ(structure.End(), cursor) << Digits(table);
    }
  }
}

TEST(SmbiosTableExhaustive, IsWalkedAsTheReferenceWalksIt) {
  ForEachTable([](const ByteVector& table) {
    const test::ReferenceWalk reference(table);
    size_t offset = 0;
    for (const Structure& structure : Walk(View(table))) {
      ASSERT_EQ(structure.Offset(), offset) << Digits(table);
      ASSERT_TRUE(reference.IsStructure(offset)) << Digits(table);
      CheckStructure(table, reference, offset, structure);
      reference.GetString(offset, 0xFFFF);
    }
    ASSERT_FALSE(reference.IsStructure(offset)) << Digits(table);
  });
}

// Two NULs in a row behind a formatted part that is there, and long enough for a header.
bool IsWellFormed(const ByteVector& table, size_t offset) {
  if (offset + 4 > table.size() || table[offset + 1] < 4) {
    return false;
  }
  for (size_t at = offset + table[offset + 1]; at + 1 < table.size(); ++at) {
    if (table[at] == 0 && table[at + 1] == 0) {
      return true;
    }
  }
  return false;
}

TEST(SmbiosTableExhaustive, IsReadStrictlyUpToTheFirstStructureThatIsNotWellFormed) {
  ForEachTable([](const ByteVector& table) {
    SizeType end = 0;
    for (const Structure& structure : Walk(View(table), Reading::kStrict)) {
      ASSERT_TRUE(IsWellFormed(table, structure.Offset())) << Digits(table);
      end = structure.End();
    }
    ASSERT_FALSE(IsWellFormed(table, end)) << Digits(table);
  });
}

TEST(SmbiosTableExhaustive, HasStringsThatNumbersFindToo) {
  ForEachTable([](const ByteVector& table) {
    for (const Structure& structure : Walk(View(table))) {
      U16 number = 0;
      for (const Text text : structure.Strings()) {
        ++number;
        ASSERT_EQ(structure.String(number).Data(), text.Data()) << Digits(table);
      }
      ASSERT_EQ(structure.StringCount(), number) << Digits(table);
      // A structure without strings has an empty text all the same.
      const U16 behind = static_cast<U16>(number == 0 ? 2 : number + 1);
      ASSERT_FALSE(structure.String(behind)) << Digits(table);
    }
  });
}

// What is no string, header or NUL behind the strings is what the end of the table cut off.
TEST(SmbiosTableExhaustive, IsMadeOfNothingElseThanItsParts) {
  ForEachTable([](const ByteVector& table) {
    for (const Structure& structure : Walk(View(table))) {
      SizeType parts = structure.Formatted().Size();
      for (const Text text : structure.Strings()) {
        parts += text.Length() + 1;
      }
      parts += structure.CutOffString().Size();
      ASSERT_LE(structure.Size() - parts, 2u) << Digits(table);
      ASSERT_TRUE(structure.CutOffString().Empty() || structure.Size() == parts ||
                  structure.StringCount() == 0)
          << Digits(table);
      for (const uint8_t byte : structure.CutOffString()) {
        ASSERT_NE(byte, 0) << Digits(table);
      }
    }
  });
}

}  // namespace
}  // namespace tvq::smbios
