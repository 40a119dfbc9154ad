/*
 * The two sides of a comparison: tables or saved states.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_SIDES_H_
#define TVQ_HOST_CLI_COMPARE_SIDES_H_

#include <optional>
#include <string>
#include <vector>

#include "host/cli/output/console.h"
#include "host/cli/redact/mask.h"
#include "host/cli/redact/redact.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

struct Side {
  std::string name;
  std::optional<run::Bytes> state;  // of a table: none until it ran
  std::optional<run::Table> table;  // as the machine published it; none in a state without one
  bool isAsIs = false;
  run::Origin origin;
};

// The table or the state that a path names: the state of a folder is its newest. Throws InputError.
Side LoadSide(run::DriverRun& driver, const std::string& path, bool conform,
              const Console& console);

// `path`, or where it is an agent's stick, the folder of the machine that the table or state `other` is of.
// Throws InputError.
std::string SideOnStick(const std::string& path, const std::string& other, bool conform,
                        const Console& console);

// Runs the driver on a side that is a table. Afterwards it is a state as well.
void MakeState(run::DriverRun& driver, Side& side, const Console& console);

// What became of each device. The side before has a state. Throws InputError.
// What makes the sides hard to compare is said.
run::Comparison CompareSides(run::DriverRun& driver, const Side& before, Side& after,
                             const run::CompareOptions& how, const Console& console);

// What makes them hard to compare, a sentence without a full stop for each thing: they are of two machines, or
// lack devices.
std::vector<std::string> DescribeFit(run::DriverRun& driver, const Side& before, const Side& after,
                                     bool isRedacted);

// Masks the tables of both sides and the changes between them, once the driver has compared them.
void MaskSides(Side& before, Side& after, const Masker& masker, SecretList& secrets,
               std::vector<run::FieldChange>& changes);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_SIDES_H_
