#include "core/StoredSettings.h"
#include "support/SimDevice.h"

namespace velmora {
namespace {

using enum SessionType;

class Session : public testing::Test {
 protected:
  Session() { device.start(); }
  App& app() { return *device.app; }
  TimerService& timer() { return app().timer; }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  void change(const std::function<void(PomodoroSettings&)>& edit) {
    PomodoroSettings settings = timer().settings.get();
    edit(settings);
    timer().setSettings(settings);
    savePomodoroSettings(device.preferences, settings);
  }
  bool isBlocking() {
    return !std::holds_alternative<SiteBlockEngine::Off>(app().engine.focus());
  }
  void choose() {
    app().screens.confirmFocusSelection(app().presets.presets.get()[0], "Chapter 2");
  }
  TimerService::ScheduledBlock brakMission() {
    TimerService::ScheduledBlock block;
    block.startDate = device.clock.now();
    block.endDate = device.clock.now() + Seconds(3600);
    return block;
  }
  std::set<std::string> keys() {
    std::set<std::string> out;
    for (const auto& [key, value] : device.preferences.all()) out.insert(key);
    return out;
  }

  sim::World world;
  sim::SimDevice device{world};
};

TEST_F(Session, AFreshStartStoresThePresetsAndTheMinimalModules) {
  EXPECT_EQ(keys(), (std::set<std::string>{"vm_enabledModules", "vm_focus_presets_v2"}));
  EXPECT_EQ(device.preferences.read("vm_enabledModules"),
            PreferenceValue(PreferenceValue::TextList{"schedule", "sounds"}));
  wait(5);
  device.relaunch();
  EXPECT_EQ(keys().size(), 2u);
  EXPECT_EQ(app().modules.enabledModules.get().size(), 2u);
}

TEST_F(Session, TheGateAsksOnceAndItsAnswerStartsTheClock) {
  timer().start(false);
  EXPECT_EQ(app().screens.gateReason.get(), "Choose your next focus");
  app().screens.requireFocusSelection("again");
  EXPECT_EQ(app().screens.gateReason.get(), "Choose your next focus");
  wait(10);
  EXPECT_FALSE(timer().isSessionActive.get() || isBlocking());
  choose();
  world.settle();
  EXPECT_FALSE(app().screens.isGateShowing());
  EXPECT_TRUE(app().screens.isHUDShowing.get() && timer().isRunning.get() && isBlocking());
  timer().reset();
  world.settle();
  EXPECT_FALSE(app().screens.isHUDShowing.get() || isBlocking());
  EXPECT_FALSE(app().presets.hasActiveFocusContext());
}

TEST_F(Session, AWholeBlockRunsByItselfAndBlocksInFocusOnly) {
  change([](auto& s) {
    s.isSoftBlocklistEnabled = s.autoStart = true;
    s.focusSessionLimit = 4;
  });
  app().lists.addSite("reddit.com");
  timer().start(false);
  wait(1);
  // Four focus phases, three short breaks, a long one; each with its tick more, and half a second
  // between them.
  const double length = 4 * 1501 + 3 * 301 + 901 + 7 * 0.5;
  for (double at = 1; at < length; at += 60) {
    EXPECT_EQ(isBlocking(), timer().isRunning.get() && timer().currentSessionType.get() == focus);
    wait(60);
  }
  EXPECT_EQ(timer().completedSessions.get(), 4);
  EXPECT_EQ(timer().focusSessionsInBlock.get(), 0);
  EXPECT_FALSE(timer().isSessionActive.get());
  EXPECT_EQ(device.notifications.posted.back().title, "Pomodoro block complete");
  EXPECT_EQ(device.sounds.played.size(), 8u);
}

TEST_F(Session, AKillInABrakMissionLeavesNoChoiceBehind) {
  app().presets.beginFocus(app().presets.presets.get()[0], "");
  timer().startScheduledBlock(brakMission());
  EXPECT_TRUE(isBlocking());
  device.relaunch(Seconds(10));
  wait(1);
  EXPECT_FALSE(app().presets.hasActiveFocusContext());
  EXPECT_FALSE(device.preferences.has("vm_focus_active_context_v2"));
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
