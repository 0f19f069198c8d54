#pragma once

#include <sys/inotify.h>
#include <unistd.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "FileDescriptor.h"

namespace velmora::browserhost {

// Wakes its owner when a socket file may have appeared. Watches the folder of the socket, or the
// nearest folder above it that exists. What appears after construction or after changed() is
// never missed; what was there before is for the owner to try.
class SocketWatch {
 public:
  explicit SocketWatch(const std::string& socketPath)
      : path_(socketPath), inotify_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    arm();
  }

  // Readable when there is something for changed().
  int fd() const { return inotify_.get(); }

  // False if the system has no watch to spare: then only time can tell.
  bool armed() const { return watch_ >= 0; }

  // Takes what has happened. True if it concerns the socket or a folder on the way to it.
  bool changed() {
    alignas(inotify_event) char events[4096];
    bool concerned = false;
    ssize_t size = 0;
    while ((size = read(inotify_.get(), events, sizeof events)) > 0) {
      for (const char* at = events; at < events + size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(at);
        concerned = concerned || concerns(*event);
        at += sizeof(inotify_event) + event->len;
      }
    }
    if (concerned) arm();
    return concerned;
  }

 private:
  static std::string_view parentOf(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string_view::npos ? "/" : path.substr(0, slash);
  }

  // The part of the path that leads from `folder` one step towards the socket.
  std::string_view stepBelow(std::string_view folder) const {
    const std::size_t end = path_.find('/', folder.size() + 1);
    return std::string_view(path_).substr(0, end);
  }

  bool concerns(const inotify_event& event) const {
    if ((event.mask & IN_Q_OVERFLOW) != 0) return true;
    if (event.wd != watch_) return false;  // left over from a watch we gave up
    return event.len == 0 || awaited_ == event.name;
  }

  int watch(std::string_view folder) {
    // Attributes too: a folder or socket may become ours to use some time after it was made. That
    // the folder itself is gone is always told.
    return inotify_add_watch(inotify_.get(), std::string(folder).c_str(),
                             IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_MOVE_SELF | IN_ONLYDIR);
  }

  void arm() {
    const int former = watch_;
    std::string_view folder = parentOf(path_);
    while ((watch_ = watch(folder)) < 0 && folder != "/") folder = parentOf(folder);
    // A folder made meanwhile sent no news to the watch above it: step down as far as it goes.
    while (watch_ >= 0 && folder != parentOf(path_)) {
      const int lower = watch(stepBelow(folder));
      if (lower < 0) break;
      if (lower != watch_) inotify_rm_watch(inotify_.get(), watch_);
      watch_ = lower;
      folder = stepBelow(folder);
    }
    if (former >= 0 && former != watch_) inotify_rm_watch(inotify_.get(), former);
    const std::string_view next = stepBelow(folder);
    awaited_ = next.substr(next.rfind('/') + 1);
  }

  const std::string path_;
  FileDescriptor inotify_;
  int watch_ = -1;
  std::string awaited_;  // the name whose appearance in the watched folder matters
};

}  // namespace velmora::browserhost
