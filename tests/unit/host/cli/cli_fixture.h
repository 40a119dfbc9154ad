/*
 * What the tests of the command line share: a folder of their own, and runs of `tvq` in this process.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_CLI_FIXTURE_H_
#define TVQ_TESTS_UNIT_HOST_CLI_CLI_FIXTURE_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "host/cli/command_line.h"
#include "tests/unit/shared/table.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {

class CliTest : public testing::Test {
 protected:
  CliTest()
      : mFolder(std::filesystem::temp_directory_path() /
                ("tvq-cli-test-" + std::to_string(getpid()))) {
    std::filesystem::create_directories(mFolder);
  }
  ~CliTest() override { std::filesystem::remove_all(mFolder); }

  std::string Path(const std::string& name) const { return (mFolder / name).string(); }

  // Writes a file of the folder and returns its path.
  std::string Write(const std::string& name, const test::Bytes& bytes) {
    std::ofstream file(Path(name), std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    return Path(name);
  }
  test::Bytes Read(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return test::Bytes(std::istreambuf_iterator<char>(file), {});
  }

  // Does it as somebody who is not root, in the test's folder: what stands above that may be closed to everybody else.
  template <typename Action>
  auto AsNobody(const Action& action) const {
    constexpr uid_t kNobody = 65534;
    const uid_t user = geteuid();
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(mFolder);
    EXPECT_TRUE(user != 0 || seteuid(kNobody) == 0);
    auto result = action();
    EXPECT_EQ(seteuid(user), 0);
    std::filesystem::current_path(before);
    return result;
  }

  struct Outcome {
    int status = 0;
    std::string out;
    std::string diagnostics;

    nlohmann::ordered_json Json() const { return nlohmann::ordered_json::parse(out); }
  };
  static Outcome RunTvq(const std::vector<std::string>& arguments, const std::string& input = "",
                        Terminal terminal = {}) {
    std::vector<const char*> argv = {"tvq"};
    for (const std::string& argument : arguments) {
      argv.push_back(argument.c_str());
    }
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream diagnostics;
    Console console{in, out, diagnostics, terminal};
    const int status = RunCommandLine(static_cast<int>(argv.size()), argv.data(), console);
    return {status, out.str(), diagnostics.str()};
  }

 private:
  std::filesystem::path mFolder;
};

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_CLI_FIXTURE_H_
