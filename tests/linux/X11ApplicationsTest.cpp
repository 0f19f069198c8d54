#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Applications.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

using Looks = std::vector<test::XLook>;

class X11ApplicationsTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::canRunDesktop()) GTEST_SKIP() << "needs Xvfb and openbox";
    signal(SIGPIPE, SIG_IGN);
    server.emplace();
    client.emplace(server->display());
    server->startWindowManager();
    ASSERT_TRUE(client->awaitWindowManager());
    desktop.emplace(loop, catalog, clock, X11Desktop::Options{server->display(), {}});
    applications.emplace(loop, *desktop);
  }
  // A program that shows these windows, in a process of its own.
  int32_t start(const Looks& looks) {
    children.emplace_back([&] {
      test::XClient program(server->display());
      for (const auto& look : looks) program.open(look);
      pause();
    });
    return children.back().pid();
  }
  // The identities of those that run, once `pid` is among them.
  std::vector<std::string> runningWith(int32_t pid) {
    std::vector<std::string> ids;
    EXPECT_TRUE(runUntil(loop, [&] {
      ids.clear();
      bool isThere = false;
      for (const auto& application : applications->running()) {
        ids.push_back(application.bundleID);
        isThere = isThere || application.pid == pid;
      }
      return isThere;
    }));
    return ids;
  }

  std::optional<test::PrivateXServer> server;
  std::optional<test::XClient> client;
  EventLoop loop;
  sim::World world;
  sim::FakeClock clock{world};
  LinuxAppCatalog catalog;
  std::optional<X11Desktop> desktop;
  std::optional<X11Applications> applications;
  std::vector<test::Child> children;
};

TEST_F(X11ApplicationsTest, OnlyManagedNormalWindowsAndDialogsMakeAnApplication) {
  client->open();  // our own
  start({{.types = {"DOCK"}}, {.types = {"UTILITY"}}, {.types = {"SPLASH", "NORMAL"}}});
  start({{.isOverride = true}});
  start({{.instance = "", .windowClass = ""}});
  ASSERT_TRUE(runUntil(loop, [&] {
    desktop->snapshot({});
    return desktop->windows().size() == 6;
  }));
  runningWith(start({{.types = {"DIALOG"}, .windowClass = "asks"}}));
  EXPECT_EQ(runningWith(start({{.windowClass = "last"}})),
            (std::vector<std::string>{"asks", "last"}));
}

TEST_F(X11ApplicationsTest, ALaunchIsToldOnceAndAgainWhenItTurnsOutToBeAnotherApplication) {
  std::vector<std::string> told;
  const auto token = applications->onLaunch([&](const auto& a) { told.push_back(a.bundleID); });
  std::unique_ptr<test::XClient> program;
  // The tray icon of a program is no launch; its second window is none either.
  children.emplace_back([&] {
    test::XClient shy(server->display());
    shy.open({.isOverride = true, .windowClass = "shy"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    shy.open({.windowClass = "shy"});
    shy.open({.windowClass = "shy"});
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    shy.open({.windowClass = "Chromium"});
    pause();
  });
  EXPECT_TRUE(runUntil(loop, [&] { return told.size() == 2; }));
  runFor(loop, Seconds(0.1));
  EXPECT_EQ(told, (std::vector<std::string>{"shy", "org.chromium.Chromium"}));
}

TEST_F(X11ApplicationsTest, HidingMinimisesEveryWindow) {
  const int32_t pid = start({{.windowClass = "two"}, {.windowClass = "two"}});
  runningWith(pid);
  const auto onScreen = [&] {
    desktop->snapshot({});
    return std::ranges::count_if(desktop->windows(), [&](const X11Window& window) {
      return window.pid == pid && window.onScreen;
    });
  };
  ASSERT_TRUE(runUntil(loop, [&] { return onScreen() == 2; }));
  applications->hide({pid, "two"});
  EXPECT_TRUE(runUntil(loop, [&] { return onScreen() == 0; }));
  EXPECT_TRUE(applications->isRunning({pid, "two"}));
}

}  // namespace
}  // namespace velmora
