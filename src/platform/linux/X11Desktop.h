#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Subscription.h"
#include "platform/linux/XWindowSource.h"
#include "ports/Desktop.h"

namespace velmora {

class Clock;
class EventLoop;
class LinuxAppCatalog;

// The desktop as an X server and its window manager (EWMH) show it. Keeps one connection of its
// own and one picture of all windows, which any relevant event of the server marks stale; a stale
// picture is read anew, whole, by the next snapshot. X errors never end the program: a window that
// vanishes while it is read is left out. When the server goes away snapshots are empty, and every
// few seconds one of them tries to connect again. Main thread only.
class X11Desktop final : public Desktop, public XWindowSource {
 public:
  struct Options {
    // As in DISPLAY; empty takes that variable.
    std::string display;
    // Whether our login session has the console and is not locked; absent means always.
    std::function<bool()> onConsoleAndUnlocked;
  };
  // `loop`, `catalog` and `clock` must outlive this object. Does not fail: without a server it
  // waits for one.
  X11Desktop(EventLoop& loop, const LinuxAppCatalog& catalog, const Clock& clock, Options options);
  ~X11Desktop() override;

  DesktopSnapshot snapshot(Wants wants) override;

  const std::vector<X11Window>& windows() const override;
  uint64_t generation() const override;
  Subscription onStale(std::function<void()> told) const override;

  // Until the token is dropped, hears that windows may have come or gone or say other things of
  // themselves than before, so that a snapshot may show other applications. Told in the midst of
  // reading the server: call nothing of this object from there.
  Subscription onWindowsChanged(std::function<void()> changed) const;
  // Whether the last snapshot had to show an earlier picture because the server kept us waiting.
  bool isOverdue() const;

  // Asks the window manager, as a task bar does. Nothing happens where the window is gone.
  void minimise(uint32_t window);
  void close(uint32_t window);

  // How often we waited for the server's answer and read all windows, since the start.
  uint64_t roundTrips() const;
  uint64_t fullReads() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

// A window property (CARDINAL, 32 bits) by which our own surfaces tell their layer.
inline constexpr const char* kLayerProperty = "_VELMORA_LAYER";

}  // namespace velmora
