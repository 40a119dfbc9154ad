/*
 * The devices that a table describes, whether the driver makes records of them or not.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_SESSION_TABLE_DEVICES_H_
#define TVQ_HOST_SESSION_TABLE_DEVICES_H_

#include <optional>
#include <string>
#include <vector>

#include "host/session/session.h"

namespace tvq::session {

enum class DeviceKind {
  kProcessor,
  kModule,
  // What gets no record:
  kEmptySocket,
  kEmptySlot,
  kHbm,  // high-bandwidth memory, which is part of a processor
  kLogicalModule,
};

struct TableDevice {
  DeviceKind kind = DeviceKind::kProcessor;
  unsigned type = 0;
  unsigned handle = 0;
  std::optional<std::string> designation;  // of the socket or the slot
  // What the driver tells devices of this kind apart by: the vendor data of the device path.
  Bytes key;
  std::string keyText;  // the same as a person would say it
};

// In the order of the table.
std::vector<TableDevice> DevicesOf(const Table& table);

// Why the driver's start finds no names of devices in the table; empty when it does.
std::string WhyNoNames(const Table& table);

// How many structures of a type there are.
size_t CountStructures(const Table& table, unsigned type);

// The vendor data of a record's device path; empty when it has none.
Bytes KeyOf(const Record& record);

}  // namespace tvq::session

#endif  // TVQ_HOST_SESSION_TABLE_DEVICES_H_
