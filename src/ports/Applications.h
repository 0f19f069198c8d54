#pragma once

#include <functional>
#include <vector>

#include "base/Subscription.h"
#include "ports/Desktop.h"

namespace velmora {

// The regular applications that run: processes that own a normal or dialog window which the window
// manager manages. Panels, tray icons and background helpers are none. Our own processes and our
// ancestors are left out, so that nobody can close them from here. Main thread only.
//
// A process has one identity. Where its windows claim several, as a browser's web applications do,
// a browser's or a protected one wins.
class Applications {
 public:
  virtual ~Applications() = default;
  virtual std::vector<RunningApplication> running() = 0;
  // Until the token is dropped, hears of each process when it shows a window of that kind and had
  // none before, and again should its identity become another; without polling, and never inside a
  // call to this object. So one that withdraws to a tray and comes back is told again.
  virtual Subscription onLaunch(std::function<void(const RunningApplication&)> launched) = 0;

  // Each of these first makes sure that it is still the same process with the same identity, and
  // does nothing otherwise. Failures are silent.
  virtual bool isRunning(const RunningApplication& application) = 0;
  virtual void hide(const RunningApplication& application) = 0;
  // Politely, as a click on the close button of each of its windows.
  virtual void terminate(const RunningApplication& application) = 0;
  // At once; nothing that it has not saved survives.
  virtual void forceTerminate(const RunningApplication& application) = 0;
};

}  // namespace velmora
