#include "base/Calendar.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velmora {
namespace {

namespace c = std::chrono;
using Kind = CivilInstant::Kind;

constexpr c::local_days day(int y, unsigned m, unsigned d) {
  return c::local_days(c::year(y) / c::month(m) / c::day(d));
}
Date utc(int y, unsigned m, unsigned d, int minute = 0) {
  return Calendar(Zone::utc()).instant(day(y, m, d), minute);
}

TEST(Date, IsTheDoubleItself) {
  const Date d(789123456.7890123);
  EXPECT_EQ(d.secondsSinceReference(), 789123456.7890123);
  EXPECT_EQ(Date::sinceUnixEpoch(978307200.25).secondsSinceReference(), 0.25);
  EXPECT_EQ(utc(2001, 1, 1), Date(0));
  EXPECT_EQ(utc(1970, 1, 1).secondsSinceUnixEpoch(), 0.0);
}

TEST(Date, WholeSecondsAreCutTowardsZeroAndSaturate) {
  EXPECT_EQ(wholeSeconds(Seconds(1.999)), 1);
  EXPECT_EQ(wholeSeconds(Seconds(-1.999)), -1);
  EXPECT_EQ(wholeSeconds(Seconds(1e300)), INT64_MAX);
  EXPECT_EQ(wholeSeconds(Seconds(-HUGE_VAL)), INT64_MIN);
  EXPECT_EQ(wholeSeconds(Seconds(std::nan(""))), 0);
}

TEST(Zone, KnowsWhichTimesAreSkippedAndWhichComeTwice) {
  const Zone berlin = *Zone::named("Europe/Berlin");
  const auto at = [](c::local_days d, int h, int m) {
    return CivilSeconds(d) + c::hours(h) + c::minutes(m);
  };
  const auto gap = berlin.instant(at(day(2026, 3, 29), 2, 30));
  EXPECT_EQ(gap.kind, Kind::skipped);
  EXPECT_EQ(gap.instant, utc(2026, 3, 29, 60));
  const auto twice = berlin.instant(at(day(2026, 10, 25), 2, 30));
  EXPECT_EQ(twice.kind, Kind::repeated);
  EXPECT_EQ(twice.instant, utc(2026, 10, 25, 30));  // the earlier
  EXPECT_EQ(berlin.instant(at(day(2026, 10, 25), 3, 0)).kind, Kind::unique);
  EXPECT_EQ(berlin.civil(utc(2026, 10, 25, 30)), berlin.civil(utc(2026, 10, 25, 90)));
}

TEST(Zone, UnknownNamesAreNoneAndFarDatesStayInReach) {
  EXPECT_FALSE(Zone::named("Mars/Olympus"));
  EXPECT_FALSE(Zone::named(""));
  for (const char* name : {"UTC", "Asia/Kathmandu"})
    for (const double d : {1e300, -1e300, HUGE_VAL, std::nan("")}) {
      const auto civil = Zone::named(name)->civil(Date(d));
      const int year(c::year_month_day(c::floor<c::days>(civil)).year());
      EXPECT_TRUE(year >= 0 && year <= 10000) << name << " " << d;
    }
}

TEST(Calendar, MinutesOfTheDayAreThoseOnTheWall) {
  const Calendar berlin(*Zone::named("Europe/Berlin"));
  struct Row {
    c::local_days day;
    int minute;
    Date instant;
  };
  for (const Row& row :
       {Row{day(2026, 3, 29), 540, utc(2026, 3, 29, 420)},    // a day of 23 hours
        Row{day(2026, 10, 25), 540, utc(2026, 10, 25, 480)},  // and one of 25
        Row{day(2026, 3, 29), 0, utc(2026, 3, 28, 1380)},
        Row{day(2026, 3, 29), 1440, utc(2026, 3, 29, 1320)},
        Row{day(2026, 12, 31), 1440, utc(2026, 12, 31, 1380)}}) {
    EXPECT_EQ(berlin.instant(row.day, row.minute), row.instant);
    EXPECT_EQ(berlin.minuteOfDay(row.instant), row.minute % 1440);
    EXPECT_EQ(berlin.day(row.instant), row.day + c::days(row.minute / 1440));
  }
  EXPECT_EQ(berlin.instant(day(2026, 3, 29), 150), utc(2026, 3, 29, 60));  // skipped
  EXPECT_EQ(berlin.minuteOfDay(utc(2026, 3, 29, 60)), 180);
}

}  // namespace
}  // namespace velmora
