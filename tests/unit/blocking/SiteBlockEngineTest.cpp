#include "blocking/SiteBlockEngine.h"

#include "blocking/BrowserMonitorService.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using sim::FakeScreen;

const std::string kArc = "company.thebrowser.Browser";
const std::string kChromium = "org.chromium.Chromium";
const std::string kFirefox = "org.mozilla.firefox";
const std::string kEditor = "org.gnome.TextEditor";
const std::string kWall = "http://127.0.0.1:52700/?r=";
const Rect kLeft{0, 0, 900, 900};
const Rect kRight{1000, 0, 900, 900};

using Texts = std::vector<std::string>;
using Hosts = std::set<std::string>;
using Tab = SiteBlockEngine::ScrollGuard::Tab;

// All that the engine asks and orders, in one notebook.
struct Recorder final : SiteBlockEngine::TimeBudgets,
                        SiteBlockEngine::ScrollGuard,
                        SiteBlockEngine::Cover {
  struct Charge {
    Hosts hosts;
    double elapsed;
    Date now;
  };
  using Limits = std::map<std::string, SiteBlockEngine::Exhausted, std::less<>>;

  void observe(const Hosts& hosts, Seconds elapsed, Date now) override {
    calls.push_back("charge");
    charges.push_back({hosts, elapsed.count(), now});
    if (onCharge) onCharge();
  }
  void observe(const std::vector<Tab>& tabs, Seconds, Date) override {
    calls.push_back("scroll");
    scrolled.push_back(tabs);
  }
  std::optional<SiteBlockEngine::Exhausted> exhausted(std::string_view host, Date) override {
    return ask("exhausted ", host, budgets);
  }
  std::optional<SiteBlockEngine::Exhausted> closed(std::string_view host, Date) override {
    return ask("closed ", host, closings);
  }
  void cover(const Rect& rectangle) override {
    calls.push_back("cover");
    covered.push_back(rectangle);
  }
  std::optional<SiteBlockEngine::Exhausted> ask(const std::string& what, std::string_view host,
                                                const Limits& limits) {
    calls.push_back(what + std::string(host));
    const auto hit = limits.find(host);
    return hit == limits.end() ? std::nullopt : std::optional(hit->second);
  }

  Texts calls;
  std::vector<Charge> charges;
  std::vector<std::vector<Tab>> scrolled;
  std::vector<Rect> covered;
  Limits budgets;
  Limits closings;
  std::function<void()> onCharge;
};

// The simulated browsers, with reports and failures of a test's own.
struct Browsers final : BrowserControl {
  Browsers(FakeScreen& s, RunLoop& l, Recorder& r) : screen(s), loop(l), recorder(r) {}
  void read(const ReadRequest& request, std::function<void(TabReport)> done) override {
    fronts.push_back(request.front ? request.front->bundleID : "");
    if (!report) return screen.read(request, std::move(done));
    loop.post([done = std::move(done), tabs = *report] { done(tabs); });
  }
  void send(const Browser& browser, const WindowTab& tab, const std::string& address) override {
    recorder.calls.push_back("send");
    sent.push_back({tab.id, address});
    if (!dropsSends) screen.send(browser, tab, address);
  }
  void watch(std::set<std::string> ids, std::function<void(const std::string&)> f) override {
    screen.watch(std::move(ids), std::move(f));
  }
  void unwatch() override { screen.unwatch(); }

  FakeScreen& screen;
  RunLoop& loop;
  Recorder& recorder;
  std::optional<TabReport> report;
  bool dropsSends = false;
  Texts fronts;
  std::vector<FakeScreen::Sent> sent;
};

struct Engine {
  Engine() {
    neighbours.budgets.bind(seen);
    neighbours.scrollGuard.bind(seen);
    neighbours.cover.bind(seen);
    engine.emplace(clock, loop, screen, browsers, catalog, server, log, "velmora.invalid",
                   neighbours);
  }
  SiteBlockEngine* operator->() { return &*engine; }

  void block(const DomainSet& domains) { engine->setFocus(SiteBlockEngine::Blocklist{domains}); }
  void allow(const DomainSet& domains) { engine->setFocus(SiteBlockEngine::Allowlist{domains}); }
  void off() { engine->setFocus(SiteBlockEngine::Off{}); }
  // Long enough for an answer, too short for another look.
  void answer() { world.advance(Seconds(0.01)); }
  void looks(int n = 1) { world.advance(Seconds(1.5) * n); }
  std::string open(const std::string& app, const std::string& address, Rect frame = kLeft) {
    return screen.open(app, address, frame).id;
  }
  // A browser window that is shown while another application is in front.
  std::string openBehindEditor(const std::string& address) {
    const auto id = open(kChromium, address);
    open(kEditor, "", kRight);
    return id;
  }
  size_t reads() const { return screen.reads.size(); }
  Texts addresses() const {
    Texts out;
    for (const auto& sent : browsers.sent) out.push_back(sent.address);
    return out;
  }

  sim::World world;
  sim::FakeListeners listeners;
  sim::Lane loop{world};
  sim::Lane pageLane{world};
  sim::FakeClock clock{world};
  sim::FakeCatalog catalog;
  sim::FakeLog log;
  FakeScreen screen{loop};
  Recorder seen;
  Browsers browsers{screen, loop, seen};
  BlockPageServer server{listeners, pageLane, loop, log, "page"};
  SiteBlockEngine::Neighbours neighbours;
  std::optional<SiteBlockEngine> engine;
};

TEST(SiteBlockEngine, RunsExactlyWhileSomeRuleIsLive) {
  using Switch = std::function<void(SiteBlockEngine&, bool)>;
  const std::vector<Switch> rules{
      [](auto& e, bool on) {
        if (on) e.setFocus(SiteBlockEngine::Blocklist{});
        else e.setFocus(SiteBlockEngine::Off{});
      },
      [](auto& e, bool on) { e.setPornDomains(on ? std::optional(DomainSet{}) : std::nullopt); },
      [](auto& e, bool on) { e.setBudgetActive(on); },
      [](auto& e, bool on) { e.setScrollGuardActive(on); }};
  Engine e;
  e.looks(3);
  EXPECT_EQ(e.screen.snapshots, 0);
  EXPECT_EQ(e.listeners.attempts, 0);
  for (const auto& rule : rules) {
    rule(*e.engine, true);
    EXPECT_TRUE(e->isRunning() && e.screen.isWatched());
  }
  e.answer();
  EXPECT_EQ(e.screen.snapshots, 1);  // one look at once, by the rule that started it
  EXPECT_EQ(e.listeners.attempts, 1);
  e.looks(2);
  EXPECT_EQ(e.screen.snapshots, 3);
  for (const auto& rule : rules) {
    EXPECT_TRUE(e->isRunning());
    rule(*e.engine, false);
  }
  EXPECT_FALSE(e->isRunning() || e.screen.isWatched());
  e->lookAtOnce();
  e.looks(3);
  EXPECT_EQ(e.screen.snapshots, 3);
  EXPECT_TRUE(e.listeners.isListening("52700"));  // the wall stays
}

TEST(SiteBlockEngine, StoppingDuringAReadHandlesItsResultOnce) {
  Engine e;
  e.screen.latency = Seconds(1);
  e.open(kChromium, "https://reddit.com");
  e.block({"reddit.com"});
  e.world.advance(Seconds(0.5));
  e.off();
  e.looks(4);
  EXPECT_EQ(e.seen.charges.size(), 1u);
  EXPECT_EQ(e.seen.charges[0].hosts, Hosts{"reddit.com"});
  EXPECT_TRUE(e.browsers.sent.empty());  // judged by the rules of now
  EXPECT_EQ(e.screen.snapshots, 1);
  e.block({"reddit.com"});
  e.engine.reset();  // takes its read and its watch along
  EXPECT_FALSE(e.screen.isWatched());
  e.looks(4);
  EXPECT_EQ(e.seen.charges.size(), 1u);
}

TEST(SiteBlockEngine, ABackgroundBrowserIsReadOnlyForAReason) {
  const struct {
    const char* reason;
    std::function<void(Engine&, const std::string&)> happens;
    size_t reads;  // in the three looks after the first
  } cases[] = {
      {"nothing", [](Engine&, const std::string&) {}, 0},
      {"frontmost", [](Engine& e, const std::string& id) { e.screen.raise(id); }, 3},
      {"reported", [](Engine& e, const std::string&) { e.screen.tell(kChromium); }, 1},
      {"moved", [](Engine& e, const std::string& id) { e.screen.window(id).frame.x += 0.25; }, 1},
      {"opened",
       [](Engine& e, const std::string&) {
         const auto id = e.open(kChromium, "https://b.com", {1000, 0, 400, 900});
         e.open(kEditor, "", {1500, 0, 400, 900});
       }, 1},
      {"other browser reported", [](Engine& e, const std::string&) { e.screen.tell(kFirefox); }, 0},
  };
  for (const auto& c : cases) {
    Engine e;
    const auto id = e.openBehindEditor("https://a.com");
    e.block({});
    e.answer();
    ASSERT_EQ(e.reads(), 1u) << c.reason;
    c.happens(e, id);
    e.looks(3);
    EXPECT_EQ(e.reads() - 1, c.reads) << c.reason;
  }
}

TEST(SiteBlockEngine, AReadingIsOldAfterTenSeconds) {
  Engine e;
  e.openBehindEditor("https://a.com");
  e.block({});
  e.world.advance(Seconds(10.4));
  EXPECT_EQ(e.reads(), 1u);
  e.world.advance(Seconds(0.2));  // the look at 10.5
  EXPECT_EQ(e.reads(), 2u);
  e.clock.skew += Seconds(3600);  // no matter to an age
  e.looks(6);
  EXPECT_EQ(e.reads(), 2u);
  EXPECT_EQ(e.seen.charges.back().hosts, Hosts{"a.com"});  // judged by what was read
}

TEST(SiteBlockEngine, AllBrowsersShownAreReadInOneRequestInTheirOrder) {
  Engine e;
  e.open(kChromium, "https://a.com", {0, 0, 600, 900});
  e.open(kArc, "https://b.com", {600, 0, 600, 900});
  e.open(kFirefox, "https://c.com", {1200, 0, 600, 900});
  e.open("org.gnome.Epiphany", "https://d.com", {0, 900, 1900, 180});
  e.screen.raise("3");
  e.block({});
  e.answer();
  EXPECT_EQ(e.screen.reads, (std::vector<Texts>{{kArc, kChromium, kFirefox}}));
  EXPECT_EQ(e.browsers.fronts, Texts{kFirefox});
  EXPECT_EQ(e.seen.charges[0].hosts, (Hosts{"a.com", "b.com", "c.com"}));
  EXPECT_EQ(e.log.debugLines, (Texts{"SiteBlock: Read Arc, Chromium, Firefox",
                                     "SiteBlock: 3 tab(s) on screen"}));
  e.looks();
  EXPECT_EQ(e.screen.reads[1], Texts{kFirefox});
}

TEST(SiteBlockEngine, ChangesDuringAReadGiveOneFurtherLook) {
  Engine e;
  e.screen.latency = Seconds(1);
  e.openBehindEditor("https://a.com");
  e.block({});
  for (int i = 0; i < 3; ++i) {
    e.world.advance(Seconds(0.1));
    e.screen.tell(kChromium);
    e->lookAtOnce();
  }
  EXPECT_EQ(e.screen.snapshots, 1);
  e.world.advance(Seconds(0.8));
  EXPECT_EQ(e.screen.snapshots, 2);
  EXPECT_EQ(e.reads(), 2u);
  e.world.advance(Seconds(1.8));  // the second read is over; the look at 1.5 fell into it
  EXPECT_EQ(e.screen.snapshots, 2);
  e.world.advance(Seconds(0.2));
  EXPECT_EQ(e.screen.snapshots, 3);
  EXPECT_EQ(e.reads(), 2u);
}

TEST(SiteBlockEngine, ChargesRealTimeWithACeiling) {
  Engine e;
  const auto lastCharge = [&e] { return e.seen.charges.back().elapsed; };
  e.world.advance(Seconds(100));
  e.open(kChromium, "https://a.com");
  e.block({});
  e.answer();
  EXPECT_NEAR(lastCharge(), 0.0, 1e-9);
  e.looks();
  EXPECT_NEAR(lastCharge(), 1.5, 1e-9);
  e.world.stall(Seconds(60));
  e.answer();
  EXPECT_NEAR(lastCharge(), 5.0, 1e-9);
  e.world.advance(Seconds(0.49));
  e.world.jump(Seconds(3600));  // a suspend
  e.looks();
  EXPECT_NEAR(lastCharge(), 5.0, 1e-9);
  e.looks();
  const Date before = e.seen.charges.back().now;
  e.clock.skew -= Seconds(3600);  // a wall clock set back refunds nothing
  e.looks();
  EXPECT_NEAR(lastCharge(), 1.5, 1e-9);
  EXPECT_NEAR((e.seen.charges.back().now - before).count(), 1.5 - 3600, 1e-6);
}

TEST(SiteBlockEngine, ALongReadChargesTheLookThatBeganIt) {
  Engine e;
  e.open(kChromium, "https://a.com");
  e.block({});
  e.answer();
  e.screen.latency = Seconds(2);
  e.world.advance(Seconds(3.6));  // looked at 1.5, answered at 3.5
  ASSERT_EQ(e.seen.charges.size(), 2u);
  EXPECT_NEAR(e.seen.charges[1].elapsed, 1.5, 1e-9);
  EXPECT_EQ(e.seen.charges[1].now, e.clock.start + Seconds(1.5));
}

TEST(SiteBlockEngine, ChargesEachHostOnceAndNoLocalOrForeignScheme) {
  Engine e;
  int column = 0;
  for (const char* address :
       {"https://www.a.com/1", "https://a.com/2", "https://b.com", "about:blank",
        "http://127.0.0.1:52700/?r=focus", "http://localhost/", "https://velmora.invalid/"})
    e.open(kChromium, address, {270.0 * column++, 0, 260, 900});
  e.allow({});
  e.answer();
  EXPECT_EQ(e.seen.charges[0].hosts, (Hosts{"a.com", "b.com"}));
  EXPECT_EQ(e.addresses(), (Texts{kWall + "focus&d=b.com&a=1", kWall + "focus&d=a.com&a=1",
                                  kWall + "focus&d=a.com&a=1"}));
}

// The seconds that use a budget up close the site in the same look.
TEST(SiteBlockEngine, ChargesBeforeItJudges) {
  Engine e;
  e.seen.onCharge = [&e] { e.seen.budgets["a.com"] = {"a.com", 12}; };
  e.open(kChromium, "https://a.com");
  e->setBudgetActive(true);
  e.answer();
  EXPECT_EQ(e.seen.calls, (Texts{"charge", "exhausted a.com", "cover", "send"}));
  EXPECT_EQ(e.seen.covered, std::vector<Rect>{kLeft});
  EXPECT_EQ(e->redirects().get(), 1);
}

TEST(SiteBlockEngine, WhenNothingIsShownThatIsChargedAndReadingsAreForgotten) {
  const std::vector<std::function<void(FakeScreen&, bool)>> blinds{
      [](FakeScreen& s, bool on) { s.displays = on ? std::vector<Rect>{} : std::vector{kLeft}; },
      [](FakeScreen& s, bool on) { s.isWindowListAvailable = !on; },
      [](FakeScreen& s, bool on) { s.window("1").isMinimised = on; }};
  for (const auto& blind : blinds) {
    Engine e;
    e.openBehindEditor("https://a.com");
    e.block({});
    e.looks();
    blind(e.screen, true);
    e.looks(2);
    EXPECT_EQ(e.seen.charges.back().hosts, Hosts{});
    EXPECT_NEAR(e.seen.charges.back().elapsed, 1.5, 1e-9);
    EXPECT_EQ(e.reads(), 1u);
    blind(e.screen, false);
    e.looks();
    e.answer();
    EXPECT_EQ(e.seen.charges.back().hosts, Hosts{"a.com"});
    EXPECT_EQ(e.reads(), 2u);
    e.off();
    e.block({});
    e.answer();
    EXPECT_EQ(e.reads(), 3u);  // a stop forgets them too
  }
}

TEST(SiteBlockEngine, TheFirstRuleThatAppliesDecidesAndNoLaterOneIsAsked) {
  using Focus = SiteBlockEngine::FocusRule;
  using Block = SiteBlockEngine::Blocklist;
  using Allow = SiteBlockEngine::Allowlist;
  const Focus none = SiteBlockEngine::Off{};
  const struct {
    DomainSet adult;
    Focus focus;
    bool budget;
    bool scroll;
    std::string query;  // empty when the tab stays
    Texts asked;
  } cases[] = {
      {{"reddit.com"}, Block{{"reddit.com"}}, true, true, "porn", {}},
      {{"other.com"}, Block{{"reddit.com"}}, true, true, "focus&d=old.reddit.com", {}},
      {{}, Allow{{"github.com"}}, true, true, "focus&d=old.reddit.com&a=1", {}},
      {{}, Allow{}, false, false, "focus&d=old.reddit.com&a=1", {}},
      {{}, Allow{{"reddit.com"}}, true, true, "budget&d=reddit.com&m=7",
       {"exhausted old.reddit.com"}},
      {{}, Block{{"new.reddit.com"}}, true, true, "budget&d=reddit.com&m=7",
       {"exhausted old.reddit.com"}},
      {{}, none, false, true, "scroll&d=reddit.com&m=3",
       {"exhausted old.reddit.com", "closed old.reddit.com"}},
      {{}, none, false, false, "", {"exhausted old.reddit.com", "closed old.reddit.com"}},
  };
  for (const auto& c : cases) {
    Engine e;
    if (c.budget) e.seen.budgets["old.reddit.com"] = {"reddit.com", 7};
    if (c.scroll) e.seen.closings["old.reddit.com"] = {"reddit.com", 3};
    e->setPornDomains(c.adult);
    e->setFocus(c.focus);
    e.open(kChromium, "https://old.reddit.com/r/all?d=x&m=1");
    e.looks();
    e.answer();
    EXPECT_EQ(e.addresses(), c.query.empty() ? Texts{} : Texts{kWall + c.query});
    Texts asked;
    for (const auto& call : e.seen.calls)
      if (call.starts_with("exhausted") || call.starts_with("closed")) asked.push_back(call);
    asked.resize(std::min(asked.size(), c.asked.size()));  // of the first look
    EXPECT_EQ(asked, c.asked) << c.query;
  }
}

TEST(SiteBlockEngine, ATabThatDidNotGoIsSentAgainByEveryLook) {
  Engine e;
  e.browsers.dropsSends = true;
  e.openBehindEditor("https://a&m=9\"<b>%c/");  // an odd host can't break the query either
  e.allow({});
  e.looks(2);
  e.answer();
  EXPECT_EQ(e.reads(), 3u);  // read anew each time, though not in front
  EXPECT_EQ(e.addresses(), Texts(3, kWall + "focus&d=a%26m%3D9%22%3Cb%3E%25c&a=1"));
}

TEST(SiteBlockEngine, TheFrontWindowAnswerIsJudgedAloneAndSentToTheFrontWindow) {
  Engine e;
  e.open(kChromium, "", kRight);
  e.open(kChromium, "", kLeft);
  e.browsers.report = TabReport{{kChromium, {{"", 1, std::nullopt, "https://reddit.com"}}}};
  e.block({"reddit.com"});
  e.answer();
  EXPECT_EQ(e.browsers.fronts, Texts{kChromium});
  EXPECT_EQ(e.browsers.sent,
            (std::vector<FakeScreen::Sent>{{"", kWall + "focus&d=reddit.com"}}));
  EXPECT_EQ(e.seen.covered, std::vector<Rect>{kLeft});
}

TEST(SiteBlockEngine, ABrowserWithoutBoundsIsJudgedByTheOrderOfItsWindows) {
  Engine e;
  e.open(kArc, "https://c.com", kRight);
  e.open(kArc, "https://b.com", kRight);  // covers the one before
  e.open(kArc, "https://a.com", kLeft);
  e.block({"b.com", "c.com"});
  e.answer();
  EXPECT_EQ(e.seen.charges[0].hosts, (Hosts{"a.com", "b.com"}));
  EXPECT_EQ(e.seen.covered, std::vector<Rect>{kRight});
  EXPECT_EQ(e.addresses(), Texts{kWall + "focus&d=b.com"});
}

TEST(SiteBlockEngine, TellsTheScrollGuardWhereEachTabIs) {
  Engine e;
  const auto tabs = [&e]() -> const std::vector<Tab>& { return e.seen.scrolled.back(); };
  e.open(kArc, "https://b.com", kRight);
  const auto page = e.open(kChromium, "https://a.com", kLeft);
  const auto blank = e.open(kChromium, "about:blank", {0, 900, 900, 180});
  e.screen.pointer = Point{10, 950};
  e->setScrollGuardActive(true);
  e.answer();
  // The first shown tab of the front application is the blank one: it takes "in front" and the
  // pointer with it.
  EXPECT_EQ(tabs(), (std::vector<Tab>{{"b.com", kRight, false, false},
                                      {"a.com", kLeft, false, false}}));
  EXPECT_EQ(e.seen.calls, (Texts{"charge", "scroll", "exhausted b.com", "closed b.com",
                                 "exhausted a.com", "closed a.com"}));
  e.screen.raise(page);
  e.screen.pointer = Point{1500, 10};
  e.looks();
  EXPECT_EQ(tabs(), (std::vector<Tab>{{"b.com", kRight, true, false},
                                      {"a.com", kLeft, false, true}}));
  e.screen.pointer = Point{10, 10};
  e.screen.raise(blank);
  e.open(kEditor, "", {0, 0, 200, 200});  // under the pointer now, and in front
  e.looks();
  EXPECT_EQ(tabs(), (std::vector<Tab>{{"b.com", kRight, false, false},
                                      {"a.com", kLeft, false, false}}));
  e->setBudgetActive(true);
  e->setScrollGuardActive(false);
  const auto told = e.seen.scrolled.size();
  e.looks(2);
  EXPECT_EQ(e.seen.scrolled.size(), told);
}

Texts idsShown(std::vector<WindowTab> tabs, const std::vector<Rect>& frames, bool boundsKnown) {
  Texts ids;
  for (const auto& tab : tabsShown(std::move(tabs), frames, boundsKnown)) ids.push_back(tab.id);
  return ids;
}

TEST(TabsShown, AreMatchedByFrameByOrderOrStandAlone) {
  const Rect near{3, 4, 900, 900};
  const Rect far{5, 0, 900, 900};
  const std::vector<WindowTab> tabs{{"c", 3, kLeft, ""}, {"b", 2, near, ""}, {"d", 3, {}, ""},
                                    {"a", 1, far, ""}, {"r", 9, kRight, ""}};
  EXPECT_EQ(idsShown(tabs, {kRight, kLeft}, true), (Texts{"r", "b"}));  // the lowest index first
  EXPECT_EQ(idsShown(tabs, {kLeft, kLeft, kLeft}, true), (Texts{"b", "c"}));  // each tab once
  EXPECT_EQ(idsShown(tabs, {{50, 50, 300, 300}}, true), Texts{});
  EXPECT_EQ(idsShown(tabs, {kRight, kLeft}, false), (Texts{"a", "b"}));
  EXPECT_EQ(idsShown(tabs, std::vector<Rect>(9, kLeft), false), (Texts{"a", "b", "c", "d", "r"}));
  EXPECT_EQ(idsShown(tabs, {}, false), Texts{});

  auto fallback = tabs;
  fallback.push_back({"", 7, {}, "x"});
  fallback.push_back({"", 6, {}, "y"});
  for (const bool known : {true, false}) {
    const auto shown = tabsShown(fallback, {kLeft}, known);
    ASSERT_EQ(shown.size(), 1u);
    EXPECT_EQ(shown[0].address, "y");
  }
}

TEST(FrameOf, IsTheTabsOwnOrThatOfItsPlace) {
  const std::vector<Rect> frames{kLeft, kRight};
  const Rect own{1, 2, 3, 4};
  EXPECT_EQ(frameOf({"a", 2, own, ""}, frames), own);
  EXPECT_EQ(frameOf({"a", 2, {}, ""}, frames), kRight);
  EXPECT_EQ(frameOf({"a", 3, {}, ""}, frames), kLeft);
  EXPECT_EQ(frameOf({"a", 0, {}, ""}, frames), kLeft);
  EXPECT_EQ(frameOf({"a", -5, {}, ""}, frames), kLeft);
  EXPECT_EQ(frameOf({"a", 1, {}, ""}, {}), std::nullopt);
}

TEST(BrowserMonitorService, HandsNormalisedDomainsToTheEngine) {
  Engine e;
  BrowserMonitorService monitor(*e.engine);
  const Texts typed{" https://WWW.Reddit.com/r/x", "reddit.com.", "", "...", "żółw.pl",
                    "awww.example.com", "two words"};
  const DomainSet domains{"reddit.com", "xn--w-uga1v8h.pl", "awww.example.com"};
  monitor.start(typed);
  EXPECT_EQ(e->focus(), SiteBlockEngine::FocusRule(SiteBlockEngine::Blocklist{domains}));
  monitor.startAllowlist(typed);
  EXPECT_EQ(e->focus(), SiteBlockEngine::FocusRule(SiteBlockEngine::Allowlist{domains}));
  monitor.start({});
  EXPECT_TRUE(e->isRunning());  // an empty list is a rule all the same
  monitor.stop();
  EXPECT_FALSE(e->isRunning());
}

}  // namespace
}  // namespace velmora
