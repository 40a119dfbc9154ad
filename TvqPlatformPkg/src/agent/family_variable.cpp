/** @file
  The variable that a start of TVQSMBIOS writes into NVRAM.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "family_variable.h"

extern "C" {
#include <Library/UefiRuntimeServicesTableLib.h>
}

#include <Guid/ZvServices.h>

namespace tvqplatform {

namespace {

/// EFI_BUFFER_TOO_SMALL for one that is none of the driver's.
[[nodiscard]] EFI_STATUS Get(UINT32& attributes, UINT8& family) {
  UINTN size = sizeof(family);
  return gRT->GetVariable(tvq::Ucs2(TVQ_PROCESSOR_FAMILY_VARIABLE_NAME), &gZvServicesTableGuid,
                          &attributes, &size, &family);
}

[[nodiscard]] EFI_STATUS Set(UINT32 attributes, UINTN size, UINT8 family) {
  return gRT->SetVariable(tvq::Ucs2(TVQ_PROCESSOR_FAMILY_VARIABLE_NAME), &gZvServicesTableGuid,
                          attributes, size, &family);
}

}  // namespace

FamilyVariable::FamilyVariable() {
  mStatus = Get(mAttributes, mFamily);
}

EFI_STATUS FamilyVariable::PutBack(bool& isChanged) const {
  isChanged = false;
  if (EFI_ERROR(mStatus) && mStatus != EFI_NOT_FOUND) {
    return EFI_SUCCESS;
  }
  UINT32 attributes = 0;
  UINT8 family = 0;
  const EFI_STATUS status = Get(attributes, family);
  if (EFI_ERROR(status)) {
    return status == mStatus ? EFI_SUCCESS : status;
  }
  if (mStatus == EFI_NOT_FOUND) {
    isChanged = true;
    return Set(attributes, 0, family);
  }
  if (family == mFamily) {
    return EFI_SUCCESS;
  }
  isChanged = true;
  return Set(mAttributes, sizeof(mFamily), mFamily);
}

}  // namespace tvqplatform
