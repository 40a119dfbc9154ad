/*
 * Processor records of structures that are too short or name strings that they do not have.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;

TEST_F(Cpus, AVersionPastTheStringsTakesTheRestFromTheStructureBehind) {
  Structure first = Processor{.handle = 0x400, .designation = "CPU1", .coreCount = 4}.Build();
  first.SetByte(0x10, 9);
  ASSERT_EQ(Make(Table::Of(first, Processor{.handle = 0x401,
                                            .designation = "CPU5",
                                            .version = "Next",
                                            .status = 0x01,
                                            .coreCount = 6})),
            EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Cpu().MarketingName, "");
  EXPECT_EQ(Cpu().ProcessorVersion, "Next");
  EXPECT_EQ(Cpu().CoreCount, 6);
  EXPECT_EQ(Cpu().Socket, 5);
  EXPECT_EQ(Cpu().Status, 0x01);
}

TEST_F(Cpus, ADesignationPastTheStringsTakesTheRestFromTheStructureBehind) {
  Structure first = Processor{.handle = 0x400, .version = "First", .coreCount = 4}.Build();
  first.SetByte(4, 9);
  const Processor behind = {
      .handle = 0x401, .family = 0x77, .version = "Next", .status = 0, .coreCount = 6};
  ASSERT_EQ(Make(Table::Of(first, behind,
                           MapOf({{"CPU.Socket.First", 0x400}, {"CPU.Socket.Next", 0x401}}))),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().MarketingName, "First");
  EXPECT_EQ(Cpu().CoreCount, 4);
  EXPECT_EQ(Cpu().Socket, 0);
  EXPECT_EQ(Cpu().FQDD, "CPU.Socket.Next");
  EXPECT_EQ(Cpu().ProcessorFamily, 0x77);
  EXPECT_EQ(Cpu().ProcessorVersion, "Next");
}

TEST_F(Cpus, AManufacturerPastTheStringsTakesCachesFromTheStructureBehind) {
  Structure first = Processor{.l1 = 0x700}.Build();
  first.SetByte(7, 9);
  ASSERT_EQ(Make(Table::Of(first, Processor{.version = "Next", .status = 0, .l1 = 0x701},
                           Cache{.handle = 0x700, .speed = 1}, Cache{.handle = 0x701, .speed = 2})),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().ProcessorManufacturer, std::nullopt);
  EXPECT_EQ(Cpu().ProcessorVersion, "Next");
  EXPECT_EQ(Cpu().Status, 0x41);  // taken before
  ASSERT_NE(Cpu().CacheInfo[0], std::nullopt);
  EXPECT_EQ(Cpu().CacheInfo[0]->CacheSpeed, 2);
}

TEST_F(Cpus, AStringPastTheLastStructureLeavesNothingToRead) {
  Structure only = Processor{}.Build();
  only.SetByte(0x10, 9);
  ASSERT_EQ(Make(Table::Of(only)), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Cpu().CoreCount, 0);
  EXPECT_EQ(Cpu().Socket, 0);
  EXPECT_EQ(Cpu().ProcessorID, 0u);
}

TEST_F(Cpus, BehindTheLastStructureThereIsNoHandle) {
  Structure last = Processor{.handle = 0x400}.Build();
  last.SetByte(0x10, 9);
  ASSERT_EQ(Make(Table::Of(MapOf({{"CPU.Socket.0", 0x0000}, {"CPU.Socket.1", 0x400}}), last)),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().FQDD, std::nullopt);
  EXPECT_THAT(log, Contains("FindFqdd: Handle 0xFFFF not found\n"));
}

TEST_F(Cpus, FieldsPastTheFormattedPartReadAsZero) {
  ASSERT_EQ(Make(Table::Of(OneProcessor().Build().CutTo(0x23), Cache{.handle = 0x700})),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().CoreCount, 0);
  EXPECT_EQ(Cpu().EnabledCoreCount, 0);
  EXPECT_EQ(Cpu().ThreadCount, 0);
  EXPECT_EQ(Cpu().ProcessorCharacteristics, 0);
  EXPECT_NE(Cpu().CacheInfo[0], std::nullopt);
}

TEST_F(Cpus, CacheHandlesPastTheFormattedPartNameNoCache) {
  ASSERT_EQ(Make(Table::Of(OneProcessor().Build().CutTo(0x1A), Cache{.handle = 0x000})),
            EFI_SUCCESS);
  for (size_t level = 0; level < TVQ_CACHE_LEVELS; ++level) {
    EXPECT_EQ(Cpu().CacheInfo[level], std::nullopt);
    EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L" + std::to_string(level + 1) +
                              " Cache Information"));
  }
}

TEST_F(Cpus, AStatusPastTheFormattedPartIsAnEmptySocket) {
  EXPECT_EQ(Make(Table::Of(OneProcessor().Build().CutTo(0x18))), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
}

}  // namespace
}  // namespace tvq::test
