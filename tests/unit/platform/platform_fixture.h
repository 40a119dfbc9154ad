/*
 * What the tests of the reference platform and the agent share: a fresh machine with their images, a view of structure tables that is
 * independent of the code under test, and conforming.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_PLATFORM_FIXTURE_H_
#define TVQ_TESTS_UNIT_PLATFORM_PLATFORM_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "images/agent.h"
#include "images/platform.h"
#include "tests/unit/shared/table.h"
#include "tests/unit/shared/text.h"

#include "TvqPlatformPkg/src/smbios/conform.h"
#include <Protocol/TvqPlatform.h>

namespace tvq::test {

// A machine in which functions of the agent can be called.
class AgentTest : public testing::Test {
 protected:
  AgentTest() { mFirmware.ConstructImage(mFirmware.LoadImage(host::images::agent)); }

  host::Firmware& Firmware() { return mFirmware; }
  // Blocks of pool that the agent holds.
  size_t AgentBlocks() { return mFirmware.Memory().LiveCount(host::images::agent); }

 private:
  host::Firmware mFirmware;
};

// A machine with the reference platform.
class PlatformTest : public testing::Test {
 protected:
  PlatformTest() { EXPECT_EQ(Start(), EFI_SUCCESS); }

  host::Firmware& Firmware() { return mFirmware; }
  EFI_STATUS Start() { return mFirmware.StartImage(mFirmware.LoadImage(host::images::platform)); }
  EFI_STATUS Unload() { return mFirmware.UnloadImage(mFirmware.HandleOf(host::images::platform)); }

  // Null when nobody has installed it.
  template <typename Interface>
  Interface* Find(EFI_GUID& guid) {
    VOID* found = nullptr;
    const EFI_STATUS status = mFirmware.BootServices()->LocateProtocol(&guid, nullptr, &found);
    return EFI_ERROR(status) ? nullptr : static_cast<Interface*>(found);
  }
  TVQ_PLATFORM_PROTOCOL* Platform() {
    return Find<TVQ_PLATFORM_PROTOCOL>(gTvqPlatformProtocolGuid);
  }

 private:
  host::Firmware mFirmware;
};

// The vendor table of a GUID in the configuration table, or null.
VOID* ConfigurationTable(host::Firmware& machine, const EFI_GUID& guid);

// A CHAR16 text of the test.
CHAR16* Wide(const char16_t* text);

inline tvqplatform::Bytes View(const Bytes& bytes) {
  return {bytes.data(), bytes.size()};
}
inline Bytes Copy(tvqplatform::Bytes view) {
  return Bytes(view.begin(), view.end());
}

// A structure as a plain reading of the SMBIOS specification finds it.
struct FoundStructure {
  uint8_t type = 0;
  uint16_t handle = 0;
  Bytes formatted;
  std::vector<std::string> strings;

  // The string whose number stands at `offset`; empty when there is none.
  std::string StringAt(size_t offset) const;
};
// Fails the test on a table that is not well-formed.
std::vector<FoundStructure> Parse(const Bytes& table);
std::vector<FoundStructure> OfType(const std::vector<FoundStructure>& structures, uint8_t type);

struct Conformed {
  tvqplatform::ConformResult result = tvqplatform::ConformResult::kUnchanged;
  Bytes table;
  std::vector<std::string> changes;
  std::vector<std::string> remarkable;  // Those of the changes that are more than a first name.
};
Conformed Conform(const Bytes& table);

// Names of all structures of a type.
std::vector<std::string> NamesOf(const Bytes& table, uint8_t type, size_t offset);
inline std::vector<std::string> Designations(const Bytes& table) {
  return NamesOf(table, 4, 0x04);
}
inline std::vector<std::string> Locators(const Bytes& table) {
  return NamesOf(table, 17, 0x10);
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_PLATFORM_FIXTURE_H_
