/*
 * Records as values of the tests: a difference is named.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/record_values.h"

namespace tvq::test::record {
namespace {

TEST(RecordValues, ADifferenceIsNamedByItsField) {
  const Cpu actual = {.FQDD = "CPU.Socket.1", .Socket = 1, .CoreCount = 28};
  testing::StringMatchResultListener listener;
  const auto matches = Is(Cpu{.Socket = 1, .CoreCount = 26});
  EXPECT_FALSE(testing::ExplainMatchResult(matches, actual, &listener));
  EXPECT_EQ(listener.str(),
            "\n  .FQDD is (\"CPU.Socket.1\"), not (nullopt)"
            "\n  .CoreCount is 28 (1Ch), not 26 (1Ah)");
}

TEST(RecordValues, PrintWhatIsNotZero) {
  EXPECT_EQ(testing::PrintToString(BaseBoard{.LocationInChassis = "Tray", .ChassisHandle = 10}),
            "{ .LocationInChassis = (\"Tray\"), .ChassisHandle = 10 (Ah), }");
  EXPECT_EQ(testing::PrintToString(BaseBoard{}), "{ }");
}

}  // namespace
}  // namespace tvq::test::record
