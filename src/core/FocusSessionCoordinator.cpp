#include "core/FocusSessionCoordinator.h"

namespace velmora {

void FocusSessionCoordinator::requireFocusSelection(const std::string& reason) {
  if (!isGateShowing()) gateReason.set(reason);
}

void FocusSessionCoordinator::dismissFocusSelection() {
  if (isGateShowing()) gateReason.set({});
}

void FocusSessionCoordinator::confirmFocusSelection(const FocusPreset& preset,
                                                    std::string_view taskName) {
  presets_.beginFocus(preset, taskName);
  dismissFocusSelection();
  timer_.start(true);
}

}  // namespace velmora
