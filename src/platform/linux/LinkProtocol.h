#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "base/Geometry.h"
#include "ports/BrowserControl.h"

// What a browser's extension and this program say to each other, through a host process that the
// browser starts. Each message is a frame: its length as four bytes in the machine's own order,
// then a JSON object whose member "type" tells what it is. Whoever listens ignores types and
// members that it doesn't know.
namespace velmora {

// The host's first words. They are a claim: which process connected is asked of the kernel.
struct LinkHost {
  int64_t pid = 0;
  int64_t browserPid = 0;
  std::string origin;  // of the extension
  bool operator==(const LinkHost&) const = default;
};

// The extension's first words.
struct LinkHello {
  int64_t protocol = 0;
  std::string browser;    // its kind: "chromium" or "firefox"
  std::string version;    // of the browser; empty when it won't tell
  std::string extension;  // the extension's own version
  bool privateAllowed = false;
  bool operator==(const LinkHello&) const = default;
};

struct LinkTab {
  int64_t id = 0;
  std::string address;
  std::string title;
  bool operator==(const LinkTab&) const = default;
};

struct LinkWindow {
  int64_t id = 0;
  bool isMinimised = false;
  bool isFocused = false;
  bool isPrivate = false;
  std::optional<Rect> bounds;  // in the browser's own units, which a display's scale may stretch
  std::optional<LinkTab> tab;  // the shown one
  bool operator==(const LinkWindow&) const = default;
};

// All windows, in the browser's own order.
struct LinkWindows {
  std::optional<int64_t> request;  // the one that this answers
  std::vector<LinkWindow> windows;
  bool operator==(const LinkWindows&) const = default;
};

// News of the tab that one window shows.
struct LinkTabNews {
  int64_t windowId = 0;
  int64_t tabId = 0;
  std::string address;
  std::optional<std::string> title;  // absent when it is no news
  bool operator==(const LinkTabNews&) const = default;
};

using LinkMessage = std::variant<LinkHost, LinkHello, LinkWindows, LinkTabNews>;

// Nothing for a text that is no JSON object, for a type that we don't know and for members that are
// missing or of the wrong kind.
std::optional<LinkMessage> decodeLinkMessage(std::string_view json);

// Frames for the extension.
std::string listFrame(int64_t request);
// `from` is the address that was judged, as the extension told it, so with its cut. The extension
// goes nowhere when the tab is already bound for another one.
std::string goFrame(int64_t windowId, int64_t tabId, std::string_view address,
                    std::string_view from);

// The windows whose shown tab is on screen, replacing those told before. Which tab that is the
// extension knows best.
std::string scopeFrame(const std::set<int64_t>& windows);

// Hands over instant rules, apart from their tabs, as frames that are small enough for everyone on
// the way. The extension enforces a set once it has all of it, and drops an unfinished one when
// another begins.
class RulesFrames {
 public:
  static constexpr size_t kMostDomainBytes = 48u << 10;

  bool isDone() const { return isDone_; }
  // The next frame; not when done. Always of the same rules.
  std::string next(const InstantRules& rules);

 private:
  std::string first(const InstantRules& rules) const;

  bool isBegun_ = false;
  bool isDone_ = false;
  size_t rule_ = 0;  // where the next frame begins
  size_t domain_ = 0;
};

// Cuts a stream into messages.
class LinkFrames {
 public:
  static constexpr size_t kLongestMessage = 1u << 20;

  void append(std::string_view bytes);
  // The next whole message, empty ones passed over; valid until the next append().
  std::optional<std::string_view> next();
  // A longer message has been announced; there is no way on from here.
  bool isOverlong() const { return isOverlong_; }

 private:
  std::string buffer_;
  size_t read_ = 0;  // what of the buffer has been handed out
  bool isOverlong_ = false;
};

}  // namespace velmora
