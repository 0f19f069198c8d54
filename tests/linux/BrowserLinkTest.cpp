#include <gtest/gtest.h>
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

// Shows one window, then the page that it is sent to, until the other side ends it. The result is 0
// when all went well.
int playHost(const std::string& path) {
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) return 1;
  const auto say = [fd](json::Value::Object message) {
    const auto bytes = FakeHost::frame(json::dump(std::move(message)));
    return write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  };
  const ToldWindow window{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/"};
  if (!say({{"type", "windows"}, {"windows", json::Value::Array{window.value()}}})) return 2;
  LinkFrames frames;
  char bytes[512];
  int orders = 0;
  for (ssize_t size = 0; (size = read(fd, bytes, sizeof bytes)) > 0;) {
    frames.append({bytes, static_cast<size_t>(size)});
    while (const auto text = frames.next()) {
      const auto order = json::parse(*text).value_or(json::Value());
      const auto* to = order.find("address");
      if (!to) continue;
      ++orders;
      say({{"type", "tab"}, {"windowId", 1}, {"tabId", 5}, {"address", *to}});
    }
  }
  return orders == 1 ? 0 : 3;
}

struct BrowserLinkTest : testing::Test, sim::LinkBench {
  FakeHost chromium(const std::vector<ToldWindow>& windows, int32_t pid = 100) {
    return introduced(pid, kChromium, windows);
  }
  FakeHost firefox(const std::vector<ToldWindow>& windows, int32_t pid) {
    return introduced(pid, kFirefox, windows);
  }
  FakeHost introduced(int32_t pid, const Browser& browser, const std::vector<ToldWindow>& windows) {
    FakeHost host = connect(pid, browser.bundleID);
    host.sayHello();
    host.sayWindows(windows);
    world.settle();
    return host;
  }
  void startRead(const std::vector<Browser>& browsers = {kChromium, kFirefox}) {
    reports.clear();
    link->read({browsers, std::nullopt}, [this](TabReport r) { reports.push_back(std::move(r)); });
    EXPECT_TRUE(reports.empty());
  }
  // Of a browser that is not waited for.
  std::vector<WindowTab> readNow(const Browser& browser = kChromium) {
    startRead({browser});
    world.settle();
    EXPECT_EQ(reports.size(), 1u);
    return reports.empty() ? std::vector<WindowTab>{} : reports[0][browser.bundleID];
  }
  static std::vector<std::string> addresses(const std::vector<WindowTab>& tabs) {
    std::vector<std::string> all;
    for (const auto& tab : tabs) all.push_back(tab.address);
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
  auto host = chromium({{.id = 7, .bounds = kLeft, .tab = 70, .address = "https://a/"},
                        {.id = 8, .bounds = kRight, .tab = 80, .address = "https://b/"}});
  const std::vector<WindowTab> expected{{"1:7:70", 1, Rect{2, 22, 799, 601}, "https://a/"},
                                        {"1:8:80", 2, kRight, "https://b/"}};
  EXPECT_EQ(readNow(), expected);
  host.sayTab(7, 70, "https://c/");
  world.settle();
  EXPECT_EQ(addresses(readNow()), (std::vector<std::string>{"https://c/", "https://b/"}));
  EXPECT_TRUE(host.heard().empty());
}

TEST_F(BrowserLinkTest, ScaledDisplaysPairToo) {
  for (const double scale : {1.5, 2.0}) {
    x.list.clear();
    const Rect frame{100 * scale, 50 * scale, 801 * scale, 600 * scale};
    x.add(100, frame);
    auto host = chromium({{.bounds = {100, 50, 801, 600}, .address = "https://a/"}});
    const auto tabs = readNow();
    ASSERT_EQ(tabs.size(), 1u);
    EXPECT_EQ(tabs[0].bounds, frame);
    host.close();
    world.settle();
  }
}

TEST_F(BrowserLinkTest, LeavesOutWindowsThatCannotBeSeen) {
  x.add(100, kLeft);
  x.add(100, kRight).onScreen = false;  // told by the window manager only
  chromium({{.id = 1, .bounds = {0, 0, 400, 400}, .state = "minimized"},
            {.id = 2, .bounds = kRight, .address = "https://hidden/"},
            {.id = 3, .bounds = kLeft, .address = "https://shown/"}});
  const auto tabs = readNow();
  ASSERT_EQ(tabs.size(), 1u);
  EXPECT_EQ(tabs[0].address, "https://shown/");
  EXPECT_EQ(tabs[0].index, 3);
}

TEST_F(BrowserLinkTest, AWindowWithoutAPlaceHasNoBounds) {
  auto host = chromium({{.address = "https://a/"}});
  startRead({kChromium});
  world.settle();
  host.sayWindows({{.address = "https://a/"}}, host.requests().at(0));
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  const auto& tabs = reports[0][kChromium.bundleID];
  ASSERT_EQ(tabs.size(), 1u);
  EXPECT_FALSE(tabs[0].bounds);
}

TEST_F(BrowserLinkTest, TwoProfilesWithEqualNumbersAreRedirectedEachByItself) {
  x.add(200, kLeft);
  x.add(201, kLeft);
  auto one = firefox({{.id = 1, .bounds = kLeft, .tab = 4, .address = "https://one/"}}, 200);
  auto two = firefox({{.id = 1, .bounds = kLeft, .tab = 4, .address = "https://two/"}}, 201);
  const auto tabs = readNow(kFirefox);
  ASSERT_EQ(addresses(tabs), (std::vector<std::string>{"https://one/", "https://two/"}));
  EXPECT_EQ(tabs[1].index, 2);
  link->send(kFirefox, tabs[1], kWall);
  EXPECT_TRUE(one.heard().empty());
  const auto orders = two.heard();
  ASSERT_EQ(orders.size(), 1u);
  EXPECT_EQ(json::dump(orders[0]),
            R"({"type":"go","windowId":1,"tabId":4,"address":"http://127.0.0.1:52700/?r=focus"})");
}

TEST_F(BrowserLinkTest, ProfilesInOneProcessSharePairing) {
  x.add(100, kLeft, "Mail - Chromium");
  x.add(100, kLeft, "News - Chromium");
  chromium({{.id = 1, .bounds = kLeft, .address = "https://news/", .title = "News"}});
  auto other = chromium({{.id = 2, .bounds = kLeft, .address = "https://mail/", .title = "Mail"}});
  x.list[1].onScreen = false;
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://mail/"});
  EXPECT_TRUE(other.requests().empty());
}

TEST_F(BrowserLinkTest, SendsOnlyToTheTabThatWasReported) {
  x.add(100, kLeft);
  auto host = chromium({{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/"}});
  const auto tab = readNow().at(0);
  host.sayTab(1, 6, "https://b/");
  world.settle();
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://b/"});
  link->send(kChromium, tab, kWall);
  for (const std::string id : {"", "1", "1:1", "2:1:6", "1:9:6", "1:1:6:1", "a:b:c"}) {
    WindowTab unknown = tab;
    unknown.id = id;
    link->send(kChromium, unknown, kWall);
  }
  link->send(kFirefox, readNow().at(0), kWall);
  EXPECT_TRUE(host.heard().empty());
  const auto shown = readNow().at(0);
  for (int i = 0; i < 3; ++i) link->send(kChromium, shown, kWall);
  world.settle();
  EXPECT_EQ(host.heard().size(), 3u);
}

TEST_F(BrowserLinkTest, AsksOnceForEachPictureThatDoesNotFit) {
  x.add(100, kLeft);
  auto host = chromium({{.bounds = kLeft, .address = "https://a/"}});
  readNow();
  EXPECT_TRUE(host.requests().empty());

  x.list[0].frame = x.list[0].client = x.list[0].clientWithoutShadow = kRight;
  x.add(999, kLeft);  // another program's window and a menu are nothing to ask about
  x.add(100, kLeft).managed = false;
  startRead({kChromium});
  world.advance(Seconds(0.5));
  EXPECT_TRUE(reports.empty());
  const auto requests = host.requests();
  ASSERT_EQ(requests.size(), 1u);
  host.sayWindows({{.bounds = kLeft, .address = "https://a/"}});  // sent before it was asked
  world.settle();
  EXPECT_TRUE(reports.empty());
  host.sayWindows({{.bounds = kRight, .address = "https://b/"}}, requests[0]);
  world.settle();
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_EQ(reports[0][kChromium.bundleID].at(0).address, "https://b/");
  EXPECT_EQ(reports[0][kChromium.bundleID].at(0).bounds, kRight);

  x.add(100, kLeft, "Private");  // one that the extension may not see
  startRead({kChromium});
  world.settle();
  host.sayWindows({{.bounds = kRight, .address = "https://b/"}}, host.requests().at(0));
  world.settle();
  EXPECT_EQ(reports.size(), 1u);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(addresses(readNow()).size(), 1u);
  EXPECT_TRUE(host.requests().empty());
  x.list.back().title = "Still private";
  startRead({kChromium});
  EXPECT_EQ(host.requests().size(), 1u);
}

TEST_F(BrowserLinkTest, WaitsThreeSecondsForAMuteBrowserAndOnlyOnce) {
  x.add(100, kLeft);
  x.add(200, kLeft);
  auto mute = connect(100, kChromium.bundleID);
  auto other = firefox({{.bounds = kLeft, .address = "https://a/"}}, 200);
  startRead();
  world.advance(Seconds(2.9));
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(mute.requests().size(), 1u);
  world.advance(Seconds(0.2));
  ASSERT_EQ(reports.size(), 1u);
  EXPECT_FALSE(reports[0].contains(kChromium.bundleID));
  EXPECT_EQ(reports[0][kFirefox.bundleID].size(), 1u);

  EXPECT_TRUE(readNow().empty());
  EXPECT_TRUE(mute.requests().empty());
  mute.sayWindows({{.bounds = kLeft, .address = "https://b/"}});
  world.settle();
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://b/"});
}

TEST_F(BrowserLinkTest, ABrowserThatSpeaksAgainIsWaitedForAgain) {
  auto host = connect(100, kChromium.bundleID);
  startRead({kChromium});
  world.advance(Seconds(3.1));
  EXPECT_EQ(reports.size(), 1u);
  host.sayHello();
  world.settle();
  startRead({kChromium});
  world.settle();
  EXPECT_TRUE(reports.empty());
  EXPECT_EQ(host.requests().size(), 2u);
  host.sayWindows({});
  world.settle();
  EXPECT_EQ(reports.size(), 1u);
}

TEST_F(BrowserLinkTest, ALostLinkEndsTheWaitAndItsTabs) {
  x.add(100, kLeft);
  auto host = connect(100, kChromium.bundleID);
  startRead({kChromium});
  host.close();
  world.settle();
  EXPECT_EQ(reports, std::vector<TabReport>{{}});
  EXPECT_TRUE(host.isDropped());

  auto again = chromium({{.bounds = kLeft, .address = "https://a/"}});
  const auto tab = readNow().at(0);
  again.close();
  world.settle();
  EXPECT_TRUE(readNow().empty());
  link->send(kChromium, tab, kWall);
  EXPECT_TRUE(link->linked().empty());
}

TEST_F(BrowserLinkTest, TellsOfChangesThatAreSeen) {
  ToldWindow window{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/", .title = "A"};
  watch();
  auto host = chromium({window});
  EXPECT_EQ(changes(), 1u);

  host.sayWindows({window});
  window.title = "B";
  window.bounds = kRight;
  host.sayWindows({window});
  host.sayTab(1, 5, "https://a/");
  EXPECT_EQ(changes(), 0u);

  host.sayTab(1, 5, "https://b/");
  EXPECT_EQ(changes(), 1u);
  host.sayTab(1, 6, "https://b/");
  EXPECT_EQ(changes(), 1u);
  window.state = "minimized";
  host.sayWindows({window});
  EXPECT_EQ(changes(), 1u);
  host.sayWindows({window, {.id = 2}});
  EXPECT_EQ(changes(), 1u);
  host.close();
  EXPECT_EQ(changes(), 1u);

  auto other = firefox({window}, 200);
  EXPECT_EQ(changes(), 0u);
}

TEST_F(BrowserLinkTest, TheModelIsKeptWhileNobodyWatches) {
  x.add(100, kLeft);
  watch();
  auto host = chromium({{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/"}});
  changes();
  link->unwatch();
  host.sayTab(1, 5, "https://b/");
  EXPECT_EQ(changes(), 0u);
  watch();
  EXPECT_EQ(changes(), 0u);
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://b/"});
}

TEST_F(BrowserLinkTest, NewsThatIsUnderWayDiesWithItsWatch) {
  auto one = chromium({{.id = 1, .tab = 5}});
  auto two = firefox({{.id = 1, .tab = 5}}, 200);
  link->watch({kChromium.bundleID, kFirefox.bundleID}, [this](const std::string& id) {
    heard.push_back(id);
    watch();
  });
  one.sayTab(1, 5, "https://b/");
  two.sayTab(1, 5, "https://b/");
  EXPECT_EQ(changes(), 1u);
}

TEST_F(BrowserLinkTest, SurvivesMalformedMessages) {
  x.add(100, kLeft);
  auto host = chromium({{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/"}});
  log.debugLines.clear();
  const std::vector<std::string> malformed{
      "{",
      "[]",
      "null",
      "\xff\xfe",
      R"({"type":7})",
      R"({"type":"bye"})",
      R"({"type":"tab","windowId":1,"tabId":5})",
      R"({"type":"tab","windowId":"1","tabId":5,"address":"https://x/"})",
      R"({"type":"tab","windowId":1.5,"tabId":5,"address":"https://x/"})",
      R"({"type":"windows","windows":{}})",
      R"({"type":"windows","windows":[{"id":1,"tab":{"id":5,"address":7}}]})",
      R"({"type":"hello","protocol":"1","browser":"chromium"})"};
  for (const auto& message : malformed) host.say(message);
  host.say("");
  host.say(R"({"type":"tab","windowId":9,"tabId":5,"address":"https://x/"})");
  world.settle();
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://a/"});
  EXPECT_EQ(log.debugLines.size(), malformed.size());
  host.say(R"({"type":"tab","windowId":1,"tabId":5,"address":"https://b/","new":[1],"why":3})");
  world.settle();
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://b/"});
}

TEST_F(BrowserLinkTest, PutsFramesTogetherFromAnyPieces) {
  x.add(100, kLeft);
  auto host = chromium({{.id = 1, .bounds = kLeft, .tab = 5}});
  const auto news =
      FakeHost::frame(R"({"type":"tab","windowId":1,"tabId":5,"address":"https://piecewise/"})");
  for (const char byte : news) {
    host.sendBytes({&byte, 1});
    world.settle();
  }
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://piecewise/"});

  std::string longest = R"({"type":"tab","windowId":1,"tabId":5,"address":"https://long/","pad":")";
  longest.resize(LinkFrames::kLongestMessage - 2, 'x');
  host.say(longest + "\"}");
  world.settle();
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://long/"});
}

TEST_F(BrowserLinkTest, DropsALinkWhoseMessageIsTooLong) {
  auto host = chromium({{.address = "https://a/"}});
  const uint32_t length = LinkFrames::kLongestMessage + 1;
  host.sendBytes({reinterpret_cast<const char*>(&length), sizeof length});
  world.settle();
  EXPECT_TRUE(host.isDropped());
  EXPECT_TRUE(link->linked().empty());
  EXPECT_EQ(log.notices.size(), 1u);
}

TEST_F(BrowserLinkTest, DropsALinkThatDoesNotReadWhatItIsTold) {
  x.add(100, kLeft);
  auto host = chromium({{.id = 1, .bounds = kLeft, .tab = 5, .address = "https://a/"}});
  host.stall();
  const auto tab = readNow().at(0);
  const std::string address(LinkConnection::kMostQueuedBytes / 4, 'x');
  for (int i = 0; i < 3; ++i) link->send(kChromium, tab, address);
  world.settle();
  EXPECT_FALSE(host.isDropped());
  link->send(kChromium, tab, address);
  world.settle();
  EXPECT_TRUE(host.isDropped());
  EXPECT_TRUE(readNow().empty());
}

TEST_F(BrowserLinkTest, ShowsWhatIsLinked) {
  int writes = 0;
  const auto token = link->linkedRevision().onWrite([&](uint64_t) { ++writes; });
  auto host = chromium({{.id = 1, .address = "https://a/", .title = "A", .isPrivate = true},
                        {.id = 2, .address = "https://b/", .state = "minimized"}});
  const std::vector<LinkedBrowser> expected{
      {kChromium.bundleID, 100, "chromium", "150.1", "0.2", true, {{"https://a/", "A", true}}}};
  EXPECT_EQ(link->linked(), expected);
  const int before = writes;
  EXPECT_GT(before, 0);
  host.close();
  world.settle();
  EXPECT_GT(writes, before);
}

TEST_F(BrowserLinkTest, KnowsABrowserAsSoonAsItsProcessIsNamed) {
  x.add(100, kLeft);
  auto host = introduced(100, {"", "", false, true}, {{.bounds = kLeft, .address = "https://a/"}});
  EXPECT_TRUE(readNow().empty());
  identities[100] = kChromium.bundleID;
  EXPECT_EQ(addresses(readNow()), std::vector<std::string>{"https://a/"});
}

TEST_F(BrowserLinkTest, DropsAHostWhoseBrowserHasGone) {
  auto host = connect(1, "");
  EXPECT_TRUE(host.isDropped());
  EXPECT_EQ(parentProcess(getpid()), getppid());
  EXPECT_EQ(parentProcess(-1), 0);
}

TEST_F(BrowserLinkTest, NothingIsCalledAfterItsEnd) {
  auto host = chromium({{.bounds = kLeft}});
  watch();
  startRead({kChromium});
  host.sayTab(1, 1, "https://b/");
  link.reset();
  world.advance(Seconds(5));
  EXPECT_TRUE(reports.empty());
  EXPECT_TRUE(heard.empty());
  EXPECT_TRUE(host.isDropped());
}

// The child of this process plays the host, so that this process is its browser.
TEST(BrowserLinkOverASocket, KnowsTheBrowserByItsHostsParent) {
  const TempFolder folder;
  std::vector<std::string> addresses;
  pid_t host = 0;
  {
    EventLoop loop;
    SocketListeners listeners(folder.path(), {SocketLane(loop)});
    sim::FakeXWindows x;
    x.add(getpid(), kLeft);
    sim::FakeLog log;
    BrowserLink link(loop, x, log, {parentProcess, [](int32_t pid) {
                                      return pid == getpid() ? kChromium.bundleID : "";
                                    }});
    link.watch({kChromium.bundleID}, [&](const std::string&) {
      link.read({{kChromium}, std::nullopt}, [&](TabReport report) {
        for (const auto& tab : report[kChromium.bundleID]) {
          addresses.push_back(tab.address);
          if (tab.address == kWall) return loop.quit();
          link.send(kChromium, tab, kWall);
        }
      });
    });
    std::string error;
    ASSERT_TRUE(link.listen(listeners, error)) << error;
    host = fork();
    if (host == 0) _exit(playHost(listeners.path("browser")));
    const auto patience = loop.after(Seconds(5), [&] { loop.quit(); });
    loop.run();
  }
  EXPECT_EQ(addresses, (std::vector<std::string>{"https://a/", kWall}));
  int status = -1;
  waitpid(host, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace velmora
