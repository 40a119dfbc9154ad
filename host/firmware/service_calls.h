/*
 * Every owner's own copy of the system table, whose services know who calls, are counted and can be
 * made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_SERVICE_CALLS_H_
#define TVQ_HOST_FIRMWARE_SERVICE_CALLS_H_

#include <array>
#include <optional>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

class ServiceCalls {
 public:
  // Makes the tables of all owners from the machine's.
  void MakeTables(FirmwareState& state);
  // Lets the configuration table of every owner's system table be the one in `table`.
  void FollowConfigurationTable(const EFI_SYSTEM_TABLE& table);

  EFI_SYSTEM_TABLE* TableOf(const Owner& owner) { return &mTables[owner.Number()].system; }
  uint64_t Calls(const Owner& owner, Service service) const {
    return mCalls[owner.Number()][static_cast<size_t>(service)];
  }
  void Fail(const Owner& owner, Service service, uint64_t n, EFI_STATUS status, bool following);
  void StopFailing() { mFaults.clear(); }

  // Who called the service that is being carried out; the core when none is.
  Owner Caller() const { return mCaller; }

  // One call, from its begin to its end.
  class Call {
   public:
    Call(unsigned owner, Service service);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // What the call returns instead of being carried out, if it is to fail.
    std::optional<EFI_STATUS> Refusal() const { return mRefusal; }

   private:
    ServiceCalls& mCalls;
    Owner mOuterCaller;
    std::optional<EFI_STATUS> mRefusal;
  };

 private:
  struct Tables {
    EFI_SYSTEM_TABLE system = {};
    EFI_BOOT_SERVICES boot = {};
    EFI_RUNTIME_SERVICES runtime = {};
  };
  struct Fault {
    Owner owner;
    Service service;
    uint64_t call;
    EFI_STATUS status;
    bool following;
  };

  std::optional<EFI_STATUS> FaultOf(const Owner& owner, Service service) const;

  std::array<Tables, Owner::kMaxOwners> mTables = {};
  std::array<std::array<uint64_t, static_cast<size_t>(Service::kCount)>, Owner::kMaxOwners> mCalls =
      {};
  std::vector<Fault> mFaults;
  Owner mCaller = Owner::Core();
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_SERVICE_CALLS_H_
