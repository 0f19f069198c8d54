#pragma once

#include <memory>

#include "base/Property.h"
#include "ports/LaunchAgent.h"
#include "ports/RunLoop.h"

namespace velmora {

// Whether the desktop starts the program at login. The agent itself is the setting: nothing else
// remembers it. Main lane.
class LaunchAtLogin {
 public:
  // All three outlive this object and every task on the queue.
  LaunchAtLogin(LaunchAgent& agent, SerialQueue& agentQueue, RunLoop& loop)
      : agent_(agent), agentQueue_(agentQueue), loop_(loop) {}

  Owned<bool, LaunchAtLogin> isEnabled{false};  // as of the latest look
  void look() { isEnabled.setIfChanged(agent_.isInstalled()); }
  // In the background; isEnabled tells what came of it.
  void enable() { change(&LaunchAgent::install); }
  void disable() { change(&LaunchAgent::remove); }

 private:
  void change(void (LaunchAgent::*how)());

  LaunchAgent& agent_;
  SerialQueue& agentQueue_;
  RunLoop& loop_;
  std::shared_ptr<const bool> life_ = std::make_shared<const bool>(true);
};

}  // namespace velmora
