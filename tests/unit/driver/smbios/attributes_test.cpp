/*
 * The named attributes: texts of the system, and the record about the firmware.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/attributes.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"

namespace tvq::test {
namespace {

using host::images::driver;

constexpr UINT64 kUntouched = 0x5A5A5A5A5A5A5A5A;

class AttributesTest : public SmbiosTest {
 protected:
  // Asks one of the getters and keeps the value.
  EFI_STATUS Get(ZV_ATTRIBUTE_GETTER getter, const char16_t* space, const char16_t* name) {
    mValue = kUntouched;
    return getter(Ucs2(space), name == nullptr ? nullptr : Ucs2(name), &mValue);
  }

  EFI_STATUS GetServer(const char16_t* name) {
    return Get(ServerAttributeGet, u"zorv.server", name);
  }

  std::string Value() const { return Utf8(reinterpret_cast<const CHAR16*>(mValue)); }

  // The driver's blocks since the table was located.
  size_t NewBlocks() { return mHarness.Blocks().size() - mBefore; }

  void UseTable(const Table& table) {
    Use(table);
    mBefore = mHarness.Blocks().size();
  }

  UINT64 mValue = kUntouched;
  size_t mBefore = 0;
};

Table WithSystem(const System& system) {
  return Table::Of(system, End{});
}

// --- zorv.server ---

TEST_F(AttributesTest, ServerNeedsNamespaceAndName) {
  UseTable(MinimalServer());
  EXPECT_EQ(GetServer(nullptr), EFI_NOT_FOUND);
  EXPECT_EQ(ServerAttributeGet(nullptr, Ucs2(u"SMBIOSServiceTagString"), &mValue), EFI_NOT_FOUND);
  EXPECT_EQ(mValue, kUntouched);
}

TEST_F(AttributesTest, ServerKnowsTwoNames) {
  UseTable(MinimalServer());
  EXPECT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_SUCCESS);
  for (const char16_t* const name : {u"", u"SMBIOSServiceTag", u"SMBIOSServiceTagString ",
                                     u"smbiosservicetagstring", u"SMBIOSBIOSInfo"}) {
    EXPECT_EQ(GetServer(name), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mValue, kUntouched);
  }
}

TEST_F(AttributesTest, ServerNeedsAPlaceForTheValue) {
  UseTable(MinimalServer());
  EXPECT_EQ(ServerAttributeGet(Ucs2(u"zorv.server"), Ucs2(u"SMBIOSServiceTagString"), nullptr),
            EFI_INVALID_PARAMETER);
}

TEST_F(AttributesTest, ServerDoesNotLookAtTheNamespacesText) {
  UseTable(MinimalServer());
  EXPECT_EQ(Get(ServerAttributeGet, u"other", u"SMBIOSServiceTagString"), EFI_SUCCESS);
}

// --- The service tag ---

TEST_F(AttributesTest, ServiceTagIsTheSystemsSerialNumber) {
  UseTable(WithSystem({.serial = "ABC1234"}));
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  EXPECT_EQ(Value(), "ABC1234");
}

TEST_F(AttributesTest, ServiceTagBelongsToTheCaller) {
  UseTable(WithSystem({.serial = "ABC1234"}));
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  const auto block = mHarness.Memory().Find(reinterpret_cast<VOID*>(mValue));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 16u);
  EXPECT_EQ(block->type, EfiBootServicesData);
  const UINT64 first = mValue;
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  EXPECT_NE(mValue, first) << "each answer is a text of its own";
}

TEST_F(AttributesTest, ServiceTagIsWidenedWithSignExtension) {
  UseTable(WithSystem({.serial = "\x7F\x80\xFF"}));
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  const auto* const text = reinterpret_cast<const CHAR16*>(mValue);
  EXPECT_EQ(text[0], 0x007F);
  EXPECT_EQ(text[1], 0xFF80);
  EXPECT_EQ(text[2], 0xFFFF);
  EXPECT_EQ(text[3], 0);
}

TEST_F(AttributesTest, ServiceTagLeavesTheCollectedArraysAllocated) {
  UseTable(WithSystem({}));
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  EXPECT_EQ(NewBlocks(), 3u);
  EXPECT_EQ(mHarness.BlocksFrom("GetServiceTagString").size(), 3u);
}

TEST_F(AttributesTest, ServiceTagNeedsExactlyOneSystem) {
  const Table none = Table::Of(End{});
  const Table two = Table::Of(WithSystem({}), System{});
  for (const Table& table : {none, two, Table()}) {
    UseTable(table);
    EXPECT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_NOT_FOUND);
    EXPECT_EQ(mValue, kUntouched);
  }
}

TEST_F(AttributesTest, ServiceTagNeedsAString) {
  Table unterminated = Table::Of(System{.sku = std::nullopt, .family = std::nullopt});
  unterminated.Chop(2);
  const Table tables[] = {
      WithSystem({.serial = std::nullopt}),
      Table::Of(System{}.Build().SetByte(7, 9)),  // a number past the last string
      Table::Of(System{}.Build().CutTo(7)),       // a formatted part that ends before the field
      unterminated,
  };
  for (const Table& table : tables) {
    UseTable(table);
    EXPECT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mValue, kUntouched);
    CHAR16 kept[] = {'k', 0};
    CHAR16* text = kept;
    EXPECT_EQ(GetServiceTagString(Ucs2(u"SMBIOSServiceTagString"), &text), EFI_INVALID_PARAMETER);
    EXPECT_EQ(text, nullptr);
  }
}

TEST_F(AttributesTest, ServiceTagCanBeAnEmptyText) {
  // Number 1 of a structure without strings is an empty text.
  UseTable(WithSystem({}));
  tvq::test::Structure system = System{}.Build().SetByte(7, 1);
  system.strings.clear();
  UseTable(Table::Of(system));
  ASSERT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_SUCCESS);
  EXPECT_EQ(Value(), "");
}

TEST_F(AttributesTest, ServiceTagNeedsMemory) {
  UseTable(WithSystem({}));
  const EFI_STATUS statuses[] = {EFI_NOT_FOUND, EFI_NOT_FOUND, EFI_OUT_OF_RESOURCES};
  for (size_t n = 0; n < std::size(statuses); ++n) {
    mHarness.FailAllocation(n + 1);
    EXPECT_EQ(GetServer(u"SMBIOSServiceTagString"), statuses[n]) << "allocation " << n + 1;
    EXPECT_EQ(mValue, kUntouched);
  }
}

TEST_F(AttributesTest, ServiceTagRoutineAnswersItsOwnNameOnly) {
  UseTable(MinimalServer());
  CHAR16* text = nullptr;
  EXPECT_EQ(GetServiceTagString(Ucs2(u"SMBIOSSystemNameString"), &text), EFI_NOT_FOUND);
  EXPECT_EQ(GetServiceTagString(nullptr, &text), EFI_NOT_FOUND);
}

// --- The system name ---

Table WithOemStrings(const std::vector<std::vector<std::string>>& structures) {
  std::vector<OemStrings> strings;
  for (const std::vector<std::string>& texts : structures) {
    strings.push_back({.texts = texts});
  }
  return Table::Of(System{.product = "Rack One"}, strings, End{});
}

TEST_F(AttributesTest, SystemNameIsTheProductName) {
  UseTable(WithSystem({.product = "Rack One"}));
  ASSERT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_SUCCESS);
  EXPECT_EQ(Value(), "Rack One");
  EXPECT_EQ(mHarness.Memory().Find(reinterpret_cast<VOID*>(mValue))->size, 18u);
}

TEST_F(AttributesTest, SystemNameIsWidenedWithSignExtension) {
  UseTable(WithSystem({.product = "\xE9"}));
  ASSERT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_SUCCESS);
  EXPECT_EQ(*reinterpret_cast<const CHAR16*>(mValue), 0xFFE9);
}

TEST_F(AttributesTest, SystemNameIsTheProductNameBesideOrdinaryOemStrings) {
  const std::vector<std::vector<std::string>> ordinary[] = {
      {{"OEM"}},
      {{"x9"}},
      {{""}},
      {{}},                     // no strings: number 1 is an empty text
      {{"a", "9 is second"}},   // the first structure is asked for its first string
      {{"a"}, {"9 is first"}},  // the second one for its second, and it has none
      {{"a"}, {"b"}, {"9", "9"}},
  };
  for (const auto& structures : ordinary) {
    UseTable(WithOemStrings(structures));
    ASSERT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_SUCCESS);
    EXPECT_EQ(Value(), "Rack One");
  }
}

TEST_F(AttributesTest, SystemNameIsWithheldWhereAnOemStringBeginsWithNine) {
  const std::vector<std::vector<std::string>> withholding[] = {
      {{"9"}},
      {{"9 Rack"}},
      {{"a"}, {"b", "9 Rack"}},
      {{"a"}, {"b"}, {"c", "d", "9 Rack"}},  // the second structure has no second string
      {{"9 Rack"}, {"a", "b"}},
  };
  for (const auto& structures : withholding) {
    UseTable(WithOemStrings(structures));
    EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_INVALID_PARAMETER);
    EXPECT_EQ(mValue, kUntouched);
    CHAR16 kept[] = {'k', 0};
    CHAR16* text = kept;
    EXPECT_EQ(GetSystemNameString(Ucs2(u"SMBIOSSystemNameString"), &text), EFI_INVALID_PARAMETER);
    EXPECT_EQ(text, nullptr);
  }
}

TEST_F(AttributesTest, SystemNameLeavesTheCollectedArraysButNotItsCopyOfTheOemString) {
  UseTable(WithOemStrings({{"9 Rack"}}));
  const uint64_t before = mHarness.Memory().Allocations(driver);
  ASSERT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mHarness.Memory().Allocations(driver) - before, 3u);
  EXPECT_EQ(NewBlocks(), 2u);
}

TEST_F(AttributesTest, SystemNameLeavesTheArraysOfBothCollectionsAllocated) {
  UseTable(WithOemStrings({{"OEM"}}));
  ASSERT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_SUCCESS);
  EXPECT_EQ(NewBlocks(), 5u);
}

TEST_F(AttributesTest, SystemNameNeedsExactlyOneSystem) {
  const Table none = Table::Of(OemStrings{});
  const Table two = Table::Of(WithSystem({}), System{});
  for (const Table& table : {none, two, Table()}) {
    UseTable(table);
    EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_NOT_FOUND);
    EXPECT_EQ(mValue, kUntouched);
  }
}

TEST_F(AttributesTest, SystemNameNeedsAString) {
  UseTable(WithSystem({.product = std::nullopt}));
  EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mValue, kUntouched);
  CHAR16* text = reinterpret_cast<CHAR16*>(&mValue);
  EXPECT_EQ(GetSystemNameString(Ucs2(u"SMBIOSSystemNameString"), &text), EFI_INVALID_PARAMETER);
  EXPECT_EQ(text, nullptr);
}

TEST_F(AttributesTest, SystemNameNeedsMemoryForTheSystem) {
  UseTable(WithOemStrings({{"OEM"}}));
  // Without memory for the OEM strings there are none, and the product name answers.
  const EFI_STATUS statuses[] = {EFI_SUCCESS, EFI_SUCCESS, EFI_NOT_FOUND, EFI_NOT_FOUND,
                                 EFI_OUT_OF_RESOURCES};
  for (size_t n = 0; n < std::size(statuses); ++n) {
    mHarness.FailAllocation(n + 1);
    EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), statuses[n]) << "allocation " << n + 1;
    mHarness.Memory().StopFailing();
  }
}

TEST_F(AttributesTest, SystemNameNeedsMemoryForTheOemString) {
  UseTable(WithOemStrings({{"9 Rack"}}));
  mHarness.FailAllocation(3);
  EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mValue, kUntouched);
}

TEST_F(AttributesTest, SystemNameRoutineAnswersItsOwnNameOnly) {
  UseTable(MinimalServer());
  CHAR16* text = nullptr;
  EXPECT_EQ(GetSystemNameString(Ucs2(u"SMBIOSServiceTagString"), &text), EFI_NOT_FOUND);
  EXPECT_EQ(GetSystemNameString(nullptr, &text), EFI_NOT_FOUND);
}

// --- zorv.smbios.bios ---

class BiosAttributeTest : public AttributesTest {
 protected:
  EFI_STATUS GetBios() { return Get(BiosAttributeGet, u"zorv.smbios.bios", u"SMBIOSBIOSInfo"); }
  const SMBIOS_BIOS_INFO& Info() const {
    return *reinterpret_cast<const SMBIOS_BIOS_INFO*>(mValue);
  }
};

TEST_F(BiosAttributeTest, NamesTextsInTheTable) {
  UseTable(MinimalServer());
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  EXPECT_STREQ(Info().ServiceTag, "ABC1234");
  EXPECT_STREQ(Info().BiosVersion, "2.4.6");
  EXPECT_STREQ(Info().ProductName, "Rack One");
  const auto* const table = reinterpret_cast<const CHAR8*>(mHarness.TableData());
  for (const CHAR8* const text : {Info().ServiceTag, Info().BiosVersion, Info().ProductName}) {
    EXPECT_GE(text, table);
    EXPECT_LT(text, table + mHarness.EntryPoint().TableLength);
  }
}

TEST_F(BiosAttributeTest, KnowsOneName) {
  UseTable(MinimalServer());
  for (const char16_t* const name :
       {static_cast<const char16_t*>(nullptr), u"", u"SMBIOSBIOSInf", u"SMBIOSBIOSInfo2"}) {
    EXPECT_EQ(Get(BiosAttributeGet, u"zorv.smbios.bios", name), EFI_NOT_FOUND);
    EXPECT_EQ(mValue, kUntouched);
  }
  EXPECT_EQ(NewBlocks(), 0u);
}

TEST_F(BiosAttributeTest, NeedsAPlaceForTheValue) {
  UseTable(MinimalServer());
  EXPECT_EQ(BiosAttributeGet(Ucs2(u"zorv.smbios.bios"), Ucs2(u"SMBIOSBIOSInfo"), nullptr),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(NewBlocks(), 0u);
}

TEST_F(BiosAttributeTest, DoesNotLookAtTheNamespace) {
  UseTable(MinimalServer());
  EXPECT_EQ(BiosAttributeGet(nullptr, Ucs2(u"SMBIOSBIOSInfo"), &mValue), EFI_SUCCESS);
}

TEST_F(BiosAttributeTest, LeavesWhatIsMissingNull) {
  Table table = Table::Of(End{});
  UseTable(table);
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  EXPECT_EQ(Info().ServiceTag, nullptr);
  EXPECT_EQ(Info().BiosVersion, nullptr);
  EXPECT_EQ(Info().ProductName, nullptr);
}

TEST_F(BiosAttributeTest, TakesEachTextFromTheFirstStructureThatHasIt) {
  Table table = Table::Of(Bios{.version = std::nullopt}, Bios{.version = "1.0"},
                          Bios{.version = "2.0"}, System{.product = std::nullopt, .serial = "TAG1"},
                          System{.product = "Product 2", .serial = "TAG2"});
  UseTable(table);
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  EXPECT_STREQ(Info().BiosVersion, "1.0");
  EXPECT_STREQ(Info().ServiceTag, "TAG1");
  EXPECT_STREQ(Info().ProductName, "Product 2");
}

TEST_F(BiosAttributeTest, LooksForTheProductWhereASerialNumberOutOfRangeHasMovedIt) {
  Table table = Table::Of(System{.product = "Product 1"}.Build().SetByte(7, 9),
                          Chassis{.manufacturer = "Chassis Works", .chassisType = 1});
  UseTable(table);
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  EXPECT_EQ(Info().ServiceTag, nullptr);
  EXPECT_STREQ(Info().ProductName, "Chassis Works") << "byte 5 of the next structure is its type";
}

TEST_F(BiosAttributeTest, ReadsNoNumberPastTheFormattedPart) {
  Table table = Table::Of(Bios{}.Build().CutTo(5), System{}.Build().CutTo(7));
  UseTable(table);
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  EXPECT_EQ(Info().BiosVersion, nullptr);
  EXPECT_EQ(Info().ServiceTag, nullptr);
  EXPECT_STREQ(Info().ProductName, "Rack One");
}

TEST_F(BiosAttributeTest, BelongsToTheCallerAndLeavesTheArraysAllocated) {
  UseTable(MinimalServer());
  ASSERT_EQ(GetBios(), EFI_SUCCESS);
  const auto block = mHarness.Memory().Find(reinterpret_cast<VOID*>(mValue));
  ASSERT_TRUE(block);
  EXPECT_EQ(block->size, 24u);
  EXPECT_EQ(block->type, EfiBootServicesData);
  EXPECT_EQ(NewBlocks(), 5u);
}

TEST_F(BiosAttributeTest, FreesTheRecordWhenACollectionFails) {
  // The record, then two arrays for each structure type; those of the first type stay.
  const size_t left[] = {0, 0, 0, 2, 2};
  for (size_t n = 0; n < std::size(left); ++n) {
    UseTable(MinimalServer());
    mHarness.FailAllocation(n + 1);
    EXPECT_EQ(GetBios(), EFI_OUT_OF_RESOURCES) << "allocation " << n + 1;
    EXPECT_EQ(mValue, kUntouched);
    EXPECT_EQ(NewBlocks(), left[n]) << "allocation " << n + 1;
  }
}

TEST_F(BiosAttributeTest, FindsNothingInAnEmptyTable) {
  UseTable(Table());
  EXPECT_EQ(GetBios(), EFI_NOT_FOUND);
  EXPECT_EQ(mValue, kUntouched);
  EXPECT_EQ(NewBlocks(), 0u);
}

// --- All ---

TEST_F(AttributesTest, NothingIsFoundAfterTheTableWasReleased) {
  UseTable(MinimalServer());
  ASSERT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(GetServer(u"SMBIOSServiceTagString"), EFI_NOT_FOUND);
  EXPECT_EQ(GetServer(u"SMBIOSSystemNameString"), EFI_NOT_FOUND);
  EXPECT_EQ(Get(BiosAttributeGet, u"zorv.smbios.bios", u"SMBIOSBIOSInfo"), EFI_NOT_FOUND);
  EXPECT_EQ(mValue, kUntouched);
}

TEST_F(AttributesTest, EverySetterRefuses) {
  UseTable(MinimalServer());
  const uint64_t before = mHarness.Memory().Allocations(driver);
  for (const ZV_ATTRIBUTE_SETTER setter : {ServerAttributeSet, PciAttributeSet, BiosAttributeSet}) {
    EXPECT_EQ(setter(Ucs2(u"zorv.server"), Ucs2(u"SMBIOSServiceTagString"), 1), EFI_UNSUPPORTED);
    EXPECT_EQ(setter(nullptr, nullptr, 0), EFI_UNSUPPORTED);
  }
  EXPECT_EQ(mHarness.Memory().Allocations(driver), before);
  EXPECT_EQ(mHarness.TakeLog().size(), 0u);
}

}  // namespace
}  // namespace tvq::test
