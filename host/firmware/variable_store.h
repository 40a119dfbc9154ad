/*
 * The UEFI variables of a state.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_VARIABLE_STORE_H_
#define TVQ_HOST_FIRMWARE_VARIABLE_STORE_H_

#include <string_view>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

// Follows EDK II's variable driver without authentication: which attributes are refused, and with
// what.
class VariableStore {
 public:
  // Name and data together; what OVMF allows.
  static constexpr UINTN kMaxVariableSize = 0x8400;
  static constexpr UINT64 kStorageSize = 0x40000;

  EFI_STATUS Get(const CHAR16* name, const EFI_GUID* vendor, UINT32* attributes, UINTN* size,
                 void* data) const;
  EFI_STATUS Set(const CHAR16* name, const EFI_GUID* vendor, UINT32 attributes, UINTN size,
                 const void* data);
  EFI_STATUS GetNextName(UINTN* size, CHAR16* name, EFI_GUID* vendor) const;
  EFI_STATUS QueryInfo(UINT32 attributes, UINT64* storage, UINT64* remaining,
                       UINT64* largest) const;

  const std::vector<Variable>& All() const { return mVariables; }
  const Variable* Find(std::u16string_view name, const EFI_GUID& guid) const;

 private:
  size_t IndexOf(std::u16string_view name, const EFI_GUID& guid) const;
  UINT64 UsedSize() const;
  EFI_STATUS Store(std::u16string_view name, const EFI_GUID& vendor, UINT32 attributes,
                   const UINT8* data, UINTN size);

  std::vector<Variable> mVariables;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_VARIABLE_STORE_H_
