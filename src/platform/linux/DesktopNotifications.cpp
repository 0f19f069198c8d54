#include "platform/linux/DesktopNotifications.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <cstring>

#include "base/Text.h"
#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kObject[] = "/org/freedesktop/Notifications";
constexpr char kSound[] = "message-new-instant";

// The bus takes UTF-8 without zeros only, and drops the whole connection otherwise.
std::string presentable(std::string text) {
  std::ranges::replace(text, '\0', ' ');
  if (text::isValidUtf8(text)) return text;
  std::ranges::replace_if(
      text, [](unsigned char c) { return c >= 0x80; }, '?');
  return text;
}

// The server takes some markup in the body; ours is plain text.
std::string escaped(const std::string& text) {
  return text::replacingAll(text::replacingAll(text, "&", "&amp;"), "<", "&lt;");
}

}  // namespace

struct DesktopNotifications::Bus {
  Bus(EventLoop& l, Log& g) : loop(l), log(g) {}
  ~Bus() { close(); }

  int open();
  int notify(const std::string& title, const std::string& body);
  void close() {
    sd_bus_detach_event(bus);
    bus = sd_bus_close_unref(bus);
  }
  void tell(const char* what) { log.debug("notifications", what); }

  EventLoop& loop;
  Log& log;
  sd_bus* bus = nullptr;
};

int DesktopNotifications::Bus::open() {
  if (bus && sd_bus_is_open(bus) > 0) return 0;
  close();
  const int result = sd_bus_open_user(&bus);
  return result < 0 ? result : sd_bus_attach_event(bus, loop.native(), SD_EVENT_PRIORITY_NORMAL);
}

int DesktopNotifications::Bus::notify(const std::string& title, const std::string& body) {
  const auto onReply = [](sd_bus_message* reply, void* self, sd_bus_error*) {
    if (const auto* error = sd_bus_message_get_error(reply))
      static_cast<Bus*>(self)->tell(error->message ? error->message : error->name);
    return 0;
  };
  constexpr uint32_t kReplaces = 0;
  constexpr int32_t kServersOwnTime = -1;
  return sd_bus_call_method_async(bus, nullptr, kService, kObject, kService, "Notify", onReply,
                                  this, "susssasa{sv}i", "Velmora", kReplaces, "com.velmora.app",
                                  presentable(title).c_str(), escaped(presentable(body)).c_str(), 0,
                                  2, "sound-name", "s", kSound, "desktop-entry", "s",
                                  "com.velmora.app", kServersOwnTime);
}

DesktopNotifications::DesktopNotifications(EventLoop& loop, Log& log)
    : bus_(std::make_unique<Bus>(loop, log)) {}

DesktopNotifications::~DesktopNotifications() = default;

void DesktopNotifications::post(const std::string& title, const std::string& body) {
  int result = bus_->open();
  if (result >= 0) result = bus_->notify(title, body);
  if (result < 0) bus_->tell(std::strerror(-result));
}

}  // namespace velmora
