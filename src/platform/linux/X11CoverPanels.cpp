#include "platform/linux/X11CoverPanels.h"

#include <sys/epoll.h>
#include <xcb/shape.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/EventLoop.h"
#include "platform/linux/X11Connection.h"
#include "platform/linux/X11Desktop.h"
#include "platform/linux/XDisplay.h"
#include "ports/Clock.h"
#include "ports/Desktop.h"

namespace velmora {
namespace {

constexpr size_t kPoolSize = 3;
constexpr Seconds kReconnectInterval{3};
constexpr Seconds kFadeStep{1.0 / 60};
constexpr Seconds kFadeTolerance{0.004};
// From the manager's word that the order of windows has changed until it surely has.
constexpr Seconds kRestackDelay{0.01};
constexpr std::chrono::milliseconds kPatience{50};
constexpr uint32_t kOpaque = 0xFFFFFFFF;
constexpr std::string_view kClass("velmora\0Velmora\0", 16);

// The mark: a ring of which a quarter turn is lit, brightest at its head. Lengths in points.
constexpr double kMarkSize = 46.0;
constexpr double kMarkRadius = 19.0;
constexpr double kMarkStroke = 4.0;
constexpr double kMarkHead = 0.25;  // of a turn, clockwise from the top
constexpr double kHeadRadius = 4.0;
struct Colour {
  double red, green, blue;
};
constexpr Colour kTrack{0x2C, 0x20, 0x3A};
constexpr Colour kLight{0xD7, 0xA2, 0xF8};
constexpr Colour kHead{0xF6, 0xEF, 0xFD};

// The share of a pixel that lies within `reach` of something `distance` away, all in points, of
// which each has so many pixels.
double coverage(double distance, double reach, double pixels) {
  return std::clamp((reach - distance) * pixels + 0.5, 0.0, 1.0);
}

Colour mixed(const Colour& from, const Colour& to, double share) {
  const auto mix = [share](double a, double b) { return a + (b - a) * share; };
  return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue)};
}

// `x` and `y` from the middle, in points.
Colour markColour(double x, double y, double pixels) {
  const double ring = coverage(std::abs(std::hypot(x, y) - kMarkRadius), kMarkStroke / 2, pixels);
  const double turn = std::atan2(x, -y) / (2 * std::numbers::pi);
  const bool isLit = turn >= 0 && turn <= kMarkHead;
  const auto stroke = mixed(kTrack, kLight, isLit ? turn / kMarkHead : 0.0);
  constexpr double kAngle = kMarkHead * 2 * std::numbers::pi;
  const double headX = kMarkRadius * std::sin(kAngle), headY = -kMarkRadius * std::cos(kAngle);
  const double head = coverage(std::hypot(x - headX, y - headY), kHeadRadius, pixels);
  return mixed(mixed({0, 0, 0}, stroke, ring), kHead, head);
}

std::vector<uint32_t> markPixels(int size) {
  std::vector<uint32_t> pixels;
  pixels.reserve(static_cast<size_t>(size) * static_cast<size_t>(size));
  const double point = size / kMarkSize;
  const auto byte = [](double value) { return static_cast<uint32_t>(std::lround(value)); };
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      const double middle = (size - 1) / 2.0;
      const auto [red, green, blue] = markColour((x - middle) / point, (y - middle) / point, point);
      pixels.push_back(byte(red) << 16 | byte(green) << 8 | byte(blue));
    }
  }
  return pixels;
}

}  // namespace

class X11CoverPanels::Impl {
 public:
  Impl(EventLoop& loop, const Clock& clock, std::string display)
      : loop_(loop), clock_(clock), display_(std::move(display)) {
    connect();
  }

  Panel show(const Rect& rectangle) {
    const Panel panel = ++lastPanel_;
    if (!connection_ && clock_.monotonic() >= nextAttempt_) connect();
    if (!connection_) return panel;
    auto free = std::ranges::find(windows_, Panel{0}, &Window::panel);
    if (free == windows_.end()) free = windows_.insert(free, makeWindow());
    free->panel = panel;
    place(*free, rectangle);
    xcb_map_window(raw(), free->id);
    followStacking();
    flush();
    return panel;
  }

  void showAgain(Panel panel) {
    Window* window = find(panel);
    if (!window) return;
    window->fade.reset();
    xcb_delete_property(raw(), window->id, atom(XAtom::opacity));
    const uint32_t mode = XCB_STACK_MODE_ABOVE;
    xcb_configure_window(raw(), window->id, XCB_CONFIG_WINDOW_STACK_MODE, &mode);
    flush();
  }

  void fadeOut(Panel panel, Seconds duration) {
    if (!find(panel)) return;
    const bool canBlend = hasCompositor();
    Window* window = find(panel);  // the question may have shown that the server is gone
    if (!window) return;
    if (!canBlend) {
      window->fade = loop_.after(duration, [this, panel] { hide(panel); });
      return;
    }
    const auto start = clock_.monotonic();
    window->fade = loop_.every(kFadeStep, kFadeTolerance, [this, panel, start, duration] {
      const double share = Seconds(clock_.monotonic() - start) / duration;
      if (!(share < 1.0)) return hide(panel);
      const auto opacity = static_cast<uint32_t>(kOpaque * (1.0 - share));
      xcb_change_property(raw(), XCB_PROP_MODE_REPLACE, find(panel)->id, atom(XAtom::opacity),
                          XCB_ATOM_CARDINAL, 32, 1, &opacity);
      flush();
    });
  }

 private:
  struct Window {
    xcb_window_t id = 0;
    xcb_window_t mark = 0;  // its child
    Panel panel = 0;        // 0 while nobody needs it
    Subscription fade;
  };

  xcb_connection_t* raw() const { return connection_->raw(); }
  xcb_atom_t atom(XAtom name) const { return connection_->atom(name); }

  Window* find(Panel panel) {
    const auto it = std::ranges::find(windows_, panel, &Window::panel);
    return it == windows_.end() ? nullptr : &*it;
  }

  void connect() {
    nextAttempt_ =
        clock_.monotonic() + std::chrono::duration_cast<Monotonic::duration>(kReconnectInterval);
    connection_ =
        X11Connection::open(display_, [this](const xcb_generic_event_t& e) { onEvent(e); });
    if (!connection_) return;
    markSize_ =
        static_cast<int>(std::lround(kMarkSize * xScale(raw(), connection_->root())));
    markPixmap_ = makeMark();
    for (size_t i = 0; i < kPoolSize; ++i) windows_.push_back(makeWindow());
    watch_ = loop_.watch(connection_->descriptor(), EPOLLIN, [this](uint32_t) {
      connection_->pollEvents();
      dropIfBroken();
    });
    flush();
  }

  void flush() {
    xcb_flush(raw());
    dropIfBroken();
  }

  void dropIfBroken() {
    if (!connection_ || !connection_->isBroken()) return;
    restack_.reset();
    watch_.reset();
    windows_.clear();
    isFollowing_ = false;
    connection_.reset();
  }

  // --- the windows ---

  Window makeWindow() {
    const auto& screen = connection_->screen();
    Window window{xcb_generate_id(raw()), xcb_generate_id(raw()), 0, {}};
    const uint32_t bare[] = {screen.black_pixel, 0, 1};
    xcb_create_window(raw(), XCB_COPY_FROM_PARENT, window.id, screen.root, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                      XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT, bare);
    const uint32_t layer = kFloatingLayer;
    xcb_change_property(raw(), XCB_PROP_MODE_REPLACE, window.id, atom(XAtom::layer),
                        XCB_ATOM_CARDINAL, 32, 1, &layer);
    xcb_change_property(raw(), XCB_PROP_MODE_REPLACE, window.id, XCB_ATOM_WM_CLASS,
                        XCB_ATOM_STRING, 8, kClass.size(), kClass.data());
    if (const auto* shape = xcb_get_extension_data(raw(), &xcb_shape_id); shape && shape->present)
      xcb_shape_rectangles(raw(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED,
                           window.id, 0, 0, 0, nullptr);
    // Both windows are painted by the server, as they appear and whenever they are laid bare.
    if (markPixmap_) {
      const auto size = static_cast<uint16_t>(markSize_);
      xcb_create_window(raw(), XCB_COPY_FROM_PARENT, window.mark, window.id, 0, 0, size, size, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXMAP,
                        &markPixmap_);
      xcb_map_window(raw(), window.mark);
    } else {
      window.mark = 0;
    }
    return window;
  }

  // Nothing on a screen whose pixels are not three bytes in a word in our order.
  xcb_pixmap_t makeMark() {
    const auto& screen = connection_->screen();
    const auto order = std::endian::native == std::endian::little ? XCB_IMAGE_ORDER_LSB_FIRST
                                                                  : XCB_IMAGE_ORDER_MSB_FIRST;
    if (screen.root_depth != 24 || xcb_get_setup(raw())->image_byte_order != order) return 0;
    const auto pixels = markPixels(markSize_);
    const auto size = static_cast<uint16_t>(markSize_);
    const xcb_pixmap_t pixmap = xcb_generate_id(raw());
    const xcb_gcontext_t context = xcb_generate_id(raw());
    xcb_create_pixmap(raw(), 24, pixmap, screen.root, size, size);
    xcb_create_gc(raw(), context, pixmap, 0, nullptr);
    xcb_put_image(raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, size, size, 0, 0, 0, 24,
                  static_cast<uint32_t>(pixels.size() * sizeof(uint32_t)),
                  reinterpret_cast<const uint8_t*>(pixels.data()));
    xcb_free_gc(raw(), context);
    return pixmap;
  }

  // In front of all others, on all pixels that the rectangle touches.
  void place(const Window& window, const Rect& rectangle) {
    const auto within = [](double value) {
      return static_cast<int32_t>(std::clamp(value, -32768.0, 32767.0));
    };
    const int32_t x = within(std::floor(rectangle.minX()));
    const int32_t y = within(std::floor(rectangle.minY()));
    const int32_t width = std::max(1, within(std::ceil(rectangle.maxX())) - x);
    const int32_t height = std::max(1, within(std::ceil(rectangle.maxY())) - y);
    const uint32_t outer[] = {static_cast<uint32_t>(x), static_cast<uint32_t>(y),
                              static_cast<uint32_t>(width), static_cast<uint32_t>(height),
                              XCB_STACK_MODE_ABOVE};
    xcb_configure_window(raw(), window.id,
                         XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH |
                             XCB_CONFIG_WINDOW_HEIGHT | XCB_CONFIG_WINDOW_STACK_MODE,
                         outer);
    if (!window.mark) return;
    const uint32_t inner[] = {static_cast<uint32_t>((width - markSize_) / 2),
                              static_cast<uint32_t>((height - markSize_) / 2)};
    xcb_configure_window(raw(), window.mark, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, inner);
  }

  void hide(Panel panel) {
    Window* window = find(panel);
    if (!window) return;
    xcb_unmap_window(raw(), window->id);
    xcb_delete_property(raw(), window->id, atom(XAtom::opacity));
    window->panel = 0;
    window->fade.reset();
    followStacking();
    flush();
  }

  bool hasCompositor() {
    if (connection_->isBehind()) return false;
    const auto question =
        connection_->ask(xcb_get_selection_owner(raw(), atom(XAtom::compositor)));
    if (connection_->await(X11Connection::Clock::now() + kPatience)) {
      const auto answer = connection_->take<xcb_get_selection_owner_reply>(question);
      return answer && answer->owner != XCB_NONE;
    }
    dropIfBroken();
    return false;
  }

  // --- staying in front ---

  // The order of windows is news only while a panel stands.
  void followStacking() {
    const bool follows =
        std::ranges::any_of(windows_, [](const Window& window) { return window.panel != 0; });
    if (std::exchange(isFollowing_, follows) == follows) return;
    const uint32_t mask = follows ? XCB_EVENT_MASK_PROPERTY_CHANGE : 0;
    xcb_change_window_attributes(raw(), connection_->root(), XCB_CW_EVENT_MASK, &mask);
  }

  void onEvent(const xcb_generic_event_t& event) {
    if ((event.response_type & 0x7F) != XCB_PROPERTY_NOTIFY) return;
    const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    if (change.atom == atom(XAtom::clientListStacking) && !restack_)
      restack_ = loop_.after(kRestackDelay, [this] { restack(); });
  }

  // Puts the panels that have come to stand behind a managed window right in front of all these.
  void restack() {
    restack_.reset();
    if (!isFollowing_ || connection_->isBehind()) return;
    const auto deadline = X11Connection::Clock::now() + kPatience;
    const auto question = connection_->askProperty(
        connection_->root(), atom(XAtom::clientListStacking), XCB_ATOM_WINDOW, 4096);
    if (!connection_->await(deadline)) return dropIfBroken();
    const auto managed = connection_->take(question);
    if (managed.words().empty()) return;
    const auto siblings = siblingsOf(managed.words().back(), deadline);
    if (!siblings) return dropIfBroken();
    const auto& [top, order] = *siblings;
    const auto place = std::ranges::find(order, top);
    // From the front, so that each goes behind the one before.
    for (auto it = place; it != order.begin();) {
      --it;
      const auto cover = std::ranges::find(windows_, *it, &Window::id);
      if (cover == windows_.end() || cover->panel == 0) continue;
      const uint32_t above[] = {top, XCB_STACK_MODE_ABOVE};
      xcb_configure_window(raw(), cover->id,
                           XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE, above);
    }
    flush();
  }

  // The child of the root that holds a window, and all children of the root, back to front.
  struct Siblings {
    xcb_window_t frame;
    std::vector<xcb_window_t> order;
  };
  std::optional<Siblings> siblingsOf(xcb_window_t window,
                                     X11Connection::Clock::time_point deadline) {
    for (;;) {
      const auto upwards = connection_->ask(xcb_query_tree(raw(), window));
      const auto all = connection_->ask(xcb_query_tree(raw(), connection_->root()));
      if (!connection_->await(deadline)) return {};
      const auto tree = connection_->take<xcb_query_tree_reply>(upwards);
      const auto children = connection_->take<xcb_query_tree_reply>(all);
      if (!tree || !children || tree->parent == XCB_NONE) return {};
      if (tree->parent == connection_->root()) {
        const auto* first = xcb_query_tree_children(children.get());
        return Siblings{window, {first, first + children->children_len}};
      }
      window = tree->parent;
    }
  }

  EventLoop& loop_;
  const Clock& clock_;
  const std::string display_;
  Monotonic nextAttempt_{};
  std::unique_ptr<X11Connection> connection_;
  int markSize_ = 0;  // in pixels
  xcb_pixmap_t markPixmap_ = 0;
  std::vector<Window> windows_;
  Panel lastPanel_ = 0;
  bool isFollowing_ = false;
  Subscription watch_;
  Subscription restack_;
};

X11CoverPanels::X11CoverPanels(EventLoop& loop, const Clock& clock, std::string display)
    : impl_(std::make_unique<Impl>(loop, clock, std::move(display))) {}
X11CoverPanels::~X11CoverPanels() = default;

CoverPanels::Panel X11CoverPanels::show(const Rect& rectangle) {
  return impl_->show(rectangle);
}
void X11CoverPanels::showAgain(Panel panel) {
  impl_->showAgain(panel);
}
void X11CoverPanels::fadeOut(Panel panel, Seconds duration) {
  impl_->fadeOut(panel, duration);
}

}  // namespace velmora
