#pragma once

#include <memory>

#include "ports/Log.h"
#include "ports/Notifications.h"

namespace velmora {

class EventLoop;

// Notices through the session bus. Never blocks. The connection is made when it is first needed and
// again after it was lost; without a bus or a notification service a notice is dropped with a debug
// line. The loop's thread only.
class DesktopNotifications : public Notifications {
 public:
  DesktopNotifications(EventLoop& loop, Log& log);
  ~DesktopNotifications() override;
  DesktopNotifications(const DesktopNotifications&) = delete;
  DesktopNotifications& operator=(const DesktopNotifications&) = delete;

  // This desktop asks nobody for leave.
  void requestAuthorization() override {}
  // Bytes that are not UTF-8, which the bus would refuse, are shown as question marks.
  void post(const std::string& title, const std::string& body) override;

 private:
  struct Bus;
  std::unique_ptr<Bus> bus_;
};

}  // namespace velmora
