/*
 * What firmware does before it tries a boot option.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_START_BOOT_OPTION_H_
#define TVQ_TESTS_UNIT_PLATFORM_START_BOOT_OPTION_H_

#include <gtest/gtest.h>

#include "host/firmware/firmware.h"

extern "C" {
#include <Guid/EventGroup.h>
}

namespace tvq::test {

inline VOID EFIAPI OnNothing(EFI_EVENT, VOID*) {}

// Signals an event group.
inline void Signal(host::Firmware& machine, const EFI_GUID& group) {
  EFI_BOOT_SERVICES& services = *machine.BootServices();
  EFI_EVENT event = nullptr;
  ASSERT_EQ(
      services.CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnNothing, nullptr, &group, &event),
      EFI_SUCCESS);
  EXPECT_EQ(services.SignalEvent(event), EFI_SUCCESS);
  services.CloseEvent(event);
}

// Signals that the firmware is ready to boot.
inline void TryBootOption(host::Firmware& machine) {
  Signal(machine, gEfiEventReadyToBootGuid);
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_START_BOOT_OPTION_H_
