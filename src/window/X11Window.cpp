#include "window/X11Window.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace velmora::x11 {
namespace {

constexpr uint32_t kFromTaskBar = 2;  // the source of a request, by the EWMH

struct Connection {
  xcb_connection_t* xcb = nullptr;
  xcb_window_t root = 0;

  static Connection ofQt() {
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) return {};
    const auto* setup = xcb_get_setup(x11->connection());
    return {x11->connection(), xcb_setup_roots_iterator(setup).data->root};
  }
  explicit operator bool() const { return xcb != nullptr; }

  xcb_atom_t atom(std::string_view name) const {
    const auto cookie = xcb_intern_atom(xcb, 0, static_cast<uint16_t>(name.size()), name.data());
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(xcb, cookie, nullptr), &std::free);
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }
  void setProperty(QWindow& window, std::string_view name, xcb_atom_t type,
                   const std::vector<uint32_t>& values) const {
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window.winId()),
                        atom(name), type, 32, static_cast<uint32_t>(values.size()), values.data());
    xcb_flush(xcb);
  }
  void tellManager(QWindow& window, std::string_view type,
                   const std::vector<uint32_t>& data) const {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atom(type);
    std::copy(data.begin(), data.end(), message.data.data32);
    xcb_send_event(xcb, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(xcb);
  }
};

}  // namespace

void setLayer(QWindow& window, uint32_t layer) {
  if (const auto x = Connection::ofQt())
    x.setProperty(window, "_VELMORA_LAYER", XCB_ATOM_CARDINAL, {layer});
}

void activate(QWindow& window) {
  window.requestActivate();
  if (const auto x = Connection::ofQt())
    x.tellManager(window, "_NET_ACTIVE_WINDOW", {kFromTaskBar, XCB_CURRENT_TIME});
}

void takeFocus(QWindow& window) {
  const auto x = Connection::ofQt();
  if (!x) return window.requestActivate();
  xcb_set_input_focus(x.xcb, XCB_INPUT_FOCUS_PARENT, static_cast<xcb_window_t>(window.winId()),
                      XCB_CURRENT_TIME);
  xcb_flush(x.xcb);
}

void setSkippingTaskBar(QWindow& window, bool skips) {
  const auto x = Connection::ofQt();
  if (!x) return;
  const auto bar = x.atom("_NET_WM_STATE_SKIP_TASKBAR");
  const auto pager = x.atom("_NET_WM_STATE_SKIP_PAGER");
  if (window.isVisible())
    x.tellManager(window, "_NET_WM_STATE", {skips ? 1u : 0u, bar, pager, kFromTaskBar});
  else if (skips)
    x.setProperty(window, "_NET_WM_STATE", XCB_ATOM_ATOM, {bar, pager});
}

bool hasCompositor() {
  const auto x = Connection::ofQt();
  if (!x) return false;
  const auto cookie = xcb_get_selection_owner(x.xcb, x.atom("_NET_WM_CM_S0"));
  const std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
      xcb_get_selection_owner_reply(x.xcb, cookie, nullptr), &std::free);
  return reply && reply->owner != XCB_WINDOW_NONE;
}

void setOnAllDesktops(QWindow& window) {
  const auto x = Connection::ofQt();
  if (!x) return;
  constexpr uint32_t kAll = 0xffffffff;
  if (window.isVisible())
    x.tellManager(window, "_NET_WM_DESKTOP", {kAll, kFromTaskBar});
  else
    x.setProperty(window, "_NET_WM_DESKTOP", XCB_ATOM_CARDINAL, {kAll});
}

}  // namespace velmora::x11
