/*
 * What the driver finds on a platform, as light doubles that record what it does with them: library
 * table, platform services, debug log, and the two protocols whose presence alone matters.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_PLATFORM_DOUBLE_H_
#define TVQ_TESTS_UNIT_SHARED_PLATFORM_DOUBLE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "host/firmware/edk2.h"

#include <TvqCpp.h>
#include <Guid/ZvServices.h>
#include <Protocol/DebugLog.h>
#include <Protocol/ZvLibrary.h>

namespace tvq::test {

// A line as the debug log was given it, after formatting.
struct LogLine {
  UINT32 level = 0;
  std::string function;
  std::string text;

  bool operator==(const LogLine& other) const {
    return level == other.level && function == other.function && text == other.text;
  }
};
void PrintTo(const LogLine& line, std::ostream* stream);

// Matches a line of level 0x800000.
testing::Matcher<const LogLine&> LogIs(const std::string& function,
                                       const testing::Matcher<const std::string&>& text);

struct Registration {
  VOID* token = nullptr;
  std::string space;
  ZV_ATTRIBUTE_GETTER getter = nullptr;
  ZV_ATTRIBUTE_SETTER setter = nullptr;
};

struct StoredValue {
  std::string space;
  std::string name;
  UINT64 value = 0;
};

// One exists at a time: the tables hold plain functions, which find the double by themselves.
class PlatformDouble {
 public:
  PlatformDouble();
  ~PlatformDouble();
  PlatformDouble(const PlatformDouble&) = delete;
  PlatformDouble& operator=(const PlatformDouble&) = delete;

  ZV_LIBRARY_PROTOCOL library;
  ZV_SERVICES_TABLE services;
  DEBUG_LOG_PROTOCOL debugLog;
  // Interfaces that nobody looks into.
  UINT8 aux = 0;
  UINT8 prerequisite = 0;

  // In the order of the calls, those that were made to fail included.
  std::vector<Registration> registrations;
  std::vector<StoredValue> storedValues;
  std::vector<LogLine> log;

  // What the services answer, by namespace; EFI_SUCCESS where nothing is said.
  std::map<std::string, EFI_STATUS> registerStatus;
  std::map<std::string, EFI_STATUS> setValueStatus;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_PLATFORM_DOUBLE_H_
