/*
 * Which part of the machine a device record is of.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_LINKS_H_
#define TVQ_HOST_CLI_MACHINE_LINKS_H_

#include <cstddef>
#include <optional>
#include <vector>

#include "host/facts/machine.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// The n-th part of a kind, from 0.
struct PartPlace {
  facts::Kind kind;
  std::size_t index;
};

// For each record. `table` is the one that the driver ran on: the machine's own, or a copy of it in
// which the structures of each type have the same order.
std::vector<std::optional<PartPlace>> LinkRecords(const run::Table& table,
                                                  const std::vector<run::Record>& records);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_LINKS_H_
