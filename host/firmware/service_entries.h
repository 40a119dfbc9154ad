/*
 * The entry points of a table of services, made from the list in services.def.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_SERVICE_ENTRIES_H_
#define TVQ_HOST_FIRMWARE_SERVICE_ENTRIES_H_

#include "host/firmware/firmware_state.h"
#include "host/firmware/service_tables.h"

namespace tvq::host {

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

// The entry points of a table. Policy::Call is made at the start of each call, lives to its end, and
// says what the call returns instead of being carried out. Forward: a service that may be missing;
// Pass: one that is always there.
template <typename Policy>
struct ServiceEntries {
#define TVQ_FORWARD(table, name, parameters, arguments)                         \
  static EFI_STATUS EFIAPI name parameters {                                    \
    const typename Policy::Call call(Service::name);                            \
    if (call.Refusal().has_value()) {                                           \
      return *call.Refusal();                                                   \
    }                                                                           \
    const auto service = FirmwareState::Current().table.name;                   \
    return service != nullptr ? service arguments : Unsupported(Service::name); \
  }
#define TVQ_PASS(table, type, name, parameters, arguments) \
  static type EFIAPI name parameters {                     \
    const typename Policy::Call call(Service::name);       \
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
    const typename Policy::Call call(Service::name);                                          \
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

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_SERVICE_ENTRIES_H_
