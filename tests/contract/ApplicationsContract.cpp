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

struct Bench {
  Applications& applications;
  std::function<void(const std::string& id)> launch;  // the user starts it
  std::function<bool(const std::function<bool()>&)> until;
};

void expectContract(const Bench& bench) {
  Applications& applications = bench.applications;
  std::vector<RunningApplication> told;
  const auto started = [&](const std::string& id) {
    bench.launch(id);
    RunningApplication found;
    EXPECT_TRUE(bench.until([&] {
      const size_t before = told.size();
      for (const auto& application : applications.running())
        if (application.bundleID == id) found = application;
      EXPECT_EQ(told.size(), before) << "told inside a call";
      return found.pid > 0;
    })) << id;
    return found;
  };
  const auto early = started("early");
  auto token = applications.onLaunch([&](const auto& application) { told.push_back(application); });
  const auto late = started("late");
  EXPECT_TRUE(bench.until([&] { return !told.empty(); }));
  EXPECT_EQ(told, std::vector{late});

  const RunningApplication another{late.pid, "early"};
  EXPECT_FALSE(applications.isRunning(another));
  applications.forceTerminate(another);
  applications.hide(late);
  EXPECT_TRUE(applications.isRunning(early) && applications.isRunning(late));
  applications.terminate(early);
  EXPECT_TRUE(bench.until([&] { return !applications.isRunning(early); }));
  EXPECT_TRUE(applications.isRunning(late));
  applications.forceTerminate(late);
  EXPECT_TRUE(bench.until([&] { return !applications.isRunning(late); }));

  bool isHeard = false;
  token = applications.onLaunch([&](const auto&) { isHeard = true; });
  started("later");
  EXPECT_TRUE(bench.until([&] { return isHeard; }));
  EXPECT_EQ(told.size(), 1u) << "its token is gone";
}

TEST(ApplicationsContract, HoldsForTheSimulatedApplications) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeApplications applications{loop};
  expectContract({applications, [&](const std::string& id) { applications.launch(id); },
                  [&](const auto& holds) {
                    world.advance(Seconds(1));
                    return holds();
                  }});
}

TEST(ApplicationsContract, HoldsForX11) {
  if (!test::canRunDesktop()) GTEST_SKIP() << "needs Xvfb and openbox";
  signal(SIGPIPE, SIG_IGN);
  test::PrivateXServer server;
  test::XClient client(server.display());
  server.startWindowManager();
  ASSERT_TRUE(client.awaitWindowManager());
  EventLoop loop;
  sim::World world;
  const sim::FakeClock clock{world};
  const LinuxAppCatalog catalog;
  X11Desktop desktop{loop, catalog, clock, {server.display(), {}}};
  X11Applications applications{loop, desktop};
  std::vector<test::Child> children;
  expectContract({applications,
                  [&](const std::string& id) {
                    const std::vector<std::string> words{"xterm", "-class", id, "-e", "cat"};
                    children.emplace_back(words, server.display());
                  },
                  [&](const auto& holds) { return runUntil(loop, holds); }});
}

}  // namespace
}  // namespace velmora
