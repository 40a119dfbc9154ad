/*
 * The attribute store behind the platform services table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include <Guid/ZvServices.h>
#include <Protocol/LoadedImage.h>

namespace tvq::test {
namespace {

// What the callbacks were called with; they are plain functions.
struct Call {
  std::string nameSpace;
  std::string name;
  UINT64 value = 0;
};
std::vector<Call> gCalls;

EFI_STATUS EFIAPI Get(CHAR16* nameSpace, CHAR16* name, UINT64* value) {
  gCalls.push_back({Utf8(nameSpace), Utf8(name), *value});
  *value = 77;
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI GetRefuses(CHAR16*, CHAR16*, UINT64*) {
  return EFI_BAD_BUFFER_SIZE;
}
EFI_STATUS EFIAPI Set(CHAR16* nameSpace, CHAR16* name, UINT64 value) {
  gCalls.push_back({Utf8(nameSpace), Utf8(name), value});
  return EFI_UNSUPPORTED;
}

class PlatformServices : public PlatformTest {
 protected:
  PlatformServices() { gCalls.clear(); }

  ZV_SERVICES_TABLE& Services() {
    return *static_cast<ZV_SERVICES_TABLE*>(ConfigurationTable(Firmware(), gZvServicesTableGuid));
  }
  EFI_STATUS Register(const char16_t* nameSpace, ZV_ATTRIBUTE_GETTER getter,
                      ZV_ATTRIBUTE_SETTER setter = nullptr) {
    return Services().RegisterAttribute(nullptr, Wide(nameSpace), getter, setter);
  }
  EFI_STATUS Store(const char16_t* nameSpace, const char16_t* name, UINT64 value) {
    return Services().SetAttributeValue(Wide(nameSpace), Wide(name), value);
  }
  EFI_STATUS Ask(const char16_t* nameSpace, const char16_t* name, UINT64* value) {
    return Platform()->GetAttribute(Platform(), Wide(nameSpace), Wide(name), value);
  }
  EFI_STATUS Change(const char16_t* nameSpace, const char16_t* name, UINT64 value) {
    return Platform()->SetAttribute(Platform(), Wide(nameSpace), Wide(name), value);
  }
  // "namespace/name=value", in order.
  std::vector<std::string> StoredValues() {
    std::vector<std::string> values;
    TVQ_STORED_VALUE value;
    for (UINTN i = 0; Platform()->GetStoredValue(Platform(), i, &value) == EFI_SUCCESS; ++i) {
      values.push_back(Utf8(value.Namespace) + "/" + Utf8(value.Name) + "=" +
                       std::to_string(value.Value));
    }
    return values;
  }
};

TEST_F(PlatformServices, StandAtTheirPositions) {
  VOID** entries = reinterpret_cast<VOID**>(&Services());
  for (size_t i = 0; i < 28; ++i) {
    EXPECT_EQ(entries[i], nullptr) << i;
  }
  EXPECT_NE(entries[28], nullptr);
  EXPECT_NE(entries[29], nullptr);
}

TEST_F(PlatformServices, AskTheGetterOfTheNamespace) {
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  ASSERT_EQ(Register(u"b", GetRefuses), EFI_SUCCESS);
  UINT64 value = 5;
  EXPECT_EQ(Ask(u"a", u"Name", &value), EFI_SUCCESS);
  EXPECT_EQ(value, 77u);
  ASSERT_EQ(gCalls.size(), 1u);
  EXPECT_EQ(gCalls[0].nameSpace, "a");
  EXPECT_EQ(gCalls[0].name, "Name");
  EXPECT_EQ(gCalls[0].value, 5u) << "the getter is handed what the caller has in the slot";
  EXPECT_EQ(Ask(u"b", u"Name", &value), EFI_BAD_BUFFER_SIZE);
}

TEST_F(PlatformServices, KnowNothingThatWasNeverRegistered) {
  UINT64 value = 5;
  EXPECT_EQ(Ask(u"a", u"Name", &value), EFI_NOT_FOUND);
  EXPECT_EQ(Store(u"a", u"Name", 1), EFI_NOT_FOUND);
  EXPECT_EQ(Change(u"a", u"Name", 1), EFI_NOT_FOUND);
  EXPECT_EQ(value, 5u);
}

TEST_F(PlatformServices, KeepStoredValuesOfRegisteredNamespaces) {
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  ASSERT_EQ(Register(u"b", nullptr), EFI_SUCCESS);
  EXPECT_EQ(Store(u"a", u"One", 1), EFI_SUCCESS);
  EXPECT_EQ(Store(u"b", u"One", 2), EFI_SUCCESS);
  EXPECT_EQ(Store(u"a", u"Two", 3), EFI_SUCCESS);
  EXPECT_EQ(Store(u"a", u"One", 4), EFI_SUCCESS);
  EXPECT_THAT(StoredValues(), testing::ElementsAre("a/One=4", "b/One=2", "a/Two=3"));
}

TEST_F(PlatformServices, AnswerTheStoredValueWithoutAGetter) {
  ASSERT_EQ(Register(u"b", nullptr), EFI_SUCCESS);
  UINT64 value = 5;
  EXPECT_EQ(Ask(u"b", u"One", &value), EFI_NOT_FOUND);
  EXPECT_EQ(value, 5u);
  ASSERT_EQ(Store(u"b", u"One", 2), EFI_SUCCESS);
  EXPECT_EQ(Ask(u"b", u"One", &value), EFI_SUCCESS);
  EXPECT_EQ(value, 2u);
}

TEST_F(PlatformServices, PreferTheGetterToTheStoredValue) {
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  ASSERT_EQ(Store(u"a", u"One", 2), EFI_SUCCESS);
  UINT64 value = 0;
  EXPECT_EQ(Ask(u"a", u"One", &value), EFI_SUCCESS);
  EXPECT_EQ(value, 77u);
}

TEST_F(PlatformServices, HandChangesToTheSetter) {
  ASSERT_EQ(Register(u"a", Get, Set), EFI_SUCCESS);
  ASSERT_EQ(Register(u"b", Get), EFI_SUCCESS);
  EXPECT_EQ(Change(u"a", u"Name", 9), EFI_UNSUPPORTED);
  ASSERT_EQ(gCalls.size(), 1u);
  EXPECT_EQ(gCalls[0].value, 9u);
  EXPECT_EQ(Change(u"b", u"Name", 9), EFI_UNSUPPORTED);
  EXPECT_EQ(gCalls.size(), 1u);
  EXPECT_TRUE(StoredValues().empty());
}

TEST_F(PlatformServices, ReplaceTheCallbacksOfANamespaceAndKeepItsValues) {
  ASSERT_EQ(Register(u"a", GetRefuses), EFI_SUCCESS);
  ASSERT_EQ(Store(u"a", u"One", 1), EFI_SUCCESS);
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  UINT64 value = 0;
  EXPECT_EQ(Ask(u"a", u"One", &value), EFI_SUCCESS);
  EXPECT_THAT(StoredValues(), testing::ElementsAre("a/One=1"));
}

// A loaded image that consists of one function, or lies in front of it.
class LoadedCode {
 public:
  template <typename Function>
  LoadedCode(host::Firmware& machine, Function* first, UINTN size, UINTN inFront = 0)
      : mServices(*machine.BootServices()) {
    mImage.ImageBase = reinterpret_cast<VOID*>(reinterpret_cast<UINTN>(first) - inFront);
    mImage.ImageSize = size;
    EXPECT_EQ(mServices.InstallProtocolInterface(&mHandle, &gEfiLoadedImageProtocolGuid,
                                                 EFI_NATIVE_INTERFACE, &mImage),
              EFI_SUCCESS);
  }
  void Unload() {
    EXPECT_EQ(mServices.UninstallProtocolInterface(mHandle, &gEfiLoadedImageProtocolGuid, &mImage),
              EFI_SUCCESS);
  }

 private:
  EFI_BOOT_SERVICES& mServices;
  EFI_LOADED_IMAGE_PROTOCOL mImage = {};
  EFI_HANDLE mHandle = nullptr;
};

TEST_F(PlatformServices, CallNobodyWhoIsUnloaded) {
  UINT64 value = 0;
  LoadedCode getter(Firmware(), Get, 1);
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  EXPECT_EQ(Ask(u"a", u"One", &value), EFI_SUCCESS);
  getter.Unload();
  EXPECT_EQ(Ask(u"a", u"One", &value), EFI_NOT_FOUND);
  LoadedCode setter(Firmware(), Set, 1);
  ASSERT_EQ(Register(u"b", nullptr, Set), EFI_SUCCESS);
  EXPECT_EQ(Change(u"b", u"One", 1), EFI_UNSUPPORTED);
  setter.Unload();
  EXPECT_EQ(Change(u"b", u"One", 1), EFI_NOT_FOUND);
  EXPECT_EQ(gCalls.size(), 2u);
}

TEST_F(PlatformServices, CallWhoeverIsNoPartOfAnUnloadedImage) {
  UINT64 value = 0;
  LoadedCode inFront(Firmware(), Get, 16, 16);
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  inFront.Unload();
  EXPECT_EQ(Ask(u"a", u"One", &value), EFI_SUCCESS);
}

TEST_F(PlatformServices, GiveEachNamespaceATokenOfItsOwn) {
  VOID* first = nullptr;
  VOID* second = nullptr;
  EXPECT_EQ(Services().RegisterAttribute(&first, Wide(u"a"), Get, Set), EFI_SUCCESS);
  EXPECT_EQ(Services().RegisterAttribute(&second, Wide(u"b"), Get, Set), EFI_SUCCESS);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(second, nullptr);
  EXPECT_NE(first, second);
}

TEST_F(PlatformServices, CopyTheTextsTheyAreGiven) {
  std::u16string nameSpace = u"a";
  std::u16string name = u"One";
  ASSERT_EQ(Register(nameSpace.c_str(), nullptr), EFI_SUCCESS);
  ASSERT_EQ(Store(nameSpace.c_str(), name.c_str(), 1), EFI_SUCCESS);
  nameSpace = u"x";
  name = u"xxx";
  EXPECT_THAT(StoredValues(), testing::ElementsAre("a/One=1"));
}

TEST_F(PlatformServices, RefuseMissingArguments) {
  UINT64 value = 0;
  ASSERT_EQ(Register(u"a", Get), EFI_SUCCESS);
  EXPECT_EQ(Register(nullptr, Get), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Store(nullptr, u"n", 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Store(u"a", nullptr, 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Ask(nullptr, u"n", &value), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Ask(u"a", nullptr, &value), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Ask(u"a", u"n", nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Change(nullptr, u"n", 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->GetAttribute(nullptr, Wide(u"a"), Wide(u"n"), &value),
            EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->SetAttribute(nullptr, Wide(u"a"), Wide(u"n"), 1), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Platform()->GetStoredValue(Platform(), 0, nullptr), EFI_INVALID_PARAMETER);
  TVQ_STORED_VALUE stored;
  EXPECT_EQ(Platform()->GetStoredValue(Platform(), 0, &stored), EFI_NOT_FOUND);
  EXPECT_TRUE(gCalls.empty());
}

TEST_F(PlatformServices, SurviveEveryFailedAllocation) {
  for (uint64_t n = 1; n <= 4; ++n) {
    ASSERT_EQ(Unload(), EFI_SUCCESS);
    ASSERT_EQ(Start(), EFI_SUCCESS);
    const size_t before = Firmware().Memory().LiveCount(host::images::platform);
    Firmware().Memory().FailAllocation(n, host::images::platform);
    const EFI_STATUS registered = Register(u"a", nullptr);
    const EFI_STATUS stored = Store(u"a", u"One", 1);
    Firmware().Memory().StopFailing();
    EXPECT_EQ(registered, n <= 2 ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS) << n;
    EXPECT_EQ(stored, n <= 2 ? EFI_NOT_FOUND : EFI_OUT_OF_RESOURCES) << n;
    EXPECT_EQ(Register(u"a", nullptr), EFI_SUCCESS);
    EXPECT_EQ(Store(u"a", u"One", 1), EFI_SUCCESS);
    EXPECT_THAT(StoredValues(), testing::ElementsAre("a/One=1"));
    // Two texts and two lists.
    EXPECT_EQ(Firmware().Memory().LiveCount(host::images::platform), before + 4) << n;
  }
}

}  // namespace
}  // namespace tvq::test
