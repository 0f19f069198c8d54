#pragma once

#include <optional>
#include <string>
#include <utility>

namespace velmora {

// Held by the one resident program of a user. The system frees it when the process ends, however it
// ends; programs that the process starts do not inherit it.
class InstanceLock {
 public:
  // Nothing when another process holds the lock, or when the file can't be made.
  static std::optional<InstanceLock> acquire(const std::string& path);
  // Whether some process holds it now. Only asks, so that nobody who takes it meanwhile fails.
  static bool isHeld(const std::string& path);
  InstanceLock(InstanceLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  InstanceLock& operator=(InstanceLock&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~InstanceLock();

 private:
  explicit InstanceLock(int fd) : fd_(fd) {}
  int fd_;
};

}  // namespace velmora
