/*
 * What a table says of its machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/states/machine_identity.h"

namespace tvq::test {
namespace {

using tvqplatform::MachineIdentity;

// The texts of the identity stand in the table.
class MachineIdentityOfTable : public AgentTest {
 protected:
  template <typename... Parts>
  MachineIdentity Read(const Parts&... parts) {
    mTable = Table::Of(parts...).Bytes();
    return tvqplatform::ReadMachineIdentity(View(mTable));
  }

 private:
  Bytes mTable;
};

TEST_F(MachineIdentityOfTable, IsThatOfItsFirstSystemBoardAndChassis) {
  const MachineIdentity machine =
      Read(Bios{}, System{}, BaseBoard{}, Chassis{}, System{.serial = "X"},
           BaseBoard{.serial = "X"}, Chassis{.serial = "X"}, End{});
  EXPECT_TRUE(machine.HasUuid);
  EXPECT_EQ(Bytes(std::begin(machine.Uuid), std::end(machine.Uuid)), System{}.uuid);
  EXPECT_EQ(SpelledOut(machine.SystemSerial), "ABC1234");
  EXPECT_EQ(SpelledOut(machine.BoardSerial), "BRD0001");
  EXPECT_EQ(SpelledOut(machine.ChassisSerial), "CHS0001");
}

TEST_F(MachineIdentityOfTable, MayHaveNumbersOfOneCharacter) {
  EXPECT_EQ(SpelledOut(Read(System{.serial = "7"}, End{}).SystemSerial), "7");
}

// A structure without strings, whose first one is meant.
TEST_F(MachineIdentityOfTable, HasNoNumberWhereTheTextIsEmpty) {
  Structure system = System{.manufacturer = std::nullopt}.Build();
  system.strings.clear();
  system.SetByte(0x07, 1);
  EXPECT_EQ(SpelledOut(Read(system, End{}).SystemSerial), "(none)");
}

// SMBIOS 2.1 has structures that end behind the UUID.
TEST_F(MachineIdentityOfTable, HasAUuidWhereTheStructureHoldsAllOfIt) {
  EXPECT_TRUE(Read(System{}.Build().CutTo(0x18), End{}).HasUuid);
  EXPECT_FALSE(Read(System{}.Build().CutTo(0x17), End{}).HasUuid);
}

TEST_F(MachineIdentityOfTable, IsNoneWithoutASystem) {
  const MachineIdentity machine = Read(Bios{}, End{});
  EXPECT_FALSE(machine.HasUuid);
  EXPECT_EQ(SpelledOut(machine.SystemSerial), "(none)");
}

}  // namespace
}  // namespace tvq::test
