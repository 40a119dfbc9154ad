/** @file
  DIMM extension list.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "dimm_extension.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "../smbios/structure.h"

namespace tvq {

namespace {

constexpr Logger kMakeLog("MakeDIMMs");
constexpr Logger kAddLog("AddTypeE2toList");
constexpr Logger kGetLog("GetTypeE2FromList");
constexpr Logger kReleaseLog("ReleaseE2List");

/// A copy of the firmware version, or null.
CHAR8* CopyFirmwareVersion(const CHAR8* version) {
  const UINTN length = ZvAsciiStrLen(version);
  auto* copy = static_cast<CHAR8*>(ZvAllocateZero(length + 1));
  if (copy != nullptr) {
    ZvCopyMem(copy, version, length);
    kMakeLog("FirmwareVersion: %a\n", copy);
  }
  return copy;
}

/// Deliberate: the fields are read without a test of the structure's length.
void AppendExtension(TYPE_E2_NODE** root, const Structure& extension) {
  const UINT16 type17Handle = extension.Peek(SMBIOS_FIELD(226, Type17Handle));
  const UINT32 componentId = extension.Peek(SMBIOS_FIELD(226, ComponentID));
  const UINT16 productId = extension.Peek(SMBIOS_FIELD(226, ProductID));
  const UINT16 handle = extension.OwnHandle();
  kMakeLog("Handle = 0x%X 17Handle 0x%X \n", handle, type17Handle);
  kMakeLog("CMPID = %d PRID = 0x%X\n", componentId, productId);

  const CHAR8* version = extension.PeekString(SMBIOS_FIELD(226, FirmwareVersion));
  if (version == nullptr) {
    return;
  }
  auto* node = static_cast<TYPE_E2_NODE*>(ZvAllocateZero(sizeof(TYPE_E2_NODE)));
  if (node == nullptr) {
    return;
  }
  node->FirmwareVersion = CopyFirmwareVersion(version);
  node->E2Handle = handle;
  node->Type17Handle = type17Handle;
  node->ComponentID = componentId;
  node->ProductID = productId;
  node->Next = nullptr;
  kMakeLog.IfError(AddTypeE2toList(root, node), "Failed to add Node to List AddTypeE2toList\n");
}

}  // namespace

TYPE_E2_NODE* CollectE2List() {
  StructureList extensions;
  if (EFI_ERROR(extensions.Collect(SMBIOS_TYPE_TVQ_DIMM_EXTENSION)) || !extensions.Any()) {
    kMakeLog("Could not Found 0xE2 (226)\n");
    extensions.Leave();  // Deliberate: an empty collection stays in the pool.
    return nullptr;
  }
  kMakeLog("Found %d E2\n", extensions.Count());
  TYPE_E2_NODE* root = nullptr;
  for (UINT16 i = 0; i < extensions.Count(); i++) {
    AppendExtension(&root, extensions[i]);
  }
  return root;
}

EFI_STATUS AddTypeE2toList(TYPE_E2_NODE** Root, TYPE_E2_NODE* Node) {
  kAddLog("Entry\n");
  if (Node == nullptr) {
    kAddLog("Invalid Entry Node\n");
    return EFI_OUT_OF_RESOURCES;
  }
  if (*Root == nullptr) {
    kAddLog("Adding First Entry to pE2ListRoot\n");
    *Root = Node;
  } else {
    kAddLog("Traversing the pE2ListRoot\n");
    TYPE_E2_NODE* last = *Root;
    while (last->Next != nullptr) {
      last = last->Next;
    }
    last->Next = Node;
  }
  kAddLog("Exit\n");
  return EFI_SUCCESS;
}

TYPE_E2_NODE* GetTypeE2FromList(UINT16 Type17Handle, TYPE_E2_NODE* Root) {
  kGetLog("Entry\n");
  if (Root == nullptr) {
    kGetLog("NULL List\n");
    return nullptr;
  }
  TYPE_E2_NODE* node = Root;
  while (node != nullptr) {
    kGetLog("Type17TableHandle from List= 0x%X\n\n", node->Type17Handle);
    if (node->Type17Handle == Type17Handle) {
      kGetLog("Found Match\n");
      break;
    }
    node = node->Next;
  }
  kGetLog("Exit\n");
  return node;
}

void ReleaseE2List(TYPE_E2_NODE* Root) {
  kReleaseLog("Entry\n");
  while (Root != nullptr) {
    TYPE_E2_NODE* next = Root->Next;
    if (Root->FirmwareVersion != nullptr) {
      kReleaseLog("Free FirmwareVersion\n");
      ZvFreePool(Root->FirmwareVersion);
      Root->FirmwareVersion = nullptr;
    }
    kReleaseLog("Free Node\n");
    ZvFreePool(Root);
    Root = next;
  }
  kReleaseLog("Exit\n");
}

}  // namespace tvq
