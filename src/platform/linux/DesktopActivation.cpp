#include "platform/linux/DesktopActivation.h"

#include <systemd/sd-bus.h>

#include <utility>

namespace velmora {
namespace {

constexpr char kName[] = "com.velmora.app";
constexpr char kPath[] = "/com/velmora/app";

// There are no files to open and no further actions: whatever is asked, the window is what we have.
int activate(sd_bus_message* call, void* activated, sd_bus_error*) {
  (*static_cast<const std::function<void()>*>(activated))();
  return sd_bus_reply_method_return(call, nullptr);
}

constexpr sd_bus_vtable kTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Activate", "a{sv}", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Open", "asa{sv}", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("ActivateAction", "sava{sv}", "", activate, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END};

}  // namespace

DesktopActivation::DesktopActivation(EventLoop& loop, std::function<void()> activated)
    : activated_(std::move(activated)),
      link_(loop, {.opened = [this](sd_bus* bus) { open(bus); }, .lost = [] {}}) {}

void DesktopActivation::open(sd_bus* bus) {
  auto* self = const_cast<std::function<void()>*>(&activated_);
  sd_bus_add_object_vtable(bus, nullptr, kPath, "org.freedesktop.Application", kTable, self);
  sd_bus_request_name_async(bus, nullptr, kName, 0, nullptr, nullptr);
}

}  // namespace velmora
