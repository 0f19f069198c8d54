#include <cmath>

#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

class Restore : public TimerFixture {
 protected:
  // A process died with its pomodoro running; the next one starts.
  void restoreRunning(int64_t remaining, double savedAgo = 0) {
    preferences = {};
    preferences.write({{"vm_timer_timeRemaining", remaining},
                       {"vm_timer_isRunning", true},
                       {"vm_timer_isSessionActive", true},
                       {"vm_timer_savedAt", now() - savedAgo}});
    relaunch();
  }
  double now() { return clock.now().secondsSinceUnixEpoch(); }
};

TEST_F(Restore, ARunningPhaseGoesOnThreeTenthsAfterTheStart) {
  play("begin 10.5");
  timer().saveState();
  relaunch(100.6);
  EXPECT_EQ(state(), "focus active 1390");
  EXPECT_TRUE(timer().isAboutToResume());
  play("0.29 stopwatchScreen countdownScreen");
  EXPECT_TRUE(preferences.boolean("vm_timer_isRunning"));  // what a second kill would need
  play("0.01");
  EXPECT_EQ(state(), "focus running active 1390");
  EXPECT_FALSE(timer().isAboutToResume());
  EXPECT_EQ(chrono(), "110+ 3600");
}

TEST_F(Restore, AllComesBackThoughThePhaseRanOutAndTheBlockStillEndsAfterItsBreak) {
  soften();
  change([](auto& s) { s.focusSessionLimit = s.sessionsBeforeLongBreak = 2; });
  play("skip skip skip start");
  relaunch(900);
  play("1");
  EXPECT_EQ(state(), "longBreak 900");  // full and uncounted
  EXPECT_EQ(timer().completedSessions.get(), 2);
  play("skip");
  EXPECT_EQ(notifications.posted.back().title, "Pomodoro block complete");
}

TEST_F(Restore, ALostContextBringsUpTheGate) {
  play("begin");
  recorder.hasContext = false;
  relaunch(10);
  play("0.3");
  EXPECT_EQ(state(), "focus 1490");
  EXPECT_EQ(told().back(), "gate: Choose your next focus");
}

TEST_F(Restore, StoredNumbersOfAnySizeAreTakenAsTheyStand) {
  struct Row {
    int64_t remaining;
    double savedAgo;
    std::string state;
  };
  for (const Row& row :
       {Row{600, 599.9, "focus active 1"}, Row{600, 600, "focus 1500"}, Row{0, 0, "focus 1500"},
        Row{INT64_MIN, 100, "focus 1500"}, Row{INT64_MAX, 1, "focus active 9223372036854775806"},
        Row{600, -100, "focus active 700"},  // saved in the future: adds
        Row{INT64_MAX, -1e300, "focus active 9223372036854775807"},
        Row{600, 1e300, "focus active 600"},  // never saved: nothing to correct by
        Row{600, std::nan(""), "focus active 600"}}) {
    restoreRunning(row.remaining, row.savedAgo);
    EXPECT_EQ(state(), row.state) << row.remaining << " saved " << row.savedAgo;
    play("1");
    EXPECT_EQ(timer().isRunning.get(), row.state.contains("active"));
  }
}

TEST_F(Restore, HugeNumbersStopAtTheEndOfTheNumbers) {
  preferences.setBlob("vm_pomodoroSettings",
                      R"({"focusDuration":9223372036854775807,"sessionsBeforeLongBreak":0})");
  preferences.write({{"vm_timer_timeRemaining", 9.0},
                     {"vm_timer_sessionType", "shortbreak"},  // unknown: focus
                     {"vm_timer_completedSessions", INT64_MAX},
                     {"vm_timer_focusSessionsInBlock", INT64_MAX},
                     {"vm_sw_elapsed", INT64_MAX}});
  relaunch();
  EXPECT_EQ(state(), "focus 9");
  play("begin 2 skip reset");
  EXPECT_EQ(state(), "focus " + std::to_string(INT64_MAX));
  auto block = mission(3600);
  block.rhythm = ScheduleRhythm::pomodoro;
  timer().startScheduledBlock(block);
  EXPECT_EQ(state(), "focus running active 3600");
}

TEST_F(Restore, OnTheSyncLineOnlyTheScreensModesSurvive) {
  timer().setCountdownDuration(90);
  play("stopwatchScreen countdownScreen countdown skip begin 10");
  preferences.setBlob("vm_sync_document", "not even JSON");
  relaunch(5);
  play("1");
  EXPECT_EQ(state(), "focus 1500");
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_TRUE(timer().isStopwatchMode.get() && timer().isChronoCountdownMode.get());
  EXPECT_EQ(chrono(), "0 90");
}

TEST_F(Restore, AStopwatchGoesOnOnItsOwnScreenOnlyAndNotWhenPaused) {
  play("stopwatchScreen stopwatch 70");
  relaunch(30);  // last saved at 60
  play("1.3");
  EXPECT_EQ(chrono(), "101+ 3600");
  timer().setStopwatchMode(false);
  relaunch(10);
  play("1");
  EXPECT_EQ(chrono(), "111 3600");
  EXPECT_EQ(state(), "focus 1500");  // no clock is live, so no session is active
  EXPECT_FALSE(preferences.boolean("vm_sw_running"));
  play("stopwatchScreen stopwatch 9 stopwatch");
  relaunch(3600);
  play("1");
  EXPECT_EQ(chrono(), "120 3600");  // a paused one stands where it was
}

TEST_F(Restore, ACountdownGoesOnAndOneThatRanOutStartsOver) {
  timer().setCountdownDuration(100);
  play("countdown begin");  // both come back
  relaunch(40);
  play("10.3");
  EXPECT_EQ(state(), "focus running active 1450");
  EXPECT_EQ(chrono(), "50+ 50+");
  timer().saveState();
  relaunch(100);
  play("0.3");
  EXPECT_EQ(chrono(), "150+ 100+");
  EXPECT_TRUE(sounds.played.empty());
  preferences.write({{"vm_cd_duration", -9}, {"vm_cd_remaining", INT64_MIN}});
  relaunch();
  EXPECT_EQ(timer().countdownRemaining.get(), 3600);
}

TEST_F(Restore, APendingResumeIsDroppedByWhateverDecidesAnew) {
  const std::pair<const char*, const char*> rows[] = {{"mission", "focus running active 3598"},
                                                      {"halt", "focus 600"},
                                                      {"pause", "focus 600"},
                                                      {"reset", "focus 1500"},
                                                      {"pass", "focus 1500"},
                                                      {"start", "focus 600"}};
  for (const auto& [event, after] : rows) {
    restoreRunning(600);
    play("0.1");
    recorder.hasContext = false;
    play(event);
    recorder.hasContext = true;
    play("2");
    EXPECT_EQ(state(), after) << event;
    EXPECT_FALSE(timer().stopwatchRunning.get());
  }
}

TEST_F(Restore, TheStoredKeysAndTypesAreExactlyThese) {
  play("start countdown 30 pass");
  const double passUsed = now();
  play("mission 5.5");
  timer().saveState();
  // Positions of clocks that no longer run keep the time of their last run.
  const std::map<std::string, PreferenceValue> expected{
      {"vm_timer_timeRemaining", 3595}, {"vm_timer_sessionType", "focus"},
      {"vm_timer_completedSessions", 0}, {"vm_timer_focusSessionsInBlock", 0},
      {"vm_timer_stopAfterCurrentBreak", false}, {"vm_timer_isRunning", true},
      {"vm_timer_isSessionActive", true}, {"vm_timer_totalFocusMinutes", 0},
      {"vm_timer_savedAt", now()}, {"vm_timer_emergencyPassUsedAt", passUsed},
      {"vm_sw_elapsed", 30}, {"vm_sw_running", false},
      {"vm_sw_mode", false}, {"vm_sw_savedAt", passUsed},
      {"vm_cd_submode", false}, {"vm_cd_duration", 3600}, {"vm_cd_remaining", 3570},
      {"vm_cd_running", false}, {"vm_cd_savedAt", passUsed},
      {"vm_schedule_session_active_v4", true},
      {"vm_schedule_session_id_v4", "01000000-0000-0000-0000-000000000000"},
      {"vm_schedule_session_end_v4", passUsed + 3600}};
  EXPECT_EQ(preferences.all(), expected);
}

}  // namespace
}  // namespace velmora
