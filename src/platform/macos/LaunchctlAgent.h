#pragma once

#include <string>

#include "ports/LaunchAgent.h"
#include "ports/Processes.h"

namespace velmora {

// A launch agent of a Mac: a property list in the user's folder of launch agents, made known to the
// system by `launchctl`. The existence of the file is the setting.
class LaunchctlAgent final : public LaunchAgent {
 public:
  // Every 15 seconds the system looks for the program by its name and opens the application bundle
  // in the background when it is gone.
  static LaunchctlAgent guardian(Processes& processes, const std::string& folder,
                                 const std::string& bundlePath);
  // Opens the application bundle at login.
  static LaunchctlAgent login(Processes& processes, const std::string& folder,
                              const std::string& bundlePath);

  bool isInstalled() const override;
  void install() override;
  void remove() override;

 private:
  // `processes` outlives this object. `keys` is the property list without its label.
  LaunchctlAgent(Processes& processes, const std::string& folder, const std::string& label,
                 const std::string& keys);

  Processes& processes_;
  const std::string path_;
  const std::string text_;
};

}  // namespace velmora
