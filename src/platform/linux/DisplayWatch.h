#pragma once

#include <functional>
#include <memory>

#include "base/Date.h"
#include "base/Subscription.h"

namespace velmora {

class EventLoop;
class XDisplay;

// Notices that the desktop session is over: its X server has gone and does not come back. Without a
// server at the start nothing is watched. The loop's thread only.
class DisplayWatch {
 public:
  // `gone` is told once, when the server has been away for `patience`.
  DisplayWatch(EventLoop& loop, Seconds patience, std::function<void()> gone);
  ~DisplayWatch();
  DisplayWatch(const DisplayWatch&) = delete;
  DisplayWatch& operator=(const DisplayWatch&) = delete;

  // Whether DISPLAY names a server that answers now.
  static bool canReach();

 private:
  bool open();
  void lookAgain(int left);

  EventLoop& loop_;
  const int tries_;
  const std::function<void()> gone_;
  std::unique_ptr<XDisplay> display_;
  Subscription next_;
};

}  // namespace velmora
