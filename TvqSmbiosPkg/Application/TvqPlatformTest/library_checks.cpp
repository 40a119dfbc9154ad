/** @file
  Checks of ZVI, the library service table: every position holds the function that belongs there.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Protocol/ZvLibrary.h>

#include "check.h"

namespace tvqtest {

namespace {

VOID* Find() {
  return Locate(gZvLibraryProtocolGuid);
}

ZV_LIBRARY_PROTOCOL* Zvi() {
  return static_cast<ZV_LIBRARY_PROTOCOL*>(Find());
}

/// Fills what nobody may write to.
constexpr CHAR8 kUntouched = '#';

/// Room for a result, and bytes behind it that show a write past its end.
struct Room {
  CHAR8 Text[24];

  Room() { SetMem(Text, sizeof(Text), static_cast<UINT8>(kUntouched)); }
  bool IsUntouchedFrom(UINTN offset) const {
    for (UINTN i = offset; i < sizeof(Text); i++) {
      if (Text[i] != kUntouched) {
        return false;
      }
    }
    return true;
  }
};

bool CopyMemCopies() {
  const CHAR8 source[] = "0123456789";
  Room room;
  Zvi()->CopyMem(room.Text, source, 7);
  return CompareMem(room.Text, source, 7) == 0 && room.IsUntouchedFrom(7);
}

UINTN EFIAPI Print(CHAR8* buffer, UINTN size, const CHAR8* format, ...) {
  VA_LIST marker;
  VA_START(marker, format);
  const UINTN length = Zvi()->AsciiVSPrint(buffer, size, format, marker);
  VA_END(marker);
  return length;
}

bool AsciiVSPrintFormats() {
  Room room;
  const UINTN length =
      Print(room.Text, sizeof(room.Text), "%d|%a|%s|%02x", 42, "ascii", tvq::Ucs2(u"wide"), 10);
  return IsSame(room.Text, "42|ascii|wide|0A") && length == 16;
}

bool AsciiVSPrintStops() {
  Room room;
  const UINTN length = Print(room.Text, 5, "%d", 1234567);
  return IsSame(room.Text, "1234") && length == 4 && room.IsUntouchedFrom(5);
}

bool AsciiStrLenCounts() {
  return Zvi()->AsciiStrLen("") == 0 && Zvi()->AsciiStrLen("DIMM A1") == 7;
}

bool AsciiStrCmpCompares() {
  return Zvi()->AsciiStrCmp("Speed", "Speed") == 0 && Zvi()->AsciiStrCmp("Speed", "Speeds") != 0 &&
         Zvi()->AsciiStrCmp("Speed", "speed") != 0;
}

bool AsciiStrnCmpCompares() {
  return Zvi()->AsciiStrnCmp("0123A", "0123B", 4) == 0 &&
         Zvi()->AsciiStrnCmp("0123A", "0123B", 5) != 0 && Zvi()->AsciiStrnCmp("a", "b", 0) == 0 &&
         Zvi()->AsciiStrnCmp("ab", "ab", 9) == 0;
}

bool AsciiStrCpySCopies() {
  Room room;
  const RETURN_STATUS status = Zvi()->AsciiStrCpyS(room.Text, 5, "CPU0");
  return !RETURN_ERROR(status) && IsSame(room.Text, "CPU0") && room.IsUntouchedFrom(5);
}

bool AsciiStrCpySRefuses() {
  Room room;
  return RETURN_ERROR(Zvi()->AsciiStrCpyS(room.Text, 4, "CPU0")) && room.IsUntouchedFrom(4);
}

bool AsciiStrnCpySCopies() {
  Room whole;
  Room part;
  return !RETURN_ERROR(Zvi()->AsciiStrnCpyS(whole.Text, 6, "en-US", 6)) &&
         IsSame(whole.Text, "en-US") && whole.IsUntouchedFrom(6) &&
         !RETURN_ERROR(Zvi()->AsciiStrnCpyS(part.Text, 6, "0123456789", 3)) &&
         IsSame(part.Text, "012") && part.IsUntouchedFrom(6);
}

bool AsciiStrStrFinds() {
  const CHAR8 text[] = "<Mode>Normal</Mode>";
  return Zvi()->AsciiStrStr(text, "Normal") == text + 6 &&
         Zvi()->AsciiStrStr(text, "Normale") == nullptr;
}

bool AsciiStrTrimTrims() {
  CHAR8 text[] = "  M393 A2  ";
  CHAR8 blanks[] = "   ";
  Zvi()->AsciiStrTrim(text, ' ');
  Zvi()->AsciiStrTrim(blanks, ' ');
  return IsSame(text, "M393 A2") && IsSame(blanks, "");
}

bool AsciiStrToUintReads() {
  return Zvi()->AsciiStrToUint("4096", 10) == 4096 && Zvi()->AsciiStrToUint("17x", 10) == 17 &&
         Zvi()->AsciiStrToUint("1F", 16) == 0x1F && Zvi()->AsciiStrToUint("", 10) == 0;
}

bool StrLenCounts() {
  return Zvi()->StrLen(tvq::Ucs2(u"")) == 0 && Zvi()->StrLen(tvq::Ucs2(u"DIMM A1")) == 7;
}

bool StrCmpCompares() {
  return Zvi()->StrCmp(tvq::Ucs2(u"A1"), tvq::Ucs2(u"A1")) == 0 &&
         Zvi()->StrCmp(tvq::Ucs2(u"A1"), tvq::Ucs2(u"A\x131")) != 0;
}

bool StrTrimTrims() {
  CHAR16 text[] = {' ', 'A', ' ', 'B', ' ', ' ', 0};
  const CHAR16 trimmed[] = {'A', ' ', 'B', 0};
  Zvi()->StrTrim(text, ' ');
  return IsSame(text, trimmed);
}

/// Longer than MdePkg's routines take by default.
constexpr UINTN kLongText = 1000001;

bool LongTextsAreTaken() {
  auto text = tvq::PoolPtr<CHAR8>::Zeroed(kLongText + 1);
  if (!text) {
    return false;
  }
  SetMem(text.Get(), kLongText, 'x');
  text[kLongText - 1] = 'y';
  return Zvi()->AsciiStrLen(text.Get()) == kLongText &&
         Zvi()->AsciiStrStr(text.Get(), "xy") == text.Get() + kLongText - 2;
}

#define ZVI_CHECK(Position, Entry, What, Test) \
  { "position " #Position ", " #Entry ": " What, OFFSET_OF(ZV_LIBRARY_PROTOCOL, Entry), Test }

constexpr Check kChecks[] = {
    ZVI_CHECK(0, CopyMem, "copies Length bytes and no more", CopyMemCopies),
    ZVI_CHECK(4, AsciiVSPrint, "formats as PrintLib does", AsciiVSPrintFormats),
    ZVI_CHECK(4, AsciiVSPrint, "stops at BufferSize", AsciiVSPrintStops),
    ZVI_CHECK(17, AsciiStrLen, "counts characters", AsciiStrLenCounts),
    ZVI_CHECK(18, AsciiStrCmp, "is 0 for equal texts only", AsciiStrCmpCompares),
    ZVI_CHECK(19, AsciiStrnCmp, "compares the first Length characters", AsciiStrnCmpCompares),
    ZVI_CHECK(20, AsciiStrCpyS, "copies a text that fits", AsciiStrCpySCopies),
    ZVI_CHECK(20, AsciiStrCpyS, "refuses a text that does not fit", AsciiStrCpySRefuses),
    ZVI_CHECK(21, AsciiStrnCpyS, "copies at most Length characters", AsciiStrnCpySCopies),
    ZVI_CHECK(24, AsciiStrStr, "finds the first occurrence, or nothing", AsciiStrStrFinds),
    ZVI_CHECK(25, AsciiStrTrim, "removes the character at both ends alone", AsciiStrTrimTrims),
    ZVI_CHECK(26, AsciiStrToUint, "reads decimal and hexadecimal digits", AsciiStrToUintReads),
    ZVI_CHECK(31, StrLen, "counts characters of 16 bits", StrLenCounts),
    ZVI_CHECK(32, StrCmp, "compares all 16 bits", StrCmpCompares),
    ZVI_CHECK(39, StrTrim, "removes the character at both ends alone", StrTrimTrims),
    // Last, because an MdePkg with its limit stops the machine here with an assertion.
    ZVI_CHECK(17, AsciiStrLen, "and 24, AsciiStrStr: take 1,000,001 characters", LongTextsAreTaken),
};

}  // namespace

const Group kLibrary = {
    "Library service table ZVI",
    Find,
    "the driver is never loaded: its dependency expression waits for gZvLibraryProtocolGuid.",
    "compare the table with Protocol/ZvLibrary.h: the position of an entry is the interface, and "
    "each "
    "does what the function of that name does in BaseLib, without MdePkg's limit on the length.",
    false,
    kChecks};

}  // namespace tvqtest
