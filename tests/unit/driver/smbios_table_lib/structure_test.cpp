/*
 * Tests of the library of SMBIOS tables: structures, their strings, and the walk over them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/driver/smbios_table_lib/table_bytes.h"

namespace tvq::smbios {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(Span, TakesAtMostWhatThereIs) {
  const uint8_t bytes[] = {1, 2, 3};
  const Bytes span(bytes);
  EXPECT_EQ(span.First(2).Size(), 2u);
  EXPECT_EQ(span.First(4).Size(), 3u);
  EXPECT_EQ(span.From(1)[0], 2);
  EXPECT_TRUE(span.From(3).Empty());
  EXPECT_TRUE(span.From(4).Empty());
  EXPECT_EQ(span.From(4).begin(), span.end());
}

TEST(Span, OfWhatMayBeChangedIsOneOfWhatIsReadToo) {
  uint8_t bytes[] = {1, 2};
  const Span<uint8_t> span(bytes);
  const Bytes read = span;
  span[1] = 7;
  EXPECT_EQ(read[1], 7);
  EXPECT_EQ(read.Size(), 2u);
}

TEST(Number, IsLittleEndianAtAnyAlignment) {
  const uint8_t bytes[] = {0xFF, 0x01, 0x82, 0x03, 0x84, 0x05, 0x86, 0x07, 0x88};
  EXPECT_EQ(Read<U8>(bytes + 1), 0x01);
  EXPECT_EQ(Read<U16>(bytes + 1), 0x8201);
  EXPECT_EQ(Read<U32>(bytes + 1), 0x84038201u);
  EXPECT_EQ(Read<U64>(bytes + 1), 0x8807860584038201u);
}

TEST(SmbiosText, KnowsAnEmptyOneFromNone) {
  const ByteVector bytes = {0, 'A'};
  EXPECT_TRUE(TextAt(View(bytes)));
  EXPECT_EQ(TextAt(View(bytes)).Length(), 0u);
  EXPECT_FALSE(TextAt(View(bytes).From(1)));
  EXPECT_FALSE(TextAt(Bytes()));
  EXPECT_FALSE(Text());
}

// The search takes eight bytes at a time.
TEST(SmbiosText, EndsAtTheFirstNulWhereverThatIs) {
  for (size_t length = 0; length < 20; ++length) {
    for (size_t behind = 1; behind < 12; ++behind) {
      ByteVector bytes(length, 0x80);
      bytes.push_back(0);
      bytes.insert(bytes.end(), behind - 1, behind % 2 == 0 ? 0 : 0xFF);
      const Text text = TextAt(View(bytes));
      ASSERT_TRUE(text);
      EXPECT_EQ(text.Length(), length);
      EXPECT_EQ(text.Data(), bytes.data());
    }
  }
}

TEST(SmbiosText, IsNoneWithoutANulInsideItsBytes) {
  for (size_t length = 0; length < 20; ++length) {
    ByteVector bytes(length, 0x01);
    EXPECT_FALSE(TextAt(View(bytes)));
  }
}

TEST(SmbiosStructure, HasWhatItsHeaderSays) {
  const ByteVector table = StructureOf(17, 0x1234, {0xAA, 0xBB}, {"one", "two"});
  const Structure structure(View(table), 0);
  ASSERT_TRUE(structure);
  EXPECT_EQ(structure.Type(), 17);
  EXPECT_EQ(structure.Length(), 6);
  EXPECT_EQ(structure.Handle(), 0x1234);
  EXPECT_EQ(structure.Formatted().Size(), 6u);
  EXPECT_EQ(structure.Size(), table.size());
  EXPECT_EQ(structure.Whole().Size(), table.size());
  EXPECT_TRUE(structure.IsWellFormed());
}

TEST(SmbiosStructure, KnowsItsPlaceInTheTable) {
  const ByteVector first = StructureOf(0, 1, {}, {"A"});
  const ByteVector table = first + StructureOf(1, 2, {}, {}) + ByteVector{9, 9};
  const Structure second(View(table), first.size());
  EXPECT_EQ(second.Offset(), first.size());
  EXPECT_EQ(second.End(), first.size() + 6);
  EXPECT_EQ(second.ToEndOfTable().Size(), 8u);
  EXPECT_EQ(second.Whole().end(), table.data() + first.size() + 6);
}

TEST(SmbiosStructure, IsNoneWhereFewerBytesAreLeftThanAHeaderHas) {
  const ByteVector table = {1, 4, 2, 3, 0};
  for (const size_t offset : {2, 5, 6, 100}) {
    const Structure none(View(table), offset);
    EXPECT_FALSE(none);
    EXPECT_EQ(none.Type(), 0);
    EXPECT_EQ(none.Length(), 0);
    EXPECT_EQ(none.Handle(), kNoHandle);
    EXPECT_EQ(none.Size(), 0u);
    EXPECT_EQ(none.Offset(), offset);
    EXPECT_FALSE(none.String(1));
    EXPECT_FALSE(none.Has(0));
  }
  EXPECT_TRUE(Structure(View(table), 1));
  EXPECT_FALSE(Structure());
}

TEST(SmbiosStructure, HasNumbersThatLieInsideTheFormattedPart) {
  const ByteVector table = StructureOf(1, 2, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}, {});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.Byte(4), 0x11);
  EXPECT_EQ(structure.Word(5), 0x3322);
  EXPECT_EQ(structure.Dword(8), 0x88776655u);
  EXPECT_EQ(structure.Qword(4), 0x8877665544332211u);
  EXPECT_EQ(structure.Byte(11), 0x88);
}

TEST(SmbiosStructure, HasNoNumberThatEndsBehindTheFormattedPart) {
  const ByteVector table = StructureOf(1, 2, {0x11, 0x22}, {"ABCDEFGH"});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.Byte(6), 0);
  EXPECT_EQ(structure.Word(5), 0);
  EXPECT_EQ(structure.Dword(4), 0u);
  EXPECT_EQ(structure.Qword(0), 0u);
  EXPECT_EQ(structure.Get<U16>(5, 0xBEEF), 0xBEEF);
  EXPECT_TRUE(structure.Has(5));
  EXPECT_FALSE(structure.Has(6));
  EXPECT_FALSE(structure.Has(static_cast<SizeType>(-1), 2));
  EXPECT_FALSE(structure.Has(0, static_cast<SizeType>(-1)));
}

TEST(SmbiosStructure, ShowsBytesOfTheTableBehindTheFormattedPart) {
  const ByteVector table = StructureOf(1, 2, {0x11}, {"A"});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.PeekByte(4), 0x11);
  EXPECT_EQ(structure.PeekByte(5), 'A');
  EXPECT_EQ(structure.PeekByte(table.size()), 0);
  constexpr Field<U32> kBeyond = {1, 4};
  EXPECT_EQ(structure.Peek(kBeyond), 0x00004111u);
  EXPECT_EQ(structure.Get(kBeyond), 0u);
}

TEST(SmbiosField, IsReadAsWideAsItsType) {
  const ByteVector table = StructureOf(1, 2, {0x01, 0x02, 0x83, 0x04}, {});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.Get(Field<U8>{1, 4}), 0x01);
  EXPECT_EQ(structure.Get(Field<U16>{1, 5}), 0x8302);
  EXPECT_EQ(structure.Get(Field<U32>{1, 4}), 0x04830201u);
  EXPECT_EQ((Field<U32>{1, 4}).End(), 8u);
  EXPECT_EQ(structure.Get((Field<U16>{1, 1}).In(4)), 0x8302);
}

TEST(SmbiosNumber, IsReadInEachWidthThatANumberCanHave) {
  const ByteVector table = StructureOf(1, 2, {1, 2, 3, 4, 5, 6, 7, 0x88}, {"x"});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.GetNumber(4, 1, 99), 0x01u);
  EXPECT_EQ(structure.GetNumber(4, 2, 99), 0x0201u);
  EXPECT_EQ(structure.GetNumber(4, 4, 99), 0x04030201u);
  EXPECT_EQ(structure.GetNumber(4, 8, 99), 0x8807060504030201u);
  EXPECT_EQ(structure.GetNumber(5, 8, 99), 99u) << "missing";
  EXPECT_EQ(structure.PeekNumber(11, 8), uint64_t{0x7888});
}

TEST(SmbiosField, ThatTheStructureIsTooShortForIsZeroAndNoHandle) {
  const ByteVector table = StructureOf(1, 2, {0xFF}, {"A"});
  const Structure structure(View(table), 0);
  EXPECT_FALSE(structure.Has(Field<U16>{1, 4}));
  EXPECT_EQ(structure.Get(Field<U16>{1, 4}), 0);
  EXPECT_EQ(structure.GetHandle({1, 4}), kNoHandle);
  EXPECT_FALSE(structure.GetString({1, 5}));
}

TEST(SmbiosField, NamesAString) {
  const ByteVector table = StructureOf(1, 2, {2, 3, 0}, {"one", "two"});
  const Structure structure(View(table), 0);
  EXPECT_EQ(Copy(structure.GetString({1, 4})), "two");
  EXPECT_FALSE(structure.IsStringMissing({1, 4}));
  EXPECT_FALSE(structure.GetString({1, 5}));
  EXPECT_TRUE(structure.IsStringMissing({1, 5}));
  EXPECT_FALSE(structure.GetString({1, 6}));
  EXPECT_FALSE(structure.IsStringMissing({1, 6}));
}

TEST(SmbiosStrings, AreNumberedFromOne) {
  const ByteVector table = StructureOf(1, 2, {}, {"one", "two"});
  const Structure structure(View(table), 0);
  EXPECT_FALSE(structure.String(0));
  EXPECT_EQ(Copy(structure.String(1)), "one");
  EXPECT_EQ(Copy(structure.String(2)), "two");
  EXPECT_FALSE(structure.String(3));
  EXPECT_FALSE(structure.String(0xFFFF));
  EXPECT_EQ(structure.StringCount(), 2u);
  EXPECT_THAT(StringsOf(structure), ElementsAre("one", "two"));
}

TEST(SmbiosStrings, AreLookedForUpToTheEndOfTheStructureWhichIsThenKnown) {
  const ByteVector table = StructureOf(1, 2, {}, {"one", "two"}) + StructureOf(3, 4, {}, {});
  const Structure structure(View(table), 0);
  SizeType size = 99;
  EXPECT_EQ(Copy(structure.StringOrSize(2, size)), "two");
  EXPECT_EQ(size, 99u);
  EXPECT_FALSE(structure.StringOrSize(3, size));
  EXPECT_EQ(size, structure.Size());
}

TEST(SmbiosStrings, MayBeginWithAnEmptyOne) {
  const ByteVector table = StructureOf(1, 2, {}, {"", "two"}) + StructureOf(3, 4, {}, {});
  const Structure structure(View(table), 0);
  EXPECT_THAT(StringsOf(structure), ElementsAre("", "two"));
  EXPECT_EQ(Copy(structure.String(1)), "");
  EXPECT_EQ(Copy(structure.String(2)), "two");
  EXPECT_EQ(structure.Size(), 4u + 1 + 4 + 1);
}

TEST(SmbiosStrings, EndAtAnEmptyOneThatIsNotTheFirst) {
  const ByteVector table = StructureOf(1, 2, {}, {"one"}) + ByteVector{'l', 'o', 's', 't', 0, 0};
  const Structure structure(View(table), 0);
  EXPECT_THAT(StringsOf(structure), ElementsAre("one"));
  EXPECT_EQ(structure.Size(), 4u + 4 + 1);
}

TEST(SmbiosStrings, HaveAnEmptyOneInFrontOfWhatTheTableCuts) {
  const ByteVector table = {1, 4, 2, 0, 0, 'x'};
  EXPECT_THAT(StringsOf(Structure(View(table), 0)), ElementsAre(""));
}

TEST(SmbiosStrings, DoNotGoOnBehindTheirEnd) {
  const ByteVector strings = {'a', 0, 0, 'b', 0, 0};
  StringCursor cursor(View(strings));
  EXPECT_TRUE(cursor.Next());
  EXPECT_FALSE(cursor.Next());
  EXPECT_FALSE(cursor.Next());
}

TEST(SmbiosStrings, AreNoneBetweenTwoNulsWhereNumberOneIsAnEmptyText) {
  const ByteVector table = StructureOf(1, 2, {}, {});
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.StringCount(), 0u);
  EXPECT_THAT(StringsOf(structure), IsEmpty());
  EXPECT_EQ(Copy(structure.String(1)), "");
  EXPECT_FALSE(structure.String(2));
  EXPECT_EQ(structure.Size(), 6u);
}

TEST(SmbiosStrings, CanBe255) {
  const ByteVector table = StructureOf(1, 2, {}, std::vector<std::string>(255, "x"));
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.StringCount(), 255u);
  EXPECT_EQ(Copy(structure.String(255)), "x");
  EXPECT_FALSE(structure.String(256));
}

TEST(SmbiosStrings, ThatTheTableCutsOffAreNone) {
  ByteVector table = StructureOf(1, 2, {}, {"one", "two"});
  table.resize(table.size() - 3);
  const Structure structure(View(table), 0);
  EXPECT_THAT(StringsOf(structure), ElementsAre("one"));
  EXPECT_FALSE(structure.String(2));
  EXPECT_EQ(std::string(structure.CutOffString().begin(), structure.CutOffString().end()), "tw");
  EXPECT_EQ(structure.Size(), table.size());
  EXPECT_EQ(structure.FindDefect(), Defect::kCutStrings);
}

TEST(SmbiosStrings, LackTheirEndWhereTheTableEndsBehindATerminator) {
  ByteVector table = StructureOf(1, 2, {}, {"one"});
  table.pop_back();
  const Structure structure(View(table), 0);
  EXPECT_THAT(StringsOf(structure), ElementsAre("one"));
  EXPECT_TRUE(structure.CutOffString().Empty());
  EXPECT_EQ(structure.FindDefect(), Defect::kCutStrings);
}

TEST(SmbiosStrings, AreNoneBehindASingleNulAtTheEndOfTheTable) {
  ByteVector table = StructureOf(1, 2, {}, {});
  table.pop_back();
  const Structure structure(View(table), 0);
  EXPECT_THAT(StringsOf(structure), IsEmpty());
  EXPECT_EQ(Copy(structure.String(1)), "");
}

TEST(SmbiosStrings, OfAWholeStructureAreNotCutOff) {
  const ByteVector table = StructureOf(1, 2, {}, {"one"}) + ByteVector{'x'};
  EXPECT_TRUE(Structure(View(table), 0).CutOffString().Empty());
}

TEST(SmbiosDefect, IsALengthBelowThatOfAHeader) {
  for (uint8_t length = 0; length < 4; ++length) {
    ByteVector table = StructureOf(1, 2, {}, {"one"});
    table[1] = length;
    EXPECT_EQ(Structure(View(table), 0).FindDefect(), Defect::kShortLength);
  }
}

TEST(SmbiosDefect, IsAFormattedPartThatTheTableCuts) {
  ByteVector table = StructureOf(1, 2, {1, 2, 3}, {});
  table.resize(6);
  const Structure structure(View(table), 0);
  EXPECT_EQ(structure.FindDefect(), Defect::kCutFormatted);
  EXPECT_EQ(structure.Length(), 7);
  EXPECT_EQ(structure.Formatted().Size(), 6u);
  EXPECT_EQ(structure.Byte(5), 2);
  EXPECT_EQ(structure.Byte(6), 0);
  EXPECT_FALSE(structure.String(1));
  EXPECT_EQ(structure.Size(), 6u);
}

TEST(SmbiosDefect, IsThatNoStringCouldFollowTheFormattedPart) {
  ByteVector table = StructureOf(1, 2, {1, 2, 3}, {});
  table.resize(7);
  EXPECT_EQ(Structure(View(table), 0).FindDefect(), Defect::kCutStrings);
}

TEST(SmbiosWalk, VisitsEachStructureAndThoseBehindTheEndOfTable) {
  const ByteVector one = StructureOf(1, 7, {}, {"one"});
  const ByteVector end = StructureOf(kEndOfTable, 7, {}, {});
  const ByteVector table = one + end + one;
  EXPECT_THAT(OffsetsOf(Walk(View(table))), ElementsAre(0u, one.size(), one.size() + end.size()));
  EXPECT_THAT(OffsetsOf(Walk(View(table), Reading::kStrict)), SizeIs(3));
}

TEST(SmbiosWalk, EndsBeforeFewerBytesThanAHeaderHas) {
  const ByteVector one = StructureOf(1, 7, {}, {"one"});
  const ByteVector table = one + ByteVector{1, 4, 0};
  const Walk walk(View(table));
  auto at = walk.begin();
  EXPECT_TRUE(at != walk.end());
  EXPECT_EQ(at->Type(), 1);
  ++at;
  EXPECT_FALSE(at != walk.end());
  EXPECT_EQ(at.Offset(), one.size());
  EXPECT_THAT(OffsetsOf(Walk(Bytes())), IsEmpty());
}

TEST(SmbiosWalk, WhenStrictEndsInFrontOfAStructureThatIsNotWellFormed) {
  const ByteVector good = StructureOf(1, 7, {}, {"one"});
  ByteVector bad = StructureOf(2, 8, {}, {"one"});
  bad[1] = 3;
  const ByteVector table = good + bad + good;
  const Walk walk(View(table), Reading::kStrict);
  auto at = walk.begin();
  ++at;
  EXPECT_FALSE(at != walk.end());
  EXPECT_EQ(at.Offset(), good.size());
  EXPECT_THAT(OffsetsOf(walk), ElementsAre(0u));
  EXPECT_THAT(OffsetsOf(Walk(View(table))), ElementsAre(0u, good.size(), good.size() + bad.size()));
}

TEST(SmbiosWalk, GoesOnEvenWhereStructuresStateNoLength) {
  const ByteVector table(64, 0);
  // Two NULs are one structure each time; the last two bytes have no room for a header.
  EXPECT_THAT(OffsetsOf(Walk(View(table))), SizeIs(31));
}

TEST(SmbiosWalk, OfEveryCutOfATableStaysInsideIt) {
  const ByteVector whole = StructureOf(1, 1, {1, 2, 3}, {"one", "", "two"}) +
                           StructureOf(17, 2, ByteVector(30, 0xFF), {"a locator", "1234567890"}) +
                           StructureOf(11, 3, {0}, {}) + StructureOf(kEndOfTable, 4, {}, {});
  for (size_t size = 0; size <= whole.size(); ++size) {
    // A block of its own, so that a byte read behind it is found.
    const ByteVector table(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
    SizeType end = 0;
    for (const Structure& structure : Walk(View(table))) {
      EXPECT_EQ(structure.Offset(), end);
      end = structure.End();
      EXPECT_EQ(structure.IsWellFormed(), structure.FindDefect() == Defect::kNone);
      for (unsigned number = 0; number < 6; ++number) {
        const Text text = structure.String(static_cast<U16>(number));
        EXPECT_TRUE(!text || text.end() < table.data() + table.size());
      }
    }
    EXPECT_LE(end, size);
    EXPECT_LT(size - end, kHeaderSize);
  }
}

TEST(SmbiosSummary, CountsAndMeasures) {
  const ByteVector one = StructureOf(1, 7, {}, {"a string"});
  const ByteVector table = one + StructureOf(kEndOfTable, 8, {}, {}) + StructureOf(2, 9, {}, {}) +
                           StructureOf(kEndOfTable, 8, {}, {}) + ByteVector{1, 2, 3};
  const Summary summary = Summarize(View(table));
  EXPECT_EQ(summary.Count, 4u);
  EXPECT_EQ(summary.LargestSize, one.size());
  EXPECT_EQ(summary.EndOfTableEnd, one.size() + 6);
  EXPECT_EQ(summary.End, table.size() - 3);
  EXPECT_TRUE(summary.IsLastComplete);
  EXPECT_EQ(CountOfType(View(table), kEndOfTable), 2u);
  EXPECT_EQ(CountOfType(View(table), 3), 0u);
}

TEST(SmbiosSummary, OfNothingIsEmptyAndComplete) {
  const Summary summary = Summarize(Bytes());
  EXPECT_EQ(summary.Count, 0u);
  EXPECT_EQ(summary.LargestSize, 0u);
  EXPECT_EQ(summary.End, 0u);
  EXPECT_EQ(summary.EndOfTableEnd, 0u);
  EXPECT_TRUE(summary.IsLastComplete);
}

TEST(SmbiosSummary, TellsThatTheLastStructureIsCutOff) {
  const ByteVector whole = StructureOf(1, 7, {}, {"one"}) + StructureOf(2, 8, {}, {"two"});
  const ByteVector table(whole.begin(), whole.end() - 1);
  EXPECT_FALSE(Summarize(View(table)).IsLastComplete);
  EXPECT_EQ(Summarize(View(table)).End, table.size());
  const Summary strict = Summarize(View(table), Reading::kStrict);
  EXPECT_TRUE(strict.IsLastComplete);
  EXPECT_EQ(strict.Count, 1u);
  EXPECT_EQ(strict.End, 9u);
}

TEST(SmbiosStructure, IsCompleteAsLongAsItsStringsEnd) {
  ByteVector table = StructureOf(1, 2, {}, {"one"});
  EXPECT_TRUE(Structure(View(table), 0).IsComplete());
  table[1] = 2;  // Not well formed, and yet complete.
  EXPECT_TRUE(Structure(View(table), 0).IsComplete());
  table.pop_back();
  EXPECT_FALSE(Structure(View(table), 0).IsComplete());
}

}  // namespace
}  // namespace tvq::smbios
