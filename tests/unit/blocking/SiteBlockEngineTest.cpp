#include "blocking/SiteBlockEngine.h"

#include "platform/sim/FakeListeners.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using sim::FakeScreen;
using Block = SiteBlockEngine::Blocklist;
using Allow = SiteBlockEngine::Allowlist;
using Off = SiteBlockEngine::Off;
using Exhausted = SiteBlockEngine::Exhausted;
using Tabs = std::vector<SiteBlockEngine::ScrollGuard::Tab>;
using Texts = std::vector<std::string>;
using Hosts = std::set<std::string>;

const std::string kArc = "company.thebrowser.Browser";
const std::string kChromium = "org.chromium.Chromium";
const std::string kFirefox = "org.mozilla.firefox";
const std::string kWall = "http://127.0.0.1:52700/?r=";
const Rect kLeft{0, 0, 900, 900};
const Rect kRight{1000, 0, 900, 900};

// Notes what the engine tells and asks its neighbours.
struct Notebook final : SiteBlockEngine::TimeBudgets,
                        SiteBlockEngine::ScrollGuard,
                        SiteBlockEngine::Cover {
  void observe(const Hosts& hosts, Seconds elapsed, Date now) override {
    calls.push_back("charge");
    charges.push_back({hosts, elapsed.count(), now});
  }
  void observe(const Tabs& tabs, Seconds, Date) override {
    calls.push_back("scroll");
    lastTabs = tabs;
  }
  std::optional<Exhausted> exhausted(std::string_view, Date) override {
    calls.push_back("budget?");
    return budget;
  }
  std::optional<Exhausted> closed(std::string_view, Date) override {
    calls.push_back("closing?");
    return closing;
  }
  void cover(const Rect& rectangle) override {
    calls.push_back(rectangle == kLeft ? "cover left" : "cover another");
    if (onCover) onCover();
  }

  struct Charge {
    Hosts hosts;
    double elapsed;
    Date now;
  };
  std::optional<Exhausted> budget;
  std::optional<Exhausted> closing;
  std::function<void()> onCover;
  Texts calls;
  std::vector<Charge> charges;
  Tabs lastTabs;
};

struct Engine {
  Engine() {
    neighbours.budgets.bind(seen);
    neighbours.scrollGuard.bind(seen);
    neighbours.cover.bind(seen);
    engine.emplace(clock, loop, screen, screen, catalog, server, log, "velmora.invalid",
                   neighbours);
  }
  SiteBlockEngine* operator->() { return &*engine; }

  // Long enough for an answer, too short for another look.
  void answer() { world.advance(Seconds(0.01)); }
  void looks(int n = 1) { world.advance(Seconds(1.5) * n); }
  std::string open(const std::string& app, const std::string& address, Rect frame = kLeft) {
    return screen.open(app, address, frame).id;
  }
  // A browser window that is shown while another application is in front.
  std::string openBehindEditor(const std::string& address) {
    const auto id = open(kChromium, address);
    open("org.gnome.TextEditor", "", kRight);
    return id;
  }
  size_t reads() const { return screen.reads.size(); }

  sim::World world;
  sim::FakeListeners listeners;
  sim::Lane loop{world};
  sim::Lane pageLane{world};
  sim::FakeClock clock{world};
  sim::FakeCatalog catalog;
  sim::FakeLog log;
  FakeScreen screen{loop};
  Notebook seen;
  BlockPageServer server{listeners, pageLane, loop, log, "page"};
  SiteBlockEngine::Neighbours neighbours;
  std::optional<SiteBlockEngine> engine;
};

struct SiteBlocking : testing::Test {
  Engine e;
};

TEST_F(SiteBlocking, RunsExactlyWhileSomeRuleIsLive) {
  const std::function<void(SiteBlockEngine&, bool)> rules[] = {
      [](auto& it, bool on) { on ? it.setFocus(Block{}) : it.setFocus(Off{}); },
      [](auto& it, bool on) { it.setPornDomains(on ? std::optional(DomainSet{}) : std::nullopt); },
      [](auto& it, bool on) { it.setBudgetActive(on); },
      [](auto& it, bool on) { it.setScrollGuardActive(on); }};
  for (const auto& rule : rules) rule(*e.engine, true);
  e.looks(2);
  EXPECT_EQ(e.screen.snapshots, 3);  // the first at once, by the rule that started it
  for (const auto& rule : rules) {
    EXPECT_TRUE(e->isRunning() && e.screen.isWatched());
    rule(*e.engine, false);
  }
  EXPECT_FALSE(e->isRunning() || e.screen.isWatched());
  e->lookAtOnce();
  e.looks(3);
  EXPECT_EQ(e.screen.snapshots, 3);
  EXPECT_TRUE(e.listeners.isListening("52700"));  // the wall stays
}

TEST_F(SiteBlocking, AReadUnderWayOutlivesItsRuleButNotItsEngine) {
  e.screen.latency = Seconds(1);
  e.open(kChromium, "https://reddit.com");
  e->setFocus(Block{{"reddit.com"}});
  e.world.advance(Seconds(0.5));
  e->setFocus(Off{});
  e.looks(4);
  ASSERT_EQ(e.seen.charges.size(), 1u);
  EXPECT_EQ(e.seen.charges[0].hosts, Hosts{"reddit.com"});
  EXPECT_EQ(e.seen.charges[0].now, e.clock.start);  // of the look, not of its answer
  EXPECT_TRUE(e.screen.sent.empty());  // judged by the rules of now
  e->setFocus(Block{{"reddit.com"}});
  e.engine.reset();
  e.looks(4);
  EXPECT_FALSE(e.screen.isWatched());
  EXPECT_EQ(e.seen.charges.size(), 1u);
}

TEST(SiteBlockingCases, ABackgroundBrowserIsReadOnlyForAReason) {
  // What happens after the first look, and the reads in the next three looks.
  const std::pair<std::function<void(Engine&)>, size_t> cases[] = {
      {[](Engine& e) { e.clock.skew += Seconds(3600); }, 0},  // no matter to an age
      {[](Engine& e) { e.screen.tell(kFirefox); }, 0},
      {[](Engine& e) { e.screen.tell(kChromium); }, 1},
      {[](Engine& e) { e.screen.window("1").frame.x += 0.25; }, 1},
      {[](Engine& e) { e.looks(4); }, 1},  // ten seconds go by
      {[](Engine& e) { e.screen.raise("1"); }, 3},
  };
  for (const auto& [happens, reads] : cases) {
    Engine e;
    e.openBehindEditor("https://a.com");
    e->setFocus(Block{});
    e.answer();
    ASSERT_EQ(e.reads(), 1u);
    happens(e);
    e.looks(3);
    EXPECT_EQ(e.reads() - 1, reads);
    EXPECT_EQ(e.seen.charges.back().hosts, Hosts{"a.com"});  // judged by what was read
  }
}

TEST_F(SiteBlocking, ChangesDuringAReadGiveOneFurtherLook) {
  e.screen.latency = Seconds(1);
  e.openBehindEditor("https://a.com");
  e->setFocus(Block{});
  for (int i = 0; i < 3; ++i) {
    e.world.advance(Seconds(0.1));
    e.screen.tell(kChromium);
    e->lookAtOnce();
  }
  EXPECT_EQ(e.screen.snapshots, 1);
  e.world.advance(Seconds(0.8));
  EXPECT_EQ(e.screen.snapshots, 2);
  e.world.advance(Seconds(0.8));  // the look at 1.5 fell into the second read
  EXPECT_EQ(e.screen.snapshots, 2);
}

TEST_F(SiteBlocking, ChargesRealTimeWithACeiling) {
  const auto lastCharge = [this] { return e.seen.charges.back(); };
  e.world.advance(Seconds(100));
  e.open(kChromium, "https://a.com");
  e->setFocus(Block{});
  e.answer();
  EXPECT_NEAR(lastCharge().elapsed, 0.0, 1e-9);
  e.world.jump(Seconds(3600));  // a suspend
  e.looks();
  EXPECT_NEAR(lastCharge().elapsed, 5.0, 1e-9);
  e.looks();
  const Date before = lastCharge().now;
  e.clock.skew -= Seconds(3600);  // a wall clock set back refunds nothing
  e.looks();
  EXPECT_NEAR(lastCharge().elapsed, 1.5, 1e-9);
  EXPECT_NEAR((lastCharge().now - before).count(), 1.5 - 3600, 1e-6);
}

// The seconds that use a budget up close the site in the same look.
TEST_F(SiteBlocking, ChargesThenJudgesThenCovers) {
  e.seen.budget = {"a.com", 12};
  e.open(kChromium, "https://a.com");
  e->setBudgetActive(true);
  e.answer();
  EXPECT_EQ(e.seen.calls, (Texts{"charge", "budget?", "cover left"}));
  EXPECT_EQ(e->redirects().get(), 1);
}

TEST_F(SiteBlocking, WhenNothingIsShownThatIsChargedAndReadingsAreForgotten) {
  e.openBehindEditor("https://a.com");
  e->setFocus(Block{});
  e.looks();
  e.screen.window("1").isMinimised = true;
  e.looks();
  EXPECT_EQ(e.seen.charges.back().hosts, Hosts{});
  e.screen.window("1").isMinimised = false;
  e.looks();
  e.answer();
  EXPECT_EQ(e.seen.charges.back().hosts, Hosts{"a.com"});
  EXPECT_EQ(e.reads(), 2u);
}

TEST(SiteBlockingCases, TheFirstRuleThatAppliesDecidesAndNoLaterOneIsAsked) {
  const Exhausted limit{"reddit.com", 7};
  using Focus = SiteBlockEngine::FocusRule;
  const std::tuple<DomainSet, Focus, std::optional<Exhausted>, std::string, Texts> cases[] = {
      {{"reddit.com"}, Block{{"reddit.com"}}, limit, "porn", {}},
      {{"other.com"}, Block{{"reddit.com"}}, limit, "focus&d=old.reddit.com", {}},
      {{}, Allow{{"github.com"}}, limit, "focus&d=old.reddit.com&a=1", {}},
      {{}, Allow{{"reddit.com"}}, limit, "budget&d=reddit.com&m=7", {"budget?"}},
      {{}, Block{{"new.reddit.com"}}, limit, "budget&d=reddit.com&m=7", {"budget?"}},
      {{}, Off{}, {}, "scroll&d=reddit.com&m=7", {"budget?", "closing?"}},
  };
  for (const auto& [adult, focus, budget, query, asked] : cases) {
    Engine e;
    e.seen.budget = budget;
    e.seen.closing = limit;
    e->setFocus(focus);
    e.open(kChromium, "https://old.reddit.com/r/all?d=x&m=1");
    e->setPornDomains(adult);
    e.answer();
    ASSERT_EQ(e.screen.sent.size(), 1u) << query;
    EXPECT_EQ(e.screen.sent[0].address, kWall + query);
    std::erase_if(e.seen.calls, [](const auto& call) { return !call.ends_with('?'); });
    EXPECT_EQ(e.seen.calls, asked) << query;
  }
}

TEST_F(SiteBlocking, ATabThatDidNotGoIsSentAgainByEveryLook) {
  // An odd host can't break the query either.
  const auto id = e.openBehindEditor("https://a&m=9\"<b>%c/");
  e.seen.onCover = [&] { e.screen.window(id).address += "#"; };  // no longer the page to send away
  e->setFocus(Allow{});
  e.looks(2);
  e.answer();
  EXPECT_EQ(e.reads(), 3u);  // read anew each time, though not in front
  ASSERT_EQ(e.screen.sent.size(), 3u);
  EXPECT_EQ(e.screen.sent[2].address, kWall + "focus&d=a%26m%3D9%22%3Cb%3E%25c&a=1");
}

TEST_F(SiteBlocking, TellsTheScrollGuardWhereEachTabIs) {
  const auto page = e.open(kChromium, "https://a.com");
  e.open(kArc, "https://b.com", kRight);
  e.screen.raise(page);
  e.screen.pointer = {1500, 10};
  e->setScrollGuardActive(true);
  e.answer();
  EXPECT_EQ(e.seen.lastTabs,
            (Tabs{{"b.com", kRight, true, false}, {"a.com", kLeft, false, true}}));
  EXPECT_EQ(e.screen.reads, std::vector<Texts>({{kArc, kChromium}}));  // both in one request
}

TEST_F(SiteBlocking, BrowsersAreToldTheRulesOfShownTabsWheneverEitherChanges) {
  const auto& told = e.screen.instantRules;
  const auto page = e.open(kChromium, "about:blank");
  e.open(kFirefox, "https://b.com", kRight);
  e.screen.window(e.open(kFirefox, "https://c.com")).isMinimised = true;
  e->setBudgetActive(true);  // what depends on time is for the looks alone
  e.looks();
  EXPECT_TRUE(told.empty());
  for (int i = 0; i < 2; ++i, e.looks()) {
    e->setFocus(Allow{});
    e->setPornDomains(DomainSet{"q.com", "p.com"});
  }
  InstantRules both{{{false, {"p.com", "q.com"}, "porn"}, {true, {}, "focus"}},
                    {"velmora.invalid", "127.0.0.1", "localhost"},
                    {{kChromium, {page}}, {kFirefox, {"2"}}}};
  EXPECT_EQ(told.size(), 2u);
  EXPECT_EQ(told.back(), both);
  e.screen.window(page).isMinimised = true;
  e.looks();
  e.answer();
  both.tabs.erase(kChromium);
  EXPECT_EQ(told.back(), both);
  e->setPornDomains({});
  e->setFocus(Off{});
  EXPECT_EQ(told.back(), InstantRules{});
}

Texts idsShown(const std::vector<WindowTab>& tabs, const std::vector<Rect>& frames, bool known) {
  Texts ids;
  for (const auto& tab : tabsShown(tabs, frames, known)) ids.push_back(tab.id);
  return ids;
}

TEST(TabsShown, AreMatchedByFrameOrByOrderOrStandAlone) {
  const Rect near{3, 4, 900, 900};
  const Rect far{5, 0, 900, 900};
  std::vector<WindowTab> tabs{{"c", 3, kLeft, ""}, {"b", 2, near, ""}, {"d", 3, {}, ""},
                              {"a", 1, far, ""}, {"r", 9, kRight, ""}};
  EXPECT_EQ(idsShown(tabs, {kRight, kLeft}, true), (Texts{"r", "b"}));  // the lowest index first
  EXPECT_EQ(idsShown(tabs, {kLeft, kLeft, kLeft}, true), (Texts{"b", "c"}));  // each tab once
  EXPECT_EQ(idsShown(tabs, {kRight, kLeft}, false), (Texts{"a", "b"}));
  EXPECT_EQ(idsShown(tabs, std::vector<Rect>(9, kLeft), false), (Texts{"a", "b", "c", "d", "r"}));

  tabs.push_back({"", 7, {}, "x"});  // a browser that tells of its front window only
  for (const bool known : {true, false}) EXPECT_EQ(idsShown(tabs, {kLeft}, known), Texts{""});

  EXPECT_EQ(frameOf({"a", 2, {}, ""}, {kLeft, kRight}), kRight);  // that of its place
  for (const int odd : {3, 0, -5}) EXPECT_EQ(frameOf({"", odd, {}, ""}, {kLeft}), kLeft) << odd;
}

}  // namespace
}  // namespace velmora
