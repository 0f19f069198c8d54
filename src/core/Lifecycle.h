#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/LateRef.h"
#include "base/Property.h"
#include "blocking/BlocklistStore.h"
#include "core/BlockingCoordinator.h"
#include "core/FocusPresetStore.h"
#include "core/ModuleStore.h"
#include "core/StoredSwitch.h"
#include "core/TimerService.h"
#include "ports/Authentication.h"
#include "ports/LaunchAgent.h"
#include "ports/Preferences.h"
#include "ports/RunLoop.h"
#include "ports/StatusItem.h"

namespace velmora {

// What belongs to the process as a whole: the road from session state to blocking, to the status
// menu and to the guardian, which starts the program again when it is killed; the main window that
// is wanted; and when the program may end. Main lane.
class Lifecycle {
 public:
  using Commitment = ModuleStore::Commitment;
  class Schedule {
   public:
    virtual ~Schedule() = default;
    virtual void startMonitoring() = 0;
    virtual void stopMonitoring() = 0;
    virtual void noteQuit() = 0;
  };
  // Silent: nothing may take the focus, since a mission or a watcher starts us and no person.
  enum class Launch { shown, silent };

  struct Ports {
    StatusItem& statusItem;
    LaunchAgent& guardian;
    Authentication& authentication;
    SerialQueue& agentQueue;  // of all launch agents: what is asked of them keeps its order
  };

  // `commitment` and `schedule` may stay unbound.
  Lifecycle(TimerService& timer, FocusPresetStore& presets, BlocklistStore& lists,
            ModuleStore& modules, BlockingCoordinator& coordinator, Preferences& preferences,
            RunLoop& loop, const Ports& ports, const LateRef<Commitment>& commitment,
            const LateRef<Schedule>& schedule);

  template <class T>
  using Value = Owned<T, Lifecycle>;
  Value<std::vector<StatusMenuItem>> menu;
  // As it was asked for last; nothing until that was looked up at the end of launch.
  Value<std::optional<bool>> guardianInstalled;
  // The main window lives in another process: this says what is wanted of it. Each request brings
  // it to the front again.
  Value<bool> isWindowWanted{false};
  Value<int64_t> windowRequests{0};
  // Raised by each sign of life of whoever draws the windows.
  Value<int64_t> windowSigns{0};
  // The blocks are gone: the process may end now.
  Value<bool> hasStopped{false};
  // Whether the window shows among the running applications of the desktop.
  StoredSwitch showsInDock;
  // Whether the main window has its pages listed at its side.
  StoredSwitch showsSidebar;
  StoredSwitch hasSeenWelcome;

  // The end of launch: after 0.1 seconds session state is observed, missions run, blocking is
  // reconciled with all that and the window wanted.
  void applicationDidFinishLaunching(Launch launch);
  // That at once, because somebody wants to know or to change something: until then a mission that
  // is due does not run and locks nothing. Nothing happens before the launch, or after this.
  void finishLaunching();
  // While true, the program refuses to quit.
  bool isLocked() const;
  // A running session that only the emergency pass ends.
  bool isSessionHard() const;

  void applyDockPolicy(bool show);
  void showWindow();
  void hideWindow();
  void noteWindowSign();
  // The user has opened the program while it runs.
  void applicationShouldHandleReopen();

  // Asks the owner of this computer for proof, and then ends the session; a refusal changes
  // nothing. False, and no question, when no session runs or the running one is hard.
  bool endSessionWithAuth();

  // Somebody wants the program to quit. False: refused. Otherwise it stops, as below.
  bool applicationShouldTerminate();
  // The desktop or the system ends the program: the session is saved and the blocks lifted, and
  // hasStopped tells when that is done. Never refused, since a computer must be able to shut down;
  // a session comes back with the next start.
  void stop();

 private:
  // Reactions never run inside a write, where they would see half-changed state: a write marks
  // them due, and they run once, from the loop, on the values of then.
  enum class Reaction { none, menu, all };
  void observeSessionState();
  void reactSoon(Reaction reaction);
  void react(Reaction reaction);
  void buildMenu();
  void choose(const std::string& action);
  void reconcileGuardian();
  void authenticateToExit(std::function<void(bool)> completion);
  void endSession();

  TimerService& timer_;
  FocusPresetStore& presets_;
  BlocklistStore& lists_;
  ModuleStore& modules_;
  BlockingCoordinator& coordinator_;
  RunLoop& loop_;
  const Ports ports_;
  const LateRef<Commitment>& commitment_;
  const LateRef<Schedule>& schedule_;
  Reaction due_ = Reaction::none;
  std::shared_ptr<const bool> life_;  // what an open question holds weakly
  std::optional<Launch> launching_;  // what is put off
  Subscription launch_;
  Subscription reaction_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace velmora
