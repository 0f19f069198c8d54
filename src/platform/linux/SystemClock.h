#pragma once

#include <string>

#include "ports/Clock.h"

namespace velmora {

// The clocks of this machine. One thread.
class SystemClock : public Clock {
 public:
  Date now() const override;
  Monotonic monotonic() const override;
  // What /etc/localtime links to, else UTC. A change is seen at the next call; without one a call
  // costs one system call. Not $TZ, with which every program that somebody starts may have a place
  // of its own: missions have the user's.
  Zone zone() const override;

 private:
  mutable std::string known_;  // the link that the cached zone was made from
  mutable Zone zone_ = Zone::utc();
};

// The zone name in a path such as /usr/share/zoneinfo/Europe/Paris; empty when there is none.
std::string zoneNameInPath(const std::string& path);

}  // namespace velmora
