#include "platform/linux/DesktopStatusItem.h"

#include <algorithm>

#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

constexpr Seconds kPatience(1.0);  // for a panel to take the item, before an older tray is asked

}  // namespace

DesktopStatusItem::DesktopStatusItem(EventLoop& loop)
    : menu_(loop, [this](const std::string& action) { choose(action); }),
      tray_(loop, {.clicked = [this] { chooseFirst(); },
                   .menuAsked = [this](int x, int y) { menu_.open(items_, x, y); }}),
      notifier_(loop, {.chosen = [this](const std::string& action) { choose(action); },
                       .shown =
                           [this](bool isShown) {
                             fallback_.reset();
                             isOnPanel_ = isShown;
                             tray_.setVisible(!isShown);
                           },
                       .menuAsked = [this](int x, int y) { menu_.open(items_, x, y); }}),
      fallback_(loop.after(kPatience, [this] { tray_.setVisible(true); })) {}

void DesktopStatusItem::setMenu(const std::vector<StatusMenuItem>& menu) {
  items_ = menu;
  notifier_.setMenu(menu);
  menu_.update(menu);
}

void DesktopStatusItem::onChoice(std::function<void(const std::string&)> chosen) {
  chosen_ = std::move(chosen);
}

void DesktopStatusItem::choose(const std::string& action) {
  if (chosen_) chosen_(action);
}

void DesktopStatusItem::chooseFirst() {
  const auto first = std::ranges::find_if(items_, [](const auto& i) { return !i.action.empty(); });
  if (first != items_.end()) choose(first->action);
}

DesktopStatusItem::Place DesktopStatusItem::place() const {
  if (isOnPanel_) return Place::panel;
  return tray_.isDocked() ? Place::tray : Place::nowhere;
}

}  // namespace velmora
