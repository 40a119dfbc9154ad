/*
 * The samples are sound tables, and hold what they are there for.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "host/table/dump.h"
#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/structure.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

class Sample {
 public:
  explicit Sample(const std::string& path) {
    const auto table = ParseSource(ReadText(path));
    EXPECT_TRUE(table) << path << ':' << table.Failure().line << ": " << table.Failure().message;
    mTable = table ? *table : Table();
    mStructures = SplitTable(mTable.structures);
  }

  static Sample Named(const std::string& name) {
    return Sample(std::string(TVQ_SOURCE_DIR) + "/samples/" + name + ".smbios");
  }

  const Table& Get() const { return mTable; }
  const std::vector<Structure>& Structures() const { return mStructures; }

  std::vector<Structure> OfType(std::uint8_t type) const {
    std::vector<Structure> found;
    for (const Structure& structure : mStructures) {
      if (structure.Type() == type) {
        found.push_back(structure);
      }
    }
    return found;
  }

 private:
  Table mTable;
  std::vector<Structure> mStructures;
};

std::string StringAt(const Structure& structure, std::size_t offset) {
  return std::string(structure.String(structure.Byte(offset)).value_or(""));
}

// Installed modules: with a size, and no dies on a processor.
std::vector<Structure> Modules(const Sample& sample) {
  std::vector<Structure> modules;
  for (const Structure& device : sample.OfType(17)) {
    if (device.Word(0x0C) != 0 && device.Byte(0x0E) != 0x10) {
      modules.push_back(device);
    }
  }
  return modules;
}

std::map<std::uint16_t, std::string> FqddMap(const Sample& sample) {
  std::map<std::uint16_t, std::string> map;
  for (const Structure& structure : sample.OfType(225)) {
    EXPECT_EQ(structure.Byte(4), 1);
    for (std::size_t at = 5; at + 4 <= structure.Formatted().Size(); at += 4) {
      map[structure.Word(at + 1)] = StringAt(structure, at);
    }
  }
  return map;
}

class AnySample : public testing::TestWithParam<std::string> {
 protected:
  const Sample mSample{GetParam()};
};

TEST_P(AnySample, StaysTheSameOnTheWayThereAndBack) {
  const auto again = ParseSource(FormatSource(mSample.Get()));
  ASSERT_TRUE(again) << again.Failure().message;
  EXPECT_EQ(*WriteDump(*again), *WriteDump(mSample.Get()));
}

TEST_P(AnySample, ConsistsOfStructuresUpToTheEnd) {
  ASSERT_FALSE(mSample.Structures().empty());
  const Structure& last = mSample.Structures().back();
  EXPECT_EQ(last.Type(), 127);
  EXPECT_EQ(last.End(), mSample.Get().structures.size());
}

TEST_P(AnySample, HasHandlesOfItsOwn) {
  std::set<std::uint16_t> handles;
  for (const Structure& structure : mSample.Structures()) {
    EXPECT_TRUE(handles.insert(structure.Handle()).second) << structure.Handle();
    EXPECT_LT(structure.Handle(), 0xFFFE);
  }
}

TEST_P(AnySample, RefersToStructuresAndStringsThatExist) {
  std::set<std::uint16_t> handles = {0xFFFE, 0xFFFF};
  for (const Structure& structure : mSample.Structures()) {
    handles.insert(structure.Handle());
  }
  for (const Structure& structure : mSample.Structures()) {
    for (const Field& field : LayoutOf(structure.Type()).fields) {
      if (field.kind == FieldKind::kHandle && field.End() <= structure.Formatted().Size()) {
        EXPECT_EQ(handles.count(structure.Word(field.offset)), 1u)
            << structure.Handle() << ' ' << field.name;
      }
      if (field.kind == FieldKind::kString && field.End() <= structure.Formatted().Size()) {
        EXPECT_LE(structure.Byte(field.offset), structure.Strings().size())
            << structure.Handle() << ' ' << field.name;
      }
    }
  }
}

TEST_P(AnySample, HasTwoProcessorsNumberedByTheirFourthCharacter) {
  const auto processors = mSample.OfType(4);
  ASSERT_THAT(processors, SizeIs(2));
  EXPECT_EQ(StringAt(processors[0], 0x04).at(3), '1');
  EXPECT_EQ(StringAt(processors[1], 0x04).at(3), '2');
}

TEST_P(AnySample, HasThreeCacheLevelsOfEachProcessor) {
  std::map<std::uint16_t, Structure> caches;
  for (const Structure& cache : mSample.OfType(7)) {
    caches.emplace(cache.Handle(), cache);
  }
  EXPECT_THAT(caches, SizeIs(6));
  for (const Structure& processor : mSample.OfType(4)) {
    for (std::uint16_t level = 0; level < 3; ++level) {
      const Structure& cache = caches.at(processor.Word(0x1A + 2 * level));
      EXPECT_EQ(cache.Word(0x05) & 7, level);
    }
  }
}

// The search begins at byte 25 of the first structure of type 11 and goes from string to string; an
// empty one ends it.
TEST_P(AnySample, ShowsAPpinOfEachProcessorToTheSearch) {
  const auto oem = mSample.OfType(11);
  ASSERT_FALSE(oem.empty());
  const char* cursor = reinterpret_cast<const char*>(oem[0].Whole().Data()) + 25;
  std::vector<std::string> ppins;
  while (*cursor != 0 && ppins.size() < 2) {
    const std::string string = cursor;
    const std::size_t mark = string.find("17[");
    if (mark != std::string::npos) {
      EXPECT_EQ(string.size(), mark + 3 + 16 + 1) << string;
      ppins.push_back(string.substr(mark + 3, 16));
    } else {
      EXPECT_TRUE(ppins.empty()) << "a string without a PPIN ends the search of later processors";
    }
    cursor += string.size() + 1;
  }
  ASSERT_THAT(ppins, SizeIs(2));
  EXPECT_NE(ppins[0], ppins[1]);
}

TEST_P(AnySample, LetsTheSystemNameStandInTypeOne) {
  EXPECT_THAT(mSample.OfType(1), SizeIs(1));
  EXPECT_THAT(mSample.OfType(0), SizeIs(1));
  for (const Structure& structure : mSample.OfType(11)) {
    EXPECT_NE(structure.String(1).value()[0], '9');
  }
}

TEST_P(AnySample, NamesEveryDeviceInTheFqddMap) {
  const auto map = FqddMap(mSample);
  std::set<std::string> names;
  for (const auto& [handle, name] : map) {
    EXPECT_LE(name.size(), 15u) << name;
    EXPECT_TRUE(names.insert(name).second) << name;
  }
  for (const Structure& processor : mSample.OfType(4)) {
    EXPECT_EQ(map.count(processor.Handle()), 1u);
  }
  for (const Structure& module : Modules(mSample)) {
    EXPECT_EQ(map.at(module.Handle()), "DIMM.Socket." + StringAt(module, 0x10).substr(5));
  }
}

TEST_P(AnySample, TellsModulesApart) {
  std::set<std::string> slots;
  std::set<std::string> serials;
  for (const Structure& module : Modules(mSample)) {
    const std::string locator = StringAt(module, 0x10);
    EXPECT_EQ(locator.rfind("DIMM_", 0), 0u) << locator;
    EXPECT_TRUE(slots.insert(locator.substr(5, 3)).second) << locator;
    EXPECT_TRUE(serials.insert(StringAt(module, 0x18).substr(0, 14)).second) << locator;
    EXPECT_EQ(StringAt(module, 0x1A).find(' '), std::string::npos) << locator;
  }
}

TEST_P(AnySample, ExtendsEveryModuleOnce) {
  std::map<std::uint16_t, int> extended;
  for (const Structure& extension : mSample.OfType(226)) {
    EXPECT_EQ(extension.Formatted().Size(), 13u);
    EXPECT_FALSE(StringAt(extension, 0x06).empty());
    ++extended[extension.Word(0x04)];
  }
  std::map<std::uint16_t, int> modules;
  for (const Structure& module : Modules(mSample)) {
    ++modules[module.Handle()];
  }
  EXPECT_EQ(extended, modules);
}

INSTANTIATE_TEST_SUITE_P(Samples, AnySample, testing::ValuesIn(SampleFiles()),
                         [](const auto& info) { return NameOfFile(info.param); });

TEST(TwoSocketSample, HasTwelveModulesInSixteenSlots) {
  const Sample sample = Sample::Named("two-socket");
  const auto devices = sample.OfType(17);
  ASSERT_THAT(devices, SizeIs(16));
  for (std::size_t i = 0; i < devices.size(); ++i) {
    const std::string bank(1, i < 8 ? 'A' : 'B');
    EXPECT_EQ(StringAt(devices[i], 0x10), "DIMM_" + bank + std::to_string(i % 8 + 1));
  }
  EXPECT_THAT(Modules(sample), SizeIs(12));
  EXPECT_THAT(FqddMap(sample), SizeIs(2 + 16));
}

TEST(TwoSocketSample, HasWhatARealServerHas) {
  std::map<int, int> types;
  const Sample sample = Sample::Named("two-socket");
  for (const Structure& structure : sample.Structures()) {
    ++types[structure.Type()];
  }
  EXPECT_THAT(
      types, ElementsAre(Pair(0, 1), Pair(1, 1), Pair(2, 2), Pair(3, 2), Pair(4, 2), Pair(7, 6),
                         Pair(8, 3), Pair(9, 6), Pair(11, 1), Pair(12, 1), Pair(13, 1), Pair(16, 2),
                         Pair(17, 16), Pair(19, 2), Pair(32, 1), Pair(38, 1), Pair(39, 2),
                         Pair(41, 3), Pair(127, 1), Pair(225, 2), Pair(226, 12)));
}

class HbmSample : public testing::TestWithParam<const char*> {};

TEST_P(HbmSample, HasFourStacksOnEachProcessorCountedFromZero) {
  const Sample sample = Sample::Named(GetParam());
  std::vector<std::string> locators;
  for (const Structure& device : sample.OfType(17)) {
    if (device.Byte(0x12) == 0x20 || device.Byte(0x12) == 0x21) {
      locators.push_back(StringAt(device, 0x10));
      EXPECT_EQ(device.Byte(0x0E), 0x10) << "a stack is a die";
      EXPECT_NE(device.Word(0x0C), 0);
    }
  }
  EXPECT_THAT(locators, ElementsAre("CPU0_HBMIO0", "CPU0_HBMIO1", "CPU0_HBMIO2", "CPU0_HBMIO3",
                                    "CPU1_HBMIO0", "CPU1_HBMIO1", "CPU1_HBMIO2", "CPU1_HBMIO3"));
}

INSTANTIATE_TEST_SUITE_P(Samples, HbmSample, testing::Values("hbm-only", "hbm-mixed"),
                         [](const auto& info) { return NameOfFile(info.param); });

TEST(HbmOnlySample, HasNoModule) {
  const Sample sample = Sample::Named("hbm-only");
  EXPECT_THAT(Modules(sample), SizeIs(0));
}

TEST(HbmMixedSample, HasModulesAtTheSecondProcessorAlone) {
  const Sample sample = Sample::Named("hbm-mixed");
  const auto modules = Modules(sample);
  ASSERT_THAT(modules, SizeIs(2));
  EXPECT_EQ(StringAt(modules[0], 0x10), "DIMM_B1");
  EXPECT_EQ(StringAt(modules[1], 0x10), "DIMM_B2");
}

TEST(SamplesReadme, ShowsASourceThatBuilds) {
  const std::string text = ReadText(std::string(TVQ_SOURCE_DIR) + "/samples/README.md");
  const std::string fence = "\n```\n";
  const std::size_t start = text.find(fence);
  ASSERT_NE(start, std::string::npos);
  const std::size_t end = text.find(fence, start + fence.size());
  ASSERT_NE(end, std::string::npos);
  const auto table = ParseSource(text.substr(start + fence.size(), end - start - fence.size()));
  ASSERT_TRUE(table) << table.Failure().message;
  EXPECT_THAT(SplitTable(table->structures), SizeIs(6));
}

}  // namespace
}  // namespace tvq::table
