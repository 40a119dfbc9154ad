/*
 * Whole runs of the agent with somebody at the screen.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/agent/fake_record.h"

namespace tvq::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr char kFirstState[] = "\\TVQ\\machine-ABC1234\\state-1.bin";
constexpr char kSecondState[] = "\\TVQ\\machine-ABC1234\\state-2.bin";
constexpr char kThirdState[] = "\\TVQ\\machine-ABC1234\\state-3.bin";

Table ServerWithModules(const std::string& first, const std::string& second) {
  return Table::Of(Bios{}, System{}, Processor{},
                   MemoryDevice{.locator = "DIMM_A1", .serial = first},
                   MemoryDevice{.locator = "DIMM_A2", .serial = second}, End{});
}

class AgentScreen : public testing::Test, protected AgentHarness {
 protected:
  AgentScreen() : mTerminal(Firmware()) {
    LoadDriver();
    // A machine with a clock.
    EFI_TIME time = {};
    time.Year = 2026;
    time.Month = 11;
    time.Day = 22;
    time.Hour = 8;
    Firmware().SetClock(time);
  }

  FakeTerminal& Terminal() { return mTerminal; }
  EFI_STATUS Boot() {
    UseTerminal(&mTerminal);
    const EFI_STATUS status = BootAgent();
    UseTerminal(nullptr);
    return status;
  }
  // What stood there when the n-th key was pressed, from 0 on.
  std::string Picture(size_t number) { return mTerminal.Pictures().at(number); }

  // A machine that was here before, and both of its modules were exchanged since.
  void ExchangeModules() {
    PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
    ASSERT_EQ(RunAgent(), EFI_SUCCESS);
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
    PublishFirmwareTable(ServerWithModules("3C4D5E6F", "4D5E6F70"));
  }
  bool AskedForPowerOff() {
    const bool asked = Firmware().Calls(host::images::agent, host::Service::ResetSystem) != 0;
    Firmware().TakeMisuses();
    return asked;
  }

 private:
  FakeTerminal mTerminal;
};

// --- What stands there ---

TEST_F(AgentScreen, SaysFirstWhatMattersAndThenWhatIsThere) {
  PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  Terminal().Type("q");
  Boot();
  EXPECT_EQ(Picture(0),
            R"( TvqAgent 0.9.0  Rack One, system ABC1234, UUID 00112233-4455-667~ page 1 of 4
First visit: 4 devices are saved. Nothing to do.
State: saved; later boots are compared with it

   Label    FQDD               Serial    Name
>  CPU1     CPU.Socket.1       -         Core Works Model 8 @ 2.40GHz
   DIMM_A1  DIMM.Socket.A1     1A2B3C4D  DDR4DIMM
   DIMM_A2  DIMM.Socket.A2     2B3C4D5E  DDR4DIMM
   -        System.Embedded.1  -         System and Chassis Information














 Goes on by itself in 30 s; any key stops that.
 N:Next B:Back D:Details S:Save P:Power off Q:Leave
)");
  EXPECT_TRUE(Files().Has(kFirstState));
}

TEST_F(AgentScreen, NamesWhatWasFoundAndWhatToDo) {
  ExchangeModules();
  Terminal().Type("q");
  Boot();
  EXPECT_EQ(Picture(0),
            R"( TvqAgent 0.9.0  Rack One, system ABC1234, UUID 00112233-4455-667~ page 1 of 4
2 of 4 devices are not what was saved 2026-11-22 08:00 UTC. What to do:
  DIMM.Socket.A1 (DIMM_A1): replaced
      another part than was here, says the driver, the serial number
      Inventory/WWN: 1A2B3C4D -> 3C4D5E6F
      To do: accept it if it was exchanged on purpose, else find out by whom
  DIMM.Socket.A2 (DIMM_A2): replaced
      another part than was here, says the driver, the serial number
      Inventory/WWN: 2B3C4D5E -> 4D5E6F70
      To do: accept it if it was exchanged on purpose, else find out by whom
Summary: 1 same, 1 cannot tell, 2 replaced
State: \TVQ\machine-ABC1234\state-1.bin, saved 2026-11-22 08:00 UTC by version
    0.9.0
State: left as it was saved; the option accept saves this boot's

   Label    FQDD               Verdict      Serial    Name
   CPU1     CPU.Socket.1       cannot tell  -         Core Works Model 8 @ 2.4~
>! DIMM_A1  DIMM.Socket.A1     replaced     3C4D5E6F  DDR4DIMM
 ! DIMM_A2  DIMM.Socket.A2     replaced     4D5E6F70  DDR4DIMM
   -        System.Embedded.1  same         -         System and Chassis Infor~



 Goes on by itself in 30 s; any key stops that.
 N:Next B:Back D:Details A:Accept all O:Accept one S:Save P:Power off Q:Leave
)");
}

TEST_F(AgentScreen, HasNothingToDoWhereNothingChanged) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\nNothing to do: 3 devices, as they were saved 2026-11-22 "
                                    "08:00 UTC.\nSummary: 2 same, 1 cannot tell\n"));
}

TEST_F(AgentScreen, TellsAFirmwareUpdateFromPartsThatWereExchanged) {
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{}, End{}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(Table::Of(Bios{.version = "2.5.0"}, System{}, Processor{}, End{}));
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0),
              HasSubstr("\nNo part was exchanged since what was saved 2026-11-22 08:00 UTC. "
                        "What to do:\nFirmware update: 2.4.6 -> 2.5.0;"));
}

TEST_F(AgentScreen, ListsWhatIsGoneBehindWhatIsThere) {
  PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{},
                                 MemoryDevice{.locator = "DIMM_A1", .serial = "1A2B3C4D"}, End{}));
  Terminal().Type("doyq");
  Boot();
  EXPECT_THAT(Picture(0), AllOf(HasSubstr("\n1 of 3 devices is not what was saved"),
                                HasSubstr("\n   -        System.Embedded.1  same "),
                                HasSubstr("\n>! DIMM_A2  DIMM.Socket.A2     gone ")));
  EXPECT_THAT(Picture(1), HasSubstr("\nDIMM_A2  DIMM.Socket.A2\n"));
  EXPECT_THAT(Picture(3),
              AllOf(HasSubstr("\nNothing to do: 3 devices"), Not(HasSubstr("DIMM_A2"))));
}

TEST_F(AgentScreen, ListsWhatTheDriverMadeNoRecordOf) {
  PublishFirmwareTable(ClashingServer());
  ASSERT_EQ(RunAgent(u"TvqAgent.efi again as-is"), EFI_ABORTED) << "it has no type 225";
  Files().Put("\\TVQ\\options.txt", "as-is");
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0), AllOf(HasSubstr("\nSomething went wrong. What to do:\n"),
                                HasSubstr("SOCKET 0"), HasSubstr("(no record)")));
}

TEST_F(AgentScreen, CountsOneDeviceAsOne) {
  PublishFirmwareTable(Table::Of(Bios{}, System{}, End{}));
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\nFirst visit: 1 device is saved. Nothing to do.\n"));
  Terminal().Do([&] {
    EXPECT_THAT(Terminal().Picture(), HasSubstr("\nNothing to do: 1 device, as it was saved 2026"));
  });
  Terminal().Type("q");
  Boot();
}

TEST_F(AgentScreen, ShowsAfterAFailureWhatToDoBeforeAnythingElse) {
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_VOLUME_FULL, "\\TVQ\\log.txt");
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\nSomething went wrong. What to do:\n"
                                    "First visit: 3 devices are saved. Nothing to do.\n"
                                    "Problem: \\TVQ\\log.txt cannot be written: Volume Full.\n"
                                    "  What to do: check that the volume can be written to"));
}

TEST_F(AgentScreen, ShowsTheWholeReportBehindTheInventory) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Type("nnnq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("page 2 of 3\nThe whole report:\nTvqAgent 0.9.0: inventory"));
  EXPECT_THAT(Picture(1), HasSubstr("\nStart: Success"));
  EXPECT_THAT(Picture(3), HasSubstr("page 1 of 3\nFirst visit:"))
      << "the first page follows the last one";
}

TEST_F(AgentScreen, TellsMattersByColoursToo) {
  ExchangeModules();
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf("TvqAgent"), UINTN{EFI_BLACK | EFI_BACKGROUND_LIGHTGRAY});
    EXPECT_EQ(Terminal().AttributeOf("2 of 4 devices"), UINTN{EFI_YELLOW});
    EXPECT_EQ(Terminal().AttributeOf("  DIMM.Socket.A1 (DIMM_A1)"), UINTN{EFI_YELLOW});
    EXPECT_EQ(Terminal().AttributeOf("Summary:"), UINTN{EFI_LIGHTGRAY});
    EXPECT_EQ(Terminal().AttributeOf("Label"), UINTN{EFI_WHITE});
    EXPECT_EQ(Terminal().AttributeOf(">! DIMM_A1"), UINTN{EFI_WHITE | EFI_BACKGROUND_BLUE});
    EXPECT_EQ(Terminal().AttributeOf(" ! DIMM_A2"), UINTN{EFI_YELLOW});
  });
  Terminal().Type("ay");
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf("Nothing to do:"), UINTN{EFI_LIGHTGREEN});
    EXPECT_EQ(Terminal().AttributeOf(" Accepted, and saved"), UINTN{EFI_LIGHTGREEN});
  });
  Terminal().Type("q");
  Boot();
}

TEST_F(AgentScreen, TellsAFailureByItsColourToo) {
  ExchangeModules();
  Terminal().Do([&] { Files().Fail(FileCall::kWrite, EFI_VOLUME_FULL, kSecondState); });
  Terminal().Type("ay");
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf("Something went wrong."), UINTN{EFI_LIGHTRED});
    EXPECT_EQ(Terminal().AttributeOf("Problem: "), UINTN{EFI_LIGHTRED});
    EXPECT_EQ(Terminal().AttributeOf(" Not accepted; "), UINTN{EFI_LIGHTRED});
    Files().LimitWrites(0);
  });
  Terminal().Type("s");
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf(" Not everything is saved; "), UINTN{EFI_LIGHTRED});
    Files().Recover();
  });
  Terminal().Type("s");
  Terminal().Do(
      [&] { EXPECT_EQ(Terminal().AttributeOf(" Saved in \\TVQ: "), UINTN{EFI_LIGHTGREEN}); });
  Terminal().Type("q");
  Boot();
}

TEST_F(AgentScreen, BeginsItsTitleWithAsMuchOfTheModelAsThereIsRoomFor) {
  const struct {
    Text product;
    const char* title;
  } kCases[] = {
      {"X", " TvqAgent 0.9.0  X, system ABC1234"},
      {std::nullopt, " TvqAgent 0.9.0  system ABC1234"},
      {std::string(23, 'M') + "N", " TvqAgent 0.9.0  MMMMMMMMMMMMMMMMMMMMMMMN, system ABC1234"},
      {std::string(23, 'M') + "NO", " TvqAgent 0.9.0  MMMMMMMMMMMMMMMMMMMMMMMN, system ABC1234"},
  };
  for (const auto& [product, title] : kCases) {
    PublishFirmwareTable(Table::Of(Bios{}, System{.product = product}, Processor{}, End{}));
    const size_t number = Terminal().Pictures().size();
    Terminal().Type("q");
    Boot();
    EXPECT_THAT(Picture(number), StartsWith(title));
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  }
}

TEST_F(AgentScreen, IsClearedInItsOwnColours) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Mode().Attribute = EFI_TEXT_ATTR(EFI_CYAN, EFI_BLUE);
  Terminal().Type("q");
  Boot();
  EXPECT_EQ(Terminal().ClearedWith(), UINTN{EFI_LIGHTGRAY});
}

TEST_F(AgentScreen, SaysThatItSavesWhileItDoes) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Type("dq");
  Terminal().Do([&] { EXPECT_THAT(Terminal().Drawn(), Not(testing::Contains(". Saving..."))); });
  Terminal().Type("sq");
  Boot();
  EXPECT_THAT(Terminal().Drawn(), testing::Contains(". Saving..."));
}

TEST_F(AgentScreen, ComesBackToTheFirstDeviceWhereTheLastOneIsGoneForGood) {
  PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{},
                                 MemoryDevice{.locator = "DIMM_A1", .serial = "1A2B3C4D"}, End{}));
  Terminal().Type("oyq");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\n>! DIMM_A2"));
  EXPECT_THAT(Picture(2), HasSubstr("\n>  CPU1"));
}

TEST_F(AgentScreen, KeepsWhatItIsToDoAtTheScreenApartFromItsOptions) {
  ExchangeModules();
  Files().Put("\\TVQ\\options.txt", "accept screen");
  Terminal().Type("sq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("\nState: left as it was saved; the option accept saves"));
}

TEST_F(AgentScreen, LooksAgainWithoutAccepting) {
  ExchangeModules();
  Terminal().Type("oysq");
  Boot();
  EXPECT_THAT(Picture(2), HasSubstr("\nState: left as it was saved; the option accept saves"));
  EXPECT_THAT(Picture(3), HasSubstr("\nState: left as it was saved; the option accept saves"));
  EXPECT_FALSE(Files().Has(kThirdState));
}

TEST_F(AgentScreen, ReportsOnceWhatItCompares) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Terminal().Type("sq");
  Boot();
  EXPECT_EQ(Report().find("\nSummary: "), Report().rfind("\nSummary: "));
}

TEST_F(AgentScreen, ReportsAStateThatCouldBeSavedAtLast) {
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_VOLUME_FULL, kFirstState);
  Terminal().Do([&] { Files().Recover(); });
  Terminal().Type("sq");
  Boot();
  EXPECT_THAT(Report().substr(Report().find("At the screen: save")),
              HasSubstr("\nState: saved; later boots are compared with it\n"));
}

TEST_F(AgentScreen, EndsAsTheVisitDidForAShell) {
  PublishFirmwareTable(MinimalServer());
  UseTerminal(&Terminal());
  Files().Fail(FileCall::kWrite, EFI_VOLUME_FULL, "\\TVQ\\log.txt");
  Terminal().Type("q");
  EXPECT_EQ(RunAgent(u"TvqAgent.efi screen"), EFI_ABORTED);
}

TEST_F(AgentScreen, ShowsTheDetailsOfADevice) {
  ExchangeModules();
  Terminal().Type("dq");
  Terminal().Press(SCAN_DOWN);
  Terminal().Type("\rqq");
  Boot();
  EXPECT_THAT(Picture(1),
              AllOf(HasSubstr("\nDIMM_A1  DIMM.Socket.A1\nClass:   memory module\n"
                              "Serial:  3C4D5E6F\n"),
                    HasSubstr("\n  DIMM.Socket.A1 (DIMM_A1): replaced\n"), HasSubstr("\nValues:\n"),
                    HasSubstr("Q:Back to the list"), Not(HasSubstr("D:Details"))));
  EXPECT_THAT(Picture(2), HasSubstr("\n>! DIMM_A1"));
  EXPECT_THAT(Picture(3), HasSubstr("\n>! DIMM_A2"));
  EXPECT_THAT(Picture(4), HasSubstr("\nDIMM_A2  DIMM.Socket.A2\n"));
  EXPECT_THAT(Picture(1),
              HasSubstr("\n  DIMM.Socket.A1 (DIMM_A1): replaced\n"
                        "      another part than was here, says the driver, the serial number\n"
                        "      Inventory/WWN: 1A2B3C4D -> 3C4D5E6F\n"
                        "      To do: accept it if it was exchanged on purpose, else find out by "
                        "whom\n\nValues:\n"));
}

TEST_F(AgentScreen, SaysNothingOfMemoryWhereThereIsEnough) {
  ExchangeModules();
  Terminal().Type("dqayq");
  Boot();
  EXPECT_THAT(Picture(4), Not(HasSubstr("There is no memory")));
}

TEST_F(AgentScreen, ShowsTheDetailsOfADeviceThatIsGone) {
  PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{},
                                 MemoryDevice{.locator = "DIMM_A1", .serial = "1A2B3C4D"}, End{}));
  Terminal().Type("d");
  Terminal().Do([&] { EXPECT_EQ(Terminal().Styles(), "=#...!!!...............!="); });
  Terminal().Type("qq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("page 1 of 1\n"
                                    "DIMM_A2  DIMM.Socket.A2\n"
                                    "Class:   memory module\n"
                                    "Serial:\n"
                                    "Name:\n"
                                    "  DIMM.Socket.A2 (DIMM_A2): gone\n"
                                    "      "));
  EXPECT_THAT(Picture(1), Not(HasSubstr("Values:")));
}

TEST_F(AgentScreen, ShowsTheValuesOfADevice) {
  PublishFirmwareTable(MinimalServer());
  const FakeRecord record(
      Firmware(), {.fqdd = u"A",
                   .serial = "1122\xE9",
                   .document = "<Configuration><One>1</One><Two><Three>" + std::string(300, 'x') +
                               "</Three></Two></Configuration>"});
  const FakeRecord other(Firmware(), {.fqdd = u"B", .document = "<Configuration"});
  Terminal().Press(SCAN_DOWN);
  Terminal().Type("d");
  Terminal().Do([&] { EXPECT_EQ(Terminal().Styles(), "=#....!................!="); });
  Terminal().Press(SCAN_UP);
  Terminal().Do([&] { EXPECT_EQ(Terminal().Styles(), "=#....#................!="); });
  Terminal().Type("qq");
  Boot();
  EXPECT_THAT(Picture(2), AllOf(HasSubstr("\n(no label)  B\n"),
                                HasSubstr("\nIts configuration document cannot be read.\n")));
  EXPECT_THAT(Picture(3), AllOf(HasSubstr("\n(no label)  A\n"), HasSubstr("\nOne: 1\n")));
  const std::string details = Picture(3);
  EXPECT_EQ(std::count(details.begin(), details.end(), 'x'), 199 - 11)
      << "a line has 199 characters at most, and the name of the value is one of them";
}

TEST_F(AgentScreen, ShowsUuidsAsTheTitleDoes) {
  const FakeRecord record(
      Firmware(),
      {.fqdd = u"A", .document = "<D><UUID>33221100554477668899aabbccddeeff</UUID></D>"});
  const struct {
    uint8_t minor;
    const char* uuid;
  } kCases[] = {{8, "UUID: 00112233-4455-6677-8899-aabbccddeeff\n"},
                {5, "UUID: 33221100-5544-7766-8899-aabbccddeeff\n"}};
  for (const auto& [minor, uuid] : kCases) {
    PublishFirmwareTable(Table::Of(Bios{}, System{}, End{}).OfVersion(2, minor));
    Files().Put("\\TVQ\\options.txt", "again");
    const size_t number = Terminal().Pictures().size() + 1;
    Terminal().Type("dqq");
    Boot();
    EXPECT_THAT(Picture(number), HasSubstr(uuid)) << int{minor};
  }
}

TEST_F(AgentScreen, NamesValuesWithoutWhatAllDocumentsBeginWith) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Press(SCAN_DOWN);
  Terminal().Type("dqq");
  Boot();
  EXPECT_THAT(Picture(2), HasSubstr("\ndimmData/PartNumber: MW16G3200\n"));
}

TEST_F(AgentScreen, ShowsAsMuchOfALabelAsThereIsRoomFor) {
  const struct {
    std::string label;
    std::string shown;
  } kCases[] = {{"A", "A"}, {std::string(46, 'L') + "MN", std::string(46, 'L') + "M"}};
  for (const auto& [label, shown] : kCases) {
    PublishFirmwareTable(Table::Of(Bios{}, System{}, MemoryDevice{.locator = label}, End{}));
    const size_t number = Terminal().Pictures().size() + 1;
    Terminal().Type("dqq");
    Boot();
    EXPECT_THAT(Picture(number), HasSubstr("page 1 of 2\n" + shown + "  DIMM."));
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  }
}

TEST_F(AgentScreen, SaysOfADeviceThatIsTheSameThatItIs) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Terminal().Press(SCAN_DOWN);
  Terminal().Type("d");
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf("  DIMM.Socket.A1 (DIMM_A1): same"), UINTN{EFI_LIGHTGRAY});
  });
  Terminal().Type("qq");
  Boot();
}

TEST_F(AgentScreen, SpellsOutWhatIsNotAscii) {
  PublishFirmwareTable(ServerWithModules("1A2B3C\xE9", "2B3C4D5E"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  Terminal().Type("dqq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr(" 1A2B3C\\xE9 -> 1A2B3C4D\n"));
}

TEST_F(AgentScreen, AcceptsADeviceOfOneCharacter) {
  PublishFirmwareTable(MinimalServer());
  const FakeRecord record(Firmware(), {.fqdd = u"A"});
  ASSERT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  Terminal().Type("oyq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("\n Accept A as it is now?"));
  EXPECT_THAT(Report(), HasSubstr("\nAt the screen: accept A\n"));
}

TEST_F(AgentScreen, AcceptsADeviceWithoutANameByItsLabel) {
  const auto serverWith = [](const char* serial) {
    return Table::Of(Bios{}, System{}, Processor{},
                     MemoryDevice{.locator = "HBM_1", .memoryType = 0x20, .serial = serial}, End{});
  };
  PublishFirmwareTable(serverWith("1A2B3C4D"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  PublishFirmwareTable(serverWith("3C4D5E6F"));
  Terminal().Type("oyq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("\n Accept HBM_1 as it is now?"));
  EXPECT_THAT(Report(), HasSubstr("\nAt the screen: accept HBM_1\n"));
  EXPECT_TRUE(Files().Has(kSecondState));
}

TEST_F(AgentScreen, TellsOfMissingBlobsByTheirColour) {
  PublishFirmwareTable(MinimalServer());
  const FakeRecord record(Firmware(), {.fqdd = u"A", .missingSlot = TVQ_SLOT_END});
  Terminal().Do([&] {
    EXPECT_EQ(Terminal().AttributeOf("Blobs: A gives no end blob"), UINTN{EFI_LIGHTRED});
  });
  Terminal().Type("q");
  Boot();
}

TEST_F(AgentScreen, LooksIntoTheNeighbourOfADevice) {
  ExchangeModules();
  Terminal().Type("d");
  Terminal().Press(SCAN_UP);
  Terminal().Type("\x1Bq");
  Boot();
  EXPECT_THAT(Picture(2), HasSubstr("\nCPU1  CPU.Socket.1\n"));
  EXPECT_THAT(Picture(3), HasSubstr("\n>  CPU1"));
}

// --- What keys do ---

TEST_F(AgentScreen, AcceptsOneDeviceAndThenTheOthers) {
  ExchangeModules();
  Terminal().Type("oyayq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("\n Accept DIMM.Socket.A1 as it is now?  Y: yes; any other"));
  EXPECT_THAT(Picture(2), AllOf(HasSubstr("\n1 of 4 devices is not what was saved"),
                                HasSubstr("\n Accepted, and saved beside what was saved before.\n"),
                                HasSubstr("Summary: 2 same, 1 cannot tell, 1 replaced\n")));
  EXPECT_THAT(Picture(3), HasSubstr("\n Save this boot's state, with all that changed?  Y: yes"));
  EXPECT_THAT(Picture(4), HasSubstr("\nNothing to do: 4 devices, as they were saved"));
  EXPECT_TRUE(Files().Has(kSecondState));
  EXPECT_TRUE(Files().Has(kThirdState));
}

TEST_F(AgentScreen, LeavesAReportOfTheWholeVisit) {
  ExchangeModules();
  Terminal().Type("oyq");
  Boot();
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 1 same, 1 cannot tell, 2 replaced\n"))
      << "what was found stays in it";
  EXPECT_THAT(Report(), HasSubstr("\nAt the screen: accept DIMM.Socket.A1\n"));
  EXPECT_THAT(Report(),
              HasSubstr("\nState: accepted; of other devices it says what it said before\n"));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
  EXPECT_EQ(Report().find("TvqAgent: success"), Report().rfind("TvqAgent: success"));
}

TEST_F(AgentScreen, AcceptsNothingWithoutAYes) {
  ExchangeModules();
  Terminal().Type(
      "an"
      "o\r"
      "a\x1Bq");
  Boot();
  EXPECT_THAT(Picture(6), HasSubstr("\n2 of 4 devices are not what was saved"));
  EXPECT_FALSE(Files().Has(kSecondState));
}

TEST_F(AgentScreen, AcceptsNothingOfAMachineThatIsHereForTheFirstTime) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Type("ayoyq");
  Boot();
  EXPECT_FALSE(Files().Has(kSecondState));
}

TEST_F(AgentScreen, SaysWhyItDidNotAccept) {
  ExchangeModules();
  Terminal().Do([&] { Files().Fail(FileCall::kWrite, EFI_VOLUME_FULL, kSecondState); });
  Terminal().Type("ayq");
  Boot();
  EXPECT_THAT(Picture(2), AllOf(HasSubstr("\n Not accepted; the first page says why.\n"),
                                HasSubstr("\nProblem: the state cannot be saved: Volume Full.\n"),
                                HasSubstr("\n2 of 4 devices are not what was saved")));
  EXPECT_THAT(Report(), HasSubstr("TvqAgent: failed: the state cannot be saved: Volume Full"));
}

TEST_F(AgentScreen, SavesAgainWhatCouldNotBeSaved) {
  PublishFirmwareTable(MinimalServer());
  Files().LimitWrites(100);
  Terminal().Do([&] { Files().LimitWrites(MAX_UINTN); });
  Terminal().Type("sq");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\nSomething went wrong."));
  EXPECT_THAT(Picture(1), HasSubstr("\n Saved in \\TVQ: inventory, log and report.\n"));
  EXPECT_TRUE(Files().Has(kFirstState));
  EXPECT_THAT(Report(), HasSubstr("\nAt the screen: save\n"));
}

TEST_F(AgentScreen, SaysWhenItCouldNotSave) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Do([&] { Files().LimitWrites(0); });
  Terminal().Type("sq");
  Boot();
  EXPECT_THAT(Picture(1), HasSubstr("\n Not everything is saved; the first page says why.\n"));
}

TEST_F(AgentScreen, SwitchesTheMachineOffAfterAYes) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Type("pnq");
  Boot();
  EXPECT_FALSE(AskedForPowerOff());
  Terminal().Type("py");
  Boot();
  EXPECT_TRUE(AskedForPowerOff());
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

// --- When there is a screen, and when it ends ---

TEST_F(AgentScreen, GoesOnToTheNextBootOptionWhenNobodyIsThere) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(Boot(), EFI_ABORTED) << "a success would end in the firmware's menu";
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
  EXPECT_THAT(Report(), EndsWith(kSuccess));
}

TEST_F(AgentScreen, WaitsAsLongAsTheOptionsSay) {
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\options.txt", "countdown=5");
  Boot();
  EXPECT_EQ(Terminal().SecondsWaited(), 5u);
}

TEST_F(AgentScreen, StaysWhenSomebodyPressedAKey) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Wait(29);
  Terminal().Type("x");
  Terminal().Wait(500);
  Terminal().Type("q");
  Boot();
  EXPECT_THAT(Picture(0), HasSubstr("\n Goes on by itself in 1 s; any key stops that.\n"));
  EXPECT_THAT(Picture(1), Not(HasSubstr("Goes on by itself")));
  EXPECT_GE(Terminal().SecondsWaited(), 500u);
}

TEST_F(AgentScreen, DrawsTheSecondsAloneWhileItCounts) {
  PublishFirmwareTable(MinimalServer());
  Boot();
  EXPECT_EQ(Terminal().RowsDrawn(), 25u + 29u);
}

TEST_F(AgentScreen, IsLeftAloneWhereTheOptionsSaySo) {
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\options.txt", "unattended");
  EXPECT_EQ(Boot(), EFI_ABORTED);
  EXPECT_EQ(Terminal().SecondsWaited(), 0u);
  EXPECT_THAT(Terminal().Lines(),
              AllOf(HasSubstr("\r\nRecords: 3\r\n"), EndsWith("\r\nTvqAgent: success\r\n")));
}

TEST_F(AgentScreen, IsLeftAloneWhereTheMachineIsToGoOff) {
  PublishFirmwareTable(MinimalServer());
  Files().Put("\\TVQ\\options.txt", "poweroff");
  Boot();
  EXPECT_TRUE(AskedForPowerOff());
  EXPECT_EQ(Terminal().SecondsWaited(), 0u);
  Files().Put("\\TVQ\\options.txt", "poweroff screen");
  Boot();
  EXPECT_TRUE(AskedForPowerOff()) << "after the countdown";
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
}

TEST_F(AgentScreen, IsForShellsOnlyOnRequest) {
  PublishFirmwareTable(MinimalServer());
  UseTerminal(&Terminal());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(Terminal().SecondsWaited(), 0u);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi screen"), EFI_SUCCESS);
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
}

TEST_F(AgentScreen, IsNotForStopAndUnload) {
  PublishFirmwareTable(MinimalServer());
  UseTerminal(&Terminal());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi stop screen"), EFI_SUCCESS);
  EXPECT_EQ(Terminal().SecondsWaited(), 0u);
}

TEST_F(AgentScreen, LeavesTheConsoleAsItWas) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Mode().Attribute = EFI_TEXT_ATTR(EFI_CYAN, EFI_BLUE);
  Terminal().Do([&] { EXPECT_FALSE(Terminal().Mode().CursorVisible); });
  Terminal().Type("q");
  Boot();
  EXPECT_EQ(Terminal().Mode().Attribute, INT32{EFI_TEXT_ATTR(EFI_CYAN, EFI_BLUE)});
  EXPECT_TRUE(Terminal().Mode().CursorVisible);
  EXPECT_THAT(Terminal().Picture(), Not(testing::ContainsRegex("[^\n]")));
  EXPECT_THAT(Terminal().Lines(), EndsWith("TvqAgent: success\r\n"));
  EXPECT_THAT(Terminal().Lines(), Not(HasSubstr("Records: "))) << "which the screen showed";
}

TEST_F(AgentScreen, LeavesAHiddenCursorHidden) {
  PublishFirmwareTable(MinimalServer());
  for (const BOOLEAN isVisible : {FALSE, TRUE}) {
    Terminal().Mode().CursorVisible = isVisible;
    Terminal().Type("q");
    Boot();
    EXPECT_EQ(Terminal().Mode().CursorVisible, isVisible);
  }
}

TEST_F(AgentScreen, TakesSixtyFourKeysFromBeforeAtMost) {
  PublishFirmwareTable(MinimalServer());
  for (int i = 0; i < 64; ++i) {
    Terminal().TypeAhead('q');
  }
  Boot();
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
  for (int i = 0; i < 65; ++i) {
    Terminal().TypeAhead('q');
  }
  Boot();
  EXPECT_EQ(Terminal().SecondsWaited(), 30u) << "a keyboard that never falls silent";
}

UINT64 gPeriod;
EFI_STATUS EFIAPI NoteTimer(EFI_EVENT, EFI_TIMER_DELAY, UINT64 period) {
  gPeriod = period;
  return EFI_UNSUPPORTED;
}

TEST_F(AgentScreen, AsksForASecond) {
  PublishFirmwareTable(MinimalServer());
  Firmware().SystemTableOf(host::images::agent)->BootServices->SetTimer = NoteTimer;
  Boot();
  EXPECT_EQ(gPeriod, 10000000u) << "in units of 100 ns";
}

TEST_F(AgentScreen, TakesNoKeyFromBeforeThereWasAnythingToSee) {
  PublishFirmwareTable(MinimalServer());
  Terminal().TypeAhead('q');
  Terminal().TypeAhead('\0');
  Boot();
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
}

TEST_F(AgentScreen, GoesOnWhereTheKeyboardFails) {
  PublishFirmwareTable(MinimalServer());
  Terminal().Do([&] { Terminal().FailReads(EFI_DEVICE_ERROR); });
  Terminal().Type("x");
  Boot();
  EXPECT_EQ(Terminal().SecondsWaited(), 30u);
}

TEST_F(AgentScreen, PutsTheFirmwaresTableBackBeforeItWaits) {
  PublishFirmwareTable(ClashingServer());
  Terminal().Do([&] { EXPECT_TRUE(FirmwareTableIsInPlace()); });
  Terminal().Type("q");
  Boot();
}

TEST_F(AgentScreen, PrintsTheReportWhereItCannotWaitForKeys) {
  PublishFirmwareTable(MinimalServer());
  for (const host::Service service : {host::Service::CreateEvent, host::Service::SetTimer}) {
    Firmware().FailCall(host::images::agent, service, 1, EFI_OUT_OF_RESOURCES);
    const size_t before = Terminal().Lines().size();
    Boot();
    EXPECT_THAT(Terminal().Lines().substr(before),
                AllOf(HasSubstr("\r\nRecords: 3\r\n"), EndsWith("\r\nTvqAgent: success\r\n")));
    EXPECT_EQ(Terminal().SecondsWaited(), 0u);
  }
  Firmware().FailCall(host::images::agent, host::Service::WaitForEvent, 1, EFI_UNSUPPORTED);
  EXPECT_EQ(Boot(), EFI_ABORTED);
  EXPECT_EQ(Terminal().SecondsWaited(), 0u);
}

// --- Other screens, hostile texts, no memory ---

// The keys of a visit to every page, on a machine of its own.
std::vector<std::string> PicturesOf(const Table& table, size_t columns, size_t rows, size_t pages) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(table);
  FakeTerminal terminal(machine.Firmware(), columns, rows);
  machine.UseTerminal(&terminal);
  terminal.Type(std::string(pages, 'n') + "dnnqpn" + "q");
  EXPECT_EQ(machine.BootAgent(), EFI_ABORTED);
  machine.UseTerminal(nullptr);
  return terminal.Pictures();
}

TEST(AgentScreenOfAnySize, ShowsEveryDeviceOnce) {
  for (const auto& [columns, rows] :
       {std::pair<size_t, size_t>{80, 25}, {100, 31}, {40, 12}, {79, 24}, {132, 50}, {300, 90}}) {
    const std::vector<std::string> pictures =
        PicturesOf(ServerWithModules("1A2B3C4D", "2B3C4D5E"), columns, rows, 30);
    EXPECT_THAT(pictures.at(0), HasSubstr("First visit: 4 devices"));
    EXPECT_THAT(pictures.at(0), HasSubstr("Q:Leave\n")) << columns << "x" << rows;
    EXPECT_THAT(pictures.at(0) + pictures.at(1), HasSubstr("DIMM_A2  DIMM.Socket.A2")) << columns;
  }
}

// A terminal at the end of a serial line need not be as large as the firmware believes.
TEST(AgentScreenOfAnySize, IsTheOneThatEveryTerminalHas) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(MinimalServer());
  FakeTerminal terminal(machine.Firmware());
  terminal.OfferModes({{80, 25}, {80, 50}, {128, 40}});
  machine.UseTerminal(&terminal);
  terminal.Type("q");
  machine.BootAgent();
  machine.UseTerminal(nullptr);
  EXPECT_EQ(std::count(terminal.Pictures().at(0).begin(), terminal.Pictures().at(0).end(), '\n'),
            25);
  EXPECT_EQ(terminal.Mode().Mode, 2) << "the firmware's own choice comes back";
}

TEST(AgentScreenOfAnySize, IsTheUsualOneAlsoWhereAnotherHasAsManyRowsOrColumns) {
  for (const auto& other : {std::pair<size_t, size_t>{80, 50}, {100, 25}}) {
    AgentHarness machine;
    machine.LoadDriver();
    machine.PublishFirmwareTable(MinimalServer());
    FakeTerminal terminal(machine.Firmware());
    terminal.OfferModes({{80, 25}, {other.first, other.second}});
    machine.UseTerminal(&terminal);
    terminal.Do([&] { EXPECT_EQ(terminal.Mode().Mode, 0) << other.first; });
    terminal.Type("q");
    machine.BootAgent();
    machine.UseTerminal(nullptr);
    EXPECT_EQ(terminal.Mode().Mode, 1) << other.first;
  }
}

TEST(AgentScreenOfAnySize, HasABoundOfItsOwn) {
  const std::vector<std::string> pictures =
      PicturesOf(ServerWithModules("1A2B3C4D", "2B3C4D5E"), 300, 90, 1);
  const std::string& first = pictures.at(0);
  EXPECT_THAT(first, StartsWith(" TvqAgent 0.9.0  Rack One, system ABC1234, UUID "
                                "00112233-4455-6677-8899-aabbccddeeff   "));
  EXPECT_EQ(first.find('\n'), 158u)
      << "of 160 columns the last one stays free, and a blank is before";
  const size_t keys = first.find(" N:Next");
  EXPECT_EQ(std::count(first.begin(), first.begin() + static_cast<long>(keys), '\n'), 59);
}

TEST(AgentScreenOfAnySize, IsTheUsualOneWhereTheConsoleSaysNothingUseful) {
  const struct {
    EFI_STATUS status;
    size_t columns;
    size_t rows;
  } kCases[] = {{EFI_SUCCESS, 0, 25}, {EFI_SUCCESS, 80, 0}, {EFI_DEVICE_ERROR, 100, 40}};
  for (const auto& [status, columns, rows] : kCases) {
    AgentHarness machine;
    machine.LoadDriver();
    machine.PublishFirmwareTable(MinimalServer());
    FakeTerminal terminal(machine.Firmware());
    terminal.SayOfModes(status, columns, rows);
    machine.UseTerminal(&terminal);
    terminal.Type("q");
    machine.BootAgent();
    machine.UseTerminal(nullptr);
    EXPECT_EQ(terminal.RowsDrawn(), 25u) << columns << " by " << rows;
  }
}

TEST(AgentScreenOfAnySize, IsNoneWhereNothingUsefulFits) {
  for (const auto& [columns, rows] : {std::pair<size_t, size_t>{39, 25}, {80, 11}}) {
    AgentHarness machine;
    machine.LoadDriver();
    machine.PublishFirmwareTable(MinimalServer());
    FakeTerminal terminal(machine.Firmware(), columns, rows);
    machine.UseTerminal(&terminal);
    machine.BootAgent();
    EXPECT_THAT(terminal.Lines(), EndsWith("TvqAgent: success\r\n"));
    EXPECT_EQ(terminal.SecondsWaited(), 0u);
    machine.UseTerminal(nullptr);
  }
}

TEST(AgentScreenOfAnySize, TakesTheUsualOneWhereTheConsoleDoesNotSay) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(MinimalServer());
  FakeTerminal terminal(machine.Firmware());
  terminal.Mode().Mode = -1;
  machine.UseTerminal(&terminal);
  terminal.Type("q");
  machine.BootAgent();
  EXPECT_THAT(terminal.Pictures().at(0), HasSubstr("First visit: 3 devices"));
  machine.UseTerminal(nullptr);
}

TEST(AgentScreenOfAHostileTable, ShowsNothingThatATerminalTakesForMoreThanText) {
  std::string evil = "\x1B[2J\x07\r\n\x9B";
  evil += std::string(200, 'W');
  // The terminal itself refuses what is not printable.
  const std::vector<std::string> pictures =
      PicturesOf(Table::Of(Bios{.version = evil}, System{.serial = evil},
                           Processor{.designation = evil, .version = evil},
                           MemoryDevice{.locator = evil, .serial = evil}, End{}),
                 80, 25, 12);
  EXPECT_THAT(pictures.at(0), HasSubstr("?[2J"));
  EXPECT_THAT(pictures.at(0), HasSubstr("WWW~"));
}

TEST(AgentScreenWithManyDevices, NeverShowsMoreThanTheScreenHolds) {
  Table table = Table::Of(Bios{}, System{}, Processor{});
  for (int i = 0; i < 60; ++i) {
    table = Table::Of(table, MemoryDevice{.locator = "DIMM_" + std::to_string(100 + i)});
  }
  const std::vector<std::string> pictures = PicturesOf(Table::Of(table, End{}), 80, 25, 12);
  std::string all;
  for (size_t page = 0; page < 4; ++page) {
    all += pictures.at(page);
  }
  for (int i = 0; i < 60; ++i) {
    EXPECT_THAT(all, HasSubstr("  DIMM_" + std::to_string(100 + i) + " "));
  }
}

TEST(AgentScreenWithManyDevices, ComesBackFromADeviceToItsPage) {
  Table table = Table::Of(Bios{}, System{}, Processor{});
  for (int i = 0; i < 30; ++i) {
    table = Table::Of(table, MemoryDevice{.locator = "DIMM_" + std::to_string(100 + i)});
  }
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(Table::Of(table, End{}));
  FakeTerminal terminal(machine.Firmware());
  machine.UseTerminal(&terminal);
  for (int i = 0; i < 25; ++i) {
    terminal.Press(SCAN_DOWN);
  }
  terminal.Type("dnqq");
  machine.BootAgent();
  machine.UseTerminal(nullptr);
  EXPECT_THAT(terminal.Pictures().at(25), HasSubstr("\n>  DIMM_124 "));
  EXPECT_THAT(terminal.Pictures().at(26), HasSubstr("\nDIMM_124  DIMM"));
  EXPECT_THAT(terminal.Pictures().at(27), HasSubstr("page 2 of 2\n"));
  EXPECT_THAT(terminal.Pictures().at(28), HasSubstr("\n>  DIMM_124 "));
}

TEST(AgentScreenWithManyDevices, ShowsWhatTheDriverMakesNoRecordsOf) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(Table::Of(
      Bios{}, System{}, Processor{}, MemoryDevice{.locator = "HBM_1", .memoryType = 0x20}, End{}));
  FakeTerminal terminal(machine.Firmware());
  machine.UseTerminal(&terminal);
  EXPECT_EQ(machine.RunAgent(), EFI_SUCCESS);
  terminal.Type("q");
  machine.BootAgent();
  machine.UseTerminal(nullptr);
  EXPECT_THAT(terminal.Pictures().at(0), testing::ContainsRegex("\n   HBM_1 .* HBM stack\n"));
}

// The n-th allocation of the agent fails while somebody presses every key. False: it made fewer.
bool RunsShortOfMemoryAtTheScreen(uint64_t n) {
  AgentHarness machine;
  machine.LoadDriver();
  machine.PublishFirmwareTable(ServerWithModules("1A2B3C4D", "2B3C4D5E"));
  EXPECT_EQ(machine.RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(machine.RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
  machine.PublishFirmwareTable(ServerWithModules("3C4D5E6F", "4D5E6F70"));
  FakeTerminal terminal(machine.Firmware());
  terminal.Type("ndqoyaysq");
  machine.UseTerminal(&terminal);
  const size_t before = machine.Firmware().Memory().LiveCount(host::images::agent);
  machine.Firmware().Memory().FailAllocation(n, host::images::agent);
  machine.BootAgent();
  const bool failed = machine.Firmware().Memory().FailedAllocations() != 0;
  machine.Firmware().Memory().StopFailing();
  machine.UseTerminal(nullptr);
  EXPECT_LE(machine.Firmware().Memory().LiveCount(host::images::agent), before + 1) << n;
  EXPECT_TRUE(machine.FirmwareTableIsInPlace()) << n;
  EXPECT_THAT(terminal.Lines(), HasSubstr("TvqAgent: ")) << n;
  return failed;
}

TEST(AgentScreenWithoutMemory, SurvivesEveryFailedAllocation) {
  uint64_t n = 1;
  while (n < 20000 && RunsShortOfMemoryAtTheScreen(n)) {
    n += 1 + n / 12;
  }
  EXPECT_GT(n, 500u);
  EXPECT_LT(n, 20000u);
}

}  // namespace
}  // namespace tvq::test
