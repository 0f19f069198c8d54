#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/Property.h"
#include "ports/Applications.h"
#include "ports/InstalledApplications.h"
#include "ports/RunLoop.h"

namespace velmora::sim {

// Regular applications that a user starts and that end as they are told, or don't.
class FakeApplications final : public Applications {
 public:
  struct Process {
    RunningApplication application;
    bool asksBeforeQuitting = false;  // and nobody answers
    bool isHidden = false;
    bool hasWindows = true;
    int quitRequests = 0;
  };

  explicit FakeApplications(RunLoop& loop) : loop_(loop) {}

  // The user starts it; who subscribed hears of it from the loop.
  Process& launch(const std::string& bundleID, bool asksBeforeQuitting = false);
  // It withdraws its windows, or shows them again.
  void setShown(const RunningApplication& application, bool isShown);
  // Null once it has ended.
  Process* find(const std::string& bundleID);
  std::vector<Process> processes;

  std::vector<RunningApplication> running() override;
  Subscription onLaunch(std::function<void(const RunningApplication&)> launched) override;
  bool isRunning(const RunningApplication& application) override;
  void hide(const RunningApplication& application) override;
  void terminate(const RunningApplication& application) override;
  void forceTerminate(const RunningApplication& application) override;

 private:
  void tell(const RunningApplication& application);
  Process* find(const RunningApplication& application);
  void end(const RunningApplication& application);

  RunLoop& loop_;
  int32_t lastPid_ = 1000;
  uint64_t lastInstance_ = 0;
  std::shared_ptr<Signal<RunningApplication>> launches_ =
      std::make_shared<Signal<RunningApplication>>();
};

class FakeInstalled final : public InstalledApplications {
 public:
  std::vector<InstalledApp> scan() const override { return found; }
  std::vector<InstalledApp> found;
};

}  // namespace velmora::sim
