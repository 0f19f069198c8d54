#pragma once

#include <cstdint>

#include "base/Date.h"
#include "base/Geometry.h"

namespace velmora {

// Black panels in front of everything but our own gate. They take no focus and no input, and know
// nothing of why they are there. Main thread only; a display server that is gone makes every call
// do nothing.
class CoverPanels {
 public:
  using Panel = uint32_t;
  virtual ~CoverPanels() = default;
  // On screen when it returns, as far as the display server lets us say. Display coordinates.
  virtual Panel show(const Rect& rectangle) = 0;
  // Takes back a fade under way.
  virtual void showAgain(Panel panel) = 0;
  // Gone after this time, faded where the desktop can blend; the number is not used again.
  virtual void fadeOut(Panel panel, Seconds duration) = 0;
};

}  // namespace velmora
