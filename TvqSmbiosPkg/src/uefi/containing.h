/** @file
  The object behind an interface, found by stepping back from it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_CONTAINING_H_
#define TVQ_CONTAINING_H_

#include <TvqCpp.h>

namespace tvq {

/// Where an assertion is raised.
struct Place {
  const char* Source;
  UINTN Line;
};

/// The object whose interface stands `offset` bytes behind its start; null when that address is
/// null. With assertions enabled a wrong signature raises one and, deliberately as the
/// containing-record check of EDK II does it, the caller goes on with the interface itself as the
/// object.
template <typename Object, typename Interface>
Object* Containing(Interface* interface, UINTN offset, UINT64 signature, const Place& place) {
  auto* object = reinterpret_cast<Object*>(reinterpret_cast<UINTN>(interface) - offset);
  if (object != nullptr && AssertionsEnabled() && object->Signature != signature) {
    RaiseAssertion(place.Source, place.Line, "CR has Bad Signature");
    return reinterpret_cast<Object*>(interface);
  }
  return object;
}

}  // namespace tvq

#endif
