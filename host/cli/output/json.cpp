/*
 * What the driver made of a table, as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/json.h"

#include <ostream>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;

// A name of a file need not be UTF-8.
constexpr auto kForOtherBytes = ordered_json::error_handler_t::replace;

ordered_json ToJson(const std::optional<std::u16string>& text) {
  return text ? ordered_json(Utf8OfWide(*text)) : ordered_json(nullptr);
}

ordered_json ToJson(const std::optional<std::string>& text) {
  return text ? ordered_json(Utf8OfBytes(*text)) : ordered_json(nullptr);
}

ordered_json ToJson(const std::optional<run::Bytes>& bytes) {
  return bytes ? ordered_json(Hex(*bytes)) : ordered_json(nullptr);
}

ordered_json ToJson(const run::Record& record) {
  return {{"deviceType", record.deviceType},
          {"name", ToJson(record.name)},
          {"fqdd", ToJson(record.fqdd)},
          {"devicePath", ToJson(record.devicePath)},
          {"identity", ToJson(record.identity)},
          {"inventoryBlob", ToJson(record.blobs[0])},
          {"configurationBlob", ToJson(record.blobs[1])},
          {"endBlob", ToJson(record.blobs[2])}};
}

ordered_json ValueOf(const run::Attribute& attribute) {
  if (!attribute.biosInfo) {
    return ToJson(attribute.text);
  }
  return {{"ServiceTag", ToJson(attribute.biosInfo->serviceTag)},
          {"BiosVersion", ToJson(attribute.biosInfo->biosVersion)},
          {"ProductName", ToJson(attribute.biosInfo->productName)}};
}

ordered_json ToJson(const run::Attribute& attribute) {
  return {{"namespace", Utf8OfWide(attribute.nameSpace)},
          {"name", Utf8OfWide(attribute.name)},
          {"status", attribute.status},
          {"value", ValueOf(attribute)}};
}

ordered_json ToJson(const run::Variable& variable) {
  return {{"name", Utf8OfWide(variable.name)},
          {"guid", variable.guid},
          {"attributes", variable.attributes},
          {"data", Hex(variable.data)}};
}

ordered_json ToJson(const run::LogLine& line) {
  return {{"level", line.level},
          {"function", Utf8OfBytes(line.function)},
          {"text", Utf8OfWide(line.text)}};
}

template <typename Item>
ordered_json ToJson(const std::vector<Item>& items) {
  ordered_json list = ordered_json::array();
  for (const Item& item : items) {
    list.push_back(ToJson(item));
  }
  return list;
}

}  // namespace

ordered_json SchemaJson(const char* name) {
  return {{"schema", name}, {"schemaVersion", 1}};
}

void PrintJson(const ordered_json& document, const Console& console) {
  console.out << document.dump(1, ' ', console.terminal.isAscii, kForOtherBytes) << '\n';
}

std::string JsonLine(const ordered_json& document, const Terminal& terminal) {
  return document.dump(-1, ' ', terminal.isAscii, kForOtherBytes) + '\n';
}

ordered_json SmbiosJson(const run::Table& table) {
  return {{"major", table.major},
          {"minor", table.minor},
          {"structureCount", table.structureCount},
          {"sizeInBytes", table.structures.size()}};
}

ordered_json AttributesJson(const std::vector<run::Attribute>& attributes) {
  return ToJson(attributes);
}

ordered_json ToJson(const run::Table& table, const run::Results& results) {
  ordered_json json = SchemaJson("tvq-export");
  json["smbios"] = SmbiosJson(table);
  json["start"] = results.start;
  json["records"] = ToJson(results.records);
  json["attributes"] = ToJson(results.attributes);
  json["variables"] = ToJson(results.variables);
  json["log"] = ToJson(results.log);
  return json;
}

}  // namespace tvq::cli
