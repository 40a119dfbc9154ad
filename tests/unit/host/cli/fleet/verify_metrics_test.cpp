/*
 * `tvq verify --metrics`: a file for the node exporter after every run, however it ends.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <ctime>

#include "host/cli/fleet/metrics.h"
#include "tests/unit/host/cli/server.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

class CliMetrics : public CliTest {
 protected:
  std::string MetricsFile() const { return Path("tvq.prom"); }
  std::string Metrics() const {
    const test::Bytes bytes = Read("tvq.prom");
    return std::string(bytes.begin(), bytes.end());
  }

  Outcome Run(const std::string& command, const Server& server,
              std::vector<std::string> more = {}) {
    std::vector<std::string> arguments = {command, Path("state"), "--table",
                                          Write("table.bin", TableOf(server).Bytes())};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTvq(arguments);
  }
  Outcome Verify(const Server& server, std::vector<std::string> more = {}) {
    more.insert(more.end(), {"--metrics", MetricsFile()});
    return Run("verify", server, more);
  }

  // Whether the file says that a run ended well now.
  bool SaysSuccess() const {
    const auto now = static_cast<uint64_t>(std::time(nullptr));
    return now - LastSuccessIn(Metrics()) < 600;
  }
  // The file as an earlier run left it.
  void WriteSuccessAt(uint64_t time) {
    const std::string text =
        MetricsText({time, time, kExitNothingFound, MeasuredDevices{}}, Serials::kHidden);
    Write("tvq.prom", test::Bytes(text.begin(), text.end()));
  }
};

Server WithOtherModule() {
  Server server;
  server.modules[1].serial = "99AABBCC";
  return server;
}

TEST_F(CliMetrics, OfAnUnchangedMachineCountItsDevices) {
  Run("save", {});
  EXPECT_EQ(Verify({}).status, 0);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_devices{verdict=\"same\"} 3\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_devices{verdict=\"replaced\"} 0\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 0\n"));
  EXPECT_TRUE(SaysSuccess());
}

TEST_F(CliMetrics, NameTheDeviceThatWasReplaced) {
  Run("save", {});
  const Outcome verified = Verify(WithOtherModule());
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(verified.out, HasSubstr("DIMM.Socket.A2 (DIMM_A2): replaced\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_devices{verdict=\"replaced\"} 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("fqdd=\"DIMM.Socket.A2\",label=\"DIMM_A2\",maker=\"Memory "
                                   "Works\",part=\"PART-1\",verdict=\"replaced\"} 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 1\n"));
}

TEST_F(CliMetrics, NameTheDeviceThatIsGoneByItsPlace) {
  Run("save", {});
  Server server;
  server.modules.pop_back();
  EXPECT_EQ(Verify(server).status, 1);
  EXPECT_THAT(Metrics(),
              HasSubstr("tvq_device_info{class=\"memory module\",fqdd=\"DIMM.Socket.A2\","
                        "label=\"DIMM_A2\",maker=\"\",part=\"\",verdict=\"gone\"} 1\n"));
}

TEST_F(CliMetrics, HaveSerialNumbersWhereTheyAreAskedForAlone) {
  Run("save", {});
  Verify({});
  EXPECT_THAT(Metrics(), Not(HasSubstr("55667788")));
  Verify({}, {"--metrics-serials"});
  EXPECT_THAT(Metrics(), HasSubstr("serial=\"55667788\""));
}

TEST_F(CliMetrics, HaveMasksForSerialNumbersWhereTheTableIsRedacted) {
  const std::vector<std::string> redacted = {"--redact", "--redact-key", "key"};
  Run("save", {}, redacted);
  std::vector<std::string> both = redacted;
  both.emplace_back("--metrics-serials");
  EXPECT_EQ(Verify({}, both).status, 0);
  EXPECT_THAT(Metrics(), HasSubstr("serial=\""));
  EXPECT_THAT(Metrics(), Not(HasSubstr("55667788")));
}

TEST_F(CliMetrics, SayThatThereIsNoStateYet) {
  EXPECT_EQ(Verify({}).status, 3);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 3\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_EQ(LastSuccessIn(Metrics()), 0u);
}

TEST_F(CliMetrics, SayThatARunFailedAndWhenOneLastEndedWell) {
  Run("save", {});
  WriteSuccessAt(1000);
  EXPECT_EQ(
      RunTvq({"verify", Path("state"), "--table", Path("missing"), "--metrics", MetricsFile()})
          .status,
      2);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 2\n"));
  EXPECT_THAT(Metrics(), Not(HasSubstr("tvq_device")));
  EXPECT_EQ(LastSuccessIn(Metrics()), 1000u);
}

TEST_F(CliMetrics, SayThatAStateOfOtherOptionsWasRefused) {
  Run("save", {});
  WriteSuccessAt(1000);
  EXPECT_EQ(Verify({}, {"--as-is"}).status, 2);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_EQ(LastSuccessIn(Metrics()), 1000u);
}

TEST_F(CliMetrics, AreForEverybodyToRead) {
  Run("save", {});
  const mode_t before = umask(077);
  Verify({});
  umask(before);
  struct stat status = {};
  ASSERT_EQ(stat(MetricsFile().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0644u);
}

TEST_F(CliMetrics, AreNotWrittenWhereALinkStands) {
  Run("save", {});
  const std::string other = Write("other", {'x'});
  fs::create_symlink(other, MetricsFile());
  EXPECT_EQ(Verify({}).status, 2);
  EXPECT_EQ(Read("other"), test::Bytes{'x'});
  EXPECT_TRUE(fs::is_symlink(MetricsFile()));
}

TEST_F(CliMetrics, LeaveNothingElseBehind) {
  Run("save", {});
  fs::create_directory(Path("metrics"));
  Run("verify", {}, {"--metrics", Path("metrics/tvq.prom")});
  Run("verify", {}, {"--metrics", Path("metrics/tvq.prom")});
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(Path("metrics"))) {
    names.push_back(entry.path().filename().string());
  }
  EXPECT_EQ(names, std::vector<std::string>{"tvq.prom"});
}

TEST_F(CliMetrics, ThatCannotBeWrittenAreATroubleAndHideNoFinding) {
  Run("save", {});
  const std::vector<std::string> nowhere = {"--metrics", Path("missing/tvq.prom")};
  const Outcome quiet = Run("verify", {}, nowhere);
  EXPECT_EQ(quiet.status, 2);
  EXPECT_THAT(quiet.out, HasSubstr("Summary: 3 same"));
  EXPECT_THAT(quiet.diagnostics, HasSubstr("the metrics cannot be written to "));
  EXPECT_EQ(Run("verify", WithOtherModule(), nowhere).status, 1);
}

TEST_F(CliMetrics, WarnOfANameThatTheNodeExporterDoesNotRead) {
  Run("save", {});
  const Outcome verified = Run("verify", {}, {"--metrics", Path("tvq.txt")});
  EXPECT_EQ(verified.status, 0);
  EXPECT_THAT(verified.diagnostics, HasSubstr("its name does not end in .prom"));
}

TEST_F(CliMetrics, SayThatTheFirmwareIsAnotherOne) {
  Run("save", {});
  const test::Table updated = test::Table::Of(
      test::Bios{.version = "9.9.9"}, test::System{},
      test::Processor{.version = Server().processor, .coreCount = Server().cores},
      test::MemoryDevice{.locator = "DIMM_A1", .serial = "11223344", .partNumber = "PART-1"},
      test::MemoryDevice{.locator = "DIMM_A2", .serial = "55667788", .partNumber = "PART-1"},
      test::End{});
  EXPECT_EQ(RunTvq({"verify", Path("state"), "--table", Write("updated.bin", updated.Bytes()),
                    "--metrics", MetricsFile()})
                .status,
            0);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_firmware_updated 1\n"));
}

class CliVerifyRows : public CliMetrics {
 protected:
  std::string RowsFile() const { return Path("rows.ndjson"); }
  Outcome VerifyWithRows(const Server& server) {
    return Run("verify", server, {"--rows", RowsFile()});
  }
  // Every line, without when and where it was made.
  static std::vector<nlohmann::json> Devices(const std::string& lines) {
    std::vector<nlohmann::json> devices;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
      nlohmann::json device = nlohmann::json::parse(line);
      device.erase("time");
      device.erase("host");
      device.erase("machine");
      devices.push_back(device);
    }
    return devices;
  }
  std::string Rows() const {
    const test::Bytes bytes = Read("rows.ndjson");
    return std::string(bytes.begin(), bytes.end());
  }
};

TEST_F(CliVerifyRows, AreThoseOfExport) {
  Run("save", {});
  EXPECT_EQ(VerifyWithRows(WithOtherModule()).status, 1);
  const Outcome exported =
      RunTvq({"export", "--rows", "--against", Path("state"), "--table", Path("table.bin")});
  EXPECT_EQ(Devices(Rows()), Devices(exported.out));
  EXPECT_THAT(Rows(), HasSubstr("\"verdict\":\"replaced\""));
}

TEST_F(CliVerifyRows, AreForTheirOwnerAlone) {
  Run("save", {});
  VerifyWithRows({});
  EXPECT_EQ(fs::status(RowsFile()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(CliVerifyRows, StayWhatTheyWereWhereNothingWasCompared) {
  Run("save", {});
  VerifyWithRows({});
  const std::string before = Rows();
  fs::remove_all(Path("state"));
  EXPECT_EQ(VerifyWithRows(WithOtherModule()).status, 3);
  EXPECT_EQ(Rows(), before);
}

TEST_F(CliVerifyRows, ThatCannotBeWrittenAreTrouble) {
  Run("save", {});
  const Outcome verified = Run("verify", {}, {"--rows", Path("nowhere/rows.ndjson")});
  EXPECT_EQ(verified.status, 2);
  EXPECT_THAT(verified.diagnostics, HasSubstr("the rows cannot be written to "));
}

}  // namespace
}  // namespace tvq::cli
