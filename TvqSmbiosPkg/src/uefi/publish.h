/** @file
  Publishes a finished record.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PUBLISH_H_
#define TVQ_PUBLISH_H_

#include <Library/TvqCpp.h>
#include <Protocol/TvqRecord.h>
#include <Protocol/ZvEntry.h>

namespace tvq {

/// The driver's own image handle.
extern EFI_HANDLE gTvqImageHandle;

/// Fills the record's four operations and marks it valid.
void FillOperations(smTVQ* record);

/**
  Installs record, inventory protocol, device-list entry and device path on a new handle, and opens
  the record by driver.

  @param[in]  record   The record, with operations and device path.
  @param[in]  entry    Its device-list entry; installed as it is, null too.

  @retval EFI_SUCCESS           The record is published.
  @retval EFI_ALREADY_STARTED   Another handle has the same device path.
  @retval Others                What InstallMultipleProtocolInterfaces returned.
**/
EFI_STATUS PublishRecord(smTVQ* record, ZVEP_PROTOCOL* entry);

}  // namespace tvq

#endif
