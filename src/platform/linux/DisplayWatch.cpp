#include "platform/linux/DisplayWatch.h"

#include <xcb/xcb.h>

#include <utility>

#include "platform/linux/EventLoop.h"
#include "platform/linux/XDisplay.h"

namespace velmora {
namespace {

constexpr Seconds kPause(1.0);

}  // namespace

DisplayWatch::DisplayWatch(EventLoop& loop, Seconds patience, std::function<void()> gone)
    : loop_(loop), tries_(static_cast<int>(patience / kPause)), gone_(std::move(gone)) {
  open();
}
DisplayWatch::~DisplayWatch() = default;

bool DisplayWatch::canReach() {
  xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
  const bool isReached = xcb_connection_has_error(connection) == 0;
  xcb_disconnect(connection);
  return isReached;
}

bool DisplayWatch::open() {
  display_.reset();
  display_ = XDisplay::open(loop_, {.event = [](const void*) {},
                                    .lost =
                                        [this] {
                                          display_.reset();
                                          lookAgain(tries_);
                                        }});
  return display_ != nullptr;
}

void DisplayWatch::lookAgain(int left) {
  next_ = loop_.after(kPause, [this, left] {
    if (open()) return;
    if (left > 1)
      lookAgain(left - 1);
    else
      gone_();
  });
}

}  // namespace velmora
