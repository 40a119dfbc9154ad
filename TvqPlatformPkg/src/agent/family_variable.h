/** @file
  The variable that a start of TVQSMBIOS writes into NVRAM.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_FAMILY_VARIABLE_H_
#define TVQ_PLATFORM_AGENT_FAMILY_VARIABLE_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Remembers it as it was before a start.
class FamilyVariable {
 public:
  FamilyVariable();

  /**
    Puts it back: it goes where it was not there. Nothing that runs needs it.

    @retval EFI_SUCCESS   It is as it was; `isChanged` tells whether it was another one. Or nothing was
                          known of it, and nothing is done.
    @retval Others        It stays as the start left it.
  **/
  [[nodiscard]] EFI_STATUS PutBack(bool& isChanged) const;

 private:
  UINT32 mAttributes = 0;
  UINT8 mFamily = 0;
  EFI_STATUS mStatus;
};

}  // namespace tvqplatform

#endif
