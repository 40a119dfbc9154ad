/** @file
  Named system attributes.

  The arrays that the getters collect deliberately stay in the pool: getters are called a few times
  a boot, and nobody is promised that they give anything back.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "attributes.h"

extern "C" {
#include <Library/PcdLib.h>
}

#include <IndustryStandard/SmbiosFields.h>
#include <Library/ZorvLib.h>

#include "../text.h"
#include "structure.h"

namespace tvq {

namespace {

bool IsName(const CHAR16* name, const wchar_t* wanted) {
  return name != nullptr && ZvStrCmp(name, Ucs2(wanted)) == 0;
}

/// Collects a type for a getter, which never frees the arrays.
struct LastingList : StructureList {
  ~LastingList() { Leave(); }
};

UINT64 AddressValue(const VOID* address) {
  return reinterpret_cast<UINTN>(address);
}

/// A widened copy of a text of the one system structure (type 1).
[[nodiscard]] EFI_STATUS NewSystemText(smbios::Field<UINT8> field, CHAR16** text) {
  LastingList systems;
  if (EFI_ERROR(systems.Collect(SMBIOS_TYPE_SYSTEM_INFORMATION)) || systems.Count() != 1) {
    return EFI_NOT_FOUND;
  }
  *text = nullptr;
  const CHAR8* ascii = systems[0].GetString(field);
  if (ascii == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *text = NewWide(ascii).Release();
  return *text == nullptr ? EFI_OUT_OF_RESOURCES : EFI_SUCCESS;
}

/// Asks OEM-strings structure i for its string i + 1, until one begins with '9'.
[[nodiscard]] EFI_STATUS ProbeOemName() {
  LastingList oemStrings;
  if (EFI_ERROR(oemStrings.Collect(SMBIOS_TYPE_OEM_STRINGS)) || !oemStrings.Any()) {
    return EFI_NOT_FOUND;
  }
  EFI_STATUS status = EFI_NOT_FOUND;
  for (UINT16 i = 0; i < oemStrings.Count(); i++) {
    const CHAR8* text = SmbiosGetString(oemStrings.Records() + i, static_cast<UINT16>(i + 1));
    if (text == nullptr) {
      status = EFI_INVALID_PARAMETER;
    } else if (text[0] != '9') {
      status = EFI_NOT_FOUND;
    } else {
      // Deliberate: the text is copied and the copy dropped, so that only the lack of memory shows.
      const UINTN length = ZvAsciiStrLen(text);
      PoolPtr<CHAR8> copy(static_cast<CHAR8*>(ZvAllocateZero(length + 1)));
      if (!copy) {
        return EFI_OUT_OF_RESOURCES;
      }
      ZvCopyMem(copy.Get(), text, length);
      return EFI_SUCCESS;
    }
  }
  return status;
}

/// One slot query on its way through the table.
class SlotQuery {
 public:
  SlotQuery(SMBIOS_SLOT_QUERY* query, bool byId) : mQuery(query), mById(byId) {
    // Deliberate: two bits of function under the device, although SMBIOS has three.
    mDevFn = static_cast<UINT8>(((query->Device & 0xFF) << 2) | (query->Function & 3));
    mQuery->OnBoard = 0;
  }

  /// Tells whether the structure answers the query, which it then has completed.
  bool Matches(const Structure& structure) {
    switch (structure.Type()) {
      case SMBIOS_TYPE_ONBOARD_DEVICES_EXTENDED_INFORMATION:
        return MatchesOnboard(structure);
      case SMBIOS_TYPE_SYSTEM_SLOTS:
        return mById ? MatchesId(structure) : MatchesSlot(structure);
      default:
        return false;
    }
  }

 private:
  bool IsAt(const Structure& structure, smbios::Field<UINT8> bus,
            smbios::Field<UINT8> devFn) const {
    return structure.Has(devFn) && structure.Get(bus) == mQuery->Bus &&
           structure.Get(devFn) == mDevFn;
  }

  bool MatchesOnboard(const Structure& structure) {
    if (!IsAt(structure, SMBIOS_FIELD(41, BusNum), SMBIOS_FIELD(41, DevFuncNum))) {
      return false;
    }
    mQuery->SlotId = structure.Get(SMBIOS_FIELD(41, ReferenceDesignation));
    mQuery->OnBoard = 1;
    return true;
  }

  /// Deliberate: SlotId was overwritten with the value for "none" before it is compared here, and
  /// the two size bytes are stored the other way round.
  bool MatchesId(const Structure& structure) {
    if (structure.Get(SMBIOS_FIELD(9, SlotID)) != mQuery->SlotId) {
      return false;
    }
    mQuery->SlotType = structure.Get(SMBIOS_FIELD(9, SlotType));
    mQuery->SlotDataBusWidth = structure.Get(SMBIOS_FIELD(9, SlotLength));
    mQuery->SlotLength = structure.Get(SMBIOS_FIELD(9, SlotDataBusWidth));
    return true;
  }

  bool MatchesSlot(const Structure& structure) {
    if (!IsAt(structure, SMBIOS_FIELD(9, BusNum), SMBIOS_FIELD(9, DevFuncNum))) {
      return false;
    }
    mQuery->SlotId = structure.Get(SMBIOS_FIELD(9, SlotID));
    mQuery->OnBoard = 0;
    mQuery->SlotType = structure.Get(SMBIOS_FIELD(9, SlotType));
    mQuery->SlotDataBusWidth = structure.Get(SMBIOS_FIELD(9, SlotDataBusWidth));
    mQuery->SlotLength = structure.Get(SMBIOS_FIELD(9, SlotLength));
    return true;
  }

  SMBIOS_SLOT_QUERY* mQuery;
  bool mById;
  UINT8 mDevFn;
};

/// The first of the structures that has the string, moving each slot whose structure has not.
CHAR8* FirstText(const StructureList& list, smbios::Field<UINT8> field) {
  CHAR8* text = nullptr;
  for (INT32 i = 0; i < list.Count() && text == nullptr; i++) {
    text = list[static_cast<UINTN>(i)].GetString(field);
  }
  return text;
}

}  // namespace

EFI_STATUS EFIAPI ServerAttributeGet(CHAR16* Namespace, CHAR16* Name, UINT64* Value) {
  if (Name == nullptr || Namespace == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (Value == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  CHAR16* text = nullptr;
  EFI_STATUS status = EFI_INVALID_PARAMETER;
  if (IsName(Name, TVQ_ATTRIBUTE_SERVICE_TAG)) {
    status = GetServiceTagString(Name, &text);
  } else if (IsName(Name, TVQ_ATTRIBUTE_SYSTEM_NAME)) {
    status = GetSystemNameString(Name, &text);
  }
  if (!EFI_ERROR(status)) {
    *Value = AddressValue(text);
  }
  return status;
}

EFI_STATUS GetServiceTagString(CHAR16* Name, CHAR16** String) {
  if (!IsName(Name, TVQ_ATTRIBUTE_SERVICE_TAG)) {
    return EFI_NOT_FOUND;
  }
  return NewSystemText(SMBIOS_FIELD(1, SerialNumber), String);
}

EFI_STATUS GetSystemNameString(CHAR16* Name, CHAR16** String) {
  if (!IsName(Name, TVQ_ATTRIBUTE_SYSTEM_NAME)) {
    return EFI_NOT_FOUND;
  }
  const EFI_STATUS probed = ProbeOemName();
  if (probed == EFI_OUT_OF_RESOURCES) {
    return probed;
  }
  if (EFI_ERROR(probed)) {
    return NewSystemText(SMBIOS_FIELD(1, ProductName), String);
  }
  *String = nullptr;
  return EFI_INVALID_PARAMETER;
}

EFI_STATUS EFIAPI PciAttributeGet(CHAR16*, CHAR16* Name, UINT64* Value) {
  if (Name == nullptr) {
    return EFI_NOT_FOUND;
  }
  const bool byId = IsName(Name, TVQ_ATTRIBUTE_SLOT_ID);
  if (!byId && !IsName(Name, TVQ_ATTRIBUTE_PCI_SLOT_INFO)) {
    return EFI_NOT_FOUND;
  }
  if (Value == nullptr || *Value == 0) {
    return EFI_INVALID_PARAMETER;
  }
  auto* query = reinterpret_cast<SMBIOS_SLOT_QUERY*>(static_cast<UINTN>(*Value));
  SlotQuery walk(query, byId);
  if (gSmbiosEntryPoint == nullptr) {
    return EFI_BAD_BUFFER_SIZE;
  }

  query->SlotId = SMBIOS_SLOT_ID_NONE;
  UINT16 handle = kSmbiosNoHandle;
  UINTN stepsLeft = FeaturePcdGet(PcdTvqBoundedWalks) ? SmbiosCountStructures() : MAX_UINTN;
  // Deliberate: the counter has 8 bits, so with more than 255 structures and no match it never
  // reaches the bound and the walk starts over and over.
  for (UINT8 counter = 0; counter < SmbiosStructureCount() && stepsLeft != 0; counter++) {
    UINT8* record = nullptr;
    UINT16 size;
    if (!EFI_ERROR(SmbiosGetNext(&handle, &record, &size)) && record != nullptr &&
        walk.Matches(Structure(&record))) {
      break;
    }
    stepsLeft -= stepsLeft == MAX_UINTN ? 0 : 1;
  }
  return query->SlotId == SMBIOS_SLOT_ID_NONE ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS EFIAPI BiosAttributeGet(CHAR16*, CHAR16* Name, UINT64* Value) {
  if (Name == nullptr || !IsName(Name, TVQ_ATTRIBUTE_BIOS_INFO)) {
    return EFI_NOT_FOUND;
  }
  if (Value == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  PoolPtr<SMBIOS_BIOS_INFO> info(
      static_cast<SMBIOS_BIOS_INFO*>(ZvAllocateZero(sizeof(SMBIOS_BIOS_INFO))));
  if (!info) {
    return EFI_OUT_OF_RESOURCES;
  }

  LastingList firmware;
  EFI_STATUS status = firmware.Collect(SMBIOS_TYPE_BIOS_INFORMATION);
  if (EFI_ERROR(status)) {
    return status;
  }
  info->BiosVersion = FirstText(firmware, SMBIOS_FIELD(0, BiosVersion));

  LastingList systems;
  status = systems.Collect(SMBIOS_TYPE_SYSTEM_INFORMATION);
  if (EFI_ERROR(status)) {
    return status;
  }
  info->ServiceTag = FirstText(systems, SMBIOS_FIELD(1, SerialNumber));
  info->ProductName = FirstText(systems, SMBIOS_FIELD(1, ProductName));
  *Value = AddressValue(info.Release());
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI ServerAttributeSet(CHAR16*, CHAR16*, UINT64) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI PciAttributeSet(CHAR16*, CHAR16*, UINT64) {
  return EFI_UNSUPPORTED;
}

EFI_STATUS EFIAPI BiosAttributeSet(CHAR16*, CHAR16*, UINT64) {
  return EFI_UNSUPPORTED;
}

}  // namespace tvq
