#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/X11CoverPanels.h"
#include "platform/sim/FakeCoverPanels.h"
#include "platform/sim/World.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

void expectContract(CoverPanels& panels, const std::function<bool(size_t)>& shows,
                    const std::function<void(Seconds)>& pass) {
  const auto one = panels.show({0, 0, 200, 100}), other = panels.show({300, 50.5, 100, 100});
  EXPECT_NE(one, other);
  EXPECT_TRUE(shows(2));
  panels.fadeOut(one, Seconds(0.1));
  EXPECT_TRUE(shows(2));
  panels.showAgain(one);
  pass(Seconds(0.4));
  EXPECT_TRUE(shows(2)) << "a fade that was taken back";
  panels.fadeOut(one, Seconds(0.1));
  pass(Seconds(0.4));
  EXPECT_TRUE(shows(1));
  panels.showAgain(one);
  panels.fadeOut(one, Seconds(0.1));
  EXPECT_TRUE(shows(1)) << "what has gone stays away";
  for (const int i : {1, 2, 3, 4}) EXPECT_GT(panels.show({i * 10.0, 0, 100, 100}), other);
  EXPECT_TRUE(shows(5));
}

TEST(CoverPanelsContract, HoldsForTheSimulatedPanels) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeCoverPanels panels{loop};
  expectContract(
      panels, [&](size_t count) { return panels.panels.size() == count; },
      [&](Seconds time) { world.advance(time); });
}

class CoverPanelsOnX11 : public test::XTest {};

TEST_F(CoverPanelsOnX11, HoldTheContract) {
  EventLoop loop;
  const SystemClock clock;
  X11CoverPanels panels{loop, clock, server->display()};
  const auto shows = [&](size_t count) {
    return test::eventually([&] { return client->viewable().size() == count; });
  };
  expectContract(panels, shows, [&](Seconds time) { runFor(loop, time); });
}

}  // namespace
}  // namespace velmora
