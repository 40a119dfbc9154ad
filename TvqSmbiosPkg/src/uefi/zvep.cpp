/** @file
  Device-list entries.

  The entries of processors, modules and the system are one family: what tells them apart stands in
  their Kind.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "zvep.h"

#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "../text.h"
#include "containing.h"

namespace tvq {

namespace {

using devices::kLocatorLength;

/// A module's three locator characters, terminated; zeros when it has no locator.
struct Locator {
  explicit Locator(const TVQ_DEVICE& device) {
    const CHAR16* locator = device.dimm.DeviceLocator;
    for (UINTN i = 0; i < kLocatorLength; i++) {
      Text[i] = locator == nullptr ? CHAR16{0} : locator[i];
    }
    Text[kLocatorLength] = 0;
  }
  CHAR16 Text[kLocatorLength + 1];
};

/// What tells the devices of a kind apart.
enum class Instance : UINT8 {
  kCpuSocket,
  kLocator,
  kSystemSocket
};

/// A kind of device. The print sizes are deliberate limits of their own, smaller than the buffers.
struct Kind {
  Instance ToldBy;
  UINT8 InstanceSize;  ///< Bytes behind the device type in a path that tell the instance.
  char NamePrefix[8];
  char FqddPrefix[17];
  UINT8 NamePrintSize;     ///< Bytes.
  UINT8 FqddBufferLength;  ///< Characters.
  UINT8 FqddPrintSize;     ///< Bytes.
  UINT16 AssertionLine;
};

constexpr UINTN kNameBufferLength = 15;

constexpr Kind kCpu = {Instance::kCpuSocket, 1, "CPU ", "CPU.Socket.", 14, 16, 32, 63};
constexpr Kind kDimm = {
    Instance::kLocator, kLocatorLength * sizeof(CHAR16), "DIMM ", "DIMM.Socket.", 20, 16, 32, 156};
constexpr Kind kSystem = {
    Instance::kSystemSocket, 1, "SYSTEM ", "System.Embedded.", 14, 32, 63, 272};

UINT8 SocketOf(const Kind& kind, const TVQ_DEVICE& device) {
  return kind.ToldBy == Instance::kCpuSocket ? device.cpu.Socket : device.system.Socket;
}

/// The record's own FQDD; null when it has none. The system never has one.
const CHAR16* OwnFqdd(const Kind& kind, const TVQ_DEVICE& device) {
  switch (kind.ToldBy) {
    case Instance::kCpuSocket:
      return device.cpu.FQDD;
    case Instance::kLocator:
      return device.dimm.FQDD;
    default:
      return nullptr;
  }
}

/// Tells whether the bytes behind the device type in a path are those of the device.
bool IsInstance(const Kind& kind, const TVQ_DEVICE& device, const UINT8* bytes) {
  if (kind.ToldBy != Instance::kLocator) {
    return bytes[0] == SocketOf(kind, device);
  }
  const Locator locator(device);
  return CompareMem(bytes, locator.Text, kind.InstanceSize) == 0;
}

/// The prefix, and the socket or the locator behind it. Deliberate: names are made with decimal
/// numbers, FQDDs with hexadecimal ones.
void WriteName(const Kind& kind, const TVQ_DEVICE& device, WideText text, const char* prefix,
               UINT8 base) {
  text.Append(prefix);
  if (kind.ToldBy == Instance::kLocator) {
    text.Append(Locator(device).Text);
  } else {
    text.AppendNumber(SocketOf(kind, device), base);
  }
}

void WriteFqdd(const Kind& kind, const TVQ_DEVICE& device, WideText text) {
  const CHAR16* own = OwnFqdd(kind, device);
  if (own != nullptr) {
    text.Append(own);
  } else {
    WriteName(kind, device, text, kind.FqddPrefix, 16);
  }
}

UINTN LengthOf(const EFI_DEVICE_PATH_PROTOCOL* node) {
  return static_cast<UINTN>(node->Length[0] | (node->Length[1] << 8));
}

/// Tells whether the node is the one of the entry's device. A node that ends before the last byte
/// that is compared is not; what stands behind that byte does not matter.
bool IsDeviceOf(const Kind& kind, const TVQ_DEVICE& device, const EFI_DEVICE_PATH_PROTOCOL* path) {
  if (path->Type != HARDWARE_DEVICE_PATH || path->SubType != HW_VENDOR_DP ||
      LengthOf(path) < OFFSET_OF(TVQ_DEVICE_PATH, Data) + 1 + kind.InstanceSize) {
    return false;
  }
  const auto* node = reinterpret_cast<const TVQ_DEVICE_PATH*>(path);
  return CompareMem(&node->Vendor.Guid, &gTvqDevicePathVendorGuid, sizeof(EFI_GUID)) == 0 &&
         node->Data[0] == device.generic.DeviceType && IsInstance(kind, device, node->Data + 1);
}

[[nodiscard]] EFI_STATUS DeviceName(const Kind& kind, ZVEP_PROTOCOL* interface,
                                    EFI_DEVICE_PATH_PROTOCOL* devicePath, const CHAR8* language,
                                    CHAR16** name, CHAR16** fqdd) {
  if (interface == nullptr || devicePath == nullptr || language == nullptr || name == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const auto* entry =
      Containing<ZVEP_ENTRY>(interface, OFFSET_OF(ZVEP_ENTRY, Interface), ZVEP_ENTRY_SIGNATURE,
                             {"src/uefi/zvep", kind.AssertionLine});
  if (entry == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (!IsDeviceOf(kind, entry->Device, devicePath)) {
    return EFI_UNSUPPORTED;
  }

  auto nameText = PoolPtr<CHAR16>::Zeroed(kNameBufferLength);
  if (!nameText) {
    return EFI_OUT_OF_RESOURCES;
  }
  WriteName(kind, entry->Device, {nameText.Get(), kind.NamePrintSize / sizeof(CHAR16)},
            kind.NamePrefix, 10);
  if (fqdd != nullptr) {
    auto fqddText = PoolPtr<CHAR16>::Zeroed(kind.FqddBufferLength);
    if (!fqddText) {
      return EFI_OUT_OF_RESOURCES;
    }
    WriteFqdd(kind, entry->Device, {fqddText.Get(), kind.FqddPrintSize / sizeof(CHAR16)});
    *fqdd = fqddText.Release();
  }
  *name = nameText.Release();
  return EFI_SUCCESS;
}

/// The member of the family that answers for a kind, deliberately in any language.
template <const Kind& kKind>
EFI_STATUS EFIAPI GetDeviceName(ZVEP_PROTOCOL* This, EFI_DEVICE_PATH_PROTOCOL* DevicePath,
                                CHAR8* Language, CHAR16** Name, CHAR16** Fqdd) {
  return DeviceName(kKind, This, DevicePath, Language, Name, Fqdd);
}

EFI_STATUS EFIAPI GetDeviceData(ZVEP_PROTOCOL*) {
  return EFI_UNSUPPORTED;
}

/// A new entry with a copy of the device part.
ZVEP_ENTRY* NewEntry(const TVQ_DEVICE* device) {
  if (device == nullptr) {
    return nullptr;
  }
  auto* entry = static_cast<ZVEP_ENTRY*>(AllocateZeroPool(sizeof(ZVEP_ENTRY)));
  if (entry != nullptr) {
    entry->Signature = ZVEP_ENTRY_SIGNATURE;
    CopyMem(&entry->Device, device, sizeof(entry->Device));
  }
  return entry;
}

ZVEP_PROTOCOL* FillInterface(ZVEP_ENTRY* entry, ZVEP_GET_DEVICE_NAME getDeviceName) {
  if (entry == nullptr) {
    return nullptr;
  }
  (void)ZvAsciiStrnCpyS(entry->Languages, sizeof(entry->Languages), "en-US",
                        sizeof(entry->Languages));
  entry->Interface.GetDeviceName = getDeviceName;
  entry->Interface.GetDeviceData = GetDeviceData;
  entry->Interface.SupportedLanguages = entry->Languages;
  return reinterpret_cast<ZVEP_PROTOCOL*>(reinterpret_cast<UINT8*>(entry) +
                                          OFFSET_OF(ZVEP_ENTRY, Interface));
}

}  // namespace

ZVEP_PROTOCOL* MakeCPUZVEP(const TVQ_DEVICE* Device) {
  ZVEP_ENTRY* entry = NewEntry(Device);
  if (entry != nullptr) {
    const TVQ_CPU& cpu = entry->Device.cpu;
    Logger("MakeCPUZVEP")("CPU Info: Socket %d MaxSpeed %d CoreCount %d\n", cpu.Socket,
                          cpu.MaxSpeed, cpu.CoreCount);
  }
  return FillInterface(entry, GetDeviceName<kCpu>);
}

ZVEP_PROTOCOL* MakeDIMMZVEP(const TVQ_DEVICE* Device) {
  return FillInterface(NewEntry(Device), GetDeviceName<kDimm>);
}

ZVEP_PROTOCOL* MakeSYSTEMZVEP(const TVQ_DEVICE* Device) {
  return FillInterface(NewEntry(Device), GetDeviceName<kSystem>);
}

}  // namespace tvq
