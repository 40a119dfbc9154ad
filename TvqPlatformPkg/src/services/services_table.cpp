/** @file
  The platform services table, as it stands in the configuration table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "services_table.h"

namespace tvqplatform {

namespace {

EFI_STATUS EFIAPI SetAttributeValue(CHAR16* Namespace, CHAR16* Name, UINT64 Value) {
  return gAttributeStore.Store(Namespace, Name, Value);
}

EFI_STATUS EFIAPI RegisterAttribute(VOID* Token, CHAR16* Namespace, ZV_ATTRIBUTE_GETTER Getter,
                                    ZV_ATTRIBUTE_SETTER Setter) {
  return gAttributeStore.Register(Namespace, Getter, Setter, static_cast<VOID**>(Token));
}

constexpr ZV_SERVICES_TABLE MakeTable() {
  ZV_SERVICES_TABLE table = {};
  table.SetAttributeValue = SetAttributeValue;
  table.RegisterAttribute = RegisterAttribute;
  return table;
}

constexpr ZV_SERVICES_TABLE kTable = MakeTable();

}  // namespace

AttributeStore gAttributeStore;

}  // namespace tvqplatform

ZV_SERVICES_TABLE gTvqServicesTable = tvqplatform::kTable;
