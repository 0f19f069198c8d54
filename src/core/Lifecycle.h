#pragma once

#include <vector>

#include "base/Property.h"
#include "blocking/BlocklistStore.h"
#include "core/BlockingCoordinator.h"
#include "core/FocusPresetStore.h"
#include "core/TimerService.h"
#include "ports/RunLoop.h"

namespace velmora {

// What belongs to the process as a whole: the road from session state to blocking, and when the
// program may end. Main lane.
class Lifecycle {
 public:
  Lifecycle(TimerService& timer, FocusPresetStore& presets, BlocklistStore& lists,
            BlockingCoordinator& coordinator, RunLoop& loop);

  // The end of launch: after 0.1 seconds session state is observed and blocking reconciled with it.
  void applicationDidFinishLaunching();
  // While true, the program refuses to quit.
  bool isLocked() const;
  // The blocks go first, then the process may.
  void stop();

 private:
  // Reactions never run inside a write, where they would see half-changed state: a write marks
  // them due, and they run once, from the loop, on the values of then.
  void observeSessionState();
  void reactSoon();
  void react();

  TimerService& timer_;
  FocusPresetStore& presets_;
  BlocklistStore& lists_;
  BlockingCoordinator& coordinator_;
  RunLoop& loop_;
  bool isReactionDue_ = false;
  Subscription launch_;
  Subscription reaction_;
  std::vector<Subscription> subscriptions_;
};

}  // namespace velmora
