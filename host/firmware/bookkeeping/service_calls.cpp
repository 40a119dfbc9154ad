/*
 * Every owner's own copy of the system table. A service gets no hint of its caller, so each owner
 * has entry points of its own, made from the list in services.def.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/bookkeeping/service_calls.h"

#include <array>
#include <iterator>
#include <string>
#include <utility>

#include "host/firmware/firmware_state.h"
#include "host/firmware/image_registry.h"
#include "host/firmware/service_entries.h"

namespace tvq::host {
namespace {

constexpr bool kCanFail[] = {
#define BOOT_SERVICE(name, parameters, arguments) true,
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) false,
#define BOOT_SERVICE_LIST(name, handle) true,
#define RUNTIME_SERVICE(name, parameters, arguments) true,
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) false,
#include "host/firmware/services.def"
};
static_assert(std::size(kCanFail) == static_cast<size_t>(Service::kCount));

// What happens around every call of one owner.
template <unsigned kOwner>
struct Bookkeeping {
  struct Call : ServiceCalls::Call {
    explicit Call(Service service) : ServiceCalls::Call(kOwner, service) {}
  };
};

template <unsigned... kOwners>
constexpr std::array<OwnTables::Fill, sizeof...(kOwners)> AllFillers(
    std::integer_sequence<unsigned, kOwners...>) {
  return {ServiceEntries<Bookkeeping<kOwners>>::Fill...};
}

constexpr auto kFillers = AllFillers(std::make_integer_sequence<unsigned, Owner::kMaxOwners>());

unsigned OwnerCount() {
  return Owner::Host().Number() + 1 + static_cast<unsigned>(LinkedImages().size());
}

// The calls of the machine that exists.
ServiceCalls& CallsOf(FirmwareState& state) {
  return static_cast<ServiceCalls&>(state.Services());
}

}  // namespace

std::unique_ptr<ServiceTables> MakeServiceTables() {
  return std::make_unique<ServiceCalls>();
}

uint64_t Firmware::Calls(const Owner& owner, Service service) const {
  return CallsOf(*mState).Calls(owner, service);
}

void Firmware::FailCall(const Owner& owner, Service service, uint64_t n, EFI_STATUS status) {
  CallsOf(*mState).Fail(owner, service, n, status, false);
}

void Firmware::FailCallsFrom(const Owner& owner, Service service, uint64_t n, EFI_STATUS status) {
  CallsOf(*mState).Fail(owner, service, n, status, true);
}

void Firmware::StopFailingCalls() {
  CallsOf(*mState).StopFailing();
}

void ServiceCalls::Make(FirmwareState& state) {
  for (unsigned owner = Owner::Host().Number(); owner < OwnerCount(); ++owner) {
    mTables[owner].Make(state, kFillers[owner]);
  }
}

void ServiceCalls::FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) {
  for (unsigned owner = Owner::Host().Number(); owner < OwnerCount(); ++owner) {
    mTables[owner].FollowConfigurationTable(table);
  }
}

void ServiceCalls::Fail(const Owner& owner, Service service, uint64_t n, EFI_STATUS status,
                        bool following) {
  if (n == 0) {
    Die("FailCall counts calls from 1");
  }
  if (owner == Owner::Core()) {
    Die("the core calls no services through a table, so FailCall cannot make them fail");
  }
  if (!kCanFail[static_cast<size_t>(service)]) {
    Die(std::string(ServiceName(service)) + " returns no status and cannot fail");
  }
  mFaults.push_back({owner, service, Calls(owner, service) + n, status, following});
}

std::optional<EFI_STATUS> ServiceCalls::FaultOf(const Owner& owner, Service service) const {
  const uint64_t call = Calls(owner, service);
  for (const Fault& fault : mFaults) {
    if (fault.owner == owner && fault.service == service &&
        (fault.call == call || (fault.following && fault.call < call))) {
      return fault.status;
    }
  }
  return std::nullopt;
}

ServiceCalls::Call::Call(unsigned owner, Service service)
    : mCalls(CallsOf(FirmwareState::Current())), mOuterCaller(mCalls.mCaller) {
  FirmwareState& state = FirmwareState::Current();
  const Owner caller = Owner::FromNumber(owner);
  if (!state.images.MayCall(caller)) {
    state.reports.AddMisuse(std::string(ServiceName(service)) + " was called by image '" +
                            caller.Name() + "', which is not loaded");
  }
  ++mCalls.mCalls[owner][static_cast<size_t>(service)];
  mRefusal = mCalls.FaultOf(caller, service);
  mCalls.mCaller = caller;
}

ServiceCalls::Call::~Call() {
  mCalls.mCaller = mOuterCaller;
}

}  // namespace tvq::host
