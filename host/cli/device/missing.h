/*
 * The devices that the driver makes no record of, and why.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_MISSING_H_
#define TVQ_HOST_CLI_DEVICE_MISSING_H_

#include <string>
#include <vector>

#include "host/run/driver_run.h"

namespace tvq::cli {

// Devices of one kind without a record, for one reason.
struct Missing {
  std::string what;               // "processor", "memory module" or "system"
  std::vector<unsigned> handles;  // of their structures
  std::string why;
};

// Where the driver did not run, `trouble` says why.
std::vector<Missing> FindMissing(const run::Table& table, const run::Results& results,
                                 const std::string& trouble);

// Memory devices that are no devices of their own, such as "8 HBM stacks"; may be empty.
std::string DescribeOthers(const run::Table& table);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_MISSING_H_
