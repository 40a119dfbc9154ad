/*
 * Paths to single facts: "board.serial", "DIMM.Socket.A1.serial", "P1-DIMMA1.serial", "slot[2].label".
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_PATHS_H_
#define TVQ_HOST_CLI_MACHINE_PATHS_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/cli/machine/machine_view.h"

namespace tvq::cli {

struct PathValue {
  std::string path;
  std::string value;  // UTF-8 without control characters
};

// Everything that is known, each once.
std::vector<PathValue> ListPaths(const MachineView& view);

// What stands before the last '.' names the parts; more than one where a label does.
struct Selection {
  std::vector<PartPlace> parts;
  std::string_view fact;
};
Selection Select(const MachineView& view, std::string_view path);

// Empty where the table does not say.
std::string ReadFact(const MachineView& view, PartPlace place, std::string_view fact);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_PATHS_H_
