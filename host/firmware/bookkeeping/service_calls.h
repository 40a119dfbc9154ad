/*
 * Every owner's own copy of the system table, whose services know who calls, are counted and can be
 * made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_BOOKKEEPING_SERVICE_CALLS_H_
#define TVQ_HOST_FIRMWARE_BOOKKEEPING_SERVICE_CALLS_H_

#include <array>
#include <optional>
#include <vector>

#include "host/firmware/service_tables.h"

namespace tvq::host {

class ServiceCalls : public ServiceTables {
 public:
  void Make(FirmwareState& state) override;
  void FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) override;
  EFI_SYSTEM_TABLE* TableOf(const Owner& owner) override { return &mTables[owner.Number()].system; }
  Owner Caller() const override { return mCaller; }

  uint64_t Calls(const Owner& owner, Service service) const {
    return mCalls[owner.Number()][static_cast<size_t>(service)];
  }
  void Fail(const Owner& owner, Service service, uint64_t n, EFI_STATUS status, bool following);
  void StopFailing() { mFaults.clear(); }

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
  struct Fault {
    Owner owner;
    Service service;
    uint64_t call;
    EFI_STATUS status;
    bool following;
  };

  std::optional<EFI_STATUS> FaultOf(const Owner& owner, Service service) const;

  std::array<OwnTables, Owner::kMaxOwners> mTables = {};
  std::array<std::array<uint64_t, static_cast<size_t>(Service::kCount)>, Owner::kMaxOwners> mCalls =
      {};
  std::vector<Fault> mFaults;
  Owner mCaller = Owner::Core();
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_BOOKKEEPING_SERVICE_CALLS_H_
