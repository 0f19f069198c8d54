#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

// A desktop on which the test opens windows of the application "box".
struct Bench {
  Desktop& desktop;
  std::function<uint32_t(Rect)> open;  // in front of the others; its number
  std::function<void(uint32_t)> minimise;
  std::function<void()> loseServer;
};

void expectContract(const Bench& bench) {
  const auto look = [&] { return bench.desktop.snapshot({}); };
  // Told apart by their left edges, front to back.
  const auto shows = [&](const std::vector<double>& expected) {
    return test::eventually([&] {
      return std::ranges::equal(look().windows.value(), expected, {},
                                [](const ScreenWindow& window) { return window.frame.x; });
    });
  };
  EXPECT_FALSE(look().displays.empty());
  EXPECT_EQ(look().frontmost, std::nullopt);
  EXPECT_EQ(look().pointer, std::nullopt) << "nobody asked";

  bench.open({10, 10, 300, 200});
  const auto front = bench.open({60, 80, 300, 200});
  ASSERT_TRUE(shows({60, 10}));
  EXPECT_TRUE(test::eventually([&] { return look().frontmost == "box"; }));
  const ScreenWindow window = look().windows->front();
  EXPECT_EQ(window.layer, kNormalLayer);
  EXPECT_EQ(window.alpha, 1.0);
  bench.minimise(front);
  EXPECT_TRUE(shows({10}));
  EXPECT_EQ(look().applications, (std::vector<RunningApplication>{{window.pid, "box"}}));

  bench.loseServer();
  ASSERT_TRUE(test::eventually([&] { return !look().windows; }));
  EXPECT_TRUE(look().displays.empty() && look().applications.empty() && !look().frontmost);
}

TEST(DesktopContract, HoldsForTheSimulatedDesktop) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeScreen screen{loop};
  expectContract(
      {screen, [&](Rect frame) { return std::stoul(screen.open("box", "", frame).id); },
       [&](uint32_t window) { screen.window(std::to_string(window)).isMinimised = true; },
       [&] {
         screen.isWindowListAvailable = false;
         screen.displays.clear();
         screen.windows.clear();
       }});
}

class DesktopOnX11 : public test::XTest {};

TEST_F(DesktopOnX11, HoldsTheContract) {
  startWindowManager();
  EventLoop loop;
  sim::World world;
  const sim::FakeClock clock{world};
  const LinuxAppCatalog catalog;
  X11Desktop desktop{loop, catalog, clock, {server->display(), {}}};
  const auto open = [&](Rect frame) {
    const auto window = client->open({.frame = frame, .instance = "box", .windowClass = "box"});
    EXPECT_TRUE(test::eventually([&] { return client->frameOf(window) != window; }));
    client->activate(window);
    return window;
  };
  expectContract(
      {desktop, open, [&](uint32_t window) { client->minimise(window); }, [&] { server->kill(); }});
}

}  // namespace
}  // namespace velmora
