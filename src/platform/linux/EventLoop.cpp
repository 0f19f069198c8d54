#include "platform/linux/EventLoop.h"

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <systemd/sd-event.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace velmora {
namespace {

using Nanoseconds = int64_t;

constexpr Nanoseconds kMillisecond = 1'000'000;
constexpr double kLongest = 3e9;  // seconds; a century stands for "never" and can't overflow
constexpr uint32_t kAlways = EPOLLERR | EPOLLHUP;

// Awake time: it stands still while the machine is suspended.
Nanoseconds awakeNow() {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * Nanoseconds{1'000'000'000} + t.tv_nsec;
}

Nanoseconds nanoseconds(Seconds duration) {
  const double s = duration.count();
  return s > 0.0 ? static_cast<Nanoseconds>(std::min(s, kLongest) * 1e9) : 0;
}

// Without these few system objects no part of the program can work.
void need(int result, const char* what) {
  if (result >= 0) return;
  std::fprintf(stderr, "velmora: no %s for the event loop: %s\n", what, std::strerror(-result));
  std::abort();
}

}  // namespace

struct EventLoop::State : std::enable_shared_from_this<EventLoop::State> {
  struct Posted {
    Nanoseconds at;
    Task task;
  };
  struct Timer {
    Nanoseconds due;
    Nanoseconds tolerance;
    Nanoseconds start = 0;     // of the grid
    Nanoseconds interval = 0;  // 0: runs once
    std::shared_ptr<Task> task;
  };
  // What sd-event calls back; alive while it does, even when its token goes.
  struct Source : std::enable_shared_from_this<Source> {
    explicit Source(std::function<void(uint32_t)> f) : told(std::move(f)) {}
    ~Source() { disable(); }
    void disable() {
      for (sd_event_source* source : std::exchange(handles, {}))
        sd_event_source_disable_unref(source);
    }
    void tell(uint32_t value) {
      const auto self = shared_from_this();
      told(value);
    }
    std::function<void(uint32_t)> told;
    std::vector<sd_event_source*> handles;
  };

  State();
  ~State();

  void post(Task task);
  Subscription add(Timer timer);
  Subscription keep(std::shared_ptr<Source> source, std::function<void()> onEnd);
  void cancel(uint64_t id);
  void turn();
  void runPosted();
  void runTimer(Nanoseconds now);
  void takePosted();
  void arm();
  void drop();

  sd_event* event = nullptr;
  sd_event_source* alarm = nullptr;
  sd_event_source* bell = nullptr;
  int bellFd = -1;
  bool quitting = false;

  std::mutex mutex;  // guards what other threads post
  std::deque<Posted> inbox;
  bool rung = false;

  std::deque<Posted> ready;
  uint64_t lastId = 0;
  std::map<uint64_t, Timer> timers;
  std::set<std::pair<Nanoseconds, uint64_t>> byDue;
  std::map<uint64_t, std::shared_ptr<Source>> sources;
};

EventLoop::State::State() {
  need(sd_event_new(&event), "sd-event");
  bellFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  need(bellFd < 0 ? -errno : 0, "eventfd");
  const auto onBell = [](sd_event_source*, int, uint32_t, void* self) {
    static_cast<State*>(self)->turn();
    return 0;
  };
  const auto onAlarm = [](sd_event_source*, uint64_t, void* self) {
    static_cast<State*>(self)->turn();
    return 0;
  };
  need(sd_event_add_io(event, &bell, bellFd, EPOLLIN, onBell, this), "eventfd watch");
  need(sd_event_add_time(event, &alarm, CLOCK_MONOTONIC, 0, 1, onAlarm, this), "timer");
  sd_event_source_set_enabled(alarm, SD_EVENT_OFF);
}

EventLoop::State::~State() {
  sd_event_source_disable_unref(alarm);
  sd_event_source_disable_unref(bell);
  close(bellFd);
  sd_event_unref(event);
}

void EventLoop::State::post(Task task) {
  const std::lock_guard lock(mutex);
  inbox.push_back({awakeNow(), std::move(task)});
  if (std::exchange(rung, true)) return;
  const uint64_t one = 1;
  // Can't fail: the counter is 0 here.
  [[maybe_unused]] const auto written = write(bellFd, &one, sizeof one);
}

void EventLoop::State::takePosted() {
  const std::lock_guard lock(mutex);
  if (!std::exchange(rung, false)) return;
  uint64_t count;
  [[maybe_unused]] const auto got = read(bellFd, &count, sizeof count);
  std::move(inbox.begin(), inbox.end(), std::back_inserter(ready));
  inbox.clear();
}

Subscription EventLoop::State::add(Timer timer) {
  const uint64_t id = ++lastId;
  byDue.emplace(timer.due, id);
  timers.emplace(id, std::move(timer));
  arm();
  return Subscription([weak = weak_from_this(), id] {
    if (const auto self = weak.lock()) self->cancel(id);
  });
}

void EventLoop::State::cancel(uint64_t id) {
  const auto node = timers.extract(id);  // its task is destroyed when all is in order again
  if (!node) return;
  byDue.erase({node.mapped().due, id});
  arm();
}

// One turn: what was posted and what is due by now, in the order of falling due.
void EventLoop::State::turn() {
  takePosted();
  const Nanoseconds now = awakeNow();
  for (;;) {
    const bool timerDue = !byDue.empty() && byDue.begin()->first <= now;
    if (!ready.empty() && (!timerDue || ready.front().at <= byDue.begin()->first))
      runPosted();
    else if (timerDue)
      runTimer(now);
    else
      break;
  }
  arm();
}

void EventLoop::State::runPosted() {
  const Task task = std::move(ready.front().task);
  ready.pop_front();
  task();
}

void EventLoop::State::runTimer(Nanoseconds now) {
  const uint64_t id = byDue.begin()->second;
  byDue.erase(byDue.begin());
  const auto found = timers.find(id);
  Timer& timer = found->second;
  const auto task = timer.task;
  if (timer.interval == 0) {
    timers.erase(found);
  } else {
    timer.due = timer.start + ((now - timer.start) / timer.interval + 1) * timer.interval;
    byDue.emplace(timer.due, id);
  }
  (*task)();
}

// Asks for one wake-up for as many timers as can share it: when the last of them is due, and before
// the first of them runs out of tolerance. Within these limits the system may choose a moment at
// which it is awake anyway.
void EventLoop::State::arm() {
  if (byDue.empty()) {
    sd_event_source_set_enabled(alarm, SD_EVENT_OFF);
    return;
  }
  Nanoseconds from = 0;
  Nanoseconds until = INT64_MAX;
  for (const auto& [due, id] : byDue) {
    if (due > until) break;
    from = due;
    until = std::min(until, due + timers.at(id).tolerance);
  }
  const auto leeway = std::max<Nanoseconds>(1, (until - from) / 1000);
  sd_event_source_set_time(alarm, static_cast<uint64_t>((from + 999) / 1000));
  sd_event_source_set_time_accuracy(alarm, static_cast<uint64_t>(leeway));
  sd_event_source_set_enabled(alarm, SD_EVENT_ONESHOT);
}

Subscription EventLoop::State::keep(std::shared_ptr<Source> source, std::function<void()> onEnd) {
  const uint64_t id = ++lastId;
  sources.emplace(id, std::move(source));
  return Subscription([weak = weak_from_this(), id, onEnd = std::move(onEnd)] {
    const auto self = weak.lock();
    const auto node = self ? self->sources.extract(id) : decltype(sources)::node_type();
    if (node) node.mapped()->disable();
    if (onEnd) onEnd();
  });
}

// What is destroyed here may cancel, and even post, more of it.
void EventLoop::State::drop() {
  for (;;) {
    const auto oldTimers = std::exchange(timers, {});
    byDue.clear();
    const auto oldSources = std::exchange(sources, {});
    for (const auto& [id, source] : oldSources) source->disable();
    rung = true;
    takePosted();
    const auto oldReady = std::exchange(ready, {});
    if (oldTimers.empty() && oldSources.empty() && oldReady.empty()) return;
  }
}

EventLoop::EventLoop() : state_(std::make_shared<State>()) {}

EventLoop::~EventLoop() {
  state_->drop();
}

void EventLoop::post(Task task) {
  state_->post(std::move(task));
}

Subscription EventLoop::after(Seconds delay, Task task) {
  return state_->add({.due = awakeNow() + nanoseconds(delay),
                      .tolerance = kMillisecond,
                      .task = std::make_shared<Task>(std::move(task))});
}

Subscription EventLoop::every(Seconds interval, Seconds tolerance, Task task) {
  const Nanoseconds start = awakeNow();
  const Nanoseconds step = std::max(nanoseconds(interval), kMillisecond);
  return state_->add({.due = start + step,
                      .tolerance = std::min(nanoseconds(tolerance), step),
                      .start = start,
                      .interval = step,
                      .task = std::make_shared<Task>(std::move(task))});
}

Subscription EventLoop::watch(int fd, uint32_t epollEvents, std::function<void(uint32_t)> ready) {
  auto source = std::make_shared<State::Source>(std::move(ready));
  const auto onEvents = [](sd_event_source*, int, uint32_t events, void* self) {
    static_cast<State::Source*>(self)->tell(events);
    return 0;
  };
  sd_event_source* handle = nullptr;
  if (sd_event_add_io(state_->event, &handle, fd, epollEvents | kAlways, onEvents, source.get()) <
      0)
    return {};
  source->handles.push_back(handle);
  return state_->keep(std::move(source), nullptr);
}

Subscription EventLoop::onSignal(const std::vector<int>& signals, std::function<void(int)> raised) {
  sigset_t wanted;
  sigset_t before;
  sigemptyset(&wanted);
  for (const int signal : signals) sigaddset(&wanted, signal);
  pthread_sigmask(SIG_BLOCK, &wanted, &before);

  auto source = std::make_shared<State::Source>(
      [raised = std::move(raised)](uint32_t signal) { raised(static_cast<int>(signal)); });
  const auto onSignal = [](sd_event_source*, const signalfd_siginfo* info, void* self) {
    static_cast<State::Source*>(self)->tell(info->ssi_signo);
    return 0;
  };
  for (const int signal : signals) {
    sd_event_source* handle = nullptr;
    if (sd_event_add_signal(state_->event, &handle, signal, onSignal, source.get()) >= 0)
      source->handles.push_back(handle);
  }
  return state_->keep(std::move(source), [signals, before] {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (const int signal : signals)
      if (!sigismember(&before, signal)) sigdelset(&mask, signal);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  });
}

void EventLoop::run() {
  while (!std::exchange(state_->quitting, false)) {
    const int result = sd_event_run(state_->event, UINT64_MAX);
    if (result < 0 && result != -EINTR) need(result, "turn");
  }
}

void EventLoop::quit() {
  post([state = state_.get()] { state->quitting = true; });
}

sd_event* EventLoop::native() const {
  return state_->event;
}

}  // namespace velmora
