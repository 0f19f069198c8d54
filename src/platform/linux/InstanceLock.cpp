#include "platform/linux/InstanceLock.h"

#include <fcntl.h>
#include <unistd.h>

namespace velmora {
namespace {

// On the whole file, and of the open file, not of the process: it goes with the last descriptor.
bool control(int fd, int command, struct flock& lock) {
  lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  return fcntl(fd, command, &lock) == 0;
}

}  // namespace

std::optional<InstanceLock> InstanceLock::acquire(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return std::nullopt;
  InstanceLock held(fd);
  struct flock lock;
  if (!control(fd, F_OFD_SETLK, lock)) return std::nullopt;
  return held;
}

bool InstanceLock::isHeld(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return false;
  struct flock lock;
  const bool isKnown = control(fd, F_OFD_GETLK, lock);
  close(fd);
  return isKnown && lock.l_type != F_UNLCK;
}

// The file stays: removing it would let two processes lock two files of one name.
InstanceLock::~InstanceLock() {
  if (fd_ >= 0) close(fd_);
}

}  // namespace velmora
