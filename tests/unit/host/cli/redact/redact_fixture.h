/*
 * What the tests of redaction share: a key, its options, and masking with it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_REDACT_REDACT_FIXTURE_H_
#define TVQ_TESTS_UNIT_HOST_CLI_REDACT_REDACT_FIXTURE_H_

#include <string>
#include <vector>

#include "host/cli/redact/mask.h"
#include "host/cli/redact/redact.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {

using Arguments = std::vector<std::string>;

inline Arguments operator+(Arguments left, const Arguments& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

constexpr char kTestKey[] = "a test's key";
inline const Arguments kRedact = {"--redact", "--redact-key", kTestKey};

inline const Masker& TestMasker() {
  static const Masker* const masker = new Masker(kTestKey);
  return *masker;
}

inline std::string Mask(const std::string& text) {
  return TestMasker().Mask(text);
}

inline test::Bytes Redacted(test::Bytes bytes) {
  RedactTable(bytes, TestMasker());
  return bytes;
}

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_REDACT_REDACT_FIXTURE_H_
