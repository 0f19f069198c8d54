#include <gtest/gtest.h>

#include <csignal>
#include <iterator>
#include <sstream>

#include "platform/sim/Fakes.h"
#include "shell/WindowHost.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

constexpr WindowHost::Wants kWindow{.any = true}, kGate{.any = true, .gate = true}, kNothing;

// A window process that writes its number down and then does as `body` says.
class WindowHostTest : public testing::Test {
 protected:
  void SetUp() override { setenv("DISPLAY", ":none", 1); }
  void TearDown() override { unsetenv("DISPLAY"); }

  WindowHost& host(const std::string& body) {
    WindowHost::Times quick{.restart = Seconds(0.02),
                            .early = Seconds(0.5),
                            .pause = Seconds(0.1),
                            .first = Seconds(0.5),
                            .mute = Seconds(0.3),
                            .leave = Seconds(0.1)};
    return made.emplace(
        loop, log,
        std::vector<std::string>{"sh", "-c", "echo $$ >> " + (folder / "starts") + "; " + body},
        quick);
  }
  std::vector<pid_t> starts() const {
    std::istringstream in(contentOf(folder / "starts"));
    return {std::istream_iterator<pid_t>(in), {}};
  }
  bool starts(size_t count) {
    return runUntil(loop, [&] { return starts().size() >= count; });
  }
  bool ends(pid_t pid) {
    return runUntil(loop, [&] { return kill(pid, 0) != 0; });
  }

  TempFolder folder;
  EventLoop loop;
  sim::FakeLog log;
  std::optional<WindowHost> made;
};

TEST_F(WindowHostTest, KeepsTheProcessWhileSomethingIsWanted) {
  auto& window = host("trap '' TERM; while :; do sleep 0.1; done");
  runFor(loop, Seconds(0.05));
  EXPECT_TRUE(starts().empty());
  window.setWanted(kWindow);
  for (const size_t count : {1u, 2u, 3u}) {
    ASSERT_TRUE(starts(count));
    kill(starts().back(), SIGKILL);
  }
  ASSERT_TRUE(starts(4));
  runFor(loop, Seconds(0.1));
  window.setWanted(kNothing);
  EXPECT_TRUE(ends(starts().back())) << "one that does not leave is made to";
  EXPECT_EQ(starts().size(), 4u);
}

TEST_F(WindowHostTest, GivesUpAWindowThatDiesAtOnceButNeverTheGate) {
  auto& window = host("exit 1");
  window.setWanted(kWindow);
  ASSERT_TRUE(starts(4));
  runFor(loop, Seconds(0.4));
  EXPECT_EQ(starts().size(), 4u);
  EXPECT_EQ(log.notices.size(), 1u);
  window.request();
  EXPECT_TRUE(starts(8)) << "somebody asks for it";
  window.setWanted(kGate);
  EXPECT_TRUE(starts(16));
}

TEST_F(WindowHostTest, ReplacesAProcessThatIsMuteWhileTheGateStands) {
  auto& window = host("exec sleep 60");
  window.setWanted(kWindow);
  ASSERT_TRUE(starts(1));
  runFor(loop, Seconds(0.7));
  EXPECT_EQ(starts().size(), 1u) << "no gate, no signs";
  window.setWanted(kGate);
  const auto raised = std::chrono::steady_clock::now();
  ASSERT_TRUE(starts(2)) << "it has been up for long, and has no more time than between signs";
  EXPECT_LT(std::chrono::steady_clock::now() - raised, std::chrono::milliseconds(480));
  for (int i = 0; i < 8; ++i) {
    window.noteSign();
    runFor(loop, Seconds(0.1));
  }
  EXPECT_EQ(starts().size(), 2u);
  kill(starts().back(), SIGSTOP);
  EXPECT_TRUE(starts(3));
}

TEST_F(WindowHostTest, StartsNothingWithoutADisplay) {
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  host("exit 0").setWanted(kGate);
  runFor(loop, Seconds(0.1));
  EXPECT_TRUE(starts().empty());
}

}  // namespace
}  // namespace velmora
