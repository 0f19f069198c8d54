#pragma once

#include <string_view>

namespace velmora {

// The system log. Safe from every thread.
class Log {
 public:
  virtual ~Log() = default;
  // For the developer; off unless asked for. Callers build costly texts only when it is on.
  virtual bool debugEnabled() const = 0;
  virtual void debug(std::string_view category, std::string_view message) = 0;
  // For the user who looks why something is not as expected.
  virtual void notice(std::string_view message) = 0;
};

}  // namespace velmora
