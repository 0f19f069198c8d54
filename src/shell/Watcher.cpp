#include "shell/Watcher.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <thread>

#include "platform/linux/DisplayWatch.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LaunchAgents.h"
#include "platform/linux/Paths.h"
#include "platform/linux/Spawn.h"
#include "shell/Resident.h"

namespace velmora {
namespace {

constexpr int kPatience = 60;    // seconds
constexpr int kLostDisplay = 2;  // looks in a row

// Leaves the terminal, the session and the files of whoever started us.
void detach() {
  setsid();
  std::signal(SIGHUP, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGCHLD, SIG_IGN);  // nobody is waited for
  [[maybe_unused]] const int moved = chdir("/");
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
}

// One waits at the most.
std::optional<InstanceLock> waitForTurn(const std::string& path) {
  const auto place = InstanceLock::acquire(path + ".next");
  if (!place) return std::nullopt;
  for (int i = 0; i < kPatience; ++i) {
    if (auto lock = InstanceLock::acquire(path)) return lock;
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  return std::nullopt;
}

void watch(const std::string& program, const std::string& data, const std::string& marker) {
  const auto turn = waitForTurn(data + "/watcher.lock");
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
  const pid_t child = fork();
  if (child != 0) return child > 0 ? 0 : 1;
  detach();
  watch(program, *data, marker);
  return 0;
}

}  // namespace velmora
