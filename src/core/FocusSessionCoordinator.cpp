#include "core/FocusSessionCoordinator.h"

#include <utility>

namespace velmora {
namespace {

constexpr const char* kHUDXKey = "vm_focus_hud_x";
constexpr const char* kHUDYKey = "vm_focus_hud_y";

}  // namespace

FocusSessionCoordinator::FocusSessionCoordinator(TimerService& timer, FocusPresetStore& presets,
                                                 Preferences& preferences, RunLoop& loop)
    : timer_(timer), presets_(presets), preferences_(preferences), loop_(loop) {
  if (preferences_.has(kHUDXKey) && preferences_.has(kHUDYKey))
    hudOrigin.set(Point{preferences_.number(kHUDXKey), preferences_.number(kHUDYKey)});
  presetsEdited_ = presets_.presets.onWrite([this](const auto&) {
    if (isGateShowing()) presets_.restoreDefaultsIfEmpty();
  });
}

void FocusSessionCoordinator::requireFocusSelection(const std::string& reason) {
  if (isGateShowing()) return;
  presets_.restoreDefaultsIfEmpty();
  gateReason.set(reason);
}

void FocusSessionCoordinator::dismissFocusSelection() {
  if (isGateShowing()) gateReason.set({});
}

void FocusSessionCoordinator::setScreenLock(ScreenLock lock) {
  screenLock.setIfChanged(lock);
}

void FocusSessionCoordinator::confirmFocusSelection(const FocusPreset& preset,
                                                    std::string_view taskName) {
  presets_.beginFocus(preset, taskName);
  dismissFocusSelection();
  timer_.start(true);
}

void FocusSessionCoordinator::showHUD() {
  isHUDWanted_ = true;
  updateHUD();
}

void FocusSessionCoordinator::dismissHUD() {
  isHUDWanted_ = false;
  updateHUD();
}

void FocusSessionCoordinator::setHUDSuppressed(bool suppressed) {
  isHUDSuppressed_ = suppressed;
  updateHUD();
}

void FocusSessionCoordinator::updateHUD() {
  isHUDShowing.setIfChanged(isHUDWanted_ && !isHUDSuppressed_);
}

void FocusSessionCoordinator::moveHUD(Point origin) {
  if (hudOrigin.get() == origin) return;
  hudOrigin.set(origin, [&] { preferences_.write({{kHUDXKey, origin.x}, {kHUDYKey, origin.y}}); });
}

void FocusSessionCoordinator::showScheduledTransition(ScheduledTransition transition) {
  noticeEnd_ = loop_.after(transition.duration, [this] { dismissScheduledTransition(); });
  scheduledTransition.set(std::move(transition));
}

void FocusSessionCoordinator::dismissScheduledTransition() {
  noticeEnd_.reset();
  if (scheduledTransition.get()) scheduledTransition.set({});
}

}  // namespace velmora
