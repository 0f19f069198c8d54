#include "platform/linux/ThemeSounds.h"

#include <sys/epoll.h>
#include <sys/wait.h>
#include <unistd.h>

// This header forgets to say that it is C in the library's releases before 2.37.
extern "C" {
#include <sys/pidfd.h>
}

#include <csignal>
#include <memory>
#include <utility>

#include "platform/linux/EventLoop.h"
#include "platform/linux/Spawn.h"

namespace velmora {
namespace {

constexpr size_t kAtOnce = 4;
// Our sounds last about a second; a player that takes much longer waits for a device that is gone.
constexpr Seconds kLongest{10.0};

}  // namespace

// One player at work. It is ours until it was waited for, so its number can't be another's.
struct ThemeSounds::Playing {
  Playing(std::string f, size_t n, pid_t p)
      : file(std::move(f)), player(n), pid(p), pidfd(pidfd_open(p, 0)) {}
  ~Playing() {
    exited.reset();
    if (pidfd >= 0) close(pidfd);
  }
  std::string file;
  size_t player;
  pid_t pid;
  int pidfd;
  Subscription exited;
  Subscription limit;
};

ThemeSounds::Players ThemeSounds::systemPlayers() {
  return {{"pw-play"}, {"paplay"}, {"aplay", "-q"}};
}

ThemeSounds::ThemeSounds(EventLoop& loop, Log& log, std::string folder, Players players)
    : loop_(loop), log_(log), folder_(std::move(folder)), players_(std::move(players)) {}

ThemeSounds::~ThemeSounds() = default;

void ThemeSounds::play(std::string_view name) {
  const std::string file = folder_ + "/" + std::string(name) + ".wav";
  if (name.find('/') != name.npos || access(file.c_str(), R_OK) != 0)
    return log_.debug("sounds", "there is no " + file);
  start(file, 0);
}

void ThemeSounds::start(const std::string& file, size_t player) {
  if (playing_.size() >= kAtOnce) return;
  for (; player < players_.size(); ++player) {
    auto command = players_[player];
    command.push_back(file);
    const auto pid = spawn(command);
    if (!pid) continue;
    const auto playing = std::make_shared<Playing>(file, player, *pid);
    playing_.push_back(playing);
    playing->exited =
        loop_.watch(playing->pidfd, EPOLLIN, [this, p = playing.get()](uint32_t) { ended(*p); });
    playing->limit = loop_.after(kLongest, [this, p = playing.get()] { giveUp(*p); });
    return;
  }
  log_.debug("sounds", "no player could play " + file);
}

void ThemeSounds::giveUp(Playing& playing) {
  kill(playing.pid, SIGKILL);
  if (!playing.exited) ended(playing);  // nobody else would notice
}

void ThemeSounds::ended(Playing& playing) {
  int status = 0;
  waitpid(playing.pid, &status, 0);
  const bool failed = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
  const bool wasKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  const std::string file = playing.file;
  const size_t next = playing.player + 1;
  std::erase_if(playing_, [&](const auto& other) { return other.get() == &playing; });
  if (failed && !wasKilled) start(file, next);
}

}  // namespace velmora
