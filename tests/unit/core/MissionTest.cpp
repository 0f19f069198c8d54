#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using enum SessionType;

class Mission : public TimerFixture {
 protected:
  TimerService::ScheduledBlock pomodoro(double seconds) {
    auto block = mission(seconds);
    block.rhythm = ScheduleRhythm::pomodoro;
    return block;
  }
};

TEST_F(Mission, TakesTheClockOverFromEveryOtherWhichCountsAsDoneIfAMission) {
  play("stopwatchScreen countdownScreen countdown begin 30");
  auto block = mission(3600);
  block.showFloatingProgress = false;
  told();
  timer().startScheduledBlock(block);
  EXPECT_EQ(told(), (Texts{"dismissHUD", "sync"}));
  EXPECT_FALSE(timer().isStopwatchMode.get() || timer().isChronoCountdownMode.get());
  world.jump(Seconds(9));  // a suspend costs it no second
  play("1");
  EXPECT_EQ(state(), "focus running active 3590");
  EXPECT_EQ(chrono(), "30 3570");
  told();
  timer().startScheduledBlock(mission(7200, 1));  // the same one, entered again
  timer().startScheduledBlock(mission(600, 2));
  EXPECT_EQ(told(), (Texts{"showHUD", "sync", "habit", "showHUD", "sync"}));
  EXPECT_EQ(state(), "focus running active 600");
}

TEST_F(Mission, TellsTheScheduleOnceAtItsEndAndWaitsForItsWord) {
  timer().startScheduledBlock(mission(15 * 3600));
  EXPECT_EQ(timer().scheduledEndMinutes(), 1440);  // midnight is an end, not a beginning
  play("mission");
  told();
  play("3610");
  EXPECT_EQ(told(), Texts{"boundary"});
  EXPECT_EQ(state(), "focus running active 0");
  play("endMission");
  EXPECT_EQ(told(), (Texts{"habit", "clearContext", "dismissHUD", "sync"}));
  EXPECT_EQ(state(), "focus 1500");
  play("endMission");
  timer().startScheduledBlock(mission(0));  // over before it begins
  EXPECT_TRUE(told().empty());
  recorder.reactions["boundary"] = [&] { play("endMission"); };  // from inside its own last tick
  play("mission 3601");
  EXPECT_EQ(state(), "focus 1500");
}

TEST_F(Mission, IsStoppedByTheUsersControlsUnlessHard) {
  for (const char* control : {"pause", "reset", "skip", "toggle"}) {
    SCOPED_TRACE(control);
    play("mission");
    timer().setScheduledHardModeActive(true);
    told();
    play(control);
    EXPECT_EQ(state(), "focus running active 3600");
    EXPECT_TRUE(told().empty());
    timer().setScheduledHardModeActive(false);
    play(control);
    EXPECT_EQ(state(), "focus 1500");
    EXPECT_EQ(told(), (Texts{"sync", "suppress", "clearContext", "dismissHUD", "sync"}));
  }
  EXPECT_EQ(timer().completedSessions.get(), 0);
}

TEST_F(Mission, HardModeTakesAnIdleScreenBackToFocus) {
  play("stopwatchScreen toBreak");
  timer().setScheduledHardModeActive(false);  // no change, no sync
  timer().setScheduledHardModeActive(true);
  EXPECT_EQ(told(), Texts{"sync"});
  EXPECT_EQ(state(), "focus 1500");
  EXPECT_TRUE(timer().effectiveIsHardcore() && !timer().isStopwatchMode.get());
}

TEST_F(Mission, InPomodoroRhythmAnnouncesEachPhaseOfTheLengthsItBeganWith) {
  timer().startScheduledBlock(pomodoro(2000));
  change([](auto& s) { s.focusDuration = s.shortBreakDuration = 1; });
  told();
  play("1499");
  EXPECT_TRUE(told().empty());
  play("1");
  EXPECT_EQ(state(), "shortBreak running active 300");
  play("300");
  EXPECT_EQ(state(), "focus running active 200");  // the end wins over the phase
  EXPECT_EQ(notifications.posted.size(), 2u);
  play("200");
  EXPECT_EQ(told(), (Texts{"sync", "sync", "boundary"}));
  change([](auto& s) { s = {}; });
  auto late = pomodoro(2000);
  late.startDate = clock.now() - Seconds(1600);
  timer().startScheduledBlock(late);  // entered in a break, which is no news
  EXPECT_EQ(state(), "shortBreak running active 200");
  EXPECT_EQ(notifications.posted.size(), 2u);
}

TEST_F(Mission, GoesOnWhenTheClockIsSetBackAsItEnds) {
  recorder.reactions["boundary"] = [&] { clock.skew -= Seconds(60); };
  play("mission 3600 10");
  EXPECT_EQ(state(), "focus running active 50");
}

TEST_F(Mission, ASpentPassIsStoredInOneWriteWithWhatTheScheduleMakesOfIt) {
  recorder.hasContext = false;
  recorder.passChanges = {{"of the schedule", 1}};
  play("mission");
  const auto writes = preferences.writes();
  play("pass");
  EXPECT_EQ(preferences.writes(), writes + 1);
  EXPECT_TRUE(preferences.has("vm_timer_emergencyPassUsedAt"));
  EXPECT_TRUE(preferences.has("of the schedule"));
}

class Following : public TimerFixture {
 protected:
  const SharedSession::Plan single = SharedSession::Single{1800.9};
  const SharedSession::Plan pomodoro = SharedSession::Pomodoro{1500, 300, 900, 4, {}};
  const SharedSession::Plan stopwatch = SharedSession::Stopwatch{};
};

TEST_F(Following, AdoptsEachPlanAtItsPositionInPlaceOfTheLast) {
  timer().adopt(single, {focus, 0, 99.9, true});
  play("9");
  EXPECT_EQ(state() + ", " + chrono(), "focus active 1500, 0 90+");
  EXPECT_EQ(timer().countdownDuration.get(), 1800);
  recorder.hasContext = false;  // a follower has no choice of its own, and needs none
  timer().adopt(pomodoro, {focus, 3, 0.5, true});
  EXPECT_EQ(state() + ", " + chrono(), "focus running active 1, 0+ 90");
  EXPECT_FALSE(timer().isStopwatchMode.get());
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 3);
  timer().adopt(stopwatch, {focus, 0, 42.7, true});
  EXPECT_EQ(state() + ", " + chrono(), "focus active 1, 42+ 90");
  EXPECT_TRUE(timer().isStopwatchMode.get());
}

TEST_F(Following, APausedPositionIsSetAndSavedButStands) {
  timer().adopt(pomodoro, {shortBreak, 2, 120, false});
  play("5");
  EXPECT_EQ(state(), "shortBreak 120");
  EXPECT_EQ(preferences.integer("vm_timer_timeRemaining"), 120);
  timer().adopt(stopwatch, {focus, 0, -3, false});
  timer().adopt(single, {focus, 0, -1e300, false});
  EXPECT_EQ(chrono(), "0 1");
}

TEST_F(Following, QuietLeavesACleanClockButNoMission) {
  play("begin skip countdown 10");
  told();
  play("quiet");
  EXPECT_EQ(state() + ", " + chrono(), "focus 1500, 0 3600");
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_EQ(timer().completedSessions.get(), 1);
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD"}));
  play("mission");
  timer().adopt(stopwatch, {focus, 0, 5, true});
  play("quiet 1");
  EXPECT_EQ(state(), "focus running active 3599");
}

}  // namespace
}  // namespace velmora
