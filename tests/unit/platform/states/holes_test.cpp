/*
 * Devices that nothing can be compared with later.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/platform/states/fake_parser.h"

#include "TvqPlatformPkg/src/states/holes.h"

namespace tvq::test {
namespace {

using tvqplatform::Hole;
using tvqplatform::WhyNoRecord;

class StateHoles : public AgentTest {
 protected:
  StateHoles() { gBS = Firmware().BootServices(); }

  void LoadPlatform() {
    EXPECT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::platform)), EFI_SUCCESS);
  }
  static tvqplatform::SnapshotDevice DeviceWith(const Bytes& blobs,
                                                WhyNoRecord why = WhyNoRecord::kHasRecord) {
    tvqplatform::SnapshotDevice device = {};
    device.Why = why;
    device.Blobs = View(blobs);
    return device;
  }
  static Hole HoleWith(const Bytes& blobs, WhyNoRecord why = WhyNoRecord::kHasRecord) {
    return tvqplatform::FindHole(DeviceWith(blobs, why));
  }
  static Bytes Document(const std::string& text) { return BlobsOf({.document = text}); }
};

TEST_F(StateHoles, AreDevicesWithoutARecord) {
  EXPECT_EQ(HoleWith(Document("<a/>"), WhyNoRecord::kBehind), Hole::kNoRecord);
}

TEST_F(StateHoles, AreDevicesWithoutBlobs) {
  EXPECT_EQ(HoleWith({}), Hole::kNoBlobs);
}

TEST_F(StateHoles, AreDevicesWithoutADocument) {
  EXPECT_EQ(HoleWith(EndBlob()), Hole::kUnreadable);
}

TEST_F(StateHoles, AreDevicesWhoseDocumentNoParserReads) {
  LoadPlatform();
  const size_t blocks = Firmware().Memory().LiveCount();
  EXPECT_EQ(HoleWith(Document("<a/>")), Hole::kNone);
  EXPECT_EQ(HoleWith(Document("<a>&</a>")), Hole::kUnreadable);
  EXPECT_EQ(Firmware().Memory().LiveCount(), blocks);
}

TEST_F(StateHoles, AreNoDevicesWhoseDocumentNobodyCanRead) {
  EXPECT_EQ(HoleWith(Document("Core & Works")), Hole::kNone);
}

TEST_F(StateHoles, AreNoDevicesWhoseDocumentTheParserHasNoMemoryFor) {
  const FakeParser parser(Firmware(), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(HoleWith(Document("<a/>")), Hole::kNone);
}

TEST_F(StateHoles, AreAskedOfTheParserAsItsProtocolWants) {
  const FakeParser parser(Firmware(), EFI_SUCCESS);
  EXPECT_EQ(HoleWith(Document("<a/>")), Hole::kNone);
  EXPECT_EQ(parser.Documents(), std::vector<std::string>{"<a/>"});
}

TEST_F(StateHoles, AreDevicesWhoseDocumentTheParserRefuses) {
  const FakeParser parser(Firmware(), EFI_CRC_ERROR);
  EXPECT_EQ(HoleWith(Document("<a/>")), Hole::kUnreadable);
}

TEST_F(StateHoles, AreCounted) {
  const Bytes blobs = Document("<a/>");
  const Bytes none;
  tvqplatform::Snapshot snapshot;
  EXPECT_EQ(tvqplatform::CountHoles(snapshot), 0u);
  EXPECT_TRUE(snapshot.Add(DeviceWith(none)));
  EXPECT_EQ(tvqplatform::CountHoles(snapshot), 1u);
  EXPECT_TRUE(snapshot.Add(DeviceWith(blobs)));
  EXPECT_TRUE(snapshot.Add(DeviceWith(none, WhyNoRecord::kClash)));
  EXPECT_EQ(tvqplatform::CountHoles(snapshot), 2u);
}

TEST_F(StateHoles, AreSaidInWords) {
  const std::pair<WhyNoRecord, const char*> kReasons[] = {
      {WhyNoRecord::kClash, "a device before it has the same name, as far as the driver reads it"},
      {WhyNoRecord::kRefused, "the driver refused it, and its log tells why"},
      {WhyNoRecord::kBehind, "the driver ended at a device before it"},
      {WhyNoRecord::kBehindTable, "the table ends before it, for the driver"},
      {WhyNoRecord::kNotStarted, "the driver's start ended without records"}};
  for (const auto& [why, text] : kReasons) {
    EXPECT_STREQ(tvqplatform::ReasonText(why), text);
    EXPECT_EQ(std::string("no record: ") + text, tvqplatform::HoleText(Hole::kNoRecord, why));
  }
  EXPECT_STREQ(tvqplatform::ReasonText(WhyNoRecord::kHasRecord), "");
  EXPECT_STREQ(tvqplatform::HoleText(Hole::kNoBlobs, WhyNoRecord::kHasRecord),
               "no blobs: there was no memory for them");
  EXPECT_STREQ(tvqplatform::HoleText(Hole::kUnreadable, WhyNoRecord::kHasRecord),
               "a document that no parser reads");
  EXPECT_STREQ(tvqplatform::HoleText(Hole::kNone, WhyNoRecord::kHasRecord), "");
}

}  // namespace
}  // namespace tvq::test
