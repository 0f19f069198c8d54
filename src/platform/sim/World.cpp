#include "platform/sim/World.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace velmora::sim {

World::Time World::exactly(Seconds s) {
  constexpr Seconds kCentury = std::chrono::years(100);
  return std::chrono::round<Time>(std::min(s, kCentury));
}

World::World(std::optional<uint64_t> seed) {
  if (seed) shuffle_.emplace(*seed);
}

void World::schedule(Time due, Task task) {
  const uint64_t tie = shuffle_ ? (*shuffle_)() : 0;
  queue_.emplace(Key{std::max(due, awake_), tie, nextSequence_++}, std::move(task));
}

void World::advance(Seconds by) {
  const Time end = awake_ + exactly(by);
  // Far more than any honest second needs.
  const double mostTasks = 100000.0 + 1000.0 * by.count();
  double tasks = 0;
  while (!queue_.empty() && queue_.begin()->first.due <= end) {
    auto node = queue_.extract(queue_.begin());
    awake_ = std::max(awake_, node.key().due);
    node.mapped()();
    if (++tasks > mostTasks) {
      std::fprintf(stderr, "sim: tasks keep posting tasks at %lld ns\n",
                   static_cast<long long>(awake_.count()));
      std::abort();
    }
  }
  awake_ = std::max(awake_, end);
}

std::shared_ptr<bool> Lane::add(World::Time due, Task task) {
  auto live = std::make_shared<bool>(true);
  tasks_.emplace(std::pair{due, nextSequence_++}, std::pair{live, std::move(task)});
  world_.schedule(due, [this, alive = std::weak_ptr(alive_)] {
    if (alive.lock()) runNext();
  });
  return live;
}

// Each of the world's events runs the lane's earliest task, so that a shuffled tie never reorders
// one lane.
void Lane::runNext() {
  auto node = tasks_.extract(tasks_.begin());
  if (*node.mapped().first) node.mapped().second();
}

void Lane::post(Task task) { add(world_.awake(), std::move(task)); }

Subscription Lane::after(Seconds delay, Task task) {
  auto live = add(world_.awake() + World::exactly(std::max(delay, Seconds(0))), std::move(task));
  return Subscription([live] { *live = false; });
}

struct Lane::Repeat : std::enable_shared_from_this<Repeat> {
  Lane& lane;
  World::Time start;
  World::Time interval;
  Task task;
  bool live = true;
  Repeat(Lane& l, World::Time s, World::Time i, Task t)
      : lane(l), start(s), interval(i), task(std::move(t)) {}

  void arm() {
    const auto passed = (lane.world_.awake() - start) / interval;
    lane.add(start + (passed + 1) * interval, [self = shared_from_this()] { self->fire(); });
  }
  void fire() {
    if (!live) return;
    arm();  // before the task, so that what a long task misses still fires once
    task();
  }
};

Subscription Lane::every(Seconds interval, Seconds, Task task) {
  auto repeat = std::make_shared<Repeat>(*this, world_.awake(), World::exactly(interval),
                                         std::move(task));
  repeat->arm();
  return Subscription([repeat] { repeat->live = false; });
}

}  // namespace velmora::sim
