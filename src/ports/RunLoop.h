#pragma once

#include <functional>

#include "base/Date.h"
#include "base/Subscription.h"

namespace velmora {

using Task = std::function<void()>;

// Runs tasks one after another, in the order in which they fall due, and never inside the call
// that hands them over.
class SerialQueue {
 public:
  virtual ~SerialQueue() = default;
  // Safe from every thread.
  virtual void post(Task task) = 0;
  // Runs once, `delay` of awake time from now; dropping the token cancels. A delay below zero is
  // due now, one of centuries never. On the queue's own thread only.
  virtual Subscription after(Seconds delay, Task task) = 0;
};

// The queue of the main thread, on which the whole core lives.
class RunLoop : public SerialQueue {
 public:
  // Runs at now + interval, now + 2 * interval and so on, each up to `tolerance` late, until the
  // token is dropped, which the task itself may do. The grid stays as it is: a late firing does
  // not move the next one, firings missed meanwhile collapse into one, and suspend adds none.
  virtual Subscription every(Seconds interval, Seconds tolerance, Task task) = 0;
};

}  // namespace velmora
