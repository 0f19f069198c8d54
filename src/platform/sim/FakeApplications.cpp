#include "platform/sim/FakeApplications.h"

#include <algorithm>
#include <utility>

namespace velmora::sim {

FakeApplications::Process& FakeApplications::launch(const std::string& bundleID,
                                                    bool asksBeforeQuitting) {
  for (const auto& process : processes)
    lastPid_ = std::max(lastPid_, process.application.pid);
  processes.push_back({{++lastPid_, bundleID, ++lastInstance_}, asksBeforeQuitting});
  tell(processes.back().application);
  return processes.back();
}

void FakeApplications::tell(const RunningApplication& application) {
  loop_.post([weak = std::weak_ptr(launches_), application] {
    if (const auto launches = weak.lock()) launches->send(application);
  });
}

void FakeApplications::setShown(const RunningApplication& application, bool isShown) {
  Process* process = find(application);
  if (!process || std::exchange(process->hasWindows, isShown) == isShown) return;
  if (isShown) tell(application);
}

FakeApplications::Process* FakeApplications::find(const std::string& bundleID) {
  const auto it = std::ranges::find_if(
      processes, [&](const Process& p) { return p.application.bundleID == bundleID; });
  return it == processes.end() ? nullptr : &*it;
}

FakeApplications::Process* FakeApplications::find(const RunningApplication& application) {
  const auto it = std::ranges::find(processes, application, &Process::application);
  return it == processes.end() ? nullptr : &*it;
}

void FakeApplications::end(const RunningApplication& application) {
  std::erase_if(processes, [&](const Process& p) { return p.application == application; });
}

std::vector<RunningApplication> FakeApplications::running() {
  std::vector<RunningApplication> out;
  for (const auto& process : processes)
    if (process.hasWindows) out.push_back(process.application);
  return out;
}

Subscription FakeApplications::onLaunch(
    std::function<void(const RunningApplication&)> launched) {
  return launches_->subscribe(std::move(launched));
}

bool FakeApplications::isRunning(const RunningApplication& application) {
  return find(application) != nullptr;
}

void FakeApplications::hide(const RunningApplication& application) {
  if (Process* process = find(application)) process->isHidden = true;
}

void FakeApplications::terminate(const RunningApplication& application) {
  Process* process = find(application);
  if (!process) return;
  ++process->quitRequests;
  if (!process->asksBeforeQuitting) end(application);
}

void FakeApplications::forceTerminate(const RunningApplication& application) { end(application); }

}  // namespace velmora::sim
