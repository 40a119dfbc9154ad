/*
 * What tells a machine from others: one text, the same whenever the machine is looked at.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>

#include "host/facts/identity.h"
#include "tests/unit/host/facts/facts_fixture.h"

namespace tvq::facts {
namespace {

constexpr char kNobodys[] = "To Be Filled By O.E.M.";

std::string Identity(const test::System& system, const test::BaseBoard& board) {
  const test::Table table = test::Table::Of(system, board, test::Chassis{});
  return IdentityOf(Read(table, {3, 0}), table.Bytes());
}

TEST(Identity, IsTheUuid) {
  EXPECT_EQ(Identity({}, {}), "uuid:00112233-4455-6677-8899-aabbccddeeff");
}

TEST(Identity, IsTheSystemsSerialNumberWhereAllMachinesOfTheModelMayHaveTheUuid) {
  const test::Bytes madeUp = {0x03, 0x00, 0x02, 0x00, 0x04, 0x00, 0x05, 0x00,
                              0x00, 0x06, 0x00, 0x07, 0x00, 0x08, 0x00, 0x09};
  for (const test::Bytes& uuid :
       {test::Bytes(16, 0x00), test::Bytes(16, 0xFF), test::Bytes(16, 0x55), madeUp}) {
    EXPECT_EQ(Identity({.uuid = uuid}, {}), "system:ABC1234");
  }
}

TEST(Identity, IsTheBoardsSerialNumberWhereTheSystemHasAPlaceholder) {
  EXPECT_EQ(Identity({.serial = kNobodys, .uuid = test::Bytes(16, 0)}, {}), "board:BRD0001");
}

TEST(Identity, IsEmptyWhereNothingButTheEnclosureHasANumber) {
  EXPECT_EQ(Identity({.serial = kNobodys, .uuid = test::Bytes(16, 0)}, {.serial = "0000000"}), "");
}

TEST(Identity, OfATableWithoutASystemIsEmpty) {
  const test::Table table = test::Table::Of(test::Chassis{});
  EXPECT_EQ(IdentityOf(Read(table, {3, 0}), table.Bytes()), "");
}

}  // namespace
}  // namespace tvq::facts
