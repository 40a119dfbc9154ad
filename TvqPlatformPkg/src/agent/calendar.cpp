/** @file
  Dates as seconds, and back.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "calendar.h"

extern "C" {
#include <Library/UefiRuntimeServicesTableLib.h>
}

namespace tvqplatform {

namespace {

constexpr UINT64 kSecondsOfMinute = 60;
constexpr UINT64 kSecondsOfHour = 60 * kSecondsOfMinute;
constexpr UINT64 kSecondsOfDay = 24 * kSecondsOfHour;
constexpr UINT64 kFirstYear = 1970;
constexpr UINT64 kLastYear = 9999;

bool IsLeapYear(UINT64 year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

UINT64 DaysOfYear(UINT64 year) {
  return IsLeapYear(year) ? 366 : 365;
}

UINT64 DaysOfMonth(UINT64 year, UINT64 month) {
  constexpr UINT8 kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return kDays[month - 1] + (month == 2 && IsLeapYear(year) ? 1u : 0u);
}

bool IsDate(const EFI_TIME& time) {
  return time.Year >= kFirstYear && time.Year <= kLastYear && time.Month >= 1 && time.Month <= 12 &&
         time.Day >= 1 && time.Day <= DaysOfMonth(time.Year, time.Month) && time.Hour < 24 &&
         time.Minute < 60 && time.Second < 60;
}

}  // namespace

UINT64 SecondsOf(const EFI_TIME& time) {
  if (!IsDate(time)) {
    return 0;
  }
  UINT64 days = static_cast<UINT64>(time.Day) - 1;
  for (UINT64 year = kFirstYear; year < time.Year; year++) {
    days += DaysOfYear(year);
  }
  for (UINT64 month = 1; month < time.Month; month++) {
    days += DaysOfMonth(time.Year, month);
  }
  const UINT64 seconds = days * kSecondsOfDay + time.Hour * kSecondsOfHour +
                         time.Minute * kSecondsOfMinute + time.Second;
  // The minutes that local time is behind UTC.
  const INT64 behind = time.TimeZone >= -1440 && time.TimeZone <= 1440 ? time.TimeZone : 0;
  const INT64 utc = static_cast<INT64>(seconds) + behind * static_cast<INT64>(kSecondsOfMinute);
  return utc < 0 ? 0 : static_cast<UINT64>(utc);
}

UINT64 SecondsNow() {
  EFI_TIME time;
  ZeroMem(&time, sizeof(time));
  return EFI_ERROR(gRT->GetTime(&time, nullptr)) ? 0 : SecondsOf(time);
}

void FormatTime(UINT64 seconds, CHAR8 (&text)[kTimeTextSize]) {
  UINT64 days = seconds / kSecondsOfDay;
  UINT64 year = kFirstYear;
  while (year <= kLastYear && days >= DaysOfYear(year)) {
    days -= DaysOfYear(year++);
  }
  if (seconds == 0 || year > kLastYear) {
    AsciiSPrint(text, sizeof(text), "at an unknown time");
    return;
  }
  UINT64 month = 1;
  while (days >= DaysOfMonth(year, month)) {
    days -= DaysOfMonth(year, month++);
  }
  const UINT64 rest = seconds % kSecondsOfDay;
  AsciiSPrint(text, sizeof(text), "%ld-%02ld-%02ld %02ld:%02ld UTC", year, month, days + 1,
              rest / kSecondsOfHour, rest % kSecondsOfHour / kSecondsOfMinute);
}

}  // namespace tvqplatform
