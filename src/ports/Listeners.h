#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ports/RunLoop.h"

namespace velmora {

// One accepted stream. Lives on its listener's queue; dropping the last reference cancels it.
class Connection {
 public:
  virtual ~Connection() = default;
  // Hands over between 1 and `most` bytes as soon as there are any, or nothing once the peer has
  // ended its side, was lost, or stayed silent beyond the listener's patience. One at a time.
  virtual void receive(size_t most, std::function<void(std::optional<std::string>)> done) = 0;
  // `done` is told once all bytes are with the system, or the peer is lost. One at a time.
  virtual void send(std::string bytes, std::function<void()> done) = 0;
  // Ends the stream. What was sent still arrives: unread bytes of the peer are drained for a
  // bounded while first. Pending callbacks are dropped.
  virtual void cancel() = 0;
};

class Listener {
 public:
  virtual ~Listener() = default;  // stops listening; connections live on
};

struct ListenerHandlers {
  std::function<void()> ready;
  std::function<void()> failed;  // later, e.g. since the port is taken
  std::function<void(std::shared_ptr<Connection>)> accepted;
};

// Streams from this machine. Handlers run on the queue given, never inside the call; listeners are
// made and dropped on that queue's thread.
class Listeners {
 public:
  virtual ~Listeners() = default;
  // TCP on 127.0.0.1 only. Nothing, with the reason in `error`, when no listener can be made.
  virtual std::unique_ptr<Listener> loopback(uint16_t port, SerialQueue& queue,
                                             ListenerHandlers handlers, std::string& error) = 0;
  // A local socket of this name that only this user can reach: other users' connections are
  // dropped before `accepted`. Replaces a stale one.
  virtual std::unique_ptr<Listener> local(std::string_view name, SerialQueue& queue,
                                          ListenerHandlers handlers, std::string& error) = 0;
};

}  // namespace velmora
