#include "core/StatusMenu.h"

namespace velmora {
namespace {

using Menu = std::vector<StatusMenuItem>;

const StatusMenuItem kSeparator{};
const StatusMenuItem kOpen{"Open Velmora", "window show", ""};
const StatusMenuItem kQuit{"Quit", "quit", "q"};

StatusMenuItem line(std::string text) {
  return {std::move(text), "", ""};
}

}  // namespace

Menu statusMenu(const TimerService& timer, const LateRef<ModuleStore::Commitment>& commitment) {
  if (timer.isSessionActive.get()) {
    const std::string state = timer.isRunning.get() ? "Running" : "Paused";
    Menu menu{line("⚡ " + state + " · " + timer.timeString()),
              kSeparator,
              {"Show Window", "window show", ""}};
    if (!timer.effectiveIsHardcore()) menu.push_back({"Stop Session...  🔐", "end", ""});
    return menu;
  }
  if (commitment && commitment->isProtectionActive())
    return {line("🛡 Brak Porn protection active"), kSeparator, kOpen};
  if (commitment && commitment->isTemporaryProtectionActive())
    return {line("🛡 Brak Porn local protection active"), kSeparator, kOpen, kQuit};
  return {kOpen, kSeparator, kQuit};
}

}  // namespace velmora
