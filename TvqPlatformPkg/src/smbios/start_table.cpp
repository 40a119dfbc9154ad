/** @file
  The table for a start of the driver: the firmware's, conformed, in its place for as long as the start
  takes.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>

extern "C" {
#include <Protocol/Smbios.h>
}

#include <IndustryStandard/SmbiosTvq.h>

#include "conform.h"
#include "firmware_table.h"
#include "publication.h"

using tvqplatform::Bytes;
using tvqplatform::ConformedTable;
using tvqplatform::Publication;

namespace smbios = tvq::smbios;

EFI_STATUS EFIAPI TvqPublishTable(TVQ_PUBLISHED_TABLE* Published) {
  *Published = {};
  tvqplatform::Capture capture;
  if (!tvqplatform::ReadFirmwareTable(capture)) {
    return EFI_NOT_FOUND;
  }
  tvqplatform::SmbiosTable& table = capture.Table;
  ConformedTable conformed;
  const tvqplatform::ConformResult result = conformed.Conform(table.Structures);
  if (result == tvqplatform::ConformResult::kChanged) {
    table.Structures = conformed.Structures();
    table.StructureCount = static_cast<UINT16>(smbios::Summarize(table.Structures).Count);
  }
  DEBUG((tvqplatform::IsRefused(result) ? DEBUG_ERROR : DEBUG_INFO, "TVQ: conforming: %a\n",
         tvqplatform::ConformResultText(result)));
  Publication publication;
  const EFI_STATUS status = publication.Publish(table);
  if (!EFI_ERROR(status)) {
    *Published = publication.Release();
  }
  return status;
}

VOID EFIAPI TvqPutBackTable(const TVQ_PUBLISHED_TABLE* Published) {
  Publication(*Published).Restore();
}

VOID EFIAPI TvqAddFqddsToFirmwareTable(const TVQ_PUBLISHED_TABLE* Published) {
  EFI_SMBIOS_PROTOCOL* firmware = nullptr;
  if (Published->EntryPoint == nullptr ||
      EFI_ERROR(gBS->LocateProtocol(&gEfiSmbiosProtocolGuid, nullptr,
                                    reinterpret_cast<VOID**>(&firmware)))) {
    return;
  }
  for (const smbios::Structure& structure :
       smbios::Walk(tvqplatform::TableBehind(Published->EntryPoint))) {
    if (structure.Type() != SMBIOS_TYPE_TVQ_FQDD_MAP) {
      continue;
    }
    // A handle that is taken is that of a structure which the firmware's table had before.
    EFI_SMBIOS_HANDLE handle = structure.Handle();
    auto* record =
        reinterpret_cast<EFI_SMBIOS_TABLE_HEADER*>(const_cast<UINT8*>(structure.Whole().Data()));
    (void)firmware->Add(firmware, nullptr, &handle, record);
  }
}
