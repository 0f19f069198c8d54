#include "platform/linux/LinkProtocol.h"

#include <cstring>
#include <utility>

#include "base/Json.h"

namespace velmora {
namespace {

constexpr size_t kKeptCapacity = 64u << 10;
constexpr size_t kLongestDomain = 253;

// A window as it is written. Bounds may be missing one by one; a state that we don't know is none
// that hides a window.
struct WrittenWindow {
  int64_t id = 0;
  std::string state;
  bool focused = false;
  bool isPrivate = false;
  std::optional<double> left;
  std::optional<double> top;
  std::optional<double> width;
  std::optional<double> height;
  std::optional<LinkTab> tab;
};

struct WrittenWindows {
  std::optional<int64_t> request;
  std::vector<WrittenWindow> windows;
};

}  // namespace

template <>
struct json::Fields<LinkHost> {
  static constexpr std::tuple all{json::defaulted("pid", &LinkHost::pid),
                                  json::defaulted("browserPid", &LinkHost::browserPid),
                                  json::defaulted("origin", &LinkHost::origin)};
};

template <>
struct json::Fields<LinkHello> {
  static constexpr std::tuple all{json::required("protocol", &LinkHello::protocol),
                                  json::required("browser", &LinkHello::browser),
                                  json::defaulted("version", &LinkHello::version),
                                  json::defaulted("extension", &LinkHello::extension),
                                  json::defaulted("privateAllowed", &LinkHello::privateAllowed)};
};

template <>
struct json::Fields<LinkTab> {
  static constexpr std::tuple all{json::required("id", &LinkTab::id),
                                  json::defaulted("address", &LinkTab::address),
                                  json::defaulted("title", &LinkTab::title)};
};

template <>
struct json::Fields<WrittenWindow> {
  static constexpr std::tuple all{json::required("id", &WrittenWindow::id),
                                  json::defaulted("state", &WrittenWindow::state),
                                  json::defaulted("focused", &WrittenWindow::focused),
                                  json::defaulted("private", &WrittenWindow::isPrivate),
                                  json::optional("left", &WrittenWindow::left),
                                  json::optional("top", &WrittenWindow::top),
                                  json::optional("width", &WrittenWindow::width),
                                  json::optional("height", &WrittenWindow::height),
                                  json::optional("tab", &WrittenWindow::tab)};
};

template <>
struct json::Fields<WrittenWindows> {
  static constexpr std::tuple all{json::optional("request", &WrittenWindows::request),
                                  json::required("windows", &WrittenWindows::windows)};
};

template <>
struct json::Fields<LinkTabNews> {
  static constexpr std::tuple all{json::required("windowId", &LinkTabNews::windowId),
                                  json::required("tabId", &LinkTabNews::tabId),
                                  json::required("address", &LinkTabNews::address),
                                  json::optional("title", &LinkTabNews::title)};
};

namespace {

LinkWindow windowFrom(WrittenWindow&& written) {
  LinkWindow window;
  window.id = written.id;
  window.isMinimised = written.state == "minimized";
  window.isFocused = written.focused;
  window.isPrivate = written.isPrivate;
  if (written.left && written.top && written.width && written.height)
    window.bounds = Rect{*written.left, *written.top, *written.width, *written.height};
  window.tab = std::move(written.tab);
  return window;
}

std::optional<LinkMessage> decodeWindows(const json::Value& value) {
  auto written = json::decode<WrittenWindows>(value);
  if (!written) return {};
  LinkWindows list{written->request, {}};
  list.windows.reserve(written->windows.size());
  for (auto& window : written->windows) list.windows.push_back(windowFrom(std::move(window)));
  return list;
}

template <class Message>
std::optional<LinkMessage> decodeAs(const json::Value& value) {
  auto message = json::decode<Message>(value);
  if (!message) return {};
  return std::move(*message);
}

std::string frame(json::Value::Object members) {
  const std::string text = json::dump(std::move(members));
  const auto length = static_cast<uint32_t>(text.size());
  std::string bytes(sizeof length, '\0');
  std::memcpy(bytes.data(), &length, sizeof length);
  return bytes + text;
}

}  // namespace

std::optional<LinkMessage> decodeLinkMessage(std::string_view json) {
  const auto value = json::parse(json);
  if (!value) return {};
  const auto* member = value->find("type");
  const auto* type = member ? member->asString() : nullptr;
  if (!type) return {};
  if (*type == "tab") return decodeAs<LinkTabNews>(*value);
  if (*type == "windows") return decodeWindows(*value);
  if (*type == "hello") return decodeAs<LinkHello>(*value);
  if (*type == "host") return decodeAs<LinkHost>(*value);
  return {};
}

std::string listFrame(int64_t request) {
  return frame({{"type", "list"}, {"request", request}});
}

std::string goFrame(int64_t windowId, int64_t tabId, std::string_view address,
                    std::string_view from) {
  return frame({{"type", "go"},
                {"windowId", windowId},
                {"tabId", tabId},
                {"address", address},
                {"from", from}});
}

std::string scopeFrame(const std::set<int64_t>& windows) {
  return frame({{"type", "scope"}, {"windows", json::Value::Array(windows.begin(), windows.end())}});
}

std::string RulesFrames::next(const InstantRules& rules) {
  if (!std::exchange(isBegun_, true)) {
    isDone_ = rules.rules.empty();
    return first(rules);
  }
  const auto& domains = rules.rules[rule_].domains;
  json::Value::Array part;
  for (size_t bytes = 0; domain_ < domains.size() && bytes < kMostDomainBytes; ++domain_) {
    const auto& domain = domains[domain_];
    if (domain.size() > kLongestDomain) continue;
    bytes += domain.size();
    part.emplace_back(domain);
  }
  const auto of = static_cast<int64_t>(rule_);
  if (domain_ == domains.size()) {
    domain_ = 0;
    isDone_ = ++rule_ == rules.rules.size();
  }
  return frame(
      {{"type", "domains"}, {"rule", of}, {"domains", std::move(part)}, {"last", isDone_}});
}

std::string RulesFrames::first(const InstantRules& rules) const {
  json::Value::Array kinds;
  for (const auto& rule : rules.rules)
    kinds.push_back(
        json::Value::Object{{"reason", rule.reason}, {"allowlist", rule.isAllowlist}});
  return frame({{"type", "rules"},
                {"rules", std::move(kinds)},
                {"exempt", json::Value::Array(rules.exempt.begin(), rules.exempt.end())},
                {"last", isDone_}});
}

void LinkFrames::append(std::string_view bytes) {
  buffer_.erase(0, std::exchange(read_, 0));
  // One long message must not keep its room for ever.
  if (buffer_.empty() && buffer_.capacity() > kKeptCapacity) buffer_.shrink_to_fit();
  buffer_.append(bytes);
}

std::optional<std::string_view> LinkFrames::next() {
  uint32_t length = 0;
  while (!isOverlong_ && buffer_.size() - read_ >= sizeof length) {
    std::memcpy(&length, buffer_.data() + read_, sizeof length);
    isOverlong_ = length > kLongestMessage;
    if (isOverlong_ || buffer_.size() - read_ - sizeof length < length) return {};
    const auto message = std::string_view(buffer_).substr(read_ + sizeof length, length);
    read_ += sizeof length + length;
    if (!message.empty()) return message;
  }
  return {};
}

}  // namespace velmora
