/** @file
  The configuration blob's wrapper, the end blob, and the header of all blobs.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "blobs.h"

#include <Library/ZorvLib.h>

#include "../log.h"
#include "configuration.h"

namespace tvq {

namespace {

constexpr Logger kConfigLog("getConfigBlob");

/// A configuration blob with a copy of the document; null without memory, which is logged.
TVQ_BLOB_HEADER* WrapDocument(const CHAR8* document, UINTN length) {
  const UINTN size = sizeof(TVQ_CONFIGURATION_BLOB) + length + 1;
  TVQ_BLOB_HEADER* blob =
      NewBlob(TVQ_BLOB_TYPE_CONFIGURATION, TVQ_BLOB_COOKIE_CONFIGURATION, size, size);
  if (blob == nullptr) {
    kConfigLog("Failed to allocate memory for tvqconfigBlob \n");
    return nullptr;
  }
  ZvCopyMem(reinterpret_cast<UINT8*>(blob) + sizeof(TVQ_CONFIGURATION_BLOB), document, length + 1);
  return blob;
}

[[nodiscard]] EFI_STATUS WrapCached(TVQ_BLOB_HEADER** blob, const smTVQ* record) {
  TVQ_BLOB_HEADER* wrapped = WrapDocument(record->ConfigXml, ZvAsciiStrLen(record->ConfigXml));
  if (wrapped == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *blob = wrapped;
  kConfigLog("GetInstance Cached SMBIOS Current Values\n");
  return EFI_SUCCESS;
}

/// Keeps a copy of the document in the record. Without memory for it the next Get builds the
/// document again, so the record stays as it is.
void KeepDocument(smTVQ* record, const XmlWriter& document) {
  auto* copy = static_cast<CHAR8*>(ZvAllocateZero(document.Length() + 1));
  if (copy == nullptr) {
    return;
  }
  ZvCopyMem(copy, document.Text(), document.Length() + 1);
  record->ConfigXml = copy;
  if (record->device.generic.DeviceType == TVQ_DEVICE_TYPE_SYSTEM) {
    SettleHotPlug(record->device.system);
  }
}

}  // namespace

TVQ_BLOB_HEADER* NewBlob(UINT32 type, UINT32 cookie, UINTN size, UINTN allocated) {
  auto* blob = static_cast<TVQ_BLOB_HEADER*>(ZvAllocateZero(allocated));
  if (blob != nullptr) {
    blob->revision = TVQ_BLOB_REVISION;
    blob->type = type;
    blob->cookie = cookie;
    blob->sizeInBytes = static_cast<UINT32>(size);
  }
  return blob;
}

EFI_STATUS getConfigBlob(TVQ_BLOB_HEADER** Blob, smTVQ* Record) {
  if (Blob == nullptr || Record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Record->ConfigXml != nullptr) {
    return WrapCached(Blob, Record);
  }

  XmlWriter document;
  if (!document.Allocate()) {
    kConfigLog.Error("Failed to allocate memory for xml \n");
    return EFI_OUT_OF_RESOURCES;
  }
  kConfigLog("Creating SMBIOS XML\n");
  const EFI_STATUS status = WriteDocument(document, Record);
  if (EFI_ERROR(status)) {
    return status;
  }
  kConfigLog("GetInstance SMBIOS Current Values\n");
  kConfigLog("xmlbuffer size = %d xmllength = %d\n", XmlWriter::kInitialSize, document.Length());

  KeepDocument(Record, document);
  TVQ_BLOB_HEADER* blob = WrapDocument(document.Text(), document.Length());
  if (blob == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  *Blob = blob;
  kConfigLog("Exiting \n");
  return EFI_SUCCESS;
}

EFI_STATUS getEndBlob(TVQ_BLOB_HEADER** Blob) {
  constexpr Logger log("getEndBlob");
  log("Entering \n");
  TVQ_BLOB_HEADER* blob =
      NewBlob(TVQ_BLOB_TYPE_END, TVQ_BLOB_COOKIE_END, sizeof(TVQ_END_BLOB), sizeof(TVQ_END_BLOB));
  if (blob == nullptr) {
    log("Failed to allocate memory for tvqEndBlob \n");
    return EFI_OUT_OF_RESOURCES;
  }
  *Blob = blob;
  log("Exiting \n");
  return EFI_SUCCESS;
}

}  // namespace tvq
