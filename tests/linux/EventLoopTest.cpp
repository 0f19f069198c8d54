#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "platform/linux/WorkerQueue.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

// A loop and a pipe that it can watch.
class LoopOfDescriptors : public testing::Test {
 protected:
  LoopOfDescriptors() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
  ~LoopOfDescriptors() override { close(ends[0]), close(ends[1]); }
  Subscription watch(std::function<void(uint32_t)> ready) {
    return loop.watch(ends[0], EPOLLIN, std::move(ready));
  }
  void put() { EXPECT_EQ(write(ends[1], "x", 1), 1); }
  bool until(const std::function<bool()>& holds) { return runUntil(loop, holds); }
  int ends[2];
  EventLoop loop;
};

TEST_F(LoopOfDescriptors, WatchesUntilTheTokenGoesEvenFromWithin) {
  int told = 0;
  Subscription token;
  token = watch([&, held = std::make_shared<int>(7)](uint32_t) {
    token.reset();
    told += *held;
  });
  EXPECT_FALSE(watch([](uint32_t) {})) << "one watch per descriptor";
  EXPECT_FALSE(loop.watch(-1, EPOLLIN, [](uint32_t) {}));
  put();
  runFor(loop, Seconds(0.02));
  EXPECT_EQ(told, 7);
  token = watch([&](uint32_t) { told = 0; });
  EXPECT_TRUE(until([&] { return told == 0; })) << "the descriptor is free for another watch";
}

TEST_F(LoopOfDescriptors, PostsDontStarveDescriptors) {
  bool told = false;
  const auto token = watch([&](uint32_t) { told = true; });
  put();
  std::function<void()> forever = [&] { loop.post(forever); };
  forever();
  EXPECT_TRUE(until([&] { return told; }));
}

TEST_F(LoopOfDescriptors, DropsWhatDidNotRunWithoutTrippingOverIt) {
  struct Poster {
    EventLoop& loop;
    ~Poster() { loop.post(std::abort); }
  };
  auto own = std::make_unique<EventLoop>();
  auto poster = std::make_shared<Poster>(*own);
  own->post([poster] {});
  const auto token = own->watch(ends[0], EPOLLIN, [poster](uint32_t) {});
  const auto timer = own->after(Seconds(1), [poster] {});
  const auto repeat = own->every(Seconds(1), Seconds(0), [poster] {});
  const std::weak_ptr<Poster> dropped = std::exchange(poster, nullptr);
  own.reset();
  EXPECT_TRUE(dropped.expired());
}

TEST(WorkerQueue, FinishesWhatWasPostedAndLeavesSignalsToTheMainLoop) {
  EventLoop loop;
  int raised = 0, ran = 0;
  {
    WorkerQueue queue("test worker");
    auto token = loop.onSignal({SIGUSR1, SIGUSR2}, [&](int signal) { raised = signal; });
    kill(getpid(), SIGUSR2);
    EXPECT_TRUE(runUntil(loop, [&] { return raised == SIGUSR2; }));
    for (int i = 0; i < 100; ++i) queue.post([&] { ++ran; });
  }
  EXPECT_EQ(ran, 100);
}

}  // namespace
}  // namespace velmora
