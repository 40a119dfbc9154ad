/*
 * Labels: what a machine prints at its sockets and slots, beside the names that they have here.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/conform.h"
#include "TvqPlatformPkg/src/smbios/names/device_labels.h"
#include <Protocol/TvqRecord.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using tvqplatform::DeviceLabel;
using tvqplatform::DeviceLabels;

std::string TextOf(const DeviceLabel* label) {
  CHAR8 buffer[tvqplatform::kLabelSize];
  std::memset(buffer, '?', sizeof(buffer));
  tvqplatform::CopyLabel(label, buffer);
  return std::string(buffer, strnlen(buffer, sizeof(buffer)));
}

// "CPU.Socket.1 (CPU1)", with "given by" the rule where there is one.
std::vector<std::string> InWords(const DeviceLabels& labels) {
  std::vector<std::string> words;
  for (const DeviceLabel& label : labels.All()) {
    words.push_back(std::string(label.Fqdd) + " (" + TextOf(&label) + ")" +
                    (label.Rule == nullptr ? "" : " given by " + std::string(label.Rule)) +
                    (label.HasRecord ? "" : ", no record"));
  }
  return words;
}

class Labels : public AgentTest {
 protected:
  std::vector<std::string> Of(const Table& table) {
    mTable = table.Bytes();
    EXPECT_TRUE(mLabels.Collect(View(mTable)));
    return InWords(mLabels);
  }
  std::vector<std::string> OfConformed(const Table& table) {
    mTable = table.Bytes();
    EXPECT_FALSE(IsRefused(mConformed.Conform(View(mTable))));
    EXPECT_TRUE(mLabels.Collect(mConformed.Devices(), mConformed.Structures()));
    return InWords(mLabels);
  }

  Bytes mTable;
  tvqplatform::ConformedTable mConformed;
  DeviceLabels mLabels;
};

// The device path of the record that the driver makes of a structure.
Bytes PathOf(const smbios::Structure& structure) {
  const devices::Key key = devices::KeyOf(structure);
  TVQ_DEVICE_PATH path = {};
  static_assert(sizeof(path.Data) == sizeof(key.Data));
  std::memcpy(path.Data, key.Data, sizeof(key.Data));
  const auto* const bytes = reinterpret_cast<const uint8_t*>(&path);
  return Bytes(bytes, bytes + sizeof(path));
}

TEST_F(Labels, AreOfAllSocketsAndSlotsInTheirOrder) {
  EXPECT_THAT(Of(Table::Of(System{}, MemoryDevice{.locator = "DIMM_B2"}, Processor{},
                           Processor{.designation = "CPU2", .status = 0},
                           MemoryDevice{.size = 0, .locator = "DIMM_A1"}, End{})),
              ElementsAre("DIMM.Socket.B2 (DIMM_B2)", "CPU.Socket.1 (CPU1)",
                          "CPU.Socket.2 (CPU2), no record", "DIMM.Socket.A1 (DIMM_A1), no record"));
  EXPECT_THAT(Of(Table::Of(MemoryDevice{.locator = "DIMM_A10"}, End{})),
              ElementsAre("DIMM.Socket.A10 (DIMM_A10)"));
}

// The driver finds it by its locator, as a part of a processor.
TEST_F(Labels, AreNotOfHighBandwidthMemory) {
  EXPECT_THAT(
      Of(Table::Of(MemoryDevice{.locator = "HBM_1", .memoryType = 0x20}, MemoryDevice{}, End{})),
      ElementsAre("DIMM.Socket.A1 (DIMM_A1)"));
}

TEST_F(Labels, HaveTheFqddOfTheTablesOwnMap) {
  EXPECT_THAT(
      Of(Table::Of(Processor{.handle = 0x400}, Processor{.handle = 0x401, .designation = "CPU2"},
                   FqddMap{.groups = {{"Proc.First", 0x400}}}, End{})),
      ElementsAre("Proc.First (CPU1)", "CPU.Socket.2 (CPU2)"));
  EXPECT_THAT(
      Of(Table::Of(
          Processor{.handle = 0x400}, Processor{.handle = 0x401, .designation = "CPU2"},
          MemoryDevice{.handle = 0x1100},
          FqddMap{.groups = {{"Module", 0x1100}, {"Proc.Second", 0x401}, {"Proc.First", 0x400}}},
          End{})),
      ElementsAre("Proc.First (CPU1)", "Proc.Second (CPU2)", "Module (DIMM_A1)"));
}

TEST_F(Labels, HaveTheDriversFqddWhereAMapIsNoneToTheDriver) {
  EXPECT_THAT(Of(Table::Of(Processor{.handle = 0x400},
                           FqddMap{.format = 2, .groups = {{"Other.Format", 0x400}}}, End{})),
              ElementsAre("CPU.Socket.1 (CPU1)"));
  EXPECT_THAT(
      Of(Table::Of(Processor{.handle = 0x400}, MemoryDevice{.handle = 0x1100},
                   FqddMap{.groups = {{"Module", 0x1100}, {"Cut", 0x400}}}.Build().CutTo(5 + 4 + 3),
                   End{})),
      ElementsAre("CPU.Socket.1 (CPU1)", "Module (DIMM_A1)"));
}

TEST_F(Labels, KeepAsMuchOfAnFqddAsTheDriverReturns) {
  EXPECT_THAT(Of(Table::Of(Processor{.handle = 0x400},
                           FqddMap{.groups = {{"Processor.InTheFirst.Socket", 0x400}}}, End{})),
              ElementsAre("Processor.InThe (CPU1)"));
}

TEST_F(Labels, OfAConformedTableAreTheMachinesOwn) {
  EXPECT_THAT(OfConformed(Table::Of(System{}, Processor{.designation = "SOCKET 1"},
                                    MemoryDevice{.locator = "P1-DIMMA1"},
                                    MemoryDevice{.size = 0, .locator = "P1-DIMMB1"}, End{})),
              ElementsAre("CPU.Socket.1 (SOCKET 1) given by socket",
                          "DIMM.Socket.1A1 (P1-DIMMA1) given by processor-letter-slot",
                          "DIMM.Socket.1B1 (P1-DIMMB1) given by processor-letter-slot, no record"));
}

TEST_F(Labels, SayThatTheTablesOwnMapGaveTheName) {
  EXPECT_THAT(OfConformed(Table::Of(System{}, Processor{.handle = 0x400},
                                    FqddMap{.groups = {{"CPU.First", 0x400}}}, End{})),
              ElementsAre("CPU.First (CPU1) given by type-225"));
}

TEST_F(Labels, AreFoundByTheDevicePathOfARecord) {
  Of(Table::Of(Processor{}, MemoryDevice{}, MemoryDevice{.locator = "DIMM_A2"}, End{}));
  std::vector<std::string> found;
  for (const smbios::Structure& structure : smbios::Walk(View(mTable))) {
    const Bytes path = PathOf(structure);
    if (const DeviceLabel* const label = mLabels.OfRecord(View(path))) {
      found.push_back(TextOf(label));
    }
  }
  EXPECT_THAT(found, ElementsAre("CPU1", "DIMM_A1", "DIMM_A2"));
}

TEST_F(Labels, OfAnEmptySlotAreOfNoRecord) {
  Of(Table::Of(MemoryDevice{.handle = 0x1100, .size = 0, .locator = "DIMM_A1"},
               MemoryDevice{.handle = 0x1101, .locator = "DIMM_A1"}, End{}));
  const Bytes path = PathOf(*smbios::Walk(View(mTable)).begin());
  ASSERT_NE(mLabels.OfRecord(View(path)), nullptr);
  EXPECT_EQ(mLabels.OfRecord(View(path))->Handle, 0x1101);
}

TEST_F(Labels, AreFoundByTheirWholeFqdd) {
  Of(Table::Of(Processor{}, MemoryDevice{}, End{}));
  EXPECT_EQ(TextOf(mLabels.OfFqdd(Wide(u"DIMM.Socket.A1"))), "DIMM_A1");
  for (const char16_t* const other : {u"DIMM.Socket.A", u"DIMM.Socket.A12", u"",
                                      u"DIMM.Socket.\u0141"
                                      u"1"}) {
    EXPECT_EQ(mLabels.OfFqdd(Wide(other)), nullptr);
  }
}

TEST_F(Labels, AreShownWithoutTheBlanksAroundThem) {
  EXPECT_THAT(
      Of(Table::Of(Processor{.designation = "  CPU1 a "}, Processor{.designation = "   "},
                   Processor{.designation = std::nullopt}, End{})),
      ElementsAre("CPU.Socket.20 (CPU1 a)", testing::HasSubstr("(-)"), testing::HasSubstr("(-)")));
  EXPECT_THAT(Of(Table::Of(MemoryDevice{.locator = "\t!A1! "}, End{})),
              ElementsAre(testing::HasSubstr("(!A1!)")));
  EXPECT_EQ(TextOf(nullptr), "-");
}

TEST_F(Labels, AreCutWhereAReportHasNoRoom) {
  const std::string designation = "CPU1 " + std::string(60, 'x');
  Of(Table::Of(Processor{.designation = designation}, End{}));
  EXPECT_EQ(TextOf(&mLabels.All()[0]), designation.substr(0, 47));
}

TEST_F(Labels, OfAnotherTableReplaceThem) {
  Of(Table::Of(Processor{}, End{}));
  EXPECT_THAT(Of(Table::Of(MemoryDevice{}, End{})), ElementsAre("DIMM.Socket.A1 (DIMM_A1)"));
  EXPECT_THAT(Of(Table::Of(End{})), ElementsAre());
}

TEST_F(Labels, SayWhenThereIsNoMemory) {
  mTable = Table::Of(Processor{}, MemoryDevice{}, End{}).Bytes();
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_FALSE(mLabels.Collect(View(mTable)));
  Firmware().Memory().StopFailing();
  ASSERT_FALSE(IsRefused(mConformed.Conform(View(mTable))));
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_FALSE(mLabels.Collect(mConformed.Devices(), mConformed.Structures()));
  Firmware().Memory().StopFailing();
  EXPECT_TRUE(mLabels.Collect(mConformed.Devices(), mConformed.Structures()));
}

}  // namespace
}  // namespace tvq::test
