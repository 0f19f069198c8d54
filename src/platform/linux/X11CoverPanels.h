#pragma once

#include <memory>
#include <string>

#include "ports/CoverPanels.h"

namespace velmora {

class Clock;
class EventLoop;

// Cover panels as bare windows of the X server, which no window manager moves, decorates or gives
// the focus. They are made before they are needed, on a connection of their own, so that showing
// one is a single write. Rectangles are in root coordinates. What the window manager raises while a
// panel stands goes behind it again; what is no window of the manager and comes up later, as menus,
// lockers and our own gate do, stays in front. A window that such a one hides is never covered, so
// no panel comes up before it. With the process go its panels.
class X11CoverPanels final : public CoverPanels {
 public:
  // `loop` and `clock` outlive this object. `display` as in DISPLAY; empty takes that variable.
  // Does not fail: without a server it tries again every few seconds, when it is asked to show.
  X11CoverPanels(EventLoop& loop, const Clock& clock, std::string display = {});
  ~X11CoverPanels() override;

  Panel show(const Rect& rectangle) override;
  void showAgain(Panel panel) override;
  void fadeOut(Panel panel, Seconds duration) override;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
