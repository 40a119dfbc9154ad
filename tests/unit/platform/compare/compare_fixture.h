/*
 * Machines at two times, written down for tests of what became of their devices, and a driver that answers what a test wants.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_COMPARE_COMPARE_FIXTURE_H_
#define TVQ_TESTS_UNIT_PLATFORM_COMPARE_COMPARE_FIXTURE_H_

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/compare/comparison.h"
#include "TvqPlatformPkg/src/compare/lines.h"

namespace tvq::test {

// A document as the driver lays it out, as far as the tests need it.
inline std::string ModuleOf(const std::string& serial, const std::string& part = "PART-1",
                            const std::string& more = "") {
  return "<tvqComponent><Inventory><WWN>" + serial +
         "</WWN></Inventory><Configuration><dimmData><Speed>4800</Speed><PartNumber>" + part +
         "</PartNumber>" + more + "</dimmData></Configuration></tvqComponent>";
}
inline std::string CpuOf(const std::string& cores) {
  return "<tvqComponent><Configuration><cpuData><CoreCount>" + cores +
         "</CoreCount></cpuData></Configuration></tvqComponent>";
}
inline std::string SystemOf(const std::string& biosVersion) {
  return "<tvqComponent><Configuration><BIOSData><BIOSVersion>" + biosVersion +
         "</BIOSVersion></BIOSData></Configuration></tvqComponent>";
}

// One device of a machine. Where it has a structure, that is in the table.
struct TestDevice {
  std::u16string fqdd{};
  UINT32 componentClass = TVQ_CLASS_DIMM;
  std::string document{};
  UINT16 handle = 0xFFFF;
  tvqplatform::WhyNoRecord why = tvqplatform::WhyNoRecord::kHasRecord;
  std::string serial{};  // of the inventory blob
  bool hasBlobs = true;
};

inline constexpr UINT16 kSocket1 = 0x400;
inline constexpr UINT16 kSlotA1 = 0x1100;
inline constexpr UINT16 kSlotA2 = 0x1101;
inline constexpr UINT16 kTheSystem = 0x100;

// A table with one structure for each of two modules.
inline Table Modules(const Text& serial, const Text& other = std::nullopt,
                     const Text& part = "PART-1") {
  return Table::Of(
      Bios{},
      MemoryDevice{.handle = kSlotA1, .locator = "DIMM_A1", .serial = serial, .partNumber = part},
      MemoryDevice{.handle = kSlotA2, .locator = "DIMM_A2", .serial = other, .partNumber = part},
      End{});
}
inline TestDevice A1(const std::string& document) {
  return {.fqdd = u"DIMM.Socket.A1", .document = document, .handle = kSlotA1};
}
inline TestDevice A2(const std::string& document) {
  return {.fqdd = u"DIMM.Socket.A2", .document = document, .handle = kSlotA2};
}
inline TestDevice CpuAt1(const std::string& cores) {
  return {.fqdd = u"CPU.Socket.1",
          .componentClass = TVQ_CLASS_CPU,
          .document = CpuOf(cores),
          .handle = kSocket1};
}
inline TestDevice TheSystem(const std::string& bios) {
  return {.fqdd = u"System.Embedded.1",
          .componentClass = TVQ_CLASS_SYSTEM,
          .document = SystemOf(bios),
          .handle = kTheSystem};
}
// The same device, of which the driver made no record.
inline TestDevice WithoutRecord(TestDevice device, tvqplatform::WhyNoRecord why) {
  device.why = why;
  return device;
}
inline Structure PowerSupply(const Text& serial) {
  Structure supply{.type = 39};
  supply.Byte(0).String(std::nullopt).String("PSU").String("Power Works").String(serial);
  return supply;
}

// Owns what a snapshot refers to.
class TestMachine {
 public:
  TestMachine() { mSnapshot.NamingRules = tvqplatform::kNamingRules; }

  TestMachine& Of(const Table& table) {
    mTable = table.Bytes();
    mSnapshot.Table = {table.majorVersion, table.minorVersion, static_cast<UINT16>(table.Count()),
                       View(mTable)};
    return *this;
  }
  TestMachine& With(const TestDevice& device) {
    tvqplatform::SnapshotDevice one = {};
    std::copy(device.fqdd.begin(), device.fqdd.end(), one.Fqdd);
    one.ComponentClass = device.componentClass;
    one.Handle = device.handle;
    one.Why = device.why;
    if (device.hasBlobs && device.why == tvqplatform::WhyNoRecord::kHasRecord) {
      FakeDevice blobs;
      blobs.serial = device.serial;
      blobs.document = device.document;
      mBlobs.push_back(BlobsOf(blobs));
      one.Blobs = View(mBlobs.back());
    }
    EXPECT_TRUE(mSnapshot.Devices.Append(one));
    return *this;
  }
  // A device with these blobs and no others.
  TestMachine& WithBlobs(const TestDevice& device, const Bytes& blobs) {
    With(device);
    mBlobs.push_back(blobs);
    mSnapshot.Devices[mSnapshot.Devices.Size() - 1].Blobs = View(mBlobs.back());
    return *this;
  }
  tvqplatform::Snapshot& Get() { return mSnapshot; }

 private:
  Bytes mTable;
  std::deque<Bytes> mBlobs;
  tvqplatform::Snapshot mSnapshot;
};

class CompareTest : public AgentTest {
 protected:
  // For the arrays that a test fills itself.
  CompareTest() { gBS = Firmware().BootServices(); }

  // What the driver answers about a device of the later machine: nothing was replaced, or this.
  struct Answer {
    EFI_STATUS status = EFI_SUCCESS;
    bool isReplaced = false;
  };

  void LoadPlatform() {
    EXPECT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::platform)), EFI_SUCCESS);
  }

  // Compares them. The result is Result().
  void Compare() {
    tvqplatform::DriverQuestion question = {Ask, this};
    if (!mHasDriver) {
      question.Ask = nullptr;
    }
    ASSERT_TRUE(mComparison.Run(mBefore.Get(), mAfter.Get(), question));
  }
  // A line for each finding: its name, and all that applies, the verdict first.
  std::vector<std::string> Rows() {
    Compare();
    std::vector<std::string> lines;
    for (UINTN i = 0; i < mComparison.Size(); ++i) {
      const tvqplatform::Finding& finding = mComparison[i];
      std::string line = Utf8(tvqplatform::FqddOf(mComparison, finding));
      for (UINTN row = 0; row < tvqplatform::kVerdictCount; ++row) {
        if (finding.Rows.Has(static_cast<tvqplatform::Verdict>(row)) ||
            finding.What == static_cast<tvqplatform::Verdict>(row)) {
          line += std::string(line.empty() ? "" : " ") + "[" +
                  tvqplatform::kVerdictWords[row].Name + "]";
        }
      }
      lines.push_back(line);
    }
    return lines;
  }
  std::string Row() {
    const std::vector<std::string> rows = Rows();
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " findings";
  }
  // What is shown.
  std::string Shown(tvqplatform::Wanted wanted = tvqplatform::Wanted::kFindings,
                    bool isAscii = false) {
    std::string text;
    tvqplatform::WriteComparison(mComparison, wanted,
                                 {[](VOID* context, const CHAR8* line) {
                                    EXPECT_LE(std::string(line).size(), tvqplatform::kColumns);
                                    *static_cast<std::string*>(context) += std::string(line) + "\n";
                                  },
                                  &text, isAscii});
    return text;
  }
  int Exit() const { return static_cast<int>(mComparison.Exit()); }
  tvqplatform::Comparison& Result() { return mComparison; }
  const tvqplatform::Finding& Found(size_t i = 0) const { return mComparison[i]; }
  std::string Witnesses(size_t i = 0) const {
    char text[200];
    tvqplatform::FormatWitnesses(mComparison[i], text, sizeof(text));
    return text;
  }
  // "path: before -> after" of every change.
  std::vector<std::string> Changes(size_t i = 0) const {
    std::vector<std::string> changes;
    const auto textAt = [this](UINT32 where) {
      const char* text = mComparison.TextAt(where);
      return std::string(text == nullptr ? "(none)" : text);
    };
    for (UINTN k = 0; k < mComparison[i].ChangeCount; ++k) {
      const tvqplatform::FieldChange& change = mComparison.Change(mComparison[i].FirstChange + k);
      changes.push_back(textAt(change.Path) + ": " + textAt(change.Before) + " -> " +
                        textAt(change.After));
    }
    return changes;
  }

  TestMachine mBefore;
  TestMachine mAfter;
  std::map<UINTN, Answer> mAnswers;
  std::vector<UINTN> mAsked;
  bool mHasDriver = true;

 private:
  static EFI_STATUS Ask(VOID* context, UINTN device, tvq::Span<const UINT8>, bool& isReplaced) {
    auto* test = static_cast<CompareTest*>(context);
    test->mAsked.push_back(device);
    const Answer answer = test->mAnswers[device];
    isReplaced = answer.isReplaced;
    return answer.status;
  }

  tvqplatform::Comparison mComparison;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_COMPARE_COMPARE_FIXTURE_H_
