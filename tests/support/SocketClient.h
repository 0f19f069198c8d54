#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace velmora {

// A client on a raw socket that never blocks, so that one thread can be both ends.
class SocketClient {
 public:
  // Null when nobody listens there.
  static std::shared_ptr<SocketClient> toPort(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return to(AF_INET, reinterpret_cast<sockaddr*>(&address), sizeof address);
  }
  static std::shared_ptr<SocketClient> toPath(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return to(AF_UNIX, reinterpret_cast<sockaddr*>(&address), sizeof address);
  }
  ~SocketClient() { close(fd_); }
  SocketClient(const SocketClient&) = delete;
  SocketClient& operator=(const SocketClient&) = delete;

  // As many of the bytes as the system takes now.
  size_t send(std::string_view bytes) {
    const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return n > 0 ? static_cast<size_t>(n) : 0;
  }
  void endSending() { shutdown(fd_, SHUT_WR); }
  // All that came so far.
  const std::string& received() {
    std::array<char, 1 << 16> buffer;
    for (;;) {
      const ssize_t n = recv(fd_, buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (n > 0) received_.append(buffer.data(), static_cast<size_t>(n));
      if (n > 0) continue;
      isEnded_ = isEnded_ || n == 0 || errno != EAGAIN;
      wasReset_ = wasReset_ || (n < 0 && errno == ECONNRESET);
      return received_;
    }
  }
  // Whether the server's side is over, in whatever way.
  bool isEnded() { return received(), isEnded_; }
  bool wasReset() { return received(), wasReset_; }
  int fd() const { return fd_; }

 private:
  explicit SocketClient(int fd) : fd_(fd) {}
  static std::shared_ptr<SocketClient> to(int family, const sockaddr* address, socklen_t size) {
    std::shared_ptr<SocketClient> client(
        new SocketClient(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)));
    return connect(client->fd_, address, size) == 0 ? client : nullptr;
  }
  int fd_;
  std::string received_;
  bool isEnded_ = false;
  bool wasReset_ = false;
};

// A port that was free a moment ago.
inline uint16_t freePort() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  bind(fd, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size);
  close(fd);
  return ntohs(address.sin_port);
}

}  // namespace velmora
