#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ports/StatusItem.h"

namespace velmora {

class EventLoop;

// The program's status item by the protocols StatusNotifierItem (org.kde.StatusNotifierItem) and
// com.canonical.dbusmenu, which the panels of today speak. It registers again whenever the
// desktop's watcher comes back. The loop's thread only.
class StatusNotifier {
 public:
  struct Handlers {
    std::function<void(const std::string& action)> chosen;
    // Whether a panel has taken the item; told when that changes. False at first.
    std::function<void(bool)> shown;
    // A panel without menus of its own wants ours at this point of the display.
    std::function<void(int x, int y)> menuAsked;
  };
  // Handlers are told from the loop, never within a call.
  StatusNotifier(EventLoop& loop, Handlers handlers);
  ~StatusNotifier();
  StatusNotifier(const StatusNotifier&) = delete;
  StatusNotifier& operator=(const StatusNotifier&) = delete;

  // Panels hear of what changed only, so that this may be called each second.
  void setMenu(const std::vector<StatusMenuItem>& menu);

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
