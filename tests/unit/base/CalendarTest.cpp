#include "base/Calendar.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velmora {
namespace {

namespace c = std::chrono;
using namespace std::chrono_literals;

Date utc(c::year_month_day date, int minute = 0) {
  return Calendar(Zone::utc()).instant(c::local_days(date), minute);
}
constexpr c::year_month_day spring = 2026y / 3 / 29;   // 23 hours in Berlin
constexpr c::year_month_day autumn = 2026y / 10 / 25;  // 25

TEST(Date, CountsFrom2001AndWholeSecondsAreCutTowardsZeroAndSaturate) {
  EXPECT_EQ(Date::sinceUnixEpoch(978307200.25), Date(0.25));
  EXPECT_EQ(utc(1970y / 1 / 1).secondsSinceUnixEpoch(), 0.0);
  EXPECT_EQ(wholeSeconds(Seconds(1.999)), 1);
  EXPECT_EQ(wholeSeconds(Seconds(-1.999)), -1);
  EXPECT_EQ(wholeSeconds(Seconds(1e300)), INT64_MAX);
  EXPECT_EQ(wholeSeconds(Seconds(-HUGE_VAL)), INT64_MIN);
  EXPECT_EQ(wholeSeconds(Seconds(std::nan(""))), 0);
}

TEST(Zone, UnknownNamesAreNoneAndFarDatesStayInReach) {
  EXPECT_FALSE(Zone::named("Mars/Olympus"));
  for (const double d : {1e300, -HUGE_VAL, std::nan("")}) {
    const auto civil = Zone::named("Asia/Kathmandu")->civil(Date(d));
    const c::year year = c::year_month_day(c::floor<c::days>(civil)).year();
    EXPECT_TRUE(year >= 0y && year <= 10000y) << d;
  }
}

TEST(Calendar, MinutesOfTheDayAreThoseOnTheWall) {
  const Calendar berlin(*Zone::named("Europe/Berlin"));
  struct Row {
    c::year_month_day day;
    int minute;
    Date instant;
  };
  for (const Row& row :
       {Row{spring, 0, utc(2026y / 3 / 28, 1380)}, Row{spring, 540, utc(spring, 420)},
        Row{spring, 1440, utc(spring, 1320)}, Row{autumn, 540, utc(autumn, 480)}}) {
    EXPECT_EQ(berlin.instant(c::local_days(row.day), row.minute), row.instant);
    EXPECT_EQ(berlin.minuteOfDay(row.instant), row.minute % 1440);
    EXPECT_EQ(berlin.day(row.instant), c::local_days(row.day) + c::days(row.minute / 1440));
  }
  EXPECT_EQ(berlin.instant(c::local_days(spring), 150), utc(spring, 60));  // skipped
  EXPECT_EQ(berlin.instant(c::local_days(autumn), 150), utc(autumn, 30));  // the earlier of two
}

}  // namespace
}  // namespace velmora
