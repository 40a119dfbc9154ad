/** @file
  Named system attributes, answered for the platform services table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_ATTRIBUTES_H_
#define TVQ_SMBIOS_ATTRIBUTES_H_

#include <TvqCpp.h>
#include <Guid/TvqAttributes.h>

namespace tvq {

/**
  Answers "zorv.server".

  @param[in]   Namespace   Must not be null.
  @param[in]   Name        "SMBIOSServiceTagString" or "SMBIOSSystemNameString".
  @param[out]  Value       Receives the address of a new CHAR16 text, which the caller frees.

  @retval EFI_SUCCESS             Value is set.
  @retval EFI_NOT_FOUND           Namespace or Name is null, or the table has not exactly one
                                  system structure.
  @retval EFI_INVALID_PARAMETER   Another name, Value is null, or there is no text.
  @retval EFI_OUT_OF_RESOURCES    The text could not be allocated.
**/
[[nodiscard]] EFI_STATUS EFIAPI ServerAttributeGet(CHAR16* Namespace, CHAR16* Name, UINT64* Value);

/// "SMBIOSServiceTagString": the system's serial number. Statuses as above, but for another name,
/// which is EFI_NOT_FOUND.
[[nodiscard]] EFI_STATUS GetServiceTagString(CHAR16* Name, CHAR16** String);

/// "SMBIOSSystemNameString": the system's product name, unless the OEM strings have a text that
/// begins with '9' where it is looked for: then, deliberately, no text. Statuses as those of
/// GetServiceTagString.
[[nodiscard]] EFI_STATUS GetSystemNameString(CHAR16* Name, CHAR16** String);

/**
  Answers "zorv.smbios.pci".

  @param[in]       Namespace   Not looked at.
  @param[in]       Name        "SMBIOSPCISlotInfo" or "SMBIOSSLOTID".
  @param[in, out]  Value       The address of the caller's SMBIOS_SLOT_QUERY.

  @retval EFI_SUCCESS             The query is completed.
  @retval EFI_NOT_FOUND           Another or no name, or nothing matched. With more than 255
                                  structures and no match the walk never ends, unless
                                  PcdTvqBoundedWalks is set.
  @retval EFI_INVALID_PARAMETER   Value or the query is null.
  @retval EFI_BAD_BUFFER_SIZE     There is no SMBIOS entry point.
**/
[[nodiscard]] EFI_STATUS EFIAPI PciAttributeGet(CHAR16* Namespace, CHAR16* Name, UINT64* Value);

/**
  Answers "zorv.smbios.bios".

  @param[in]   Namespace   Not looked at.
  @param[in]   Name        "SMBIOSBIOSInfo".
  @param[out]  Value       Receives the address of a new SMBIOS_BIOS_INFO, which the caller frees;
                           its texts stand in the SMBIOS table.

  @retval EFI_SUCCESS             Value is set; a text that is missing is null.
  @retval EFI_NOT_FOUND           Another or no name, or there is no table.
  @retval EFI_INVALID_PARAMETER   Value is null.
  @retval EFI_OUT_OF_RESOURCES    Something could not be allocated.
**/
[[nodiscard]] EFI_STATUS EFIAPI BiosAttributeGet(CHAR16* Namespace, CHAR16* Name, UINT64* Value);

/// The setters refuse: always EFI_UNSUPPORTED.
[[nodiscard]] EFI_STATUS EFIAPI ServerAttributeSet(CHAR16* Namespace, CHAR16* Name, UINT64 Value);
[[nodiscard]] EFI_STATUS EFIAPI PciAttributeSet(CHAR16* Namespace, CHAR16* Name, UINT64 Value);
[[nodiscard]] EFI_STATUS EFIAPI BiosAttributeSet(CHAR16* Namespace, CHAR16* Name, UINT64 Value);

}  // namespace tvq

#endif
