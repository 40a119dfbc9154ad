/*
 * Rules about system slots.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <map>
#include <tuple>

#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

constexpr auto kSegment = SMBIOS_FIELD(9, SegmentGroupNum);
constexpr auto kBus = SMBIOS_FIELD(9, BusNum);
constexpr auto kDeviceFunction = SMBIOS_FIELD(9, DevFuncNum);

// What a slot that is on no PCI bus has in these fields (SMBIOS 7.10.8).
constexpr unsigned kNoSegment = 0xFFFF;
constexpr unsigned kNoBus = 0xFF;
constexpr unsigned kNoDevice = 0xFF;

void CheckAddress(const Subject& subject, Report& report) {
  std::map<std::tuple<unsigned, unsigned, unsigned>, const Structure*> owners;
  for (const Structure* slot : subject.SeenOfType(kSlot)) {
    const unsigned segment = slot->Get(kSegment);
    const unsigned bus = slot->Get(kBus);
    const unsigned device = slot->Get(kDeviceFunction);
    if (!slot->Has(kDeviceFunction) || segment == kNoSegment || bus == kNoBus ||
        device == kNoDevice) {
      continue;
    }
    const auto [owner, isNew] = owners.emplace(std::tuple(segment, bus, device), slot);
    if (!isNew) {
      report.At(*slot,
                fmt::format("slot {} is at {:04x}:{:02x}:{:02x}.{}, as slot {} of {} is: who looks "
                            "for the slot of a device finds that one",
                            Quote(slot->TextOrEmpty(SMBIOS_FIELD(9, SlotDesignation))), segment,
                            bus, device >> 3, device & 7,
                            Quote(owner->second->TextOrEmpty(SMBIOS_FIELD(9, SlotDesignation))),
                            HandleName(owner->second->Handle())),
                "write the slot's own address, or FFh in all its bytes where it has none");
    }
  }
}

constexpr Rule kRules[] = {
    {"slot-address", Severity::kWarning, kBoth, "Two slots have the same PCI address.",
     "Segment, bus, device and function at 0Dh tell which slot a device is in. Of two slots with "
     "one address readers find the first, and so does a slot query of the driver. Slots that are "
     "on "
     "no PCI bus, or whose address firmware does not know, have FFh in these bytes.",
     "Write the slot's own address, or FFh.",
     "[slot like @slot1]\ndesignation = \"Slot 2\"\nid = 2\nsegment = 0\nbus = 0x17\n"
     "device-function = 0\n[slot like @slot1]\ndesignation = \"Slot 3\"\nid = 3\nsegment = 0\n"
     "bus = 0x17\ndevice-function = 0\n",
     CheckAddress},
};

}  // namespace

Rules SlotRules() {
  return kRules;
}

}  // namespace tvq::lint
