#pragma once

#include <string>

#include "ports/Processes.h"
#include "ports/ScheduleAgent.h"

namespace velmora {

// The watchdog of a Mac: a launch agent that wakes a zsh script, at the start minutes or every 15
// seconds, and the script, which holds the whole schedule as one condition and opens the
// application in the background when that is true. Both stay when the program ends.
class ScheduleWatchdog final : public ScheduleAgent {
 public:
  struct Places {
    std::string agents;            // the user's folder of launch agents
    std::string support;           // our folder for what the application keeps
    std::string preferenceDomain;  // the bundle's identifier, empty where there is none
    std::string bundlePath;        // what it opens
  };
  // `processes` outlives this object.
  ScheduleWatchdog(Processes& processes, Places places);

  // The first one of an object writes and loads whatever is there.
  void install(const WatchTable& table) override;
  void remove() override;

  // The texts, with paths escaped as those who read them ask: a home folder may have an "&", a "$"
  // or a quote in its name. The conditions of several entries stand side by side without
  // parentheses: in zsh "&&" and "||" have one rank, so that a guard of a later entry is also asked
  // of those before it.
  std::string script(const WatchTable& table) const;
  std::string propertyList(const WatchTable& table) const;
  std::string scriptPath() const;
  std::string agentPath() const;

 private:
  std::string preferenceDomain() const;
  void unloadAgent();

  Processes& processes_;
  const Places places_;
  // Loaded by this object; empty before.
  std::string script_;
  std::string propertyList_;
};

}  // namespace velmora
