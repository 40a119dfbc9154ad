/*
 * The system tables that images and the code around the machine are given. A program links one of
 * two kinds: one table for each owner, with bookkeeping of its calls, or a plain one for all.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_SERVICE_TABLES_H_
#define TVQ_HOST_FIRMWARE_SERVICE_TABLES_H_

#include <memory>

#include "host/firmware/firmware.h"

namespace tvq::host {

class ServiceTables {
 public:
  ServiceTables() = default;
  virtual ~ServiceTables() = default;
  ServiceTables(const ServiceTables&) = delete;
  ServiceTables& operator=(const ServiceTables&) = delete;

  // Makes the tables from the machine's.
  virtual void Make(FirmwareState& state) = 0;
  // Lets the configuration table of every system table be the one in `table`.
  virtual void FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) = 0;
  virtual EFI_SYSTEM_TABLE* TableOf(const Owner& owner) = 0;
  // Who called the service that is being carried out; the core when that is not known.
  virtual Owner Caller() const = 0;
};

// The tables of the library that the program links.
std::unique_ptr<ServiceTables> MakeServiceTables();

// A copy of the machine's tables whose services `fill` puts in their places.
struct OwnTables {
  using Fill = void (*)(EFI_BOOT_SERVICES&, EFI_RUNTIME_SERVICES&);

  EFI_SYSTEM_TABLE system = {};
  EFI_BOOT_SERVICES boot = {};
  EFI_RUNTIME_SERVICES runtime = {};

  void Make(const FirmwareState& state, Fill fill);
  void FollowConfigurationTable(const EFI_SYSTEM_TABLE& table);
};

// Reports a call of a service that the machine does not have.
EFI_STATUS Unsupported(Service service);

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_SERVICE_TABLES_H_
