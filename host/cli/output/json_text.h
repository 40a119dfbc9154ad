/*
 * JSON that is written as it comes, for documents of which there are many: no tree of values is made.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_JSON_TEXT_H_
#define TVQ_HOST_CLI_OUTPUT_JSON_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tvq::cli {

enum class JsonForm {
  kLines,    // a value on each, behind a blank for each level
  kOneLine,  // without any blank
};

// Values follow one another as they stand in the document. Texts are UTF-8.
class JsonText {
 public:
  JsonText(JsonForm form, bool isAscii) : mForm(form), mIsAscii(isAscii) {}

  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginList() { Begin('['); }
  void EndList() { End(']'); }
  // In an object, before each value. A literal.
  void Name(std::string_view name);

  void Text(std::string_view utf8);
  void Number(std::uint64_t number);
  void Null();
  // A text of two lower-case digits for each byte.
  void Hex(const std::vector<std::uint8_t>& bytes);

  const std::string& Get() const { return mText; }

 private:
  void Begin(char bracket);
  void End(char bracket);
  void BeginValue();
  void NewLine();
  void Escape(std::string_view utf8);

  JsonForm mForm;
  bool mIsAscii;
  std::string mText;
  std::size_t mDepth = 0;
  bool mIsFirst = true;   // of the object or list
  bool mIsNamed = false;  // the name of the value stands there
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_JSON_TEXT_H_
