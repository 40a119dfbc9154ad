/** @file
  Where the builders hand over their records: a port of theirs, which whoever serves records fills.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PUBLISH_H_
#define TVQ_PUBLISH_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

namespace tvq {

/// Fills the record's four operations and marks it valid.
void FillOperations(smTVQ* record);

/**
  Makes the record's device-list entry, installs record, inventory protocol, entry and device path on
  a new handle, and opens the record by driver.

  @param[in]  record   The record, with operations and device path. Without memory for its entry,
                       null is installed in the entry's place.

  @retval EFI_SUCCESS           The record is published.
  @retval EFI_ALREADY_STARTED   Another handle has the same device path.
  @retval Others                What InstallMultipleProtocolInterfaces returned.
**/
[[nodiscard]] EFI_STATUS PublishRecord(smTVQ* record);

}  // namespace tvq

#endif
