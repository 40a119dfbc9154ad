/** @file
  Named attributes that the driver answers through the platform services table.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_ATTRIBUTES_H_
#define TVQ_ATTRIBUTES_H_

///
/// "zorv.server". The value is the address of a new CHAR16 text, which the caller frees with
/// FreePool. EFI_INVALID_PARAMETER: no such name, or no such text in the table; the system's name is
/// also withheld where a text of the OEM strings (SMBIOS 7.12) that is looked at begins with '9'.
/// EFI_NOT_FOUND: the table has not exactly one system structure, its structures could not be
/// collected for lack of memory, or the driver was unloaded. EFI_OUT_OF_RESOURCES: no memory for a
/// text.
///
#define TVQ_NAMESPACE_SERVER             L"zorv.server"
#define TVQ_ATTRIBUTE_SERVICE_TAG        L"SMBIOSServiceTagString"
#define TVQ_ATTRIBUTE_SYSTEM_NAME        L"SMBIOSSystemNameString"

///
/// "zorv.smbios.pci". The value is the address of the caller's SMBIOS_SLOT_QUERY, completed in
/// place. EFI_NOT_FOUND: no such name, or nothing matched. EFI_INVALID_PARAMETER: there is no query.
/// EFI_BAD_BUFFER_SIZE: the driver was unloaded.
///
#define TVQ_NAMESPACE_PCI                L"zorv.smbios.pci"
#define TVQ_ATTRIBUTE_PCI_SLOT_INFO      L"SMBIOSPCISlotInfo"
#define TVQ_ATTRIBUTE_SLOT_ID            L"SMBIOSSLOTID"

///
/// "zorv.smbios.bios". The value is the address of a new SMBIOS_BIOS_INFO, which the caller frees
/// with FreePool. EFI_NOT_FOUND: no such name, or the driver was unloaded. EFI_INVALID_PARAMETER:
/// there is no place for the value. EFI_OUT_OF_RESOURCES: memory ran out.
///
#define TVQ_NAMESPACE_BIOS               L"zorv.smbios.bios"
#define TVQ_ATTRIBUTE_BIOS_INFO          L"SMBIOSBIOSInfo"

#define SMBIOS_SLOT_ID_NONE  0xFFFF

///
/// A query for the slot or onboard device at a PCI address.
///
typedef struct {
  UINT64    Bus;                ///< In: PCI bus number.
  UINT64    Device;             ///< In: PCI device number; the low 6 bits count.
  UINT64    Function;           ///< In: PCI function number; the low 2 bits count.
  UINT16    SlotId;             ///< Out: slot ID, the string number of an onboard device's
                                ///< reference designation, or SMBIOS_SLOT_ID_NONE.
  UINT8     OnBoard;            ///< Out: 1 for an onboard device (SMBIOS 7.42), else 0.
  UINT8     SlotType;           ///< Out: slot type (SMBIOS 7.10.1).
  UINT8     SlotLength;         ///< Out: slot length; the data bus width for SMBIOSSLOTID.
  UINT8     SlotDataBusWidth;   ///< Out: data bus width; the slot length for SMBIOSSLOTID.
} SMBIOS_SLOT_QUERY;

///
/// Texts in the SMBIOS table, no copies; NULL when there is none.
///
typedef struct {
  CHAR8    *ServiceTag;         ///< System serial number (SMBIOS 7.2).
  CHAR8    *BiosVersion;        ///< Firmware version (SMBIOS 7.1).
  CHAR8    *ProductName;        ///< Product name (SMBIOS 7.2).
} SMBIOS_BIOS_INFO;

STATIC_ASSERT (sizeof (SMBIOS_SLOT_QUERY) == 32, "SMBIOS_SLOT_QUERY is 32 bytes");
STATIC_ASSERT (OFFSET_OF (SMBIOS_SLOT_QUERY, SlotId) == 24, "SlotId");
STATIC_ASSERT (OFFSET_OF (SMBIOS_SLOT_QUERY, SlotDataBusWidth) == 29, "SlotDataBusWidth");
STATIC_ASSERT (sizeof (SMBIOS_BIOS_INFO) == 24, "SMBIOS_BIOS_INFO is three pointers");

#endif
