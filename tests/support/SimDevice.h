#pragma once

#include <memory>
#include <string>

#include "app/App.h"
#include "platform/sim/FakeApplications.h"
#include "platform/sim/FakeClipboard.h"
#include "platform/sim/FakeCoverPanels.h"
#include "platform/sim/FakeDesktopShell.h"
#include "platform/sim/FakeFiles.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora::sim {

// One simulated desktop with the application on it. Everything but the App survives a crash.
struct SimDevice {
  explicit SimDevice(World& w, uint8_t number = 0)
      : world(w),
        clock(w),
        random(number),
        pageLane(std::make_unique<Lane>(w)),
        scanLane(std::make_unique<Lane>(w)) {
    boot();
  }

  // A crash, or the end of the process: nothing is told to it.
  void kill() {
    app.reset();
    agentLane.reset();
    loop.reset();
  }
  // A fresh process on the same disk. Windows and applications stay as they are.
  void boot() {
    loop = std::make_unique<Lane>(world);
    agentLane = std::make_unique<Lane>(world);
    auto windows = screen ? screen->windows : std::vector<FakeScreen::Window>{};
    screen = std::make_unique<FakeScreen>(*loop);
    screen->windows = std::move(windows);
    auto processes = apps ? apps->processes : std::vector<FakeApplications::Process>{};
    apps = std::make_unique<FakeApplications>(*loop);
    apps->processes = std::move(processes);
    panels = std::make_unique<FakeCoverPanels>(*loop);
    app = std::make_unique<App>(Platform{clock, *loop, *pageLane, *scanLane, preferences, random,
                                         *screen, *screen, *panels, *apps, installed, catalog,
                                         listeners, files, notifications, sounds, clipboard, log, statusItem,
                                         guardian, loginAgent, scheduleAgent, authentication,
                                         *agentLane, "<html>the wall</html>", "velmora.invalid"});
  }
  void start(Lifecycle::Launch launch = Lifecycle::Launch::shown) {
    app->start(launch);
    world.settle();
  }
  void relaunch(Seconds after = Seconds(0)) {
    kill();
    world.jump(after);
    boot();
    start();
  }

  World& world;
  FakeClock clock;
  FakePreferences preferences;
  FakeRandom random;
  FakeCatalog catalog;
  FakeInstalled installed;
  FakeListeners listeners;
  FakeFiles files;
  FakeNotifications notifications;
  FakeSounds sounds;
  FakeClipboard clipboard;
  FakeLog log;
  FakeStatusItem statusItem;
  FakeLaunchAgent guardian;
  FakeLaunchAgent loginAgent;
  FakeScheduleAgent scheduleAgent;
  FakeAuthentication authentication;
  std::unique_ptr<Lane> pageLane;
  std::unique_ptr<Lane> scanLane;
  std::unique_ptr<Lane> loop;
  std::unique_ptr<Lane> agentLane;
  std::unique_ptr<FakeScreen> screen;
  std::unique_ptr<FakeApplications> apps;
  std::unique_ptr<FakeCoverPanels> panels;
  std::unique_ptr<App> app;
};

}  // namespace velmora::sim
