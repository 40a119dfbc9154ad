/*
 * What a device's blobs and document say, ready to be shown.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_INVENTORY_H_
#define TVQ_HOST_CLI_DEVICE_INVENTORY_H_

#include <optional>
#include <string>
#include <vector>

#include "host/cli/device/document.h"
#include "host/cli/machine/differences.h"
#include "host/cli/machine/links.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// One device record.
struct Device {
  unsigned type = 0;
  std::string fqdd;      // UTF-8 without control characters; "-": the record has none
  std::string nameRule;  // what gave the FQDD its name; empty where the table was left as it is
  // The part of the machine that it is of, where that is known, and where the document differs.
  std::optional<PartPlace> place;
  std::vector<Difference> differences;
  // Null when the record has no document, or none that can be read; `trouble` says why. Null also
  // where nobody wanted to keep it.
  std::optional<Element> document;
  std::string trouble;
};

Device ToDevice(const run::Record& record);

// The text of the document in a configuration blob. Throws DataError.
std::string_view DocumentText(const run::Bytes& configurationBlob);

// A number of bytes in the largest unit that leaves no rest: "32 GB", "1536 MB".
std::string SizeInWords(uint64_t bytes);

// What the elements of a module's section say of its size; nothing where it is unknown.
std::optional<uint64_t> ModuleSizeInBytes(const Element& dimm);

// A decimal or hexadecimal number of a document; 0 where it is none.
uint64_t NumberOf(std::string_view text, int base = 10);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_INVENTORY_H_
