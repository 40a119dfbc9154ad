/** @file
  SMBIOS tables from where they are kept: a captured file, or an entry point and a table of their
  own.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_CAPTURE_H_
#define TVQ_PLATFORM_SMBIOS_CAPTURE_H_

#include "notes.h"
#include "table.h"

namespace tvqplatform {

enum class CaptureError : UINT8 {
  kNone,
  kEmpty,
  kNoTable,        ///< Neither an entry point nor a structure table.
  kNothingBehind,  ///< An entry point, and no table.
};

/// Why there is no table, as an English sentence without a full stop.
const CHAR8* CaptureErrorText(CaptureError error);

struct Capture {
  CaptureError Error = CaptureError::kNone;
  smbios::EntryPointKind Kind = smbios::EntryPointKind::kNone;
  SmbiosTable Table;  ///< Its structures lie in the bytes that were handed over.
  Notes Remarks;

  void Clear() {
    Error = CaptureError::kNone;
    Kind = smbios::EntryPointKind::kNone;
    Table = SmbiosTable();
    Remarks.Clear();
  }
};

/// The version that a bare table counts as.
inline constexpr UINT8 kBareTableMajor = 3;
inline constexpr UINT8 kBareTableMinor = 0;

/// Reads what `dmidecode --dump-bin` writes (a 32-bit or 64-bit entry point, and the table at the
/// offset that it states), or a bare table.
void ReadCapturedFile(Bytes file, Capture& capture);

/// Reads a table that stands apart from its entry point.
void ReadSeparateTable(Bytes entryPoint, Bytes structures, Capture& capture);

}  // namespace tvqplatform

#endif
