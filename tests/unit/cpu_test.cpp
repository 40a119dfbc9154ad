/*
 * Processor records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/support/builder_test.h"
#include "tests/unit/support/servers.h"

#include "TvqSmbiosPkg/src/common/builders.h"
#include "TvqSmbiosPkg/src/common/record.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

const char kCount[] = "smTVQ->device.cpu.CoreCount: 28\n";

Processor OneProcessor() {
  Processor processor;
  processor.handle = 0x400;
  processor.family = 0xB3;
  processor.manufacturer = "Core Works";
  processor.processorId = 0x178BFBFF000806F8;
  processor.version = "  Model 8 @ 2.40GHz  ";
  processor.voltage = 0x8C;
  processor.externalClock = 133;
  processor.maxSpeed = 4000;
  processor.currentSpeed = 2400;
  processor.status = 0x41;
  processor.l1 = 0x700;
  processor.l2 = 0x701;
  processor.l3 = 0x702;
  processor.coreCount = 28;
  processor.coreEnabled = 26;
  processor.threadCount = 56;
  processor.characteristics = 0x1AFC;
  return processor;
}

FqddMap MapOf(std::vector<FqddMap::Group> groups) {
  FqddMap map;
  map.groups = std::move(groups);
  return map;
}

// A processor and whatever else its record is made of.
Table WholeServer() {
  Table table;
  table.Add(OneProcessor());
  table.Add(Cache{.handle = 0x700, .configuration = 0x0180});
  table.Add(Cache{.handle = 0x701, .configuration = 0x0181});
  table.Add(Cache{.handle = 0x702, .configuration = 0x0182});
  table.Add(OemStringsWith({"17[0123456789ABCDEF]"}));
  table.Add(MemoryArray{.handle = 0x1000});
  table.Add(MemoryDevice{.handle = 0x1100});
  table.Add(MapOf({{"CPU.Socket.1", 0x400}}));
  return table;
}

// The processors alone, in this order.
Table ServerWith(const std::vector<Structure>& processors) {
  Table table;
  for (const Structure& processor : processors) {
    table.Add(processor);
  }
  return table;
}

Processor Designated(const Text& designation) {
  Processor processor;
  processor.designation = designation;
  return processor;
}

class Cpus : public BuilderTest {
 protected:
  EFI_STATUS Make() { return Run(MakeCPUs); }
  EFI_STATUS Make(const Table& table) {
    Prepare(table);
    return Make();
  }
  TVQ_CPU Cpu(size_t n = 0) { return Record(n)->device.cpu; }
};

// --- What is logged ---

TEST_F(Cpus, LogEveryStep) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeCPUs", {"Entry MakeCPUs\n", "Found 3 CACHE SMBIOS structures\n",
                                        "Found 1 OEM SMBIOS structures of len = *\n",
                                        "First oem string: 17[0123456789ABCDEF]\n",
                                        "Tag17 str: =17[0123456789ABCDEF]\n",
                                        "DIMM0 Form Factor = 9\n",
                                        "DIMM count = 1, HBM Presence = 0\n",
                                        "tables[0].Type4->CoreCount: 28\n", kCount, kCount,
                                        "tag17=17", "PPIN=0123456789ABCDEF", kCount, kCount}),
                   LinesOf("MakeCPUZVEP", {"CPU Info: Socket 1 MaxSpeed 4000 CoreCount 28\n"}),
                   LinesOf("MakeCPUs", {kCount, "Leaving MakeCPUs\n"})})));
}

TEST_F(Cpus, LogTheAddressOfTheSizesAsTheLengthOfTheOemStrings) {
  Prepare(WholeServer());
  ASSERT_EQ(MakeCPUs(), EFI_SUCCESS);
  const std::string start = "Found 1 OEM SMBIOS structures of len = ";
  EXPECT_THAT(rig.TakeLog(), Contains(LogIs("MakeCPUs", testing::MatchesRegex(start + "-?[0-9]+\n"))));
}

TEST_F(Cpus, LogWhatIsMissingAndGoOn) {
  ASSERT_EQ(Make(ServerWith({Processor{}.Build()})), EFI_SUCCESS);
  const std::string count = "smTVQ->device.cpu.CoreCount: 8\n";
  EXPECT_TRUE(SameLines(
      log,
      Joined({LinesOf("MakeCPUs",
                      {"Entry MakeCPUs\n", "Did not find any CACHE SMBIOS structures\n",
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
  EXPECT_EQ(Make(ServerWith({Bios{}.Build()})), EFI_NOT_FOUND);
  EXPECT_EQ(log, LinesOf("MakeCPUs", {"Entry MakeCPUs\n"}));
  EXPECT_EQ(RecordCount(), 0u);
}

TEST_F(Cpus, AnEmptySocketGetsNoRecordAndCountsNoCores) {
  EXPECT_EQ(Make(ServerWith({Processor{.status = 0x00}.Build()})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_THAT(log, Contains("MakeCPUs: smTVQ->device.cpu.CoreCount: 0\n").Times(1));
  EXPECT_EQ(log.back(), "MakeCPUs: Leaving MakeCPUs\n");
}

TEST_F(Cpus, OnlyBit6OfTheStatusSaysThatASocketIsPopulated) {
  ASSERT_EQ(Make(ServerWith({Processor{.designation = "CPU1", .status = 0xBF}.Build(),
                             Processor{.designation = "CPU2", .status = 0x40}.Build()})),
            EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Cpu().Socket, 2);
}

TEST_F(Cpus, AnEmptySocketLogsTheCoresOfTheLastRecord) {
  ASSERT_EQ(Make(ServerWith({Processor{.status = 0x41, .coreCount = 12}.Build(),
                             Processor{.status = 0x01, .coreCount = 99}.Build()})),
            EFI_SUCCESS);
  const Strings end(log.end() - 3, log.end());
  EXPECT_EQ(end, LinesOf("MakeCPUs", {"smTVQ->device.cpu.CoreCount: 12\n",
                                      "smTVQ->device.cpu.CoreCount: 12\n", "Leaving MakeCPUs\n"}));
}

TEST_F(Cpus, CountEveryStructureInTheLog) {
  ASSERT_EQ(Make(ServerWith({Processor{.status = 0}.Build(), Processor{.coreCount = 4}.Build()})),
            EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: tables[1].Type4->CoreCount: 4\n"));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("tables[0]"))));
}

// --- The record ---

TEST_F(Cpus, TheRecordHoldsWhatTheStructuresSayAndNothingElse) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  smTVQ* const record = Record();
  smTVQ expected;
  std::memset(&expected, 0, sizeof(expected));
  expected.Signature = SIGNATURE_32('S', 'T', 'V', 'Q');
  TVQ_CPU& cpu = expected.device.cpu;
  cpu.Generic.DeviceType = 2;
  cpu.Socket = 1;
  cpu.CoreCount = 28;
  cpu.ProcessorFamily = 0xB3;
  cpu.CurrentSpeed = 2400;
  cpu.MaxSpeed = 4000;
  cpu.ExternalClock = 133;
  cpu.Status = 0x41;
  cpu.ThreadCount = 56;
  cpu.EnabledCoreCount = 26;
  cpu.Voltage = 0x8C;
  cpu.ProcessorCharacteristics = 0x1AFC;
  cpu.ProcessorID = 0x178BFBFF000806F8;
  expected.Protocol = {SMTVQIdentify, SMTVQGet, SMTVQSet, SMTVQVerify};
  expected.Valid = 1;

  const TVQ_CPU& actual = record->device.cpu;
  EXPECT_EQ(Utf8(actual.Generic.MarketingName), "Model 8 @ 2.40GHz");
  cpu.Generic.MarketingName = actual.Generic.MarketingName;
  EXPECT_EQ(Utf8(actual.FQDD), "CPU.Socket.1");
  cpu.FQDD = actual.FQDD;
  EXPECT_EQ(Utf8(actual.ProcessorManufacturer), "Core Works");
  cpu.ProcessorManufacturer = actual.ProcessorManufacturer;
  EXPECT_EQ(Utf8(actual.ProcessorVersion), "  Model 8 @ 2.40GHz  ");
  cpu.ProcessorVersion = actual.ProcessorVersion;
  EXPECT_EQ(Utf8(actual.PPIN), "0123456789ABCDEF");
  cpu.PPIN = actual.PPIN;
  for (size_t level = 0; level < TVQ_CACHE_LEVELS; ++level) {
    ASSERT_NE(Value(actual.CacheInfo[level]), nullptr);
    EXPECT_EQ(Value(actual.CacheInfo[level]->CacheConfiguration), 0x0180 + level);
    cpu.CacheInfo[level] = actual.CacheInfo[level];
  }
  expected.DevicePath = record->DevicePath;
  EXPECT_EQ(BytesOf(*record), BytesOf(expected));
}

TEST_F(Cpus, TheRecordIsPublishedWithItsProtocolsOnAHandleOfItsOwn) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectPublishedWhole(0);
  ExpectServes(0);
}

TEST_F(Cpus, TheDevicePathNamesTypeAndSocket) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  const auto* const path = reinterpret_cast<const uint8_t*>(rig.Records().at(0).devicePath);
  EXPECT_EQ(Bytes(path, path + sizeof(TVQ_DEVICE_PATH)),
            (Bytes{0x01, 0x04, 27,   0,    0x96, 0x2E, 0x08, 0xEA, 0x4B, 0xB6, 0xB3,
                   0x48, 0xA1, 0x53, 0x0A, 0x0F, 0xE8, 0xBF, 0x90, 0x5E, 2,    1,
                   0,    0,    0,    0,    0,    0x7F, 0xFF, 4,    0}));
}

TEST_F(Cpus, TheLastDevicePathIsKept) {
  ASSERT_EQ(Make(ServerWith({Designated("CPU1").Build(), Designated("CPU2").Build()})), EFI_SUCCESS);
  EXPECT_EQ(Value(Record(1)->DevicePath), gTvqDevicePath);
  EXPECT_NE(Value(Record(0)->DevicePath), gTvqDevicePath);
}

TEST_F(Cpus, EveryPopulatedSocketHasARecordInTableOrder) {
  ASSERT_EQ(Make(ServerWith({Designated("CPU2").Build(), Designated("CPU1").Build()})), EFI_SUCCESS);
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
  ASSERT_EQ(Make(ServerWith({processor.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, GetParam().socket);
  EXPECT_EQ(PathData(), (Bytes{2, GetParam().socket, 0, 0, 0, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(
    Designations, CpuSocket,
    testing::Values(SocketCase{"Digit", "CPU1", 1}, SocketCase{"AnotherDigit", "CPU2", 2},
                    SocketCase{"OnlyTheFourthCharacter", "CPU12", 1},
                    SocketCase{"Letter", "CPUA", 0x11}, SocketCase{"Blank", "CPU 1", 0xF0},
                    SocketCase{"TheTerminatorOfThree", "CPU", 0xD0},
                    SocketCase{"BehindTheLastString", "P0", 0xD0},
                    SocketCase{"None", std::nullopt, 0}),
    [](const auto& info) { return info.param.name; });

TEST_F(Cpus, TheFourthCharacterOfAShortDesignationIsThatOfTheStringBehind) {
  Processor processor = Designated("P0");
  processor.manufacturer = "9";  // P 0 NUL 9
  ASSERT_EQ(Make(ServerWith({processor.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, 9);
}

TEST_F(Cpus, TheFourthCharacterPastTheTableReadsAsZero) {
  Processor processor = Designated("P");
  processor.manufacturer = processor.version = std::nullopt;
  Table table = ServerWith({processor.Build()});
  table.Chop(1);
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Cpu().Socket, 0xD0);
}

TEST_F(Cpus, TheSocketNamesTheDevice) {
  ASSERT_EQ(Make(ServerWith({Designated("CPU1").Build(), Designated("CPUA").Build()})), EFI_SUCCESS);
  EXPECT_EQ(NameOf(0), "CPU 1");
  EXPECT_EQ(FqddOf(0), "CPU.Socket.1");
  EXPECT_EQ(NameOf(1), "CPU 17");
  EXPECT_EQ(FqddOf(1), "CPU.Socket.11");
}

// --- Texts ---

TEST_F(Cpus, WithoutAVersionTheMarketingNameIsEmpty) {
  ASSERT_EQ(Make(ServerWith({Processor{.version = std::nullopt}.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Units(Cpu().Generic.MarketingName, 1), std::u16string(1, u'\0'));
  EXPECT_EQ(Value(Cpu().ProcessorVersion), nullptr);
}

TEST_F(Cpus, WithoutAManufacturerThereIsNone) {
  ASSERT_EQ(Make(ServerWith({Processor{.manufacturer = std::nullopt}.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().ProcessorManufacturer), nullptr);
}

TEST_F(Cpus, BlanksOfTheMarketingNameAreTrimmedByThePlatform) {
  ASSERT_EQ(Make(ServerWith({Processor{.version = " A  B "}.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().Generic.MarketingName), "A  B");
  EXPECT_EQ(Utf8(Cpu().ProcessorVersion), " A  B ");
}

TEST_F(Cpus, TextsAreWidenedWithSignExtension) {
  ASSERT_EQ(Make(ServerWith({Processor{.manufacturer = "\x7F\x80\xFF", .version = "\xAE"}.Build()})),
            EFI_SUCCESS);
  EXPECT_EQ(Units(Cpu().ProcessorManufacturer, 4), std::u16string(u"\x7F\xFF80\xFFFF\0", 4));
  EXPECT_EQ(Units(Cpu().Generic.MarketingName, 2), std::u16string(u"\xFFAE\0", 2));
  EXPECT_EQ(Units(Cpu().ProcessorVersion, 2), std::u16string(u"\xFFAE\0", 2));
}

// --- FQDD ---

TEST_F(Cpus, WithoutAMapThereIsNoFqddAndNobodyLooksForOne) {
  ASSERT_EQ(Make(ServerWith({Processor{}.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().FQDD), nullptr);
  EXPECT_EQ(FqddOf(), "CPU.Socket.1");
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("FindFqdd"))));
}

TEST_F(Cpus, AHandleThatIsNotInTheMapIsLogged) {
  Table table = ServerWith({Processor{.handle = 0x4AB}.Build()});
  table.Add(MapOf({{"CPU.Socket.9", 0x400}}));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().FQDD), nullptr);
  EXPECT_THAT(log, Contains("FindFqdd: Handle 0x4AB not found\n"));
}

TEST_F(Cpus, AnEntryWithoutATextGivesNoFqdd) {
  Table table = ServerWith({Processor{.handle = 0x400}.Build()});
  table.Add(MapOf({{std::nullopt, 0x400}}));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().FQDD), nullptr);
}

TEST_F(Cpus, AnFqddPastTheStringsMovesTheMapForAllLaterSockets) {
  Table table = ServerWith({Processor{.handle = 0x400, .designation = "CPU1"}.Build(),
                            Processor{.handle = 0x401, .designation = "CPU2"}.Build()});
  Structure map = MapOf({{"First", 0x400}, {"Second", 0x401}}).Build();
  map.SetByte(5, 7);  // the first group names string 7 of 2
  table.Add(map);
  table.Add(OemStrings{.texts = {"Other", "Stranger"}});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu(0).FQDD), nullptr);
  EXPECT_EQ(Utf8(Cpu(1).FQDD), "Stranger");
}

// --- Structures that are not as they should be ---

TEST_F(Cpus, AVersionPastTheStringsTakesTheRestFromTheStructureBehind) {
  Structure first = Processor{.handle = 0x400, .designation = "CPU1", .coreCount = 4}.Build();
  first.SetByte(0x10, 9);
  ASSERT_EQ(Make(ServerWith({first, Processor{.handle = 0x401,
                                              .designation = "CPU5",
                                              .version = "Next",
                                              .status = 0x01,
                                              .coreCount = 6}
                                        .Build()})),
            EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Utf8(Cpu().Generic.MarketingName), "");
  EXPECT_EQ(Utf8(Cpu().ProcessorVersion), "Next");
  EXPECT_EQ(Cpu().CoreCount, 6);
  EXPECT_EQ(Cpu().Socket, 5);
  EXPECT_EQ(Cpu().Status, 0x01);
}

TEST_F(Cpus, ADesignationPastTheStringsTakesTheRestFromTheStructureBehind) {
  Table table;
  Structure first = Processor{.handle = 0x400, .version = "First", .coreCount = 4}.Build();
  first.SetByte(4, 9);
  table.Add(first);
  table.Add(Processor{.handle = 0x401, .family = 0x77, .version = "Next", .status = 0, .coreCount = 6});
  table.Add(MapOf({{"CPU.Socket.First", 0x400}, {"CPU.Socket.Next", 0x401}}));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().Generic.MarketingName), "First");
  EXPECT_EQ(Cpu().CoreCount, 4);
  EXPECT_EQ(Cpu().Socket, 0);
  EXPECT_EQ(Utf8(Cpu().FQDD), "CPU.Socket.Next");
  EXPECT_EQ(Cpu().ProcessorFamily, 0x77);
  EXPECT_EQ(Utf8(Cpu().ProcessorVersion), "Next");
}

TEST_F(Cpus, AManufacturerPastTheStringsTakesCachesFromTheStructureBehind) {
  Table table;
  Structure first = Processor{.l1 = 0x700}.Build();
  first.SetByte(7, 9);
  table.Add(first);
  table.Add(Processor{.version = "Next", .status = 0, .l1 = 0x701});
  table.Add(Cache{.handle = 0x700, .speed = 1});
  table.Add(Cache{.handle = 0x701, .speed = 2});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().ProcessorManufacturer), nullptr);
  EXPECT_EQ(Utf8(Cpu().ProcessorVersion), "Next");
  EXPECT_EQ(Cpu().Status, 0x41);  // taken before
  ASSERT_NE(Value(Cpu().CacheInfo[0]), nullptr);
  EXPECT_EQ(Value(Cpu().CacheInfo[0]->CacheSpeed), 2);
}

TEST_F(Cpus, AStringPastTheLastStructureLeavesNothingToRead) {
  Structure only = Processor{}.Build();
  only.SetByte(0x10, 9);
  ASSERT_EQ(Make(ServerWith({only})), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Cpu().CoreCount, 0);
  EXPECT_EQ(Cpu().Socket, 0);
  EXPECT_EQ(Value(Cpu().ProcessorID), 0u);
}

TEST_F(Cpus, FieldsPastTheFormattedPartReadAsZero) {
  Table table = ServerWith({OneProcessor().Build().CutTo(0x23)});
  table.Add(Cache{.handle = 0x700});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Cpu().CoreCount, 0);
  EXPECT_EQ(Cpu().EnabledCoreCount, 0);
  EXPECT_EQ(Cpu().ThreadCount, 0);
  EXPECT_EQ(Value(Cpu().ProcessorCharacteristics), 0);
  EXPECT_NE(Value(Cpu().CacheInfo[0]), nullptr);
}

TEST_F(Cpus, CacheHandlesPastTheFormattedPartNameNoCache) {
  Table table = ServerWith({OneProcessor().Build().CutTo(0x1A)});
  table.Add(Cache{.handle = 0x000});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  for (size_t level = 0; level < TVQ_CACHE_LEVELS; ++level) {
    EXPECT_EQ(Value(Cpu().CacheInfo[level]), nullptr);
    EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L" + std::to_string(level + 1) +
                              " Cache Information"));
  }
}

TEST_F(Cpus, AStatusPastTheFormattedPartIsAnEmptySocket) {
  EXPECT_EQ(Make(ServerWith({OneProcessor().Build().CutTo(0x18)})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
}

// --- Family variable ---

TEST_F(Cpus, TheFamilyIsWrittenToAVariable) {
  ASSERT_EQ(Make(ServerWith({Processor{.family = 0x6B}.Build()})), EFI_SUCCESS);
  const host::Variable* const variable =
      rig.Firmware().FindVariable(u"EFI_SMBIOS_PROCESSOR_FAMILY", gZvServicesTableGuid);
  ASSERT_NE(variable, nullptr);
  EXPECT_EQ(variable->attributes, 7u);
  EXPECT_THAT(variable->data, ElementsAre(0x6B));
  EXPECT_EQ(rig.Firmware().Variables().size(), 1u);
}

TEST_F(Cpus, TheFamilyOfTheLastPopulatedSocketRemains) {
  ASSERT_EQ(Make(ServerWith({Processor{.designation = "CPU1", .family = 1}.Build(),
                             Processor{.designation = "CPU2", .family = 2}.Build(),
                             Processor{.designation = "CPU3", .family = 3, .status = 0}.Build()})),
            EFI_SUCCESS);
  EXPECT_THAT(rig.Firmware().FindVariable(u"EFI_SMBIOS_PROCESSOR_FAMILY", gZvServicesTableGuid)->data,
              ElementsAre(2));
}

TEST_F(Cpus, AVariableThatCannotBeWrittenIsNoFailure) {
  Prepare(WholeServer());
  rig.Firmware().FailCall(host::images::driver, host::Service::SetVariable, 1, EFI_WRITE_PROTECTED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
  EXPECT_THAT(rig.Firmware().Variables(), IsEmpty());
}

// --- Caches ---

TEST_F(Cpus, CachesThatAreNotThereAreLoggedOneByOne) {
  Processor processor;
  processor.l1 = kNoHandle;
  processor.l2 = 0x701;
  processor.l3 = 0x7FF;  // nobody's
  Table table = ServerWith({processor.Build()});
  table.Add(Cache{.handle = 0x701});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().CacheInfo[0]), nullptr);
  EXPECT_NE(Value(Cpu().CacheInfo[1]), nullptr);
  EXPECT_EQ(Value(Cpu().CacheInfo[2]), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L1 Cache Information"));
  EXPECT_THAT(log, Not(Contains("MakeCPUs: Failed to get L2 Cache Information")));
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L3 Cache Information"));
}

TEST_F(Cpus, WithoutCacheStructuresNobodyAsksForCaches) {
  ASSERT_EQ(Make(ServerWith({OneProcessor().Build()})), EFI_SUCCESS);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Cache Information"))));
}

// --- PPIN ---

// Processors CPU1, CPU2, ... and structures of OEM strings behind them.
Table PpinServer(size_t processors, const std::vector<Structure>& behind) {
  Table table;
  for (size_t n = 1; n <= processors; ++n) {
    table.Add(Designated("CPU" + std::to_string(n)));
  }
  for (const Structure& structure : behind) {
    table.Add(structure);
  }
  return table;
}

TEST_F(Cpus, EachSocketTakesTheNextPpinInOrder) {
  ASSERT_EQ(Make(PpinServer(2, {OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"}).Build()})),
            EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu(0).PPIN), "AAAAAAAAAAAAAAAA");
  EXPECT_EQ(Utf8(Cpu(1).PPIN), "BBBBBBBBBBBBBBBB");
}

TEST_F(Cpus, AnEmptySocketTakesNoPpin) {
  Table table;
  table.Add(Processor{.designation = "CPU1", .status = 0});
  table.Add(Processor{.designation = "CPU2"});
  table.Add(OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"}));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().PPIN), "AAAAAAAAAAAAAAAA");
}

TEST_F(Cpus, AStringWithoutTheTagStopsThePpinsForAllLaterSockets) {
  ASSERT_EQ(Make(PpinServer(3, {OemStringsWith({"17[AAAAAAAAAAAAAAAA]", "no tag",
                                                "17[BBBBBBBBBBBBBBBB]"})
                                    .Build()})),
            EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu(0).PPIN), "AAAAAAAAAAAAAAAA");
  EXPECT_EQ(Value(Cpu(1).PPIN), nullptr);
  EXPECT_EQ(Value(Cpu(2).PPIN), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Couldnot find PPIN in Type11 SMBIOS structure\n").Times(2));
}

TEST_F(Cpus, BehindTheLastOemStringThereIsNoPpinAndNoLine) {
  ASSERT_EQ(Make(PpinServer(2, {OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}).Build(), Bios{}.Build()})),
            EFI_SUCCESS);
  EXPECT_NE(Value(Cpu(0).PPIN), nullptr);
  EXPECT_EQ(Value(Cpu(1).PPIN), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: tag17=17").Times(1));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Couldnot find PPIN"))));
}

TEST_F(Cpus, ThePpinMayFollowOtherTextInItsString) {
  ASSERT_EQ(Make(PpinServer(1, {OemStringsWith({"one", "two", "x17[AAAAAAAAAAAAAAAA]17[B"}).Build()})),
            EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().PPIN), "AAAAAAAAAAAAAAAA");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: one\n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =x17[AAAAAAAAAAAAAAAA]17[B\n"));
}

TEST_F(Cpus, StringsWithoutATagGiveNoPpin) {
  ASSERT_EQ(Make(PpinServer(1, {OemStringsWith({"one", "17(AAAA"}).Build()})), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().PPIN), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =\n"));
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("Couldnot find PPIN"))));
}

TEST_F(Cpus, AShortPpinTakesItsSixteenCharactersAsTheyStand) {
  ASSERT_EQ(Make(PpinServer(1, {OemStringsWith({"17[ABC", "D\x80" "FGHIJKLMNOPQR"}).Build()})),
            EFI_SUCCESS);
  EXPECT_EQ(Units(Cpu().PPIN, 17), std::u16string(u"ABC\0D\xFF80" u"FGHIJKLMNOP\0", 17));
  EXPECT_THAT(log, Contains("MakeCPUs: PPIN=ABC"));
}

TEST_F(Cpus, APpinPastTheTableReadsAsZero) {
  ASSERT_EQ(Make(PpinServer(1, {OemStringsWith({"17[ABC"}).Build()})), EFI_SUCCESS);
  EXPECT_EQ(Units(Cpu().PPIN, 17), std::u16string(u"ABC") + std::u16string(14, u'\0'));
}

TEST_F(Cpus, OemStringsAreReadFromByte25NotFromTheFirstString) {
  OemStrings strings;  // 14 characters end at byte 5 + 15; byte 25 is the sixth of the second string
  strings.texts = {"17[AAAAAAAAAAA", "-----17[BBBBBBBBBBBBBBBB]"};
  ASSERT_EQ(Make(PpinServer(1, {strings.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().PPIN), "BBBBBBBBBBBBBBBB");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: 17[BBBBBBBBBBBBBBBB]\n"));
}

TEST_F(Cpus, ByteTwentyFiveMayLieInTheStructureBehind) {
  OemStrings strings;
  strings.texts = {"OEM"};  // 10 bytes
  OemStrings next;          // its strings begin at byte 15
  next.texts = {"17[AAAAAAAAAAAAAAAA]", "17[BBBBBBBBBBBBBBBB]"};
  ASSERT_EQ(Make(PpinServer(1, {strings.Build(), next.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Cpu().PPIN), "BBBBBBBBBBBBBBBB");
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: AAAAAA]\n"));
}

TEST_F(Cpus, ByteTwentyFivePastTheTableIsNoString) {
  OemStrings strings;
  strings.texts = {"17[AAAA"};
  ASSERT_EQ(Make(PpinServer(1, {strings.Build()})), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().PPIN), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: \n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =\n"));
}

TEST_F(Cpus, AnOemStringThatDoesNotEndInsideTheTableIsNoString) {
  Table table = PpinServer(1, {OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}).Build()});
  table.Chop(2);
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().PPIN), nullptr);
}

TEST_F(Cpus, OnlyTheFirstStructureOfOemStringsIsLookedAt) {
  Table table = PpinServer(1, {OemStringsWith({"none"}).Build(),
                               OemStringsWith({"17[AAAAAAAAAAAAAAAA]"}).Build()});
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: Found 2 OEM SMBIOS structures of len = *\n"));
  EXPECT_EQ(Value(Cpu().PPIN), nullptr);
}

TEST_F(Cpus, ALongOemStringIsCutInTheLogAlone) {
  const std::string text = "17[0123456789ABCDEF]" + std::string(200, 'x');
  ASSERT_EQ(Make(PpinServer(1, {OemStringsWith({text}).Build()})), EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeCPUs: First oem string: " + text.substr(0, 127) + "\n"));
  EXPECT_THAT(log, Contains("MakeCPUs: Tag17 str: =" + text.substr(0, 127) + "\n"));
  EXPECT_EQ(Utf8(Cpu().PPIN), "0123456789ABCDEF");
}

// --- High-bandwidth memory ---

MemoryDevice StackAt(const char* locator) {
  MemoryDevice stack;
  stack.arrayHandle = 0x1001;
  stack.formFactor = 0x10;
  stack.memoryType = 0x20;
  stack.locator = locator;
  return stack;
}

Table HbmTable(const std::vector<MemoryDevice>& devices) {
  Table table;
  table.Add(Processor{});
  table.Add(MemoryArray{.handle = 0x1000, .location = 3, .maximumCapacity = 0x111});
  table.Add(MemoryArray{
      .handle = 0x1001, .location = 0x0A, .errorCorrection = 5, .maximumCapacity = 0x4000000});
  table.Add(MemoryArray{.handle = 0x1001, .location = 0x0B, .maximumCapacity = 0x222});
  for (const MemoryDevice& device : devices) {
    table.Add(device);
  }
  return table;
}

TEST_F(Cpus, WithoutHbmNothingIsSaidOfIt) {
  ASSERT_EQ(Make(HbmTable({MemoryDevice{}})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 0);
  EXPECT_EQ(Cpu().HBMOnlyMode, 0);
  EXPECT_EQ(Value(Cpu().HBMMaxCapacity), 0u);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("HBM only mode"))));
}

TEST_F(Cpus, HbmIsDescribedByItsArrayAndItsStacks) {
  ASSERT_EQ(Make(HbmTable({StackAt("CPU0_HBMIO0"), StackAt("CPU0_HBMIO2")})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 1);
  EXPECT_EQ(Cpu().HBMOnlyMode, 1);
  EXPECT_EQ(Value(Cpu().HBMMaxCapacity), 0x4000000u);
  EXPECT_EQ(Cpu().HBMLocation, 0x0A);
  EXPECT_EQ(Cpu().HBMErrorCorrectionType, 5);
  EXPECT_NE(Value(Cpu().HBMInfo[0]), nullptr);
  EXPECT_EQ(Value(Cpu().HBMInfo[1]), nullptr);
  EXPECT_NE(Value(Cpu().HBMInfo[2]), nullptr);
  EXPECT_EQ(Value(Cpu().HBMInfo[3]), nullptr);

  const auto stack = [](int n, const Strings& rest) {
    return Joined({LinesOf("GetHbmInfo", {"HBM Locator = CPU0_HBMIO" + std::to_string(n) + "\n"}),
                   rest});
  };
  const auto found = [](const std::string& name) {
    return LinesOf("GetHbmInfo", {name + " Size = 4000\n", name + " Type = 20\n",
                                  name + " Speed = C80\n", name + " NVSize = 0\n",
                                  name + " VSize = 17179869184\n", name + " CSize = 0\n"});
  };
  const auto missed = [](int n) {
    return Strings{"error: GetHbmInfo: Error: No HBM entries found in table 17",
                   "MakeCPUs: Failed to get HBM" + std::to_string(n) + " Information for cpu0"};
  };
  const auto first = std::find(log.begin(), log.end(), "MakeCPUs: HBM only mode = 1\n");
  ASSERT_NE(first, log.end());
  const Strings rest(first, log.end() - 5);
  EXPECT_TRUE(SameLines(
      rest,
      Joined({LinesOf("MakeCPUs", {"HBM only mode = 1\n", " HBM max Capacity = 4000000, HBM location = A, "
                                                          "HBM correction type = 5\n"}),
              stack(0, found("HBM0")), stack(1, missed(1)), stack(2, found("HBM2")),
              stack(3, missed(3))})));
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
        CensusCase{"HbmOnDies", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x21, 0x4000, 0x10)}, 1, 1, 0},
        CensusCase{"HbmOfTheSecondGeneration", {DeviceOf(0x21, 0x4000, 0x10)}, 1, 1, 0},
        CensusCase{"HbmAndAnEmptySlot", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x1A, 0, 9)}, 1, 1, 0},
        CensusCase{"HbmWithoutASize", {DeviceOf(0x20, 0, 9)}, 1, 1, 0},
        CensusCase{"HbmOnAModule", {DeviceOf(0x20, 0x4000, 9)}, 1, 0, 1},
        CensusCase{"HbmAndAModule", {DeviceOf(0x20, 0x4000, 0x10), DeviceOf(0x1A, 0x4000, 9)}, 1, 0, 1},
        CensusCase{"ADieThatIsNoHbm", {DeviceOf(0x1A, 0x4000, 0x10)}, 0, 0, 0}),
    [](const auto& info) { return info.param.name; });

TEST_F(Cpus, TheCensusLogsEveryDeviceByItsPosition) {
  ASSERT_EQ(Make(HbmTable({DeviceOf(0x1A, 0x4000, 9), DeviceOf(0x1A, 0, 5), DeviceOf(0x20, 1, 0x10)})),
            EFI_SUCCESS);
  EXPECT_THAT(log, testing::IsSupersetOf(LinesOf(
                       "MakeCPUs", {"DIMM0 Form Factor = 9\n", "DIMM2 Form Factor = 16\n"})));
}

TEST_F(Cpus, HbmWhoseArrayIsMissingLeavesTheArrayFieldsZero) {
  MemoryDevice stack = StackAt("CPU0_HBMIO0");
  stack.arrayHandle = 0x1FFF;
  ASSERT_EQ(Make(HbmTable({stack})), EFI_SUCCESS);
  EXPECT_EQ(Cpu().HBMPresence, 1);
  EXPECT_EQ(Value(Cpu().HBMMaxCapacity), 0u);
  EXPECT_EQ(Cpu().HBMLocation, 0);
  EXPECT_EQ(Cpu().HBMErrorCorrectionType, 0);
  EXPECT_NE(Value(Cpu().HBMInfo[0]), nullptr);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("HBM max Capacity"))));
}

TEST_F(Cpus, TheFirstHbmDeviceTellsTheArray) {
  MemoryDevice first = StackAt("CPU9_HBMIO0");
  first.arrayHandle = 0x1000;
  ASSERT_EQ(Make(HbmTable({MemoryDevice{.arrayHandle = 0x1001}, first, StackAt("CPU0_HBMIO0")})),
            EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().HBMMaxCapacity), 0x111u);
}

TEST_F(Cpus, StacksAreCountedByThePositionOfTheProcessorNotByItsSocket) {
  Table table;
  table.Add(Processor{.status = 0});
  table.Add(Designated("CPU7"));
  table.Add(StackAt("CPU1_HBMIO0"));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_NE(Value(Cpu().HBMInfo[0]), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get HBM1 Information for cpu1"));
}

TEST_F(Cpus, OfThePositionOfTheProcessorTheLowEightBitsCount) {
  Table table;
  for (int n = 0; n < 257; ++n) {
    table.Add(Processor{.status = static_cast<uint8_t>(n == 256 ? 0x41 : 0)});
  }
  table.Add(StackAt("CPU0_HBMIO0"));
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  EXPECT_NE(Value(Cpu().HBMInfo[0]), nullptr);
}

// --- Failures ---

// Allocations of the builder for WholeServer(): two for each of types 4, 7, 11, 17 and 16, then those of the record.
constexpr uint64_t kRecordAllocation = 11;

struct FatalCase {
  const char* name;
  uint64_t allocation;
  Strings stays;
};

class CpuWithoutMemory : public Cpus, public testing::WithParamInterface<FatalCase> {};

TEST_P(CpuWithoutMemory, EndsAndGivesBackAllButWhatIsToStay) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(blocks, GetParam().stays);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_NE(log.back(), "MakeCPUs: Leaving MakeCPUs\n");
}

TEST_P(CpuWithoutMemory, GivesBackTheNewestBlockFirst) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  RecordFrees();
  ASSERT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(FreesOf({"MakeCPUs", "GetCacheInfo"}), IsNewestFirst());
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, CpuWithoutMemory,
    testing::Values(
        // Deliberate: the arrays of caches and OEM strings.
        FatalCase{"Record", kRecordAllocation, Times(4, "SmbiosGetStructuresByType < MakeCPUs")},
        FatalCase{"MarketingName", kRecordAllocation + 1, {}},
        FatalCase{"Fqdd", kRecordAllocation + 2, {}},
        FatalCase{"Manufacturer", kRecordAllocation + 3, {}},
        FatalCase{"Version", kRecordAllocation + 4, {}},
        FatalCase{"Ppin", kRecordAllocation + 8, {}},
        FatalCase{"DevicePath", kRecordAllocation + 9, {}}),
    [](const auto& info) { return info.param.name; });

TEST_F(Cpus, CachesForWhichThereIsNoMemoryAreLeftOut) {
  Prepare(WholeServer());
  FailAllocation(kRecordAllocation + 6);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_NE(Value(Cpu().CacheInfo[0]), nullptr);
  EXPECT_EQ(Value(Cpu().CacheInfo[1]), nullptr);
  EXPECT_NE(Value(Cpu().CacheInfo[2]), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get L2 Cache Information"));
}

TEST_F(Cpus, StacksForWhichThereIsNoMemoryAreLeftOut) {
  Prepare(HbmTable({StackAt("CPU0_HBMIO0"), StackAt("CPU0_HBMIO1")}));
  FailAllocation(kRecordAllocation + 4);  // record, name, manufacturer, version, first stack
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Value(Cpu().HBMInfo[0]), nullptr);
  EXPECT_NE(Value(Cpu().HBMInfo[1]), nullptr);
  EXPECT_THAT(log, Contains("MakeCPUs: Failed to get HBM0 Information for cpu0"));
}

TEST_F(Cpus, ARecordIsPublishedWithoutTheEntryForWhichThereIsNoMemory) {
  Prepare(WholeServer());
  FailAllocation(kRecordAllocation + 10);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(rig.Records()[0].entryInterface, nullptr);
  EXPECT_THAT(log, Not(Contains(testing::HasSubstr("CPU Info"))));
  ExpectServes(0);
}

struct CollectionCase {
  const char* name;
  uint64_t allocation;  // the first of two
  EFI_STATUS status;
  Strings lines;
};

class CpuCollection : public Cpus, public testing::WithParamInterface<CollectionCase> {};

TEST_P(CpuCollection, ThatCannotBeHadIsAsIfNothingWereThere) {
  Prepare(WholeServer());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), GetParam().status);
  EXPECT_THAT(log, testing::IsSupersetOf(GetParam().lines));
  EXPECT_EQ(RecordCount(), GetParam().status == EFI_SUCCESS ? 1u : 0u);
  EXPECT_THAT(blocks, Not(Contains("SmbiosGetStructuresByType < MakeCPUs")));
}

INSTANTIATE_TEST_SUITE_P(
    Types, CpuCollection,
    testing::Values(
        CollectionCase{"Processors", 1, EFI_NOT_FOUND, {}},
        CollectionCase{"ProcessorSizes", 2, EFI_NOT_FOUND, {}},
        CollectionCase{"Caches", 3, EFI_SUCCESS,
                       LinesOf("MakeCPUs", {"Did not find any CACHE SMBIOS structures\n",
                                            "Found 3 CACHE SMBIOS structures\n"})},
        CollectionCase{"OemStrings", 5, EFI_SUCCESS,
                       LinesOf("MakeCPUs", {"Did not find any OEM SMBIOS structures\n"})},
        CollectionCase{"MemoryDevices", 7, EFI_SUCCESS,
                       {"error: MakeCPUs: Did not find any DIMM SMBIOS structures\n",
                        "MakeCPUs: DIMM count = 0, HBM Presence = 0\n"}},
        CollectionCase{"MemoryArrays", 9, EFI_SUCCESS,
                       {"error: MakeCPUs: Did not find any PMA SMBIOS structures\n"}}),
    [](const auto& info) { return info.param.name; });

// Both arrays of a type without structures are empty blocks.
TEST_F(Cpus, TheEmptyArraysOfMissingTypesStay) {
  ASSERT_EQ(Make(ServerWith({Processor{}.Build()})), EFI_SUCCESS);
  EXPECT_THAT(blocks, Contains("SmbiosGetStructuresByType < MakeCPUs").Times(8));
}

TEST_F(Cpus, AllArraysAreGivenBackWhenAllTypesAreThere) {
  ASSERT_EQ(Make(WholeServer()), EFI_SUCCESS);
  EXPECT_EQ(blocks, Joined({Times(5, "MakeCPUs"), Times(3, "GetCacheInfo"), Times(2, "MakeCPUs"),
                            {"MakeCPUZVEP"}}));
}

TEST_F(Cpus, ARecordThatCannotBeInstalledStaysAndTheArraysGo) {
  Prepare(WholeServer());
  FailInstall(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_ACCESS_DENIED);
  EXPECT_EQ(blocks, Joined({Times(5, "MakeCPUs"), Times(3, "GetCacheInfo"), Times(2, "MakeCPUs"),
                            {"MakeCPUZVEP"}}));
  EXPECT_THAT(log.back(), testing::StartsWith("MakeCPUZVEP: "));
}

TEST_F(Cpus, ARecordThatCannotBeOpenedIsNoFailure) {
  Prepare(WholeServer());
  rig.Firmware().FailCall(host::images::driver, host::Service::OpenProtocol, 1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
}

TEST_F(Cpus, TwoOfTheSameSocketEndTheBuilderAndTheFirstKeepsServing) {
  EXPECT_EQ(Make(ServerWith({Designated("CPU1").Build(), Designated("CPU1").Build(),
                             Designated("CPU2").Build()})),
            EFI_ALREADY_STARTED);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
  EXPECT_EQ(NameOf(), "CPU 1");
  EXPECT_THAT(log, Not(Contains("MakeCPUs: Leaving MakeCPUs\n")));
}

TEST_F(Cpus, RecordsBeforeTheOneThatFailsKeepServing) {
  Prepare(ServerWith({Designated("CPU1").Build(), Designated("CPU2").Build()}));
  FailAllocation(kRecordAllocation + 6);  // six blocks of the first, the second's record
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectServes(0);
}

}  // namespace
}  // namespace tvq::test
