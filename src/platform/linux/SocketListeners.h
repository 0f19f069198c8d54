#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ports/Listeners.h"

namespace velmora {

class EventLoop;
class WorkerQueue;

// A queue whose loop can watch sockets.
struct SocketLane {
  SocketLane(EventLoop& mainLoop);
  SocketLane(WorkerQueue& worker);
  SerialQueue* queue;
  EventLoop* loop;
};

// The bounds within which a peer is served.
struct SocketLimits {
  // Further peers wait in the system's backlog, or, where silence has a limit, take the place of
  // the one that has been silent the longest.
  static constexpr size_t kConnections = 64;
  // A loopback peer that sends or accepts nothing for so long while we wait for it is lost.
  static constexpr Seconds kLoopbackSilence{10.0};
  // After cancel(): how long, and for how many bytes, a peer that still sends is listened to so
  // that its system does not throw our last answer away. Bytes still being sent have this long too.
  static constexpr Seconds kLingerTime{2.0};
  static constexpr size_t kLingerBytes = 16u << 20;
  // The most that one receive() hands over.
  static constexpr size_t kReceiveBytes = 64u << 10;
  // The pause before another try when the system is out of descriptors or memory.
  static constexpr Seconds kAcceptPause{0.25};
};

// A connection of this machine's sockets. As all connections it belongs to its listener's queue;
// it also dies with that queue's loop, its callbacks dropped.
class SocketConnection : public Connection {
 public:
  struct Stream;
  SocketConnection(std::weak_ptr<Stream> stream, int32_t peerPid)
      : stream_(std::move(stream)), peerPid_(peerPid) {}
  ~SocketConnection() override { cancel(); }
  SocketConnection(const SocketConnection&) = delete;
  SocketConnection& operator=(const SocketConnection&) = delete;

  // A new request replaces one that still waits, whose callback is dropped.
  void receive(size_t most, std::function<void(std::optional<std::string>)> done) override;
  void send(std::string bytes, std::function<void()> done) override;
  // Bytes handed to send() that are still on their way are sent within the linger time.
  void cancel() override;

  // The process that connected, as the system saw it at that moment; 0 for TCP.
  int32_t peerPid() const { return peerPid_; }

 private:
  std::weak_ptr<Stream> stream_;  // owned by the loop; gone once cancelled
  int32_t peerPid_;
};

struct SocketListenerHandlers {
  std::function<void()> ready;
  std::function<void()> failed;
  std::function<void(std::shared_ptr<SocketConnection>)> accepted;
};

// Listeners are made, and dropped, on the thread of the queue given, which must be one of the
// lanes.
class SocketListeners : public Listeners {
 public:
  // Local sockets are <folder>/<name>.sock; the folder exists and is this user's own. The lanes
  // outlive this object.
  SocketListeners(std::string folder, std::vector<SocketLane> lanes);

  std::unique_ptr<Listener> loopback(uint16_t port, SerialQueue& queue, ListenerHandlers handlers,
                                     std::string& error) override;
  // A socket that somebody still answers on is not replaced: `failed` is told.
  std::unique_ptr<Listener> local(std::string_view name, SerialQueue& queue,
                                  ListenerHandlers handlers, std::string& error) override;
  std::unique_ptr<Listener> local(std::string_view name, SerialQueue& queue,
                                  SocketListenerHandlers handlers, std::string& error);

  // Where the local socket of that name is, for those who connect.
  std::string path(std::string_view name) const;

 private:
  EventLoop* loopOf(const SerialQueue& queue) const;

  std::string folder_;
  std::vector<SocketLane> lanes_;
};

}  // namespace velmora
