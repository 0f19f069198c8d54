#include "blocking/BlockCover.h"

#include "platform/sim/FakeCoverPanels.h"
#include "platform/sim/World.h"

namespace velmora {
namespace {

TEST(BlockCovers, StandASecondAfterTheLastTimeAndFade) {
  sim::World world;
  sim::Lane loop{world};
  sim::FakeCoverPanels screen{loop};
  BlockCover covers{screen, loop};
  const auto after = [&](double seconds) {
    world.advance(Seconds(seconds));
    std::string states;
    for (const auto& [panel, shown] : screen.panels) states += shown.isFading ? 'f' : 's';
    return states;
  };
  for (const Rect& window : {Rect{0, 0, 40, 900}, {0, 0, 900, 40}, {0, 0, 900, 700},
                             {4, 0, 900, 700}})  // the last two are not the same
    covers.cover(window);
  EXPECT_EQ(after(0.9), "ss");
  covers.cover({0, 3.9, 900, 700});
  EXPECT_EQ(after(0.14), "ss");
  EXPECT_EQ(after(0.02), "sf");
  covers.cover({4, 0, 900, 700});  // again, while its old panel fades
  EXPECT_EQ(after(0.23), "sfs");
  EXPECT_EQ(after(0.7), "fs");
  EXPECT_EQ(after(3), "");
}

}  // namespace
}  // namespace velmora
