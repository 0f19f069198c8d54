#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <utility>

#include "ports/RunLoop.h"

namespace velmora::sim {

// Virtual time for any number of lanes on any number of devices. One queue holds what is due,
// ordered by time, then by a tie-break that a seed shuffles between lanes, then by sequence.
class World {
 public:
  explicit World(std::optional<uint64_t> seed = {});

  // Whole nanoseconds, so that a sum of tenths is as exact as on a real clock.
  using Time = std::chrono::nanoseconds;
  static Time exactly(Seconds s);  // saturates at a century

  // Awake time since the start of the world; timers run on it.
  Time awake() const { return awake_; }
  // Awake and suspended time together: what a boot clock shows.
  Time sinceBoot() const { return awake_ + suspended_; }

  // Runs everything that falls due on the way. Aborts when tasks keep posting tasks for ever.
  void advance(Seconds by);
  // Runs what is due now.
  void settle() { advance(Seconds(0)); }
  // A suspend: time goes by and nothing runs, neither now nor later.
  void jump(Seconds by) { suspended_ += exactly(by); }
  // A stalled main thread: time goes by, and what fell due meanwhile runs late.
  void stall(Seconds by) { awake_ += exactly(by); }

 private:
  friend class Lane;
  struct Key {
    Time due;
    uint64_t tie;
    uint64_t sequence;
    auto operator<=>(const Key&) const = default;
  };
  void schedule(Time due, Task task);

  std::map<Key, Task> queue_;
  Time awake_{0};
  Time suspended_{0};
  uint64_t nextSequence_ = 0;
  std::optional<std::mt19937_64> shuffle_;
};

// One thread of one device. Keeps its own order whatever the tie-break; a lane that is gone takes
// its tasks with it.
class Lane final : public RunLoop {
 public:
  explicit Lane(World& world) : world_(world) {}
  Lane(const Lane&) = delete;
  Lane& operator=(const Lane&) = delete;

  void post(Task task) override;
  Subscription after(Seconds delay, Task task) override;
  Subscription every(Seconds interval, Seconds tolerance, Task task) override;

 private:
  struct Repeat;
  std::shared_ptr<bool> add(World::Time due, Task task);
  void runNext();

  World& world_;
  std::map<std::pair<World::Time, uint64_t>, std::pair<std::shared_ptr<bool>, Task>> tasks_;
  uint64_t nextSequence_ = 0;
  std::shared_ptr<int> alive_ = std::make_shared<int>(0);
};

}  // namespace velmora::sim
