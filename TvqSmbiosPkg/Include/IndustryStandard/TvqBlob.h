/** @file
  Blob formats: how a device's inventory is handed to the management agent, and stored by it.

  All fields are little-endian.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_BLOB_H_
#define TVQ_BLOB_H_

#define TVQ_BLOB_REVISION  1

#define TVQ_BLOB_TYPE_INVENTORY      3
#define TVQ_BLOB_TYPE_CONFIGURATION  5
#define TVQ_BLOB_TYPE_END            7

#define TVQ_BLOB_COOKIE_INVENTORY      0x0F9B54CF
#define TVQ_BLOB_COOKIE_CONFIGURATION  0x2C41C4EC
#define TVQ_BLOB_COOKIE_END            0x36912F26

#define TVQ_INVENTORY_FLAG_PRODUCT_ID   BIT0
#define TVQ_INVENTORY_FLAG_SLOT_NUMBER  BIT5

///
/// A string reference: bit 0 tells that the string is there, bits 31:1 are its offset from the
/// start of the string area.
///
#define TVQ_STRING_REFERENCE(Offset)         ((UINT32)(((UINT32)(Offset) << 1) | 1))
#define TVQ_STRING_REFERENCE_PRESENT(Word)   (((Word) & 1) != 0)
#define TVQ_STRING_REFERENCE_OFFSET(Word)    ((UINT32)(Word) >> 1)

#pragma pack(1)

typedef struct {
  UINT32    revision;       ///< TVQ_BLOB_REVISION.
  UINT32    type;           ///< TVQ_BLOB_TYPE_*.
  UINT32    cookie;         ///< TVQ_BLOB_COOKIE_* of the type.
  UINT32    sizeInBytes;    ///< Size of the blob, this header included.
} TVQ_BLOB_HEADER;

///
/// Inventory blob. NUL-terminated ASCII texts follow: the string area.
///
typedef struct {
  TVQ_BLOB_HEADER    header;
  UINT32             flags;           ///< TVQ_INVENTORY_FLAG_*.
  UINT16             ProductID;
  UINT8              Reserved1[16];
  UINT8              SlotNumber;
  UINT8              Reserved2[7];
  UINT32             wwnOffset;       ///< String references.
  UINT32             MktnameOffset;
  UINT32             FwVerOffset;
  UINT32             CompIDOffset;
  UINT8              Reserved3[64];
} TVQ_INVENTORY_BLOB;

///
/// Configuration blob. The XML document follows, with its NUL.
///
typedef struct {
  TVQ_BLOB_HEADER    header;
  UINT8              Reserved[64];
} TVQ_CONFIGURATION_BLOB;

///
/// End blob: closes the set.
///
typedef struct {
  TVQ_BLOB_HEADER    header;
  UINT8              Reserved[132];
} TVQ_END_BLOB;

#pragma pack()

STATIC_ASSERT (sizeof (TVQ_BLOB_HEADER) == 16, "the header is 16 bytes");
STATIC_ASSERT (OFFSET_OF (TVQ_INVENTORY_BLOB, SlotNumber) == 38, "SlotNumber");
STATIC_ASSERT (OFFSET_OF (TVQ_INVENTORY_BLOB, wwnOffset) == 46, "wwnOffset");
STATIC_ASSERT (OFFSET_OF (TVQ_INVENTORY_BLOB, CompIDOffset) == 58, "CompIDOffset");
STATIC_ASSERT (sizeof (TVQ_INVENTORY_BLOB) == 126, "the string area starts at byte 126");
STATIC_ASSERT (sizeof (TVQ_CONFIGURATION_BLOB) == 80, "the document starts at byte 80");
STATIC_ASSERT (sizeof (TVQ_END_BLOB) == 148, "the end blob is 148 bytes");

#endif
