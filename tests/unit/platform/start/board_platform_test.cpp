/*
 * The example of a board's own platform: the driver's whole life needs no more than that.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "images/board_platform.h"
#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/start/boot_option.h"

namespace tvq::test {
namespace {

using testing::HasSubstr;

class BoardPlatform : public testing::Test, protected AgentHarness {};

TEST_F(BoardPlatform, ServesTheDriverAndStartsIt) {
  ASSERT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::board_platform)), EFI_SUCCESS);
  LoadDriverAgain();
  PublishFirmwareTable(ClashingServer());
  TryBootOption(Firmware());
  EXPECT_TRUE(FirmwareTableIsInPlace());
  // The agent does without the reference platform's own protocol, but for log and attributes.
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("was started before"));
  EXPECT_THAT(Report(), HasSubstr("Records: 5"));
}

}  // namespace
}  // namespace tvq::test
