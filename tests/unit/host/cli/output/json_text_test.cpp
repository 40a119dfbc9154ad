/*
 * JSON that is written as it comes: to the byte what the library writes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/json_text.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

using nlohmann::ordered_json;

constexpr JsonForm kForms[] = {JsonForm::kLines, JsonForm::kOneLine};

std::string Dump(const ordered_json& document, JsonForm form, bool isAscii) {
  return document.dump(form == JsonForm::kLines ? 1 : -1, ' ', isAscii,
                       ordered_json::error_handler_t::replace);
}

void ExpectText(const std::string& utf8) {
  for (const bool isAscii : {false, true}) {
    JsonText json(JsonForm::kOneLine, isAscii);
    json.Text(utf8);
    EXPECT_EQ(json.Get(), Dump(utf8, JsonForm::kOneLine, isAscii)) << utf8;
  }
}

TEST(JsonTexts, SpellEachCharacterAsTheLibraryDoes) {
  for (int byte = 0; byte <= 0xFF; ++byte) {
    const std::string character(1, static_cast<char>(byte));
    ExpectText(character);
    ExpectText("a" + character + "b\n");
  }
  for (const char* const text : {"", "plain", "caf\xC3\xA9", "\xE2\x82\xAC\n", "\xF0\x9F\x98\x80",
                                 "\xC3", "\x1F\x7F", "C:\\x \"y\"\t"}) {
    ExpectText(text);
  }
}

TEST(JsonTexts, NestAsTheLibraryNestsThem) {
  const ordered_json expected = {{"number", 7},
                                 {"nothing", nullptr},
                                 {"bytes", "001aff"},
                                 {"list", {"a", {{"inner", "b"}}, ordered_json::array()}},
                                 {"empty", ordered_json::object()},
                                 {"last", "c"}};
  for (const JsonForm form : kForms) {
    JsonText json(form, false);
    json.BeginObject();
    json.Name("number");
    json.Number(7);
    json.Name("nothing");
    json.Null();
    json.Name("bytes");
    json.Hex({0x00, 0x1A, 0xFF});
    json.Name("list");
    json.BeginList();
    json.Text("a");
    json.BeginObject();
    json.Name("inner");
    json.Text("b");
    json.EndObject();
    json.BeginList();
    json.EndList();
    json.EndList();
    json.Name("empty");
    json.BeginObject();
    json.EndObject();
    json.Name("last");
    json.Text("c");
    json.EndObject();
    EXPECT_EQ(json.Get(), Dump(expected, form, false));
  }
}

TEST(JsonTexts, HaveNumbersOfAnySize) {
  for (const std::uint64_t number :
       {std::uint64_t{0}, std::uint64_t{9}, std::numeric_limits<std::uint64_t>::max()}) {
    JsonText json(JsonForm::kOneLine, false);
    json.Number(number);
    EXPECT_EQ(json.Get(), std::to_string(number));
  }
}

}  // namespace
}  // namespace tvq::cli
