#pragma once

#include <functional>

#include "platform/linux/BusLink.h"

namespace velmora {

// The program's name on the session bus, com.velmora.app, with the interface by which desktops
// bring a running application to the front (org.freedesktop.Application). The loop's thread only.
class DesktopActivation {
 public:
  // `activated` is told from the loop.
  DesktopActivation(EventLoop& loop, std::function<void()> activated);

 private:
  void open(sd_bus* bus);

  const std::function<void()> activated_;
  BusLink link_;
};

}  // namespace velmora
