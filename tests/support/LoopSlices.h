#pragma once

#include <chrono>
#include <functional>

#include "platform/linux/EventLoop.h"

namespace velmora {

inline void runFor(EventLoop& loop, Seconds time) {
  const auto end = loop.after(time, [&] { loop.quit(); });
  loop.run();
}

// Runs the loop until something holds, for twenty seconds at most: a loaded machine is slow, not wrong.
inline bool runUntil(EventLoop& loop, const std::function<bool()>& holds) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    if (holds()) return true;
    runFor(loop, Seconds(0.002));
  }
  return false;
}

}  // namespace velmora
