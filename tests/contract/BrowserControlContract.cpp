#include <gtest/gtest.h>

#include "platform/macos/AppleScriptControl.h"
#include "platform/macos/BrowserScripts.h"
#include "platform/sim/FakeScreen.h"
#include "support/LinkBench.h"

namespace velmora {
namespace {

const Browser kBrowser{"Chromium", "org.chromium.Chromium", false, true};
const Browser kAbsent{"Firefox", "org.mozilla.firefox", false, true};
constexpr const char* kFirst = "https://first.example/";
constexpr const char* kWall = "http://127.0.0.1:52700/?r=focus";
const Rect kFrame{0, 0, 800, 600};

// One adapter with a browser that has one window, which shows the first page.
struct Bench {
  virtual ~Bench() = default;
  virtual BrowserControl& control() = 0;
  virtual sim::World& world() = 0;
  virtual std::string address() = 0;
  // The user opens another page in the window.
  virtual void navigate(const std::string& address) = 0;
};

struct SimBench final : Bench {
  SimBench() { screen.open(kBrowser.bundleID, kFirst); }
  BrowserControl& control() override { return screen; }
  sim::World& world() override { return time; }
  std::string address() override { return screen.windows[0].address; }
  void navigate(const std::string& to) override { screen.navigate(screen.windows[0].id, to); }

  sim::World time;
  sim::Lane loop{time};
  sim::FakeScreen screen{loop};
};

// Understands our scripts well enough to stand for the browser, whose window has the id 1.
struct MacBench final : Bench, Processes {
  std::optional<Outcome> run(const std::vector<std::string>& arguments) override {
    const auto& script = arguments.at(2);
    if (script == sendScript({"1", 1, std::nullopt, ""}, kBrowser, kWall)) shown = kWall;
    const bool isAsked =
        script.ends_with("return vmOut") && script.find(kBrowser.name) != script.npos;
    return Outcome{0, isAsked ? "0\t1\t1\t0 0 800 600\t" + shown + "\n" : ""};
  }
  BrowserControl& control() override { return adapter; }
  sim::World& world() override { return time; }
  std::string address() override { return shown; }
  void navigate(const std::string& to) override {
    shown = to;
    adapter.titleChanged(kBrowser.bundleID);
  }

  sim::World time;
  sim::Lane loop{time};
  sim::Lane worker{time};
  std::string shown = kFirst;
  AppleScriptControl adapter{*this, loop, worker};
};

struct LinuxBench final : Bench {
  LinuxBench() {
    link.x.add(100, kFrame);
    host.sayHello();
    host.sayWindows({{.id = 1, .bounds = kFrame, .tab = 5, .address = shown}});
    link.world.settle();
  }
  BrowserControl& control() override { return *link.link; }
  sim::World& world() override { return link.world; }
  std::string address() override {
    for (const auto& message : host.heard())
      if (const auto* to = message.find("address")) shown = *to->asString();
    return shown;
  }
  void navigate(const std::string& to) override { host.sayTab(1, 5, shown = to); }

  sim::LinkBench link;
  sim::FakeHost host = link.connect(100, kBrowser.bundleID);
  std::string shown = kFirst;
};

template <class T>
std::unique_ptr<Bench> make() {
  return std::make_unique<T>();
}

struct BrowserControlContract : testing::TestWithParam<std::unique_ptr<Bench> (*)()> {
  TabReport read() {
    std::optional<TabReport> report;
    control.read({{kBrowser, kAbsent}, std::nullopt}, [&](TabReport r) { report = std::move(r); });
    EXPECT_FALSE(report) << "told inside the call";
    bench->world().advance(Seconds(3));
    EXPECT_TRUE(report) << "not told in time";
    return report.value_or(TabReport{});
  }
  void watch(const Browser& browser) {
    control.watch({browser.bundleID}, [this](const std::string& id) { heard.push_back(id); });
  }
  size_t newsOf(const std::string& address) {
    bench->navigate(address);
    bench->world().settle();
    return std::exchange(heard, {}).size();
  }
  std::string addressAfterSendingTo(const WindowTab& tab) {
    control.send(kBrowser, tab, kWall);
    bench->world().advance(Seconds(1));
    return bench->address();
  }

  std::unique_ptr<Bench> bench = GetParam()();
  BrowserControl& control = bench->control();
  std::vector<std::string> heard;
};

TEST_P(BrowserControlContract, ReadsTheShownTabAndNothingOfAnAbsentBrowser) {
  newsOf("https://second.example/");
  const auto report = read();
  ASSERT_EQ(report.size(), 1u);
  const auto& tabs = report.at(kBrowser.bundleID);
  ASSERT_EQ(tabs.size(), 1u);
  EXPECT_EQ(tabs[0], (WindowTab{tabs[0].id, 1, kFrame, "https://second.example/"}));
}

TEST_P(BrowserControlContract, SendsTheReportedTabAndNoOther) {
  const auto tab = read().at(kBrowser.bundleID).at(0);
  EXPECT_EQ(addressAfterSendingTo({"no such window", 1, kFrame, kFirst}), kFirst);
  EXPECT_EQ(addressAfterSendingTo(tab), kWall);
}

TEST_P(BrowserControlContract, TellsTheNewestWatcherOfItsBrowsersUntilUnwatched) {
  watch(kAbsent);
  EXPECT_EQ(newsOf("https://a.example/"), 0u);
  watch(kBrowser);
  watch(kBrowser);
  EXPECT_EQ(newsOf("https://b.example/"), 1u);
  control.unwatch();
  EXPECT_EQ(newsOf("https://c.example/"), 0u);
}

TEST_P(BrowserControlContract, AWatchMayEndFromInsideItsNews) {
  control.watch({kBrowser.bundleID}, [this](const std::string& id) {
    heard.push_back(id);
    control.unwatch();
  });
  EXPECT_EQ(newsOf("https://a.example/") + newsOf("https://b.example/"), 1u);
}

INSTANTIATE_TEST_SUITE_P(Sim, BrowserControlContract, testing::Values(&make<SimBench>));
INSTANTIATE_TEST_SUITE_P(Mac, BrowserControlContract, testing::Values(&make<MacBench>));
INSTANTIATE_TEST_SUITE_P(Linux, BrowserControlContract, testing::Values(&make<LinuxBench>));

}  // namespace
}  // namespace velmora
