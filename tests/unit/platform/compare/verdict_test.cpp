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

class CompareVerdict : public CompareTest {
 protected:
  CompareVerdict() { LoadPlatform(); }

  static Table TwoSupplies(const Text& one, const Text& other) {
    return Table::Of(System{.handle = kTheSystem}, PowerSupply(one), PowerSupply(other), End{});
  }
  // A system with this firmware, and a module with these numbers.
  static Table OfFirmware(const Text& version, const Text& serial = "11223344") {
    return Table::Of(
        Bios{.version = version}, System{.handle = kTheSystem},
        MemoryDevice{
            .handle = kSlotA1, .locator = "DIMM_A1", .serial = serial, .partNumber = "PART-1"},
        End{});
  }
  // A system with this board.
  static Table OfBoard(const Text& serial, const char* version = "1.0") {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem},
                     BaseBoard{.serial = serial}, End{});
  }
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

TEST_F(CompareVerdict, OfTheSystemIsSameWhereItHasAUuidAndNoSerialNumber) {
  const Table table = Table::Of(System{.handle = kTheSystem, .serial = std::nullopt}, End{});
  mBefore.Of(table).With(TheSystem("1"));
  mAfter.Of(table).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [same]");
}

// The numbers of a structure are those of the device with this type and handle.
TEST_F(CompareVerdict, OfStructuresWithEqualHandlesIsByTheOneOfTheDevicesKind) {
  const Table table = Table::Of(Processor{.handle = kSlotA1},
                                MemoryDevice{.handle = kSlotA1, .serial = "11223344"}, End{});
  mBefore.Of(table).With(A1("x"));
  mAfter.Of(table).With(A1("x"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [same]");
}

TEST_F(CompareVerdict, OfHandlesThatDifferInAnyBitIsByTheirOwnStructures) {
  for (const UINT16 other : {UINT16{0x1101}, UINT16{0x1000}, UINT16{0x9100}}) {
    TestMachine before;
    TestMachine after;
    const Table table =
        Table::Of(MemoryDevice{.handle = kSlotA1, .serial = "11111112"},
                  MemoryDevice{.handle = other, .locator = "DIMM_A2", .serial = "22222223"}, End{});
    TestDevice second = A2("x");
    second.handle = other;
    before.Of(table).With(A1("x")).With(second);
    after.Of(table).With(A1("x")).With(second);
    tvqplatform::Comparison comparison;
    ASSERT_TRUE(comparison.Run(before.Get(), after.Get(), {}));
    EXPECT_EQ(comparison.Count(tvqplatform::Verdict::kSame), 2u) << other;
  }
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

TEST_F(CompareVerdict, TheDriverIsAskedAboutTheSystemToo) {
  mBefore.Of(Modules("None")).With(A1("x")).With(TheSystem("1"));
  mAfter.Of(Modules("None")).With(A1("x")).With(TheSystem("2"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [cannot tell]", "System.Embedded.1 [changed]"));
  EXPECT_THAT(mAsked, ElementsAre(1u));
}

TEST_F(CompareVerdict, EachProcessorHasThePpinOfItsSocketInTheOrderOfTheTable) {
  const auto machine = [](const std::vector<std::string>& texts) {
    return Table::Of(Processor{.handle = kSocket1, .designation = "CPU1"},
                     Processor{.handle = kSocket1 + 1, .designation = "CPU2"},
                     OemStrings{.texts = texts}, End{});
  };
  TestDevice cpu2 = CpuAt1("8");
  cpu2.fqdd = u"CPU.Socket.2";
  cpu2.handle = kSocket1 + 1;
  TestDevice unknown = WithoutRecord(CpuAt1(""), WhyNoRecord::kBehind);
  unknown.fqdd = u"";
  unknown.handle = 0xFFFF;
  mBefore.Of(machine({"17[A1B2C3D4E5F60718]", "17[B1B2C3D4E5F60718]"}))
      .With(unknown)
      .With(A1("x"))
      .With(cpu2)
      .With(CpuAt1("8"));
  mAfter.Of(machine({"17[A1B2C3D4E5F60718]", "17[B1B2C3D4E5F60719]"}))
      .With(unknown)
      .With(A1("x"))
      .With(cpu2)
      .With(CpuAt1("8"));
  EXPECT_THAT(Rows(), ElementsAre("[no record]", "DIMM.Socket.A1 [cannot tell]",
                                  "CPU.Socket.2 [replaced] [changed]", "CPU.Socket.1 [same]"));
}

TEST_F(CompareVerdict, ANumberThatWasNotThereIsAChangeBesideThoseOfTheDocument) {
  mBefore.Of(Modules(std::nullopt)).With(A1("<r><Gone>1</Gone><Other>1</Other></r>"));
  mAfter.Of(Modules("11223344")).With(A1("<r><Other>2</Other><New>1</New></r>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Gone: 1 -> (none)", "Other: 1 -> 2", "New: (none) -> 1",
                                     "SerialNumber: (none) -> 11223344"));
}

TEST_F(CompareVerdict, ANumberThatIsThereNoMoreIsAChangeBesideThoseOfTheDocument) {
  mBefore.Of(Modules("11223344")).With(A1("<r><A>11223344</A></r>"));
  mAfter.Of(Modules(std::nullopt)).With(A1("<r><A>1</A></r>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("A: 11223344 -> 1", "SerialNumber: 11223344 -> (none)"));
}

TEST_F(CompareVerdict, ANumberIsListedBesideFieldsOfWhichOnlyOneValueIsItsOwn) {
  mBefore.Of(Modules("11111112")).With(A1("<r><Gone>11111112</Gone><A>11111112</A><B>1</B></r>"));
  mAfter.Of(Modules("22222223")).With(A1("<r><A>1</A><B>22222223</B><New>22222223</New></r>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_THAT(Changes(),
              ElementsAre("Gone: 11111112 -> (none)", "A: 11111112 -> 1", "B: 1 -> 22222223",
                          "New: (none) -> 22222223", "SerialNumber: 11111112 -> 22222223"));
}

// A document in which so many fields have another value, the last one the serial number.
std::string FieldsEndingWith(const std::string& serial, int count, const std::string& value) {
  std::string document = "<r>";
  for (int i = 1; i < count; ++i) {
    document += "<F>" + value + "</F>";
  }
  return document + "<N>" + serial + "</N></r>";
}

TEST_F(CompareVerdict, ANumberIsFoundAmongAsManyFieldsAsAMachineHas) {
  const auto fieldsOf = [](const char* serial, const char* value) {
    return FieldsEndingWith(serial, 1024, value);
  };
  mBefore.Of(Modules("11111112", "33333334"))
      .With(A1(fieldsOf("11111112", "1")))
      .With(A2(fieldsOf("33333334", "1")));
  mAfter.Of(Modules("22222223", "44444445"))
      .With(A1(fieldsOf("22222223", "2")))
      .With(A2(fieldsOf("44444445", "2")));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [replaced] [changed]",
                                  "DIMM.Socket.A2 [replaced] [changed]"));
  EXPECT_EQ(Found(0).ChangeCount, 1024u);
  EXPECT_EQ(Found(1).ChangeCount, 1024u);
}

TEST_F(CompareVerdict, ANumberIsNotLookedForAmongMoreFieldsThanAMachineHas) {
  mBefore.Of(Modules("11111112")).With(A1(FieldsEndingWith("11111112", 1025, "1")));
  mAfter.Of(Modules("22222223")).With(A1(FieldsEndingWith("22222223", 1025, "2")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
  EXPECT_EQ(Found().ChangeCount, 1026u);
}

TEST_F(CompareVerdict, ATextOfAChangeMayBeMasked) {
  mBefore.Of(Modules("11111112")).With(A1("<r/>"));
  mAfter.Of(Modules(std::nullopt)).With(A1("<r/>"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  const tvqplatform::FieldChange& change = Result().Change(0);
  EXPECT_EQ(Result().MutableTextAt(change.After), nullptr);
  Result().MutableTextAt(change.Before)[0] = '*';
  EXPECT_THAT(Changes(), ElementsAre("SerialNumber: *1111112 -> (none)"));
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
    return Table::Of(System{.handle = kTheSystem}, BaseBoard{.serial = board},
                     Chassis{.serial = chassis}, PowerSupply(supply),
                     MemoryDevice{.handle = kSlotA1, .serial = "11223344"}, End{});
  };
  mBefore.Of(machine("B1A", "C1A", "P1A")).With(TheSystem("1")).With(A1("x"));
  mAfter.Of(machine("B2A", "C2A", "P2A")).With(TheSystem("1")).With(A1("x"));
  EXPECT_THAT(Rows(),
              ElementsAre("System.Embedded.1 [replaced] [changed]", "DIMM.Socket.A1 [same]"));
  EXPECT_EQ(
      Witnesses(),
      "the board's serial number, the chassis' serial number, a power supply's serial number");
  EXPECT_THAT(Changes(),
              ElementsAre("Board/SerialNumber: B1A -> B2A", "Chassis/SerialNumber: C1A -> C2A",
                          "PowerSupply/SerialNumber: P1A -> P2A"));
}

TEST_F(CompareVerdict, PowerSuppliesThatChangedPlacesAreTheSame) {
  mBefore.Of(TwoSupplies("P1A", "P2A")).With(TheSystem("1"));
  mAfter.Of(TwoSupplies("P2A", "P3A")).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [replaced] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: P1A -> P3A"));
}

TEST_F(CompareVerdict, OfTwoPowerSuppliesTellsWhichOneWasReplaced) {
  mBefore.Of(TwoSupplies("P1A", "P2A")).With(TheSystem("1"));
  mAfter.Of(TwoSupplies("P1A", "P3A")).With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [replaced] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: P2A -> P3A"));
}

// --- Moved, new, gone ---

TEST_F(CompareVerdict, IsMovedWhereItsNumberWasUnderAnotherName) {
  mBefore.Of(Modules("11223344")).With(A1(ModuleOf("11223344")));
  mAfter.Of(Modules(std::nullopt, "11223344")).With(A2(ModuleOf("11223344", "PART-1", "<S>2</S>")));
  EXPECT_EQ(Row(), "DIMM.Socket.A2 [moved] [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Configuration/dimmData/S: (none) -> 2"));
  EXPECT_TRUE(Found().IsSamePart);
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
  EXPECT_EQ(Found(1).MovedFrom, tvqplatform::kNone);
  EXPECT_EQ(Found(1).ChangeCount, 0u);
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

// Two processors that the numbers of one lead to: its PPIN counts.
TEST_F(CompareVerdict, FollowsAProcessorByItsPpinBeforeItsSerialNumber) {
  const OemStrings ppin = {.texts = {"17[A1B2C3D4E5F60718]"}};
  mBefore.Of(Table::Of(Processor{.handle = kSocket1, .serial = "C0FFEE01"}, ppin, End{}))
      .With(CpuAt1("8"));
  TestDevice withPpin = CpuAt1("8");
  withPpin.fqdd = u"CPU.Socket.2";
  TestDevice withSerial = CpuAt1("8");
  withSerial.fqdd = u"CPU.Socket.3";
  withSerial.handle = kSocket1 + 1;
  mAfter
      .Of(Table::Of(Processor{.handle = kSocket1},
                    Processor{.handle = kSocket1 + 1, .serial = "C0FFEE01"}, ppin, End{}))
      .With(withPpin)
      .With(withSerial);
  EXPECT_THAT(Rows(), ElementsAre("CPU.Socket.2 [moved]", "CPU.Socket.3 [new]"));
}

TEST_F(CompareVerdict, IsMovedAlsoWhereOneNameIsTheEndOfTheOther) {
  for (const auto& [then, now] : {std::pair(u"AB", u"B"), std::pair(u"B", u"AB")}) {
    TestMachine before;
    TestMachine after;
    TestDevice device = A1(ModuleOf("11223344"));
    device.fqdd = then;
    before.Of(Modules("11223344")).With(device);
    device.fqdd = now;
    after.Of(Modules("11223344")).With(device);
    tvqplatform::Comparison comparison;
    ASSERT_TRUE(comparison.Run(before.Get(), after.Get(), {}));
    EXPECT_EQ(comparison.Count(tvqplatform::Verdict::kMoved), 1u);
  }
}

TEST_F(CompareVerdict, IsMovedAlsoIntoThePlaceOfWhatCannotBeVerified) {
  mBefore.Of(Modules("None", "11223344", "None")).With(A1("Core & Works")).With(A2("<a/>"));
  mAfter.Of(Modules("11223344", std::nullopt, "None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_THAT(Rows(),
              ElementsAre("DIMM.Socket.A1 [not verified] [moved]", "DIMM.Socket.A1 [gone]"));
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A1 (DIMM_A1): not verified\n"
            "      the saved document cannot be read: it is not well-formed: one of its texts\n"
            "          holds '&', '<' or a control character\n"
            "      moved from DIMM.Socket.A2 (DIMM_A2)\n"
            "      To do: look at the part itself, then accept it or save anew\n"
            "  DIMM.Socket.A1 (DIMM_A1): gone\n"
            "      To do: reseat it; if it stays away, order a part; if it was taken out,\n"
            "          accept\n"
            "Summary: 1 gone, 1 not verified\n");
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
  mBefore.Of(OfFirmware("1.0"))
      .With(TheSystem("1.0"))
      .With(A1(ModuleOf("11223344", "P", "<S>1</S>")));
  mAfter.Of(OfFirmware("2.0"))
      .With(TheSystem("2.0"))
      .With(A1(ModuleOf("11223344", "P", "<S>2</S>")));
  EXPECT_THAT(Rows(), ElementsAre("System.Embedded.1 [changed]", "DIMM.Socket.A1 [changed]"));
  EXPECT_EQ(Exit(), 0);
  EXPECT_EQ(Shown(),
            "Firmware update: 1.0 -> 2.0; 2 fields of 2 devices changed\n"
            "  To do: save anew, so that what changes next stands out\n"
            "Summary: 2 changed\n");
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateWhatNothingSaysToBeTheSamePartIsAnAlarm) {
  mBefore.Of(OfFirmware("1.0", "None"))
      .With(TheSystem("1.0"))
      .With(A1(ModuleOf("None", "P", "<S>32</S>")));
  mAfter.Of(OfFirmware("2.0", "None"))
      .With(TheSystem("2.0"))
      .With(A1(ModuleOf("None", "P", "<S>16</S>")));
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
  mBefore.Of(OfFirmware("1.0")).With(A1(ModuleOf("11223344")));
  mAfter.Of(OfFirmware("2.0")).With(A1("Core & Works"));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_EQ(Exit(), 1);
  EXPECT_THAT(Shown(), HasSubstr("the later document cannot be read"));
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateADocumentThatCouldNotBeReadBeforeIsAnAlarm) {
  mBefore.Of(OfFirmware("1.0")).With(A1("Core & Works"));
  mAfter.Of(OfFirmware("2.0")).With(A1(ModuleOf("11223344")));
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_EQ(Exit(), 1);
  EXPECT_THAT(Shown(), HasSubstr("the saved document cannot be read"));
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateAReplacedPartIsFoundAllTheSame) {
  mBefore.Of(OfFirmware("1.0", "11111112")).With(A1(ModuleOf("11111112")));
  mAfter.Of(OfFirmware("2.0", "22222223")).With(A1(ModuleOf("22222223")));
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

TEST_F(CompareVerdict, KnowsAFirmwareUpdateAlsoWhereOneDocumentHasNoVersion) {
  TestDevice without = TheSystem("");
  without.document = "<tvqComponent/>";
  mBefore.With(without);
  mAfter.With(TheSystem("2.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Shown(),
              HasSubstr("Firmware update: (none) -> 2.0; 1 fields of 1 devices changed\n"));
}

TEST_F(CompareVerdict, KnowsAFirmwareUpdateAlsoWhereTheVersionIsThereNoMore) {
  TestDevice without = TheSystem("");
  without.document = "<tvqComponent/>";
  mBefore.With(TheSystem("1.0"));
  mAfter.With(without);
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Shown(),
              HasSubstr("Firmware update: 1.0 -> (none); 1 fields of 1 devices changed\n"));
}

TEST_F(CompareVerdict, IsNoFirmwareUpdateWhereATableStatesNoVersion) {
  for (const bool isBefore : {true, false}) {
    TestMachine stated;
    TestMachine unstated;
    stated.Of(OfFirmware("1.0")).With(A1("x"));
    unstated.Of(OfFirmware(std::nullopt)).With(A1("x"));
    tvqplatform::Comparison comparison;
    ASSERT_TRUE(isBefore ? comparison.Run(stated.Get(), unstated.Get(), {})
                         : comparison.Run(unstated.Get(), stated.Get(), {}));
    EXPECT_FALSE(comparison.HasOtherFirmware()) << isBefore;
  }
}

// --- Parts of the system ---

// A system with a power supply, and with a second one that has this serial number, which is taken out or was put in.
class ComparePart : public CompareVerdict {
 protected:
  void TakeOut(const Text& serial, const char* laterVersion = "1.0") {
    Change(WithSecond("1.0", serial), WithoutSecond(laterVersion));
  }
  void PutIn(const Text& serial) { Change(WithoutSecond("1.0"), WithSecond("1.0", serial)); }

 private:
  static Table WithSecond(const char* version, const Text& serial) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem}, PowerSupply("PSU0001"),
                     PowerSupply(serial), End{});
  }
  static Table WithoutSecond(const char* version) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem}, PowerSupply("PSU0001"),
                     End{});
  }
  void Change(const Table& before, const Table& after) {
    mBefore.Of(before).With(TheSystem("1.0"));
    mAfter.Of(after).With(TheSystem("1.0"));
    EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
    EXPECT_EQ(Exit(), 1);
  }
};

TEST_F(ComparePart, TakenOutIsAChange) {
  TakeOut("PSU0002");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: PSU0002 -> (none)"));
}

TEST_F(ComparePart, TakenOutIsAChangeAlsoWithAPlaceholderForANumber) {
  TakeOut("Not Specified");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: Not Specified -> (none)"));
}

TEST_F(ComparePart, TakenOutIsAChangeAlsoWithoutANumber) {
  TakeOut(std::nullopt);
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]: present -> (none)"));
}

TEST_F(ComparePart, TakenOutIsAChangeAlsoWithBlanksForANumber) {
  TakeOut("  ");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]: present -> (none)"));
}

TEST_F(ComparePart, TakenOutIsAnAlarmAlsoAfterAFirmwareUpdate) {
  TakeOut("PSU0002", "2.0");
  EXPECT_THAT(Shown(), HasSubstr("  System.Embedded.1: changed (the same part)\n"));
}

TEST_F(ComparePart, PutInIsAChange) {
  PutIn("PSU0002");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]/SerialNumber: (none) -> PSU0002"));
}

TEST_F(ComparePart, PutInIsAChangeAlsoWithoutANumber) {
  PutIn(std::nullopt);
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply[2]: (none) -> present"));
}

TEST_F(CompareVerdict, TellsThePartThatWasTakenOutAlsoWhereItWasTheFirstOne) {
  mBefore.Of(TwoSupplies("PSU0001", "PSU0002")).With(TheSystem("1"));
  mAfter.Of(Table::Of(System{.handle = kTheSystem}, PowerSupply("PSU0002"), End{}))
      .With(TheSystem("1"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("PowerSupply/SerialNumber: PSU0001 -> (none)"));
}

// A supply that was put in stands in front of one with another placeholder, or the other way round.
TEST_F(CompareVerdict, AfterAFirmwareUpdateOnePartThatWasPutInIsEnoughForAnAlarm) {
  const auto machine = [](const char* version, const std::vector<Structure>& parts) {
    return Table::Of(Bios{.version = version}, System{.handle = kTheSystem}, parts, End{});
  };
  const Structure board = BaseBoard{.serial = "BRD0001"}.Build();
  mBefore.Of(machine("1.0", {PowerSupply("None")})).With(TheSystem("1.0"));
  mAfter.Of(machine("2.0", {board, PowerSupply("Not Specified")})).With(TheSystem("1.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Board/SerialNumber: (none) -> BRD0001",
                                     "PowerSupply/SerialNumber: None -> Not Specified"));
  EXPECT_EQ(Exit(), 1);
}

TEST_F(CompareVerdict, AfterAFirmwareUpdateAPartsOtherPlaceholderIsNoAlarm) {
  mBefore.Of(OfBoard("None", "1.0")).With(TheSystem("1.0"));
  mAfter.Of(OfBoard("Not Specified", "2.0")).With(TheSystem("1.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_EQ(Exit(), 0);
}

TEST_F(CompareVerdict, ANumberThatIsNoneAnyMoreIsShownAsTheTableHasIt) {
  mBefore.Of(OfBoard("BRD0001")).With(TheSystem("1.0"));
  mAfter.Of(OfBoard("To be filled by O.E.M.")).With(TheSystem("1.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Board/SerialNumber: BRD0001 -> To be filled by O.E.M."));
}

TEST_F(CompareVerdict, ANumberThatWasNoneIsShownAsTheTableHadIt) {
  mBefore.Of(OfBoard("To be filled by O.E.M.")).With(TheSystem("1.0"));
  mAfter.Of(OfBoard("BRD0001")).With(TheSystem("1.0"));
  EXPECT_EQ(Row(), "System.Embedded.1 [changed]");
  EXPECT_THAT(Changes(), ElementsAre("Board/SerialNumber: To be filled by O.E.M. -> BRD0001"));
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

TEST_F(CompareVerdict, ByTheSerialNumberAloneWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("11223344", std::nullopt, "None")).With(A1("Core & Works"));
  mAfter.Of(Modules("11223344", std::nullopt, "None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
}

TEST_F(CompareVerdict, ByAnotherSerialNumberAloneWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("11111112", std::nullopt, "None")).With(A1("Core & Works"));
  mAfter.Of(Modules("22222223", std::nullopt, "None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [replaced] [changed]");
}

TEST_F(CompareVerdict, ByThePartNumberAloneWhereADocumentCannotBeRead) {
  mBefore.Of(Modules("None")).With(A1("Core & Works"));
  mAfter.Of(Modules("None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [changed]");
  EXPECT_THAT(Shown(), HasSubstr("; its numbers decide"));
}

TEST_F(CompareVerdict, IsNotVerifiedByAPartNumberThatOnlyOneSideHas) {
  mBefore.Of(Modules("None", std::nullopt, "PART-1")).With(A1("Core & Works"));
  mAfter.Of(Modules("None", std::nullopt, "None")).With(A1("<a/>"));
  mAnswers[0].status = EFI_INVALID_PARAMETER;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
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

TEST_F(CompareVerdict, IsNotVerifiedWhereNoInventoryOfItCouldBeMade) {
  TestDevice without = A1("");
  without.hasBlobs = false;
  mBefore.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  mAfter.Of(Modules("None", "None", "None")).With(without);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 2);
  EXPECT_THAT(Shown(), HasSubstr("      no inventory of it could be made\n"));
}

TEST_F(CompareVerdict, IsNoTroubleWhereNoInventoryOfItCouldBeMadeBeforeEither) {
  TestDevice without = A1("");
  without.hasBlobs = false;
  mBefore.Of(Modules("None", "None", "None")).With(without);
  mAfter.Of(Modules("None", "None", "None")).With(without);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 0);
  EXPECT_THAT(Shown(),
              HasSubstr("      no inventory of it could be made; so it was in the saved state\n"));
}

TEST_F(CompareVerdict, IsNotVerifiedWhereTheDriverReadsAnotherLayout) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<b/>"));
  mAnswers[0].status = EFI_UNSUPPORTED;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_THAT(Shown(),
              HasSubstr("      the saved document cannot be read: it is laid out otherwise\n"));
}

TEST_F(CompareVerdict, OfADocumentThatIsNotWellFormedIsNotThatItsLayoutIsAnother) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("Core & Works"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<b/>"));
  mAnswers[0].status = EFI_UNSUPPORTED;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_THAT(Shown(), HasSubstr("it is not well-formed"));
}

// The blobs of a device without the one that holds its document.
TEST_F(CompareVerdict, IsNoTroubleWhereTheDocumentWasMissingBeforeToo) {
  mBefore.Of(Modules("None", "None", "None")).WithBlobs(A1(""), InventoryBlob({.serial = "1"}));
  mAfter.Of(Modules("None", "None", "None")).WithBlobs(A1(""), InventoryBlob({.serial = "2"}));
  mAnswers[0].status = EFI_NOT_FOUND;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 0);
  EXPECT_THAT(Shown(),
              HasSubstr("the saved document cannot be read: it is missing or damaged; so"));
}

TEST_F(CompareTest, IsTroubleWhereNoParserReadsTheDocuments) {
  mBefore.Of(Modules("None", "None", "None")).With(A1("<a/>"));
  mAfter.Of(Modules("None", "None", "None")).With(A1("<b/>"));
  mAnswers[0].status = EFI_NOT_FOUND;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [not verified]");
  EXPECT_EQ(Exit(), 2);
  EXPECT_THAT(Shown(), HasSubstr("the saved document cannot be read: the platform has no XML"));
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

// The blobs hold less of a number than the table does.
TEST_F(CompareVerdict, OfAStateWithoutATableIsByTheNumbersOfTheBlobsOnBothSides) {
  mHasDriver = false;
  TestDevice device = A1("x");
  device.serial = "11111112";
  mBefore.With(device);
  mAfter.Of(Modules("11111112-AND-MORE")).With(device);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [same]");
}

TEST_F(CompareVerdict, OfADeviceWithoutAStructureIsByTheNumbersOfItsBlobs) {
  TestDevice device = A1("x");
  device.handle = 0x7777;
  device.serial = "11111112";
  mBefore.Of(Modules("22222223")).With(device);
  mAfter.Of(Modules("22222223")).With(device);
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [same]");
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

TEST_F(CompareVerdict, OfHighBandwidthMemoryWithoutANumberIsThatNobodyCanTell) {
  const Table table =
      Table::Of(MemoryDevice{.locator = "CPU1_HBM0", .memoryType = 0x20, .serial = "None"}, End{});
  mBefore.Of(table);
  mAfter.Of(table);
  EXPECT_EQ(Row(), "[cannot tell]");
}

// As much of a locator counts as a name has room for: 31 characters.
TEST_F(CompareVerdict, OfHighBandwidthMemoryIsByTheBeginningOfItsLocator) {
  const auto machine = [](const std::vector<std::string>& locators) {
    std::vector<MemoryDevice> stacks;
    for (const std::string& locator : locators) {
      stacks.push_back({.locator = locator, .memoryType = 0x20, .serial = "None"});
    }
    return Table::Of(stacks, End{});
  };
  const std::string thirty(30, 'x');
  mBefore.Of(machine({thirty + "a-", thirty + "b"}));
  mAfter.Of(machine({thirty + "b", thirty + "a+"}));
  EXPECT_THAT(Rows(), ElementsAre("[cannot tell]", "[cannot tell]"));
  EXPECT_EQ(Found(0).Before, 1u);
  EXPECT_EQ(Found(1).Before, 0u);
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

TEST_F(CompareVerdict, IsWithoutRegardToOptionsWhereTheFirstVersionOfAStateDoesNotTell) {
  mBefore.With(A1("x"));
  mAfter.With(A1("x"));
  mBefore.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
  mAfter.Get().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_EQ(Row(), "DIMM.Socket.A1 [cannot tell]");
  EXPECT_FALSE(Result().HasOtherOptions());
}

TEST_F(CompareVerdict, IsNoneWhereAStateOfOtherNamesWasMadeWithOtherOptions) {
  mBefore.With(A1("x"));
  mAfter.With(A1("x"));
  mBefore.Get().NamingRules = 1;
  mAfter.Get().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_TRUE(Result().HasOtherOptions());
}

}  // namespace
}  // namespace tvq::test
