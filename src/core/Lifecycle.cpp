#include "core/Lifecycle.h"

namespace velmora {

static constexpr Seconds kLaunchDelay(0.1);

Lifecycle::Lifecycle(TimerService& timer, FocusPresetStore& presets, BlocklistStore& lists,
                     BlockingCoordinator& coordinator, RunLoop& loop)
    : timer_(timer), presets_(presets), lists_(lists), coordinator_(coordinator), loop_(loop) {}

void Lifecycle::applicationDidFinishLaunching() {
  launch_ = loop_.after(kLaunchDelay, [this] {
    observeSessionState();
    coordinator_.sync();
  });
}

// The first news is the state that a dead process may have left.
void Lifecycle::observeSessionState() {
  const auto soon = [this](const auto&) { reactSoon(); };
  subscriptions_.push_back(timer_.isSessionActive.observe(soon));
  subscriptions_.push_back(timer_.isRunning.observe(soon));
  subscriptions_.push_back(timer_.currentSessionType.observe(soon));
  subscriptions_.push_back(timer_.isStopwatchMode.observe(soon));
  subscriptions_.push_back(timer_.isChronoCountdownMode.observe(soon));
  subscriptions_.push_back(timer_.stopwatchRunning.observe(soon));
  subscriptions_.push_back(timer_.countdownRunning.observe(soon));
  subscriptions_.push_back(timer_.settings.observe(soon));
  subscriptions_.push_back(presets_.activeContext.observe(soon));
  subscriptions_.push_back(lists_.blockedApps.observe(soon));
  subscriptions_.push_back(lists_.blockedSites.observe(soon));
}

void Lifecycle::reactSoon() {
  if (isReactionDue_) return;
  isReactionDue_ = true;
  reaction_ = loop_.after(Seconds(0), [this] {
    isReactionDue_ = false;
    react();
  });
}

void Lifecycle::react() { coordinator_.sync(); }

bool Lifecycle::isLocked() const {
  return timer_.isSessionActive.get() && timer_.effectiveIsHardcore();
}

void Lifecycle::stop() {
  subscriptions_.clear();
  reaction_.reset();
  launch_.reset();
  coordinator_.stopAll();
}

}  // namespace velmora
