#include <gtest/gtest.h>

#include <thread>

#include "platform/linux/EventLoop.h"
#include "platform/sim/World.h"
#include "ports/RunLoop.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

struct SimulatedLoop {
  void advance(Seconds by) { world.advance(by); }
  void stall(Seconds by) { world.stall(by); }
  Seconds now() const { return world.awake(); }
  // Work that the machine's own load may delay by this much.
  static constexpr Seconds kSlack{0.0};
  sim::World world;
  sim::Lane loop{world};
};

struct LinuxLoop {
  void advance(Seconds by) { runFor(loop, by); }
  void stall(Seconds by) { std::this_thread::sleep_for(by); }
  Seconds now() const { return std::chrono::steady_clock::now().time_since_epoch(); }
  static constexpr Seconds kSlack{0.2};
  EventLoop loop;
};

template <class T>
class RunLoopContract : public testing::Test, public T {
 protected:
  RunLoop& queue() { return this->loop; }
  std::function<void()> note(const std::string& what) {
    return [this, what] { seen += what; };
  }
  std::string seen;
};
using Loops = testing::Types<SimulatedLoop, LinuxLoop>;
TYPED_TEST_SUITE(RunLoopContract, Loops);

constexpr Seconds kNow{0.0};
constexpr Seconds kShort{0.01};
constexpr Seconds kLong{0.05};

TYPED_TEST(RunLoopContract, PostedTasksRunInOrderAndNeverInsideTheCall) {
  this->queue().post([this] {
    this->queue().post(this->note("c"));
    this->seen += "a";
  });
  this->queue().post(this->note("b"));
  EXPECT_EQ(this->seen, "");
  this->advance(kShort);
  EXPECT_EQ(this->seen, "abc");
}

TYPED_TEST(RunLoopContract, TasksRunInTheOrderInWhichTheyFallDue) {
  const auto late = this->queue().after(kLong, this->note("3"));
  const auto early = this->queue().after(kShort, this->note("1"));
  const auto between = this->queue().after(kShort * 2, this->note("2"));
  this->stall(kLong * 2);
  this->queue().post(this->note("4"));
  this->advance(kShort);
  EXPECT_EQ(this->seen, "1234");
}

TYPED_TEST(RunLoopContract, AfterRunsOnceAndNotBeforeItsTime) {
  const Seconds start = this->now();
  Seconds ran{-1.0};
  const auto token = this->queue().after(kLong, [&] {
    ran = this->now();
    this->seen += "x";
  });
  this->advance(kLong * 3);
  EXPECT_EQ(this->seen, "x");
  EXPECT_GE(ran - start, kLong);
  EXPECT_LE(ran - start, kLong + this->kSlack);
}

TYPED_TEST(RunLoopContract, DroppedTokensCancelEvenWhatIsAlreadyDue) {
  auto first = this->queue().after(kShort, this->note("no"));
  auto second = this->queue().after(kLong, this->note("no"));
  const auto canceller = this->queue().after(kNow, [&] { second.reset(); });
  first.reset();
  this->stall(kLong * 2);
  this->advance(kLong);
  EXPECT_EQ(this->seen, "");
}

TYPED_TEST(RunLoopContract, RepeatsStayOnTheirGridAndCollapseWhatTheyMissed) {
  const Seconds start = this->now();
  std::vector<Seconds> fired;
  bool stalled = false;
  const Seconds step{0.1};
  const auto token = this->queue().every(step, kNow, [&] {
    fired.push_back(this->now() - start);
    if (!std::exchange(stalled, true)) this->stall(step * 2.5);
  });
  this->advance(step * 5.5);
  // At 1; stalled to 3.5, which stands for 2 and 3; then 4 and 5.
  ASSERT_GE(fired.size(), 3u);
  ASSERT_LE(fired.size(), 4u + (this->kSlack > kNow ? 1 : 0));
  EXPECT_GE(fired[0], step);
  EXPECT_GE(fired[1], step * 3.5);
  EXPECT_LE(fired[1], step * 3.5 + this->kSlack);
  EXPECT_GE(fired[2], step * 4);
}

TYPED_TEST(RunLoopContract, ATaskMayDropOrReplaceItsOwnToken) {
  Subscription once;
  once = this->queue().every(kShort, kNow, [&, held = std::make_shared<std::string>("x")] {
    once.reset();
    this->seen += *held;  // what the task holds is alive while it runs
  });
  Subscription relay;
  relay =
      this->queue().after(kShort, [&] { relay = this->queue().after(kShort, this->note("y")); });
  this->advance(kLong * 2);
  EXPECT_EQ(this->seen, "xy");
}

TYPED_TEST(RunLoopContract, OddDelaysAreDueAtOnceOrNever) {
  const auto negative = this->queue().after(Seconds(-5.0), this->note("a"));
  const auto never = this->queue().after(Seconds(1e12), this->note("z"));
  this->advance(kShort);
  EXPECT_EQ(this->seen, "a");
}

TEST(RunLoopTokens, OutliveTheirLoop) {
  Subscription timer;
  Subscription repeat;
  auto held = std::make_shared<int>(0);
  {
    EventLoop loop;
    timer = loop.after(kLong, [held] {});
    repeat = loop.every(kLong, kNow, [held] {});
    loop.post([held] {});
  }
  EXPECT_EQ(held.use_count(), 1);
  timer.reset();
  repeat.reset();
}

}  // namespace
}  // namespace velmora
