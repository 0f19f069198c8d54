#pragma once

namespace velmora {

// Something of the system that starts the program from outside, whether or not it runs. Called from
// the queue of agents, since each call may wait for other processes; isInstalled() is quick and may
// be called from anywhere. Failures are swallowed: isInstalled() tells what came of it.
class LaunchAgent {
 public:
  virtual ~LaunchAgent() = default;
  virtual bool isInstalled() const = 0;
  virtual void install() = 0;
  virtual void remove() = 0;
};

}  // namespace velmora
