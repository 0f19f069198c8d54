#include "support/SimDevice.h"

namespace velmora {
namespace {

const std::string kChromium = "org.chromium.Chromium";
const std::string kFirefox = "org.mozilla.firefox";
const std::string kReddit = "https://www.reddit.com/r/all";
const Rect kLeft{0, 0, 900, 900};
const Rect kRight{1000, 0, 900, 900};

// A user's desktop with the application running and reddit.com on the list.
struct Desk {
  Desk() {
    d.start();
    d.app->lists.addSite("reddit.com");
    wait(1);
  }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  TimerService& timer() { return d.app->timer; }
  void softSession() {
    PomodoroSettings settings = timer().settings.get();
    settings.isSoftBlocklistEnabled = true;
    timer().setSettings(settings);
    timer().start(false);
    wait(2);
  }
  std::string open(const std::string& address, Rect frame = kLeft,
                   const std::string& browser = kChromium) {
    const auto id = d.screen->open(browser, address, frame).id;
    wait(2);
    return id;
  }
  // What the shown tab of the window ends up at, a moment after the user has gone there.
  std::string visit(const std::string& id, const std::string& address) {
    d.screen->navigate(id, address);
    wait(0.05);
    return at(id);
  }
  std::string at(const std::string& id) { return d.screen->window(id).address; }
  static std::string wall(const std::string& query) {
    return "http://127.0.0.1:52700/?r=focus&d=" + query;
  }

  sim::World world;
  sim::SimDevice d{world};
};

TEST(Blocking, ASoftSessionSendsListedSitesToAWallThatStands) {
  Desk desk;
  const auto id = desk.open(kReddit);
  EXPECT_EQ(desk.at(id), kReddit);
  desk.softSession();
  EXPECT_EQ(desk.at(id), desk.wall("reddit.com"));
  EXPECT_EQ(desk.visit(id, "https://old.reddit.com/?a=|"), desk.wall("old.reddit.com"));
  EXPECT_EQ(desk.visit(id, "https://github.com/"), "https://github.com/");
  const auto client = desk.d.listeners.connect(BlockPageServer::port);
  ASSERT_TRUE(client);
  client->send("GET /?r=focus&d=reddit.com HTTP/1.1\r\n\r\n");
  desk.wait(0);
  EXPECT_TRUE(client->received.ends_with("<html>the wall</html>"));
}

TEST(Blocking, AnEditOfTheListReachesARunningSessionAtOnce) {
  Desk desk;
  const auto id = desk.open("https://news.example.org/");
  desk.softSession();
  desk.d.app->lists.addSite("https://Example.org/x");
  EXPECT_EQ(desk.visit(id, "https://news.example.org/"), desk.wall("news.example.org"));
  desk.d.app->lists.setSiteBlocked(desk.d.app->lists.blockedSites.get()[1].id, false);
  EXPECT_EQ(desk.visit(id, "https://example.org/"), "https://example.org/");
  desk.d.app->lists.removeSite(BlockedSite(desk.d.app->lists.blockedSites.get()[0]));
  EXPECT_EQ(desk.visit(id, kReddit), kReddit);
}

// The list compares by a form that loses every "www."; what is enforced is what was typed.
TEST(Blocking, ASiteIsEnforcedAsItWasTyped) {
  Desk desk;
  desk.d.app->lists.addSite("awww.example.com");
  desk.d.app->lists.addSite("żółw.pl");
  desk.softSession();
  const auto id = desk.open("about:blank");
  EXPECT_EQ(desk.visit(id, "https://awww.example.com/"), desk.wall("awww.example.com"));
  EXPECT_EQ(desk.visit(id, "https://aexample.com/"), "https://aexample.com/");
  EXPECT_EQ(desk.visit(id, "https://xn--w-uga1v8h.pl/"), desk.wall("xn--w-uga1v8h.pl"));
}

TEST(Blocking, ABrakSessionOpensOnlyTheToolsOfItsFocusAndSurvivesAKill) {
  Desk desk;
  const auto id = desk.open(kReddit);
  desk.timer().start(false);
  desk.wait(2);
  EXPECT_EQ(desk.at(id), kReddit);  // the gate comes first
  desk.d.app->screens.confirmFocusSelection(desk.d.app->presets.presets.get()[0], "Write");
  desk.wait(2);
  EXPECT_EQ(desk.at(id), desk.wall("reddit.com&a=1"));
  EXPECT_EQ(desk.visit(id, "https://gist.github.com/"), "https://gist.github.com/");

  desk.d.relaunch(Seconds(30));
  desk.wait(2);
  EXPECT_EQ(desk.at(id), "https://gist.github.com/");
  EXPECT_EQ(desk.visit(id, "https://example.org/"), desk.wall("example.org&a=1"));
}

TEST(Blocking, PauseAndBreakLiftTheWall) {
  Desk desk;
  const auto id = desk.open("about:blank");
  desk.softSession();
  EXPECT_EQ(desk.visit(id, kReddit), desk.wall("reddit.com"));
  desk.timer().pause();
  EXPECT_EQ(desk.visit(id, kReddit), kReddit);
  desk.timer().start(false);
  desk.wait(0.05);
  EXPECT_EQ(desk.at(id), desk.wall("reddit.com"));
  desk.wait(25 * 60);
  ASSERT_EQ(desk.timer().currentSessionType.get(), SessionType::shortBreak);
  desk.timer().start(false);
  desk.wait(2);
  EXPECT_EQ(desk.visit(id, kReddit), kReddit);
  EXPECT_FALSE(desk.d.app->engine.isRunning());
}

TEST(Blocking, WhatCannotBeSeenIsLeftAloneUntilItIsShown) {
  Desk desk;
  const auto minimised = desk.open(kReddit, kRight);
  desk.d.screen->window(minimised).isMinimised = true;
  const auto covered = desk.open(kReddit, kLeft);
  const auto cover = desk.open("https://github.com/", kLeft, kFirefox);
  desk.softSession();
  EXPECT_EQ(desk.at(minimised), kReddit);
  EXPECT_EQ(desk.at(covered), kReddit);

  desk.d.screen->window(cover).frame.x = 300;  // a third of it shows
  desk.wait(1.6);
  EXPECT_EQ(desk.at(covered), desk.wall("reddit.com"));
  EXPECT_EQ(desk.at(minimised), kReddit);
  desk.d.screen->window(minimised).isMinimised = false;
  desk.d.screen->raise(minimised);
  desk.wait(1.6);
  EXPECT_EQ(desk.at(minimised), desk.wall("reddit.com"));
  EXPECT_EQ(desk.at(cover), "https://github.com/");

  const auto displays = std::exchange(desk.d.screen->displays, {});  // asleep, or locked
  EXPECT_EQ(desk.visit(minimised, kReddit), kReddit);
  desk.wait(60);
  EXPECT_EQ(desk.at(minimised), kReddit);
  desk.d.screen->displays = displays;
  desk.wait(1.6);
  EXPECT_EQ(desk.at(minimised), desk.wall("reddit.com"));
}

TEST(Blocking, EveryShownWindowOfEveryBrowserGoesAndAMuteOneStopsNobody) {
  Desk desk;
  const auto left = desk.open(kReddit, {0, 0, 600, 900});
  const auto middle = desk.open(kReddit, {600, 0, 600, 900});
  const auto mute = desk.open(kReddit, {1200, 0, 600, 900}, kFirefox);
  desk.d.screen->muteBrowsers.insert(kFirefox);
  desk.softSession();
  desk.wait(3);
  EXPECT_EQ(desk.at(left), desk.wall("reddit.com"));
  EXPECT_EQ(desk.at(middle), desk.wall("reddit.com"));
  EXPECT_EQ(desk.at(mute), kReddit);
  desk.d.screen->muteBrowsers.clear();
  desk.wait(5);
  EXPECT_EQ(desk.at(mute), desk.wall("reddit.com"));
}

}  // namespace
}  // namespace velmora
