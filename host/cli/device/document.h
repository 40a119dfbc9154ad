/*
 * The configuration document of a device, read as the driver writes it: no text in it is escaped, so
 * that it need not be XML.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_DOCUMENT_H_
#define TVQ_HOST_CLI_DEVICE_DOCUMENT_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/cli/output/console.h"

namespace tvq::cli {

// Bytes that are not what they should be, and where.
class DataError : public std::runtime_error {
 public:
  DataError(std::size_t offset, const std::string& reason)
      : std::runtime_error(reason), mOffset(offset) {}
  std::size_t Offset() const { return mOffset; }

 private:
  std::size_t mOffset;
};

// What every document begins with.
inline constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
inline constexpr std::string_view kRootTag =
    "<tvqComponent xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " xsi:noNamespaceSchemaLocation=\"Inventory.xsd\">";
inline constexpr std::string_view kRootName = "tvqComponent";

// What the names of elements consist of.
bool IsNameCharacter(char character);

struct Element {
  std::string name;
  bool isSection = false;         // it has children and no text
  std::string text;               // as the document has it: 8-bit characters
  std::vector<Element> children;  // in their order
  std::size_t offset = 0;         // of the text in the document

  // The first child of that name; null when there is none.
  const Element* Find(std::string_view child) const;
  // The text of the element that the names lead to, with a '/' between them; empty when there is none.
  std::string_view TextOf(std::string_view path) const;
  // Whether the names lead to an element.
  bool Has(std::string_view path) const;
};

// The root element. Throws DataError.
Element ReadDocument(std::string_view text);

// Calls `visit` with the path and the text of each element that has a text. Repeated sections are
// numbered from 1: "Configuration/cpuData/CacheData[2]/CacheLevel".
template <typename Visit>
void VisitTexts(const Element& element, const std::string& path, const Visit& visit);

// One element on a line, indented.
std::string Indented(const Element& root, const Terminal& terminal, std::size_t indent = 0);

// Sections are objects, and those that may repeat are lists of objects.
nlohmann::ordered_json ToJson(const Element& section);

template <typename Visit>
void VisitTexts(const Element& element, const std::string& path, const Visit& visit) {
  std::vector<std::pair<std::string_view, int>> counts;
  for (const Element& child : element.children) {
    std::string childPath = path.empty() ? child.name : path + "/" + child.name;
    if (!child.isSection) {
      visit(childPath, child.text);
      continue;
    }
    auto count = counts.begin();
    while (count != counts.end() && count->first != child.name) {
      ++count;
    }
    if (count == counts.end()) {
      count = counts.insert(counts.end(), {child.name, 0});
    }
    if (++count->second > 1) {
      childPath += "[" + std::to_string(count->second) + "]";
    }
    VisitTexts(child, childPath, visit);
  }
}

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_DOCUMENT_H_
