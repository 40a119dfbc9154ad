/** @file
  Verify of the inventory protocol: was the part replaced since an earlier boot?

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "tvq.h"

#include <IndustryStandard/TvqBlob.h>
#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>
#include <Protocol/TvqManagement.h>

#include "../common/cpu_dimm.h"
#include "../log.h"

namespace tvq {

namespace {

constexpr Logger kLog("SMTVQVerify");

constexpr char kRefusal[] = "<error>Configuration Unsupported</error>";
constexpr UINTN kRefusalSize = 60;

/// Tells whether the agent's mode is the one in which parts are compared.
bool IsModeNormal(const TVQ_DATA* oldData) {
  const auto* slots = static_cast<const TVQ_DATA*>(oldData->Buffer);
  if (slots == nullptr) {
    return false;
  }
  const TVQ_DATA& mode = slots[TVQ_OLD_DATA_MODE];
  const auto* text = static_cast<const CHAR8*>(mode.Buffer);
  return text != nullptr && ScanMem8(text, mode.Length, 0) != nullptr &&
         ZvAsciiStrStr(text, "<Mode>Normal") != nullptr;
}

TVQ_MANAGEMENT_PROTOCOL* LocateManagement() {
  TVQ_MANAGEMENT_PROTOCOL* management = nullptr;
  const EFI_STATUS status = gBS->LocateProtocol(&gTvqManagementProtocolGuid, nullptr,
                                                reinterpret_cast<VOID**>(&management));
  if (EFI_ERROR(status) || management == nullptr) {
    kLog.Error("Error getting TVQ Mgmt protocol %x", status);
    return nullptr;
  }
  return management;
}

/// The document in the agent's stored data; null, and a log line, when there is none.
const CHAR8* FetchDocument(TVQ_MANAGEMENT_PROTOCOL* management, const TVQ_DATA& stored) {
  if (stored.Length == 0 || stored.Buffer == nullptr) {
    kLog.Error("Error in Getting Old Data");
    return nullptr;
  }
  kLog("pOldData Revision = %d Length = %d Buffer = 0x%08x\n", stored.Revision, stored.Length,
       stored.Buffer);
  VOID* found = nullptr;
  const EFI_STATUS status =
      management->LocateBlob(management, stored.Buffer, TVQ_BLOB_TYPE_CONFIGURATION, 0, &found);
  if (EFI_ERROR(status) || found == nullptr) {
    kLog.Error("ERROR locating Config blob %x", status);
    return nullptr;
  }
  const auto* blob = static_cast<const TVQ_CONFIGURATION_BLOB*>(found);
  const auto* text = reinterpret_cast<const CHAR8*>(blob + 1);
  kLog("Revision %d, BlobType 0x%08x, Cookie 0x%08x \n", blob->header.revision, blob->header.type,
       blob->header.cookie);
  kLog("Size in Bytes = %d \n", blob->header.sizeInBytes);
  kLog("tvqOldConfigBlob Data \n");
  kLog("%a \n", text);
  return text;
}

/// Tells whether a stored text is the current one, or as much of it as a document keeps. Deliberate:
/// a text that was not stored is never the same. One that is not known is empty.
template <UINTN kStoredLength>
bool IsSameText(const CHAR16* stored, const CHAR16* current) {
  if (stored == nullptr) {
    return false;
  }
  if (current == nullptr) {
    return stored[0] == 0;
  }
  if (ZvStrCmp(stored, current) == 0) {
    return true;
  }
  CHAR16 kept[kStoredLength + 1];
  UINTN length = 0;
  while (length < kStoredLength && current[length] != 0) {
    kept[length] = current[length];
    length++;
  }
  kept[length] = 0;
  return ZvStrCmp(stored, kept) == 0;
}

/// Tells whether the current part number is the stored one or, deliberately, extends it.
bool IsSamePart(const CHAR8* stored, const CHAR8* current) {
  return stored != nullptr &&
         ZvAsciiStrnCmp(current == nullptr ? "" : current, stored, ZvAsciiStrLen(stored)) == 0;
}

[[nodiscard]] EFI_STATUS VerifyDimm(const TVQ_DIMM& dimm, const CHAR8* document, UINT32* result) {
  DIMM_XML_CACHE* stored = nullptr;
  UINT32 length = 1;
  const EFI_STATUS status = ParseDIMMXMLBlob(document, &stored, &length);
  if (EFI_ERROR(status)) {
    FreeDimmCache(stored);
    kLog("Error Parsing XMLBlob");
    return status;
  }
  kLog("dimmCache->WWN = %s\n", stored->WWN);
  kLog("dimmCache->PartNo = %a\n", stored->PartNo);
  kLog("tvq->device.generic.WWN = %s\n", dimm.Generic.WWN);
  kLog("tvq->device.dimm.PartNumber = %a\n", dimm.PartNumber);
  if (!IsSameText<devices::kSerialLength>(stored->WWN, dimm.Generic.WWN) ||
      !IsSamePart(stored->PartNo, dimm.PartNumber)) {
    kLog("Part Replacement detected for DIMM Device\n");
    *result |= TVQ_RESULT_PART_REPLACED;
  }
  FreeDimmCache(stored);
  return EFI_SUCCESS;  // Deliberate: without the line that ends the other two.
}

[[nodiscard]] EFI_STATUS VerifyCpu(const TVQ_CPU& cpu, const CHAR8* document, UINT32* result) {
  CPU_XML_CACHE* stored = nullptr;
  UINT32 length = 1;
  const EFI_STATUS status = ParseCPUXMLBlob(document, &stored, &length);
  if (EFI_ERROR(status)) {
    FreeCpuCache(stored);
    kLog("ERROR Parsing CPUXMLBlob with %r\n", status);
    return status;
  }
  kLog("New Marketing Name : %s\n", cpu.Generic.MarketingName);
  kLog("New CoreCount : %d\n", cpu.CoreCount);
  kLog("Old Marketing Name : %s\n", stored->MarketingName);
  kLog("Old CoreCount : %d\n", stored->CoreCount);
  if (stored->CoreCount != cpu.CoreCount ||
      !IsSameText<devices::kTextLength>(stored->MarketingName, cpu.Generic.MarketingName)) {
    kLog("Part Replacement detected for CPU Device\n");
    *result |= TVQ_RESULT_PART_REPLACED;
  }
  FreeCpuCache(stored);
  kLog("Exiting\n");
  return EFI_SUCCESS;
}

[[nodiscard]] EFI_STATUS VerifyDevice(const TVQ_DEVICE& device, const CHAR8* document,
                                      UINT32* result) {
  switch (device.generic.DeviceType) {
    case TVQ_DEVICE_TYPE_DIMM:
      return VerifyDimm(device.dimm, document, result);
    case TVQ_DEVICE_TYPE_CPU:
      return VerifyCpu(device.cpu, document, result);
    default:  // Deliberate: the system is never replaced.
      kLog("Exiting\n");
      return EFI_SUCCESS;
  }
}

/// Returns an error text, the caller's from then on, through the descriptor that the response's
/// buffer has to be.
[[nodiscard]] EFI_STATUS Refuse(TVQ_DATA* response) {
  auto* text = static_cast<CHAR8*>(ZvAllocateZero(kRefusalSize));
  if (text != nullptr) {
    (void)ZvAsciiStrCpyS(text, kRefusalSize, kRefusal);
    auto* target = static_cast<TVQ_DATA*>(response->Buffer);
    target->Length = sizeof(kRefusal) - 1;
    target->Buffer = text;
  }
  return EFI_UNSUPPORTED;
}

}  // namespace

EFI_STATUS EFIAPI SMTVQVerify(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request, TVQ_DATA* OldData,
                              TVQ_DATA* Response, UINT32* Result) {
  kLog("Entering \n");
  if (This == nullptr || Request == nullptr || OldData == nullptr || Result == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *Result = 0;
  if (!IsModeNormal(OldData)) {
    return EFI_UNSUPPORTED;
  }
  const smTVQ* record = RecordOf(This, __LINE__);
  if (record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  TVQ_MANAGEMENT_PROTOCOL* management = LocateManagement();
  if (management == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  // Deliberate: such a response asks for something that the driver does not do. It is refused only
  // here, where a missing management protocol has its own status.
  if (Response != nullptr && Response->Length != 0 && Response->Buffer != nullptr) {
    return Refuse(Response);
  }
  const auto* slots = static_cast<const TVQ_DATA*>(OldData->Buffer);
  const CHAR8* document = FetchDocument(management, slots[TVQ_OLD_DATA_STORED]);
  if (document == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return VerifyDevice(record->device, document, Result);
}

}  // namespace tvq
