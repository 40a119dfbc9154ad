/** @file
  SMBIOS structure access: the table behind the 32-bit entry point, its structures and their
  strings.

  Nothing is read outside the table, whatever its bytes say: the end of the table ends a string and
  a structure, and fewer than four bytes before the end are no structure. The table is deliberately
  looked up through the entry point on every call: firmware that outgrows its table moves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_ACCESS_H_
#define TVQ_SMBIOS_ACCESS_H_

#include <TvqCpp.h>
#include <Library/SmbiosTableLib.h>

namespace tvq {

/// Handle that stands for "from the start" on input and "no further structure" on output.
inline constexpr UINT16 kSmbiosNoHandle = smbios::kNoHandle;

/// The 32-bit entry point (SMBIOS 5.2.1); null until it is found and after ReleaseSmbiosState.
extern UINT8* gSmbiosEntryPoint;
/// Address of the first structure, as last seen in the entry point.
extern UINT8* gSmbiosTable;
extern UINT8 gSmbiosMajor;
extern UINT8 gSmbiosMinor;

/// The table as the entry point describes it now; empty without an entry point.
Span<UINT8> SmbiosTable();

/// The structure at an address in the table; none when the address has left it.
smbios::BareStructure SmbiosStructureAt(const UINT8* address);

/// The number of structures that the entry point states.
UINT16 SmbiosStructureCount();

/// The number of structures that a walk by position visits.
UINTN SmbiosCountStructures();

/**
  Finds the 32-bit entry point in the EFI configuration table. Deliberate: the 64-bit one is never
  consulted.

  @retval EFI_SUCCESS     The table is known.
  @retval EFI_NOT_FOUND   There is no 32-bit entry point.
**/
[[nodiscard]] EFI_STATUS LocateSmbiosTable();

/**
  Fetches a structure by handle. Deliberate: the first structure with the handle wins, so that a
  walk cycles where one repeats.

  @param[in, out]  Handle   In: the handle, or kSmbiosNoHandle for the first structure. Out: the
                            handle of the structure that follows, or kSmbiosNoHandle.
  @param[out]      Record   Receives the address of the structure in the table.
  @param[out]      Size     Receives its size in bytes, strings and terminator included.

  @retval EFI_SUCCESS             The structure is there.
  @retval EFI_INVALID_PARAMETER   An argument is null.
  @retval EFI_NOT_FOUND           No structure has the handle; *Handle is kSmbiosNoHandle.
**/
[[nodiscard]] EFI_STATUS SmbiosGetNext(UINT16* Handle, UINT8** Record, UINT16* Size);

/**
  Collects the structures of a type in table order. Each structure is visited once, by position,
  also where handles repeat; a structure with handle FFFFh other than the first ends the table
  before it.

  @param[in]   Type      SMBIOS type.
  @param[out]  Records   Receives a new array of addresses in the table, which the caller frees.
  @param[out]  Sizes     Receives a new array of sizes in bytes, which the caller frees.
  @param[out]  Count     Receives the number of structures. With Records and Sizes null the
                         structures are counted only.

  @retval EFI_SUCCESS             Done; the count may be 0.
  @retval EFI_INVALID_PARAMETER   Count is null, or exactly one of Records and Sizes is.
  @retval EFI_NOT_FOUND           The table has no structure at all.
  @retval EFI_OUT_OF_RESOURCES    An array could not be allocated; *Records is null, or the address
                                  of an array that was freed. An array without elements is asked for
                                  too, and some pools have none.
**/
[[nodiscard]] EFI_STATUS SmbiosGetStructuresByType(UINT8 Type, UINT8*** Records, UINT16** Sizes,
                                                   UINT16* Count);

/**
  Finds a string of a structure.

  @param[in, out]  Cursor   Points to the structure. A number past the last string moves it to the
                            structure that follows, and a string without an end to the end of the
                            table. Whoever hands over a slot of an array loses that slot.
  @param[in]       Index    String number, from 1. 1 finds an empty text in a structure without
                            strings; 0 and FFFFh find nothing, and FFFFh moves the cursor on.

  @return The string in the table, its terminator inside the table too; or null.
**/
CHAR8* SmbiosGetString(UINT8** Cursor, UINT16 Index);

UINT8 SmbiosMajorVersion();
UINT8 SmbiosMinorVersion();

/// The byte at `position`, 0 outside the table.
UINT8 SmbiosByteAt(const UINT8* position);

/// The text at `position`, or null when its terminator is not inside the table.
CHAR8* SmbiosTextAt(UINT8* position);

}  // namespace tvq

#endif
