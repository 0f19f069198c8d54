#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "base/Geometry.h"
#include "base/Subscription.h"

namespace velmora {

// One top level window of the X server, in root coordinates.
struct X11Window {
  uint32_t id = 0;  // the client's window, not its frame
  int32_t pid = 0;  // 0 when nobody knows
  Rect client;      // the client's own rectangle, an invisible shadow included
  Rect clientWithoutShadow;
  Rect frame;  // with its title bar, without an invisible shadow: equal to ScreenWindow::frame
  std::string title;
  std::string windowClass;
  std::string windowInstance;
  bool managed = false;   // listed by the window manager
  bool onScreen = false;  // mapped, neither minimised nor on another workspace
  bool isRegular = false;  // managed, and a normal window or a dialog
  bool operator==(const X11Window&) const = default;
};

// The windows as the last snapshot of the desktop saw them, for whoever must pair them with what a
// browser says of itself. Reading costs nothing: it never talks to the server. Main thread only.
class XWindowSource {
 public:
  virtual ~XWindowSource() = default;
  // Front to back. Managed windows that are minimised or on another workspace are among them;
  // override-redirect windows only while they are mapped. Empty before the first snapshot and while
  // the server is gone. Valid until the next snapshot.
  virtual const std::vector<X11Window>& windows() const = 0;
  // Rises whenever windows() may have become another list; equal numbers mean the same list.
  virtual uint64_t generation() const = 0;
  // Until the token is dropped, hears once after each snapshot that another one may show the
  // windows in other places, or others. Told in the midst of reading the server: call nothing of
  // this object from there.
  virtual Subscription onStale(std::function<void()> told) const = 0;
};

}  // namespace velmora
