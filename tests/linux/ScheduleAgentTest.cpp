#include <gtest/gtest.h>

#include <cmath>

#include "platform/linux/ScheduleRules.h"
#include "platform/linux/ScheduleTable.h"
#include "support/WatchEntries.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;
using namespace velmora::test;

Calendar in(const char* zone) {
  return Calendar(*Zone::named(zone));
}

TEST(ScheduleRules, AMissionCoversThisMomentWhateverStandsBesideIt) {
  const auto covers = [](std::vector<Entry> entries, local_days day, int minute) {
    const auto calendar = in("Europe/Berlin");
    return watch::isCovered({.entries = std::move(entries), .isGuard = false},
                            calendar.instant(day, minute), calendar);
  };
  for (const auto& one : coverings())
    EXPECT_EQ(covers({one.mission}, one.day, one.minute), one.isCovered)
        << one.day.time_since_epoch().count() << ", " << one.minute;
  EXPECT_FALSE(covers({once({}, 0, 60)}, kMonday, 0));

  // The table of truths in which a condition that groups from the left fails.
  const auto yes = daily(0, 1440);
  const auto no = daily(0, 1);
  auto past = yes;
  past.last = november(1);
  EXPECT_TRUE(covers({yes, inNovember(no)}, kMonday, 720));
  EXPECT_TRUE(covers({inNovember(no), yes}, kMonday, 720));
  EXPECT_TRUE(covers({yes, past}, kMonday, 720));
  EXPECT_TRUE(covers({once(kMonday, 0, 1440), weekly({1, 2}, 0, 1), once(kMonday, 0, 1)}, kMonday, 720));
  EXPECT_FALSE(covers({no, past, inNovember(no)}, kMonday, 720));
  EXPECT_FALSE(covers({}, kMonday, 720));
}

TEST(ScheduleRules, AMissionInWhichTheProgramWasQuitCountsForAGuardOnly) {
  const auto calendar = in("Europe/Berlin");
  const auto at = [&](int minute) { return calendar.instant(kMonday, minute); };
  WatchTable table{.entries = {daily(540, 600), daily(570, 660)}, .isGuard = false};
  const auto covers = [&](int now, int quitAt) {
    const PreferenceValue stored(static_cast<int64_t>(at(quitAt).secondsSinceUnixEpoch()));
    return watch::isCovered(table, at(now), calendar, watch::quitTime(stored, at(now)));
  };
  EXPECT_FALSE(covers(560, 540));
  EXPECT_TRUE(covers(570, 569)) << "the next one";
  EXPECT_FALSE(covers(650, 570));
  EXPECT_TRUE(covers(540, 539)) << "before it";
  EXPECT_TRUE(covers(540, 550)) << "the clock was set back";
  table.isGuard = true;
  EXPECT_TRUE(covers(560, 540));
  EXPECT_EQ(watch::quitTime(PreferenceValue("soon"), at(0)), std::nullopt);
}

// Berlin's clocks skip 02:00 to 03:00 on 28 March 2027, and show it twice on 25 October 2026.
TEST(ScheduleRules, GapsAndRepeatedTimes) {
  const auto berlin = in("Europe/Berlin");
  const local_days spring{2027y / 3 / 28};
  const Date gap = berlin.instant(spring, 180);
  const auto covers = [&](const Entry& entry, Date at) {
    return watch::isCovered({.entries = {entry}, .isGuard = false}, at, berlin);
  };
  EXPECT_TRUE(covers(daily(150, 240), gap)) << "the first instant after the gap";
  EXPECT_FALSE(covers(daily(60, 150), gap));
  EXPECT_FALSE(covers(daily(130, 170), gap)) << "wholly inside";
  const Date second = berlin.instant(local_days(2026y / 10 / 25), 150) + Seconds(3600);
  EXPECT_FALSE(covers(daily(135, 160), second)) << "it was over before the clock went back";
  EXPECT_TRUE(covers(daily(135, 180), second));

  const Date before = berlin.instant(spring, 60);
  const WatchTable table{.entries = {daily(150, 240), weekly({1}, 150, 160), daily(540, 600)},
                         .isGuard = false};
  EXPECT_EQ(watch::startsAfterGaps(table, before, berlin),
            (std::vector<CivilSeconds>{CivilSeconds(spring) + 3h,
                                       CivilSeconds(local_days(2028y / 3 / 26)) + 3h}));
  EXPECT_EQ(watch::nextLook(table, before, berlin), gap);
  EXPECT_EQ(watch::nextLook(table, gap, berlin), gap + Seconds(30)) << "as the manager's timers";
  EXPECT_EQ(watch::nextLook(table, gap + Seconds(30), berlin), berlin.instant(spring, 540));
  EXPECT_FALSE(watch::nextLook({.entries = {daily(130, 170)}, .isGuard = false}, before, berlin));
}

TEST(ScheduleRules, OnlyAWholeNumberIsAPass) {
  const Date now = Date::sinceUnixEpoch(1795424400.5);
  for (const PreferenceValue& pass : {PreferenceValue(1795424401.0), PreferenceValue(1795424401)})
    EXPECT_TRUE(watch::isPassInForce(pass, now));
  for (const PreferenceValue& none : {PreferenceValue(1795424400.0), PreferenceValue(1795428000.5),
                                     PreferenceValue(HUGE_VAL), PreferenceValue("1795428000")})
    EXPECT_FALSE(watch::isPassInForce(none, now));
  EXPECT_FALSE(watch::isPassInForce(std::nullopt, now));
}

TEST(ScheduleTable, ComesBackAsItWasAndIsNeverGuessed) {
  const WatchTable table{
      .entries = {inNovember(weekly({1, 7}, 0, 1440)), once(kMonday, 540, 600), daily(1, 2)},
      .isGuard = true};
  const auto text = watch::tableText(table);
  EXPECT_EQ(watch::tableFromText(text), table);
  for (const char* day : {"2026-11-31", "2026-11", "2026-11-23-1", "-1-11-23", "soon", ""}) {
    auto bad = text;
    bad.replace(bad.find("2026-11-24"), 10, day);
    EXPECT_FALSE(watch::tableFromText(bad)) << day;
  }
  EXPECT_FALSE(watch::tableFromText(text.substr(0, text.size() / 2)));
}

}  // namespace
}  // namespace velmora
