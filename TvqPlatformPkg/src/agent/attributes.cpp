/** @file
  The attributes that TVQSMBIOS registered, asked through the attribute store.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "attributes.h"

namespace tvqplatform {

namespace {

/// Without the platform nothing was ever registered.
EFI_STATUS Ask(const AttributeAnswer& question, UINT64& value) {
  TVQ_PLATFORM_PROTOCOL* platform = FindPlatform();
  if (platform == nullptr) {
    return EFI_NOT_FOUND;
  }
  return platform->GetAttribute(platform, const_cast<CHAR16*>(question.Namespace),
                                const_cast<CHAR16*>(question.Name), &value);
}

AttributeAnswer Answer(const CHAR16* nameSpace, const CHAR16* name, bool isBiosInfo) {
  AttributeAnswer answer = {nameSpace, name, isBiosInfo, EFI_NOT_FOUND, nullptr, nullptr};
  UINT64 value = 0;
  answer.Status = Ask(answer, value);
  if (EFI_ERROR(answer.Status)) {
    return answer;
  }
  VOID* block = reinterpret_cast<VOID*>(static_cast<UINTN>(value));
  if (isBiosInfo) {
    answer.BiosInfo = static_cast<SMBIOS_BIOS_INFO*>(block);
  } else {
    answer.Text = static_cast<CHAR16*>(block);
  }
  return answer;
}

}  // namespace

TVQ_PLATFORM_PROTOCOL* FindPlatform() {
  VOID* platform = nullptr;
  const EFI_STATUS status = gBS->LocateProtocol(&gTvqPlatformProtocolGuid, nullptr, &platform);
  return EFI_ERROR(status) ? nullptr : static_cast<TVQ_PLATFORM_PROTOCOL*>(platform);
}

AttributeAnswers::AttributeAnswers() {
  const CHAR16* server = tvq::Ucs2(TVQ_NAMESPACE_SERVER);
  mAnswers[0] = Answer(server, tvq::Ucs2(TVQ_ATTRIBUTE_SERVICE_TAG), false);
  mAnswers[1] = Answer(server, tvq::Ucs2(TVQ_ATTRIBUTE_SYSTEM_NAME), false);
  mAnswers[2] = Answer(tvq::Ucs2(TVQ_NAMESPACE_BIOS), tvq::Ucs2(TVQ_ATTRIBUTE_BIOS_INFO), true);
}

AttributeAnswers::~AttributeAnswers() {
  for (const AttributeAnswer& answer : mAnswers) {
    if (answer.Text != nullptr) {
      (void)gBS->FreePool(answer.Text);
    }
    if (answer.BiosInfo != nullptr) {
      (void)gBS->FreePool(answer.BiosInfo);
    }
  }
}

}  // namespace tvqplatform
