/*
 * The configuration document of a processor.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstdio>
#include <cstring>

#include "tests/unit/shared/dirty_stack.h"
#include "tests/unit/driver/uefi/document_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class CpuDocument : public DocumentTest {
 protected:
  CpuDocument() : mRecord(NewRecord(TVQ_DEVICE_TYPE_CPU)), mCpu(mRecord->device.cpu) {}

  // A processor of which everything is known but caches and HBM.
  void Fill();
  void FillHbm();

  smTVQ* mRecord;
  TVQ_CPU& mCpu;
  CACHE_INFO mCaches[3] = {};
  HBM_INFO mStacks[4] = {};
};

void CpuDocument::Fill() {
  mRecord->device.generic.MarketingName = Wide(u"Core Works Model 8");
  mCpu.Socket = 1;
  mCpu.CoreCount = 28;
  mCpu.ProcessorFamily = 0xB3;
  mCpu.CurrentSpeed = 2400;
  mCpu.MaxSpeed = 4000;
  mCpu.ExternalClock = 100;
  mCpu.Status = 0x41;
  mCpu.ThreadCount = 56;
  mCpu.EnabledCoreCount = 24;
  mCpu.Voltage = 0x92;
  mCpu.ProcessorCharacteristics = 0xFC;
  mCpu.ProcessorManufacturer = Wide(u"Core Works");
  mCpu.ProcessorVersion = Wide(u"Core Works Model 8   ");
  mCpu.ProcessorID = 0xBFEBFBFF000606A6;
  mCpu.PPIN = Wide(u"1122334455667788");
}

void CpuDocument::FillHbm() {
  mCpu.HBMPresence = 1;
  mCpu.HBMOnlyMode = 1;
  mCpu.HBMMaxCapacity = 0x4000000;
  mCpu.HBMLocation = 3;
  mCpu.HBMErrorCorrectionType = 6;
  for (int i = 0; i < 4; ++i) {
    const UINT64 bytes = 1000 * (i + 1);
    mStacks[i] = {static_cast<UINT16>(16384 + i),
                  bytes + 1,
                  bytes + 2,
                  bytes + 3,
                  static_cast<UINT16>(3200 + i),
                  static_cast<UINT8>(0x20 + i)};
    mCpu.HBMInfo[i] = &mStacks[i];
  }
}

constexpr char kInventory[] =
    "<MarketingName>Core Works Model 8</MarketingName>"
    "<Identifier><CPULocation>CPU1</CPULocation></Identifier>";

// What comes before the first element that depends on HBM.
constexpr char kCommonData[] =
    "<ProcessorFamily>B3</ProcessorFamily>"
    "<ProcessorManufacturer>Core Works</ProcessorManufacturer>"
    "<ProcessorVersion>Model 106 Stepping 6</ProcessorVersion>"
    "<PPIN>1122334455667788</PPIN>"
    "<Voltage>146</Voltage>"
    "<CurrentSpeed>2400</CurrentSpeed>"
    "<MaxSpeed>4000</MaxSpeed>"
    "<ExternalClock>100</ExternalClock>"
    "<Status>65</Status>"
    "<CoreCount>28</CoreCount>"
    "<EnabledCoreCount>24</EnabledCoreCount>"
    "<ThreadCount>56</ThreadCount>"
    "<ProcessorCharacteristics>252</ProcessorCharacteristics>"
    "<IdentificationRegisters>0x000606A6</IdentificationRegisters>"
    "<ProcessorEffectiveFamily>6</ProcessorEffectiveFamily>"
    "<ProcessorEffectiveModel>0x6A</ProcessorEffectiveModel>"
    "<ProcessorStep>6</ProcessorStep>";

TEST_F(CpuDocument, HasAllOfAProcessorWithoutCachesAndHbm) {
  Fill();
  EXPECT_EQ(DocumentOf(mRecord), Document(kInventory, std::string("<cpuData>") + kCommonData +
                                                          "<HBMPresence>0</HBMPresence>"
                                                          "</cpuData>"));
}

TEST_F(CpuDocument, HasAllOfAProcessorWithCachesAndHbm) {
  Fill();
  FillHbm();
  mCaches[0] = {0, 0x0180, 0, 0x0380, 0x0381, 0, 0x0020, 1, 4, 5, 7};
  mCaches[1] = {1, 0x0181, 0x20, 0x7000, 0x7001, 0, 0x0021, 2, 5, 6, 8};
  mCaches[2] = {2, 0x0182, 0x60, 0x9333, 0x9334, 0, 0x0022, 3, 6, 7, 9};
  for (int i = 0; i < 3; ++i) {
    mCpu.CacheInfo[i] = &mCaches[i];
  }
  EXPECT_EQ(DocumentOf(mRecord),
            Document(kInventory, std::string("<cpuData>") + kCommonData +
                                     "<HBMPresence>1</HBMPresence>"
                                     "<HBMOnlyMode>1</HBMOnlyMode>"
                                     "<HBMMaxCapacity>67108864</HBMMaxCapacity>"
                                     "<HBMLocation>3</HBMLocation>"
                                     "<HBMErrorCorrectionType>6</HBMErrorCorrectionType>"
                                     "<CacheData>"
                                     "<CacheLevel>L1</CacheLevel>"
                                     "<CacheLocation>Internal</CacheLocation>"
                                     "<CacheConfiguration>384</CacheConfiguration>"
                                     "<MaximumSize>896</MaximumSize>"
                                     "<InstalledSize>897</InstalledSize>"
                                     "<CurrentSRAMType>32</CurrentSRAMType>"
                                     "<CacheSpeed>1</CacheSpeed>"
                                     "<ErrorCorrectionType>4</ErrorCorrectionType>"
                                     "<SystemCacheType>5</SystemCacheType>"
                                     "<Associativity>7</Associativity>"
                                     "</CacheData>"
                                     "<CacheData>"
                                     "<CacheLevel>L2</CacheLevel>"
                                     "<CacheLocation>External</CacheLocation>"
                                     "<CacheConfiguration>385</CacheConfiguration>"
                                     "<MaximumSize>28672</MaximumSize>"
                                     "<InstalledSize>28673</InstalledSize>"
                                     "<CurrentSRAMType>33</CurrentSRAMType>"
                                     "<CacheSpeed>2</CacheSpeed>"
                                     "<ErrorCorrectionType>5</ErrorCorrectionType>"
                                     "<SystemCacheType>6</SystemCacheType>"
                                     "<Associativity>8</Associativity>"
                                     "</CacheData>"
                                     "<CacheData>"
                                     "<CacheLevel>L3</CacheLevel>"
                                     "<CacheLocation>Unknown</CacheLocation>"
                                     "<CacheConfiguration>386</CacheConfiguration>"
                                     "<MaximumSize>37683</MaximumSize>"
                                     "<InstalledSize>37684</InstalledSize>"
                                     "<CurrentSRAMType>34</CurrentSRAMType>"
                                     "<CacheSpeed>3</CacheSpeed>"
                                     "<ErrorCorrectionType>6</ErrorCorrectionType>"
                                     "<SystemCacheType>7</SystemCacheType>"
                                     "<Associativity>9</Associativity>"
                                     "</CacheData>"
                                     "<HBMData>"
                                     "<Size>16384</Size>"
                                     "<MemoryType>32</MemoryType>"
                                     "<Speed>3200</Speed>"
                                     "<NonVolatileSize>1001</NonVolatileSize>"
                                     "<VolatileSize>1002</VolatileSize>"
                                     "<CacheSize>1003</CacheSize>"
                                     "</HBMData>"
                                     "<HBMData>"
                                     "<Size>16385</Size>"
                                     "<MemoryType>33</MemoryType>"
                                     "<Speed>3201</Speed>"
                                     "<NonVolatileSize>2001</NonVolatileSize>"
                                     "<VolatileSize>2002</VolatileSize>"
                                     "<CacheSize>2003</CacheSize>"
                                     "</HBMData>"
                                     "<HBMData>"
                                     "<Size>16386</Size>"
                                     "<MemoryType>34</MemoryType>"
                                     "<Speed>3202</Speed>"
                                     "<NonVolatileSize>3001</NonVolatileSize>"
                                     "<VolatileSize>3002</VolatileSize>"
                                     "<CacheSize>3003</CacheSize>"
                                     "</HBMData>"
                                     "<HBMData>"
                                     "<Size>16387</Size>"
                                     "<MemoryType>35</MemoryType>"
                                     "<Speed>3203</Speed>"
                                     "<NonVolatileSize>4001</NonVolatileSize>"
                                     "<VolatileSize>4002</VolatileSize>"
                                     "<CacheSize>4003</CacheSize>"
                                     "</HBMData>"
                                     "</cpuData>"));
}

TEST_F(CpuDocument, HasEmptyElementsForMissingTexts) {
  EXPECT_EQ(DocumentOf(mRecord),
            Document("<MarketingName></MarketingName>"
                     "<Identifier><CPULocation>CPU0</CPULocation></Identifier>",
                     "<cpuData>"
                     "<ProcessorFamily>0</ProcessorFamily>"
                     "<ProcessorManufacturer></ProcessorManufacturer>"
                     "<ProcessorVersion>Model 0 Stepping 0</ProcessorVersion>"
                     "<PPIN></PPIN>"
                     "<Voltage>0</Voltage>"
                     "<CurrentSpeed>0</CurrentSpeed>"
                     "<MaxSpeed>0</MaxSpeed>"
                     "<ExternalClock>0</ExternalClock>"
                     "<Status>0</Status>"
                     "<CoreCount>0</CoreCount>"
                     "<EnabledCoreCount>0</EnabledCoreCount>"
                     "<ThreadCount>0</ThreadCount>"
                     "<ProcessorCharacteristics>0</ProcessorCharacteristics>"
                     "<IdentificationRegisters>0x00000000</IdentificationRegisters>"
                     "<ProcessorEffectiveFamily>0</ProcessorEffectiveFamily>"
                     "<ProcessorEffectiveModel>0x0</ProcessorEffectiveModel>"
                     "<ProcessorStep>0</ProcessorStep>"
                     "<HBMPresence>0</HBMPresence>"
                     "</cpuData>"));
}

TEST_F(CpuDocument, LeavesEmptyWhatThePlatformCannotPrint) {
  mHarness.platform.library.AsciiVSPrint = [](CHAR8*, UINTN, const CHAR8*, VA_LIST)
                                               EFIAPI { return UINTN{0}; };
  DirtyTheStack();
  EXPECT_THAT(Values(mRecord, "CoreCount"), ElementsAre(""));
  EXPECT_THAT(Values(mRecord, "MaxSpeed"), ElementsAre(""));
  EXPECT_THAT(TakeLog(), testing::Contains("getConfigBlob: corecount: \n"));
}

TEST_F(CpuDocument, PrintsTheLargestValues) {
  const UINT8 kByte = 0xFF;
  const UINT16 kWord = 0xFFFF;
  mCpu.ProcessorFamily = mCpu.Voltage = mCpu.Status = kByte;
  mCpu.CoreCount = mCpu.EnabledCoreCount = mCpu.ThreadCount = kByte;
  mCpu.CurrentSpeed = mCpu.MaxSpeed = mCpu.ExternalClock = mCpu.ProcessorCharacteristics = kWord;
  mCpu.ProcessorID = 0xFFFFFFFFFFFFFFFF;
  const std::pair<const char*, const char*> values[] = {
      {"ProcessorFamily", "FF"},
      {"ProcessorVersion", "Model 255 Stepping 15"},
      {"Voltage", "255"},
      {"CurrentSpeed", "65535"},
      {"MaxSpeed", "65535"},
      {"ExternalClock", "65535"},
      {"Status", "255"},
      {"CoreCount", "255"},
      {"EnabledCoreCount", "255"},
      {"ThreadCount", "255"},
      {"ProcessorCharacteristics", "65535"},
      {"IdentificationRegisters", "0xFFFFFFFF"},
      {"ProcessorEffectiveFamily", "255"},
      {"ProcessorEffectiveModel", "0xFF"},
      {"ProcessorStep", "15"}};
  for (const auto& [element, value] : values) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre(value)) << element;
  }
}

struct Signature {
  UINT32 id;
  const char* version;
  const char* family;
  const char* model;
  const char* stepping;
};

class CpuSignature : public CpuDocument, public testing::WithParamInterface<Signature> {};

// The extended family is OR-ed onto the family, deliberately, where other tools add them: 0x00A20F10 gives 15 and not 25.
TEST_P(CpuSignature, GivesFamilyModelAndStepping) {
  mCpu.ProcessorID = 0x1234567800000000 | GetParam().id;
  EXPECT_THAT(Values(mRecord, "ProcessorVersion"), ElementsAre(GetParam().version));
  EXPECT_THAT(Values(mRecord, "ProcessorEffectiveFamily"), ElementsAre(GetParam().family));
  EXPECT_THAT(Values(mRecord, "ProcessorEffectiveModel"), ElementsAre(GetParam().model));
  EXPECT_THAT(Values(mRecord, "ProcessorStep"), ElementsAre(GetParam().stepping));
}

INSTANTIATE_TEST_SUITE_P(
    Of, CpuSignature,
    testing::Values(Signature{0x000606A6, "Model 106 Stepping 6", "6", "0x6A", "6"},
                    Signature{0x00A20F10, "Model 33 Stepping 0", "15", "0x21", "0"},
                    Signature{0x0FF00000, "Model 0 Stepping 0", "255", "0x0", "0"},
                    Signature{0x01200300, "Model 0 Stepping 0", "19", "0x0", "0"},
                    Signature{0x000F00F0, "Model 255 Stepping 0", "0", "0xFF", "0"},
                    Signature{0xF000F00F, "Model 0 Stepping 15", "0", "0x0", "15"}),
    [](const testing::TestParamInfo<Signature>& info) {
      char name[16];
      std::snprintf(name, sizeof(name), "%08X", static_cast<unsigned>(info.param.id));
      return std::string(name);
    });

// The location is "CPU" and the one character that is the digit zero plus the socket number.
TEST_F(CpuDocument, LocatesTheProcessorByOneCharacter) {
  const std::pair<UINT8, const char*> locations[] = {{0, "CPU0"},  {9, "CPU9"},   {10, "CPU:"},
                                                     {17, "CPUA"}, {0xD0, "CPU"}, {0xFF, "CPU/"}};
  for (const auto& [socket, location] : locations) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    record->device.cpu.Socket = socket;
    EXPECT_THAT(Values(record, "CPULocation"), ElementsAre(location));
  }
}

TEST_F(CpuDocument, KeepsAtMost127CharactersOfAText) {
  for (size_t length : {126, 127, 128, 1000}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    record->device.generic.MarketingName = Wide(std::u16string(length, u'm'));
    record->device.cpu.ProcessorManufacturer = Wide(std::u16string(length, u'p'));
    const size_t kept = std::min<size_t>(length, 127);
    EXPECT_THAT(Values(record, "MarketingName"), ElementsAre(std::string(kept, 'm')));
    EXPECT_THAT(Values(record, "ProcessorManufacturer"), ElementsAre(std::string(kept, 'p')));
  }
}

TEST_F(CpuDocument, NarrowsEachCharacterToItsLowByteAndEscapesNone) {
  mRecord->device.generic.MarketingName = Wide(u"\u0141<&>\"'\uFFE9");
  mCpu.ProcessorManufacturer = Wide(u"</ProcessorVersion>\u0001");
  mCpu.PPIN = Wide(u"\u0130\uFFFF&");
  EXPECT_THAT(Values(mRecord, "MarketingName"), ElementsAre("A<&>\"'\xE9"));
  EXPECT_THAT(Values(mRecord, "ProcessorManufacturer"), ElementsAre("</ProcessorVersion>\x01"));
  EXPECT_THAT(Values(mRecord, "PPIN"), ElementsAre("0\xFF&"));
}

TEST_F(CpuDocument, HasNoPlaceForTheUntrimmedVersionAndTheFqdd) {
  mCpu.ProcessorVersion = Wide(u"not shown");
  mCpu.FQDD = Wide(u"not shown");
  mRecord->device.generic.WWN = Wide(u"not shown");
  EXPECT_EQ(DocumentOf(mRecord).find("not shown"), std::string::npos);
}

TEST_F(CpuDocument, LeavesOutCacheLevelsThatAreNotDescribed) {
  for (int absent = 0; absent < 3; ++absent) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    std::vector<std::string> expected;
    for (int i = 0; i < 3; ++i) {
      mCaches[i].MaximumSize = static_cast<UINT16>(100 + i);
      record->device.cpu.CacheInfo[i] = i == absent ? nullptr : &mCaches[i];
      if (i != absent) {
        expected.push_back(std::to_string(100 + i));
      }
    }
    EXPECT_EQ(Values(record, "MaximumSize"), expected);
  }
}

TEST_F(CpuDocument, NamesCacheLevelAndLocationByTheirWords) {
  const std::pair<UINT16, const char*> levels[] = {
      {0, "L1"}, {1, "L2"}, {2, "L3"}, {3, "L3"}, {7, "L3"}, {0x100, "L3"}, {0xFFFF, "L3"}};
  for (const auto& [word, name] : levels) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    mCaches[0].CacheLevel = word;
    record->device.cpu.CacheInfo[2] = &mCaches[0];
    EXPECT_THAT(Values(record, "CacheLevel"), ElementsAre(name));
  }
  const std::pair<UINT16, const char*> locations[] = {{0, "Internal"},   {0x20, "External"},
                                                      {0x40, "Unknown"}, {0x60, "Unknown"},
                                                      {1, "Unknown"},    {0x2000, "Unknown"}};
  for (const auto& [word, name] : locations) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    mCaches[0].CacheLocation = word;
    record->device.cpu.CacheInfo[0] = &mCaches[0];
    EXPECT_THAT(Values(record, "CacheLocation"), ElementsAre(name));
  }
}

TEST_F(CpuDocument, PrintsTheLargestCacheValues) {
  std::memset(&mCaches[0], 0xFF, sizeof(mCaches[0]));
  mCpu.CacheInfo[0] = &mCaches[0];
  for (const char* word :
       {"CacheConfiguration", "MaximumSize", "InstalledSize", "CurrentSRAMType"}) {
    EXPECT_THAT(Values(mRecord, word), ElementsAre("65535")) << word;
  }
  for (const char* byte :
       {"CacheSpeed", "ErrorCorrectionType", "SystemCacheType", "Associativity"}) {
    EXPECT_THAT(Values(mRecord, byte), ElementsAre("255")) << byte;
  }
}

TEST_F(CpuDocument, ShowsHbmOnlyWhenItsPresenceIsOne) {
  FillHbm();
  for (UINT8 presence : std::initializer_list<UINT8>{0, 2, 255}) {
    smTVQ* record = NewRecord(TVQ_DEVICE_TYPE_CPU);
    record->device = mRecord->device;
    record->device.cpu.HBMPresence = presence;
    EXPECT_THAT(Values(record, "HBMPresence"), ElementsAre(std::to_string(presence)));
    for (const char* element :
         {"HBMOnlyMode", "HBMMaxCapacity", "HBMLocation", "HBMErrorCorrectionType", "HBMData"}) {
      EXPECT_THAT(Values(record, element), IsEmpty()) << element;
    }
  }
}

TEST_F(CpuDocument, LeavesOutHbmStacksThatAreNotThere) {
  FillHbm();
  mCpu.HBMInfo[1] = nullptr;
  mCpu.HBMInfo[3] = nullptr;
  EXPECT_THAT(Values(mRecord, "Size"), ElementsAre("16384", "16386"));
}

TEST_F(CpuDocument, PrintsTheLargestHbmValuesWithoutASign) {
  FillHbm();
  mCpu.HBMOnlyMode = mCpu.HBMLocation = mCpu.HBMErrorCorrectionType = 255;
  mCpu.HBMMaxCapacity = 0xFFFFFFFF;
  mCpu.HBMInfo[1] = mCpu.HBMInfo[2] = mCpu.HBMInfo[3] = nullptr;
  std::memset(&mStacks[0], 0xFF, sizeof(mStacks[0]));
  const std::pair<const char*, const char*> values[] = {{"HBMOnlyMode", "255"},
                                                        {"HBMMaxCapacity", "4294967295"},
                                                        {"HBMLocation", "255"},
                                                        {"HBMErrorCorrectionType", "255"},
                                                        {"Size", "65535"},
                                                        {"MemoryType", "255"},
                                                        {"Speed", "65535"},
                                                        {"NonVolatileSize", "18446744073709551615"},
                                                        {"VolatileSize", "18446744073709551615"},
                                                        {"CacheSize", "18446744073709551615"}};
  for (const auto& [element, value] : values) {
    EXPECT_THAT(Values(mRecord, element), ElementsAre(value)) << element;
  }
}

TEST_F(CpuDocument, LogsTheCoreCount) {
  mCpu.CoreCount = 28;
  DocumentOf(mRecord);
  const std::vector<std::string> log = TakeLog();
  ASSERT_EQ(log.size(), 6u);
  EXPECT_EQ(log[0], "getConfigBlob: Creating SMBIOS XML\n");
  EXPECT_EQ(log[1], "getConfigBlob: tvq->device.cpu.CoreCount: 28\n");
  EXPECT_EQ(log[2], "getConfigBlob: corecount: 28\n");
  EXPECT_EQ(log[3], "getConfigBlob: GetInstance SMBIOS Current Values\n");
}

}  // namespace
}  // namespace tvq::test
