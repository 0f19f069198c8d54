#pragma once

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "base/Json.h"
#include "platform/linux/BrowserLink.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora::sim {

struct FakeXWindows final : XWindowSource {
  const std::vector<X11Window>& windows() const override { return list; }
  uint64_t generation() const override { return count; }
  X11Window& add(int32_t pid, Rect frame, const std::string& title = "") {
    ++count;
    X11Window window;
    window.id = static_cast<uint32_t>(count);
    window.pid = pid;
    window.client = window.clientWithoutShadow = window.frame = frame;
    window.title = title;
    window.managed = window.onScreen = true;
    return list.emplace_back(std::move(window));
  }
  std::vector<X11Window> list;
  uint64_t count = 0;
};

// A window as an extension tells of it.
struct ToldWindow {
  int id = 1;
  Rect bounds{0, 0, 800, 600};
  int tab = 1;
  std::string address = "";
  std::string title = "";
  std::string state = "normal";
  bool isFocused = false;
  bool isPrivate = false;

  json::Value value() const {
    const json::Value::Object shown{{"id", tab}, {"address", address}, {"title", title}};
    return json::Value::Object{{"id", id},
                               {"kind", "normal"},
                               {"state", state},
                               {"focused", isFocused},
                               {"private", isPrivate},
                               {"left", bounds.x},
                               {"top", bounds.y},
                               {"width", bounds.width},
                               {"height", bounds.height},
                               {"tab", shown}};
  }
};

// The host process of one extension, as it looks from the socket.
class FakeHost {
 public:
  FakeHost(Lane& loop, std::shared_ptr<FakeListeners::Client> client)
      : loop_(loop), client_(std::move(client)) {}

  static std::string frame(std::string_view json) {
    const auto length = static_cast<uint32_t>(json.size());
    std::string bytes(sizeof length, '\0');
    std::memcpy(bytes.data(), &length, sizeof length);
    return bytes.append(json);
  }
  // What is sent in one turn leaves in one piece.
  void sendBytes(std::string_view bytes) {
    if (outgoing_->empty())
      loop_.post(
          [client = client_, outgoing = outgoing_] { client->send(std::exchange(*outgoing, {})); });
    *outgoing_ += bytes;
  }
  void say(std::string_view json) { sendBytes(frame(json)); }
  void sayHello(const std::string& kind = "chromium") {
    say(R"({"type":"host","protocol":1,"pid":7,"browserPid":8,"origin":"x"})");
    say(R"({"type":"hello","protocol":1,"browser":")" + kind +
        R"(","version":"150.1","extension":"0.2","privateAllowed":true})");
  }
  void sayWindows(const std::vector<ToldWindow>& windows, std::optional<int64_t> request = {}) {
    json::Value::Array list;
    for (const auto& window : windows) list.push_back(window.value());
    json::Value::Object message{{"type", "windows"}, {"windows", list}};
    if (request) message.emplace_back("request", *request);
    say(json::dump(message));
  }
  void sayTab(int window, int tab, const std::string& address) {
    say(json::dump(json::Value::Object{{"type", "tab"},
                                       {"windowId", window},
                                       {"tabId", tab},
                                       {"address", address},
                                       {"why", "start"}}));
  }
  void close() {
    loop_.post([client = client_] { client->close(); });
  }
  void stall() { client_->stall(true); }
  bool isDropped() const { return client_->isClosedByServer; }

  // What it was told since the last call.
  std::vector<json::Value> heard() {
    std::vector<json::Value> messages;
    for (auto& bytes = client_->received; bytes.size() >= 4;) {
      uint32_t length = 0;
      std::memcpy(&length, bytes.data(), sizeof length);
      messages.push_back(json::parse(bytes.substr(4, length)).value());
      bytes.erase(0, 4 + length);
    }
    return messages;
  }
  // The numbers of the lists that it was asked for since the last call.
  std::vector<int64_t> requests() {
    std::vector<int64_t> numbers;
    for (const auto& message : heard())
      if (*message.find("type") == json::Value("list"))
        numbers.push_back(message.find("request")->asInteger().value());
    return numbers;
  }

 private:
  Lane& loop_;
  std::shared_ptr<FakeListeners::Client> client_;
  std::shared_ptr<std::string> outgoing_ = std::make_shared<std::string>();
};

// A browser link with hosts that a test scripts. Processes are browsers of a canonical identity;
// the host of process n is process n + 10000.
struct LinkBench {
  LinkBench() {
    link = std::make_unique<BrowserLink>(
        loop, x, log,
        BrowserLink::Processes{[](int32_t host) { return host - 10000; },
                               [this](int32_t pid) { return identities[pid]; }});
    std::string error;
    listener = listeners.local(
        "browser", loop,
        {[] {}, [] {},
         [this](std::shared_ptr<Connection> stream) { link->accept(stream, nextHost); }},
        error);
    world.settle();
  }
  FakeHost connect(int32_t pid, const std::string& identity) {
    identities[pid] = identity;
    nextHost = pid + 10000;
    FakeHost host(loop, listeners.connect("browser"));
    world.settle();
    return host;
  }

  World world;
  Lane loop{world};
  FakeXWindows x;
  FakeLog log;
  FakeListeners listeners;
  std::map<int32_t, std::string> identities;
  int32_t nextHost = 0;
  std::unique_ptr<BrowserLink> link;
  std::unique_ptr<Listener> listener;
};

}  // namespace velmora::sim
