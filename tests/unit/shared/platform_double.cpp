/*
 * What the driver finds on a platform, as light doubles.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/platform_double.h"

#include <ostream>

#include "tests/unit/shared/library_double.h"
#include "tests/unit/shared/text.h"

namespace tvq::test {
namespace {

PlatformDouble* gDouble = nullptr;

EFI_STATUS StatusOf(const std::map<std::string, EFI_STATUS>& answers, const std::string& space) {
  const auto answer = answers.find(space);
  return answer == answers.end() ? EFI_SUCCESS : answer->second;
}

EFI_STATUS EFIAPI SetAttributeValue(CHAR16* space, CHAR16* name, UINT64 value) {
  gDouble->storedValues.push_back({Utf8(space), Utf8(name), value});
  return StatusOf(gDouble->setValueStatus, Utf8(space));
}

EFI_STATUS EFIAPI RegisterAttribute(VOID* token, CHAR16* space, ZV_ATTRIBUTE_GETTER getter,
                                    ZV_ATTRIBUTE_SETTER setter) {
  gDouble->registrations.push_back({token, Utf8(space), getter, setter});
  *static_cast<VOID**>(token) = gDouble;
  return StatusOf(gDouble->registerStatus, Utf8(space));
}

VOID EFIAPI PrintLine(UINT32 level, const CHAR8* function, const CHAR16* format, ...) {
  VA_LIST marker;
  VA_START(marker, format);
  gDouble->log.push_back({level, function, FormatLine(format, marker)});
  VA_END(marker);
}

}  // namespace

void PrintTo(const LogLine& line, std::ostream* stream) {
  *stream << std::hex << "{0x" << line.level << std::dec << ", " << line.function << ", "
          << testing::PrintToString(line.text) << "}";
}

testing::Matcher<const LogLine&> LogIs(const std::string& function,
                                       const testing::Matcher<const std::string&>& text) {
  return testing::AllOf(testing::Field("level", &LogLine::level, DEBUG_LOG_LEVEL_INFO),
                        testing::Field("function", &LogLine::function, function),
                        testing::Field("text", &LogLine::text, text));
}

PlatformDouble::PlatformDouble() : library(MakeLibraryDouble()) {
  FillUnused(reinterpret_cast<VOID**>(&services), sizeof(services) / sizeof(VOID*));
  services.SetAttributeValue = SetAttributeValue;
  services.RegisterAttribute = RegisterAttribute;
  FillUnused(reinterpret_cast<VOID**>(&debugLog), sizeof(debugLog) / sizeof(VOID*));
  debugLog.Print = PrintLine;
  gDouble = this;
}

PlatformDouble::~PlatformDouble() {
  gDouble = nullptr;
}

}  // namespace tvq::test
