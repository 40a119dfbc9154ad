/** @file
  The attribute store behind the platform services table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_ATTRIBUTE_STORE_H_
#define TVQ_PLATFORM_ATTRIBUTE_STORE_H_

#include <TvqCpp.h>
#include <Guid/ZvServices.h>
#include <Protocol/TvqPlatform.h>

#include "../growing_array.h"

namespace tvqplatform {

/// Namespaces with their callbacks, and the values that were stored under them. The store copies
/// every text, so that it outlives the driver that registered. A namespace whose callbacks went with
/// an unloaded image is as one that was never registered, until a driver registers it again.
class AttributeStore {
 public:
  /// Either callback may be null. Registering a namespace again replaces its callbacks and keeps
  /// its values. `token` may be null.
  [[nodiscard]] EFI_STATUS Register(const CHAR16* nameSpace, ZV_ATTRIBUTE_GETTER getter,
                                    ZV_ATTRIBUTE_SETTER setter, VOID** token);

  /// Stores a value under a registered namespace; an older value of the name is replaced.
  [[nodiscard]] EFI_STATUS Store(const CHAR16* nameSpace, const CHAR16* name, UINT64 value);

  /// Asks the getter, or answers the stored value where there is none: deliberately in this order.
  [[nodiscard]] EFI_STATUS Ask(CHAR16* nameSpace, CHAR16* name, UINT64* value) const;

  /// Asks the setter.
  [[nodiscard]] EFI_STATUS Change(CHAR16* nameSpace, CHAR16* name, UINT64 value) const;

  /// The stored values, in the order in which their names came.
  UINTN ValueCount() const { return mValues.Size(); }
  TVQ_STORED_VALUE ValueAt(UINTN index) const;

  void Free();

 private:
  struct Callbacks {
    ZV_ATTRIBUTE_GETTER Getter;
    ZV_ATTRIBUTE_SETTER Setter;
    EFI_HANDLE Image;  ///< Whose code they are; null when that of no loaded image.

    bool AreThere() const;
  };
  struct Namespace {
    CHAR16* Name;
    Callbacks Registered;
  };
  struct Value {
    UINTN NamespaceIndex;
    CHAR16* Name;
    UINT64 Stored;
  };

  Namespace* FindNamespace(const CHAR16* name) const;
  const Namespace* FindServed(const CHAR16* name) const;
  Value* FindValue(const Namespace* nameSpace, const CHAR16* name) const;

  GrowingArray<Namespace> mNamespaces;
  GrowingArray<Value> mValues;
};

}  // namespace tvqplatform

#endif
