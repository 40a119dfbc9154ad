/*
 * Configuration documents of records built by hand.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/uefi/document_fixture.h"

#include "TvqSmbiosPkg/src/documents/blobs.h"

namespace tvq::test {

std::string DocumentTest::DocumentOf(smTVQ* record) {
  TVQ_BLOB_HEADER* blob = nullptr;
  EXPECT_EQ(getConfigBlob(&blob, record), EFI_SUCCESS);
  return blob == nullptr ? "" : reinterpret_cast<const char*>(blob) + 80;
}

std::vector<std::string> DocumentTest::Values(smTVQ* record, const std::string& element) {
  const std::string document = DocumentOf(record);
  const std::string open = "<" + element + ">";
  const std::string close = "</" + element + ">";
  std::vector<std::string> values;
  size_t start = document.find(open);
  while (start != std::string::npos) {
    start += open.size();
    const size_t end = document.find(close, start);
    if (end == std::string::npos) {
      ADD_FAILURE() << open << " is not closed";
      break;
    }
    values.push_back(document.substr(start, end - start));
    start = document.find(open, end);
  }
  return values;
}

std::string Document(const std::string& inventory, const std::string& configuration) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         R"(<tvqComponent xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance")"
         R"( xsi:noNamespaceSchemaLocation="Inventory.xsd">)"
         "<Inventory>" +
         inventory + "</Inventory><Configuration>" + configuration +
         "</Configuration></tvqComponent>";
}

}  // namespace tvq::test
