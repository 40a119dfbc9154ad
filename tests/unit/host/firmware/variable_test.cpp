/*
 * The variable store behaves as EDK II's variable driver does.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {
namespace {

constexpr UINT32 kBoot = EFI_VARIABLE_BOOTSERVICE_ACCESS;
constexpr UINT32 kAll =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

class FirmwareVariable : public testing::Test {
 protected:
  static CHAR16* Text(const char16_t* text) {
    return reinterpret_cast<CHAR16*>(const_cast<char16_t*>(text));
  }

  EFI_STATUS Set(const char16_t* name, UINT32 attributes, std::vector<UINT8> data) {
    return mServices->SetVariable(Text(name), &mVendor, attributes, data.size(), data.data());
  }

  Firmware mFirmware;
  EFI_RUNTIME_SERVICES* mServices = mFirmware.RuntimeServices();
  EFI_GUID mVendor = {0xABCD, 1, 2, {3}};
};

TEST_F(FirmwareVariable, ListsWhatWasSet) {
  EXPECT_EQ(Set(u"Family", kAll, {0xB3}), EFI_SUCCESS);
  ASSERT_EQ(mFirmware.Variables().size(), 1u);
  const Variable& variable = mFirmware.Variables()[0];
  EXPECT_EQ(variable.name, u"Family");
  EXPECT_EQ(std::memcmp(&variable.guid, &mVendor, sizeof(mVendor)), 0);
  EXPECT_EQ(variable.attributes, kAll);
  EXPECT_EQ(variable.data, std::vector<UINT8>{0xB3});
  EXPECT_EQ(mFirmware.FindVariable(u"Family", mVendor), &variable);
  EXPECT_EQ(mFirmware.FindVariable(u"family", mVendor), nullptr);
}

TEST_F(FirmwareVariable, ReadsWhatWasSet) {
  ASSERT_EQ(Set(u"A", kBoot, {1, 2, 3}), EFI_SUCCESS);
  UINT8 data[3] = {};
  UINT32 attributes = 0;
  UINTN size = 2;
  EXPECT_EQ(mServices->GetVariable(Text(u"A"), &mVendor, &attributes, &size, data),
            EFI_BUFFER_TOO_SMALL);
  EXPECT_EQ(size, 3u);
  EXPECT_EQ(mServices->GetVariable(Text(u"A"), &mVendor, &attributes, &size, data), EFI_SUCCESS);
  EXPECT_EQ(attributes, kBoot);
  EXPECT_EQ(data[2], 3);
  EXPECT_EQ(mServices->GetVariable(Text(u"B"), &mVendor, nullptr, &size, data), EFI_NOT_FOUND);
}

TEST_F(FirmwareVariable, ReplacesAppendsAndDeletes) {
  ASSERT_EQ(Set(u"A", kBoot, {1}), EFI_SUCCESS);
  EXPECT_EQ(Set(u"A", kBoot, {2, 3}), EFI_SUCCESS);
  EXPECT_EQ(Set(u"A", kBoot | EFI_VARIABLE_APPEND_WRITE, {4}), EFI_SUCCESS);
  EXPECT_EQ(mFirmware.Variables().at(0).data, (std::vector<UINT8>{2, 3, 4}));
  EXPECT_EQ(Set(u"A", kAll, {5}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(u"A", kBoot, {}), EFI_SUCCESS);
  EXPECT_TRUE(mFirmware.Variables().empty());
  EXPECT_EQ(Set(u"A", kBoot, {}), EFI_NOT_FOUND);
}

TEST_F(FirmwareVariable, RefusesWrongArguments) {
  UINT8 byte = 0;
  EXPECT_EQ(mServices->SetVariable(nullptr, &mVendor, kBoot, 1, &byte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->SetVariable(Text(u""), &mVendor, kBoot, 1, &byte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->SetVariable(Text(u"A"), nullptr, kBoot, 1, &byte), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->SetVariable(Text(u"A"), &mVendor, kBoot, 1, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(u"A", EFI_VARIABLE_RUNTIME_ACCESS, {1}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(u"A", EFI_VARIABLE_NON_VOLATILE, {1}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(u"A", 0x80000000 | kBoot, {1}), EFI_INVALID_PARAMETER);
  EXPECT_EQ(Set(u"A", kBoot, std::vector<UINT8>(0x10000)), EFI_INVALID_PARAMETER);
}

TEST_F(FirmwareVariable, EnumeratesNames) {
  ASSERT_EQ(Set(u"First", kBoot, {1}), EFI_SUCCESS);
  ASSERT_EQ(Set(u"Second", kBoot, {2}), EFI_SUCCESS);
  CHAR16 name[16] = {};
  EFI_GUID vendor = {};
  std::vector<std::u16string> names;
  for (;;) {
    UINTN size = sizeof(name);
    const EFI_STATUS status = mServices->GetNextVariableName(&size, name, &vendor);
    if (status != EFI_SUCCESS) {
      EXPECT_EQ(status, EFI_NOT_FOUND);
      break;
    }
    names.emplace_back(reinterpret_cast<const char16_t*>(name));
  }
  EXPECT_EQ(names, (std::vector<std::u16string>{u"First", u"Second"}));
}

TEST_F(FirmwareVariable, ReportsTheRoomThatIsLeft) {
  UINT64 storage = 0;
  UINT64 before = 0;
  UINT64 after = 0;
  UINT64 largest = 0;
  ASSERT_EQ(mServices->QueryVariableInfo(kAll, &storage, &before, &largest), EFI_SUCCESS);
  EXPECT_EQ(before, storage);
  ASSERT_EQ(Set(u"A", kAll, {1, 2, 3, 4}), EFI_SUCCESS);
  ASSERT_EQ(mServices->QueryVariableInfo(kAll, &storage, &after, &largest), EFI_SUCCESS);
  EXPECT_EQ(after, before - 8);
}

TEST_F(FirmwareVariable, RunsOutOfStorage) {
  EFI_STATUS status = EFI_SUCCESS;
  for (char16_t index = 1; status == EFI_SUCCESS && index < 100; ++index) {
    const char16_t name[] = {index, 0};
    status = Set(name, kAll, std::vector<UINT8>(0x8000));
  }
  EXPECT_EQ(status, EFI_OUT_OF_RESOURCES);
}

}  // namespace
}  // namespace tvq::host
