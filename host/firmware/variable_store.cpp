/*
 * The UEFI variables of a state.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/variable_store.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace tvq::host {
namespace {

constexpr UINT32 kPlainAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;
constexpr UINT32 kKnownAttributes = kPlainAttributes | EFI_VARIABLE_APPEND_WRITE;

std::u16string_view NameOf(const CHAR16* name) {
  return std::u16string_view(reinterpret_cast<const char16_t*>(name));
}

bool SameGuid(const EFI_GUID& left, const EFI_GUID& right) {
  return std::memcmp(&left, &right, sizeof(EFI_GUID)) == 0;
}

UINTN NameSize(std::u16string_view name) {
  return (name.size() + 1) * sizeof(CHAR16);
}

UINTN SizeOf(const Variable& variable) {
  return NameSize(variable.name) + variable.data.size();
}

// Authenticated and hardware error variables are among what a store without their support refuses.
bool AreAttributesValid(UINT32 attributes) {
  if ((attributes & ~kKnownAttributes) != 0) {
    return false;
  }
  if ((attributes & EFI_VARIABLE_RUNTIME_ACCESS) != 0) {
    return (attributes & EFI_VARIABLE_BOOTSERVICE_ACCESS) != 0;
  }
  return (attributes & kPlainAttributes) != EFI_VARIABLE_NON_VOLATILE;
}

}  // namespace

size_t VariableStore::IndexOf(std::u16string_view name, const EFI_GUID& guid) const {
  const auto found =
      std::find_if(mVariables.begin(), mVariables.end(), [&](const Variable& variable) {
        return variable.name == name && SameGuid(variable.guid, guid);
      });
  return static_cast<size_t>(found - mVariables.begin());
}

const Variable* VariableStore::Find(std::u16string_view name, const EFI_GUID& guid) const {
  const size_t index = IndexOf(name, guid);
  return index < mVariables.size() ? &mVariables[index] : nullptr;
}

UINT64 VariableStore::UsedSize() const {
  UINT64 used = 0;
  for (const Variable& variable : mVariables) {
    used += SizeOf(variable);
  }
  return used;
}

EFI_STATUS VariableStore::Get(const CHAR16* name, const EFI_GUID* vendor, UINT32* attributes,
                              UINTN* size, void* data) const {
  if (name == nullptr || vendor == nullptr || size == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Variable* variable = name[0] == 0 ? nullptr : Find(NameOf(name), *vendor);
  if (variable == nullptr) {
    return EFI_NOT_FOUND;
  }
  const UINTN room = *size;
  *size = variable->data.size();
  if (attributes != nullptr && (room < *size || data != nullptr)) {
    *attributes = variable->attributes;
  }
  if (room < variable->data.size()) {
    return EFI_BUFFER_TOO_SMALL;
  }
  if (data == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  std::memcpy(data, variable->data.data(), variable->data.size());
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::Set(const CHAR16* name, const EFI_GUID* vendor, UINT32 attributes,
                              UINTN size, const void* data) {
  if (name == nullptr || name[0] == 0 || vendor == nullptr || (size != 0 && data == nullptr) ||
      !AreAttributesValid(attributes)) {
    return EFI_INVALID_PARAMETER;
  }
  if (size > kMaxVariableSize || NameSize(NameOf(name)) + size > kMaxVariableSize) {
    return EFI_INVALID_PARAMETER;
  }
  return Store(NameOf(name), *vendor, attributes, static_cast<const UINT8*>(data), size);
}

EFI_STATUS VariableStore::Store(std::u16string_view name, const EFI_GUID& vendor, UINT32 attributes,
                                const UINT8* data, UINTN size) {
  const bool append = (attributes & EFI_VARIABLE_APPEND_WRITE) != 0;
  const UINT32 kept = attributes & kPlainAttributes;
  const bool deletes = kept == 0 || (size == 0 && !append);
  const size_t index = IndexOf(name, vendor);
  if (index == mVariables.size()) {
    if (deletes) {
      return EFI_NOT_FOUND;
    }
    if (UsedSize() + NameSize(name) + size > kStorageSize) {
      return EFI_OUT_OF_RESOURCES;
    }
    mVariables.push_back({std::u16string(name), vendor, kept, {data, data + size}});
    return EFI_SUCCESS;
  }
  Variable& variable = mVariables[index];
  if (kept != 0 && kept != variable.attributes) {
    return EFI_INVALID_PARAMETER;
  }
  if (deletes) {
    mVariables.erase(mVariables.begin() + static_cast<std::ptrdiff_t>(index));
    return EFI_SUCCESS;
  }
  const UINTN replaced = append ? 0 : variable.data.size();
  if (UsedSize() - replaced + size > kStorageSize ||
      (append && SizeOf(variable) + size > kMaxVariableSize)) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!append) {
    variable.data.clear();
  }
  variable.data.insert(variable.data.end(), data, data + size);
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::GetNextName(UINTN* size, CHAR16* name, EFI_GUID* vendor) const {
  if (size == nullptr || name == nullptr || vendor == nullptr || *size < sizeof(CHAR16)) {
    return EFI_INVALID_PARAMETER;
  }
  size_t next = 0;
  if (name[0] != 0) {
    next = IndexOf(NameOf(name), *vendor) + 1;
    if (next > mVariables.size()) {
      return EFI_INVALID_PARAMETER;
    }
  }
  if (next == mVariables.size()) {
    return EFI_NOT_FOUND;
  }
  const Variable& variable = mVariables[next];
  const UINTN room = *size;
  *size = NameSize(variable.name);
  if (room < *size) {
    return EFI_BUFFER_TOO_SMALL;
  }
  std::memcpy(name, variable.name.c_str(), *size);
  *vendor = variable.guid;
  return EFI_SUCCESS;
}

EFI_STATUS VariableStore::QueryInfo(UINT32 attributes, UINT64* storage, UINT64* remaining,
                                    UINT64* largest) const {
  if (storage == nullptr || remaining == nullptr || largest == nullptr || attributes == 0 ||
      !AreAttributesValid(attributes)) {
    return EFI_INVALID_PARAMETER;
  }
  *storage = kStorageSize;
  *remaining = kStorageSize - UsedSize();
  *largest = std::min<UINT64>(kMaxVariableSize, *remaining);
  return EFI_SUCCESS;
}

}  // namespace tvq::host
