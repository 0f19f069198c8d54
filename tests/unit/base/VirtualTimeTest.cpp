#include <gtest/gtest.h>

#include "platform/sim/World.h"

namespace velmora::sim {
namespace {

TEST(VirtualTime, RepeatsKeepTheirGridHoweverSlowAndASuspendAddsNone) {
  World world;
  Lane lane(world);
  int ticks = 0;
  const Subscription s = lane.every(Seconds(1), Seconds(0), [&] {
    ++ticks;
    world.stall(Seconds(0.7));
  });
  world.advance(Seconds(300));
  world.jump(Seconds(3600));
  world.advance(Seconds(300));
  EXPECT_EQ(ticks, 600);
}

}  // namespace
}  // namespace velmora::sim
