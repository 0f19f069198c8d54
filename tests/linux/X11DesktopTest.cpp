#include <signal.h>
#include <time.h>
#include <xcb/randr.h>

#include <algorithm>
#include <atomic>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using test::Child;
using test::eventually;
using test::PrivateXServer;
using test::XClient;

const Rect kScreen{0, 0, 1280, 1024};

// A desktop on a server of its own.
class X11DesktopTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::hasProgram("Xvfb")) GTEST_SKIP() << "needs Xvfb";
    if (!test::hasProgram("openbox")) GTEST_SKIP() << "needs openbox";
    signal(SIGPIPE, SIG_IGN);
    server.emplace();
    client = std::make_unique<XClient>(server->display());
    startDesktop();
  }

  void startDesktop() {
    desktop = std::make_unique<X11Desktop>(
        loop, catalog, clock, X11Desktop::Options{server->display(), [this] { return onConsole; }});
  }

  void startWindowManager() {
    server->startWindowManager();
    ASSERT_TRUE(client->awaitWindowManager());
  }

  // A managed window that the desktop lists.
  xcb_window_t open(const XClient::Look& look = {}) {
    const xcb_window_t window = client->open(look);
    EXPECT_TRUE(eventually([&] { return isOnScreen(window); }));
    return window;
  }

  DesktopSnapshot look(bool pointer = false) { return desktop->snapshot({.pointer = pointer}); }

  std::optional<X11Window> find(xcb_window_t window) {
    look();
    const auto found = std::ranges::find(desktop->windows(), window, &X11Window::id);
    return found == desktop->windows().end() ? std::nullopt : std::optional(*found);
  }
  bool isOnScreen(xcb_window_t window) {
    const auto found = find(window);
    return found && found->onScreen;
  }
  // As the snapshot shows it.
  std::optional<ScreenWindow> shown(xcb_window_t window) {
    const auto snapshot = look();
    size_t place = 0;
    for (const auto& seen : desktop->windows()) {
      if (!seen.onScreen) continue;
      if (seen.id == window) return snapshot.windows->at(place);
      ++place;
    }
    return std::nullopt;
  }
  int layerOf(xcb_window_t window) {
    const auto w = shown(window);
    return w ? w->layer : -1;
  }
  std::vector<xcb_window_t> frontToBack() {
    look();
    std::vector<xcb_window_t> out;
    for (const auto& window : desktop->windows()) {
      if (window.onScreen) out.push_back(window.id);
    }
    return out;
  }
  bool becomes(const std::vector<xcb_window_t>& order) {
    return eventually([&] { return frontToBack() == order; });
  }
  // Waits until the server has told of all that happened.
  void settle() {
    uint64_t before = 0;
    EXPECT_TRUE(eventually([&] {
      const uint64_t reads = desktop->fullReads();
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      look();
      return desktop->fullReads() == reads && ++before >= 2;
    }));
  }

  std::optional<PrivateXServer> server;
  std::unique_ptr<XClient> client;
  EventLoop loop;
  sim::World world;
  sim::FakeClock clock{world};
  LinuxAppCatalog catalog;
  bool onConsole = true;
  std::unique_ptr<X11Desktop> desktop;
};

TEST_F(X11DesktopTest, FramesHoldTheTitleBar) {
  startWindowManager();
  const auto window = open(
      {.frame = {200, 150, 400, 300}, .instance = "one", .windowClass = "One", .title = "Grüße"});
  ASSERT_TRUE(eventually([&] { return find(window)->frame == client->outerFrame(window); }));
  const X11Window seen = *find(window);
  EXPECT_EQ(seen.pid, getpid());
  EXPECT_EQ(seen.client.width, 400);
  EXPECT_EQ(seen.clientWithoutShadow, seen.client);
  EXPECT_GT(seen.frame.height, seen.client.height);
  EXPECT_EQ(seen.title, "Grüße");
  EXPECT_EQ(seen.windowInstance, "one");
  EXPECT_EQ(seen.windowClass, "One");
  EXPECT_TRUE(seen.managed);
  const ScreenWindow expected{getpid(), kNormalLayer, 1.0, seen.frame};
  EXPECT_EQ(look().windows, std::vector{expected});
}

TEST_F(X11DesktopTest, AnInvisibleShadowIsNoPartOfTheWindow) {
  startWindowManager();
  const auto window = client->make({.frame = {200, 150, 400, 300}});
  client->setCardinals(window, "_GTK_FRAME_EXTENTS", {4, 6, 1, 9});
  // Undecorated, as such windows are.
  client->setCardinals(window, "_MOTIF_WM_HINTS", {2, 0, 0, 0, 0});
  xcb_map_window(client->raw(), window);
  client->sync();
  ASSERT_TRUE(eventually([&] { return isOnScreen(window); }));
  const auto seen = *find(window);
  const Rect c = seen.client;
  EXPECT_EQ(seen.clientWithoutShadow, (Rect{c.x + 4, c.y + 1, 390, 290}));
  const Rect outer = client->outerFrame(window);
  EXPECT_EQ(seen.frame, (Rect{outer.x + 4, outer.y + 1, outer.width - 10, outer.height - 10}));

  client->setCardinals(window, "_GTK_FRAME_EXTENTS", {4000, 6, 1, 9});
  EXPECT_TRUE(
      eventually([&] { return find(window)->clientWithoutShadow == find(window)->client; }));
}

TEST_F(X11DesktopTest, FollowsTheStackingOrder) {
  startWindowManager();
  const auto a = open({.frame = {0, 0, 300, 300}});
  const auto b = open({.frame = {50, 50, 300, 300}});
  const auto c = open({.frame = {90, 90, 300, 300}});
  ASSERT_TRUE(becomes({c, b, a}));
  client->activate(a);
  EXPECT_TRUE(becomes({a, c, b}));
  client->destroy(c);
  EXPECT_TRUE(becomes({a, b}));
}

TEST_F(X11DesktopTest, MinimisedWindowsKeepTheirApplicationOnly) {
  startWindowManager();
  const auto a = open({.frame = {0, 0, 300, 300}});
  const auto b = open({.frame = {50, 50, 300, 300}});
  client->minimise(a);
  client->sendToWorkspace(b, 2);
  ASSERT_TRUE(becomes({}));
  const auto snapshot = look();
  EXPECT_EQ(snapshot.windows, std::vector<ScreenWindow>{});
  EXPECT_EQ(snapshot.applications, (std::vector<RunningApplication>{{getpid(), "Box"}}));
  EXPECT_TRUE(find(a) && find(b));

  client->request(client->root(), "_NET_CURRENT_DESKTOP", {2, 0});
  EXPECT_TRUE(becomes({b}));
  client->request(client->root(), "_NET_CURRENT_DESKTOP", {0, 0});
  client->activate(a);
  EXPECT_TRUE(becomes({a}));
}

TEST_F(X11DesktopTest, StickyWindowsAreOnEveryWorkspace) {
  startWindowManager();
  const auto a = open();
  client->sendToWorkspace(a, 0xFFFFFFFF);
  client->request(client->root(), "_NET_CURRENT_DESKTOP", {1, 0});
  settle();
  EXPECT_EQ(frontToBack(), std::vector{a});
}

TEST_F(X11DesktopTest, OnlyPanelsWallpapersAndNotificationsLeaveTheNormalLayer) {
  startWindowManager();
  const auto normal = open({.frame = {0, 300, 200, 100}});
  const auto dialog = open({.frame = {250, 300, 200, 100}, .type = "DIALOG"});
  const auto above = open({.frame = {500, 300, 200, 100}});
  client->addState(above, "ABOVE");
  const auto dock = open({.frame = {0, 900, 1280, 40}, .type = "DOCK"});
  const auto note = open({.frame = {900, 20, 200, 80}, .type = "NOTIFICATION"});
  const auto wallpaper = open({.frame = kScreen, .type = "DESKTOP"});
  settle();
  for (const auto window : {normal, dialog, above}) EXPECT_EQ(layerOf(window), kNormalLayer);
  for (const auto window : {dock, note, wallpaper}) EXPECT_EQ(layerOf(window), kFloatingLayer);
  EXPECT_EQ(frontToBack().back(), wallpaper);

  // Neither a second type nor a property of ours makes an ordinary window float.
  const xcb_atom_t types[] = {client->atom("_NET_WM_WINDOW_TYPE_NORMAL"),
                              client->atom("_NET_WM_WINDOW_TYPE_DOCK")};
  xcb_change_property(client->raw(), XCB_PROP_MODE_REPLACE, normal,
                      client->atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, 32, 2, types);
  client->setCardinals(normal, kLayerProperty, {3});
  settle();
  EXPECT_EQ(layerOf(normal), kNormalLayer);
}

TEST_F(X11DesktopTest, OverrideRedirectWindowsHaveTheirPlaceInTheStack) {
  startWindowManager();
  const auto a = open({.frame = {0, 0, 300, 300}});
  const auto b = open({.frame = {50, 50, 300, 300}});
  const auto popup = open({.frame = {60, 60, 100, 100}, .isOverride = true});
  ASSERT_TRUE(becomes({popup, b, a}));
  EXPECT_EQ(layerOf(popup), kFloatingLayer);
  EXPECT_FALSE(find(popup)->managed);
  client->stack(popup, XCB_STACK_MODE_BELOW);
  EXPECT_TRUE(becomes({b, a, popup}));
  client->unmap(popup);
  EXPECT_TRUE(becomes({b, a}));
  EXPECT_EQ(find(popup), std::nullopt);
}

TEST_F(X11DesktopTest, OurOwnSurfacesSayTheirLayer) {
  startWindowManager();
  const auto cover = client->make({.frame = {10, 10, 200, 200}, .isOverride = true});
  const auto gate = client->make({.frame = kScreen, .isOverride = true});
  client->setCardinals(cover, kLayerProperty, {3});
  client->setCardinals(gate, kLayerProperty, {1000});
  xcb_map_window(client->raw(), cover);
  xcb_map_window(client->raw(), gate);
  client->sync();
  ASSERT_TRUE(becomes({gate, cover}));
  EXPECT_EQ(layerOf(cover), 3);
  EXPECT_EQ(layerOf(gate), 1000);
  client->setCardinals(gate, kLayerProperty, {70000});
  EXPECT_TRUE(eventually([&] { return layerOf(gate) == kFloatingLayer; }));
}

// A program of its own that covers the whole screen past the window manager.
class ScreenLocker {
 public:
  explicit ScreenLocker(const std::string& display, const Rect& frame) {
    int ready[2];
    if (pipe(ready) != 0) return;
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      XClient locker(display);
      const auto window = locker.open({.frame = frame, .isOverride = true});
      if (write(ready[1], &window, sizeof window) < 0) _exit(1);
      for (;;) pause();
    }
    if (read(ready[0], &window_, sizeof window_) < 0) window_ = 0;
    close(ready[0]);
    close(ready[1]);
  }
  ScreenLocker(const ScreenLocker&) = delete;
  ScreenLocker& operator=(const ScreenLocker&) = delete;
  ~ScreenLocker() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  pid_t pid() const { return pid_; }
  xcb_window_t window() const { return window_; }

 private:
  pid_t pid_ = -1;
  xcb_window_t window_ = 0;
};

TEST_F(X11DesktopTest, AForeignWindowOverAWholeMonitorIsALocker) {
  startWindowManager();
  const auto a = open();
  ScreenLocker locker(server->display(), kScreen);
  ASSERT_TRUE(becomes({locker.window(), a}));
  EXPECT_EQ(find(locker.window())->pid, locker.pid());
  EXPECT_EQ(layerOf(locker.window()), kScreenSaverLayer);
  // Under a window of the user's it locks nothing: a live wallpaper.
  client->stack(locker.window(), XCB_STACK_MODE_BELOW);
  ASSERT_TRUE(becomes({a, locker.window()}));
  EXPECT_EQ(layerOf(locker.window()), kFloatingLayer);
}

TEST_F(X11DesktopTest, NearlyAWholeMonitorIsNoLocker) {
  startWindowManager();
  ScreenLocker game(server->display(), {0, 0, 1280, 1000});
  ASSERT_TRUE(becomes({game.window()}));
  EXPECT_EQ(layerOf(game.window()), kFloatingLayer);
}

TEST_F(X11DesktopTest, TheCompositorsOverlayAndInvisibleHelpersAreNoWindows) {
  startWindowManager();
  client->open({.frame = kScreen, .isOverride = true, .isInputOnly = true});
  client->send("Composite", 7, {client->root()});  // GetOverlayWindow, which maps it
  settle();
  EXPECT_EQ(look().windows, std::vector<ScreenWindow>{});
}

TEST_F(X11DesktopTest, TranslucencyNeedsACompositor) {
  startWindowManager();
  const auto window = open();
  client->setCardinals(window, "_NET_WM_WINDOW_OPACITY", {0x7FFFFFFF});
  settle();
  EXPECT_EQ(shown(window)->alpha, 1.0);
  const auto owner = client->ownCompositorSelection();
  ASSERT_TRUE(eventually([&] { return shown(window)->alpha < 1.0; }));
  EXPECT_NEAR(shown(window)->alpha, 0.5, 1e-6);
  client->destroy(owner);
  EXPECT_TRUE(eventually([&] { return shown(window)->alpha == 1.0; }));
}

TEST_F(X11DesktopTest, TheFramesTranslucencyIsTheWindows) {
  startWindowManager();
  client->ownCompositorSelection();
  const auto window = open();
  xcb_window_t frame = window;
  for (;;) {
    auto* tree = xcb_query_tree_reply(client->raw(), xcb_query_tree(client->raw(), frame), nullptr);
    const auto parent = tree->parent;
    free(tree);
    if (parent == client->root()) break;
    frame = parent;
  }
  ASSERT_NE(frame, window);
  client->setCardinals(frame, "_NET_WM_WINDOW_OPACITY", {0x3FFFFFFF});
  ASSERT_TRUE(eventually([&] { return shown(window)->alpha < 1.0; }));
  EXPECT_NEAR(shown(window)->alpha, 0.25, 1e-6);
  // Somebody who looks for the first time sees the same.
  startDesktop();
  EXPECT_NEAR(shown(window)->alpha, 0.25, 1e-6);
}

TEST_F(X11DesktopTest, TheActiveWindowNamesTheFrontApplication) {
  startWindowManager();
  EXPECT_EQ(look().frontmost, std::nullopt);
  const auto box = open();
  client->activate(box);
  EXPECT_TRUE(eventually([&] { return look().frontmost == "Box"; }));
  Child xterm({"xterm", "-e", "sleep", "100"}, server->display());
  ASSERT_TRUE(eventually([&] { return look().frontmost == "XTerm"; }));
  const auto applications = look().applications;
  EXPECT_EQ(applications,
            (std::vector<RunningApplication>{{xterm.pid(), "XTerm"}, {getpid(), "Box"}}));
  xterm.kill();
  EXPECT_TRUE(eventually([&] { return look().applications.size() == 1; }));
}

TEST_F(X11DesktopTest, TellsEveryMonitorAndItsChange) {
  EXPECT_EQ(look().displays, std::vector{kScreen});
  // Splits the one output in two, as `xrandr --setmonitor` does.
  auto* resources = xcb_randr_get_screen_resources_reply(
      client->raw(), xcb_randr_get_screen_resources(client->raw(), client->root()), nullptr);
  const uint32_t output = xcb_randr_get_screen_resources_outputs(resources)[0];
  free(resources);
  // Window, name, primary and automatic and number of outputs, x and y, width and height, both in
  // millimeters, outputs.
  const uint32_t size = 640u | 1024u << 16;
  client->send("RANDR", 43,
               {client->root(), client->atom("left"), 1u << 16, 0, size, 300, 300, output});
  client->send("RANDR", 43, {client->root(), client->atom("right"), 0, 640, size, 300, 300});
  const std::vector<Rect> halves{{0, 0, 640, 1024}, {640, 0, 640, 1024}};
  ASSERT_TRUE(eventually([&] { return look().displays == halves; }));

  // Half of the screen is enough to lock one monitor.
  ScreenLocker locker(server->display(), {640, 0, 640, 1024});
  ASSERT_TRUE(eventually([&] { return layerOf(locker.window()) == kScreenSaverLayer; }));
}

TEST_F(X11DesktopTest, NoDisplaysWhileTheSessionIsAway) {
  onConsole = false;
  EXPECT_EQ(look().displays, std::vector<Rect>{});
  EXPECT_TRUE(look().windows.has_value());
  onConsole = true;
  EXPECT_EQ(look().displays, std::vector{kScreen});
}

TEST_F(X11DesktopTest, ThePointerOnlyWhenAsked) {
  xcb_warp_pointer(client->raw(), XCB_NONE, client->root(), 0, 0, 0, 0, 321, 123);
  client->sync();
  look();
  const uint64_t before = desktop->roundTrips();
  EXPECT_EQ(look(false).pointer, std::nullopt);
  EXPECT_EQ(desktop->roundTrips(), before);
  EXPECT_EQ(look(true).pointer, (Point{321, 123}));
  EXPECT_EQ(desktop->roundTrips(), before + 1);
}

TEST_F(X11DesktopTest, WithoutAWindowManagerEveryMappedWindowIsNormal) {
  const auto a = open({.frame = {10, 20, 300, 200}});
  const auto b = open({.frame = {50, 50, 300, 200}});
  client->make({.frame = {70, 70, 300, 200}});
  ASSERT_TRUE(becomes({b, a}));
  EXPECT_EQ(layerOf(a), kNormalLayer);
  EXPECT_EQ(find(a)->frame, (Rect{10, 20, 300, 200}));
  startWindowManager();
  EXPECT_TRUE(eventually([&] { return find(a)->managed && find(b)->managed; }));
}

TEST_F(X11DesktopTest, NothingChangedCostsNoRoundTrip) {
  startWindowManager();
  std::vector<xcb_window_t> windows;
  for (int i = 0; i < 30; ++i) {
    windows.push_back(client->open({.frame = {i * 30.0, i * 20.0, 250, 150}}));
  }
  open({.frame = {5, 5, 50, 50}, .isOverride = true});
  ASSERT_TRUE(eventually([&] { return frontToBack().size() == 31; }));
  settle();
  const uint64_t trips = desktop->roundTrips();
  const uint64_t generation = desktop->generation();
  // Neither a moving pointer nor a property that says nothing of windows makes it look again.
  xcb_warp_pointer(client->raw(), XCB_NONE, client->root(), 0, 0, 0, 0, 600, 600);
  client->setCardinals(windows[3], "_NET_WM_USER_TIME", {17});
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  for (int i = 0; i < 5; ++i) look();
  EXPECT_EQ(desktop->roundTrips(), trips);
  EXPECT_EQ(desktop->generation(), generation);

  // A title costs one, and no full read.
  const uint64_t reads = desktop->fullReads();
  client->setTitle(windows[3], "another title");
  ASSERT_TRUE(eventually([&] { return find(windows[3])->title == "another title"; }));
  EXPECT_EQ(desktop->roundTrips(), trips + 1);
  EXPECT_EQ(desktop->fullReads(), reads);
  EXPECT_EQ(desktop->generation(), generation + 1);

  client->move(windows[0], 333, 222);
  ASSERT_TRUE(eventually([&] {
    look();
    return desktop->fullReads() > reads;
  }));
  settle();
  const uint64_t all = desktop->roundTrips() - trips - 1;
  EXPECT_LE(all, 3 * (desktop->fullReads() - reads));
  EXPECT_EQ(find(windows[0])->frame, client->outerFrame(windows[0]));
}

TEST_F(X11DesktopTest, TheFirstReadOfThirtyWindowsCostsThreeRoundTrips) {
  startWindowManager();
  for (int i = 0; i < 30; ++i) client->open({.frame = {i * 30.0, i * 20.0, 250, 150}});
  open({.frame = {5, 5, 50, 50}, .isOverride = true});
  ASSERT_TRUE(eventually([&] { return frontToBack().size() == 31; }));
  settle();
  startDesktop();
  look();
  EXPECT_EQ(desktop->windows().size(), 31u);
  EXPECT_EQ(desktop->fullReads(), 1u);
  EXPECT_LE(desktop->roundTrips(), 3u);
}

TEST_F(X11DesktopTest, WindowsThatVanishWhileTheyAreReadAreLeftOut) {
  startWindowManager();
  const auto stays = open();
  std::thread churn([display = server->display()] {
    XClient other(display);
    for (int i = 0; i < 150; ++i) {
      const auto managed = other.open({.frame = {300, 300, 100, 100}});
      const auto popup = other.open({.frame = {400, 300, 100, 100}, .isOverride = true});
      other.destroy(popup);
      other.destroy(managed);
    }
  });
  for (int i = 0; i < 2000; ++i) {
    const auto snapshot = look();
    if (!snapshot.windows) ADD_FAILURE() << "the list went away";
  }
  churn.join();
  EXPECT_TRUE(becomes({stays}));
  EXPECT_EQ(find(stays)->frame, client->outerFrame(stays));
}

TEST_F(X11DesktopTest, NoChangeIsMissedWhileReading) {
  startWindowManager();
  constexpr int kRounds = 40;
  std::atomic<int> round = 0;
  std::atomic<bool> seen = false;
  // Every window ends in the same state, which is reached in the midst of reads.
  std::thread other([&] {
    XClient busy(server->display());
    for (; round < kRounds; ++round) {
      seen = false;
      const auto window = busy.open({.frame = {300, 300, 100, 100}, .isOverride = true});
      busy.setCardinals(window, kLayerProperty, {7});
      busy.move(window, 40, 50);
      for (const char* title : {"first", "second", "last"}) busy.setTitle(window, title);
      eventually([&] { return seen.load(); });
      busy.destroy(window);
    }
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (round < kRounds && std::chrono::steady_clock::now() < deadline) {
    const auto snapshot = look();
    for (const auto& window : desktop->windows()) {
      const bool isDone = window.title == "last" && window.frame == Rect{40, 50, 100, 100} &&
                          snapshot.windows->front().layer == 7;
      if (isDone) seen = true;
    }
  }
  EXPECT_EQ(round, kRounds);
  other.join();
}

TEST_F(X11DesktopTest, AServerThatHangsHoldsNobodyUp) {
  startWindowManager();
  const auto a = open();
  settle();
  const auto before = look();
  client->move(a, 500, 500);
  settle();
  const Rect moved = find(a)->frame;
  xcb_grab_server(client->raw());
  client->move(a, 100, 100);
  xcb_warp_pointer(client->raw(), XCB_NONE, client->root(), 0, 0, 0, 0, 9, 9);
  client->sync();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < 20; ++i) {
    const auto snapshot = look(true);
    ASSERT_TRUE(snapshot.windows);
    EXPECT_EQ(snapshot.windows->front().frame, moved);
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  xcb_ungrab_server(client->raw());
  client->sync();
  EXPECT_TRUE(eventually(
      [&] { return find(a)->frame == client->outerFrame(a) && find(a)->frame != moved; }));
  EXPECT_EQ(look(true).pointer, (Point{9, 9}));
}

TEST_F(X11DesktopTest, AServerThatDiesIsLookedForAgain) {
  open();
  EXPECT_TRUE(look().windows);
  const int number = server->number();
  const uint64_t generation = desktop->generation();
  client.reset();
  server->kill();
  ASSERT_TRUE(eventually([&] { return !look().windows; }));
  const auto gone = look(true);
  EXPECT_EQ(gone.displays, std::vector<Rect>{});
  EXPECT_EQ(gone.applications, std::vector<RunningApplication>{});
  EXPECT_EQ(gone.frontmost, std::nullopt);
  EXPECT_TRUE(desktop->windows().empty());
  EXPECT_GT(desktop->generation(), generation);

  server.emplace(number);
  client = std::make_unique<XClient>(server->display());
  const auto a = client->open();
  EXPECT_FALSE(look().windows) << "the next attempt is not due yet";
  world.jump(Seconds(3));
  ASSERT_TRUE(look().windows);
  EXPECT_TRUE(becomes({a}));
}

TEST_F(X11DesktopTest, AServerMayComeLater) {
  const int number = server->number();
  client.reset();
  server->kill();
  startDesktop();
  EXPECT_FALSE(look().windows);
  server.emplace(number);
  world.jump(Seconds(3));
  EXPECT_TRUE(look().windows);
  EXPECT_EQ(look().displays, std::vector{kScreen});
}

TEST_F(X11DesktopTest, TheLoopTakesEventsInBetween) {
  startWindowManager();
  open();
  settle();
  std::thread other([&] {
    for (int i = 0; i < 50; ++i)
      client->open({.frame = {double(i), 0, 50, 50}, .isOverride = true});
  });
  auto stop = loop.after(Seconds(0.3), [this] { loop.quit(); });
  loop.run();
  other.join();
  EXPECT_TRUE(eventually([&] { return frontToBack().size() == 51; }));
  server->kill();
  auto stopAgain = loop.after(Seconds(0.2), [this] { loop.quit(); });
  loop.run();
  EXPECT_FALSE(look().windows);
}

// The benchmark of the adapter: figures, and bounds wide enough for a busy machine.
TEST_F(X11DesktopTest, CostOfReading) {
  startWindowManager();
  std::vector<xcb_window_t> windows;
  for (int i = 0; i < 30; ++i) {
    windows.push_back(client->open({.frame = {i * 30.0, i * 20.0, 250, 150}}));
  }
  ASSERT_TRUE(eventually([&] { return frontToBack().size() == 30; }));
  settle();
  const auto cpu = [] {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) * 1e6 + double(t.tv_nsec) / 1e3;
  };
  std::vector<double> first, full, wall, unchanged;
  for (int i = 0; i < 30; ++i) {
    startDesktop();
    const double before = cpu();
    look();
    first.push_back(cpu() - before);
  }
  settle();
  const uint64_t trips = desktop->roundTrips();
  const uint64_t reads = desktop->fullReads();
  for (int i = 0; i < 200; ++i) {
    client->setCardinals(windows[5], "_NET_WM_WINDOW_OPACITY", {0xFFFFFFFF - uint32_t(i % 2)});
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    const auto start = std::chrono::steady_clock::now();
    const double before = cpu();
    const uint64_t readsBefore = desktop->fullReads();
    look();
    if (desktop->fullReads() == readsBefore) continue;
    full.push_back(cpu() - before);
    wall.push_back(
        std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
            .count());
  }
  const double tripsPerRead =
      double(desktop->roundTrips() - trips) / double(desktop->fullReads() - reads);
  client->setCardinals(windows[5], "_NET_WM_WINDOW_OPACITY", {0xFFFFFFFF});
  settle();
  for (int i = 0; i < 200; ++i) {
    const double before = cpu();
    look();
    unchanged.push_back(cpu() - before);
  }
  const auto median = [](std::vector<double>& values) {
    std::ranges::sort(values);
    return values.empty() ? 0.0 : values[values.size() / 2];
  };
  std::printf(
      "30 windows: first read %.0f us of our CPU, later ones %.0f us, %.0f us in all, "
      "%.2f round trips; unchanged %.1f us\n",
      median(first), median(full), median(wall), tripsPerRead, median(unchanged));
  EXPECT_LT(median(full), 1500);
  EXPECT_LT(median(unchanged), 100);
}

}  // namespace
}  // namespace velmora
