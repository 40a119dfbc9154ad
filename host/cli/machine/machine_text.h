/*
 * The parts of a machine as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_MACHINE_TEXT_H_
#define TVQ_HOST_CLI_MACHINE_MACHINE_TEXT_H_

#include <string>

#include "host/cli/machine/machine_view.h"
#include "host/cli/output/console.h"

namespace tvq::cli {

// What the machine is: system, boards, chassis and firmware, then everything that is in a slot.
std::string MachineText(const MachineView& view, const Terminal& terminal);

// Where documents say something else than the table; empty where none does.
std::string DifferencesText(const std::vector<Device>& devices, const Terminal& terminal);

// One part, each known fact on a line.
std::string PartText(const MachineView& view, PartPlace place, const Terminal& terminal);

// A heading, behind an empty line.
std::string Heading(const Terminal& terminal, const std::string& text, Ink ink = Ink::kBold);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_MACHINE_TEXT_H_
