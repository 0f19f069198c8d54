#include "blocking/model/WindowVisibility.h"

#include <algorithm>
#include <cmath>

namespace velmora {

bool sameFrame(const Rect& a, const Rect& b) {
  const auto near = [](double x, double y) { return std::abs(x - y) <= kFrameTolerance; };
  return near(a.minX(), b.minX()) && near(a.minY(), b.minY()) && near(a.maxX(), b.maxX()) &&
         near(a.maxY(), b.maxY());
}

double uncoveredShare(const Rect& frame, const std::vector<Rect>& occluders,
                      const std::vector<Rect>& displays) {
  int count = 0;
  for (int row = 0; row < kSamplingGrid; ++row) {
    for (int column = 0; column < kSamplingGrid; ++column) {
      const Point sample{frame.minX() + (column + 0.5) * frame.width / kSamplingGrid,
                         frame.minY() + (row + 0.5) * frame.height / kSamplingGrid};
      const auto holds = [&](const Rect& r) { return r.contains(sample); };
      if (std::ranges::any_of(displays, holds) && std::ranges::none_of(occluders, holds)) ++count;
    }
  }
  return count / double{kSamplingGrid * kSamplingGrid};
}

std::vector<size_t> visibleWindows(const std::vector<ScreenWindow>& windows,
                                   const std::set<int32_t>& owners,
                                   const std::vector<Rect>& displays) {
  std::vector<size_t> shown;
  std::vector<Rect> occluders;
  for (size_t i = 0; i < windows.size(); ++i) {
    const ScreenWindow& window = windows[i];
    const bool opaque = window.alpha >= kOccludingAlpha;
    if (window.layer != kNormalLayer) {
      // Bars, docks and floating panels never cover; a locker does.
      if (opaque && window.layer >= kScreenSaverLayer) occluders.push_back(window.frame);
      continue;
    }
    if (owners.contains(window.pid) && window.frame.width >= kMinimumWindowWidth &&
        window.frame.height >= kMinimumWindowHeight &&
        uncoveredShare(window.frame, occluders, displays) >= kVisibilityShare)
      shown.push_back(i);
    if (opaque) occluders.push_back(window.frame);
  }
  return shown;
}

std::optional<size_t> windowUnder(Point point, const std::vector<ScreenWindow>& windows) {
  for (size_t i = 0; i < windows.size(); ++i)
    if (windows[i].layer == kNormalLayer && windows[i].alpha >= kOccludingAlpha &&
        windows[i].frame.contains(point))
      return i;
  return {};
}

}  // namespace velmora
