#include "platform/linux/SocketListeners.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/linux/EventLoop.h"
#include "platform/linux/WorkerQueue.h"

namespace velmora {
namespace {

using AwakeClock = std::chrono::steady_clock;

constexpr uint32_t kEdges = EPOLLIN | EPOLLOUT | EPOLLRDHUP | EPOLLET;
constexpr int kAcceptsPerTurn = 64;

bool again(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

// One accepted socket. The loop owns it through its watch, so that it ends with the loop at the
// latest and a callback that holds the connection keeps nothing alive beyond that.
struct SocketConnection::Stream : std::enable_shared_from_this<Stream> {
  Stream(EventLoop& l, int descriptor, std::optional<Seconds> patience, std::function<void()> ended)
      : loop(l), fd(descriptor), silence(patience), onEnd(std::move(ended)) {}
  ~Stream() { close(); }

  bool start();
  void receive(size_t most, std::function<void(std::optional<std::string>)> done);
  void send(std::string bytes, std::function<void()> done);
  void cancel();
  void abandon();

  EventLoop& loop;
  int fd;
  const std::optional<Seconds> silence;
  std::function<void()> onEnd;  // told once, when the stream no longer counts
  AwakeClock::time_point progress = AwakeClock::now();

 private:
  struct Receive {
    size_t most;
    std::function<void(std::optional<std::string>)> done;
  };
  struct Send {
    std::string bytes;
    size_t sent = 0;
    std::function<void()> done;
  };

  void pumpSoon();
  void pump();
  void pumpSend();
  void pumpReceive();
  void linger();
  void waitForPeer();
  void judgeSilence();
  bool pending() const { return receiving.has_value() || sending.has_value(); }
  void end();
  void close();

  std::optional<Receive> receiving;
  std::optional<Send> sending;
  bool pumping = false;
  bool lost = false;
  bool cancelled = false;
  bool finished = false;  // our side of the stream is shut
  size_t drained = 0;
  Subscription watch;
  Subscription timer;  // silence, then lingering
};

bool SocketConnection::Stream::start() {
  watch = loop.watch(fd, kEdges, [self = shared_from_this()](uint32_t) { self->pump(); });
  return static_cast<bool>(watch);
}

void SocketConnection::Stream::receive(size_t most,
                                       std::function<void(std::optional<std::string>)> done) {
  waitForPeer();
  receiving = Receive{std::clamp<size_t>(most, 1, SocketLimits::kReceiveBytes), std::move(done)};
  pumpSoon();
}

void SocketConnection::Stream::send(std::string bytes, std::function<void()> done) {
  waitForPeer();
  sending = Send{std::move(bytes), 0, std::move(done)};
  pumpSoon();
}

void SocketConnection::Stream::pumpSoon() {
  if (std::exchange(pumping, true)) return;
  loop.post([weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    self->pumping = false;
    self->pump();
  });
}

void SocketConnection::Stream::pump() {
  const auto self = shared_from_this();
  if (!cancelled) pumpSend();
  if (!cancelled) pumpReceive();
  if (cancelled) linger();
}

void SocketConnection::Stream::pumpSend() {
  if (!sending) return;
  while (!lost && sending->sent < sending->bytes.size()) {
    const ssize_t n = ::send(fd, sending->bytes.data() + sending->sent,
                             sending->bytes.size() - sending->sent, MSG_NOSIGNAL);
    if (n >= 0) {
      sending->sent += static_cast<size_t>(n);
      progress = AwakeClock::now();
    } else if (again(errno)) {
      return;
    } else if (errno != EINTR) {
      lost = true;
    }
  }
  const auto done = std::move(sending->done);
  sending.reset();
  if (done) done();
}

void SocketConnection::Stream::pumpReceive() {
  if (!receiving) return;
  std::array<char, SocketLimits::kReceiveBytes> buffer;
  ssize_t n = 0;
  if (!lost) {
    do n = recv(fd, buffer.data(), receiving->most, 0);
    while (n < 0 && errno == EINTR);
    if (n < 0 && again(errno)) return;
  }
  const auto done = std::move(receiving->done);
  receiving.reset();
  progress = AwakeClock::now();
  if (n > 0)
    done(std::string(buffer.data(), static_cast<size_t>(n)));
  else
    done(std::nullopt);
}

// Silence counts from the moment at which something is expected of the peer.
void SocketConnection::Stream::waitForPeer() {
  if (!silence || pending()) return;
  progress = AwakeClock::now();
  if (!timer) timer = loop.after(*silence, [this] { judgeSilence(); });
}

void SocketConnection::Stream::judgeSilence() {
  timer.reset();
  if (!pending()) return;
  const Seconds quiet = AwakeClock::now() - progress;
  if (quiet < *silence)
    timer = loop.after(*silence - quiet, [this] { judgeSilence(); });
  else
    abandon();
}

// The owner hears of it through what it waits for now or asks next.
void SocketConnection::Stream::abandon() {
  const auto self = shared_from_this();
  if (cancelled) return close();
  lost = true;
  shutdown(fd, SHUT_RDWR);
  end();
  pumpSoon();
}

void SocketConnection::Stream::cancel() {
  if (std::exchange(cancelled, true)) return;
  const auto self = shared_from_this();
  const auto dropped = std::exchange(receiving, {});
  const auto droppedDone = sending ? std::exchange(sending->done, {}) : nullptr;
  timer = loop.after(SocketLimits::kLingerTime, [this] { close(); });
  linger();
}

// Closing a socket with unread bytes makes the system reset the stream, and the peer would lose
// what it has not read yet. So our side ends first, and the peer is read until it ends too.
void SocketConnection::Stream::linger() {
  if (fd < 0) return;
  pumpSend();
  if (lost) return close();
  if (sending) return;
  if (!std::exchange(finished, true)) shutdown(fd, SHUT_WR);
  std::array<char, 16u << 10> buffer;
  while (drained < SocketLimits::kLingerBytes) {
    const ssize_t n = recv(fd, buffer.data(), buffer.size(), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && again(errno)) return;
    if (n <= 0) break;
    drained += static_cast<size_t>(n);
  }
  close();
}

void SocketConnection::Stream::end() {
  if (const auto told = std::exchange(onEnd, nullptr)) told();
}

void SocketConnection::Stream::close() {
  if (fd < 0) return;
  const auto self = weak_from_this().lock();  // the watch may hold the last reference
  watch.reset();
  timer.reset();
  ::close(std::exchange(fd, -1));
  end();
}

void SocketConnection::receive(size_t most, std::function<void(std::optional<std::string>)> done) {
  if (const auto stream = stream_.lock()) stream->receive(most, std::move(done));
}

void SocketConnection::send(std::string bytes, std::function<void()> done) {
  if (const auto stream = stream_.lock()) stream->send(std::move(bytes), std::move(done));
}

void SocketConnection::cancel() {
  if (const auto stream = std::exchange(stream_, {}).lock()) stream->cancel();
}

namespace {

// A listening socket. As with streams, the loop owns it.
struct Door : std::enable_shared_from_this<Door> {
  using Stream = SocketConnection::Stream;

  Door(EventLoop& l, SocketListenerHandlers h, int descriptor)
      : loop(l), handlers(std::move(h)), fd(descriptor) {}
  ~Door() { close(); }

  void open();
  void accept();
  bool isFull() const { return streams.size() >= SocketLimits::kConnections; }
  void makeRoom();
  void admit(int peer);
  void close();

  EventLoop& loop;
  SocketListenerHandlers handlers;
  int fd;
  bool isClosed = false;
  std::optional<Seconds> silence;  // loopback only
  std::string path;                // local only
  ino_t inode = 0;
  std::vector<std::weak_ptr<Stream>> streams;
  Subscription watch;
  Subscription pause;
};

void Door::open() {
  if (isClosed) return;
  const auto self = shared_from_this();
  if (fd >= 0) watch = loop.watch(fd, EPOLLIN | EPOLLET, [self](uint32_t) { self->accept(); });
  const auto& told = watch ? handlers.ready : handlers.failed;
  if (told) told();
}

// Edges only tell of newcomers, so each turn takes all that wait, or comes back for the rest.
void Door::accept() {
  const auto self = shared_from_this();
  const auto later = [weak = weak_from_this()] {
    if (const auto door = weak.lock()) door->accept();
  };
  for (int i = 0; i < kAcceptsPerTurn; ++i) {
    if (isClosed || (isFull() && !silence)) return;
    const int peer = accept4(fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (peer >= 0)
      admit(peer);
    else if (again(errno))
      return;
    else if (errno == EMFILE || errno == ENFILE || errno == ENOBUFS || errno == ENOMEM) {
      pause = loop.after(SocketLimits::kAcceptPause, later);
      return;
    }
  }
  loop.post(later);
}

void Door::makeRoom() {
  std::shared_ptr<Stream> quietest;
  for (const auto& weak : streams) {
    const auto stream = weak.lock();
    if (stream && (!quietest || stream->progress < quietest->progress)) quietest = stream;
  }
  if (quietest) quietest->abandon();
}

void Door::admit(int peer) {
  ucred who{};
  socklen_t size = sizeof who;
  const bool isLocal = !path.empty();
  if (isLocal &&
      (getsockopt(peer, SOL_SOCKET, SO_PEERCRED, &who, &size) != 0 || who.uid != geteuid())) {
    ::close(peer);
    return;
  }
  if (isFull()) makeRoom();
  const auto stream = std::make_shared<Stream>(loop, peer, silence, nullptr);
  stream->onEnd = [door = weak_from_this(), key = std::weak_ptr(stream)] {
    const auto self = door.lock();
    if (!self) return;
    std::erase_if(self->streams, [&](const auto& other) {
      return !other.owner_before(key) && !key.owner_before(other);
    });
    if (!self->silence)
      self->loop.post([door] {
        if (const auto d = door.lock()) d->accept();
      });
  };
  streams.push_back(stream);
  if (!stream->start()) return stream->abandon();
  handlers.accepted(std::make_shared<SocketConnection>(stream, isLocal ? who.pid : 0));
}

void Door::close() {
  if (std::exchange(isClosed, true)) return;
  const auto self = weak_from_this().lock();
  watch.reset();
  pause.reset();
  if (fd >= 0) ::close(std::exchange(fd, -1));
  struct stat now;
  if (!path.empty() && lstat(path.c_str(), &now) == 0 && now.st_ino == inode) unlink(path.c_str());
}

class SocketListener : public Listener {
 public:
  explicit SocketListener(std::weak_ptr<Door> door) : door_(std::move(door)) {}
  ~SocketListener() override {
    if (const auto door = door_.lock()) door->close();
  }

 private:
  std::weak_ptr<Door> door_;
};

// The door opens, or tells of its failure, in a later turn.
std::unique_ptr<Listener> openSoon(std::shared_ptr<Door> door) {
  auto listener = std::make_unique<SocketListener>(door);
  EventLoop& loop = door->loop;
  loop.post([door = std::move(door)] { door->open(); });
  return listener;
}

std::unique_ptr<Listener> refused(std::string& error, const std::string& what, int reason) {
  error = what + ": " + std::strerror(reason);
  return nullptr;
}

int streamSocket(int family) {
  return socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
}

// Whether nobody answers at the address any more; then the way is free for a new socket.
bool clearStale(const sockaddr_un& address, int& reason) {
  const int probe = streamSocket(AF_UNIX);
  if (probe < 0) return reason = errno, false;
  const int result = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  reason = result == 0 || again(errno) ? EADDRINUSE : errno;
  ::close(probe);
  if (reason == ECONNREFUSED) reason = unlink(address.sun_path) == 0 ? ENOENT : errno;
  return reason == ENOENT;
}

SocketListenerHandlers narrowed(ListenerHandlers handlers) {
  return {std::move(handlers.ready), std::move(handlers.failed),
          [accepted = std::move(handlers.accepted)](std::shared_ptr<SocketConnection> connection) {
            accepted(std::move(connection));
          }};
}

}  // namespace

SocketLane::SocketLane(EventLoop& mainLoop) : queue(&mainLoop), loop(&mainLoop) {}
SocketLane::SocketLane(WorkerQueue& worker) : queue(&worker), loop(&worker.loop()) {}

SocketListeners::SocketListeners(std::string folder, std::vector<SocketLane> lanes)
    : folder_(std::move(folder)), lanes_(std::move(lanes)) {}

std::string SocketListeners::path(std::string_view name) const {
  return folder_ + "/" + std::string(name) + ".sock";
}

EventLoop* SocketListeners::loopOf(const SerialQueue& queue) const {
  const auto found = std::ranges::find(lanes_, &queue, &SocketLane::queue);
  return found == lanes_.end() ? nullptr : found->loop;
}

std::unique_ptr<Listener> SocketListeners::loopback(uint16_t port, SerialQueue& queue,
                                                    ListenerHandlers handlers, std::string& error) {
  EventLoop* loop = loopOf(queue);
  if (!loop) return refused(error, "queue of the listener", ENOTSUP);
  const auto door =
      std::make_shared<Door>(*loop, narrowed(std::move(handlers)), streamSocket(AF_INET));
  door->silence = SocketLimits::kLoopbackSilence;
  if (door->fd < 0) return refused(error, "socket", errno);

  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int on = 1;
  setsockopt(door->fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  if (bind(door->fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      listen(door->fd, SOMAXCONN) == 0)
    return openSoon(door);
  if (errno != EADDRINUSE) return refused(error, "port " + std::to_string(port), errno);
  ::close(std::exchange(door->fd, -1));
  return openSoon(door);
}

std::unique_ptr<Listener> SocketListeners::local(std::string_view name, SerialQueue& queue,
                                                 ListenerHandlers handlers, std::string& error) {
  return local(name, queue, narrowed(std::move(handlers)), error);
}

std::unique_ptr<Listener> SocketListeners::local(std::string_view name, SerialQueue& queue,
                                                 SocketListenerHandlers handlers,
                                                 std::string& error) {
  EventLoop* loop = loopOf(queue);
  if (!loop) return refused(error, "queue of the listener", ENOTSUP);
  const std::string place = path(name);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (name.empty() || name.find('/') != name.npos || name.find('\0') != name.npos)
    return refused(error, place, EINVAL);
  if (place.size() >= sizeof address.sun_path) return refused(error, place, ENAMETOOLONG);
  place.copy(address.sun_path, place.size());

  const auto door = std::make_shared<Door>(*loop, std::move(handlers), -1);
  int reason = 0;
  if (!clearStale(address, reason))
    return reason == EADDRINUSE ? openSoon(door) : refused(error, place, reason);
  door->fd = streamSocket(AF_UNIX);
  if (door->fd < 0) return refused(error, "socket", errno);
  // Nobody can connect before listen(), and by then only this user may.
  struct stat made;
  if (bind(door->fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      chmod(place.c_str(), 0600) != 0 || lstat(place.c_str(), &made) != 0 ||
      listen(door->fd, SOMAXCONN) != 0)
    return refused(error, place, errno);
  door->path = place;
  door->inode = made.st_ino;
  return openSoon(door);
}

}  // namespace velmora
