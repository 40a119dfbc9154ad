/*
 * Which machine a saved state is of: what the numbers of two snapshots say, and the table that decides.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fstream>
#include <sstream>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/states/machine_match.h"

namespace tvq::test {
namespace {

using testing::ElementsAreArray;
using tvqplatform::Agreement;
using tvqplatform::AgreementSet;
using tvqplatform::MachineEvidence;
using tvqplatform::MachineMatch;
using tvqplatform::MachineRow;
using tvqplatform::Snapshot;
using tvqplatform::machine_rows::kRows;

constexpr Agreement kAll[] = {Agreement::kAbsent, Agreement::kAgrees, Agreement::kDiffers};

// Calls for every combination of what the numbers may say.
template <typename Function>
void ForEachEvidence(const Function& function) {
  for (const Agreement uuid : kAll) {
    for (const Agreement system : kAll) {
      for (const Agreement board : kAll) {
        for (const Agreement chassis : kAll) {
          for (const Agreement modules : kAll) {
            function(MachineEvidence{uuid, system, board, chassis, modules});
          }
        }
      }
    }
  }
}

const char* InWords(AgreementSet set) {
  const char* const kWords[] = {"",
                                "absent",
                                "agrees",
                                "agrees or absent",
                                "differs",
                                "differs or absent",
                                "agrees or differs",
                                ""};
  return kWords[set.Bits];
}

std::string RowInWords(const MachineRow& row) {
  std::string text = "|";
  for (const AgreementSet set : {row.Uuid, row.System, row.Board, row.Chassis, row.Modules}) {
    text += *InWords(set) == '\0' ? " |" : std::string(" ") + InWords(set) + " |";
  }
  return text + " " + tvqplatform::MachineMatchText(row.Match) + " |";
}

TEST(MachineTable, IsWhatTheDocumentationShows) {
  std::ifstream page(TVQ_SOURCE_DIR "/docs/agents.md");
  std::vector<std::string> shown;
  bool isTable = false;
  for (std::string line; std::getline(page, line);) {
    if (line.rfind("| UUID |", 0) == 0) {
      isTable = true;
      std::getline(page, line);  // the line under the head
    } else if (isTable && line.rfind('|', 0) != 0) {
      break;
    } else if (isTable) {
      shown.push_back(line);
    }
  }
  std::vector<std::string> rows;
  for (const MachineRow& row : kRows) {
    rows.push_back(RowInWords(row));
  }
  EXPECT_THAT(shown, ElementsAreArray(rows));
}

TEST(MachineTable, HasNoRowThatNothingComesTo) {
  std::vector<int> uses(std::size(kRows));
  ForEachEvidence([&](const MachineEvidence& evidence) {
    size_t row = 0;
    while (!tvqplatform::Applies(kRows[row], evidence)) {
      ++row;
    }
    uses[row]++;
  });
  for (size_t row = 0; row < uses.size(); ++row) {
    EXPECT_GT(uses[row], 0) << RowInWords(kRows[row]);
  }
}

TEST(MachineTable, TakesNoMachineForAnotherOneThatHasTheSameNumbers) {
  ForEachEvidence([](const MachineEvidence& evidence) {
    const MachineMatch match = tvqplatform::DecideMachine(evidence);
    const Agreement numbers[] = {evidence.Uuid, evidence.System, evidence.Board, evidence.Chassis};
    const auto count = [&](Agreement agreement) {
      return std::count(std::begin(numbers), std::end(numbers), agreement);
    };
    if (count(Agreement::kDiffers) == 0 && evidence.Modules != Agreement::kDiffers &&
        evidence.Uuid == Agreement::kAgrees) {
      EXPECT_EQ(match, MachineMatch::kSame);
    }
    if (count(Agreement::kAgrees) == 0 && evidence.Modules != Agreement::kAgrees) {
      EXPECT_NE(match, MachineMatch::kSame);
      EXPECT_NE(match, MachineMatch::kBoardReplaced);
    }
    if (match == MachineMatch::kBoardReplaced) {
      EXPECT_TRUE(evidence.Board != Agreement::kAgrees);
    }
  });
}

// The machines that the table is for.
TEST(MachineTable, DecidesAsAPersonWould) {
  constexpr Agreement kN = Agreement::kAbsent;
  constexpr Agreement kA = Agreement::kAgrees;
  constexpr Agreement kD = Agreement::kDiffers;
  const struct {
    const char* what;
    MachineEvidence evidence;
    MachineMatch match;
  } kCases[] = {
      {"nothing changed", {kA, kA, kA, kA, kA}, MachineMatch::kSame},
      {"all modules were replaced", {kA, kA, kA, kA, kD}, MachineMatch::kSame},
      {"the UUID was made anew", {kD, kA, kA, kA, kA}, MachineMatch::kSame},
      {"another chassis", {kA, kA, kA, kD, kA}, MachineMatch::kSame},
      {"the serial number was written", {kA, kD, kA, kA, kA}, MachineMatch::kSame},
      {"only the UUID is there", {kA, kN, kN, kN, kN}, MachineMatch::kSame},
      {"a new board with the serial number on it",
       {kD, kA, kD, kA, kA},
       MachineMatch::kBoardReplaced},
      {"a new board that has all but its own number",
       {kA, kA, kD, kA, kA},
       MachineMatch::kBoardReplaced},
      {"a new board without a system's number", {kD, kN, kD, kA, kA}, MachineMatch::kBoardReplaced},
      {"another machine of the model", {kD, kD, kD, kD, kD}, MachineMatch::kAnother},
      {"another node in the chassis", {kD, kD, kD, kA, kD}, MachineMatch::kAnother},
      {"another node with the chassis' number", {kD, kA, kD, kA, kD}, MachineMatch::kAnother},
      {"another machine with our modules", {kD, kD, kD, kD, kA}, MachineMatch::kAnother},
      {"a UUID that all machines of the model have", {kA, kD, kD, kD, kD}, MachineMatch::kAnother},
      {"no number but those of modules", {kN, kN, kN, kN, kA}, MachineMatch::kSame},
      {"no number, and other modules", {kN, kN, kN, kN, kD}, MachineMatch::kAnother},
      {"no number at all", {kN, kN, kN, kN, kN}, MachineMatch::kUnknown},
      {"nothing but the chassis", {kN, kN, kN, kA, kN}, MachineMatch::kUnknown},
  };
  for (const auto& [what, evidence, match] : kCases) {
    EXPECT_EQ(tvqplatform::DecideMachine(evidence), match) << what;
  }
}

// Two snapshots with what a test gives them.
class MachineNumbers : public AgentTest {
 protected:
  struct Numbers {
    std::string system{};
    std::string board{};
    std::string chassis{};
    Bytes uuid = Bytes(16);
    std::vector<std::string> modules{};
    UINT32 options = 0;
  };

  MachineEvidence Compare(const Numbers& now, const Numbers& saved) {
    Snapshot snapshots[2];
    Fill(now, snapshots[0], mBlobs[0]);
    Fill(saved, snapshots[1], mBlobs[1]);
    return tvqplatform::CompareMachines(snapshots[0], snapshots[1]);
  }
  Agreement CompareModules(const std::vector<std::string>& now,
                           const std::vector<std::string>& saved) {
    return Compare({.modules = now}, {.modules = saved}).Modules;
  }

 private:
  static smbios::Text View(const std::string& text) {
    return text.empty() ? smbios::Text()
                        : smbios::Text(reinterpret_cast<const UINT8*>(text.c_str()), text.size());
  }
  static void Fill(const Numbers& machine, Snapshot& snapshot, std::vector<Bytes>& blobs) {
    snapshot.Options = machine.options;
    snapshot.Machine.HasUuid = true;
    std::copy(machine.uuid.begin(), machine.uuid.end(), snapshot.Machine.Uuid);
    snapshot.Machine.SystemSerial = View(machine.system);
    snapshot.Machine.BoardSerial = View(machine.board);
    snapshot.Machine.ChassisSerial = View(machine.chassis);
    blobs.clear();
    for (const std::string& serial : machine.modules) {
      blobs.push_back(BlobsOf({.serial = serial}));
    }
    for (const Bytes& blob : blobs) {
      tvqplatform::SnapshotDevice device = {};
      device.ComponentClass = TVQ_CLASS_DIMM;
      device.Blobs = {blob.data(), blob.size()};
      EXPECT_TRUE(snapshot.Add(device));
    }
  }

  std::vector<Bytes> mBlobs[2];
};

TEST_F(MachineNumbers, AgreeDifferOrAreAbsent) {
  Numbers uuid = {.uuid = Bytes(16, 7)};
  uuid.uuid[3] = 9;
  Numbers other = uuid;
  other.uuid[15] = 1;
  EXPECT_EQ(Compare(uuid, uuid).Uuid, Agreement::kAgrees);
  EXPECT_EQ(Compare(uuid, other).Uuid, Agreement::kDiffers);
  EXPECT_EQ(Compare({}, uuid).Uuid, Agreement::kAbsent);
  EXPECT_EQ(Compare({.system = "A1B2"}, {.system = "A1B2"}).System, Agreement::kAgrees);
  EXPECT_EQ(Compare({.system = "A1B2"}, {.system = "A1B3"}).System, Agreement::kDiffers);
  EXPECT_EQ(Compare({.system = "A1B2"}, {.system = "A1B2C"}).System, Agreement::kDiffers);
  EXPECT_EQ(Compare({.board = "A1B2"}, {.board = "A1B2"}).Board, Agreement::kAgrees);
  EXPECT_EQ(Compare({.chassis = "A1B2"}, {.chassis = "A1B3"}).Chassis, Agreement::kDiffers);
  EXPECT_EQ(Compare({.board = "A1B2"}, {}).Board, Agreement::kAbsent);
}

TEST_F(MachineNumbers, ThatStandForNoneAreAbsent) {
  for (const char* text : {"Default string", "To be filled by O.E.M.", "00000000", "0123456789"}) {
    EXPECT_EQ(Compare({.system = text}, {.system = text}).System, Agreement::kAbsent) << text;
    EXPECT_EQ(Compare({.system = text}, {.system = "A1B2"}).System, Agreement::kAbsent) << text;
  }
  const Bytes ones(16, 0x11);
  EXPECT_EQ(Compare({.uuid = ones}, {.uuid = ones}).Uuid, Agreement::kAbsent);
  EXPECT_EQ(Compare({.uuid = Bytes(16, 0xFF)}, {.uuid = Bytes(16, 0xFF)}).Uuid, Agreement::kAbsent);
}

TEST_F(MachineNumbers, OfModulesAgreeWhereMoreThanHalfAreTheSame) {
  EXPECT_EQ(CompareModules({"11223344", "55667788", "99AABBCC"}, {"99AABBCC", "11223344"}),
            Agreement::kAgrees);
  EXPECT_EQ(CompareModules({"11223344", "55667788"}, {"11223344", "99AABBCC"}), Agreement::kAbsent)
      << "half of them may have come from the other machine";
  EXPECT_EQ(CompareModules({"11223344"}, {"55667788", "99AABBCC"}), Agreement::kDiffers);
  EXPECT_EQ(CompareModules({"00000000"}, {"00000000"}), Agreement::kAbsent);
  EXPECT_EQ(CompareModules({}, {"11223344"}), Agreement::kAbsent);
}

TEST_F(MachineNumbers, MayHaveOneCharacter) {
  EXPECT_EQ(Compare({.system = "7"}, {.system = "7"}).System, Agreement::kAgrees);
  EXPECT_EQ(Compare({.system = "7"}, {.system = "8"}).System, Agreement::kDiffers);
}

// A configuration blob whose document stands where an inventory blob refers to its texts.
TEST_F(MachineNumbers, OfModulesAreNotReadFromAnotherBlob) {
  const Bytes inventory = InventoryBlob({.serial = "11223344"});
  Bytes blob = ConfigurationBlob({.document = std::string(50, 'x') + "11223344"});
  std::copy(inventory.begin() + 16, inventory.begin() + 80, blob.begin() + 16);
  Snapshot machine;
  tvqplatform::SnapshotDevice device = {};
  device.ComponentClass = TVQ_CLASS_DIMM;
  device.Blobs = {blob.data(), blob.size()};
  EXPECT_TRUE(machine.Add(device));
  EXPECT_EQ(tvqplatform::CompareMachines(machine, machine).Modules, Agreement::kAbsent);
}

TEST_F(MachineNumbers, ThatAreMaskedSayNothing) {
  const Numbers machine = {.system = "A1B2", .modules = {"11223344"}};
  Numbers masked = machine;
  masked.options = tvqplatform::kSnapshotRedacted;
  EXPECT_EQ(Compare(machine, machine).Modules, Agreement::kAgrees);
  EXPECT_EQ(Compare(machine, masked).Modules, Agreement::kAbsent);
  EXPECT_EQ(Compare(masked, masked).System, Agreement::kAbsent);
}

TEST_F(MachineNumbers, AreEqualWhateverBlanksAreAround) {
  EXPECT_EQ(Compare({.system = "A1B2"}, {.system = " A1B2 "}).System, Agreement::kAgrees);
  EXPECT_EQ(Compare({.system = "A1B2"}, {.system = "A1 B2"}).System, Agreement::kDiffers);
}

TEST_F(MachineNumbers, AreShownInOneLine) {
  tvqplatform::Snapshot snapshot;
  tvqplatform::MachineIdentity& machine = snapshot.Machine;
  char text[tvqplatform::kMachineTextSize];
  tvqplatform::FormatMachine(snapshot, text);
  EXPECT_STREQ(text, "no number that tells it from others");
  const std::string serial = " A1\x1F ~\x7F[2J\xE9 ";
  machine.SystemSerial = {reinterpret_cast<const UINT8*>(serial.c_str()), serial.size()};
  const std::string longSerial = std::string(100, 'x') + "y";
  machine.BoardSerial = {reinterpret_cast<const UINT8*>(longSerial.c_str()), longSerial.size()};
  machine.ChassisSerial = machine.BoardSerial;
  machine.HasUuid = true;
  const Bytes uuid = System{}.uuid;
  std::copy(uuid.begin(), uuid.end(), machine.Uuid);
  const std::string beforeUuid = "system A1? ~?[2J?, board " + std::string(40, 'x') + ", chassis " +
                                 std::string(40, 'x') + ", UUID ";
  tvqplatform::FormatMachine(snapshot, text);
  EXPECT_EQ(std::string(text), beforeUuid + "00112233-4455-6677-8899-aabbccddeeff");
  const Bytes table(6);
  snapshot.Table = {2, 5, 1, {table.data(), table.size()}};
  tvqplatform::FormatMachine(snapshot, text);
  EXPECT_EQ(std::string(text), beforeUuid + "33221100-5544-7766-8899-aabbccddeeff")
      << "before SMBIOS 2.6";
}

}  // namespace
}  // namespace tvq::test
