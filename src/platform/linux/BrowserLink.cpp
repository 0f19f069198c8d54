#include "platform/linux/BrowserLink.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <iterator>
#include <utility>

#include "base/Text.h"
#include "platform/linux/LinkConnection.h"
#include "platform/linux/SocketListeners.h"
#include "platform/linux/TabPairing.h"

namespace velmora {
namespace {

constexpr Seconds kPatience(3.0);
constexpr int64_t kProtocol = 1;
// Of a long list of domains; an order to send a tab away waits no longer than these take.
constexpr size_t kMostBytesAhead = 96u << 10;
// Windows that are dragged about are looked at so often.
constexpr Seconds kSightInterval(0.03);
constexpr std::string_view kLogCategory = "BrowserLink";

// Apart from titles and places, which change what nobody may see.
bool showSame(const LinkWindow& a, const LinkWindow& b) {
  return a.id == b.id && a.isMinimised == b.isMinimised && a.isFocused == b.isFocused &&
         a.tab.has_value() == b.tab.has_value() &&
         (!a.tab || (a.tab->id == b.tab->id && a.tab->address == b.tab->address));
}

// What a WindowTab's id says.
struct TabPlace {
  int link = 0;
  int64_t window = 0;
  int64_t tab = 0;
};

std::string textOf(const TabPlace& place) {
  return std::to_string(place.link) + ":" + std::to_string(place.window) + ":" +
         std::to_string(place.tab);
}

template <class Number>
bool parse(std::string_view text, Number& into) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), into);
  return error == std::errc() && end == text.data() + text.size();
}

std::optional<TabPlace> tabPlace(std::string_view id) {
  const auto parts = text::split(id, ':');
  TabPlace place;
  if (parts.size() != 3 || !parse(parts[0], place.link) || !parse(parts[1], place.window) ||
      !parse(parts[2], place.tab))
    return {};
  return place;
}

}  // namespace

// One extension, that is one profile of one browser. Several may share a process.
struct BrowserLink::Link {
  LinkWindow* find(int64_t windowId) {
    if (!windows) return nullptr;
    const auto it = std::ranges::find(*windows, windowId, &LinkWindow::id);
    return it == windows->end() ? nullptr : &*it;
  }

  int number = 0;
  int32_t pid = 0;  // the browser's
  std::string identity;
  std::shared_ptr<LinkConnection> connection;
  std::optional<LinkHello> hello;
  std::optional<std::vector<LinkWindow>> windows;  // nothing before the first list
  std::optional<int64_t> asked;                    // the request that is not answered yet
  std::optional<XPicture> askedAbout;              // the X windows when it was asked last
  std::optional<RulesFrames> rules;  // while they are handed over
  std::set<int64_t> scope;           // the windows it knows to be on screen
  bool isMute = false;  // it has let its time pass and said nothing since
};

struct BrowserLink::PendingRead {
  ReadRequest request;
  std::function<void(TabReport)> done;
  std::map<int32_t, XPicture> pictures;  // by process, as they were when the read began
  std::set<int> awaited;                 // links
  Subscription patience;
};

// All windows of one process, those of several profiles one after another.
struct BrowserLink::Placement {
  std::vector<std::pair<int, const LinkWindow*>> windows;  // each with its link's number
  std::vector<const X11Window*> xWindows;
  TabPairs pairs;
};

BrowserLink::BrowserLink(RunLoop& loop, const XWindowSource& windows, Log& log, Processes processes,
                         double scaleHint)
    : loop_(loop),
      windows_(windows),
      log_(log),
      processes_(std::move(processes)),
      scaleHint_(scaleHint),
      self_(std::make_shared<BrowserLink*>(this)) {
  staleness_ = windows_.onStale([this] { sightMayHaveChanged(); });
}

BrowserLink::~BrowserLink() {
  for (const auto& [number, link] : links_) link->connection->cancel();
}

void BrowserLink::post(std::function<void(BrowserLink&)> task) {
  loop_.post([weak = std::weak_ptr(self_), task = std::move(task)] {
    if (const auto self = weak.lock()) task(**self);
  });
}

// --- links ---------------------------------------------------------------------------------------

bool BrowserLink::listen(SocketListeners& listeners, std::string& error) {
  listener_ = listeners.local(
      "browser", loop_,
      SocketListenerHandlers{
          .ready = [] {},
          .failed = [this] { log_.notice("Another program already listens for browsers."); },
          .accepted =
              [this](std::shared_ptr<SocketConnection> stream) {
                const int32_t host = stream->peerPid();
                accept(std::move(stream), host);
              }},
      error);
  return listener_ != nullptr;
}

void BrowserLink::accept(std::shared_ptr<Connection> stream, int32_t hostPid) {
  const int32_t browser = processes_.parentOf(hostPid);
  if (browser <= 1) return stream->cancel();
  auto link = std::make_unique<Link>();
  link->number = nextLink_++;
  link->pid = browser;
  link->connection = std::make_shared<LinkConnection>(
      std::move(stream), log_,
      LinkConnection::Handlers{
          .message =
              [this, number = link->number](std::optional<LinkMessage> message) {
                received(number, std::move(message));
              },
          .lost = [this, number = link->number] { drop(number); },
          .drained =
              [this, number = link->number] {
                if (const auto it = links_.find(number); it != links_.end())
                  continueRules(*it->second);
              }});
  auto& added = *link;
  links_.emplace(added.number, std::move(link));
  added.connection->start();
  recognise(added);
  countRevision();
}

void BrowserLink::drop(int linkNumber) {
  const auto node = links_.extract(linkNumber);
  if (!node) return;
  node.mapped()->connection->cancel();
  noLongerAwait(linkNumber);
  tell(*node.mapped());
  countRevision();
}

// A process may be named only once it has a window.
void BrowserLink::recognise(Link& link) {
  auto identity = processes_.identityOf(link.pid);
  if (identity.empty() || identity == link.identity) return;
  link.identity = std::move(identity);
  countRevision();
}

std::vector<BrowserLink::Link*> BrowserLink::linksOf(int32_t pid) const {
  std::vector<Link*> found;
  for (const auto& [number, link] : links_)
    if (link->pid == pid) found.push_back(link.get());
  return found;
}

std::vector<int32_t> BrowserLink::processesOf(const std::string& bundleID) const {
  std::vector<int32_t> found;
  for (const auto& [number, link] : links_)
    if (link->identity == bundleID && std::ranges::find(found, link->pid) == found.end())
      found.push_back(link->pid);
  return found;
}

// --- what extensions say -------------------------------------------------------------------------

void BrowserLink::received(int linkNumber, std::optional<LinkMessage> message) {
  Link& link = *links_.at(linkNumber);
  if (std::exchange(link.isMute, false)) {
    link.asked.reset();
    link.askedAbout.reset();
    noLongerAwait(linkNumber);
  }
  if (message) {
    std::visit([&](auto& known) { take(link, std::move(known)); }, *message);
  } else if (log_.debugEnabled()) {
    log_.debug(kLogCategory, "Ignored a message of link " + std::to_string(linkNumber));
  }
}

void BrowserLink::take(Link& link, const LinkHost& host) {
  if (!log_.debugEnabled()) return;
  log_.debug(kLogCategory, "Link " + std::to_string(link.number) + ": " + host.origin +
                               " in process " + std::to_string(link.pid));
}

void BrowserLink::take(Link& link, LinkHello&& hello) {
  if (hello.protocol != kProtocol)
    log_.notice("The extension in " + link.identity + " and this program are not of one version.");
  link.hello = std::move(hello);
  link.scope.clear();
  sendScope(link);
  if (!instant_.rules.empty()) sendRules(link);
  countRevision();
}

void BrowserLink::take(Link& link, LinkWindows&& list) {
  recognise(link);
  const bool isAnswer = !link.windows || (link.asked && list.request == link.asked);
  const bool isNews = !link.windows || !std::ranges::equal(*link.windows, list.windows, showSame);
  link.windows = std::move(list.windows);
  if (isAnswer) {
    link.asked.reset();
    noLongerAwait(link.number);
  }
  if (isNews) tell(link);
  countRevision();
}

void BrowserLink::take(Link& link, LinkTabNews&& news) {
  LinkWindow* window = link.find(news.windowId);
  if (!window) return;  // a new one: the list that tells of it is on its way
  const bool isOtherTab = !window->tab || window->tab->id != news.tabId;
  if (isOtherTab) window->tab = LinkTab{news.tabId, "", ""};
  LinkTab& tab = *window->tab;
  const bool isNews = isOtherTab || tab.address != news.address;
  tab.address = std::move(news.address);
  if (news.title) tab.title = std::move(*news.title);
  if (isNews) tell(link);
  countRevision();
}

// --- reading -------------------------------------------------------------------------------------

void BrowserLink::read(const ReadRequest& request, std::function<void(TabReport)> done) {
  for (const auto& [number, link] : links_) recognise(*link);
  auto read = std::make_unique<PendingRead>(PendingRead{request, std::move(done), {}, {}, {}});
  for (const auto& browser : request.browsers) {
    for (const int32_t pid : processesOf(browser.bundleID)) {
      // Kept as it is now: the caller compares frames with the snapshot it has just taken.
      const auto& picture = read->pictures.emplace(pid, pictureOf(pid)).first->second;
      askWhereNeeded(pid, picture);
      for (const Link* link : linksOf(pid))
        if (link->asked && !link->isMute) read->awaited.insert(link->number);
    }
  }
  const uint64_t number = nextRead_++;
  if (read->awaited.empty()) {
    postFinish(number);
  } else {
    read->patience = loop_.after(kPatience, [this, number] { giveUpWaiting(number); });
  }
  reads_.emplace(number, std::move(read));
}

BrowserLink::XPicture BrowserLink::pictureOf(int32_t pid) const {
  XPicture picture;
  std::ranges::copy_if(windows_.windows(), std::back_inserter(picture),
                       [&](const X11Window& x) { return x.managed && x.pid == pid; });
  return picture;
}

BrowserLink::Placement BrowserLink::place(int32_t pid, const XPicture& picture) const {
  Placement placement;
  std::vector<TabWindow> windows;
  for (const Link* link : linksOf(pid)) {
    if (!link->windows) continue;
    for (const auto& window : *link->windows) {
      placement.windows.emplace_back(link->number, &window);
      windows.push_back({window.bounds, window.tab ? window.tab->title : std::string_view(),
                         window.isFocused, window.isMinimised});
    }
  }
  for (const auto& x : picture) placement.xWindows.push_back(&x);
  placement.pairs = pairWindows(windows, placement.xWindows, scaleHint_);
  return placement;
}

void BrowserLink::askWhereNeeded(int32_t pid, const XPicture& picture) {
  const bool isDoubtful = place(pid, picture).pairs.isDoubtful;
  for (Link* link : linksOf(pid))
    if (!link->windows || (isDoubtful && link->askedAbout != picture)) ask(*link, picture);
}

void BrowserLink::ask(Link& link, const XPicture& picture) {
  if (link.asked) return;
  link.asked = nextRequest_++;
  link.askedAbout = picture;
  transmit(link, listFrame(*link.asked));
}

void BrowserLink::transmit(Link& link, const std::string& frame) {
  if (link.connection->send(frame)) return;
  link.rules.reset();
  post([number = link.number](BrowserLink& self) { self.drop(number); });
}

void BrowserLink::noLongerAwait(int linkNumber) {
  for (const auto& [number, read] : reads_)
    if (read->awaited.erase(linkNumber) && read->awaited.empty()) postFinish(number);
}

void BrowserLink::giveUpWaiting(uint64_t readNumber) {
  for (const int number : reads_.at(readNumber)->awaited) links_.at(number)->isMute = true;
  finish(readNumber);
}

void BrowserLink::postFinish(uint64_t readNumber) {
  post([readNumber](BrowserLink& self) { self.finish(readNumber); });
}

void BrowserLink::finish(uint64_t readNumber) {
  const auto node = reads_.extract(readNumber);
  if (!node) return;
  const auto& read = *node.mapped();
  TabReport report;
  for (const auto& browser : read.request.browsers) {
    std::vector<WindowTab> tabs;
    int index = 0;
    for (const int32_t pid : processesOf(browser.bundleID)) {
      const auto picture = read.pictures.find(pid);
      appendTabs(tabs, index,
                 place(pid, picture == read.pictures.end() ? XPicture{} : picture->second));
    }
    if (!tabs.empty()) report.emplace(browser.bundleID, std::move(tabs));
  }
  read.done(std::move(report));
}

void BrowserLink::appendTabs(std::vector<WindowTab>& to, int& index, const Placement& placement) {
  for (size_t i = 0; i < placement.windows.size(); ++i) {
    ++index;
    const auto& [link, window] = placement.windows[i];
    const auto partner = placement.pairs.partners[i];
    const X11Window* x = partner ? placement.xWindows[*partner] : nullptr;
    const bool isHidden = x ? !x->onScreen : window->isMinimised;
    if (isHidden || !window->tab) continue;
    to.push_back({textOf({link, window->id, window->tab->id}), index,
                  x ? std::optional(x->frame) : std::nullopt, window->tab->address});
  }
}

// --- instant rules -------------------------------------------------------------------------------

void BrowserLink::setInstantRules(const InstantRules& rules) {
  const bool areOthers = rules.rules != instant_.rules || rules.exempt != instant_.exempt;
  if (areOthers) {
    instant_ = rules;
  } else {
    instant_.tabs = rules.tabs;
  }
  for (const auto& [number, link] : links_) {
    if (!link->hello) continue;
    sendScope(*link);
    if (areOthers) sendRules(*link);
  }
}

void BrowserLink::sendRules(Link& link) {
  link.rules.emplace();
  continueRules(link);
}

void BrowserLink::continueRules(Link& link) {
  while (link.rules && link.connection->waiting() < kMostBytesAhead) {
    const auto frame = link.rules->next(instant_);
    if (link.rules->isDone()) link.rules.reset();
    transmit(link, frame);
  }
}

void BrowserLink::sendScope(Link& link) {
  std::set<int64_t> windows;
  for (const auto& [bundleID, ids] : instant_.tabs)
    for (const auto& id : ids)
      if (const auto place = tabPlace(id); place && place->link == link.number)
        windows.insert(place->window);
  if (windows == link.scope) return;
  link.scope = std::move(windows);
  transmit(link, scopeFrame(link.scope));
}

void BrowserLink::sightMayHaveChanged() {
  if (instant_.rules.empty() || sight_) return;
  sight_ = loop_.after(kSightInterval, [this] {
    sight_.reset();
    for (const auto& [number, link] : links_) tell(*link);
  });
}

// --- redirecting and telling ---------------------------------------------------------------------

void BrowserLink::send(const Browser& browser, const WindowTab& tab, const std::string& address) {
  const auto place = tabPlace(tab.id);
  const auto it = place ? links_.find(place->link) : links_.end();
  if (it == links_.end() || it->second->identity != browser.bundleID) return;
  const LinkWindow* window = it->second->find(place->window);
  if (!window || !window->tab || window->tab->id != place->tab) return;
  transmit(*it->second, goFrame(place->window, place->tab, address, tab.address));
}

void BrowserLink::watch(std::set<std::string> bundleIDs,
                        std::function<void(const std::string&)> onChange) {
  watched_ = std::move(bundleIDs);
  onChange_ = std::move(onChange);
  news_.clear();
  ++watchNumber_;
}

void BrowserLink::unwatch() {
  watch({}, nullptr);
}

void BrowserLink::tell(const Link& link) {
  if (!watched_.contains(link.identity)) return;
  news_.insert(link.identity);
  if (news_.size() == 1) post([](BrowserLink& self) { self.deliverNews(); });
}

void BrowserLink::deliverNews() {
  const auto onChange = onChange_;
  const auto number = watchNumber_;
  for (const auto& bundleID : std::exchange(news_, {})) {
    if (number != watchNumber_) return;  // the news before ended the watch
    onChange(bundleID);
  }
}

std::vector<LinkedBrowser> BrowserLink::linked() const {
  std::vector<LinkedBrowser> all;
  for (const auto& [number, link] : links_) {
    LinkedBrowser browser;
    browser.bundleID = link->identity;
    browser.pid = link->pid;
    if (link->hello) {
      browser.kind = link->hello->browser;
      browser.version = link->hello->version;
      browser.extensionVersion = link->hello->extension;
      browser.privateAllowed = link->hello->privateAllowed;
    }
    if (link->windows)
      for (const auto& window : *link->windows)
        if (window.tab && !window.isMinimised)
          browser.pages.push_back({window.tab->address, window.tab->title, window.isPrivate});
    all.push_back(std::move(browser));
  }
  return all;
}

int32_t parentProcess(int32_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  const std::string stat(std::istreambuf_iterator<char>(file), {});
  // "<pid> (<name>) <state> <parent> ..."; the name may hold blanks and brackets.
  const size_t name = stat.rfind(')');
  if (name == std::string::npos) return 0;
  const auto fields = text::split(std::string_view(stat).substr(name), ' ');
  int32_t parent = 0;
  return fields.size() > 2 && parse(fields[2], parent) ? parent : 0;
}

}  // namespace velmora
