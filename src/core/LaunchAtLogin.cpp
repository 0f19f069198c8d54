#include "core/LaunchAtLogin.h"

namespace velmora {

void LaunchAtLogin::change(void (LaunchAgent::*how)()) {
  agentQueue_.post([this, &agent = agent_, &loop = loop_, life = std::weak_ptr(life_), how] {
    (agent.*how)();
    loop.post([this, life] {
      if (!life.expired()) look();
    });
  });
}

}  // namespace velmora
