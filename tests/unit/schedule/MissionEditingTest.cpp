#include "schedule/MissionEditing.h"

#include "support/SimDevice.h"

namespace velmora {
namespace {

using std::chrono::days;
using std::chrono::local_days;
using Refusal = MissionRefusal;

constexpr auto kCalendar = ScheduleOperatingMode::calendar;

// Monday 5 January 2026, 09:00 UTC.
struct MissionEditingTest : testing::Test {
  sim::World world;
  sim::SimDevice d{world};
  ScheduleService& service = d.app->schedule;
  MissionEditing& missions = d.app->missions;

  Date day(int offset) {
    const Calendar& calendar = service.calendar();
    return calendar.instant(calendar.day(d.clock.start) + days(offset), 0);
  }
  // Mondays and Wednesdays, 10:00 to 12:00.
  ScheduleEntry series(std::optional<int> from = {}) {
    ScheduleEntry entry = missions.newMission();
    entry.label = "Series";
    entry.days = {Weekday::mon, Weekday::wed};
    entry.startMinutes = 600;
    entry.endMinutes = 720;
    if (from) entry.recurrenceStartDate = day(*from);
    EXPECT_TRUE(missions.addMission(kCalendar, entry));
    return entry;
  }
  const std::vector<ScheduleEntry>& all() { return service.entries.get(); }
  // The days from today on, of three weeks, on which the mission occurs.
  std::vector<int> occurrences(size_t index) {
    std::vector<int> out;
    for (int i = 0; i < 21; ++i)
      if (all()[index].occurs(day(i), service.calendar())) out.push_back(i);
    return out;
  }
  PendingScheduleSeriesEdit edit(const ScheduleEntry& original, int occurrence, int target,
                                 int start = 600) {
    ScheduleEntry updated = original;
    updated.startMinutes = start;
    return {original, updated, day(occurrence), day(target)};
  }
};

using Days = std::vector<int>;

TEST_F(MissionEditingTest, OneOccurrenceBecomesAMissionOfItsOwnBehindItsSeries) {
  const auto original = series(), other = series();
  const auto selected = missions.applyEditToSingleOccurrence(edit(original, 2, 3, 660));
  ASSERT_EQ(all().size(), 3u);
  EXPECT_EQ(all()[0].id, original.id);
  EXPECT_EQ(occurrences(0), (Days{0, 7, 9, 14, 16}));
  EXPECT_EQ(all()[1].id, selected->id);
  EXPECT_EQ(selected->date, day(3));
  EXPECT_EQ(occurrences(1), Days{3});
  EXPECT_EQ(all()[1].days, Weekdays{Weekday::thu});
  EXPECT_EQ(all()[1].startMinutes, 660);
  EXPECT_EQ(all()[2].id, other.id);
  EXPECT_EQ(missions.takeBack(), "Edit Occurrence");
  EXPECT_EQ(all(), (std::vector{original, other}));
  EXPECT_EQ(missions.doAgain(), "Edit Occurrence");
  EXPECT_EQ(all().size(), 3u);
  EXPECT_EQ(missions.doAgain().error(), Refusal::nothingToUndo);
}

TEST_F(MissionEditingTest, FutureOccurrencesMoveToAnotherDay) {
  auto original = series();
  original.excludedDates = {day(8), day(14)};
  original.recurrenceEndDate = day(9);
  missions.updateMission(kCalendar, original, "Edit Mission");
  missions.applyEditToFutureOccurrences(edit(original, 9, 10));
  EXPECT_EQ(occurrences(0), (Days{0, 2, 7}));
  EXPECT_EQ(occurrences(1), Days{10}) << "beyond the old end";
  EXPECT_EQ(all()[0].excludedDates, std::vector{day(8)});
  EXPECT_EQ(all()[1].excludedDates, std::vector{day(14)});
  missions.takeBack();
  missions.applyEditToFutureOccurrences(edit(original, 9, 8));
  EXPECT_EQ(occurrences(0), (Days{0, 2, 7}));
  EXPECT_EQ(occurrences(1), Days{8}) << "onto a day that was cut out";
}

TEST_F(MissionEditingTest, FromTheFirstOccurrenceOnIsTheWholeSeries) {
  const auto dated = series(2);
  const auto selected = missions.applyEditToFutureOccurrences(edit(dated, 2, 2));
  ASSERT_EQ(all().size(), 1u);
  EXPECT_EQ(all()[0].id, selected->id);
  missions.deleteFutureOccurrences({all()[0], day(2)});
  EXPECT_TRUE(all().empty());
  const auto open = series();
  missions.deleteSingleOccurrence({open, day(2)});
  missions.deleteSingleOccurrence({open, day(2) + Seconds(3600)});
  EXPECT_EQ(all()[0].excludedDates, std::vector{day(2)});
  missions.deleteFutureOccurrences({open, day(7)});
  EXPECT_EQ(occurrences(0), Days{0});
  EXPECT_EQ(missions.deleteSingleOccurrence({dated, day(2)}).error(), Refusal::gone);
}

TEST_F(MissionEditingTest, ANewMissionBlocksWhatASessionWouldBlockNow) {
  d.app->presets.addSite("tool.org", d.app->presets.presets.get()[0]);
  d.app->lists.addSite("x.com");
  missions.createMission(day(1) + Seconds(5), 600, 660);
  const ScheduleEntry& brak = all()[0];
  EXPECT_EQ(brak.protectionMode, ScheduleProtectionMode::brak);
  EXPECT_EQ(brak.presetID, d.app->presets.presets.get()[0].id);
  EXPECT_EQ(brak.softBlockedSites, d.app->lists.blockedSites.get()) << "no site of the preset";
  EXPECT_EQ(occurrences(0), Days{1});
  EXPECT_EQ(brak.days, Weekdays{Weekday::tue});
  EXPECT_EQ(missions.undo.undoActionName(), "Create Mission");
  PomodoroSettings settings;
  settings.isSoftBlocklistEnabled = true;
  d.app->timer.setSettings(settings);
  const auto soft = missions.newMission();
  EXPECT_EQ(soft.protectionMode, ScheduleProtectionMode::soft);
  EXPECT_EQ(soft.presetID, std::nullopt);
  EXPECT_EQ(soft.softBlockedSites, d.app->lists.blockedSites.get());
}

TEST_F(MissionEditingTest, WhatIsPastedTakesPlaceOnce) {
  auto original = series(0);
  original.excludedDates = {day(2)};
  missions.updateMission(kCalendar, original, "Edit Mission");
  EXPECT_EQ(missions.pasteMission(day(4)).error(), Refusal::emptyClipboard);
  missions.copyMission(original);
  EXPECT_TRUE(missions.removeMission(kCalendar, original.id));
  EXPECT_TRUE(all().empty());
  for (const int on : {4, 2}) missions.pasteMission(day(on) + Seconds(60));
  const auto copy = missions.duplicateMission(all()[0], day(5));
  EXPECT_EQ(missions.undo.undoActionName(), "Duplicate Mission");
  ASSERT_EQ(all().size(), 3u);
  const Days expected{4, 2, 5};
  for (size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(occurrences(i), Days{expected[i]});
    EXPECT_EQ(all()[i].label, "Series");
    EXPECT_EQ(all()[i].recurrenceStartDate, std::nullopt);
    EXPECT_NE(all()[i].id, original.id);
  }
  EXPECT_EQ(all()[2].id, copy->id);
  d.clipboard.write(MissionEditing::pasteboardType, "{\"days\":[9]}");
  EXPECT_EQ(missions.pasteMission(day(4)).error(), Refusal::emptyClipboard);
}

TEST_F(MissionEditingTest, AfterAJourneyNothingOfBeforeIsTakenBack) {
  series();
  d.clock.localZone = *Zone::named("Asia/Tokyo");
  service.tick();
  EXPECT_EQ(missions.undo.undoActionName(), std::nullopt);
  EXPECT_EQ(missions.takeBack().error(), Refusal::nothingToUndo);
  EXPECT_EQ(all().size(), 1u);
}

struct MissionLockTest : MissionEditingTest {
  // Runs from 08:00 to 12:00 every day.
  ScheduleEntry running = [this] {
    ScheduleEntry entry = series();
    entry.recurrence = ScheduleRecurrence::daily;
    entry.startMinutes = 480;
    EXPECT_TRUE(missions.updateMission(kCalendar, entry, "Edit Mission"));
    d.start();
    service.setEnabled(true);
    EXPECT_TRUE(service.isEntryCurrentlyActive(entry));
    return entry;
  }();
};

TEST_F(MissionLockTest, TheRunningMissionIsLeftAlone) {
  const auto other = missions.createMission(day(0), 800, 900);
  EXPECT_TRUE(other);
  for (const bool isStopped : {false, true}) {
    if (isStopped) d.app->timer.stopScheduledSessionByUser();
    EXPECT_EQ(missions.updateMission(kCalendar, running, "").error(), Refusal::running);
    EXPECT_EQ(missions.removeMission(kCalendar, running.id).error(), Refusal::running);
    EXPECT_EQ(missions.applyEditToSingleOccurrence(edit(running, 3, 3)).error(), Refusal::running);
  }
  EXPECT_TRUE(missions.removeMission(kCalendar, other->id));
}

TEST_F(MissionLockTest, HardRoutineHoldsAgainstUndoAndAgainstWhatTakesOver) {
  service.setHardRoutineEnabled(true);
  EXPECT_EQ(missions.takeBack().error(), Refusal::hardRoutine) << "it started at ten before";
  EXPECT_EQ(missions.undo.undoActionName(), "Edit Mission") << "the step is still there";
  EXPECT_EQ(missions.createMission(day(0), 420, 560).error(), Refusal::hardRoutine);
  EXPECT_EQ(missions.removeMission(kCalendar, running.id).error(), Refusal::hardRoutine);
  EXPECT_TRUE(missions.createMission(day(0), 500, 560)) << "it waits for its turn";
  EXPECT_TRUE(missions.createMission(day(0), 420, 800)) << "as strict, and longer";
  EXPECT_EQ(missions.takeBack().error(), Refusal::hardRoutine);
  d.app->timer.useEmergencyPass();
  world.advance(Seconds(2));
  EXPECT_TRUE(missions.takeBack());
}

TEST_F(MissionLockTest, LooseningIsToEndToShortenOrToBlockLess) {
  const Date now = d.clock.now();
  ScheduleEntry soft = running;
  soft.protectionMode = ScheduleProtectionMode::soft;
  soft.softBlockedSites = {{missions.newID(), "x.com"}, {missions.newID(), "off.com", false}};
  const FocusPresetStore& presets = d.app->presets;
  const auto loosened = [&](const ScheduleEntry& before, auto change) {
    ScheduleEntry after = before;
    change(after);
    return loosens({before}, {after}, now, service.calendar(), presets);
  };
  using E = ScheduleEntry;
  EXPECT_TRUE(loosens({soft}, {}, now, service.calendar(), presets));
  EXPECT_FALSE(loosens({}, {soft}, now, service.calendar(), presets));
  for (const auto& looser : std::vector<std::function<void(E&)>>{
           [](E& e) { e.isEnabled = false; }, [](E& e) { e.endMinutes = 719; },
           [](E& e) { e.startMinutes = 541; }, [](E& e) { e.softBlockedSites.erase(e.softBlockedSites.begin()); },
           [](E& e) { e.softBlockedSites.pop_back(); },  // all that a mission lists is blocked
           [](E& e) { e.softBlockedSites[0].domain = "x.www.com"; },
           [](E& e) { e.softBlockedSites[0].domain = "x.com:80@evil.org"; },
           [](E& e) { e.softBlockedSites[0].domain = "mail.x.com"; },
           [this](E& e) { e.excludedDates = {day(0)}; },
           [](E& e) { e.protectionMode = ScheduleProtectionMode::brak; },
           [](E& e) { e.rhythm = ScheduleRhythm::pomodoro; }})
    EXPECT_TRUE(loosened(soft, looser));
  for (const auto& tighter : std::vector<std::function<void(E&)>>{
           [](E& e) { e.endMinutes = 1440; }, [](E& e) { e.startMinutes = 540; },
           [](E& e) { e.label = "Other"; }, [](E& e) { e.softBlockedSites[0].isBlocked = false; },
           [](E& e) { e.softBlockedSites[1].domain = "com"; },
           [](E& e) { e.softBlockedSites[0].domain = "https://www.X.com/home"; },
           [](E& e) { e.softBlockedApps.push_back({{}, "Game", "org.game", true, {}}); }})
    EXPECT_FALSE(loosened(soft, tighter));
  EXPECT_TRUE(loosened(running, [&](E& e) { e.presetID = presets.presets.get()[1].id; }));
  EXPECT_FALSE(loosened(running, [](E& e) { e.presetID = Uuid(); })) << "the first one, as before";
  EXPECT_FALSE(loosened(running, [](E& e) { e.softBlockedSites = {}; }));
  ScheduleEntry breaks = running;
  breaks.rhythm = ScheduleRhythm::pomodoro;
  EXPECT_TRUE(loosened(breaks, [](E& e) { e.startMinutes = 485; })) << "breaks at other times";
  EXPECT_FALSE(loosened(breaks, [](E& e) { e.rhythm = ScheduleRhythm::continuous; }));
}

}  // namespace
}  // namespace velmora
