#include "platform/linux/XembedTray.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "platform/linux/EventLoop.h"
#include "platform/linux/StatusMark.h"
#include "platform/linux/XDisplay.h"

namespace velmora {
namespace {

constexpr Seconds kLookInterval(15);
constexpr uint16_t kSize = 22;  // asked for; the tray decides
constexpr uint32_t kRequestDock = 0;
constexpr uint32_t kProtocolVersion = 0, kMapped = 1;

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

}  // namespace

class XembedTray::Impl {
 public:
  Impl(EventLoop& loop, Handlers handlers) : loop_(loop), handlers_(std::move(handlers)) {}

  void setVisible(bool isVisible) {
    if (std::exchange(isVisible_, isVisible) == isVisible) return;
    look_.reset();
    if (isVisible)
      open();
    else
      close();
  }

  bool isDocked() const { return window_ != XCB_NONE; }

 private:
  void open() {
    close();
    display_ =
        XDisplay::open(loop_, {.event =
                                   [this](const void* event) {
                                     onEvent(*static_cast<const xcb_generic_event_t*>(event));
                                   },
                               .lost = [this] { open(); }});
    if (!display_) {
      look_ = loop_.after(kLookInterval, [this] { open(); });
      return;
    }
    selection_ = display_->atom("_NET_SYSTEM_TRAY_S" + std::to_string(display_->screenNumber()));
    opcode_ = display_->atom("_NET_SYSTEM_TRAY_OPCODE");
    manager_ = display_->atom("MANAGER");
    watchEvents(display_->screen().root);
    findTray();
  }

  void close() {
    window_ = tray_ = XCB_NONE;
    display_.reset();
  }

  void watchEvents(xcb_window_t window) {
    const uint32_t mask = XCB_EVENT_MASK_STRUCTURE_NOTIFY;
    xcb_change_window_attributes(display_->raw(), window, XCB_CW_EVENT_MASK, &mask);
  }

  void findTray() {
    auto* c = display_->raw();
    const auto reply =
        owned(xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection_), nullptr));
    tray_ = reply ? reply->owner : static_cast<xcb_window_t>(XCB_NONE);
    if (tray_ != XCB_NONE) dock();
    display_->flush();
  }

  // The visual that the tray wants, so that the background can shine through.
  xcb_visualid_t wantedVisual() {
    auto* c = display_->raw();
    const auto question = xcb_get_property(
        c, false, tray_, display_->atom("_NET_SYSTEM_TRAY_VISUAL"), XCB_ATOM_VISUALID, 0, 1);
    const auto reply = owned(xcb_get_property_reply(c, question, nullptr));
    const bool isTold = reply && reply->format == 32 && reply->value_len == 1;
    const auto told =
        isTold ? *static_cast<const uint32_t*>(xcb_get_property_value(reply.get())) : 0;
    return display_->depthOf(told) ? told : display_->screen().root_visual;
  }

  void dock() {
    auto* c = display_->raw();
    const auto& screen = display_->screen();
    watchEvents(tray_);
    visual_ = wantedVisual();
    if (window_ != XCB_NONE) xcb_destroy_window(c, window_);
    window_ = xcb_generate_id(c);
    const xcb_colormap_t colours = xcb_generate_id(c);
    xcb_create_colormap(c, XCB_COLORMAP_ALLOC_NONE, colours, screen.root, visual_);
    const bool isPlain = visual_ == screen.root_visual;
    const std::array<uint32_t, 4> values{isPlain ? uint32_t(XCB_BACK_PIXMAP_PARENT_RELATIVE) : 0, 0,
                                         XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_BUTTON_PRESS |
                                             XCB_EVENT_MASK_BUTTON_RELEASE |
                                             XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                                         colours};
    xcb_create_window(c, display_->depthOf(visual_), window_, screen.root, 0, 0, kSize, kSize, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, visual_,
                      (isPlain ? XCB_CW_BACK_PIXMAP : XCB_CW_BACK_PIXEL) | XCB_CW_BORDER_PIXEL |
                          XCB_CW_EVENT_MASK | XCB_CW_COLORMAP,
                      values.data());
    xcb_free_colormap(c, colours);
    setText(XCB_ATOM_WM_NAME, XCB_ATOM_STRING, "Velmora");
    setText(display_->atom("_NET_WM_NAME"), display_->atom("UTF8_STRING"), "Velmora");
    using namespace std::string_view_literals;
    setText(XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, "velmora\0Velmora\0"sv);
    constexpr uint32_t kMinimum = 16;
    const std::array<uint32_t, 18> hints{kMinimum, 0, 0, 0, 0, kSize, kSize};
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, hints.size(), hints.data());
    const uint32_t info[] = {kProtocolVersion, kMapped};
    const auto embed = display_->atom("_XEMBED_INFO");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window_, embed, embed, 32, 2, info);

    xcb_client_message_event_t request{
        .response_type = XCB_CLIENT_MESSAGE, .format = 32, .window = tray_, .type = opcode_};
    request.data.data32[0] = XCB_CURRENT_TIME;
    request.data.data32[1] = kRequestDock;
    request.data.data32[2] = window_;
    xcb_send_event(c, false, tray_, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&request));
    width_ = height_ = kSize;
  }

  void setText(xcb_atom_t property, xcb_atom_t type, std::string_view text) {
    xcb_change_property(display_->raw(), XCB_PROP_MODE_REPLACE, window_, property, type, 8,
                        static_cast<uint32_t>(text.size()), text.data());
  }

  void draw() {
    xcb_clear_area(display_->raw(), false, window_, 0, 0, 0, 0);
    mark::draw(display_->surface(window_, visual_, width_, height_).get(), width_, height_);
    display_->flush();
  }

  void onEvent(const xcb_generic_event_t& any) {
    switch (any.response_type & 0x7f) {
      case XCB_CLIENT_MESSAGE: {
        const auto& event = reinterpret_cast<const xcb_client_message_event_t&>(any);
        if (event.type == manager_ && event.data.data32[1] == selection_) findTray();
        break;
      }
      case XCB_DESTROY_NOTIFY: {
        const auto gone = reinterpret_cast<const xcb_destroy_notify_event_t&>(any).window;
        if (gone == window_) window_ = XCB_NONE;
        if (gone == tray_) tray_ = XCB_NONE;
        break;
      }
      case XCB_CONFIGURE_NOTIFY: {
        const auto& event = reinterpret_cast<const xcb_configure_notify_event_t&>(any);
        if (event.window != window_) break;
        width_ = event.width;
        height_ = event.height;
        draw();
        break;
      }
      case XCB_EXPOSE:
        if (reinterpret_cast<const xcb_expose_event_t&>(any).count == 0) draw();
        break;
      case XCB_BUTTON_RELEASE: {
        const auto& event = reinterpret_cast<const xcb_button_release_event_t&>(any);
        if (event.detail == 1) handlers_.clicked();
        if (event.detail == 3) handlers_.menuAsked(event.root_x, event.root_y);
        break;
      }
      default:
        break;
    }
  }

  EventLoop& loop_;
  const Handlers handlers_;
  bool isVisible_ = false;
  std::unique_ptr<XDisplay> display_;
  xcb_atom_t selection_ = XCB_NONE, opcode_ = XCB_NONE, manager_ = XCB_NONE;
  xcb_window_t tray_ = XCB_NONE, window_ = XCB_NONE;
  xcb_visualid_t visual_ = XCB_NONE;
  int width_ = kSize, height_ = kSize;
  Subscription look_;
};

XembedTray::XembedTray(EventLoop& loop, Handlers handlers)
    : impl_(std::make_unique<Impl>(loop, std::move(handlers))) {}
XembedTray::~XembedTray() = default;

void XembedTray::setVisible(bool isVisible) {
  impl_->setVisible(isVisible);
}
bool XembedTray::isDocked() const {
  return impl_->isDocked();
}

}  // namespace velmora
