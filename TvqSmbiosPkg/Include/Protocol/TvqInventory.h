/** @file
  Inventory protocol: one instance per device record.

  A management agent finds the instances by gTvqInventoryProtocolGuid, asks each what it describes
  (Identify), fetches its inventory as three blobs (Get), and asks whether the part was replaced
  since an earlier boot (Verify).

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_INVENTORY_H_
#define TVQ_INVENTORY_H_

#define TVQ_INVENTORY_PROTOCOL_GUID \
  { 0xebe4c5a4, 0x7cbb, 0x423c, { 0x95, 0x55, 0xf0, 0x89, 0x96, 0xb5, 0x4a, 0x77 } }

typedef struct _TVQ_INVENTORY_PROTOCOL TVQ_INVENTORY_PROTOCOL;

///
/// Descriptor of a piece of data: the result of Get, each slot of the blob array, and what Verify
/// takes and returns.
///
typedef struct {
  UINT32    Revision;   ///< TVQ_DATA_REVISION in everything that the driver produces.
  UINT32    Length;     ///< Size in bytes of what Buffer points at.
  VOID      *Buffer;    ///< The data.
} TVQ_DATA;

#define TVQ_DATA_REVISION  1

///
/// Passed by the caller of Get, Set and Verify.
///
typedef struct {
  UINT32    Version;    ///< TVQ_REQUEST_VERSION.
  UINT32    Selector;   ///< 0; there is no other selection.
} TVQ_REQUEST;

#define TVQ_REQUEST_VERSION  2

///
/// Filled by Identify. The class stands at byte 4.
///
typedef struct {
  UINT32    Version;          ///< TVQ_IDENTITY_VERSION.
  UINT32    ComponentClass;   ///< TVQ_CLASS_CPU, TVQ_CLASS_DIMM or TVQ_CLASS_SYSTEM.
  UINT32    ClassQualifier;   ///< TVQ_IDENTITY_QUALIFIER.
  UINT32    Signature;        ///< TVQ_IDENTITY_SIGNATURE.
  UINT32    Reserved;         ///< 0.
} TVQ_IDENTITY;

#define TVQ_IDENTITY_VERSION    2
#define TVQ_IDENTITY_QUALIFIER  0xDC
#define TVQ_IDENTITY_SIGNATURE  0xEDCC0004

#define TVQ_CLASS_CPU     5
#define TVQ_CLASS_DIMM    6
#define TVQ_CLASS_SYSTEM  0x10

///
/// Slots of the blob array that Get returns.
///
#define TVQ_SLOT_INVENTORY      0
#define TVQ_SLOT_CONFIGURATION  1
#define TVQ_SLOT_END            2
#define TVQ_SLOT_TERMINATOR     3
#define TVQ_SLOT_COUNT          4

///
/// Slots of the array that the caller of Verify hands over in OldData.Buffer.
///
#define TVQ_OLD_DATA_STORED  0   ///< The data that the agent stored for this device.
#define TVQ_OLD_DATA_MODE    1   ///< A text that states the agent's mode.

///
/// Bit of Verify's result: the device is not the part it was.
///
#define TVQ_RESULT_PART_REPLACED  BIT1

/**
  Tells what kind of component the record describes.

  @param[in]   This       The instance.
  @param[out]  Identity   20 bytes, owned by the caller, any alignment of 4 or more.

  @retval EFI_SUCCESS             Identity is filled.
  @retval EFI_INVALID_PARAMETER   This or Identity is NULL.
  @retval EFI_UNSUPPORTED         The record has an unknown device type. Version, Signature and
                                  Reserved have been written.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_IDENTIFY)(
  IN  TVQ_INVENTORY_PROTOCOL  *This,
  OUT TVQ_IDENTITY            *Identity
  );

/**
  Builds the three blobs of the record.

  Result receives Length 64 and in Buffer an array of TVQ_SLOT_COUNT descriptors: the inventory,
  configuration and end blob, then a terminator with Length 0 and Buffer NULL. The slot of a blob
  that could not be built is all zero. The array and each blob are new blocks of boot-services
  pool that belong to the caller, who frees them with FreePool.

  The first call trims blanks off the record's part number.

  @param[in]   This      The instance.
  @param[in]   Request   Version 2, Selector 0.
  @param[out]  Result    Receives the array.

  @retval EFI_SUCCESS             The array is there, whatever became of each blob.
  @retval EFI_INVALID_PARAMETER   An argument is NULL, or Request->Version is not 2.
  @retval EFI_NOT_FOUND           Request->Selector is not 0; nothing was built.
  @retval EFI_OUT_OF_RESOURCES    The array could not be allocated.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_GET)(
  IN  TVQ_INVENTORY_PROTOCOL  *This,
  IN  TVQ_REQUEST             *Request,
  OUT TVQ_DATA                *Result
  );

/**
  Exists for symmetry and changes nothing.

  @param[in]  This      The instance.
  @param[in]  Request   Version 2, Selector 0.
  @param[in]  Data      Not looked at.

  @retval EFI_UNSUPPORTED         The request is valid, and refused.
  @retval EFI_INVALID_PARAMETER   An argument is NULL, or Request->Version is not 2.
  @retval EFI_NOT_FOUND           Request->Selector is not 0.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_SET)(
  IN TVQ_INVENTORY_PROTOCOL  *This,
  IN TVQ_REQUEST             *Request,
  IN TVQ_DATA                *Data
  );

/**
  Compares the device with the configuration document that the agent stored on an earlier boot.

  A memory module is compared by serial number and part number, a processor by marketing name and
  core count; the system is never reported as replaced. Call Get first: it trims the current part
  number, which otherwise compares with its blanks.

  @param[in]       This       The instance.
  @param[in]       Request    Must not be NULL; not otherwise looked at.
  @param[in]       OldData    Buffer points at an array of two descriptors: TVQ_OLD_DATA_STORED and
                              TVQ_OLD_DATA_MODE. All of it stays the caller's.
  @param[in, out]  Response   Optional. With a Length that is not 0 and a Buffer, nothing is compared,
                              and Buffer has to point at a TVQ_DATA, whatever Length says: its
                              Length becomes 40 and its Buffer an error text of as many characters
                              in a new block, which the caller frees with FreePool.
  @param[out]      Result     0, or TVQ_RESULT_PART_REPLACED.

  @retval EFI_SUCCESS             Result tells.
  @retval EFI_INVALID_PARAMETER   This, Request, OldData or Result is NULL; the TVQ management
                                  protocol is missing; the stored data is empty or has no
                                  configuration blob; or the stored document is no document, or is
                                  one of a module without the part number at its place.
  @retval EFI_UNSUPPORTED         The agent's mode is not "<Mode>Normal", a Response with a buffer
                                  was handed over, or the stored document is laid out otherwise.
  @retval EFI_NOT_FOUND           The XML parser protocol is missing.
  @retval EFI_OUT_OF_RESOURCES    The stored identity could not be read for lack of memory.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_VERIFY)(
  IN     TVQ_INVENTORY_PROTOCOL  *This,
  IN     TVQ_REQUEST             *Request,
  IN     TVQ_DATA                *OldData,
  IN OUT TVQ_DATA                *Response OPTIONAL,
  OUT    UINT32                  *Result
  );

struct _TVQ_INVENTORY_PROTOCOL {
  TVQ_IDENTIFY    SMTVQIdentify;
  TVQ_GET         SMTVQGet;
  TVQ_SET         SMTVQSet;
  TVQ_VERIFY      SMTVQVerify;
};

STATIC_ASSERT (sizeof (TVQ_DATA) == 16, "TVQ_DATA is 16 bytes");
STATIC_ASSERT (OFFSET_OF (TVQ_DATA, Buffer) == 8, "Buffer stands at byte 8");
STATIC_ASSERT (sizeof (TVQ_REQUEST) == 8, "TVQ_REQUEST is 8 bytes");
STATIC_ASSERT (sizeof (TVQ_IDENTITY) == 20, "TVQ_IDENTITY is 20 bytes");
STATIC_ASSERT (OFFSET_OF (TVQ_IDENTITY, ComponentClass) == 4, "the class stands at byte 4");
STATIC_ASSERT (OFFSET_OF (TVQ_IDENTITY, Signature) == 12, "the signature stands at byte 12");
STATIC_ASSERT (sizeof (TVQ_INVENTORY_PROTOCOL) == 32, "four operations");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gTvqInventoryProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
