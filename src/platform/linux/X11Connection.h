#pragma once

#include <xcb/xcb.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velmora {

// The atoms that the desktop is read with, in the order of kXAtomNames.
enum class XAtom {
  clientListStacking,
  activeWindow,
  currentDesktop,
  managerCheck,
  compositor,  // the selection that a compositing manager of our screen owns
  wmState,
  stateHidden,
  wmDesktop,
  windowType,
  typeDock,
  typeDesktop,
  typeNotification,
  typeNormal,
  typeDialog,
  typeUtility,
  typeToolbar,
  typeMenu,
  typeSplash,
  frameExtents,
  gtkFrameExtents,
  opacity,
  wmName,
  wmPid,
  layer,
  utf8String,
  changeState,
  closeWindow,
  count
};

// The value of a window property; empty when the window or the property is gone or has another
// format.
class XProperty {
 public:
  explicit XProperty(xcb_get_property_reply_t* reply) : reply_(reply) {}
  // Of properties in 32 bit format.
  std::span<const uint32_t> words() const;
  std::optional<uint32_t> word() const;
  // Of properties in 8 bit format.
  std::string_view bytes() const;

 private:
  struct Free {
    void operator()(void* p) const { std::free(p); }
  };
  std::unique_ptr<xcb_get_property_reply_t, Free> reply_;
};

// One connection to an X server whose questions are asked in batches: ask(...) as many as wanted,
// await() once, take(...) each answer. It survives every X error; an answer that could not be given
// is empty.
//
// A broken connection is written to at most once, which raises SIGPIPE: the program ignores it.
class X11Connection {
 public:
  using Clock = std::chrono::steady_clock;
  using EventHandler = std::function<void(const xcb_generic_event_t&)>;

  // Nothing when there is no server. `display` as in DISPLAY; empty takes that variable.
  // `onEvent` is called within pollEvents() and await().
  static std::unique_ptr<X11Connection> open(const std::string& display, EventHandler onEvent);
  ~X11Connection();
  X11Connection(const X11Connection&) = delete;
  X11Connection& operator=(const X11Connection&) = delete;

  xcb_connection_t* raw() const { return connection_; }
  int descriptor() const;
  bool isBroken() const;
  const xcb_screen_t& screen() const { return *screen_; }
  xcb_window_t root() const { return screen_->root; }
  xcb_atom_t atom(XAtom atom) const { return atoms_[static_cast<size_t>(atom)]; }
  // The part of a window's number that tells which client of the server made it; 0 is the server.
  uint32_t ownerOf(xcb_window_t window) const;

  bool canTellPids() const { return canTellPids_; }
  bool canTellMonitors() const { return randrFirstEvent_.has_value(); }
  bool canTellPower() const { return canTellPower_; }
  bool isMonitorEvent(uint8_t type) const;

  // Registers a question, so that a batch which is given up leaves nothing behind.
  template <typename Cookie>
  Cookie ask(Cookie cookie) {
    asked_.push_back(cookie.sequence);
    return cookie;
  }
  xcb_get_property_cookie_t askProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type,
                                        uint32_t maxWords);
  bool hasQuestions() const { return !asked_.empty(); }
  // Waits for the answers to everything asked since the last await(). False when the server did
  // not answer until `deadline` or is gone: then there is nothing to take.
  [[nodiscard]] bool await(Clock::time_point deadline);
  // Whether the server still owes answers to a batch that was given up. Does not wait. Nothing
  // should be asked until it has caught up.
  bool isBehind();

  // take<xcb_get_geometry_reply>(cookie)
  template <auto replyFunction, typename Cookie>
  auto take(Cookie cookie) {
    using Answer = std::remove_pointer_t<decltype(replyFunction(connection_, cookie, nullptr))>;
    return std::unique_ptr<Answer, Free>(replyFunction(connection_, cookie, nullptr));
  }
  XProperty take(xcb_get_property_cookie_t cookie);

  void pollEvents();

  // Batches waited for.
  uint64_t roundTrips() const { return roundTrips_; }

 private:
  struct Free {
    void operator()(void* p) const { std::free(p); }
  };
  X11Connection(xcb_connection_t* connection, xcb_screen_t* screen, int screenNumber,
                EventHandler onEvent);
  void internAtoms(int screenNumber);
  void findExtensions();
  bool hasAnswered(unsigned int sequence);

  xcb_connection_t* connection_;
  xcb_screen_t* screen_;
  EventHandler onEvent_;
  std::array<xcb_atom_t, static_cast<size_t>(XAtom::count)> atoms_{};
  bool canTellPids_ = false;
  bool canTellPower_ = false;
  std::optional<uint8_t> randrFirstEvent_;
  std::vector<unsigned int> asked_;      // sequence numbers
  std::optional<unsigned int> overdue_;  // the last question of a batch that was given up
  uint64_t roundTrips_ = 0;
};

}  // namespace velmora
