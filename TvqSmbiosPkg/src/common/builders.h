/** @file
  The three builders of device records. Each may be called once the SMBIOS table is located; what
  it installed stays installed when it fails later. Deliberate: structures for whose collection there
  is no memory are as structures that are not there.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_BUILDERS_H_
#define TVQ_BUILDERS_H_

#include <TvqCpp.h>

namespace tvq {

/**
  Publishes a record per populated processor socket (SMBIOS type 4) and writes the processor-family
  variable.

  @retval EFI_SUCCESS             All populated sockets are published.
  @retval EFI_NOT_FOUND           There is no processor structure, or no memory to collect them.
  @retval EFI_OUT_OF_RESOURCES    An allocation failed; the sockets after it are not published.
  @retval Others                  What InstallMultipleProtocolInterfaces returned.
**/
[[nodiscard]] EFI_STATUS MakeCPUs();

/**
  Publishes a record per memory module (SMBIOS type 17) that is neither a logical NVDIMM nor
  high-bandwidth memory.

  @retval EFI_SUCCESS             All modules are published.
  @retval EFI_NOT_FOUND           There is no memory-device structure, or no memory to collect
                                  them.
  @retval EFI_OUT_OF_RESOURCES    An allocation failed; the modules after it are not published.
  @retval Others                  What InstallMultipleProtocolInterfaces returned.
**/
[[nodiscard]] EFI_STATUS MakeDIMMs();

/**
  Publishes the record of the system.

  @retval EFI_SUCCESS             The system is published, or has no product name.
  @retval EFI_NOT_FOUND           There is not exactly one system structure (SMBIOS type 1), or
                                  no memory to collect them.
  @retval EFI_OUT_OF_RESOURCES    An allocation of the record itself failed.
  @retval Others                  What InstallMultipleProtocolInterfaces returned.
**/
[[nodiscard]] EFI_STATUS MakeSYSTEM();

}  // namespace tvq

#endif
