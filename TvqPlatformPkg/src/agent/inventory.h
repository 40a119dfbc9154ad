/** @file
  The inventory of all device records, collected through the protocols on their handles.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_INVENTORY_H_
#define TVQ_PLATFORM_AGENT_INVENTORY_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

#include "../growing_array.h"

namespace tvqplatform {

/// What the agent keeps of each device: the inventory, the configuration and the end blob.
inline constexpr UINTN kBlobCount = TVQ_SLOT_TERMINATOR;

/// Everything about one device. Texts and blobs are blocks of pool.
struct DeviceInventory {
  bool HasDevicePath;
  UINT8 DevicePath[sizeof(TVQ_DEVICE_PATH)];
  UINT8 DeviceType;  ///< TVQ_DEVICE_TYPE_*, from the device path.
  CHAR16* Name;      ///< Null when the entry gave none.
  CHAR16* Fqdd;
  TVQ_INVENTORY_PROTOCOL* Protocol;  ///< The firmware's; null when the handle has none.
  EFI_STATUS IdentityStatus;
  TVQ_IDENTITY Identity;  ///< Zero when Identify failed.
  EFI_STATUS GetStatus;
  TVQ_DATA* Blobs;  ///< TVQ_SLOT_COUNT slots, or null when Get failed.
};

/// The bytes of a slot; empty when there is no blob.
tvq::Span<const UINT8> BlobBytes(const DeviceInventory& device, UINTN slot);

/// Texts of the inventory blob; empty when it has none. At most `size` - 1 characters.
void CopyMarketingName(const DeviceInventory& device, CHAR8* buffer, UINTN size);
void CopySerialNumber(const DeviceInventory& device, CHAR8* buffer, UINTN size);

/// The class that Identify tells, in words.
const CHAR8* ClassInWords(const DeviceInventory& device);

/// The devices in the order in which their records were installed.
class Inventory {
 public:
  Inventory() = default;
  Inventory(const Inventory&) = delete;
  Inventory& operator=(const Inventory&) = delete;
  ~Inventory();

  /// EFI_SUCCESS also when there is no record; EFI_OUT_OF_RESOURCES when not all were collected.
  [[nodiscard]] EFI_STATUS Collect();

  UINTN Size() const { return mDevices.Size(); }
  const DeviceInventory& operator[](UINTN i) const { return mDevices[i]; }
  const DeviceInventory* begin() const { return mDevices.begin(); }
  const DeviceInventory* end() const { return mDevices.end(); }

  /// Records whose driver was unloaded. Nobody may ask them, so they are not in the inventory.
  UINTN LeftBehind() const { return mLeftBehind; }

 private:
  GrowingArray<DeviceInventory> mDevices;
  UINTN mLeftBehind = 0;
};

}  // namespace tvqplatform

#endif
