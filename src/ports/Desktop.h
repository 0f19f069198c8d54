#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/Geometry.h"

namespace velmora {

// Window layers that the core tells apart.
inline constexpr int kNormalLayer = 0;
inline constexpr int kFloatingLayer = 3;
inline constexpr int kScreenSaverLayer = 1000;

// One window that is on screen: neither minimised nor on another workspace.
struct ScreenWindow {
  int32_t pid = 0;
  int layer = kNormalLayer;
  double alpha = 1.0;
  Rect frame;  // with its title bar, without an invisible shadow
  bool operator==(const ScreenWindow&) const = default;
};

struct RunningApplication {
  int32_t pid = 0;
  std::string bundleID;  // canonical application identity
  uint64_t instance = 0;  // tells two processes of one number apart, where that was asked for
  bool operator==(const RunningApplication&) const = default;
};

// What can be seen right now, read in one go.
struct DesktopSnapshot {
  // Every process that has a window, whether or not that window is on screen.
  std::vector<RunningApplication> applications;
  // Front to back; nothing when the window list can't be had.
  std::optional<std::vector<ScreenWindow>> windows;
  // The bounds of the displays that are awake; empty while the session is locked or not on the
  // console.
  std::vector<Rect> displays;
  std::optional<std::string> frontmost;  // identity of the active application
  std::optional<Point> pointer;          // only when asked for
};

class Desktop {
 public:
  struct Wants {
    bool pointer = false;
  };
  virtual ~Desktop() = default;
  // Takes a few milliseconds; waits for a busy display server a tenth of a second at the most, and
  // not again before it has caught up. When the server is gone the window list is absent and the
  // displays are empty.
  virtual DesktopSnapshot snapshot(Wants wants) = 0;
};

}  // namespace velmora
