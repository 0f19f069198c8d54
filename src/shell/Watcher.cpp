#include "shell/Watcher.h"

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "platform/linux/DisplayWatch.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LaunchAgents.h"
#include "platform/linux/Paths.h"
#include "platform/linux/Spawn.h"
#include "shell/Detached.h"
#include "shell/Resident.h"

namespace velmora {
namespace {

constexpr int kLostDisplay = 2;  // looks in a row

void watch(const std::string& program, const std::string& data, const std::string& marker) {
  const auto turn = detached::waitForTurn(data + "/watcher.lock");
  if (!turn) return;
  const bool hasDisplay = std::getenv("DISPLAY") != nullptr;
  int lost = 0;
  auto next = std::chrono::steady_clock::now();
  while (access(marker.c_str(), F_OK) == 0) {
    const bool isReachable = !hasDisplay || DisplayWatch::canReach();
    lost = isReachable ? 0 : lost + 1;
    if (lost >= kLostDisplay) return;
    if (isReachable && !InstanceLock::isHeld(instanceLockPath(data)))
      spawn({program, "--background"});
    next += std::chrono::seconds(agents::kGuardSeconds);
    std::this_thread::sleep_until(next);
  }
}

}  // namespace

int runWatcher(const std::string& program) {
  std::string error;
  const auto data = paths::dataFolder(error);
  const auto marker = AgentPlaces::current(program).autostart(agents::kGuardianEntry);
  if (!data || access(marker.c_str(), F_OK) != 0) return 1;
  const pid_t child = detached::fork();
  if (child != 0) return child > 0 ? 0 : 1;
  watch(program, *data, marker);
  return 0;
}

}  // namespace velmora
