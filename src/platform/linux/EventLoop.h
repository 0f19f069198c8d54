#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "ports/RunLoop.h"

struct sd_event;

namespace velmora {

// The run loop of one thread: tasks, timers, file descriptors and signals.
//
// post() and quit() are safe from every thread; all else belongs to the thread that runs the loop,
// or to its owner before run(). Tasks and timers run in the order in which they fell due. A task
// that is posted by a task runs in a later turn, after the descriptors had theirs.
//
// The destructor drops what did not run; tokens that outlive the loop do nothing.
class EventLoop : public RunLoop {
 public:
  EventLoop();
  ~EventLoop() override;
  EventLoop(const EventLoop&) = delete;
  EventLoop& operator=(const EventLoop&) = delete;

  void post(Task task) override;
  // A delay that is no number or below zero is due now. Fires at most a millisecond late, load
  // aside.
  Subscription after(Seconds delay, Task task) override;
  // Intervals below a millisecond count as one. Timers whose windows (due time to due time plus
  // tolerance) overlap share a wake-up.
  Subscription every(Seconds interval, Seconds tolerance, Task task) override;

  // Calls back with the events that came, EPOLLERR and EPOLLHUP always among those watched. One
  // watch per descriptor; the descriptor stays the caller's and is closed only after the token is
  // gone. Empty when it can't be watched (a regular file, one that is closed or already watched).
  // The loop owns `ready`, so what only `ready` holds dies with the token or with the loop.
  Subscription watch(int fd, uint32_t epollEvents, std::function<void(uint32_t)> ready);
  // The signals are blocked in the calling thread while the token lives, and told to `raised`
  // instead. Threads started earlier keep their own mask: those of WorkerQueue take no signals.
  Subscription onSignal(const std::vector<int>& signals, std::function<void(int)> raised);

  // Runs until quit(). May be called again afterwards.
  void run();
  // Lets run() return after the tasks that were posted before this call.
  void quit();

  // For libraries that attach themselves, such as sd-bus.
  sd_event* native() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace velmora
