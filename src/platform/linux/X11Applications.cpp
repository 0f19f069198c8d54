#include "platform/linux/X11Applications.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <unordered_map>
#include <utility>

#include "platform/linux/BrowserLink.h"
#include "platform/linux/X11Desktop.h"

namespace velmora {
namespace {

constexpr Seconds kRetryOfSlowServer(0.05);
constexpr Seconds kRetryOfLostServer(3);
constexpr auto kOurPrograms =
    std::to_array<std::string_view>({"velmora", "velmora-window", "velmora-browser-host"});

// A process that has this handle keeps its number until the handle is closed, to all who use it.
class ProcessHandle {
 public:
  explicit ProcessHandle(int32_t pid) : fd_(static_cast<int>(syscall(SYS_pidfd_open, pid, 0))) {}
  ProcessHandle(const ProcessHandle&) = delete;
  ProcessHandle& operator=(const ProcessHandle&) = delete;
  ~ProcessHandle() {
    if (fd_ >= 0) close(fd_);
  }
  // One that has ended and that its parent has not asked for yet does not live.
  bool lives() const {
    pollfd handle{fd_, POLLIN, 0};
    return fd_ >= 0 && poll(&handle, 1, 0) == 0;
  }
  void kill() const {
    if (fd_ >= 0) syscall(SYS_pidfd_send_signal, fd_, SIGKILL, nullptr, 0);
  }

 private:
  int fd_;
};

std::pair<std::string, std::string> split(const std::string& path) {
  const size_t slash = path.rfind('/') + 1;
  return {path.substr(0, slash), path.substr(slash)};
}

}  // namespace

X11Applications::X11Applications(RunLoop& loop, X11Desktop& desktop)
    : loop_(loop),
      desktop_(desktop),
      folder_(split(processes_.executable(getpid())).first),
      launches_(std::make_shared<Signal<RunningApplication>>()),
      self_(std::make_shared<X11Applications*>(this)) {}

std::vector<RunningApplication> X11Applications::running() {
  look();
  std::vector<RunningApplication> out;
  for (const auto& [pid, process] : known_) {
    if (!process.windows.empty()) out.push_back(process.application(pid));
  }
  return out;
}

Subscription X11Applications::onLaunch(std::function<void(const RunningApplication&)> launched) {
  if (subscribers_++ == 0) {
    look();
    for (auto& [pid, process] : known_) process.isTold = !process.windows.empty();
    news_ = desktop_.onWindowsChanged([this] { lookSoon(); });
    lookSoon();  // where the server kept us waiting, what it has not told yet counts as launched
  }
  return Subscription([weak = std::weak_ptr(self_),
                       token = std::make_shared<Subscription>(
                           launches_->subscribe(std::move(launched)))] {
    token->reset();
    const auto self = weak.lock();
    if (!self || --(*self)->subscribers_ > 0) return;
    (*self)->news_.reset();
    (*self)->retry_.reset();
  });
}

bool X11Applications::isRunning(const RunningApplication& application) {
  const ProcessHandle handle(application.pid);
  look();
  return find(application) && handle.lives();
}

void X11Applications::hide(const RunningApplication& application) {
  look();
  const Process* process = find(application);
  if (!process) return;
  for (const uint32_t window : process->windows) desktop_.minimise(window);
}

void X11Applications::terminate(const RunningApplication& application) {
  look();
  const Process* process = find(application);
  if (!process) return;
  for (const uint32_t window : process->windows) desktop_.close(window);
}

void X11Applications::forceTerminate(const RunningApplication& application) {
  // The handle first: what is looked at afterwards is what will be hit, or nothing is hit.
  const ProcessHandle handle(application.pid);
  look();
  if (find(application)) handle.kill();
}

std::optional<Seconds> X11Applications::look() {
  const DesktopSnapshot snapshot = desktop_.snapshot({});
  std::unordered_map<int32_t, const std::string*> ids;
  for (const auto& application : snapshot.applications) {
    ids[application.pid] = &application.bundleID;
  }
  std::map<int32_t, Process> now;
  for (const auto& window : desktop_.windows()) {
    const auto id = ids.find(window.pid);
    if (!window.isRegular || id == ids.end() || id->second->empty()) continue;
    Process& process = now[window.pid];
    process.id = *id->second;
    process.windows.push_back(window.id);
  }
  for (int32_t ours = getpid(); ours > 0; ours = parentProcess(ours)) now.erase(ours);
  std::erase_if(now, [this](const auto& entry) { return isOurProgram(entry.first); });

  for (auto& [pid, process] : now) {
    process.startTime = processes_.startTime(pid);
    const auto before = known_.find(pid);
    process.isTold = before != known_.end() && before->second.isTold &&
                     before->second.startTime == process.startTime &&
                     before->second.id == process.id;
  }
  for (auto& [pid, process] : known_) {
    process.windows.clear();
    process.isTold = false;
    if (!now.contains(pid) && process.startTime == processes_.startTime(pid)) {
      now.emplace(pid, std::move(process));
    }
  }
  std::erase_if(now, [](const auto& entry) { return !entry.second.startTime; });
  known_ = std::move(now);
  if (!snapshot.windows) return kRetryOfLostServer;
  return desktop_.isOverdue() ? std::optional(kRetryOfSlowServer) : std::nullopt;
}

bool X11Applications::isOurProgram(int32_t pid) const {
  const auto [folder, name] = split(processes_.executable(pid));
  return folder == folder_ && std::ranges::find(kOurPrograms, name) != kOurPrograms.end();
}

const X11Applications::Process* X11Applications::find(
    const RunningApplication& application) const {
  const auto found = known_.find(application.pid);
  const bool isSame =
      found != known_.end() && found->second.application(application.pid) == application;
  return isSame ? &found->second : nullptr;
}

void X11Applications::lookSoon() {
  if (std::exchange(isLookDue_, true)) return;
  loop_.post([weak = std::weak_ptr(self_)] {
    if (const auto self = weak.lock()) (*self)->tellLaunches();
  });
}

void X11Applications::tellLaunches() {
  isLookDue_ = false;
  if (subscribers_ == 0) return;
  retry_.reset();
  if (const auto delay = look()) retry_ = loop_.after(*delay, [this] { tellLaunches(); });
  std::vector<RunningApplication> launched;
  for (auto& [pid, process] : known_) {
    if (!process.windows.empty() && !std::exchange(process.isTold, true)) {
      launched.push_back(process.application(pid));
    }
  }
  const auto launches = launches_;
  for (auto& application : launched) launches->send(std::move(application));
}

}  // namespace velmora
