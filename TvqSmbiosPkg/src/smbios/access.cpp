/** @file
  SMBIOS structure access.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "access.h"

extern "C" {
#include <Guid/SmBios.h>
}

#include "walk.h"

namespace tvq {

UINT8* gSmbiosEntryPoint;
UINT8* gSmbiosTable;
UINT8 gSmbiosMajor;
UINT8 gSmbiosMinor;

namespace {

/// Fields of the 32-bit entry point (SMBIOS 5.2.1).
constexpr UINTN kEntryMajor = 0x06;
constexpr UINTN kEntryMinor = 0x07;
constexpr UINTN kEntryTableLength = 0x16;
constexpr UINTN kEntryTableAddress = 0x18;
constexpr UINTN kEntryStructureCount = 0x1C;

/// String number that no structure has: asks for the structure that follows.
constexpr UINT16 kPastAllStrings = 0xFFFF;

UINT8* TableAddress(const UINT8* entryPoint) {
  return reinterpret_cast<UINT8*>(
      static_cast<UINTN>(smbios::Read32(entryPoint + kEntryTableAddress)));
}

/// The bytes of a word that are NUL have their highest bit set in the result, up to the first one.
UINT64 NulBytes(UINT64 word) {
  constexpr UINT64 kOnes = 0x0101010101010101;
  return (word - kOnes) & ~word & (kOnes << 7);
}

/// Eight bytes at a time: most of the time of a start would go into single ones.
UINT8* FindNul(UINT8* text, UINT8* end) {
  constexpr INTN kWord = sizeof(UINT64);
  for (; end - text >= kWord; text += kWord) {
    const UINT64 nuls = NulBytes(smbios::Read64(text));
    if (nuls != 0) {
      return text + __builtin_ctzll(nuls) / 8;
    }
  }
  while (text < end && *text != 0) {
    text++;
  }
  return text < end ? text : nullptr;
}

/// Moves the cursor to the end of the table: what began here never ends inside it.
CHAR8* NoString(UINT8** cursor, const Span<UINT8>& table) {
  *cursor = table.end();
  return nullptr;
}

}  // namespace

Span<UINT8> SmbiosTable() {
  if (gSmbiosEntryPoint == nullptr) {
    return {};
  }
  gSmbiosTable = TableAddress(gSmbiosEntryPoint);
  if (gSmbiosTable == nullptr) {
    return {};
  }
  return {gSmbiosTable, smbios::Read16(gSmbiosEntryPoint + kEntryTableLength)};
}

UINT16 SmbiosStructureCount() {
  return smbios::Read16(gSmbiosEntryPoint + kEntryStructureCount);
}

UINTN SmbiosCountStructures() {
  UINTN count = 0;
  StructureWalk walk;
  while (walk.Next()) {
    count++;
  }
  return count;
}

UINT8 SmbiosMajorVersion() {
  return gSmbiosMajor;
}

UINT8 SmbiosMinorVersion() {
  return gSmbiosMinor;
}

EFI_STATUS LocateSmbiosTable() {
  for (UINT32 i = 0; i < gST->NumberOfTableEntries; i++) {
    EFI_CONFIGURATION_TABLE& entry = gST->ConfigurationTable[i];
    if (entry.VendorTable != nullptr && CompareGuid(&entry.VendorGuid, &gEfiSmbiosTableGuid)) {
      gSmbiosEntryPoint = static_cast<UINT8*>(entry.VendorTable);
      gSmbiosTable = TableAddress(gSmbiosEntryPoint);
      gSmbiosMajor = gSmbiosEntryPoint[kEntryMajor];
      gSmbiosMinor = gSmbiosEntryPoint[kEntryMinor];
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

UINT8* SmbiosFollowing(UINT8* structure) {
  SmbiosGetString(&structure, kPastAllStrings);
  return structure;
}

CHAR8* SmbiosGetString(UINT8** Cursor, UINT16 Index) {
  if (Cursor == nullptr || Index == 0) {
    return nullptr;
  }
  const Span<UINT8> table = SmbiosTable();
  if (!HasHeader(table, *Cursor)) {
    return NoString(Cursor, table);
  }

  UINT8* text = *Cursor + (*Cursor)[1];
  for (UINT16 i = 1;; i++) {
    UINT8* nul = FindNul(text, table.end());
    if (nul == nullptr) {
      return NoString(Cursor, table);
    }
    if (i == Index) {
      return reinterpret_cast<CHAR8*>(text);
    }
    text = nul + 1;
    if (text == table.end()) {
      return NoString(Cursor, table);
    }
    if (*text == 0) {
      *Cursor = text + 1;
      return nullptr;
    }
  }
}

EFI_STATUS SmbiosGetNext(UINT16* Handle, UINT8** Record, UINT16* Size) {
  if (Handle == nullptr || Record == nullptr || Size == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Span<UINT8> table = SmbiosTable();
  UINT8* current = table.begin();
  if (*Handle == kSmbiosNoHandle && HasHeader(table, current)) {
    *Handle = HandleOf(current);
  }

  *Size = 0;
  while (HasHeader(table, current)) {
    UINT8* next = SmbiosFollowing(current);
    if (HandleOf(current) == *Handle) {
      *Size = static_cast<UINT16>(next - current);
      *Record = current;
      *Handle = HasHeader(table, next) ? HandleOf(next) : kSmbiosNoHandle;
      return EFI_SUCCESS;
    }
    current = next;
  }
  *Handle = kSmbiosNoHandle;
  return EFI_NOT_FOUND;
}

EFI_STATUS SmbiosGetStructuresByType(UINT8 Type, UINT8*** Records, UINT16** Sizes, UINT16* Count) {
  if (Count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Span<UINT8> table = SmbiosTable();
  if (!HasHeader(table, table.begin())) {
    return EFI_NOT_FOUND;
  }
  UINT16 count = 0;
  for (TypeWalk walk(Type); walk.Next();) {
    count++;
  }
  *Count = count;
  if (Records == nullptr && Sizes == nullptr) {
    return EFI_SUCCESS;
  }
  if (Records == nullptr || Sizes == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  auto records = PoolPtr<UINT8*>::Zeroed(count);
  if (!records) {
    return EFI_OUT_OF_RESOURCES;
  }
  // Deliberate: without memory for the second array the caller keeps the address of the freed one.
  *Records = records.Get();
  auto sizes = PoolPtr<UINT16>::Zeroed(count);
  if (!sizes) {
    return EFI_OUT_OF_RESOURCES;
  }
  TypeWalk walk(Type);
  for (UINT16 i = 0; i < count && walk.Next(); i++) {
    records[i] = walk.Address();
    sizes[i] = walk.Size();
  }
  (void)records.Release();
  *Sizes = sizes.Release();
  return EFI_SUCCESS;
}

CHAR8* SmbiosTextAt(UINT8* position) {
  const Span<UINT8> table = SmbiosTable();
  if (position < table.begin() || FindNul(position, table.end()) == nullptr) {
    return nullptr;
  }
  return reinterpret_cast<CHAR8*>(position);
}

}  // namespace tvq
