#pragma once

#include <functional>
#include <memory>

namespace velmora {

class EventLoop;

// The program's mark in a tray of the older kind (the system tray protocol with XEMBED), for
// desktops whose panels know no other. It docks again whenever a tray comes, also on a display that
// comes later. The loop's thread only.
class XembedTray {
 public:
  struct Handlers {
    std::function<void()> clicked;
    std::function<void(int x, int y)> menuAsked;  // at this point of the display
  };
  XembedTray(EventLoop& loop, Handlers handlers);
  ~XembedTray();
  XembedTray(const XembedTray&) = delete;
  XembedTray& operator=(const XembedTray&) = delete;

  // False at first. Without it no connection to the display is kept.
  void setVisible(bool isVisible);
  // Whether there is a tray that it was handed to.
  bool isDocked() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
