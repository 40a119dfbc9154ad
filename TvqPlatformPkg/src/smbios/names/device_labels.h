/** @file
  What the machine itself prints at its sockets and slots, beside the names that they have here.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_DEVICE_LABELS_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_DEVICE_LABELS_H_

#include "device_names.h"

namespace tvqplatform {

struct DeviceLabel {
  tvq::devices::Key Key;  ///< In the device path of the record.
  bool HasRecord;
  UINT16 Handle;
  CHAR8 Fqdd[kFqddSize];
  smbios::Text Text;  ///< The socket designation or the locator in the machine's own table.
  const CHAR8* Rule;  ///< What gave the name; null where the table was left as it is.
};

/// Room for as much of a label as a report shows, and its terminator.
inline constexpr UINTN kLabelSize = 48;
/// Copies the text of a label without outer blanks, or "-" where there is none.
void CopyLabel(const DeviceLabel* label, CHAR8 (&buffer)[kLabelSize]);

/// All sockets and slots, also those without a part. The texts stay in the machine's own table.
class DeviceLabels {
 public:
  DeviceLabels() = default;
  DeviceLabels(const DeviceLabels&) = delete;
  DeviceLabels& operator=(const DeviceLabels&) = delete;
  ~DeviceLabels();

  /// Of a table that the driver reads as it is. False: there is no memory.
  [[nodiscard]] bool Collect(Bytes table);
  /// Of one that was conformed.
  [[nodiscard]] bool Collect(const GrowingArray<NamedDevice>& devices, Bytes conformed);

  /// The label of the record with this device path, or null.
  const DeviceLabel* OfRecord(Bytes devicePath) const;
  /// The label that goes with an FQDD, or null.
  const DeviceLabel* OfFqdd(const CHAR16* fqdd) const;

  const GrowingArray<DeviceLabel>& All() const { return mLabels; }

 private:
  GrowingArray<DeviceLabel> mLabels;
};

}  // namespace tvqplatform

#endif
