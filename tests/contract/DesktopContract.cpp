#include <gtest/gtest.h>
#include <signal.h>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LinuxAppCatalog.h"
#include "platform/linux/X11Desktop.h"
#include "platform/sim/FakeScreen.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

// A desktop on which the test opens windows of one application.
class Bench {
 public:
  virtual ~Bench() = default;
  virtual bool canRun() const { return true; }
  virtual Desktop& desktop() = 0;
  // A new window in front of the others; its number.
  virtual int open(Rect frame) = 0;
  virtual void raise(int window) = 0;
  virtual void minimise(int window) = 0;
  virtual Rect frameOf(int window) = 0;
  virtual void loseServer() = 0;
};

class SimBench final : public Bench {
 public:
  Desktop& desktop() override { return screen_; }
  int open(Rect frame) override { return std::stoi(screen_.open("box", "", frame).id); }
  void raise(int window) override { screen_.raise(std::to_string(window)); }
  void minimise(int window) override { screen_.window(std::to_string(window)).isMinimised = true; }
  Rect frameOf(int window) override { return screen_.window(std::to_string(window)).frame; }
  void loseServer() override {
    screen_.isWindowListAvailable = false;
    screen_.displays.clear();
    screen_.windows.clear();
  }

 private:
  sim::World world_;
  sim::Lane loop_{world_};
  sim::FakeScreen screen_{loop_};
};

class X11Bench final : public Bench {
 public:
  X11Bench() {
    if (!canRun()) return;
    signal(SIGPIPE, SIG_IGN);
    server_.emplace();
    server_->startWindowManager();
    client_ = std::make_unique<test::XClient>(server_->display());
    EXPECT_TRUE(client_->awaitWindowManager());
    desktop_.emplace(loop_, catalog_, clock_, X11Desktop::Options{server_->display(), {}});
  }
  bool canRun() const override { return test::hasProgram("Xvfb") && test::hasProgram("openbox"); }
  Desktop& desktop() override { return *desktop_; }
  int open(Rect frame) override {
    const auto window = client_->open({.frame = frame, .instance = "box", .windowClass = "box"});
    EXPECT_TRUE(test::eventually([&] { return client_->hasProperty(window, "WM_STATE"); }));
    client_->activate(window);
    return static_cast<int>(window);
  }
  void raise(int window) override { client_->activate(static_cast<xcb_window_t>(window)); }
  void minimise(int window) override { client_->minimise(static_cast<xcb_window_t>(window)); }
  Rect frameOf(int window) override {
    return client_->outerFrame(static_cast<xcb_window_t>(window));
  }
  void loseServer() override {
    client_.reset();
    server_->kill();
  }

 private:
  std::optional<test::PrivateXServer> server_;
  std::unique_ptr<test::XClient> client_;
  EventLoop loop_;
  sim::World world_;
  sim::FakeClock clock_{world_};
  LinuxAppCatalog catalog_;
  std::optional<X11Desktop> desktop_;
};

class DesktopContract : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam() == "sim") bench = std::make_unique<SimBench>();
    if (GetParam() == "x11") bench = std::make_unique<X11Bench>();
    if (!bench->canRun()) GTEST_SKIP() << "needs Xvfb and openbox";
  }
  DesktopSnapshot look(bool pointer = false) {
    return bench->desktop().snapshot({.pointer = pointer});
  }
  // Whether exactly these windows are shown, front to back.
  bool shows(const std::vector<int>& windows) {
    return test::eventually([&] {
      std::vector<Rect> expected, seen;
      for (const int window : windows) expected.push_back(bench->frameOf(window));
      const auto snapshot = look();
      if (!snapshot.windows) return false;
      for (const auto& window : *snapshot.windows) seen.push_back(window.frame);
      return seen == expected;
    });
  }

  std::unique_ptr<Bench> bench;
};

TEST_P(DesktopContract, ListsWindowsFrontToBack) {
  const int a = bench->open({10, 10, 300, 200});
  const int b = bench->open({60, 80, 300, 200});
  ASSERT_TRUE(shows({b, a}));
  const auto snapshot = look();
  for (const auto& window : *snapshot.windows) {
    EXPECT_GT(window.pid, 0);
    EXPECT_EQ(window.layer, kNormalLayer);
    EXPECT_EQ(window.alpha, 1.0);
  }
  bench->raise(a);
  EXPECT_TRUE(shows({a, b}));
}

TEST_P(DesktopContract, AnApplicationIsListedOnceAndInFrontWhenActive) {
  EXPECT_EQ(look().frontmost, std::nullopt);
  const int a = bench->open({10, 10, 300, 200});
  const int b = bench->open({60, 80, 300, 200});
  ASSERT_TRUE(shows({b, a}));
  EXPECT_TRUE(test::eventually([&] { return look().frontmost == "box"; }));
  const auto snapshot = look();
  ASSERT_EQ(snapshot.applications.size(), 1u);
  EXPECT_EQ(snapshot.applications[0].bundleID, "box");
  EXPECT_EQ(snapshot.applications[0].pid, snapshot.windows->front().pid);
}

TEST_P(DesktopContract, AMinimisedWindowLeavesItsApplicationRunning) {
  const int a = bench->open({10, 10, 300, 200});
  const int b = bench->open({60, 80, 300, 200});
  bench->minimise(b);
  ASSERT_TRUE(shows({a}));
  bench->minimise(a);
  ASSERT_TRUE(shows({}));
  EXPECT_EQ(look().applications.size(), 1u);
}

TEST_P(DesktopContract, NoPointerUnlessAsked) {
  EXPECT_EQ(look(false).pointer, std::nullopt);
}

TEST_P(DesktopContract, WithoutAServerThereIsNothingToSee) {
  EXPECT_FALSE(look().displays.empty());
  bench->open({10, 10, 300, 200});
  bench->loseServer();
  ASSERT_TRUE(test::eventually([&] { return !look().windows; }));
  const auto snapshot = look();
  EXPECT_TRUE(snapshot.displays.empty());
  EXPECT_TRUE(snapshot.applications.empty());
  EXPECT_EQ(snapshot.frontmost, std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Adapters, DesktopContract, testing::Values("sim", "x11"),
                         [](const auto& adapter) { return adapter.param; });

}  // namespace
}  // namespace velmora
