#include <cmath>

#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using enum SessionType;

class Restore : public TimerFixture {
 protected:
  // What a process left, on top of a saved state at rest.
  void leave(const Preferences::Changes& changes) {
    preferences = {};
    timer().saveState();
    preferences.write(changes);
  }
  double now() { return clock.now().secondsSinceUnixEpoch(); }
  void leaveRunningPomodoro(int64_t remaining, double savedAgo) {
    leave({{"vm_timer_timeRemaining", remaining},
           {"vm_timer_isRunning", true},
           {"vm_timer_isSessionActive", true},
           {"vm_timer_savedAt", now() - savedAgo}});
  }
};

TEST_F(Restore, AFirstRunKeepsTheInitialValuesButKnowsTheSpentPass) {
  const double used = now() - 3600;
  preferences.write({{"vm_timer_emergencyPassUsedAt", used},
                     {"vm_timer_sessionType", "longBreak"},
                     {"vm_cd_duration", 60}});
  relaunch();
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(timer().countdownDuration.get(), 3600);
  EXPECT_EQ(timer().emergencyPassUsedAt.get(), Date::sinceUnixEpoch(used));
  EXPECT_FALSE(timer().emergencyPassAvailable());
  timer().reset();
  relaunch();
  EXPECT_EQ(timer().emergencyPassUsedAt.get(), Date::sinceUnixEpoch(used));
}

TEST_F(Restore, ARunningPhaseGoesOnThreeTenthsAfterTheStart) {
  timer().start(true);
  wait(10.5);
  timer().saveState();
  relaunch(100.6);
  EXPECT_EQ(left(), 1390);
  EXPECT_EQ(state(), "focus active");
  EXPECT_TRUE(timer().isAboutToResume());
  wait(0.29);
  EXPECT_FALSE(timer().isRunning.get());
  wait(0.01);
  EXPECT_EQ(state(), "focus running active");
  EXPECT_FALSE(timer().isAboutToResume());
  EXPECT_EQ(timer().stopwatchElapsed.get(), 110);
}

TEST_F(Restore, APhaseThatRanOutMeanwhileStandsFullAndUncounted) {
  change([](auto& s) { s.longBreakDuration = 20; });
  timer().switchSession(longBreak);
  timer().start(true);
  told();
  relaunch(1200);
  EXPECT_EQ(state(), "longBreak");
  EXPECT_EQ(left(), 1200);
  EXPECT_EQ(timer().completedSessions.get(), 0);
  wait(1);
  EXPECT_EQ(state(), "longBreak");
  EXPECT_TRUE(told().empty());
  EXPECT_TRUE(notifications.posted.empty() && sounds.played.empty());
}

TEST_F(Restore, CountersComeBackAndTheBlockStillEndsAfterItsBreak) {
  soften();
  change([](auto& s) { s.focusSessionLimit = s.sessionsBeforeLongBreak = 2; });
  for (int i = 0; i < 3; ++i) timer().skipSession();
  relaunch();
  EXPECT_EQ(state(), "longBreak");
  EXPECT_EQ(timer().completedSessions.get(), 2);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 2);
  EXPECT_TRUE(timer().stopsAfterCurrentBreak());
  preferences.set("vm_timer_totalFocusMinutes", 77);
  relaunch();
  timer().saveState();
  EXPECT_EQ(preferences.integer("vm_timer_totalFocusMinutes"), 77);
}

TEST_F(Restore, ALostContextBringsUpTheGateAndNoSession) {
  timer().start(true);
  recorder.hasContext = false;
  relaunch(10);
  wait(0.3);
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1490);
  EXPECT_EQ(told().back(), "gate: Choose your next focus");
}

TEST_F(Restore, StoredNumbersOfAnySizeAreTakenAsTheyStand) {
  struct Row {
    int64_t remaining;
    double savedAgo;
    int64_t left;
    bool resumes;
  };
  const Row rows[] = {
      {600, 0, 600, true},
      {600, 599.9, 1, true},
      {600, 600, 1500, false},
      {0, 0, 1500, false},
      {-5, 0, 1500, false},
      {INT64_MIN, 100, 1500, false},
      {INT64_MAX, 1, INT64_MAX - 1, true},
      {600, -100, 700, true},  // saved in the future: adds
      {INT64_MAX, -1e300, INT64_MAX, true},
      {600, 1e300, 600, true},  // never saved: nothing to correct by
      {600, std::nan(""), 600, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(std::to_string(row.remaining) + " saved " + std::to_string(row.savedAgo));
    leaveRunningPomodoro(row.remaining, row.savedAgo);
    relaunch();
    EXPECT_EQ(left(), row.left);
    EXPECT_EQ(timer().isAboutToResume(), row.resumes);
    EXPECT_EQ(timer().isSessionActive.get(), row.resumes);
    wait(1.5);
    EXPECT_EQ(timer().isRunning.get(), row.resumes);
  }
}

TEST_F(Restore, HugeCountersAndLengthsStopAtTheEndOfTheNumbers) {
  leave({{"vm_timer_completedSessions", INT64_MAX},
         {"vm_timer_focusSessionsInBlock", INT64_MAX},
         {"vm_sw_elapsed", INT64_MAX}});
  preferences.setBlob("vm_pomodoroSettings",
                      R"({"focusDuration":9223372036854775807,"shortBreakDuration":-7,
                          "sessionsBeforeLongBreak":0,"isSoftBlocklistEnabled":true})");
  relaunch();
  timer().reset();
  EXPECT_EQ(left(), INT64_MAX);
  relaunch();
  timer().start(true);
  wait(2);
  timer().skipSession();
  EXPECT_EQ(state(), "longBreak");
  timer().switchSession(shortBreak);
  EXPECT_EQ(left(), -420);
  timer().startScheduledBlock([&] {
    auto block = mission(3600);
    block.rhythm = ScheduleRhythm::pomodoro;
    return block;
  }());
  EXPECT_EQ(left(), 3600);
}

TEST_F(Restore, AnUnknownTypeIsFocus) {
  for (const char* type : {"shortbreak", "", "done"}) {
    leave({{"vm_timer_sessionType", type}});
    relaunch();
    EXPECT_EQ(state(), "focus");
  }
  leave({{"vm_timer_sessionType", 3}, {"vm_timer_timeRemaining", 9.0}});
  relaunch();
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 9);
}

TEST_F(Restore, AMissionCutShortIsCleanedUpAndNothingResumes) {
  timer().start(true);
  timer().skipSession();
  timer().startScheduledBlock(mission(3600));
  preferences.setBlob("vm_focus_active_context_v2", "{}");
  relaunch(10);
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1500);
  EXPECT_FALSE(timer().isAboutToResume());
  EXPECT_EQ(timer().completedSessions.get(), 0);
  for (const char* key : {"vm_schedule_session_active_v4", "vm_timer_isRunning",
                          "vm_timer_isSessionActive"})
    EXPECT_EQ(preferences.read(key), PreferenceValue(false)) << key;
  for (const char* key : {"vm_schedule_session_id_v4", "vm_schedule_session_end_v4",
                          "vm_focus_active_context_v2"})
    EXPECT_FALSE(preferences.has(key)) << key;
  wait(1);
  EXPECT_EQ(state(), "focus");
}

TEST_F(Restore, OnTheSyncLineOnlyTheScreensModesSurvive) {
  leaveRunningPomodoro(600, 0);
  preferences.write({{"vm_timer_sessionType", "longBreak"},
                     {"vm_timer_completedSessions", 5},
                     {"vm_timer_focusSessionsInBlock", 3},
                     {"vm_timer_stopAfterCurrentBreak", true},
                     {"vm_sw_mode", true},
                     {"vm_sw_running", true},
                     {"vm_sw_elapsed", 50},
                     {"vm_cd_submode", true},
                     {"vm_cd_duration", 90},
                     {"vm_cd_remaining", 10},
                     {"vm_cd_running", true},
                     {"vm_sync_document", blobValue("not even JSON")}});
  relaunch(5);
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1500);
  EXPECT_EQ(timer().completedSessions.get(), 5);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_FALSE(timer().stopsAfterCurrentBreak());
  EXPECT_TRUE(timer().isStopwatchMode.get() && timer().isChronoCountdownMode.get());
  EXPECT_EQ(timer().countdownRemaining.get(), 90);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 0);
  wait(1);
  EXPECT_EQ(state(), "focus");
}

TEST_F(Restore, AStopwatchGoesOnOnItsOwnScreenOnly) {
  timer().setStopwatchMode(true);
  timer().startStopwatch();
  wait(70);
  relaunch(30);  // last saved at 60
  EXPECT_EQ(timer().stopwatchElapsed.get(), 100);
  EXPECT_TRUE(timer().isAboutToResume());
  wait(1.3);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 101);

  timer().setStopwatchMode(false);
  relaunch(10);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 111);
  EXPECT_EQ(state(), "focus");  // no clock is live, so no session is active
  EXPECT_EQ(preferences.read("vm_sw_running"), PreferenceValue(false));
  wait(1);
  EXPECT_FALSE(timer().stopwatchRunning.get());
}

TEST_F(Restore, APausedStopwatchStandsWhereItWasLongAfter) {
  timer().setStopwatchMode(true);
  timer().startStopwatch();
  wait(90);
  timer().pauseStopwatch();
  relaunch(3600);
  wait(1);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 90);
  EXPECT_FALSE(timer().stopwatchRunning.get());
}

TEST_F(Restore, ACountdownGoesOnAndOneThatRanOutStartsOver) {
  timer().setCountdownDuration(100);
  timer().startCountdown();
  timer().start(true);  // both come back
  relaunch(40);
  EXPECT_EQ(timer().countdownRemaining.get(), 60);
  EXPECT_EQ(state(), "focus active");
  wait(0.3 + 10);
  EXPECT_EQ(state(), "focus running active");
  EXPECT_EQ(timer().countdownRemaining.get(), 50);
  timer().saveState();
  relaunch(100);
  EXPECT_EQ(timer().countdownRemaining.get(), 100);
  EXPECT_TRUE(sounds.played.empty());
  wait(0.3);
  EXPECT_TRUE(timer().countdownRunning.get());
}

TEST_F(Restore, ACountdownsStoredNumbersMayBeAnything) {
  struct Row {
    int64_t duration, remaining, expectedDuration, expectedRemaining;
  };
  for (const Row& row : {Row{0, 0, 3600, 3600}, Row{-9, 30, 3600, 30}, Row{60, -1, 60, 60},
                         Row{60, 500, 60, 500}, Row{INT64_MAX, INT64_MIN, INT64_MAX, INT64_MAX}}) {
    leave({{"vm_cd_duration", row.duration}, {"vm_cd_remaining", row.remaining}});
    relaunch();
    EXPECT_EQ(timer().countdownDuration.get(), row.expectedDuration);
    EXPECT_EQ(timer().countdownRemaining.get(), row.expectedRemaining);
    EXPECT_FALSE(timer().isAboutToResume());
  }
}

TEST_F(Restore, APendingResumeIsDroppedByWhateverDecidesAnew) {
  struct Row {
    const char* name;
    std::function<void()> event;
    const char* state;
  };
  const Row rows[] = {
      {"mission", [&] { timer().startScheduledBlock(mission(60)); }, "focus running active"},
      {"halt", [&] { timer().halt(); }, "focus"},
      {"pause", [&] { timer().pause(); }, "focus"},
      {"reset", [&] { timer().reset(); }, "focus"},
      {"pass", [&] { timer().useEmergencyPass(); }, "focus"},
      {"a start that stops at the gate", [&] { timer().start(false); }, "focus"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    leaveRunningPomodoro(600, 0);
    recorder.hasContext = false;
    relaunch();
    wait(0.1);
    row.event();
    EXPECT_FALSE(timer().isAboutToResume());
    recorder.hasContext = true;
    wait(1.4);
    EXPECT_EQ(state(), row.state);
    EXPECT_FALSE(timer().stopwatchRunning.get());
  }
  leaveRunningPomodoro(600, 0);
  relaunch();
  timer().start(true);
  wait(2);
  EXPECT_EQ(left(), 598);  // one clock, begun at once
}

// --- what is stored ------------------------------------------------------------------------------

TEST_F(Restore, TheStoredKeysAndTypesAreExactlyThese) {
  soften();
  timer().start(false);
  timer().startCountdown();
  wait(30);
  timer().useEmergencyPass();
  timer().startScheduledBlock(mission(3600));
  wait(5.5);
  timer().saveState();
  const double end = now() - 5.5 + 3600;
  const double passUsed = now() - 5.5;
  auto stored = preferences.all();
  stored.erase("vm_pomodoroSettings");
  const std::map<std::string, PreferenceValue> expected{
      {"vm_timer_timeRemaining", 3595},
      {"vm_timer_sessionType", "focus"},
      {"vm_timer_completedSessions", 0},
      {"vm_timer_focusSessionsInBlock", 0},
      {"vm_timer_stopAfterCurrentBreak", false},
      {"vm_timer_isRunning", true},
      {"vm_timer_isSessionActive", true},
      {"vm_timer_totalFocusMinutes", 0},
      {"vm_timer_savedAt", now()},
      {"vm_timer_emergencyPassUsedAt", passUsed},
      {"vm_sw_elapsed", 30},
      {"vm_sw_running", false},
      {"vm_sw_mode", false},
      {"vm_sw_savedAt", passUsed},  // stays from when the stopwatch ran
      {"vm_cd_submode", false},
      {"vm_cd_duration", 3600},
      {"vm_cd_remaining", 3570},
      {"vm_cd_running", false},
      {"vm_cd_savedAt", passUsed},
      {"vm_schedule_session_active_v4", true},
      {"vm_schedule_session_id_v4", "00000000-0000-0000-0000-000000000001"},
      {"vm_schedule_session_end_v4", end},
  };
  EXPECT_EQ(stored, expected);
  timer().endScheduledBlock(false);
  EXPECT_EQ(preferences.all().size(), 21u);  // the identity and the end are gone
}

}  // namespace
}  // namespace velmora
