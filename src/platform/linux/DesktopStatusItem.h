#pragma once

#include "base/Subscription.h"
#include "platform/linux/StatusNotifier.h"
#include "platform/linux/XMenu.h"
#include "platform/linux/XembedTray.h"

namespace velmora {

// The status item of this desktop: with panels of today by their protocol, otherwise in a tray of
// the older kind, with a menu of our own.
class DesktopStatusItem final : public StatusItem {
 public:
  explicit DesktopStatusItem(EventLoop& loop);
  void setMenu(const std::vector<StatusMenuItem>& menu) override;
  void onChoice(std::function<void(const std::string& action)> chosen) override;
  // Who shows it now.
  enum class Place { nowhere, panel, tray };
  Place place() const;

 private:
  void choose(const std::string& action);
  void chooseFirst();

  std::vector<StatusMenuItem> items_;
  std::function<void(const std::string&)> chosen_;
  bool isOnPanel_ = false;
  XMenu menu_;
  XembedTray tray_;
  StatusNotifier notifier_;
  Subscription fallback_;
};

}  // namespace velmora
