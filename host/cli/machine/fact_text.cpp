/*
 * Single facts as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/fact_text.h"

#include <fmt/format.h>

#include <utility>

#include "host/cli/device/inventory.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {

std::string ValueText(const facts::Part& part, std::string_view fact, const Terminal& terminal) {
  const facts::Value& value = part.Find(fact);
  if (const auto* const text = std::get_if<std::string>(&value)) {
    return Printable(*text, terminal);
  }
  if (const bool* const flag = std::get_if<bool>(&value)) {
    return *flag ? "yes" : kNothing;
  }
  const auto* const number = std::get_if<std::uint64_t>(&value);
  if (number == nullptr) {
    return kNothing;
  }
  constexpr std::pair<std::string_view, const char*> kUnits[] = {
      {"InMTs", "MT/s"}, {"InMHz", "MHz"},       {"InBits", "bits"},
      {"InWatts", "W"},  {"InMillivolts", "mV"}, {"InUnits", "U"}};
  if (fact == "sizeInBytes" || fact == "capacityInBytes" || fact == "romSizeInBytes") {
    return SizeInWords(*number);
  }
  for (const auto& [end, unit] : kUnits) {
    if (fact.size() > end.size() && fact.substr(fact.size() - end.size()) == end) {
      return fmt::format("{} {}", *number, unit);
    }
  }
  if (fact == "coreCount") {
    return Counted(*number, "core");
  }
  if (fact == "threadCount") {
    return Counted(*number, "thread");
  }
  return fmt::format("{}", *number);
}

std::string_view WithoutUnit(std::string_view fact) {
  return fact.substr(0, fact.find("In"));
}

std::string TitleOf(std::string_view fact) {
  std::string title;
  for (const char character : fact) {
    const bool isCapital = character >= 'A' && character <= 'Z';
    title += isCapital && !title.empty() ? " " : "";
    title += isCapital ? static_cast<char>(character - 'A' + 'a') : character;
  }
  return title;
}

}  // namespace tvq::cli
