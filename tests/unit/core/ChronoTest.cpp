#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using Chrono = TimerFixture;

TEST_F(Chrono, TheCountdownEndsOneTickAfterZeroWithItsSound) {
  timer().setCountdownDuration(63);
  play("countdown");
  timer().setCountdownDuration(9);  // not while it runs
  change([](auto& s) { s.isHardcore = true; });
  timer().resetCountdown();  // and this not in hard mode
  play("62");
  EXPECT_EQ(preferences.integer("vm_cd_remaining"), 60);
  play("1");
  EXPECT_EQ(chrono(), "0 0+");
  play("1");
  EXPECT_EQ(state(), "focus 1500");
  EXPECT_EQ(sounds.played, Texts{"Glass"});
}

class EmergencyPass : public TimerFixture {
 protected:
  // Whether the pass is there at that minute of a day, on the wall of the device's zone.
  bool use(std::chrono::year_month_day date, int minute = 0) {
    const Calendar calendar(clock.localZone);
    clock.skew += calendar.instant(std::chrono::local_days(date), minute) - clock.now();
    const auto before = timer().emergencyPassUsedAt.get();
    play("begin pass");
    return timer().emergencyPassUsedAt.get() != before;
  }
};

TEST_F(EmergencyPass, EndsTheSessionAndKeepsTypeCountAndStopwatch) {
  play("start skip 10.5");
  told();
  play("pass 10");
  EXPECT_EQ(told(), (Texts{"clearContext", "dismissGate", "dismissHUD", "pass"}));
  EXPECT_EQ(state(), "shortBreak 300");
  EXPECT_EQ(chrono(), "20+ 3600");
  EXPECT_EQ(timer().completedSessions.get(), 1);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  startAfresh();
  play("mission pass");
  EXPECT_EQ(told().back(), "sync");  // its block is lifted at once
}

TEST_F(EmergencyPass, RenewsWithTheIsoWeekOfTheZone) {
  using namespace std::chrono_literals;
  for (const auto* zone : {"UTC", "America/New_York", "Asia/Kolkata", "Pacific/Kiritimati"}) {
    SCOPED_TRACE(zone);
    startAfresh();
    clock.localZone = *Zone::named(zone);
    EXPECT_TRUE(use(2025y / 12 / 29));       // the Monday of a week over new year
    relaunch();
    EXPECT_FALSE(use(2026y / 1 / 4, 1439));  // the last minute of its Sunday
    EXPECT_TRUE(use(2026y / 1 / 5));
    EXPECT_TRUE(use(2027y / 1 / 11));        // the same week number, a year later
    EXPECT_TRUE(use(2027y / 3 / 14, 1439));  // the end of a week whose clocks change
    EXPECT_TRUE(use(2027y / 3 / 15));
  }
}

}  // namespace
}  // namespace velmora
