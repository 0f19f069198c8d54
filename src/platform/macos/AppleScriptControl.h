#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "ports/BrowserControl.h"
#include "ports/Processes.h"
#include "ports/RunLoop.h"

namespace velmora {

// Reads and redirects browsers through the system's script interpreter. Scripts run one after
// another on the worker, so a redirect waits for a read under way. The scripting permission that a
// browser may refuse, a browser that hangs and one that doesn't run all look the same: no tabs.
class AppleScriptControl : public BrowserControl {
 public:
  // All three outlive this object and every task on the worker.
  AppleScriptControl(Processes& processes, RunLoop& main, SerialQueue& worker);

  // Dropped, `done` included, when this object has gone before the result arrives.
  void read(const ReadRequest& request, std::function<void(TabReport)> done) override;
  void send(const Browser& browser, const WindowTab& tab, const std::string& address) override;
  void watch(std::set<std::string> bundleIDs,
             std::function<void(const std::string&)> onChange) override;
  void unwatch() override;

  // For the observer of window titles: a window of that application has another title, which
  // tells that another page is shown. On the main thread.
  void titleChanged(const std::string& bundleID);

 private:
  using Life = std::shared_ptr<const bool>;

  Processes& processes_;
  RunLoop& main_;
  SerialQueue& worker_;
  std::set<std::string> watched_;
  std::function<void(const std::string&)> onChange_;
  Life life_;  // what crosses over to the worker and back holds this weakly
};

// The script's output without white space at both ends. Nothing when the interpreter can't be
// started or fails, or when the output is empty or no UTF-8. Blocks until the script has ended.
std::optional<std::string> runScript(Processes& processes, const std::string& script);

}  // namespace velmora
