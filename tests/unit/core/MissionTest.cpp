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
  void stepClock(double seconds) { clock.skew += Seconds(seconds); }
};

TEST_F(Mission, TakesTheClockOverInItsStatedOrder) {
  auto block = mission(3600);
  block.protectionMode = ScheduleProtectionMode::soft;
  block.blockedApps = {{uuid(7), "Chat", "org.chat", false, std::nullopt}};
  block.blockedSites = {{uuid(8), "reddit.com", false}};
  Texts atSync;
  recorder.onSync = [&] { atSync = {state(), timer().timeString()}; };
  timer().startScheduledBlock(block);
  EXPECT_EQ(told(), (Texts{"showHUD", "sync"}));
  EXPECT_EQ(atSync, (Texts{"focus running active", "1:00:00"}));
  EXPECT_EQ(timer().scheduledBlockID.get(), uuid(1));
  EXPECT_EQ(timer().scheduledMissionName.get(), "Thesis");
  EXPECT_EQ(timer().scheduledProtectionName.get(), "Strict");
  EXPECT_EQ(timer().scheduledBlockedApps.get(), block.blockedApps);
  EXPECT_EQ(timer().scheduledBlockedSites.get(), block.blockedSites);
  EXPECT_FALSE(timer().effectiveBrakModeEnabled());
  EXPECT_EQ(notifications.requests, 1);
  EXPECT_EQ(preferences.text("vm_schedule_session_id_v4"), "00000000-0000-0000-0000-000000000001");
  EXPECT_EQ(preferences.number("vm_schedule_session_end_v4"),
            block.endDate.secondsSinceUnixEpoch());
}

TEST_F(Mission, StopsEveryOtherClockAndKeepsTheCountdownsPosition) {
  timer().setStopwatchMode(true);
  timer().setChronoCountdownMode(true);
  timer().startCountdown();
  timer().start(true);
  wait(30);
  auto block = mission(3600);
  block.showFloatingProgress = false;
  told();
  timer().startScheduledBlock(block);
  EXPECT_EQ(told(), (Texts{"dismissHUD", "sync"}));
  EXPECT_FALSE(timer().stopwatchRunning.get() || timer().countdownRunning.get() ||
               timer().isStopwatchMode.get() || timer().isChronoCountdownMode.get());
  wait(10);
  EXPECT_EQ(timer().countdownRemaining.get(), 3570);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 30);
  EXPECT_EQ(left(), 3590);
}

TEST_F(Mission, ThatIsOverIsNoMission) {
  timer().startScheduledBlock(mission(0));
  timer().startScheduledBlock(mission(-5));
  EXPECT_EQ(state(), "focus");
  EXPECT_TRUE(told().empty());
}

TEST_F(Mission, FollowsTheWallClockThroughSuspendAndSteps) {
  timer().startScheduledBlock(mission(3600));
  world.jump(Seconds(600));
  wait(1);
  EXPECT_EQ(left(), 2999);
  EXPECT_DOUBLE_EQ(timer().progress(), 601.0 / 3600);
  stepClock(-600);
  wait(1);
  EXPECT_EQ(left(), 3598);
  stepClock(-7200);  // before the start
  wait(1);
  EXPECT_DOUBLE_EQ(timer().progress(), 0.0);
}

TEST_F(Mission, TellsTheScheduleOnceAtItsEndAndWaitsForIt) {
  timer().startScheduledBlock(mission(5));
  told();
  wait(4);
  EXPECT_TRUE(told().empty());
  wait(10);
  EXPECT_EQ(told(), Texts{"boundary"});
  EXPECT_EQ(left(), 0);
  EXPECT_TRUE(timer().isScheduledSessionActive.get());
  timer().endScheduledBlock(true);
  EXPECT_EQ(told(), (Texts{"habit", "clearContext", "dismissHUD", "sync"}));
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1500);
  EXPECT_FALSE(timer().scheduledBlockID.get());
  EXPECT_TRUE(timer().scheduledMissionName.get().empty());
  EXPECT_FALSE(preferences.has("vm_schedule_session_id_v4"));
  EXPECT_FALSE(preferences.has("vm_schedule_session_end_v4"));
  timer().endScheduledBlock(true);
  EXPECT_TRUE(told().empty());
}

TEST_F(Mission, MayBeEndedFromInsideItsOwnLastTick) {
  recorder.onBoundary = [&] { timer().endScheduledBlock(true); };
  timer().startScheduledBlock(mission(5));
  wait(6);
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(count("boundary"), 1);
}

TEST_F(Mission, ReplacedByAnotherCountsAsDoneAndByItselfDoesNot) {
  timer().startScheduledBlock(mission(3600, 1));
  timer().startScheduledBlock(mission(7200, 1));
  EXPECT_EQ(count("habit"), 0);
  EXPECT_EQ(left(), 7200);
  timer().startScheduledBlock(mission(600, 2));
  EXPECT_EQ(count("habit"), 1);
  EXPECT_EQ(left(), 600);
  wait(1);
  EXPECT_EQ(left(), 599);
}

TEST_F(Mission, IsStoppedByTheUsersControlsUnlessHard) {
  const std::function<void()> events[] = {[&] { timer().pause(); }, [&] { timer().reset(); },
                                          [&] { timer().skipSession(); },
                                          [&] { timer().toggleTimer(); }};
  for (const auto& event : events) {
    timer().startScheduledBlock(mission(3600));
    timer().setScheduledHardModeActive(true);
    wait(10);
    const auto before = preferences.all();
    told();
    event();
    EXPECT_EQ(state(), "focus running active");
    EXPECT_EQ(preferences.all(), before);
    EXPECT_TRUE(told().empty());
    timer().setScheduledHardModeActive(false);
    told();
    event();
    EXPECT_EQ(state(), "focus");
    EXPECT_EQ(told(), (Texts{"suppress", "clearContext", "dismissHUD", "sync"}));
    EXPECT_EQ(timer().completedSessions.get(), 0);
  }
}

TEST_F(Mission, HardModeTakesTheIdleScreenBackToFocusAndSyncsOnlyWhenItChanges) {
  timer().setStopwatchMode(true);
  timer().switchSession(longBreak);
  timer().setScheduledHardModeActive(false);
  EXPECT_TRUE(told().empty());
  timer().setScheduledHardModeActive(true);
  EXPECT_EQ(told(), Texts{"sync"});
  EXPECT_FALSE(timer().isStopwatchMode.get());
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1500);
  EXPECT_TRUE(timer().effectiveIsHardcore());
  timer().setScheduledHardModeActive(false);
  timer().switchSession(shortBreak);
  timer().start(true);
  timer().setScheduledHardModeActive(true);
  EXPECT_EQ(state(), "shortBreak running active");
}

TEST_F(Mission, ARunningOneKeepsItsLengthsWhenTheSettingsChange) {
  timer().startScheduledBlock(pomodoro(7200));
  change([](auto& s) { s.focusDuration = 1; s.soundEnabled = false; });
  wait(1499);
  EXPECT_EQ(timer().currentSessionType.get(), focus);
  EXPECT_EQ(left(), 1);
}

TEST_F(Mission, InPomodoroRhythmAnnouncesEachPhaseAndSyncsWithIt) {
  timer().startScheduledBlock(pomodoro(2000));
  told();
  wait(1499);
  EXPECT_EQ(left(), 1);
  EXPECT_TRUE(told().empty());
  wait(1);
  EXPECT_EQ(state(), "shortBreak running active");
  EXPECT_EQ(left(), 300);
  EXPECT_EQ(told(), Texts{"sync"});
  wait(300);
  EXPECT_EQ(state(), "focus running active");
  EXPECT_EQ(left(), 200);  // the end wins over the phase
  EXPECT_EQ(told(), Texts{"sync"});
  EXPECT_EQ(sounds.played, (Texts{"Glass", "Ping"}));
  EXPECT_EQ(notifications.posted,
            (std::vector<Notice>{{"Focus session complete! 🎯", "Great work. Time for a break."},
                                 {"Break over", "Ready to focus again?"}}));
  EXPECT_EQ(timer().completedSessions.get(), 0);
  wait(200);
  EXPECT_EQ(told(), Texts{"boundary"});
}

TEST_F(Mission, EnteredInABreakIsSilentAboutIt) {
  auto block = pomodoro(3600);
  block.startDate = clock.now() - Seconds(1600);
  timer().startScheduledBlock(block);
  EXPECT_EQ(state(), "shortBreak running active");
  EXPECT_EQ(left(), 200);
  EXPECT_EQ(count("sync"), 2);  // the phase's, and the mission's own
  EXPECT_TRUE(sounds.played.empty() && notifications.posted.empty());
}

TEST_F(Mission, OnTheDayTheClocksChangeEndsByTheClockOnTheWall) {
  clock.localZone = *Zone::named("Europe/Berlin");
  const Calendar calendar(clock.localZone);
  namespace c = std::chrono;
  const c::local_days spring{c::year(2026) / 3 / 29};
  auto block = mission(0);
  block.startDate = calendar.instant(spring, 60);
  block.endDate = calendar.instant(spring, 240);
  clock.skew += block.startDate - clock.now();
  timer().startScheduledBlock(block);
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 2 * 3600);  // one of the hours is missing
  EXPECT_EQ(timer().scheduledEndMinutes(), 240);
}

TEST_F(Mission, EndingAtMidnightEndsAtMinute1440) {
  EXPECT_EQ(timer().scheduledEndMinutes(), std::nullopt);
  timer().startScheduledBlock(mission(15 * 3600));  // from 09:00
  EXPECT_EQ(timer().scheduledEndMinutes(), 1440);
}

// --- following another device --------------------------------------------------------------------

class Following : public TimerFixture {
 protected:
  const SharedSession::Plan single = SharedSession::Single{1800.9};
  const SharedSession::Plan pomodoro = SharedSession::Pomodoro{1500, 300, 900, 4, {}};
  const SharedSession::Plan stopwatch = SharedSession::Stopwatch{};
};

TEST_F(Following, AdoptsEachPlanAtItsPosition) {
  timer().adopt(single, {focus, 0, 99.9, true});
  EXPECT_EQ(state(), "focus active");
  EXPECT_TRUE(timer().isStopwatchMode.get() && timer().isChronoCountdownMode.get());
  EXPECT_EQ(timer().countdownDuration.get(), 1800);
  wait(9);
  EXPECT_EQ(timer().countdownRemaining.get(), 90);

  recorder.hasContext = false;  // a follower has no choice of its own, and needs none
  timer().adopt(pomodoro, {longBreak, 3, 0.5, true});
  EXPECT_EQ(state(), "longBreak running active");
  EXPECT_FALSE(timer().isStopwatchMode.get() || timer().isChronoCountdownMode.get());
  EXPECT_FALSE(timer().countdownRunning.get());
  EXPECT_EQ(left(), 1);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 3);

  timer().adopt(stopwatch, {focus, 0, 42.7, true});
  EXPECT_EQ(timer().stopwatchElapsed.get(), 42);
  EXPECT_TRUE(timer().stopwatchRunning.get() && timer().isStopwatchMode.get());
  EXPECT_FALSE(timer().isChronoCountdownMode.get() || timer().isRunning.get());
}

TEST_F(Following, APausedPositionIsSetAndSavedButStands) {
  timer().adopt(pomodoro, {shortBreak, 2, 120, false});
  EXPECT_EQ(state(), "shortBreak");
  wait(5);
  EXPECT_EQ(left(), 120);
  EXPECT_EQ(preferences.integer("vm_timer_timeRemaining"), 120);
  timer().adopt(stopwatch, {focus, 0, -3, false});
  EXPECT_EQ(timer().stopwatchElapsed.get(), 0);
  timer().adopt(single, {focus, 0, -1e300, false});
  EXPECT_EQ(timer().countdownRemaining.get(), 1);
}

TEST_F(Following, QuietLeavesACleanClock) {
  timer().start(true);
  timer().skipSession();
  timer().startCountdown();
  wait(10);
  told();
  timer().quiet();
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(left(), 1500);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_EQ(timer().completedSessions.get(), 1);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 0);
  EXPECT_EQ(timer().countdownRemaining.get(), 3600);
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD"}));
  EXPECT_FALSE(preferences.boolean("vm_timer_isSessionActive"));
}

TEST_F(Following, AMissionIsLeftAlone) {
  timer().startScheduledBlock(mission(3600));
  timer().adopt(stopwatch, {focus, 0, 5, true});
  timer().quiet();
  EXPECT_EQ(state(), "focus running active");
  EXPECT_TRUE(timer().isScheduledSessionActive.get());
  wait(1);
  EXPECT_EQ(left(), 3599);
}

}  // namespace
}  // namespace velmora
