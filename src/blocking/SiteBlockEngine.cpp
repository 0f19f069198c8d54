#include "blocking/SiteBlockEngine.h"

#include <algorithm>

#include "blocking/model/WindowVisibility.h"

namespace velmora {
namespace {

constexpr Seconds kInterval(1.5);
constexpr Seconds kTolerance(0.3);
constexpr Seconds kBackgroundRefresh(10.0);
constexpr Seconds kElapsedCeiling(5.0);
constexpr std::string_view kLogCategory = "SiteBlock";

using Query = std::vector<std::pair<std::string_view, std::string>>;

std::string queryEscaped(std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (const char c : text) {
    const auto u = static_cast<unsigned char>(c);
    const bool plain = (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || (u >= '0' && u <= '9') ||
                       c == '-' || c == '.' || c == '_' || c == '~';
    if (plain) {
      out += c;
    } else {
      out += '%';
      out += kHex[u >> 4];
      out += kHex[u & 15];
    }
  }
  return out;
}

std::string pageAddress(SiteBlockEngine::Reason reason, const Query& query) {
  std::string address = "http://127.0.0.1:" + std::to_string(BlockPageServer::port) +
                        "/?r=" + std::string(rawText(reason));
  for (const auto& [key, value] : query)
    address += "&" + std::string(key) + "=" + queryEscaped(value);
  return address;
}

// The hosts that webHost() gives nothing for.
std::vector<std::string> neverJudged(const std::string& homeDomain) {
  return {homeDomain, "127.0.0.1", "localhost"};
}

}  // namespace

std::string_view rawText(SiteBlockEngine::Reason reason) {
  static constexpr std::string_view kTexts[] = {"focus", "budget", "porn", "scroll"};
  return kTexts[static_cast<size_t>(reason)];
}

SiteBlockEngine::SiteBlockEngine(Clock& clock, RunLoop& loop, Desktop& desktop,
                                 BrowserControl& control, const AppCatalog& catalog,
                                 BlockPageServer& server, Log& log, std::string homeDomain,
                                 const Neighbours& neighbours)
    : clock_(clock),
      loop_(loop),
      desktop_(desktop),
      control_(control),
      server_(server),
      log_(log),
      browsers_(catalog.browsers()),
      homeDomain_(std::move(homeDomain)),
      neighbours_(neighbours),
      self_(std::make_shared<SiteBlockEngine*>(this)) {}

SiteBlockEngine::~SiteBlockEngine() {
  if (isRunning()) control_.unwatch();
  if (!instantRules_.rules.empty()) control_.setInstantRules({});
}

// --- inputs --------------------------------------------------------------------------------------

void SiteBlockEngine::setFocus(FocusRule rule) {
  const bool isNews = rule != focus_;
  focus_ = std::move(rule);
  syncTimer();
  if (isNews) publishRules();
}

void SiteBlockEngine::setPornDomains(std::optional<DomainSet> domains) {
  const bool isNews = domains != pornDomains_;
  pornDomains_ = std::move(domains);
  syncTimer();
  if (isNews) publishRules();
}

void SiteBlockEngine::setBudgetActive(bool active) {
  budgetActive_ = active;
  syncTimer();
}

void SiteBlockEngine::setScrollGuardActive(bool active) {
  scrollGuardActive_ = active;
  syncTimer();
}

void SiteBlockEngine::lookAtOnce() {
  if (!timer_) return;
  if (lookInFlight_)
    lookAgain_ = true;
  else
    look();
}

void SiteBlockEngine::browserChanged(const std::string& bundleID) {
  if (!timer_) return;
  changed_.insert(bundleID);
  lookAtOnce();
}

bool SiteBlockEngine::isNeeded() const {
  return !std::holds_alternative<Off>(focus_) || pornDomains_ || budgetActive_ ||
         scrollGuardActive_;
}

void SiteBlockEngine::syncTimer() {
  if (!isNeeded()) {
    if (timer_) control_.unwatch();
    timer_.reset();
    readings_.clear();
    return;
  }
  if (timer_) return;
  std::set<std::string> ids;
  for (const auto& browser : browsers_) ids.insert(browser.bundleID);
  control_.watch(std::move(ids), [weak = std::weak_ptr(self_)](const std::string& bundleID) {
    if (const auto self = weak.lock()) (*self)->browserChanged(bundleID);
  });
  server_.start();
  shownTabs_.clear();
  lastLook_ = clock_.monotonic();
  timer_ = loop_.every(kInterval, kTolerance, [this] { look(); });
  look();
}

// --- one look ------------------------------------------------------------------------------------

void SiteBlockEngine::look() {
  if (lookInFlight_) return;
  const Monotonic at = clock_.monotonic();
  const Seconds elapsed = std::min(kElapsedCeiling, Seconds(at - lastLook_));
  lastLook_ = at;
  Look seen = lookAtDesktop(clock_.now(), elapsed);
  std::erase_if(readings_, [&](const auto& r) { return !seen.onScreen.contains(r.first); });

  std::vector<Browser> toRead;
  for (const auto& browser : browsers_)
    if (seen.onScreen.contains(browser.bundleID) && needsReading(browser, seen, at))
      toRead.push_back(browser);
  for (const auto& browser : toRead) changed_.erase(browser.bundleID);
  if (toRead.empty()) return handle(seen);
  startRead(std::move(toRead), std::move(seen), at);
}

SiteBlockEngine::Look SiteBlockEngine::lookAtDesktop(Date now, Seconds elapsed) {
  Look seen;
  seen.now = now;
  seen.elapsed = elapsed;
  DesktopSnapshot desktop = desktop_.snapshot({.pointer = scrollGuardActive_});
  seen.frontmost = std::move(desktop.frontmost);

  std::map<int32_t, std::string> running;
  std::set<int32_t> owners;
  for (auto& application : desktop.applications) {
    if (std::ranges::find(browsers_, application.bundleID, &Browser::bundleID) == browsers_.end())
      continue;
    owners.insert(application.pid);
    running.emplace(application.pid, std::move(application.bundleID));
  }
  // A look without browsers still goes on: budgets and scroll guard see that nothing is shown.
  if (running.empty() || !desktop.windows) return seen;
  const auto& windows = *desktop.windows;

  if (scrollGuardActive_ && desktop.pointer) {
    if (const auto under = windowUnder(*desktop.pointer, windows))
      if (const auto owner = running.find(windows[*under].pid); owner != running.end())
        seen.underPointer.emplace(owner->second, windows[*under].frame);
  }
  for (const size_t i : visibleWindows(windows, owners, desktop.displays))
    seen.onScreen[running.at(windows[i].pid)].push_back(windows[i].frame);
  return seen;
}

bool SiteBlockEngine::needsReading(const Browser& browser, const Look& look, Monotonic at) const {
  const auto reading = readings_.find(browser.bundleID);
  if (reading == readings_.end()) return true;
  if (look.frontmost == browser.bundleID) return true;
  if (changed_.contains(browser.bundleID)) return true;
  if (reading->second.windows != look.onScreen.at(browser.bundleID)) return true;
  return at - reading->second.date >= kBackgroundRefresh;
}

void SiteBlockEngine::startRead(std::vector<Browser> browsers, Look look, Monotonic at) {
  lookInFlight_ = true;
  BrowserControl::ReadRequest request{browsers, std::nullopt};
  for (const auto& browser : browsers)
    if (!request.front && look.frontmost == browser.bundleID) request.front = browser;
  control_.read(request, [weak = std::weak_ptr(self_), browsers = std::move(browsers),
                          look = std::move(look), at](TabReport report) {
    if (const auto self = weak.lock()) (*self)->finishRead(browsers, look, at, report);
  });
}

void SiteBlockEngine::finishRead(const std::vector<Browser>& browsers, const Look& seen,
                                 Monotonic at, const TabReport& report) {
  lookInFlight_ = false;
  std::string names;
  for (const auto& browser : browsers) {
    const auto frames = seen.onScreen.find(browser.bundleID);
    const auto tabs = report.find(browser.bundleID);
    readings_[browser.bundleID] =
        Reading{frames == seen.onScreen.end() ? Frames{} : frames->second,
                tabs == report.end() ? std::vector<WindowTab>{} : tabs->second, at};
    if (log_.debugEnabled()) names += (names.empty() ? "" : ", ") + browser.name;
  }
  if (log_.debugEnabled()) log_.debug(kLogCategory, "Read " + names);
  handle(seen);
  if (std::exchange(lookAgain_, false)) look();
}

std::vector<WindowTab> tabsShown(std::vector<WindowTab> tabs, const std::vector<Rect>& frames,
                                 bool boundsKnown) {
  std::ranges::stable_sort(tabs, {}, &WindowTab::index);
  if (const auto fallback = std::ranges::find(tabs, "", &WindowTab::id); fallback != tabs.end())
    return {*fallback};
  if (!boundsKnown) {
    tabs.resize(std::min(tabs.size(), frames.size()));
    return tabs;
  }
  std::vector<WindowTab> shown;
  for (const auto& frame : frames) {
    const auto match = std::ranges::find_if(
        tabs, [&](const WindowTab& tab) { return tab.bounds && sameFrame(*tab.bounds, frame); });
    if (match == tabs.end()) continue;
    shown.push_back(std::move(*match));
    tabs.erase(match);
  }
  return shown;
}

std::optional<Rect> frameOf(const WindowTab& tab, const std::vector<Rect>& frames) {
  if (tab.bounds) return tab.bounds;
  if (frames.empty()) return {};
  const auto i = static_cast<size_t>(std::max(1, tab.index));
  return i <= frames.size() ? frames[i - 1] : frames.front();
}

// --- judging -------------------------------------------------------------------------------------

void SiteBlockEngine::handle(const Look& look) {
  const auto shown = shownTabs(look);
  if (log_.debugEnabled())
    log_.debug(kLogCategory, std::to_string(shown.size()) + " tab(s) on screen");
  // Charging comes first, so that a budget used up by these very seconds counts in this look.
  chargeBudgets(shown, look);
  if (scrollGuardActive_) tellScrollGuard(shown, look);
  publishTabs(shown);
  for (const auto& entry : shown) {
    const auto host = webHost(entry.tab.address, homeDomain_);
    if (!host) continue;
    if (const auto page = blockPage(*host, look.now)) sendAway(entry, look, *page);
  }
}

std::vector<SiteBlockEngine::Shown> SiteBlockEngine::shownTabs(const Look& look) const {
  std::vector<Shown> shown;
  for (const auto& browser : browsers_) {
    const auto frames = look.onScreen.find(browser.bundleID);
    const auto reading = readings_.find(browser.bundleID);
    if (frames == look.onScreen.end() || reading == readings_.end()) continue;
    for (auto& tab : tabsShown(reading->second.tabs, frames->second, browser.reportsBounds))
      shown.push_back({&browser, std::move(tab)});
  }
  return shown;
}

void SiteBlockEngine::chargeBudgets(const std::vector<Shown>& shown, const Look& look) {
  if (!neighbours_.budgets) return;
  std::set<std::string> hosts;
  for (const auto& entry : shown)
    if (auto host = webHost(entry.tab.address, homeDomain_)) hosts.insert(std::move(*host));
  neighbours_.budgets->observe(hosts, look.elapsed, look.now);
}

void SiteBlockEngine::tellScrollGuard(const std::vector<Shown>& shown, const Look& look) {
  if (!neighbours_.scrollGuard) return;
  std::vector<ScrollGuard::Tab> tabs;
  bool frontSeen = false;
  for (const auto& entry : shown) {
    const bool inFront = !frontSeen && look.frontmost == entry.browser->bundleID;
    frontSeen = frontSeen || inFront;
    auto host = webHost(entry.tab.address, homeDomain_);
    if (!host) continue;
    const auto frame = frameOf(entry.tab, look.onScreen.at(entry.browser->bundleID));
    const bool underPointer = look.underPointer && frame &&
                              look.underPointer->first == entry.browser->bundleID &&
                              sameFrame(*frame, look.underPointer->second);
    tabs.push_back({std::move(*host), frame, underPointer, inFront});
  }
  neighbours_.scrollGuard->observe(tabs, look.elapsed, look.now);
}

void SiteBlockEngine::sendAway(const Shown& shown, const Look& look, const std::string& page) {
  const Browser& browser = *shown.browser;
  readings_.erase(browser.bundleID);  // the next look reads the truth
  const auto frame = frameOf(shown.tab, look.onScreen.at(browser.bundleID));
  if (frame && neighbours_.cover) neighbours_.cover->cover(*frame);
  if (log_.debugEnabled())
    log_.debug(kLogCategory, "Sending a tab in " + browser.name + " to the block page");
  control_.send(browser, shown.tab, page);
  redirects_.set(redirects_.get() + 1);
}

// The first rule that applies decides; no later one is asked.
std::optional<std::string> SiteBlockEngine::blockPage(std::string_view host, Date now) {
  if (pornDomains_ && matches(host, *pornDomains_)) return pageAddress(Reason::porn, {});
  if (const auto* list = std::get_if<Blocklist>(&focus_)) {
    if (matches(host, list->domains))
      return pageAddress(Reason::focus, {{"d", std::string(host)}});
  } else if (const auto* allowed = std::get_if<Allowlist>(&focus_)) {
    if (!matches(host, allowed->domains))
      return pageAddress(Reason::focus, {{"d", std::string(host)}, {"a", "1"}});
  }
  if (neighbours_.budgets)
    if (const auto hit = neighbours_.budgets->exhausted(host, now))
      return pageAddress(Reason::budget, {{"d", hit->domain}, {"m", std::to_string(hit->minutes)}});
  if (neighbours_.scrollGuard)
    if (const auto hit = neighbours_.scrollGuard->closed(host, now))
      return pageAddress(Reason::scroll, {{"d", hit->domain}, {"m", std::to_string(hit->minutes)}});
  return {};
}

// --- between two looks ---------------------------------------------------------------------------

// In the order in which a page is judged.
void SiteBlockEngine::publishRules() {
  const auto listed = [](const DomainSet& set) {
    return std::vector<std::string>(set.begin(), set.end());
  };
  std::vector<InstantRules::Rule> rules;
  if (pornDomains_ && !pornDomains_->empty())
    rules.push_back({false, listed(*pornDomains_), std::string(rawText(Reason::porn))});
  if (const auto* list = std::get_if<Blocklist>(&focus_); list && !list->domains.empty())
    rules.push_back({false, listed(list->domains), std::string(rawText(Reason::focus))});
  else if (const auto* allowed = std::get_if<Allowlist>(&focus_))
    rules.push_back({true, listed(allowed->domains), std::string(rawText(Reason::focus))});

  if (rules == instantRules_.rules) return;
  instantRules_ = {};
  if (!rules.empty()) instantRules_ = {std::move(rules), neverJudged(homeDomain_), shownTabs_};
  control_.setInstantRules(instantRules_);
}

void SiteBlockEngine::publishTabs(const std::vector<Shown>& shown) {
  InstantTabs tabs;
  for (const auto& [browser, tab] : shown)
    if (!tab.id.empty()) tabs[browser->bundleID].insert(tab.id);
  if (tabs == shownTabs_) return;
  shownTabs_ = std::move(tabs);
  if (instantRules_.rules.empty()) return;
  instantRules_.tabs = shownTabs_;
  control_.setInstantRules(instantRules_);
}

}  // namespace velmora
