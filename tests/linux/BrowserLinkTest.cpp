#include <gtest/gtest.h>

#include "platform/linux/LinkConnection.h"
#include "support/LinkBench.h"

namespace velmora {
namespace {

using sim::FakeHost, sim::ToldWindow;
using Addresses = std::vector<std::string>;

const Browser kChromium{"Chromium", "org.chromium.Chromium", false, true};
const Browser kFirefox{"Firefox", "org.mozilla.firefox", false, true};
const Rect kLeft{0, 20, 800, 600}, kRight{800, 20, 700, 600};

struct BrowserLinkTest : testing::Test, sim::LinkBench {
  FakeHost introduced(const std::vector<ToldWindow>& windows, int32_t pid = 100,
                      const Browser& browser = kChromium) {
    FakeHost host = connect(pid, browser.bundleID);
    host.sayHello();
    host.sayWindows(windows);
    world.settle();
    return host;
  }
  // With one window, which can be seen, and tab 5 in it.
  FakeHost showing(const std::string& address) {
    x.add(100, kLeft);
    return introduced({{.bounds = kLeft, .tab = 5, .address = address}});
  }
  void startRead(const std::vector<Browser>& browsers = {kChromium}) {
    reports.clear();
    link->read({browsers, std::nullopt}, [this](TabReport r) { reports.push_back(std::move(r)); });
    world.settle();
  }
  // Of a browser that is not waited for.
  std::vector<WindowTab> readNow(const Browser& browser = kChromium) {
    world.settle();
    startRead({browser});
    EXPECT_EQ(reports.size(), 1u);
    return reports.empty() ? std::vector<WindowTab>{} : reports[0][browser.bundleID];
  }
  Addresses addressesNow() {
    Addresses all;
    for (const auto& tab : readNow()) all.push_back(tab.address);
    return all;
  }
  void watch() {
    link->watch({kChromium.bundleID}, [this](const std::string&) { ++news; });
  }
  int changes() { return world.settle(), std::exchange(news, 0); }

  std::vector<TabReport> reports;
  int news = 0;
};

TEST_F(BrowserLinkTest, AnswersFromMemoryWithTheFramesOfTheDesktopAndWithoutUnseenWindows) {
  x.add(100, {2, 22, 799, 601});
  x.add(100, kRight).onScreen = false;  // told by the window manager only
  auto host = introduced({{.id = 1, .bounds = {0, 0, 400, 400}, .state = "minimized"},
                          {.id = 2, .bounds = kRight, .address = "https://hidden/"},
                          {.id = 3, .bounds = kLeft, .tab = 70, .address = "https://a/"}});
  host.sayTab(3, 70, "https://b/");
  const WindowTab expected{"1:3:70", 3, Rect{2, 22, 799, 601}, "https://b/"};
  EXPECT_EQ(readNow(), std::vector{expected});
  EXPECT_TRUE(host.heard().empty());
}

TEST_F(BrowserLinkTest, TwoProfilesWithEqualNumbersAreRedirectedEachByItself) {
  x.add(200, kLeft);
  x.add(201, kLeft);
  auto one = introduced({{.bounds = kLeft, .tab = 4, .address = "https://one/"}}, 200, kFirefox);
  auto two = introduced({{.bounds = kLeft, .tab = 4, .address = "https://two/"}}, 201, kFirefox);
  link->send(kFirefox, readNow(kFirefox).at(1), "http://wall/");
  EXPECT_TRUE(one.heard().empty());
  EXPECT_EQ(two.heard().size(), 1u);
}

TEST_F(BrowserLinkTest, SendsOnlyToTheTabThatWasReportedAndNamesThePageThatWasJudged) {
  auto host = showing("https://judged/");
  auto tab = readNow().at(0);
  host.sayTab(1, 5, "https://newer/");
  world.settle();
  link->send(kFirefox, tab, "http://wall/");
  link->send(kChromium, tab, "http://wall/");
  host.sayTab(1, 6, "https://b/");
  world.settle();
  for (const std::string id : {"1:1:5", "", "1", "2:1:6", "1:9:6", "1:1:6:1", "a:b:c"}) {
    tab.id = id;
    link->send(kChromium, tab, "http://wall/");
  }
  const auto orders = host.heard();
  ASSERT_EQ(orders.size(), 1u);
  EXPECT_EQ(json::dump(orders[0]), R"({"type":"go","windowId":1,"tabId":5,)"
                                   R"("address":"http://wall/","from":"https://judged/"})");
}

TEST_F(BrowserLinkTest, AsksOnceForEachPictureThatDoesNotFit) {
  auto host = showing("https://a/");
  readNow();
  x.add(999, kLeft);  // another program's window and a menu are nothing to ask about
  x.add(100, kLeft).managed = false;
  readNow();
  EXPECT_TRUE(host.requests().empty());

  x.list[0].frame = x.list[0].client = x.list[0].clientWithoutShadow = kRight;
  startRead();
  const auto requests = host.requests();
  ASSERT_EQ(requests.size(), 1u);
  host.sayWindows({{.bounds = kLeft, .address = "https://a/"}});  // sent before it was asked
  world.settle();
  EXPECT_TRUE(reports.empty());
  host.sayWindows({{.bounds = kLeft, .address = "https://b/"}}, requests[0]);
  world.settle();
  EXPECT_EQ(reports.size(), 1u);
  EXPECT_EQ(addressesNow(), Addresses{"https://b/"}) << "a window the extension may not see";
  EXPECT_TRUE(host.requests().empty());
}

TEST_F(BrowserLinkTest, WaitsThreeSecondsForAMuteBrowserUntilItSpeaksAgain) {
  x.add(200, kLeft);
  auto mute = connect(100, kChromium.bundleID);
  introduced({{.bounds = kLeft, .address = "https://a/"}}, 200, kFirefox);
  startRead({kChromium, kFirefox});
  world.advance(Seconds(2.9));
  EXPECT_TRUE(reports.empty());
  world.advance(Seconds(0.2));
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_TRUE(reports[0].size() == 1 && reports[0].contains(kFirefox.bundleID));
  EXPECT_TRUE(readNow().empty());
  EXPECT_EQ(mute.requests().size(), 1u);
  mute.sayHello();
  world.settle();
  startRead();
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(mute.requests().size(), 1u);
  mute.client->close();
  world.settle();
  EXPECT_EQ(reports, std::vector<TabReport>{{}}) << "a lost link ends the wait";
}

TEST_F(BrowserLinkTest, TellsOfChangesThatAreSeen) {
  ToldWindow window{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/", .title = "A"};
  watch();
  auto host = introduced({window});
  EXPECT_EQ(changes(), 1);
  window.title = "B";
  window.bounds = kRight;
  host.sayWindows({window});
  host.sayTab(1, 5, "https://a/");
  EXPECT_EQ(changes(), 0) << "places and titles";
  host.sayTab(1, 5, "https://b/");
  EXPECT_EQ(changes(), 1) << "an address";
  host.sayTab(1, 6, "https://b/");
  EXPECT_EQ(changes(), 1) << "another tab";
  window.state = "minimized";
  host.sayWindows({window});
  EXPECT_EQ(changes(), 1) << "a window that is no longer seen";
  host.client->close();
  EXPECT_EQ(changes(), 1) << "a browser that has gone";
  EXPECT_TRUE(addressesNow().empty() && link->linked().empty());
}

TEST_F(BrowserLinkTest, SurvivesMalformedMessages) {
  auto host = showing("https://a/");
  log.debugLines.clear();
  // clang-format off
  const std::vector<std::string> malformed{
      "{", "[]", "\xff\xfe", R"({"type":7})", R"({"type":"tab","windowId":1,"tabId":5})",
      R"({"type":"tab","windowId":1.5,"tabId":5,"address":"https://x/"})",
      R"({"type":"windows","windows":[{"id":1,"tab":{"id":5,"address":7}}]})"};
  // clang-format on
  for (const auto& message : malformed) host.say(message);
  host.say("");
  host.sayTab(9, 5, "https://x/");
  EXPECT_EQ(addressesNow(), Addresses{"https://a/"});
  EXPECT_EQ(log.debugLines.size(), malformed.size());
}

TEST_F(BrowserLinkTest, PutsFramesTogetherFromAnyPiecesUntilOneIsTooLong) {
  auto host = showing("https://a/");
  std::string longest = R"({"type":"tab","windowId":1,"tabId":5,"address":"https://long/","new":")";
  longest.resize(LinkFrames::kLongestMessage - 2, 'x');
  const auto bytes = FakeHost::frame(longest + "\"}");
  for (size_t at = 0; at < 50; ++at, world.settle()) host.client->send(bytes.substr(at, 1));
  host.client->send(bytes.substr(50));
  EXPECT_EQ(addressesNow(), Addresses{"https://long/"});
  host.say(longest + "x\"}");
  world.settle();
  EXPECT_TRUE(host.isDropped());
}

TEST_F(BrowserLinkTest, DropsALinkThatDoesNotReadWhatItIsTold) {
  auto host = showing("https://a/");
  host.client->stall(true);
  const auto tab = readNow().at(0);
  for (const bool isDropped : {false, false, false, true}) {
    link->send(kChromium, tab, std::string(LinkConnection::kMostQueuedBytes / 4, 'x'));
    world.settle();
    EXPECT_EQ(host.isDropped(), isDropped);
  }
}

TEST_F(BrowserLinkTest, HandsInstantRulesOverInPartsAndAgainOnlyWhenTheyHaveChanged) {
  auto host = showing("https://a/");
  InstantRules rules{{{false, {}, "porn"}, {true, {"fine.test"}, "focus"}}, {"home.test"}, {}};
  for (int i = 0; i < 20000; ++i)
    rules.rules[0].domains.push_back("a-rather-long-name-" + std::to_string(i) + ".example");
  const auto hand = [&](std::set<std::string> tabs) {
    rules.tabs = {{kChromium.bundleID, std::move(tabs)}};
    link->setInstantRules(rules);
    world.settle();
    return host.heard();
  };
  const auto told = hand({"1:1:5", "1:2:9", "2:4:1"});
  ASSERT_GT(told.size(), 10u);
  EXPECT_EQ(json::dump(told[0]), R"({"type":"scope","windows":[1,2]})");
  EXPECT_EQ(json::dump(told[1]),
            R"({"type":"rules","rules":[{"reason":"porn","allowlist":false},)"
            R"({"reason":"focus","allowlist":true}],"exempt":["home.test"],"last":false})");
  EXPECT_EQ(json::dump(told.back()),
            R"({"type":"domains","rule":1,"domains":["fine.test"],"last":true})");
  size_t domains = 0;
  for (size_t i = 2; i < told.size(); ++i) {
    EXPECT_LT(json::dump(told[i]).size(), 128u << 10);
    domains += told[i].find("domains")->asArray()->size();
  }
  EXPECT_EQ(domains, 20001u);
  EXPECT_EQ(hand({"1:2:9"}).size(), 1u) << "other tabs";
  watch();
  x.stale.send(true);
  world.advance(Seconds(0.05));
  EXPECT_EQ(changes(), 1) << "a window that may have come into sight";
  EXPECT_EQ(hand({"1:2:7"}).size(), 0u) << "another tab in the same window";
  host = introduced({}, 101);
  EXPECT_EQ(host.heard().size(), told.size() - 1) << "a new link, with no window on screen";
  rules.rules.clear();
  EXPECT_EQ(hand({}).size(), 1u) << "all lifted";
}

TEST_F(BrowserLinkTest, KnowsABrowserAsSoonAsItsProcessIsNamedAndDropsAHostWithoutOne) {
  x.add(100, kLeft);
  auto host = introduced({{.bounds = kLeft, .address = "https://a/"}}, 100, {"", ""});
  EXPECT_TRUE(readNow().empty());
  identities[100] = kChromium.bundleID;
  EXPECT_EQ(addressesNow(), Addresses{"https://a/"});
  EXPECT_TRUE(connect(1, "").isDropped());
}

TEST_F(BrowserLinkTest, NothingIsCalledAfterItsEnd) {
  auto host = introduced({{.bounds = kLeft}});
  watch();
  startRead();
  host.sayTab(1, 1, "https://b/");
  link.reset();
  world.advance(Seconds(5));
  EXPECT_TRUE(reports.empty() && news == 0);
}

}  // namespace
}  // namespace velmora
