/*
 * `tvq export --rows`: what each column says, and what it says where the table says nothing.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>

#include "tests/unit/host/cli/server.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

using Rows = std::vector<ordered_json>;

Rows RowsIn(const std::string& text) {
  Rows rows;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    rows.push_back(ordered_json::parse(line));
  }
  return rows;
}

std::vector<std::string> ColumnOf(const Rows& rows, const char* name) {
  std::vector<std::string> values;
  for (const ordered_json& row : rows) {
    values.push_back(row[name]);
  }
  return values;
}

class CliRows : public CliTest {
 protected:
  Outcome Export(const test::Table& table, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {"export", "--rows", "--from-dump",
                                          Write("web-01.bin", table.Bytes())};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTvq(arguments);
  }
  Rows RowsOf(const test::Table& table, std::vector<std::string> more = {}) {
    return RowsIn(Export(table, std::move(more)).out);
  }
  ordered_json RowOf(const test::Structure& structure, const char* kind) {
    for (const ordered_json& row : RowsOf(test::Table::Of(test::System{}, structure))) {
      if (row["class"] == kind) {
        return row;
      }
    }
    return {};
  }
  void Save(const Server& server) {
    RunTvq({"save", Path("state"), "--table", Write("saved.bin", TableOf(server).Bytes())});
  }
  Rows RowsAgainstState(const Server& server) {
    return RowsOf(TableOf(server), {"--against", Path("state")});
  }
};

// --- Columns ---

TEST_F(CliRows, AreTheSystemAndEveryDeviceInTheOrderOfTheTable) {
  const Rows rows = RowsOf(TableOf({}));
  EXPECT_THAT(ColumnOf(rows, "class"),
              ElementsAre("system", "processor", "memory module", "memory module"));
  EXPECT_THAT(ColumnOf(rows, "fqdd"),
              ElementsAre("System.Embedded.1", "CPU.Socket.1", "DIMM.Socket.A1", "DIMM.Socket.A2"));
  EXPECT_THAT(ColumnOf(rows, "label"), ElementsAre("", "CPU1", "DIMM_A1", "DIMM_A2"));
}

TEST_F(CliRows, OfAModuleHaveWhatTheTableSaysOfIt) {
  EXPECT_EQ(RowsOf(test::Table::Of(test::System{}, test::MemoryDevice{.firmwareVersion = "1.07"}),
                   {"--time", "1795000000", "--host", "web-01"})[1]
                .dump(),
            R"({"schema":"tvq-row","schemaVersion":1,"time":1795000000,"host":"web-01",)"
            R"("machine":"uuid:00112233-4455-6677-8899-aabbccddeeff","class":"memory module",)"
            R"("fqdd":"DIMM.Socket.A1","label":"DIMM_A1","maker":"Memory Works",)"
            R"("part":"MW16G3200","serial":"0123ABCD","sizeInBytes":17179869184,"speed":2933,)"
            R"("ratedSpeed":3200,"firmware":"1.07","verdict":""})");
}

TEST_F(CliRows, OfAProcessorHaveItsSpeedAndItsModelForAPartNumber) {
  const ordered_json row = RowOf(test::Processor{.serial = "CPU0001"}.Build(), "processor");
  EXPECT_EQ(row["part"], "Core Works Model 8 @ 2.40GHz");
  EXPECT_EQ(row["serial"], "CPU0001");
  EXPECT_EQ(row["speed"], 2400);
  EXPECT_EQ(row["ratedSpeed"], 4000);
  EXPECT_EQ(RowOf(test::Processor{.partNumber = "CW-8"}.Build(), "processor")["part"], "CW-8");
}

TEST_F(CliRows, OfAProcessorWithoutASerialNumberHaveItsPpin) {
  const test::Table table =
      test::Table::Of(test::System{}, test::OemStrings{.texts = {"first", "17[A1B2C3D4E5F60718]"}},
                      test::Processor{.serial = "Not Specified"});
  EXPECT_EQ(RowsOf(table)[1]["serial"], "A1B2C3D4E5F60718");
}

TEST_F(CliRows, OfTheSystemHaveItsProductAndTheMachinesFirmware) {
  const ordered_json row = RowsOf(TableOf({}))[0];
  EXPECT_EQ(row["maker"], "Server Works");
  EXPECT_EQ(row["part"], "Rack One");
  EXPECT_EQ(row["serial"], "ABC1234");
  EXPECT_EQ(row["firmware"], "2.4.6");
}

TEST_F(CliRows, HaveStacksOfHighBandwidthMemory) {
  const ordered_json row = RowOf(test::MemoryDevice{.memoryType = 0x20}.Build(), "HBM stack");
  EXPECT_EQ(row["serial"], "0123ABCD");
  EXPECT_EQ(row["fqdd"], "");
}

TEST_F(CliRows, HaveNoEmptySlotsAndSockets) {
  const test::Table table =
      test::Table::Of(test::System{}, test::Processor{.status = 0}, test::MemoryDevice{.size = 0});
  EXPECT_THAT(ColumnOf(RowsOf(table), "class"), ElementsAre("system"));
}

TEST_F(CliRows, HaveTheFirstSystemAlone) {
  test::Structure bare = test::System{}.Build();
  bare.CutTo(4);
  bare.strings.clear();
  const test::Table table =
      test::Table::Of(bare, test::Processor{}, test::System{.serial = "OTHER-77"});
  const Rows rows = RowsOf(table);
  EXPECT_THAT(ColumnOf(rows, "class"), ElementsAre("system", "processor"));
  EXPECT_EQ(rows[0]["serial"], "");
}

// The machine's own table ends in front of the second module.
TEST_F(CliRows, HaveNoDeviceBehindTheStatedEnd) {
  const test::Table table = test::Table::Of(test::System{}, test::MemoryDevice{},
                                            test::MemoryDevice{.locator = "DIMM_A2"});
  const test::Bytes dump =
      test::EntryPointBytes::Of32Bits({3, 3, table.Size(), table.Count() - 1}).FileWith(table);
  const Rows rows = RowsIn(RunTvq({"export", "--rows", Write("dump.bin", dump)}).out);
  EXPECT_THAT(ColumnOf(rows, "label"), ElementsAre("", "DIMM_A1"));
}

// A recalled part is found whether or not the driver made a record of it.
TEST_F(CliRows, HaveDevicesWithoutARecord) {
  const test::Table table =
      test::Table::Of(test::System{}, test::MemoryDevice{.locator = "DIMM_A1"},
                      test::MemoryDevice{.locator = "DIMM_A1", .serial = "77777778"});
  const Rows rows = RowsOf(table, {"--as-is"});
  EXPECT_THAT(ColumnOf(rows, "serial"), ElementsAre("ABC1234", "0123ABCD", "77777778"));
}

TEST_F(CliRows, AreEmptyWhereTheTableHasPlaceholders) {
  for (const char* const text : {"To Be Filled By O.E.M.", "NO DIMM", "Not Specified", "00000000",
                                 "Unknown", "   ", "FFFFFFFF"}) {
    const ordered_json row =
        RowOf(test::MemoryDevice{.manufacturer = text, .serial = text, .partNumber = text}.Build(),
              "memory module");
    EXPECT_EQ(row["maker"], "") << text;
    EXPECT_EQ(row["serial"], "") << text;
    EXPECT_EQ(row["part"], "") << text;
  }
}

TEST_F(CliRows, HaveNoSerialNumberThatIsCountedUp) {
  const ordered_json row = RowOf(
      test::MemoryDevice{.serial = "SerNum0", .partNumber = "PartNum0"}.Build(), "memory module");
  EXPECT_EQ(row["serial"], "");
  EXPECT_EQ(row["part"], "");
}

TEST_F(CliRows, HaveZeroForNumbersThatTheTableDoesNotSay) {
  const ordered_json row =
      RowOf(test::MemoryDevice{.size = 0xFFFF, .speed = 0, .configuredSpeed = 0}.Build(),
            "memory module");
  EXPECT_EQ(row["sizeInBytes"], 0);
  EXPECT_EQ(row["speed"], 0);
  EXPECT_EQ(row["ratedSpeed"], 0);
}

TEST_F(CliRows, HaveTheSameTypesInEveryRow) {
  Rows rows = RowsOf(TableOf({}));
  rows.push_back(RowOf(
      test::MemoryDevice{
          .manufacturer = std::nullopt, .serial = std::nullopt, .partNumber = std::nullopt}
          .Build(),
      "memory module"));
  for (const ordered_json& row : rows) {
    ASSERT_THAT(row, SizeIs(16));
    for (const auto& [name, value] : row.items()) {
      const bool isNumber = name == "schemaVersion" || name == "time" || name == "sizeInBytes" ||
                            name == "speed" || name == "ratedSpeed";
      EXPECT_EQ(value.is_number_unsigned(), isNumber) << name;
      EXPECT_EQ(value.is_string(), !isNumber) << name;
    }
  }
}

// --- Names of machines ---

TEST_F(CliRows, HaveTheNameOfTheFileForTheHost) {
  EXPECT_EQ(RowsOf(TableOf({}))[0]["host"], "web-01");
  EXPECT_EQ(RowsOf(TableOf({}), {"--host", "db 7"})[0]["host"], "db 7");
  const test::Bytes table = TableOf({}).Bytes();
  const Outcome piped = RunTvq({"export", "--rows", "-"}, std::string(table.begin(), table.end()));
  EXPECT_EQ(RowsIn(piped.out)[0]["host"], "");
}

TEST_F(CliRows, TellAMachineWithoutANumberFromOthersByItsName) {
  const test::Table table =
      test::Table::Of(test::System{.serial = std::nullopt, .uuid = test::Bytes(16, 0)});
  EXPECT_EQ(RowsOf(table)[0]["machine"], "host:web-01");
  EXPECT_EQ(RowsOf(table, {"--host", ""})[0]["machine"], "");
}

TEST_F(CliRows, HaveThisMachinesNameForItsOwnTable) {
  std::filesystem::create_directory(Path("tables"));
  const test::Bytes table = TableOf({}).Bytes();
  Write("tables/DMI", table);
  const test::Bytes entryPoint =
      test::EntryPointBytes::Of64Bits(
          {.major = 3, .minor = 0, .length = static_cast<uint32_t>(table.size())})
          .Bytes();
  Write("tables/smbios_entry_point", entryPoint);
  char name[256] = {};
  gethostname(name, sizeof(name) - 1);
  EXPECT_EQ(RowsIn(RunTvq({"export", "--rows", "--sysfs", Path("tables")}).out)[0]["host"], name);
}

TEST_F(CliRows, AreRedactedWithTheNameOfTheMachineUnlessSomebodyGaveIt) {
  const std::vector<std::string> redacted = {"--redact", "--redact-key", "key"};
  const Outcome masked = Export(TableOf({}), redacted);
  for (const char* const secret : {"web-01", "ABC1234", "11223344", "00112233"}) {
    EXPECT_THAT(masked.out, Not(HasSubstr(secret)));
  }
  EXPECT_EQ(RowsIn(masked.out)[0]["host"].get<std::string>().size(), 6u);
  std::vector<std::string> named = redacted;
  named.insert(named.end(), {"--host", "a server"});
  EXPECT_EQ(RowsOf(TableOf({}), named)[0]["host"], "a server");
}

// --- Verdicts ---

TEST_F(CliRows, HaveVerdictsAgainstAState) {
  Save({});
  Server server;
  server.modules[1].serial = "99AABBCC";
  const Rows rows = RowsAgainstState(server);
  EXPECT_THAT(ColumnOf(rows, "verdict"), ElementsAre("same", "cannot tell", "same", "replaced"));
  EXPECT_EQ(rows[3]["serial"], "99AABBCC");
}

TEST_F(CliRows, OfADeviceThatIsGoneHaveItsPlaceAlone) {
  Save({});
  Server server;
  server.modules.pop_back();
  const Rows rows = RowsAgainstState(server);
  ASSERT_THAT(rows, SizeIs(4));
  EXPECT_EQ(rows[3]["verdict"], "gone");
  EXPECT_EQ(rows[3]["fqdd"], "DIMM.Socket.A2");
  EXPECT_EQ(rows[3]["label"], "DIMM_A2");
  EXPECT_EQ(rows[3]["serial"], "");
  EXPECT_EQ(rows[3]["part"], "");
}

TEST_F(CliRows, HaveAVerdictForEachOfTwoDevicesWithOneHandle) {
  const test::Table table = test::Table::Of(
      test::System{}, test::MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1"},
      test::MemoryDevice{.handle = 0x1100, .locator = "DIMM_A2", .serial = "77777778"});
  RunTvq({"save", Path("state"), "--from-dump", Write("web-01.bin", table.Bytes())});
  EXPECT_THAT(ColumnOf(RowsOf(table, {"--against", Path("state")}), "verdict"),
              ElementsAre("same", "cannot tell", "cannot tell"));
}

TEST_F(CliRows, EndWithTheStatusOfAMissingState) {
  const Outcome outcome = Export(TableOf({}), {"--against", Path("nowhere")});
  EXPECT_EQ(outcome.status, 3);
  EXPECT_THAT(outcome.out, IsEmpty());
}

TEST_F(CliRows, AreNotComparedWithTheStateOfAnotherMachineUnlessThatIsWanted) {
  Save({});
  const test::Table other =
      test::Table::Of(test::System{.serial = "XYZ9876", .uuid = test::Bytes(16, 0)},
                      test::BaseBoard{.serial = "OTHER02"},
                      test::MemoryDevice{.locator = "DIMM_A1", .serial = "42424243"});
  const Outcome refused = Export(other, {"--against", Path("state")});
  EXPECT_EQ(refused.status, 2);
  EXPECT_THAT(refused.out, IsEmpty());
  EXPECT_EQ(Export(other, {"--against", Path("state"), "--other-machine"}).status, 0);
}

TEST_F(CliRows, TakeTheirOptionsTogetherWithRowsAlone) {
  for (const char* const option : {"--host", "--time", "--against"}) {
    EXPECT_EQ(
        RunTvq({"export", option, "1", "--from-dump", Write("web-01.bin", TableOf({}).Bytes())})
            .status,
        2)
        << option;
  }
}

}  // namespace
}  // namespace tvq::cli
