#include "core/StoredSettings.h"
#include "support/SimDevice.h"

namespace velmora {
namespace {

class Session : public testing::Test {
 protected:
  Session() { device.start(); }
  App& app() { return *device.app; }
  TimerService& timer() { return app().timer; }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  bool isBlocking() { return !std::holds_alternative<SiteBlockEngine::Off>(app().engine.focus()); }

  sim::World world;
  sim::SimDevice device{world};
};

TEST_F(Session, AFreshStartStoresThePresetsTheMinimalModulesAndThatNoMissionRuns) {
  wait(1);
  for (int starts = 0; starts < 2; ++starts) {
    EXPECT_EQ(device.preferences.all().size(), 3u);
    EXPECT_EQ(device.preferences.read("vm_schedule_autoStarted"), PreferenceValue(false));
    EXPECT_TRUE(device.preferences.has("vm_focus_presets_v2"));
    EXPECT_EQ(device.preferences.read("vm_enabledModules"),
              PreferenceValue(PreferenceValue::TextList{"schedule", "sounds"}));
    wait(5);
    device.relaunch();
  }
}

TEST_F(Session, AWholeBlockRunsByItselfAndBlocksInFocusOnly) {
  PomodoroSettings settings;
  settings.isSoftBlocklistEnabled = settings.autoStart = true;
  settings.focusSessionLimit = 4;
  timer().setSettings(settings);
  timer().start(false);
  // Four focus phases, three short breaks, a long one; each with its tick more, and half a second
  // between them.
  const double length = 4 * 1501 + 3 * 301 + 901 + 7 * 0.5;
  for (double at = 0; at < length; at += 60) {
    wait(60);
    EXPECT_EQ(isBlocking(),
              timer().isRunning.get() && timer().currentSessionType.get() == SessionType::focus);
  }
  EXPECT_EQ(timer().completedSessions.get(), 4);
  EXPECT_FALSE(timer().isSessionActive.get());
  EXPECT_EQ(device.notifications.posted.back().title, "Pomodoro block complete");
}

TEST_F(Session, AKillInABrakMissionLeavesNoChoiceBehind) {
  app().presets.beginFocus(app().presets.presets.get()[0], "");
  TimerService::ScheduledBlock mission;
  mission.startDate = device.clock.now();
  mission.endDate = device.clock.now() + Seconds(3600);
  timer().startScheduledBlock(mission);
  EXPECT_TRUE(isBlocking());
  device.relaunch(Seconds(10));
  wait(1);
  EXPECT_FALSE(app().presets.hasActiveFocusContext());
  EXPECT_FALSE(timer().isSessionActive.get() || isBlocking());
}

TEST_F(Session, DamagedRecordsAreNoReasonNotToStart) {
  for (const char* key : {"vm_pomodoroSettings", "vm_focus_presets_v2", "vm_blockedSites",
                          "vm_focus_active_context_v2", "vm_enabledModules"})
    for (const char* text : {"", "{", "[[]]", "null", "\xff\xfe"}) {
      device.preferences.setBlob(key, text);
      device.relaunch();
      wait(1);
      EXPECT_EQ(timer().timeRemaining.get(), 1500);
      EXPECT_EQ(app().presets.presets.get().size(), 3u);
      EXPECT_EQ(app().modules.enabledModules.get().size(), 2u);
    }
}

}  // namespace
}  // namespace velmora
