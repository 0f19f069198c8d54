#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/Geometry.h"

namespace velmora::test {

// A program of the test's own, killed with it.
class Child {
 public:
  Child() = default;
  // `kept` is handed on to the program as its descriptor 3.
  explicit Child(const std::vector<std::string>& arguments, const std::string& display = "",
                 int kept = -1) {
    std::vector<char*> argv;
    for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (!display.empty()) setenv("DISPLAY", display.c_str(), 1);
    const int null = open("/dev/null", O_RDWR);
    for (int fd = 0; fd < 3; ++fd) dup2(null, fd);
    if (kept >= 0) dup2(kept, 3);
    if (kept == 3) fcntl(3, F_SETFD, 0);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  Child(Child&& other) noexcept : pid_(std::exchange(other.pid_, -1)) {}
  Child& operator=(Child&& other) noexcept {
    kill();
    pid_ = std::exchange(other.pid_, -1);
    return *this;
  }
  ~Child() { kill(); }

  pid_t pid() const { return pid_; }
  void signal(int number) const { ::kill(pid_, number); }
  void kill() {
    if (pid_ <= 0) return;
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }

 private:
  pid_t pid_ = -1;
};

inline bool hasProgram(const std::string& name) {
  for (const char* folder : {"/usr/bin/", "/usr/local/bin/", "/bin/"}) {
    if (access((folder + name).c_str(), X_OK) == 0) return true;
  }
  return false;
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
  // `number` of an earlier server that should come back; -1 picks one.
  explicit PrivateXServer(int number = -1) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    std::vector<std::string> arguments{"Xvfb",         "-displayfd", "3",   "-screen", "0",
                                       "1280x1024x24", "-nolisten",  "tcp", "-noreset"};
    if (number >= 0) arguments.insert(arguments.begin() + 1, ":" + std::to_string(number));
    server_ = Child(arguments, "", ends[1]);
    close(ends[1]);
    std::string text;
    for (pollfd ready{ends[0], POLLIN, 0}; poll(&ready, 1, 10000) > 0;) {
      char c = 0;
      if (read(ends[0], &c, 1) != 1 || c == '\n') break;
      text += c;
    }
    close(ends[0]);
    number_ = text.empty() ? number : std::atoi(text.c_str());
  }

  std::string display() const { return ":" + std::to_string(number_); }
  int number() const { return number_; }
  Child& server() { return server_; }
  void startWindowManager() { manager_ = Child({"openbox", "--sm-disable"}, display()); }
  void kill() {
    manager_.kill();
    server_.kill();
    unlink(("/tmp/.X" + std::to_string(number_) + "-lock").c_str());
    unlink(("/tmp/.X11-unix/X" + std::to_string(number_)).c_str());
  }
  ~PrivateXServer() { kill(); }

 private:
  Child server_, manager_;
  int number_ = -1;
};

// How a window is made.
struct XLook {
  Rect frame{100, 100, 300, 200};
  bool isOverride = false;
  bool isInputOnly = false;
  std::string type;  // of _NET_WM_WINDOW_TYPE_
  std::string instance = "box", windowClass = "Box";
  std::string title = "a box";
};

// An application that opens windows, in the test's own process.
class XClient {
 public:
  using Look = XLook;

  explicit XClient(const std::string& display) {
    int number = 0;
    connection_ = xcb_connect(display.c_str(), &number);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
  }
  XClient(const XClient&) = delete;
  XClient& operator=(const XClient&) = delete;
  ~XClient() { xcb_disconnect(connection_); }

  xcb_connection_t* raw() const { return connection_; }
  xcb_window_t root() const { return root_; }

  xcb_atom_t atom(const std::string& name) {
    auto* reply = xcb_intern_atom_reply(
        connection_,
        xcb_intern_atom(connection_, false, static_cast<uint16_t>(name.size()), name.c_str()),
        nullptr);
    const xcb_atom_t out = reply ? reply->atom : 0;
    std::free(reply);
    return out;
  }

  xcb_window_t make(const Look& look) {
    const xcb_window_t window = xcb_generate_id(connection_);
    const uint32_t override = look.isOverride;
    xcb_create_window(
        connection_, 0, window, root_, static_cast<int16_t>(look.frame.x),
        static_cast<int16_t>(look.frame.y), static_cast<uint16_t>(look.frame.width),
        static_cast<uint16_t>(look.frame.height), 0,
        look.isInputOnly ? XCB_WINDOW_CLASS_INPUT_ONLY : XCB_WINDOW_CLASS_INPUT_OUTPUT,
        XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &override);
    if (!look.type.empty())
      setAtom(window, "_NET_WM_WINDOW_TYPE", "_NET_WM_WINDOW_TYPE_" + look.type);
    const std::string names = look.instance + '\0' + look.windowClass + '\0';
    setText(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, names);
    setTitle(window, look.title);
    const uint32_t hints[18] = {1 | 2};  // the user chose position and size
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NORMAL_HINTS,
                        XCB_ATOM_WM_SIZE_HINTS, 32, 18, hints);
    return window;
  }
  xcb_window_t open(const Look& look = {}) {
    const xcb_window_t window = make(look);
    xcb_map_window(connection_, window);
    sync();
    return window;
  }

  void setTitle(xcb_window_t window, const std::string& title) {
    setText(window, atom("_NET_WM_NAME"), atom("UTF8_STRING"), title);
  }
  void setCardinals(xcb_window_t window, const std::string& property,
                    const std::vector<uint32_t>& values) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property),
                        XCB_ATOM_CARDINAL, 32, static_cast<uint32_t>(values.size()), values.data());
    sync();
  }
  void setAtom(xcb_window_t window, const std::string& property, const std::string& value) {
    const xcb_atom_t values[] = {atom(value)};
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, atom(property), XCB_ATOM_ATOM,
                        32, 1, values);
  }

  // Asks the window manager, as a pager does.
  void request(xcb_window_t window, const std::string& message, std::vector<uint32_t> data) {
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = atom(message);
    for (size_t i = 0; i < data.size(); ++i) event.data.data32[i] = data[i];
    xcb_send_event(connection_, false, root_,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&event));
    sync();
  }
  void minimise(xcb_window_t window) { request(window, "WM_CHANGE_STATE", {3}); }
  void activate(xcb_window_t window) { request(window, "_NET_ACTIVE_WINDOW", {2}); }
  void sendToWorkspace(xcb_window_t window, uint32_t workspace) {
    request(window, "_NET_WM_DESKTOP", {workspace, 2});
  }
  void addState(xcb_window_t window, const std::string& state) {
    request(window, "_NET_WM_STATE", {1, atom("_NET_WM_STATE_" + state), 0, 2});
  }
  void stack(xcb_window_t window, xcb_stack_mode_t mode) {
    const uint32_t value = mode;
    xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_STACK_MODE, &value);
    sync();
  }
  void move(xcb_window_t window, int x, int y) {
    const uint32_t values[] = {static_cast<uint32_t>(x), static_cast<uint32_t>(y)};
    xcb_configure_window(connection_, window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
    sync();
  }
  void unmap(xcb_window_t window) {
    xcb_unmap_window(connection_, window);
    sync();
  }
  void destroy(xcb_window_t window) {
    xcb_destroy_window(connection_, window);
    sync();
  }
  // Plays a compositing manager.
  xcb_window_t ownCompositorSelection() {
    const xcb_window_t owner = make({.isInputOnly = true});
    xcb_set_selection_owner(connection_, owner, atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    sync();
    return owner;
  }

  // The outer rectangle of the child of the root that holds the window, as the server knows it.
  Rect outerFrame(xcb_window_t window) {
    while (true) {
      auto* tree = xcb_query_tree_reply(connection_, xcb_query_tree(connection_, window), nullptr);
      if (!tree) return {};
      const xcb_window_t parent = tree->parent;
      std::free(tree);
      if (parent == root_) break;
      window = parent;
    }
    auto* g = xcb_get_geometry_reply(connection_, xcb_get_geometry(connection_, window), nullptr);
    if (!g) return {};
    const Rect out{double(g->x), double(g->y), double(g->width + 2 * g->border_width),
                   double(g->height + 2 * g->border_width)};
    std::free(g);
    return out;
  }
  bool hasProperty(xcb_window_t window, const std::string& name) {
    auto* reply = xcb_get_property_reply(
        connection_, xcb_get_property(connection_, false, window, atom(name), 0, 0, 1), nullptr);
    const bool out = reply && reply->type != XCB_ATOM_NONE;
    std::free(reply);
    return out;
  }
  // A manager that is just starting may miss a window, so several are tried.
  bool awaitWindowManager() {
    return eventually([&] {
      const xcb_window_t probe = open({.frame = {0, 0, 5, 5}, .title = "probe"});
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      const bool isManaged = hasProperty(probe, "WM_STATE");
      destroy(probe);
      return isManaged;
    });
  }
  // A request of an extension, for those that have no function of their own here.
  void send(const char* extension, uint8_t request, std::vector<uint32_t> words) {
    xcb_extension_t named{};
    named.name = extension;
    words.insert(words.begin(), 0);  // filled in by the library
    iovec parts[3]{{}, {}, {words.data(), words.size() * sizeof(uint32_t)}};
    const xcb_protocol_request_t protocol{1, &named, request, 0};
    const unsigned int sequence =
        xcb_send_request(connection_, XCB_REQUEST_CHECKED, parts + 2, &protocol);
    sync();  // whether or not the request has an answer, it is here now
    void* answer = nullptr;
    xcb_generic_error_t* error = nullptr;
    xcb_poll_for_reply(connection_, sequence, &answer, &error);
    EXPECT_EQ(error, nullptr) << extension << " failed with " << int(error->error_code);
    std::free(answer);
    std::free(error);
  }

  void sync() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
  }

 private:
  void setText(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
               const std::string& value) {
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                        static_cast<uint32_t>(value.size()), value.data());
    sync();
  }

  xcb_connection_t* connection_;
  xcb_window_t root_;
};

}  // namespace velmora::test
