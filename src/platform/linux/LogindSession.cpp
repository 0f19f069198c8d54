#include "platform/linux/LogindSession.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

constexpr const char* kService = "org.freedesktop.login1";
constexpr const char* kManagerPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kUser = "org.freedesktop.login1.User";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

// From the request to lock until a locker has the screen.
constexpr Seconds kLockerPatience(5);

bool isError(sd_bus_message* reply) {
  return sd_bus_message_is_method_error(reply, nullptr) != 0;
}

// A call or a match, which ends with its owner.
class Slot {
 public:
  Slot() = default;
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;
  ~Slot() { reset(); }
  void reset() { slot_ = sd_bus_slot_unref(slot_); }
  // Where the library puts a new one.
  sd_bus_slot** fresh() {
    reset();
    return &slot_;
  }

 private:
  sd_bus_slot* slot_ = nullptr;
};

}  // namespace

class LogindSession::Impl {
 public:
  Impl(EventLoop& loop, Seconds reconnectInterval)
      : loop_(loop), reconnectInterval_(reconnectInterval) {
    connect();
  }
  ~Impl() { disconnect(); }

  bool onConsoleAndUnlocked() const { return active_ && !locked_; }
  const Property<ScreenLock>& screenLock() const { return screenLock_; }
  const Property<int64_t>& awakenings() const { return awakenings_; }

 private:
  void connect() {
    if (sd_bus_open_system(&bus_) < 0) return retryLater();
    sd_bus_set_exit_on_disconnect(bus_, 0);
    const bool attached =
        sd_bus_attach_event(bus_, loop_.native(), SD_EVENT_PRIORITY_NORMAL) >= 0 &&
        matchLocal() >= 0 && matchLogind() >= 0;
    if (!attached) return lose();
    findByProcess();
  }

  void disconnect() {
    for (Slot* slot : {&disconnected_, &owner_, &sessionNew_, &sessionRemoved_, &sleep_, &changed_,
                       &lock_, &unlock_, &find_, &read_}) {
      slot->reset();
    }
    bus_ = sd_bus_close_unref(bus_);
    isSleeping_ = false;
    forgetSession();
  }

  void lose() {
    disconnect();
    retryLater();
  }

  void retryLater() {
    retry_ = loop_.after(reconnectInterval_, [this] { connect(); });
  }

  void forgetSession() {
    for (Slot* slot : {&changed_, &lock_, &unlock_, &read_}) slot->reset();
    session_.clear();
    active_ = true;
    locked_ = false;
    lockAsked_.reset();
    updateLock();
  }

  void updateLock() {
    screenLock_.setIfChanged(locked_                     ? ScreenLock::locked
                             : isSleeping_ || lockAsked_ ? ScreenLock::asked
                                                         : ScreenLock::none);
  }

  void onLockAsked() {
    lockAsked_ = loop_.after(kLockerPatience, [this] {
      lockAsked_.reset();
      updateLock();
    });
    updateLock();
  }

  void onUnlockAsked() {
    lockAsked_.reset();
    updateLock();
  }

  void onSleep(sd_bus_message* signal) {
    int begins = 0;
    if (sd_bus_message_read(signal, "b", &begins) <= 0) return;
    isSleeping_ = begins != 0;
    onLockAsked();  // a locker may come before or after
    if (!isSleeping_) awakenings_.set(awakenings_.get() + 1);
  }

  int matchLocal() {
    return sd_bus_match_signal_async(
        bus_, disconnected_.fresh(), "org.freedesktop.DBus.Local", nullptr,
        "org.freedesktop.DBus.Local", "Disconnected",
        [](sd_bus_message*, void* self, sd_bus_error*) {
          // The connection can't be closed while it is calling us.
          auto* impl = static_cast<Impl*>(self);
          impl->retry_ = impl->loop_.after(Seconds(0), [impl] { impl->lose(); });
          return 0;
        },
        nullptr, this);
  }

  // Sessions come and go, also ours, and logind itself may start late or again.
  int matchLogind() {
    const auto look = [](sd_bus_message*, void* self, sd_bus_error*) {
      static_cast<Impl*>(self)->findByProcess();
      return 0;
    };
    for (const auto& [slot, signal] :
         {std::pair{&sessionNew_, "SessionNew"}, std::pair{&sessionRemoved_, "SessionRemoved"}}) {
      const int r = sd_bus_match_signal_async(bus_, slot->fresh(), kService, kManagerPath, kManager,
                                              signal, look, nullptr, this);
      if (r < 0) return r;
    }
    const int r = sd_bus_match_signal_async(bus_, sleep_.fresh(), kService, kManagerPath, kManager,
                                            "PrepareForSleep", handler<&Impl::onSleep>(), nullptr,
                                            this);
    if (r < 0) return r;
    return sd_bus_add_match_async(bus_, owner_.fresh(),
                                  "type='signal',sender='org.freedesktop.DBus',"
                                  "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
                                  "arg0='org.freedesktop.login1'",
                                  look, nullptr, this);
  }

  // A new search replaces the one under way, whose answer is then of no interest any more.
  void findByProcess() {
    sd_bus_call_method_async(bus_, find_.fresh(), kService, kManagerPath, kManager,
                             "GetSessionByPID", handler<&Impl::onSessionOfProcess>(), this, "u",
                             static_cast<uint32_t>(getpid()));
  }

  void onSessionOfProcess(sd_bus_message* reply) {
    const char* path = nullptr;
    if (!isError(reply) && sd_bus_message_read(reply, "o", &path) > 0) return follow(path);
    // A service of the user manager belongs to no session: take the user's graphical one.
    sd_bus_call_method_async(bus_, find_.fresh(), kService, kManagerPath, kManager, "GetUser",
                             handler<&Impl::onUser>(), this, "u", static_cast<uint32_t>(getuid()));
  }

  void onUser(sd_bus_message* reply) {
    const char* path = nullptr;
    if (isError(reply) || sd_bus_message_read(reply, "o", &path) <= 0) return forgetSession();
    sd_bus_call_method_async(bus_, find_.fresh(), kService, path, kProperties, "Get",
                             handler<&Impl::onDisplay>(), this, "ss", kUser, "Display");
  }

  void onDisplay(sd_bus_message* reply) {
    const char* id = nullptr;
    const char* path = nullptr;
    const bool hasSession = !isError(reply) &&
                            sd_bus_message_read(reply, "v", "(so)", &id, &path) > 0 &&
                            !std::string_view(id).empty();
    if (!hasSession) return forgetSession();
    follow(path);
  }

  // Calls the function at each such signal of logind, whatever it says.
  template <auto told, class Slot>
  void hear(Slot& slot, const char* path, const char* interface, const char* signal) {
    sd_bus_match_signal_async(
        bus_, slot.fresh(), kService, path, interface, signal,
        [](sd_bus_message*, void* self, sd_bus_error*) {
          (static_cast<Impl*>(self)->*told)();
          return 0;
        },
        nullptr, this);
  }

  void follow(const char* path) {
    if (session_ != path) {
      forgetSession();
      session_ = path;
      hear<&Impl::readSession>(changed_, path, kProperties, "PropertiesChanged");
      hear<&Impl::onLockAsked>(lock_, path, kSession, "Lock");
      hear<&Impl::onUnlockAsked>(unlock_, path, kSession, "Unlock");
    }
    readSession();
  }

  void readSession() {
    sd_bus_call_method_async(bus_, read_.fresh(), kService, session_.c_str(), kProperties, "GetAll",
                             handler<&Impl::onSession>(), this, "s", kSession);
  }

  void onSession(sd_bus_message* reply) {
    if (isError(reply)) return forgetSession();
    if (sd_bus_message_enter_container(reply, 'a', "{sv}") < 0) return forgetSession();
    const bool wasLocked = locked_;
    while (sd_bus_message_enter_container(reply, 'e', "sv") > 0) {
      const char* name = nullptr;
      if (sd_bus_message_read(reply, "s", &name) <= 0) return;
      bool* wanted = std::string_view(name) == "Active"       ? &active_
                     : std::string_view(name) == "LockedHint" ? &locked_
                                                              : nullptr;
      int value = 0;
      if (!wanted) {
        sd_bus_message_skip(reply, "v");
      } else if (sd_bus_message_read(reply, "v", "b", &value) > 0) {
        *wanted = value != 0;
      }
      sd_bus_message_exit_container(reply);
    }
    if (wasLocked && !locked_) lockAsked_.reset();
    updateLock();
  }

  template <void (Impl::*method)(sd_bus_message*)>
  static sd_bus_message_handler_t handler() {
    return [](sd_bus_message* reply, void* self, sd_bus_error*) {
      (static_cast<Impl*>(self)->*method)(reply);
      return 0;
    };
  }

  EventLoop& loop_;
  const Seconds reconnectInterval_;
  sd_bus* bus_ = nullptr;
  std::string session_;  // object path; empty while no session is known
  bool active_ = true;
  bool locked_ = false;
  bool isSleeping_ = false;
  Property<ScreenLock> screenLock_{ScreenLock::none};
  Property<int64_t> awakenings_{0};
  Slot disconnected_, owner_, sessionNew_, sessionRemoved_, sleep_, changed_, lock_, unlock_, find_,
      read_;
  Subscription lockAsked_;
  Subscription retry_;
};

LogindSession::LogindSession(EventLoop& loop, Seconds reconnectInterval)
    : impl_(std::make_unique<Impl>(loop, reconnectInterval)) {}
LogindSession::~LogindSession() = default;

bool LogindSession::onConsoleAndUnlocked() const {
  return impl_->onConsoleAndUnlocked();
}
const Property<ScreenLock>& LogindSession::screenLock() const {
  return impl_->screenLock();
}
const Property<int64_t>& LogindSession::awakenings() const {
  return impl_->awakenings();
}

}  // namespace velmora
