#include "support/SimDevice.h"

namespace velmora {
namespace {

TEST(TwoApps, LiveInOneProcessAndKnowNothingOfEachOther) {
  sim::World world;
  sim::SimDevice a(world, 1), b(world, 2);
  for (auto* device : {&a, &b}) {
    device->start();
    PomodoroSettings soft = device->app->timer.settings.get();
    soft.isSoftBlocklistEnabled = true;
    device->app->timer.setSettings(soft);
    device->app->lists.addSite("reddit.com");
    device->screen->open("org.chromium.Chromium", "https://www.reddit.com/r/all");
  }
  a.app->timer.start(false);
  world.advance(Seconds(5));
  EXPECT_EQ(a.screen->windows[0].address, "http://127.0.0.1:52700/?r=focus&d=reddit.com");
  EXPECT_EQ(b.screen->windows[0].address, "https://www.reddit.com/r/all");
  EXPECT_FALSE(b.app->timer.isSessionActive.get());
}

}  // namespace
}  // namespace velmora
