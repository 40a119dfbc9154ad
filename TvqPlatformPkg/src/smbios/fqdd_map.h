/** @file
  The OEM structures of type 225, which name devices by their handles.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_FQDD_MAP_H_
#define TVQ_PLATFORM_SMBIOS_FQDD_MAP_H_

#include "conform.h"

namespace tvqplatform {

/// What the structures of type 225 of a table are good for. Deliberate: the usable ones stay as they
/// are, whatever they call a device.
class FqddMap {
 public:
  FqddMap() = default;
  FqddMap(const FqddMap&) = delete;
  FqddMap& operator=(const FqddMap&) = delete;

  /// Notes at each device what the usable ones say of it, and gives it its FQDD: that one, or the
  /// one of its name. False: there is no memory.
  [[nodiscard]] bool Read(Bytes table, GrowingArray<NamedDevice>& devices);

  /// Whether the driver can use the structure: it has the one format, and every group names an
  /// existing string and a processor or memory device. Any other one ends its start, or is not
  /// about devices.
  bool IsUsable(const smbios::Structure& map) const;

  bool HasUsable() const { return mHasUsable; }
  bool HasUnusable() const { return mHasUnusable; }

 private:
  [[nodiscard]] bool CollectHandles(Bytes table);
  bool IsDevice(UINT16 handle) const;

  OwnedArray<UINT16> mHandles;  ///< Of all processors and memory devices.
  bool mHasUsable = false;
  bool mHasUnusable = false;
};

/// What the table's structures of type 225 say of a handle, to the driver; none where they say
/// nothing.
smbios::Text FqddInTable(Bytes table, UINT16 handle);

/// Adds structures with the FQDDs of all devices with a record of which the table says none, before
/// the first end-of-table structure or else at the end, and notes a change for each. Where there is
/// no such device, it is one structure without groups: with it TVQSMBIOS builds the system's
/// record.
[[nodiscard]] ConformResult AddFqddMap(const GrowingArray<NamedDevice>& devices,
                                       GrowingArray<UINT8>& table,
                                       GrowingArray<TableChange>& changes);

}  // namespace tvqplatform

#endif
