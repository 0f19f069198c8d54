#include "platform/linux/XDisplay.h"

#include <cairo/cairo-xcb.h>
#include <sys/epoll.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

const xcb_screen_t* screenAt(xcb_connection_t* connection, int number) {
  auto it = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; number > 0 && it.rem > 1; --number) xcb_screen_next(&it);
  return it.rem > 0 ? it.data : nullptr;
}

struct Visual {
  xcb_visualtype_t* type = nullptr;
  uint8_t depth = 0;
};

Visual find(const xcb_screen_t& screen, xcb_visualid_t id) {
  for (auto depth = xcb_screen_allowed_depths_iterator(&screen); depth.rem; xcb_depth_next(&depth))
    for (auto v = xcb_depth_visuals_iterator(depth.data); v.rem; xcb_visualtype_next(&v))
      if (v.data->visual_id == id) return {v.data, depth.data->depth};
  return {};
}

}  // namespace

std::unique_ptr<XDisplay> XDisplay::open(EventLoop& loop, Handlers handlers) {
  int number = 0;
  xcb_connection_t* connection = xcb_connect(nullptr, &number);
  if (xcb_connection_has_error(connection) || !screenAt(connection, number)) {
    xcb_disconnect(connection);
    return nullptr;
  }
  return std::unique_ptr<XDisplay>(new XDisplay(loop, std::move(handlers), connection, number));
}

XDisplay::XDisplay(EventLoop& loop, Handlers handlers, xcb_connection_t* connection, int number)
    : loop_(loop),
      handlers_(std::move(handlers)),
      connection_(connection),
      number_(number),
      screen_(screenAt(connection, number)),
      device_(cairo_device_reference(cairo_surface_get_device(
                  surface(screen_->root, screen_->root_visual, 1, 1).get())),
              cairo_device_destroy),
      watch_(
          loop.watch(xcb_get_file_descriptor(connection), EPOLLIN, [this](uint32_t) { poll(); })) {}

XDisplay::~XDisplay() {
  cairo_device_finish(device_.get());  // it would be found again by the connection's address
  watch_.reset();
  xcb_disconnect(connection_);
}

uint32_t XDisplay::atom(const std::string& name) const {
  const auto question =
      xcb_intern_atom(connection_, false, static_cast<uint16_t>(name.size()), name.c_str());
  const auto reply = owned(xcb_intern_atom_reply(connection_, question, nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

double XDisplay::scale() const {
  return xScale(connection_, screen_->root);
}

double xScale(xcb_connection_t* connection, uint32_t root) {
  constexpr std::string_view kResource = "Xft.dpi:";
  const auto question = xcb_get_property(connection, false, root, XCB_ATOM_RESOURCE_MANAGER,
                                         XCB_ATOM_STRING, 0, 16384);
  const auto reply = owned(xcb_get_property_reply(connection, question, nullptr));
  if (!reply || reply->format != 8) return 1.0;
  const std::string all(static_cast<const char*>(xcb_get_property_value(reply.get())),
                        reply->value_len);
  const size_t at = all.find(kResource);
  if (at == all.npos) return 1.0;
  return std::clamp(std::atof(all.c_str() + at + kResource.size()) / 96.0, 1.0, 4.0);
}

XDisplay::Surface XDisplay::surface(uint32_t window, uint32_t visual, int width, int height) const {
  return {cairo_xcb_surface_create(connection_, window, find(*screen_, visual).type, width, height),
          cairo_surface_destroy};
}

uint8_t XDisplay::depthOf(uint32_t visual) const {
  return find(*screen_, visual).depth;
}

void XDisplay::flush() {
  xcb_flush(connection_);
  soon_ = loop_.after(Seconds(0), [this] { poll(); });
}

// An event may end the owner of this connection, and with it this object.
void XDisplay::poll() {
  const std::weak_ptr<const void> alive = alive_;
  const auto tell = handlers_.event;
  while (const auto event = owned(xcb_poll_for_event(connection_))) {
    tell(event.get());
    if (alive.expired()) return;
  }
  if (!xcb_connection_has_error(connection_)) return;
  watch_.reset();
  soon_ = loop_.after(Seconds(0), [lost = handlers_.lost] { lost(); });
}

}  // namespace velmora
