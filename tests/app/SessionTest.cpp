#include "support/SimDevice.h"

namespace velmora {
namespace {

const std::string kReddit = "https://www.reddit.com/r/all";
const std::string kWall = "http://127.0.0.1:52700/?r=focus&d=";

// A user's desktop with the application running.
class Session : public testing::Test {
 protected:
  Session() { device.start(); }
  App& app() { return *device.app; }
  TimerService& timer() { return app().timer; }
  BlocklistStore& lists() { return app().lists; }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  bool isBlocking() { return !std::holds_alternative<SiteBlockEngine::Off>(app().engine.focus()); }
  // The number of a browser's window.
  std::string open(const std::string& address) {
    return device.screen->open("org.chromium.Chromium", address, {0, 0, 900, 900}).id;
  }
  // Where the shown tab of the window ends up, a moment after the user has gone to the address.
  std::string visit(const std::string& id, const std::string& address) {
    device.screen->navigate(id, address);
    wait(0.05);
    return at(id);
  }
  std::string at(const std::string& id) { return device.screen->window(id).address; }

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

// The list compares by a form that loses every "www."; what is enforced is what was typed.
TEST_F(Session, ASoftSessionEnforcesTheListAsTypedAndEveryEditAtOnce) {
  lists().addSite("reddit.com");
  const auto id = open(kReddit);
  wait(2);
  EXPECT_EQ(at(id), kReddit);
  lists().addApp(lists().makeApp("Game", "org.game"));
  device.apps->launch("org.game");
  PomodoroSettings settings = timer().settings.get();
  settings.isSoftBlocklistEnabled = true;
  timer().setSettings(settings);
  timer().start(false);
  wait(2);
  EXPECT_EQ(at(id), kWall + "reddit.com");
  EXPECT_FALSE(device.apps->find("org.game"));
  lists().addSite("https://www.a.b/c");
  wait(0);
  EXPECT_EQ(app().websites.status.get(), (NativeBlockerStatus{{"a.b", "reddit.com"}, "focus"}));
  EXPECT_EQ(visit(id, "https://old.reddit.com/?a=|"), kWall + "old.reddit.com");
  ASSERT_EQ(device.panels->panels.size(), 1u);
  EXPECT_EQ(device.panels->panels.begin()->second.rectangle, device.screen->window(id).frame);
  for (const char* typed : {"awww.example.com", "żółw.pl", "https://Example.org/x", "two words"})
    lists().addSite(typed);
  EXPECT_EQ(visit(id, "https://awww.example.com/"), kWall + "awww.example.com");
  EXPECT_EQ(visit(id, "https://aexample.com/"), "https://aexample.com/");
  EXPECT_EQ(visit(id, "https://xn--w-uga1v8h.pl/"), kWall + "xn--w-uga1v8h.pl");
  EXPECT_EQ(visit(id, "https://news.example.org/"), kWall + "news.example.org");
  lists().setSiteBlocked(lists().blockedSites.get()[4].id, false);
  EXPECT_EQ(visit(id, "https://example.org/"), "https://example.org/");
  lists().removeSite(BlockedSite(lists().blockedSites.get()[0]));
  EXPECT_EQ(visit(id, kReddit), kReddit);

  device.files.texts["/Library/LaunchDaemons/com.velmora.helper.plist"] = "";
  timer().reset();
  wait(0);
  EXPECT_EQ(device.files.texts["/tmp/vm_trigger"], "idle");
  EXPECT_EQ(app().websites.status.get(), NativeBlockerStatus{});
}

TEST_F(Session, ABrakSessionOpensOnlyTheToolsOfItsFocusAndSurvivesAKill) {
  const auto id = open(kReddit);
  timer().start(false);
  wait(2);
  EXPECT_EQ(at(id), kReddit);  // the gate comes first
  app().screens.confirmFocusSelection(app().presets.presets.get()[0], "Write");
  wait(600);
  EXPECT_EQ(at(id), kWall + "reddit.com&a=1");
  device.relaunch(Seconds(100));
  wait(0.5);
  // The stopwatch saves on its 600th tick, a moment before the phase has counted that second.
  EXPECT_EQ(timer().timeRemaining.get(), 801);
  EXPECT_EQ(visit(id, "https://gist.github.com/"), "https://gist.github.com/");
  EXPECT_EQ(visit(id, "https://example.org/"), kWall + "example.org&a=1");
}

TEST(TwoApps, LiveInOneProcessAndKnowNothingOfEachOther) {
  sim::World world;
  sim::SimDevice a(world, 1), b(world, 2);
  for (auto* device : {&a, &b}) {
    device->start();
    PomodoroSettings soft = device->app->timer.settings.get();
    soft.isSoftBlocklistEnabled = true;
    device->app->timer.setSettings(soft);
    device->app->lists.addSite("reddit.com");
    device->screen->open("org.chromium.Chromium", "https://www.reddit.com/r/all");
  }
  a.app->timer.start(false);
  world.advance(Seconds(5));
  EXPECT_EQ(a.screen->windows[0].address, "http://127.0.0.1:52700/?r=focus&d=reddit.com");
  EXPECT_EQ(b.screen->windows[0].address, "https://www.reddit.com/r/all");
  EXPECT_FALSE(b.app->timer.isSessionActive.get());
}

}  // namespace
}  // namespace velmora
