/*
 * The folder of a machine's states: how it is named, and which one is found.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/agent/volume_fixture.h"

#include "TvqPlatformPkg/src/agent/machine_folder.h"

namespace tvq::test {
namespace {

const Bytes kUuid = {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF,
                     0xFE, 0xDC, 0xBA, 0x98, 0x76, 0x54, 0x32, 0x10};

std::string StateOf(const std::string& serial) {
  const Bytes state = State2{{OriginSection(0, 0, 2, ""), MachineSection({}, serial)}, 1}.Encode();
  return std::string(state.begin(), state.end());
}

class MachineFolder : public AgentVolumeTest {
 protected:
  MachineFolder() { SetSystem("ABC1234"); }

  void SetSystem(const std::string& serial) {
    mSystem = serial;
    mNow.Machine.SystemSerial = View(mSystem);
  }
  void SetBoard(const std::string& serial) {
    mBoard = serial;
    mNow.Machine.BoardSerial = View(mBoard);
  }
  void SetUuid(const Bytes& uuid) {
    mNow.Machine.HasUuid = true;
    std::copy(uuid.begin(), uuid.end(), mNow.Machine.Uuid);
  }
  // A folder in which the newest state is of the machine with this serial number.
  void PutState(const std::string& folder, const std::string& serial) {
    Files().Put("\\TVQ\\" + folder + "\\state-1.bin", StateOf(serial));
  }

  std::string Name(UINT32 count = 1) {
    CHAR16 path[tvqplatform::kPathSize];
    tvqplatform::NameMachineFolder(mNow.Machine, count, path);
    return Utf8(path);
  }
  // The path, or why there is none.
  std::string Find() {
    CHAR16 path[tvqplatform::kPathSize] = {};
    const EFI_STATUS status = tvqplatform::FindMachineFolder(Volume(), mNow, path);
    char text[40];
    std::snprintf(text, sizeof(text), "status %llx", static_cast<unsigned long long>(status));
    return EFI_ERROR(status) ? text : Utf8(path);
  }

 private:
  static smbios::Text View(const std::string& text) {
    return text.empty() ? smbios::Text()
                        : smbios::Text(reinterpret_cast<const UINT8*>(text.c_str()), text.size());
  }

  tvqplatform::Snapshot mNow;
  std::string mSystem;
  std::string mBoard;
};

// --- Its name ---

TEST_F(MachineFolder, IsNamedAfterTheSystemsSerialNumber) {
  SetBoard("BRD0001");
  SetUuid(kUuid);
  EXPECT_EQ(Name(), "\\TVQ\\machine-ABC1234");
}

TEST_F(MachineFolder, IsNamedAfterTheBoardWhereTheSystemHasNoNumber) {
  SetBoard("BRD0001");
  SetUuid(kUuid);
  for (const char* none : {"", "Default string"}) {
    SetSystem(none);
    EXPECT_EQ(Name(), "\\TVQ\\machine-BRD0001") << none;
  }
}

TEST_F(MachineFolder, IsNamedAfterTheUuidWhereThereIsNoSerialNumber) {
  SetSystem("");
  SetUuid(kUuid);
  EXPECT_EQ(Name(), "\\TVQ\\machine-0123456789abcdeffedcba9876543210");
}

TEST_F(MachineFolder, SaysWhereNothingTellsTheMachine) {
  SetSystem("");
  EXPECT_EQ(Name(), "\\TVQ\\machine-without-number");
}

TEST_F(MachineFolder, HasLettersAndDigitsOfTheNumberAndDashes) {
  SetSystem("09AZaz-");
  EXPECT_EQ(Name(), "\\TVQ\\machine-09AZaz-");
  // What stands beside these in ASCII, and what no file system takes.
  SetSystem("1/:@[`{,.*?\\\x7F\xE9 1");
  EXPECT_EQ(Name(), "\\TVQ\\machine-1______________1");
}

TEST_F(MachineFolder, HasThirtyTwoCharactersOfTheNumberAtMost) {
  SetSystem(std::string(31, 'A') + "B");
  EXPECT_EQ(Name(), "\\TVQ\\machine-" + std::string(31, 'A') + "B");
  SetSystem(std::string(31, 'A') + "BC");
  EXPECT_EQ(Name(), "\\TVQ\\machine-" + std::string(31, 'A') + "B");
}

TEST_F(MachineFolder, IsNumberedWhereOthersHaveItsName) {
  EXPECT_EQ(Name(2), "\\TVQ\\machine-ABC1234-2");
  const std::string longest = std::string(31, 'A') + "B";
  SetSystem(longest);
  EXPECT_EQ(Name(1000), "\\TVQ\\machine-" + longest + "-1000");
}

// --- Which one it is ---

TEST_F(MachineFolder, IsTheOneOfItsNameWhereThereIsNone) {
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234");
  Files().RemoveFolder("\\TVQ");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234");
}

TEST_F(MachineFolder, IsTheOneOfItsNameAlsoWhereThatHasNoState) {
  Files().Put("\\TVQ\\machine-ABC1234\\notes.txt", "");
  PutState("machine-elsewhere", "ABC1234");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234");
}

TEST_F(MachineFolder, IsTheNextOneWhereAnotherMachineHasItsName) {
  PutState("machine-ABC1234", "XYZ9999");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234-2");
  PutState("machine-ABC1234-2", "XYZ8888");
  PutState("machine-ABC1234-3", "ABC1234");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234-3");
}

TEST_F(MachineFolder, IsFoundUnderTheNameOfAnotherNumber) {
  PutState("machine-XYZ9999", "XYZ9999");
  PutState("machine-0", "ABC1234");
  EXPECT_EQ(Find(), "\\TVQ\\machine-0");
}

TEST_F(MachineFolder, IsFoundUnderTheLongestNameThatAFolderMayHave) {
  const std::string name = "machine-" + std::string(55, 'x');
  PutState(name, "ABC1234");
  EXPECT_EQ(Find(), "\\TVQ\\" + name);
}

TEST_F(MachineFolder, IsNoneThatIsNotNamedAsOne) {
  for (const char* name : {"golden", "machi-golden", "machine", "machine_golden", "machinegolden",
                           "amachine-golden"}) {
    PutState(name, "ABC1234");
    EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234") << name;
  }
  Files().Put("\\TVQ\\machine-file", StateOf("ABC1234"));
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234");
}

TEST_F(MachineFolder, IsNoneWithoutAState) {
  Files().Put("\\TVQ\\machine-empty\\notes.txt", "");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234");
}

TEST_F(MachineFolder, IsNotLookedForWhereNothingCanBeRead) {
  Files().Fail(FileCall::kOpen, EFI_DEVICE_ERROR, "\\TVQ");
  EXPECT_EQ(Find(), "status 8000000000000007");
  Files().Recover();
  PutState("machine-other", "XYZ9999");
  Files().Fail(FileCall::kRead, EFI_CRC_ERROR, "\\TVQ\\machine-other");
  EXPECT_EQ(Find(), "status 800000000000001b");
}

TEST_F(MachineFolder, IsOneOfAThousandOfTheSameName) {
  PutState("machine-ABC1234", "XYZ9999");
  for (int count = 2; count < 1000; ++count) {
    PutState("machine-ABC1234-" + std::to_string(count), "XYZ9999");
  }
  PutState("machine-ABC1234-1000", "ABC1234");
  EXPECT_EQ(Find(), "\\TVQ\\machine-ABC1234-1000");
  PutState("machine-ABC1234-1000", "XYZ9999");
  PutState("machine-ABC1234-1001", "ABC1234");
  EXPECT_EQ(Find(), "status 800000000000000b") << "the volume is full";
}

}  // namespace
}  // namespace tvq::test
