/*
 * Whatever goes wrong on a machine, the report says what to do on this machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <sstream>

#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/agent/fake_record.h"

extern "C" {
#include <Guid/SmBios.h>
}

namespace tvq::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

// More than 65,535 bytes of structures that nobody reads.
Raw ManyStructures() {
  Raw raw;
  for (int i = 0; i < 300; ++i) {
    const Bytes head = {200, 4, static_cast<uint8_t>(i), static_cast<uint8_t>(0x50 + (i >> 8))};
    raw.bytes.insert(raw.bytes.end(), head.begin(), head.end());
    raw.bytes.insert(raw.bytes.end(), 250, 'x');
    raw.bytes.insert(raw.bytes.end(), 2, 0);
  }
  return raw;
}

class AgentAdvice : public testing::Test, protected AgentHarness {
 protected:
  AgentAdvice() { LoadDriver(); }

  // Behind a 64-bit entry point, which states lengths that a 32-bit one cannot.
  void PublishLargeTable(const Table& table) {
    mTable = table.Bytes();
    mEntry = EntryPointBytes::Of64Bits(table, reinterpret_cast<uintptr_t>(mTable.data()))
                 .Set(kMaximumTableSize64, 4, mTable.size())
                 .Bytes();
    ASSERT_EQ(
        Firmware().BootServices()->InstallConfigurationTable(&gEfiSmbios3TableGuid, mEntry.data()),
        EFI_SUCCESS);
  }

  // A problem is followed by what to do, and there is at least one.
  void ExpectAdvice() {
    std::istringstream lines(Report());
    std::string before;
    size_t problems = 0;
    for (std::string line; std::getline(lines, line); before = line) {
      if (before.rfind("Problem: ", 0) == 0) {
        ++problems;
        EXPECT_THAT(line, StartsWith("  What to do: ")) << before;
      }
    }
    EXPECT_NE(problems, 0u) << Report();
  }

 private:
  Bytes mTable;
  Bytes mEntry;
};

TEST_F(AgentAdvice, OnATableThatIsTooLargeIsForTheMachineThatHasIt) {
  const Table table =
      Table::Of(Bios{}, System{}, Processor{}, MemoryDevice{}, ManyStructures(), End{});
  Files().Put("\\TVQ\\table.bin", AsText(table.Bytes()));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  ExpectAdvice();
  EXPECT_THAT(Report(),
              AllOf(HasSubstr("bytes, and the driver reads at most 65,535.\n"),
                    HasSubstr("What to do: remove \\TVQ\\table.bin to see this machine's own"),
                    Not(HasSubstr("cannot be conformed"))));
  Files().Remove("\\TVQ\\table.bin");
  PublishLargeTable(table);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  ExpectAdvice();
  EXPECT_THAT(Report(),
              HasSubstr("What to do: nothing here: the driver reads no larger table. Under Linux"));
}

TEST_F(AgentAdvice, OnMissingMemoryBelow4GiBIsToStartEarlier) {
  PublishFirmwareTable(ClashingServer());
  Firmware().FailCall(host::images::agent, host::Service::AllocatePages, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  ExpectAdvice();
  EXPECT_THAT(Report(),
              HasSubstr("below 4 GiB: Out of Resources.\n  What to do: put TvqAgent first in the "
                        "boot order, switch off in the firmware's setup"));
}

TEST_F(AgentAdvice, OnAnEntryThatCannotBeChangedIsToRestart) {
  PublishFirmwareTable(ClashingServer());
  Firmware().FailCall(host::images::agent, host::Service::InstallConfigurationTable, 1,
                      EFI_DEVICE_ERROR);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  ExpectAdvice();
  EXPECT_THAT(Report(), HasSubstr("below 4 GiB: Device Error.\n  What to do: restart the machine"));
}

TEST_F(AgentAdvice, OnFirmwareWithoutATableIsToLookIntoItsSetup) {
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  ExpectAdvice();
  EXPECT_THAT(
      Report(),
      HasSubstr("Problem: this firmware has no SMBIOS table.\n  What to do: look for a switch "
                "for SMBIOS in the firmware's setup, or update the firmware."));
}

TEST_F(AgentAdvice, OnAnotherMakersType225IsThatNothingIsToBeDone) {
  const Table table = Table::Of(ClashingServer(), Raw{Bytes{225, 6, 0x34, 0x12, 0xAA, 0xBB, 0, 0}});
  PublishFirmwareTable(table);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(
      Report(),
      HasSubstr("that the driver could find\n    What to do: nothing; the firmware's own table "
                "keeps it as it is.\n"));
  EXPECT_THAT(Report(), HasSubstr("\nRecords: 5\n"));
}

TEST_F(AgentAdvice, OnABlobThatIsMissingNamesTheDevice) {
  FakeDevice device;
  device.getStatus = EFI_OUT_OF_RESOURCES;
  const FakeRecord record(Firmware(), device);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(
      Report(),
      HasSubstr("\nBlobs: DIMM.Socket.A1 gives none (Out of Resources)\n  What to do: restart the "
                "machine and run TvqAgent before anything else;"));
}

TEST(AgentAdviceOnSecureBoot, NamesEveryWay) {
  for (const EFI_STATUS status : {EFI_SECURITY_VIOLATION, EFI_ACCESS_DENIED}) {
    AgentHarness machine;
    machine.PublishFirmwareTable(MinimalServer());
    machine.Files().Put("\\TVQ\\TvqPlatform.efi", "MZ");
    machine.Firmware().FailCall(host::images::agent, host::Service::LoadImage, 1, status);
    EXPECT_EQ(machine.RunAgent(), EFI_ABORTED);
    EXPECT_THAT(
        machine.Report(),
        HasSubstr("  What to do: Secure Boot refuses this file: enroll its hash, or the key "
                  "that it is signed with, in the firmware's setup;"));
  }
}

}  // namespace
}  // namespace tvq::test
