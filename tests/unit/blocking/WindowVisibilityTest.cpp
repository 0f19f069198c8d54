#include "blocking/model/WindowVisibility.h"

namespace velmora {
namespace {

const Rect kDisplay{0, 0, 1600, 1000};
const Rect kWindow{0, 0, 800, 800};
using Indexes = std::vector<size_t>;

ScreenWindow browser(Rect frame = kWindow, double alpha = 1.0) {
  return {1, kNormalLayer, alpha, frame};
}
ScreenWindow other(Rect frame, int layer = kNormalLayer, double alpha = 1.0) {
  return {2, layer, alpha, frame};
}
Indexes shown(const std::vector<ScreenWindow>& windows,
              const std::vector<Rect>& displays = {kDisplay}) {
  return visibleWindows(windows, {1}, displays);
}

TEST(WindowVisibility, AWindowIsShownWhileAQuarterOfItIsUncovered) {
  const std::pair<std::vector<ScreenWindow>, Indexes> cases[] = {
      {{browser({0, 0, 200, 150})}, {0}},  // the least size
      {{browser({0, 0, 199, 800})}, {}},
      // Eight columns: up to the centre of the seventh a quarter counts as left.
      {{other({0, 0, 649, 800}), browser()}, {1}},
      {{other({0, 0, 651, 800}), browser()}, {}},
      {{browser(), other(kWindow)}, {0}},
      {{browser(), browser(), browser({800, 0, 800, 800})}, {0, 2}},  // front to back
      {{browser(kWindow, 0.1), browser()}, {0, 1}},  // a faint one is shown
      {{{1, kFloatingLayer, 1.0, kWindow}}, {}},
      {{browser({1500, 0, 800, 800})}, {}},  // an eighth is on the display
      // Only opaque normal windows and lockers cover.
      {{other(kWindow, kNormalLayer, 0.5), browser()}, {}},
      {{other(kWindow, kNormalLayer, 0.49), browser()}, {1}},
      {{other(kWindow, -1), other(kWindow, kScreenSaverLayer - 1), browser()}, {2}},
      {{other(kWindow, kScreenSaverLayer, 0.49), browser()}, {1}},
      {{other(kWindow, kScreenSaverLayer), browser()}, {}},
  };
  for (const auto& [windows, expected] : cases) EXPECT_EQ(shown(windows), expected);
  EXPECT_EQ(shown({browser({1500, 0, 800, 800})}, {kDisplay, {1600, 0, 1600, 1000}}), Indexes{0});
  EXPECT_EQ(shown({browser()}, {}), Indexes{});
  EXPECT_DOUBLE_EQ(uncoveredShare({1200, 0, 800, 800}, {}, {kDisplay, kDisplay}), 0.5);  // mirrored
}

}  // namespace
}  // namespace velmora
