/** @file
  Platform services table, found in the EFI configuration table: named attributes.

  Produced by the platform, before the driver is loaded. The driver uses the operations named
  below; the position of an entry is part of the interface. The GUID also is the vendor GUID of the
  UEFI variable with the processor family.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef ZV_SERVICES_H_
#define ZV_SERVICES_H_

#define ZV_SERVICES_TABLE_GUID \
  { 0x4f6b6541, 0xadd6, 0x4b0f, { 0xa5, 0x03, 0xd7, 0x8a, 0xbd, 0xa0, 0x85, 0x1e } }

/**
  Answers a named attribute. Called by the platform.

  @param[in]       Namespace   The namespace under which the getter was registered.
  @param[in]       Name        The attribute's name.
  @param[in, out]  Value       Receives the value; Guid/TvqAttributes.h tells what it is.

  @retval EFI_SUCCESS   Value is set.
  @retval Others        Value is as it was.
**/
typedef
EFI_STATUS
(EFIAPI *ZV_ATTRIBUTE_GETTER)(
  IN     CHAR16  *Namespace,
  IN     CHAR16  *Name,
  IN OUT UINT64  *Value
  );

/**
  Changes a named attribute. Called by the platform.

  @param[in]  Namespace   The namespace under which the setter was registered.
  @param[in]  Name        The attribute's name.
  @param[in]  Value       The new value.

  @retval EFI_SUCCESS       The value is taken.
  @retval EFI_UNSUPPORTED   The attribute cannot be set; every setter of TVQSMBIOS answers this.
**/
typedef
EFI_STATUS
(EFIAPI *ZV_ATTRIBUTE_SETTER)(
  IN CHAR16  *Namespace,
  IN CHAR16  *Name,
  IN UINT64  Value
  );

/**
  Stores the value of an attribute.

  @param[in]  Namespace   A registered namespace.
  @param[in]  Name        The attribute's name.
  @param[in]  Value       The value. What it points at stays there for the boot.

  @retval EFI_SUCCESS   The value is stored.
  @retval Others        It is not.
**/
typedef
EFI_STATUS
(EFIAPI *ZV_SET_ATTRIBUTE_VALUE)(
  IN CHAR16  *Namespace,
  IN CHAR16  *Name,
  IN UINT64  Value
  );

/**
  Registers the callbacks of an attribute namespace.

  @param[out]  Token       Receives a token of pointer size; the driver does not use it.
  @param[in]   Namespace   The namespace; the text stays the caller's. It stands in the driver's
                           image, as the callbacks do, and goes with it.
  @param[in]   Getter      Answers the attributes of the namespace.
  @param[in]   Setter      Changes the attributes of the namespace.

  @retval EFI_SUCCESS   The namespace is registered.
  @retval Others        It is not.
**/
typedef
EFI_STATUS
(EFIAPI *ZV_REGISTER_ATTRIBUTE)(
  OUT VOID                 *Token,
  IN  CHAR16               *Namespace,
  IN  ZV_ATTRIBUTE_GETTER  Getter,
  IN  ZV_ATTRIBUTE_SETTER  Setter
  );

typedef struct {
  VOID                      *Reserved[28];
  ZV_SET_ATTRIBUTE_VALUE    SetAttributeValue;
  ZV_REGISTER_ATTRIBUTE     RegisterAttribute;
} ZV_SERVICES_TABLE;

STATIC_ASSERT (OFFSET_OF (ZV_SERVICES_TABLE, SetAttributeValue) == 28 * 8, "position of SetAttributeValue");
STATIC_ASSERT (OFFSET_OF (ZV_SERVICES_TABLE, RegisterAttribute) == 29 * 8, "position of RegisterAttribute");

///
/// UEFI variable with the processor family: one byte, non-volatile, boot-service and runtime
/// access, vendor GUID gZvServicesTableGuid. The last populated socket's family remains.
///
#define TVQ_PROCESSOR_FAMILY_VARIABLE_NAME  L"EFI_SMBIOS_PROCESSOR_FAMILY"

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gZvServicesTableGuid;

#ifdef __cplusplus
}
#endif

#endif
