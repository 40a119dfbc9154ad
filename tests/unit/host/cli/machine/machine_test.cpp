/*
 * The parts of a machine beside the records and documents that the driver made of them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/machine/differences.h"
#include "host/cli/machine/fact_text.h"
#include "host/cli/machine/links.h"
#include "host/cli/machine/machine_json.h"
#include "host/cli/machine/machine_text.h"
#include "host/cli/machine/paths.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Machine;
using facts::Part;
using facts::Value;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

Part PartOf(const std::vector<facts::Fact>& facts, uint16_t handle = 0x1234) {
  return {handle, facts};
}

run::Table RunTableOf(const test::Table& table) {
  run::Table made;
  made.major = 3;
  made.minor = 3;
  made.structures = table.Bytes();
  made.structureCount = static_cast<unsigned>(table.Count());
  return made;
}

// --- Titles ---

TEST(Titles, AreTheWordsOfAName) {
  EXPECT_EQ(TitleOf("serial"), "serial");
  EXPECT_EQ(TitleOf("enabledCoreCount"), "enabled core count");
  EXPECT_EQ(TitleOf("fromAToZ"), "from a to z");
  EXPECT_EQ(TitleOf("Bank"), "bank");
  EXPECT_EQ(TitleOf("a@b[c"), "a@b[c");
}

// --- What a document says otherwise ---

Element TextElement(const std::string& name, const std::string& text) {
  Element element;
  element.name = name;
  element.text = text;
  return element;
}

// A document with one element of a section in "Configuration".
Element DocumentWith(const std::string& section, const std::string& name, const std::string& text) {
  Element inner;
  inner.name = section;
  inner.isSection = true;
  inner.children = {TextElement(name, text)};
  Element configuration;
  configuration.name = "Configuration";
  configuration.isSection = true;
  configuration.children = {inner};
  Element document;
  document.name = "tvqComponent";
  document.isSection = true;
  document.children = {configuration};
  return document;
}

// The elements of a document that differ from a machine of one part.
std::vector<std::string> Differing(Kind kind, const Part& part, const Element& document) {
  Machine machine;
  machine.Of(kind).push_back(part);
  std::vector<std::string> elements;
  for (const Difference& difference : FindDifferences(machine, {kind, 0}, document)) {
    elements.push_back(difference.element);
  }
  return elements;
}

TEST(Differences, AreNoneWhereTheTableSaysNothingAndTheDocumentHasItsWordForThat) {
  for (const char* const text : {"0", "65535", "", "Unknown"}) {
    EXPECT_THAT(Differing(Kind::kProcessor, PartOf({{"currentSpeedInMHz", Value()}}),
                          DocumentWith("cpuData", "CurrentSpeed", text)),
                text == std::string("Unknown")
                    ? testing::Matcher<std::vector<std::string>>(testing::SizeIs(1))
                    : IsEmpty())
        << text;
  }
  for (const char* const text : {"65534", "65536", "1"}) {
    EXPECT_THAT(Differing(Kind::kProcessor, PartOf({{"currentSpeedInMHz", Value()}}),
                          DocumentWith("cpuData", "CurrentSpeed", text)),
                testing::ElementsAre("CurrentSpeed"));
  }
}

TEST(Differences, OfAModulesSizeAreThoseOfItsBytes) {
  const Part module = PartOf({{"sizeInBytes", Value(std::uint64_t{16} << 30)}});
  EXPECT_THAT(Differing(Kind::kModule, module, DocumentWith("dimmData", "Size", "16384")),
              IsEmpty());
  EXPECT_THAT(Differing(Kind::kModule, module, DocumentWith("dimmData", "Size", "8192")),
              testing::ElementsAre("Size"));
  EXPECT_THAT(Differing(Kind::kModule, module, DocumentWith("cpuData", "Size", "8192")), IsEmpty())
      << "it has no section for that";
  EXPECT_THAT(Differing(Kind::kModule, module, Element()), IsEmpty());
}

TEST(Differences, OfTheSystemAreThoseOfItsFirmwareToo) {
  const Element document = DocumentWith("BIOSData", "BIOSVersion", "2.0");
  Machine machine;
  machine.Of(Kind::kSystem).push_back(PartOf({}));
  EXPECT_THAT(FindDifferences(machine, {Kind::kSystem, 0}, document), IsEmpty());
  machine.Of(Kind::kFirmware).push_back(PartOf({{"version", Value(std::string("1.0"))}}));
  const std::vector<Difference> differences =
      FindDifferences(machine, {Kind::kSystem, 0}, document);
  ASSERT_EQ(differences.size(), 1u);
  EXPECT_EQ(differences[0].element, "BIOSVersion");
  EXPECT_EQ(differences[0].document, "2.0");
  EXPECT_EQ(differences[0].table, Value(std::string("1.0")));
}

TEST(Differences, StandOnceForAllDevicesThatHaveThem) {
  const Difference difference = {"version", "BIOSVersion", "2.0", Value(std::string("1.0"))};
  std::vector<Device> devices(4);
  for (std::size_t i = 0; i < devices.size(); ++i) {
    devices[i].fqdd = "DIMM.Socket.A" + std::to_string(i + 1);
    devices[i].differences = {difference};
  }
  Terminal narrow;
  narrow.width = 40;
  EXPECT_EQ(DifferencesText(devices, narrow),
            "\nOther values in the driver's documents\n"
            "  BIOSVersion \"2.0\", the table \"1.0\":\n"
            "    DIMM.Socket.A1, DIMM.Socket.A2,\n"
            "      DIMM.Socket.A3, DIMM.Socket.A4\n");
  Terminal coloured;
  coloured.hasColour = true;
  EXPECT_THAT(DifferencesText(devices, coloured),
              StartsWith("\n\x1B[33mOther values in the driver's documents\x1B[0m\n"));
  EXPECT_EQ(DifferencesText({}, narrow), "");
}

// --- Which part a record is of ---

// The record that the driver makes of a module.
run::Record RecordOfModule(const std::string& locator) {
  run::DriverRun driver;
  const run::Results results = driver.Run(RunTableOf(
      test::Table::Of(test::Bios{}, test::System{}, test::MemoryDevice{.locator = locator},
                      test::FqddMap{.groups = {{"DIMM.Socket.A1", 0x8002}}}, test::End{})));
  for (const run::Record& record : results.records) {
    if (record.label) {
      return record;
    }
  }
  ADD_FAILURE() << results.start;
  return {};
}

std::vector<std::string> PlacesOf(const test::Table& table,
                                  const std::vector<run::Record>& records) {
  std::vector<std::string> places;
  for (const std::optional<PartPlace>& place : LinkRecords(RunTableOf(table), records)) {
    places.push_back(place ? std::to_string(place->index) : "none");
  }
  return places;
}

TEST(Links, AreByThePlaceThatADeviceIsIn) {
  Server server;
  server.modules = {{"DIMM_A1", "1"}, {"DIMM_A2", "2"}};
  EXPECT_THAT(PlacesOf(TableOf(server), {RecordOfModule("DIMM_A2"), RecordOfModule("DIMM_A1"),
                                         RecordOfModule("DIMM_B7")}),
              testing::ElementsAre("1", "0", "none"));
}

TEST(Links, OfDevicesInOnePlaceAreEachTakenOnce) {
  Server server;
  server.modules = {{"DIMM_A1", "1"}, {"DIMM_A1", "2"}};
  const run::Record record = RecordOfModule("DIMM_A1");
  EXPECT_THAT(PlacesOf(TableOf(server), {record, record, record}),
              testing::ElementsAre("0", "1", "none"));
}

// --- A machine's parts ---

// Two of each kind that a machine has many of, and the first module has a record.
class MachineParts : public CliTest {
 protected:
  MachineParts()
      : mMachine(ReadMachine(RunTableOf(
            test::Table::Of(TableOf({}), test::BaseBoard{}, test::BaseBoard{}, test::MemoryArray{},
                            test::Slot{.designation = "Slot 1"},
                            test::Slot{.designation = "Slot 2", .characteristics2 = 0x03})))),
        mDevices(1) {
    mDevices[0].fqdd = "DIMM.Socket.A1";
    mDevices[0].place = PartPlace{Kind::kModule, 0};
  }
  MachineView View() const { return {mMachine, mDevices}; }

 private:
  Machine mMachine;
  std::vector<Device> mDevices;
};

TEST_F(MachineParts, HaveTheirFqddOrTheirNumberAsName) {
  EXPECT_EQ(NameOf(View(), {Kind::kModule, 0}), "DIMM.Socket.A1");
  EXPECT_EQ(NameOf(View(), {Kind::kModule, 1}), "module[2]");
  EXPECT_EQ(NamesOf(View(), {{Kind::kBoard, 0}, {Kind::kBoard, 1}}), "board[1], board[2]");
}

TEST_F(MachineParts, AreAllInTheJson) {
  const nlohmann::ordered_json json = MachineJson(View());
  EXPECT_EQ(json["boards"].size(), 2u);
  EXPECT_EQ(json["slots"].size(), 2u);
  EXPECT_EQ(json["modules"][0]["fqdd"], "DIMM.Socket.A1");
  EXPECT_EQ(json["modules"][1]["fqdd"], nullptr);
}

TEST_F(MachineParts, HaveAnFqddInTheJsonWhereTheDriverMakesRecordsOfTheirKind) {
  const nlohmann::ordered_json json = MachineJson(View());
  for (const auto& [kind, list] : json.items()) {
    for (const nlohmann::ordered_json& part : list) {
      EXPECT_EQ(part.contains("fqdd"),
                kind == "systems" || kind == "processors" || kind == "modules")
          << kind;
    }
  }
}

TEST_F(MachineParts, AreAllInTheText) {
  const std::string text = MachineText(View(), {});
  EXPECT_THAT(text, HasSubstr("\nMemory: 32 GB in 2 modules\n  Array      System memory"));
  EXPECT_THAT(text, HasSubstr("\nSlots: 2\n"));
  EXPECT_THAT(text, HasSubstr("Slot 2"));
}

TEST_F(MachineParts, OfWhichAFlagIsNotSetSaySo) {
  const std::string text = PartText(View(), {Kind::kSlot, 0}, {});
  EXPECT_THAT(text, HasSubstr("\nis hot plug  no\n"));
  EXPECT_THAT(text, StartsWith("kind         slot\n"));
  EXPECT_THAT(PartText(View(), {Kind::kSlot, 1}, {}), HasSubstr("\nis hot plug  yes\n"));
}

TEST_F(MachineParts, AreSelectedByWhatStandsBeforeTheLastDot) {
  EXPECT_THAT(Select(View(), "CPU1").parts, IsEmpty());
  EXPECT_THAT(Select(View(), "board").parts, IsEmpty());
  EXPECT_EQ(Select(View(), "DIMM.Socket.A1.serial").parts.size(), 1u);
  EXPECT_EQ(Select(View(), "DIMM.Socket.A1.serial").fact, "serial");
}

TEST(MachineText, SaysHowMuchMemoryThereIsWhereAnArrayIsEmpty) {
  const std::vector<Device> devices;
  Machine machine = ReadMachine(
      RunTableOf(test::Table::Of(test::MemoryArray{}, test::MemoryDevice{.size = 0}, test::End{})));
  const std::string text = MachineText({machine, devices}, {});
  EXPECT_THAT(text, StartsWith("\nMemory: 0 bytes in 0 modules\n  Array      System memory"));
  machine.Of(Kind::kMemoryArray).clear();
  EXPECT_THAT(MachineText({machine, devices}, {}), Not(HasSubstr("Memory: ")));
  machine.Of(Kind::kModule).clear();
  EXPECT_EQ(MachineText({machine, devices}, {}), "");
}

}  // namespace
}  // namespace tvq::cli
