/** @file
  Conforms an SMBIOS table, so that TVQSMBIOS makes a record for every device in it.

  TVQSMBIOS tells processors apart by the fourth character of the socket designation and modules
  by three characters of the locator, and it builds nothing without OEM structures of type 225. The
  firmware refuses two records with equal device paths, and building ends there. So every socket
  and slot gets a name of its own that fits there, whether a part is in it or not, and an FQDD.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_CONFORM_H_
#define TVQ_PLATFORM_SMBIOS_CONFORM_H_

#include "names/device_names.h"
#include "table.h"

namespace tvqplatform {

enum class ConformResult : UINT8 {
  kUnchanged,  ///< The table needs nothing.
  kChanged,
  // Refused; the table stays as it was.
  kTooLarge,
  kTooManyProcessors,
  kTooManyModules,
  kTooManyStrings,
  kNoUnusedHandle,
  kOutOfMemory,
};

inline bool IsRefused(ConformResult result) {
  return result > ConformResult::kChanged;
}

/// The result as an English sentence without a full stop.
const CHAR8* ConformResultText(ConformResult result);

enum class ChangedField : UINT8 {
  kSocketDesignation,
  kDeviceLocator,
  kSameName,      ///< About is the device whose texts would give the same name, which is New.
  kSameTexts,     ///< About is the slot before it with the same texts.
  kFqdd,          ///< A group; About is the handle of the device.
  kNewStructure,  ///< A new structure without groups.
  kInactive,      ///< A structure of type 225 that the driver cannot use.
  kMissingEnd,    ///< The end of a structure that was cut off.
};

/// One change.
struct TableChange {
  UINT8 Type = 0;
  UINT16 Handle = 0;
  ChangedField Field = ChangedField::kFqdd;
  UINT16 About = 0;
  smbios::Text Old = {};  ///< In the original table; no text where the field named none.
  CHAR8 New[16] = {};
};

/// Whether the change is more than a device's first name or FQDD: two devices with one name, an FQDD
/// that is replaced, a structure that is ended or made inactive.
bool IsRemarkable(const TableChange& change);

/// Describes the change in one line: structure, field, old and new text.
void FormatChange(const TableChange& change, CHAR8* buffer, UINTN size);

/// A conformed copy of a table. The original has to stay, also for the texts of the changes.
class ConformedTable {
 public:
  ConformedTable() = default;
  ConformedTable(const ConformedTable&) = delete;
  ConformedTable& operator=(const ConformedTable&) = delete;
  ~ConformedTable();

  [[nodiscard]] ConformResult Conform(Bytes original);

  /// The conformed table; the original unless the result was kChanged.
  Bytes Structures() const { return mStructures; }
  const GrowingArray<TableChange>& Changes() const { return mChanges; }
  /// All sockets and slots with their names; none after a refusal.
  const GrowingArray<NamedDevice>& Devices() const { return mDevices; }

 private:
  [[nodiscard]] ConformResult Build(Bytes original);

  Bytes mStructures;
  GrowingArray<UINT8> mBytes;
  GrowingArray<TableChange> mChanges;
  GrowingArray<NamedDevice> mDevices;
};

}  // namespace tvqplatform

#endif
