#include "platform/linux/BusLink.h"

#include <systemd/sd-bus.h>

#include <utility>

#include "platform/linux/EventLoop.h"

namespace velmora {

class BusLink::Impl {
 public:
  Impl(EventLoop& loop, Handlers handlers, Seconds reconnectInterval)
      : loop_(loop), handlers_(std::move(handlers)), reconnectInterval_(reconnectInterval) {
    connectAfter(Seconds(0));
  }
  ~Impl() { close(); }

  sd_bus* bus() const { return bus_; }

 private:
  void connectAfter(Seconds delay) {
    next_ = loop_.after(delay, [this] { connect(); });
  }

  void connect() {
    if (sd_bus_open_user(&bus_) < 0) {
      bus_ = nullptr;
      return connectAfter(reconnectInterval_);
    }
    sd_bus_set_exit_on_disconnect(bus_, 0);
    const auto onLost = [](sd_bus_message*, void* self, sd_bus_error*) {
      // The connection can't be closed while it is calling us.
      auto* impl = static_cast<Impl*>(self);
      impl->next_ = impl->loop_.after(Seconds(0), [impl] { impl->lose(); });
      return 0;
    };
    const bool isReady = sd_bus_attach_event(bus_, loop_.native(), SD_EVENT_PRIORITY_NORMAL) >= 0 &&
                         sd_bus_match_signal_async(bus_, nullptr, "org.freedesktop.DBus.Local",
                                                   nullptr, "org.freedesktop.DBus.Local",
                                                   "Disconnected", onLost, nullptr, this) >= 0;
    if (!isReady) {
      close();
      return connectAfter(reconnectInterval_);
    }
    handlers_.opened(bus_);
  }

  void lose() {
    close();
    handlers_.lost();
    connectAfter(reconnectInterval_);
  }

  void close() {
    sd_bus_detach_event(bus_);
    bus_ = sd_bus_close_unref(bus_);
  }

  EventLoop& loop_;
  const Handlers handlers_;
  const Seconds reconnectInterval_;
  sd_bus* bus_ = nullptr;
  Subscription next_;
};

BusLink::BusLink(EventLoop& loop, Handlers handlers, Seconds reconnectInterval)
    : impl_(std::make_unique<Impl>(loop, std::move(handlers), reconnectInterval)) {}
BusLink::~BusLink() = default;

sd_bus* BusLink::bus() const {
  return impl_->bus();
}

}  // namespace velmora
