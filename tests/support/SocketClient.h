#pragma once

#include <arpa/inet.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <string>

namespace velmora {

// A client on a raw socket that never blocks, so that one thread can be both ends.
class SocketClient {
 public:
  ~SocketClient() { close(fd_); }
  SocketClient(SocketClient&&) = delete;

  // Null when nobody listens there.
  static std::shared_ptr<SocketClient> toPort(uint16_t port) {
    return to(sockaddr_in{AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}});
  }
  static std::shared_ptr<SocketClient> toPath(const std::string& path) {
    sockaddr_un address{AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return to(address);
  }

  // As many of the bytes as the system takes now.
  size_t send(std::string_view bytes) {
    const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    return n > 0 ? n : 0;
  }
  void endSending() { shutdown(fd_, SHUT_WR); }
  // All that came so far.
  const std::string& received() {
    char buffer[1 << 16];
    ssize_t n = 0;
    while ((n = recv(fd_, buffer, sizeof buffer, MSG_DONTWAIT)) > 0) received_.append(buffer, n);
    if (end_ == EAGAIN) end_ = n == 0 ? 0 : errno;
    return received_;
  }
  // Whether the server's side is over, in whatever way.
  bool isEnded() { return received(), end_ != EAGAIN; }
  bool wasReset() { return received(), end_ == ECONNRESET; }
  int fd() const { return fd_; }

  explicit SocketClient(int family) : fd_(socket(family, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}

 private:
  static std::shared_ptr<SocketClient> to(const auto& address) {
    const auto* raw = reinterpret_cast<const sockaddr*>(&address);
    auto client = std::make_shared<SocketClient>(raw->sa_family);
    return connect(client->fd_, raw, sizeof address) == 0 ? client : nullptr;
  }

  const int fd_;
  int end_ = EAGAIN;  // the error that ended the stream, 0 for none
  std::string received_;
};

// A port that was free a moment ago.
inline uint16_t freePort() {
  const SocketClient client(AF_INET);
  sockaddr_in address{};
  socklen_t size = sizeof address;
  listen(client.fd(), 1);
  getsockname(client.fd(), reinterpret_cast<sockaddr*>(&address), &size);
  return ntohs(address.sin_port);
}

}  // namespace velmora
