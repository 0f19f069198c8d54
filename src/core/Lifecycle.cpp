#include "core/Lifecycle.h"

#include <algorithm>
#include <utility>

#include "core/StatusMenu.h"

namespace velmora {

static constexpr Seconds kLaunchDelay(0.1);

Lifecycle::Lifecycle(TimerService& timer, FocusPresetStore& presets, BlocklistStore& lists,
                     ModuleStore& modules, BlockingCoordinator& coordinator,
                     Preferences& preferences, RunLoop& loop, const Ports& ports,
                     const LateRef<Commitment>& commitment, const LateRef<Schedule>& schedule)
    : showsInDock(preferences, "vm_showInDock", true),
      showsSidebar(preferences, "vm_sidebar_visible", true),
      hasSeenWelcome(preferences, "vm_hasSeenWelcome", false),
      timer_(timer),
      presets_(presets),
      lists_(lists),
      modules_(modules),
      coordinator_(coordinator),
      loop_(loop),
      ports_(ports),
      commitment_(commitment),
      schedule_(schedule),
      life_(std::make_shared<const bool>(true)) {}

void Lifecycle::applicationDidFinishLaunching(Launch launch) {
  ports_.statusItem.onChoice([this](const std::string& action) { choose(action); });
  buildMenu();
  guardianInstalled.set(ports_.guardian.isInstalled());
  if (isLocked()) reconcileGuardian();
  launching_ = launch;
  launch_ = loop_.after(kLaunchDelay, [this] { finishLaunching(); });
}

void Lifecycle::finishLaunching() {
  const auto launch = std::exchange(launching_, std::nullopt);
  if (!launch) return;
  launch_.reset();
  observeSessionState();
  if (schedule_) schedule_->startMonitoring();
  coordinator_.sync();
  if (launch == Launch::shown) showWindow();
}

// The first news is the state that a dead process may have left.
void Lifecycle::observeSessionState() {
  const auto on = [this](Reaction reaction, const auto&... properties) {
    const auto soon = [this, reaction](const auto&) { reactSoon(reaction); };
    (subscriptions_.push_back(properties.observe(soon)), ...);
  };
  on(Reaction::all, timer_.isSessionActive, timer_.scheduledHardModeActive, timer_.isRunning,
     timer_.currentSessionType, timer_.isStopwatchMode, timer_.isChronoCountdownMode,
     timer_.stopwatchRunning, timer_.countdownRunning, timer_.settings, presets_.activeContext,
     lists_.blockedApps, lists_.blockedSites);
  on(Reaction::menu, timer_.timeRemaining, modules_.enabledModules);
  if (commitment_)
    subscriptions_.push_back(commitment_->onChange([this] { reactSoon(Reaction::all); }));
}

void Lifecycle::reactSoon(Reaction reaction) {
  if (due_ == Reaction::none)
    reaction_ = loop_.after(Seconds(0), [this] { react(std::exchange(due_, Reaction::none)); });
  due_ = std::max(due_, reaction);
}

void Lifecycle::react(Reaction reaction) {
  buildMenu();
  if (reaction != Reaction::all) return;
  coordinator_.sync();
  reconcileGuardian();
}

void Lifecycle::buildMenu() {
  if (menu.setIfChanged(statusMenu(timer_, commitment_))) ports_.statusItem.setMenu(menu.get());
}

void Lifecycle::choose(const std::string& action) {
  finishLaunching();
  if (action == "window show") showWindow();
  if (action == "end") endSessionWithAuth();
  if (action == "quit") applicationShouldTerminate();
}

// Wanted exactly while the program is locked. One that a dead process has left behind would start
// the program again after every quit.
void Lifecycle::reconcileGuardian() {
  const bool wanted = isLocked();
  if (guardianInstalled.get() == wanted) return;
  guardianInstalled.set(wanted);
  ports_.agentQueue.post([&guardian = ports_.guardian, wanted] {
    if (wanted)
      guardian.install();
    else
      guardian.remove();
  });
}

bool Lifecycle::isSessionHard() const {
  return timer_.isSessionActive.get() && timer_.effectiveIsHardcore();
}

bool Lifecycle::isLocked() const {
  return isSessionHard() || (commitment_ && commitment_->isProtectionActive());
}

void Lifecycle::applyDockPolicy(bool show) {
  showsInDock.set(show);
}

void Lifecycle::showWindow() {
  isWindowWanted.setIfChanged(true);
  windowRequests.set(windowRequests.get() + 1);
}

void Lifecycle::hideWindow() {
  isWindowWanted.setIfChanged(false);
}

void Lifecycle::noteWindowSign() {
  windowSigns.set(windowSigns.get() + 1);
}

void Lifecycle::applicationShouldHandleReopen() {
  showWindow();
}

bool Lifecycle::endSessionWithAuth() {
  if (!timer_.isSessionActive.get() || timer_.effectiveIsHardcore()) return false;
  authenticateToExit([this](bool isOwner) {
    if (isOwner) endSession();
  });
  return true;
}

void Lifecycle::authenticateToExit(std::function<void(bool)> completion) {
  ports_.authentication.authenticate(
      "Authenticate to stop your focus session.",
      [life = std::weak_ptr(life_), completion = std::move(completion)](bool isOwner) {
        if (!life.expired()) completion(isOwner);
      });
}

// A session that has become hard while the question was open goes on.
void Lifecycle::endSession() {
  if (!timer_.effectiveIsHardcore()) timer_.reset();
  if (timer_.isSessionActive.get())
    coordinator_.sync();
  else
    coordinator_.stopAll();
  showWindow();
}

bool Lifecycle::applicationShouldTerminate() {
  finishLaunching();
  if (isLocked()) return false;
  // News that is still due would go with stop(), and a guardian left behind would undo the quit.
  reconcileGuardian();
  if (schedule_) schedule_->noteQuit();
  stop();
  return true;
}

void Lifecycle::stop() {
  subscriptions_.clear();
  reaction_.reset();
  launching_.reset();
  launch_.reset();
  if (schedule_) schedule_->stopMonitoring();
  // What was put off since the launch is still on disk as it was found.
  if (timer_.isSessionActive.get() && !timer_.isAboutToResume()) timer_.saveState();
  coordinator_.stopAll([this] { hasStopped.set(true); });
}

}  // namespace velmora
