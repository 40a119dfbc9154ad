/*
 * Processor records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/shared/argument_log.h"
#include "tests/unit/driver/common/builder_fixture.h"

#include "TvqSmbiosPkg/src/common/builders.h"
#include "TvqSmbiosPkg/src/common/record.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char kCount[] = "smTVQ->device.cpu.CoreCount: 28\n";

// --- What is logged ---

TEST_F(Cpus, LogEveryStep) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log,
      Joined({LinesOf("MakeCPUs",
                      {"Entry MakeCPUs\n", "Found 3 CACHE SMBIOS structures\n",
                       "Found 1 OEM SMBIOS structures of len = *\n",
                       "First oem string: 17[0123456789ABCDEF]\n",
                       "Tag17 str: =17[0123456789ABCDEF]\n", "DIMM0 Form Factor = 9\n",
                       "DIMM count = 1, HBM Presence = 0\n", "tables[0].Type4->CoreCount: 28\n",
                       kCount, kCount, "tag17=17", "PPIN=0123456789ABCDEF", kCount, kCount}),
              LinesOf("MakeCPUZVEP", {"CPU Info: Socket 1 MaxSpeed 4000 CoreCount 28\n"}),
              LinesOf("MakeCPUs", {kCount, "Leaving MakeCPUs\n"})})));
}

TEST_F(Cpus, LogTheAddressOfTheSizesAsTheLengthOfTheOemStrings) {
  const Table table = Table::Of(OneProcessor(), OemStrings{});
  Prepare(table);
  std::vector<size_t> sizes;
  const ArgumentLog addresses(
      harness.platform, "Found %d OEM SMBIOS structures of len = %d\n", 2,
      [&](const std::vector<UINT64>& arguments) {
        for (const host::Block& block : harness.BlocksFrom("SmbiosGetStructuresByType")) {
          // The format prints 32 bits.
          if (static_cast<UINT32>(reinterpret_cast<UINTN>(block.address)) ==
              static_cast<UINT32>(arguments[1])) {
            sizes.push_back(*static_cast<const UINT16*>(block.address));
          }
        }
      });
  ASSERT_EQ(MakeCPUs(), EFI_SUCCESS);
  EXPECT_THAT(sizes, ElementsAre(table.OffsetOf(2) - table.OffsetOf(1)));
}

TEST_F(Cpus, LogWhatIsMissingAndGoOn) {
  ASSERT_EQ(Make(Table::Of(Processor{})), EFI_SUCCESS);
  const char count[] = "smTVQ->device.cpu.CoreCount: 8\n";
  EXPECT_TRUE(SameLines(
      log,
      Joined({LinesOf("MakeCPUs", {"Entry MakeCPUs\n", "Did not find any CACHE SMBIOS structures\n",
                                   "Found 0 CACHE SMBIOS structures\n",
                                   "Did not find any OEM SMBIOS structures\n"}),
              LinesOf("error: MakeCPUs", {"Did not find any DIMM SMBIOS structures\n",
                                          "Did not find any PMA SMBIOS structures\n"}),
              LinesOf("MakeCPUs", {"DIMM count = 0, HBM Presence = 0\n",
                                   "tables[0].Type4->CoreCount: 8\n", count, count, count, count}),
              LinesOf("MakeCPUZVEP", {"CPU Info: Socket 1 MaxSpeed 4000 CoreCount 8\n"}),
              LinesOf("MakeCPUs", {count, "Leaving MakeCPUs\n"})})));
  EXPECT_EQ(RecordCount(), 1u);
}

TEST_F(Cpus, AreNotFoundWithoutAProcessor) {
  EXPECT_EQ(Make(Table::Of(Bios{})), EFI_NOT_FOUND);
  EXPECT_EQ(log, LinesOf("MakeCPUs", {"Entry MakeCPUs\n"}));
  EXPECT_EQ(RecordCount(), 0u);
}

TEST_F(Cpus, AnEmptySocketGetsNoRecordAndCountsNoCores) {
  EXPECT_EQ(Make(Table::Of(Processor{.status = 0x00})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_THAT(log, Contains("MakeCPUs: smTVQ->device.cpu.CoreCount: 0\n").Times(1));
  EXPECT_EQ(log.back(), "MakeCPUs: Leaving MakeCPUs\n");
}

TEST_F(Cpus, OnlyBit6OfTheStatusSaysThatASocketIsPopulated) {
  ASSERT_EQ(Make(Table::Of(Processor{.designation = "CPU1", .status = 0xBF},
                           Processor{.designation = "CPU2", .status = 0x40})),
            EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Cpu().Socket, 2);
}

TEST_F(Cpus, AnEmptySocketLogsTheCoresOfTheLastRecord) {
  ASSERT_EQ(Make(Table::Of(Processor{.status = 0x41, .coreCount = 12},
                           Processor{.status = 0x01, .coreCount = 99})),
            EFI_SUCCESS);
  const Strings end(log.end() - 3, log.end());
  EXPECT_EQ(end, LinesOf("MakeCPUs", {"smTVQ->device.cpu.CoreCount: 12\n",
                                      "smTVQ->device.cpu.CoreCount: 12\n", "Leaving MakeCPUs\n"}));
}

TEST_F(Cpus, CountEveryStructureInTheLog) {
  ASSERT_EQ(Make(Table::Of(Processor{.status = 0}, Processor{.coreCount = 4})), EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: tables[1].Type4->CoreCount: 4\n"));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("tables[0]"))));
}

// --- The record ---

TEST_F(Cpus, TheRecordHoldsWhatTheStructuresSayAndNothingElse) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  const auto cacheOf = [](uint16_t level) {
    return record::Cache{.CacheLevel = level,
                         .CacheConfiguration = static_cast<uint16_t>(0x0180 + level),
                         .MaximumSize = 0x0200,
                         .InstalledSize = 0x0200,
                         .CurrentSRAMType = 0x0020,
                         .ErrorCorrectionType = 4,
                         .SystemCacheType = 5,
                         .Associativity = 7};
  };
  EXPECT_THAT(Cpu(), Is(record::Cpu{.MarketingName = "Model 8 @ 2.40GHz",
                                    .DeviceType = 2,
                                    .FQDD = "CPU.Socket.1",
                                    .Socket = 1,
                                    .CoreCount = 28,
                                    .ProcessorFamily = 0xB3,
                                    .CurrentSpeed = 2400,
                                    .MaxSpeed = 4000,
                                    .ExternalClock = 133,
                                    .Status = 0x41,
                                    .ThreadCount = 56,
                                    .EnabledCoreCount = 26,
                                    .Voltage = 0x8C,
                                    .ProcessorCharacteristics = 0x1AFC,
                                    .ProcessorManufacturer = "Core Works",
                                    .ProcessorVersion = "  Model 8 @ 2.40GHz  ",
                                    .ProcessorID = 0x178BFBFF000806F8,
                                    .CacheInfo = {cacheOf(0), cacheOf(1), cacheOf(2)},
                                    .PPIN = "0123456789ABCDEF"}));
  ExpectNothingBesides(sizeof(TVQ_CPU));
}

TEST_F(Cpus, TheRecordIsPublishedWithItsProtocolsOnAHandleOfItsOwn) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectPublishedWhole(0);
  ExpectServes(0);
}

TEST_F(Cpus, TheDevicePathNamesTypeAndSocket) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  const auto* const path = reinterpret_cast<const uint8_t*>(harness.Records().at(0).devicePath);
  EXPECT_EQ(Bytes(path, path + sizeof(TVQ_DEVICE_PATH)),
            (Bytes{0x01, 0x04, 27,   0,    0x96, 0x2E, 0x08, 0xEA, 0x4B, 0xB6, 0xB3,
                   0x48, 0xA1, 0x53, 0x0A, 0x0F, 0xE8, 0xBF, 0x90, 0x5E, 2,    1,
                   0,    0,    0,    0,    0,    0x7F, 0xFF, 4,    0}));
}

TEST_F(Cpus, TheLastDevicePathIsKept) {
  ASSERT_EQ(Make(Table::Of(Designated("CPU1"), Designated("CPU2"))), EFI_SUCCESS);
  EXPECT_EQ(Value(Record(1)->DevicePath), gTvqDevicePath);
  EXPECT_NE(Value(Record(0)->DevicePath), gTvqDevicePath);
}

TEST_F(Cpus, EveryPopulatedSocketHasARecordInTableOrder) {
  ASSERT_EQ(Make(Table::Of(Designated("CPU2"), Designated("CPU1"))), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 2u);
  EXPECT_EQ(Cpu(0).Socket, 2);
  EXPECT_EQ(Cpu(1).Socket, 1);
  ExpectPublishedWhole(0);
  ExpectPublishedWhole(1);
}

// --- Socket ---

struct SocketCase {
  const char* name;
  Text designation;
  uint8_t socket;
};

class CpuSocket : public Cpus, public testing::WithParamInterface<SocketCase> {};

TEST_P(CpuSocket, IsTheFourthCharacterOfTheDesignationMinusTheDigitZero) {
  Processor processor = Designated(GetParam().designation);
  processor.manufacturer = processor.version = std::nullopt;
  ASSERT_EQ(Make(Table::Of(processor)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, GetParam().socket);
  EXPECT_EQ(PathData(), (Bytes{2, GetParam().socket, 0, 0, 0, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(Designations, CpuSocket,
                         testing::Values(SocketCase{"Digit", "CPU1", 1},
                                         SocketCase{"AnotherDigit", "CPU2", 2},
                                         SocketCase{"OnlyTheFourthCharacter", "CPU12", 1},
                                         SocketCase{"Letter", "CPUA", 0x11},
                                         SocketCase{"Blank", "CPU 1", 0xF0},
                                         SocketCase{"TheTerminatorOfThree", "CPU", 0xD0},
                                         SocketCase{"BehindTheLastString", "P0", 0xD0},
                                         SocketCase{"None", std::nullopt, 0}),
                         [](const auto& info) { return info.param.name; });

TEST_F(Cpus, TheFourthCharacterOfAShortDesignationIsThatOfTheStringBehind) {
  Processor processor = Designated("P0");
  processor.manufacturer = "9";  // P 0 NUL 9
  ASSERT_EQ(Make(Table::Of(processor)), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, 9);
}

TEST_F(Cpus, TheFourthCharacterPastTheTableReadsAsZero) {
  Processor processor = Designated("P");
  processor.manufacturer = processor.version = std::nullopt;
  Table table = Table::Of(processor);
  table.Chop(1);
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, 0xD0);
}

TEST_F(Cpus, TheSocketNamesTheDevice) {
  ASSERT_EQ(Make(Table::Of(Designated("CPU1"), Designated("CPUA"))), EFI_SUCCESS);
  EXPECT_EQ(NameOf(0), "CPU 1");
  EXPECT_EQ(FqddOf(0), "CPU.Socket.1");
  EXPECT_EQ(NameOf(1), "CPU 17");
  EXPECT_EQ(FqddOf(1), "CPU.Socket.11");
}

// --- Texts ---

TEST_F(Cpus, WithoutAVersionTheMarketingNameIsEmpty) {
  ASSERT_EQ(Make(Table::Of(Processor{.version = std::nullopt})), EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.cpu.Generic.MarketingName, 1), std::u16string(1, u'\0'));
  EXPECT_EQ(Cpu().ProcessorVersion, std::nullopt);
}

TEST_F(Cpus, WithoutAManufacturerThereIsNone) {
  ASSERT_EQ(Make(Table::Of(Processor{.manufacturer = std::nullopt})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().ProcessorManufacturer, std::nullopt);
}

TEST_F(Cpus, BlanksOfTheMarketingNameAreTrimmedByThePlatform) {
  ASSERT_EQ(Make(Table::Of(Processor{.version = " A  B "})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().MarketingName, "A  B");
  EXPECT_EQ(Cpu().ProcessorVersion, " A  B ");
}

TEST_F(Cpus, TextsAreWidenedWithSignExtension) {
  ASSERT_EQ(Make(Table::Of(Processor{.manufacturer = "\x7F\x80\xFF", .version = "\xAE"})),
            EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.cpu.ProcessorManufacturer, 4),
            std::u16string(u"\x7F\xFF80\xFFFF\0", 4));
  EXPECT_EQ(Units(Record()->device.cpu.Generic.MarketingName, 2), std::u16string(u"\xFFAE\0", 2));
  EXPECT_EQ(Units(Record()->device.cpu.ProcessorVersion, 2), std::u16string(u"\xFFAE\0", 2));
}

// --- What consumers make of the processor's ID ---

TEST_F(Cpus, ModelAndSteppingComeFromTheLowWordOfTheId) {
  ASSERT_EQ(Make(Table::Of(Processor{.processorId = 0xBFEBFBFF000806F8})), EFI_SUCCESS);
  const std::string document = DocumentOf();
  EXPECT_THAT(document, testing::HasSubstr(">Model 143 Stepping 8<"));
  EXPECT_THAT(document, testing::HasSubstr("<ProcessorEffectiveFamily>6<"));
}

// Deliberate: the extended family is joined, not added.
TEST_F(Cpus, BaseAndExtendedFamilyAreJoinedByOr) {
  ASSERT_EQ(Make(Table::Of(Processor{.processorId = 0x00A00F10})), EFI_SUCCESS);
  EXPECT_THAT(DocumentOf(), testing::HasSubstr("<ProcessorEffectiveFamily>15<"));
}

// --- FQDD ---

TEST_F(Cpus, WithoutAMapThereIsNoFqddAndNobodyLooksForOne) {
  ASSERT_EQ(Make(Table::Of(Processor{})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().FQDD, std::nullopt);
  EXPECT_EQ(FqddOf(), "CPU.Socket.1");
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("FindFqdd"))));
}

TEST_F(Cpus, AHandleThatIsNotInTheMapIsLogged) {
  ASSERT_EQ(Make(Table::Of(Processor{.handle = 0x4AB}, MapOf({{"CPU.Socket.9", 0x400}}))),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().FQDD, std::nullopt);
  EXPECT_THAT(log, Contains("FindFqdd: Handle 0x4AB not found\n"));
}

TEST_F(Cpus, AnEntryWithoutATextGivesNoFqdd) {
  ASSERT_EQ(Make(Table::Of(Processor{.handle = 0x400}, MapOf({{std::nullopt, 0x400}}))),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu().FQDD, std::nullopt);
}

TEST_F(Cpus, AnFqddPastTheStringsMovesTheMapForAllLaterSockets) {
  Structure map = MapOf({{"First", 0x400}, {"Second", 0x401}}).Build();
  map.SetByte(5, 7);  // the first group names string 7 of 2
  ASSERT_EQ(Make(Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                           Processor{.handle = 0x401, .designation = "CPU2"}, map,
                           OemStrings{.texts = {"Other", "Stranger"}})),
            EFI_SUCCESS);
  EXPECT_EQ(Cpu(0).FQDD, std::nullopt);
  EXPECT_EQ(Cpu(1).FQDD, "Stranger");
}

// --- Family variable ---

TEST_F(Cpus, TheFamilyIsWrittenToAVariable) {
  ASSERT_EQ(Make(Table::Of(Processor{.family = 0x6B})), EFI_SUCCESS);
  const host::Variable* const variable =
      harness.Firmware().FindVariable(u"EFI_SMBIOS_PROCESSOR_FAMILY", gZvServicesTableGuid);
  ASSERT_NE(variable, nullptr);
  EXPECT_EQ(variable->attributes, 7u);
  EXPECT_THAT(variable->data, ElementsAre(0x6B));
  EXPECT_EQ(harness.Firmware().Variables().size(), 1u);
}

TEST_F(Cpus, TheFamilyOfTheLastPopulatedSocketRemains) {
  ASSERT_EQ(Make(Table::Of(Processor{.designation = "CPU1", .family = 1},
                           Processor{.designation = "CPU2", .family = 2},
                           Processor{.designation = "CPU3", .family = 3, .status = 0})),
            EFI_SUCCESS);
  EXPECT_THAT(
      harness.Firmware().FindVariable(u"EFI_SMBIOS_PROCESSOR_FAMILY", gZvServicesTableGuid)->data,
      ElementsAre(2));
}

TEST_F(Cpus, TheFamilyIsWrittenForEachPopulatedSocket) {
  Prepare(Table::Of(Processor{.designation = "CPU1", .family = 1},
                    Processor{.designation = "CPU2", .status = 0},
                    Processor{.designation = "CPU3", .family = 1}));
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(harness.Firmware().Calls(host::images::driver, host::Service::SetVariable), 2u);
}

TEST_F(Cpus, AVariableThatCannotBeWrittenIsNoFailure) {
  Prepare(WholeServer());
  harness.Firmware().FailCall(host::images::driver, host::Service::SetVariable, 1,
                              EFI_WRITE_PROTECTED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
  EXPECT_THAT(harness.Firmware().Variables(), IsEmpty());
}

// --- Caches ---

TEST_F(Cpus, CachesThatAreNotThereAreLoggedOneByOne) {
  Processor processor;
  processor.l1 = kNoHandle;
  processor.l2 = 0x701;
  processor.l3 = 0x7FF;  // nobody's
  ASSERT_EQ(Make(Table::Of(processor, Cache{.handle = 0x701})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().CacheInfo[0], std::nullopt);
  EXPECT_NE(Cpu().CacheInfo[1], std::nullopt);
  EXPECT_EQ(Cpu().CacheInfo[2], std::nullopt);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L1 Cache Information"));
  EXPECT_THAT(log, Not(Contains("MakeCPUs: Failed to get L2 Cache Information")));
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L3 Cache Information"));
}

TEST_F(Cpus, WithoutCacheStructuresNobodyAsksForCaches) {
  ASSERT_EQ(Make(Table::Of(OneProcessor())), EFI_SUCCESS);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Cache Information"))));
}

}  // namespace
}  // namespace tvq::test
