/** @file
  The attributes that TVQSMBIOS registered, asked through the attribute store.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_ATTRIBUTES_H_
#define TVQ_PLATFORM_AGENT_ATTRIBUTES_H_

#include <TvqCpp.h>
#include <Guid/TvqAttributes.h>
#include <Protocol/TvqPlatform.h>

namespace tvqplatform {

/// The platform protocol, or null.
TVQ_PLATFORM_PROTOCOL* FindPlatform();

/// One question and its answer. Text or BiosInfo is set when Status is EFI_SUCCESS.
struct AttributeAnswer {
  const CHAR16* Namespace;
  const CHAR16* Name;
  bool IsBiosInfo;
  EFI_STATUS Status;
  CHAR16* Text;
  SMBIOS_BIOS_INFO* BiosInfo;
};

/// Asks every attribute that takes no query, and frees the answers.
class AttributeAnswers {
 public:
  AttributeAnswers();
  AttributeAnswers(const AttributeAnswers&) = delete;
  AttributeAnswers& operator=(const AttributeAnswers&) = delete;
  ~AttributeAnswers();

  static constexpr UINTN kCount = 3;
  const AttributeAnswer& operator[](UINTN i) const { return mAnswers[i]; }

 private:
  AttributeAnswer mAnswers[kCount];
};

}  // namespace tvqplatform

#endif
