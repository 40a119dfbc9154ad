/** @file
  OEM structures in the SMBIOS table that the driver reads.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef SMBIOS_TVQ_H_
#define SMBIOS_TVQ_H_

///
/// Type 225 tells, for an SMBIOS handle, which of its strings is that device's FQDD.
///
#define SMBIOS_TYPE_TVQ_FQDD_MAP         225
#define SMBIOS_TVQ_FQDD_MAP_FORMAT       1

///
/// Type 226 extends a memory device.
///
#define SMBIOS_TYPE_TVQ_DIMM_EXTENSION   226

#pragma pack(1)

typedef struct {
  UINT8     Type;
  UINT8     Length;
  UINT16    Handle;
} TVQ_SMBIOS_HEADER;

///
/// One group of type 225.
///
typedef struct {
  UINT8     StringNumber;    ///< The FQDD, a string of the same structure.
  UINT16    Handle;          ///< The SMBIOS structure that the FQDD names.
  UINT8     Opaque;          ///< Carried along, not interpreted.
} SMBIOS_TVQ_FQDD_GROUP;

///
/// Type 225 up to its groups, of which there are (Length - 5) / 4.
///
typedef struct {
  TVQ_SMBIOS_HEADER    Hdr;
  UINT8                Format;    ///< SMBIOS_TVQ_FQDD_MAP_FORMAT.
} SMBIOS_TABLE_TYPE225;

typedef struct {
  TVQ_SMBIOS_HEADER    Hdr;
  UINT16               Type17Handle;      ///< The memory device that this structure extends.
  UINT8                FirmwareVersion;   ///< String number.
  UINT32               ComponentID;
  UINT16               ProductID;
} SMBIOS_TABLE_TYPE226;

#pragma pack()

STATIC_ASSERT (sizeof (SMBIOS_TVQ_FQDD_GROUP) == 4, "groups are four bytes");
STATIC_ASSERT (sizeof (SMBIOS_TABLE_TYPE225) == 5, "the groups start at byte 5");
STATIC_ASSERT (sizeof (SMBIOS_TABLE_TYPE226) == 13, "type 226 is 13 bytes");
STATIC_ASSERT (OFFSET_OF (SMBIOS_TABLE_TYPE226, ComponentID) == 7, "ComponentID");

#endif
