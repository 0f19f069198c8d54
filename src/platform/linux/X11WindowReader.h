#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/linux/X11Connection.h"
#include "platform/linux/XWindowSource.h"
#include "ports/Desktop.h"

namespace velmora {

// What no event tells of, so that it must be asked each time it is wanted.
struct X11LiveFacts {
  bool hasCompositor = false;
  bool isDisplayAwake = true;
  std::optional<Point> pointer;
};

// A window with what only the desktop wants to know of it.
struct X11SeenWindow : X11Window {
  int layer = kNormalLayer;
  double opacity = 1.0;  // as declared; means nothing without a compositor
  bool isNew = false;    // not among the windows of the read before, or another of that number
  bool mayLock = false;  // would be a screen locker if it covered a monitor on top of everything
};

struct X11Picture {
  std::vector<X11SeenWindow> windows;  // front to back
  std::vector<Rect> monitors;          // without doubles
  std::optional<xcb_window_t> active;
};

// Reads the windows of one server in at most three batches: the order and the place of all of them
// each time, the properties only of those whose properties changed. Asks for the events that tell
// of a change before it reads what may change.
class X11WindowReader {
 public:
  struct LiveWants {
    bool pointer = false;
    bool compositor = false;
  };

  // `connection` must outlive this object.
  explicit X11WindowReader(X11Connection& connection);

  // Nothing when the server did not answer in time. Fills `live` as well, in the first batch.
  std::optional<X11Picture> read(LiveWants wants, X11LiveFacts& live,
                                 X11Connection::Clock::time_point deadline);
  // Asks only where something must be asked; false when the server did not answer in time.
  bool readLive(LiveWants wants, X11LiveFacts& live, X11Connection::Clock::time_point deadline);
  // The titles of some windows; those that are gone have none. Nothing when the server did not
  // answer in time.
  std::optional<std::unordered_map<xcb_window_t, std::string>> readTitles(
      const std::unordered_set<xcb_window_t>& windows, X11Connection::Clock::time_point deadline);

  // From events: the window is gone, has another parent, has another property.
  void onDestroyed(xcb_window_t window);
  void onReparented(xcb_window_t window);
  void onPropertyChanged(xcb_window_t window);

 private:
  // Left, right, top and bottom, as both properties about frames give them.
  struct Edges {
    double left = 0.0, right = 0.0, top = 0.0, bottom = 0.0;
  };
  // What a window's properties say.
  struct Properties {
    bool isHidden = false;
    std::optional<uint32_t> workspace;
    int layer = kNormalLayer;  // by its type
    bool isWallpaper = false;
    bool isRegular = true;
    std::optional<uint32_t> declaredLayer;
    Edges frame, shadow;
    double opacity = 1.0;
    std::string instance, windowClass, title;
    int32_t pid = 0;  // only where the server can't tell
  };
  // What outlives a read.
  struct Known {
    // The child of the root that holds the window: its frame, or itself. XCB_WINDOW_NONE when it
    // can't be found; absent before anybody looked.
    std::optional<xcb_window_t> top;
    Properties properties;
    bool isDirty = true;  // the properties changed since they were last asked for
    bool isManaged = false;
    bool isRead = false;
  };
  struct Frame {
    double opacity = 1.0;
    bool isDirty = true;
  };
  struct LiveQuestions;
  struct Overview;
  struct OverviewQuestions;
  struct PropertyQuestions;
  struct WindowQuestions;
  struct Stranger;
  struct GrandparentQuestion;

  LiveQuestions askLive(LiveWants wants);
  void takeLive(const LiveQuestions& questions, X11LiveFacts& live);
  OverviewQuestions askOverview();
  Overview takeOverview(const OverviewQuestions& questions);
  std::unordered_map<uint32_t, int32_t> takePids(const OverviewQuestions& questions);
  std::vector<Rect> takeMonitors(const OverviewQuestions& questions);

  void listenTo(xcb_window_t window);
  WindowQuestions askWindow(xcb_window_t window, bool isManaged, const Overview& overview);
  PropertyQuestions askProperties(xcb_window_t window, bool isManaged, const Overview& overview);
  std::optional<xcb_get_property_cookie_t> askFrameOpacity(xcb_window_t window, xcb_window_t top);
  std::optional<X11SeenWindow> takeWindow(const WindowQuestions& questions,
                                          const Overview& overview);
  Properties takeProperties(const PropertyQuestions& questions);
  static Edges edgesOf(const XProperty& property);
  static Rect grown(const Rect& rect, const Edges& by);
  static Rect withoutShadow(const Rect& rect, const Edges& shadow);
  // The tops of windows seen for the first time, in two steps: most frames are the parent of their
  // client, some the parent's parent.
  std::vector<GrandparentQuestion> takeParents(std::vector<WindowQuestions>& managed,
                                               const Overview& overview);
  void takeGrandparents(const std::vector<GrandparentQuestion>& questions,
                        const Overview& overview);
  XAtom kindOf(std::span<const uint32_t> types) const;
  std::vector<Stranger> askStrangers(const Overview& overview);
  std::vector<xcb_window_t> takeShown(const std::vector<Stranger>& strangers);
  std::unordered_set<xcb_window_t> frames() const;
  std::vector<X11SeenWindow> stacked(std::vector<X11SeenWindow> managed,
                                     std::vector<X11SeenWindow> unmanaged,
                                     const Overview& overview) const;
  void forgetUnread();

  X11Connection& connection_;
  std::unordered_map<xcb_window_t, Known> known_;
  std::unordered_map<xcb_window_t, Frame> frames_;
  std::unordered_set<xcb_window_t> listened_;
};

}  // namespace velmora
