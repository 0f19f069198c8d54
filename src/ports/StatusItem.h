#pragma once

#include <functional>
#include <string>
#include <vector>

namespace velmora {

struct StatusMenuItem {
  std::string title;   // empty: a separator
  std::string action;  // told when it is chosen; empty: a line that can't be chosen
  std::string key;     // the key that stands for it, such as "q"; empty for none
  bool operator==(const StatusMenuItem&) const = default;
};

// The program's mark among the desktop's status items, with its menu. A desktop without a place for
// it shows nothing. Main thread only.
class StatusItem {
 public:
  virtual ~StatusItem() = default;
  virtual void setMenu(const std::vector<StatusMenuItem>& menu) = 0;
  // `chosen` hears the action of an item; a plain click on the mark counts as the first one.
  virtual void onChoice(std::function<void(const std::string& action)> chosen) = 0;
};

}  // namespace velmora
