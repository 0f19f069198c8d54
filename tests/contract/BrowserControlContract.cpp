#include <gtest/gtest.h>

#include "platform/sim/FakeScreen.h"
#include "support/LinkBench.h"

namespace velmora {
namespace {

const Browser kBrowser{"Chromium", "org.chromium.Chromium", false, true};
const Browser kAbsent{"Firefox", "org.mozilla.firefox", false, true};
const std::string kFirst = "https://first.example/";
const std::string kWall = "http://127.0.0.1:52700/?r=focus";
const Rect kFrame{0, 0, 800, 600};

// Each side is an adapter with a browser that has one window, which shows the first page; the user
// can open another page there.
struct Sim {
  Sim() { control.open(kBrowser.bundleID, kFirst); }
  std::string address() { return control.windows[0].address; }
  void navigate(const std::string& to) { control.navigate(control.windows[0].id, to); }

  sim::World world;
  sim::Lane loop{world};
  sim::FakeScreen control{loop};
};

struct Linux : sim::LinkBench {
  Linux() {
    x.add(100, kFrame);
    host.sayHello();
    host.sayWindows({{.id = 1, .bounds = kFrame, .tab = 5, .address = shown}});
    world.settle();
  }
  std::string address() {
    for (const auto& message : host.heard())
      if (const auto* to = message.find("address")) shown = *to->asString();
    return shown;
  }
  void navigate(const std::string& to) { host.sayTab(1, 5, shown = to); }

  BrowserControl& control = *link;
  sim::FakeHost host = connect(100, kBrowser.bundleID);
  std::string shown = kFirst;
};

template <class T>
struct BrowserControlContract : testing::Test, T {
  void watch(const Browser& browser, bool endsWatch = false) {
    this->control.watch({browser.bundleID}, [this, endsWatch](auto) {
      ++news;
      if (endsWatch) this->control.unwatch();
    });
  }
  int newsOf(const std::string& address) {
    this->navigate(address);
    this->world.settle();
    return std::exchange(news, 0);
  }

  int news = 0;
};
using Sides = testing::Types<Sim, Linux>;
TYPED_TEST_SUITE(BrowserControlContract, Sides);

TYPED_TEST(BrowserControlContract, ReadsTheShownTabsAndSendsTheReportedOneAndNoOther) {
  this->newsOf("https://second.example/");
  TabReport report;
  this->control.read({{kBrowser, kAbsent}, std::nullopt}, [&](TabReport r) { report = r; });
  EXPECT_TRUE(report.empty()) << "told inside the call";
  this->world.advance(Seconds(3));
  ASSERT_EQ(report.size(), 1u) << "nothing of an absent browser";
  const auto tab = report.at(kBrowser.bundleID).at(0);
  EXPECT_EQ(tab, (WindowTab{tab.id, 1, kFrame, "https://second.example/"}));
  this->control.send(kBrowser, {"no such window", 1, kFrame, ""}, kWall);
  this->world.advance(Seconds(1));
  EXPECT_EQ(this->address(), tab.address);
  this->control.send(kBrowser, tab, kWall);
  this->world.advance(Seconds(1));
  EXPECT_EQ(this->address(), kWall);
}

TYPED_TEST(BrowserControlContract, TellsTheNewestWatcherOfItsBrowsersUntilUnwatched) {
  this->watch(kAbsent);
  EXPECT_EQ(this->newsOf("https://a.example/"), 0);
  this->watch(kBrowser);
  EXPECT_EQ(this->newsOf("https://b.example/"), 1);
  this->watch(kBrowser, true);
  EXPECT_EQ(this->newsOf("https://c.example/"), 1);
  EXPECT_EQ(this->newsOf("https://d.example/"), 0) << "a watch may end from inside its news";
}

}  // namespace
}  // namespace velmora
