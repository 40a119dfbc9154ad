/** @file
  DIMM extension list: what the OEM structures of type 226 add to the memory devices.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_DIMM_EXTENSION_H_
#define TVQ_DIMM_EXTENSION_H_

#include <TvqCpp.h>

namespace tvq {

#pragma pack(1)

/// One extension. The list owns its nodes and their firmware versions.
struct TYPE_E2_NODE {
  UINT16 E2Handle;         ///< The extension's own handle.
  UINT16 Type17Handle;     ///< The memory device that it extends.
  CHAR8* FirmwareVersion;  ///< Null when it could not be copied.
  UINT32 ComponentID;
  UINT16 ProductID;
  TYPE_E2_NODE* Next;
};

#pragma pack()

static_assert(sizeof(TYPE_E2_NODE) == 26, "the node is packed");

/// Collects all structures of type 226 in table order. Structures without a firmware version, and
/// those for which there is no memory, get no node. Logs as MakeDIMMs.
[[nodiscard]] TYPE_E2_NODE* CollectE2List();

/**
  Appends a node.

  @param[in, out]  Root   The head of the list.
  @param[in]       Node   The node, its Next null; the list owns it from here on.

  @retval EFI_SUCCESS             The node is the last one.
  @retval EFI_OUT_OF_RESOURCES    Node is null, which says that it could not be allocated.
**/
[[nodiscard]] EFI_STATUS AddTypeE2toList(TYPE_E2_NODE** Root, TYPE_E2_NODE* Node);

/// The first node for a memory device, or null.
TYPE_E2_NODE* GetTypeE2FromList(UINT16 Type17Handle, TYPE_E2_NODE* Root);

/// Frees all nodes and their firmware versions.
void ReleaseE2List(TYPE_E2_NODE* Root);

}  // namespace tvq

#endif
