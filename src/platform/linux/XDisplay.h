#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "base/Subscription.h"

struct xcb_connection_t;
struct xcb_screen_t;
struct _cairo_surface;
struct _cairo_device;

namespace velmora {

class EventLoop;

// How much larger than usual the user of a display wants things, from 1 on, by the resource
// Xft.dpi. Waits for the server.
double xScale(xcb_connection_t* connection, uint32_t root);

// A connection to the X server that small windows of ours are drawn on, its events told from the
// loop. The loop's thread only; opening and atom() wait for the server.
class XDisplay {
 public:
  struct Handlers {
    std::function<void(const void* xcbEvent)> event;
    std::function<void()> lost;  // the server is gone; told once
  };
  // Where DISPLAY points; nothing when no server answers there.
  static std::unique_ptr<XDisplay> open(EventLoop& loop, Handlers handlers);
  ~XDisplay();
  XDisplay(const XDisplay&) = delete;
  XDisplay& operator=(const XDisplay&) = delete;

  xcb_connection_t* raw() const { return connection_; }
  const xcb_screen_t& screen() const { return *screen_; }
  int screenNumber() const { return number_; }
  uint32_t atom(const std::string& name) const;
  double scale() const;

  using Surface = std::shared_ptr<_cairo_surface>;
  // What is drawn on it shows in the window after flush(). Lengths in pixels.
  Surface surface(uint32_t window, uint32_t visual, int width, int height) const;
  // The depth of a visual of the screen; 0 when it has none of that number.
  uint8_t depthOf(uint32_t visual) const;
  // Sends what was asked; events that came meanwhile are told soon.
  void flush();

 private:
  XDisplay(EventLoop& loop, Handlers handlers, xcb_connection_t* connection, int number);
  void poll();

  EventLoop& loop_;
  const Handlers handlers_;
  xcb_connection_t* connection_;
  const int number_;
  const xcb_screen_t* screen_ = nullptr;
  std::shared_ptr<_cairo_device> device_;  // of the drawing library
  Subscription watch_;
  Subscription soon_;
  const std::shared_ptr<const void> alive_ = std::make_shared<int>();
};

}  // namespace velmora
