#include "schedule/ScheduleService.h"
#include "unit/schedule/ScheduleFixture.h"

namespace velmora {
namespace {

class Schedule : public ScheduleFixture {};

TEST_F(Schedule, RunsWhatBeganFirstUntilItsEndAndChainsWithoutAGap) {
  plan({mission("late", 620, 720), mission("long", 540, 660), mission("brief", 540, 600),
        mission("next", 720, 780)});
  const struct {
    double minute;
    const char* state;
    int done;
  } rows[] = {{539.99, "-", 0}, {540, "brief", 0},   {599.99, "brief", 0},
              {600, "long", 1}, {659.99, "long", 0}, {660, "late", 1},
              {720, "next", 1}, {779.99, "next", 0}, {780, "-", 1}};
  for (const auto& row : rows) {
    go(row.minute);
    EXPECT_EQ(state(), row.state) << row.minute;
    EXPECT_EQ(done(), row.done) << row.minute;
  }
  go(661, 1);
  EXPECT_EQ(timer().scheduledStartDate(),
            Calendar(clock.zone()).instant(kMonday + std::chrono::days(1), 620));
}

TEST_F(Schedule, AMissionStoppedByHandStaysSoForThatOccurrenceOnly) {
  plan({mission("A", 540, 600), mission("B", 600, 660), mission("all day", 0, 1440)});
  edit([](auto& list) { list[2].isEnabled = false; });
  go(550);
  timer().pause();
  go(551);
  EXPECT_EQ(state(), "(stopped)");
  EXPECT_EQ(toldStopped, std::vector{schedule().entries.get()[0].id});
  EXPECT_FALSE(preferences.boolean("vm_schedule_autoStarted"));
  go(551, 1);  // no tick came between
  EXPECT_EQ(state(), "A");
  timer().pause();
  go(600, 1);
  EXPECT_EQ(state(), "B");
  go(552, 1);  // the clock is set back into it: it starts again
  EXPECT_EQ(state(), "A");
  timer().pause();
  schedule().setHardRoutineEnabled(true);
  EXPECT_EQ(state(), "A hard");
  timer().pause();
  schedule().setHardRoutineEnabled(false);
  EXPECT_EQ(state(), "A");  // the stop of then is forgotten
  edit([](auto& list) { list[0].isEnabled = list[1].isEnabled = false, list[2].isEnabled = true; });
  timer().pause();
  EXPECT_EQ(state(), "(stopped)");
  go(1439.99, 1);
  EXPECT_EQ(state(), "(stopped)");
  go(0, 2);
  EXPECT_EQ(state(), "all day");
  EXPECT_EQ(done(), 3);  // A and B, each replaced, and A again, switched off
}

TEST_F(Schedule, AMissionPutInFrontOfAStoppedOneEndsWithItsOwnEnd) {
  plan({mission("A", 540, 660)});
  go(550);
  timer().pause();
  edit([&](auto& list) { list.push_back(mission("B", 530, 600)); });
  EXPECT_EQ(state(), "B");
  go(600);
  EXPECT_EQ(state(), "(stopped)");
  EXPECT_EQ(done(), 1);
}

TEST_F(Schedule, APassEndsTheMissionUncountedAndHoldsToItsEndOverARelaunch) {
  plan({mission("A", 540, 600), mission("B", 600, 660)});
  schedule().setHardRoutineEnabled(true);
  go(550);
  timer().useEmergencyPass();
  EXPECT_FALSE(schedule().isHardRoutineActive.get());
  go(551);
  EXPECT_EQ(state(), "(pass)");
  relaunch(60);
  EXPECT_EQ(state(), "(pass)");
  EXPECT_EQ(done(), 0);
  EXPECT_EQ(preferences.number("vm_schedule_passUntil"),
            Calendar(clock.zone()).instant(kMonday, 600).secondsSinceUnixEpoch());
  go(600);
  EXPECT_EQ(state(), "B hard");
  EXPECT_FALSE(preferences.has("vm_schedule_passUntil"));
  go(555);  // set back: the pass is spent
  EXPECT_EQ(state(), "A hard");
  go(700);
  schedule().activateEmergencyPass();
  go(700.1);
  EXPECT_FALSE(schedule().hasPass() || preferences.has("vm_schedule_passUntil"));
}

TEST_F(Schedule, HardRoutineBindsTheUserButNotTheServiceItself) {
  plan({mission("A", 540, 600)});
  schedule().setHardRoutineEnabled(true);
  go(550);
  timer().pause();
  schedule().suppressCurrentOccurrence();
  EXPECT_FALSE(schedule().changeOperatingMode(ScheduleOperatingMode::simple, true));
  EXPECT_EQ(state(), "A hard");
  EXPECT_TRUE(schedule().isHardRoutineActive.get());
  EXPECT_TRUE(schedule().isEntryCurrentlyActive(schedule().entries.get()[0]));
  schedule().setEnabled(false);
  EXPECT_EQ(state(), "-");
  EXPECT_EQ(done(), 1);
}

TEST_F(Schedule, HandsTheTimerWhatTheModeAsksForAndAnnouncesIt) {
  auto soft = mission("Soft one", 540, 600), brak = mission("Brak one", 600, 660);
  soft.protectionMode = ScheduleProtectionMode::soft;
  soft.softBlockedSites = {{random.uuid(), "x.com"}};
  soft.rhythm = ScheduleRhythm::pomodoro;
  brak.protectionMode = ScheduleProtectionMode::brak;
  brak.presetID = presets().presets.get()[1].id;
  brak.softBlockedSites = soft.softBlockedSites;
  plan({soft, brak});
  const auto notice = [&] {
    const auto t = *screens().scheduledTransition.get();
    return t.mission + "|" + t.presetName + "|" + t.timeRange + "|" +
           std::to_string(wholeSeconds(t.duration));
  };
  screens().requireFocusSelection("?");
  go(540);
  EXPECT_EQ(notice(), "Soft one|Soft Block|09:00 – 10:00 · Pomodoro|5");
  EXPECT_EQ(timer().scheduledProtectionName.get(), "Soft protection");
  EXPECT_EQ(timer().scheduledBlockedSites.get().size(), 1u);
  EXPECT_FALSE(screens().isGateShowing() || presets().hasActiveFocusContext());
  go(600);
  EXPECT_EQ(notice(), "Brak one|Editing|10:00 – 11:00 · Nonstop|5");
  EXPECT_TRUE(timer().scheduledBlockedSites.get().empty());
  EXPECT_EQ(presets().activeContext.get()->taskName, "Brak one");
  go(10);
  const std::pair<std::function<void()>, const char*> rows[] = {
      {[&] { presets().removePreset(*presets().find(*brak.presetID)); }, "Deep Work"},
      {[&] {
         while (!presets().presets.get().empty())
           presets().removePreset(presets().presets.get()[0]);
       },
       "Focus protection"}};
  for (const auto& [remove, name] : rows) {
    remove();
    go(610);
    EXPECT_EQ(timer().scheduledProtectionName.get(), name);
    EXPECT_EQ(state(), "Brak one");
    go(10);
  }
}

TEST_F(Schedule, AnAllDayMissionIsRecordedAtMidnightAndHasItsPhasesTheNextDay) {
  auto e = mission("A", 0, 1440);
  e.rhythm = ScheduleRhythm::pomodoro;
  plan({e});
  go(1439);
  EXPECT_EQ(done(), 0);
  go(0, 1);
  EXPECT_EQ(done(), 1);
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 86400);
  clock.skew += Seconds(1500 - 1);
  world.advance(Seconds(1));
  EXPECT_EQ(timer().currentSessionType.get(), SessionType::shortBreak);
  edit([](auto& list) { list[0].endMinutes = 60; });  // a running one's end is moved
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 2100);
  EXPECT_EQ(done(), 0);
}

TEST_F(Schedule, IdleTicksCostNoWriteAndNoNews) {
  plan({mission("A", 540, 600)});
  go(700);
  schedule().startMonitoring();
  world.advance(Seconds(1));
  const auto writes = preferences.writes();
  int news = 0;
  std::vector<Subscription> all;
  const auto count = [&](const auto&... properties) {
    (all.push_back(properties.onWrite([&](const auto&) { ++news; })), ...);
  };
  auto& s = schedule();
  count(s.isEnabled, s.entries, s.isCurrentlyInBlock, s.isHardRoutineActive, s.activeEntryID,
        timer().isSessionActive, timer().scheduledHardModeActive, screens().scheduledTransition,
        presets().activeContext, s.nextBlockDescription);
  world.advance(Seconds(59));
  EXPECT_EQ(preferences.writes(), writes);
  EXPECT_EQ(news, 0);
}

TEST_F(Schedule, WithNothingInForceTheProgramSleepsUntilSomethingChanges) {
  const auto readings = [&] {  // of the clock, in a minute
    clock.perReading = Seconds(1);
    const Date before = clock.now();
    world.advance(Seconds(60));
    const auto read = wholeSeconds(clock.now() - before) - 61;
    clock.perReading = Seconds(0);
    return read;
  };
  go(550);
  schedule().startMonitoring();
  EXPECT_EQ(readings(), 0);
  schedule().activateEmergencyPass();
  world.advance(Seconds(1.1));
  EXPECT_FALSE(schedule().hasPass());
  EXPECT_EQ(readings(), 0);
  plan({mission("A", 540, 600)});
  EXPECT_EQ(state(), "A");
  EXPECT_GT(readings(), 59);
  schedule().replaceEntries({}, nullptr, "");
  EXPECT_EQ(state(), "-");
  world.advance(Seconds(1));
  EXPECT_EQ(readings(), 0);
}

TEST_F(Schedule, ATickBetweenAStopAndItsEndRecordsNothing) {
  plan({mission("A", 540, 600)});
  go(550);
  schedule().suppressCurrentOccurrence();
  schedule().tick();
  EXPECT_EQ(state(), "A");
  timer().endScheduledBlock(false);
  schedule().tick();
  EXPECT_EQ(state(), "(stopped)");
  EXPECT_EQ(done(), 0);
}

TEST_F(Schedule, ATickReachedFromInsideItselfAsksForAnotherRound) {
  plan({mission("A", 540, 600)});
  const auto off = schedule().isCurrentlyInBlock.onWrite([&](bool in) {
    if (in) schedule().setEnabled(false);
  });
  go(550);
  EXPECT_EQ(state(), "-");
  EXPECT_EQ(done(), 0) << "it never began";
  EXPECT_FALSE(schedule().isCurrentlyInBlock.get() || screens().scheduledTransition.get());
}

TEST_F(Schedule, AnEndThatPassesBetweenTwoReadingsStartsNothing) {
  auto e = mission("A", 540, 600);
  e.protectionMode = ScheduleProtectionMode::brak;
  plan({e});
  clock.perReading = Seconds(1);
  go(599.97);
  clock.perReading = Seconds(0);
  EXPECT_FALSE(timer().isScheduledSessionActive.get() || presets().hasActiveFocusContext());
  EXPECT_FALSE(screens().scheduledTransition.get());
}

TEST_F(Schedule, StoredListsThatCannotBeReadAreSetAsideBeforeTheyAreOverwritten) {
  const auto key = "vm_schedule_entries", aside = "vm_schedule_entries_damaged";
  preferences.setBlob(key, R"([{"days":[8]}])");
  preferences.setBlob("vm_schedule_simple_entries_v1", R"([{"label":"kept"}])");
  relaunch();
  EXPECT_EQ(preferences.blob(key), R"([{"days":[8]}])");
  schedule().setEnabled(true);
  relaunch();
  EXPECT_EQ(preferences.blob(aside), R"([{"days":[8]}])");
  EXPECT_EQ(log.notices.size(), 1u);
  EXPECT_EQ(schedule().simpleEntries.get().at(0).label, "kept");
  EXPECT_TRUE(schedule().isListUnread(ScheduleOperatingMode::calendar));
  EXPECT_FALSE(schedule().isListUnread(ScheduleOperatingMode::simple));
  preferences.setBlob(key, R"([{"days":[9]}])");
  relaunch();
  plan({mission("A", 540, 600)});
  EXPECT_FALSE(schedule().isListUnread(ScheduleOperatingMode::calendar));
  plan({});
  relaunch();
  EXPECT_FALSE(schedule().isListUnread(ScheduleOperatingMode::calendar)) << "the user's, and empty";
  EXPECT_EQ(preferences.blob(aside), R"([{"days":[8]}])") << "the first one is kept";
  EXPECT_EQ(preferences.blob(std::string(aside) + "_2"), R"([{"days":[9]}])");
}

TEST_F(Schedule, ComesBackAsItWasStoredAndTakesHardRoutineFromOlderSettings) {
  EXPECT_EQ(schedule().operatingMode.get(), ScheduleOperatingMode::calendar);
  PomodoroSettings hard;
  hard.isHardcore = true;
  savePomodoroSettings(preferences, hard);
  relaunch();
  EXPECT_TRUE(schedule().hardRoutineEnabled.get());
  schedule().setHardRoutineEnabled(false);
  auto wild = mission("A", 540, 600);
  wild.startMinutes = 1500;
  plan({wild});
  EXPECT_EQ(schedule().entries.get().at(0).startMinutes, 1500) << "only reading clamps";
  const auto entry = mission("A", 540, 600);
  plan({entry});
  const auto before = preferences.all();
  relaunch();
  EXPECT_EQ(schedule().entries.get(), std::vector{entry});
  EXPECT_TRUE(schedule().isEnabled.get() && !schedule().hardRoutineEnabled.get());
  EXPECT_EQ(preferences.all(), before);
}

TEST_F(Schedule, SaysWhichMissionComesNextAndWhen) {
  const auto sunday = once("once", 540, 600, 20);
  auto weekly = mission("weekly", 600, 660);
  weekly.recurrence = ScheduleRecurrence::weekly;
  weekly.days = {Weekday::mon};
  plan({sunday});
  const struct {
    double minute;
    const char* text;
  } rows[] = {{575, "weekly · Today 10:00 · in 25 min."},
              {599.99, "weekly · Today 10:00 · in 1 min."},
              {420, "weekly · Today 10:00 · in 3 hr."},
              {600, "weekly · Monday 10:00 · in 7 days"},
              {700, "weekly · Monday 10:00 · in 7 days"}};
  EXPECT_EQ(schedule().nextBlockDescription.get(), "once · Sunday 09:00 · in 20 days");
  plan({sunday, weekly});
  for (const auto& row : rows) {
    go(row.minute);
    EXPECT_EQ(schedule().nextBlockDescription.get(), row.text) << row.minute;
  }
  plan({weekly, mission("same time", 600, 660)});
  EXPECT_EQ(schedule().nextBlockDescription.get(), "same time · Tomorrow 10:00 · in 22 hr.");
  go(700, 6);
  EXPECT_EQ(schedule().nextBlockDescription.get(), "weekly · Tomorrow 10:00 · in 22 hr.");
  schedule().setEnabled(false);
  EXPECT_EQ(schedule().nextBlockDescription.get(), "");
}

TEST_F(Schedule, KeepsTheWatchdogInStepOnceForABurstOfEdits) {
  auto ended = mission("ended", 0, 60);
  ended.recurrenceEndDate = Calendar(Zone::utc()).instant(kMonday - std::chrono::days(1), 0);
  go(0);
  plan({once("once", 540, 600), ended});
  world.advance(Seconds(0.3));
  schedule().setHardRoutineEnabled(true);
  world.advance(Seconds(0.3));
  EXPECT_FALSE(agent.installed);
  world.advance(Seconds(0.2));
  WatchTable table{{{}}, true};
  table.entries[0].date = kMonday;
  table.entries[0].startMinutes = 540;
  table.entries[0].endMinutes = 600;
  EXPECT_EQ(agent.installed, table);
  go(600);
  schedule().startMonitoring();
  world.settle();
  EXPECT_FALSE(agent.installed);
}

TEST_F(Schedule, EveryChangeOfAListCanBeTakenBackAlsoAfterAJourney) {
  UndoManager undo;
  const auto e = once("A", 540, 600);
  schedule().replaceEntries({e}, &undo, "Paste Mission");
  schedule().replaceEntries({e}, &undo, "Nothing");
  schedule().replaceEntries({}, &undo, "Delete Mission");
  EXPECT_EQ(undo.undoActionName(), "Delete Mission");
  clock.localZone = *Zone::named("Asia/Tokyo");
  schedule().tick();
  undo.undo();
  const Calendar tokyo(clock.localZone);
  EXPECT_EQ(schedule().entries.get().at(0).scheduledDate, tokyo.instant(kMonday, 0));
  undo.undo();
  EXPECT_TRUE(schedule().entries.get().empty());
  EXPECT_TRUE(undo.redo() && undo.redo());
  EXPECT_TRUE(schedule().entries.get().empty());
}

}  // namespace
}  // namespace velmora
