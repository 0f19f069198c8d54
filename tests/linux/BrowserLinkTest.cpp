#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/BrowserLink.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinkConnection.h"
#include "platform/linux/SocketListeners.h"
#include "support/LinkBench.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

using sim::FakeHost;
using sim::ToldWindow;

const Browser kChromium{"Chromium", "org.chromium.Chromium", false, true};
const Browser kFirefox{"Firefox", "org.mozilla.firefox", false, true};
constexpr const char* kWall = "http://127.0.0.1:52700/?r=focus";
const Rect kLeft{0, 20, 800, 600};
const Rect kRight{800, 20, 700, 600};

// Shows one window until it is killed.
[[noreturn]] void playHost(const std::string& path) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  std::ignore = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address);
  const auto bytes = FakeHost::frame(
      R"({"type":"windows","windows":[{"id":1,"tab":{"id":5,"address":"https://a/"}}]})");
  std::ignore = write(fd, bytes.data(), bytes.size());
  for (;;) pause();
}

using Addresses = std::vector<std::string>;

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
    startRead({browser});
    EXPECT_EQ(reports.size(), 1u);
    return reports.empty() ? std::vector<WindowTab>{} : reports[0][browser.bundleID];
  }
  Addresses addressesNow(const Browser& browser = kChromium) {
    world.settle();
    Addresses all;
    for (const auto& tab : readNow(browser)) all.push_back(tab.address);
    return all;
  }
  void watch() {
    link->watch({kChromium.bundleID}, [this](const std::string& id) { heard.push_back(id); });
  }
  size_t changes() {
    world.settle();
    return std::exchange(heard, {}).size();
  }

  std::vector<TabReport> reports;
  std::vector<std::string> heard;
};

TEST_F(BrowserLinkTest, AnswersFromMemoryWithTheFramesOfTheDesktop) {
  x.add(100, kRight);
  x.add(100, {2, 22, 799, 601});
  auto host = introduced({{.id = 7, .bounds = kLeft, .tab = 70, .address = "https://a/"},
                          {.id = 8, .bounds = kRight, .tab = 80, .address = "https://b/"}});
  const std::vector<WindowTab> expected{{"1:7:70", 1, Rect{2, 22, 799, 601}, "https://a/"},
                                        {"1:8:80", 2, kRight, "https://b/"}};
  EXPECT_EQ(readNow(), expected);
  host.sayTab(7, 70, "https://c/");
  EXPECT_EQ(addressesNow(), (Addresses{"https://c/", "https://b/"}));
  EXPECT_TRUE(host.heard().empty());
}

TEST_F(BrowserLinkTest, LeavesOutWindowsThatCannotBeSeen) {
  x.add(100, kLeft);
  x.add(100, kRight).onScreen = false;  // told by the window manager only
  introduced({{.id = 1, .bounds = {0, 0, 400, 400}, .state = "minimized"},
              {.id = 2, .bounds = kRight, .address = "https://hidden/"},
              {.id = 3, .bounds = kLeft, .address = "https://shown/"}});
  const auto tabs = readNow();
  ASSERT_EQ(tabs.size(), 1u);
  EXPECT_EQ(tabs[0].address, "https://shown/");
  EXPECT_EQ(tabs[0].index, 3);
}

TEST_F(BrowserLinkTest, TwoProfilesWithEqualNumbersAreRedirectedEachByItself) {
  x.add(200, kLeft);
  x.add(201, kLeft);
  auto one = introduced({{.bounds = kLeft, .tab = 4, .address = "https://one/"}}, 200, kFirefox);
  auto two = introduced({{.bounds = kLeft, .tab = 4, .address = "https://two/"}}, 201, kFirefox);
  const auto tabs = readNow(kFirefox);
  ASSERT_EQ(tabs.size(), 2u);
  EXPECT_EQ(tabs[1].index, 2);
  link->send(kFirefox, tabs[1], kWall);
  EXPECT_TRUE(one.heard().empty());
  EXPECT_EQ(two.heard().size(), 1u);
}

TEST_F(BrowserLinkTest, ProfilesInOneProcessSharePairing) {
  x.add(100, kLeft, "Mail - Chromium");
  x.add(100, kLeft, "News - Chromium").onScreen = false;
  introduced({{.id = 1, .bounds = kLeft, .address = "https://news/", .title = "News"}});
  introduced({{.id = 2, .bounds = kLeft, .address = "https://mail/", .title = "Mail"}});
  EXPECT_EQ(addressesNow(), Addresses{"https://mail/"});
}

TEST_F(BrowserLinkTest, SendsOnlyToTheTabThatWasReported) {
  auto host = showing("https://a/");
  auto tab = readNow().at(0);
  host.sayTab(1, 6, "https://b/");
  world.settle();
  for (const std::string id :
       {tab.id.c_str(), "", "1", "1:1", "2:1:6", "1:9:6", "1:1:6:1", "a:b:c"}) {
    tab.id = id;
    link->send(kChromium, tab, kWall);
  }
  link->send(kFirefox, readNow().at(0), kWall);
  EXPECT_TRUE(host.heard().empty());
}

TEST_F(BrowserLinkTest, AnOrderNamesThePageThatWasJudged) {
  auto host = showing("https://judged/");
  const auto tab = readNow().at(0);
  host.sayTab(1, 5, "https://newer/");
  world.settle();
  link->send(kChromium, tab, kWall);
  const auto orders = host.heard();
  ASSERT_EQ(orders.size(), 1u);
  EXPECT_EQ(json::dump(orders[0]),
            R"({"type":"go","windowId":1,"tabId":5,"address":"http://127.0.0.1:52700/?r=focus",)"
            R"("from":"https://judged/"})");
}

TEST_F(BrowserLinkTest, AsksOnceForEachPictureThatDoesNotFit) {
  auto host = showing("https://a/");
  readNow();
  EXPECT_TRUE(host.requests().empty());

  x.list[0].frame = x.list[0].client = x.list[0].clientWithoutShadow = kRight;
  x.add(999, kLeft);  // another program's window and a menu are nothing to ask about
  x.add(100, kLeft).managed = false;
  startRead();
  const auto requests = host.requests();
  ASSERT_EQ(requests.size(), 1u);
  host.sayWindows({{.bounds = kLeft, .address = "https://a/"}});  // sent before it was asked
  world.settle();
  EXPECT_TRUE(reports.empty());
  host.sayWindows({{.bounds = kRight, .address = "https://b/"}}, requests[0]);
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0][kChromium.bundleID].at(0).bounds, kRight);

  x.add(100, kLeft, "Private");  // one that the extension may not see
  startRead();
  host.sayWindows({{.bounds = kRight, .address = "https://b/"}}, host.requests().at(0));
  EXPECT_EQ(addressesNow(), Addresses{"https://b/"});
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
  EXPECT_FALSE(reports[0].contains(kChromium.bundleID));
  EXPECT_EQ(reports[0][kFirefox.bundleID].size(), 1u);
  EXPECT_TRUE(readNow().empty());
  EXPECT_EQ(mute.requests().size(), 1u);

  mute.sayHello();
  world.settle();
  startRead();
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(mute.requests().size(), 1u);
  mute.sayWindows({{.address = "https://b/"}});
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_FALSE(reports[0][kChromium.bundleID].at(0).bounds) << "it is nowhere on the desktop";
}

TEST_F(BrowserLinkTest, ALostLinkEndsTheWaitAndItsTabs) {
  x.add(100, kLeft);
  auto host = connect(100, kChromium.bundleID);
  startRead();
  host.client->close();
  world.settle();
  EXPECT_EQ(reports, std::vector<TabReport>{{}});

  auto again = introduced({{.bounds = kLeft, .address = "https://a/"}});
  const auto tab = readNow().at(0);
  again.client->close();
  EXPECT_TRUE(addressesNow().empty());
  link->send(kChromium, tab, kWall);
  EXPECT_TRUE(link->linked().empty());
}

TEST_F(BrowserLinkTest, TellsOfChangesThatAreSeen) {
  ToldWindow window{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/", .title = "A"};
  watch();
  auto host = introduced({window});
  EXPECT_EQ(changes(), 1u);

  window.title = "B";
  window.bounds = kRight;
  host.sayWindows({window});
  host.sayTab(1, 5, "https://a/");
  EXPECT_EQ(changes(), 0u) << "places and titles";
  host.sayTab(1, 5, "https://b/");
  EXPECT_EQ(changes(), 1u) << "an address";
  host.sayTab(1, 6, "https://b/");
  EXPECT_EQ(changes(), 1u) << "another tab";
  window.state = "minimized";
  host.sayWindows({window});
  EXPECT_EQ(changes(), 1u) << "a window that is no longer seen";
  host.client->close();
  EXPECT_EQ(changes(), 1u) << "a browser that has gone";
}

TEST_F(BrowserLinkTest, SurvivesMalformedMessages) {
  auto host = showing("https://a/");
  log.debugLines.clear();
  const std::vector<std::string> malformed{
      "{",
      "[]",
      "\xff\xfe",
      R"({"type":7})",
      R"({"type":"bye"})",
      R"({"type":"tab","windowId":1,"tabId":5})",
      R"({"type":"tab","windowId":1.5,"tabId":5,"address":"https://x/"})",
      R"({"type":"windows","windows":[{"id":1,"tab":{"id":5,"address":7}}]})",
      R"({"type":"hello","protocol":"1","browser":"chromium"})"};
  for (const auto& message : malformed) host.say(message);
  host.say("");
  host.sayTab(9, 5, "https://x/");
  EXPECT_EQ(addressesNow(), Addresses{"https://a/"});
  EXPECT_EQ(log.debugLines.size(), malformed.size());
  host.say(R"({"type":"tab","windowId":1,"tabId":5,"address":"https://b/","new":[1],"why":3})");
  EXPECT_EQ(addressesNow(), Addresses{"https://b/"});
}

TEST_F(BrowserLinkTest, PutsFramesTogetherFromAnyPiecesUntilOneIsTooLong) {
  auto host = showing("https://a/");
  std::string longest = R"({"type":"tab","windowId":1,"tabId":5,"address":"https://long/","pad":")";
  longest.resize(LinkFrames::kLongestMessage - 2, 'x');
  const auto bytes = FakeHost::frame(longest + "\"}");
  for (const char byte : bytes.substr(0, 50)) {
    host.client->send({&byte, 1});
    world.settle();
  }
  host.client->send(bytes.substr(50));
  EXPECT_EQ(addressesNow(), Addresses{"https://long/"});

  host.say(longest + "x\"}");
  world.settle();
  EXPECT_TRUE(host.isDropped());
  EXPECT_EQ(log.notices.size(), 1u);
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

TEST_F(BrowserLinkTest, ShowsWhatIsLinked) {
  introduced({{.id = 1, .address = "https://a/", .title = "A", .isPrivate = true},
              {.id = 2, .address = "https://b/", .state = "minimized"}});
  const std::vector<LinkedBrowser> expected{
      {kChromium.bundleID, 100, "chromium", "150.1", "0.2", true, {{"https://a/", "A", true}}}};
  EXPECT_EQ(link->linked(), expected);
}

TEST_F(BrowserLinkTest, KnowsABrowserAsSoonAsItsProcessIsNamed) {
  x.add(100, kLeft);
  auto host = introduced({{.bounds = kLeft, .address = "https://a/"}}, 100, {"", ""});
  EXPECT_TRUE(readNow().empty());
  identities[100] = kChromium.bundleID;
  EXPECT_EQ(addressesNow(), Addresses{"https://a/"});
}

TEST_F(BrowserLinkTest, DropsAHostWhoseBrowserHasGone) {
  EXPECT_TRUE(connect(1, "").isDropped());
}

TEST_F(BrowserLinkTest, NothingIsCalledAfterItsEnd) {
  auto host = introduced({{.bounds = kLeft}});
  watch();
  startRead();
  host.sayTab(1, 1, "https://b/");
  link.reset();
  world.advance(Seconds(5));
  EXPECT_TRUE(reports.empty());
  EXPECT_TRUE(heard.empty());
}

// The child of this process plays the host, so that this process is its browser.
TEST(BrowserLinkOverASocket, KnowsTheBrowserByItsHostsParent) {
  const TempFolder folder;
  EventLoop loop;
  SocketListeners listeners(folder.path(), {SocketLane(loop)});
  const sim::FakeXWindows x;
  sim::FakeLog log;
  const auto nameUs = [](int32_t pid) { return pid == getpid() ? kChromium.bundleID : ""; };
  BrowserLink link(loop, x, log, {parentProcess, nameUs});
  link.watch({kChromium.bundleID}, [&](const std::string&) { loop.quit(); });
  std::string error;
  ASSERT_TRUE(link.listen(listeners, error)) << error;
  const pid_t host = fork();
  if (host == 0) playHost(listeners.path("browser"));
  const auto patience = loop.after(Seconds(5), [&] { loop.quit(); });
  loop.run();
  const auto linked = link.linked();
  kill(host, SIGKILL);
  waitpid(host, nullptr, 0);
  ASSERT_EQ(linked.size(), 1u);
  EXPECT_EQ(linked[0].bundleID, kChromium.bundleID);
  EXPECT_EQ(linked[0].pages.at(0).address, "https://a/");
}

}  // namespace
}  // namespace velmora
