/*
 * What the texts of a table say about the place of a memory slot or a socket.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/stated_place.h"

#include "host/firmware/firmware.h"

#include "TvqPlatformPkg/src/smbios/names/slot_place.h"
#include "TvqPlatformPkg/src/smbios/names/socket_number.h"

namespace tvq::run {
namespace {

smbios::Text TextOf(const std::string& text) {
  return smbios::Text(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
}

std::optional<unsigned> NumberOf(const tvqplatform::PrintedNumber& number) {
  return number ? std::optional<unsigned>(number.Value) : std::nullopt;
}

}  // namespace

StatedPlace ReadStatedPlace(const std::string& text) {
  const tvqplatform::SlotPlace place = tvqplatform::ReadSlotPlace(TextOf(text));
  return {NumberOf(place.Processor), NumberOf(place.Group), NumberOf(place.Channel), place.Letter};
}

std::optional<unsigned> ReadSocketNumber(const std::string& designation) {
  const tvqplatform::SocketNumber number = tvqplatform::NumberOfSocket(TextOf(designation));
  return number ? std::optional<unsigned>(number.Value) : std::nullopt;
}

}  // namespace tvq::run
