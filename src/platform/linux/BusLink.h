#pragma once

#include <functional>
#include <memory>

#include "base/Date.h"

struct sd_bus;

namespace velmora {

class EventLoop;

// This user's place on the session bus, which is looked for again when there is none or it was
// lost. The loop's thread only.
//
// Calls, matches and objects are added in `opened` and belong to the bus: they end with it, without
// a word, when it is lost or when this object goes.
class BusLink {
 public:
  struct Handlers {
    std::function<void(sd_bus*)> opened;
    std::function<void()> lost;
  };
  // Never calls a handler from the constructor.
  BusLink(EventLoop& loop, Handlers handlers, Seconds reconnectInterval = Seconds(20));
  ~BusLink();
  BusLink(const BusLink&) = delete;
  BusLink& operator=(const BusLink&) = delete;

  // Null while there is none.
  sd_bus* bus() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
