#include "blocking/BlockCover.h"

#include <algorithm>
#include <cmath>

namespace velmora {
namespace {

constexpr double kSmallest = 40.0;   // points
constexpr double kTolerance = 4.0;   // points, on each edge
constexpr Seconds kDuration(1.0);
constexpr Seconds kLiftDelay(0.05);  // beyond the duration
constexpr Seconds kFade(0.25);

bool isSamePlace(const Rect& a, const Rect& b) {
  const auto near = [](double x, double y) { return std::abs(x - y) < kTolerance; };
  return near(a.minX(), b.minX()) && near(a.minY(), b.minY()) && near(a.maxX(), b.maxX()) &&
         near(a.maxY(), b.maxY());
}

}  // namespace

void BlockCover::cover(const Rect& rectangle) {
  if (!(rectangle.width > kSmallest && rectangle.height > kSmallest)) return;
  auto it = std::ranges::find_if(
      covers_, [&](const Standing& cover) { return isSamePlace(cover.frame, rectangle); });
  if (it == covers_.end())
    it = covers_.insert(it, {panels_.show(rectangle), rectangle, {}});
  else
    panels_.showAgain(it->panel);
  it->until = loop_.after(kDuration + kLiftDelay, [this, panel = it->panel] { lift(panel); });
}

void BlockCover::lift(CoverPanels::Panel panel) {
  std::erase_if(covers_, [&](const Standing& cover) { return cover.panel == panel; });
  panels_.fadeOut(panel, kFade);
}

}  // namespace velmora
