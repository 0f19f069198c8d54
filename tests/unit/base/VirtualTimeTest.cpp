#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora::sim {
namespace {

using Texts = std::vector<std::string>;

struct VirtualTime : testing::Test {
  Subscription everySecond() {
    return lane.every(Seconds(1), Seconds(0.1), [this] { at.push_back(seconds()); });
  }
  double seconds() { return Seconds(world.awake()).count(); }

  World world;
  Lane lane{world};
  std::vector<double> at;
};

TEST_F(VirtualTime, RepeatsKeepTheirGridHoweverSlowTheyAre) {
  int ticks = 0;
  const Subscription s = lane.every(Seconds(1), Seconds(0), [&] {
    ++ticks;
    world.stall(Seconds(0.7));
  });
  world.advance(Seconds(600));
  EXPECT_EQ(ticks, 600);
}

TEST_F(VirtualTime, ASuspendAddsNoTicksAndMovesOnlyTheWallClocks) {
  FakeClock clock(world);
  const Date before = clock.now();
  const Subscription s = everySecond();
  world.advance(Seconds(1.5));
  world.jump(Seconds(3600));
  EXPECT_EQ(clock.now() - before, Seconds(3601.5));
  world.advance(Seconds(1.5));
  EXPECT_EQ(at, (std::vector<double>{1, 2, 3}));
}

TEST_F(VirtualTime, TasksThatPostForEverAreFound) {
  std::function<void()> again = [&] { lane.post(again); };
  lane.post(again);
  EXPECT_DEATH(world.settle(), "tasks keep posting tasks");
}

TEST(ShuffledTies, ReorderLanesButNeverOneLane) {
  std::set<Texts> orders;
  for (uint64_t seed = 0; seed < 20; ++seed) {
    World world(seed);
    Lane a(world), b(world);
    Texts ran;
    for (const char* name : {"a1", "a2"}) a.post([&ran, name] { ran.push_back(name); });
    for (const char* name : {"b1", "b2"}) b.post([&ran, name] { ran.push_back(name); });
    world.settle();
    const auto place = [&](const char* n) { return std::ranges::find(ran, n) - ran.begin(); };
    EXPECT_LT(place("a1"), place("a2"));
    EXPECT_LT(place("b1"), place("b2"));
    orders.insert(ran);
  }
  EXPECT_GT(orders.size(), 2u);
}

}  // namespace
}  // namespace velmora::sim
