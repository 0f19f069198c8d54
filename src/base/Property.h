#pragma once

#include <algorithm>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "base/Subscription.h"

namespace velmora {

// News for whoever cares. Every handler hears every value, in one order: a value sent from inside
// a handler waits until the running round is over. A handler may unsubscribe itself or others, or
// destroy the signal; one added during a round hears from the next value on. Main lane only.
template <class T>
class Signal {
 public:
  using Handler = std::function<void(const T&)>;

  Subscription subscribe(Handler handler) const {
    auto slot = std::make_shared<Slot>(Slot{std::move(handler), true});
    state_->slots.push_back(slot);
    return Subscription([slot] { slot->live = false; });
  }

  void send(T value) {
    const auto state = state_;  // outlives this signal if a handler destroys it
    state->queue.push_back(std::move(value));
    if (state->delivering) return;
    state->delivering = true;
    while (!state->queue.empty()) {
      const T current = std::move(state->queue.front());
      state->queue.pop_front();
      const auto round = state->slots;
      for (const auto& slot : round) {
        if (!slot->live) continue;
        const Handler handler = slot->handler;
        handler(current);
      }
      std::erase_if(state->slots, [](const auto& slot) { return !slot->live; });
    }
    state->delivering = false;
  }

 private:
  struct Slot {
    Handler handler;
    bool live;
  };
  struct State {
    std::vector<std::shared_ptr<Slot>> slots;
    std::deque<T> queue;
    bool delivering = false;
  };
  std::shared_ptr<State> state_ = std::make_shared<State>();
};

// An observable value. get() already holds the newest value while handlers run.
template <class T>
class Property {
 public:
  explicit Property(T initial = T{}) : value_(std::move(initial)) {}
  Property(const Property&) = delete;
  Property& operator=(const Property&) = delete;

  const T& get() const { return value_; }
  // Tells every subscriber, equal value or not.
  void set(T value) {
    value_ = value;
    writes_.send(std::move(value));
  }
  // The same, with an effect that belongs to the owner: it sees the new value and runs before any
  // observer, also when this write is nested in a handler.
  template <class Effect>
  void set(T value, Effect ownersEffect) {
    value_ = value;
    ownersEffect();
    writes_.send(std::move(value));
  }
  // For values worked out again on a timer: an equal value is no news.
  bool setIfChanged(T value) {
    if (value == value_) return false;
    set(std::move(value));
    return true;
  }
  Subscription onWrite(typename Signal<T>::Handler handler) const {
    return writes_.subscribe(std::move(handler));
  }
  // The current value at once, then every write.
  Subscription observe(typename Signal<T>::Handler handler) const {
    handler(value_);
    return onWrite(std::move(handler));
  }

 private:
  T value_;
  Signal<T> writes_;
};

// A property that everybody reads and observes and only its owner writes.
template <class T, class Owner>
class Owned : private Property<T> {
 public:
  using Property<T>::Property;
  using Property<T>::get;
  using Property<T>::onWrite;
  using Property<T>::observe;

 private:
  friend Owner;
};

}  // namespace velmora
