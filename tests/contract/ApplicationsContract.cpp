#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Applications.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/FakeApplications.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

// `show` lets the application withdraw its windows, or show them again; a window manager that is
// still busy with them may not notice, so it is told until it has.
void expectContract(Applications& applications, const std::function<void(std::string)>& launch,
                    const std::function<void(RunningApplication, bool)>& show,
                    const std::function<bool(const std::function<bool()>&)>& until) {
  std::vector<RunningApplication> told;
  const auto started = [&](const std::string& id) {
    launch(id);
    RunningApplication found;
    EXPECT_TRUE(until([&] {
      const size_t before = told.size();
      for (const auto& application : applications.running())
        if (application.bundleID == id) found = application;
      EXPECT_EQ(told.size(), before) << "told inside a call";
      return found.pid > 0;
    }));
    return found;
  };
  const auto early = started("early");
  const auto hear = [&](const auto& application) { told.push_back(application); };
  const auto has = [](const std::vector<RunningApplication>& all, const RunningApplication& one) {
    return std::ranges::find(all, one) != all.end();
  };
  const auto withdraw = [&](const auto& application) {
    EXPECT_TRUE(until([&] {
      show(application, false);
      return !has(applications.running(), application);
    }));
    EXPECT_TRUE(applications.isRunning(application));
  };
  withdraw(early);
  auto token = applications.onLaunch(hear);
  const auto late = started("late");
  EXPECT_TRUE(until([&] { return told == std::vector{late}; }));
  const auto comesBack = [&](const auto& application) {
    const size_t before = told.size();
    EXPECT_TRUE(until([&] { return show(application, true), told.size() > before; }));
  };
  comesBack(early);
  withdraw(late);
  comesBack(late);
  EXPECT_EQ(told, (std::vector{late, early, late})) << "back from a tray";

  applications.forceTerminate({late.pid, "early", late.instance});
  applications.forceTerminate({late.pid, "late", late.instance + 1});
  applications.hide(late);
  EXPECT_TRUE(applications.isRunning(early) && applications.isRunning(late));
  applications.terminate(early);
  EXPECT_TRUE(until([&] { return !applications.isRunning(early); }));
  applications.forceTerminate(late);
  EXPECT_TRUE(until([&] { return !applications.isRunning(late); }));

  bool isHeard = false;
  token = applications.onLaunch([&](const auto&) { isHeard = true; });
  started("later");
  EXPECT_TRUE(until([&] { return isHeard; }));
  EXPECT_EQ(told.size(), 3u) << "its token is gone";
}

TEST(ApplicationsContract, HoldsForTheSimulatedApplications) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeApplications applications{loop};
  expectContract(applications, [&](const std::string& id) { applications.launch(id); },
                 [&](const auto& one, bool isShown) { applications.setShown(one, isShown); },
                 [&](const auto& holds) {
                   for (int i = 0; i < 2; ++i)
                     if (world.advance(Seconds(1)), holds()) return true;
                   return false;
                 });
}

class ApplicationsOnX11 : public test::XTest {
 protected:
  void SetUp() override {
    XTest::SetUp();
    if (IsSkipped()) return;
    startWindowManager();
    desktop.emplace(loop, catalog, clock, X11Desktop::Options{server->display(), {}});
    applications.emplace(loop, *desktop);
  }
  // A program that shows these windows one after the other.
  void start(const std::vector<test::XLook>& looks) {
    children.emplace_back([&] {
      test::XClient program(server->display());
      for (const auto& look : looks) {
        program.open(look);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
      pause();
    });
  }

  EventLoop loop;
  sim::World world;
  sim::FakeClock clock{world};
  LinuxAppCatalog catalog;
  std::optional<X11Desktop> desktop;
  std::optional<X11Applications> applications;
  std::vector<test::Child> children;
};

TEST_F(ApplicationsOnX11, HoldTheContract) {
  const auto launch = [&](const std::string& id) {
    children.emplace_back(std::vector<std::string>{"xterm", "-class", id}, server->display());
  };
  std::map<int32_t, xcb_window_t> windows;
  const auto show = [&](const RunningApplication& application, bool isShown) {
    for (const auto& window : desktop->windows())
      if (window.pid == application.pid) windows[window.pid] = window.id;
    const xcb_window_t window = windows.at(application.pid);
    if (isShown) return client->map(window);
    client->done(xcb_unmap_window(client->raw(), window));
  };
  expectContract(*applications, launch, show,
                 [&](const auto& holds) { return runUntil(loop, holds); });
}

TEST_F(ApplicationsOnX11, AreManagedNormalWindowsAndDialogsOfOthersToldOnceForEachIdentity) {
  std::vector<std::string> told;
  const auto token = applications->onLaunch([&](const auto& a) { told.push_back(a.bundleID); });
  client->open();  // our own
  start({{.types = {"DOCK"}}, {.types = {"UTILITY"}}, {.types = {"SPLASH", "NORMAL"}}});
  start({{.isOverride = true}});
  start({{.instance = "", .windowClass = ""}});
  const auto windows = [&] { return desktop->snapshot({}), desktop->windows().size(); };
  ASSERT_TRUE(runUntil(loop, [&] { return windows() == 6; }));
  start({{.types = {"DIALOG"}, .windowClass = "asks"}});
  EXPECT_TRUE(runUntil(loop, [&] { return told.size() == 1; }));
  start({{.isOverride = true, .windowClass = "shy"},
           {.windowClass = "shy"}, {.windowClass = "shy"}, {.windowClass = "Chromium"}});
  EXPECT_TRUE(runUntil(loop, [&] { return told.size() == 3; }));
  EXPECT_EQ(told, (std::vector<std::string>{"asks", "shy", "org.chromium.Chromium"}));
}

}  // namespace
}  // namespace velmora
