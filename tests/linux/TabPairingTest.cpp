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

const Rect kLeft{0, 20, 800, 600}, kRight{800, 20, 700, 600};

TEST(TabPairing, KnowsTheThreeWaysOfTellingAPlace) {
  X11Window window = x({100, 100, 802, 625});
  window.client = {101, 120, 800, 600};
  window.clientWithoutShadow = {111, 130, 780, 580};
  for (const Rect bounds : {window.frame, window.client, window.clientWithoutShadow})
    EXPECT_FALSE(pair({told(bounds)}, {window}).isDoubtful);
  EXPECT_TRUE(pair({told({106, 125, 800, 600})}, {window}).isDoubtful);
}

TEST(TabPairing, FindsTheScaleThoughOneWindowHasMoved) {
  const Rect one{0, 10, 400, 300}, two{400, 10, 333, 301};
  for (const double scale : {1.0, 1.25, 1.5, 2.0, 3.0}) {
    const auto scaled = [scale](Rect r) {
      return x({r.x * scale + 1, r.y * scale - 1, r.width * scale + 2, r.height * scale});
    };
    const auto pairs = pair({told(one), told(two), told({9, 9, 250, 250})},
                            {scaled(two), scaled(one), x({600, 500, 250, 250})});
    EXPECT_EQ(pairs.partners, (Partners{1, 0, 2}));
    EXPECT_EQ(pairs.scale, scale);
  }
  EXPECT_EQ(pair({told(one)}, {x({0, 11, 440, 330})}, 1.1).scale, 1.1) << "the hint";
}

// Firefox tells of a move only when it is asked.
TEST(TabPairing, BelievesTitlesRatherThanAPlace) {
  const auto same = pair({told(kLeft, "News"), told(kLeft, "Mail"), told(kLeft, "News of today")},
                         {x(kLeft, "Mail - Chromium"), x(kLeft, "News of today - Chromium"),
                          x(kLeft, "News - Chromium")});
  EXPECT_EQ(same.partners, (Partners{2, 0, 1}));
  EXPECT_FALSE(same.isDoubtful);
  const auto moved = pair({told(kLeft, "News"), told(kRight, "Mail")},
                          {x(kLeft, "Mail — Firefox"), x(kRight, "News — Firefox")});
  EXPECT_EQ(moved.partners, (Partners{1, 0}));
  EXPECT_TRUE(moved.isDoubtful);
}

TEST(TabPairing, GoesByWhatIsVisibleAndInFrontAndSaysWhenItIsInDoubt) {
  const TabWindow plain = told(kLeft), minimised{kLeft, "", false, true};
  const TabWindow focused{kLeft, "", true, false};
  const X11Window shown = x(kLeft), hidden = x(kLeft, "", false);
  EXPECT_EQ(pair({plain, minimised, focused}, {hidden, shown, shown}).partners,
            (Partners{2, 0, 1}));
  EXPECT_TRUE(pair({plain}, {}).isDoubtful);
  EXPECT_TRUE(pair({}, {shown}).isDoubtful);
  EXPECT_FALSE(pair({minimised}, {}).isDoubtful);
  EXPECT_FALSE(pair({}, {hidden}).isDoubtful);
}

}  // namespace
}  // namespace velmora
