#pragma once

#include <string>

#include "platform/linux/LaunchAgents.h"
#include "ports/Clock.h"
#include "ports/ScheduleAgent.h"

namespace velmora {

// Has `velmora --schedule-check` run when a mission may begin: by a timer of the systemd user
// manager and once at each login, or, where there is no manager or it refuses, by a watcher process
// of our own (`velmora --schedule-watch`), which the desktop starts at login and which ends by
// itself when it finds its autostart entry removed. The check decides by the table that is written
// here, beside the store.
class LinuxScheduleAgent final : public ScheduleAgent {
 public:
  // `table` is the path of its file. What is handed in outlives this object; `clock` is used on the
  // queue of agents only.
  LinuxScheduleAgent(AgentPlaces places, std::string table, Processes& processes,
                     const Clock& clock);
  // Files that hold what they should are left alone, and a unit that has not changed is not started
  // again. The first one of an object sees to it that all of it is in force.
  void install(const WatchTable& table) override;
  void remove() override;

 private:
  bool installUnits(const WatchTable& table);
  void removeUnits();

  const AgentPlaces places_;
  const std::string table_;
  Processes& processes_;
  const Clock& clock_;
  UserManager manager_;
  bool isInForce_ = false;
};

}  // namespace velmora
