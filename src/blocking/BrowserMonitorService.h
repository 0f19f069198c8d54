#pragma once

#include <string>
#include <vector>

#include "blocking/SiteBlockEngine.h"

namespace velmora {

// The door through which session logic sets the engine's focus rule. Keeps no state.
class BrowserMonitorService {
 public:
  explicit BrowserMonitorService(SiteBlockEngine& engine) : engine_(engine) {}

  // Domains may be in any spelling; those that give no domain are dropped.
  void start(const std::vector<std::string>& domains);
  void startAllowlist(const std::vector<std::string>& domains);
  void stop();

 private:
  SiteBlockEngine& engine_;
};

}  // namespace velmora
