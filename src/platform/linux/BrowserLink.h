#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/Property.h"
#include "platform/linux/LinkProtocol.h"
#include "platform/linux/XWindowSource.h"
#include "ports/BrowserControl.h"
#include "ports/BrowserLinks.h"
#include "ports/Listeners.h"
#include "ports/Log.h"
#include "ports/RunLoop.h"

namespace velmora {

class SocketListeners;

// Reads and redirects browser tabs through our extension in each browser.
//
// The extensions push what their windows show, so that a read is answered from memory. A browser is
// asked only while nothing is known of it, or when its windows can't all be found among those of
// the display server, once for each picture of these windows. A browser that lets three seconds
// pass is not waited for again until it speaks.
//
// Where a window is and whether it can be seen is the display server's to tell: a tab's bounds are
// its window's frame as the last snapshot has it. A window that can't be found there has no bounds,
// so that it is never taken for one that is on screen; one that is minimised or on another
// workspace is left out. A tab's id is "<link>:<window>:<tab>": two profiles of one browser may
// use the same numbers, and a tab that the user has turned away from must not be hit.
//
// Instant rules go to every extension that has introduced itself, the lists only when they have
// changed. An extension enforces them for as long as it hears from its host that we are there. They
// must not outlast the sight of a window, so while some are set a watcher also hears of browsers
// whose windows may have come into sight or out of it.
//
// Main thread only.
class BrowserLink : public BrowserControl, public BrowserLinks {
 public:
  // What is known of processes.
  struct Processes {
    // The parent of a living process; 0 when there is none.
    std::function<int32_t(int32_t pid)> parentOf;
    // The canonical identity of a process; empty as long as it is not known. Asked again and
    // again, so it should be quick.
    std::function<std::string(int32_t pid)> identityOf;
  };

  // All but `processes` outlive this object. `scaleHint` is a scale of the displays, in device
  // pixels for each of a browser's units, to be tried beside the usual ones.
  BrowserLink(RunLoop& loop, const XWindowSource& windows, Log& log, Processes processes,
              double scaleHint = 1.0);
  ~BrowserLink() override;
  BrowserLink(const BrowserLink&) = delete;
  BrowserLink& operator=(const BrowserLink&) = delete;

  // Waits for hosts on the local socket "browser"; `listeners` must know the loop. False, with the
  // reason in `error`, when no listener can be made.
  bool listen(SocketListeners& listeners, std::string& error);
  // A host has connected. Dropped when it has no parent, as its browser has then gone.
  void accept(std::shared_ptr<Connection> stream, int32_t hostPid);

  void read(const ReadRequest& request, std::function<void(TabReport)> done) override;
  void send(const Browser& browser, const WindowTab& tab, const std::string& address) override;
  void watch(std::set<std::string> bundleIDs,
             std::function<void(const std::string&)> onChange) override;
  void unwatch() override;
  void setInstantRules(const InstantRules& rules) override;

  std::vector<LinkedBrowser> linked() const override;
  const Property<uint64_t>& linkedRevision() const override { return linkedRevision_; }

 private:
  struct Link;
  struct PendingRead;
  struct Placement;
  using XPicture = std::vector<X11Window>;

  void received(int linkNumber, std::optional<LinkMessage> message);
  void take(Link& link, const LinkHost& host);
  void take(Link& link, LinkHello&& hello);
  void take(Link& link, LinkWindows&& list);
  void take(Link& link, LinkTabNews&& news);
  void drop(int linkNumber);
  void recognise(Link& link);
  std::vector<Link*> linksOf(int32_t pid) const;
  std::vector<int32_t> processesOf(const std::string& bundleID) const;

  XPicture pictureOf(int32_t pid) const;
  Placement place(int32_t pid, const XPicture& picture) const;
  void askWhereNeeded(int32_t pid, const XPicture& picture);
  void ask(Link& link, const XPicture& picture);
  void transmit(Link& link, const std::string& frame);
  void noLongerAwait(int linkNumber);
  void postFinish(uint64_t readNumber);
  void finish(uint64_t readNumber);
  void giveUpWaiting(uint64_t readNumber);
  // Counts `index` up by one for each window, also for those left out.
  static void appendTabs(std::vector<WindowTab>& to, int& index, const Placement& placement);

  void sendRules(Link& link);
  void continueRules(Link& link);
  void sendScope(Link& link);
  void sightMayHaveChanged();

  void tell(const Link& link);
  void deliverNews();
  void countRevision() { linkedRevision_.set(linkedRevision_.get() + 1); }
  void post(std::function<void(BrowserLink&)> task);

  RunLoop& loop_;
  const XWindowSource& windows_;
  Log& log_;
  const Processes processes_;
  const double scaleHint_;

  std::map<int, std::unique_ptr<Link>> links_;
  int nextLink_ = 1;
  int64_t nextRequest_ = 1;
  std::map<uint64_t, std::unique_ptr<PendingRead>> reads_;
  uint64_t nextRead_ = 1;

  InstantRules instant_;
  Subscription sight_;      // a change of it, about to be told
  Subscription staleness_;  // of the windows
  std::set<std::string> watched_;
  std::function<void(const std::string&)> onChange_;
  uint64_t watchNumber_ = 0;
  std::set<std::string> news_;  // identities whose change is about to be told
  Property<uint64_t> linkedRevision_{0};

  std::shared_ptr<BrowserLink*> self_;  // what is posted holds this weakly
  std::unique_ptr<Listener> listener_;
};

// The parent of a process as the system has it; 0 when there is no such process.
int32_t parentProcess(int32_t pid);

}  // namespace velmora
