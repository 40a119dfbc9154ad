/*
 * What a run shows and saves of the devices, and what it compares, is whole or said to be missing.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/volume_fixture.h"

#include "TvqPlatformPkg/src/agent/results.h"

namespace tvq::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

constexpr char kDevice[] = "\\TVQ\\DIMM.Socket.A1.tvq";
constexpr char kState[] = "\\TVQ\\machine-ABC1234\\state-1.bin";

class AgentResults : public AgentVolumeTest {
 protected:
  AgentResults() : mTable(Table::Of(Bios{}, System{}, End{}).Bytes()) {}

  // The report of a run.
  std::string Run() {
    const tvqplatform::StartedTable started = {
        {3, 2, 3, View(mTable)}, View(mTable), mLabels, true, 0};
    tvqplatform::RunReport report;
    report.UseConsole(false);
    tvqplatform::Results(Volume(), report, started, mOptions).ShowAndSave();
    return std::string(report.Text().begin(), report.Text().end());
  }

 private:
  Bytes mTable;
  tvqplatform::DeviceLabels mLabels;
  tvqplatform::Options mOptions;
};

TEST_F(AgentResults, AreWholeOrSaidToBeMissingForWantOfMemory) {
  FakeRecord record(Firmware(), {.serial = "1A2B3C4D"});
  Run();
  const std::string state = Files().Get(kState);
  record.device.serial = "5E6F7A8B";
  const std::string whole = Run();
  ASSERT_THAT(whole, HasSubstr("\nSince the saved state:\n"));
  const std::string blobs = Files().Get(kDevice);
  bool hasFailed = true;
  uint64_t n = 0;
  while (hasFailed && n < 2000) {
    Files().RemoveFolder("\\TVQ");
    Files().Put(kState, state);
    const uint64_t before = Firmware().Memory().FailedAllocations();
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    const std::string report = Run();
    hasFailed = Firmware().Memory().FailedAllocations() != before;
    Firmware().Memory().StopFailing();
    // What cannot be saved is said to be so, and all that is wrong is said to be the memory's fault.
    EXPECT_TRUE(Files().Get(kDevice) == blobs || Files().Get(kDevice) == "(missing)") << n;
    for (size_t at = 0; (at = report.find("Problem: ", at)) != std::string::npos; ++at) {
      EXPECT_THAT(report.substr(at, report.find('\n', at) - at), EndsWith(": Out of Resources."))
          << n;
    }
  }
  EXPECT_GT(n, 20u);
  EXPECT_FALSE(hasFailed);
}

}  // namespace
}  // namespace tvq::test
