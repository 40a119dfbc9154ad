/*
 * Caches and high-bandwidth memory of a processor.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

#include "TvqSmbiosPkg/src/common/cpu_memory.h"
#include "TvqSmbiosPkg/src/smbios/structure.h"

namespace tvq::test {
namespace {

using testing::IsEmpty;
using testing::Optional;

// A record and the structures of one type.
class CpuMemory : public PreparedDriver {
 protected:
  CpuMemory() { std::memset(&mRecord, 0, sizeof(mRecord)); }

  void PrepareType(const Table& table, uint8_t type) {
    Prepare(table);
    ASSERT_EQ(mList.Collect(type), EFI_SUCCESS);
    mSerial = LastSerial(harness.Memory());
  }
  // The driver's blocks since then, and what it logged.
  Strings NewBlocks() { return RoutinesSince(harness.Memory(), mSerial); }
  Strings TakeLog() { return Lines(harness.TakeLog()); }

  smTVQ mRecord;
  StructureList mList;
  uint64_t mSerial = 0;
};

// --- Caches ---

class Caches : public CpuMemory {
 protected:
  EFI_STATUS Get(UINT16 handle, UINT8 level) {
    return GetCacheInfo(&mRecord, mList.Records(), mList.Count(), handle, level);
  }
  std::optional<record::Cache> Level(size_t level) {
    return record::Decode(mRecord.device.cpu).CacheInfo[level];
  }
};

TEST_F(Caches, TheDescriptionIsCopiedFieldByField) {
  PrepareType(Table::Of(Cache{.handle = 0x700,
                              .configuration = 0x02E9,
                              .maximumSize = 0x8123,
                              .installedSize = 0x8045,
                              .supportedSram = 0x7777,
                              .currentSram = 0x0021,
                              .speed = 9,
                              .errorCorrection = 5,
                              .systemType = 4,
                              .associativity = 8,
                              .maximumSize2 = 0xFFFFFFFF,
                              .installedSize2 = 0xFFFFFFFF}),
              7);
  ASSERT_EQ(Get(0x700, 0), EFI_SUCCESS);
  EXPECT_THAT(Level(0), Optional(Is(record::Cache{.CacheLevel = 1,
                                                  .CacheConfiguration = 0x02E9,
                                                  .CacheLocation = 0x60,
                                                  .MaximumSize = 0x8123,
                                                  .InstalledSize = 0x8045,
                                                  .CurrentSRAMType = 0x0021,
                                                  .CacheSpeed = 9,
                                                  .ErrorCorrectionType = 5,
                                                  .SystemCacheType = 4,
                                                  .Associativity = 8})));
  EXPECT_EQ(NewBlocks(), Strings{"GetCacheInfo"});
  EXPECT_THAT(TakeLog(), IsEmpty());
}

struct ConfigurationCase {
  uint16_t configuration;
  uint16_t level;
  uint16_t location;
};

TEST_F(Caches, LevelAndLocationComeFromTheConfiguration) {
  const ConfigurationCase kCases[] = {{0x0180, 0, 0x00}, {0x0181, 1, 0x00}, {0x01A2, 2, 0x20},
                                      {0x0047, 7, 0x40}, {0xFF60, 0, 0x60}, {0xFF98, 0, 0x00}};
  std::vector<Cache> caches;
  for (const ConfigurationCase& one : kCases) {
    caches.push_back(Cache{.handle = static_cast<uint16_t>(0x700 + caches.size()),
                           .configuration = one.configuration});
  }
  PrepareType(Table::Of(caches), 7);
  for (size_t i = 0; i < std::size(kCases); ++i) {
    ASSERT_EQ(Get(static_cast<UINT16>(0x700 + i), 0), EFI_SUCCESS);
    EXPECT_EQ(Level(0)->CacheLevel, kCases[i].level) << i;
    EXPECT_EQ(Level(0)->CacheConfiguration, kCases[i].configuration) << i;
    EXPECT_EQ(Level(0)->CacheLocation, kCases[i].location) << i;
  }
}

TEST_F(Caches, TheFirstStructureWithTheHandleIsTaken) {
  PrepareType(Table::Of(Cache{.handle = 0x701, .speed = 1}, Cache{.handle = 0x700, .speed = 2},
                        Cache{.handle = 0x700, .speed = 3}),
              7);
  ASSERT_EQ(Get(0x700, 2), EFI_SUCCESS);
  EXPECT_EQ(Level(2)->CacheSpeed, 2);
  EXPECT_EQ(Level(0), std::nullopt);
  EXPECT_EQ(Level(1), std::nullopt);
}

TEST_F(Caches, HandleFfffIsNoCacheEvenWhereAStructureHasIt) {
  PrepareType(Table::Of(Cache{.handle = 0xFFFF}), 7);
  mRecord.device.cpu.CacheInfo[2] = reinterpret_cast<CACHE_INFO*>(&mRecord);
  EXPECT_EQ(Get(kNoHandle, 2), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Level(2), std::nullopt);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Caches, AMissingLevelLeavesTheOthersAlone) {
  PrepareType(Table::Of(Cache{.handle = 0x700}, Cache{.handle = 0x701}), 7);
  ASSERT_EQ(Get(0x700, 0), EFI_SUCCESS);
  ASSERT_EQ(Get(0x701, 1), EFI_SUCCESS);
  EXPECT_EQ(Get(kNoHandle, 2), EFI_INVALID_PARAMETER);
  EXPECT_NE(Level(0), std::nullopt);
  EXPECT_NE(Level(1), std::nullopt);
  EXPECT_EQ(Level(2), std::nullopt);
}

TEST_F(Caches, AHandleThatNoStructureHasIsNotFound) {
  PrepareType(Table::Of(Cache{.handle = 0x700}), 7);
  mRecord.device.cpu.CacheInfo[1] = reinterpret_cast<CACHE_INFO*>(&mRecord);
  EXPECT_EQ(Get(0x7FF, 1), EFI_NOT_FOUND);
  EXPECT_EQ(Level(1), std::nullopt);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Caches, WithoutRecordOrArrayNothingIsDone) {
  PrepareType(Table::Of(Cache{.handle = 0x700}), 7);
  EXPECT_EQ(GetCacheInfo(nullptr, mList.Records(), 1, 0x700, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetCacheInfo(&mRecord, nullptr, 1, 0x700, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Level(0), std::nullopt);
}

TEST_F(Caches, OfALevelThatARecordDoesNotHaveAreNotDescribed) {
  PrepareType(Table::Of(Cache{.handle = 0x700}), 7);
  EXPECT_EQ(GetCacheInfo(&mRecord, mList.Records(), 1, 0x700, TVQ_CACHE_LEVELS),
            EFI_INVALID_PARAMETER);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Caches, WithoutMemoryTheSlotIsNull) {
  PrepareType(Table::Of(Cache{.handle = 0x700}), 7);
  mRecord.device.cpu.CacheInfo[0] = reinterpret_cast<CACHE_INFO*>(&mRecord);
  FailAllocation(1);
  EXPECT_EQ(Get(0x700, 0), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Level(0), std::nullopt);
}

TEST_F(Caches, FieldsPastTheFormattedPartReadAsZero) {
  Table table =
      Table::Of(Cache{.handle = 0x700, .speed = 9, .errorCorrection = 5}.Build().CutTo(0x0F));
  PrepareType(table, 7);
  ASSERT_EQ(Get(0x700, 0), EFI_SUCCESS);
  EXPECT_EQ(Level(0)->CurrentSRAMType, 0x20);
  EXPECT_EQ(Level(0)->CacheSpeed, 0);
  EXPECT_EQ(Level(0)->ErrorCorrectionType, 0);
  EXPECT_EQ(Level(0)->Associativity, 0);
}

// --- High-bandwidth memory ---

class Stacks : public CpuMemory {
 protected:
  EFI_STATUS Get(UINT8 cpu, UINT8 stack) {
    return GetHbmInfo(&mRecord, mList.Records(), mList.Count(), cpu, stack);
  }
  std::optional<record::Hbm> Stack(size_t stack) {
    return record::Decode(mRecord.device.cpu).HBMInfo[stack];
  }
};

MemoryDevice DeviceAt(const Text& locator, uint16_t speed = 3200) {
  MemoryDevice device;
  device.locator = locator;
  device.memoryType = 0x21;
  device.speed = speed;
  return device;
}

TEST_F(Stacks, TheDescriptionIsCopiedAndLoggedFieldByField) {
  MemoryDevice stack = DeviceAt("CPU0_HBMIO1", 0x1C2D);
  stack.size = 0x7FFF;
  stack.extendedSize = 0x12345;
  stack.nonVolatileSize = 0x1122334455667788;
  stack.volatileSize = 0x400000000;
  stack.cacheSize = 0xFFFFFFFFFFFFFFFF;
  PrepareType(Table::Of(stack), 17);
  ASSERT_EQ(Get(0, 1), EFI_SUCCESS);
  EXPECT_THAT(Stack(1), Optional(Is(record::Hbm{.Size = 0x7FFF,
                                                .NonVolatileSize = 0x1122334455667788,
                                                .VolatileSize = 0x400000000,
                                                .CacheSize = 0xFFFFFFFFFFFFFFFF,
                                                .Speed = 0x1C2D,
                                                .MemoryType = 0x21})));
  EXPECT_EQ(NewBlocks(), Strings{"GetHbmInfo"});
  EXPECT_TRUE(SameLines(
      TakeLog(), LinesOf("GetHbmInfo",
                         {"HBM Locator = CPU0_HBMIO1\n", "HBM1 Size = 7FFF\n", "HBM1 Type = 21\n",
                          "HBM1 Speed = 1C2D\n", "HBM1 NVSize = 1234605616436508552\n",
                          "HBM1 VSize = 17179869184\n", "HBM1 CSize = 18446744073709551615\n"})));
}

TEST_F(Stacks, ThatAreNotThereAreAnError) {
  PrepareType(Table::Of(DeviceAt("CPU1_HBMIO2"), DeviceAt(std::nullopt)), 17);
  mRecord.device.cpu.HBMInfo[3] = reinterpret_cast<HBM_INFO*>(&mRecord);
  EXPECT_EQ(Get(1, 3), EFI_NOT_FOUND);
  EXPECT_EQ(Stack(3), std::nullopt);
  EXPECT_EQ(TakeLog(), (Strings{"GetHbmInfo: HBM Locator = CPU1_HBMIO3\n",
                                "error: GetHbmInfo: Error: No HBM entries found in table 17"}));
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Stacks, AreNotFoundWithoutALogToo) {
  PrepareType(Table::Of(DeviceAt("CPU1_HBMIO2")), 17);
  gDebugLog = nullptr;
  EXPECT_EQ(Get(1, 3), EFI_NOT_FOUND);
}

TEST_F(Stacks, TheFirstDeviceWhoseLocatorContainsThePatternIsTaken) {
  PrepareType(Table::Of(DeviceAt("CPU1_HBMIO", 1), DeviceAt("Board CPU1_HBMIO0 (left)", 2),
                        DeviceAt("CPU1_HBMIO0", 3)),
              17);
  ASSERT_EQ(Get(1, 0), EFI_SUCCESS);
  EXPECT_EQ(Stack(0)->Speed, 2);
}

TEST_F(Stacks, ThePatternOfATwoDigitProcessorLosesTheStack) {
  PrepareType(Table::Of(DeviceAt("CPU1_HBMIO2", 1), DeviceAt("CPU12_HBMIO3", 2),
                        DeviceAt("CPU12_HBMIO0", 3)),
              17);
  for (UINT8 stack = 0; stack < TVQ_HBM_STACKS; ++stack) {
    ASSERT_EQ(Get(12, stack), EFI_SUCCESS);
    EXPECT_EQ(Stack(stack)->Speed, 2);
    EXPECT_EQ(TakeLog().front(), "GetHbmInfo: HBM Locator = CPU12_HBMIO\n");
  }
}

TEST_F(Stacks, ThePatternOfAThreeDigitProcessorIsElevenCharactersToo) {
  PrepareType(Table::Of(DeviceAt("CPU123_HBMI", 1)), 17);
  ASSERT_EQ(Get(123, 0), EFI_SUCCESS);
  EXPECT_EQ(TakeLog().front(), "GetHbmInfo: HBM Locator = CPU123_HBMI\n");
}

TEST_F(Stacks, AreLookedForInEveryDeviceWhateverItsMemoryType) {
  MemoryDevice device = DeviceAt("CPU0_HBMIO0");
  device.memoryType = 0x1A;
  PrepareType(Table::Of(device), 17);
  ASSERT_EQ(Get(0, 0), EFI_SUCCESS);
  EXPECT_EQ(Stack(0)->MemoryType, 0x1A);
}

TEST_F(Stacks, OfAnOlderStandardHaveNoLateSizes) {
  MemoryDevice stack = DeviceAt("CPU0_HBMIO0");
  stack.nonVolatileSize = stack.volatileSize = stack.cacheSize = 0x1111;
  Table table = Table::Of(stack.Build().CutTo(0x44));
  PrepareType(table, 17);
  ASSERT_EQ(Get(0, 0), EFI_SUCCESS);
  EXPECT_EQ(Stack(0)->NonVolatileSize, 0x1111u);
  EXPECT_EQ(Stack(0)->VolatileSize, 0x1111u);
  EXPECT_EQ(Stack(0)->CacheSize, 0u);
  EXPECT_EQ(Stack(0)->Size, 0x4000);
}

TEST_F(Stacks, ALocatorPastTheStringsMovesItsSlotForLaterQuestions) {
  Structure broken = DeviceAt("CPU0_HBMIO0", 1).Build();
  broken.SetByte(0x10, 9);
  Table table = Table::Of(broken, Bios{.vendor = "x"}, DeviceAt("CPU0_HBMIO0", 2));
  PrepareType(table, 17);
  UINT8* const before = mList.Records()[0];
  ASSERT_EQ(Get(0, 0), EFI_SUCCESS);
  EXPECT_EQ(Stack(0)->Speed, 2);
  EXPECT_EQ(mList.Records()[0], before + table.OffsetOf(1));
}

TEST_F(Stacks, WithoutRecordOrArrayNothingIsDone) {
  PrepareType(Table::Of(DeviceAt("CPU0_HBMIO0")), 17);
  EXPECT_EQ(GetHbmInfo(nullptr, mList.Records(), 1, 0, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(GetHbmInfo(&mRecord, nullptr, 1, 0, 0), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Stack(0), std::nullopt);
  EXPECT_THAT(TakeLog(), IsEmpty());
}

TEST_F(Stacks, OfANumberThatARecordDoesNotHaveAreNotDescribed) {
  PrepareType(Table::Of(DeviceAt("CPU0_HBMIO0")), 17);
  EXPECT_EQ(GetHbmInfo(&mRecord, mList.Records(), 1, 0, TVQ_HBM_STACKS), EFI_INVALID_PARAMETER);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(Stacks, WithoutMemoryTheSlotIsNullAndNothingOfItIsLogged) {
  PrepareType(Table::Of(DeviceAt("CPU0_HBMIO0")), 17);
  mRecord.device.cpu.HBMInfo[0] = reinterpret_cast<HBM_INFO*>(&mRecord);
  FailAllocation(1);
  EXPECT_EQ(Get(0, 0), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Stack(0), std::nullopt);
  EXPECT_EQ(TakeLog(), Strings{"GetHbmInfo: HBM Locator = CPU0_HBMIO0\n"});
}

}  // namespace
}  // namespace tvq::test
