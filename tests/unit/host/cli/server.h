/*
 * A server with one processor and some modules, for tests of the command line.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_SERVER_H_
#define TVQ_TESTS_UNIT_HOST_CLI_SERVER_H_

#include <string>
#include <vector>

#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {

struct Module {
  std::string locator;
  std::string serial;
  std::string part = "PART-1";
};

struct Server {
  std::string processor = "Core Works Model 8";
  uint8_t cores = 8;
  std::vector<Module> modules = {{"DIMM_A1", "11223344"}, {"DIMM_A2", "55667788"}};
};

inline test::Table TableOf(const Server& server) {
  std::vector<test::MemoryDevice> modules;
  for (const Module& module : server.modules) {
    modules.push_back(
        {.locator = module.locator, .serial = module.serial, .partNumber = module.part});
  }
  return test::Table::Of(test::Bios{}, test::System{},
                         test::Processor{.version = server.processor, .coreCount = server.cores},
                         modules, test::End{});
}

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_SERVER_H_
