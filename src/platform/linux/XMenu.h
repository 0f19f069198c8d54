#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ports/StatusItem.h"

namespace velmora {

class EventLoop;

// A menu on the display for panels that show none for us: a small window that has pointer and
// keyboard until something is chosen, a click goes elsewhere, or Escape is pressed. The loop's
// thread only.
class XMenu {
 public:
  XMenu(EventLoop& loop, std::function<void(const std::string& action)> chosen);
  ~XMenu();
  XMenu(const XMenu&) = delete;
  XMenu& operator=(const XMenu&) = delete;

  // Beside this point of the display, within the screen. Replaces one that is open.
  void open(const std::vector<StatusMenuItem>& menu, int x, int y);
  // What an open one shows from now on.
  void update(const std::vector<StatusMenuItem>& menu);
  void close();
  bool isOpen() const;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
