#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <string>
#include <thread>
#include <vector>

#include "base/Geometry.h"

namespace velmora::test {

// A process of the test's own, killed with it.
class Child {
 public:
  Child() = default;
  explicit Child(const std::function<void()>& body) : pid_(fork()) {
    if (pid_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    body();
    _exit(127);
  }
  explicit Child(const std::vector<std::string>& arguments, const std::string& display = "")
      : Child([&] {
          std::vector<char*> argv;
          for (const auto& argument : arguments)
            argv.push_back(const_cast<char*>(argument.c_str()));
          argv.push_back(nullptr);
          if (!display.empty()) setenv("DISPLAY", display.c_str(), 1);
          const int null = open("/dev/null", O_RDWR);
          for (int fd = 0; fd < 3; ++fd) dup2(null, fd);
          execvp(argv[0], argv.data());
        }) {}
  Child(Child&& other) noexcept { std::swap(pid_, other.pid_); }
  Child& operator=(Child&& other) noexcept {
    std::swap(pid_, other.pid_);  // the old one dies with `other`
    return *this;
  }
  ~Child() { kill(); }

  pid_t pid() const { return pid_; }
  void kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(std::exchange(pid_, -1), nullptr, 0);
  }

 private:
  pid_t pid_ = -1;
};

inline bool hasProgram(const std::string& name) {
  return access(("/usr/bin/" + name).c_str(), X_OK) == 0;
}

inline bool canRunDesktop() {
  return hasProgram("Xvfb") && hasProgram("openbox");
}

// Whether it came true within five seconds.
inline bool eventually(const std::function<bool()>& holds) {
  for (int i = 0; i < 1000; ++i) {
    if (holds()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return holds();
}

// An X server on a display that nobody uses, with the window manager openbox on request.
class PrivateXServer {
 public:
  explicit PrivateXServer(std::vector<std::string> more = {}) : more_(std::move(more)) { start(); }
  ~PrivateXServer() { kill(); }

  std::string display() const { return ":" + std::to_string(number_); }
  // Again on the same display, after kill().
  void start() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    fcntl(ends[1], F_SETFD, 0);  // the server tells its number there once it is ready
    std::vector<std::string> arguments{
        "Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", "1280x1024x24", "-noreset"};
    arguments.insert(arguments.end(), more_.begin(), more_.end());
    if (number_ >= 0) arguments.push_back(display());
    server_ = Child(arguments);
    close(ends[1]);
    FILE* answer = fdopen(ends[0], "r");
    EXPECT_EQ(fscanf(answer, "%d", &number_), 1) << "Xvfb does not start";
    fclose(answer);
  }
  void startWindowManager() { manager_ = Child({"openbox", "--sm-disable"}, display()); }
  void kill() {
    manager_.kill();
    server_.kill();
    unlink(("/tmp/.X" + std::to_string(number_) + "-lock").c_str());
    unlink(("/tmp/.X11-unix/X" + std::to_string(number_)).c_str());
  }

 private:
  const std::vector<std::string> more_;  // arguments
  Child server_, manager_;
  int number_ = -1;
};

template <typename Reply>
auto owned(Reply* reply) {
  return std::unique_ptr<Reply, decltype(&std::free)>(reply, &std::free);
}

// How a window is made.
struct XLook {
  Rect frame{100, 100, 300, 200};
  bool isOverride = false;
  std::vector<std::string> types;  // of _NET_WM_WINDOW_TYPE_
  std::string instance = "box", windowClass = "Box";
  std::string title = "a box";
};

// An application that opens windows, in the test's own process. Whatever it asks for, the server
// has done when the call returns.
class XClient {
 public:
  explicit XClient(const std::string& display)
      : connection_(xcb_connect(display.c_str(), nullptr)),
        root_(xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root) {}
  XClient(const XClient&) = delete;
  XClient& operator=(const XClient&) = delete;
  ~XClient() { xcb_disconnect(connection_); }

  xcb_connection_t* raw() const { return connection_; }
  xcb_window_t root() const { return root_; }
  void done(xcb_void_cookie_t) {
    owned(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }
  xcb_atom_t atom(const std::string& name) {
    const auto question = xcb_intern_atom(connection_, false, uint16_t(name.size()), name.c_str());
    return owned(xcb_intern_atom_reply(connection_, question, nullptr))->atom;
  }

  // Not yet mapped.
  xcb_window_t make(const XLook& look) {
    const xcb_window_t window = xcb_generate_id(connection_);
    const uint32_t override = look.isOverride;
    const auto& [x, y, width, height] = look.frame;
    xcb_create_window(connection_, 0, window, root_, int16_t(x), int16_t(y), uint16_t(width),
                      uint16_t(height), 0, 0, 0, XCB_CW_OVERRIDE_REDIRECT, &override);
    std::vector<uint32_t> types;
    for (const auto& type : look.types) types.push_back(atom("_NET_WM_WINDOW_TYPE_" + type));
    set(window, atom("_NET_WM_WINDOW_TYPE"), XCB_ATOM_ATOM, types);
    set(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, look.instance + '\0' + look.windowClass + '\0');
    setTitle(window, look.title);
    const std::array<uint32_t, 18> hints{1 | 2};  // the user chose position and size
    set(window, XCB_ATOM_WM_NORMAL_HINTS, XCB_ATOM_WM_SIZE_HINTS, hints);
    return window;
  }
  void map(xcb_window_t window) { done(xcb_map_window(connection_, window)); }
  xcb_window_t open(const XLook& look = {}) {
    const xcb_window_t window = make(look);
    map(window);
    return window;
  }
  void destroy(xcb_window_t window) { done(xcb_destroy_window(connection_, window)); }
  void move(xcb_window_t window, uint32_t x, uint32_t y) {
    const uint32_t place[] = {x, y};
    done(xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y,
                              place));
  }
  void lower(xcb_window_t window) {
    const uint32_t mode = XCB_STACK_MODE_BELOW;
    done(xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_STACK_MODE, &mode));
  }
  void movePointer(int16_t x, int16_t y) {
    done(xcb_warp_pointer(connection_, XCB_NONE, root_, 0, 0, 0, 0, x, y));
  }
  void setTitle(xcb_window_t window, const std::string& title) {
    set(window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), title);
  }
  void setCardinals(xcb_window_t window, const std::string& property,
                    const std::vector<uint32_t>& values) {
    set(window, atom(property), XCB_ATOM_CARDINAL, values);
  }

  // Asks the window manager, as a pager does.
  void request(xcb_window_t window, const std::string& message, std::vector<uint32_t> data) {
    xcb_client_message_event_t event{XCB_CLIENT_MESSAGE, 32, 0, window, atom(message), {}};
    std::ranges::copy(data, event.data.data32);
    done(xcb_send_event(connection_, false, root_, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                        reinterpret_cast<const char*>(&event)));
  }
  void minimise(xcb_window_t window) { request(window, "WM_CHANGE_STATE", {3}); }
  void activate(xcb_window_t window) { request(window, "_NET_ACTIVE_WINDOW", {2}); }
  // A manager that is just starting may miss a window, so several are tried.
  bool awaitWindowManager() {
    return eventually([&] {
      const xcb_window_t probe = open({.frame = {0, 0, 5, 5}});
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      const bool isManaged = frameOf(probe) != probe;
      destroy(probe);
      return isManaged;
    });
  }

  // The child of the root that holds the window.
  xcb_window_t frameOf(xcb_window_t window) {
    const auto question = xcb_query_tree(connection_, window);
    const auto tree = owned(xcb_query_tree_reply(connection_, question, nullptr));
    return !tree || tree->parent == root_ ? window : frameOf(tree->parent);
  }
  // The children of the root that are on screen, back to front.
  std::vector<xcb_window_t> viewable() {
    const auto list = xcb_query_tree(connection_, root_);
    const auto tree = owned(xcb_query_tree_reply(connection_, list, nullptr));
    std::vector<xcb_window_t> all(xcb_query_tree_children(tree.get()),
                                  xcb_query_tree_children(tree.get()) + tree->children_len);
    std::erase_if(all, [&](xcb_window_t window) {
      const auto question = xcb_get_window_attributes(connection_, window);
      const auto about = owned(xcb_get_window_attributes_reply(connection_, question, nullptr));
      return !about || about->map_state != XCB_MAP_STATE_VIEWABLE;
    });
    return all;
  }
  // Its rectangle with the border, as the server knows it.
  Rect outerFrame(xcb_window_t window) {
    const auto question = xcb_get_geometry(connection_, frameOf(window));
    const auto g = owned(xcb_get_geometry_reply(connection_, question, nullptr));
    const double borders = 2.0 * g->border_width;
    return {double(g->x), double(g->y), g->width + borders, g->height + borders};
  }

 private:
  void set(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const auto& values) {
    done(xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, type,
                             8 * sizeof(values[0]), uint32_t(values.size()), values.data()));
  }

  xcb_connection_t* connection_;
  xcb_window_t root_;
};

// A test with a server of its own and a client of it.
class XTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!canRunDesktop()) GTEST_SKIP() << "needs Xvfb and openbox";
    signal(SIGPIPE, SIG_IGN);
    server.emplace();
    connect();
  }
  void connect() { client = std::make_unique<XClient>(server->display()); }
  void startWindowManager() {
    server->startWindowManager();
    ASSERT_TRUE(client->awaitWindowManager());
  }

  std::optional<PrivateXServer> server;
  std::unique_ptr<XClient> client;
};

}  // namespace velmora::test
