#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "base/Property.h"
#include "ports/Listeners.h"
#include "ports/Log.h"
#include "ports/RunLoop.h"

namespace velmora {

// Serves the wall: one page on the loopback address, the same bytes whatever is asked. All network
// work happens on `queue`; start() and the state belong to the main lane.
class BlockPageServer {
 public:
  static constexpr uint16_t port = 52700;
  enum class State { idle, serving, retrying, failed };

  BlockPageServer(Listeners& listeners, SerialQueue& queue, RunLoop& mainLoop, Log& log,
                  std::string page);
  ~BlockPageServer();
  BlockPageServer(const BlockPageServer&) = delete;
  BlockPageServer& operator=(const BlockPageServer&) = delete;

  // May be called any number of times. There is no stop: the wall stays as long as the program.
  void start();
  const Property<State>& state() const { return *state_; }

  // The whole answer to one request's first bytes.
  static std::string response(std::string_view request, std::string_view page);

 private:
  struct Core;
  SerialQueue& queue_;
  std::shared_ptr<Property<State>> state_;
  std::shared_ptr<Core> core_;
};

std::string_view rawText(BlockPageServer::State state);

}  // namespace velmora
