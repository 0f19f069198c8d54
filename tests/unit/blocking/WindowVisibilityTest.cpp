#include "blocking/model/WindowVisibility.h"

namespace velmora {
namespace {

constexpr int32_t kBrowser = 1;
constexpr int32_t kOther = 2;
const Rect kDisplay{0, 0, 1600, 1000};
const Rect kWindow{0, 0, 800, 800};

ScreenWindow browser(Rect frame = kWindow, double alpha = 1.0) {
  return {kBrowser, kNormalLayer, alpha, frame};
}
ScreenWindow other(Rect frame, int layer = kNormalLayer, double alpha = 1.0) {
  return {kOther, layer, alpha, frame};
}
std::vector<size_t> shown(const std::vector<ScreenWindow>& windows,
                          const std::vector<Rect>& displays = {kDisplay}) {
  return visibleWindows(windows, {kBrowser}, displays);
}
using Indexes = std::vector<size_t>;

TEST(WindowVisibility, AWindowHasAMinimumSize) {
  EXPECT_EQ(shown({browser({0, 0, 200, 150})}), Indexes{0});
  EXPECT_EQ(shown({browser({0, 0, 199, 800})}), Indexes{});
  EXPECT_EQ(shown({browser({0, 0, 800, 149})}), Indexes{});
}

// Eight columns: up to the centre of the seventh a quarter counts as left.
TEST(WindowVisibility, AQuarterMustBeUncovered) {
  EXPECT_EQ(shown({other({0, 0, 649, 800}), browser()}), Indexes{1});
  EXPECT_EQ(shown({other({0, 0, 651, 800}), browser()}), Indexes{});
  EXPECT_EQ(shown({other({0, 0, 400, 800}), other({400, 0, 251, 800}), browser()}), Indexes{});
  EXPECT_EQ(shown({browser(), other(kWindow)}), Indexes{0});  // what lies behind covers nothing
}

TEST(WindowVisibility, OwnWindowsCoverEachOtherAndTheOrderIsFrontToBack) {
  EXPECT_EQ(shown({browser(), browser(), browser({800, 0, 800, 800})}), (Indexes{0, 2}));
  EXPECT_EQ(shown({browser(kWindow, 0.1), browser()}), (Indexes{0, 1}));  // a faint one is shown
  EXPECT_EQ(shown({{kBrowser, kFloatingLayer, 1.0, kWindow}}), Indexes{});
}

TEST(WindowVisibility, OnlyOpaqueNormalWindowsAndLockersCover) {
  const struct {
    int layer;
    double alpha;
    bool covers;
  } cases[] = {{kNormalLayer, 1.0, true},      {kNormalLayer, 0.5, true},
               {kNormalLayer, 0.49, false},    {kFloatingLayer, 1.0, false},
               {kScreenSaverLayer - 1, 1.0, false}, {kScreenSaverLayer, 1.0, true},
               {kScreenSaverLayer + 1, 0.5, true},  {kScreenSaverLayer, 0.49, false},
               {-1, 1.0, false}};
  for (const auto& c : cases)
    EXPECT_EQ(shown({other(kWindow, c.layer, c.alpha), browser()}).empty(), c.covers)
        << c.layer << " " << c.alpha;
}

TEST(WindowVisibility, DisplaysTogetherShowAWindowAndNoneShowsNothing) {
  const Rect right{1600, 0, 1600, 1000};
  const Rect across{1200, 0, 800, 800};
  EXPECT_DOUBLE_EQ(uncoveredShare(across, {}, {kDisplay, right}), 1.0);
  EXPECT_DOUBLE_EQ(uncoveredShare(across, {}, {kDisplay}), 0.5);
  EXPECT_DOUBLE_EQ(uncoveredShare(across, {}, {kDisplay, kDisplay}), 0.5);  // mirrored
  EXPECT_EQ(shown({browser({1500, 0, 800, 800})}), Indexes{});  // an eighth is on the display
  EXPECT_EQ(shown({browser({1500, 0, 800, 800})}, {kDisplay, right}), Indexes{0});
  EXPECT_EQ(shown({browser()}, {}), Indexes{});
  EXPECT_DOUBLE_EQ(uncoveredShare({-400, -400, 800, 800}, {}, {kDisplay}), 0.25);
}

TEST(WindowVisibility, FramesAreTheSameWithinFourPointsOnEachEdge) {
  const Rect a{10, 20, 300, 400};
  EXPECT_TRUE(sameFrame(a, {14, 16, 300, 400}));
  EXPECT_TRUE(sameFrame(a, {6, 24, 308, 392}));
  EXPECT_FALSE(sameFrame(a, {14.5, 20, 300, 400}));
  EXPECT_FALSE(sameFrame(a, {10, 20, 304.5, 400}));
  EXPECT_FALSE(sameFrame(a, {14, 20, 301, 400}));  // the right edge is five away
  EXPECT_FALSE(sameFrame(a, {10, 20, 300, 395}));
}

TEST(WindowVisibility, ThePointerIsOverTheFirstOpaqueNormalWindow) {
  const std::vector<ScreenWindow> windows{other({0, 0, 100, 100}, kFloatingLayer),
                                          other({0, 0, 100, 100}, kNormalLayer, 0.4),
                                          browser({50, 50, 300, 300}), other(kDisplay)};
  EXPECT_EQ(windowUnder({60, 60}, windows), 2u);
  EXPECT_EQ(windowUnder({50, 50}, windows), 2u);
  EXPECT_EQ(windowUnder({350, 350}, windows), 3u);  // the far edges belong to what is behind
  EXPECT_EQ(windowUnder({10, 10}, windows), 3u);
  EXPECT_EQ(windowUnder({-1, 10}, windows), std::nullopt);
}

}  // namespace
}  // namespace velmora
