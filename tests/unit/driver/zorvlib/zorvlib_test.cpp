/*
 * The library between driver and platform: its handle, the wrappers over the ZVI table, and the
 * pool helpers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {
namespace {

using host::Service;
using host::images::driver;
using testing::ElementsAre;
using testing::IsEmpty;

// An image whose constructors ran, before its entry point.
class ZorvLib : public testing::Test {
 protected:
  void Load(DriverHarness& harness) {
    harness.Firmware().ConstructImage(harness.Firmware().LoadImage(driver));
  }

  EFI_STATUS Initialize(DriverHarness& harness) {
    return ZorvLibInitialize(harness.ImageHandle(), harness.Firmware().SystemTableOf(driver));
  }
};

// --- Initialisation ---

TEST_F(ZorvLib, CollectsTheTablesOfTheSystemAndThePlatform) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(Initialize(harness), EFI_SUCCESS);
  const EFI_SYSTEM_TABLE* const system = harness.Firmware().SystemTableOf(driver);
  ASSERT_NE(gZV, nullptr);
  EXPECT_EQ(gZV->BS, system->BootServices);
  EXPECT_EQ(gZV->RT, system->RuntimeServices);
  EXPECT_EQ(gZV->ST, system);
  EXPECT_EQ(gZV->Services, &harness.platform.services);
  EXPECT_EQ(gZV->Aux, &harness.platform.aux);
  EXPECT_EQ(gZV->ZVI, &harness.platform.library);
}

TEST_F(ZorvLib, LivesInBootServicesData) {
  DriverHarness harness;
  Load(harness);
  ASSERT_EQ(Initialize(harness), EFI_SUCCESS);
  const auto block = harness.Memory().Find(gZV);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 48u);
  EXPECT_EQ(block->type, EfiBootServicesData);
}

TEST_F(ZorvLib, NeedsMemoryForItsHandle) {
  DriverHarness harness;
  Load(harness);
  harness.FailAllocation();
  EXPECT_EQ(Initialize(harness), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(gZV, nullptr);
}

TEST_F(ZorvLib, NeedsTheServicesTableBeforeItLooksForProtocols) {
  DriverHarness harness({Part::kServices});
  Load(harness);
  EXPECT_EQ(Initialize(harness), EFI_NOT_FOUND);
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::LocateProtocol), 0u);
  EXPECT_THAT(harness.Blocks(), IsEmpty()) << "the handle is freed";
  EXPECT_NE(gZV, nullptr) << "and keeps its value";
}

TEST_F(ZorvLib, NeedsTheAuxiliaryProtocolBeforeTheLibraryTable) {
  DriverHarness harness({Part::kAux, Part::kLibrary});
  Load(harness);
  EXPECT_EQ(Initialize(harness), EFI_NOT_FOUND);
  EXPECT_EQ(harness.Firmware().Calls(driver, Service::LocateProtocol), 1u);
  EXPECT_THAT(harness.Blocks(), IsEmpty()) << "the handle is freed";
  EXPECT_NE(gZV, nullptr) << "and keeps its value";
}

TEST_F(ZorvLib, ReturnsTheStatusOfTheAuxiliaryProtocolsLookUp) {
  DriverHarness harness;
  Load(harness);
  harness.Firmware().FailCall(driver, Service::LocateProtocol, 1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Initialize(harness), EFI_ACCESS_DENIED);
  EXPECT_THAT(harness.Blocks(), IsEmpty());
}

TEST_F(ZorvLib, KeepsItsHandleWhenTheLibraryTableIsMissing) {
  DriverHarness harness({Part::kLibrary});
  Load(harness);
  EXPECT_EQ(Initialize(harness), EFI_NOT_FOUND);
  ASSERT_NE(gZV, nullptr);
  EXPECT_TRUE(harness.Memory().Find(gZV));
  EXPECT_EQ(gZV->ZVI, nullptr);
  EXPECT_EQ(gZV->Aux, &harness.platform.aux);
}

TEST_F(ZorvLib, ReturnsTheStatusOfTheLibraryTablesLookUp) {
  DriverHarness harness;
  Load(harness);
  harness.Firmware().FailCall(driver, Service::LocateProtocol, 2, EFI_UNSUPPORTED);
  EXPECT_EQ(Initialize(harness), EFI_UNSUPPORTED);
  EXPECT_TRUE(harness.Memory().Find(gZV));
}

// A configuration table of the test's own, with what firmware would not put there.
class ZorvLibServicesTable : public ZorvLib {
 protected:
  EFI_STATUS InitializeWith(DriverHarness& harness, std::vector<EFI_CONFIGURATION_TABLE> entries) {
    EFI_SYSTEM_TABLE system = *harness.Firmware().SystemTableOf(driver);
    system.ConfigurationTable = entries.data();
    system.NumberOfTableEntries = entries.size();
    return ZorvLibInitialize(harness.ImageHandle(), &system);
  }
};

TEST_F(ZorvLibServicesTable, IsTheLastOneOfItsGuid) {
  DriverHarness harness;
  Load(harness);
  ZV_SERVICES_TABLE first;
  ZV_SERVICES_TABLE last;
  ASSERT_EQ(InitializeWith(harness, {{gZvServicesTableGuid, &first},
                                     {gEfiSmbiosTableGuid, &harness},
                                     {gZvServicesTableGuid, &last},
                                     {gEfiSmbios3TableGuid, &harness}}),
            EFI_SUCCESS);
  EXPECT_EQ(gZV->Services, &last);
}

TEST_F(ZorvLibServicesTable, IsFoundByAllSixteenBytesOfItsGuid) {
  for (size_t different = 0; different < sizeof(EFI_GUID); ++different) {
    DriverHarness harness;
    Load(harness);
    EFI_GUID other = gZvServicesTableGuid;
    reinterpret_cast<UINT8*>(&other)[different] ^= 0x80;
    EXPECT_EQ(InitializeWith(harness, {{other, &harness.platform.services}}), EFI_NOT_FOUND)
        << "byte " << different;
  }
}

TEST_F(ZorvLibServicesTable, IsMissingFromAnEmptyConfigurationTable) {
  DriverHarness harness;
  Load(harness);
  EXPECT_EQ(InitializeWith(harness, {}), EFI_NOT_FOUND);
}

// --- The wrappers ---

// What a spy in the table was called with, and what it answers.
std::vector<UINT64> gArguments;
constexpr UINT64 kAnswer = 0x4142434445464748;

template <typename Value>
UINT64 Word(Value value) {
  UINT64 word = 0;
  std::memcpy(&word, &value, sizeof(value));
  return word;
}

// Notes its arguments and answers kAnswer.
template <typename Result, typename... Values>
Result EFIAPI Spy(Values... values) {
  gArguments = {Word(values)...};
  if constexpr (!std::is_void_v<Result>) {
    return (Result)kAnswer;
  }
}

template <typename Result, typename... Values>
void SpyOn(Result(EFIAPI*& entry)(Values...)) {
  entry = Spy<Result, Values...>;
}

ZV_LIBRARY_PROTOCOL MakeSpies() {
  ZV_LIBRARY_PROTOCOL table = {};
  SpyOn(table.CopyMem);
  SpyOn(table.AsciiStrLen);
  SpyOn(table.AsciiStrCmp);
  SpyOn(table.AsciiStrnCmp);
  SpyOn(table.AsciiStrCpyS);
  SpyOn(table.AsciiStrnCpyS);
  SpyOn(table.AsciiStrStr);
  SpyOn(table.AsciiStrTrim);
  SpyOn(table.AsciiStrToUint);
  SpyOn(table.StrLen);
  SpyOn(table.StrCmp);
  SpyOn(table.StrTrim);
  table.AsciiVSPrint = [](CHAR8* buffer, UINTN size, const CHAR8* format, VA_LIST) EFIAPI -> UINTN {
    gArguments = {Word(buffer), size, Word(format)};
    return kAnswer;
  };
  return table;
}

CHAR8 gNarrow[] = "narrow";
CHAR8 gOther[] = "other";
CHAR16 gWide[] = {'w', 'i', 'd', 'e', 0};
CHAR16 gOtherWide[] = {'o', 0};

UINTN EFIAPI CallVSPrint(CHAR8* buffer, ...) {
  VA_LIST marker;
  VA_START(marker, buffer);
  const UINTN result = ZvAsciiVSPrint(buffer, 11, gOther, marker);
  VA_END(marker);
  return result;
}

struct Wrapper {
  const char* name;
  std::function<UINT64()> call;
  std::vector<UINT64> arguments;
  UINT64 answer = kAnswer;
};

UINT64 AfterCalling(const std::function<void()>& call) {
  call();
  return 0;
}

std::vector<Wrapper> Wrappers() {
  const UINT64 narrow = Word(&gNarrow[0]);
  const UINT64 other = Word(&gOther[0]);
  const UINT64 wide = Word(&gWide[0]);
  const UINT64 otherWide = Word(&gOtherWide[0]);
  return {
      {"CopyMem",
       [] { return AfterCalling([] { ZvCopyMem(gNarrow, gOther, 5); }); },
       {narrow, other, 5},
       0},
      {"AsciiSPrint", [] { return ZvAsciiSPrint(gNarrow, 9, gOther, 1, 2); }, {narrow, 9, other}},
      {"AsciiStrLen", [] { return ZvAsciiStrLen(gNarrow); }, {narrow}},
      {"AsciiStrCmp", [] { return Word(ZvAsciiStrCmp(gNarrow, gOther)); }, {narrow, other}},
      {"AsciiStrnCmp", [] { return Word(ZvAsciiStrnCmp(gNarrow, gOther, 3)); }, {narrow, other, 3}},
      {"AsciiStrCpyS", [] { return ZvAsciiStrCpyS(gNarrow, 7, gOther); }, {narrow, 7, other}},
      {"AsciiStrnCpyS",
       [] { return ZvAsciiStrnCpyS(gNarrow, 7, gOther, 2); },
       {narrow, 7, other, 2}},
      {"AsciiStrStr", [] { return Word(ZvAsciiStrStr(gNarrow, gOther)); }, {narrow, other}},
      {"AsciiStrTrim",
       [] { return AfterCalling([] { ZvAsciiStrTrim(gNarrow, ' '); }); },
       {narrow, ' '},
       0},
      {"AsciiStrToUint", [] { return ZvAsciiStrToUint(gNarrow, 16); }, {narrow, 16}},
      {"AsciiDecimalToUint", [] { return ZvAsciiDecimalToUint(gNarrow); }, {narrow, 10}},
      {"StrLen", [] { return ZvStrLen(gWide); }, {wide}},
      {"StrCmp", [] { return Word(ZvStrCmp(gWide, gOtherWide)); }, {wide, otherWide}},
      {"StrTrim", [] { return AfterCalling([] { ZvStrTrim(gWide, ' '); }); }, {wide, ' '}, 0},
  };
}

class ZorvLibWrapper : public ZorvLib {
 protected:
  void ExpectAssertion(DriverHarness& harness, const char* wrapper, const char* text) {
    const std::vector<host::Assertion> assertions = harness.Firmware().TakeAssertions();
    ASSERT_EQ(assertions.size(), 1u) << wrapper;
    EXPECT_EQ(assertions[0].text, text) << wrapper;
    EXPECT_EQ(assertions[0].file, "Library/ZorvLib/stubs") << wrapper;
    EXPECT_EQ(assertions[0].image, "driver") << wrapper;
  }

  void ExpectEveryWrapperToRefuse(DriverHarness& harness, const char* text) {
    for (const Wrapper& wrapper : Wrappers()) {
      EXPECT_EQ(wrapper.call(), 0u) << wrapper.name;
      ExpectAssertion(harness, wrapper.name, text);
    }
    EXPECT_EQ(CallVSPrint(gNarrow), 0u);
    ExpectAssertion(harness, "AsciiVSPrint", text);
  }
};

TEST_F(ZorvLibWrapper, CallsTheEntryOfTheTableWithItsArguments) {
  DriverHarness harness;
  harness.platform.library = MakeSpies();
  harness.Construct();
  for (const Wrapper& wrapper : Wrappers()) {
    gArguments.clear();
    // A 32-bit argument or a character stands in the lowest bytes.
    EXPECT_EQ(wrapper.call(), wrapper.answer) << wrapper.name;
    EXPECT_EQ(gArguments, wrapper.arguments) << wrapper.name;
  }
  EXPECT_EQ(CallVSPrint(gNarrow), kAnswer);
  EXPECT_THAT(gArguments, ElementsAre(Word(&gNarrow[0]), 11, Word(&gOther[0])));
}

TEST_F(ZorvLibWrapper, ChecksNoArgumentsOfItsOwn) {
  DriverHarness harness;
  harness.platform.library = MakeSpies();
  harness.Construct();
  EXPECT_EQ(ZvAsciiStrLen(nullptr), kAnswer);
  EXPECT_THAT(gArguments, ElementsAre(0));
  EXPECT_EQ(ZvAsciiStrCpyS(nullptr, 0, nullptr), kAnswer);
  EXPECT_THAT(gArguments, ElementsAre(0, 0, 0));
}

TEST_F(ZorvLibWrapper, AnswersZeroBeforeTheInitialisation) {
  DriverHarness harness;
  Load(harness);
  ExpectEveryWrapperToRefuse(harness, "gZV != ((void *) 0)");
}

TEST_F(ZorvLibWrapper, AnswersZeroWithoutTheLibraryTable) {
  DriverHarness harness({Part::kLibrary});
  Load(harness);
  ASSERT_EQ(Initialize(harness), EFI_NOT_FOUND);
  ExpectEveryWrapperToRefuse(harness, "gZV->ZVI != ((void *) 0)");
}

TEST_F(ZorvLibWrapper, AnswersZeroInSilenceWhenAssertionsAreOff) {
  DriverHarness harness;
  Load(harness);
  harness.Firmware().EnableAssertions(driver, false);
  for (const Wrapper& wrapper : Wrappers()) {
    EXPECT_EQ(wrapper.call(), 0u) << wrapper.name;
  }
  ZvFreePool(gNarrow);
  EXPECT_THAT(harness.Firmware().Assertions(), IsEmpty());
}

TEST_F(ZorvLibWrapper, PrintsTheValuesInTheCall) {
  DriverHarness harness;
  harness.Construct();
  CHAR8 buffer[16];
  EXPECT_EQ(ZvAsciiSPrint(buffer, sizeof(buffer), "CPU%d_HBMIO%d", 2, 13), 12u);
  EXPECT_STREQ(buffer, "CPU2_HBMIO13");
}

TEST_F(ZorvLibWrapper, PrintsNoMoreThanTheBufferHolds) {
  DriverHarness harness;
  harness.Construct();
  CHAR8 buffer[] = "#########";
  EXPECT_EQ(ZvAsciiSPrint(buffer, 5, "%d", 123456), 4u);
  EXPECT_STREQ(buffer, "1234");
  EXPECT_EQ(buffer[5], '#');
}

// --- Pool ---

TEST_F(ZorvLibWrapper, FreesThroughTheBootServices) {
  DriverHarness harness;
  harness.Construct();
  VOID* const block = ZvAllocateZero(8);
  ASSERT_TRUE(harness.Memory().Find(block));
  ZvFreePool(block);
  EXPECT_FALSE(harness.Memory().Find(block));
}

TEST_F(ZorvLibWrapper, FreesNothingBeforeTheInitialisation) {
  DriverHarness harness;
  Load(harness);
  ZvFreePool(gNarrow);
  ExpectAssertion(harness, "FreePool", "gZV != ((void *) 0)");
}

TEST_F(ZorvLibWrapper, FreesNothingWithoutBootServices) {
  DriverHarness harness;
  harness.Construct();
  gZV->BS = nullptr;
  ZvFreePool(gNarrow);
  ExpectAssertion(harness, "FreePool", "gZV->BS != ((void *) 0)");
}

class ZvAllocateZeroTest : public testing::Test {
 protected:
  ZvAllocateZeroTest() { mHarness.Construct(); }

  DriverHarness mHarness;
};

TEST_F(ZvAllocateZeroTest, GivesZeroedBootServicesData) {
  auto* const bytes = static_cast<UINT8*>(ZvAllocateZero(100));
  ASSERT_NE(bytes, nullptr);
  EXPECT_THAT(std::vector<UINT8>(bytes, bytes + 100), testing::Each(0));
  const auto block = mHarness.Memory().Find(bytes);
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 100u);
  EXPECT_EQ(block->type, EfiBootServicesData);
}

TEST_F(ZvAllocateZeroTest, AllocatesNothingForNoBytes) {
  const uint64_t before = mHarness.Memory().Allocations(driver);
  EXPECT_EQ(ZvAllocateZero(0), nullptr);
  EXPECT_EQ(mHarness.Memory().Allocations(driver), before);
}

TEST_F(ZvAllocateZeroTest, GivesNothingFromAnExhaustedPool) {
  mHarness.FailAllocation();
  EXPECT_EQ(ZvAllocateZero(8), nullptr);
}

TEST_F(ZorvLib, AllocatesNothingBeforeTheInitialisation) {
  DriverHarness harness;
  Load(harness);
  EXPECT_EQ(ZvAllocateZero(8), nullptr);
  EXPECT_THAT(harness.Blocks(), IsEmpty());
}

// --- Narrowing ---

class UnicodeToNewAsciiTest : public ZvAllocateZeroTest {
 protected:
  // The whole block, its terminator included.
  std::string Narrow(std::vector<CHAR16> text) {
    text.push_back(0);
    CHAR8* const ascii = UnicodeToNewAscii(text.data());
    const auto block = mHarness.Memory().Find(ascii);
    if (!block) {
      return "no block";
    }
    return std::string(ascii, block->size);
  }
};

TEST_F(UnicodeToNewAsciiTest, GivesOneByteForAnEmptyText) {
  EXPECT_EQ(Narrow({}), std::string(1, '\0'));
}

TEST_F(UnicodeToNewAsciiTest, CopiesTheText) {
  EXPECT_EQ(Narrow({'R', '2', 'D', '2'}), std::string("R2D2\0", 5));
}

TEST_F(UnicodeToNewAsciiTest, KeepsTheLowByteOfEachUnit) {
  EXPECT_EQ(Narrow({0x0141, 0xFFE9, 0x20AC}), std::string("\x41\xE9\xAC\0", 4));
}

TEST_F(UnicodeToNewAsciiTest, GoesOnPastAUnitWhoseLowByteIsZero) {
  EXPECT_EQ(Narrow({0x0100, 'B'}), std::string("\0B\0", 3));
}

TEST_F(UnicodeToNewAsciiTest, GivesNothingFromAnExhaustedPool) {
  mHarness.FailAllocation();
  CHAR16 text[] = {'A', 0};
  EXPECT_EQ(UnicodeToNewAscii(text), nullptr);
}

TEST_F(UnicodeToNewAsciiTest, MeasuresTheTextThroughTheLibraryTable) {
  mHarness.platform.library.StrLen = [](const CHAR16*) EFIAPI -> UINTN { return 6; };
  CHAR16 text[] = {'A', 0};
  CHAR8* const ascii = UnicodeToNewAscii(text);
  EXPECT_EQ(std::string(ascii, mHarness.Memory().Find(ascii)->size),
            std::string("A\0\0\0\0\0\0", 7));
}

TEST_F(UnicodeToNewAsciiTest, CopiesNoMoreThanTheLibraryTableMeasures) {
  mHarness.platform.library.StrLen = [](const CHAR16*) EFIAPI -> UINTN { return 2; };
  EXPECT_EQ(Narrow({'R', '2', 'D', '2'}), std::string("R2\0", 3));
}
}  // namespace
}  // namespace tvq::test
