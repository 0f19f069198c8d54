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

template <class Reply>
auto owned(Reply* reply) {
  return std::unique_ptr<Reply, decltype(&std::free)>(reply, &std::free);
}

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
    const auto reply = owned(xcb_intern_atom_reply(xcb, cookie, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }
  bool grabKeyboard(xcb_window_t window) const {
    const auto cookie = xcb_grab_keyboard(xcb, 0, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC,
                                          XCB_GRAB_MODE_ASYNC);
    const auto reply = owned(xcb_grab_keyboard_reply(xcb, cookie, nullptr));
    return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
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
  giveFocus(static_cast<uint32_t>(window.winId()));
}

bool isThere() {
  return static_cast<bool>(Connection::ofQt());
}

// Qt would call a grab that the server refused a success.
bool grabKeyboard(QWindow& window) {
  const auto x = Connection::ofQt();
  return x && x.grabKeyboard(static_cast<xcb_window_t>(window.winId()));
}

bool grabPointer(QWindow& window) {
  const auto x = Connection::ofQt();
  if (!x) return false;
  const auto cookie = xcb_grab_pointer(
      x.xcb, 1, static_cast<xcb_window_t>(window.winId()),
      XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION,
      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
  const auto reply = owned(xcb_grab_pointer_reply(x.xcb, cookie, nullptr));
  return reply && reply->status == XCB_GRAB_STATUS_SUCCESS;
}

bool isKeyboardFree() {
  const auto x = Connection::ofQt();
  if (!x) return true;
  if (!x.grabKeyboard(x.root)) return false;
  xcb_ungrab_keyboard(x.xcb, XCB_CURRENT_TIME);
  xcb_flush(x.xcb);
  return true;
}

uint32_t focusedWindow() {
  const auto x = Connection::ofQt();
  if (!x) return 0;
  const auto reply =
      owned(xcb_get_input_focus_reply(x.xcb, xcb_get_input_focus(x.xcb), nullptr));
  const bool isWindow = reply && reply->focus > XCB_INPUT_FOCUS_POINTER_ROOT;
  return isWindow && reply->focus != x.root ? reply->focus : 0;
}

void giveFocus(uint32_t window) {
  const auto x = Connection::ofQt();
  if (!x) return;
  xcb_set_input_focus(x.xcb, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
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
  const auto reply = owned(xcb_get_selection_owner_reply(x.xcb, cookie, nullptr));
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
