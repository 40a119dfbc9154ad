/*
 * A comparison needs memory: wherever it has none, it says so, and leaves none behind.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/compare/compare_fixture.h"

namespace tvq::test {
namespace {

class CompareMemory : public CompareTest {
 protected:
  CompareMemory() { LoadPlatform(); }

  // Compares them again and again, each time without another one of the blocks that this takes.
  void ExpectEachBlockToBeNeeded(uint64_t atLeast) {
    const size_t blocks = AgentBlocks();
    uint64_t needed = 0;
    for (bool isShort = true; isShort;) {
      const uint64_t failed = Firmware().Memory().FailedAllocations();
      Firmware().Memory().FailAllocation(needed + 1, host::images::agent);
      const bool isRun = tvqplatform::Comparison().Run(mBefore.Get(), mAfter.Get(), {});
      Firmware().Memory().StopFailing();
      isShort = Firmware().Memory().FailedAllocations() != failed;
      needed += isShort ? 1 : 0;
      ASSERT_EQ(isRun, !isShort) << "block " << needed;
    }
    EXPECT_GE(needed, atLeast);
    EXPECT_EQ(AgentBlocks(), blocks);
  }
};

TEST_F(CompareMemory, IsNeededForTheDevicesOfBothSides) {
  mBefore.Of(Modules("11111112", "22222223"))
      .With(A1("<r><S>1</S></r>"))
      .With(A2("<r><S>1</S></r>"));
  mAfter.Of(Modules("22222223", "33333334"))
      .With(A1("<r><S>2</S><T>2</T></r>"))
      .With(A2("<r><S>3</S></r>"));
  ExpectEachBlockToBeNeeded(20);
}

TEST_F(CompareMemory, IsNeededForOneDeviceThatIsGone) {
  mBefore.Of(Modules("11111112", "22222223")).With(A1("x")).With(A2("x"));
  mAfter.Of(Modules("11111112")).With(A1("x"));
  ExpectEachBlockToBeNeeded(10);
}

TEST_F(CompareMemory, IsNeededForOneNumber) {
  const auto machine = [](const Text& serial) {
    return Table::Of(Processor{.handle = kSocket1, .serial = serial}, End{});
  };
  mBefore.Of(machine("C0FFEE01")).With(CpuAt1("8"));
  mAfter.Of(machine("C0FFEE02")).With(CpuAt1("8"));
  ExpectEachBlockToBeNeeded(10);
}

TEST_F(CompareMemory, IsNeededForTheVersionsOfTheFirmware) {
  mBefore.Of(Table::Of(Bios{.version = "1.0"}, End{}));
  mAfter.Of(Table::Of(Bios{.version = "2.0"}, End{}));
  ExpectEachBlockToBeNeeded(3);
}

TEST_F(CompareMemory, IsNeededForThePartsOfTheSystem) {
  const auto machine = [](const Text& board, const std::vector<Structure>& supplies) {
    System system{.handle = kTheSystem};
    system.uuid.back() = static_cast<uint8_t>(supplies.size());
    return Table::Of(system, BaseBoard{.serial = board}, supplies, End{});
  };
  mBefore.Of(machine("B1A", {PowerSupply("P1A"), PowerSupply("P2A")})).With(TheSystem("1"));
  mAfter.Of(machine("B2A", {PowerSupply("P2A"), PowerSupply("P3A"), PowerSupply(std::nullopt)}))
      .With(TheSystem("2"));
  ExpectEachBlockToBeNeeded(20);
}

TEST_F(CompareMemory, IsNeededForOnePartThatIsGone) {
  mBefore.Of(Table::Of(System{.handle = kTheSystem}, PowerSupply("P1A"), End{}))
      .With(TheSystem("1"));
  mAfter.Of(Table::Of(System{.handle = kTheSystem}, End{})).With(TheSystem("1"));
  ExpectEachBlockToBeNeeded(10);
}

TEST_F(CompareMemory, IsNeededForStacksOfMemory) {
  const auto machine = [](const char* serial) {
    return Table::Of(MemoryDevice{.locator = "HBM0", .memoryType = 0x20, .serial = serial},
                     MemoryDevice{.locator = "HBM1", .memoryType = 0x20, .serial = serial}, End{});
  };
  mBefore.Of(machine("11111112"));
  mAfter.Of(machine("22222223"));
  ExpectEachBlockToBeNeeded(10);
}

TEST_F(CompareMemory, IsNeededForDevicesOfOtherNames) {
  const Table table = Modules("11111112", "None");
  TestDevice first = A1("x");
  TestDevice second = A2("x");
  first.fqdd = u"old.1";
  second.fqdd = u"old.2";
  mBefore.Of(table).With(first).With(second);
  mBefore.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
  mAfter.Of(table).With(first).With(second);
  mAfter.Get().NamingRules = 1;
  ExpectEachBlockToBeNeeded(20);
}

TEST_F(CompareMemory, IsNeededForDevicesOfOtherNamesInTheirOrder) {
  mBefore.With(A1("x"));
  mBefore.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
  mAfter.With(A2("x"));
  ExpectEachBlockToBeNeeded(5);
}

}  // namespace
}  // namespace tvq::test
