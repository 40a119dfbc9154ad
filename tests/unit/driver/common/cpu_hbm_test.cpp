/*
 * High-bandwidth memory in processor records, and the census of memory devices that finds it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

TEST_F(Cpus, WithoutHbmNothingIsSaidOfIt) {
  ASSERT_EQ(Make(HbmTable({MemoryDevice{}})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 0);
  EXPECT_EQ(Cpu().HBMOnlyMode, 0);
  EXPECT_EQ(Cpu().HBMMaxCapacity, 0u);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("HBM only mode"))));
}

TEST_F(Cpus, HbmIsDescribedByItsArrayAndItsStacks) {
  ASSERT_EQ(Make(HbmTable({StackAt("CPU0_HBMIO0"), StackAt("CPU0_HBMIO2")})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 1);
  EXPECT_EQ(Cpu().HBMOnlyMode, 1);
  EXPECT_EQ(Cpu().HBMMaxCapacity, 0x4000000u);
  EXPECT_EQ(Cpu().HBMLocation, 0x0A);
  EXPECT_EQ(Cpu().HBMErrorCorrectionType, 5);
  const record::Hbm stack = {
      .Size = 0x4000, .VolatileSize = 0x400000000, .Speed = 3200, .MemoryType = 0x20};
  EXPECT_THAT(Cpu().HBMInfo, ElementsAre(stack, std::nullopt, stack, std::nullopt));

  const auto first = std::find(log.begin(), log.end(), "MakeCPUs: HBM only mode = 1\n");
  ASSERT_NE(first, log.end());
  const Strings rest(first, log.end() - 5);
  EXPECT_TRUE(SameLines(
      rest,
      Joined({LinesOf("MakeCPUs",
                      {"HBM only mode = 1\n",
                       " HBM max Capacity = 4000000, HBM location = A, HBM correction type = 5\n"}),
              LinesOf("GetHbmInfo",
                      {"HBM Locator = CPU0_HBMIO0\n", "HBM0 Size = 4000\n", "HBM0 Type = 20\n",
                       "HBM0 Speed = C80\n", "HBM0 NVSize = 0\n", "HBM0 VSize = 17179869184\n",
                       "HBM0 CSize = 0\n", "HBM Locator = CPU0_HBMIO1\n"}),
              LinesOf("error: GetHbmInfo", {"Error: No HBM entries found in table 17"}),
              LinesOf("MakeCPUs", {"Failed to get HBM1 Information for cpu0"}),
              LinesOf("GetHbmInfo",
                      {"HBM Locator = CPU0_HBMIO2\n", "HBM2 Size = 4000\n", "HBM2 Type = 20\n",
                       "HBM2 Speed = C80\n", "HBM2 NVSize = 0\n", "HBM2 VSize = 17179869184\n",
                       "HBM2 CSize = 0\n", "HBM Locator = CPU0_HBMIO3\n"}),
              LinesOf("error: GetHbmInfo", {"Error: No HBM entries found in table 17"}),
              LinesOf("MakeCPUs", {"Failed to get HBM3 Information for cpu0"})})));
}

struct CensusCase {
  const char* name;
  std::vector<MemoryDevice> devices;
  uint8_t presence;
  uint8_t onlyMode;
  int modules;
};

MemoryDevice DeviceOf(uint8_t memoryType, uint16_t size, uint8_t formFactor) {
  MemoryDevice device;
  device.memoryType = memoryType;
  device.size = size;
  device.formFactor = formFactor;
  return device;
}

class MemoryCensus : public Cpus, public testing::WithParamInterface<CensusCase> {};

TEST_P(MemoryCensus, CountsModulesAndSeesHbm) {
  ASSERT_EQ(Make(HbmTable(GetParam().devices)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, GetParam().presence);
  EXPECT_EQ(Cpu().HBMOnlyMode, GetParam().onlyMode);
  EXPECT_THAT(log, Contains("MakeCPUs: DIMM count = " + std::to_string(GetParam().modules) +
                            ", HBM Presence = " + std::to_string(GetParam().presence) + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Devices, MemoryCensus,
    testing::Values(
        CensusCase{"OneModule", {DeviceOf(0x1A, 0x4000, 9)}, 0, 0, 1},
        CensusCase{
            "HbmOnDies", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x21, 0x4000, 0x10)}, 1, 1, 0},
        CensusCase{"HbmOfTheSecondGeneration", {DeviceOf(0x21, 0x4000, 0x10)}, 1, 1, 0},
        CensusCase{
            "HbmAndAnEmptySlot", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x1A, 0, 9)}, 1, 1, 0},
        CensusCase{"HbmWithoutASize", {DeviceOf(0x20, 0, 9)}, 1, 1, 0},
        CensusCase{"HbmOnAModule", {DeviceOf(0x20, 0x4000, 9)}, 1, 0, 1},
        CensusCase{
            "HbmAndAModule", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x1A, 0x4000, 9)}, 1, 0, 1},
        CensusCase{"ADieThatIsNoHbm", {DeviceOf(0x1A, 0x4000, 0x10)}, 0, 0, 0}),
    [](const auto& info) { return info.param.name; });

TEST_F(Cpus, TheCensusLogsEveryDeviceByItsPosition) {
  ASSERT_EQ(
      Make(HbmTable({DeviceOf(0x1A, 0x4000, 9), DeviceOf(0x1A, 0, 5), DeviceOf(0x20, 1, 0x10)})),
      EFI_SUCCESS);
  EXPECT_THAT(log, testing::IsSupersetOf(
                       LinesOf("MakeCPUs", {"DIMM0 Form Factor = 9\n", "DIMM1 Form Factor = 5\n",
                                            "DIMM2 Form Factor = 16\n"})));
}

TEST_F(Cpus, HbmWhoseArrayIsMissingLeavesTheArrayFieldsZero) {
  MemoryDevice stack = StackAt("CPU0_HBMIO0");
  stack.arrayHandle = 0x1FFF;
  ASSERT_EQ(Make(HbmTable({stack})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 1);
  EXPECT_EQ(Cpu().HBMMaxCapacity, 0u);
  EXPECT_EQ(Cpu().HBMLocation, 0);
  EXPECT_EQ(Cpu().HBMErrorCorrectionType, 0);
  EXPECT_NE(Cpu().HBMInfo[0], std::nullopt);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("HBM max Capacity"))));
}

TEST_F(Cpus, TheFirstHbmDeviceTellsTheArray) {
  MemoryDevice first = StackAt("CPU9_HBMIO0");
  first.arrayHandle = 0x1000;
  ASSERT_EQ(Make(HbmTable({MemoryDevice{.arrayHandle = 0x1001}, first, StackAt("CPU0_HBMIO0")})),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMMaxCapacity, 0x111u);
}

TEST_F(Cpus, StacksAreCountedByThePositionOfTheProcessorNotByItsSocket) {
  ASSERT_EQ(Make(Table::Of(Processor{.status = 0}, Designated("CPU7"), StackAt("CPU1_HBMIO0"))),
            EFI_SUCCESS);
  EXPECT_NE(Cpu().HBMInfo[0], std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get HBM1 Information for cpu1"));
}

TEST_F(Cpus, OfThePositionOfTheProcessorTheLowEightBitsCount) {
  ASSERT_EQ(
      Make(Table::Of(Copies(256, Processor{.status = 0}), Processor{}, StackAt("CPU0_HBMIO0"))),
      EFI_SUCCESS);
  EXPECT_NE(Cpu().HBMInfo[0], std::nullopt);
}

}  // namespace
}  // namespace tvq::test
