/** @file
  A small management agent. On the first boot it stores the inventory of every device; on every
  later boot it asks the driver whether the device is still the part that was stored.

  It keeps what it stores in UEFI variables, which makes it short. An agent with many devices rather
  keeps a file: a system's data can be larger than a variable may be.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Uefi.h>
#include <Library/BaseMemoryLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
#include <Protocol/DevicePath.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqPlatform.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/ZvEntry.h>

#define VARIABLE_ATTRIBUTES  (EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS)

STATIC EFI_GUID  mVariableGuid = {
  0x5b0f6a1e, 0x2f5c, 0x4c0e, { 0x8d, 0x3c, 0x0c, 0x6d, 0x92, 0x54, 0x7a, 0x18 }
};

///
/// Read by the driver: parts are compared in this mode alone.
///
STATIC CHAR8  mMode[] = "<Agent><Mode>Normal</Mode></Agent>";

///
/// What is stored of one device: the blobs of Get, one behind the other.
///
typedef struct {
  UINT8    *Bytes;
  UINTN    Size;
} STORED_DATA;

/**
  Has the driver build its records. It builds them once: there is no second start.

  @retval EFI_SUCCESS     The records are there, or as many of them as could be built.
  @retval EFI_NOT_FOUND   The driver is not loaded, or found no usable SMBIOS table.
  @retval Others          What the driver's start returned.
**/
STATIC
EFI_STATUS
StartDriver (
  VOID
  )
{
  TVQ_START_REQUEST  *Request;
  VOID               *Instance;
  EFI_STATUS         Status;

  if (!EFI_ERROR (gBS->LocateProtocol (&gTvqInventoryProtocolGuid, NULL, &Instance))) {
    return EFI_SUCCESS;
  }

  Status = gBS->LocateProtocol (&gTvqStartRequestProtocolGuid, NULL, (VOID **)&Request);
  return EFI_ERROR (Status) ? Status : Request->Start (NULL);
}

/**
  Asks for the FQDD of a device.

  @param[in]  Handle   The record's handle.

  @return A new text that the caller frees, or NULL.
**/
STATIC
CHAR16 *
FqddOf (
  IN EFI_HANDLE  Handle
  )
{
  ZVEP_PROTOCOL             *Entry;
  EFI_DEVICE_PATH_PROTOCOL  *Path;
  CHAR16                    *Name;
  CHAR16                    *Fqdd;

  if (EFI_ERROR (gBS->HandleProtocol (Handle, &gZvEntryProtocolGuid, (VOID **)&Entry)) ||
      EFI_ERROR (gBS->HandleProtocol (Handle, &gEfiDevicePathProtocolGuid, (VOID **)&Path)) ||
      EFI_ERROR (Entry->GetDeviceName (Entry, Path, "en-US", &Name, &Fqdd)))
  {
    return NULL;
  }

  // Both texts are ours; the display name is not needed here.
  FreePool (Name);
  return Fqdd;
}

/**
  Frees what Get returned: each blob, and the array.

  @param[in]  Slots   The array.
**/
STATIC
VOID
FreeBlobs (
  IN TVQ_DATA  *Slots
  )
{
  UINTN  Slot;

  for (Slot = 0; Slot < TVQ_SLOT_COUNT; Slot++) {
    // The slot of a blob that could not be built is all zero.
    if (Slots[Slot].Buffer != NULL) {
      FreePool (Slots[Slot].Buffer);
    }
  }

  FreePool (Slots);
}

/**
  Puts the blobs of an array one behind the other.

  @param[in]   Slots    The array.
  @param[out]  Joined   Receives a new block that the caller frees.

  @retval EFI_SUCCESS            Joined is set.
  @retval EFI_OUT_OF_RESOURCES   There is no memory.
**/
STATIC
EFI_STATUS
JoinBlobs (
  IN  TVQ_DATA     *Slots,
  OUT STORED_DATA  *Joined
  )
{
  UINTN  Slot;
  UINT8  *End;

  Joined->Size = 0;
  for (Slot = 0; Slot < TVQ_SLOT_TERMINATOR; Slot++) {
    Joined->Size += Slots[Slot].Length;
  }

  Joined->Bytes = AllocatePool (Joined->Size);
  if (Joined->Bytes == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }

  End = Joined->Bytes;
  for (Slot = 0; Slot < TVQ_SLOT_TERMINATOR; Slot++) {
    CopyMem (End, Slots[Slot].Buffer, Slots[Slot].Length);
    End += Slots[Slot].Length;
  }

  return EFI_SUCCESS;
}

/**
  Takes the inventory of a device. This comes before VerifyDevice: the first Get trims the blanks
  off the part number, with which it otherwise compares.

  @param[in]   Inventory   The device.
  @param[out]  Data        Receives a new block that the caller frees.

  @retval EFI_SUCCESS   Data is set.
  @retval Others        There is no inventory.
**/
STATIC
EFI_STATUS
TakeInventory (
  IN  TVQ_INVENTORY_PROTOCOL  *Inventory,
  OUT STORED_DATA             *Data
  )
{
  TVQ_REQUEST  Request = { TVQ_REQUEST_VERSION, 0 };
  TVQ_DATA     Result;
  EFI_STATUS   Status;

  Status = Inventory->SMTVQGet (Inventory, &Request, &Result);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = JoinBlobs (Result.Buffer, Data);
  FreeBlobs (Result.Buffer);
  return Status;
}

/**
  Asks whether a device is still the part that was stored.

  @param[in]   Inventory   The device.
  @param[in]   Stored      What was stored of it.
  @param[out]  Replaced    Receives the answer.

  @retval EFI_SUCCESS   Replaced is set.
  @retval Others        The stored data cannot be compared with.
**/
STATIC
EFI_STATUS
VerifyDevice (
  IN  TVQ_INVENTORY_PROTOCOL  *Inventory,
  IN  STORED_DATA             *Stored,
  OUT BOOLEAN                 *Replaced
  )
{
  TVQ_PLATFORM_PROTOCOL  *Platform;
  TVQ_REQUEST            Request = { TVQ_REQUEST_VERSION, 0 };
  TVQ_DATA               Slots[2];
  TVQ_DATA               OldData;
  UINT32                 Result;
  EFI_STATUS             Status;

  Slots[TVQ_OLD_DATA_STORED].Revision = TVQ_DATA_REVISION;
  Slots[TVQ_OLD_DATA_STORED].Length   = (UINT32)Stored->Size;
  Slots[TVQ_OLD_DATA_STORED].Buffer   = Stored->Bytes;
  Slots[TVQ_OLD_DATA_MODE].Revision   = TVQ_DATA_REVISION;
  Slots[TVQ_OLD_DATA_MODE].Length     = sizeof (mMode);
  Slots[TVQ_OLD_DATA_MODE].Buffer     = mMode;

  OldData.Revision = TVQ_DATA_REVISION;
  OldData.Length   = sizeof (Slots);
  OldData.Buffer   = Slots;

  // The reference platform looks only into data whose length it knows.
  Status = gBS->LocateProtocol (&gTvqPlatformProtocolGuid, NULL, (VOID **)&Platform);
  if (EFI_ERROR (Status)) {
    Platform = NULL;
  } else {
    Status = Platform->AnnounceStoredData (Platform, Stored->Bytes, Stored->Size);
    if (EFI_ERROR (Status)) {
      return Status;
    }
  }

  Status    = Inventory->SMTVQVerify (Inventory, &Request, &OldData, NULL, &Result);
  *Replaced = !EFI_ERROR (Status) && ((Result & TVQ_RESULT_PART_REPLACED) != 0);

  if (Platform != NULL) {
    Platform->ForgetStoredData (Platform, Stored->Bytes);
  }

  return Status;
}

/**
  Reads what was stored of a device.

  @param[in]   Fqdd     The device.
  @param[out]  Stored   Receives a new block that the caller frees.

  @retval EFI_SUCCESS     Stored is set.
  @retval EFI_NOT_FOUND   Nothing was stored.
  @retval Others          It cannot be read.
**/
STATIC
EFI_STATUS
Load (
  IN  CHAR16       *Fqdd,
  OUT STORED_DATA  *Stored
  )
{
  EFI_STATUS  Status;

  Stored->Size = 0;
  Status       = gRT->GetVariable (Fqdd, &mVariableGuid, NULL, &Stored->Size, NULL);
  if (Status != EFI_BUFFER_TOO_SMALL) {
    return Status;
  }

  Stored->Bytes = AllocatePool (Stored->Size);
  if (Stored->Bytes == NULL) {
    return EFI_OUT_OF_RESOURCES;
  }

  Status = gRT->GetVariable (Fqdd, &mVariableGuid, NULL, &Stored->Size, Stored->Bytes);
  if (EFI_ERROR (Status)) {
    FreePool (Stored->Bytes);
  }

  return Status;
}

/**
  Stores the inventory of a device that is new, or compares a known device with what was stored.

  @param[in]  Inventory   The device.
  @param[in]  Fqdd        Its name.
**/
STATIC
VOID
StoreOrVerify (
  IN TVQ_INVENTORY_PROTOCOL  *Inventory,
  IN CHAR16                  *Fqdd
  )
{
  STORED_DATA  Current;
  STORED_DATA  Stored;
  BOOLEAN      Replaced;
  EFI_STATUS   Status;

  Status = TakeInventory (Inventory, &Current);
  if (EFI_ERROR (Status)) {
    Print (L"%s: no inventory (%r)\n", Fqdd, Status);
    return;
  }

  Status = Load (Fqdd, &Stored);
  if (Status == EFI_NOT_FOUND) {
    Status = gRT->SetVariable (Fqdd, &mVariableGuid, VARIABLE_ATTRIBUTES, Current.Size, Current.Bytes);
    Print (L"%s: stored (%r)\n", Fqdd, Status);
  } else if (EFI_ERROR (Status)) {
    Print (L"%s: cannot be read (%r)\n", Fqdd, Status);
  } else {
    Status = VerifyDevice (Inventory, &Stored, &Replaced);
    if (EFI_ERROR (Status)) {
      Print (L"%s: cannot be verified (%r)\n", Fqdd, Status);
    } else {
      Print (L"%s: %s\n", Fqdd, Replaced ? L"replaced" : L"same");
    }

    FreePool (Stored.Bytes);
  }

  FreePool (Current.Bytes);
}

/**
  Starts the driver and looks at every device.

  @param[in]  ImageHandle   Not used.
  @param[in]  SystemTable   Not used.

  @retval EFI_SUCCESS   Every device was looked at.
  @retval Others        There are no devices.
**/
EFI_STATUS
EFIAPI
AgentExampleEntry (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_HANDLE              *Handles;
  UINTN                   Count;
  UINTN                   Index;
  TVQ_INVENTORY_PROTOCOL  *Inventory;
  CHAR16                  *Fqdd;
  EFI_STATUS              Status;

  (VOID)ImageHandle;
  (VOID)SystemTable;

  Status = StartDriver ();
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = gBS->LocateHandleBuffer (ByProtocol, &gTvqInventoryProtocolGuid, NULL, &Count, &Handles);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  for (Index = 0; Index < Count; Index++) {
    Fqdd   = FqddOf (Handles[Index]);
    Status = gBS->HandleProtocol (Handles[Index], &gTvqInventoryProtocolGuid, (VOID **)&Inventory);
    if ((Fqdd != NULL) && !EFI_ERROR (Status)) {
      StoreOrVerify (Inventory, Fqdd);
    }

    if (Fqdd != NULL) {
      FreePool (Fqdd);
    }
  }

  FreePool (Handles);
  return EFI_SUCCESS;
}
