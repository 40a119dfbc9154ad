/*
 * A machine with a volume that the agent is started from.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_AGENT_HARNESS_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_AGENT_HARNESS_H_

#include <algorithm>
#include <cstring>
#include <string>

#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/shared/entry_point.h"

#include "TvqPlatformPkg/src/smbios/publication.h"
#include "images/driver.h"
#include "tests/unit/platform/agent/fake_terminal.h"
#include "tests/unit/platform/agent/fake_volume.h"

extern "C" {
#include <Protocol/ShellParameters.h>
}

namespace tvq::test {

inline std::string AsText(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// How the report of a run ends in which nothing failed.
constexpr char kSuccess[] = "\nTvqAgent: success\n";

// A machine with a volume that the agent is started from.
class AgentHarness {
 public:
  AgentHarness() : mVolume(mFirmware) {}

  host::Firmware& Firmware() { return mFirmware; }
  FakeVolume& Files() { return mVolume; }

  void LoadPlatform() {
    ASSERT_EQ(mFirmware.StartImage(mFirmware.LoadImage(host::images::platform)), EFI_SUCCESS);
  }
  void LoadDriver() {
    LoadPlatform();
    LoadDriverAgain();
  }
  // On a machine whose platform is there.
  void LoadDriverAgain() {
    ASSERT_EQ(mFirmware.StartImage(mFirmware.LoadImage(host::images::driver)), EFI_SUCCESS);
  }

  // The firmware's own table, behind a 32-bit entry point.
  void PublishFirmwareTable(const Table& table) {
    mTable = host::MapBelow4G(table.Size());
    std::copy(table.Bytes().begin(), table.Bytes().end(), mTable.Data());
    mEntry = host::MapBelow4G(0x1F);
    auto* const entry = EntryPointBytes::Of32Bits(table, mTable.Address32())
                            .PlaceAt(reinterpret_cast<SMBIOS_TABLE_ENTRY_POINT*>(mEntry.Data()));
    ASSERT_EQ(mFirmware.BootServices()->InstallConfigurationTable(&gEfiSmbiosTableGuid, entry),
              EFI_SUCCESS);
  }
  bool FirmwareTableIsInPlace() {
    return ConfigurationTable(mFirmware, gEfiSmbiosTableGuid) == static_cast<VOID*>(mEntry.Data());
  }

  // Runs the agent as if it had been started from the volume by a shell, with this command line.
  EFI_STATUS RunAgent(const std::u16string& commandLine = u"TvqAgent.efi") {
    EFI_HANDLE image = mFirmware.LoadImage(host::images::agent);
    EFI_BOOT_SERVICES* const services = mFirmware.BootServices();
    EFI_SHELL_PARAMETERS_PROTOCOL parameters = {};
    EXPECT_EQ(services->InstallProtocolInterface(&image, &gEfiShellParametersProtocolGuid,
                                                 EFI_NATIVE_INTERFACE, &parameters),
              EFI_SUCCESS);
    const EFI_STATUS status = Start(image, commandLine);
    EXPECT_EQ(
        services->UninstallProtocolInterface(image, &gEfiShellParametersProtocolGuid, &parameters),
        EFI_SUCCESS);
    return status;
  }
  // The same by a boot manager, which hands over no text.
  EFI_STATUS BootAgent() { return Start(mFirmware.LoadImage(host::images::agent), u""); }
  // The console of later runs, which else have a console without a keyboard.
  void UseTerminal(FakeTerminal* terminal) { mTerminal = terminal; }
  void RemoveVolume() { mHasVolume = false; }

  std::string Report() { return mVolume.Get("\\TVQ\\report.txt"); }
  std::string Console() {
    return std::string(mFirmware.ConsoleOutput().begin(), mFirmware.ConsoleOutput().end());
  }

 private:
  EFI_STATUS Start(EFI_HANDLE image, const std::u16string& commandLine) {
    VOID* found = nullptr;
    EXPECT_EQ(mFirmware.BootServices()->HandleProtocol(image, &gEfiLoadedImageProtocolGuid, &found),
              EFI_SUCCESS);
    auto* loaded = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(found);
    mCommandLine = commandLine;
    loaded->DeviceHandle = mHasVolume ? mVolume.Device() : nullptr;
    loaded->LoadOptions = mCommandLine.data();
    loaded->LoadOptionsSize = static_cast<UINT32>((mCommandLine.size() + 1) * sizeof(char16_t));
    EFI_SYSTEM_TABLE* const system = mFirmware.SystemTableOf(host::images::agent);
    EFI_SIMPLE_TEXT_OUTPUT_PROTOCOL* const output = system->ConOut;
    if (mTerminal != nullptr) {
      system->ConOut = mTerminal->Output();
      system->ConIn = mTerminal->Input();
    }
    const EFI_STATUS status = mFirmware.StartImage(image);
    system->ConOut = output;
    system->ConIn = nullptr;
    return status;
  }

  host::Firmware mFirmware;
  FakeVolume mVolume;
  FakeTerminal* mTerminal = nullptr;
  bool mHasVolume = true;
  host::LowMapping mTable;
  host::LowMapping mEntry;
  std::u16string mCommandLine;
};

// Two processors and two modules that clash, and no type 225; of version 2.8.
inline Table ClashingServer() {
  return Table::Of(Bios{}, System{}, Processor{.designation = "SOCKET 0"},
                   Processor{.designation = "SOCKET 1"}, MemoryDevice{.locator = "DIMM 0"},
                   MemoryDevice{.locator = "DIMM 1"}, End{})
      .OfVersion(2, 8);
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_AGENT_HARNESS_H_
