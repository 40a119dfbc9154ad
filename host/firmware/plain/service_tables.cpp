/*
 * One table for the host and all images, which keeps no account of calls.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <optional>

#include "host/firmware/service_entries.h"

namespace tvq::host {
namespace {

struct NoBookkeeping {
  struct Call {
    explicit Call(Service) {}
    std::optional<EFI_STATUS> Refusal() const { return std::nullopt; }
  };
};

class PlainTables : public ServiceTables {
 public:
  void Make(FirmwareState& state) override {
    mTables.Make(state, ServiceEntries<NoBookkeeping>::Fill);
  }
  void FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) override {
    mTables.FollowConfigurationTable(table);
  }
  EFI_SYSTEM_TABLE* TableOf(const Owner&) override { return &mTables.system; }
  Owner Caller() const override { return Owner::Core(); }

 private:
  OwnTables mTables;
};

}  // namespace

std::unique_ptr<ServiceTables> MakeServiceTables() {
  return std::make_unique<PlainTables>();
}

}  // namespace tvq::host
