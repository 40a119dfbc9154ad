/*
 * The kinds of parts: the type of their structures, and their facts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_KINDS_H_
#define TVQ_HOST_FACTS_KINDS_H_

#include "host/facts/field.h"
#include "host/facts/machine.h"

namespace tvq::facts {

struct KindFields {
  Kind kind;
  std::uint8_t type;  // of the structures
  const FactField* fields;
  std::size_t count;
};

// Null for types of structures that are no part.
const KindFields* FindKind(std::uint8_t type);

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_KINDS_H_
