#include "shell/ScheduleCheck.h"

#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <utility>

#include "platform/linux/CommandProcesses.h"
#include "platform/linux/DisplayWatch.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/InstanceLock.h"
#include "platform/linux/LaunchAgentFiles.h"
#include "platform/linux/LaunchAgents.h"
#include "platform/linux/Paths.h"
#include "platform/linux/ScheduleRules.h"
#include "platform/linux/ScheduleTable.h"
#include "platform/linux/Spawn.h"
#include "platform/linux/SqlitePreferences.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/SystemFiles.h"
#include "platform/linux/SystemLog.h"
#include "shell/Detached.h"
#include "shell/Resident.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

constexpr const char* kLaunch = "--scheduled-launch";
constexpr std::chrono::milliseconds kStorePatience(2000);
constexpr Seconds kDisplayPatience(10);
constexpr Seconds kLongestSleep(86400);

std::optional<WatchTable> readTable(const std::string& data, Log& log) {
  const std::string path = scheduleTablePath(data);
  const auto text = SystemFiles().readText(path);
  if (!text) return std::nullopt;
  auto table = watch::tableFromText(*text);
  if (table) return std::move(*table);
  log.notice(path + " can't be understood (" + table.error().path + ": " + table.error().problem +
             "); no mission starts the program until it runs again");
  return std::nullopt;
}

bool isStartDue(const std::string& data, Log& log) {
  const auto store =
      SqlitePreferences::readOnly(data + "/preferences.sqlite3", log, kStorePatience);
  const SystemClock clock;
  const Date now = clock.now();
  if (watch::isPassInForce(store->read(watch::kPassKey), now)) return false;
  const auto table = readTable(data, log);
  const auto quitAt = watch::quitTime(store->read(watch::kQuitKey), now);
  return table && watch::isCovered(*table, now, Calendar(clock.zone()), quitAt) &&
         !InstanceLock::isHeld(instanceLockPath(data)) && DisplayWatch::canReach();
}

// Whether a manager has started this very process, which then has the manager's variables.
bool isUnit() {
  const char* pid = std::getenv("SYSTEMD_EXEC_PID");
  return pid && std::to_string(getpid()) == pid;
}

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }

 private:
  const int fd_;
};

// Calls back when one of some files comes, changes or goes. A folder that isn't there is not seen.
class FileNews {
 public:
  FileNews(EventLoop& loop, const std::vector<std::string>& paths, std::function<void()> changed)
      : changed_(std::move(changed)) {
    for (const auto& each : paths) {
      const fs::path path(each);
      names_.insert(path.filename().string());
      inotify_add_watch(fd_.get(), path.parent_path().c_str(),
                        IN_CREATE | IN_CLOSE_WRITE | IN_MOVE | IN_DELETE);
    }
    watch_ = loop.watch(fd_.get(), EPOLLIN, [this](uint32_t) { read(); });
  }

 private:
  void read() {
    alignas(inotify_event) std::array<char, 4096> buffer;
    const ssize_t size = ::read(fd_.get(), buffer.data(), buffer.size());
    bool isOurs = false;
    for (ssize_t at = 0; at < size;) {
      const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + at);
      isOurs = isOurs || (event->mask & IN_Q_OVERFLOW) != 0 ||
               (event->len > 0 && names_.contains(event->name));
      at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
    }
    if (isOurs) changed_();
  }

  const std::function<void()> changed_;
  std::set<std::string> names_;
  Descriptor fd_{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
  Subscription watch_;
};

// Rings at a moment of wall time, and at once when somebody sets the clock.
class WallAlarm {
 public:
  WallAlarm(EventLoop& loop, std::function<void()> rung) : rung_(std::move(rung)) {
    watch_ = loop.watch(fd_.get(), EPOLLIN, [this](uint32_t) {
      uint64_t count;
      [[maybe_unused]] const ssize_t read = ::read(fd_.get(), &count, sizeof count);
      rung_();
    });
  }
  void set(Date at) const {
    itimerspec when{};
    when.it_value.tv_sec = static_cast<time_t>(std::ceil(at.secondsSinceUnixEpoch()));
    timerfd_settime(fd_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &when, nullptr);
  }

 private:
  const std::function<void()> rung_;
  Descriptor fd_{timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC)};
  Subscription watch_;
};

class ScheduleWatcher {
 public:
  ScheduleWatcher(std::string program, std::string data, std::string marker)
      : program_(std::move(program)), data_(std::move(data)), marker_(std::move(marker)) {}

  void run() {
    look();
    loop_.run();
  }

 private:
  void look() {
    if (access(marker_.c_str(), F_OK) != 0) return loop_.quit();
    arm();
    if (isStartDue(data_, log_)) spawn({program_, kLaunch});
  }
  void arm() {
    const auto table = readTable(data_, log_).value_or(WatchTable{});
    const Date now = clock_.now();
    alarm_.set(watch::nextLook(table, now, Calendar(clock_.zone())).value_or(now + kLongestSleep));
    if (table.isGuard != static_cast<bool>(guard_))
      guard_ = table.isGuard ? loop_.every(Seconds(agents::kGuardSeconds), Seconds(0),
                                           [this] { look(); })
                             : Subscription();
  }

  const std::string program_;
  const std::string data_;
  const std::string marker_;
  SystemLog log_;
  SystemClock clock_;
  EventLoop loop_;
  DisplayWatch display_{loop_, kDisplayPatience, [this] { loop_.quit(); }};
  FileNews files_{loop_, {marker_, scheduleTablePath(data_), "/etc/localtime"}, [this] { look(); }};
  WallAlarm alarm_{loop_, [this] { look(); }};
  Subscription guard_;
};

// A schedule that is switched off and on again finds the watcher that was about to leave.
void watchWhile(const std::string& marker, const std::string& program, const std::string& data) {
  while (access(marker.c_str(), F_OK) == 0 && DisplayWatch::canReach()) {
    const auto turn = detached::waitForTurn(data + "/schedule-watcher.lock");
    if (!turn) return;
    ScheduleWatcher(program, data, marker).run();
  }
}

}  // namespace

int runScheduleCheck(const std::string& program) {
  std::string error;
  const auto data = paths::dataFolder(error);
  SystemLog log;
  if (!data) return log.notice(error), 1;
  const auto places = AgentPlaces::current(program);
  CommandProcesses processes;
  UserManager manager(places, processes);
  // At login: the timers of a manager that knows no display would start nothing.
  if (!isUnit() && manager.isThere()) manager.importDisplay();
  if (!isStartDue(*data, log)) return 0;
  // A child of ours would end with the unit that we may be.
  if (manager.isThere()) return manager.startProgram(kLaunch) ? 0 : 1;
  const pid_t child = detached::fork();
  if (child != 0) return child > 0 ? 0 : 1;
  return spawn({program, kLaunch}) ? 0 : 1;
}

int runScheduleWatch(const std::string& program) {
  std::string error;
  const auto data = paths::dataFolder(error);
  const auto marker = AgentPlaces::current(program).autostart(agents::kScheduleWatchEntry);
  if (!data || access(marker.c_str(), F_OK) != 0) return 1;
  const pid_t child = detached::fork();
  if (child != 0) return child > 0 ? 0 : 1;
  watchWhile(marker, program, *data);
  return 0;
}

}  // namespace velmora
