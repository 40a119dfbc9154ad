/*
 * Asking the driver whether a part was replaced. The records are the test's own, so that everything the driver may answer can be tried.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <memory>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/ask_driver.h"

namespace tvq::test {
namespace {

class AgentAskDriver : public AgentTest {
 protected:
  FakeRecord& Add(const FakeDevice& device) {
    mRecords.push_back(std::make_unique<FakeRecord>(Firmware(), device));
    return *mRecords.back();
  }
  // About the device in that place.
  EFI_STATUS Ask(UINTN device, const Bytes& saved) {
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    const tvqplatform::DriverQuestion question = tvqplatform::QuestionFor(inventory);
    mIsReplaced = false;
    return question.Ask(question.Context, device, View(saved), mIsReplaced);
  }
  bool IsReplaced() const { return mIsReplaced; }

  TVQ_PLATFORM_PROTOCOL* LoadPlatform() {
    EXPECT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::platform)), EFI_SUCCESS);
    VOID* platform = nullptr;
    EXPECT_EQ(
        Firmware().BootServices()->LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &platform),
        EFI_SUCCESS);
    return static_cast<TVQ_PLATFORM_PROTOCOL*>(platform);
  }

 private:
  std::vector<std::unique_ptr<FakeRecord>> mRecords;
  bool mIsReplaced = false;
};

TEST_F(AgentAskDriver, HandsItWhatWasSavedOfTheDevice) {
  Add({});
  const FakeRecord& second = Add({});
  const Bytes saved = BlobsOf({.serial = "saved"});
  EXPECT_EQ(Ask(1, saved), EFI_SUCCESS);
  EXPECT_EQ(second.comparedWith, saved);
}

TEST_F(AgentAskDriver, TakesItsWordForWhatWasReplaced) {
  FakeRecord& record = Add({});
  record.device.verifyResult = TVQ_RESULT_PART_REPLACED;
  EXPECT_EQ(Ask(0, BlobsOf({})), EFI_SUCCESS);
  EXPECT_TRUE(IsReplaced());
  record.device.verifyResult = ~static_cast<UINT32>(TVQ_RESULT_PART_REPLACED);
  EXPECT_EQ(Ask(0, BlobsOf({})), EFI_SUCCESS);
  EXPECT_FALSE(IsReplaced());
}

TEST_F(AgentAskDriver, ReturnsItsStatusAndBelievesNoResultBesideAnError) {
  FakeRecord& record = Add({});
  record.device.verifyStatus = EFI_OUT_OF_RESOURCES;
  record.device.verifyResult = TVQ_RESULT_PART_REPLACED;
  EXPECT_EQ(Ask(0, BlobsOf({})), EFI_OUT_OF_RESOURCES);
  EXPECT_FALSE(IsReplaced());
}

TEST_F(AgentAskDriver, FindsNobodyForADeviceWithoutARecord) {
  Add({});
  EXPECT_EQ(Ask(1, BlobsOf({})), EFI_NOT_FOUND);
}

TEST_F(AgentAskDriver, AnnouncesTheSavedDataOnlyWhileItCompares) {
  TVQ_PLATFORM_PROTOCOL* platform = LoadPlatform();
  Add({});
  const Bytes saved = BlobsOf({});
  EXPECT_EQ(Ask(0, saved), EFI_SUCCESS);
  EXPECT_EQ(platform->ForgetStoredData(platform, const_cast<uint8_t*>(saved.data())),
            EFI_NOT_FOUND);
}

TEST_F(AgentAskDriver, DoesNotCompareWithDataThatCannotBeAnnounced) {
  LoadPlatform();
  const FakeRecord& record = Add({});
  EXPECT_NE(Ask(0, {}), EFI_SUCCESS);
  EXPECT_EQ(record.comparedWith, Bytes()) << "the driver was not asked";
}

}  // namespace
}  // namespace tvq::test
