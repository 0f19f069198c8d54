#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

class Chrono : public TimerFixture {
 protected:
  int64_t stored(const char* key) { return preferences.integer(key); }
  int64_t elapsed() { return timer().stopwatchElapsed.get(); }
  int64_t countdown() { return timer().countdownRemaining.get(); }
};

TEST_F(Chrono, TheStopwatchCountsPausesAndResets) {
  timer().toggleStopwatch();
  EXPECT_EQ(state(), "focus active");
  EXPECT_TRUE(timer().isChronoActive());
  wait(65);
  timer().toggleStopwatch();
  wait(10);
  EXPECT_EQ(elapsed(), 65);
  EXPECT_EQ(state(), "focus");
  timer().startStopwatch();
  timer().startStopwatch();
  wait(5);
  EXPECT_EQ(elapsed(), 70);
  timer().resetStopwatch();
  EXPECT_EQ(elapsed(), 0);
  EXPECT_FALSE(timer().stopwatchRunning.get());
}

TEST_F(Chrono, EveryOperationSavesAndSoDoesEverySixtiethSecond) {
  timer().startStopwatch();
  EXPECT_TRUE(preferences.boolean("vm_sw_running"));
  wait(119);
  EXPECT_EQ(stored("vm_sw_elapsed"), 60);
  timer().pauseStopwatch();
  EXPECT_EQ(stored("vm_sw_elapsed"), 119);
  timer().setCountdownDuration(130);
  timer().startCountdown();
  wait(129);
  EXPECT_EQ(stored("vm_cd_remaining"), 60);
  timer().pauseCountdown();
  EXPECT_EQ(stored("vm_cd_remaining"), 1);
  EXPECT_FALSE(preferences.boolean("vm_cd_running"));
}

TEST_F(Chrono, TheCountdownEndsOneTickAfterZeroWithItsSound) {
  timer().setCountdownDuration(3);
  timer().startCountdown();
  wait(3);
  EXPECT_EQ(countdown(), 0);
  EXPECT_TRUE(timer().countdownRunning.get());
  EXPECT_FALSE(timer().isChronoActive());
  wait(1);
  EXPECT_FALSE(timer().countdownRunning.get());
  EXPECT_EQ(state(), "focus");
  EXPECT_EQ(sounds.played, Texts{"Glass"});
  EXPECT_TRUE(notifications.posted.empty());
  timer().startCountdown();  // nothing left to count
  EXPECT_FALSE(timer().countdownRunning.get());
}

TEST_F(Chrono, ARunningCountdownRefusesANewLengthAndInHardModeAReset) {
  timer().startCountdown();
  wait(10);
  timer().setCountdownDuration(60);
  EXPECT_EQ(timer().countdownDuration.get(), 3600);
  change([](auto& s) { s.isHardcore = true; });
  timer().resetCountdown();
  EXPECT_TRUE(timer().countdownRunning.get());
  change([](auto& s) { s.isHardcore = false; });
  timer().resetCountdown();
  EXPECT_EQ(countdown(), 3600);
  EXPECT_EQ(state(), "focus");
  timer().setCountdownDuration(60);
  EXPECT_EQ(countdown(), 60);
  EXPECT_EQ(stored("vm_cd_duration"), 60);
}

// --- the emergency pass --------------------------------------------------------------------------

class EmergencyPass : public TimerFixture {
 protected:
  // "2026-01-04 23:59" on the wall of the device's zone.
  void goTo(int year, unsigned month, unsigned day, int minute) {
    namespace c = std::chrono;
    const c::local_days date{c::year(year) / c::month(month) / c::day(day)};
    clock.skew += Calendar(clock.localZone).instant(date, minute) - clock.now();
  }
  bool use() {
    if (!timer().isSessionActive.get()) timer().start(true);
    const auto before = timer().emergencyPassUsedAt.get();
    timer().useEmergencyPass();
    return timer().emergencyPassUsedAt.get() != before;
  }
};

TEST_F(EmergencyPass, EndsTheSessionAndKeepsTypeCountAndStopwatch) {
  timer().start(true);
  timer().skipSession();
  wait(0.5);
  wait(10);
  told();
  timer().useEmergencyPass();
  EXPECT_EQ(state(), "shortBreak");
  EXPECT_EQ(left(), 300);
  EXPECT_EQ(timer().completedSessions.get(), 1);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_TRUE(timer().stopwatchRunning.get());
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD", "pass"}));
  wait(10);
  EXPECT_EQ(timer().stopwatchElapsed.get(), 20);
  EXPECT_EQ(left(), 300);
}

TEST_F(EmergencyPass, EndsAMissionAndLiftsItsBlockAtOnce) {
  timer().startScheduledBlock(mission(3600));
  told();
  timer().useEmergencyPass();
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD", "pass", "sync"}));
  EXPECT_FALSE(timer().isScheduledSessionActive.get());
  EXPECT_FALSE(timer().scheduledBlockID.get());
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 0);
}

TEST_F(EmergencyPass, RenewsWithTheIsoWeekOfTheZone) {
  for (const auto* zone : {"UTC", "America/New_York", "Asia/Kolkata", "Pacific/Kiritimati"}) {
    SCOPED_TRACE(zone);
    preferences = {};
    crash();
    clock.localZone = *Zone::named(zone);
    goTo(2026, 3, 1, 1439);  // a Sunday, one minute to midnight
    EXPECT_TRUE(use());
    EXPECT_FALSE(timer().controls().emergencyPass);
    EXPECT_FALSE(use());
    goTo(2026, 3, 2, 0);  // the Monday
    EXPECT_TRUE(use());
    goTo(2026, 3, 8, 1439);  // the Sunday of that week, across a change of the clocks
    EXPECT_FALSE(use());
    goTo(2026, 3, 9, 0);
    EXPECT_TRUE(use());
  }
}

TEST_F(EmergencyPass, AWeekOverNewYearIsOneWeek) {
  goTo(2025, 12, 29, 600);  // Monday
  EXPECT_TRUE(use());
  goTo(2026, 1, 4, 600);  // Sunday
  EXPECT_FALSE(use());
  goTo(2026, 1, 5, 0);
  EXPECT_TRUE(use());
  goTo(2027, 1, 4, 0);  // the same week number, a year later
  EXPECT_TRUE(use());
}

}  // namespace
}  // namespace velmora
