#include "platform/linux/X11WindowReader.h"

#include <limits.h>
#include <unistd.h>
#include <xcb/dpms.h>
#include <xcb/randr.h>
#include <xcb/res.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "base/Text.h"

namespace velmora {
namespace {

constexpr uint32_t kAllWorkspaces = 0xFFFFFFFF;
constexpr uint32_t kOpaque = 0xFFFFFFFF;
constexpr uint32_t kUndeclared = 0xFFFFFFFF;
constexpr uint32_t kMaxWindows = 4096;
constexpr uint32_t kMaxTitleWords = 1024;

Rect rectOf(double x, double y, double width, double height) {
  return {x, y, width, height};
}

bool covers(const Rect& outer, const Rect& inner) {
  return outer.minX() <= inner.minX() && outer.minY() <= inner.minY() &&
         outer.maxX() >= inner.maxX() && outer.maxY() >= inner.maxY();
}

double opacityOf(const XProperty& property) {
  return double(property.word().value_or(kOpaque)) / double(kOpaque);
}

bool isThisHost(std::string_view machine) {
  std::array<char, HOST_NAME_MAX + 1> name{};
  return gethostname(name.data(), name.size() - 1) == 0 && machine == name.data();
}

}  // namespace

struct X11WindowReader::LiveQuestions {
  std::optional<xcb_query_pointer_cookie_t> pointer;
  std::optional<xcb_get_selection_owner_cookie_t> compositor;
  std::optional<xcb_dpms_info_cookie_t> power;
};

struct X11WindowReader::OverviewQuestions {
  xcb_query_tree_cookie_t tree;
  xcb_get_geometry_cookie_t root;
  xcb_get_property_cookie_t stacking, active, workspace, manager;
  std::optional<xcb_res_query_client_ids_cookie_t> pids;
  std::optional<xcb_randr_get_monitors_cookie_t> monitors;
};

struct X11WindowReader::Overview {
  std::vector<xcb_window_t> tops;                  // children of the root, bottom to top
  std::unordered_map<xcb_window_t, size_t> depth;  // place among the tops
  std::vector<xcb_window_t> clients;               // bottom to top, each once
  std::optional<uint32_t> manager;                 // owner of the window manager's own windows
  std::optional<uint32_t> workspace;
  std::optional<xcb_window_t> active;
  std::unordered_map<uint32_t, int32_t> pids;  // by owner of the window
  std::vector<Rect> monitors;
};

struct X11WindowReader::PropertyQuestions {
  xcb_get_property_cookie_t state, workspace, type, frame, shadow, opacity, names, title;
  std::optional<xcb_get_property_cookie_t> layer;
  // Where the server can't tell whose the window is.
  std::optional<xcb_get_property_cookie_t> pid, machine;
};

struct X11WindowReader::WindowQuestions {
  xcb_window_t window = 0;
  bool isManaged = false;
  bool isNew = false;
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_geometry_cookie_t geometry;
  xcb_translate_coordinates_cookie_t origin;
  std::optional<PropertyQuestions> properties;
  std::optional<xcb_query_tree_cookie_t> parent;
  std::optional<xcb_get_property_cookie_t> frameOpacity;
};

// A child of the root that is neither a client nor known to be a client's frame.
struct X11WindowReader::Stranger {
  xcb_window_t window;
  xcb_get_window_attributes_cookie_t attributes;
};

struct X11WindowReader::GrandparentQuestion {
  xcb_window_t client;
  xcb_query_tree_cookie_t tree;
};

X11WindowReader::Edges X11WindowReader::edgesOf(const XProperty& property) {
  const auto words = property.words();
  if (words.size() < 4) return {};
  return {double(words[0]), double(words[1]), double(words[2]), double(words[3])};
}

Rect X11WindowReader::grown(const Rect& r, const Edges& by) {
  return rectOf(r.x - by.left, r.y - by.top, r.width + by.left + by.right,
                r.height + by.top + by.bottom);
}

// A shadow that leaves nothing of the window is no shadow.
Rect X11WindowReader::withoutShadow(const Rect& r, const Edges& shadow) {
  if (shadow.left + shadow.right >= r.width || shadow.top + shadow.bottom >= r.height) return r;
  return grown(r, {-shadow.left, -shadow.right, -shadow.top, -shadow.bottom});
}

X11WindowReader::X11WindowReader(X11Connection& connection) : connection_(connection) {
  auto* c = connection_.raw();
  // The root's own structure tells of its size and of monitors that the user defines.
  const uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_STRUCTURE_NOTIFY |
                          XCB_EVENT_MASK_PROPERTY_CHANGE;
  xcb_change_window_attributes(c, connection_.root(), XCB_CW_EVENT_MASK, &events);
  if (connection_.canTellMonitors()) {
    xcb_randr_select_input(c, connection_.root(),
                           XCB_RANDR_NOTIFY_MASK_SCREEN_CHANGE | XCB_RANDR_NOTIFY_MASK_CRTC_CHANGE |
                               XCB_RANDR_NOTIFY_MASK_OUTPUT_CHANGE);
  }
}

void X11WindowReader::onDestroyed(xcb_window_t window) {
  known_.erase(window);
  frames_.erase(window);
  listened_.erase(window);
}

void X11WindowReader::onPropertyChanged(xcb_window_t window) {
  const auto known = known_.find(window);
  if (known != known_.end()) known->second.isDirty = true;
  const auto frame = frames_.find(window);
  if (frame != frames_.end()) frame->second.isDirty = true;
}

void X11WindowReader::onReparented(xcb_window_t window) {
  const auto found = known_.find(window);
  if (found != known_.end()) found->second.top.reset();
}

X11WindowReader::LiveQuestions X11WindowReader::askLive(LiveWants wants) {
  auto* c = connection_.raw();
  LiveQuestions q;
  if (wants.pointer) q.pointer = connection_.ask(xcb_query_pointer(c, connection_.root()));
  if (wants.compositor) {
    q.compositor = connection_.ask(xcb_get_selection_owner(c, connection_.atom(XAtom::compositor)));
  }
  if (connection_.canTellPower()) q.power = connection_.ask(xcb_dpms_info(c));
  return q;
}

void X11WindowReader::takeLive(const LiveQuestions& q, X11LiveFacts& live) {
  live.pointer.reset();
  if (q.pointer) {
    const auto pointer = connection_.take<xcb_query_pointer_reply>(*q.pointer);
    if (pointer && pointer->same_screen) {
      live.pointer = Point{double(pointer->root_x), double(pointer->root_y)};
    }
  }
  if (q.compositor) {
    const auto owner = connection_.take<xcb_get_selection_owner_reply>(*q.compositor);
    live.hasCompositor = owner && owner->owner != XCB_WINDOW_NONE;
  }
  if (q.power) {
    const auto power = connection_.take<xcb_dpms_info_reply>(*q.power);
    live.isDisplayAwake = !power || !power->state || power->power_level == XCB_DPMS_DPMS_MODE_ON;
  }
}

bool X11WindowReader::readLive(LiveWants wants, X11LiveFacts& live,
                               X11Connection::Clock::time_point deadline) {
  const LiveQuestions questions = askLive(wants);
  if (connection_.hasQuestions() && !connection_.await(deadline)) return false;
  takeLive(questions, live);
  return true;
}

std::optional<std::unordered_map<xcb_window_t, std::string>> X11WindowReader::readTitles(
    const std::unordered_set<xcb_window_t>& windows, X11Connection::Clock::time_point deadline) {
  std::vector<std::pair<xcb_window_t, xcb_get_property_cookie_t>> asked;
  for (const xcb_window_t window : windows) {
    asked.emplace_back(
        window, connection_.askProperty(window, connection_.atom(XAtom::wmName),
                                        connection_.atom(XAtom::utf8String), kMaxTitleWords));
  }
  if (!connection_.await(deadline)) return std::nullopt;
  std::unordered_map<xcb_window_t, std::string> titles;
  for (const auto& [window, cookie] : asked) titles[window] = connection_.take(cookie).bytes();
  return titles;
}

X11WindowReader::OverviewQuestions X11WindowReader::askOverview() {
  auto* c = connection_.raw();
  const xcb_window_t root = connection_.root();
  OverviewQuestions q;
  q.tree = connection_.ask(xcb_query_tree(c, root));
  q.root = connection_.ask(xcb_get_geometry(c, root));
  q.stacking = connection_.askProperty(root, connection_.atom(XAtom::clientListStacking),
                                       XCB_ATOM_WINDOW, kMaxWindows);
  q.active =
      connection_.askProperty(root, connection_.atom(XAtom::activeWindow), XCB_ATOM_WINDOW, 1);
  q.workspace =
      connection_.askProperty(root, connection_.atom(XAtom::currentDesktop), XCB_ATOM_CARDINAL, 1);
  q.manager =
      connection_.askProperty(root, connection_.atom(XAtom::managerCheck), XCB_ATOM_WINDOW, 1);
  if (connection_.canTellPids()) {
    // One question for all clients. It comes last, so that no listed window's client is missing.
    const xcb_res_client_id_spec_t everybody{XCB_NONE, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
    q.pids = connection_.ask(xcb_res_query_client_ids(c, 1, &everybody));
  }
  if (connection_.canTellMonitors()) {
    q.monitors = connection_.ask(xcb_randr_get_monitors(c, root, true));
  }
  return q;
}

std::unordered_map<uint32_t, int32_t> X11WindowReader::takePids(const OverviewQuestions& q) {
  std::unordered_map<uint32_t, int32_t> pids;
  if (!q.pids) return pids;
  const auto reply = connection_.take<xcb_res_query_client_ids_reply>(*q.pids);
  if (!reply) return pids;
  for (auto it = xcb_res_query_client_ids_ids_iterator(reply.get()); it.rem > 0;
       xcb_res_client_id_value_next(&it)) {
    if (it.data->spec.mask == XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID && it.data->length >= 4) {
      pids[connection_.ownerOf(it.data->spec.client)] =
          static_cast<int32_t>(*xcb_res_client_id_value_value(it.data));
    }
  }
  return pids;
}

std::vector<Rect> X11WindowReader::takeMonitors(const OverviewQuestions& q) {
  std::vector<Rect> monitors;
  const auto root = connection_.take<xcb_get_geometry_reply>(q.root);
  if (q.monitors) {
    const auto reply = connection_.take<xcb_randr_get_monitors_reply>(*q.monitors);
    if (!reply) return monitors;
    for (auto it = xcb_randr_get_monitors_monitors_iterator(reply.get()); it.rem > 0;
         xcb_randr_monitor_info_next(&it)) {
      const Rect monitor = rectOf(it.data->x, it.data->y, it.data->width, it.data->height);
      if (std::ranges::find(monitors, monitor) == monitors.end()) monitors.push_back(monitor);
    }
  } else if (root) {
    monitors.push_back(rectOf(0, 0, root->width, root->height));
  }
  return monitors;
}

X11WindowReader::Overview X11WindowReader::takeOverview(const OverviewQuestions& q) {
  Overview out;
  if (const auto tree = connection_.take<xcb_query_tree_reply>(q.tree)) {
    const xcb_window_t* tops = xcb_query_tree_children(tree.get());
    out.tops.assign(tops, tops + xcb_query_tree_children_length(tree.get()));
  }
  for (size_t i = 0; i < out.tops.size(); ++i) out.depth.emplace(out.tops[i], i);

  const XProperty stacking = connection_.take(q.stacking);
  std::unordered_set<xcb_window_t> seen;
  for (const xcb_window_t client : stacking.words()) {
    if (client != XCB_WINDOW_NONE && seen.insert(client).second) out.clients.push_back(client);
  }
  out.active = connection_.take(q.active).word();
  out.workspace = connection_.take(q.workspace).word();
  if (const auto check = connection_.take(q.manager).word()) {
    out.manager = connection_.ownerOf(*check);
  }
  out.pids = takePids(q);
  out.monitors = takeMonitors(q);
  return out;
}

void X11WindowReader::listenTo(xcb_window_t window) {
  if (!listened_.insert(window).second) return;
  const uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY;
  xcb_change_window_attributes(connection_.raw(), window, XCB_CW_EVENT_MASK, &events);
}

X11WindowReader::WindowQuestions X11WindowReader::askWindow(xcb_window_t window, bool isManaged,
                                                            const Overview& overview) {
  listenTo(window);
  auto* c = connection_.raw();
  const auto [entry, isNew] = known_.try_emplace(window);
  Known& known = entry->second;
  if (!isManaged) known.top = window;
  // Of managed and other windows different properties count.
  if (std::exchange(known.isManaged, isManaged) != isManaged) known.isDirty = true;
  known.isRead = true;

  WindowQuestions q;
  q.window = window;
  q.isManaged = isManaged;
  q.isNew = isNew;
  q.attributes = connection_.ask(xcb_get_window_attributes(c, window));
  q.geometry = connection_.ask(xcb_get_geometry(c, window));
  q.origin = connection_.ask(xcb_translate_coordinates(c, window, connection_.root(), 0, 0));
  // A change that is told of while we wait makes it dirty again, for the next read.
  if (std::exchange(known.isDirty, false)) {
    q.properties = askProperties(window, isManaged, overview);
  }
  if (!known.top) {
    q.parent = connection_.ask(xcb_query_tree(c, window));
  } else {
    q.frameOpacity = askFrameOpacity(window, *known.top);
  }
  return q;
}

X11WindowReader::PropertyQuestions X11WindowReader::askProperties(xcb_window_t window,
                                                                  bool isManaged,
                                                                  const Overview& overview) {
  const auto ask = [&](XAtom property, xcb_atom_t type, uint32_t words) {
    return connection_.askProperty(window, connection_.atom(property), type, words);
  };
  PropertyQuestions q;
  q.state = ask(XAtom::wmState, XCB_ATOM_ATOM, 32);
  q.workspace = ask(XAtom::wmDesktop, XCB_ATOM_CARDINAL, 1);
  q.type = ask(XAtom::windowType, XCB_ATOM_ATOM, 8);
  q.frame = ask(XAtom::frameExtents, XCB_ATOM_CARDINAL, 4);
  q.shadow = ask(XAtom::gtkFrameExtents, XCB_ATOM_CARDINAL, 4);
  q.opacity = ask(XAtom::opacity, XCB_ATOM_CARDINAL, 1);
  q.names = connection_.askProperty(window, XCB_ATOM_WM_CLASS, XCB_GET_PROPERTY_TYPE_ANY, 128);
  q.title = ask(XAtom::wmName, connection_.atom(XAtom::utf8String), kMaxTitleWords);
  if (!isManaged) q.layer = ask(XAtom::layer, XCB_ATOM_CARDINAL, 1);
  if (!overview.pids.contains(connection_.ownerOf(window))) {
    q.pid = ask(XAtom::wmPid, XCB_ATOM_CARDINAL, 1);
    q.machine =
        connection_.askProperty(window, XCB_ATOM_WM_CLIENT_MACHINE, XCB_GET_PROPERTY_TYPE_ANY, 64);
  }
  return q;
}

std::optional<xcb_get_property_cookie_t> X11WindowReader::askFrameOpacity(xcb_window_t window,
                                                                          xcb_window_t top) {
  if (top == window || top == XCB_WINDOW_NONE) return std::nullopt;
  listenTo(top);
  if (!std::exchange(frames_[top].isDirty, false)) return std::nullopt;
  return connection_.askProperty(top, connection_.atom(XAtom::opacity), XCB_ATOM_CARDINAL, 1);
}

// The first type that is known counts, as it does for window managers.
XAtom X11WindowReader::kindOf(std::span<const uint32_t> types) const {
  for (const uint32_t type : types) {
    for (const XAtom kind : {XAtom::typeNormal, XAtom::typeDialog, XAtom::typeUtility,
                             XAtom::typeDock, XAtom::typeDesktop, XAtom::typeNotification,
                             XAtom::typeToolbar, XAtom::typeMenu, XAtom::typeSplash}) {
      if (type == connection_.atom(kind)) return kind;
    }
  }
  return XAtom::typeNormal;
}

std::unordered_set<xcb_window_t> X11WindowReader::frames() const {
  std::unordered_set<xcb_window_t> out;
  for (const auto& [window, known] : known_) {
    if (known.top && *known.top != window) out.insert(*known.top);
  }
  return out;
}

std::vector<X11WindowReader::Stranger> X11WindowReader::askStrangers(const Overview& overview) {
  std::unordered_set<xcb_window_t> familiar = frames();
  familiar.insert(overview.clients.begin(), overview.clients.end());
  std::vector<Stranger> out;
  for (const xcb_window_t top : overview.tops) {
    // The window manager's own are frames, menus and helpers.
    if (familiar.contains(top) || connection_.ownerOf(top) == overview.manager) continue;
    out.push_back({top, connection_.ask(xcb_get_window_attributes(connection_.raw(), top))});
  }
  return out;
}

std::vector<xcb_window_t> X11WindowReader::takeShown(const std::vector<Stranger>& strangers) {
  const auto known = frames();
  std::vector<xcb_window_t> out;
  for (const auto& stranger : strangers) {
    const auto a = connection_.take<xcb_get_window_attributes_reply>(stranger.attributes);
    const bool isShown =
        a && a->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT && a->map_state == XCB_MAP_STATE_VIEWABLE;
    if (isShown && !known.contains(stranger.window)) out.push_back(stranger.window);
  }
  return out;
}

std::vector<X11WindowReader::GrandparentQuestion> X11WindowReader::takeParents(
    std::vector<WindowQuestions>& managed, const Overview& overview) {
  std::vector<GrandparentQuestion> further;
  for (auto& q : managed) {
    if (!q.parent) continue;
    const auto tree = connection_.take<xcb_query_tree_reply>(*q.parent);
    if (!tree) continue;
    auto& top = known_[q.window].top;
    if (tree->parent == connection_.root()) {
      top = q.window;
    } else if (overview.depth.contains(tree->parent)) {
      top = tree->parent;
      q.frameOpacity = askFrameOpacity(q.window, *top);
    } else {
      further.push_back(
          {q.window, connection_.ask(xcb_query_tree(connection_.raw(), tree->parent))});
    }
  }
  return further;
}

void X11WindowReader::takeGrandparents(const std::vector<GrandparentQuestion>& questions,
                                       const Overview& overview) {
  for (const auto& q : questions) {
    const auto tree = connection_.take<xcb_query_tree_reply>(q.tree);
    const bool isFrame = tree && overview.depth.contains(tree->parent);
    known_[q.client].top = isFrame ? tree->parent : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
  }
}

X11WindowReader::Properties X11WindowReader::takeProperties(const PropertyQuestions& q) {
  Properties out;
  const XProperty states = connection_.take(q.state);
  out.isHidden = std::ranges::find(states.words(), connection_.atom(XAtom::stateHidden)) !=
                 states.words().end();
  out.workspace = connection_.take(q.workspace).word();
  const XProperty types = connection_.take(q.type);
  const XAtom kind = kindOf(types.words());
  const bool floats = kind == XAtom::typeDock || kind == XAtom::typeDesktop ||
                      kind == XAtom::typeNotification;
  out.layer = floats ? kFloatingLayer : kNormalLayer;
  out.isRegular = kind == XAtom::typeNormal || kind == XAtom::typeDialog;
  out.isWallpaper = types.word() == connection_.atom(XAtom::typeDesktop);
  out.frame = edgesOf(connection_.take(q.frame));
  out.shadow = edgesOf(connection_.take(q.shadow));
  out.opacity = opacityOf(connection_.take(q.opacity));
  const XProperty names = connection_.take(q.names);
  const auto instanceAndClass = text::split(names.bytes(), '\0');
  out.instance = instanceAndClass[0];
  if (instanceAndClass.size() > 1) out.windowClass = instanceAndClass[1];
  out.title = connection_.take(q.title).bytes();
  if (q.layer) out.declaredLayer = connection_.take(*q.layer).word();
  if (q.pid) {
    const XProperty pid = connection_.take(*q.pid);
    const XProperty machine = connection_.take(*q.machine);
    if (isThisHost(machine.bytes())) out.pid = static_cast<int32_t>(pid.word().value_or(0));
  }
  return out;
}

std::optional<X11SeenWindow> X11WindowReader::takeWindow(const WindowQuestions& q,
                                                         const Overview& overview) {
  Known& known = known_[q.window];
  const auto attributes = connection_.take<xcb_get_window_attributes_reply>(q.attributes);
  const auto geometry = connection_.take<xcb_get_geometry_reply>(q.geometry);
  const auto origin = connection_.take<xcb_translate_coordinates_reply>(q.origin);
  if (q.properties) known.properties = takeProperties(*q.properties);
  if (q.frameOpacity) {
    frames_[known.top.value_or(XCB_WINDOW_NONE)].opacity =
        opacityOf(connection_.take(*q.frameOpacity));
  }
  if (!attributes || !geometry || !origin) {
    onDestroyed(q.window);
    return std::nullopt;
  }

  const Properties& properties = known.properties;
  X11SeenWindow out;
  out.id = q.window;
  const auto pid = overview.pids.find(connection_.ownerOf(q.window));
  out.pid = pid != overview.pids.end() ? pid->second : properties.pid;
  out.managed = q.isManaged;
  out.isNew = q.isNew;
  out.isRegular = q.isManaged && properties.isRegular;
  out.title = properties.title;
  out.windowInstance = properties.instance;
  out.windowClass = properties.windowClass;
  const auto frame = known.top ? frames_.find(*known.top) : frames_.end();
  out.opacity = std::min(properties.opacity, frame == frames_.end() ? 1.0 : frame->second.opacity);

  const double border = geometry->border_width;
  out.client = rectOf(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
  out.clientWithoutShadow = withoutShadow(out.client, properties.shadow);
  out.frame =
      grown(grown(out.clientWithoutShadow, {border, border, border, border}), properties.frame);

  const uint32_t home = properties.workspace.value_or(kAllWorkspaces);
  const bool isElsewhere =
      home != kAllWorkspaces && overview.workspace && home != *overview.workspace;
  out.onScreen = attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                 !(q.isManaged && (properties.isHidden || isElsewhere));

  out.layer = properties.layer;
  if (!q.isManaged && attributes->override_redirect) {
    const uint32_t declared = properties.declaredLayer.value_or(kUndeclared);
    out.mayLock = declared == kUndeclared && !properties.isWallpaper && out.pid != getpid();
    out.layer =
        declared <= uint32_t(kScreenSaverLayer) ? static_cast<int>(declared) : kFloatingLayer;
  }
  return out;
}

std::vector<X11SeenWindow> X11WindowReader::stacked(std::vector<X11SeenWindow> managed,
                                                    std::vector<X11SeenWindow> unmanaged,
                                                    const Overview& overview) const {
  const auto depthOf = [&](const X11SeenWindow& window) -> std::optional<size_t> {
    const auto known = known_.find(window.id);
    if (known == known_.end() || !known->second.top) return std::nullopt;
    const auto depth = overview.depth.find(*known->second.top);
    return depth == overview.depth.end() ? std::nullopt : std::optional(depth->second);
  };
  // Both come bottom to top. What can't be placed leaves the other windows above it.
  std::vector<X11SeenWindow> out;
  auto next = unmanaged.begin();
  for (auto& window : managed) {
    const auto depth = depthOf(window);
    while (depth && next != unmanaged.end() && depthOf(*next) < depth) {
      out.push_back(std::move(*next++));
    }
    out.push_back(std::move(window));
  }
  std::move(next, unmanaged.end(), std::back_inserter(out));
  std::ranges::reverse(out);
  return out;
}

void X11WindowReader::forgetUnread() {
  std::erase_if(known_, [](const auto& entry) { return !entry.second.isRead; });
  const auto standing = frames();
  std::erase_if(frames_, [&](const auto& entry) { return !standing.contains(entry.first); });
}

std::optional<X11Picture> X11WindowReader::read(LiveWants wants, X11LiveFacts& live,
                                                X11Connection::Clock::time_point deadline) {
  const auto answered = [&] {
    if (connection_.await(deadline)) return true;
    known_.clear();  // the next read must look at all windows as new ones
    frames_.clear();
    return false;
  };
  const OverviewQuestions overviewQuestions = askOverview();
  const LiveQuestions liveQuestions = askLive(wants);
  if (!answered()) return std::nullopt;
  const Overview overview = takeOverview(overviewQuestions);
  takeLive(liveQuestions, live);

  for (auto& [window, known] : known_) known.isRead = false;
  std::vector<WindowQuestions> managed;
  for (const xcb_window_t client : overview.clients) {
    managed.push_back(askWindow(client, true, overview));
  }
  const std::vector<Stranger> strangers = askStrangers(overview);
  if (connection_.hasQuestions() && !answered()) return std::nullopt;

  const auto grandparents = takeParents(managed, overview);
  std::vector<WindowQuestions> unmanaged;
  for (const xcb_window_t top : takeShown(strangers)) {
    unmanaged.push_back(askWindow(top, false, overview));
  }
  if (connection_.hasQuestions() && !answered()) return std::nullopt;
  takeGrandparents(grandparents, overview);

  const auto take = [&](const std::vector<WindowQuestions>& questions) {
    const auto known = frames();  // some frames were found only now
    std::vector<X11SeenWindow> out;
    for (const auto& q : questions) {
      auto window = takeWindow(q, overview);
      const bool isListed =
          window && (q.isManaged || (window->onScreen && !known.contains(q.window)));
      if (isListed) out.push_back(std::move(*window));
    }
    return out;
  };
  auto below = take(managed);
  auto above = take(unmanaged);
  forgetUnread();

  X11Picture picture;
  picture.windows = stacked(std::move(below), std::move(above), overview);
  picture.monitors = overview.monitors;
  picture.active = overview.active;
  for (auto& window : picture.windows) {
    if (window.managed && window.onScreen) break;
    const bool fills = std::ranges::any_of(
        picture.monitors, [&](const Rect& monitor) { return covers(window.frame, monitor); });
    if (window.mayLock && fills) window.layer = kScreenSaverLayer;
  }
  return picture;
}

}  // namespace velmora
