#pragma once

#include <cstddef>
#include <optional>
#include <set>
#include <vector>

#include "base/Geometry.h"
#include "ports/Desktop.h"

namespace velmora {

// Which windows a user can really see. Pure functions of a window list, front to back.

inline constexpr double kFrameTolerance = 4.0;        // points, on each edge
inline constexpr double kMinimumWindowWidth = 200.0;  // a smaller window never counts as shown
inline constexpr double kMinimumWindowHeight = 150.0;
inline constexpr double kVisibilityShare = 0.25;
inline constexpr double kOccludingAlpha = 0.5;
inline constexpr int kSamplingGrid = 8;  // samples in each direction

bool sameFrame(const Rect& a, const Rect& b);
// The share of the frame's sample points that lie on some display and under no occluder, 0 to 1.
double uncoveredShare(const Rect& frame, const std::vector<Rect>& occluders,
                      const std::vector<Rect>& displays);
// The indexes of the owners' windows that count as shown, front to back.
std::vector<size_t> visibleWindows(const std::vector<ScreenWindow>& windows,
                                   const std::set<int32_t>& owners,
                                   const std::vector<Rect>& displays);
// The first normal window under the point that is not nearly transparent.
std::optional<size_t> windowUnder(Point point, const std::vector<ScreenWindow>& windows);

}  // namespace velmora
