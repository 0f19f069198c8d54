#pragma once

#include <cstdint>
#include <memory>

#include "base/Date.h"
#include "base/Property.h"
#include "ports/ScreenLock.h"

namespace velmora {

class EventLoop;

// Whether the user's login session has the console and is not locked, as logind tells it. All
// questions are asked in the background and the answers kept. As long as nothing is known - no
// system bus, no logind, no session of ours, or the answer is still on its way - the session counts
// as being on the console. A lost bus is looked for again from time to time. On the loop's
// thread only.
class LogindSession {
 public:
  // Attaches itself to the loop, which must outlive this object. Does not wait.
  explicit LogindSession(EventLoop& loop, Seconds reconnectInterval = Seconds(15));
  ~LogindSession();
  LogindSession(const LogindSession&) = delete;
  LogindSession& operator=(const LogindSession&) = delete;

  bool onConsoleAndUnlocked() const;
  // Locked as long as the session is marked so. Asked from the moment when the system is about to
  // sleep, and for some seconds after it woke up or the session was told to lock.
  const Property<ScreenLock>& screenLock() const;
  // The system has woken up, the how manieth time since this object knows.
  const Property<int64_t>& awakenings() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
