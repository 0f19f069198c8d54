#include <gtest/gtest.h>

#include <thread>

#include "platform/linux/EventLoop.h"
#include "platform/sim/World.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

// kSlack: by how much the machine's own load may delay work.
struct SimulatedLoop {
  void advance(Seconds by) { world.advance(by); }
  void stall(Seconds by) { world.stall(by); }
  Seconds now() const { return world.awake(); }
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
struct RunLoopContract : testing::Test, T {
  Task note(std::string what) {
    return [this, what] { seen += what; };
  }
  RunLoop& queue = this->loop;
  std::string seen;
};
using Loops = testing::Types<SimulatedLoop, LinuxLoop>;
TYPED_TEST_SUITE(RunLoopContract, Loops);

constexpr Seconds kNow{0.0}, kShort{0.01}, kLong{0.05};

TYPED_TEST(RunLoopContract, TasksRunInTheOrderInWhichTheyFallDueAndNeverInsideTheCall) {
  const auto late = this->queue.after(kLong, this->note("3"));
  const auto early = this->queue.after(kShort, this->note("1"));
  const auto between = this->queue.after(kShort * 2, this->note("2"));
  const auto never = this->queue.after(Seconds(1e12), this->note("z"));
  this->stall(kLong * 2);
  this->queue.post([this] { this->queue.post(this->note("5")); });
  const auto negative = this->queue.after(Seconds(-5.0), this->note("4"));
  EXPECT_EQ(this->seen, "");
  this->advance(kLong);
  EXPECT_EQ(this->seen, "12345");
}

TYPED_TEST(RunLoopContract, DroppedTokensCancelEvenWhatIsDueAndTheTaskUnderWay) {
  Subscription once, later = this->queue.after(kLong, this->note("no"));
  const auto canceller = this->queue.after(kNow, [&] { later.reset(); });
  once = this->queue.every(kShort, kNow, [&, held = std::make_shared<std::string>("x")] {
    once.reset();
    this->seen += *held;  // what the task holds is alive while it runs
  });
  this->stall(kLong * 2);
  this->advance(kLong);
  EXPECT_EQ(this->seen, "x");
}

TYPED_TEST(RunLoopContract, RepeatsStayOnTheirGridAndCollapseWhatTheyMissed) {
  const Seconds start = this->now(), step{0.1};
  std::vector<Seconds> fired;
  const auto token = this->queue.every(step, kNow, [&] {
    fired.push_back(this->now() - start);
    if (fired.size() == 1) this->stall(step * 2.5);
  });
  this->advance(step * 5.5);
  // At 1; stalled to 3.5, which stands for 2 and 3; then 4 and 5.
  ASSERT_TRUE(fired.size() >= 3 && fired.size() <= (this->kSlack > kNow ? 5 : 4)) << fired.size();
  const std::array due{step, step * 3.5, step * 4};
  for (size_t i = 0; i < due.size(); ++i) EXPECT_GE(fired[i], due[i] - Seconds(1e-9));
  EXPECT_LE(fired[1], step * 3.5 + this->kSlack + Seconds(1e-9));
}

}  // namespace
}  // namespace velmora
