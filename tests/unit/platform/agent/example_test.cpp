/*
 * The example of an agent, on two boots of a machine with the reference platform.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "images/agent_example.h"
#include "images/platform.h"
#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What a machine keeps when it is switched off.
using Variables = std::vector<host::Variable>;

struct Boot {
  EFI_STATUS status = EFI_NOT_STARTED;
  std::vector<std::string> output;
  size_t blocksLeft = 0;
  Variables variables;
};

std::vector<std::string> SplitLines(const std::u16string& console) {
  std::vector<std::string> lines(1);
  for (char16_t character : console) {
    if (character == u'\n') {
      lines.emplace_back();
    } else if (character != u'\r') {
      lines.back() += static_cast<char>(character);
    }
  }
  lines.pop_back();
  return lines;
}

void Restore(host::Firmware& machine, const Variables& variables) {
  for (const host::Variable& variable : variables) {
    EFI_GUID guid = variable.guid;
    std::vector<UINT8> data = variable.data;
    EXPECT_EQ(machine.RuntimeServices()->SetVariable(Ucs2(variable.name.c_str()), &guid,
                                                     variable.attributes, data.size(), data.data()),
              EFI_SUCCESS);
  }
}

// Boots with a table, runs the example and switches off.
Boot BootWith(const Table& table, const Variables& variables = {}, unsigned runs = 1) {
  Boot boot;
  DriverHarness harness(
      {Part::kServices, Part::kAux, Part::kLibrary, Part::kPrerequisite, Part::kDebugLog});
  host::Firmware& machine = harness.Firmware();
  Restore(machine, variables);
  EXPECT_EQ(machine.StartImage(machine.LoadImage(host::images::platform)), EFI_SUCCESS);
  harness.Publish(table);
  EXPECT_EQ(harness.Load(), EFI_SUCCESS);
  for (unsigned run = 0; run < runs; ++run) {
    boot.status = machine.StartImage(machine.LoadImage(host::images::agent_example));
  }
  boot.output = SplitLines(machine.ConsoleOutput());
  boot.blocksLeft = harness.Memory().LiveCount(host::images::agent_example);
  boot.variables = machine.Variables();
  return boot;
}

Table Server(const char* serial, const char* part, uint8_t cores) {
  return Table::Of(System{.handle = 0x100}, Processor{.handle = 0x400, .coreCount = cores},
                   MemoryArray{.handle = 0x1000},
                   MemoryDevice{.handle = 0x1100, .serial = serial, .partNumber = part},
                   FqddMap{.groups = {{"CPU.Socket.1", 0x400}, {"DIMM.Socket.A1", 0x1100}}}, End{});
}

TEST(AgentExample, StoresOnTheFirstBoot) {
  const Boot boot = BootWith(Server("0123ABCD", "MW16  ", 8));
  EXPECT_EQ(boot.status, EFI_SUCCESS);
  EXPECT_THAT(boot.output,
              ElementsAre("CPU.Socket.1: stored (Success)", "DIMM.Socket.A1: stored (Success)",
                          "System.Embedded.1: stored (Success)"));
  EXPECT_EQ(boot.blocksLeft, 0u);
}

TEST(AgentExample, FindsTheSameParts) {
  const Table table = Server("0123ABCD", "MW16  ", 8);
  const Boot boot = BootWith(table, BootWith(table).variables);
  EXPECT_EQ(boot.status, EFI_SUCCESS);
  EXPECT_THAT(boot.output,
              ElementsAre("CPU.Socket.1: same", "DIMM.Socket.A1: same", "System.Embedded.1: same"));
  EXPECT_EQ(boot.blocksLeft, 0u);
}

TEST(AgentExample, FindsReplacedParts) {
  const Variables stored = BootWith(Server("0123ABCD", "MW16", 8)).variables;
  EXPECT_THAT(
      BootWith(Server("99999999", "MW16", 8), stored).output,
      ElementsAre("CPU.Socket.1: same", "DIMM.Socket.A1: replaced", "System.Embedded.1: same"));
  EXPECT_THAT(
      BootWith(Server("0123ABCD", "XX32", 16), stored).output,
      ElementsAre("CPU.Socket.1: replaced", "DIMM.Socket.A1: replaced", "System.Embedded.1: same"));
}

TEST(AgentExample, TellsWhyStoredDataCannotBeCompared) {
  // Values are written as they are, so this document is not well-formed.
  const Table table = Server("0123ABCD", "A&B", 8);
  const Boot boot = BootWith(table, BootWith(table).variables);
  EXPECT_EQ(boot.output[1], "DIMM.Socket.A1: cannot be verified (Invalid Parameter)");
  EXPECT_EQ(boot.blocksLeft, 0u);
}

TEST(AgentExample, ReportsDamagedStoredData) {
  const Table table = Server("0123ABCD", "MW16", 8);
  Variables stored = BootWith(table).variables;
  for (host::Variable& variable : stored) {
    variable.data.resize(variable.name == u"CPU.Socket.1" ? 40 : variable.data.size());
  }
  EXPECT_THAT(BootWith(table, stored).output,
              ElementsAre("CPU.Socket.1: cannot be verified (Invalid Parameter)",
                          "DIMM.Socket.A1: same", "System.Embedded.1: same"));
}

TEST(AgentExample, RunsAgainWithoutStartingTheDriverAgain) {
  const Boot boot = BootWith(Server("0123ABCD", "MW16", 8), {}, 2);
  EXPECT_EQ(boot.status, EFI_SUCCESS);
  ASSERT_EQ(boot.output.size(), 6u);
  EXPECT_EQ(boot.output[5], "System.Embedded.1: same");
}

TEST(AgentExample, EndsWithoutADriver) {
  host::Firmware machine;
  EXPECT_EQ(machine.StartImage(machine.LoadImage(host::images::agent_example)), EFI_NOT_FOUND);
  EXPECT_THAT(machine.ConsoleOutput(), IsEmpty());
}

}  // namespace
}  // namespace tvq::test
