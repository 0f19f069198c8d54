#pragma once

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "base/Domain.h"
#include "base/LateRef.h"
#include "base/Property.h"
#include "blocking/BlockPageServer.h"
#include "ports/AppCatalog.h"
#include "ports/BrowserControl.h"
#include "ports/Clock.h"
#include "ports/Desktop.h"
#include "ports/Log.h"
#include "ports/RunLoop.h"

namespace velmora {

// The one watcher of browsers. While some rule is live it looks every second and a half at what
// the user can really see, charges on-screen time, judges each shown tab and sends a forbidden one
// to the wall. Hidden, minimised or mostly covered windows and background tabs are left alone.
// Browsers are told which pages the shown tabs must not even begin to show, as far as that does
// not depend on time; whatever comes of it, the looks decide. Main lane only.
class SiteBlockEngine {
 public:
  struct Blocklist {
    DomainSet domains;  // normalised
    bool operator==(const Blocklist&) const = default;
  };
  struct Allowlist {
    DomainSet domains;
    bool operator==(const Allowlist&) const = default;
  };
  struct Off {
    bool operator==(const Off&) const = default;
  };
  using FocusRule = std::variant<Off, Blocklist, Allowlist>;

  enum class Reason { focus, budget, porn, scroll };

  struct Exhausted {
    std::string domain;  // the listed one, perhaps a parent of the host
    int minutes = 0;
  };
  class TimeBudgets {
   public:
    virtual ~TimeBudgets() = default;
    virtual void observe(const std::set<std::string>& hosts, Seconds elapsed, Date now) = 0;
    virtual std::optional<Exhausted> exhausted(std::string_view host, Date now) = 0;
  };
  class ScrollGuard {
   public:
    struct Tab {
      std::string host;
      std::optional<Rect> frame;
      bool underPointer = false;
      bool inFront = false;
      bool operator==(const Tab&) const = default;
    };
    virtual ~ScrollGuard() = default;
    virtual void observe(const std::vector<Tab>& tabs, Seconds elapsed, Date now) = 0;
    virtual std::optional<Exhausted> closed(std::string_view host, Date now) = 0;
  };
  // Hides a window at once, until the wall has loaded in it.
  class Cover {
   public:
    virtual ~Cover() = default;
    virtual void cover(const Rect& rectangle) = 0;
  };
  struct Neighbours {
    LateRef<TimeBudgets> budgets;
    LateRef<ScrollGuard> scrollGuard;
    LateRef<Cover> cover;
  };

  // `homeDomain` is the product's own web domain: a tab on it is never judged.
  SiteBlockEngine(Clock& clock, RunLoop& loop, Desktop& desktop, BrowserControl& control,
                  const AppCatalog& catalog, BlockPageServer& server, Log& log,
                  std::string homeDomain, const Neighbours& neighbours);
  ~SiteBlockEngine();
  SiteBlockEngine(const SiteBlockEngine&) = delete;
  SiteBlockEngine& operator=(const SiteBlockEngine&) = delete;

  void setFocus(FocusRule rule);
  void setPornDomains(std::optional<DomainSet> domains);
  void setBudgetActive(bool active);
  void setScrollGuardActive(bool active);
  // Looks now, or right after the read under way; does nothing while no rule is live.
  void lookAtOnce();

  bool isRunning() const { return static_cast<bool>(timer_); }
  const FocusRule& focus() const { return focus_; }
  const std::string& homeDomain() const { return homeDomain_; }
  // Tabs sent to the wall since the start of the program.
  const Property<int64_t>& redirects() const { return redirects_; }

 private:
  using Frames = std::vector<Rect>;
  using OnScreen = std::map<std::string, Frames>;
  using InstantTabs = decltype(InstantRules::tabs);
  struct Reading {
    Frames windows;
    std::vector<WindowTab> tabs;
    Monotonic date;
  };
  struct Shown {
    const Browser* browser;
    WindowTab tab;
  };
  // What a look saw, kept for the read that it began.
  struct Look {
    OnScreen onScreen;
    std::optional<std::string> frontmost;
    std::optional<std::pair<std::string, Rect>> underPointer;
    Seconds elapsed{0};
    Date now;
  };

  bool isNeeded() const;
  void syncTimer();
  void browserChanged(const std::string& bundleID);
  void look();
  Look lookAtDesktop(Date now, Seconds elapsed);
  bool needsReading(const Browser& browser, const Look& look, Monotonic at) const;
  void startRead(std::vector<Browser> browsers, Look look, Monotonic at);
  void finishRead(const std::vector<Browser>& browsers, const Look& look, Monotonic at,
                  const TabReport& report);
  void handle(const Look& look);
  std::vector<Shown> shownTabs(const Look& look) const;
  void chargeBudgets(const std::vector<Shown>& shown, const Look& look);
  void tellScrollGuard(const std::vector<Shown>& shown, const Look& look);
  void sendAway(const Shown& shown, const Look& look, const std::string& page);
  std::optional<std::string> blockPage(std::string_view host, Date now);
  void publishRules();
  void publishTabs(const std::vector<Shown>& shown);

  Clock& clock_;
  RunLoop& loop_;
  Desktop& desktop_;
  BrowserControl& control_;
  BlockPageServer& server_;
  Log& log_;
  const std::vector<Browser>& browsers_;
  const std::string homeDomain_;
  const Neighbours& neighbours_;

  FocusRule focus_;
  std::optional<DomainSet> pornDomains_;
  bool budgetActive_ = false;
  bool scrollGuardActive_ = false;
  bool lookInFlight_ = false;
  bool lookAgain_ = false;
  Monotonic lastLook_;
  std::map<std::string, Reading> readings_;
  InstantTabs shownTabs_;        // by the latest look
  InstantRules instantRules_;    // as the browsers were told
  std::set<std::string> changed_;
  Property<int64_t> redirects_{0};
  std::shared_ptr<SiteBlockEngine*> self_;  // what a read under way holds weakly
  Subscription timer_;
};

// The tabs among a reading that its browser's shown windows display.
std::vector<WindowTab> tabsShown(std::vector<WindowTab> tabs, const std::vector<Rect>& frames,
                                 bool boundsKnown);
// Where a tab is on screen, if that can be told.
std::optional<Rect> frameOf(const WindowTab& tab, const std::vector<Rect>& frames);
// The raw text that the wall reads as its reason.
std::string_view rawText(SiteBlockEngine::Reason reason);

}  // namespace velmora
