/** @file
  Publishes an SMBIOS table: below 4 GiB, behind a 32-bit entry point in the configuration table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_PUBLICATION_H_
#define TVQ_PLATFORM_SMBIOS_PUBLICATION_H_

#include <Library/TvqTableLib.h>

#include "table.h"

namespace tvqplatform {

/// While this lives, the configuration table names the published entry point; then what stood there
/// before comes back. The memory deliberately stays allocated for the boot, because TVQSMBIOS
/// keeps pointers into the table.
class Publication {
 public:
  Publication() = default;
  /// Takes over what Release() handed out.
  explicit Publication(const TVQ_PUBLISHED_TABLE& published) : mPublished(published) {}
  Publication(const Publication&) = delete;
  Publication& operator=(const Publication&) = delete;
  ~Publication();

  /**
    Copies the table and puts it into place of the one that is there.

    @retval EFI_SUCCESS            The table is published.
    @retval EFI_BAD_BUFFER_SIZE    It is larger than a 32-bit entry point can state.
    @retval EFI_OUT_OF_RESOURCES   There is no memory below 4 GiB.
    @retval Others                 The configuration table could not be changed.
  **/
  [[nodiscard]] EFI_STATUS Publish(const SmbiosTable& table);

  /// Puts back what stood there, unless somebody else has changed it since.
  void Restore();

  /// Leaves the table in place, for somebody else to restore.
  [[nodiscard]] TVQ_PUBLISHED_TABLE Release();

  const UINT8* EntryPoint() const { return static_cast<const UINT8*>(mPublished.EntryPoint); }

 private:
  TVQ_PUBLISHED_TABLE mPublished = {};
};

/// The structures behind a 32-bit entry point that was published.
Bytes TableBehind(const VOID* entryPoint);

/// The vendor table of a GUID in the configuration table, or null.
VOID* FindConfigurationTable(const EFI_GUID& guid);

}  // namespace tvqplatform

#endif
