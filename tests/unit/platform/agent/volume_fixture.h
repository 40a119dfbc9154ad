/*
 * An agent that was started from a volume of the test's, which is open.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_VOLUME_FIXTURE_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_VOLUME_FIXTURE_H_

#include "tests/unit/platform/agent/fake_volume.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/volume.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

namespace tvq::test {

class AgentVolumeTest : public AgentTest {
 protected:
  AgentVolumeTest() : mFiles(Firmware()) {
    SetDevice(mFiles.Device());
    EXPECT_EQ(mVolume.Open(Image()), EFI_SUCCESS);
  }

  EFI_HANDLE Image() { return Firmware().HandleOf(host::images::agent); }
  // What the agent was loaded from.
  void SetDevice(EFI_HANDLE device) {
    VOID* loaded = nullptr;
    ASSERT_EQ(
        Firmware().BootServices()->HandleProtocol(Image(), &gEfiLoadedImageProtocolGuid, &loaded),
        EFI_SUCCESS);
    static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded)->DeviceHandle = device;
  }
  FakeVolume& Files() { return mFiles; }
  tvqplatform::Volume& Volume() { return mVolume; }

 private:
  FakeVolume mFiles;
  tvqplatform::Volume mVolume;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_VOLUME_FIXTURE_H_
