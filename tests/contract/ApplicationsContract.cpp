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

void expectContract(Applications& applications, const std::function<void(std::string)>& launch,
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
  auto token = applications.onLaunch([&](const auto& application) { told.push_back(application); });
  const auto late = started("late");
  EXPECT_TRUE(until([&] { return told == std::vector{late}; }));

  applications.forceTerminate({late.pid, "early"});
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
  EXPECT_EQ(told.size(), 1u) << "its token is gone";
}

TEST(ApplicationsContract, HoldsForTheSimulatedApplications) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeApplications applications{loop};
  expectContract(applications, [&](const std::string& id) { applications.launch(id); },
                 [&](const auto& holds) { return world.advance(Seconds(1)), holds(); });
}

class ApplicationsOnX11 : public testing::Test {
 protected:
  void SetUp() override {
    signal(SIGPIPE, SIG_IGN);
    server.startWindowManager();
    ASSERT_TRUE(client.awaitWindowManager());
  }
  // A program that shows these windows one after the other.
  void start(const std::vector<test::XLook>& looks) {
    children.emplace_back([&] {
      test::XClient program(server.display());
      for (const auto& look : looks) {
        program.open(look);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
      pause();
    });
  }

  test::PrivateXServer server;
  test::XClient client{server.display()};
  EventLoop loop;
  sim::World world;
  sim::FakeClock clock{world};
  LinuxAppCatalog catalog;
  X11Desktop desktop{loop, catalog, clock, {server.display(), {}}};
  X11Applications applications{loop, desktop};
  std::vector<test::Child> children;
};

TEST_F(ApplicationsOnX11, HoldTheContract) {
  const auto launch = [&](const std::string& id) {
    const std::vector<std::string> words{"xterm", "-class", id, "-e", "cat"};
    children.emplace_back(words, server.display());
  };
  expectContract(applications, launch, [&](const auto& holds) { return runUntil(loop, holds); });
}

TEST_F(ApplicationsOnX11, AreManagedNormalWindowsAndDialogsOfOthersToldOnceForEachIdentity) {
  std::vector<std::string> told;
  const auto token = applications.onLaunch([&](const auto& a) { told.push_back(a.bundleID); });
  client.open();  // our own
  start({{.types = {"DOCK"}}, {.types = {"UTILITY"}}, {.types = {"SPLASH", "NORMAL"}}});
  start({{.isOverride = true}});
  start({{.instance = "", .windowClass = ""}});
  ASSERT_TRUE(runUntil(loop, [&] { return desktop.snapshot({}), desktop.windows().size() == 6; }));
  start({{.types = {"DIALOG"}, .windowClass = "asks"}});
  EXPECT_TRUE(runUntil(loop, [&] { return told.size() == 1; }));
  start({{.isOverride = true, .windowClass = "shy"},
         {.windowClass = "shy"}, {.windowClass = "shy"}, {.windowClass = "Chromium"}});
  EXPECT_TRUE(runUntil(loop, [&] { return told.size() == 3; }));
  EXPECT_EQ(told, (std::vector<std::string>{"asks", "shy", "org.chromium.Chromium"}));
  EXPECT_EQ(applications.running().size(), 2u);
}

}  // namespace
}  // namespace velmora
