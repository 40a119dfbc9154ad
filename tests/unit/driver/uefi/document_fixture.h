/*
 * Configuration documents of records built by hand.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_UEFI_DOCUMENT_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_UEFI_DOCUMENT_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/unit/driver/uefi/record_fixture.h"

namespace tvq::test {

class DocumentTest : public RecordTest {
 protected:
  // The document that the configuration blob of a record holds.
  std::string DocumentOf(smTVQ* record);
  // The texts of all elements of this name in a record's document, in order. It is for elements without children.
  std::vector<std::string> Values(smTVQ* record, const std::string& element);
};

// A document with these contents of its two sections.
std::string Document(const std::string& inventory, const std::string& configuration);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_UEFI_DOCUMENT_FIXTURE_H_
