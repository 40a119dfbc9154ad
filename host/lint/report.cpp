/*
 * The findings that the checks report.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/lint/rule.h"
#include "host/table/layout.h"
#include "host/table/text.h"

namespace tvq::lint {

Severity SeverityOf(const Finding& finding) {
  Severity gravest = finding.rule->severity;
  for (const Finding& consequence : finding.consequences) {
    gravest = std::max(gravest, SeverityOf(consequence));
  }
  return gravest;
}

bool IsAboutStandard(const Rule& rule) {
  return (rule.profiles & kTable) != 0;
}

void Report::Add(Place place, std::string message, std::string advice) {
  mFindings.push_back({mRule, place, std::move(message), std::move(advice), {}, {}});
}

void Report::At(const Structure& structure, std::string message, std::string advice) {
  Add({mBase + structure.Offset(), false, structure.Type(), structure.Handle(), structure.Size()},
      std::move(message), std::move(advice));
}

void Report::AtEntryPoint(std::size_t offset, std::string message, std::string advice) {
  Add({offset, true, std::nullopt, std::nullopt, 0}, std::move(message), std::move(advice));
}

void Report::AtByte(std::size_t offset, std::string message, std::string advice) {
  Add({mBase + offset, false, std::nullopt, std::nullopt, 0}, std::move(message),
      std::move(advice));
}

void Report::OnTable(std::string message, std::string advice) {
  Add({}, std::move(message), std::move(advice));
}

std::string Quote(std::string_view text) {
  return table::Quote(text);
}

std::string HandleName(std::uint16_t handle) {
  return fmt::format("handle 0x{:04X}", handle);
}

std::string StructureName(const Structure& structure) {
  return fmt::format("type {}, {}", structure.Type(), HandleName(structure.Handle()));
}

std::string StructureName(const Place& place) {
  return place.type && place.handle
             ? fmt::format("type {}, {}", *place.type, HandleName(*place.handle))
             : "";
}

std::string Counted(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string FieldName(std::uint8_t type, std::size_t offset) {
  for (const table::Field& field : table::LayoutOf(type).fields) {
    if (field.offset == offset) {
      return std::string(field.name);
    }
  }
  return fmt::format("byte {:02X}h", offset);
}

}  // namespace tvq::lint
