#include "platform/linux/StatusNotifier.h"

#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "base/Text.h"
#include "platform/linux/BusLink.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/StatusMark.h"

namespace velmora {
namespace {

constexpr char kItemPath[] = "/StatusNotifierItem";
constexpr char kItem[] = "org.kde.StatusNotifierItem";
constexpr char kMenuPath[] = "/MenuBar";
constexpr char kMenu[] = "com.canonical.dbusmenu";
constexpr char kWatcher[] = "org.kde.StatusNotifierWatcher";
constexpr char kWatcherPath[] = "/StatusNotifierWatcher";
constexpr int kMarkSizes[] = {18, 22, 24, 32, 48};
constexpr int32_t kRoot = 0;  // of the menu; the items follow from 1 on

// An underscore would mark the next letter as the key of the item.
std::string label(const StatusMenuItem& item) {
  return text::replacingAll(item.title, "_", "__");
}

bool isSeparator(const StatusMenuItem& item) {
  return item.title.empty();
}

// Whether two menus differ in their titles at most.
bool haveOneShape(const std::vector<StatusMenuItem>& a, const std::vector<StatusMenuItem>& b) {
  return std::ranges::equal(a, b, [](const StatusMenuItem& x, const StatusMenuItem& y) {
    return isSeparator(x) == isSeparator(y) && x.action == y.action && x.key == y.key;
  });
}

int appendText(sd_bus_message* m, const char* name, const std::string& value) {
  return sd_bus_message_append(m, "{sv}", name, "s", value.c_str());
}

// The "a{sv}" of an item.
int appendItem(sd_bus_message* m, const StatusMenuItem& item) {
  int r = sd_bus_message_open_container(m, 'a', "{sv}");
  if (isSeparator(item)) {
    if (r >= 0) r = appendText(m, "type", "separator");
  } else {
    if (r >= 0) r = appendText(m, "label", label(item));
    if (r >= 0 && item.action.empty()) r = sd_bus_message_append(m, "{sv}", "enabled", "b", 0);
    if (r >= 0 && !item.key.empty())
      r = sd_bus_message_append(m, "{sv}", "shortcut", "aas", 1, 2, "Control", item.key.c_str());
  }
  return r < 0 ? r : sd_bus_message_close_container(m);
}

int appendRoot(sd_bus_message* m) {
  return sd_bus_message_append(m, "a{sv}", 1, "children-display", "s", "submenu");
}

}  // namespace

class StatusNotifier::Impl {
 public:
  Impl(EventLoop& loop, Handlers handlers)
      : loop_(loop),
        handlers_(std::move(handlers)),
        name_(std::string(kItem) + "-" + std::to_string(getpid()) + "-1"),
        link_(loop,
              {.opened = [this](sd_bus* bus) { open(bus); }, .lost = [this] { setShown(false); }}) {
  }

  void setMenu(const std::vector<StatusMenuItem>& menu) {
    if (menu == menu_) return;
    const auto old = std::exchange(menu_, menu);
    const bool isLayout = !haveOneShape(old, menu);
    if (isLayout) ++revision_;
    if (!isShown_) return;  // a panel that takes the item reads it whole
    if (isLayout)
      sd_bus_emit_signal(link_.bus(), kMenuPath, kMenu, "LayoutUpdated", "ui", revision_, kRoot);
    else
      tellTitles(old);
  }

 private:
  using Self = Impl;

  void open(sd_bus* bus) {
    sd_bus_add_object_vtable(bus, nullptr, kItemPath, kItem, kItemTable, this);
    sd_bus_add_object_vtable(bus, nullptr, kMenuPath, kMenu, kMenuTable, this);
    sd_bus_add_match_async(
        bus, nullptr,
        "type='signal',sender='org.freedesktop.DBus',"
        "interface='org.freedesktop.DBus',member='NameOwnerChanged',"
        "arg0='org.kde.StatusNotifierWatcher'",
        [](sd_bus_message* m, void* self, sd_bus_error*) {
          const char *name, *before, *now;
          if (sd_bus_message_read(m, "sss", &name, &before, &now) < 0) return 0;
          static_cast<Self*>(self)->onWatcher(*now != '\0');
          return 0;
        },
        nullptr, this);
    sd_bus_request_name_async(bus, nullptr, name_.c_str(), 0, nullptr, nullptr);
    onWatcher(true);
  }

  void onWatcher(bool isThere) {
    if (!isThere) return setShown(false);
    sd_bus_call_method_async(
        link_.bus(), nullptr, kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierItem",
        [](sd_bus_message* reply, void* self, sd_bus_error*) {
          static_cast<Self*>(self)->setShown(!sd_bus_message_is_method_error(reply, nullptr));
          return 0;
        },
        this, "s", name_.c_str());
  }

  void setShown(bool isShown) {
    if (std::exchange(isShown_, isShown) != isShown) handlers_.shown(isShown);
  }

  void tellTitles(const std::vector<StatusMenuItem>& old) {
    sd_bus_message* signal = nullptr;
    if (sd_bus_message_new_signal(link_.bus(), &signal, kMenuPath, kMenu,
                                  "ItemsPropertiesUpdated") < 0)
      return;
    sd_bus_message_open_container(signal, 'a', "(ia{sv})");
    for (size_t i = 0; i < menu_.size(); ++i) {
      if (menu_[i] == old[i]) continue;
      sd_bus_message_append(signal, "(ia{sv})", static_cast<int32_t>(i + 1), 1, "label", "s",
                            label(menu_[i]).c_str());
    }
    sd_bus_message_close_container(signal);
    sd_bus_message_append(signal, "a(ias)", 0);
    sd_bus_send(link_.bus(), signal, nullptr);
    sd_bus_message_unref(signal);
  }

  const StatusMenuItem* item(int32_t id) const {
    return id >= 1 && static_cast<size_t>(id) <= menu_.size() ? &menu_[static_cast<size_t>(id - 1)]
                                                              : nullptr;
  }

  void choose(const StatusMenuItem* chosen) {
    if (!chosen || chosen->action.empty()) return;
    choices_.push_back(chosen->action);
    choice_ = loop_.after(Seconds(0), [this] {
      for (const auto& action : std::exchange(choices_, {})) handlers_.chosen(action);
    });
  }
  void chooseFirst() {
    const auto first = std::ranges::find_if(menu_, [](const auto& i) { return !i.action.empty(); });
    if (first != menu_.end()) choose(&*first);
  }

  // (ia{sv}av) of the item with this id, with its children down to `depth` (-1: all).
  int appendLayout(sd_bus_message* m, int32_t id, int32_t depth) {
    int r = sd_bus_message_open_container(m, 'r', "ia{sv}av");
    if (r >= 0) r = sd_bus_message_append(m, "i", id);
    if (r >= 0) r = id == kRoot ? appendRoot(m) : appendItem(m, *item(id));
    if (r >= 0) r = sd_bus_message_open_container(m, 'a', "v");
    for (int32_t child = 1; id == kRoot && depth != 0 && item(child) && r >= 0; ++child) {
      r = sd_bus_message_open_container(m, 'v', "(ia{sv}av)");
      if (r >= 0) r = appendLayout(m, child, 0);
      if (r >= 0) r = sd_bus_message_close_container(m);
    }
    if (r >= 0) r = sd_bus_message_close_container(m);
    return r < 0 ? r : sd_bus_message_close_container(m);
  }

  int getLayout(sd_bus_message* call, sd_bus_error* error) {
    int32_t parent = 0, depth = 0;
    int r = sd_bus_message_read(call, "ii", &parent, &depth);
    if (r < 0) return r;
    if (parent != kRoot && !item(parent))
      return sd_bus_error_set_const(error, SD_BUS_ERROR_INVALID_ARGS, "no such item");
    return answer(call, [&](sd_bus_message* reply) {
      const int appended = sd_bus_message_append(reply, "u", revision_);
      return appended < 0 ? appended : appendLayout(reply, parent, depth);
    });
  }

  int getGroupProperties(sd_bus_message* call, sd_bus_error*) {
    const void* ids = nullptr;
    size_t size = 0;
    int r = sd_bus_message_read_array(call, 'i', &ids, &size);
    if (r < 0) return r;
    std::vector<int32_t> wanted(static_cast<const int32_t*>(ids),
                                static_cast<const int32_t*>(ids) + size / sizeof(int32_t));
    for (int32_t id = 0; size == 0 && (id == kRoot || item(id)); ++id) wanted.push_back(id);
    return answer(call, [&](sd_bus_message* reply) {
      int done = sd_bus_message_open_container(reply, 'a', "(ia{sv})");
      for (const int32_t id : wanted) {
        if (id != kRoot && !item(id)) continue;
        if (done >= 0) done = sd_bus_message_open_container(reply, 'r', "ia{sv}");
        if (done >= 0) done = sd_bus_message_append(reply, "i", id);
        if (done >= 0) done = id == kRoot ? appendRoot(reply) : appendItem(reply, *item(id));
        if (done >= 0) done = sd_bus_message_close_container(reply);
      }
      return done < 0 ? done : sd_bus_message_close_container(reply);
    });
  }

  int getProperty(sd_bus_message* call, sd_bus_error* error) {
    int32_t id = 0;
    const char* name = nullptr;
    const int r = sd_bus_message_read(call, "is", &id, &name);
    if (r < 0) return r;
    const auto* found = item(id);
    if (found && std::string_view(name) == "label")
      return sd_bus_reply_method_return(call, "v", "s", label(*found).c_str());
    if (found && std::string_view(name) == "enabled")
      return sd_bus_reply_method_return(call, "v", "b", !found->action.empty());
    return sd_bus_error_set_const(error, SD_BUS_ERROR_UNKNOWN_PROPERTY, "no such property");
  }

  void onEvent(int32_t id, std::string_view what) {
    if (what == "clicked") choose(item(id));
  }
  int event(sd_bus_message* call, sd_bus_error*) {
    int32_t id = 0;
    const char* what = nullptr;
    const int r = sd_bus_message_read(call, "is", &id, &what);
    if (r < 0) return r;
    onEvent(id, what);
    return sd_bus_reply_method_return(call, nullptr);
  }
  int eventGroup(sd_bus_message* call, sd_bus_error*) {
    int r = sd_bus_message_enter_container(call, 'a', "(isvu)");
    while (r >= 0 && (r = sd_bus_message_enter_container(call, 'r', "isvu")) > 0) {
      int32_t id = 0;
      const char* what = nullptr;
      if ((r = sd_bus_message_read(call, "is", &id, &what)) < 0) break;
      onEvent(id, what);
      if ((r = sd_bus_message_skip(call, "vu")) < 0) break;
      r = sd_bus_message_exit_container(call);
    }
    return r < 0 ? r : sd_bus_reply_method_return(call, "ai", 0);
  }

  template <typename Append>
  static int answer(sd_bus_message* call, const Append& append) {
    sd_bus_message* reply = nullptr;
    int r = sd_bus_message_new_method_return(call, &reply);
    if (r >= 0) r = append(reply);
    if (r >= 0) r = sd_bus_send(sd_bus_message_get_bus(call), reply, nullptr);
    sd_bus_message_unref(reply);
    return r < 0 ? r : 1;
  }

  template <int (Impl::*method)(sd_bus_message*, sd_bus_error*)>
  static int call(sd_bus_message* m, void* self, sd_bus_error* error) {
    return (static_cast<Self*>(self)->*method)(m, error);
  }

  int activate(sd_bus_message* m, sd_bus_error*) {
    chooseFirst();
    return sd_bus_reply_method_return(m, nullptr);
  }
  int contextMenu(sd_bus_message* m, sd_bus_error*) {
    int32_t x = 0, y = 0;
    const int r = sd_bus_message_read(m, "ii", &x, &y);
    if (r < 0) return r;
    question_ = loop_.after(Seconds(0), [this, x, y] { handlers_.menuAsked(x, y); });
    return sd_bus_reply_method_return(m, nullptr);
  }
  int ignore(sd_bus_message* m, sd_bus_error*) { return sd_bus_reply_method_return(m, nullptr); }
  int aboutToShow(sd_bus_message* m, sd_bus_error*) {
    return sd_bus_reply_method_return(m, "b", 0);
  }
  int aboutToShowGroup(sd_bus_message* m, sd_bus_error*) {
    return sd_bus_reply_method_return(m, "aiai", 0, 0);
  }

  // Constant properties: the text behind the name.
  static int textProperty(sd_bus*, const char*, const char*, const char* property,
                          sd_bus_message* reply, void*, sd_bus_error*) {
    using namespace std::string_view_literals;
    const std::string_view name = property;
    const char* value = name == "Category"sv             ? "ApplicationStatus"
                        : name == "Id"sv                 ? "com.velmora.app"
                        : name == "Status"sv             ? "Active"
                        : name == "Title"sv              ? "Velmora"
                        : name == "IconAccessibleDesc"sv ? "Velmora"
                        : name == "TextDirection"sv      ? "ltr"
                                                         : "";
    return sd_bus_message_append(reply, "s", value);
  }
  static int menuStatus(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply,
                        void*, sd_bus_error*) {
    return sd_bus_message_append(reply, "s", "normal");
  }
  static int noPath(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                    sd_bus_error*) {
    return sd_bus_message_append(reply, "as", 0);
  }
  static int menuPath(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                      sd_bus_error*) {
    return sd_bus_message_append(reply, "o", kMenuPath);
  }
  static int zero(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                  sd_bus_error*) {
    return sd_bus_message_append(reply, "i", 0);
  }
  static int no(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                sd_bus_error*) {
    return sd_bus_message_append(reply, "b", 0);
  }
  static int menuVersion(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply,
                         void*, sd_bus_error*) {
    return sd_bus_message_append(reply, "u", 3);
  }
  static int toolTip(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                     sd_bus_error*) {
    return sd_bus_message_append(reply, "(sa(iiay)ss)", "", 0, "Velmora", "");
  }
  static int noPixmap(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply, void*,
                      sd_bus_error*) {
    return sd_bus_message_append(reply, "a(iiay)", 0);
  }
  static int iconPixmap(sd_bus*, const char*, const char*, const char*, sd_bus_message* reply,
                        void*, sd_bus_error*) {
    int r = sd_bus_message_open_container(reply, 'a', "(iiay)");
    for (const int size : kMarkSizes) {
      std::string bytes;  // in network order
      for (const uint32_t pixel : mark::pixels(size))
        for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(pixel >> shift & 0xff);
      if (r >= 0) r = sd_bus_message_open_container(reply, 'r', "iiay");
      if (r >= 0) r = sd_bus_message_append(reply, "ii", size, size);
      if (r >= 0) r = sd_bus_message_append_array(reply, 'y', bytes.data(), bytes.size());
      if (r >= 0) r = sd_bus_message_close_container(reply);
    }
    return r < 0 ? r : sd_bus_message_close_container(reply);
  }

  static const sd_bus_vtable kItemTable[];
  static const sd_bus_vtable kMenuTable[];

  EventLoop& loop_;
  const Handlers handlers_;
  const std::string name_;
  std::vector<StatusMenuItem> menu_;
  uint32_t revision_ = 1;
  bool isShown_ = false;
  std::vector<std::string> choices_;
  Subscription choice_;
  Subscription question_;
  BusLink link_;
};

const sd_bus_vtable StatusNotifier::Impl::kItemTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Category", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Id", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Title", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Status", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("WindowId", "i", zero, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconThemePath", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconName", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconPixmap", "a(iiay)", iconPixmap, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconAccessibleDesc", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("OverlayIconName", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("OverlayIconPixmap", "a(iiay)", noPixmap, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("AttentionIconName", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("AttentionIconPixmap", "a(iiay)", noPixmap, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("AttentionMovieName", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("ToolTip", "(sa(iiay)ss)", toolTip, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("ItemIsMenu", "b", no, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Menu", "o", menuPath, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_METHOD("Activate", "ii", "", call<&Impl::activate>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("SecondaryActivate", "ii", "", call<&Impl::activate>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("ContextMenu", "ii", "", call<&Impl::contextMenu>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Scroll", "is", "", call<&Impl::ignore>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("NewTitle", "", 0),
    SD_BUS_SIGNAL("NewIcon", "", 0),
    SD_BUS_SIGNAL("NewStatus", "s", 0),
    SD_BUS_VTABLE_END};

const sd_bus_vtable StatusNotifier::Impl::kMenuTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_PROPERTY("Version", "u", menuVersion, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("TextDirection", "s", textProperty, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("Status", "s", menuStatus, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_PROPERTY("IconThemePath", "as", noPath, 0, SD_BUS_VTABLE_PROPERTY_CONST),
    SD_BUS_METHOD("GetLayout", "iias", "u(ia{sv}av)", call<&Impl::getLayout>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetGroupProperties", "aias", "a(ia{sv})", call<&Impl::getGroupProperties>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("GetProperty", "is", "v", call<&Impl::getProperty>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("Event", "isvu", "", call<&Impl::event>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("EventGroup", "a(isvu)", "ai", call<&Impl::eventGroup>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShow", "i", "b", call<&Impl::aboutToShow>, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_METHOD("AboutToShowGroup", "ai", "aiai", call<&Impl::aboutToShowGroup>,
                  SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_SIGNAL("LayoutUpdated", "ui", 0),
    SD_BUS_SIGNAL("ItemsPropertiesUpdated", "a(ia{sv})a(ias)", 0),
    SD_BUS_VTABLE_END};

StatusNotifier::StatusNotifier(EventLoop& loop, Handlers handlers)
    : impl_(std::make_unique<Impl>(loop, std::move(handlers))) {}
StatusNotifier::~StatusNotifier() = default;

void StatusNotifier::setMenu(const std::vector<StatusMenuItem>& menu) {
  impl_->setMenu(menu);
}

}  // namespace velmora
