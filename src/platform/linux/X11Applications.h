#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.h"
#include "base/Property.h"
#include "platform/linux/ProcessIdentity.h"
#include "ports/Applications.h"
#include "ports/RunLoop.h"

namespace velmora {

class X11Desktop;

// The applications behind the windows of an X server. Launches are seen by the window manager's
// list of windows, whose change the server tells; while nobody subscribes to them that is no work.
// What is closed by force ends by a handle of the process, which no other process can take over.
//
// Ours are this process, those of our programs that lie beside it, and all that started us.
class X11Applications final : public Applications {
 public:
  // Both must outlive this object.
  X11Applications(RunLoop& loop, X11Desktop& desktop);

  std::vector<RunningApplication> running() override;
  Subscription onLaunch(std::function<void(const RunningApplication&)> launched) override;
  bool isRunning(const RunningApplication& application) override;
  void hide(const RunningApplication& application) override;
  void terminate(const RunningApplication& application) override;
  void forceTerminate(const RunningApplication& application) override;

 private:
  struct Process {
    std::string id;
    std::optional<uint64_t> startTime;
    std::vector<uint32_t> windows;  // regular ones; empty once it has none any more
    bool isTold = false;            // that it shows windows
    RunningApplication application(int32_t pid) const { return {pid, id, startTime.value_or(0)}; }
  };
  // When to look again, where the server is gone or kept us waiting.
  std::optional<Seconds> look();
  bool isOurProgram(int32_t pid) const;
  // Null unless it is that application, as of the last look.
  const Process* find(const RunningApplication& application) const;
  void lookSoon();
  void tellLaunches();

  RunLoop& loop_;
  X11Desktop& desktop_;
  const ProcSource processes_;
  const std::string folder_;  // of our programs
  std::map<int32_t, Process> known_;  // as long as they live
  std::shared_ptr<Signal<RunningApplication>> launches_;
  int subscribers_ = 0;
  bool isLookDue_ = false;
  std::shared_ptr<X11Applications*> self_;  // what is posted or handed out holds this weakly
  Subscription retry_;
  Subscription news_;
};

}  // namespace velmora
