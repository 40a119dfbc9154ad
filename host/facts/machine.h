/*
 * What a machine is, read from its SMBIOS table inside its bounds, whatever the driver makes of it.
 *
 *     const Machine machine = ReadMachine(structures, {3, 3}, count);
 *     for (const Part& module : machine.Of(Kind::kModule)) { module.TextOf("serial") ... }
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_MACHINE_H_
#define TVQ_HOST_FACTS_MACHINE_H_

#include <array>
#include <cstddef>
#include <vector>

#include "host/facts/fact.h"
#include "host/table/table.h"

namespace tvq::facts {

enum class Kind {
  kFirmware,
  kSystem,
  kBoard,
  kChassis,
  kProcessor,
  kMemoryArray,
  kModule,  // also slots for one that are empty
  kSlot,
  kOnboardDevice,
  kPowerSupply,
};
inline constexpr std::size_t kKindCount = 10;

// The words that a kind goes by: "memoryArray", and in a list "memoryArrays".
struct KindName {
  Kind kind;
  const char* one;
  const char* many;
};
extern const std::array<KindName, kKindCount> kKindNames;

// The parts of a machine, those of a kind in the order of the table.
class Machine {
 public:
  const std::vector<Part>& Of(Kind kind) const { return mParts[static_cast<std::size_t>(kind)]; }
  std::vector<Part>& Of(Kind kind) { return mParts[static_cast<std::size_t>(kind)]; }

 private:
  std::array<std::vector<Part>, kKindCount> mParts;
};

// Reads up to `count` structures, all where that is 0, and none behind one that states less than a
// header's length.
Machine ReadMachine(const table::Bytes& structures, table::Version version, std::size_t count);

// A socket or slot that has something in it.
bool IsPopulated(const Part& processorOrModule);

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_MACHINE_H_
