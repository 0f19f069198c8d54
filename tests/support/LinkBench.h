#pragma once

#include <map>
#include <vector>

#include "base/Json.h"
#include "platform/linux/BrowserLink.h"
#include "platform/linux/LinkProtocol.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"
#include "platform/sim/World.h"

namespace velmora::sim {

struct FakeXWindows final : XWindowSource {
  const std::vector<X11Window>& windows() const override { return list; }
  uint64_t generation() const override { return list.size(); }
  X11Window& add(int32_t pid, Rect frame) {
    auto& window = list.emplace_back();
    window.id = static_cast<uint32_t>(list.size());
    window.pid = pid;
    window.client = window.clientWithoutShadow = window.frame = frame;
    window.managed = window.onScreen = true;
    return window;
  }
  Subscription onStale(std::function<void()> told) const override {
    return stale.subscribe([told = std::move(told)](bool) { told(); });
  }
  std::vector<X11Window> list;
  Signal<bool> stale;
};

// A window as an extension tells of it.
struct ToldWindow {
  int id = 1;
  Rect bounds{0, 0, 800, 600};
  int tab = 1;
  std::string address = "", title = "", state = "normal";
};

// The host process of one extension, as it looks from the socket.
struct FakeHost {
  static std::string frame(std::string_view json) {
    const auto length = static_cast<uint32_t>(json.size());
    return std::string(reinterpret_cast<const char*>(&length), sizeof length).append(json);
  }
  void say(std::string_view json) { client->send(frame(json)); }
  void sayHello() {
    say(R"({"type":"hello","protocol":1,"browser":"chromium","version":"150.1","extension":"0.2",)"
        R"("privateAllowed":true})");
  }
  // clang-format off
  void sayWindows(const std::vector<ToldWindow>& windows, json::Value request = {}) {
    using Object = json::Value::Object;
    json::Value::Array list;
    for (const auto& [id, b, tab, address, title, state] : windows)
      list.push_back(Object{
          {"id", id}, {"tab", Object{{"id", tab}, {"address", address}, {"title", title}}},
          {"left", b.x}, {"top", b.y}, {"width", b.width}, {"height", b.height}, {"state", state}});
    say(json::dump(Object{{"type", "windows"}, {"windows", list}, {"request", request}}));
  }
  // clang-format on
  void sayTab(int window, int tab, const std::string& address) {
    say(R"({"type":"tab","windowId":)" + std::to_string(window) + R"(,"tabId":)" +
        std::to_string(tab) + R"(,"address":")" + address + "\"}");
  }
  bool isDropped() const { return client->isClosedByServer; }

  // What it was told since the last call.
  std::vector<json::Value> heard() {
    LinkFrames frames;
    frames.append(std::exchange(client->received, ""));
    std::vector<json::Value> messages;
    while (const auto text = frames.next()) messages.push_back(json::parse(*text).value());
    return messages;
  }
  // The numbers of the lists that it was asked for since the last call.
  std::vector<int64_t> requests() {
    std::vector<int64_t> numbers;
    for (const auto& message : heard())
      if (const auto* number = message.find("request")) numbers.push_back(*number->asInteger());
    return numbers;
  }

  std::shared_ptr<FakeListeners::Client> client;
};

// A browser link with hosts that a test scripts. Processes are browsers of a canonical identity;
// the host of process n is process n + 10000.
struct LinkBench {
  FakeHost connect(int32_t pid, const std::string& identity) {
    identities[pid] = identity;
    const auto accept = [&](std::shared_ptr<Connection> s) { link->accept(s, pid + 10000); };
    const auto listener = listeners.local("browser", loop, {[] {}, [] {}, accept}, error);
    FakeHost host{listeners.connect("browser")};
    world.settle();
    return host;
  }

  World world;
  Lane loop{world};
  FakeXWindows x;
  FakeLog log;
  FakeListeners listeners;
  std::string error;
  std::map<int32_t, std::string> identities;
  std::unique_ptr<BrowserLink> link = std::make_unique<BrowserLink>(
      loop, x, log,
      BrowserLink::Processes{[](int32_t host) { return host - 10000; },
                             [this](int32_t pid) { return identities[pid]; }});
};

}  // namespace velmora::sim
