/*
 * The agent leaves the machine as it found it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/agent_harness.h"

extern "C" {
#include <Guid/SmBios.h>
}

#include <Guid/ZvServices.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/ZvEntry.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

// The watchdog that the firmware has, and what was asked of it.
std::vector<UINTN> gWatchdog;
EFI_STATUS EFIAPI NoteWatchdog(UINTN seconds, UINT64 code, UINTN size, CHAR16* data) {
  EXPECT_EQ(code, 0u);
  EXPECT_EQ(size, 0u);
  EXPECT_EQ(data, nullptr);
  gWatchdog.push_back(seconds);
  return EFI_SUCCESS;
}

class AgentIsGentle : public testing::Test, protected AgentHarness {
 protected:
  AgentIsGentle() {
    LoadPlatform();
    gWatchdog.clear();
  }

  const host::Variable* Family() {
    return Firmware().FindVariable(u"EFI_SMBIOS_PROCESSOR_FAMILY", gZvServicesTableGuid);
  }
  EFI_STATUS SetFamily(UINT8 family) {
    return Firmware().RuntimeServices()->SetVariable(
        Wide(u"EFI_SMBIOS_PROCESSOR_FAMILY"), &gZvServicesTableGuid,
        EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS,
        sizeof(family), &family);
  }
};

// --- The watchdog ---

TEST_F(AgentIsGentle, TheWatchdogIsOffWhileItWorksAndSetAgainForABootManager) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  FakeTerminal terminal(Firmware());
  UseTerminal(&terminal);
  Firmware().SystemTableOf(host::images::agent)->BootServices->SetWatchdogTimer = NoteWatchdog;
  terminal.Do([] { EXPECT_THAT(gWatchdog, ElementsAre(0u)); });
  terminal.Type("q");
  BootAgent();
  UseTerminal(nullptr);
  EXPECT_THAT(gWatchdog, ElementsAre(0u, 300u));
}

TEST_F(AgentIsGentle, TheWatchdogStaysOffForAShell) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  Firmware().SystemTableOf(host::images::agent)->BootServices->SetWatchdogTimer = NoteWatchdog;
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(gWatchdog, ElementsAre(0u)) << "a shell has switched it off, and stays for hours";
}

// --- What a boot manager does next ---

TEST_F(AgentIsGentle, ABootManagerGoesOnToTheNextBootOption) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(BootAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

// --- The variable ---

TEST_F(AgentIsGentle, TheVariableOfTheDriverGoesWhereItWasNotThere) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Family(), nullptr);
  EXPECT_THAT(Report(),
              HasSubstr("\nVariable: EFI_SMBIOS_PROCESSOR_FAMILY is as before the start again\n"));
}

TEST_F(AgentIsGentle, TheVariableStaysWhereThatIsAskedFor) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi keep-variable"), EFI_SUCCESS);
  ASSERT_NE(Family(), nullptr);
  EXPECT_EQ(Family()->data, std::vector<UINT8>{0xB3});
  EXPECT_THAT(Report(), Not(HasSubstr("\nVariable:")));
}

TEST_F(AgentIsGentle, TheVariableThatWasThereHasItsValueAgain) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(SetFamily(0x42), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_NE(Family(), nullptr);
  EXPECT_EQ(Family()->data, std::vector<UINT8>{0x42});
  EXPECT_THAT(Report(), HasSubstr("is as before the start again\n"));
}

TEST_F(AgentIsGentle, TheVariableGoesAlsoWhereItSaysNothing) {
  LoadDriverAgain();
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{.family = 0}, End{}));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi keep-variable"), EFI_SUCCESS);
  ASSERT_NE(Family(), nullptr);
  EXPECT_EQ(Family()->data, std::vector<UINT8>{0});
  ASSERT_EQ(Firmware().RuntimeServices()->SetVariable(Wide(u"EFI_SMBIOS_PROCESSOR_FAMILY"),
                                                      &gZvServicesTableGuid, 0, 0, nullptr),
            EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_EQ(Family(), nullptr);
}

TEST_F(AgentIsGentle, NothingIsSaidOfAVariableThatNobodyWrote) {
  LoadDriverAgain();
  PublishFirmwareTable(Table::Of(Bios{}, System{}, End{}));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Family(), nullptr);
  EXPECT_THAT(Report(), Not(HasSubstr("\nVariable:")));
}

TEST_F(AgentIsGentle, AVariableThatIsNoneOfTheDriversIsLeftAlone) {
  LoadDriverAgain();
  PublishFirmwareTable(Table::Of(Bios{}, System{}, End{}));
  UINT16 family = 0x4321;
  ASSERT_EQ(Firmware().RuntimeServices()->SetVariable(
                Wide(u"EFI_SMBIOS_PROCESSOR_FAMILY"), &gZvServicesTableGuid,
                EFI_VARIABLE_BOOTSERVICE_ACCESS, sizeof(family), &family),
            EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::GetVariable), 1u)
      << "whether it was written is not looked at";
  EXPECT_THAT(Report(), Not(HasSubstr("\nVariable:")));
}

TEST_F(AgentIsGentle, AVariableThatCannotBeReadAgainIsNamed) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  Firmware().FailCall(host::images::agent, host::Service::GetVariable, 2, EFI_DEVICE_ERROR);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("stays as the start left it (Device Error)"));
}

TEST_F(AgentIsGentle, TheVariableIsNotWrittenAgainWhereItIsTheSame) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(SetFamily(0xB3), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::SetVariable), 0u);
  EXPECT_EQ(Family()->data, std::vector<UINT8>{0xB3});
  EXPECT_THAT(Report(), Not(HasSubstr("\nVariable:")));
}

TEST_F(AgentIsGentle, TheVariableIsLeftAloneWhereNothingIsKnownOfIt) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  Firmware().FailCall(host::images::agent, host::Service::GetVariable, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::SetVariable), 0u);
  EXPECT_THAT(Report(), Not(HasSubstr("\nVariable:")));
}

TEST_F(AgentIsGentle, AVariableThatStaysIsNamed) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  Firmware().FailCall(host::images::agent, host::Service::SetVariable, 1, EFI_WRITE_PROTECTED);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS) << "nothing depends on it";
  EXPECT_THAT(Report(), HasSubstr("EFI_SMBIOS_PROCESSOR_FAMILY stays as the start left it (Write "
                                  "Protected)\n  What to do: "));
}

// --- The table ---

TEST_F(AgentIsGentle, TheEntryOfTheTableIsAsBeforeByEveryWayOut) {
  const struct {
    const char* way;
    std::function<void(AgentHarness&)> prepare;
  } kWays[] = {
      {"a success", [](AgentHarness&) {}},
      {"no driver", [](AgentHarness& machine) { machine.Files().Remove("x"); }},
      {"a start that fails",
       [](AgentHarness& machine) {
         machine.Firmware().FailCall(host::images::agent, host::Service::InstallConfigurationTable,
                                     1, EFI_OUT_OF_RESOURCES);
       }},
      {"a full volume", [](AgentHarness& machine) { machine.Files().LimitWrites(0); }},
      {"no volume", [](AgentHarness& machine) { machine.RemoveVolume(); }},
      {"no table below 4 GiB",
       [](AgentHarness& machine) {
         machine.Firmware().FailCall(host::images::agent, host::Service::AllocatePages, 1,
                                     EFI_OUT_OF_RESOURCES);
       }},
      {"power off",
       [](AgentHarness& machine) { machine.Files().Put("\\TVQ\\options.txt", "poweroff"); }},
  };
  LoadDriverAgain();
  PublishFirmwareTable(ClashingServer());
  for (const auto& way : kWays) {
    way.prepare(*this);
    RunAgent();
    EXPECT_TRUE(FirmwareTableIsInPlace()) << way.way;
    Firmware().StopFailingCalls();
    RunAgent(u"TvqAgent.efi stop");
  }
  Firmware().TakeMisuses();
}

TEST_F(AgentIsGentle, AnEntryThatWasNotThereIsGoneAgain) {
  LoadDriverAgain();
  Files().Put("\\TVQ\\table.bin", AsText(ClashingServer().Bytes()));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nPublished: "));
  EXPECT_EQ(ConfigurationTable(Firmware(), gEfiSmbiosTableGuid), nullptr);
}

// --- What stays ---

TEST_F(AgentIsGentle, TheRecordsAnswerWhenItHasLeft) {
  LoadDriverAgain();
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EFI_BOOT_SERVICES* const services = Firmware().BootServices();
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  ASSERT_EQ(services->LocateHandleBuffer(ByProtocol, &gTvqInventoryProtocolGuid, nullptr, &count,
                                         &handles),
            EFI_SUCCESS);
  EXPECT_EQ(count, 5u);
  for (UINTN i = 0; i < count; ++i) {
    VOID* found = nullptr;
    ASSERT_EQ(services->HandleProtocol(handles[i], &gTvqInventoryProtocolGuid, &found),
              EFI_SUCCESS);
    auto* const inventory = static_cast<TVQ_INVENTORY_PROTOCOL*>(found);
    TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
    TVQ_DATA result = {0, 0, nullptr};
    // The sanitizer sees whatever points into memory that the agent gave back.
    EXPECT_EQ(inventory->SMTVQGet(inventory, &request, &result), EFI_SUCCESS);
    auto* const blobs = static_cast<TVQ_DATA*>(result.Buffer);
    for (UINTN slot = 0; slot < TVQ_SLOT_TERMINATOR; ++slot) {
      EXPECT_NE(blobs[slot].Buffer, nullptr);
      services->FreePool(blobs[slot].Buffer);
    }
    services->FreePool(blobs);
  }
  services->FreePool(handles);
}

TEST_F(AgentIsGentle, AnotherStartFindsThePublishedTableWhereItWas) {
  LoadDriverAgain();
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nRecords: 5\n"));
}

TEST_F(AgentIsGentle, ADriverThatIsThereAlreadyIsUsed) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\TvqPlatform.efi", "no image");
  Files().Put("\\TVQ\\TVQSMBIOS.efi", "no image");
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Calls(host::images::agent, host::Service::LoadImage), 0u);
}

// --- Files ---

TEST_F(AgentIsGentle, FilesThatDidNotChangeAreNotWritten) {
  LoadDriverAgain();
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  // The first run starts the driver, the second one does not; the log grows with each.
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  for (const char* path : {"\\TVQ\\CPU.Socket.1.tvq", "\\TVQ\\DIMM.Socket.A1.tvq",
                           "\\TVQ\\System.Embedded.1.tvq", "\\TVQ\\machine-ABC1234\\state-1.bin"}) {
    ASSERT_TRUE(Files().Has(path)) << path;
    Files().Fail(FileCall::kWrite, EFI_DEVICE_ERROR, path);
    Files().Fail(FileCall::kDelete, EFI_DEVICE_ERROR, path);
  }
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

}  // namespace
}  // namespace tvq::test
