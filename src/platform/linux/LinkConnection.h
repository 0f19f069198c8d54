#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/linux/LinkProtocol.h"
#include "ports/Listeners.h"
#include "ports/Log.h"

namespace velmora {

// One host's stream as messages. Belongs to the stream's queue.
class LinkConnection : public std::enable_shared_from_this<LinkConnection> {
 public:
  // What may wait for a host that reads slowly.
  static constexpr size_t kMostQueuedBytes = 256u << 10;

  struct Handlers {
    // Something arrived; nothing when it makes no sense, which the stream survives.
    std::function<void(std::optional<LinkMessage>)> message;
    // The stream has ended, or announced a message beyond all bounds. Told once, then no more.
    std::function<void()> lost;
    // All that was sent is on its way.
    std::function<void()> drained;
  };

  // `log` outlives this object.
  LinkConnection(std::shared_ptr<Connection> stream, Log& log, Handlers handlers);
  LinkConnection(const LinkConnection&) = delete;
  LinkConnection& operator=(const LinkConnection&) = delete;

  // Begins to listen. Handlers never run inside the call.
  void start();
  // False when too much waits already: then the stream is over, which `lost` is not told.
  bool send(std::string_view frame);
  // Bytes sent and not yet on their way.
  size_t waiting() const { return inFlight_ + queued_.size(); }
  // Ends the stream; no handler runs any more.
  void cancel();

 private:
  void receive();
  void take(std::string_view bytes);
  void sendQueued();

  std::shared_ptr<Connection> stream_;  // empty once it is over
  Log& log_;
  Handlers handlers_;
  LinkFrames frames_;
  std::string queued_;
  size_t inFlight_ = 0;  // bytes that the stream has taken and not yet sent
};

}  // namespace velmora
