#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <thread>

#include "platform/linux/EventLoop.h"
#include "platform/linux/WorkerQueue.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

struct Pipe {
  Pipe() { EXPECT_EQ(pipe(ends), 0); }
  ~Pipe() {
    close(ends[0]);
    close(ends[1]);
  }
  void put(const char* text) { EXPECT_GT(write(ends[1], text, 1), 0); }
  int ends[2];
};

TEST(EventLoop, TakesPostsFromManyThreadsEachInItsOrder) {
  constexpr int kThreads = 4;
  constexpr int kPosts = 500;
  EventLoop loop;
  std::vector<int> next(kThreads, 0);
  int total = 0;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPosts; ++i)
        loop.post([&, t, i] {
          EXPECT_EQ(next[t]++, i);
          ++total;
        });
    });
  EXPECT_TRUE(runUntil(loop, [&] { return total == kThreads * kPosts; }));
  for (auto& thread : threads) thread.join();
}

TEST(EventLoop, QuitLetsEarlierPostsRunAndTheLoopRunAgain) {
  EventLoop loop;
  int ran = 0;
  loop.post([&] { ++ran; });
  loop.quit();
  loop.run();
  EXPECT_EQ(ran, 1);
  loop.post([&] { ++ran; });
  loop.quit();
  loop.run();
  EXPECT_EQ(ran, 2);
}

TEST(EventLoop, WatchesUntilTheTokenGoesEvenFromWithin) {
  EventLoop loop;
  Pipe pipe;
  int told = 0;
  Subscription watch;
  watch = loop.watch(pipe.ends[0], EPOLLIN, [&, held = std::make_shared<int>(7)](uint32_t events) {
    EXPECT_TRUE(events & EPOLLIN);
    watch.reset();
    told += *held;
  });
  ASSERT_TRUE(watch);
  runFor(loop, Seconds(0.005));
  EXPECT_EQ(told, 0);
  pipe.put("x");
  EXPECT_TRUE(runUntil(loop, [&] { return told != 0; }));
  runFor(loop, Seconds(0.005));
  EXPECT_EQ(told, 7);
  // The descriptor is free for another watch.
  watch = loop.watch(pipe.ends[0], EPOLLIN, [&](uint32_t) { loop.quit(); });
  ASSERT_TRUE(watch);
  loop.run();
}

TEST(EventLoop, RefusesWhatCantBeWatched) {
  EventLoop loop;
  TempFolder folder;
  Pipe pipe;
  putContent(folder / "file", "x");
  FILE* file = fopen((folder / "file").c_str(), "r");
  EXPECT_FALSE(loop.watch(fileno(file), EPOLLIN, [](uint32_t) {}));
  fclose(file);
  EXPECT_FALSE(loop.watch(-1, EPOLLIN, [](uint32_t) {}));
  const auto first = loop.watch(pipe.ends[0], EPOLLIN, [](uint32_t) {});
  EXPECT_FALSE(loop.watch(pipe.ends[0], EPOLLIN, [](uint32_t) {}));
}

TEST(EventLoop, PostsDontStarveDescriptors) {
  EventLoop loop;
  Pipe pipe;
  bool told = false;
  const auto watch = loop.watch(pipe.ends[0], EPOLLIN, [&](uint32_t) { told = true; });
  pipe.put("x");
  std::function<void()> forever = [&] { loop.post(forever); };
  forever();
  EXPECT_TRUE(runUntil(loop, [&] { return told; }));
}

TEST(EventLoop, TellsSignalsAndGivesThemBack) {
  EventLoop loop;
  int seen = 0;
  auto token = loop.onSignal({SIGUSR1, SIGUSR2}, [&](int signal) { seen = signal; });
  raise(SIGUSR2);
  EXPECT_TRUE(runUntil(loop, [&] { return seen != 0; }));
  EXPECT_EQ(seen, SIGUSR2);
  token.reset();
  sigset_t mask;
  pthread_sigmask(SIG_SETMASK, nullptr, &mask);
  EXPECT_FALSE(sigismember(&mask, SIGUSR2));
}

// The tick of every second and the look of every second and a half must not wake the machine twice
// where their windows overlap.
TEST(EventLoop, TimersWithToleranceShareTheirWakeUps) {
  EventLoop loop;
  std::vector<double> ticks;
  std::vector<double> looks;
  const auto now = [start = std::chrono::steady_clock::now()] {
    return Seconds(std::chrono::steady_clock::now() - start).count();
  };
  const auto tick = loop.every(Seconds(0.2), Seconds(0.06), [&] { ticks.push_back(now()); });
  const auto look = loop.every(Seconds(0.25), Seconds(0.06), [&] { looks.push_back(now()); });
  runFor(loop, Seconds(0.4));
  ASSERT_GE(ticks.size(), 1u);
  ASSERT_GE(looks.size(), 1u);
  EXPECT_NEAR(ticks[0], looks[0], 0.002);
  EXPECT_GE(ticks[0], 0.25);
}

TEST(EventLoop, DropsWhatDidNotRunWithoutTrippingOverIt) {
  struct Poster {
    EventLoop& loop;
    std::shared_ptr<int> alive;
    ~Poster() {
      if (alive) loop.post([a = alive] {});
    }
  };
  const auto alive = std::make_shared<int>(0);
  Pipe pipe;
  Subscription watch;
  {
    EventLoop loop;
    auto poster = std::make_shared<Poster>(loop, alive);
    loop.post([poster] {});
    watch = loop.watch(pipe.ends[0], EPOLLIN, [poster](uint32_t) {});
  }
  EXPECT_EQ(alive.use_count(), 1);
}

TEST(WorkerQueue, RunsOnItsOwnThreadAndFinishesWhatWasPosted) {
  std::vector<int> ran;
  std::thread::id worker;
  Subscription timer;
  {
    WorkerQueue queue("test worker");
    queue.post([&] {
      worker = std::this_thread::get_id();
      timer = queue.after(Seconds(3600), [&] { ran.push_back(-1); });
    });
    for (int i = 0; i < 100; ++i) queue.post([&, i] { ran.push_back(i); });
  }
  EXPECT_NE(worker, std::this_thread::get_id());
  ASSERT_EQ(ran.size(), 100u);
  EXPECT_EQ(ran.back(), 99);
}

TEST(WorkerQueue, TalksWithTheMainLoopAndTakesNoSignals) {
  EventLoop loop;
  WorkerQueue queue("test worker");
  std::string answer;
  bool blocksTerm = false;
  queue.post([&] {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    loop.post([&, blocks = sigismember(&mask, SIGTERM) == 1] {
      blocksTerm = blocks;
      answer = "done";
      loop.quit();
    });
  });
  loop.run();
  EXPECT_EQ(answer, "done");
  EXPECT_TRUE(blocksTerm);
}

}  // namespace
}  // namespace velmora
