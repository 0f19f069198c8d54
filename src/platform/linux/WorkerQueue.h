#pragma once

#include <memory>
#include <string>

#include "ports/RunLoop.h"

namespace velmora {

class EventLoop;

// A queue on a thread of its own, which takes no signals. The destructor runs what was posted
// before, then waits for the thread; it must not run on that thread.
class WorkerQueue : public SerialQueue {
 public:
  // At most 15 bytes of the name are shown by the system's tools. Ends the program when there is no
  // thread to be had.
  explicit WorkerQueue(const std::string& name);
  ~WorkerQueue() override;
  WorkerQueue(const WorkerQueue&) = delete;
  WorkerQueue& operator=(const WorkerQueue&) = delete;

  void post(Task task) override;
  Subscription after(Seconds delay, Task task) override;

  // The loop behind the queue; apart from its post(), for tasks of this queue only.
  EventLoop& loop();

 private:
  struct Thread;
  std::unique_ptr<Thread> thread_;
};

}  // namespace velmora
