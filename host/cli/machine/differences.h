/*
 * Where the document of a device says something else than the machine's own table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_DIFFERENCES_H_
#define TVQ_HOST_CLI_MACHINE_DIFFERENCES_H_

#include <string>
#include <vector>

#include "host/cli/device/document.h"
#include "host/cli/machine/links.h"
#include "host/facts/machine.h"

namespace tvq::cli {

struct Difference {
  std::string fact;      // of the part
  std::string element;   // of the document, by its name
  std::string document;  // what stands there: 8-bit characters
  facts::Value table;    // what the table says
};

// The system's document says what its firmware is, too. The UUID has the order of its bytes in the
// table there, deliberately, and is not compared; nor are the names that the driver gives.
std::vector<Difference> FindDifferences(const facts::Machine& machine, PartPlace place,
                                        const Element& document);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_DIFFERENCES_H_
