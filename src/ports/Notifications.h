#pragma once

#include <string>

namespace velmora {

// Notices on the user's desktop. Failures are ignored: the clock goes on.
class Notifications {
 public:
  virtual ~Notifications() = default;
  virtual void requestAuthorization() = 0;
  // Shown at once, with the default sound.
  virtual void post(const std::string& title, const std::string& body) = 0;
};

}  // namespace velmora
