#include "platform/linux/X11Connection.h"

#include <poll.h>
#include <xcb/dpms.h>
#include <xcb/randr.h>
#include <xcb/res.h>
#include <xcb/xcbext.h>

#include <algorithm>

#include "platform/linux/X11Desktop.h"

namespace velmora {
namespace {

constexpr const char* kXAtomNames[] = {"_NET_CLIENT_LIST_STACKING",
                                       "_NET_ACTIVE_WINDOW",
                                       "_NET_CURRENT_DESKTOP",
                                       "_NET_SUPPORTING_WM_CHECK",
                                       "",  // holds the screen's number
                                       "_NET_WM_STATE",
                                       "_NET_WM_STATE_HIDDEN",
                                       "_NET_WM_DESKTOP",
                                       "_NET_WM_WINDOW_TYPE",
                                       "_NET_WM_WINDOW_TYPE_DOCK",
                                       "_NET_WM_WINDOW_TYPE_DESKTOP",
                                       "_NET_WM_WINDOW_TYPE_NOTIFICATION",
                                       "_NET_WM_WINDOW_TYPE_NORMAL",
                                       "_NET_WM_WINDOW_TYPE_DIALOG",
                                       "_NET_WM_WINDOW_TYPE_UTILITY",
                                       "_NET_WM_WINDOW_TYPE_TOOLBAR",
                                       "_NET_WM_WINDOW_TYPE_MENU",
                                       "_NET_WM_WINDOW_TYPE_SPLASH",
                                       "_NET_FRAME_EXTENTS",
                                       "_GTK_FRAME_EXTENTS",
                                       "_NET_WM_WINDOW_OPACITY",
                                       "_NET_WM_NAME",
                                       "_NET_WM_PID",
                                       kLayerProperty,
                                       "UTF8_STRING",
                                       "WM_CHANGE_STATE",
                                       "_NET_CLOSE_WINDOW"};
static_assert(std::size(kXAtomNames) == static_cast<size_t>(XAtom::count));

xcb_screen_t* screenAt(xcb_connection_t* connection, int number) {
  auto it = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; number > 0 && it.rem > 1; --number) xcb_screen_next(&it);
  return it.rem > 0 ? it.data : nullptr;
}

}  // namespace

std::span<const uint32_t> XProperty::words() const {
  if (!reply_ || reply_->format != 32) return {};
  return {static_cast<const uint32_t*>(xcb_get_property_value(reply_.get())), reply_->value_len};
}

std::optional<uint32_t> XProperty::word() const {
  const auto all = words();
  return all.empty() ? std::nullopt : std::optional(all.front());
}

std::string_view XProperty::bytes() const {
  if (!reply_ || reply_->format != 8) return {};
  return {static_cast<const char*>(xcb_get_property_value(reply_.get())), reply_->value_len};
}

std::unique_ptr<X11Connection> X11Connection::open(const std::string& display,
                                                   EventHandler onEvent) {
  int number = 0;
  xcb_connection_t* connection = xcb_connect(display.empty() ? nullptr : display.c_str(), &number);
  xcb_screen_t* screen =
      xcb_connection_has_error(connection) ? nullptr : screenAt(connection, number);
  if (!screen) {
    xcb_disconnect(connection);
    return nullptr;
  }
  std::unique_ptr<X11Connection> out(
      new X11Connection(connection, screen, number, std::move(onEvent)));
  return out->isBroken() ? nullptr : std::move(out);
}

X11Connection::X11Connection(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber,
                             EventHandler onEvent)
    : connection_(connection), screen_(screen), onEvent_(std::move(onEvent)) {
  internAtoms(screenNumber);
  findExtensions();
}

X11Connection::~X11Connection() {
  xcb_disconnect(connection_);
}

void X11Connection::internAtoms(int screenNumber) {
  std::array<xcb_intern_atom_cookie_t, static_cast<size_t>(XAtom::count)> cookies;
  for (size_t i = 0; i < cookies.size(); ++i) {
    const std::string name = i == static_cast<size_t>(XAtom::compositor)
                                 ? "_NET_WM_CM_S" + std::to_string(screenNumber)
                                 : kXAtomNames[i];
    cookies[i] =
        xcb_intern_atom(connection_, false, static_cast<uint16_t>(name.size()), name.c_str());
  }
  for (size_t i = 0; i < cookies.size(); ++i) {
    const auto reply = take<xcb_intern_atom_reply>(cookies[i]);
    atoms_[i] = reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
  }
}

void X11Connection::findExtensions() {
  for (auto* extension : {&xcb_res_id, &xcb_randr_id, &xcb_dpms_id}) {
    xcb_prefetch_extension_data(connection_, extension);
  }
  const auto find = [this](xcb_extension_t& extension) {
    const auto* data = xcb_get_extension_data(connection_, &extension);
    return data && data->present ? data : nullptr;
  };
  if (find(xcb_res_id)) {
    const auto version = take<xcb_res_query_version_reply>(
        xcb_res_query_version(connection_, XCB_RES_MAJOR_VERSION, XCB_RES_MINOR_VERSION));
    canTellPids_ = version && (version->server_major > 1 || version->server_minor >= 2);
  }
  if (const auto* randr = find(xcb_randr_id)) {
    const auto version =
        take<xcb_randr_query_version_reply>(xcb_randr_query_version(connection_, 1, 5));
    if (version && (version->major_version > 1 || version->minor_version >= 5)) {
      randrFirstEvent_ = randr->first_event;
    }
  }
  if (find(xcb_dpms_id)) {
    const auto capable = take<xcb_dpms_capable_reply>(xcb_dpms_capable(connection_));
    canTellPower_ = capable && capable->capable;
  }
}

int X11Connection::descriptor() const {
  return xcb_get_file_descriptor(connection_);
}

bool X11Connection::isBroken() const {
  return xcb_connection_has_error(connection_) != 0;
}

uint32_t X11Connection::ownerOf(xcb_window_t window) const {
  return window & ~xcb_get_setup(connection_)->resource_id_mask;
}

bool X11Connection::isMonitorEvent(uint8_t type) const {
  return randrFirstEvent_ && (type == *randrFirstEvent_ + XCB_RANDR_SCREEN_CHANGE_NOTIFY ||
                              type == *randrFirstEvent_ + XCB_RANDR_NOTIFY);
}

xcb_get_property_cookie_t X11Connection::askProperty(xcb_window_t window, xcb_atom_t property,
                                                     xcb_atom_t type, uint32_t maxWords) {
  return ask(xcb_get_property(connection_, false, window, property, type, 0, maxWords));
}

XProperty X11Connection::take(xcb_get_property_cookie_t cookie) {
  return XProperty(xcb_get_property_reply(connection_, cookie, nullptr));
}

bool X11Connection::await(Clock::time_point deadline) {
  ++roundTrips_;
  // The server answers in order, so the answer to this cheap last question means that all are here.
  const unsigned int last = xcb_get_input_focus(connection_).sequence;
  xcb_flush(connection_);
  for (;;) {
    pollEvents();
    if (isBroken()) break;
    if (hasAnswered(last)) {
      asked_.clear();
      return true;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd socket{descriptor(), POLLIN, 0};
    if (left.count() <= 0 || poll(&socket, 1, static_cast<int>(left.count())) == 0) {
      overdue_ = last;
      break;
    }
  }
  for (const unsigned int sequence : asked_) xcb_discard_reply(connection_, sequence);
  asked_.clear();
  return false;
}

bool X11Connection::isBehind() {
  if (overdue_ && hasAnswered(*overdue_)) overdue_.reset();
  return overdue_.has_value();
}

bool X11Connection::hasAnswered(unsigned int sequence) {
  void* reply = nullptr;
  xcb_generic_error_t* error = nullptr;
  const bool answered = xcb_poll_for_reply(connection_, sequence, &reply, &error) != 0;
  std::free(reply);
  std::free(error);
  return answered;
}

void X11Connection::pollEvents() {
  while (auto* event = xcb_poll_for_event(connection_)) {
    const std::unique_ptr<xcb_generic_event_t, Free> owned(event);
    onEvent_(*event);
  }
}

}  // namespace velmora
