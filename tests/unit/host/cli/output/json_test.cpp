/*
 * The JSON document of `tvq export`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <sstream>

#include "host/cli/output/json.h"

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;

std::string ExportOf(const run::Table& table, const run::Results& results, bool isOneLine = true) {
  std::istringstream in;
  std::ostringstream out;
  PrintExport(table, results, {in, out, out, {}, false, isOneLine});
  return out.str();
}

ordered_json ToJson(const run::Table& table, const run::Results& results) {
  return ordered_json::parse(ExportOf(table, results));
}

TEST(CliJson, HasTheMembersInTheirOrder) {
  run::Table table;
  table.major = 2;
  table.minor = 7;
  table.structureCount = 115;
  table.structures.resize(4631);
  run::Results results;
  results.start = "Not Found";
  EXPECT_EQ(ToJson(table, results).dump(),
            R"({"schema":"tvq-export","schemaVersion":1,)"
            R"("smbios":{"major":2,"minor":7,"structureCount":115,"sizeInBytes":4631},)"
            R"("start":"Not Found","records":[],"attributes":[],"variables":[],"log":[]})");
}

TEST(CliJson, IsPrintedAsTheTerminalShowsIt) {
  const auto print = [](const ordered_json& document, bool isAscii) {
    std::istringstream in;
    std::ostringstream out;
    PrintJson(document, {in, out, out, {80, false, isAscii}});
    return out.str();
  };
  EXPECT_EQ(print({{"a", "caf\xC3\xA9"}}, false), "{\n \"a\": \"caf\xC3\xA9\"\n}\n");
  EXPECT_EQ(print({{"a", "caf\xC3\xA9"}}, true), "{\n \"a\": \"caf\\u00e9\"\n}\n");
  EXPECT_EQ(print({{"a", "\xFF"}}, true), "{\n \"a\": \"\\ufffd\"\n}\n")
      << "the name of a file that is no UTF-8";
}

TEST(CliJson, HasALineOfItsOwnWhereThatIsWanted) {
  std::istringstream in;
  std::ostringstream out;
  PrintJson({{"a", {1, 2}}}, {in, out, out, {}, false, true});
  EXPECT_EQ(out.str(), "{\"a\":[1,2]}\n");
  EXPECT_EQ(JsonLine({{"a", "\xC3\xA9"}}, {}), "{\"a\":\"\xC3\xA9\"}\n");
}

TEST(CliJson, HasALineForEachMember) {
  run::Results results;
  results.start = "Success";
  results.records.emplace_back();
  const std::string text = ExportOf({}, results, false);
  EXPECT_EQ(text, ordered_json::parse(text).dump(1) + "\n");
}

TEST(CliJson, ShowsARecord) {
  run::Record record;
  record.deviceType = 4;
  record.name = u"SYSTEM";
  record.fqdd = u"System.Embedded.1";
  record.devicePath = run::Bytes{0x01, 0x04, 0x1B};
  record.identity = run::Bytes{0x02, 0xDC};
  record.blobs[0] = run::Bytes{0xAB};
  record.blobs[2] = run::Bytes{};
  run::Results results;
  results.records.push_back(record);
  results.records.emplace_back();
  const ordered_json records = ToJson(run::Table(), results)["records"];
  EXPECT_EQ(
      records[0].dump(),
      R"({"deviceType":4,"name":"SYSTEM","fqdd":"System.Embedded.1","devicePath":"01041b","identity":"02dc",)"
      R"("inventoryBlob":"ab","configurationBlob":null,"endBlob":""})");
  EXPECT_EQ(records[1].dump(),
            R"({"deviceType":0,"name":null,"fqdd":null,"devicePath":null,"identity":null,)"
            R"("inventoryBlob":null,"configurationBlob":null,"endBlob":null})");
}

TEST(CliJson, ShowsAttributes) {
  run::Results results;
  results.attributes = {
      {u"zorv.server", u"Tag", "Success", u"ABC\u00FF", {}},
      {u"zorv.server", u"Name", "Invalid Parameter", {}, {}},
      {u"zorv.smbios.bios", u"Info", "Success", {}, run::BiosInfo{"A\xFF", {}, "P"}}};
  const ordered_json attributes = ToJson(run::Table(), results)["attributes"];
  EXPECT_EQ(attributes[0].dump(),
            "{\"namespace\":\"zorv.server\",\"name\":\"Tag\",\"status\":\"Success\",\"value\":"
            "\"ABC\xC3\xBF\"}");
  EXPECT_EQ(
      attributes[1].dump(),
      R"({"namespace":"zorv.server","name":"Name","status":"Invalid Parameter","value":null})");
  EXPECT_EQ(attributes[2]["value"].dump(),
            "{\"ServiceTag\":\"A\xC3\xBF\",\"BiosVersion\":null,\"ProductName\":\"P\"}");
}

TEST(CliJson, ShowsVariablesAndLogLines) {
  run::Results results;
  results.variables = {{u"NAME", "4F6B6541-ADD6-4B0F-A503-D78ABDA0851E", 7, {0xB3}}};
  results.log = {{0x00800000, "MakeSYSTEM", u"Entry MakeSYSTEM\n"}};
  const ordered_json document = ToJson(run::Table(), results);
  EXPECT_EQ(
      document["variables"][0].dump(),
      R"({"name":"NAME","guid":"4F6B6541-ADD6-4B0F-A503-D78ABDA0851E","attributes":7,"data":"b3"})");
  EXPECT_EQ(document["log"][0].dump(),
            R"({"level":8388608,"function":"MakeSYSTEM","text":"Entry MakeSYSTEM\n"})");
}

TEST(CliJson, IsValidWhateverTheTextsHold) {
  std::u16string units;
  std::string bytes;
  for (uint32_t code = 1; code <= 0xFFFF; ++code) {
    units.push_back(static_cast<char16_t>(code));
  }
  for (int byte = 1; byte <= 0xFF; ++byte) {
    bytes.push_back(static_cast<char>(byte));
  }
  run::Results results;
  results.log = {{0, bytes, units}};
  results.attributes = {{units, units, "Success", {}, run::BiosInfo{bytes, bytes, bytes}}};
  const std::string text = ToJson(run::Table(), results).dump();
  EXPECT_TRUE(ordered_json::accept(text));
}

}  // namespace
}  // namespace tvq::cli
