/** @file
  The attribute store behind the platform services table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "attribute_store.h"

#include "../loaded_image.h"
#include "../text.h"

namespace tvqplatform {

namespace {

CHAR16* NewCopy(const CHAR16* text) {
  return static_cast<CHAR16*>(AllocateCopyPool(Size(text), text));
}

/// Appends an element that holds a copied text; without room, the copy is freed again.
template <typename Element>
[[nodiscard]] EFI_STATUS AppendOwning(GrowingArray<Element>& array, const Element& element) {
  if (element.Name == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (!array.Append(element)) {
    (void)gBS->FreePool(element.Name);
    return EFI_OUT_OF_RESOURCES;
  }
  return EFI_SUCCESS;
}

template <typename Element>
void FreeOwning(GrowingArray<Element>& array) {
  for (const Element& element : array) {
    (void)gBS->FreePool(element.Name);
  }
  array.Free();
}

/// An address in the code of the callbacks, or null without any.
const VOID* CodeOf(ZV_ATTRIBUTE_GETTER getter, ZV_ATTRIBUTE_SETTER setter) {
  return getter != nullptr ? reinterpret_cast<const VOID*>(getter)
                           : reinterpret_cast<const VOID*>(setter);
}

}  // namespace

bool AttributeStore::Callbacks::AreThere() const {
  return Image == nullptr || IsCodeOf(Image, CodeOf(Getter, Setter));
}

EFI_STATUS AttributeStore::Register(const CHAR16* nameSpace, ZV_ATTRIBUTE_GETTER getter,
                                    ZV_ATTRIBUTE_SETTER setter, VOID** token) {
  if (nameSpace == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Callbacks callbacks = {getter, setter, FindImageOf(CodeOf(getter, setter))};
  Namespace* known = FindNamespace(nameSpace);
  if (known != nullptr) {
    known->Registered = callbacks;
  } else {
    const EFI_STATUS status = AppendOwning(mNamespaces, Namespace{NewCopy(nameSpace), callbacks});
    if (EFI_ERROR(status)) {
      return status;
    }
    known = &mNamespaces[mNamespaces.Size() - 1];
  }
  if (token != nullptr) {
    *token = known->Name;
  }
  return EFI_SUCCESS;
}

EFI_STATUS AttributeStore::Store(const CHAR16* nameSpace, const CHAR16* name, UINT64 value) {
  if (nameSpace == nullptr || name == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Namespace* owner = FindNamespace(nameSpace);
  if (owner == nullptr) {
    return EFI_NOT_FOUND;
  }
  Value* known = FindValue(owner, name);
  if (known != nullptr) {
    known->Stored = value;
    return EFI_SUCCESS;
  }
  const UINTN index = static_cast<UINTN>(owner - mNamespaces.Data());
  return AppendOwning(mValues, Value{index, NewCopy(name), value});
}

EFI_STATUS AttributeStore::Ask(CHAR16* nameSpace, CHAR16* name, UINT64* value) const {
  if (nameSpace == nullptr || name == nullptr || value == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Namespace* owner = FindServed(nameSpace);
  if (owner == nullptr) {
    return EFI_NOT_FOUND;
  }
  if (owner->Registered.Getter != nullptr) {
    return owner->Registered.Getter(nameSpace, name, value);
  }
  const Value* stored = FindValue(owner, name);
  if (stored == nullptr) {
    return EFI_NOT_FOUND;
  }
  *value = stored->Stored;
  return EFI_SUCCESS;
}

EFI_STATUS AttributeStore::Change(CHAR16* nameSpace, CHAR16* name, UINT64 value) const {
  if (nameSpace == nullptr || name == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const Namespace* owner = FindServed(nameSpace);
  if (owner == nullptr) {
    return EFI_NOT_FOUND;
  }
  const ZV_ATTRIBUTE_SETTER setter = owner->Registered.Setter;
  return setter == nullptr ? EFI_UNSUPPORTED : setter(nameSpace, name, value);
}

TVQ_STORED_VALUE AttributeStore::ValueAt(UINTN index) const {
  const Value& value = mValues[index];
  return {mNamespaces[value.NamespaceIndex].Name, value.Name, value.Stored};
}

void AttributeStore::Free() {
  FreeOwning(mValues);
  FreeOwning(mNamespaces);
}

AttributeStore::Namespace* AttributeStore::FindNamespace(const CHAR16* name) const {
  for (Namespace& nameSpace : mNamespaces) {
    if (Compare<CHAR16>(nameSpace.Name, name) == 0) {
      return &nameSpace;
    }
  }
  return nullptr;
}

/// The namespace, unless its callbacks are gone.
const AttributeStore::Namespace* AttributeStore::FindServed(const CHAR16* name) const {
  const Namespace* found = FindNamespace(name);
  return found != nullptr && found->Registered.AreThere() ? found : nullptr;
}

AttributeStore::Value* AttributeStore::FindValue(const Namespace* nameSpace,
                                                 const CHAR16* name) const {
  const UINTN index = static_cast<UINTN>(nameSpace - mNamespaces.Data());
  for (Value& value : mValues) {
    if (value.NamespaceIndex == index && Compare<CHAR16>(value.Name, name) == 0) {
      return &value;
    }
  }
  return nullptr;
}

}  // namespace tvqplatform
