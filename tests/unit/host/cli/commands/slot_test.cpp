/*
 * `tvq slot`: what the table has at a PCI address, and what the driver answers.
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
    return RunTvq(arguments, "", {80});
  }
};

TEST_F(CliSlot, FindsASlotOfDeviceZero) {
  const Table table = Table::Of(WithNames(), test::Slot{.slotType = 0xC3, .id = 0x12, .bus = 0x3B});
  const Outcome answer = Ask(table, {"3b:00.0"});
  EXPECT_EQ(answer.status, 0) << answer.diagnostics;
  EXPECT_EQ(answer.out,
            "0000:3b:00.0\n"
            "  table   slot \"PCIe Slot 1\", PCI Express 5 x16, x16, Available, handle 0x8002\n"
            "  driver  slot ID 0x0012, type 0xC3, length 0x04, data bus width 0x0D\n");
}

TEST_F(CliSlot, SaysThatTheDriverPacksTheAddressInAnotherWay) {
  const Table table = Table::Of(WithNames(), test::Slot{.bus = 0x3B, .devFn = 0x0A});
  const Outcome answer = Ask(table, {"3b:01.2"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out,
            "0000:3b:01.2\n"
            "  table   slot \"PCIe Slot 1\", PCI Express, x16, Available, handle 0x8002\n"
            "  driver  Not Found\n"
            "  reason  it looks for device and function as 0x06 (device * 4 + function),\n"
            "          where the table has 0x0A (device * 8 + function)\n");
}

TEST_F(CliSlot, SaysWhichOtherSlotTheDriverAnswersWith) {
  // The driver packs device 1, function 2 into 0x06, which is device 0, function 6.
  const Table table = Table::Of(WithNames(), test::Slot{.bus = 0x3B, .devFn = 0x06});
  const Outcome answer = Ask(table, {"3b:01.2"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out,
            "0000:3b:01.2\n"
            "  table   nothing at this address\n"
            "  driver  slot ID 0x0001, type 0xA5, length 0x04, data bus width 0x0D: slot\n"
            "          \"PCIe Slot 1\", PCI Express, x16, Available, handle 0x8002\n"
            "  reason  it looks for device and function as 0x06 (device * 4 + function),\n"
            "          which is another address\n");
}

TEST_F(CliSlot, FindsEachFunctionOfDeviceZero) {
  for (const uint8_t function : test::Bytes{1, 2, 3}) {
    const Table table =
        Table::Of(WithNames(), test::Slot{.designation = "Other", .bus = 0x3A, .devFn = function},
                  test::Slot{.designation = "Wanted", .bus = 0x3B, .devFn = function});
    const Outcome answer = Ask(table, {"3b:00." + std::to_string(function)});
    EXPECT_EQ(answer.status, 0) << answer.out;
    EXPECT_THAT(answer.out, HasSubstr("  table   slot \"Wanted\""));
  }
}

TEST_F(CliSlot, SaysWhichOfManySlotsTheDriverAnswersWith) {
  // The driver packs device 3, function 1 into 0x0D, which is device 1, function 5.
  const Table table =
      Table::Of(WithNames(), test::Slot{.designation = "None", .bus = 0xFF, .devFn = 0xFF},
                test::Slot{.designation = "Other", .bus = 0x3B, .devFn = 0x05},
                test::Slot{.designation = "Answer", .bus = 0x3B, .devFn = 0x0D});
  EXPECT_THAT(Ask(table, {"3b:03.1", "--wide"}).out,
              HasSubstr("data bus width 0x0D: slot \"Answer\", "));
}

TEST_F(CliSlot, BreaksWhatTheTableSaysBelowItself) {
  const Table table =
      Table::Of(WithNames(), test::Slot{.designation = std::string(60, 's'), .bus = 0x3B});
  EXPECT_THAT(Ask(table, {"3b:00.0"}).out,
              HasSubstr("  table   slot \"" + std::string(60, 's') +
                        "\",\n"
                        "          PCI Express, x16, Available, handle 0x8002\n"));
}

TEST_F(CliSlot, SaysThatTheDriverDoesNotComeToASlotBehindItsEndOfTheTable) {
  const Table table = Table::Of(WithNames(), test::Structure{130, 0xFFFF}, test::Slot{.bus = 0x3B});
  const Outcome answer = Ask(table, {"3b:00.0", "--as-is"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out, HasSubstr("  driver  Not Found\n"
                                    "  reason  the driver does not come to it\n"));
}

TEST_F(CliSlot, FindsAnOnboardDeviceWithBothAttributes) {
  const Table table = Table::Of(WithNames(), test::OnboardDevice{.bus = 0x3B});
  EXPECT_THAT(Ask(table, {"3b:0.0"}).out,
              HasSubstr("  table   onboard device \"Embedded NIC 1\", Ethernet, handle 0x8002\n"
                        "  driver  an onboard device, reference designation string 1\n"));
  EXPECT_EQ(Ask(table, {"3b:0.0", "--id"}).status, 0);
  const auto driver = Ask(table, {"3b:0.0", "--json"}).Json()["driver"];
  EXPECT_EQ(driver["isOnboard"], true);
  EXPECT_EQ(driver["slotId"], 1);
  EXPECT_EQ(driver["slotType"], nullptr);
  EXPECT_EQ(driver["part"]["kind"], "onboardDevice");
}

TEST_F(CliSlot, TakesADomain) {
  const Table table =
      Table::Of(WithNames(), test::Slot{.designation = "Far", .segment = 2, .bus = 0x3B});
  const Outcome far = Ask(table, {"0002:3b:00.0"});
  EXPECT_EQ(far.status, 0);
  EXPECT_THAT(far.out, HasSubstr("0002:3b:00.0\n  table   slot \"Far\""));
  const Outcome near = Ask(table, {"3b:00.0"});
  EXPECT_EQ(near.status, 1);
  EXPECT_THAT(near.out, HasSubstr("  reason  it asks without a domain\n"));
}

TEST_F(CliSlot, FindsNothing) {
  const Outcome answer = Ask(WithNames(), {"00:00.0"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_EQ(answer.out, "0000:00:00.0\n  table   nothing at this address\n  driver  Not Found\n");
  EXPECT_EQ(Ask(WithNames(), {"00:00.0", "--id"}).out, answer.out);
}

TEST_F(CliSlot, SaysThatTheSearchByIdIsForNoSlot) {
  const Table table = Table::Of(WithNames(), test::Slot{.id = 3});
  const Outcome answer = Ask(table, {"00:00.0", "--id"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out,
              HasSubstr("  reason  asked by ID, it looks for a slot whose ID is 0xFFFF, "
                        "or for an onboard\n          device\n"));
}

TEST_F(CliSlot, SaysThatASlotWithoutAnIdEndsTheSearchById) {
  const Table table = Table::Of(WithNames(), test::Slot{.id = 0xFFFF}, Copies(300, test::Cache{}));
  const Outcome answer = Ask(table, {"00:00.0", "--id"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out, HasSubstr("  driver  Not Found\n"
                                    "  reason  a slot whose ID is 0xFFFF ended the search\n"));
}

TEST_F(CliSlot, SaysThatFirmwareWouldHang) {
  const Table table = Table::Of(WithNames(), Copies(300, test::Cache{}));
  const Outcome answer = Ask(table, {"00:00.0"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out, HasSubstr("  driver  firmware would hang\n  reason  nothing matches"));
  EXPECT_EQ(Ask(table, {"00:00.0", "--json"}).Json()["driver"]["neverEnds"], true);
}

TEST_F(CliSlot, AMatchInALargeTableDoesNotHang) {
  const Table table = Table::Of(WithNames(), test::Slot{.bus = 0x3B}, Copies(300, test::Cache{}));
  EXPECT_EQ(Ask(table, {"3b:00.0"}).status, 0);
}

TEST_F(CliSlot, ExactlyAsManyStructuresAsTheCounterHoldsDoNotHang) {
  for (const auto& [count, hangs] : {std::pair(255, false), std::pair(256, true)}) {
    const size_t others = static_cast<size_t>(count) - WithNames().Count();
    const Table table = Table::Of(WithNames(), Copies(others, test::Cache{}));
    EXPECT_EQ(Ask(table, {"00:00.0", "--json", "--as-is"}).Json()["driver"]["neverEnds"], hangs)
        << count;
  }
}

TEST_F(CliSlot, SaysBothSidesAsJson) {
  const Table table = Table::Of(WithNames(), test::Slot{.id = 5, .bus = 0x3B});
  const auto json = Ask(table, {"3b:00.0", "--json"}).Json();
  EXPECT_EQ(json["schema"], "tvq-slot");
  EXPECT_EQ(json["address"], "0000:3b:00.0");
  EXPECT_EQ(json["table"]["kind"], "slot");
  EXPECT_EQ(json["table"]["id"], 5);
  EXPECT_EQ(json["driver"]["part"], json["table"]);
  EXPECT_EQ(json["agree"], true);
  EXPECT_EQ(json["reason"], nullptr);
  auto driver = json["driver"];
  driver.erase("part");
  EXPECT_EQ(driver.dump(),
            R"({"attribute":"SMBIOSPCISlotInfo","status":"Success","neverEnds":false,"slotId":5,)"
            R"("isOnboard":false,"slotType":165,"slotLength":4,"slotDataBusWidth":13})");
}

TEST_F(CliSlot, SaysAsJsonWhyTheSidesDiffer) {
  const Table table = Table::Of(WithNames(), test::Slot{.bus = 0x3B, .devFn = 0x0A});
  const auto json = Ask(table, {"3b:01.2", "--json"}).Json();
  EXPECT_EQ(json["agree"], false);
  EXPECT_EQ(json["driver"]["status"], "Not Found");
  EXPECT_EQ(json["driver"]["part"], nullptr);
  for (const char* const value :
       {"slotId", "isOnboard", "slotType", "slotLength", "slotDataBusWidth"}) {
    EXPECT_EQ(json["driver"][value], nullptr) << value;
  }
  EXPECT_THAT(json["reason"].get<std::string>(), HasSubstr("device * 4 + function"));
}

TEST_F(CliSlot, TakesTheHighestAddress) {
  const Outcome answer = Ask(WithNames(), {"ffff:ff:1f.7"});
  EXPECT_EQ(answer.status, 1);
  EXPECT_THAT(answer.out, testing::StartsWith("ffff:ff:1f.7\n"));
}

TEST_F(CliSlot, RefusesWhatIsNoAddress) {
  for (const char* const address :
       {"", "3b", "3b:", "3b:0", "3b:0.", "3b:0.8", "3b:20.0", "100:0.0", "3b:0.0x", "g:0.0",
        "10000:3b:00.0", "0:0:0:0.0", ":3b:00.0", ":0.0", "-1:0.0"}) {
    const Outcome answer = Ask(WithNames(), {address});
    EXPECT_EQ(answer.status, 2) << address;
  }
  EXPECT_THAT(Ask(WithNames(), {"3b"}).diagnostics,
              HasSubstr("tvq: hint: an address is [DOMAIN:]BUS:DEVICE.FUNCTION in hexadecimal"));
}

}  // namespace
}  // namespace tvq::cli
