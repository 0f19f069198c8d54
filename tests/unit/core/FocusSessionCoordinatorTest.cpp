#include "core/FocusSessionCoordinator.h"

#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

struct Surfaces : TimerFixture {
  sim::FakeRandom random;
  FocusPresetStore presets{preferences, random};
  FocusSessionCoordinator screens{timer(), presets, preferences, loop};
  size_t leftAfterRemovingAll() {
    for (int i = 0; i < 3; ++i) presets.removePreset(presets.presets.get()[0]);
    return presets.presets.get().size();
  }
};

TEST_F(Surfaces, AGateAlwaysHasAWayThrough) {
  EXPECT_EQ(leftAfterRemovingAll(), 0u);
  screens.requireFocusSelection("Choose your next focus");
  EXPECT_EQ(leftAfterRemovingAll(), 3u);
  screens.requireFocusSelection("Again");
  EXPECT_EQ(screens.gateReason.get(), "Choose your next focus");
}

TEST_F(Surfaces, ANoticeGoesByItselfAndANewOneHasItsWholeTime) {
  for (const char* mission : {"A", "B"}) {
    screens.showScheduledTransition({mission, "", "", Seconds(5)});
    world.advance(Seconds(4));
    EXPECT_EQ(screens.scheduledTransition.get()->mission, mission);
  }
  world.advance(Seconds(1));
  EXPECT_FALSE(screens.scheduledTransition.get());
}

}  // namespace
}  // namespace velmora
