#include "core/BlockingCoordinator.h"

#include <gtest/gtest.h>

#include "core/Lifecycle.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;
using enum SessionType;

std::string joined(const auto& texts) {
  std::string out;
  for (const auto& text : texts) out += " " + std::string(text);
  return out;
}

// The blockers and what the user's devices share; remembers every order in one list.
struct Blockers final : BlockingCoordinator::AppBlocker,
                        BlockingCoordinator::WebsiteBlocker,
                        BlockingCoordinator::SharedState {
  void startBlocking(const std::vector<BlockedApp>& blocked) override {
    std::string line = "apps: close";
    for (const auto& app : blocked) line += " " + app.bundleID + (app.isBlocked ? "" : " (off)");
    told.push_back(line);
  }
  void startAllowlist(const std::set<std::string>& allowed) override {
    told.push_back("apps: allow" + joined(allowed));
  }
  void stopBlocking() override { told.push_back("apps: stop"); }
  void startBlocking(const std::vector<std::string>& domains, const std::string& type) override {
    told.push_back("sites: " + type + ":" + joined(domains) + wallBefore());
  }
  void serveBlockPageOnly() override { told.push_back("sites: page only" + wallBefore()); }
  void disableBlocking() override { told.push_back("sites: off" + wallBefore()); }

  bool followsRemoteSession() const override { return follows; }
  FocusStanding standing(Date, const Calendar&) const override { return shared; }
  const SharedRules& rules() const override { return sharedRules; }

  std::function<std::string()> wall;
  std::string wallBefore() { return " | " + wall(); }
  bool follows = false;
  FocusStanding shared;
  SharedRules sharedRules;
  Texts told;
};

class Coordination : public testing::Test {
 protected:
  Coordination() {
    neighbours_.apps.bind(blockers);
    neighbours_.websites.bind(blockers);
    neighbours_.shared.bind(blockers);
    timerNeighbours_.focusContext.bind(presets);
    timerNeighbours_.coordinator.bind(coordinator);
    blockers.wall = [this] { return wall(); };
    lists.addSite("reddit.com");
    lists.addSite("x.com");
    lists.setSiteBlocked(lists.blockedSites.get()[1].id, false);
    lists.addApp(lists.makeApp("Chat", "org.chat"));
    lists.addApp(lists.makeApp("Game", "org.game"));
    lists.setAppBlocked(lists.blockedApps.get()[1].id, false);
  }
  // The rule that the tab monitor works by.
  std::string wall() {
    if (const auto* block = std::get_if<SiteBlockEngine::Blocklist>(&engine.focus()))
      return "block" + joined(block->domains);
    if (const auto* allow = std::get_if<SiteBlockEngine::Allowlist>(&engine.focus()))
      return "allow" + joined(allow->domains);
    return "off";
  }
  void soften() {
    PomodoroSettings s = timer.settings.get();
    s.isSoftBlocklistEnabled = true;
    timer.setSettings(s);
  }
  void choose(Texts apps, Texts domains) {
    FocusPreset preset = presets.presets.get()[0];
    preset.allowedSites.clear();
    for (auto& app : apps) preset.allowedApps.push_back({{}, app, app, true, std::nullopt});
    for (auto& domain : domains) preset.allowedSites.push_back({{}, domain, true});
    presets.beginFocus(preset, "");
  }
  TimerService::ScheduledBlock mission(ScheduleProtectionMode mode) {
    TimerService::ScheduledBlock block;
    block.startDate = clock.now();
    block.endDate = clock.now() + Seconds(7200);
    block.protectionMode = mode;
    block.blockedApps = {{{}, "Mail", "org.mail", false, std::nullopt}};
    block.blockedSites = {{{}, "news.com", false}, {{}, "awww.example.com", true}};
    return block;
  }
  void share(SharedBlocklist list) {
    blockers.sharedRules.blocklists.push_back(list);
    blockers.shared.session = SharedSession{SharedSession::Stopwatch{}, list.id};
    blockers.shared.blocklistID = list.id;
  }
  // What one more sync tells the blockers, and the rule it leaves.
  Texts synced() {
    blockers.told.clear();
    coordinator.sync();
    Texts out = std::exchange(blockers.told, {});
    for (auto& line : out) line = line.substr(0, line.find(" | "));
    out.push_back(wall());
    return out;
  }
  static inline const Texts kOff{"apps: stop", "sites: off", "off"};
  static inline const Texts kLists{"apps: close org.chat org.game (off)", "sites: focus: reddit.com",
                                   "block reddit.com"};

  sim::World world;
  sim::FakeClock clock{world};
  sim::FakePreferences preferences;
  sim::FakeRandom random;
  sim::FakeNotifications notifications;
  sim::FakeSounds sounds;
  sim::FakeLog log;
  sim::FakeCatalog catalog;
  sim::FakeListeners listeners;
  sim::Lane loop{world};
  sim::Lane pageLane{world};
  sim::FakeScreen screen{loop};
  Blockers blockers;

 private:
  TimerService::Neighbours timerNeighbours_;
  SiteBlockEngine::Neighbours engineNeighbours_;
  BlockingCoordinator::Neighbours neighbours_;

 protected:
  TimerService timer{preferences, clock, loop, notifications, sounds, timerNeighbours_};
  BlocklistStore lists{preferences, random};
  FocusPresetStore presets{preferences, random};
  BlockPageServer page{listeners, pageLane, loop, log, "wall"};
  SiteBlockEngine engine{clock,   loop, screen, screen,           catalog,
                         page,    log,  "home", engineNeighbours_};
  BrowserMonitorService monitor{engine};
  BlockingCoordinator coordinator{timer, presets, lists, monitor, catalog, clock, neighbours_};
  Lifecycle lifecycle{timer, presets, lists, coordinator, loop};
};

TEST_F(Coordination, BlocksByListInASoftFocusAndNothingOtherwise) {
  soften();
  EXPECT_EQ(synced(), kOff);
  timer.start(false);
  EXPECT_EQ(synced(), kLists);
  EXPECT_EQ(synced(), kLists);  // a repeat says the same again
  timer.pause();
  EXPECT_EQ(synced(), kOff);
  timer.switchSession(shortBreak);
  timer.start(false);
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, TellsAppsThenSitesThenTheMonitor) {
  soften();
  timer.start(false);
  coordinator.sync();
  EXPECT_EQ(blockers.told,
            (Texts{"apps: close org.chat org.game (off)", "sites: focus: reddit.com | off"}));
  blockers.told.clear();
  coordinator.stopAll();
  EXPECT_EQ(blockers.told, (Texts{"apps: stop", "sites: off | block reddit.com"}));
  EXPECT_EQ(wall(), "off");
}

TEST_F(Coordination, BrakModeWithoutAChoiceBlocksNothing) {
  timer.start(true);
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, BrakModeAllowsWhatWasChosenAndBrowsersOnlyForSites) {
  timer.start(true);
  choose({"org.editor"}, {});
  EXPECT_EQ(synced(), (Texts{"apps: allow org.editor", "sites: page only", "allow"}));
  choose({"org.editor"}, {"https://docs.example.com/x"});
  EXPECT_EQ(synced(), (Texts{"apps: allow company.thebrowser.Browser org.chromium.Chromium "
                             "org.editor org.gnome.Epiphany org.mozilla.firefox",
                             "sites: page only", "allow docs.example.com"}));
  timer.pause();
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, AChoiceMeansNothingInABreakOrInSoftMode) {
  choose({"org.editor"}, {"a.com"});
  timer.switchSession(shortBreak);
  timer.start(false);
  EXPECT_EQ(synced(), kOff);
  timer.pause();
  timer.switchSession(focus);
  soften();
  timer.start(false);
  EXPECT_EQ(synced(), kLists);
}

TEST_F(Coordination, ARunningChronoClockOnItsScreenBlocksInABreakToo) {
  soften();
  timer.switchSession(longBreak);
  timer.start(false);
  timer.startCountdown();
  EXPECT_EQ(synced(), kOff);
  timer.setStopwatchMode(true);
  EXPECT_EQ(synced()[1], "sites: long break: reddit.com");
  timer.pause();  // the countdown alone
  EXPECT_EQ(wall(), synced().back());
  EXPECT_EQ(wall(), "block reddit.com");
  timer.pauseCountdown();
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, ASoftMissionBringsItsOwnListsWholeWhateverIsShared) {
  share({Uuid({9}), "Shared", "flame", {"shared.com"}, {}, {}});
  timer.startScheduledBlock(mission(ScheduleProtectionMode::soft));
  EXPECT_EQ(wall(), "block awww.example.com news.com");  // in force when the call returns
  EXPECT_EQ(synced(), (Texts{"apps: close org.mail", "sites: focus: news.com awww.example.com",
                             "block awww.example.com news.com"}));
  timer.endScheduledBlock(false);
  EXPECT_EQ(wall(), "off");
}

TEST_F(Coordination, ABrakMissionGoesByItsChoiceEvenWhileAnotherDeviceIsFollowed) {
  blockers.follows = true;
  share({Uuid({9}), "Shared", "flame", {"shared.com"}, {}, {}});
  timer.startScheduledBlock(mission(ScheduleProtectionMode::brak));
  EXPECT_EQ(wall(), "off");
  choose({}, {"docs.example.com"});
  EXPECT_EQ(synced().back(), "allow docs.example.com");
}

TEST_F(Coordination, AFollowerGoesByListEvenInBrakMode) {
  timer.start(true);
  choose({"org.editor"}, {"a.com"});
  blockers.follows = true;
  EXPECT_EQ(synced(), kLists);
}

TEST_F(Coordination, ASharedListReplacesTheLocalOnes) {
  soften();
  timer.start(false);
  share({Uuid({9}), "Shared", "flame", {"shared.com"}, {"discord", "youtube", "unheard-of"},
         {{"Tunes", "chromium"}}});
  EXPECT_EQ(synced(),
            (Texts{"apps: close com.hnc.Discord org.chromium.Chromium",
                   "sites: focus: discord.com discordapp.com youtube.com shared.com",
                   "block discord.com discordapp.com shared.com youtube.com"}));
  blockers.shared.session.reset();  // no session decides: the main list, whatever the id says
  EXPECT_EQ(synced(), kLists);
}

TEST_F(Coordination, TheMainListIsTheLocalOnesWithItsServices) {
  soften();
  timer.start(false);
  blockers.sharedRules.blocklists[0].services = {"discord"};
  blockers.sharedRules.blocklists[0].sites = {"not-taken.com"};
  EXPECT_EQ(synced(), (Texts{"apps: close com.hnc.Discord org.chat org.game (off)",
                             "sites: focus: discord.com discordapp.com reddit.com",
                             "block discord.com discordapp.com reddit.com"}));
  blockers.shared.session = SharedSession{SharedSession::Stopwatch{}, {}};
  blockers.shared.blocklistID = Uuid({77});  // a list that is gone
  EXPECT_EQ(synced()[0], "apps: close com.hnc.Discord org.chat org.game (off)");
}

// --- when it happens -----------------------------------------------------------------------------

class Reactions : public Coordination {
 protected:
  void launch() {
    lifecycle.applicationDidFinishLaunching();
    world.advance(Seconds(0.1));
    blockers.told.clear();
  }
  int count(std::string_view start) {
    return static_cast<int>(std::ranges::count_if(
        blockers.told, [&](const auto& line) { return line.starts_with(start); }));
  }
};

TEST_F(Reactions, BeginATenthOfASecondAfterLaunchWithTheStateAsItIs) {
  soften();
  timer.start(false);
  blockers.told.clear();
  lifecycle.applicationDidFinishLaunching();
  world.advance(Seconds(0.09));
  EXPECT_TRUE(blockers.told.empty());
  world.advance(Seconds(0.01));
  EXPECT_EQ(wall(), "block reddit.com");
}

TEST_F(Reactions, EveryCauseReachesTheBlockersOnceAndAfterTheWrite) {
  launch();
  soften();
  const std::pair<const char*, std::function<void()>> causes[] = {
      {"settings", [&] {
         PomodoroSettings s = timer.settings.get();
         s.soundEnabled = !s.soundEnabled;
         timer.setSettings(s);
       }},
      {"start", [&] { timer.start(true); }},
      {"stopwatch screen", [&] { timer.setStopwatchMode(true); }},
      {"countdown screen", [&] { timer.setChronoCountdownMode(true); }},
      {"countdown start", [&] { timer.startCountdown(); }},
      {"countdown pause", [&] { timer.pauseCountdown(); }},
      {"stopwatch pause", [&] { timer.pauseStopwatch(); }},
      {"stopwatch start", [&] { timer.startStopwatch(); }},
      {"site", [&] { lists.addSite("news.com"); }},
      {"app", [&] { lists.addApp(lists.makeApp("Mail", "org.mail")); }},
      {"context", [&] { choose({}, {}); }},
      {"pause", [&] { timer.pause(); }},
      {"type", [&] { timer.switchSession(longBreak); }},
  };
  for (const auto& [name, cause] : causes) {
    SCOPED_TRACE(name);
    world.settle();
    blockers.told.clear();
    cause();
    EXPECT_TRUE(blockers.told.empty());
    world.settle();
    EXPECT_EQ(count("apps:"), 1);
  }
}

TEST_F(Reactions, AdoptingDuringABlockNeverLiftsIt) {
  launch();
  blockers.follows = true;
  timer.adopt(SharedSession::Pomodoro{1500, 300, 900, 4, {}}, {focus, 0, 600, true});
  world.settle();
  EXPECT_EQ(wall(), "block reddit.com");
  blockers.told.clear();
  timer.adopt(SharedSession::Pomodoro{1500, 300, 900, 4, {}}, {focus, 1, 500, true});
  EXPECT_EQ(wall(), "block reddit.com");
  world.settle();
  EXPECT_EQ(count("apps: stop"), 0);
  EXPECT_EQ(count("sites: off"), 0);
}

TEST_F(Reactions, TheSecondsOfAMissionAreNoNews) {
  launch();
  timer.startScheduledBlock(mission(ScheduleProtectionMode::soft));
  world.settle();
  blockers.told.clear();
  world.advance(Seconds(10));
  EXPECT_TRUE(blockers.told.empty());
  EXPECT_EQ(timer.scheduledMissionRemaining.get(), 7190);
}

TEST_F(Reactions, StoppingLiftsEverythingAndHearsNothingMore) {
  launch();
  soften();
  timer.start(false);
  lifecycle.stop();
  EXPECT_EQ(wall(), "off");
  lists.addSite("news.com");
  world.settle();
  EXPECT_EQ(wall(), "off");
}

}  // namespace
}  // namespace velmora
