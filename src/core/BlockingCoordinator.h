#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/Calendar.h"
#include "base/LateRef.h"
#include "blocking/BlocklistStore.h"
#include "blocking/BrowserMonitorService.h"
#include "core/FocusPresetStore.h"
#include "core/TimerService.h"
#include "ports/AppCatalog.h"
#include "ports/Clock.h"
#include "sync/model/SyncDocument.h"

namespace velmora {

// The one road from session state to the blockers: reads the timer, the presets, the lists and the
// shared document, and tells every blocker its whole wanted state. Holds no state of its own; may
// be called any number of times. Main lane.
class BlockingCoordinator final : public TimerService::Coordinator {
 public:
  class AppBlocker {
   public:
    virtual ~AppBlocker() = default;
    virtual void startBlocking(const std::vector<BlockedApp>& blockedApps) = 0;
    virtual void startAllowlist(const std::set<std::string>& allowedBundleIDs) = 0;
    virtual void stopBlocking() = 0;
  };
  class WebsiteBlocker {
   public:
    virtual ~WebsiteBlocker() = default;
    virtual void startBlocking(const std::vector<std::string>& domains,
                               const std::string& sessionType) = 0;
    virtual void serveBlockPageOnly() = 0;
    // `completion`, which may be empty, runs when nothing of it is left.
    virtual void disableBlocking(std::function<void()> completion) = 0;
  };
  // What the user's devices share.
  class SharedState {
   public:
    virtual ~SharedState() = default;
    // This device follows a session that another device runs.
    virtual bool followsRemoteSession() const = 0;
    virtual FocusStanding standing(Date at, const Calendar& calendar) const = 0;
    virtual const SharedRules& rules() const = 0;
  };
  struct Neighbours {
    LateRef<AppBlocker> apps;
    LateRef<WebsiteBlocker> websites;
    LateRef<SharedState> shared;
  };

  BlockingCoordinator(TimerService& timer, FocusPresetStore& presets, BlocklistStore& lists,
                      BrowserMonitorService& monitor, const AppCatalog& catalog, Clock& clock,
                      const Neighbours& neighbours);

  void sync() override;
  // Lifts everything; `completion` runs when it is lifted.
  void stopAll(std::function<void()> completion = {});
  // Whether a session demands blocking right now, whatever the mode.
  bool shouldBlock() const;

 private:
  bool followsRemote() const;
  void enforceAllowlist(const FocusTaskContext& context);
  void enforceLists(bool enforce);

  TimerService& timer_;
  FocusPresetStore& presets_;
  BlocklistStore& lists_;
  BrowserMonitorService& monitor_;
  const AppCatalog& catalog_;
  Clock& clock_;
  const Neighbours& neighbours_;
};

}  // namespace velmora
