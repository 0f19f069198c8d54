#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "base/Geometry.h"
#include "platform/linux/XWindowSource.h"

namespace velmora {

// The browser knows what its windows show, the X server knows where they are and what hides them.
// This finds out which window is which. Pure functions.

// One window as the browser tells of it.
struct TabWindow {
  std::optional<Rect> bounds;  // in the browser's own units
  std::string_view title;      // of its shown tab; empty when it is not known
  bool isFocused = false;      // may be out of date
  bool isMinimised = false;    // may be out of date
};

struct TabPairs {
  // For each of the browser's windows its partner's place in the list of X windows. No two windows
  // have the same partner.
  std::vector<std::optional<size_t>> partners;
  // Device pixels for each of the browser's units.
  double scale = 1.0;
  // Some window on screen has no partner, or some pair does not rest on where both are: what the
  // browser told last may be out of date.
  bool isDoubtful = false;
};

// Pairs the windows that a browser's process tells of, in its own order, with the X windows that
// the process owns, front to back. Two are one when they are in the same place, within four pixels
// for each number, title bar and shadow counted or not. Titles decide where several are in one
// place, and outweigh a place that only a window of another title has; then what is focused or
// minimised; then what is left is paired in order. `scaleHint` is tried beside the usual scales.
TabPairs pairWindows(const std::vector<TabWindow>& windows,
                     const std::vector<const X11Window*>& xWindows, double scaleHint = 1.0);

}  // namespace velmora
