#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Geometry.h"
#include "base/Property.h"
#include "core/FocusPresetStore.h"
#include "core/TimerService.h"
#include "ports/Preferences.h"
#include "ports/RunLoop.h"
#include "ports/ScreenLock.h"

namespace velmora {

// Which surfaces surround the session now. Holds no session state: the timer tells it when to act,
// and whoever draws surfaces observes it. Main lane.
class FocusSessionCoordinator final : public TimerService::Screens {
 public:
  // The full-screen notice that a mission begins.
  struct ScheduledTransition {
    std::string mission;
    std::string presetName;
    std::string timeRange;
    Seconds duration{0};  // it goes by itself after this time
    bool operator==(const ScheduledTransition&) const = default;
  };

  FocusSessionCoordinator(TimerService& timer, FocusPresetStore& presets, Preferences& preferences,
                          RunLoop& loop);

  template <class T>
  using Value = Owned<T, FocusSessionCoordinator>;
  Value<std::optional<std::string>> gateReason;  // shown on the gate while it is up
  Value<ScreenLock> screenLock{ScreenLock::none};  // what the gate makes room for while it is up
  Value<bool> isHUDShowing{false};
  Value<std::optional<Point>> hudOrigin;  // where the user has moved it; nothing: wherever it fits
  Value<std::optional<ScheduledTransition>> scheduledTransition;  // while its notice is up

  bool isGateShowing() const { return gateReason.get().has_value(); }
  // A second call while the gate is up changes nothing. A gate without presets would let nobody
  // through: when all are removed before or while it is up, those of a first start return.
  void requireFocusSelection(const std::string& reason) override;
  void dismissFocusSelection() override;
  void setScreenLock(ScreenLock lock);
  // The gate's answer: makes the context, takes the gate away and starts the clock.
  void confirmFocusSelection(const FocusPreset& preset, std::string_view taskName);

  void showHUD() override;
  void dismissHUD() override;
  // Hides the HUD for as long as something else has the whole screen.
  void setHUDSuppressed(bool suppressed);
  // The user has moved the HUD; kept for the next time.
  void moveHUD(Point origin);

  // Replaces a notice that is still up.
  void showScheduledTransition(ScheduledTransition transition);
  void dismissScheduledTransition();

 private:
  void updateHUD();

  TimerService& timer_;
  FocusPresetStore& presets_;
  Preferences& preferences_;
  RunLoop& loop_;
  bool isHUDWanted_ = false;
  bool isHUDSuppressed_ = false;
  Subscription noticeEnd_;
  Subscription presetsEdited_;
};

}  // namespace velmora
