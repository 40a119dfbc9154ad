/*
 * What became of each device of a machine between two times, in types of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_COMPARISON_H_
#define TVQ_HOST_RUN_COMPARISON_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tvq::run {

// A value that is another one; nothing on the side that does not have the field. Texts have 8-bit
// characters, as the machine has them.
struct FieldChange {
  std::string field;  // "Configuration/cpuData/CacheData[2]/CacheLevel"
  std::optional<std::string> before;
  std::optional<std::string> after;
};

// How a comparison ends, and what a device adds to it; 1 wins over 2.
enum class ComparisonStatus {
  kNothingFound = 0,
  kFound = 1,
  kTrouble = 2
};

struct Finding {
  std::u16string fqdd;  // empty for a device without one
  std::string label;    // what the machine's own table calls its place; empty where it does not
  std::string kind;     // "processor", "memory module", "HBM stack" or "system"
  std::optional<uint16_t> handle;  // of its structure in the later table, where that is known
  std::string verdict;
  std::vector<std::string> also;  // verdicts that apply as well
  std::optional<std::u16string> movedFrom;
  std::vector<std::string> witnesses;  // who says that it was replaced
  bool isSamePart = false;             // a number says so
  std::string reason;  // why it has no record, was not verified, or its fields are not known
  std::vector<FieldChange> fields;
  std::string toDo;
  ComparisonStatus status = ComparisonStatus::kNothingFound;
  bool isToLookAt = false;  // somebody has to
};

struct FirmwareUpdate {
  std::optional<std::string> before;
  std::optional<std::string> after;
  std::string toDo;
};

struct Comparison {
  std::vector<Finding> findings;
  std::vector<std::pair<std::string, size_t>> counts;  // of every verdict
  std::optional<FirmwareUpdate> firmware;
  bool hasOtherOptions = false;  // and so nothing was compared
  std::string notComparedWhy;    // empty where all was compared
  std::string notComparedToDo;
  bool hasOtherNames = false;
  ComparisonStatus status = ComparisonStatus::kNothingFound;
  std::string summary;             // "9 same, 1 replaced"
  std::vector<std::string> lines;  // all of it for people, of 8-bit characters
};

// Of a machine without any device: why there was nothing to compare, in a sentence without its end.
Comparison ComparisonOfNothing(const std::string& why);

struct CompareOptions {
  bool isVerbose = false;  // lines for every device
  bool isAscii = false;    // lines of ASCII alone
  // Puts masks in the place of values, each as long as its value.
  std::function<void(std::vector<FieldChange>&)> mask;
};

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_COMPARISON_H_
