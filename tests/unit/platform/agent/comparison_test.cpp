/*
 * What became of each device since a state was saved. The records are the test's own, so that everything the driver may answer
 * can be tried.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <initializer_list>
#include <memory>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/state_bytes.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/comparison.h"
#include "TvqPlatformPkg/src/agent/show_comparison.h"
#include <IndustryStandard/TvqBlob.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tvqplatform::Verdict;

// A module in a slot, by its serial number.
FakeDevice Module(const std::u16string& fqdd, const std::string& serial = "") {
  return {.fqdd = fqdd, .serial = serial};
}

StateDevice Saved(const FakeDevice& device) {
  return {device.fqdd.value_or(u""), BlobsOf(device), device.componentClass};
}

class AgentComparison : public AgentTest {
 protected:
  // The devices of this boot, and those of the saved state.
  void Now(const std::vector<FakeDevice>& devices) {
    for (const FakeDevice& device : devices) {
      mRecords.push_back(std::make_unique<FakeRecord>(Firmware(), device));
    }
  }
  void Then(const std::vector<FakeDevice>& devices) {
    for (const FakeDevice& device : devices) {
      mState.devices.push_back(Saved(device));
    }
  }
  void Then(const StateDevice& device) { mState.devices.push_back(device); }

  EFI_STATUS Run() {
    mFile = mState.Encode();
    EXPECT_EQ(mInventory.Collect(), EFI_SUCCESS);
    EXPECT_EQ(mSaved.Read(View(mFile)), EFI_SUCCESS);
    return mComparison.Run(mInventory, mSaved);
  }
  // A line for each finding, as the report has it.
  std::vector<std::string> Compare() {
    EXPECT_EQ(Run(), EFI_SUCCESS);
    return Lines(mComparison);
  }
  std::string CompareOne() { return OnlyOne(Compare()); }

  // The same, for these devices alone.
  std::vector<std::string> CompareAll(const std::vector<FakeDevice>& now,
                                      const std::vector<StateDevice>& then) {
    std::vector<std::unique_ptr<FakeRecord>> records;
    for (const FakeDevice& device : now) {
      records.push_back(std::make_unique<FakeRecord>(Firmware(), device));
    }
    const Bytes file = test::State{.devices = then}.Encode();
    tvqplatform::SavedState saved;
    EXPECT_EQ(saved.Read(View(file)), EFI_SUCCESS);
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    tvqplatform::Comparison comparison;
    EXPECT_EQ(comparison.Run(inventory, saved), EFI_SUCCESS);
    mFoundSomething = comparison.FoundSomething();
    return Lines(comparison);
  }
  bool FindsSomething(const std::vector<FakeDevice>& now, const std::vector<StateDevice>& then) {
    CompareAll(now, then);
    return mFoundSomething;
  }
  std::string CompareOne(const FakeDevice& now, const StateDevice& then) {
    return OnlyOne(CompareAll({now}, {then}));
  }

  // What the report says of it.
  std::string Shown() const {
    tvqplatform::Report report;
    report.UseConsole(false);
    tvqplatform::ShowComparison(report, mComparison, tvqplatform::DeviceLabels());
    const tvq::Span<const UINT8> text = report.Text();
    return std::string(text.begin(), text.end());
  }

  const tvqplatform::Comparison& Result() const { return mComparison; }
  const tvqplatform::SavedState& State() const { return mSaved; }
  const FakeRecord& Record(size_t i) const { return *mRecords[i]; }
  TVQ_PLATFORM_PROTOCOL* LoadPlatform() {
    EXPECT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::platform)), EFI_SUCCESS);
    VOID* platform = nullptr;
    EXPECT_EQ(
        Firmware().BootServices()->LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &platform),
        EFI_SUCCESS);
    return static_cast<TVQ_PLATFORM_PROTOCOL*>(platform);
  }

 private:
  static std::vector<std::string> Lines(const tvqplatform::Comparison& comparison) {
    std::vector<std::string> lines;
    for (UINTN i = 0; i < comparison.Size(); ++i) {
      char detail[192];
      tvqplatform::FormatDetail(comparison[i], detail, sizeof(detail));
      lines.push_back(Utf8(tvqplatform::FqddOf(comparison[i])) + " " +
                      tvqplatform::VerdictInWords(comparison[i].What) +
                      (detail[0] == '\0' ? "" : ": ") + detail);
    }
    return lines;
  }
  static std::string OnlyOne(const std::vector<std::string>& lines) {
    return lines.size() == 1 ? lines[0] : std::to_string(lines.size()) + " findings";
  }

  std::vector<std::unique_ptr<FakeRecord>> mRecords;
  test::State mState;
  Bytes mFile;
  tvqplatform::SavedState mSaved;
  tvqplatform::Inventory mInventory;
  tvqplatform::Comparison mComparison;
  bool mFoundSomething = false;
};

// --- What the driver says ---

TEST_F(AgentComparison, HandsTheDriverWhatWasSavedOfTheSameDevice) {
  Now({Module(u"DIMM.1", "new1"), Module(u"DIMM.2", "new2")});
  Then({Module(u"DIMM.2", "old2"), Module(u"DIMM.1", "old1")});
  Compare();
  EXPECT_EQ(Record(0).comparedWith, BlobsOf(Module(u"DIMM.1", "old1")));
  EXPECT_EQ(Record(1).comparedWith, BlobsOf(Module(u"DIMM.2", "old2")));
}

TEST_F(AgentComparison, TakesTheDriversWordForWhatWasReplaced) {
  FakeDevice same = Module(u"same");
  same.verifyResult = ~static_cast<UINT32>(TVQ_RESULT_PART_REPLACED);
  FakeDevice replaced = Module(u"replaced");
  replaced.verifyResult = TVQ_RESULT_PART_REPLACED;
  Now({same, replaced});
  Then({same, replaced});
  EXPECT_THAT(Compare(), ElementsAre("same same", "replaced replaced"));
}

TEST_F(AgentComparison, FindsDevicesThatAreNewOrGone) {
  Now({Module(u"stays"), Module(u"comes")});
  Then({Module(u"goes"), Module(u"stays")});
  EXPECT_THAT(Compare(), ElementsAre("stays same", "comes new", "goes gone"));
}

// --- Devices that share a name, or have none ---

TEST_F(AgentComparison, PairsDevicesOfOneNameByTheirOrder) {
  Now({Module(u"X", "now1"), Module(u"Y", "now2"), Module(u"X", "now3")});
  Then({Module(u"X", "then1"), Module(u"X", "then2"), Module(u"Y", "then3")});
  EXPECT_THAT(Compare(), ElementsAre("X same", "Y same", "X same"));
  EXPECT_EQ(Record(0).comparedWith, BlobsOf(Module(u"X", "then1")));
  EXPECT_EQ(Record(1).comparedWith, BlobsOf(Module(u"Y", "then3")));
  EXPECT_EQ(Record(2).comparedWith, BlobsOf(Module(u"X", "then2")));
}

TEST_F(AgentComparison, PairsTheThirdOfOneNameWithTheThird) {
  Now({Module(u"X", "now1"), Module(u"X", "now2"), Module(u"X", "now3")});
  Then({Module(u"X", "then1"), Module(u"X", "then2"), Module(u"X", "then3")});
  EXPECT_THAT(Compare(), ElementsAre("X same", "X same", "X same"));
  EXPECT_EQ(Record(2).comparedWith, BlobsOf(Module(u"X", "then3")));
}

TEST_F(AgentComparison, CallsTheLastOfOneNameNewOrGone) {
  Now({Module(u"X"), Module(u"X"), Module(u"Y")});
  Then({Module(u"X"), Module(u"Y"), Module(u"Y")});
  EXPECT_THAT(Compare(), ElementsAre("X same", "X new", "Y same", "Y gone"));
}

TEST_F(AgentComparison, PairsDevicesWithoutAName) {
  Now({{.fqdd = std::nullopt}});
  Then({Module(u"")});
  EXPECT_EQ(CompareOne(), " same");
}

// --- Devices that moved ---

TEST_F(AgentComparison, FollowsASerialNumberToAnotherPlace) {
  Now({Module(u"DIMM.2", "11223344")});
  Then({Module(u"DIMM.1", "11223344")});
  EXPECT_EQ(CompareOne(), "DIMM.2 moved: was DIMM.1");
}

TEST_F(AgentComparison, FollowsWhatReplacedAnother) {
  FakeDevice there = Module(u"DIMM.1", "22222223");
  there.verifyResult = TVQ_RESULT_PART_REPLACED;
  Now({there});
  Then({Module(u"DIMM.1", "11111112"), Module(u"DIMM.2", "22222223")});
  EXPECT_THAT(Compare(), ElementsAre("DIMM.1 moved: was DIMM.2", "DIMM.1 gone"));
}

TEST_F(AgentComparison, DoesNotFollowWhatIsTheSame) {
  Now({Module(u"DIMM.1", "11223344")});
  Then({Module(u"DIMM.1", "11111112"), Module(u"DIMM.2", "11223344")});
  EXPECT_THAT(Compare(), ElementsAre("DIMM.1 same", "DIMM.2 gone"));
}

TEST_F(AgentComparison, CallsAPartWithItsOwnSerialNumberReplacedWhereItIs) {
  FakeDevice there = Module(u"DIMM.1", "11223344");
  there.verifyResult = TVQ_RESULT_PART_REPLACED;
  Now({there});
  Then({Module(u"DIMM.1", "11223344")});
  EXPECT_EQ(CompareOne(), "DIMM.1 replaced");
}

TEST_F(AgentComparison, DoesNotFollowASerialNumberThatTwoDevicesHaveNow) {
  Now({Module(u"DIMM.2", "11223344"), Module(u"DIMM.3", "11223344")});
  Then({Module(u"DIMM.1", "11223344")});
  EXPECT_THAT(Compare(), ElementsAre("DIMM.2 new", "DIMM.3 new", "DIMM.1 gone"));
}

TEST_F(AgentComparison, DoesNotFollowASerialNumberThatTwoDevicesHadThen) {
  Now({Module(u"DIMM.3", "11223344")});
  Then({Module(u"DIMM.1", "11223344"), Module(u"DIMM.2", "11223344")});
  EXPECT_THAT(Compare(), ElementsAre("DIMM.3 new", "DIMM.1 gone", "DIMM.2 gone"));
}

TEST_F(AgentComparison, TellsSerialNumbersApartByFifteenCharacters) {
  Now({Module(u"DIMM.2", "123456789012345x")});
  Then({Module(u"DIMM.1", "123456789012345y"), Module(u"DIMM.3", "12345678901234zx")});
  EXPECT_THAT(Compare(), ElementsAre("DIMM.2 moved: was DIMM.1", "DIMM.3 gone"));
}

TEST_F(AgentComparison, DoesNotFollowDataWithoutAnInventoryBlob) {
  const FakeDevice module = Module(u"DIMM.1", "11223344");
  Bytes otherType = BlobsOf(module);
  otherType[4] = TVQ_BLOB_TYPE_END;
  Bytes shortened = BlobsOf(module);
  shortened.resize(15);
  for (const Bytes& data : {otherType, shortened}) {
    EXPECT_THAT(CompareAll({Module(u"DIMM.2", "11223344")}, {{u"DIMM.1", data}}),
                ElementsAre("DIMM.2 new", "DIMM.1 gone"));
  }
}

TEST_F(AgentComparison, KnowsWhichSerialNumbersTellDevicesApart) {
  for (const char* serial :
       {"11223344", "0x", "10", "00000001", " 1", "serial1", "n/a1", "none1"}) {
    EXPECT_TRUE(tvqplatform::IsUsableSerial(serial)) << serial;
  }
  for (const char* serial : {"", "00000000", "FFFFFFFF", "    ", "Default string", "N/A", "NA",
                             "NO DIMM", "None", "Not Available", "Not Specified", "NULL", "O.E.M",
                             "Serial", "To Be Filled B", "UNKNOWN", "undefined", "No Module"}) {
    EXPECT_FALSE(tvqplatform::IsUsableSerial(serial)) << serial;
  }
}

// --- What the driver cannot say ---

TEST_F(AgentComparison, SaysInTheDriversWordsWhatItCouldNotCompare) {
  LoadPlatform();
  FakeDevice device = Module(u"X", "11223344");
  device.verifyStatus = EFI_OUT_OF_RESOURCES;
  Now({device});
  Then({device});
  EXPECT_EQ(CompareOne(), "X not verified: Out of Resources");
  EXPECT_TRUE(Result().FoundTrouble());
  EXPECT_FALSE(Result().FoundSomething());
}

TEST_F(AgentComparison, DoesNotFollowWhatCouldNotBeCompared) {
  LoadPlatform();
  FakeDevice device = Module(u"X", "11223344");
  device.verifyStatus = EFI_OUT_OF_RESOURCES;
  Now({device});
  Then({Module(u"X", "99887766"), Module(u"Y", "11223344")});
  EXPECT_THAT(Compare(), ElementsAre("X not verified: Out of Resources", "Y gone"));
}

TEST_F(AgentComparison, SaysThatThereIsNoParser) {
  FakeDevice device = Module(u"X");
  device.verifyStatus = EFI_NOT_FOUND;
  Now({device});
  Then({device});
  EXPECT_EQ(CompareOne(), "X not verified: the platform has no XML parser");
}

TEST_F(AgentComparison, SaysWhatIsWrongWithTheSavedDocument) {
  LoadPlatform();
  const struct {
    const char* document;
    EFI_STATUS status;
    const char* expected;
  } kCases[] = {
      {"<a>&</a>", EFI_INVALID_PARAMETER, "X not verified: the saved document is not well-formed"},
      {"", EFI_INVALID_PARAMETER, "X not verified: the saved document is not well-formed"},
      {"<a/>", EFI_UNSUPPORTED, "X not verified: the saved document is laid out otherwise"},
      {"<a/>", EFI_INVALID_PARAMETER, "X not verified: Invalid Parameter"},
  };
  for (const auto& [document, status, expected] : kCases) {
    FakeDevice device = Module(u"X");
    device.document = document;
    device.verifyStatus = status;
    EXPECT_THAT(CompareOne(device, {u"X", BlobsOf(device)}), HasSubstr(expected)) << document;
  }
}

// Only a configuration blob that is whole has a document.
TEST_F(AgentComparison, SaysThatTheSavedDataHaveNoDocument) {
  LoadPlatform();
  const FakeDevice device = Module(u"X", "1");
  const Bytes inventory = InventoryBlob(device);
  const auto followedBy = [&inventory](Bytes blob) {
    Bytes data = inventory;
    data.insert(data.end(), blob.begin(), blob.end());
    return data;
  };
  const auto sized = [&device](uint32_t size) {
    Bytes blob = ConfigurationBlob(device);
    blob[12] = static_cast<uint8_t>(size);
    blob[13] = static_cast<uint8_t>(size >> 8);
    return blob;
  };
  Bytes unterminated = ConfigurationBlob(device);
  unterminated.back() = '>';
  Bytes otherType = ConfigurationBlob(device);
  otherType[4] = TVQ_BLOB_TYPE_END;
  Bytes cutHeader = ConfigurationBlob(device);
  cutHeader.resize(15);
  const auto whole = static_cast<uint32_t>(ConfigurationBlob(device).size());
  const struct {
    const char* what;
    Bytes data;
    bool hasDocument;
  } kCases[] = {
      {"behind the inventory blob", followedBy(ConfigurationBlob(device)), true},
      {"alone", ConfigurationBlob(device), true},
      {"no data", {1}, false},
      {"the inventory blob alone", inventory, false},
      {"a blob without its NUL", followedBy(unterminated), false},
      {"a blob of another type", followedBy(otherType), false},
      {"half a header", followedBy(cutHeader), false},
      {"a blob that states no size", followedBy(sized(0)), false},
      {"a blob smaller than its header", followedBy(sized(15)), false},
      {"a blob that is its header alone", followedBy(sized(16)), false},
      {"a blob without a document", followedBy(sized(sizeof(TVQ_CONFIGURATION_BLOB))), false},
      {"a blob that goes on behind the data", followedBy(sized(whole + 1)), false},
  };
  for (const auto& [what, data, hasDocument] : kCases) {
    FakeDevice now = device;
    now.verifyStatus = EFI_ABORTED;
    EXPECT_EQ(CompareOne(now, {u"X", data}),
              hasDocument ? "X not verified: Aborted"
                          : "X not verified: the saved data has no configuration document")
        << what;
  }
}

TEST_F(AgentComparison, AnnouncesTheSavedDataOnlyWhileTheyAreCompared) {
  TVQ_PLATFORM_PROTOCOL* platform = LoadPlatform();
  Now({Module(u"X")});
  Then({Module(u"X")});
  EXPECT_EQ(CompareOne(), "X same");
  EXPECT_EQ(platform->ForgetStoredData(platform, State()[0].Data.Data()), EFI_NOT_FOUND);
}

TEST_F(AgentComparison, DoesNotCompareWithDataThatCannotBeAnnounced) {
  LoadPlatform();
  Now({Module(u"X")});
  Then(StateDevice{u"X", {}});
  EXPECT_EQ(CompareOne(), "X not verified: the saved data has no configuration document");
  EXPECT_EQ(Record(0).comparedWith, Bytes()) << "the driver was not asked";
}

// --- The sum ---

TEST_F(AgentComparison, CountsItsFindings) {
  FakeDevice replaced = Module(u"replaced");
  replaced.verifyResult = TVQ_RESULT_PART_REPLACED;
  FakeDevice unverified = Module(u"unverified");
  unverified.verifyStatus = EFI_ABORTED;
  Now({Module(u"same1"), Module(u"same2"), replaced, Module(u"new"), Module(u"moved", "12"),
       unverified});
  Then({Module(u"same1"), Module(u"same2"), replaced, Module(u"place", "12"), unverified,
        Module(u"gone1"), Module(u"gone2"), Module(u"gone3")});
  Compare();
  EXPECT_EQ(Result().Count(Verdict::kSame), 2u);
  EXPECT_EQ(Result().Count(Verdict::kReplaced), 1u);
  EXPECT_EQ(Result().Count(Verdict::kNew), 1u);
  EXPECT_EQ(Result().Count(Verdict::kMoved), 1u);
  EXPECT_EQ(Result().Count(Verdict::kGone), 3u);
  EXPECT_EQ(Result().Count(Verdict::kNotVerified), 1u);
}

TEST_F(AgentComparison, OfEqualDevicesFindsNothing) {
  Now({Module(u"X")});
  Then({Module(u"X")});
  Compare();
  EXPECT_FALSE(Result().FoundSomething());
  EXPECT_FALSE(Result().FoundTrouble());
}

TEST_F(AgentComparison, FindsSomethingInAReplacedDevice) {
  FakeDevice replaced = Module(u"X");
  replaced.verifyResult = TVQ_RESULT_PART_REPLACED;
  Now({replaced});
  Then({replaced});
  Compare();
  EXPECT_TRUE(Result().FoundSomething());
}

TEST_F(AgentComparison, FindsSomethingInANewDevice) {
  Now({Module(u"X")});
  Compare();
  EXPECT_TRUE(Result().FoundSomething());
}

TEST_F(AgentComparison, FindsSomethingInADeviceThatIsGone) {
  Then({Module(u"X")});
  Compare();
  EXPECT_TRUE(Result().FoundSomething());
}

TEST_F(AgentComparison, FindsSomethingInADeviceThatMoved) {
  Now({Module(u"Y", "12")});
  Then({Module(u"X", "12")});
  Compare();
  EXPECT_TRUE(Result().FoundSomething());
}

TEST_F(AgentComparison, FindsSomethingWhereAsManyDevicesComeAsAreReplacedOrGoOrMove) {
  FakeDevice replaced = Module(u"X");
  replaced.verifyResult = TVQ_RESULT_PART_REPLACED;
  EXPECT_TRUE(FindsSomething({replaced, Module(u"comes")}, {Saved(replaced)}));
  EXPECT_TRUE(FindsSomething({Module(u"comes")}, {Saved(Module(u"goes"))}));
  EXPECT_TRUE(FindsSomething({Module(u"Y", "12"), Module(u"comes")}, {Saved(Module(u"X", "12"))}));
}

// --- The report ---

TEST_F(AgentComparison, IsShownWithALineForEachDeviceAndASummary) {
  FakeDevice unverified = Module(u"U");
  unverified.verifyStatus = EFI_ABORTED;
  Now({Module(u"X"), Module(u""), Module(u"Z", "12"), unverified});
  Then({Module(u"X"), Module(u"Y", "12"), unverified, Module(u"gone")});
  Compare();
  EXPECT_EQ(Shown(),
            "Since the saved state:\n"
            "  X                               -                 same\n"
            "  -                               -                 new\n"
            "  Z                               -                 moved: was Y\n"
            "  U                               -                 not verified: the platform has no "
            "XML parser\n"
            "  gone                            -                 gone\n"
            "Summary: 1 same, 1 new, 1 moved, 1 gone, 1 not verified\n");
}

TEST_F(AgentComparison, OfNoDevicesIsShownAsThat) {
  Compare();
  EXPECT_EQ(Shown(), "Since the saved state:\nSummary: no device, now or then\n");
}

TEST_F(AgentComparison, ReportsExhaustedMemory) {
  Now({Module(u"X")});
  Then({Module(u"X")});
  const Bytes file = test::State{.devices = {Saved(Module(u"X"))}}.Encode();
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  tvqplatform::SavedState saved;
  ASSERT_EQ(saved.Read(View(file)), EFI_SUCCESS);
  Firmware().Memory().FailAllocation(1, host::images::agent);
  tvqplatform::Comparison comparison;
  EXPECT_EQ(comparison.Run(inventory, saved), EFI_OUT_OF_RESOURCES);
}

}  // namespace
}  // namespace tvq::test
