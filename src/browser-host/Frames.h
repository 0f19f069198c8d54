#pragma once

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace velmora::browserhost {

// A frame is its length (four bytes, native byte order, the header not counted) and that many
// bytes of text. Browsers speak it on our standard input and output, the application on its socket.
inline constexpr std::size_t kHeaderSize = sizeof(std::uint32_t);

inline std::string frameOf(std::string_view text) {
  const auto length = static_cast<std::uint32_t>(text.size());
  std::string frame(kHeaderSize, '\0');
  std::memcpy(frame.data(), &length, kHeaderSize);
  return frame.append(text);
}

// Empties a buffer, and gives its memory back if one large frame has swollen it.
inline void release(std::string& buffer) {
  constexpr std::size_t kWorthKeeping = 64 * 1024;
  buffer.clear();
  if (buffer.capacity() > kWorthKeeping) buffer.shrink_to_fit();
}

// Cuts a stream of bytes into frames. Holds at most one frame of the largest permitted size.
class FrameReader {
 public:
  enum class Oversize {
    Skip,    // pass over the frame without keeping it; the next one is read as usual
    Refuse,  // the stream is not worth reading any further
  };

  FrameReader(std::uint32_t largest, Oversize oversize) : largest_(largest), oversize_(oversize) {}

  // Calls `whole` with every completed frame, header included, so that it can be passed on as it
  // is; the view ends with the call. Empty frames are dropped. False: a frame was refused.
  template <class Whole>
  bool feed(std::string_view bytes, Whole&& whole) {
    while (!bytes.empty()) {
      if (skip_ > 0) {
        const std::size_t passed = std::min<std::size_t>(skip_, bytes.size());
        bytes.remove_prefix(passed);
        skip_ -= static_cast<std::uint32_t>(passed);
        continue;
      }
      const std::size_t taken = std::min(wanted(), bytes.size());
      frame_.append(bytes.substr(0, taken));
      bytes.remove_prefix(taken);
      if (frame_.size() == kHeaderSize) {
        if (length() > largest_ && oversize_ == Oversize::Refuse) return false;
        if (length() > largest_) skip_ = length();
        if (length() > largest_ || length() == 0) frame_.clear();
      } else if (frame_.size() > kHeaderSize && wanted() == 0) {
        whole(std::string_view(frame_));
        release(frame_);
      }
    }
    return true;
  }

  // Forgets a frame begun on a stream that has ended.
  void reset() {
    release(frame_);
    skip_ = 0;
  }

 private:
  std::uint32_t length() const {
    std::uint32_t length = 0;
    std::memcpy(&length, frame_.data(), kHeaderSize);
    return length;
  }
  // Bytes still missing: of the header first, then of the frame.
  std::size_t wanted() const {
    if (frame_.size() < kHeaderSize) return kHeaderSize - frame_.size();
    return kHeaderSize + length() - frame_.size();
  }

  const std::uint32_t largest_;
  const Oversize oversize_;
  std::uint32_t skip_ = 0;  // bytes of an oversize frame still to be passed over
  std::string frame_;
};

// Bytes on their way to a non-blocking descriptor. Whoever pushes minds size().
class SendQueue {
 public:
  std::size_t size() const { return bytes_.size() - sent_; }
  bool empty() const { return size() == 0; }
  void push(std::string_view frame) { bytes_.append(frame); }

  // Writes what the descriptor takes now. False: the reader is gone.
  bool flush(int fd) {
    while (!empty()) {
      const ssize_t written = write(fd, bytes_.data() + sent_, size());
      if (written < 0 && errno == EINTR) continue;
      if (written < 0 && errno != EAGAIN) return false;
      if (written < 0) break;
      sent_ += static_cast<std::size_t>(written);
    }
    forgetSent();
    return true;
  }

  void clear() {
    release(bytes_);
    sent_ = 0;
  }

 private:
  void forgetSent() {
    constexpr std::size_t kWorthMoving = 256 * 1024;
    if (empty()) {
      clear();
    } else if (sent_ > kWorthMoving) {
      bytes_.erase(0, sent_);
      sent_ = 0;
    }
  }

  std::string bytes_;
  std::size_t sent_ = 0;
};

}  // namespace velmora::browserhost
