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
#include "host/run/driver_run.h"

namespace tvq::cli {

// One device. Texts are UTF-8 without control characters; "-" stands for what is not known.
struct Device {
  unsigned type = 0;
  std::string name;
  std::string fqdd;
  std::string model;
  std::string identity;  // serial number, PPIN or service tag
  std::string part;      // of a module
  std::string cores;     // of a processor
  std::string size;
  std::string speed;
  std::string slot;
  // Null when the record has no document, or none that can be read; `trouble` says why.
  std::optional<Element> document;
  std::string trouble;
};

Device ToDevice(const run::Record& record);
std::vector<Device> ToDevices(const std::vector<run::Record>& records);

// The text of the document in a configuration blob. Throws DataError.
std::string_view DocumentText(const run::Bytes& configurationBlob);

// A number of bytes in the largest unit that leaves no rest: "32 GB", "1536 MB".
std::string SizeInWords(uint64_t bytes);

// A decimal or hexadecimal number of a document; 0 where it is none.
uint64_t NumberOf(std::string_view text, int base = 10);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_INVENTORY_H_
