#include "platform/linux/X11Desktop.h"

#include <sys/epoll.h>

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/Property.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/ProcessIdentity.h"
#include "platform/linux/X11WindowReader.h"
#include "ports/Clock.h"

namespace velmora {
namespace {

// A server that is slower keeps us waiting no longer: the last picture is shown once more, until it
// has caught up. On a busy machine a server that is well takes tens of milliseconds for its turn,
// and a picture that is out of date sends a page away that is not on screen any more.
constexpr std::chrono::milliseconds kPatience{100};
constexpr Seconds kReconnectInterval{3};

}  // namespace

class X11Desktop::Impl {
 public:
  Impl(EventLoop& loop, const LinuxAppCatalog& catalog, const Clock& clock, Options options)
      : loop_(loop), clock_(clock), options_(std::move(options)), identity_(catalog, proc_) {
    connect();
  }

  DesktopSnapshot snapshot(Wants wants) {
    if (!connection_ && clock_.monotonic() >= nextAttempt_) connect();
    if (connection_) refresh(wants);
    // What the connection has read of events while we waited wakes no loop.
    if (connection_) connection_->pollEvents();
    dropIfBroken();
    return assembled(wants);
  }

  Subscription onWindowsChanged(std::function<void()> changed) const {
    return windowsChanged_.subscribe([changed = std::move(changed)](bool) { changed(); });
  }
  Subscription onStale(std::function<void()> told) const {
    return becameStale_.subscribe([told = std::move(told)](bool) { told(); });
  }
  bool isOverdue() const { return isOverdue_; }

  void minimise(uint32_t window) {
    constexpr uint32_t iconic = 3;
    askManager(window, XAtom::changeState, iconic, 0);
  }
  void close(uint32_t window) {
    constexpr uint32_t pager = 2;  // somebody who acts for the user
    askManager(window, XAtom::closeWindow, XCB_CURRENT_TIME, pager);
  }

  const std::vector<X11Window>& windows() const { return windows_; }
  uint64_t generation() const { return generation_; }
  uint64_t roundTrips() const {
    return earlierRoundTrips_ + (connection_ ? connection_->roundTrips() : 0);
  }
  uint64_t fullReads() const { return fullReads_; }

 private:
  void connect() {
    nextAttempt_ =
        clock_.monotonic() + std::chrono::duration_cast<Monotonic::duration>(kReconnectInterval);
    connection_ =
        X11Connection::open(options_.display, [this](const xcb_generic_event_t& e) { onEvent(e); });
    if (!connection_) return;
    reader_ = std::make_unique<X11WindowReader>(*connection_);
    isStale_ = true;
    watch_ = loop_.watch(connection_->descriptor(), EPOLLIN, [this](uint32_t) {
      connection_->pollEvents();
      dropIfBroken();
    });
  }

  void dropIfBroken() {
    if (!connection_ || !connection_->isBroken()) return;
    watch_.reset();
    reader_.reset();
    earlierRoundTrips_ += connection_->roundTrips();
    connection_.reset();
    staleTitles_.clear();
    hasPicture_ = false;
    windows_.clear();
    onScreen_.clear();
    applications_.clear();
    monitors_.clear();
    frontmost_.reset();
    identity_.keepOnly({});
    ++generation_;
    isOverdue_ = false;
    windowsChanged_.send(true);
  }

  void askManager(uint32_t window, XAtom message, uint32_t first, uint32_t second) {
    if (!connection_) return;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = connection_->atom(message);
    event.data.data32[0] = first;
    event.data.data32[1] = second;
    xcb_send_event(connection_->raw(), false, connection_->root(),
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    xcb_flush(connection_->raw());
  }

  // Leaves everything as it is where the server does not answer in time.
  void refresh(Wants wants) {
    connection_->pollEvents();
    isOverdue_ = connection_->isBehind();
    if (connection_->isBroken() || isOverdue_) return;
    const auto deadline = X11Connection::Clock::now() + kPatience;
    if (isStale_) {
      readAll(wants, deadline);
    } else {
      std::erase_if(staleTitles_, [this](xcb_window_t window) { return !isKnown(window); });
      if (!staleTitles_.empty()) readTitles(deadline);
      if (!connection_->isBehind()) {
        reader_->readLive({wants.pointer, hasTranslucent_}, live_, deadline);
      }
    }
  }

  void readAll(Wants wants, X11Connection::Clock::time_point deadline) {
    // What changes from here on is news for the next snapshot.
    isStale_ = false;
    staleTitles_.clear();
    auto picture = reader_->read({wants.pointer, true}, live_, deadline);
    if (!picture) {
      isStale_ = true;
      isOverdue_ = true;
      return;
    }
    ++fullReads_;
    ++generation_;
    hasPicture_ = true;
    identify(*picture);
    keep(std::move(*picture));
  }

  // Managed windows name their process better than popups, which often have no class.
  void identify(const X11Picture& picture) {
    std::unordered_set<int32_t> pids;
    for (const bool managed : {true, false}) {
      for (const auto& window : picture.windows) {
        if (window.managed != managed || window.pid <= 0) continue;
        if (window.isNew && pids.insert(window.pid).second) identity_.recheck(window.pid);
        pids.insert(window.pid);
        identity_.of(window.pid, window.windowClass, window.windowInstance);
      }
    }
    identity_.keepOnly(pids);
  }

  void keep(X11Picture picture) {
    windows_.clear();
    onScreen_.clear();
    applications_.clear();
    frontmost_.reset();
    hasTranslucent_ = false;
    monitors_ = std::move(picture.monitors);
    std::unordered_set<int32_t> listed;
    for (auto& window : picture.windows) {
      const bool isProcess = window.pid > 0;
      const std::string id = isProcess ? identity_.of(window.pid, {}, {}) : std::string();
      if (isProcess && listed.insert(window.pid).second) applications_.push_back({window.pid, id});
      if (picture.active == window.id && !id.empty()) frontmost_ = id;
      if (window.onScreen) {
        onScreen_.push_back({window.pid, window.layer, window.opacity, window.frame});
        hasTranslucent_ = hasTranslucent_ || window.opacity < 1.0;
      }
      windows_.push_back(std::move(window));
    }
  }

  void readTitles(X11Connection::Clock::time_point deadline) {
    const auto stale = std::exchange(staleTitles_, {});
    const auto titles = reader_->readTitles(stale, deadline);
    if (!titles) {
      staleTitles_.insert(stale.begin(), stale.end());
      return;
    }
    bool changed = false;
    for (auto& window : windows_) {
      const auto title = titles->find(window.id);
      if (title == titles->end() || title->second == window.title) continue;
      window.title = title->second;
      changed = true;
    }
    if (changed) ++generation_;
  }

  DesktopSnapshot assembled(Wants wants) const {
    DesktopSnapshot out;
    if (!hasPicture_) return out;
    out.applications = applications_;
    out.frontmost = frontmost_;
    out.windows = onScreen_;
    if (!live_.hasCompositor) {
      for (auto& window : *out.windows) window.alpha = 1.0;
    }
    const bool isOurs = !options_.onConsoleAndUnlocked || options_.onConsoleAndUnlocked();
    if (isOurs && live_.isDisplayAwake) out.displays = monitors_;
    if (wants.pointer) out.pointer = live_.pointer;
    return out;
  }

  void onEvent(const xcb_generic_event_t& event) {
    const uint8_t type = event.response_type & 0x7F;
    switch (type) {
      case XCB_PROPERTY_NOTIFY: {
        const auto& e = reinterpret_cast<const xcb_property_notify_event_t&>(event);
        onProperty(e.window, e.atom);
        break;
      }
      case XCB_DESTROY_NOTIFY: {
        const auto& e = reinterpret_cast<const xcb_destroy_notify_event_t&>(event);
        reader_->onDestroyed(e.window);
        if (isKnown(e.window)) markStale();
        break;
      }
      case XCB_REPARENT_NOTIFY:
        reader_->onReparented(reinterpret_cast<const xcb_reparent_notify_event_t&>(event).window);
        markStale();
        break;
      case XCB_MAP_NOTIFY:
      case XCB_UNMAP_NOTIFY:
      case XCB_CONFIGURE_NOTIFY:
      case XCB_GRAVITY_NOTIFY:
      case XCB_CIRCULATE_NOTIFY:
        markStale();
        break;
      default:
        if (connection_->isMonitorEvent(type)) markStale();
    }
  }

  void onProperty(xcb_window_t window, xcb_atom_t property) {
    const auto isOneOf = [&](std::initializer_list<XAtom> atoms) {
      return std::ranges::any_of(atoms, [&](XAtom a) { return connection_->atom(a) == property; });
    };
    if (window == connection_->root()) {
      if (isOneOf({XAtom::clientListStacking, XAtom::activeWindow, XAtom::currentDesktop})) {
        markStale();
      }
      if (isOneOf({XAtom::clientListStacking})) windowsChanged_.send(true);
      return;
    }
    const bool isTitle = isOneOf({XAtom::wmName});
    const bool matters =
        isTitle || property == XCB_ATOM_WM_CLASS || property == XCB_ATOM_WM_CLIENT_MACHINE ||
        isOneOf({XAtom::wmState, XAtom::wmDesktop, XAtom::windowType, XAtom::frameExtents,
                 XAtom::gtkFrameExtents, XAtom::opacity, XAtom::wmPid, XAtom::layer});
    if (!matters) return;
    reader_->onPropertyChanged(window);
    if (isTitle) {
      staleTitles_.insert(window);
    } else {
      markStale();
    }
    if (property == XCB_ATOM_WM_CLASS || isOneOf({XAtom::windowType, XAtom::wmPid})) {
      windowsChanged_.send(true);
    }
  }

  void markStale() {
    if (!std::exchange(isStale_, true)) becameStale_.send(true);
  }

  bool isKnown(xcb_window_t window) const {
    return std::ranges::find(windows_, window, &X11Window::id) != windows_.end();
  }

  EventLoop& loop_;
  const Clock& clock_;
  const Options options_;
  ProcSource proc_;
  ProcessIdentity identity_;

  // The picture: what the last full read saw.
  bool hasPicture_ = false;
  std::vector<X11Window> windows_;
  std::vector<ScreenWindow> onScreen_;  // with the opacity that is declared
  std::vector<RunningApplication> applications_;
  std::vector<Rect> monitors_;
  std::optional<std::string> frontmost_;
  bool hasTranslucent_ = false;
  X11LiveFacts live_;

  bool isStale_ = true;
  bool isOverdue_ = false;
  std::unordered_set<xcb_window_t> staleTitles_;
  Signal<bool> windowsChanged_;
  Signal<bool> becameStale_;
  uint64_t generation_ = 0;
  uint64_t fullReads_ = 0;
  uint64_t earlierRoundTrips_ = 0;  // of connections that are gone
  Monotonic nextAttempt_{};

  std::unique_ptr<X11Connection> connection_;
  std::unique_ptr<X11WindowReader> reader_;
  Subscription watch_;
};

X11Desktop::X11Desktop(EventLoop& loop, const LinuxAppCatalog& catalog, const Clock& clock,
                       Options options)
    : impl_(std::make_unique<Impl>(loop, catalog, clock, std::move(options))) {}
X11Desktop::~X11Desktop() = default;

DesktopSnapshot X11Desktop::snapshot(Wants wants) {
  return impl_->snapshot(wants);
}
const std::vector<X11Window>& X11Desktop::windows() const {
  return impl_->windows();
}
uint64_t X11Desktop::generation() const {
  return impl_->generation();
}
Subscription X11Desktop::onWindowsChanged(std::function<void()> changed) const {
  return impl_->onWindowsChanged(std::move(changed));
}
Subscription X11Desktop::onStale(std::function<void()> told) const {
  return impl_->onStale(std::move(told));
}
bool X11Desktop::isOverdue() const {
  return impl_->isOverdue();
}
void X11Desktop::minimise(uint32_t window) {
  impl_->minimise(window);
}
void X11Desktop::close(uint32_t window) {
  impl_->close(window);
}
uint64_t X11Desktop::roundTrips() const {
  return impl_->roundTrips();
}
uint64_t X11Desktop::fullReads() const {
  return impl_->fullReads();
}

}  // namespace velmora
