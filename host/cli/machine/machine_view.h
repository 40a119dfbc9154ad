/*
 * The parts of a machine beside the records that the driver made of them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_MACHINE_VIEW_H_
#define TVQ_HOST_CLI_MACHINE_MACHINE_VIEW_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/cli/device/inventory.h"
#include "host/cli/machine/links.h"
#include "host/facts/machine.h"

namespace tvq::cli {

// A view: both have to outlive it.
struct MachineView {
  const facts::Machine& machine;
  const std::vector<Device>& devices;

  const facts::Part& At(PartPlace place) const { return machine.Of(place.kind)[place.index]; }
  // The record of the part; null where there is none.
  const Device* DeviceOf(PartPlace place) const;
  // Empty where there is none.
  std::string FqddOf(PartPlace place) const;
};

// What is printed on the board beside a part, in UTF-8: the label or the location in the machine's own
// table. Empty where there is none.
std::string LabelOf(const facts::Part& part);

// All parts in their order.
std::vector<PartPlace> AllParts(const facts::Machine& machine);

// The parts of that label or FQDD.
std::vector<PartPlace> FindParts(const MachineView& view, std::string_view name);

// "DIMM.Socket.A1", or "module[2]" for a part without a record.
std::string NameOf(const MachineView& view, PartPlace place);

// The same of several, with commas between.
std::string NamesOf(const MachineView& view, const std::vector<PartPlace>& places);

// The machine in a table, which has to be its own and not a conformed copy.
facts::Machine ReadMachine(const run::Table& table);

// The kind's words, as in "memoryArray".
const facts::KindName& NameOf(facts::Kind kind);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_MACHINE_VIEW_H_
