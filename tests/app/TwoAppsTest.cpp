#include "core/StoredSettings.h"
#include "support/SimDevice.h"

namespace velmora {
namespace {

using sim::SimDevice;
using sim::World;

TEST(TwoApps, LiveInOneProcessAndKnowNothingOfEachOther) {
  World world;
  SimDevice a(world, 1);
  SimDevice b(world, 2);
  a.start();
  b.start();
  for (auto* device : {&a, &b}) {
    PomodoroSettings soft = device->app->timer.settings.get();
    soft.isSoftBlocklistEnabled = true;
    device->app->timer.setSettings(soft);
    device->app->lists.addSite("reddit.com");
    device->screen->open("org.chromium.Chromium", "https://www.reddit.com/r/all");
  }
  world.advance(Seconds(1));
  a.app->timer.start(false);
  world.advance(Seconds(5));

  EXPECT_EQ(a.screen->windows[0].address, "http://127.0.0.1:52700/?r=focus&d=reddit.com");
  EXPECT_EQ(b.screen->windows[0].address, "https://www.reddit.com/r/all");
  EXPECT_TRUE(a.app->lifecycle.isLocked() == false && a.app->timer.isSessionActive.get());
  EXPECT_FALSE(b.app->timer.isSessionActive.get());
}

TEST(TwoApps, AKilledSessionComesBackWithItsClockAndItsBlocking) {
  World world;
  SimDevice d(world);
  d.start();
  PomodoroSettings soft = d.app->timer.settings.get();
  soft.isSoftBlocklistEnabled = true;
  d.app->timer.setSettings(soft);
  savePomodoroSettings(d.preferences, soft);
  d.app->lists.addSite("reddit.com");
  d.app->timer.start(false);
  world.advance(Seconds(600));
  EXPECT_EQ(d.app->timer.timeRemaining.get(), 900);

  d.relaunch(Seconds(100));
  world.advance(Seconds(0.5));
  EXPECT_TRUE(d.app->timer.isRunning.get());
  // The stopwatch saves on its 600th tick, a moment before the phase has counted that second.
  EXPECT_EQ(d.app->timer.timeRemaining.get(), 801);
  d.screen->open("org.mozilla.firefox", "https://reddit.com/");
  world.advance(Seconds(2));
  EXPECT_EQ(d.screen->windows[0].address, "http://127.0.0.1:52700/?r=focus&d=reddit.com");
}

}  // namespace
}  // namespace velmora
