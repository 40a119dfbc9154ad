/*
 * Dates as seconds, and back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/calendar.h"

namespace tvq::test {
namespace {

class AgentCalendar : public AgentTest {
 protected:
  static EFI_TIME Date(UINT16 year, UINT8 month, UINT8 day, UINT8 hour = 0, UINT8 minute = 0,
                       UINT8 second = 0, INT16 zone = 0) {
    EFI_TIME time = {};
    time.Year = year;
    time.Month = month;
    time.Day = day;
    time.Hour = hour;
    time.Minute = minute;
    time.Second = second;
    time.TimeZone = zone;
    return time;
  }
  static std::string Text(UINT64 seconds) {
    char text[tvqplatform::kTimeTextSize];
    tvqplatform::FormatTime(seconds, text);
    return text;
  }
};

TEST_F(AgentCalendar, CountsSecondsSince1970) {
  const struct {
    EFI_TIME date;
    UINT64 seconds;
    const char* text;
  } kCases[] = {
      {Date(1970, 1, 1, 0, 0, 1), 1, "1970-01-01 00:00 UTC"},
      {Date(1999, 12, 31, 23, 59, 59), 946684799, "1999-12-31 23:59 UTC"},
      {Date(2000, 2, 29), 951782400, "2000-02-29 00:00 UTC"},
      {Date(2000, 3, 1), 951868800, "2000-03-01 00:00 UTC"},
      {Date(2026, 11, 22, 8, 5, 6), 1795334706, "2026-11-22 08:05 UTC"},
      {Date(2026, 11, 22, 8, 59, 0), 1795337940, "2026-11-22 08:59 UTC"},
      {Date(2100, 3, 1), 4107542400, "2100-03-01 00:00 UTC"},
      {Date(9999, 12, 31, 23, 59, 59), 253402300799, "9999-12-31 23:59 UTC"},
  };
  for (const auto& [date, seconds, text] : kCases) {
    EXPECT_EQ(tvqplatform::SecondsOf(date), seconds) << text;
    EXPECT_EQ(Text(seconds), text);
  }
  EXPECT_EQ(Text(253402300800), "at an unknown time");
  EXPECT_EQ(Text(MAX_UINT64), "at an unknown time");
  EXPECT_EQ(Text(0), "at an unknown time");
}

TEST_F(AgentCalendar, GoesByTheTimeZoneWhereThereIsOne) {
  const UINT64 noon = tvqplatform::SecondsOf(Date(2026, 11, 22, 12));
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 22, 13, 0, 0, -60)), noon);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 22, 7, 0, 0, 300)), noon);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 22, 12, 0, 0, EFI_UNSPECIFIED_TIMEZONE)), noon);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(1970, 1, 1, 0, 0, 0, -60)), 0u);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 21, 12, 0, 0, 1440)), noon);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 23, 12, 0, 0, -1440)), noon);
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 22, 12, 0, 0, 1441)), noon) << "it is none";
  EXPECT_EQ(tvqplatform::SecondsOf(Date(2026, 11, 22, 12, 0, 0, -1441)), noon) << "it is none";
}

TEST_F(AgentCalendar, KnowsWhatIsNoDate) {
  for (const EFI_TIME& time :
       {Date(1969, 12, 31), Date(10000, 1, 1), Date(2026, 0, 1), Date(2026, 13, 1),
        Date(2026, 1, 0), Date(2026, 4, 31), Date(2026, 2, 29), Date(2100, 2, 29),
        Date(2026, 1, 1, 24), Date(2026, 1, 1, 0, 60), Date(2026, 1, 1, 0, 0, 60)}) {
    EXPECT_EQ(tvqplatform::SecondsOf(time), 0u) << time.Year << '-' << int{time.Month};
  }
}

TEST_F(AgentCalendar, ReadsTheFirmwaresClock) {
  EXPECT_EQ(tvqplatform::SecondsNow(), 0u) << "which shows no date yet";
  Firmware().SetClock(Date(2026, 11, 22, 8, 5, 6));
  EXPECT_EQ(tvqplatform::SecondsNow(), 1795334706u);
  Firmware().FailCall(host::images::agent, host::Service::GetTime, 1, EFI_DEVICE_ERROR);
  EXPECT_EQ(tvqplatform::SecondsNow(), 0u);
}

}  // namespace
}  // namespace tvq::test
