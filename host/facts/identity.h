/*
 * What tells a machine from others.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_IDENTITY_H_
#define TVQ_HOST_FACTS_IDENTITY_H_

#include <string>

#include "host/facts/machine.h"

namespace tvq::facts {

// "uuid:...", or else "system:..." or "board:..." with the serial number, of 8-bit characters: one text
// for as long as the board stays. Empty where nothing tells the machine from others: a placeholder
// does not, nor does the number of an enclosure, which may have several machines.
std::string IdentityOf(const Machine& machine, const table::Bytes& structures);

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_IDENTITY_H_
