#include "platform/macos/AppleScriptControl.h"

#include <utility>

#include "base/Text.h"
#include "platform/macos/BrowserScripts.h"

namespace velmora {
namespace {

TabReport readNow(Processes& processes, const BrowserControl::ReadRequest& request) {
  const auto report = runScript(processes, readScript(request.browsers));
  TabReport tabs = parseTabs(report.value_or(""), request.browsers);
  if (request.front && !tabs.contains(request.front->bundleID)) {
    if (auto address = runScript(processes, frontWindowScript(*request.front)))
      tabs[request.front->bundleID] = {WindowTab{"", 1, std::nullopt, std::move(*address)}};
  }
  return tabs;
}

}  // namespace

std::optional<std::string> runScript(Processes& processes, const std::string& script) {
  const auto outcome = processes.run({"/usr/bin/osascript", "-e", script});
  if (!outcome || outcome->status != 0 || !text::isValidUtf8(outcome->output)) return {};
  const auto output = text::trim(outcome->output);
  if (output.empty()) return {};
  return std::string(output);
}

AppleScriptControl::AppleScriptControl(Processes& processes, RunLoop& main, SerialQueue& worker)
    : processes_(processes),
      main_(main),
      worker_(worker),
      life_(std::make_shared<const bool>(true)) {}

void AppleScriptControl::read(const ReadRequest& request, std::function<void(TabReport)> done) {
  worker_.post([&processes = processes_, &main = main_, life = std::weak_ptr(life_), request,
                done = std::move(done)]() mutable {
    TabReport report;
    if (!life.expired()) report = readNow(processes, request);
    // Back in any case: what `done` holds belongs to the main thread.
    main.post([life, done = std::move(done), report = std::move(report)]() mutable {
      if (!life.expired()) done(std::move(report));
    });
  });
}

void AppleScriptControl::send(const Browser& browser, const WindowTab& tab,
                              const std::string& address) {
  worker_.post([&processes = processes_, life = std::weak_ptr(life_), browser, tab, address] {
    if (!life.expired()) runScript(processes, sendScript(tab, browser, address));
  });
}

void AppleScriptControl::watch(std::set<std::string> bundleIDs,
                               std::function<void(const std::string&)> onChange) {
  watched_ = std::move(bundleIDs);
  onChange_ = std::move(onChange);
}

void AppleScriptControl::unwatch() {
  watched_.clear();
  onChange_ = nullptr;
}

void AppleScriptControl::titleChanged(const std::string& bundleID) {
  if (!watched_.contains(bundleID)) return;
  const auto onChange = onChange_;  // it may replace or end the watch
  onChange(bundleID);
}

}  // namespace velmora
