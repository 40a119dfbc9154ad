/*
 * `tvq verify --metrics`: a file for the node exporter after every run, however it ends.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <ctime>
#include <sstream>

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
  EXPECT_THAT(Metrics(), HasSubstr("tvq_firmware_updated 0\n"));
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

TEST_F(CliMetrics, SayOfALinkThatItIsOneAndWhatToDo) {
  Run("save", {});
  fs::create_symlink(Path("nowhere"), MetricsFile());
  const std::vector<std::string> options = {"--metrics", MetricsFile()};
  EXPECT_THAT(
      Run("verify", {}, options).diagnostics,
      HasSubstr("the metrics cannot be written to " + MetricsFile() +
                ": it is a symbolic link\n"
                "tvq: hint: links are not followed: name what it leads to, which `realpath " +
                MetricsFile() + "` prints, or remove it\n"));
  fs::create_directory_symlink(Path(""), Path("link"));
  EXPECT_THAT(Run("verify", {}, {"--metrics", Path("link/tvq.prom")}).diagnostics,
              HasSubstr(Path("link") + " is a symbolic link\n"));
}

TEST_F(CliMetrics, SayOfWhatIsNoPlainFileThatItIsNone) {
  Run("save", {});
  ASSERT_EQ(mkfifo(MetricsFile().c_str(), 0600), 0);
  EXPECT_THAT(Verify({}).diagnostics, HasSubstr(": it is no plain file\n"));
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

// Nobody would hear of it: the service's unit fails with 2 alone.
TEST_F(CliMetrics, ThatCannotBeWrittenAreATroubleAlsoWithAFinding) {
  Run("save", {});
  const std::vector<std::string> nowhere = {"--metrics", Path("missing/tvq.prom")};
  const Outcome quiet = Run("verify", {}, nowhere);
  EXPECT_EQ(quiet.status, 2);
  EXPECT_THAT(quiet.out, HasSubstr("Summary: 3 same"));
  EXPECT_THAT(quiet.diagnostics, HasSubstr("the metrics cannot be written to "));
  const Outcome found = Run("verify", WithOtherModule(), nowhere);
  EXPECT_EQ(found.status, 2);
  EXPECT_THAT(found.out, HasSubstr("DIMM.Socket.A2 (DIMM_A2): replaced\n"));
}

TEST_F(CliMetrics, SayThatTheOutputCouldNotBeWritten) {
  Run("save", {});
  const std::string table = Path("table.bin");
  const std::string state = Path("state");
  const std::string metrics = MetricsFile();
  const char* const arguments[] = {"tvq",         "verify",    state.c_str(),  "--table",
                                   table.c_str(), "--metrics", metrics.c_str()};
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  out.setstate(std::ios::badbit);
  Console console{in, out, diagnostics};
  EXPECT_EQ(RunCommandLine(std::size(arguments), arguments, console), 2);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 2\n"));
}

TEST_F(CliMetrics, SayThatThereWasNoJournal) {
  Run("save", {});
  const std::string table = Path("table.bin");
  const std::string state = Path("state");
  const std::string metrics = MetricsFile();
  const char* const arguments[] = {"tvq",         "verify",    state.c_str(),   "--table",
                                   table.c_str(), "--metrics", metrics.c_str(), "--journal"};
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  Console console{in, out, diagnostics};
  console.journal = Path("no journal");
  EXPECT_EQ(RunCommandLine(std::size(arguments), arguments, console), 2);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 2\n"));
}

TEST_F(CliMetrics, StayWhatTheyWereWhereTheCommandLineIsWrong) {
  Write("tvq.prom", {'x'});
  EXPECT_EQ(Verify({}, {"--unknown"}).status, 2);
  EXPECT_EQ(Verify({}, {"--rows", MetricsFile()}).status, 2);
  EXPECT_EQ(Read("tvq.prom"), test::Bytes{'x'});
}

TEST_F(CliMetrics, TakeTheNameOfNoState) {
  Run("save", {});
  const test::Bytes state = Read("state/state-1.bin");
  for (const char* const option : {"--metrics", "--rows"}) {
    const Outcome refused = Run("verify", {}, {option, Path("state/./state-1.bin")});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.diagnostics, HasSubstr("has the name of a saved state"));
    EXPECT_THAT(Run("verify", {}, {option, "-"}).diagnostics, HasSubstr(" - is no file"));
  }
  EXPECT_EQ(Read("state/state-1.bin"), state);
  EXPECT_EQ(Run("verify", {}, {"--rows", Path("state/rows.ndjson")}).status, 0);
}

TEST_F(CliMetrics, OfATableWithoutAnyDeviceAreThoseOfARunThatEndedWell) {
  const std::string table = Write("empty.bin", test::Table::Of(test::Bios{}, test::End{}).Bytes());
  const std::vector<std::string> arguments = {"verify",    Path("state"), "--table",     table,
                                              "--metrics", MetricsFile(), "--save-first"};
  const Outcome verified = RunTvq(arguments);
  EXPECT_EQ(verified.status, 0) << verified.diagnostics;
  EXPECT_EQ(verified.out, "Nothing was compared: the table describes no device\n");
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_devices{verdict=\"replaced\"} 0\n"));
  EXPECT_FALSE(fs::exists(Path("state"))) << "there is nothing to save";
  Run("save", {});
  EXPECT_EQ(RunTvq(arguments).status, 2) << "a machine that had devices";
}

TEST_F(CliMetrics, WarnOfANameThatTheNodeExporterDoesNotRead) {
  Run("save", {});
  const Outcome verified = Run("verify", {}, {"--metrics", Path("tvq.txt")});
  EXPECT_EQ(verified.status, 0);
  EXPECT_THAT(verified.diagnostics, HasSubstr("its name does not end in .prom"));
  EXPECT_THAT(Run("verify", {}, {"--metrics", Path(".prom")}).diagnostics,
              HasSubstr("its name does not end in .prom"))
      << "a file without a name is hidden";
  EXPECT_THAT(Run("verify", {}, {"--metrics", Path("a.prom")}).diagnostics,
              Not(HasSubstr("the node exporter")));
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

// Its values say nothing of a part without numbers: it may be another one.
TEST_F(CliMetrics, NameADeviceWithoutNumbersThatChangedWithTheFirmware) {
  const auto file = [this](const std::string& name, const char* version, uint16_t speed) {
    const test::MemoryDevice module = {
        .speed = speed, .serial = "00000000", .partNumber = "Not Specified"};
    return Write(name, test::Table::Of(test::Bios{.version = version}, test::System{},
                                       test::Processor{}, module, test::End{})
                           .Bytes());
  };
  RunTvq({"save", Path("state"), "--table", file("before.bin", "1.0", 4800)});
  EXPECT_EQ(RunTvq({"verify", Path("state"), "--table", file("after.bin", "2.0", 5600), "--metrics",
                    MetricsFile()})
                .status,
            1);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_firmware_updated 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_device_finding{class=\"memory module\",fqdd=\"DIMM.Socket."
                                   "A1\",label=\"DIMM_A1\",verdict=\"changed\"} 1\n"));
}

// A module without a record, because the driver ends at the second one of a name, beside a processor that was replaced.
TEST_F(CliMetrics, NameADeviceWithoutARecordBesideOneThatWasReplaced) {
  const auto file = [this](const std::string& name, const char* second, const char* processor) {
    return Write(name, test::Table::Of(test::Bios{}, test::System{},
                                       test::Processor{.handle = 0x10, .serial = processor},
                                       test::MemoryDevice{.handle = 0x21, .serial = "11223344"},
                                       test::MemoryDevice{
                                           .handle = 0x22, .locator = second, .serial = "55667788"},
                                       test::FqddMap{.groups = {{"CPU.Socket.1", 0x10},
                                                                {"DIMM.Socket.A1", 0x21},
                                                                {"DIMM.Socket.A2", 0x22}}},
                                       test::End{})
                           .Bytes());
  };
  const std::string later = file("clash.bin", "DIMM_A1", "C2B");
  RunTvq({"save", Path("state"), "--as-is", "--table", file("whole.bin", "DIMM_A2", "C1A")});
  EXPECT_EQ(RunTvq({"verify", Path("state"), "--as-is", "--table", later, "--metrics",
                    MetricsFile(), "--rows", Path("rows.ndjson")})
                .status,
            1);
  EXPECT_THAT(Metrics(), HasSubstr("verdict=\"replaced\"} 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_device_finding{class=\"memory module\",fqdd=\"DIMM.Socket."
                                   "A2\",label=\"DIMM_A1\",verdict=\"no record\"} 1\n"));
  const test::Bytes rows = Read("rows.ndjson");
  EXPECT_THAT(std::string(rows.begin(), rows.end()),
              HasSubstr("\"fqdd\":\"DIMM.Socket.A2\",\"label\":\"DIMM_A1\","));
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

TEST_F(CliVerifyRows, AreForTheirGroupAsFarAsTheUserAllows) {
  Run("save", {});
  const mode_t before = umask(0);
  for (const auto& [mask, mode] : {std::pair(0022u, 0640u), std::pair(0077u, 0600u)}) {
    umask(mask);
    VerifyWithRows({});
    struct stat status = {};
    ASSERT_EQ(stat(RowsFile().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, mode);
  }
  umask(before);
}

TEST_F(CliVerifyRows, HaveTheNameThatTheMachineIsGiven) {
  Run("save", {});
  EXPECT_EQ(Run("verify", {}, {"--rows", RowsFile(), "--host", "web-01.example"}).status, 0);
  EXPECT_EQ(nlohmann::json::parse(Rows().substr(0, Rows().find('\n')))["host"], "web-01.example");
  EXPECT_EQ(Run("verify", {}, {"--host", "web-01.example"}).status, 2) << "without rows";
}

// What is in a machine is known, whatever its states are.
TEST_F(CliVerifyRows, AreThereWithoutVerdictsWhereTheStateIsRefused) {
  Run("save", {}, {"--redact", "--redact-key", "key"});
  EXPECT_EQ(VerifyWithRows({}).status, 2);
  const std::vector<nlohmann::json> devices = Devices(Rows());
  ASSERT_EQ(devices.size(), 4u);
  for (const nlohmann::json& device : devices) {
    EXPECT_EQ(device["verdict"], "");
  }
  EXPECT_EQ(devices[3]["serial"], "55667788");
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

TEST_F(CliVerifyRows, ThatCannotBeWrittenHideNoFindingAndTheMetricsSayBoth) {
  Run("save", {});
  const Outcome verified = Verify(WithOtherModule(), {"--rows", Path("nowhere/rows.ndjson")});
  EXPECT_EQ(verified.status, 1);
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_exit_status 1\n"));
  EXPECT_THAT(Metrics(), HasSubstr("tvq_verify_success 0\n"));
  EXPECT_THAT(Metrics(), HasSubstr("\ntvq_device_finding{"));
}

}  // namespace
}  // namespace tvq::cli
