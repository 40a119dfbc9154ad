/*
 * What the texts of a table say about the place of a memory slot or a socket, read as for their names.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_STATED_PLACE_H_
#define TVQ_HOST_RUN_STATED_PLACE_H_

#include <optional>
#include <string>

namespace tvq::run {

// What a locator or the name of a bank says; nothing where it does not.
struct StatedPlace {
  std::optional<unsigned> processor;
  std::optional<unsigned> group;  // a memory controller, a card or the like
  std::optional<unsigned> channel;
  char letter = '\0';  // a capital
};
StatedPlace ReadStatedPlace(const std::string& text);

// The number in a socket designation.
std::optional<unsigned> ReadSocketNumber(const std::string& designation);

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_STATED_PLACE_H_
