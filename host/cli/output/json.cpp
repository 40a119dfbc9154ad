/*
 * What the driver made of a table, as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/json.h"

#include <ostream>

#include "host/cli/output/json_text.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;

constexpr int kSchemaVersion = 1;
// A name of a file need not be UTF-8.
constexpr auto kForOtherBytes = ordered_json::error_handler_t::replace;

void Write(const std::optional<std::u16string>& text, JsonText& json) {
  if (text) {
    json.Text(Utf8OfWide(*text));
  } else {
    json.Null();
  }
}

void Write(const std::optional<std::string>& text, JsonText& json) {
  if (text) {
    json.Text(Utf8OfBytes(*text));
  } else {
    json.Null();
  }
}

void Write(const std::optional<run::Bytes>& bytes, JsonText& json) {
  if (bytes) {
    json.Hex(*bytes);
  } else {
    json.Null();
  }
}

template <typename Value>
void WriteMember(std::string_view name, const std::optional<Value>& value, JsonText& json) {
  json.Name(name);
  Write(value, json);
}

void WriteText(std::string_view name, std::string_view utf8, JsonText& json) {
  json.Name(name);
  json.Text(utf8);
}

void WriteNumber(std::string_view name, std::uint64_t number, JsonText& json) {
  json.Name(name);
  json.Number(number);
}

void Write(const run::Record& record, JsonText& json) {
  WriteNumber("deviceType", record.deviceType, json);
  WriteMember("name", record.name, json);
  WriteMember("fqdd", record.fqdd, json);
  WriteMember("devicePath", record.devicePath, json);
  WriteMember("identity", record.identity, json);
  WriteMember("inventoryBlob", record.blobs[0], json);
  WriteMember("configurationBlob", record.blobs[1], json);
  WriteMember("endBlob", record.blobs[2], json);
}

void Write(const run::Attribute& attribute, JsonText& json) {
  WriteText("namespace", Utf8OfWide(attribute.nameSpace), json);
  WriteText("name", Utf8OfWide(attribute.name), json);
  WriteText("status", attribute.status, json);
  json.Name("value");
  if (!attribute.biosInfo) {
    Write(attribute.text, json);
    return;
  }
  json.BeginObject();
  WriteMember("ServiceTag", attribute.biosInfo->serviceTag, json);
  WriteMember("BiosVersion", attribute.biosInfo->biosVersion, json);
  WriteMember("ProductName", attribute.biosInfo->productName, json);
  json.EndObject();
}

void Write(const run::Variable& variable, JsonText& json) {
  WriteText("name", Utf8OfWide(variable.name), json);
  WriteText("guid", variable.guid, json);
  WriteNumber("attributes", variable.attributes, json);
  json.Name("data");
  json.Hex(variable.data);
}

void Write(const run::LogLine& line, JsonText& json) {
  WriteNumber("level", line.level, json);
  WriteText("function", Utf8OfBytes(line.function), json);
  WriteText("text", Utf8OfWide(line.text), json);
}

template <typename Item>
void WriteList(const std::vector<Item>& items, JsonText& json) {
  json.BeginList();
  for (const Item& item : items) {
    json.BeginObject();
    Write(item, json);
    json.EndObject();
  }
  json.EndList();
}

template <typename Item>
void WriteList(std::string_view name, const std::vector<Item>& items, JsonText& json) {
  json.Name(name);
  WriteList(items, json);
}

void WriteSmbios(const run::Table& table, JsonText& json) {
  json.BeginObject();
  WriteNumber("major", table.major, json);
  WriteNumber("minor", table.minor, json);
  WriteNumber("structureCount", table.structureCount, json);
  WriteNumber("sizeInBytes", table.structures.size(), json);
  json.EndObject();
}

}  // namespace

ordered_json SchemaJson(const char* name) {
  return {{"schema", name}, {"schemaVersion", kSchemaVersion}};
}

void PrintJson(const ordered_json& document, const Console& console) {
  console.out << document.dump(console.isOneLine ? -1 : 1, ' ', console.terminal.isAscii,
                               kForOtherBytes)
              << '\n';
}

std::string JsonLine(const ordered_json& document, const Terminal& terminal) {
  return document.dump(-1, ' ', terminal.isAscii, kForOtherBytes) + '\n';
}

ordered_json SmbiosJson(const run::Table& table) {
  JsonText json(JsonForm::kOneLine, false);
  WriteSmbios(table, json);
  return ordered_json::parse(json.Get());
}

ordered_json AttributesJson(const std::vector<run::Attribute>& attributes) {
  JsonText json(JsonForm::kOneLine, false);
  WriteList(attributes, json);
  return ordered_json::parse(json.Get());
}

void PrintExport(const run::Table& table, const run::Results& results, const Console& console) {
  JsonText json(console.isOneLine ? JsonForm::kOneLine : JsonForm::kLines,
                console.terminal.isAscii);
  json.BeginObject();
  WriteText("schema", "tvq-export", json);
  WriteNumber("schemaVersion", kSchemaVersion, json);
  json.Name("smbios");
  WriteSmbios(table, json);
  WriteText("start", results.start, json);
  WriteList("records", results.records, json);
  WriteList("attributes", results.attributes, json);
  WriteList("variables", results.variables, json);
  WriteList("log", results.log, json);
  json.EndObject();
  console.out << json.Get() << '\n';
}

}  // namespace tvq::cli
