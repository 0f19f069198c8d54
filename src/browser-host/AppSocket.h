#pragma once

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "FileDescriptor.h"

namespace velmora::browserhost {

// Where the application listens: below the user's runtime folder, or what stands for one where
// the session has none.
inline std::string appSocketPath() {
  const std::string uid = std::to_string(getuid());
  const char* given = std::getenv("XDG_RUNTIME_DIR");
  const std::string login = "/run/user/" + uid;
  struct stat folder {};
  std::string base = "/tmp/velmora-" + uid;
  if (given != nullptr && given[0] == '/')
    base = given;
  else if (stat(login.c_str(), &folder) == 0 && S_ISDIR(folder.st_mode))
    base = login;
  return base + "/velmora/browser.sock";
}

struct Connection {
  enum class Outcome {
    Made,
    Absent,  // nobody we would talk to listens there
    Busy,    // somebody listens but takes no caller just now
  };
  Outcome outcome = Outcome::Absent;
  FileDescriptor socket;
};

// A socket in a shared folder may be anyone's: only our own user hears where we browse.
inline bool peerIsOurUser(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == getuid();
}

// Connects without ever waiting; the socket is non-blocking.
inline Connection connectToApp(const std::string& path) {
  using enum Connection::Outcome;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) return {};
  path.copy(address.sun_path, path.size());

  FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!socket) return {Busy, {}};
  if (connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return {errno == EAGAIN || errno == EINTR ? Busy : Absent, {}};
  if (!peerIsOurUser(socket.get())) return {};
  return {Made, std::move(socket)};
}

}  // namespace velmora::browserhost
