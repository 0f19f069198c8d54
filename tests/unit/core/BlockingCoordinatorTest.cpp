#include "core/BlockingCoordinator.h"
#include "support/SimDevice.h"
#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

using Texts = std::vector<std::string>;

std::string joined(const auto& texts) {
  std::string out;
  for (const auto& text : texts) out += " " + std::string(text);
  return out;
}

// The blockers and what the user's devices share; remembers every order in one list.
struct Blockers final : BlockingCoordinator::AppBlocker,
                        BlockingCoordinator::WebsiteBlocker,
                        BlockingCoordinator::SharedState {
  void startBlocking(const std::vector<BlockedApp>& apps) override {
    std::string line = "apps: close";
    for (const auto& app : apps) line += " " + app.bundleID + (app.isBlocked ? "" : " (off)");
    told.push_back(line);
  }
  void startAllowlist(const std::set<std::string>& allowed) override {
    told.push_back("apps: allow" + joined(allowed));
  }
  void stopBlocking() override { told.push_back("apps: stop"); }
  void startBlocking(const std::vector<std::string>& domains, const std::string& type) override {
    told.push_back("sites: " + type + ":" + joined(domains));
  }
  void serveBlockPageOnly() override { told.push_back("sites: page only"); }
  void disableBlocking(std::function<void()> completion) override {
    told.push_back("sites: off");
    if (completion) completion();
  }

  bool followsRemoteSession() const override { return follows; }
  FocusStanding standing(Date, const Calendar&) const override { return shared; }
  const SharedRules& rules() const override { return sharedRules; }

  bool follows = false;
  FocusStanding shared;
  SharedRules sharedRules;
  Texts told;
};

// The timer's road to recorded blockers; the stores and the tab monitor are a device's.
class Coordination : public TimerFixture {
 protected:
  Coordination() {
    neighbours_.apps.bind(blockers);
    neighbours_.websites.bind(blockers);
    neighbours_.shared.bind(blockers);
    recorder.reactions["sync"] = [this] { coordinator.sync(); };
    lists.addSite("reddit.com");
    lists.addSite("x.com");
    lists.setSiteBlocked(lists.blockedSites.get()[1].id, false);
    lists.addApp(lists.makeApp("Chat", "org.chat"));
    lists.addApp(lists.makeApp("Game", "org.game"));
    lists.setAppBlocked(lists.blockedApps.get()[1].id, false);
  }
  // The rule that the tab monitor works by.
  std::string wall() {
    const auto& focus = device.app->engine.focus();
    if (const auto* block = std::get_if<SiteBlockEngine::Blocklist>(&focus))
      return "block" + joined(block->domains);
    if (const auto* allow = std::get_if<SiteBlockEngine::Allowlist>(&focus))
      return "allow" + joined(allow->domains);
    return "off";
  }
  // What one more sync tells the blockers, and the rule it leaves.
  Texts synced() {
    blockers.told.clear();
    coordinator.sync();
    Texts out = std::exchange(blockers.told, {});
    out.push_back(wall());
    return out;
  }
  void choose(const Texts& domains) {
    FocusPreset preset = presets.presets.get()[0];
    preset.allowedApps = {{{}, "Editor", "org.editor", true, std::nullopt}};
    preset.allowedSites.clear();
    for (auto& domain : domains) preset.allowedSites.push_back({{}, domain, true});
    presets.beginFocus(preset, "");
  }
  void startMission(ScheduleProtectionMode mode) {
    TimerService::ScheduledBlock block = mission(7200);
    block.protectionMode = mode;
    block.blockedApps = {{{}, "Mail", "org.mail", false, std::nullopt}};
    block.blockedSites = {{{}, "news.com", false}, {{}, "awww.example.com", true}};
    timer().startScheduledBlock(block);
  }
  void share(const SharedBlocklist& list) {
    blockers.sharedRules.blocklists.push_back(list);
    blockers.shared = {SharedSession{SharedSession::Stopwatch{}, list.id}, list.id};
  }
  void launch() {
    lifecycle.applicationDidFinishLaunching(Lifecycle::Launch::silent);
    world.advance(Seconds(0.1));
    blockers.told.clear();
  }
  static inline const Texts kOff{"apps: stop", "sites: off", "off"};
  static inline const Texts kLists{"apps: close org.chat org.game (off)",
                                   "sites: focus: reddit.com", "block reddit.com"};

  sim::SimDevice device{world};
  Blockers blockers;
  BlocklistStore& lists = device.app->lists;
  FocusPresetStore& presets = device.app->presets;

 private:
  BlockingCoordinator::Neighbours neighbours_;

 protected:
  BlockingCoordinator coordinator{timer(),        presets, lists,      device.app->monitor,
                                  device.catalog, clock,   neighbours_};
  LateRef<ModuleStore::Commitment> commitment;
  LateRef<Lifecycle::Schedule> schedule;
  Lifecycle lifecycle{
      timer(),     presets,
      lists,       device.app->modules,
      coordinator, preferences,
      loop,        {device.statusItem, device.guardian, device.authentication, *device.agentLane},
      commitment,  schedule};
};

TEST_F(Coordination, BrakModeAllowsWhatWasChosenAndBrowsersOnlyForSites) {
  play("begin");
  EXPECT_EQ(synced(), kOff);  // no choice, no block
  choose({});
  EXPECT_EQ(synced(), (Texts{"apps: allow org.editor", "sites: page only", "allow"}));
  choose({"https://docs.example.com/x"});
  EXPECT_EQ(synced(), (Texts{"apps: allow company.thebrowser.Browser org.chromium.Chromium "
                             "org.editor org.gnome.Epiphany org.mozilla.firefox",
                             "sites: page only", "allow docs.example.com"}));
  blockers.follows = true;  // a follower goes by list even so
  EXPECT_EQ(synced(), kLists);
  blockers.follows = false;
  play("pause");
  EXPECT_EQ(synced(), kOff);
  play("toBreak start");
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, ARunningChronoClockOnItsScreenBlocksInABreakToo) {
  soften();
  choose({"a.com"});  // means nothing in soft mode
  play("start");
  EXPECT_EQ(synced(), kLists);
  play("pause toBreak start countdown");
  EXPECT_EQ(synced(), kOff);
  play("stopwatchScreen");
  EXPECT_EQ(synced()[1], "sites: short break: reddit.com");
  play("pause");  // the countdown alone
  EXPECT_EQ(synced().back(), "block reddit.com");
  play("countdown");
  EXPECT_EQ(synced(), kOff);
}

TEST_F(Coordination, ASoftMissionBringsItsOwnListsWholeAndItsSecondsAreNoNews) {
  share({Uuid({9}), "Shared", "flame", {"shared.com"}, {}, {}});
  launch();
  startMission(ScheduleProtectionMode::soft);
  EXPECT_EQ(wall(), "block awww.example.com news.com");  // in force when the call returns
  world.settle();
  EXPECT_EQ(synced(), (Texts{"apps: close org.mail", "sites: focus: news.com awww.example.com",
                             "block awww.example.com news.com"}));
  world.advance(Seconds(10));
  EXPECT_EQ(blockers.told, Texts{});
  EXPECT_EQ(timer().scheduledMissionRemaining.get(), 7190);
  play("endMission");
  EXPECT_EQ(wall(), "off");
}

TEST_F(Coordination, ABrakMissionGoesByItsChoiceEvenWhileAnotherDeviceIsFollowed) {
  blockers.follows = true;
  startMission(ScheduleProtectionMode::brak);
  EXPECT_EQ(wall(), "off");
  choose({"docs.example.com"});
  EXPECT_EQ(synced().back(), "allow docs.example.com");
}

TEST_F(Coordination, ASharedListReplacesTheLocalOnesAndTheMainOneAddsItsServices) {
  soften();
  play("start");
  share({Uuid({9}), "Shared", "flame", {"a.com"}, {"youtube", "unheard-of"}, {{"T", "chromium"}}});
  EXPECT_EQ(synced(), (Texts{"apps: close org.chromium.Chromium", "sites: focus: youtube.com a.com",
                             "block a.com youtube.com"}));
  blockers.sharedRules.blocklists[0].services = {"discord"};
  blockers.sharedRules.blocklists[0].sites = {"not-taken.com"};
  const Texts main{"apps: close com.hnc.Discord org.chat org.game (off)",
                   "sites: focus: discord.com discordapp.com reddit.com",
                   "block discord.com discordapp.com reddit.com"};
  blockers.shared.blocklistID = Uuid({77});  // a list that is gone
  EXPECT_EQ(synced(), main);
  blockers.shared = {{}, Uuid({9})};  // no session decides, whatever the id says
  EXPECT_EQ(synced(), main);
}

TEST_F(Coordination, EveryCauseReachesTheBlockersOnceAndAfterTheWrite) {
  launch();
  const auto reachesThemOnce = [&](const std::string& name, const std::function<void()>& cause) {
    blockers.told.clear();
    cause();
    EXPECT_TRUE(blockers.told.empty()) << name;
    world.advance(Seconds(0));
    EXPECT_EQ(blockers.told.size(), 2u) << name;
  };
  for (const char* word : {"begin", "stopwatchScreen", "countdownScreen", "countdown", "countdown",
                           "stopwatch", "stopwatch", "pause", "toBreak"})
    reachesThemOnce(word, [&] { play(word); });
  reachesThemOnce("settings", [&] { soften(); });
  reachesThemOnce("site", [&] { lists.addSite("news.com"); });
  reachesThemOnce("app", [&] { lists.addApp(lists.makeApp("Mail", "org.mail")); });
  reachesThemOnce("context", [&] { choose({}); });
}

TEST_F(Coordination, AdoptingDuringABlockNeverLiftsIt) {
  launch();
  blockers.follows = true;
  const SharedSession::Pomodoro plan{1500, 300, 900, 4, {}};
  timer().adopt(plan, {SessionType::focus, 0, 600, true});
  world.settle();
  blockers.told.clear();
  timer().adopt(plan, {SessionType::focus, 1, 500, true});
  EXPECT_EQ(wall(), "block reddit.com");
  world.settle();
  EXPECT_EQ(blockers.told, Texts(kLists.begin(), kLists.end() - 1));
  EXPECT_EQ(wall(), "block reddit.com");
}

}  // namespace
}  // namespace velmora
