#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Property.h"
#include "core/FocusPresetStore.h"
#include "core/TimerService.h"

namespace velmora {

// Which surfaces surround the session now. Holds no session state: the timer tells it when to act,
// and whoever draws surfaces observes it. Main lane.
class FocusSessionCoordinator final : public TimerService::Screens {
 public:
  FocusSessionCoordinator(TimerService& timer, FocusPresetStore& presets)
      : timer_(timer), presets_(presets) {}

  template <class T>
  using Value = Owned<T, FocusSessionCoordinator>;
  Value<std::optional<std::string>> gateReason;  // shown on the gate while it is up
  Value<bool> isHUDShowing{false};

  bool isGateShowing() const { return gateReason.get().has_value(); }
  // A second call while the gate is up changes nothing.
  void requireFocusSelection(const std::string& reason) override;
  void dismissFocusSelection() override;
  // The gate's answer: makes the context, takes the gate away and starts the clock.
  void confirmFocusSelection(const FocusPreset& preset, std::string_view taskName);
  void showHUD() override { isHUDShowing.setIfChanged(true); }
  void dismissHUD() override { isHUDShowing.setIfChanged(false); }

 private:
  TimerService& timer_;
  FocusPresetStore& presets_;
};

}  // namespace velmora
