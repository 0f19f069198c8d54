// Missions against clocks that change. docs/time.md names these tests, case by case.

#include "unit/schedule/ScheduleFixture.h"

namespace velmora {
namespace {

namespace c = std::chrono;
using namespace std::chrono_literals;

class ScheduleTime : public ScheduleFixture {
 protected:
  void travel(const char* zone) { clock.localZone = *Zone::named(zone); }
  Date at(c::year_month_day day, int minute) {
    return Calendar(clock.zone()).instant(c::local_days(day), minute);
  }
  // A day without gaps: one half hour after another, from `offset` minutes past midnight on.
  std::vector<ScheduleEntry> halfHours(int offset) {
    std::vector<ScheduleEntry> list;
    for (int start = offset; start < 1440; start += 30)
      list.push_back(mission(std::to_string(start), start, std::min(start + 30, 1440)));
    return list;
  }
  std::vector<c::local_days> changes(const Calendar& calendar) {
    std::vector<c::local_days> days;
    for (c::local_days d(2026y / 1 / 1); d < c::local_days(2028y / 1 / 1); d += c::days(1))
      if (calendar.instant(d, 1440) - calendar.instant(d, 0) != c::days(1)) days.push_back(d);
    return days;
  }
};

TEST_F(ScheduleTime, EveryChangeOfTheClocksKeepsMissionsOnTheWallClock) {
  for (const char* zone :
       {"Europe/Berlin", "Europe/London", "America/New_York", "America/St_Johns",
        "America/Santiago", "America/Havana", "America/Asuncion", "America/Nuuk", "Atlantic/Azores",
        "Africa/Cairo", "Africa/Casablanca", "Asia/Beirut", "Asia/Gaza", "Asia/Kathmandu",
        "Australia/Adelaide", "Australia/Lord_Howe", "Pacific/Chatham", "Pacific/Auckland"}) {
    travel(zone);
    const Calendar calendar(clock.zone());
    auto days = changes(calendar);
    days.push_back(c::local_days(2026y / 7 / 1));  // for zones that change no more
    for (const c::local_days day : days)
      for (const int offset : {0, 15}) {
        set(calendar.instant(day, 0) - c::hours(2));
        plan(halfHours(offset));
        // The wall never goes back as far as missions see: in a repeated hour the earlier counts.
        c::local_days today{};
        int reached = 0;
        for (Date t = calendar.instant(day, 0) - c::hours(1);
             t < calendar.instant(day, 1440) + c::hours(1); t = t + c::minutes(5)) {
          set(t);
          const int read = calendar.minuteOfDay(t);
          reached = calendar.day(t) == today ? std::max(reached, read) : read;
          today = calendar.day(t);
          const int start = reached < offset ? -1 : (reached - offset) / 30 * 30 + offset;
          ASSERT_EQ(state(), start < 0 ? "-" : std::to_string(start))
              << zone << ", day " << (day - c::local_days(2026y / 1 / 1)).count() << " of 2026, "
              << read;
        }
      }
  }
}

TEST_F(ScheduleTime, NineIsNineOnBothChangeDaysAndWhatAGapSwallowsIsNotAnnounced) {
  travel("Europe/Berlin");
  plan({mission("nine", 540, 1020), mission("in the gap", 130, 170)});
  for (const auto day : {2026y / 3 / 29, 2026y / 10 / 25}) {
    set(at(day, 540) - Seconds(1));
    EXPECT_EQ(state(), "-");
    set(at(day, 540));
    EXPECT_EQ(state(), "nine");
    EXPECT_EQ(Calendar(clock.zone()).minuteOfDay(clock.now()), 540);
    EXPECT_EQ(timer().scheduledMissionRemaining.get(), 8 * 3600);
  }
  set(at(2026y / 3 / 29, 60));
  EXPECT_EQ(schedule().nextBlockDescription.get(), "nine · Today 09:00 · in 7 hr.");
  set(at(2026y / 3 / 29, 180));  // the first instant after the gap
  EXPECT_EQ(state(), "-");
  const Calendar here(clock.zone());
  const auto week = ScheduleCalendarMath::weekStart(clock.now(), here);
  EXPECT_EQ(ScheduleCalendarMath::occurrences(schedule().entries.get(), week, here).size(), 13u);
  set(at(2026y / 10 / 25, 130) + Seconds(3600));  // the repeated one
  EXPECT_EQ(state(), "-");
}

TEST_F(ScheduleTime, ADayThatAZoneSkipsHasNoMissions) {
  travel("Pacific/Apia");
  auto friday = mission("Friday", 0, 1440);
  friday.recurrence = ScheduleRecurrence::weekly;
  friday.days = {Weekday::fri};
  set(at(2011y / 12 / 28, 700));
  plan({friday, mission("daily", 600, 660)});
  std::string seen;
  for (int hours = 0; hours < 48; ++hours) {
    set(clock.now() + Seconds(3600));
    if (state() != "-")
      seen += state() + std::to_string(Calendar(clock.zone()).minuteOfDay(clock.now())) + " ";
  }
  EXPECT_EQ(seen, "daily640 daily640 ");  // on the 29th and on the 31st
}

TEST_F(ScheduleTime, ATravellersMissionsFollowTheClockOnTheWall) {
  const struct {
    const char* to;
    const char* state;
    int done;
    int64_t remaining;
    const char* atNine;  // at the next nine o'clock there
  } rows[] = {{"Europe/London", "A", 0, 6 * 3600, "A"},
              {"Europe/Paris", "A", 0, 5 * 3600, "A"},
              {"Asia/Karachi", "A", 0, 3600, "A"},
              {"Asia/Tokyo", "-", 1, 0, "A"},
              {"America/New_York", "-", 1, 0, "A"}};
  for (const auto& row : rows) {
    travel("Europe/Berlin");
    plan({mission("A", 540, 1020)});
    go(720);
    done();
    travel(row.to);
    schedule().tick();
    EXPECT_EQ(state(), row.state) << row.to;
    EXPECT_EQ(done(), row.done) << row.to;
    EXPECT_EQ(timer().scheduledMissionRemaining.get(), row.remaining) << row.to;
    const auto nine = Calendar(clock.zone()).day(clock.now()) +
                      c::days(Calendar(clock.zone()).minuteOfDay(clock.now()) < 540 ? 0 : 1);
    set(Calendar(clock.zone()).instant(nine, 540));
    EXPECT_EQ(state(), row.atNine) << row.to;
  }
}

TEST_F(ScheduleTime, DatesStayTheSameCivilDaysOnAJourneyAndOverARelaunch) {
  travel("Europe/Berlin");
  go(0);
  auto tuesday = once("once", 540, 600, 1);
  tuesday.excludedDates = {at(2026y / 1 / 8, 0)};
  plan({tuesday});
  for (const char* zone : {"Asia/Tokyo", "America/Los_Angeles", "Europe/Berlin"})
    for (const bool isRelaunched : {false, true}) {
      travel(zone);
      if (isRelaunched)
        relaunch();
      else
        schedule().tick();
      EXPECT_EQ(schedule().entries.get().at(0).scheduledDate, at(2026y / 1 / 6, 0)) << zone;
      EXPECT_EQ(schedule().entries.get().at(0).excludedDates.at(0), at(2026y / 1 / 8, 0)) << zone;
      travel("Europe/Berlin");
      relaunch();  // having travelled while it did not run
    }
  EXPECT_EQ(schedule().entries.get().at(0), tuesday);
  go(550, 1);
  EXPECT_EQ(state(), "once");
}

TEST_F(ScheduleTime, AStopAndAPassTravelWithTheirMission) {
  travel("Europe/Berlin");
  plan({mission("A", 540, 1020)});
  go(720);
  timer().pause();
  travel("Europe/London");
  go(1019);
  EXPECT_EQ(state(), "(stopped)");
  travel("Europe/Berlin");
  go(720, 1);
  timer().useEmergencyPass();
  travel("Europe/London");
  schedule().tick();
  go(1019, 1);  // an hour after the pass would have run out at home
  EXPECT_EQ(state(), "(pass)");
  go(720, 2);
  EXPECT_EQ(state(), "A");
}

TEST_F(ScheduleTime, APassIsOfTheMissionThatItWasUsedOn) {
  const struct {
    double minute;  // in Berlin
    const char* to;
    const char* state;
  } rows[] = {{990, "Europe/London", "A (pass)"},        // an hour more of the same mission
              {990, "Asia/Karachi", "-"},                // out of it
              {900, "America/New_York", "early hard"},   // into another one
              {900, "Pacific/Kiritimati", "early hard"}};  // of the next day
  for (const auto& row : rows)
    for (const bool isRelaunched : {false, true}) {
      SCOPED_TRACE(row.to);
      travel("Europe/Berlin");
      go(60);  // the last pass is over
      preferences.remove("vm_timer_emergencyPassUsedAt");
      relaunch();
      plan({mission("early", 120, 600), mission("A", 840, 1020)});
      schedule().setHardRoutineEnabled(true);
      go(row.minute);
      timer().useEmergencyPass();
      schedule().tick();
      ASSERT_EQ(state(), "(pass)");
      travel(row.to);
      if (isRelaunched)
        relaunch();
      else
        schedule().tick();
      EXPECT_EQ((state() == "(pass)" ? "A " : "") + state(), row.state);
      if (state() != "(pass)") continue;
      const auto end = Calendar(clock.zone()).instant(kMonday, 1020).secondsSinceUnixEpoch();
      EXPECT_EQ(preferences.number("vm_schedule_passUntil"), end);
    }
}

TEST_F(ScheduleTime, AStepBackIntoAnEarlierDayOfTheSameMissionEndsTheOneThatRan) {
  plan({mission("A", 0, 1440)});
  go(600, 1);
  done();
  go(600, 0);
  EXPECT_EQ(state(), "A");
  EXPECT_EQ(done(), 1);
  EXPECT_EQ(log.notices.size(), 1u);
}

TEST_F(ScheduleTime, ASuspendOverAStartOrAnEndIsMadeGoodOnWaking) {
  plan({mission("A", 540, 600), mission("B", 600, 660), mission("C", 700, 710)});
  schedule().startMonitoring();
  const struct {
    double asleep, awake;
    const char* state;
    int done;
  } rows[] = {{530, 545, "A", 0},          // over a start: with its real times
              {545, 630, "B", 1},          // over an end: the next one, and a record
              {630, 680, "-", 1},          // over an end: a record, on waking
              {680, 720, "-", 0},          // over all of C, which is not made up for
              {550, 550 + 1440, "A", 1}};  // the same mission of another day
  for (const auto& row : rows) {
    go(row.asleep);
    done();
    world.jump(Seconds((row.awake - row.asleep) * 60 - 1));
    world.advance(Seconds(1));
    EXPECT_EQ(state(), row.state) << row.asleep;
    EXPECT_EQ(done(), row.done) << row.asleep;
  }
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 50 * 60);
}

TEST_F(ScheduleTime, AClockThatIsSetMovesMissionsWithIt) {
  const struct {
    double from, to;
    const char* state;
    int done;
  } rows[] = {{550, 590, "A", 0}, {590, 545, "A", 0},  // within the mission
              {550, 530, "-", 1},                      // back before its start
              {550, 610, "B", 1}, {610, 700, "-", 1},  // forward over its end
              {530, 550, "A", 0},                      // forward into it
              {530, 700, "-", 0},                      // forward over all of it
              {700, 550, "A", 0}};                     // back into it afterwards
  for (const bool isHard : {false, true}) {
    plan({mission("A", 540, 600), mission("B", 600, 660)});
    schedule().setHardRoutineEnabled(isHard);
    for (const auto& row : rows) {
      SCOPED_TRACE(std::to_string(row.from) + " to " + std::to_string(row.to));
      go(row.from);
      done();
      log.notices.clear();
      go(row.to);
      EXPECT_EQ(state(), row.state + std::string(isHard && *row.state != '-' ? " hard" : ""));
      EXPECT_EQ(done(), row.done);
      EXPECT_EQ(log.notices.size(), row.to == 530 ? 1u : 0u);
      world.advance(Seconds(1));
      if (*row.state == 'A') {
        EXPECT_EQ(timer().scheduledMissionRemaining.get(), (600 - row.to) * 60 - 1);
      }
    }
  }
}

}  // namespace
}  // namespace velmora
