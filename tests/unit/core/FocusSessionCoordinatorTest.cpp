#include "core/FocusSessionCoordinator.h"

#include "unit/core/TimerFixture.h"

namespace velmora {
namespace {

struct Surfaces : TimerFixture {
  sim::FakeRandom random;
  FocusPresetStore presets{preferences, random};
  FocusSessionCoordinator screens{timer(), presets, preferences, loop};
  void removeAll() {
    while (!presets.presets.get().empty()) presets.removePreset(presets.presets.get()[0]);
  }
};

TEST_F(Surfaces, AGateAlwaysHasAWayThrough) {
  removeAll();
  screens.requireFocusSelection("Choose your next focus");
  EXPECT_EQ(presets.presets.get().size(), 3u);
  for (int i = 0; i < 3; ++i) presets.removePreset(presets.presets.get()[0]);
  EXPECT_EQ(presets.presets.get().size(), 3u) << "also while it is up";
  screens.requireFocusSelection("Again");
  EXPECT_EQ(screens.gateReason.get(), "Choose your next focus");
  screens.confirmFocusSelection(FocusPreset(presets.presets.get()[0]), "");
  EXPECT_TRUE(!screens.isGateShowing() && timer().isRunning.get());
  removeAll();
  EXPECT_TRUE(presets.presets.get().empty());
}

TEST_F(Surfaces, ASuppressedHUDComesBackUnlessItWasDismissedMeanwhile) {
  std::vector<bool> shown;
  const auto watch = screens.isHUDShowing.onWrite([&](bool on) { shown.push_back(on); });
  screens.showHUD();
  screens.setHUDSuppressed(true);
  screens.setHUDSuppressed(false);
  screens.setHUDSuppressed(true);
  screens.dismissHUD();
  screens.setHUDSuppressed(false);
  EXPECT_EQ(shown, (std::vector<bool>{true, false, true, false}));
}

TEST_F(Surfaces, ANoticeGoesByItselfAndANewOneHasItsWholeTime) {
  screens.showScheduledTransition({"A", "", "", Seconds(5)});
  world.advance(Seconds(4));
  screens.showScheduledTransition({"B", "", "", Seconds(5)});
  world.advance(Seconds(4));
  EXPECT_EQ(screens.scheduledTransition.get()->mission, "B");
  world.advance(Seconds(1));
  EXPECT_FALSE(screens.scheduledTransition.get());
}

}  // namespace
}  // namespace velmora
