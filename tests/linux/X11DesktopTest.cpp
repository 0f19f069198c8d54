#include <algorithm>
#include <atomic>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

using test::eventually;

const Rect kScreen{0, 0, 1280, 1024};

// A window as the snapshot and the list beside it show it.
struct Seen : X11Window {
  int layer = -1;
  double alpha = 0;
};

// A desktop on a server of its own.
class X11DesktopTest : public test::XTest {
 protected:
  void SetUp() override {
    XTest::SetUp();
    if (IsSkipped()) return;
    desktop = newDesktop();
    startWindowManager();
  }
  std::unique_ptr<X11Desktop> newDesktop() {
    return std::make_unique<X11Desktop>(
        loop, catalog, clock, X11Desktop::Options{server->display(), [this] { return onConsole; }});
  }

  xcb_window_t open(const test::XLook& look = {}) { return shown(client->open(look)); }
  xcb_window_t shown(xcb_window_t window) {
    EXPECT_TRUE(eventually([&] { return seen(window).id == window; }));
    return window;
  }

  DesktopSnapshot look(bool pointer = false) { return desktop->snapshot({.pointer = pointer}); }
  // What is on screen, front to back.
  std::vector<Seen> see() {
    const auto snapshot = look();
    std::vector<Seen> out;
    for (const auto& window : desktop->windows()) {
      if (!window.onScreen) continue;
      const auto& shown = snapshot.windows->at(out.size());
      out.push_back({window, shown.layer, shown.alpha});
    }
    return out;
  }
  // Nothing but defaults when it is not on screen.
  Seen seen(xcb_window_t window) {
    const auto all = see();
    const auto found = std::ranges::find(all, window, &Seen::id);
    return found == all.end() ? Seen{} : *found;
  }
  bool becomes(const std::vector<xcb_window_t>& order) {
    return eventually([&] { return std::ranges::equal(see(), order, {}, &Seen::id); });
  }
  // Waits until the server has told of all that happened.
  void settle() {
    for (int quiet = 0; quiet < 3;) {
      const uint64_t before = desktop->generation();
      std::this_thread::sleep_for(std::chrono::milliseconds(30));
      look();
      quiet = desktop->generation() == before ? quiet + 1 : 0;
    }
  }

  // A program of its own shows a window past the window manager.
  xcb_window_t openForeign(const Rect& frame) {
    foreign = test::Child([&] {
      test::XClient other(server->display());
      other.open({.frame = frame, .isOverride = true});
      pause();
    });
    const auto isForeign = [&](const Seen& window) { return window.pid == foreign.pid(); };
    EXPECT_TRUE(eventually([&] { return std::ranges::any_of(see(), isForeign); }));
    const auto all = see();
    return std::ranges::find_if(all, isForeign)->id;
  }

  EventLoop loop;
  sim::World world;
  sim::FakeClock clock{world};
  LinuxAppCatalog catalog;
  bool onConsole = true;
  std::unique_ptr<X11Desktop> desktop;
  test::Child foreign;
};

TEST_F(X11DesktopTest, FramesHoldTheTitleBarButNoInvisibleShadow) {
  const auto decorated = open();
  settle();
  EXPECT_EQ(seen(decorated).frame, client->outerFrame(decorated));
  EXPECT_GT(seen(decorated).frame.height, seen(decorated).client.height);
  const auto window = client->make({.frame = {200, 150, 400, 300}});
  client->setCardinals(window, "_GTK_FRAME_EXTENTS", {4, 6, 1, 9});
  client->setCardinals(window, "_MOTIF_WM_HINTS", {2, 0, 0, 0, 0});  // undecorated, as usual
  client->map(window);
  const Rect c = seen(shown(window)).client;
  EXPECT_EQ(seen(window).clientWithoutShadow, (Rect{c.x + 4, c.y + 1, 390, 290}));
  const Rect outer = client->outerFrame(window);
  EXPECT_EQ(seen(window).frame,
            (Rect{outer.x + 4, outer.y + 1, outer.width - 10, outer.height - 10}));
}

TEST_F(X11DesktopTest, FollowsTheStackingOrderOfManagedAndOtherWindows) {
  const auto a = open(), b = open(), c = open();
  const auto popup = open({.frame = {60, 60, 100, 100}, .isOverride = true});
  ASSERT_TRUE(becomes({popup, c, b, a}));
  client->activate(a);
  EXPECT_TRUE(becomes({popup, a, c, b}));
  client->lower(popup);
  EXPECT_TRUE(becomes({a, c, b, popup}));
}

TEST_F(X11DesktopTest, MinimisedWindowsAndOtherWorkspacesAreNotOnScreen) {
  const auto a = open(), b = open(), sticky = open();
  client->minimise(a);
  client->request(b, "_NET_WM_DESKTOP", {2, 2});
  client->request(sticky, "_NET_WM_DESKTOP", {0xFFFFFFFF, 2});
  ASSERT_TRUE(becomes({sticky}));
  EXPECT_EQ(desktop->windows().size(), 3u);
  client->request(client->root(), "_NET_CURRENT_DESKTOP", {2, 0});
  EXPECT_TRUE(becomes({sticky, b}));
}

TEST_F(X11DesktopTest, LayersFollowTheKindOfWindowAndOurOwnSurfacesSayTheirs) {
  const auto above = open();
  client->request(above, "_NET_WM_STATE", {1, client->atom("_NET_WM_STATE_ABOVE"), 0, 2});
  const auto pretender = open({.types = {"NORMAL", "DOCK"}});
  client->setCardinals(pretender, kLayerProperty, {3});
  settle();
  for (const auto window : {open(), open({.types = {"DIALOG"}}), above, pretender}) {
    EXPECT_EQ(seen(window).layer, kNormalLayer);
  }
  for (const char* type : {"DOCK", "NOTIFICATION", "DESKTOP"}) {
    EXPECT_EQ(seen(open({.types = {type}})).layer, kFloatingLayer) << type;
  }
  const auto popup = open({.isOverride = true}), ours = open({.isOverride = true});
  client->setCardinals(ours, kLayerProperty, {3});
  settle();
  EXPECT_EQ(seen(popup).layer, kFloatingLayer);
  EXPECT_EQ(seen(ours).layer, 3);
}

TEST_F(X11DesktopTest, AForeignWindowOverAWholeMonitorIsALocker) {
  const auto a = open();
  const auto locker = openForeign(kScreen);
  EXPECT_EQ(seen(locker).layer, kScreenSaverLayer);
  // Under a window of the user's it locks nothing: a live wallpaper.
  client->lower(locker);
  ASSERT_TRUE(becomes({a, locker}));
  EXPECT_EQ(seen(locker).layer, kFloatingLayer);
  // Nor does one over nearly all of it: a game.
  EXPECT_EQ(seen(openForeign({0, 0, 1280, 1000})).layer, kFloatingLayer);
}

TEST_F(X11DesktopTest, TranslucencyNeedsACompositorAndMayBeTheFrames) {
  const auto window = open();
  client->setCardinals(window, "_NET_WM_WINDOW_OPACITY", {0x7FFFFFFF});
  settle();
  EXPECT_EQ(seen(window).alpha, 1.0);
  const auto compositor = client->make({});
  client->done(
      xcb_set_selection_owner(client->raw(), compositor, client->atom("_NET_WM_CM_S0"), 0));
  const auto becomesAlpha = [&](double alpha) {
    return eventually([&] { return std::abs(seen(window).alpha - alpha) < 1e-6; });
  };
  EXPECT_TRUE(becomesAlpha(0.5));
  client->setCardinals(client->frameOf(window), "_NET_WM_WINDOW_OPACITY", {0x3FFFFFFF});
  EXPECT_TRUE(becomesAlpha(0.25));
  client->destroy(compositor);
  EXPECT_TRUE(becomesAlpha(1.0));
}

TEST_F(X11DesktopTest, ThirtyWindowsCostThreeRoundTripsAndNothingChangedNone) {
  std::vector<xcb_window_t> windows;
  for (int i = 0; i < 30; ++i) windows.push_back(open({.frame = {i * 30.0, i * 20.0, 250, 150}}));
  open({.isOverride = true});
  settle();
  desktop = newDesktop();
  look();
  EXPECT_EQ(desktop->windows().size(), 31u);
  EXPECT_LE(desktop->roundTrips(), 3u);
  settle();
  uint64_t trips = desktop->roundTrips();
  const uint64_t reads = desktop->fullReads();

  // Neither a moving pointer nor a property that says nothing of windows makes it look again.
  client->movePointer(600, 500);
  client->setCardinals(windows[3], "_NET_WM_USER_TIME", {17});
  settle();
  EXPECT_EQ(desktop->roundTrips(), trips);
  EXPECT_EQ(look(true).pointer, (Point{600, 500}));
  EXPECT_EQ(desktop->roundTrips(), ++trips);

  client->setTitle(windows[3], "another title");
  ASSERT_TRUE(eventually([&] { return seen(windows[3]).title == "another title"; }));
  EXPECT_EQ(desktop->roundTrips(), ++trips);
  EXPECT_EQ(desktop->fullReads(), reads);
}

TEST_F(X11DesktopTest, NoChangeIsMissedAndNoWindowStaysWhileReading) {
  const auto stays = open();
  std::atomic<bool> isSeen = false, isOver = false;
  // Every window ends in the same state, which is reached in the midst of reads.
  std::thread other([&] {
    test::XClient busy(server->display());
    for (int round = 0; round < 40 && !HasFailure(); ++round) {
      isSeen = false;
      const auto managed = busy.open();
      const auto window = busy.open({.frame = {300, 300, 100, 100}, .isOverride = true});
      busy.setCardinals(window, kLayerProperty, {7});
      busy.move(window, 40, 50);
      for (const char* title : {"first", "second", "last"}) busy.setTitle(window, title);
      EXPECT_TRUE(eventually([&] { return isSeen.load(); })) << "round " << round;
      busy.destroy(window);
      busy.destroy(managed);
    }
    isOver = true;
  });
  while (!isOver) {
    for (const auto& w : see()) {
      if (w.title == "last" && w.frame == Rect{40, 50, 100, 100} && w.layer == 7) isSeen = true;
    }
  }
  other.join();
  EXPECT_TRUE(becomes({stays}));
}

TEST_F(X11DesktopTest, AServerThatDiesIsLookedForAgain) {
  open();
  const uint64_t generation = desktop->generation();
  client.reset();
  server->kill();
  runFor(loop, Seconds(0.1));
  EXPECT_GT(desktop->generation(), generation) << "the loop hears of it";
  EXPECT_FALSE(look().windows);

  server->start();
  connect();
  EXPECT_FALSE(look().windows) << "the next attempt is not due yet";
  world.jump(Seconds(3));
  open();
}

}  // namespace
}  // namespace velmora
