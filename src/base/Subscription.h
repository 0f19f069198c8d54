#pragma once

#include <functional>
#include <utility>

namespace velmora {

// Ends something when it is destroyed: a subscription, a timer, a watch. Moving hands the duty on.
// A callback may drop or replace the token that it runs under.
class [[nodiscard]] Subscription {
 public:
  Subscription() = default;
  explicit Subscription(std::function<void()> cancel) : cancel_(std::move(cancel)) {}
  Subscription(Subscription&& other) noexcept : cancel_(std::exchange(other.cancel_, nullptr)) {}
  Subscription& operator=(Subscription&& other) noexcept {
    if (this != &other) {
      reset();
      cancel_ = std::exchange(other.cancel_, nullptr);
    }
    return *this;
  }
  ~Subscription() { reset(); }

  void reset() {
    if (auto cancel = std::exchange(cancel_, nullptr)) cancel();
  }
  explicit operator bool() const { return cancel_ != nullptr; }

 private:
  std::function<void()> cancel_;
};

}  // namespace velmora
