#include "shell/Detached.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <thread>

namespace velmora::detached {
namespace {

constexpr int kPatience = 60;  // seconds

}  // namespace

pid_t fork() {
  const pid_t child = ::fork();
  if (child != 0) return child;
  setsid();
  std::signal(SIGHUP, SIG_IGN);
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGCHLD, SIG_IGN);
  [[maybe_unused]] const int moved = chdir("/");
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, fd);
  return 0;
}

std::optional<InstanceLock> waitForTurn(const std::string& lock) {
  const auto place = InstanceLock::acquire(lock + ".next");
  if (!place) return std::nullopt;
  for (int i = 0; i < kPatience; ++i) {
    if (auto held = InstanceLock::acquire(lock)) return held;
    std::this_thread::sleep_for(std::chrono::seconds(1));
  }
  return std::nullopt;
}

}  // namespace velmora::detached
