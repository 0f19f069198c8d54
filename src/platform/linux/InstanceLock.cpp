#include "platform/linux/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmora {

std::optional<InstanceLock> InstanceLock::acquire(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return std::nullopt;
  InstanceLock lock(fd);
  for (int tries = 5; tries > 0; --tries) {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) return lock;
    usleep(20'000);
  }
  return std::nullopt;
}

bool InstanceLock::isHeld(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  const bool isFree = flock(fd, LOCK_SH | LOCK_NB) == 0;
  close(fd);
  return !isFree;
}

// The file stays: removing it would let two processes lock two files of one name.
InstanceLock::~InstanceLock() {
  if (fd_ >= 0) close(fd_);
}

}  // namespace velmora
