/** @file
  Names for all processors and memory slots of a table, which stay with their sockets and slots
  whatever is put in and taken out.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "device_names.h"

#include <IndustryStandard/SmbiosFields.h>

#include "slot_place.h"
#include "socket_number.h"

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

constexpr smbios::Field<UINT8> kSocketDesignation = SMBIOS_FIELD(4, Socket);
constexpr smbios::Field<UINT8> kDeviceLocator = SMBIOS_FIELD(17, DeviceLocator);
constexpr smbios::Field<UINT8> kBankLocator = SMBIOS_FIELD(17, BankLocator);

NamedDevice Read(const Structure& structure) {
  NamedDevice device = {};
  const devices::Kind kind = devices::KindOf(structure);
  device.Where = structure;
  device.IsProcessor = structure.Type() == SMBIOS_TYPE_PROCESSOR_INFORMATION;
  device.HasRecord = kind == devices::Kind::kProcessor || kind == devices::Kind::kModule;
  device.CanBeRenamed =
      device.IsProcessor ? structure.Has(kSocketDesignation) : structure.Has(kDeviceLocator);
  device.Label = devices::NameOf(structure);
  device.Texts.Locator = WithoutOuterBlanks(device.Label);
  if (!device.IsProcessor) {
    device.Texts.Bank = WithoutOuterBlanks(structure.GetString(kBankLocator));
  }
  return device;
}

bool AreEqual(const CHAR8* left, const CHAR8* right) {
  return CompareMem(left, right, kSlotNameLength) == 0;
}

/// Numbers the processors of a table.
class Sockets {
 public:
  explicit Sockets(GrowingArray<NamedDevice>& devices) : mDevices(devices) {}

  [[nodiscard]] NamingResult Name() {
    for (NamedDevice& device : mDevices) {
      if (device.IsProcessor) {
        ReadNumber(device);
      }
    }
    for (NamedDevice& device : mDevices) {
      if (device.IsProcessor && !Number(device)) {
        return NamingResult::kTooManyProcessors;
      }
    }
    return NamingResult::kNamed;
  }

 private:
  void ReadNumber(NamedDevice& device) {
    const SocketNumber number = NumberOfSocket(device.Texts.Locator);
    device.Number = number.Value;
    device.Rule = number.Rule;
    if (number) {
      mGivenBy[number.Value]++;
    }
  }

  [[nodiscard]] bool Number(NamedDevice& device) {
    if (device.Rule != nullptr && mGivenBy[device.Number] == 1) {
      device.IsWellNamed = device.Label.Length() > devices::kSocketDigit &&
                           device.Label[devices::kSocketDigit] == SocketCharacter(device.Number);
      return true;
    }
    if (device.Rule != nullptr) {
      NoteConflict(device);
    }
    while (mNext <= kHighestSocket && mGivenBy[mNext] != 0) {
      mNext++;
    }
    device.Number = mNext++;
    device.Rule = kInOrder;
    return device.Number <= kHighestSocket;
  }

  /// Another text gives the same number: neither socket takes it.
  void NoteConflict(NamedDevice& device) const {
    AsciiSPrint(device.Wanted, sizeof(device.Wanted), "%d", device.Number);
    device.Conflict = NameConflict::kSameName;
    for (const NamedDevice& other : mDevices) {
      const SocketNumber number = NumberOfSocket(other.Texts.Locator);
      if (other.IsProcessor && other.Where.Offset() != device.Where.Offset() && number &&
          number.Value == device.Number) {
        device.Other = other.Where.Handle();
        return;
      }
    }
  }

  GrowingArray<NamedDevice>& mDevices;
  UINT32 mGivenBy[kHighestSocket + 1] = {};  ///< How many texts give the number.
  UINT32 mNext = 1;
};

/// Names the memory slots of a table.
class Slots {
 public:
  explicit Slots(GrowingArray<NamedDevice>& devices) : mDevices(devices) {}

  [[nodiscard]] NamingResult Name() {
    for (NamedDevice& device : mDevices) {
      if (!device.IsProcessor) {
        const SlotName name = NameByRule(device.Texts);
        CopyMem(device.Wanted, name.Text, sizeof(device.Wanted));
        device.Rule = name.Rule;
        FindConflict(device);
      }
    }
    TakeRulesNames();
    // A name that was computed before stays. The texts that only one slot has come before those
    // that slots share, whose order may be another once parts were taken out.
    const bool areNamed = TakeComputedNames(Turn::kComputedBefore) &&
                          TakeComputedNames(Turn::kFirstOfTexts) &&
                          TakeComputedNames(Turn::kOthers);
    return areNamed ? NamingResult::kNamed : NamingResult::kTooManyModules;
  }

 private:
  enum class Turn : UINT8 {
    kComputedBefore,
    kFirstOfTexts,
    kOthers
  };

  bool IsItsTurn(const NamedDevice& device, Turn turn) const {
    switch (turn) {
      case Turn::kComputedBefore:
        return HasComputedName(device.Texts) && !mIsTaken[FirstComputedName(device.Texts)];
      case Turn::kFirstOfTexts:
        return device.Conflict != NameConflict::kSameTexts;
      case Turn::kOthers:
        break;
    }
    return true;
  }

  /// Compares a slot with those before it.
  void FindConflict(NamedDevice& device) const {
    for (NamedDevice& earlier : mDevices) {
      if (&earlier == &device) {
        return;
      }
      if (earlier.IsProcessor || !AreEqual(earlier.Wanted, device.Wanted)) {
        continue;
      }
      if (earlier.Texts == device.Texts) {
        Note(device, NameConflict::kSameTexts, earlier);
        return;
      }
      if (device.Wanted[0] != '\0') {
        Note(device, NameConflict::kSameName, earlier);
        Note(earlier, NameConflict::kSameName, device);
      }
    }
  }

  static void Note(NamedDevice& device, NameConflict conflict, const NamedDevice& other) {
    if (device.Conflict == NameConflict::kNone || conflict == NameConflict::kSameTexts) {
      device.Conflict = conflict;
      device.Other = other.Where.Handle();
    }
  }

  /// A slot that no rule names stays without a name.
  void TakeRulesNames() {
    for (NamedDevice& device : mDevices) {
      if (!device.IsProcessor && device.Conflict == NameConflict::kNone) {
        CopyMem(device.Name, device.Wanted, sizeof(device.Name));
        device.IsWellNamed = IsReadFrom(device);
      }
    }
  }

  /// Whether the driver reads the name from the structure as it is.
  static bool IsReadFrom(const NamedDevice& device) {
    const devices::LocatorKey key = devices::KeyOfLocator(device.Where);
    return CompareMem(key.Characters, device.Name, kSlotNameLength) == 0;
  }

  /// Names the slots without a name whose turn it is.
  [[nodiscard]] bool TakeComputedNames(Turn turn) {
    for (NamedDevice& device : mDevices) {
      if (!device.IsProcessor && device.Name[0] == '\0' && IsItsTurn(device, turn) &&
          !TakeComputedName(device)) {
        return false;
      }
    }
    return true;
  }

  [[nodiscard]] bool TakeComputedName(NamedDevice& device) {
    const UINT32 first = FirstComputedName(device.Texts);
    for (UINT32 i = 0; i < kComputedNames; i++) {
      const UINT32 index = (first + i) % kComputedNames;
      if (!mIsTaken[index]) {
        mIsTaken[index] = true;
        PrintComputedName(index, device.Name);
        device.Rule = kComputed;
        device.IsWellNamed = HasComputedName(device.Texts) && IsReadFrom(device);
        return true;
      }
    }
    return false;
  }

  GrowingArray<NamedDevice>& mDevices;
  bool mIsTaken[kComputedNames] = {};
};

}  // namespace

bool GetsName(const Structure& structure) {
  switch (structure.Type()) {
    case SMBIOS_TYPE_PROCESSOR_INFORMATION:
      return structure.Has(kSocketDesignation);
    case SMBIOS_TYPE_MEMORY_DEVICE:
      return devices::KindOf(structure) != devices::Kind::kHbm;
    default:
      return false;
  }
}

void TakeFqddOfName(NamedDevice& device) {
  device.IsFqddKept = false;
  if (device.IsProcessor) {
    AsciiSPrint(device.Fqdd, sizeof(device.Fqdd), "CPU.Socket.%d", device.Number);
  } else {
    AsciiSPrint(device.Fqdd, sizeof(device.Fqdd), "DIMM.Socket.%a", device.Name);
  }
}

NamingResult NameDevices(Bytes table, GrowingArray<NamedDevice>& devices) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (GetsName(structure) && !devices.Append(Read(structure))) {
      return NamingResult::kOutOfMemory;
    }
  }
  NamingResult result = Sockets(devices).Name();
  if (result == NamingResult::kNamed) {
    result = Slots(devices).Name();
  }
  for (NamedDevice& device : devices) {
    TakeFqddOfName(device);
  }
  return result;
}

}  // namespace tvqplatform
