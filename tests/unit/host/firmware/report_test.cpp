/*
 * Assertions, debug lines and misuse are recorded, and what nobody expected fails the test.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "images/probe.h"
#include "tests/unit/host/firmware/images/Probe.h"

extern "C" {
#include <Library/DebugLib.h>
}

namespace tvq::host {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class FirmwareReport : public testing::Test {
 protected:
  FirmwareReport() { mFirmware.ConstructImage(mFirmware.LoadImage(images::probe)); }

  Firmware mFirmware;
};

TEST_F(FirmwareReport, RecordsAnAssertionAndGoesOn) {
  EXPECT_TRUE(ProbeAssert());
  const std::vector<Assertion> assertions = mFirmware.TakeAssertions();
  ASSERT_EQ(assertions.size(), 1u);
  EXPECT_EQ(assertions[0].image, "probe");
  EXPECT_THAT(assertions[0].file, EndsWith("Probe.cpp"));
  EXPECT_GT(assertions[0].line, 0u);
  EXPECT_EQ(assertions[0].text, "gProbeMark == 1234");
  EXPECT_TRUE(assertions[0].callSite.Has("ProbeAssert")) << assertions[0].callSite.ToString();
  EXPECT_TRUE(mFirmware.Assertions().empty());
}

TEST_F(FirmwareReport, RecordsABadSignature) {
  ProbeRecord record = {};
  ProbeRecordOf(&record.link);
  const std::vector<Assertion> assertions = mFirmware.TakeAssertions();
  ASSERT_EQ(assertions.size(), 1u);
  EXPECT_EQ(assertions[0].text, "CR has Bad Signature");
  record.Signature = kProbeSignature;
  EXPECT_EQ(ProbeRecordOf(&record.link), &record);
}

TEST_F(FirmwareReport, CanSwitchAnImagesAssertionsOff) {
  mFirmware.EnableAssertions(images::probe, false);
  EXPECT_TRUE(ProbeAssert());
  EXPECT_TRUE(mFirmware.Assertions().empty());
  mFirmware.EnableAssertions(images::probe, true);
  ProbeAssert();
  EXPECT_EQ(mFirmware.TakeAssertions().size(), 1u);
}

TEST_F(FirmwareReport, NamesTheCoreWhenTheCoreAsserts) {
  EFI_BOOT_SERVICES* const services = mFirmware.BootServices();
  const EFI_TPL old = services->RaiseTPL(TPL_NOTIFY);
  services->RaiseTPL(TPL_CALLBACK);
  services->RestoreTPL(old);
  const std::vector<Assertion> assertions = mFirmware.TakeAssertions();
  ASSERT_FALSE(assertions.empty());
  EXPECT_EQ(assertions[0].image, "core");
}

TEST_F(FirmwareReport, KeepsDebugLinesOnRequest) {
  ProbePrintDebug(1);
  EXPECT_EQ(mFirmware.DebugOutput(), "");
  mFirmware.KeepDebugOutput();
  ProbePrintDebug(2);
  EXPECT_EQ(mFirmware.DebugOutput(), "probe says 2\r\n");
  mFirmware.KeepDebugOutput(DEBUG_ERROR);
  ProbePrintDebug(3);
  EXPECT_EQ(mFirmware.DebugOutput(), "probe says 2\r\n") << "that is information";
}

TEST_F(FirmwareReport, NamesAServiceThatIsNotThere) {
  EXPECT_EQ(ProbeBootServices()->ExitBootServices(nullptr, 0), EFI_UNSUPPORTED);
  const std::vector<Misuse> misuses = mFirmware.TakeMisuses();
  ASSERT_EQ(misuses.size(), 1u);
  EXPECT_THAT(misuses[0].what, HasSubstr("ExitBootServices"));
}

TEST(FirmwareReportOfAnImage, KeepsAssertionsOffWhenTheImageIsLoadedAgain) {
  Firmware firmware;
  firmware.EnableAssertions(images::probe, false);
  EFI_HANDLE handle = firmware.LoadImage(images::probe);
  ASSERT_EQ(firmware.StartImage(handle), EFI_SUCCESS);
  ASSERT_EQ(firmware.UnloadImage(handle), EFI_SUCCESS);
  firmware.LoadImage(images::probe);
  ProbeAssert();
  EXPECT_TRUE(firmware.Assertions().empty());
}

// What a machine complains of when it ends.
std::vector<std::string> gComplaints;

class FirmwareComplaint : public testing::Test {
 protected:
  FirmwareComplaint() {
    gComplaints.clear();
    SetFailureHandler([](const std::string& message) { gComplaints.push_back(message); });
  }
  ~FirmwareComplaint() override {
    SetFailureHandler([](const std::string& message) { ADD_FAILURE() << message; });
  }
};

TEST_F(FirmwareComplaint, IsMadeOfAnAssertionThatNobodyTook) {
  {
    Firmware firmware;
    firmware.ConstructImage(firmware.LoadImage(images::probe));
    ProbeAssert();
  }
  ASSERT_EQ(gComplaints.size(), 1u);
  EXPECT_THAT(gComplaints[0], HasSubstr("ASSERT [probe]"));
  EXPECT_THAT(gComplaints[0], HasSubstr("gProbeMark == 1234"));
}

TEST_F(FirmwareComplaint, IsMadeOfMisuseThatNobodyTook) {
  {
    Firmware firmware;
    firmware.BootServices()->FreePool(&firmware);
  }
  ASSERT_EQ(gComplaints.size(), 1u);
  EXPECT_THAT(gComplaints[0], HasSubstr("FreePool"));
}

TEST_F(FirmwareComplaint, IsMadeOfATaskPriorityThatStaysRaised) {
  {
    Firmware firmware;
    firmware.BootServices()->RaiseTPL(TPL_CALLBACK);
  }
  ASSERT_EQ(gComplaints.size(), 1u);
  EXPECT_THAT(gComplaints[0], HasSubstr("task priority"));
}

TEST_F(FirmwareComplaint, IsMadeOfAnAssertionOutsideAnyMachine) {
  ProbeAssert();
  ASSERT_EQ(gComplaints.size(), 1u);
  EXPECT_THAT(gComplaints[0], HasSubstr("outside any machine"));
}

TEST_F(FirmwareComplaint, IsNotMadeOfBlocksThatStay) {
  {
    Firmware firmware;
    void* block = nullptr;
    firmware.BootServices()->AllocatePool(EfiBootServicesData, 8, &block);
  }
  EXPECT_TRUE(gComplaints.empty());
}

TEST(FirmwareReportDeathTest, EndsTheProcessWithoutAHandler) {
  EXPECT_DEATH(
      {
        SetFailureHandler(nullptr);
        Firmware firmware;
        firmware.BootServices()->FreePool(&firmware);
      },
      "misuse of firmware: FreePool");
}

TEST(FirmwareReportDeathTest, EndsTheProcessWhenAServiceIsCalledWithoutAMachine) {
  EFI_BOOT_SERVICES services = {};
  {
    Firmware firmware;
    services = *firmware.BootServices();
  }
  void* block = nullptr;
  EXPECT_DEATH(services.AllocatePool(EfiBootServicesData, 8, &block), "needs a Firmware");
}

}  // namespace
}  // namespace tvq::host
