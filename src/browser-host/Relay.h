#pragma once

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "AppSocket.h"
#include "FileDescriptor.h"
#include "Frames.h"
#include "SocketWatch.h"

namespace velmora::browserhost {

// Passes frames between the browser and the application for as long as the browser lives. The
// application may come and go: the extension hears of both, and frames nobody can take are
// dropped. Memory is bounded whichever side stops reading, and nothing wakes up while nothing
// happens.
class Relay {
 public:
  // Reads the browser on `fromBrowser`, writes to it on `toBrowser` (non-blocking); both outlive
  // the relay. `greeting` is the first frame the application gets on every connection.
  Relay(int fromBrowser, int toBrowser, std::string socketPath, std::string greeting)
      : fromBrowser_(fromBrowser),
        toBrowser_(toBrowser),
        socketPath_(std::move(socketPath)),
        greeting_(std::move(greeting)) {}

  // Returns when the browser is gone.
  void run() {
    seekApp();
    while (browserThere_) waitAndServe();
  }

 private:
  using Clock = std::chrono::steady_clock;
  using Duration = Clock::duration;

  static constexpr std::uint32_t kLargestFromBrowser = 1024 * 1024;
  static constexpr std::uint32_t kLargestFromApp = 256 * 1024;
  static constexpr std::size_t kMostUnreadByApp = 4 * 1024 * 1024;
  static constexpr std::size_t kMostUnreadByBrowser = 1024 * 1024;

  static constexpr Duration kFirstPause = std::chrono::milliseconds(20);
  static constexpr Duration kLongestPause = std::chrono::seconds(10);
  // Long enough for an application that is between binding its socket and listening on it.
  static constexpr Duration kLongestPauseForAbsent = std::chrono::seconds(2);

  void waitAndServe() {
    enum { FromBrowser, ToBrowser, App, Watch };
    std::array<pollfd, 4> fds{{
        {fromBrowser_, POLLIN, 0},
        {toBrowser_, wantWrite(browserQueue_), 0},
        // While the browser does not read, the application waits in its own socket buffer.
        {browserStalled() ? -1 : app_.get(), static_cast<short>(POLLIN | wantWrite(appQueue_)), 0},
        {watch_ ? watch_->fd() : -1, POLLIN, 0},
    }};
    if (poll(fds.data(), fds.size(), pauseLeft()) < 0) return;

    if ((fds[ToBrowser].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) browserThere_ = false;
    if ((fds[ToBrowser].revents & POLLOUT) != 0) flushToBrowser();
    if ((fds[App].revents & POLLOUT) != 0) flushToApp();
    if (app_ && (fds[App].revents & (POLLIN | POLLHUP | POLLERR)) != 0) readApp();
    if (fds[FromBrowser].revents != 0) readBrowser();
    if (watch_ && fds[Watch].revents != 0 && watch_->changed()) {
      pause_ = kFirstPause;
      nextTry_ = Clock::now();
    }
    if (nextTry_ && Clock::now() >= *nextTry_) tryApp();
  }

  static short wantWrite(const SendQueue& queue) { return queue.empty() ? 0 : POLLOUT; }
  bool browserStalled() const { return browserQueue_.size() > kMostUnreadByBrowser; }

  // Milliseconds for poll(): until the next try, rounded up; without one, forever.
  int pauseLeft() const {
    if (!nextTry_) return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*nextTry_ - Clock::now());
    return static_cast<int>(std::max<std::int64_t>(left.count(), 0));
  }

  // --- the browser ---

  void readBrowser() {
    const ssize_t size = read(fromBrowser_, chunk_.data(), chunk_.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (size <= 0) {
      browserThere_ = false;
      return;
    }
    browserReader_.feed({chunk_.data(), static_cast<std::size_t>(size)},
                        [this](std::string_view frame) { sendToApp(frame); });
  }

  void sendToBrowser(std::string_view frame) {
    browserQueue_.push(frame);
    flushToBrowser();
  }

  void flushToBrowser() {
    if (!browserQueue_.flush(toBrowser_)) browserThere_ = false;
  }

  void tellConnected(bool connected) {
    sendToBrowser(frameOf(connected ? R"({"type":"app","connected":true})"
                                    : R"({"type":"app","connected":false})"));
  }

  // --- the application ---

  void readApp() {
    const ssize_t size = recv(app_.get(), chunk_.data(), chunk_.size(), 0);
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (size <= 0 || !appReader_.feed({chunk_.data(), static_cast<std::size_t>(size)},
                                      [this](std::string_view frame) { sendToBrowser(frame); }))
      loseApp();
  }

  void sendToApp(std::string_view frame) {
    if (!app_) return;
    appQueue_.push(frame);
    flushToApp();
    if (appQueue_.size() > kMostUnreadByApp) loseApp();
  }

  void flushToApp() {
    if (!appQueue_.flush(app_.get())) loseApp();
  }

  void loseApp() {
    if (!app_) return;
    app_ = {};
    appReader_.reset();
    appQueue_.clear();
    tellConnected(false);
    if (Clock::now() - connectedAt_ >= kLongestPause) pause_ = kFirstPause;
    seekApp(pause_);
  }

  // --- finding the application ---

  // Watches first and tries afterwards, so that a socket made in between is not missed.
  void seekApp(Duration pause = {}) {
    watch_.emplace(socketPath_);
    nextTry_ = Clock::now() + pause;
  }

  void tryApp() {
    nextTry_.reset();
    if (browserStalled()) return tryLater();
    Connection connection = connectToApp(socketPath_);
    switch (connection.outcome) {
      case Connection::Outcome::Made:
        return takeApp(std::move(connection.socket));
      case Connection::Outcome::Busy:
        return tryLater();
      case Connection::Outcome::Absent:
        // Its next start makes the socket anew, and the watch will tell.
        if (!watch_->armed() || pause_ < kLongestPauseForAbsent) tryLater();
    }
  }

  // The pauses double until the application has come back, or is seen to be starting.
  void tryLater() {
    nextTry_ = Clock::now() + pause_;
    pause_ = std::min(pause_ * 2, kLongestPause);
  }

  void takeApp(FileDescriptor socket) {
    watch_.reset();
    app_ = std::move(socket);
    connectedAt_ = Clock::now();
    // One that hangs up at once is not called back at once.
    pause_ = std::min(pause_ * 2, kLongestPause);
    sendToApp(greeting_);
    if (app_) tellConnected(true);
  }

  const int fromBrowser_;
  const int toBrowser_;
  const std::string socketPath_;
  const std::string greeting_;

  bool browserThere_ = true;
  FrameReader browserReader_{kLargestFromBrowser, FrameReader::Oversize::Skip};
  SendQueue browserQueue_;

  FileDescriptor app_;
  FrameReader appReader_{kLargestFromApp, FrameReader::Oversize::Refuse};
  SendQueue appQueue_;
  Clock::time_point connectedAt_;

  std::optional<SocketWatch> watch_;  // only while there is no application
  std::optional<Clock::time_point> nextTry_;
  Duration pause_ = kFirstPause;  // doubles with every failure

  std::array<char, 16 * 1024> chunk_;
};

}  // namespace velmora::browserhost
