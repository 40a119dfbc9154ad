/*
 * TvqPlatformTest: content with the reference platform, and every way in which a platform
 * can be wrong fails its own check and no other.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <strings.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <utility>

#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/shared/entry_point.h"

#include "images/driver.h"
#include "images/platform_test.h"

#include <Guid/SmBios.h>
#include <Guid/ZvServices.h>
#include <IndustryStandard/TvqBlob.h>
#include <Protocol/DebugLog.h>
#include <Protocol/TvqManagement.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/XmlParser.h>
#include <Protocol/ZvLibrary.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class TvqPlatformTest : public PlatformTest {
 protected:
  TvqPlatformTest() {
    EXPECT_EQ(Firmware().StartImage(Firmware().LoadImage(host::images::driver)), EFI_SUCCESS);
    PublishTable(MinimalServer());
  }

  void PublishTable(const Table& table) {
    mTable = host::MapBelow4G(table.Size());
    std::copy(table.Bytes().begin(), table.Bytes().end(), mTable.Data());
    mEntry = host::MapBelow4G(sizeof(SMBIOS_TABLE_ENTRY_POINT));
    Install(EntryPointBytes::Of32Bits(table, mTable.Address32()).PlaceAt(Entry()));
  }
  SMBIOS_TABLE_ENTRY_POINT* Entry() {
    return reinterpret_cast<SMBIOS_TABLE_ENTRY_POINT*>(mEntry.Data());
  }
  void SetChecksums() { FitChecksums(mEntry.Data()); }
  void Install(VOID* entry) {
    EXPECT_EQ(Firmware().BootServices()->InstallConfigurationTable(&gEfiSmbiosTableGuid, entry),
              EFI_SUCCESS);
  }
  void Remove(EFI_GUID& guid) {
    EFI_HANDLE platform = nullptr;
    UINTN size = sizeof(platform);
    EXPECT_EQ(Firmware().BootServices()->LocateHandle(ByProtocol, &guid, nullptr, &size, &platform),
              EFI_SUCCESS);
    EXPECT_EQ(
        Firmware().BootServices()->UninstallProtocolInterface(platform, &guid, Find<VOID>(guid)),
        EFI_SUCCESS);
  }
  ZV_LIBRARY_PROTOCOL& Zvi() { return *Find<ZV_LIBRARY_PROTOCOL>(gZvLibraryProtocolGuid); }
  ZV_SERVICES_TABLE& Services() {
    return *static_cast<ZV_SERVICES_TABLE*>(ConfigurationTable(Firmware(), gZvServicesTableGuid));
  }
  XML_PARSER_PROTOCOL& Xml() { return *Find<XML_PARSER_PROTOCOL>(gXmlParserProtocolGuid); }

  EFI_STATUS Run() {
    const size_t before = Firmware().ConsoleOutput().size();
    const EFI_STATUS status =
        Firmware().StartImage(Firmware().LoadImage(host::images::platform_test));
    const std::u16string& console = Firmware().ConsoleOutput();
    mReport.clear();
    for (size_t i = before; i < console.size(); ++i) {
      if (console[i] != u'\r') {
        mReport.push_back(static_cast<char>(console[i]));
      }
    }
    return status;
  }
  const std::string& Report() const { return mReport; }
  // The checks that failed, each with the thing that it is about.
  std::vector<std::string> Failures() {
    std::vector<std::string> failures;
    std::istringstream lines(mReport);
    std::string title;
    for (std::string line; std::getline(lines, line);) {
      if (line.compare(0, 2, "  ") != 0) {
        title = line;
      } else if (const size_t at = line.find(" ... FAIL"); at != std::string::npos) {
        failures.push_back(title + ": " + line.substr(2, at - 2));
      }
    }
    return failures;
  }
  // Runs on a platform that is wrong in one way.
  std::string OnlyFailure() {
    EXPECT_EQ(Run(), EFI_ABORTED);
    EXPECT_THAT(Report(), testing::AnyOf(HasSubstr("What to do: "), HasSubstr("Without it ")));
    EXPECT_THAT(Report(), HasSubstr(" 1 failed, "));
    const std::vector<std::string> failures = Failures();
    return failures.size() == 1 ? failures[0] : Report();
  }

 private:
  host::LowMapping mTable;
  host::LowMapping mEntry;
  std::string mReport;
};

TEST_F(TvqPlatformTest, IsContentWithTheReferencePlatform) {
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_THAT(Failures(), IsEmpty());
  EXPECT_THAT(Report(), Not(HasSubstr("What to do")));
  EXPECT_THAT(Report(),
              HasSubstr("\nTvqPlatformTest: 39 OK, 0 failed, 0 optional parts missing\n"));
}

TEST_F(TvqPlatformTest, FreesWhatItAllocates) {
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_EQ(Firmware().Memory().LiveCount(host::images::platform_test), 0u);
}

TEST_F(TvqPlatformTest, LeavesALineInTheDebugLog) {
  UINTN lines = 0;
  TVQ_LOG_LINE line = {};
  while (Platform()->GetLogLine(Platform(), lines, &line) == EFI_SUCCESS) {
    ++lines;
  }
  EXPECT_EQ(Run(), EFI_SUCCESS);
  ASSERT_EQ(Platform()->GetLogLine(Platform(), lines, &line), EFI_SUCCESS);
  EXPECT_EQ(line.Level, UINT32{DEBUG_LOG_LEVEL_INFO});
  EXPECT_STREQ(line.FunctionName, "TvqPlatformTest");
  EXPECT_EQ(Utf8(line.Text), "a line of TvqPlatformTest 1 2 Success\n");
  EXPECT_EQ(Platform()->GetLogLine(Platform(), lines + 1, &line), EFI_NOT_FOUND);
}

TEST_F(TvqPlatformTest, CanBeRunAgain) {
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_EQ(Run(), EFI_SUCCESS);
}

// --- Missing parts ---

TEST_F(TvqPlatformTest, NamesEachPartThatTheDriverNeeds) {
  const std::pair<EFI_GUID*, const char*> parts[] = {
      {&gZvAuxProtocolGuid, "Auxiliary protocol: is there"},
      {&gZvLibraryProtocolGuid, "Library service table ZVI: is there"},
      {&gTvqPrerequisiteProtocolGuid, "Prerequisite protocol: is there"}};
  for (const auto& [guid, failure] : parts) {
    VOID* interface = Find<VOID>(*guid);
    Remove(*guid);
    EXPECT_EQ(OnlyFailure(), failure);
    EFI_HANDLE handle = Firmware().HandleOf(host::images::platform);
    EXPECT_EQ(Firmware().BootServices()->InstallProtocolInterface(&handle, guid,
                                                                  EFI_NATIVE_INTERFACE, interface),
              EFI_SUCCESS);
  }
}

TEST_F(TvqPlatformTest, NamesAMissingServicesTable) {
  Firmware().BootServices()->InstallConfigurationTable(&gZvServicesTableGuid, nullptr);
  EXPECT_EQ(OnlyFailure(), "Platform services table: is there");
}

// As the driver does.
TEST_F(TvqPlatformTest, LooksAtTheLastServicesTable) {
  ZV_SERVICES_TABLE empty = {};
  EFI_CONFIGURATION_TABLE entries[] = {{gEfiSmbiosTableGuid, Entry()},
                                       {gZvServicesTableGuid, &empty},
                                       {gZvServicesTableGuid, &Services()},
                                       {gZvServicesTableGuid, nullptr}};
  EFI_SYSTEM_TABLE* const system = Firmware().SystemTableOf(host::images::platform_test);
  system->ConfigurationTable = entries;
  system->NumberOfTableEntries = 3;
  EXPECT_EQ(Run(), EFI_SUCCESS);
  system->NumberOfTableEntries = 2;
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_EQ(Failures().size(), 2u);
  system->NumberOfTableEntries = 1;
  EXPECT_EQ(OnlyFailure(), "Platform services table: is there");
}

TEST_F(TvqPlatformTest, NamesAMissingEntryPoint) {
  Install(nullptr);
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: is there");
}

TEST_F(TvqPlatformTest, IsContentWithoutWhatIsOptionalAndSaysWhatThatMeans) {
  Remove(gDebugLogProtocolGuid);
  Remove(gTvqManagementProtocolGuid);
  Remove(gXmlParserProtocolGuid);
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_THAT(Failures(), IsEmpty());
  EXPECT_THAT(Report(), HasSubstr("Debug log\n  is there ... no\n  Without it the driver's log"));
  EXPECT_THAT(Report(), HasSubstr("TVQ management\n  is there ... no\n  Without it no agent can"));
  EXPECT_THAT(Report(), HasSubstr("XML parser\n  is there ... no\n  Without it no agent can"));
  EXPECT_THAT(Report(), HasSubstr(" 0 failed, 3 optional parts missing\n"));
}

TEST_F(TvqPlatformTest, NeedsNoDriver) {
  const EFI_HANDLE driver = Firmware().HandleOf(host::images::driver);
  EFI_HANDLE handle = driver;
  VOID* request = Find<VOID>(gTvqStartRequestProtocolGuid);
  ASSERT_EQ(Firmware().BootServices()->UninstallProtocolInterface(
                handle, &gTvqStartRequestProtocolGuid, request),
            EFI_SUCCESS);
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("Driver TVQSMBIOS\n  is there ... no\n"));
}

// --- Empty positions ---

TEST_F(TvqPlatformTest, CallsNoEmptyPosition) {
  Zvi() = {};
  Services() = {};
  Xml() = {};
  Find<DEBUG_LOG_PROTOCOL>(gDebugLogProtocolGuid)->Print = nullptr;
  TVQ_LOCATE_BLOB none = nullptr;
  std::memcpy(reinterpret_cast<char*>(Find<VOID>(gTvqManagementProtocolGuid)) + 60, &none,
              sizeof(none));
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_EQ(Failures().size(), 23u);
  EXPECT_THAT(Report(), HasSubstr("position 39, StrTrim: removes the character at both ends alone "
                                  "... FAIL: it is NULL\n"));
}

TEST_F(TvqPlatformTest, NamesAnEmptyPositionOfTheServices) {
  Services().RegisterAttribute = nullptr;
  EXPECT_EQ(OnlyFailure(), "Platform services table: position 29, RegisterAttribute: is set");
}

// --- Functions that do something else ---

ZV_LIBRARY_PROTOCOL gRight;

VOID EFIAPI CopyOneMore(VOID* to, const VOID* from, UINTN length) {
  gRight.CopyMem(to, from, length + 1);
}
VOID EFIAPI CopyOneLess(VOID* to, const VOID* from, UINTN length) {
  gRight.CopyMem(to, from, length - 1);
}
VOID EFIAPI CopyAndWriteFarBehind(VOID* to, const VOID* from, UINTN length) {
  gRight.CopyMem(to, from, length);
  static_cast<CHAR8*>(to)[length + 16] = '\0';
}
UINTN EFIAPI PrintCountsTerminator(CHAR8* buffer, UINTN size, const CHAR8* format, VA_LIST marker) {
  const UINTN length = gRight.AsciiVSPrint(buffer, size, format, marker);
  return length == 4 ? length : length + 1;
}
// As snprintf does.
UINTN EFIAPI PrintCountsWhatDoesNotFit(CHAR8* buffer, UINTN size, const CHAR8* format,
                                       VA_LIST marker) {
  const UINTN length = gRight.AsciiVSPrint(buffer, size, format, marker);
  return size == 5 ? 7 : length;
}
UINTN EFIAPI PrintTerminatesBehind(CHAR8* buffer, UINTN size, const CHAR8* format, VA_LIST marker) {
  const UINTN length = gRight.AsciiVSPrint(buffer, size, format, marker);
  if (length + 1 == size) {
    buffer[size] = '\0';
  }
  return length;
}
UINTN EFIAPI PrintOneTooMany(CHAR8* buffer, UINTN size, const CHAR8* format, VA_LIST marker) {
  return gRight.AsciiVSPrint(buffer, size == 5 ? 6 : size, format, marker);
}
UINTN EFIAPI CountTerminator(const CHAR8* text) {
  return gRight.AsciiStrLen(text) + 1;
}
UINTN EFIAPI CountOneAtLeast(const CHAR8* text) {
  return MAX(gRight.AsciiStrLen(text), 1u);
}
UINTN EFIAPI CountUpToTheLimit(const CHAR8* text) {
  return MIN(gRight.AsciiStrLen(text), 1000000u);
}
INTN EFIAPI CompareIgnoringCase(const CHAR8* left, const CHAR8* right) {
  return strcasecmp(left, right);
}
INTN EFIAPI CompareTheShorter(const CHAR8* left, const CHAR8* right) {
  return gRight.AsciiStrnCmp(left, right, MIN(gRight.AsciiStrLen(left), gRight.AsciiStrLen(right)));
}
INTN EFIAPI CompareOneMore(const CHAR8* left, const CHAR8* right, UINTN length) {
  return length == 0 ? 0 : gRight.AsciiStrnCmp(left, right, length + 1);
}
INTN EFIAPI CompareOneLess(const CHAR8* left, const CHAR8* right, UINTN length) {
  return length == 0 ? 0 : gRight.AsciiStrnCmp(left, right, length - 1);
}
INTN EFIAPI CompareWhole(const CHAR8* left, const CHAR8* right, UINTN) {
  return gRight.AsciiStrCmp(left, right);
}
RETURN_STATUS EFIAPI CopyNothing(CHAR8* to, UINTN size, const CHAR8* from) {
  return gRight.AsciiStrLen(from) < size ? RETURN_SUCCESS : gRight.AsciiStrCpyS(to, size, from);
}
RETURN_STATUS EFIAPI CopyWhatLeavesRoom(CHAR8* to, UINTN size, const CHAR8* from) {
  return gRight.AsciiStrCpyS(to, size - 1, from);
}
RETURN_STATUS EFIAPI CopyAndTerminateBehind(CHAR8* to, UINTN size, const CHAR8* from) {
  const RETURN_STATUS status = gRight.AsciiStrCpyS(to, size, from);
  if (!RETURN_ERROR(status)) {
    to[size] = '\0';
  }
  return status;
}
RETURN_STATUS EFIAPI RefuseAndTerminateBehind(CHAR8* to, UINTN size, const CHAR8* from) {
  const RETURN_STATUS status = gRight.AsciiStrCpyS(to, size, from);
  if (RETURN_ERROR(status)) {
    to[size] = '\0';
  }
  return status;
}
// Keeps what has room, and says that it is not all.
RETURN_STATUS EFIAPI CopyACutAndRefuse(CHAR8* to, UINTN size, const CHAR8* from) {
  (void)gRight.AsciiStrnCpyS(to, size, from, size - 1);
  return gRight.AsciiStrLen(from) < size ? RETURN_SUCCESS : RETURN_BUFFER_TOO_SMALL;
}
RETURN_STATUS EFIAPI CopyWithoutTerminator(CHAR8* to, UINTN size, const CHAR8* from) {
  if (gRight.AsciiStrLen(from) != size) {
    return gRight.AsciiStrCpyS(to, size, from);
  }
  gRight.CopyMem(to, from, size);
  return RETURN_SUCCESS;
}
RETURN_STATUS EFIAPI CopyACut(CHAR8* to, UINTN size, const CHAR8* from) {
  return gRight.AsciiStrnCpyS(to, size, from, size - 1);
}
RETURN_STATUS EFIAPI CopyAll(CHAR8* to, UINTN size, const CHAR8* from, UINTN) {
  return gRight.AsciiStrCpyS(to, size, from);
}
// Copies well, and wants all the characters that it may copy.
RETURN_STATUS EFIAPI CopyAndMissMore(CHAR8* to, UINTN size, const CHAR8* from, UINTN length) {
  const RETURN_STATUS status = gRight.AsciiStrnCpyS(to, size, from, length);
  return gRight.AsciiStrLen(from) < length ? RETURN_BUFFER_TOO_SMALL : status;
}
RETURN_STATUS EFIAPI CopyAndRefuseAPart(CHAR8* to, UINTN size, const CHAR8* from, UINTN length) {
  const RETURN_STATUS status = gRight.AsciiStrnCpyS(to, size, from, length);
  return gRight.AsciiStrLen(from) > length ? RETURN_BUFFER_TOO_SMALL : status;
}
RETURN_STATUS EFIAPI CopyWholeAndTerminateBehind(CHAR8* to, UINTN size, const CHAR8* from,
                                                 UINTN length) {
  if (gRight.AsciiStrLen(from) < length) {
    to[size] = '\0';
  }
  return gRight.AsciiStrnCpyS(to, size, from, length);
}
RETURN_STATUS EFIAPI CopyPartAndTerminateBehind(CHAR8* to, UINTN size, const CHAR8* from,
                                                UINTN length) {
  if (gRight.AsciiStrLen(from) > length) {
    to[size] = '\0';
  }
  return gRight.AsciiStrnCpyS(to, size, from, length);
}
// As strncpy does.
RETURN_STATUS EFIAPI CopyAndPad(CHAR8* to, UINTN size, const CHAR8* from, UINTN length) {
  std::fill_n(to, size, '\0');
  return gRight.AsciiStrnCpyS(to, size, from, length);
}
CHAR8* EFIAPI FindAlways(const CHAR8* text, const CHAR8* part) {
  CHAR8* found = gRight.AsciiStrStr(text, part);
  return found != nullptr ? found : const_cast<CHAR8*>(text);
}
VOID EFIAPI TrimTheFront(CHAR8* text, CHAR8 character) {
  while (*text == character) {
    gRight.CopyMem(text, text + 1, gRight.AsciiStrLen(text));
  }
}
UINTN EFIAPI ReadDecimal(const CHAR8* text, UINT32) {
  return gRight.AsciiStrToUint(text, 10);
}
UINTN EFIAPI ReadDigitsAlone(const CHAR8* text, UINT32 base) {
  const bool areDigits = std::strspn(text, "0123456789") == gRight.AsciiStrLen(text);
  return base == 16 || areDigits ? gRight.AsciiStrToUint(text, base) : 0;
}
UINTN EFIAPI CountBytes(const CHAR16* text) {
  return 2 * gRight.StrLen(text);
}
INTN EFIAPI CompareLowBytes(const CHAR16* left, const CHAR16* right) {
  while (*left != 0 && (*left & 0xFF) == (*right & 0xFF)) {
    ++left;
    ++right;
  }
  return (*left & 0xFF) - (*right & 0xFF);
}
VOID EFIAPI TrimNothing(CHAR16*, CHAR16) {}

TEST_F(TvqPlatformTest, TellsEachFunctionOfZviThatDoesSomethingElse) {
  gRight = Zvi();
  struct Wrong {
    const char* failure;
    void (*make)(ZV_LIBRARY_PROTOCOL&);
  };
  const Wrong wrongs[] = {
      {"position 0, CopyMem: copies Length bytes and no more",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.CopyMem = CopyOneMore; }},
      {"position 0, CopyMem: copies Length bytes and no more",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.CopyMem = CopyOneLess; }},
      {"position 0, CopyMem: copies Length bytes and no more",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.CopyMem = CopyAndWriteFarBehind; }},
      {"position 4, AsciiVSPrint: formats as PrintLib does",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiVSPrint = PrintCountsTerminator; }},
      {"position 4, AsciiVSPrint: stops at BufferSize",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiVSPrint = PrintOneTooMany; }},
      {"position 4, AsciiVSPrint: stops at BufferSize",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiVSPrint = PrintCountsWhatDoesNotFit; }},
      {"position 4, AsciiVSPrint: stops at BufferSize",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiVSPrint = PrintTerminatesBehind; }},
      {"position 17, AsciiStrLen: counts characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrLen = CountOneAtLeast; }},
      {"position 17, AsciiStrLen: and 24, AsciiStrStr: take 1,000,001 characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrLen = CountUpToTheLimit; }},
      {"position 18, AsciiStrCmp: is 0 for equal texts only",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCmp = CompareIgnoringCase; }},
      {"position 18, AsciiStrCmp: is 0 for equal texts only",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCmp = CompareTheShorter; }},
      {"position 19, AsciiStrnCmp: compares the first Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCmp = CompareOneMore; }},
      {"position 19, AsciiStrnCmp: compares the first Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCmp = CompareOneLess; }},
      {"position 19, AsciiStrnCmp: compares the first Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCmp = CompareWhole; }},
      {"position 20, AsciiStrCpyS: copies a text that fits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = CopyNothing; }},
      {"position 20, AsciiStrCpyS: copies a text that fits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = CopyWhatLeavesRoom; }},
      {"position 20, AsciiStrCpyS: copies a text that fits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = CopyAndTerminateBehind; }},
      {"position 20, AsciiStrCpyS: refuses a text that does not fit",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = RefuseAndTerminateBehind; }},
      {"position 20, AsciiStrCpyS: refuses a text that does not fit",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = CopyWithoutTerminator; }},
      {"position 20, AsciiStrCpyS: refuses a text that does not fit",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrCpyS = CopyACut; }},
      {"position 21, AsciiStrnCpyS: copies at most Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCpyS = CopyAll; }},
      {"position 21, AsciiStrnCpyS: copies at most Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCpyS = CopyAndMissMore; }},
      {"position 21, AsciiStrnCpyS: copies at most Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCpyS = CopyAndRefuseAPart; }},
      {"position 21, AsciiStrnCpyS: copies at most Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCpyS = CopyWholeAndTerminateBehind; }},
      {"position 21, AsciiStrnCpyS: copies at most Length characters",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrnCpyS = CopyPartAndTerminateBehind; }},
      {"position 24, AsciiStrStr: finds the first occurrence, or nothing",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrStr = FindAlways; }},
      {"position 25, AsciiStrTrim: removes the character at both ends alone",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrTrim = TrimTheFront; }},
      {"position 26, AsciiStrToUint: reads decimal and hexadecimal digits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrToUint = ReadDecimal; }},
      {"position 26, AsciiStrToUint: reads decimal and hexadecimal digits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.AsciiStrToUint = ReadDigitsAlone; }},
      {"position 31, StrLen: counts characters of 16 bits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.StrLen = CountBytes; }},
      {"position 32, StrCmp: compares all 16 bits",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.StrCmp = CompareLowBytes; }},
      {"position 39, StrTrim: removes the character at both ends alone",
       [](ZV_LIBRARY_PROTOCOL& zvi) { zvi.StrTrim = TrimNothing; }},
  };
  for (const Wrong& wrong : wrongs) {
    wrong.make(Zvi());
    EXPECT_EQ(OnlyFailure(), std::string("Library service table ZVI: ") + wrong.failure);
    Zvi() = gRight;
  }
  // What counts one too many does so for a long text as well.
  Zvi().AsciiStrLen = CountTerminator;
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_THAT(Failures(),
              ElementsAre("Library service table ZVI: position 17, AsciiStrLen: counts characters",
                          HasSubstr("1,000,001")));
}

// Nobody reads what stands behind the terminator, nor what was refused.
TEST_F(TvqPlatformTest, IsContentWithCopiesThatUseAllTheirRoom) {
  gRight = Zvi();
  Zvi().AsciiStrCpyS = CopyACutAndRefuse;
  Zvi().AsciiStrnCpyS = CopyAndPad;
  EXPECT_EQ(Run(), EFI_SUCCESS);
}

host::Firmware* gMachine;

// The last function that is called before the long text.
VOID EFIAPI TrimAndRunOutOfMemory(CHAR16* text, CHAR16 character) {
  gRight.StrTrim(text, character);
  // What is printed takes two blocks.
  gMachine->Memory().FailAllocation(3, host::images::platform_test);
}

TEST_F(TvqPlatformTest, DoesNotPassWhatItHasNoMemoryFor) {
  gRight = Zvi();
  gMachine = &Firmware();
  Zvi().StrTrim = TrimAndRunOutOfMemory;
  EXPECT_EQ(OnlyFailure(),
            "Library service table ZVI: position 17, AsciiStrLen: and 24, AsciiStrStr: take "
            "1,000,001 characters");
}

// As a platform that knows stored data by nothing but its content: it reads as far as the headers say.
EFI_STATUS EFIAPI FindByContent(TVQ_MANAGEMENT_PROTOCOL*, VOID* data, UINT32 type, UINTN index,
                                VOID** blob) {
  auto* const bytes = static_cast<UINT8*>(data);
  EXPECT_EQ(type, UINT32{TVQ_BLOB_TYPE_CONFIGURATION});
  EXPECT_EQ(index, 0u);
  size_t at = 0;
  for (const TVQ_BLOB_HEADER* header = nullptr;; at += header->sizeInBytes) {
    header = reinterpret_cast<const TVQ_BLOB_HEADER*>(bytes + at);
    const bool isEnd = header->type == TVQ_BLOB_TYPE_END;
    if (isEnd && header->sizeInBytes != sizeof(TVQ_END_BLOB)) {
      ADD_FAILURE() << "an end blob of " << header->sizeInBytes << " bytes";
      return EFI_VOLUME_CORRUPTED;
    }
    if (isEnd) {
      EXPECT_EQ(header->revision, TVQ_BLOB_REVISION);
      EXPECT_EQ(header->cookie, UINT32{TVQ_BLOB_COOKIE_END});
      EXPECT_EQ(Bytes(bytes + at + sizeof(*header), bytes + at + sizeof(TVQ_END_BLOB)),
                Bytes(sizeof(TVQ_END_BLOB) - sizeof(*header)));
    }
    if (header->type == type && index-- == 0) {
      *blob = bytes + at;
      return EFI_SUCCESS;
    }
    if (isEnd) {
      return EFI_NOT_FOUND;
    }
  }
}

TEST_F(TvqPlatformTest, AsksForABlobInStoredDataThatIsSound) {
  TVQ_LOCATE_BLOB locate = FindByContent;
  std::memcpy(reinterpret_cast<char*>(Find<VOID>(gTvqManagementProtocolGuid)) + 60, &locate,
              sizeof(locate));
  EXPECT_EQ(Run(), EFI_SUCCESS);
}

EFI_STATUS EFIAPI FindEverywhere(TVQ_MANAGEMENT_PROTOCOL*, VOID* data, UINT32, UINTN, VOID** blob) {
  *blob = data;
  return EFI_SUCCESS;
}

TEST_F(TvqPlatformTest, TellsAManagementProtocolThatFindsWhatIsNotThere) {
  TVQ_LOCATE_BLOB wrong = FindEverywhere;
  std::memcpy(reinterpret_cast<char*>(Find<VOID>(gTvqManagementProtocolGuid)) + 60, &wrong,
              sizeof(wrong));
  EXPECT_EQ(OnlyFailure(),
            "TVQ management: byte 60, LocateBlob: answers an error where there is no such blob");
}

XML_PARSER_PROTOCOL gRightParser;
XML_TEXT gEmptyName = {nullptr, const_cast<CHAR8*>("a")};
XML_NODE gEmptyNode = {&gEmptyName, &gEmptyName, {nullptr, nullptr}, nullptr, nullptr};

EFI_STATUS EFIAPI ParseAnything(XML_PARSER_PROTOCOL* parser, XML_INPUT* input, XML_NODE** root) {
  const EFI_STATUS status = gRightParser.Parse(parser, input, root);
  if (EFI_ERROR(status)) {
    *root = &gEmptyNode;
  }
  return EFI_SUCCESS;
}
EFI_STATUS EFIAPI FreeAnything(XML_PARSER_PROTOCOL* parser, XML_NODE* root) {
  return root == &gEmptyNode ? EFI_SUCCESS : gRightParser.Free(parser, root);
}
EFI_STATUS EFIAPI ParseNothing(XML_PARSER_PROTOCOL*, XML_INPUT*, XML_NODE** root) {
  *root = nullptr;
  return EFI_UNSUPPORTED;
}

TEST_F(TvqPlatformTest, TellsAParserThatMakesNoTree) {
  Xml().Parse = ParseNothing;
  EXPECT_EQ(OnlyFailure(), "XML parser: position 1, Parse: makes the tree of a document");
}

TEST_F(TvqPlatformTest, TellsAParserThatTakesAnything) {
  gRightParser = Xml();
  Xml().Parse = ParseAnything;
  Xml().Free = FreeAnything;
  EXPECT_EQ(OnlyFailure(),
            "XML parser: position 1, Parse: answers NULL for a text that is no document");
}

TEST_F(TvqPlatformTest, TellsAParserThatReleasesNothing) {
  Xml().Free = nullptr;
  EXPECT_EQ(OnlyFailure(), "XML parser: position 4, Free: is set");
}

// Reads another document in the place of a sound one, and spoils its tree.
const char* gOtherDocument;
void (*gSpoil)(XML_NODE&);
size_t gParsed;
size_t gReleased;

EFI_STATUS EFIAPI ParseAnother(XML_PARSER_PROTOCOL* parser, XML_INPUT* input, XML_NODE** root) {
  EXPECT_EQ(input->SourceKind, UINT32{XML_INPUT_MEMORY});
  EXPECT_EQ(input->Padding, 0u);
  EXPECT_EQ(input->Reserved[0], nullptr);
  EXPECT_EQ(input->Reserved[1], nullptr);
  EFI_STATUS status = gRightParser.Parse(parser, input, root);
  if (EFI_ERROR(status)) {
    return status;
  }
  ++gParsed;
  if (gOtherDocument != nullptr) {
    EXPECT_EQ(gRightParser.Free(parser, *root), EFI_SUCCESS);
    XML_INPUT other = *input;
    other.Text = gOtherDocument;
    status = gRightParser.Parse(parser, &other, root);
    EXPECT_EQ(status, EFI_SUCCESS);
  }
  if (gSpoil != nullptr) {
    gSpoil(**root);
  }
  return status;
}
EFI_STATUS EFIAPI CountReleased(XML_PARSER_PROTOCOL* parser, XML_NODE* root) {
  ++gReleased;
  return gRightParser.Free(parser, root);
}

class TvqPlatformTestOfTrees : public TvqPlatformTest {
 protected:
  TvqPlatformTestOfTrees() {
    gRightParser = Xml();
    gOtherDocument = nullptr;
    gSpoil = nullptr;
    gParsed = 0;
    gReleased = 0;
    Xml().Parse = ParseAnother;
    Xml().Free = CountReleased;
  }
  void ExpectThatItTells() {
    EXPECT_EQ(OnlyFailure(), "XML parser: position 1, Parse: makes the tree of a document")
        << (gOtherDocument != nullptr ? gOtherDocument : "");
  }
};

TEST_F(TvqPlatformTestOfTrees, ReleasesWhatItParses) {
  EXPECT_EQ(Run(), EFI_SUCCESS);
  EXPECT_EQ(gParsed, 1u);
  EXPECT_EQ(gReleased, 1u);
}

TEST_F(TvqPlatformTestOfTrees, TellsElementsThatTheDocumentDoesNotHave) {
  const std::string inventory =
      "<Inventory><WWN>7A2C0001</WWN><Model>A &amp; B</Model></Inventory>";
  const auto document = [](const std::string& elements) {
    return "<tvqComponent>" + elements + "</tvqComponent>";
  };
  const std::string sound = document(inventory + "<Configuration/>");
  gOtherDocument = sound.c_str();
  EXPECT_EQ(Run(), EFI_SUCCESS);
  for (const std::string& other :
       {"<other>" + inventory + "<Configuration/></other>", document(""),
        document("<Other><WWN>7A2C0001</WWN><Model>A &amp; B</Model></Other><Configuration/>"),
        document("<Inventory/><Configuration/>"),
        document("<Inventory><WWN>7A2C0001</WWN></Inventory><Configuration/>"),
        document("<Inventory><WWN>7A2C0002</WWN><Model>A &amp; B</Model></Inventory>"
                 "<Configuration/>"),
        document("<Inventory><wwn>7A2C0001</wwn><Model>A &amp; B</Model></Inventory>"
                 "<Configuration/>"),
        document("<Inventory><WWN>7A2C0001</WWN><Model>A</Model></Inventory><Configuration/>"),
        document("<Inventory><WWN>7A2C0001</WWN><Model>A &amp; B</Model><More/></Inventory>"
                 "<Configuration/>"),
        document(inventory), document(inventory + "<Other/>")}) {
    gOtherDocument = other.c_str();
    ExpectThatItTells();
  }
}

TEST_F(TvqPlatformTestOfTrees, TellsNodesWithoutTexts) {
  const decltype(gSpoil) kSpoils[] = {
      [](XML_NODE& root) { root.Name = nullptr; },
      [](XML_NODE& root) { root.Name->Text = nullptr; },
      [](XML_NODE& root) { root.FirstChild->Name = nullptr; },
      [](XML_NODE& root) { root.FirstChild->FirstChild->Value = nullptr; },
      [](XML_NODE& root) { root.NextSibling = root.FirstChild; }};
  for (const auto spoil : kSpoils) {
    gSpoil = spoil;
    ExpectThatItTells();
  }
}

// --- The table ---

TEST_F(TvqPlatformTest, TellsAnEntryPointWithAWrongChecksum) {
  Entry()->MajorVersion++;
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: the 32-bit entry point has its anchor and checksum");
}

// The checksum is that of as many bytes as the entry point says that it has.
TEST_F(TvqPlatformTest, TakesAnEntryPointThatIsLongerThanTheStandards) {
  UINT8* const bytes = reinterpret_cast<UINT8*>(Entry());
  Entry()->EntryPointLength = 0x20;
  Entry()->EntryPointStructureChecksum = 0;
  FitChecksum(bytes, 0, 0x20, 0x1F);
  EXPECT_EQ(Run(), EFI_SUCCESS);
  bytes[0x1F]++;
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: the 32-bit entry point has its anchor and checksum");
}

TEST_F(TvqPlatformTest, TellsAnEntryPointThatIsShorterThanTheStandards) {
  UINT8* const bytes = reinterpret_cast<UINT8*>(Entry());
  Entry()->EntryPointLength = 0x1E;
  FitChecksum(bytes, 0, 0x1E, kChecksum);
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: the 32-bit entry point has its anchor and checksum");
}

TEST_F(TvqPlatformTest, TellsATableWithoutRoomForAStructure) {
  const char failure[] = "SMBIOS table: the entry point states where the table is";
  Entry()->TableLength = 3;
  SetChecksums();
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_THAT(Failures(), testing::Contains(failure));
  Entry()->TableLength = 4;
  SetChecksums();
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_THAT(Failures(), Not(testing::Contains(failure)));
}

TEST_F(TvqPlatformTest, TellsACountThatLies) {
  Entry()->NumberOfSmbiosStructures++;
  SetChecksums();
  EXPECT_EQ(OnlyFailure(),
            "SMBIOS table: the table has as many structures as the entry point states");
}

// The stated length ends before the last NUL does.
TEST_F(TvqPlatformTest, TellsATableWhoseLastStructureIsCutOff) {
  Entry()->TableLength--;
  SetChecksums();
  EXPECT_EQ(OnlyFailure(),
            "SMBIOS table: the table has as many structures as the entry point states");
}

TEST_F(TvqPlatformTest, TellsThatOneOfTheNamesOfDevicesHasAnotherFormat) {
  PublishTable(Table::Of(MinimalServer(), FqddMap{.format = 2}));
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: a structure of type 225, format 1, names the devices");
}

// Of another maker, perhaps: the driver would start, and no device would have an FQDD.
TEST_F(TvqPlatformTest, TellsNamesOfOtherThingsThanDevices) {
  const FqddMap kMaps[] = {{.groups = {{"NIC.1", 0x999}}},
                           {.groups = {{std::nullopt, 0x400}}},
                           {.groups = {{"CPU.Socket.1", 0x400}, {"NIC.1", 0x999}}}};
  for (const FqddMap& map : kMaps) {
    PublishTable(Table::Of(Processor{.handle = 0x400}, map, End{}));
    EXPECT_EQ(OnlyFailure(), "SMBIOS table: each group of type 225 has a string and a device");
  }
}

// The driver leaves out what is no whole group.
TEST_F(TvqPlatformTest, TakesBytesBehindTheLastGroup) {
  Structure map = FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}}}.Build();
  map.Byte(1).Word(0x0999);
  PublishTable(Table::Of(Processor{.handle = 0x400}, map, End{}));
  EXPECT_EQ(Run(), EFI_SUCCESS);
}

TEST_F(TvqPlatformTest, TellsATableThatNamesNoDevice) {
  PublishTable(Table::Of(Bios{}, System{}, End{}));
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: a structure of type 225, format 1, names the devices");
}

// The driver does not see what stands behind.
TEST_F(TvqPlatformTest, TellsATableThatEndsBeforeItNamesADevice) {
  PublishTable(Table::Of(Bios{}, System{.handle = kNoHandle}, FqddMap{}));
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: a structure of type 225, format 1, names the devices");
}

// As the driver does.
TEST_F(TvqPlatformTest, LooksAtTheFirstEntryPointOfTwo) {
  SMBIOS_TABLE_ENTRY_POINT wrong = *Entry();
  wrong.AnchorString[0] = 'X';
  EFI_CONFIGURATION_TABLE entries[] = {
      {gZvServicesTableGuid, &Services()},
      {gEfiSmbiosTableGuid, nullptr},
      {gEfiSmbiosTableGuid, Entry()},
      {gEfiSmbiosTableGuid, &wrong},
  };
  EFI_SYSTEM_TABLE* const system = Firmware().SystemTableOf(host::images::platform_test);
  system->ConfigurationTable = entries;
  system->NumberOfTableEntries = std::size(entries);
  EXPECT_EQ(Run(), EFI_SUCCESS);
  std::swap(entries[2].VendorTable, entries[3].VendorTable);
  EXPECT_EQ(OnlyFailure(), "SMBIOS table: the 32-bit entry point has its anchor and checksum");
}

TEST_F(TvqPlatformTest, AsksNothingOfATableThatIsNowhere) {
  Entry()->TableAddress = 0;
  SetChecksums();
  EXPECT_EQ(Run(), EFI_ABORTED);
  EXPECT_EQ(Failures().size(), 4u);
  EXPECT_EQ(Failures()[0], "SMBIOS table: the entry point states where the table is");
}

TEST_F(TvqPlatformTest, StaysInsideATableThatIsCutAnywhere) {
  // So that the runs are short: it is not what is asked here.
  Remove(gZvLibraryProtocolGuid);
  const Bytes whole = MinimalServer().Bytes();
  for (size_t length = 0; length < whole.size(); ++length) {
    host::LowMapping cut = host::MapBelow4G(length == 0 ? 1 : length, host::Guard::kBehind);
    std::copy_n(whole.begin(), length, cut.Data());
    Entry()->TableAddress = cut.Address32();
    Entry()->TableLength = static_cast<UINT16>(length);
    SetChecksums();
    EXPECT_EQ(Run(), EFI_ABORTED) << length;
  }
}

// --- The driver ---

TEST_F(TvqPlatformTest, TellsAStartRequestThatIsNone) {
  Find<TVQ_START_REQUEST>(gTvqStartRequestProtocolGuid)->StartCode = 0x1000;
  EXPECT_EQ(OnlyFailure(), "Driver TVQSMBIOS: the start request has its code and its function");
  EXPECT_THAT(Report(), HasSubstr("TvqPlatformTest: 38 OK, 1 failed, 0 optional parts missing\n"));
}

TEST_F(TvqPlatformTest, TellsTheStartRequestOfAnUnloadedDriver) {
  const auto* request = Find<TVQ_START_REQUEST>(gTvqStartRequestProtocolGuid);
  ASSERT_EQ(request->Start(nullptr), EFI_SUCCESS);
  ASSERT_EQ(Firmware().UnloadImage(Firmware().HandleOf(host::images::driver)), EFI_SUCCESS);
  EXPECT_EQ(OnlyFailure(),
            "Driver TVQSMBIOS: the start request is the only one, and stands on a loaded image");
}

}  // namespace
}  // namespace tvq::test
