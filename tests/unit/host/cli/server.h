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
  test::Table table;
  table.Add(test::Bios{});
  table.Add(test::System{});
  table.Add(test::Processor{.version = server.processor, .coreCount = server.cores});
  for (const Module& module : server.modules) {
    table.Add(test::MemoryDevice{
        .locator = module.locator, .serial = module.serial, .partNumber = module.part});
  }
  table.Add(test::End{});
  return table;
}

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_SERVER_H_
