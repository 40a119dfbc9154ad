/*
 * `tvq slot`: the driver's answer for a PCI address.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using test::Table;
using testing::HasSubstr;

Table WithNames() {
  return Table::Of(test::System{}, test::FqddMap{.groups = {{"CPU.Socket.1", 1}}});
}

class CliSlot : public CliTest {
 protected:
  Outcome Ask(const Table& table, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "slot");
    arguments.insert(arguments.end(), {"--table", Write("table.bin", table.Bytes())});
    return RunTvq(arguments);
  }
};

TEST_F(CliSlot, FindsASlot) {
  // The driver packs device 1, function 2 into 0x06.
  const Table table =
      Table::Of(WithNames(), test::Slot{.slotType = 0xC3, .id = 0x12, .bus = 0x3B, .devFn = 0x06});
  const Outcome answer = Ask(table, {"3b:01.2"});
  EXPECT_EQ(answer.status, 0) << answer.diagnostics;
  EXPECT_EQ(answer.out, "3b:01.2: slot ID 0x0012, type 0xC3, length 0x04, data bus width 0x0D\n");
}

TEST_F(CliSlot, FindsAnOnboardDeviceWithBothAttributes) {
  const Table table = Table::Of(WithNames(), test::OnboardDevice{.bus = 0x3B, .devFn = 0x06});
  EXPECT_EQ(Ask(table, {"3b:1.2"}).out, "3b:1.2: onboard device, reference designation string 1\n");
  EXPECT_EQ(Ask(table, {"3b:1.2", "--id"}).status, 0);
}

TEST_F(CliSlot, FindsNothing) {
  const Outcome answer = Ask(WithNames(), {"00:00.0"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "00:00.0: Not Found\n");
}

TEST_F(CliSlot, SaysThatASlotWithoutAnIdEndsTheSearchById) {
  const Table table = Table::Of(WithNames(), test::Slot{.id = 0xFFFF}, Copies(300, test::Cache{}));
  const Outcome answer = Ask(table, {"00:00.0", "--id"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "00:00.0: Not Found: a slot whose ID is 0xFFFF ended the search\n");
}

TEST_F(CliSlot, SaysThatFirmwareWouldHang) {
  const Table table = Table::Of(WithNames(), Copies(300, test::Cache{}));
  const Outcome answer = Ask(table, {"00:00.0"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out, HasSubstr("00:00.0: firmware would hang"));
  EXPECT_EQ(Ask(table, {"00:00.0", "--json"}).Json()["neverEnds"], true);
}

TEST_F(CliSlot, AMatchInALargeTableDoesNotHang) {
  const Table table = Table::Of(WithNames(), test::Slot{.bus = 0x3B}, Copies(300, test::Cache{}));
  EXPECT_EQ(Ask(table, {"3b:00.0"}).status, 0);
}

TEST_F(CliSlot, ExactlyAsManyStructuresAsTheCounterHoldsDoNotHang) {
  for (const auto& [count, hangs] : {std::pair(255, false), std::pair(256, true)}) {
    const size_t others = static_cast<size_t>(count) - WithNames().Count();
    const Table table = Table::Of(WithNames(), Copies(others, test::Cache{}));
    EXPECT_EQ(Ask(table, {"00:00.0", "--json"}).Json()["neverEnds"], hangs) << count;
  }
}

TEST_F(CliSlot, SaysTheAnswerAsJson) {
  const Table table = Table::Of(WithNames(), test::Slot{.id = 5, .bus = 0x3B});
  EXPECT_EQ(Ask(table, {"3b:00.0", "--json"}).Json().dump(),
            R"({"address":"3b:00.0","attribute":"SMBIOSPCISlotInfo","status":"Success",)"
            R"("neverEnds":false,"slotId":5,"isOnboard":false,"slotType":165,"slotLength":4,)"
            R"("slotDataBusWidth":13})");
}

TEST_F(CliSlot, RefusesWhatIsNoAddress) {
  for (const char* const address :
       {"", "3b", "3b:", "3b:0", "3b:0.", "3b:0.8", "3b:20.0", "100:0.0", "3b:0.0x", "g:0.0",
        "0000:3b:00.0", ":0.0", "-1:0.0"}) {
    const Outcome answer = Ask(WithNames(), {address});
    EXPECT_EQ(answer.status, 2) << address;
  }
  EXPECT_THAT(Ask(WithNames(), {"3b"}).diagnostics,
              HasSubstr("tvq: hint: an address is BUS:DEVICE.FUNCTION in hexadecimal"));
}

}  // namespace
}  // namespace tvq::cli
