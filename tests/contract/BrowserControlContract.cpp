#include <gtest/gtest.h>

#include "platform/macos/AppleScriptControl.h"
#include "platform/macos/BrowserScripts.h"
#include "platform/sim/FakeScreen.h"
#include "support/LinkBench.h"

namespace velmora {
namespace {

constexpr const char* kWall = "http://127.0.0.1:52700/?r=focus";

// One adapter with a browser that has one window, of id 1 and with a tab that may be sent away, and
// a browser that is not there.
class Bench {
 public:
  virtual ~Bench() = default;
  virtual BrowserControl& control() = 0;
  virtual sim::World& world() = 0;
  virtual std::string address() = 0;
  // The user opens another page in the window.
  virtual void navigate(const std::string& address) = 0;

  const Browser browser{"Chromium", "org.chromium.Chromium", false, true};
  const Browser absent{"Firefox", "org.mozilla.firefox", false, true};
};

class SimBench final : public Bench {
 public:
  SimBench() { screen_.open(browser.bundleID, "https://first.example/"); }
  BrowserControl& control() override { return screen_; }
  sim::World& world() override { return world_; }
  std::string address() override { return screen_.windows[0].address; }
  void navigate(const std::string& address) override {
    screen_.navigate(screen_.windows[0].id, address);
  }

 private:
  sim::World world_;
  sim::Lane loop_{world_};
  sim::FakeScreen screen_{loop_};
};

// Understands our scripts well enough to stand for one browser with one window.
class ScriptedBrowser final : public Processes {
 public:
  explicit ScriptedBrowser(Browser browser) : browser_(std::move(browser)) {}
  std::optional<Outcome> run(const std::vector<std::string>& arguments) override {
    const auto& script = arguments.at(2);
    if (script.ends_with("return vmOut")) return Outcome{0, report(script)};
    const WindowTab window{"1", 1, std::nullopt, ""};
    if (script == sendScript(window, browser_, kWall)) address = kWall;
    return Outcome{0, ""};
  }
  std::string address = "https://first.example/";

 private:
  std::string report(const std::string& script) const {
    if (script.find('"' + browser_.name + '"') == std::string::npos) return "";
    return "0\t1\t1\t0 0 800 600\t" + address + "\n";
  }
  Browser browser_;
};

class MacBench final : public Bench {
 public:
  BrowserControl& control() override { return control_; }
  sim::World& world() override { return world_; }
  std::string address() override { return processes_.address; }
  void navigate(const std::string& address) override {
    processes_.address = address;
    control_.titleChanged(browser.bundleID);
  }

 private:
  sim::World world_;
  sim::Lane loop_{world_};
  sim::Lane worker_{world_};
  ScriptedBrowser processes_{browser};
  AppleScriptControl control_{processes_, loop_, worker_};
};

class LinuxBench final : public Bench {
 public:
  LinuxBench() : host_(bench_.connect(100, browser.bundleID)) {
    const Rect frame{0, 0, 800, 600};
    bench_.x.add(100, frame);
    host_.sayHello();
    host_.sayWindows({{.id = 1, .bounds = frame, .tab = 5, .address = address_}});
    bench_.world.settle();
  }
  BrowserControl& control() override { return *bench_.link; }
  sim::World& world() override { return bench_.world; }
  std::string address() override {
    for (const auto& message : host_.heard())
      if (*message.find("type") == json::Value("go"))
        address_ = *message.find("address")->asString();
    return address_;
  }
  void navigate(const std::string& address) override {
    address_ = address;
    host_.sayTab(1, 5, address);
  }

 private:
  sim::LinkBench bench_;
  sim::FakeHost host_;
  std::string address_ = "https://first.example/";
};

using MakeBench = std::unique_ptr<Bench> (*)();
template <class T>
std::unique_ptr<Bench> make() {
  return std::make_unique<T>();
}

struct BrowserControlContract : testing::TestWithParam<MakeBench> {
  TabReport read() {
    std::optional<TabReport> report;
    bench->control().read({{bench->browser, bench->absent}, std::nullopt},
                          [&](TabReport answer) { report = std::move(answer); });
    EXPECT_FALSE(report) << "told inside the call";
    bench->world().advance(Seconds(3));
    EXPECT_TRUE(report) << "not told in time";
    return report.value_or(TabReport{});
  }
  void watch(const std::string& bundleID, std::vector<std::string>& heard) {
    bench->control().watch({bundleID}, [&](const std::string& id) { heard.push_back(id); });
  }
  void navigate(const std::string& address) {
    bench->navigate(address);
    bench->world().settle();
  }
  std::string addressAfterAWhile() {
    bench->world().advance(Seconds(1));
    return bench->address();
  }

  std::unique_ptr<Bench> bench = GetParam()();
};

TEST_P(BrowserControlContract, ReadsTheShownTabAndNothingOfAnAbsentBrowser) {
  for (const std::string address : {"https://a.example/", "https://b.example/"}) {
    navigate(address);
    const auto report = read();
    ASSERT_EQ(report.size(), 1u);
    const auto& tabs = report.at(bench->browser.bundleID);
    ASSERT_EQ(tabs.size(), 1u);
    EXPECT_FALSE(tabs[0].id.empty());
    EXPECT_EQ(tabs[0].index, 1);
    EXPECT_EQ(tabs[0].bounds, (Rect{0, 0, 800, 600}));
    EXPECT_EQ(tabs[0].address, address);
  }
}

TEST_P(BrowserControlContract, AnswersEveryReadOnce) {
  int answers = 0;
  for (int i = 0; i < 3; ++i)
    bench->control().read({{bench->browser}, bench->browser}, [&](const TabReport&) { ++answers; });
  bench->control().read({{}, std::nullopt}, [&](const TabReport& report) {
    EXPECT_TRUE(report.empty());
    ++answers;
  });
  bench->world().advance(Seconds(10));
  EXPECT_EQ(answers, 4);
}

TEST_P(BrowserControlContract, SendsTheReportedTab) {
  const auto tab = read().at(bench->browser.bundleID).at(0);
  bench->control().send(bench->browser, tab, kWall);
  EXPECT_EQ(addressAfterAWhile(), kWall);
}

TEST_P(BrowserControlContract, IgnoresAnUnknownTab) {
  auto tab = read().at(bench->browser.bundleID).at(0);
  tab.id = "no such window";
  bench->control().send(bench->browser, tab, kWall);
  EXPECT_EQ(addressAfterAWhile(), "https://first.example/");
}

TEST_P(BrowserControlContract, TellsTheWatcherOfItsBrowsersOnly) {
  std::vector<std::string> heard;
  watch(bench->absent.bundleID, heard);
  navigate("https://a.example/");
  EXPECT_TRUE(heard.empty());
  watch(bench->browser.bundleID, heard);
  EXPECT_TRUE(heard.empty());
  navigate("https://b.example/");
  EXPECT_EQ(heard, std::vector{bench->browser.bundleID});
}

TEST_P(BrowserControlContract, AWatchReplacesTheOneBefore) {
  std::vector<std::string> former, heard;
  watch(bench->browser.bundleID, former);
  watch(bench->browser.bundleID, heard);
  navigate("https://a.example/");
  EXPECT_TRUE(former.empty());
  EXPECT_EQ(heard.size(), 1u);
}

TEST_P(BrowserControlContract, TellsNothingOnceUnwatched) {
  std::vector<std::string> heard;
  watch(bench->browser.bundleID, heard);
  bench->control().unwatch();
  navigate("https://a.example/");
  bench->control().unwatch();
  EXPECT_TRUE(heard.empty());
  // Also from inside the news itself.
  bench->control().watch({bench->browser.bundleID}, [&](const std::string& id) {
    heard.push_back(id);
    bench->control().unwatch();
  });
  navigate("https://b.example/");
  navigate("https://c.example/");
  EXPECT_EQ(heard.size(), 1u);
}

INSTANTIATE_TEST_SUITE_P(Sim, BrowserControlContract, testing::Values(&make<SimBench>));
INSTANTIATE_TEST_SUITE_P(Mac, BrowserControlContract, testing::Values(&make<MacBench>));
INSTANTIATE_TEST_SUITE_P(Linux, BrowserControlContract, testing::Values(&make<LinuxBench>));

}  // namespace
}  // namespace velmora
