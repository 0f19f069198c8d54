#include "platform/linux/XMenu.h"

#include <pango/pangocairo.h>
#include <xcb/xcb.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "base/Text.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/XDisplay.h"

namespace velmora {
namespace {

// Lengths in points: pixels of a display of ordinary density.
constexpr double kRowHeight = 30, kLineHeight = 11, kPadding = 6, kIndent = 14, kShortest = 180;
constexpr double kKeyGap = 28;
constexpr char kFont[] = "Inter, Cantarell, Noto Sans, DejaVu Sans 10.5";

constexpr int kGrabTries = 25;
constexpr Seconds kGrabPause(0.02);

constexpr uint32_t kEscape = 0xff1b, kReturn = 0xff0d, kUp = 0xff52, kDown = 0xff54;

struct Colour {
  double red, green, blue;
};
constexpr Colour kGround{0.075, 0.055, 0.110}, kEdge{0.230, 0.170, 0.340};
constexpr Colour kHover{0.190, 0.120, 0.330}, kText{0.930, 0.910, 0.970};
constexpr Colour kQuiet{0.620, 0.580, 0.710};

void use(cairo_t* c, const Colour& colour) {
  cairo_set_source_rgb(c, colour.red, colour.green, colour.blue);
}

template <typename Reply>
std::unique_ptr<Reply, decltype(&std::free)> owned(Reply* reply) {
  return {reply, &std::free};
}

// Without the pictures among its characters, which not every font has. They take four bytes.
std::string withoutPictures(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); i += 4) {
    while (i < text.size() && static_cast<unsigned char>(text[i]) < 0xf0) out += text[i++];
  }
  return std::string(text::trim(out));
}

// A text laid out for one context.
class Line {
 public:
  Line(cairo_t* context, const std::string& text)
      : context_(context), layout_(pango_cairo_create_layout(context), &g_object_unref) {
    PangoFontDescription* font = pango_font_description_from_string(kFont);
    pango_layout_set_font_description(layout_.get(), font);
    pango_font_description_free(font);
    set(text);
    if (pango_layout_get_unknown_glyphs_count(layout_.get()) > 0) set(withoutPictures(text));
    pango_layout_get_pixel_size(layout_.get(), &width_, &height_);
  }
  int width() const { return width_; }
  void draw(double x, double middle) {
    cairo_move_to(context_, x, middle - height_ / 2.0);
    pango_cairo_show_layout(context_, layout_.get());
  }

 private:
  void set(const std::string& text) {
    pango_layout_set_text(layout_.get(), text.c_str(), static_cast<int>(text.size()));
  }

  cairo_t* context_;
  std::unique_ptr<PangoLayout, decltype(&g_object_unref)> layout_;
  int width_ = 0, height_ = 0;
};

using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

std::string keyText(const StatusMenuItem& item) {
  if (item.key.empty()) return {};
  std::string key = item.key;
  key[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(key[0])));
  return "Ctrl+" + key;
}

}  // namespace

class XMenu::Impl {
 public:
  Impl(EventLoop& loop, std::function<void(const std::string&)> chosen)
      : loop_(loop), chosen_(std::move(chosen)) {}

  void open(const std::vector<StatusMenuItem>& menu, int x, int y) {
    close();
    const auto onEvent = [this](const void* event) {
      receive(*static_cast<const xcb_generic_event_t*>(event));
    };
    if (!menu.empty())
      display_ = XDisplay::open(loop_, {.event = onEvent, .lost = [this] { close(); }});
    if (!display_) return;
    menu_ = menu;
    scale_ = display_->scale();
    hovered_ = -1;
    readKeys();
    left_ = x;
    top_ = y;
    place(x, y);
    grab(kGrabTries);
  }

  void update(const std::vector<StatusMenuItem>& menu) {
    if (!display_ || menu == menu_) return;
    const bool isSameShape = std::ranges::equal(menu, menu_, [](const auto& a, const auto& b) {
      return a.action == b.action && a.title.empty() == b.title.empty();
    });
    if (!isSameShape) return open(std::vector(menu), left_, top_);
    menu_ = menu;
    draw();
  }

  void close() {
    retry_.reset();
    display_.reset();  // the window and what it grabbed go with it
  }

  bool isOpen() const { return display_ != nullptr; }

 private:
  static double heightOf(const StatusMenuItem& item) {
    return item.title.empty() ? kLineHeight : kRowHeight;
  }

  void place(int x, int y) {
    const auto& screen = display_->screen();
    const Context probe(
        cairo_create(display_->surface(screen.root, screen.root_visual, 1, 1).get()),
        cairo_destroy);
    width_ = kShortest;
    height_ = 2 * kPadding;
    for (const auto& item : menu_) {
      const auto key = keyText(item);
      const double keyWidth = key.empty() ? 0 : kKeyGap + Line(probe.get(), key).width();
      width_ = std::max(width_, 2 * kIndent + Line(probe.get(), item.title).width() + keyWidth);
      height_ += heightOf(item);
    }
    const int w = pixels(width_), h = pixels(height_);
    const int left = std::clamp(x, 0, std::max(0, screen.width_in_pixels - w));
    const int top = y + h <= screen.height_in_pixels ? y : std::max(0, y - h);

    auto* c = display_->raw();
    window_ = xcb_generate_id(c);
    const uint32_t values[] = {0x130e1c, true,
                               XCB_EVENT_MASK_EXPOSURE | XCB_EVENT_MASK_LEAVE_WINDOW};
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window_, screen.root, static_cast<int16_t>(left),
                      static_cast<int16_t>(top), static_cast<uint16_t>(w), static_cast<uint16_t>(h),
                      0, XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    const uint32_t type = display_->atom("_NET_WM_WINDOW_TYPE_POPUP_MENU");
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window_, display_->atom("_NET_WM_WINDOW_TYPE"),
                        XCB_ATOM_ATOM, 32, 1, &type);
    xcb_map_window(c, window_);
    const uint32_t above = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(c, window_, XCB_CONFIG_WINDOW_STACK_MODE, &above);
    display_->flush();
  }

  int pixels(double points) const { return static_cast<int>(points * scale_ + 0.5); }

  // Somebody may hold the pointer for a moment longer, as whoever was clicked. A menu that could
  // not be left by a click elsewhere is not shown.
  void grab(int tries) {
    auto* c = display_->raw();
    const auto pointer = xcb_grab_pointer(
        c, false, window_,
        XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE | XCB_EVENT_MASK_POINTER_MOTION,
        XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME);
    const auto keyboard = xcb_grab_keyboard(c, false, window_, XCB_CURRENT_TIME,
                                            XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
    const auto p = owned(xcb_grab_pointer_reply(c, pointer, nullptr));
    const auto k = owned(xcb_grab_keyboard_reply(c, keyboard, nullptr));
    const bool isHeld =
        p && k && p->status == XCB_GRAB_STATUS_SUCCESS && k->status == XCB_GRAB_STATUS_SUCCESS;
    display_->flush();
    if (isHeld) return;
    retry_ = loop_.after(kGrabPause, [this, tries] {
      if (tries > 1)
        grab(tries - 1);
      else
        close();
    });
  }

  void readKeys() {
    auto* c = display_->raw();
    const auto* setup = xcb_get_setup(c);
    firstKey_ = setup->min_keycode;
    const auto question = xcb_get_keyboard_mapping(
        c, firstKey_, static_cast<uint8_t>(setup->max_keycode - firstKey_ + 1));
    const auto reply = owned(xcb_get_keyboard_mapping_reply(c, question, nullptr));
    keys_.clear();
    if (!reply) return;
    const auto* all = xcb_get_keyboard_mapping_keysyms(reply.get());
    const int count = xcb_get_keyboard_mapping_keysyms_length(reply.get());
    for (int i = 0; i < count; i += reply->keysyms_per_keycode) keys_.push_back(all[i]);
  }

  void draw() {
    const int w = pixels(width_), h = pixels(height_);
    const auto surface = display_->surface(window_, display_->screen().root_visual, w, h);
    const Context owner(cairo_create(surface.get()), cairo_destroy);
    cairo_t* c = owner.get();
    cairo_push_group(c);
    cairo_scale(c, scale_, scale_);
    use(c, kGround);
    cairo_paint(c);
    use(c, kEdge);
    cairo_set_line_width(c, 1);
    cairo_rectangle(c, 0.5, 0.5, width_ - 1, height_ - 1);
    cairo_stroke(c);
    double y = kPadding;
    for (size_t i = 0; i < menu_.size(); ++i) {
      drawRow(c, menu_[i], y, static_cast<int>(i) == hovered_);
      y += heightOf(menu_[i]);
    }
    cairo_pop_group_to_source(c);
    cairo_paint(c);
    cairo_surface_flush(surface.get());
    display_->flush();
  }

  void drawRow(cairo_t* c, const StatusMenuItem& item, double y, bool isHovered) const {
    if (item.title.empty()) {
      use(c, kEdge);
      cairo_rectangle(c, kPadding, y + kLineHeight / 2 - 0.5, width_ - 2 * kPadding, 1);
      return cairo_fill(c);
    }
    if (isHovered) {
      use(c, kHover);
      cairo_rectangle(c, kPadding, y, width_ - 2 * kPadding, kRowHeight);
      cairo_fill(c);
    }
    use(c, item.action.empty() ? kQuiet : kText);
    Line(c, item.title).draw(kIndent, y + kRowHeight / 2);
    if (const auto key = keyText(item); !key.empty()) {
      use(c, kQuiet);
      Line line(c, key);
      line.draw(width_ - kIndent - line.width(), y + kRowHeight / 2);
    }
  }

  // The row at this point of the window that can be chosen; -1 for none.
  int rowAt(int x, int y) const {
    double top = kPadding;
    if (x < 0 || x >= pixels(width_)) return -1;
    for (size_t i = 0; i < menu_.size(); ++i) {
      const double bottom = top + heightOf(menu_[i]);
      if (y >= pixels(top) && y < pixels(bottom))
        return menu_[i].action.empty() ? -1 : static_cast<int>(i);
      top = bottom;
    }
    return -1;
  }

  void hover(int row) {
    if (std::exchange(hovered_, row) != row) draw();
  }

  void step(int by) {
    const int count = static_cast<int>(menu_.size());
    int row = hovered_ < 0 && by < 0 ? count : hovered_;
    for (int i = 0; i < count; ++i) {
      row = (row + by + count) % count;
      if (!menu_[static_cast<size_t>(row)].action.empty()) return hover(row);
    }
  }

  void choose(int row) {
    const std::string action = row < 0 ? "" : menu_[static_cast<size_t>(row)].action;
    close();
    if (!action.empty()) chosen_(action);
  }

  void press(uint8_t code) {
    const size_t index = static_cast<size_t>(code - firstKey_);
    switch (index < keys_.size() ? keys_[index] : 0) {
      case kEscape:
        return close();
      case kUp:
        return step(-1);
      case kDown:
        return step(1);
      case kReturn:
        if (hovered_ >= 0) choose(hovered_);
        return;
      default:
        return chooseByKey(index < keys_.size() ? keys_[index] : 0);
    }
  }

  // With or without the modifier: while the menu is up, it has the keyboard. The symbols of Latin
  // letters are their characters.
  void chooseByKey(uint32_t symbol) {
    for (size_t i = 0; i < menu_.size(); ++i)
      if (menu_[i].key.size() == 1 && static_cast<unsigned char>(menu_[i].key[0]) == symbol)
        return choose(static_cast<int>(i));
  }

  void receive(const xcb_generic_event_t& any) {
    switch (any.response_type & 0x7f) {
      case XCB_EXPOSE:
        return draw();
      case XCB_KEY_PRESS:
        return press(reinterpret_cast<const xcb_key_press_event_t&>(any).detail);
      case XCB_MOTION_NOTIFY: {
        const auto& event = reinterpret_cast<const xcb_motion_notify_event_t&>(any);
        return hover(rowAt(event.event_x, event.event_y));
      }
      case XCB_BUTTON_PRESS: {
        const auto& event = reinterpret_cast<const xcb_button_press_event_t&>(any);
        const bool isInside = event.event_x >= 0 && event.event_y >= 0 &&
                              event.event_x < pixels(width_) && event.event_y < pixels(height_);
        if (!isInside) close();
        return;
      }
      case XCB_BUTTON_RELEASE: {
        const auto& event = reinterpret_cast<const xcb_button_release_event_t&>(any);
        const int row = rowAt(event.event_x, event.event_y);
        if (row >= 0) choose(row);
        return;
      }
      default:
        return;
    }
  }

  EventLoop& loop_;
  const std::function<void(const std::string&)> chosen_;
  std::vector<StatusMenuItem> menu_;
  double scale_ = 1, width_ = 0, height_ = 0;  // the latter in points
  int left_ = 0, top_ = 0;  // where it was asked for, in pixels
  int hovered_ = -1;
  xcb_window_t window_ = XCB_NONE;
  uint8_t firstKey_ = 0;
  std::vector<uint32_t> keys_;  // by key code, from the first one on
  std::unique_ptr<XDisplay> display_;
  Subscription retry_;
};

XMenu::XMenu(EventLoop& loop, std::function<void(const std::string&)> chosen)
    : impl_(std::make_unique<Impl>(loop, std::move(chosen))) {}
XMenu::~XMenu() = default;

void XMenu::open(const std::vector<StatusMenuItem>& menu, int x, int y) {
  impl_->open(menu, x, y);
}
void XMenu::update(const std::vector<StatusMenuItem>& menu) {
  impl_->update(menu);
}
void XMenu::close() {
  impl_->close();
}
bool XMenu::isOpen() const {
  return impl_->isOpen();
}

}  // namespace velmora
