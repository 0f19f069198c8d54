#include "support/SimDevice.h"

namespace velmora {
namespace {

const std::string kChromium = "org.chromium.Chromium";
const std::string kFirefox = "org.mozilla.firefox";
const std::string kReddit = "https://www.reddit.com/r/all";
const std::string kWall = "http://127.0.0.1:52700/?r=focus&d=";

// A user's desktop with the application running and reddit.com on the list.
struct Blocking : testing::Test {
  Blocking() {
    d.start();
    d.app->lists.addSite("reddit.com");
  }
  void wait(double seconds) { world.advance(Seconds(seconds)); }
  TimerService& timer() { return d.app->timer; }
  BlocklistStore& lists() { return d.app->lists; }
  void softSession() {
    PomodoroSettings settings = timer().settings.get();
    settings.isSoftBlocklistEnabled = true;
    timer().setSettings(settings);
    timer().start(false);
    wait(2);
  }
  std::string open(const std::string& address, const std::string& browser = kChromium) {
    const double left = browser == kChromium ? 0 : 1000;
    return d.screen->open(browser, address, {left, 0, 900, 900}).id;
  }
  // Where the shown tab of the window ends up, a moment after the user has gone to the address.
  std::string visit(const std::string& id, const std::string& address) {
    d.screen->navigate(id, address);
    wait(0.05);
    return at(id);
  }
  std::string at(const std::string& id) { return d.screen->window(id).address; }

  sim::World world;
  sim::SimDevice d{world};
};

// The list compares by a form that loses every "www."; what is enforced is what was typed.
TEST_F(Blocking, ASoftSessionEnforcesTheListAsTypedAndEveryEditAtOnce) {
  const auto id = open(kReddit);
  wait(2);
  EXPECT_EQ(at(id), kReddit);
  lists().addApp(lists().makeApp("Game", "org.game"));
  d.apps->launch("org.game");
  softSession();
  EXPECT_EQ(at(id), kWall + "reddit.com");
  EXPECT_FALSE(d.apps->find("org.game"));
  lists().addSite("https://www.a.b/c");
  wait(0);
  EXPECT_EQ(d.app->websites.status.get(), (NativeBlockerStatus{{"a.b", "reddit.com"}, "focus"}));
  EXPECT_EQ(visit(id, "https://old.reddit.com/?a=|"), kWall + "old.reddit.com");
  ASSERT_EQ(d.panels->panels.size(), 1u);
  EXPECT_EQ(d.panels->panels.begin()->second.rectangle, d.screen->window(id).frame);
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

  d.files.texts["/Library/LaunchDaemons/com.velmora.helper.plist"] = "";
  timer().reset();
  wait(0);
  EXPECT_EQ(d.files.texts["/tmp/vm_trigger"], "idle");
  EXPECT_EQ(d.app->websites.status.get(), NativeBlockerStatus{});
}

TEST_F(Blocking, ABrakSessionOpensOnlyTheToolsOfItsFocusAndSurvivesAKill) {
  const auto id = open(kReddit);
  timer().start(false);
  wait(2);
  EXPECT_EQ(at(id), kReddit);  // the gate comes first
  d.app->screens.confirmFocusSelection(d.app->presets.presets.get()[0], "Write");
  wait(600);
  EXPECT_EQ(at(id), kWall + "reddit.com&a=1");
  d.relaunch(Seconds(100));
  wait(0.5);
  // The stopwatch saves on its 600th tick, a moment before the phase has counted that second.
  EXPECT_EQ(timer().timeRemaining.get(), 801);
  EXPECT_EQ(visit(id, "https://gist.github.com/"), "https://gist.github.com/");
  EXPECT_EQ(visit(id, "https://example.org/"), kWall + "example.org&a=1");
}

TEST_F(Blocking, AMuteBrowserStopsNobody) {
  const auto other = open(kReddit);
  const auto mute = open(kReddit, kFirefox);
  d.screen->muteBrowsers.insert(kFirefox);
  softSession();
  wait(3);
  EXPECT_EQ(at(other), kWall + "reddit.com");
  EXPECT_EQ(at(mute), kReddit);
}

}  // namespace
}  // namespace velmora
