/*
 * The verdict of each device: for every row of docs/verdicts.md what leads to it, and what it ends with.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/compare/compare_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using tvqplatform::WhyNoRecord;

constexpr UINT16 kSocket1 = 0x400;
constexpr UINT16 kSlotA1 = 0x1100;
constexpr UINT16 kSlotA2 = 0x1101;
constexpr UINT16 kTheSystem = 0x100;

// A table with one structure for each of two modules.
Table Modules(const Text& serial, const Text& other = std::nullopt, const Text& part = "PART-1") {
  return Table::Of(
      Bios{},
      MemoryDevice{.handle = kSlotA1, .locator = "DIMM_A1", .serial = serial, .partNumber = part},
      MemoryDevice{.handle = kSlotA2, .locator = "DIMM_A2", .serial = other, .partNumber = part},
      End{});
}
TestDevice A1(const std::string& document) {
  return {.fqdd = u"DIMM.Socket.A1", .document = document, .handle = kSlotA1};
}
TestDevice A2(const std::string& document) {
  return {.fqdd = u"DIMM.Socket.A2", .document = document, .handle = kSlotA2};
}
TestDevice CpuAt1(const std::string& cores) {
  return {.fqdd = u"CPU.Socket.1",
          .componentClass = TVQ_CLASS_CPU,
          .document = CpuOf(cores),
          .handle = kSocket1};
}
TestDevice TheSystem(const std::string& bios) {
  return {.fqdd = u"System.Embedded.1",
          .componentClass = TVQ_CLASS_SYSTEM,
          .document = SystemOf(bios),
          .handle = kTheSystem};
}

class CompareVerdict : public CompareTest {
 protected:
  CompareVerdict() { LoadPlatform(); }
};

// --- Same, and cannot tell ---

TEST_F(CompareVerdict, OfEqualBytesIsSameAndNobodyIsAsked) {
  mBefore.Of(Modules("11223344")).With(A1("no XML & none needed"));
  mAfter.Of(Modules("11223344")).With(A1("no XML & none needed"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [same]");
  EXPECT_THAT(mAsked, IsEmpty());
  EXPECT_EQ(Exit(), 0);
  EXPECT_EQ(Shown(), "Summary: 1 same\n");
}

TEST_F(CompareVerdict, IsThatNobodyCanTellWhereNoNumberWouldShowAReplacement) {
  mBefore.Of(Modules("Not Specified")).With(A1("x"));
  mAfter.Of(Modules("Not Specified")).With(A1("x"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [cannot tell]");
  EXPECT_EQ(Exit(), 0);
  EXPECT_EQ(Shown(), "Summary: 1 cannot tell\n");
  EXPECT_THAT(Shown(tvqplatform::Wanted::kEverything),
              HasSubstr("  DIMM.Socket.A1 (DIMM_A1): cannot tell\n"));
}

TEST_F(CompareVerdict, IsThatNobodyCanTellWhereTwoModulesHaveTheSameNumber) {
  mBefore.Of(Modules("11223344", "11223344")).With(A1("x")).With(A2("x"));
  mAfter.Of(Modules("11223344", "11223344")).With(A1("x")).With(A2("x"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [cannot tell]", "DIMM.Socket.A2 [cannot tell]"));
  EXPECT_EQ(Exit(), 0);
}

TEST_F(CompareVerdict, OfAProcessorIsSameWhereItHasAPpin) {
  const auto machine = [](const std::vector<std::string>& texts) {
    return Table::Of(Processor{.handle = kSocket1}, OemStrings{.texts = texts}, End{});
  };
  mBefore.Of(machine({"OEM", "17[A1B2C3D4E5F60718]"})).With(CpuAt1("8"));
  mAfter.Of(machine({"OEM", "17[A1B2C3D4E5F60718]"})).With(CpuAt1("8"));
  EXPECT_EQ(Row(), "CPU.Socket.1 [same]");
}

// --- Replaced ---

TEST_F(CompareVerdict, IsReplacedWhereTheDriverSaysSo) {
  mBefore.Of(Modules("None")).With(A1(ModuleOf("None", "PART-1")));
  mAfter.Of(Modules("None")).With(A1(ModuleOf("None", "PART-2")));
  mAnswers[0].isReplaced = true;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the driver");
  EXPECT_THAT(Changes(), ElementsAre("Configuration/dimmData/PartNumber: PART-1 -> PART-2"));
  EXPECT_EQ(Exit(), 1);
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A1 (DIMM_A1): replaced\n"
            "      another part than was here, says the driver\n"
            "      Configuration/dimmData/PartNumber: PART-1 -> PART-2\n"
            "      To do: accept it if it was exchanged on purpose, else find out by whom\n"
            "Summary: 1 replaced\n");
}

TEST_F(CompareVerdict, IsReplacedWhereANumberSaysSoThatTheDriverDoesNotLookAt) {
  const auto machine = [](const char* serial) {
    return Table::Of(Processor{.handle = kSocket1, .serial = serial}, End{});
  };
  mBefore.Of(machine("C0FFEE01")).With(CpuAt1("8"));
  mAfter.Of(machine("C0FFEE02")).With(CpuAt1("8"));
  EXPECT_EQ(Row(), "CPU.Socket.1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the serial number");
  EXPECT_THAT(Changes(), ElementsAre("SerialNumber: C0FFEE01 -> C0FFEE02"));
  EXPECT_EQ(Exit(), 1);
}

TEST_F(CompareVerdict, IsReplacedWhereThePpinIsAnotherOne) {
  const auto machine = [](const std::vector<std::string>& texts) {
    return Table::Of(Processor{.handle = kSocket1}, OemStrings{.texts = texts}, End{});
  };
  mBefore.Of(machine({"17[A1B2C3D4E5F60718]"})).With(CpuAt1("8"));
  mAfter.Of(machine({"17[A1B2C3D4E5F60719]"})).With(CpuAt1("8"));
  EXPECT_EQ(Row(), "CPU.Socket.1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the PPIN");
}

TEST_F(CompareVerdict, OfTheSystemIsReplacedWhereItsUuidIsAnotherOne) {
  const auto machine = [](uint8_t last, uint8_t minor) {
    System system{.handle = kTheSystem};
    system.uuid.back() = last;
    return Table::Of(Bios{}, system, End{}).OfVersion(2, minor);
  };
  mBefore.Of(machine(0xAB, 6)).With(TheSystem("1"));
  mAfter.Of(machine(0xCD, 6)).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the UUID");
  EXPECT_THAT(Changes(), ElementsAre("UUID: 00112233-4455-6677-8899-aabbccddeeab -> "
                                     "00112233-4455-6677-8899-aabbccddeecd"));
}

TEST_F(CompareVerdict, APlaceholderOnOneSideIsNoReplacementButAChange) {
  mBefore.Of(Modules("11223344")).With(A1("<a/>"));
  mAfter.Of(Modules("None")).With(A1("<a/>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("SerialNumber: 11223344 -> None"));
  EXPECT_THAT(Shown(), HasSubstr("(nothing says whether it is the same part)"));
}

TEST_F(CompareVerdict, OfTheSystemTellsBoardChassisAndPowerSupplies) {
  const auto machine = [](const char* board, const char* chassis, const char* supply) {
    Structure power{.type = 39};
    power.Byte(0).String(std::nullopt).String("PSU1").String("Power Works").String(supply);
    return Table::Of(System{.handle = kTheSystem}, BaseBoard{.serial = board},
                     Chassis{.serial = chassis}, power, End{});
  };
  mBefore.Of(machine("B1A", "C1A", "P1A")).With(TheSystem("1"));
  mAfter.Of(machine("B2A", "C2A", "P2A")).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [replaced] [changed]");
  EXPECT_EQ(
      Witnesses(),
      "the board's serial number, the chassis' serial number, a power supply's serial number");
  EXPECT_THAT(Changes(),
              ElementsAre("Board/SerialNumber: B1A -> B2A", "Chassis/SerialNumber: C1A -> C2A",
                          "PowerSupply/SerialNumber: P1A -> P2A"));
}

TEST_F(CompareVerdict, PowerSuppliesThatChangedPlacesAreTheSame) {
  const auto machine = [](const char* one, const char* other) {
    const auto supply = [](const char* serial) {
      Structure power{.type = 39};
      power.Byte(0).String(std::nullopt).String("PSU").String("Power Works").String(serial);
      return power;
    };
    return Table::Of(System{.handle = kTheSystem}, supply(one), supply(other), End{});
  };
  mBefore.Of(machine("P1A", "P2A")).With(TheSystem("1"));
  mAfter.Of(machine("P2A", "P3A")).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [replaced] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: P1A -> P3A"));
}

// --- Moved, new, gone ---

TEST_F(CompareVerdict, IsMovedWhereItsNumberWasUnderAnotherName) {
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344")));
  mAfter.Of(Modules(std::nullopt, "11223344")).With(A2(ModuleOf("11223344", "PART-1", "<S>2</S>")));
  EXPECT_EQ(Row(), "DIMM.Socket.A2 [moved] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Configuration/dimmData/S: (none) -> 2"));
  EXPECT_EQ(Exit(), 1);
  EXPECT_THAT(Shown(),
              HasSubstr("  DIMM.Socket.A2 (DIMM_A2): moved from DIMM.Socket.A1 (DIMM_A1)\n"));
}

TEST_F(CompareVerdict, OfTwoThatChangedPlacesIsThatBothMoved) {
  mBefore.Of(Modules("11111112", "22222223"))
      .With(A1(ModuleOf("11111112")))
      .With(A2(ModuleOf("22222223")));
  mAfter.Of(Modules("22222223", "11111112"))
      .With(A1(ModuleOf("22222223")))
      .With(A2(ModuleOf("11111112")));
  mAnswers[0].isReplaced = mAnswers[1].isReplaced = true;
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [moved] [replaced]",
                                  "DIMM.Socket.A2 [moved] [replaced]"));
  EXPECT_EQ(Found(0).MovedFrom, 1u);
  EXPECT_EQ(Found(1).MovedFrom, 0u);
}

TEST_F(CompareVerdict, IsGoneForWhatMadeRoomForAnotherOne) {
  mBefore.Of(Modules("11111112", "22222223"))
      .With(A1(ModuleOf("11111112")))
      .With(A2(ModuleOf("22222223")));
  mAfter.Of(Modules("22222223")).With(A1(ModuleOf("22222223")));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [moved] [replaced]", "DIMM.Socket.A1 [gone]"));
}

TEST_F(CompareVerdict, IsNoMoveWhereTwoHaveTheNumber) {
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344")));
  mAfter.Of(Modules("11223344", "11223344"))
      .With(A1(ModuleOf("11223344")))
      .With(A2(ModuleOf("11223344")));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [cannot tell]", "DIMM.Socket.A2 [new]"));
}

TEST_F(CompareVerdict, IsNoMoveWhereTwoHaveTheNumberNowOrThen) {
  TestDevice elsewhere = A1(ModuleOf("11223344"));
  elsewhere.fqdd = u"DIMM.Socket.B1";
  mBefore.Of(Modules("11223344")).With(elsewhere);
  mAfter.Of(Modules("11223344", "11223344"))
      .With(A1(ModuleOf("11223344")))
      .With(A2(ModuleOf("11223344")));
  EXPECT_THAT(Rows(),
              ElementsAre("DIMM.Socket.A1 [new]", "DIMM.Socket.A2 [new]", "DIMM.Socket.B1 [gone]"));
}

TEST_F(CompareVerdict, IsNoMoveForWhatIsTheSameWithoutIt) {
  mBefore.Of(Modules("None", "11223344")).With(A1("<a/>")).With(A2("<b/>"));
  mAfter.Of(Modules("11223344")).With(A1("<a/>"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [changed]", "DIMM.Socket.A2 [gone]"));
}

TEST_F(CompareVerdict, IsFoundAlsoBesideWhatCouldNotBeVerified) {
  mBefore.Of(Modules("None", "None", "None")).With(A2("Core & Works"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<a/>")).With(A2("<a/>"));
  mAnswers[1].status = EFI_INVALID_PARAMETER;
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [new]", "DIMM.Socket.A2 [not verified]"));
  EXPECT_EQ(Exit(), 1) << "1 wins over 2";
}

TEST_F(CompareVerdict, IsNoMoveWhereTheNumberIsAPlaceholder) {
  mBefore.Of(Modules("None")).With(A1(ModuleOf("None")));
  mAfter.Of(Modules(std::nullopt, "None")).With(A2(ModuleOf("None")));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A2 [new]", "DIMM.Socket.A1 [gone]"));
  EXPECT_EQ(Exit(), 1);
}

TEST_F(CompareVerdict, OfAnotherNumberInTheSamePlaceIsReplacedNotNewAndGone) {
  mBefore.Of(Modules("11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(Modules("22222223")).With(A1(ModuleOf("22222223")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Inventory/WWN: 11111112 -> 22222223"));
}

TEST_F(CompareVerdict, FollowsAProcessorByItsPpin) {
  const auto machine = [](UINT16 handle) {
    return Table::Of(Processor{.handle = handle}, OemStrings{.texts = {"17[A1B2C3D4E5F60718]"}},
                     End{});
  };
  mBefore.Of(machine(kSocket1)).With(CpuAt1("8"));
  TestDevice cpu2 = CpuAt1("8");
  cpu2.fqdd = u"CPU.Socket.2";
  mAfter.Of(machine(kSocket1)).With(cpu2);
  EXPECT_EQ(Row(), "CPU.Socket.2 [moved]");
}

// --- Changed ---

TEST_F(CompareVerdict, IsThatTheSamePartHasOtherValues) {
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344", "PART-1", "<Size>8</Size>")));
  mAfter.Of(Modules("11223344")).With(A1(ModuleOf("11223344", "PART-1", "<Size>4</Size>")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Configuration/dimmData/Size: 8 -> 4"));
  EXPECT_EQ(Exit(), 1);
  EXPECT_THAT(Shown(), HasSubstr("  DIMM.Socket.A1 (DIMM_A1): changed (the same part)\n"));
}

TEST_F(CompareVerdict, SaysThatNothingTellsWhetherItIsTheSamePart) {
  mBefore.Of(Modules("None")).With(A1(ModuleOf("None", "PART-1", "<Size>8</Size>")));
  mAfter.Of(Modules("None")).With(A1(ModuleOf("None", "PART-1", "<Size>4</Size>")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Shown(), HasSubstr("changed (nothing says whether it is the same part)\n"));
}

// One of the two may have come into the place of the other.
TEST_F(CompareVerdict, ANumberThatTwoModulesHadDoesNotSayThatItIsTheSamePart) {
  mBefore.Of(Modules("11223344", "11223344"))
      .With(A1(ModuleOf("11223344", "PART-1", "<Size>8</Size>")))
      .With(A2("x"));
  mAfter.Of(Modules("11223344", "55667788"))
      .With(A1(ModuleOf("11223344", "PART-1", "<Size>4</Size>")))
      .With(A2("y"));
  EXPECT_THAT(Rows(),
              ElementsAre("DIMM.Socket.A1 [changed]", "DIMM.Socket.A2 [replaced] [changed]"));
  EXPECT_THAT(Shown(), HasSubstr("changed (nothing says whether it is the same part)\n"));
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateChangesAreCountedAndNoAlarm) {
  const auto machine = [](const char* version) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem},
                     MemoryDevice{.handle = kSlotA1, .serial = "11223344", .partNumber = "PART-1"},
                     End{});
  };
  mBefore.Of(machine("1.0")).With(TheSystem("1.0")).With(A1(ModuleOf("11223344", "P", "<S>1</S>")));
  mAfter.Of(machine("2.0")).With(TheSystem("2.0")).With(A1(ModuleOf("11223344", "P", "<S>2</S>")));
  EXPECT_THAT(Rows(), ElementsAre("System.Embedded.1 [changed]", "DIMM.Socket.A1 [changed]"));
  EXPECT_EQ(Exit(), 0);
  EXPECT_EQ(Shown(),
            "Firmware update: 1.0 -> 2.0; 2 fields of 2 devices changed\n"
            "  To do: save anew, so that what changes next stands out\n"
            "Summary: 2 changed\n");
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateWhatNothingSaysToBeTheSamePartIsAnAlarm) {
  const auto machine = [](const char* version) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem},
                     MemoryDevice{.handle = kSlotA1, .locator = "DIMM_A1", .serial = "None"},
                     End{});
  };
  mBefore.Of(machine("1.0")).With(TheSystem("1.0")).With(A1(ModuleOf("None", "P", "<S>32</S>")));
  mAfter.Of(machine("2.0")).With(TheSystem("2.0")).With(A1(ModuleOf("None", "P", "<S>16</S>")));
  EXPECT_THAT(Rows(), ElementsAre("System.Embedded.1 [changed]", "DIMM.Socket.A1 [changed]"));
  EXPECT_EQ(Exit(), 1);
  EXPECT_EQ(Shown(),
            "Firmware update: 1.0 -> 2.0; 1 fields of 1 devices changed\n"
            "  To do: save anew, so that what changes next stands out\n"
            "  DIMM.Socket.A1 (DIMM_A1): changed (nothing says whether it is the same part)\n"
            "      Configuration/dimmData/S: 32 -> 16\n"
            "      To do: accept it if that was intended, else reseat it or order a part\n"
            "Summary: 2 changed\n");
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateADocumentThatCannotBeReadAnyMoreIsAnAlarm) {
  const auto machine = [](const char* version) {
    return Table::Of(Bios{.version = version},
                     MemoryDevice{.handle = kSlotA1, .serial = "11223344"}, End{});
  };
  mBefore.Of(machine("1.0")).With(A1(ModuleOf("11223344")));
  mAfter.Of(machine("2.0")).With(A1("Core & Works"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_EQ(Exit(), 1);
  EXPECT_THAT(Shown(), HasSubstr("the later document cannot be read"));
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateAReplacedPartIsFoundAllTheSame) {
  const auto machine = [](const char* version, const char* serial) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem},
                     MemoryDevice{.handle = kSlotA1, .serial = serial}, End{});
  };
  mBefore.Of(machine("1.0", "11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(machine("2.0", "22222223")).With(A1(ModuleOf("22222223")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Exit(), 1);
}

// A state of the first version has no table; the documents of the system tell.
TEST_F(CompareVerdict, KnowsAFirmwareUpdateByTheDocumentsOfTheSystem) {
  mBefore.With(TheSystem("1.0"));
  mAfter.With(TheSystem("2.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_STREQ(Result().FirmwareBefore(), "1.0");
  EXPECT_STREQ(Result().FirmwareAfter(), "2.0");
  EXPECT_EQ(Exit(), 0);
}

// --- Parts of the system ---

// A system with a power supply, and with a second one that has this serial number, which is taken out.
class CompareTakenOutPart : public CompareVerdict {
 protected:
  void TakeOut(const Text& serial, const char* laterVersion = "1.0") {
    const Structure second = SupplyWith(serial);
    mBefore
        .Of(Table::Of(Bios{.version = "1.0"}, System{.handle = kTheSystem}, SupplyWith("PSU0001"),
                      second, End{}))
        .With(TheSystem("1.0"));
    mAfter
        .Of(Table::Of(Bios{.version = laterVersion}, System{.handle = kTheSystem},
                      SupplyWith("PSU0001"), End{}))
        .With(TheSystem("1.0"));
    EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
    EXPECT_EQ(Exit(), 1);
  }

 private:
  static Structure SupplyWith(const Text& serial) {
    Structure power{.type = 39};
    power.Byte(0).String(std::nullopt).String("PSU").String("Power Works").String(serial);
    return power;
  }
};

TEST_F(CompareTakenOutPart, IsAChange) {
  TakeOut("PSU0002");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: PSU0002 -> (none)"));
}

TEST_F(CompareTakenOutPart, IsAChangeAlsoWithAPlaceholderForANumber) {
  TakeOut("Not Specified");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: Not Specified -> (none)"));
}

TEST_F(CompareTakenOutPart, IsAChangeAlsoWithoutANumber) {
  TakeOut(std::nullopt);
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]: present -> (none)"));
}

TEST_F(CompareTakenOutPart, IsAnAlarmAlsoAfterAFirmwareUpdate) {
  TakeOut("PSU0002", "2.0");
  EXPECT_THAT(Shown(), HasSubstr("  System.Embedded.1: changed (the same part)\n"));
}

TEST_F(CompareVerdict, ANumberThatIsNoneAnyMoreIsShownAsTheTableHasIt) {
  const auto machine = [](const char* serial) {
    return Table::Of(System{.handle = kTheSystem}, BaseBoard{.serial = serial}, End{});
  };
  mBefore.Of(machine("BRD0001")).With(TheSystem("1.0"));
  mAfter.Of(machine("To be filled by O.E.M.")).With(TheSystem("1.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Board/SerialNumber: BRD0001 -> To be filled by O.E.M."));
}

// --- Not verified ---

TEST_F(CompareVerdict, IsNotVerifiedWhereNeitherDriverNorNumberCouldCompare) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("Core & Works"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 2);
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A1 (DIMM_A1): not verified\n"
            "      the saved document cannot be read: it is not well-formed: one of its texts\n"
            "          holds '&', '<' or a control character\n"
            "      To do: look at the part itself, then accept it or save anew\n"
            "Summary: 1 not verified\n");
}

TEST_F(CompareVerdict, IsNoTroubleWhereItCouldNotBeVerifiedInTheSavedStateEither) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("Core & Works 1"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("Core & Works 2"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 0);
  EXPECT_THAT(Shown(), HasSubstr("; so it was in the saved state\n"));
}

TEST_F(CompareVerdict, ByTheNumbersOfTheTwoTablesWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("11223344")).With(A1("Core & Works"));
  mAfter.Of(Modules("11223344")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Shown(), HasSubstr("its numbers decide"));
  EXPECT_THAT(Shown(), HasSubstr("changed (the same part)"));
}

TEST_F(CompareVerdict, ByAnotherSerialNumberIsReplacedWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("11111112")).With(A1("Core & Works"));
  mAfter.Of(Modules("22222223")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the serial number");
}

TEST_F(CompareVerdict, ByAnotherPartNumberIsReplacedWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("None", std::nullopt, "PART-1")).With(A1("Core & Works"));
  mAfter.Of(Modules("None", std::nullopt, "PART-2")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the part number");
}

TEST_F(CompareVerdict, IsNotVerifiedWhereTheSavedStateHasNothingOfIt) {
  TestDevice hole = A1("");
  hole.why = WhyNoRecord::kBehind;
  mBefore.Of(Modules("None", "None", "None")).With(hole);
  mAfter.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 2);
  EXPECT_THAT(Shown(), HasSubstr("the saved state has no inventory of it"));
}

TEST_F(CompareVerdict, IsNotVerifiedByTheDriversStatusWhereTheDocumentIsSound) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<b/>"));
  mAnswers[0].status = EFI_OUT_OF_RESOURCES;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_THAT(Shown(), HasSubstr("the driver says: Out of Resources"));
}

TEST_F(CompareVerdict, OfAStateWithoutATableIsByItsNumbersAlone) {
  mHasDriver = false;
  TestDevice before = A1(ModuleOf("11111112"));
  before.serial = "11111112";
  TestDevice after = A1(ModuleOf("22222223"));
  after.serial = "22222223";
  mBefore.With(before);
  mAfter.With(after);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Witnesses(), "the serial number");
  EXPECT_THAT(Shown(), HasSubstr("without its table, the driver cannot be asked; its numbers"));
}

// --- No record ---

TEST_F(CompareVerdict, IsThatThereIsNoRecordAndWhy) {
  TestDevice hole = A1("");
  hole.why = WhyNoRecord::kClash;
  mBefore.Of(Modules("11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(Modules("11111112")).With(hole);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [no record]");
  EXPECT_EQ(Exit(), 2);
  EXPECT_THAT(Shown(), HasSubstr("a device before it has the same name, as far as the driver"));
}

TEST_F(CompareVerdict, OfASystemWithoutARecordIsThatOfTheSystemThatWasSaved) {
  TestDevice hole = {
      .componentClass = TVQ_CLASS_SYSTEM, .handle = kTheSystem, .why = WhyNoRecord::kRefused};
  const Table table = Table::Of(System{.handle = kTheSystem}, End{});
  mBefore.Of(table).With(TheSystem("1"));
  mAfter.Of(table).With(hole);
  EXPECT_EQ(Row(), "System.Embedded.1 [no record]");
}

TEST_F(CompareVerdict, BelowNoRecordIsWhatTheNumbersSay) {
  TestDevice hole = A1("");
  hole.why = WhyNoRecord::kBehind;
  mBefore.Of(Modules("11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(Modules("22222223")).With(hole);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [no record] [replaced] [changed]");
  EXPECT_EQ(Exit(), 1) << "1 wins over 2";
}

TEST_F(CompareVerdict, IsNoTroubleWhereTheSavedStateHasTheSameHole) {
  TestDevice hole = A1("");
  hole.why = WhyNoRecord::kBehind;
  mBefore.Of(Modules("11111112")).With(hole);
  mAfter.Of(Modules("11111112")).With(hole);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [no record]");
  EXPECT_EQ(Exit(), 0);
}

// --- What is shown ---

TEST_F(CompareVerdict, ShowsOnlyTheBeginningOfWhatIsEndless) {
  std::string fields;
  for (int i = 0; i < 100; ++i) {
    fields += "<F" + std::to_string(i) + ">1</F" + std::to_string(i) + ">";
  }
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344")));
  mAfter.Of(Modules("11223344")).With(A1(ModuleOf("11223344", std::string(200'000, 'x'), fields)));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  const std::string shown = Shown();
  EXPECT_THAT(shown, HasSubstr("x ...\n"));
  EXPECT_THAT(shown, HasSubstr("      and 37 more\n"));
  EXPECT_LT(shown.size(), 4'000u);
}

TEST_F(CompareVerdict, SpellsOutWhatATerminalCannotShow) {
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344")));
  mAfter.Of(Modules("11223344")).With(A1(ModuleOf("11223344", "\x1B[2J\xE9")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]") << "expat takes no control character";
  EXPECT_THAT(Shown(), HasSubstr("the later document cannot be read: it is not well-formed"));
}

// --- High-bandwidth memory ---

TEST_F(CompareVerdict, OfHighBandwidthMemoryIsByItsOwnStructure) {
  const auto machine = [](const char* serial) {
    return Table::Of(
        MemoryDevice{
            .handle = kSlotA1, .locator = "CPU1_HBM0", .memoryType = 0x20, .serial = serial},
        End{});
  };
  mBefore.Of(machine("11111112"));
  mAfter.Of(machine("22222223"));
  EXPECT_EQ(Row(), "[replaced] [changed]");
  EXPECT_THAT(Shown(), HasSubstr("  HBM stack (CPU1_HBM0): replaced\n"));
}

// --- Options ---

TEST_F(CompareVerdict, IsNoneWhereTheStateWasMadeWithOtherOptions) {
  mBefore.Of(Modules("11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(Modules("11111112")).With(A1(ModuleOf("11111112")));
  mBefore.Get().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Exit(), 2);
  EXPECT_EQ(Shown(),
            "Not compared: saved of the table as it is, and now of the conformed table.\n"
            "  To do: use the same options, or save anew\n");
}

}  // namespace
}  // namespace tvq::test
