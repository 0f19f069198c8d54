#include "platform/macos/BrowserScripts.h"

#include <charconv>
#include <cmath>
#include <optional>

#include "base/Text.h"

namespace velmora {
namespace {

struct Dialect {
  std::string_view minimised;
  std::string_view shownTab;
  std::string_view hasFrontWindow;
};
constexpr Dialect kChromium{"minimized", "active tab", "(count of windows) > 0"};
constexpr Dialect kSafari{"miniaturized", "current tab", "exists front window"};

const Dialect& dialectOf(const Browser& browser) {
  return browser.isSafari ? kSafari : kChromium;
}

using Lines = std::vector<std::string>;

std::string joined(const Lines& lines) {
  std::string out;
  for (const auto& line : lines) {
    if (&line != &lines.front()) out += '\n';
    out += line;
  }
  return out;
}

void append(Lines& to, size_t depth, const Lines& lines) {
  for (const auto& line : lines) to.push_back(std::string(depth * 4, ' ') + line);
}

std::string quoted(std::string_view text) {
  return '"' + std::string(text) + '"';
}

Lines boundsLines(const Browser& browser) {
  if (!browser.reportsBounds) return {R"(set vmBox to "")"};
  return {"set vmB to bounds of window i",
          R"(set vmBox to ((item 1 of vmB) as text) & " " & ((item 2 of vmB) as text) & " " & )"
          R"(((item 3 of vmB) as text) & " " & ((item 4 of vmB) as text))"};
}

void appendReadBlock(Lines& to, const Browser& browser, size_t position) {
  const Dialect& dialect = dialectOf(browser);
  const std::string name = quoted(browser.name);
  append(to, 0, {"if application " + name + " is running then"});
  append(to, 1, {"try"});
  append(to, 2, {"with timeout of 3 seconds"});
  append(to, 3, {"tell application " + name});
  append(to, 4, {"repeat with i from 1 to (count of windows)"});
  append(to, 5, {"try"});
  append(to, 6, {"if not (" + std::string(dialect.minimised) + " of window i) then"});
  append(to, 7, boundsLines(browser));
  append(to, 7,
         {"set vmURL to (URL of " + std::string(dialect.shownTab) + " of window i)",
          R"(if vmURL is missing value then set vmURL to "")",
          "set vmOut to vmOut & " + quoted(std::to_string(position)) +
              " & vmSep & ((id of window i) as text) & vmSep & i & vmSep & vmBox & vmSep & "
              "(vmURL as text) & vmNL"});
  append(to, 6, {"end if"});
  append(to, 5, {"end try"});
  append(to, 4, {"end repeat"});
  append(to, 3, {"end tell"});
  append(to, 2, {"end timeout"});
  append(to, 1, {"end try"});
  append(to, 0, {"end if"});
}

Lines setAddressLines(const WindowTab& tab, const Dialect& dialect, const std::string& address) {
  const std::string set = "set URL of " + std::string(dialect.shownTab) + " of ";
  // This test of the front window is understood by both dialects.
  if (tab.id.empty())
    return {"if (count of windows) > 0 then " + set + "front window to " + quoted(address)};
  const std::string id = text::replacingAll(tab.id, "\"", "");
  return {"repeat with i from 1 to (count of windows)",
          "    if ((id of window i) as text) is " + quoted(id) + " then",
          "        " + set + "window i to " + quoted(address),
          "        exit repeat",
          "    end if",
          "end repeat"};
}

template <class Number>
std::optional<Number> number(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return {};
  }
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return {};
  return value;
}

std::optional<Rect> parseBounds(std::string_view field) {
  std::vector<double> edges;
  for (const auto part : text::split(field, ' ')) {
    const auto edge = number<double>(part);
    if (edge && std::isfinite(*edge)) edges.push_back(*edge);
  }
  if (edges.size() != 4) return {};
  return Rect{edges[0], edges[1], edges[2] - edges[0], edges[3] - edges[1]};
}

}  // namespace

std::string readScript(const std::vector<Browser>& browsers) {
  Lines lines{"set vmSep to character id 9", "set vmNL to character id 10", R"(set vmOut to "")"};
  for (size_t i = 0; i < browsers.size(); ++i) appendReadBlock(lines, browsers[i], i);
  lines.push_back("return vmOut");
  return joined(lines);
}

std::string frontWindowScript(const Browser& browser) {
  const Dialect& dialect = dialectOf(browser);
  return joined({"tell application " + quoted(browser.name), "    try",
                 "        if " + std::string(dialect.hasFrontWindow) + " then return URL of " +
                     std::string(dialect.shownTab) + " of front window",
                 "    end try", "end tell"});
}

std::string sendScript(const WindowTab& tab, const Browser& browser, std::string_view address) {
  const std::string name = quoted(browser.name);
  const std::string harmless = text::replacingAll(address, "\"", "%22");
  Lines lines{"if application " + name + " is running then", "    tell application " + name,
              "        try"};
  append(lines, 3, setAddressLines(tab, dialectOf(browser), harmless));
  append(lines, 0, {"        end try", "    end tell", "end if"});
  return joined(lines);
}

TabReport parseTabs(std::string_view report, const std::vector<Browser>& browsers) {
  TabReport tabs;
  for (const auto line : text::split(report, '\n')) {
    const auto fields = text::split(line, '\t');
    if (fields.size() != 5) continue;
    const auto position = number<int64_t>(fields[0]);
    const auto index = number<int>(fields[2]);
    if (!position || *position < 0 || !index) continue;
    if (static_cast<uint64_t>(*position) >= browsers.size()) continue;
    tabs[browsers[static_cast<size_t>(*position)].bundleID].push_back(
        {std::string(fields[1]), *index, parseBounds(fields[3]), std::string(fields[4])});
  }
  return tabs;
}

}  // namespace velmora
