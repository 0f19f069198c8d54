#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/Geometry.h"

namespace velmora {

struct Browser {
  std::string name;      // as shown to the user
  std::string bundleID;  // canonical application identity
  bool isSafari = false;  // selects the scripting dialect on a Mac
  bool reportsBounds = true;
  bool operator==(const Browser&) const = default;
};

// The tab shown in one browser window.
struct WindowTab {
  // Names the window, and perhaps the tab, to the adapter that reported it; empty for "the front
  // window, whichever that is".
  std::string id;
  int index = 1;   // the window's place in the browser's own list, from 1
  // In the coordinates of the window list; equal to the frame given there where the adapter knows
  // which window it is.
  std::optional<Rect> bounds;
  std::string address;
  bool operator==(const WindowTab&) const = default;
};

// Tabs of shown and covered, but not of minimised windows, by browser identity.
using TabReport = std::map<std::string, std::vector<WindowTab>>;

// Pages that a shown tab must not even begin to show. The browser itself enforces this between two
// looks; what it misses the looks find.
struct InstantRules {
  // What a navigation meets is judged rule by rule, and the first that forbids it decides.
  struct Rule {
    bool isAllowlist = false;  // all but these domains, rather than these
    std::vector<std::string> domains;  // normalised; their subdomains are meant as well
    std::string reason;  // raw text for the wall
    bool operator==(const Rule&) const = default;
  };
  std::vector<Rule> rules;
  std::vector<std::string> exempt;  // domains that no rule touches
  // The tabs that are on screen, by browser identity: the ids of WindowTab.
  std::map<std::string, std::set<std::string>> tabs;
  bool operator==(const InstantRules&) const = default;
};

// Reads and redirects browser tabs. Main thread only.
class BrowserControl {
 public:
  struct ReadRequest {
    std::vector<Browser> browsers;
    // The one of them that is the frontmost application. If it reports no window at all, the
    // adapter may answer with the address of its front window: one tab with an empty id.
    std::optional<Browser> front;
  };

  virtual ~BrowserControl() = default;
  // `done` is always posted, never called inside read, and at most three seconds later for each
  // browser; a browser that did not answer by then has no tabs. The request outlives the caller:
  // callers that may go away hold themselves weakly in `done`.
  virtual void read(const ReadRequest& request, std::function<void(TabReport)> done) = 0;
  // Sets the address of the tab that `tab`'s window shows; nothing is touched when that window no
  // longer shows that tab. Failures are dropped: the next look tries again.
  virtual void send(const Browser& browser, const WindowTab& tab, const std::string& address) = 0;
  // From now on `onChange` hears the identity of a watched browser at once when a shown tab of it
  // has changed. Replaces an earlier watch.
  virtual void watch(std::set<std::string> bundleIDs,
                     std::function<void(const std::string&)> onChange) = 0;
  virtual void unwatch() = 0;
  // Replaces what was set before; nothing is set in the beginning. Rules end with the link to a
  // browser, and with this program. A browser that can't do this does not.
  virtual void setInstantRules(const InstantRules& rules) { (void)rules; }
};

}  // namespace velmora
