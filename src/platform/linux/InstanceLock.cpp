#include "platform/linux/InstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmora {

std::optional<InstanceLock> InstanceLock::acquire(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return std::nullopt;
  InstanceLock lock(fd);
  if (flock(fd, LOCK_EX | LOCK_NB) != 0) return std::nullopt;
  return lock;
}

// The file stays: removing it would let two processes lock two files of one name.
InstanceLock::~InstanceLock() {
  if (fd_ >= 0) close(fd_);
}

}  // namespace velmora
