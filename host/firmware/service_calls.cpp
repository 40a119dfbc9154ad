/*
 * Every owner's own copy of the system table. A service gets no hint of its caller, so each owner
 * has entry points of its own, made from the list in services.def.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/service_calls.h"

#include <array>
#include <string>
#include <utility>

#include "host/firmware/host_interface.h"
#include "host/firmware/image_registry.h"
#include "host/firmware/firmware_state.h"

namespace tvq::host {
namespace {

struct ServiceInfo {
  const char* name;
  bool canFail;
};

constexpr ServiceInfo kServices[] = {
#define BOOT_SERVICE(name, parameters, arguments) {#name, true},
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) {#name, false},
#define BOOT_SERVICE_LIST(name, handle) {#name, true},
#define RUNTIME_SERVICE(name, parameters, arguments) {#name, true},
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) {#name, false},
#include "host/firmware/services.def"
};
static_assert(std::size(kServices) == static_cast<size_t>(Service::kCount));

EFI_STATUS Unsupported(Service service) {
  FirmwareState::Current().reports.AddMisuse(std::string(ServiceName(service)) +
                                             " was called, which this machine does not have");
  return EFI_UNSUPPORTED;
}

// GUIDs and interfaces of a call with variable arguments, up to its end. They are passed on as a
// fixed number of arguments.
struct InterfaceList {
  static constexpr size_t kMaxItems = 32;
  void* items[kMaxItems] = {};
  size_t count = 0;

  bool Add(void* item) {
    if (count == kMaxItems) {
      return false;
    }
    items[count++] = item;
    return true;
  }
};

#define TVQ_4_ITEMS(list, n) \
  (list).items[n], (list).items[(n) + 1], (list).items[(n) + 2], (list).items[(n) + 3]
#define TVQ_ALL_ITEMS(list)                                                                       \
  TVQ_4_ITEMS(list, 0), TVQ_4_ITEMS(list, 4), TVQ_4_ITEMS(list, 8), TVQ_4_ITEMS(list, 12),        \
      TVQ_4_ITEMS(list, 16), TVQ_4_ITEMS(list, 20), TVQ_4_ITEMS(list, 24), TVQ_4_ITEMS(list, 28), \
      nullptr

// The entry points of one owner. Forward: a service that may be missing; Pass: one that is always
// there.
template <unsigned kOwner>
struct Entry {
#define TVQ_FORWARD(table, name, parameters, arguments)                         \
  static EFI_STATUS EFIAPI name parameters {                                    \
    const ServiceCalls::Call call(kOwner, Service::name);                       \
    if (call.Refusal().has_value()) {                                           \
      return *call.Refusal();                                                   \
    }                                                                           \
    const auto service = FirmwareState::Current().table.name;                   \
    return service != nullptr ? service arguments : Unsupported(Service::name); \
  }
#define TVQ_PASS(table, type, name, parameters, arguments) \
  static type EFIAPI name parameters {                     \
    const ServiceCalls::Call call(kOwner, Service::name);  \
    return FirmwareState::Current().table.name arguments;  \
  }
#define BOOT_SERVICE(name, parameters, arguments) \
  TVQ_FORWARD(bootServices, name, parameters, arguments)
#define RUNTIME_SERVICE(name, parameters, arguments) \
  TVQ_FORWARD(runtimeServices, name, parameters, arguments)
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) \
  TVQ_PASS(bootServices, type, name, parameters, arguments)
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) \
  TVQ_PASS(runtimeServices, type, name, parameters, arguments)
#define BOOT_SERVICE_LIST(name, handle_parameter)                                             \
  static EFI_STATUS EFIAPI name(handle_parameter, ...) {                                      \
    const ServiceCalls::Call call(kOwner, Service::name);                                     \
    if (call.Refusal().has_value()) {                                                         \
      return *call.Refusal();                                                                 \
    }                                                                                         \
    InterfaceList list;                                                                       \
    bool complete = true;                                                                     \
    VA_LIST arguments;                                                                        \
    VA_START(arguments, handle);                                                              \
    void* guid;                                                                               \
    while (complete && (guid = VA_ARG(arguments, void*)) != nullptr) {                        \
      complete = list.Add(guid) && list.Add(VA_ARG(arguments, void*));                        \
    }                                                                                         \
    VA_END(arguments);                                                                        \
    return complete ? FirmwareState::Current().bootServices.name(handle, TVQ_ALL_ITEMS(list)) \
                    : Unsupported(Service::name);                                             \
  }
#include "host/firmware/services.def"

  static void Fill(EFI_BOOT_SERVICES& boot, EFI_RUNTIME_SERVICES& runtime) {
#define BOOT_SERVICE(name, parameters, arguments) boot.name = name;
#define BOOT_SERVICE_VALUE(type, name, parameters, arguments) boot.name = name;
#define BOOT_SERVICE_LIST(name, handle_parameter) boot.name = name;
#define RUNTIME_SERVICE(name, parameters, arguments) runtime.name = name;
#define RUNTIME_SERVICE_VALUE(type, name, parameters, arguments) runtime.name = name;
#include "host/firmware/services.def"
  }
};

using FillTables = void (*)(EFI_BOOT_SERVICES&, EFI_RUNTIME_SERVICES&);

template <unsigned... kOwners>
constexpr std::array<FillTables, sizeof...(kOwners)> AllFillers(
    std::integer_sequence<unsigned, kOwners...>) {
  return {Entry<kOwners>::Fill...};
}

constexpr auto kFillers = AllFillers(std::make_integer_sequence<unsigned, Owner::kMaxOwners>());

unsigned OwnerCount() {
  return Owner::Host().Number() + 1 + static_cast<unsigned>(LinkedImages().size());
}

void UpdateChecksum(EFI_TABLE_HEADER& header) {
  header.CRC32 = 0;
  header.CRC32 = gTvqHostCore.Crc32(&header, header.HeaderSize);
}

}  // namespace

const char* ServiceName(Service service) {
  return kServices[static_cast<size_t>(service)].name;
}

void ServiceCalls::MakeTables(FirmwareState& state) {
  for (unsigned owner = Owner::Host().Number(); owner < OwnerCount(); ++owner) {
    Tables& tables = mTables[owner];
    tables.boot = state.bootServices;
    tables.runtime = state.runtimeServices;
    kFillers[owner](tables.boot, tables.runtime);
    tables.system = state.systemTable;
    tables.system.BootServices = &tables.boot;
    tables.system.RuntimeServices = &tables.runtime;
    UpdateChecksum(tables.boot.Hdr);
    UpdateChecksum(tables.runtime.Hdr);
    UpdateChecksum(tables.system.Hdr);
  }
}

void ServiceCalls::FollowConfigurationTable(const EFI_SYSTEM_TABLE& table) {
  for (unsigned owner = Owner::Host().Number(); owner < OwnerCount(); ++owner) {
    EFI_SYSTEM_TABLE& own = mTables[owner].system;
    own.NumberOfTableEntries = table.NumberOfTableEntries;
    own.ConfigurationTable = table.ConfigurationTable;
    UpdateChecksum(own.Hdr);
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
  if (!kServices[static_cast<size_t>(service)].canFail) {
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
    : mCalls(FirmwareState::Current().calls), mOuterCaller(mCalls.mCaller) {
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

VOID TvqHostSystemTableChanged(const EFI_SYSTEM_TABLE* SystemTable) {
  tvq::host::FirmwareState::Current().calls.FollowConfigurationTable(*SystemTable);
}
