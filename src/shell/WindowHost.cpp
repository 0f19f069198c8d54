#include "shell/WindowHost.h"

#include <sys/epoll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <utility>

// Its declarations lack what makes them those of C.
extern "C" {
#include <sys/pidfd.h>
}

#include "platform/linux/EventLoop.h"
#include "platform/linux/Spawn.h"

namespace velmora {
namespace {

constexpr int kEarlyDeaths = 4;

bool hasDisplay() {
  const auto isSet = [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
  };
  return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY");
}

auto ticks(Seconds time) {
  return std::chrono::duration_cast<std::chrono::steady_clock::duration>(time);
}

}  // namespace

WindowHost::WindowHost(EventLoop& loop, Log& log, std::vector<std::string> command, Times times)
    : loop_(loop), log_(log), command_(std::move(command)), times_(times) {}

WindowHost::~WindowHost() {
  if (pid_ == 0) return;
  signal(SIGKILL);
  forget();
}

void WindowHost::setWanted(Wants wanted) {
  if (wanted == wanted_) return;
  const Wants before = std::exchange(wanted_, wanted);
  if (wanted.gate && !before.gate) {
    patientUntil_ = std::max(started_ + ticks(times_.first), Clock::now() + ticks(times_.mute));
    looking_ = loop_.every(times_.restart, times_.restart, [this] { replaceIfMute(); });
  }
  if (!wanted.gate) looking_.reset();
  if (!wanted.any) {
    next_.reset();
    endSoon();
  } else if (!before.any || (wanted.gate && !before.gate)) {
    request();
  }
}

void WindowHost::request() {
  if (!wanted_.any) return;
  leaving_.reset();
  earlyDeaths_ = 0;
  if (pid_ == 0) start();
}

void WindowHost::noteSign() {
  patientUntil_ = Clock::now() + ticks(times_.mute);
}

void WindowHost::start() {
  next_.reset();
  if (!hasDisplay()) return;
  started_ = Clock::now();
  patientUntil_ = started_ + ticks(times_.first);
  if (const auto pid = spawn(command_, -1, ErrorOutput::shared)) {
    pid_ = *pid;
    pidFd_ = pidfd_open(pid_, 0);
    end_ = loop_.watch(pidFd_, EPOLLIN, [this](uint32_t) { onEnd(); });
  } else {
    log_.notice("Velmora's window can't be started: " + command_.front());
    if (wanted_.gate) next_ = loop_.after(times_.pause, [this] { start(); });
  }
}

void WindowHost::onEnd() {
  const bool isEarly = Clock::now() - started_ < ticks(times_.early);
  earlyDeaths_ = isEarly ? earlyDeaths_ + 1 : 0;
  leaving_.reset();
  forget();
  if (!wanted_.any) return;
  const bool isHopeless = earlyDeaths_ >= kEarlyDeaths;
  if (earlyDeaths_ == kEarlyDeaths)
    log_.notice("Velmora's window ends as soon as it is started: " + command_.front());
  if (isHopeless && !wanted_.gate) return;
  next_ = loop_.after(isHopeless ? times_.pause : times_.restart, [this] { start(); });
}

// Its own exit code is of no interest. The process has ended, or is about to.
void WindowHost::forget() {
  end_.reset();
  close(std::exchange(pidFd_, -1));
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = 0;
}

void WindowHost::replaceIfMute() {
  if (pid_ == 0 || Clock::now() < patientUntil_) return;
  log_.notice("The gate's window gives no sign of life and is replaced");
  patientUntil_ = Clock::now() + ticks(times_.mute);
  signal(SIGKILL);
}

void WindowHost::endSoon() {
  if (pid_ == 0) return;
  leaving_ = loop_.after(times_.leave, [this] {
    signal(SIGTERM);
    leaving_ = loop_.after(times_.leave, [this] { signal(SIGKILL); });
  });
}

void WindowHost::signal(int number) const {
  pidfd_send_signal(pidFd_, number, nullptr, 0);
}

}  // namespace velmora
