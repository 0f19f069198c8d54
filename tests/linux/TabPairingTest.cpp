#include <gtest/gtest.h>

#include "platform/linux/TabPairing.h"

namespace velmora {
namespace {

using Partners = std::vector<std::optional<size_t>>;

X11Window x(Rect frame, const std::string& title = "", bool onScreen = true) {
  X11Window window;
  window.client = window.clientWithoutShadow = window.frame = frame;
  window.title = title;
  window.onScreen = onScreen;
  window.managed = true;
  return window;
}

TabWindow told(Rect bounds, std::string_view title = "") {
  return {bounds, title, false, false};
}

TabPairs pair(const std::vector<TabWindow>& windows, const std::vector<X11Window>& xs,
              double hint = 1.0) {
  std::vector<const X11Window*> pointers;
  for (const auto& window : xs) pointers.push_back(&window);
  return pairWindows(windows, pointers, hint);
}

const Rect kLeft{0, 20, 800, 600};
const Rect kRight{800, 20, 700, 600};

TEST(TabPairing, FindsWindowsByTheirPlaceWhateverTheOrder) {
  const auto pairs = pair({told(kLeft), told(kRight)}, {x({801, 23, 697, 604}), x(kLeft)});
  EXPECT_EQ(pairs.partners, (Partners{1, 0}));
  EXPECT_EQ(pairs.scale, 1.0);
  EXPECT_FALSE(pairs.isDoubtful);
}

TEST(TabPairing, KnowsTheThreeWaysOfTellingAPlace) {
  X11Window window = x({100, 100, 802, 625});
  window.client = {101, 120, 800, 600};
  window.clientWithoutShadow = {111, 130, 780, 580};
  for (const Rect bounds : {window.frame, window.client, window.clientWithoutShadow})
    EXPECT_FALSE(pair({told(bounds)}, {window}).isDoubtful);
  EXPECT_TRUE(pair({told({106, 125, 800, 600})}, {window}).isDoubtful);
}

TEST(TabPairing, FindsTheScaleThoughOneWindowHasMoved) {
  const std::vector<TabWindow> windows{told({0, 10, 400, 300}), told({400, 10, 333, 301}),
                                       told({9, 9, 250, 250})};
  for (const double scale : {1.25, 1.5, 1.75, 2.0, 2.25, 2.5, 3.0}) {
    const auto scaled = [scale](Rect r) {
      return x({r.x * scale + 1, r.y * scale - 1, r.width * scale + 2, r.height * scale});
    };
    const auto pairs = pair(
        windows, {scaled(*windows[1].bounds), scaled(*windows[0].bounds), x({600, 500, 250, 250})});
    EXPECT_EQ(pairs.partners, (Partners{1, 0, 2}));
    EXPECT_EQ(pairs.scale, scale);
  }
  EXPECT_EQ(pair({windows[0]}, {x({0, 11, 440, 330})}, 1.1).scale, 1.1) << "the hint";
}

TEST(TabPairing, TellsWindowsInOnePlaceApartByTitle) {
  const auto pairs = pair({told(kLeft, "News"), told(kLeft, "Mail"), told(kLeft, "News of today")},
                          {x(kLeft, "Mail - Chromium"), x(kLeft, "News of today - Chromium"),
                           x(kLeft, "News - Chromium")});
  EXPECT_EQ(pairs.partners, (Partners{2, 0, 1}));
  EXPECT_FALSE(pairs.isDoubtful);
}

TEST(TabPairing, ThenByWhatIsVisibleAndWhatIsInFront) {
  std::vector<TabWindow> windows{told(kLeft), told(kLeft), told(kLeft)};
  windows[1].isMinimised = true;
  windows[2].isFocused = true;
  const auto pairs = pair(windows, {x(kLeft, "", false), x(kLeft), x(kLeft)});
  EXPECT_EQ(pairs.partners, (Partners{2, 0, 1}));
}

// Firefox tells of a move only when it is asked.
TEST(TabPairing, BelievesTitlesRatherThanAPlaceOfAnotherTitle) {
  const auto pairs =
      pair({told(kLeft, "News"), told(kRight, "Mail")},
           {x(kLeft, "Mail — Mozilla Firefox"), x(kRight, "News — Mozilla Firefox")});
  EXPECT_EQ(pairs.partners, (Partners{1, 0}));
  EXPECT_TRUE(pairs.isDoubtful);
}

TEST(TabPairing, PairsWhatIsLeftInOrderAndSaysSo) {
  const Rect elsewhere{5, 5, 300, 300};
  std::vector<TabWindow> windows{told(elsewhere), told(elsewhere), {}};
  windows[0].isMinimised = true;
  windows[2].isFocused = true;
  const auto pairs = pair(windows, {x(kLeft), x(kRight, "", false), x(kRight)});
  EXPECT_EQ(pairs.partners, (Partners{1, 2, 0}));
  EXPECT_TRUE(pairs.isDoubtful);
}

TEST(TabPairing, IsDoubtfulWhenAVisibleWindowIsAlone) {
  EXPECT_TRUE(pair({told(kLeft)}, {}).isDoubtful);
  EXPECT_TRUE(pair({}, {x(kLeft)}).isDoubtful);
  TabWindow minimised = told(kLeft);
  minimised.isMinimised = true;
  EXPECT_FALSE(pair({minimised}, {}).isDoubtful);
  EXPECT_FALSE(pair({}, {x(kLeft, "", false)}).isDoubtful);
  EXPECT_FALSE(pair({}, {}).isDoubtful);
}

}  // namespace
}  // namespace velmora
